#include "plaincode.h"

#include <kilnx/code/messages.h>

#include <QtGui/QtGui>

using Kiln::CodeBlockData;
using Kiln::CodeNode;
using Kiln::CodeParserSyntax;

namespace
{

constexpr char comment = ';';

struct Typed {
    Kiln::ValueCode::Type type;
    QVariant value;
};

Typed typed(const QString &text)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    if (ok)
        return {Kiln::ValueCode::Int, number};
    const double real = text.toDouble(&ok);
    if (ok)
        return {Kiln::ValueCode::Real, real};
    const QStringList parts = text.split(QLatin1Char(','));
    if (parts.size() == 2) {
        bool ok2 = false;
        const QPoint point(parts.at(0).trimmed().toInt(&ok), parts.at(1).trimmed().toInt(&ok2));
        if (ok && ok2)
            return {Kiln::ValueCode::Point, point};
    }
    return {Kiln::ValueCode::Text, text};
}

/// The group that a value made after `previous` would join.
Kiln::ParentCode *groupAfter(CodeNode *previous)
{
    if (previous->type() == CodeNode::Group)
        return static_cast<Kiln::GroupCode *>(previous);
    return previous->type() == CodeNode::Value ? previous->parent() : nullptr;
}

/// The animation that a frame made after `previous` would join.
CodeNode *animationAfter(CodeNode *previous)
{
    while (previous && previous->type() != CodeNode::Animation &&
           previous->type() != CodeNode::Group)
        previous = previous->previous();
    return previous && previous->type() == CodeNode::Animation ? previous : nullptr;
}

bool isComment(const QTextBlock &block)
{
    return block.text().startsWith(QLatin1Char(comment));
}

QString withoutComment(const QString &text)
{
    return text.left(text.indexOf(QLatin1Char(comment)));
}

} // namespace

namespace Plain
{

void paint(const QString &text, CodeParserSyntax &syntax)
{
    const QString code = withoutComment(text);
    const int start = code.size();
    if (start < text.size())
        syntax.setToken(CodeParserSyntax::Comment, start, text.size());
    const QString trimmed = code.trimmed();
    if (trimmed.isEmpty())
        return;
    if (trimmed.startsWith(QLatin1Char('!')))
        syntax.setError(CodeParserSyntax::Invalid, trimmed, 0, start);
    else if (trimmed.startsWith(QLatin1Char('~')))
        syntax.setDeprecation(CodeParserSyntax::Keyword, trimmed, 0, start);
    else if (trimmed.startsWith(QLatin1Char('?')))
        syntax.setWarning(CodeParserSyntax::Keyword, trimmed, 0, start);
    else if (trimmed.startsWith(QLatin1Char('[')))
        syntax.setToken(CodeParserSyntax::Section, 0, start);
    const int equals = code.indexOf(QLatin1Char('='));
    if (equals > 0) {
        syntax.setToken(CodeParserSyntax::Name, 0, equals);
        syntax.setToken(CodeParserSyntax::Number, equals + 1, start);
    }
    for (int i = 0; i < start; ++i) {
        if (code.at(i) == QLatin1Char('(') || code.at(i) == QLatin1Char(')'))
            syntax.addParenthesis(code.at(i) == QLatin1Char('('), code.at(i), i);
    }
}

Value::Value(CodeNode *previous, const QString &name, Type type, const QVariant &value)
    : ValueCode(previous, type, value)
    , m_name(name)
{
}

Value::~Value()
{
    if (partner)
        partner->release();
}

void Value::setName(const QString &name)
{
    change(name + QString(" = ") + valueText());
}

QString Value::valueText() const
{
    return asString(valueType(), rawValue(), QLatin1Char(','));
}

QString Value::enumText(unsigned int value) const
{
    return QString("word%1").arg(value);
}

void Value::setValue(const QVariant &value)
{
    const QVariant converted = convertFrom(valueType(), value);
    change(m_name + QString(" = ") + asString(valueType(), converted, QLatin1Char(',')));
}

void Value::take(const QString &name, const QVariant &value)
{
    if (name == m_name && value == rawValue())
        return;
    m_name = name;
    valueChanged(value);
    CodeNode::valueChanged(value);
}

Group::Group(CodeNode *previous, const QString &name, unsigned int subType)
    : GroupCode(previous, subType)
    , m_name(name)
{
    insertRootChild(this);
}

void Group::setName(const QString &name)
{
    change(QString("[%1:%2]").arg(name).arg(subType()));
}

QString Group::headerText() const
{
    return QString("[%1:%2]").arg(m_name).arg(subType());
}

bool Group::addValue(const QString &name, const QVariant &value)
{
    const CodeNode *last = valueCount() ? valueAt(valueCount() - 1) : static_cast<CodeNode *>(this);
    document()->insertAfter(last, name + QString(" = ") + value.toString(), true);
    return true;
}

void Group::take(const QString &name)
{
    if (name == m_name)
        return;
    m_name = name;
    CodeNode::valueChanged(name);
}

Animation::Animation(CodeNode *previous, const QString &name)
    : AnimationCode(previous)
    , m_name(name)
{
}

void Animation::setName(const QString &name)
{
    change("anim " + name);
}

QVariant Animation::property(const QString &name)
{
    return name == "Identifier" ? m_name : NamedCode::property(name);
}

void Animation::setProperty(const QString &name, const QVariant &value)
{
    if (name == "Identifier")
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

void Animation::take(const QString &name)
{
    if (std::exchange(m_name, name) != name)
        valueChanged(name);
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
    change("frame " + identifier);
}

QVariant Frame::property(const QString &name)
{
    return name == "Identifier" ? m_identifier : QVariant();
}

void Frame::setProperty(const QString &name, const QVariant &value)
{
    if (name == "Identifier")
        setIdentifier(value.toString());
}

void Frame::take(const QString &identifier)
{
    if (std::exchange(m_identifier, identifier) != identifier)
        valueChanged(identifier);
}

CodeNode *Parser::parse(const QString &text,
                        CodeNode *old,
                        CodeNode *previous,
                        Kiln::RootCode *root,
                        CodeParserSyntax *syntax)
{
    ++calls;
    quietCalls += syntax ? 0 : 1;
    if (syntax)
        paint(text, *syntax);
    const QString trimmed = withoutComment(text).trimmed();
    if (trimmed.startsWith(QLatin1Char('[')))
        return parseHeader(trimmed, old, previous, root);
    if (trimmed.isEmpty() || QString("!~?").contains(trimmed.at(0)))
        return nullptr;
    const QString word = trimmed.section(QLatin1Char(' '), 0, 0);
    if (word == "frame")
        return parseFrame(trimmed.mid(6), old, previous);
    if (word != "anim")
        return parseValue(trimmed, old, previous);
    if (!old || old->type() != CodeNode::Animation)
        return new Animation(previous, trimmed.mid(5));
    static_cast<Animation *>(old)->take(trimmed.mid(5));
    return old;
}

CodeNode *
Parser::parseHeader(const QString &code, CodeNode *old, CodeNode *previous, Kiln::RootCode *root)
{
    QString name = code.mid(1, code.indexOf(QLatin1Char(']')) - 1);
    unsigned int subType = 1;
    const int colon = name.indexOf(QLatin1Char(':'));
    if (colon >= 0) {
        subType = name.mid(colon + 1).toUInt();
        name.truncate(colon);
    }
    if (!root->groupEnabled(subType))
        return nullptr;
    if (old && old->type() == CodeNode::Group && static_cast<Group *>(old)->subType() == subType) {
        static_cast<Group *>(old)->take(name);
        return old;
    }
    return new Group(previous, name, subType);
}

CodeNode *Parser::parseValue(const QString &code, CodeNode *old, CodeNode *previous)
{
    const int equals = code.indexOf(QLatin1Char('='));
    const QStringList names = code.left(equals).split(QLatin1Char('+'));
    const Typed value = typed(equals < 0 ? QString() : code.mid(equals + 1).trimmed());
    const QString first = names.at(0).trimmed();
    const QString second = names.size() > 1 ? names.at(1).trimmed() : QString();

    auto *const kept = old && old->type() == CodeNode::Value ? static_cast<Value *>(old) : nullptr;
    if (kept && kept->valueType() == value.type && kept->parent() == groupAfter(previous) &&
        (kept->partner != nullptr) == !second.isNull()) {
        kept->take(first, value.value);
        if (kept->partner)
            kept->partner->take(second, value.value);
        return kept;
    }
    auto *const node = new Value(previous, first, value.type, value.value);
    if (!second.isNull())
        node->partner = new Value(node, second, value.type, value.value);
    return node;
}

CodeNode *Parser::parseFrame(const QString &code, CodeNode *old, CodeNode *previous)
{
    if (!old || old->type() != CodeNode::Frame || old->parent() != animationAfter(previous))
        return new Frame(previous, code);
    static_cast<Frame *>(old)->take(code);
    return old;
}

Document::Document(Parser *parser)
{
    for (const char *key : {"parseCode", "modelCode", "highlightCode"})
        setOption(QLatin1String(key), true, false, false);
    enableGroups({1, 2, 3});
    setParser(parser);
    highlighted = 0;
}

int Document::foldingKind(const QString &line)
{
    const QString trimmed = line.trimmed();
    if (trimmed.startsWith(QLatin1Char('[')))
        return line.startsWith(QLatin1Char(' ')) ? 1 : 1 | 4;
    return trimmed.contains(QLatin1Char('=')) ? 2 : 0;
}

QString sampleText(int count, int sectionSize)
{
    QString text;
    for (int line = 0; line < count; ++line) {
        if (line % sectionSize == 0)
            text += QString("[section%1:%2] ; head\n").arg(line).arg(line / sectionSize % 3 + 1);
        else if (line % 97 == 0)
            text += QString("! line %1\n").arg(line);
        else if (line % 10 == 0)
            text += QString("; comment %1\n").arg(line);
        else
            text += QString("speed%1 = %2 ; note\n").arg(line).arg(line * 7 % 1000);
    }
    return text;
}

namespace
{

QString describe(const CodeNode *node)
{
    return QString("type %1 on line %2").arg(node->type()).arg(node->lineNo());
}

/// The plain method for the rows: children in the order of the list, every one of them once.
void checkRows(Kiln::CodeDocument &document, QStringList &faults)
{
    QHash<const Kiln::ParentCode *, unsigned int> seen;
    const CodeNode *section = nullptr;
    for (const CodeNode *node = document.next(); node; node = node->next()) {
        Kiln::ParentCode *const parent = node->parent();
        if (node->type() == CodeNode::Value && parent != section)
            faults << QString("not in the nearest group: ") + describe(node);
        if (node->type() == CodeNode::Group)
            section = node;
        if (!parent)
            continue;
        const unsigned int row = seen[parent]++;
        if (parent->childAt(row) != node ||
            parent->childIndex(const_cast<CodeNode *>(node)) != int(row))
            faults << QString("row %1 is not ").arg(row) + describe(node);
    }
    for (auto entry = seen.cbegin(); entry != seen.cend(); ++entry) {
        if (entry.key()->childCount() != entry.value())
            faults << QString("too many children in ") + describe(entry.key());
    }
}

/// The list of messages holds those of the lines, in text order, and counts them right.
void checkMessages(Kiln::CodeDocument &document, QStringList &faults)
{
    using Kiln::Message;
    const Message::Type types[] = {Message::Error, Message::Warning, Message::Warning,
                                   Message::Information};
    const Kiln::Messages *const messages = document.messages();
    unsigned int counts[3] = {0, 0, 0};
    unsigned int row = 0;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const CodeBlockData *const data = CodeBlockData::testBlockData(block);
        for (int i = 0; data && i < data->syntaxMessages().size(); ++i, ++row) {
            const CodeBlockData::SyntaxMessage &expected = data->syntaxMessages().at(i);
            const Message message = messages->at(row, Message::All);
            if (message.line != block.blockNumber() || message.text != expected.text ||
                message.type != types[expected.type] || message.column != expected.begin)
                faults << QString("message %1 differs").arg(row);
            const Message same = messages->at(counts[message.type & 1]++, types[expected.type]);
            if (same.line != message.line || same.text != message.text)
                faults << QString("message %1 of its type differs").arg(row);
        }
    }
    for (const Message::Type type : {Message::Error, Message::Warning}) {
        if (messages->count(type) != counts[type])
            faults << QString("%1 messages of type %2").arg(messages->count(type)).arg(type);
    }
    if (messages->count(Message::All) != row ||
        messages->at(row, Message::All).type != Message::All)
        faults << QString("%1 messages instead of %2").arg(messages->count(Message::All)).arg(row);
}

} // namespace

QStringList faults(Kiln::CodeDocument &document)
{
    QStringList faults;
    checkRows(document, faults);
    checkMessages(document, faults);
    return faults;
}

} // namespace Plain
