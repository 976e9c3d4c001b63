#include <kilnx/code/codedocument_p.h>

#include <algorithm>

namespace Kiln
{
namespace
{
using SyntaxMessage = CodeBlockData::SyntaxMessage;

constexpr int tokenTypes = 10;
constexpr int markKinds = 3;

/// The table of token formats, and each of them with the three kinds of underline.
struct SyntaxFormats {
    QTextCharFormat plain[tokenTypes];
    QTextCharFormat marked[markKinds][tokenTypes];

    SyntaxFormats();
    void set(int type, const QTextCharFormat &format);
};

QTextCharFormat tokenFormat(QFont::Weight weight, bool italic, const QColor &colour)
{
    QTextCharFormat format;
    format.setFontFamily(QStringLiteral("Courier"));
    format.setFontPointSize(10);
    format.setFontFixedPitch(true);
    format.setFontStyleHint(QFont::Monospace);
    format.setFontWeight(weight);
    format.setFontItalic(italic);
    format.setForeground(QBrush(colour, Qt::SolidPattern));
    return format;
}

SyntaxFormats::SyntaxFormats()
{
    set(CodeParserSyntax::Default, tokenFormat(QFont::Normal, false, Qt::black));
    set(CodeParserSyntax::Comment, tokenFormat(QFont::Normal, true, Qt::gray));
    set(CodeParserSyntax::Invalid, tokenFormat(QFont::Normal, false, Qt::red));
    set(CodeParserSyntax::Keyword, tokenFormat(QFont::Normal, false, Qt::blue));
    set(CodeParserSyntax::Name, tokenFormat(QFont::Bold, false, Qt::black));
    set(CodeParserSyntax::Section, tokenFormat(QFont::Bold, false, QColor(0, 128, 0)));
    set(CodeParserSyntax::Number, tokenFormat(QFont::Bold, false, QColor(255, 128, 0)));
    set(CodeParserSyntax::Constant, tokenFormat(QFont::Bold, false, QColor(0, 128, 128)));
    set(CodeParserSyntax::String, tokenFormat(QFont::Normal, false, QColor(128, 0, 255)));
    set(CodeParserSyntax::Function, tokenFormat(QFont::Normal, false, QColor(255, 0, 255)));
}

void SyntaxFormats::set(int type, const QTextCharFormat &format)
{
    const QColor underlines[markKinds] = {Qt::red, QColor(255, 127, 0), QColor(255, 255, 0)};
    plain[type] = format;
    for (int kind = 0; kind < markKinds; ++kind) {
        QTextCharFormat &mark = marked[kind][type];
        mark = format;
        mark.setUnderlineStyle(QTextCharFormat::SpellCheckUnderline);
        mark.setUnderlineColor(underlines[kind]);
    }
}

SyntaxFormats &formats()
{
    static SyntaxFormats table;
    return table;
}

bool isTokenType(int type)
{
    return type >= 0 && type < tokenTypes;
}

/// How a line's message counts and shows in the list.
Message::Type listedType(const SyntaxMessage &message)
{
    constexpr Message::Type types[] = {Message::Error, Message::Warning, Message::Warning,
                                       Message::Information};
    return types[message.type & 3];
}

bool passes(const SyntaxMessage &message, Message::Type type)
{
    return type == Message::All || listedType(message) == type;
}

unsigned int countPassing(const QVector<SyntaxMessage> &messages, Message::Type type)
{
    if (type == Message::All)
        return unsigned(messages.size());
    unsigned int count = 0;
    for (const SyntaxMessage &message : messages)
        count += passes(message, type) ? 1 : 0;
    return count;
}
} // namespace

void CodeDocument::setSyntaxFormat(CodeParserSyntax::TokenType type, const QTextCharFormat &format)
{
    if (isTokenType(type))
        formats().set(type, format);
}

QTextCharFormat CodeDocument::syntaxFormat(CodeParserSyntax::TokenType type)
{
    return isTokenType(type) ? formats().plain[type] : QTextCharFormat();
}

void CodeDocument::setRemarks(const QTextBlock &line, const QVector<SyntaxMessage> &remarks)
{
    d->setRemarks(line, remarks);
}

void CodeDocumentPrivate::setToken(TokenType type, int begin, int end)
{
    if (!current || !isTokenType(type))
        return;
    setFormat(begin, end - begin, formats().plain[type]);
    current->d->isPainted |= begin < end;
    current->d->parsed |= type != Comment;
}

void CodeDocumentPrivate::mark(int kind, TokenType type, const QString &text, int begin, int end)
{
    if (!current || !isTokenType(type))
        return;
    setFormat(begin, end - begin, formats().marked[kind][type]);
    current->d->isPainted |= begin < end;
    current->d->parsed = true;
    pendingMessages.append({kind, begin, end, text});
}

void CodeDocumentPrivate::setError(TokenType type, const QString &text, int begin, int end)
{
    mark(SyntaxMessage::Error, type, text, begin, end);
}

void CodeDocumentPrivate::setDeprecation(TokenType type, const QString &text, int begin, int end)
{
    mark(SyntaxMessage::Deprecation, type, text, begin, end);
}

void CodeDocumentPrivate::setWarning(TokenType type, const QString &text, int begin, int end)
{
    mark(SyntaxMessage::Warning, type, text, begin, end);
}

void CodeDocumentPrivate::addParenthesis(bool open, QChar character, int position)
{
    using Parenthesis = CodeBlockData::Parenthesis;
    if (current)
        current->d->parenthesis.append(
            {open ? Parenthesis::Open : Parenthesis::Close, character, position});
}

ProjectFile *CodeDocumentPrivate::file() const
{
    return document;
}

unsigned int CodeDocumentPrivate::count(Message::Type type) const
{
    if (type >= Message::Error && type <= Message::Information)
        return unsigned(messageCounts[type]);
    return unsigned(messageCounts[0] + messageCounts[1] + messageCounts[2]);
}

CodeBlockData *CodeDocumentPrivate::nextOf(const MessagePlace &place) const
{
    return place.before ? place.before->d->nextMessageBlock : firstMessageBlock;
}

Message CodeDocumentPrivate::at(unsigned int index, Message::Type type) const
{
    // Views read row by row: the search goes on where the last one ended.
    if (type != readType || index < readPlace.row)
        readPlace = MessagePlace();
    readType = type;
    while (CodeBlockData *data = nextOf(readPlace)) {
        const unsigned int passing = countPassing(data->d->syntaxMessages, type);
        if (index < readPlace.row + passing) {
            unsigned int skip = index - readPlace.row;
            for (const SyntaxMessage &message : qAsConst(data->d->syntaxMessages)) {
                if (passes(message, type) && skip-- == 0)
                    return {listedType(message), data->d->block.blockNumber(), message.begin,
                            message.text};
            }
        }
        readPlace = {data, readPlace.row + passing};
    }
    return Message();
}

void CodeDocumentPrivate::dropMessages(CodeBlockData *data)
{
    QVector<SyntaxMessage> &messages = data->d->syntaxMessages;
    data->d->remarkCount = 0;
    if (messages.isEmpty())
        return;
    // Views of this model are refreshed through the project's list, so the rows are announced
    // without a search for their place.
    beginRemoveRows(QModelIndex(), 0, messages.size() - 1);
    const auto findFrom = [this, data](MessagePlace place) {
        CodeBlockData *next = nextOf(place);
        for (; next && next != data; next = nextOf(place))
            place = {next, place.row + unsigned(next->d->syntaxMessages.size())};
        return next ? place : MessagePlace();
    };
    messagePlace = findFrom(messagePlace);
    if (nextOf(messagePlace) != data)
        messagePlace = findFrom(MessagePlace());
    for (const SyntaxMessage &message : qAsConst(messages))
        --messageCounts[listedType(message)];
    (messagePlace.before ? messagePlace.before->d->nextMessageBlock : firstMessageBlock) =
        data->d->nextMessageBlock;
    data->d->nextMessageBlock = nullptr;
    readPlace = MessagePlace();
    messages.resize(0);
    endRemoveRows();
}

/// Gives a line that has no messages those of `messages`, which is left empty.
void CodeDocumentPrivate::linkMessages(CodeBlockData *data, QVector<SyntaxMessage> &messages)
{
    if (messages.isEmpty())
        return;
    const int line = data->d->block.blockNumber();
    MessagePlace place = messagePlace;
    if (place.before && place.before->d->block.blockNumber() >= line)
        place = MessagePlace();
    for (CodeBlockData *next = nextOf(place); next && next->d->block.blockNumber() < line;
         next = nextOf(place))
        place = {next, place.row + unsigned(next->d->syntaxMessages.size())};

    beginInsertRows(QModelIndex(), int(place.row), int(place.row) + messages.size() - 1);
    data->d->syntaxMessages.swap(messages);
    messages.resize(0);
    for (const SyntaxMessage &message : qAsConst(data->d->syntaxMessages))
        ++messageCounts[listedType(message)];
    CodeBlockData *&link = place.before ? place.before->d->nextMessageBlock : firstMessageBlock;
    data->d->nextMessageBlock = link;
    link = data;
    messagePlace = place;
    readPlace = MessagePlace();
    endInsertRows();
}

void CodeDocumentPrivate::addMessage(const QTextBlock &block, const SyntaxMessage &message)
{
    CodeBlockData *data = CodeBlockData::blockData(block, this);
    if (!data)
        return;
    const int remarkCount = data->d->remarkCount;
    QVector<SyntaxMessage> messages = data->d->syntaxMessages;
    messages.insert(messages.size() - remarkCount, message);
    replaceMessages(data, messages, remarkCount);
}

void CodeDocumentPrivate::setRemarks(const QTextBlock &block, const QVector<SyntaxMessage> &remarks)
{
    if (block.document() != document)
        return;
    CodeBlockData *data = CodeBlockData::blockData(block, this);
    if (!data || (data->d->remarkCount == 0 && remarks.isEmpty()))
        return;
    const auto isSame = [](const SyntaxMessage &one, const SyntaxMessage &other) {
        return one.type == other.type && one.begin == other.begin && one.end == other.end &&
               one.text == other.text;
    };
    QVector<SyntaxMessage> messages = data->d->syntaxMessages;
    const int parsed = messages.size() - data->d->remarkCount;
    if (std::equal(messages.cbegin() + parsed, messages.cend(), remarks.cbegin(), remarks.cend(),
                   isSame))
        return;
    messages.resize(parsed);
    replaceMessages(data, messages + remarks, remarks.size());
}

void CodeDocumentPrivate::replaceMessages(CodeBlockData *data,
                                          QVector<SyntaxMessage> messages,
                                          int remarkCount)
{
    beginUpdate();
    dropMessages(data);
    linkMessages(data, messages);
    data->d->remarkCount = remarkCount;
    endUpdate();
}
} // namespace Kiln
