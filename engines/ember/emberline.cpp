#include "emberline.h"

namespace
{

/// The part of `range` without the blanks at its ends.
EmberLine::Range trimmed(const QString &text, EmberLine::Range range)
{
    while (range.begin < range.end && text.at(range.begin).isSpace())
        ++range.begin;
    while (range.end > range.begin && text.at(range.end - 1).isSpace())
        --range.end;
    return range;
}

QString textIn(const QString &text, EmberLine::Range range)
{
    return text.mid(range.begin, range.end - range.begin);
}

bool isKey(const QString &text)
{
    for (const QChar character : text) {
        const bool fits = character.isLetterOrNumber() || character == QLatin1Char('_') ||
                          character == QLatin1Char('-');
        if (!fits)
            return false;
    }
    return !text.isEmpty();
}

} // namespace

EmberLine EmberLine::read(const QString &text)
{
    EmberLine line;
    line.comment = text.indexOf(QLatin1Char(';'));
    if (line.comment < 0)
        line.comment = text.size();
    line.code = trimmed(text, {0, line.comment});
    if (line.code.begin == line.code.end)
        return line;
    if (text.at(line.code.begin) == QLatin1Char('@')) {
        line.readHeader(text);
        return line;
    }
    line.kind = Broken;
    const int colon = text.indexOf(QLatin1Char(':'), line.code.begin);
    if (colon >= 0 && colon < line.code.end)
        line.readEntry(text, colon);
    return line;
}

EmberLine::Kind EmberLine::kindOf(const QString &text, int *level)
{
    int begin = 0;
    while (begin < text.size() && text.at(begin).isSpace())
        ++begin;
    *level = 0;
    if (begin == text.size() || text.at(begin) == QLatin1Char(';'))
        return Blank;
    while (*level < 2 && begin + *level < text.size() &&
           text.at(begin + *level) == QLatin1Char('@'))
        ++*level;
    return *level > 0 ? Header : Entry;
}

void EmberLine::readHeader(const QString &text)
{
    kind = Header;
    Range rest = code;
    while (level < 2 && rest.begin < rest.end && text.at(rest.begin) == QLatin1Char('@')) {
        ++level;
        ++rest.begin;
    }
    const QString words = textIn(text, rest).simplified();
    word = words.section(QLatin1Char(' '), 0, 0);
    name = words.section(QLatin1Char(' '), 1);
}

void EmberLine::readEntry(const QString &text, int colon)
{
    Range key{code.begin, code.begin};
    for (int i = code.begin; i <= colon; ++i) {
        if (i < colon && text.at(i) != QLatin1Char('+'))
            continue;
        key.end = i;
        key = trimmed(text, key);
        const QString name = textIn(text, key);
        if (!isKey(name))
            return;
        keys.append(name);
        keyRanges.append(key);
        key = {i + 1, i + 1};
    }
    kind = Entry;
    valueRange = trimmed(text, {colon + 1, code.end});
    value = textIn(text, valueRange);
}
