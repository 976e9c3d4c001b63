#include "tinyanimations.h"

using Kiln::CodeNode;

namespace Tiny
{

namespace
{

bool isComment(const QTextBlock &block)
{
    return block.text().startsWith(QLatin1Char(';'));
}

/// The container that a line after `previous` has if only animations or only groups count.
CodeNode *sectionAt(CodeNode *previous)
{
    while (previous && previous->type() != CodeNode::Animation &&
           previous->type() != CodeNode::Group)
        previous = previous->previous();
    return previous;
}

bool staysIn(CodeNode *old, CodeNode::Type type, CodeNode *previous)
{
    if (!old || old->type() != type)
        return false;
    if (type == CodeNode::Group || type == CodeNode::Animation)
        return true;
    CodeNode *const section = sectionAt(previous);
    const auto wanted = type == CodeNode::Frame ? CodeNode::Animation : CodeNode::Group;
    return old->parent() == (section && section->type() == wanted ? section : nullptr);
}

} // namespace

Value::Value(CodeNode *previous, const QString &name)
    : ValueCode(previous, Text, name)
    , m_name(name)
{
}

Group::Group(CodeNode *previous, unsigned int number)
    : GroupCode(previous, number)
{
    insertRootChild(this);
}

Animation::Animation(CodeNode *previous, const QString &identifier)
    : AnimationCode(previous)
    , m_identifier(identifier)
{
}

void Animation::setName(const QString &name)
{
    change(QStringLiteral("anim ") + name);
}

QVariant Animation::property(const QString &name)
{
    return name == QLatin1String("Identifier") ? m_identifier : NamedCode::property(name);
}

void Animation::setProperty(const QString &name, const QVariant &value)
{
    if (name == QLatin1String("Identifier"))
        setName(value.toString());
    else
        NamedCode::setProperty(name, value);
}

int Animation::firstLine() const
{
    QTextBlock first = block();
    while (first.previous().isValid() && isComment(first.previous()))
        first = first.previous();
    return first.blockNumber();
}

Kiln::FrameCode *Animation::insertFrame(unsigned int, const QString &)
{
    return nullptr;
}

void Animation::take(const QString &identifier)
{
    if (m_identifier == identifier)
        return;
    m_identifier = identifier;
    valueChanged(identifier);
}

Frame::Frame(CodeNode *previous, const QString &identifier)
    : FrameCode(previous, nullptr, nullptr)
    , m_identifier(identifier)
{
}

Frame::Frame(CodeNode *previous,
             Kiln::ContactBoxesCode *attackBoxes,
             Kiln::ContactBoxesCode *collisionBoxes)
    : FrameCode(previous, attackBoxes, collisionBoxes)
{
}

void Frame::setIdentifier(const QString &identifier)
{
    change(QStringLiteral("frame ") + identifier);
}

QVariant Frame::property(const QString &name)
{
    return name == QLatin1String("Identifier") ? m_identifier : QVariant();
}

void Frame::setProperty(const QString &name, const QVariant &value)
{
    if (name == QLatin1String("Identifier"))
        setIdentifier(value.toString());
}

void Frame::take(const QString &identifier)
{
    if (m_identifier == identifier)
        return;
    m_identifier = identifier;
    valueChanged(identifier);
}

CodeNode *Parser::parse(const QString &text,
                        CodeNode *old,
                        CodeNode *previous,
                        Kiln::RootCode *,
                        Kiln::CodeParserSyntax *)
{
    ++calls;
    const QString word = text.section(QLatin1Char(' '), 0, 0);
    const QString argument = text.section(QLatin1Char(' '), 1);
    if (word == QLatin1String("group")) {
        const unsigned int number = argument.toUInt();
        if (staysIn(old, CodeNode::Group, previous) &&
            static_cast<Group *>(old)->subType() == number)
            return old;
        return new Group(previous, number);
    }
    if (word == QLatin1String("value")) {
        if (staysIn(old, CodeNode::Value, previous) &&
            static_cast<Value *>(old)->name() == argument)
            return old;
        return new Value(previous, argument);
    }
    if (word == QLatin1String("anim")) {
        if (!staysIn(old, CodeNode::Animation, previous))
            return new Animation(previous, argument);
        static_cast<Animation *>(old)->take(argument);
        return old;
    }
    if (word == QLatin1String("frame")) {
        if (!staysIn(old, CodeNode::Frame, previous))
            return new Frame(previous, argument);
        static_cast<Frame *>(old)->take(argument);
        return old;
    }
    return nullptr;
}

Document::Document(Parser *parser)
{
    for (const char *key : {"parseCode", "modelCode", "highlightCode"})
        setOption(QLatin1String(key), true, false, false);
    setParser(parser);
}

Animations::Animations(Kiln::CodeDocument *document)
    : Kiln::Animations(document)
{
    document->registerDocumentEditor(this, CodeNode::Animation, 0);
}

QString File::animations() const
{
    QStringList texts;
    for (Kiln::AnimationCode *animation : list->animations()) {
        QStringList frames;
        for (Kiln::FrameCode *frame : animation->frames())
            frames << frame->identifier();
        texts << QStringLiteral("%1(%2)").arg(animation->name(), frames.join(QLatin1Char(' ')));
    }
    return texts.join(QLatin1Char(' '));
}

QList<Kiln::AnimationCode *> File::inText() const
{
    QList<Kiln::AnimationCode *> found;
    for (CodeNode *node = document->next(); node; node = node->next()) {
        if (node->type() == CodeNode::Animation)
            found << static_cast<Kiln::AnimationCode *>(node);
    }
    return found;
}

} // namespace Tiny
