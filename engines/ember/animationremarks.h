#pragma once

#include <QHash>
#include <QSet>
#include <QString>

class EmberAnimations;
class EmberDocument;
class QTextBlock;

namespace Kiln
{
class AnimationCode;
class CodeNode;
} // namespace Kiln

/// Finds what is wrong with a file of animations but not to be told from one line: boxes without a
/// frame below them, a second loop mark in an animation, an identifier that an animation above has.
/// Each is a remark on its line.
class AnimationRemarks
{
public:
    AnimationRemarks(EmberDocument *document, const EmberAnimations *list);

    /// An animation is new, or its header says something else. It may still be under construction.
    void changed(Kiln::CodeNode *animation);
    void gone(Kiln::CodeNode *animation);
    /// Sets the remarks anew that an edit of these lines can have changed. The lines of the
    /// animations that the edit touched are looked at, not the file.
    void check(const QTextBlock &first, const QTextBlock &last);

private:
    void readIdentifiers();
    void forget(Kiln::CodeNode *animation);
    void checkIdentifiers();
    void checkBoxes(const Kiln::AnimationCode *animation, int firstLine, int lastLine);
    void checkLoopMarks(const Kiln::AnimationCode *animation);
    void remark(const Kiln::CodeNode *node, const QString &text);

    EmberDocument *m_document;
    const EmberAnimations *m_list;
    QHash<Kiln::CodeNode *, QString> m_identifiers;
    QHash<QString, QSet<Kiln::CodeNode *>> m_bearers;
    QSet<Kiln::CodeNode *> m_changed;
    /// Identifiers whose bearers' remarks may be wrong.
    QSet<QString> m_unsettled;
};
