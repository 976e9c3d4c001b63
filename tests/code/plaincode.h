#pragma once

#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/code/groupcode.h>
#include <kilnx/code/valuecode.h>
#include <tests/support/release.h>

#include <QStringList>

/// A small language for tests and benchmarks of the code room:
///
///     [name]  [name:3]     a section of subtype 1, or of the number given
///     x = 12               a value: an int, a real, a point "1, 2", or text
///     x + y = 12           two nodes on one line
///     anim name, frame name     an animation, and a frame of the nearest one above
///     ! text, ~ text, ? text    an error, a deprecation, a warning, and no node
///     ; text               a comment, also behind the others
///
/// Round brackets are recorded. A header that is indented folds as an inner one.
namespace Plain
{

class Parser;

class Value : public Kiln::ValueCode
{
public:
    Value(Kiln::CodeNode *previous, const QString &name, Type type, const QVariant &value);
    ~Value() override;

    QString name() const override { return m_name; }
    void setName(const QString &name) override;
    QString valueText() const override;
    QString enumText(unsigned int value) const override;
    void setValue(const QVariant &value) override;
    /// Takes name and value from the line, and tells the model if they changed.
    void take(const QString &name, const QVariant &value);

    Value *partner = nullptr; ///< the second node of the line, which goes with this one

private:
    QString m_name;
};

class Group : public Kiln::GroupCode
{
public:
    Group(Kiln::CodeNode *previous, const QString &name, unsigned int subType);

    QString name() const override { return m_name; }
    void setName(const QString &name) override;
    QString headerText() const override;
    bool addValue(const QString &name, const QVariant &value) override;
    void take(const QString &name);

private:
    QString m_name;
};

class Animation : public Kiln::AnimationCode
{
public:
    Animation(Kiln::CodeNode *previous, const QString &name);

    QString name() const override { return m_name; }
    void setName(const QString &name) override;
    QVariant property(const QString &name) override;
    void setProperty(const QString &name, const QVariant &value) override;
    /// With the comments directly above.
    int firstLine() const override;
    Kiln::FrameCode *insertFrame(unsigned int, const QString &) override { return nullptr; }
    int optimize() override { return 0; }
    void take(const QString &name);

private:
    QString m_name;
};

/// A frame that is nothing but an identifier.
class Frame : public Kiln::FrameCode
{
public:
    Frame(Kiln::CodeNode *previous, const QString &identifier);
    /// Borrows the boxes.
    Frame(Kiln::CodeNode *previous,
          Kiln::ContactBoxesCode *attackBoxes,
          Kiln::ContactBoxesCode *collisionBoxes);

    QString identifier() const override { return m_identifier; }
    void setIdentifier(const QString &identifier) override;
    QPoint offset() const override { return {}; }
    void setOffset(const QPoint &) override {}
    int delay() const override { return 1; }
    void setDelay(int) override {}
    QPointF scale() const override { return {1, 1}; }
    void setScale(const QPointF &) override {}
    qreal angle() const override { return 0; }
    void setAngle(qreal) override {}
    Flip flip() const override { return NoFlip; }
    void setFlip(Flip) override {}
    bool isLoopPoint() const override { return false; }
    void setLoopPoint(bool) override {}
    bool canTransform() const override { return false; }
    QVariant property(const QString &name) override;
    void setProperty(const QString &name, const QVariant &value) override;
    void take(const QString &identifier);

private:
    QString m_identifier;
};

class Parser final : public Kiln::CodeParser
{
public:
    Kiln::CodeNode *parse(const QString &text,
                          Kiln::CodeNode *old,
                          Kiln::CodeNode *previous,
                          Kiln::RootCode *root,
                          Kiln::CodeParserSyntax *syntax) override;

    int calls = 0;
    int quietCalls = 0; ///< those of them without a sink

private:
    Kiln::CodeNode *parseHeader(const QString &code,
                                Kiln::CodeNode *old,
                                Kiln::CodeNode *previous,
                                Kiln::RootCode *root);
    Kiln::CodeNode *parseValue(const QString &code, Kiln::CodeNode *old, Kiln::CodeNode *previous);
    Kiln::CodeNode *parseFrame(const QString &code, Kiln::CodeNode *old, Kiln::CodeNode *previous);
};

class Document : public Kiln::CodeDocument
{
public:
    /// With the three options on, and a parser unless it is null.
    explicit Document(Parser *parser = nullptr);

    void release() override { delete this; }
    QString language() const override { return QString("Plain"); }
    void blockHighlighted() override { ++highlighted; }
    int foldingKind(const QString &line) override;
    using CodeDocument::reparse;
    using CodeDocument::setFileName;

    int highlighted = 0;

protected:
    ~Document() override = default;
};

using DocumentPointer = std::unique_ptr<Document, Release>;

/// Paints a line and reports on it, without a tree.
void paint(const QString &text, Kiln::CodeParserSyntax &syntax);

/// `count` lines in sections of `sectionSize`, with comments and now and then a message.
QString sampleText(int count, int sectionSize);

/// What is wrong with a document: the rules that hold between its text, its nodes, the rows of its
/// containers and its messages after every change. Empty if all is well.
QStringList faults(Kiln::CodeDocument &document);

} // namespace Plain
