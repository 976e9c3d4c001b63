#pragma once

#include <kilnx/code/codenode.h>
#include <kilnx/code/namedcode.h>
#include <kilnx/export.h>

#include <QtCore/QList>

namespace Kiln
{
class FrameCode;

/// An animation: a header line and the frames below it, down to the next animation or group.
///
/// An engine derives from it, with an identifier that a number or a name makes unique in the file,
/// as property "Identifier". When it is constructed it places itself in the tree and takes over the
/// frames below its line; when it is destroyed it hands them to the animation above. An engine
/// whose comments above a header belong to the animation overrides firstLine(): everything that
/// copies, moves or removes animations goes by it.
class KILNX_EXPORT AnimationCode : public ParentCode, public NamedCode
{
public:
    /// Adds a frame before the one at `index`, or behind the last, that shows the sprite of that
    /// identifier and is otherwise as the frame before it. Null if that is not possible.
    virtual FrameCode *insertFrame(unsigned int index, const QString &identifier) = 0;
    /// Takes out of the text what says nothing, such as values that are the defaults, without
    /// changing what is shown, as one change; the number of lines that went.
    virtual int optimize() = 0;

    /// Those of NamedCode and "Identifier".
    QStringList propertyNames() override;

    /// The line before the next animation or group; the document's line count if there is none.
    int lastLine() const override;
    /// The text from firstLine() to lastLine() without blanks around it. Lines are separated by
    /// QChar::ParagraphSeparator, which every text operation takes as a line's end.
    QString code() const;
    /// Replaces the text from firstLine() to lastLine() by `text` and one blank line. The node
    /// lives on only if the text starts with the header of an animation.
    void setCode(const QString &text);

    const QList<FrameCode *> &frames() const { return m_frames; }
    unsigned int frameCount() const { return unsigned(m_frames.size()); }
    /// Null if `index` is out of range.
    FrameCode *frameAt(unsigned int index) const;
    /// The row of `frame`, -1 if it is not in the list.
    int indexOfFrame(const FrameCode *frame) const;
    /// Removes the frame's lines from the text, with the comments and boxes above it; nothing if
    /// `index` is out of range.
    void removeFrame(unsigned int index);
    /// The frame that editors show, 0 at first. The caller keeps it in range; after edits it may
    /// be past the end.
    unsigned int selectedFrame() const { return m_selectedFrame; }
    void setSelectedFrame(unsigned int index) { m_selectedFrame = index; }

    unsigned int childCount() const override;
    int childIndex(CodeNode *child) const override;
    CodeNode *childAt(unsigned int row) const override;
    /// `child` must be a FrameCode.
    void insertChild(CodeNode *child, unsigned int index) override;
    void removeChild(CodeNode *child) override;

protected:
    explicit AnimationCode(CodeNode *previous);
    ~AnimationCode() override;

    QList<FrameCode *> m_frames;
    unsigned int m_selectedFrame = 0;

private:
    void takeFramesBelow();
    void handFramesOn();
    void handValuesBack();
    void tellRowsFrom(int row);

    mutable int m_lastRow = 0;
};
} // namespace Kiln
