#include "emberlanguage.h"

#include <kilnx/project/project.h>

#include <QCoreApplication>
#include <QDate>
#include <QHash>
#include <QPoint>
#include <QPointF>

#include <cmath>

namespace EmberLanguage
{

namespace
{

using FileID = Kiln::Project::FileID;

struct SectionInfo {
    Section section;
    const char *word;
    bool inner;
    bool named;
};

const SectionInfo sectionTable[] = {
    {About, "about", false, false},    {Files, "files", false, false},
    {Body, "body", false, false},      {Ground, "ground", false, false},
    {Layer, "layer", false, true},     {Match, "match", false, false},
    {Command, "command", false, true}, {State, "state", false, true},
    {Rule, "on", true, true},          {Step, "step", true, true},
    {Sketch, "sketch", false, true},   {Note, "note", false, false},
};

const char moods[] = "calm brave sly kind stubborn weary";
const char hours[] = "dawn day dusk night";
const char weathers[] = "clear rain fog storm";
const char buttons[] = "up down toward away strike kick guard dash";
const char sides[] = "left right";
const char postures[] = "standing crouching airborne lying";
const char yesNo[] = "no yes";

const Entry aboutEntries[] = {
    {"title", Quoted},
    {"author", Words},
    {"made", Type::Date},
    {"revision", Type::Real},
    {"moods", Type::EnumList, moods},
    {"tint", Tint},
};

const Entry filesEntries[] = {
    {"commands", Name, nullptr, 0, 0, nullptr, FileID::Commands},
    {"states", Name, nullptr, 0, 0, nullptr, FileID::Code},
    {"brain", Name, nullptr, 0, 0, nullptr, FileID::Code},
    {"rules", Name, nullptr, 0, 0, nullptr, FileID::Code},
    {"animations", Name, nullptr, 0, 0, nullptr, FileID::Animations},
    {"cast", Name, nullptr, 0, 0, nullptr, FileID::Definition},
    {"sounds", Name, nullptr, 0, 0, nullptr, FileID::Sounds},
    {"sprites", Name, nullptr, 0, 0, nullptr, FileID::Sprites},
};

const Entry bodyEntries[] = {
    {"life", Type::Int, nullptr, 1, 9999},
    {"weight", Type::Real, nullptr, 0.1, 500},
    {"size", Type::Point},
    {"eyes", Type::PointF},
    {"facing", Type::Enum, sides},
    {"box", Box},
    {"grip", Frame},
    {"strides", Reals},
};

const Entry groundEntries[] = {
    {"size", Type::Point},
    {"scale", Type::PointF},
    {"bounds", Box},
    {"start", Type::Point},
    {"pull", Type::PointF},
    {"light", Shares},
    {"gusts", Reals},
    {"weather", Type::Enum, weathers},
    {"hours", Type::EnumList, hours},
};

const Entry layerEntries[] = {
    {"depth", Type::Real, nullptr, 0, 100},
    {"offset", Type::Point},
    {"drift", Type::PointF},
    {"velocity", Type::PointF, nullptr, 0, 0, "drift"},
    {"tile", Type::Point},
    {"tint", Tint},
    {"opacity", Type::Real, nullptr, 0, 1},
    {"shown", Type::Enum, yesNo},
};

const Entry matchEntries[] = {
    {"rounds", Type::Int, nullptr, 1, 9},
    {"time", Type::Int, nullptr, 10, 999},
    {"first", Name},
    {"arena", Name},
    {"handicap", Reals},
    {"won", Formula},
};

const Entry commandEntries[] = {
    {"press", Type::EnumList, buttons},
    {"within", Type::Int, nullptr, 1, 600},
    {"hold", Type::Real, nullptr, 0, 10},
    {"facing", Type::Enum, sides},
};

const Entry stateEntries[] = {
    {"posture", Type::Enum, postures},
    {"cel", Name},
    {"steered", Type::Enum, yesNo},
    {"drift", Type::PointF},
    {"velocity", Type::PointF, nullptr, 0, 0, "drift"},
    {"ticks", Ints},
    {"cost", Type::Int, nullptr, 0, 9999},
    {"pull", Type::Real},
    {"glow", Tint},
    {"box", Box},
    {"say", Quoted},
    {"aim", Words},
};

const Entry ruleEntries[] = {
    {"when", Formula},
    {"then", Name},
    {"chance", Type::Real, nullptr, 0, 1},
    {"after", Type::Int, nullptr, 0, 9999},
    {"set", Formula},
    {"say", Quoted},
};

const Entry stepEntries[] = {
    {"cel", Name},
    {"lasts", Type::Int, nullptr, 1, 600},
    {"push", Type::Point},
    {"drift", Type::PointF},
    {"velocity", Type::PointF, nullptr, 0, 0, "drift"},
    {"box", Box},
    {"harm", Type::Int, nullptr, 0, 999},
    {"spark", Name},
    {"shake", Reals},
};

struct Table {
    const Entry *begin = nullptr;
    const Entry *end = nullptr;
};

template<size_t size>
Table table(const Entry (&entries)[size])
{
    return {entries, entries + size};
}

Table tableOf(unsigned int section)
{
    switch (section) {
    case About:
        return table(aboutEntries);
    case Files:
        return table(filesEntries);
    case Body:
        return table(bodyEntries);
    case Ground:
        return table(groundEntries);
    case Layer:
        return table(layerEntries);
    case Match:
        return table(matchEntries);
    case Command:
        return table(commandEntries);
    case State:
    case Sketch:
        return table(stateEntries);
    case Rule:
        return table(ruleEntries);
    case Step:
        return table(stepEntries);
    default:
        return {};
    }
}

const SectionInfo *sectionInfo(unsigned int section)
{
    for (const SectionInfo &info : sectionTable) {
        if (info.section == section)
            return &info;
    }
    return nullptr;
}

QString translated(const char *text)
{
    return QCoreApplication::translate("EmberLanguage", text);
}

Reading failed(const QString &text, const QString &error)
{
    return {text, error, QString()};
}

/// A warning when the number lies outside the range of the entry.
QString rangeWarning(const Entry *entry, double number)
{
    if (entry->least == entry->most || (number >= entry->least && number <= entry->most))
        return QString();
    return translated("%1 is outside the range %2 to %3")
        .arg(number)
        .arg(entry->least)
        .arg(entry->most);
}

/// How many items a list of this type has; 0 for "one or more".
int itemCount(Type type)
{
    switch (type) {
    case Type::PointF:
    case Type::Point:
        return 2;
    case Shares:
    case Tint:
        return 3;
    case Frame:
    case Box:
        return 4;
    default:
        return 0;
    }
}

bool toNumber(const QString &text, bool whole, QVariant &number)
{
    bool ok = false;
    if (whole) {
        number = text.toInt(&ok, 10);
        return ok;
    }
    const double real = text.toDouble(&ok);
    number = real;
    return ok && std::isfinite(real);
}

Reading readNumbers(Type type, const QString &text, bool whole)
{
    QVariantList items;
    for (const QString &part : text.split(QLatin1Char(','))) {
        QVariant number;
        if (!toNumber(part.trimmed(), whole, number)) {
            return failed(text, (whole ? translated("'%1' is not a whole number")
                                       : translated("'%1' is not a number"))
                                    .arg(part.trimmed()));
        }
        items.append(number);
    }
    const int count = itemCount(type);
    if (count && items.size() != count)
        return failed(text, translated("%1 numbers expected, separated by commas").arg(count));
    if (type == Type::Point)
        return {QPoint(items.at(0).toInt(), items.at(1).toInt()), QString(), QString()};
    if (type == Type::PointF)
        return {QPointF(items.at(0).toReal(), items.at(1).toReal()), QString(), QString()};
    return {items, QString(), QString()};
}

Reading readNumber(const Entry *entry, const QString &text)
{
    const Reading reading = readNumbers(entry->type, text, entry->type == Type::Int);
    const QVariantList items = reading.value.toList();
    if (!reading.error.isEmpty())
        return reading;
    if (items.size() != 1)
        return failed(text, translated("One number expected"));
    return {items.first(), QString(), rangeWarning(entry, items.first().toReal())};
}

Reading readWords(const Entry *entry, const QString &text, bool several)
{
    const QStringList known = words(entry);
    QVariantList values;
    for (const QString &part : several ? text.split(QLatin1Char(',')) : QStringList(text)) {
        const int value = known.indexOf(part.trimmed());
        if (value < 0) {
            return failed(text, translated("'%1' is not one of: %2")
                                    .arg(part.trimmed(), known.join(QLatin1String(", "))));
        }
        values.append(static_cast<unsigned int>(value));
    }
    if (several)
        return {values, QString(), QString()};
    return {values.first(), QString(), QString()};
}

Reading readQuoted(const QString &text)
{
    const QChar quote = QLatin1Char('"');
    if (text.size() < 2 || !text.startsWith(quote) || text.indexOf(quote, 1) != text.size() - 1)
        return failed(text, translated("Text in double quotes expected"));
    return {text.mid(1, text.size() - 2), QString(), QString()};
}

Reading readDate(const QString &text)
{
    const QDate date = QDate::fromString(text, Qt::ISODate);
    if (!date.isValid() || text.size() != 10)
        return failed(text, translated("'%1' is not a date such as 2026-03-01").arg(text));
    return {date, QString(), QString()};
}

/// The names of files stand in definitions that travel from machine to machine.
Reading readFileName(const QString &text)
{
    Reading reading{text, QString(), QString()};
    if (text.startsWith(QLatin1Char('/')) || text.mid(1, 1) == QLatin1String(":"))
        reading.error = translated("The name of a file must be relative to this file");
    else if (text.contains(QLatin1Char('\\')))
        reading.error = translated("Directories are separated by '/'");
    else if (text.split(QLatin1Char('/')).contains(QLatin1String("..")))
        reading.warning = translated("'%1' may lie outside the project").arg(text);
    return reading;
}

Reading readFormula(const QString &text)
{
    if (unpairedBracket(text) >= 0)
        return {text, translated("A bracket has no partner"), QString()};
    return {text, QString(), QString()};
}

QString joined(const QVariantList &items)
{
    QStringList texts;
    for (const QVariant &item : items)
        texts.append(item.toString());
    return texts.join(QLatin1String(", "));
}

QString real(double number)
{
    return QString::number(number, 'g', 6);
}

/// One line of text without the characters that end it or open a comment.
QString oneLine(QString text)
{
    for (QChar &character : text) {
        if (character == QLatin1Char(';'))
            character = QLatin1Char(',');
        else if (character < QLatin1Char(' ') || character == QChar::ParagraphSeparator ||
                 character == QChar::LineSeparator)
            character = QLatin1Char(' ');
    }
    return text.trimmed();
}

} // namespace

Section sectionByWord(const QString &word)
{
    for (const SectionInfo &info : sectionTable) {
        if (word == QLatin1String(info.word))
            return info.section;
    }
    return Unknown;
}

QString sectionWord(unsigned int section)
{
    const SectionInfo *info = sectionInfo(section);
    return info ? QString::fromLatin1(info->word) : QString();
}

bool isInner(unsigned int section)
{
    const SectionInfo *info = sectionInfo(section);
    return info && info->inner;
}

bool needsName(unsigned int section)
{
    const SectionInfo *info = sectionInfo(section);
    return info && info->named;
}

const Entry *entry(unsigned int section, const QString &name)
{
    const Table known = tableOf(section);
    for (const Entry *entry = known.begin; entry != known.end; ++entry) {
        if (name == QLatin1String(entry->name))
            return entry;
    }
    return nullptr;
}

QString entryName(const Entry *entry)
{
    static QHash<const Entry *, QString> names;
    QString &name = names[entry];
    if (name.isNull())
        name = QString::fromLatin1(entry->name);
    return name;
}

QVector<const Entry *> entries(unsigned int section)
{
    const Table known = tableOf(section);
    QVector<const Entry *> list;
    for (const Entry *entry = known.begin; entry != known.end; ++entry)
        list.append(entry);
    return list;
}

QStringList words(const Entry *entry)
{
    if (!entry || !entry->words)
        return QStringList();
    return QString::fromLatin1(entry->words).split(QLatin1Char(' '));
}

Reading readValue(const Entry *entry, const QString &text)
{
    if (!entry)
        return {text, QString(), QString()};
    if (text.isEmpty())
        return failed(text, translated("'%1' has no value").arg(QLatin1String(entry->name)));
    switch (entry->type) {
    case Name:
        return entry->fileId ? readFileName(text) : Reading{text, QString(), QString()};
    case Formula:
        return readFormula(text);
    case Quoted:
        return readQuoted(text);
    case Type::Date:
        return readDate(text);
    case Type::Enum:
        return readWords(entry, text, false);
    case Type::EnumList:
        return readWords(entry, text, true);
    case Type::PointF:
    case Reals:
    case Shares:
    case Frame:
        return readNumbers(entry->type, text, false);
    case Type::Point:
    case Ints:
    case Tint:
    case Box:
        return readNumbers(entry->type, text, true);
    case Type::Real:
    case Type::Int:
        return readNumber(entry, text);
    default:
        return {text, QString(), QString()};
    }
}

QString writeValue(const Entry *entry, const QVariant &value)
{
    if (!entry || value.type() == QVariant::String) {
        QString text = oneLine(value.toString());
        if (entry && entry->type == Quoted)
            text = QLatin1Char('"') + text.replace(QLatin1Char('"'), QLatin1Char('\'')) +
                   QLatin1Char('"');
        return text;
    }
    switch (entry->type) {
    case Type::Date:
        return value.toDate().toString(Qt::ISODate);
    case Type::Enum:
        return words(entry).value(value.toInt());
    case Type::EnumList: {
        QStringList texts;
        for (const QVariant &item : value.toList())
            texts.append(words(entry).value(item.toInt()));
        return texts.join(QLatin1String(", "));
    }
    case Type::PointF: {
        const QPointF point = value.toPointF();
        return real(point.x()) + QLatin1String(", ") + real(point.y());
    }
    case Type::Point: {
        const QPoint point = value.toPoint();
        return QString::number(point.x()) + QLatin1String(", ") + QString::number(point.y());
    }
    case Reals:
    case Shares:
    case Frame:
    case Ints:
    case Tint:
    case Box:
        return joined(value.toList());
    default:
        return oneLine(value.toString());
    }
}

int unpairedBracket(const QString &text)
{
    QVector<int> open;
    for (int i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        if (QLatin1String("([{").contains(character)) {
            open.append(i);
            continue;
        }
        const int kind = QLatin1String(")]}").indexOf(character);
        if (kind < 0)
            continue;
        if (open.isEmpty() || text.at(open.last()) != QLatin1Char("([{"[kind]))
            return i;
        open.removeLast();
    }
    return open.isEmpty() ? -1 : open.last();
}

} // namespace EmberLanguage
