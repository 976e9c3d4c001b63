#pragma once

#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/code/groupcode.h>
#include <kilnx/code/valuecode.h>

/// The smallest language with all five types of nodes, for tests of what the library itself does.
///
/// A line is a word and its arguments, parted by blanks: "group NUMBER", "value NAME",
/// "anim IDENTIFIER", "frame IDENTIFIER". A line that starts with ";" is a comment; directly above
/// an "anim" it belongs to that. Any other line makes no node.
namespace Tiny
{

class Value : public Kiln::ValueCode
{
public:
    Value(Kiln::CodeNode *previous, const QString &name);
    QString name() const override { return m_name; }
    void setName(const QString &name) override { m_name = name; }
    QString valueText() const override { return QString(); }
    QString enumText(unsigned int) const override { return QString(); }

private:
    QString m_name;
};

class Group : public Kiln::GroupCode
{
public:
    Group(Kiln::CodeNode *previous, unsigned int number);
    QString name() const override { return QString::number(subType()); }
    void setName(const QString &) override {}
    QString headerText() const override { return QString(); }
    bool addValue(const QString &, const QVariant &) override { return false; }
};

class Animation : public Kiln::AnimationCode
{
public:
    Animation(Kiln::CodeNode *previous, const QString &identifier);
    QString name() const override { return m_identifier; }
    void setName(const QString &name) override;
    QVariant property(const QString &name) override;
    void setProperty(const QString &name, const QVariant &value) override;
    int firstLine() const override;
    Kiln::FrameCode *insertFrame(unsigned int index, const QString &identifier) override;
    int optimize() override { return 0; }
    void take(const QString &identifier);

private:
    QString m_identifier;
};

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

class Parser : public Kiln::CodeParser
{
public:
    virtual ~Parser() = default;
    Kiln::CodeNode *parse(const QString &text,
                          Kiln::CodeNode *old,
                          Kiln::CodeNode *previous,
                          Kiln::RootCode *root,
                          Kiln::CodeParserSyntax *syntax) override;
    /// How many lines were parsed.
    int calls = 0;
};

class Document : public Kiln::CodeDocument
{
public:
    explicit Document(Parser *parser);
    QString language() const override { return QStringLiteral("tiny"); }
    void release() override { delete this; }

protected:
    int foldingKind(const QString &) override { return 0; }
};

/// Registers itself with its document, which destroys it.
class Animations : public Kiln::Animations
{
public:
    explicit Animations(Kiln::CodeDocument *document);
    QString freeIdentifier() const override { return QString::number(count()); }
    QString animationTemplate() const override { return pattern; }
    void release() override { delete this; }

    QString pattern = QStringLiteral("anim %1\nframe new\n");
};

/// A parser, a document and its list in one, destroyed in the right order.
struct File {
    explicit File(const QString &text)
        : document(new Document(&parser))
    {
        list = new Animations(document);
        document->fromString(text);
    }
    ~File() { document->release(); }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    QString text() const { return document->toPlainText(); }
    /// The animations of the list with their frames, as in "a(1 2) b()".
    QString animations() const;
    /// The animations that stand in the node list, found without the list of animations.
    QList<Kiln::AnimationCode *> inText() const;

    Parser parser;
    Document *document;
    Animations *list;
};

} // namespace Tiny
