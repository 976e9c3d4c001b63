#include "emberpaint.h"

using Kiln::CodeParserSyntax;

EmberPaint::EmberPaint(CodeParserSyntax *syntax, const QString &text)
    : m_syntax(syntax)
    , m_text(text)
{
}

void EmberPaint::token(Token token, Range range)
{
    if (m_syntax && range.begin < range.end)
        m_syntax->setToken(token, range.begin, range.end);
}

void EmberPaint::error(Token token, const QString &message, Range range)
{
    if (m_syntax)
        m_syntax->setError(token, message, range.begin, range.end);
}

void EmberPaint::warning(Token token, const QString &message, Range range)
{
    if (m_syntax)
        m_syntax->setWarning(token, message, range.begin, range.end);
}

void EmberPaint::deprecation(Token token, const QString &message, Range range)
{
    if (m_syntax)
        m_syntax->setDeprecation(token, message, range.begin, range.end);
}

void EmberPaint::comment(const EmberLine &line)
{
    token(CodeParserSyntax::Comment, {line.comment, m_text.size()});
}

void EmberPaint::header(const EmberLine &line)
{
    const int name =
        line.name.isEmpty()
            ? line.code.end
            : m_text.indexOf(line.name.section(QLatin1Char(' '), 0, 0),
                             m_text.indexOf(line.word, line.code.begin) + line.word.size());
    token(CodeParserSyntax::Section, {line.code.begin, name});
    token(CodeParserSyntax::Name, {name, line.code.end});
}

void EmberPaint::value(const EmberLanguage::Entry *entry, Range range)
{
    if (!entry) {
        token(CodeParserSyntax::Default, range);
        return;
    }
    switch (entry->type) {
    case EmberLanguage::Formula:
        formula(range);
        break;
    case EmberLanguage::Name:
        token(CodeParserSyntax::Default, range);
        break;
    case EmberLanguage::Quoted:
    case EmberLanguage::Words:
        token(CodeParserSyntax::String, range);
        break;
    case Kiln::ValueCode::Enum:
    case Kiln::ValueCode::EnumList:
        token(CodeParserSyntax::Constant, range);
        break;
    default:
        token(CodeParserSyntax::Number, range);
    }
}

void EmberPaint::brackets(Range range)
{
    if (!m_syntax)
        return;
    bool quoted = false;
    for (int i = range.begin; i < range.end; ++i) {
        const QChar character = m_text.at(i);
        switch (character.unicode()) {
        case '"':
            quoted = !quoted;
            break;
        case '(':
        case '[':
        case '{':
        case ')':
        case ']':
        case '}':
            if (!quoted)
                m_syntax->addParenthesis(QLatin1String("([{").contains(character), character, i);
            break;
        default:
            break;
        }
    }
}

void EmberPaint::formula(Range range)
{
    if (!m_syntax)
        return;
    const QStringList keywords{QStringLiteral("and"), QStringLiteral("or"), QStringLiteral("not")};
    int i = range.begin;
    while (i < range.end) {
        Range word{i, i + 1};
        while (word.end < range.end && m_text.at(i).isLetterOrNumber() &&
               (m_text.at(word.end).isLetterOrNumber() || m_text.at(word.end) == QLatin1Char('.')))
            ++word.end;
        if (m_text.at(i).isDigit())
            token(CodeParserSyntax::Number, word);
        else if (keywords.contains(m_text.mid(i, word.end - i)))
            token(CodeParserSyntax::Keyword, word);
        else if (word.end < range.end && m_text.at(word.end) == QLatin1Char('('))
            token(CodeParserSyntax::Function, word);
        else
            token(CodeParserSyntax::Default, word);
        i = word.end;
    }
}
