#include "emberlanguage.h"

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

using Type = Kiln::ValueCode::Type;

constexpr Type valueType(int number)
{
    return static_cast<Type>(number);
}

constexpr Type EnumType = valueType(6);
constexpr Type EnumListType = valueType(7);
constexpr Type DateType = valueType(5);
constexpr Type RealType = valueType(8);
constexpr Type PointFType = valueType(9);
constexpr Type IntType = valueType(13);
constexpr Type PointType = valueType(14);

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
    {"title", valueType(Quoted)}, {"author", valueType(Words)},   {"made", DateType},
    {"revision", RealType},       {"moods", EnumListType, moods}, {"tint", valueType(Tint)},
};

const Entry filesEntries[] = {
    {"commands", valueType(Name), nullptr, 0, 0, nullptr, 16},
    {"states", valueType(Name), nullptr, 0, 0, nullptr, 32},
    {"brain", valueType(Name), nullptr, 0, 0, nullptr, 32},
    {"rules", valueType(Name), nullptr, 0, 0, nullptr, 32},
    {"animations", valueType(Name), nullptr, 0, 0, nullptr, 8},
    {"cast", valueType(Name), nullptr, 0, 0, nullptr, 1},
    {"sounds", valueType(Name), nullptr, 0, 0, nullptr, 4},
};

const Entry bodyEntries[] = {
    {"life", IntType, nullptr, 1, 9999},
    {"weight", RealType, nullptr, 0.1, 500},
    {"size", PointType},
    {"eyes", PointFType},
    {"facing", EnumType, sides},
    {"box", valueType(Box)},
    {"grip", valueType(Frame)},
    {"strides", valueType(Reals)},
};

const Entry groundEntries[] = {
    {"size", PointType},
    {"scale", PointFType},
    {"bounds", valueType(Box)},
    {"start", PointType},
    {"pull", PointFType},
    {"light", valueType(Shares)},
    {"gusts", valueType(Reals)},
    {"weather", EnumType, weathers},
    {"hours", EnumListType, hours},
};

const Entry layerEntries[] = {
    {"depth", RealType, nullptr, 0, 100},
    {"offset", PointType},
    {"drift", PointFType},
    {"velocity", PointFType, nullptr, 0, 0, "drift"},
    {"tile", PointType},
    {"tint", valueType(Tint)},
    {"opacity", RealType, nullptr, 0, 1},
    {"shown", EnumType, yesNo},
};

const Entry matchEntries[] = {
    {"rounds", IntType, nullptr, 1, 9}, {"time", IntType, nullptr, 10, 999},
    {"first", valueType(Name)},         {"arena", valueType(Name)},
    {"handicap", valueType(Reals)},     {"won", valueType(Formula)},
};

const Entry commandEntries[] = {
    {"press", EnumListType, buttons},
    {"within", IntType, nullptr, 1, 600},
    {"hold", RealType, nullptr, 0, 10},
    {"facing", EnumType, sides},
};

const Entry stateEntries[] = {
    {"posture", EnumType, postures},
    {"cel", valueType(Name)},
    {"steered", EnumType, yesNo},
    {"drift", PointFType},
    {"velocity", PointFType, nullptr, 0, 0, "drift"},
    {"ticks", valueType(Ints)},
    {"cost", IntType, nullptr, 0, 9999},
    {"pull", RealType},
    {"glow", valueType(Tint)},
    {"box", valueType(Box)},
    {"say", valueType(Quoted)},
    {"aim", valueType(Words)},
};

const Entry ruleEntries[] = {
    {"when", valueType(Formula)},        {"then", valueType(Name)},
    {"chance", RealType, nullptr, 0, 1}, {"after", IntType, nullptr, 0, 9999},
    {"set", valueType(Formula)},         {"say", valueType(Quoted)},
};

const Entry stepEntries[] = {
    {"cel", valueType(Name)},
    {"lasts", IntType, nullptr, 1, 600},
    {"push", PointType},
    {"drift", PointFType},
    {"velocity", PointFType, nullptr, 0, 0, "drift"},
    {"box", valueType(Box)},
    {"harm", IntType, nullptr, 0, 999},
    {"spark", valueType(Name)},
    {"shake", valueType(Reals)},
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
int itemCount(int type)
{
    switch (type) {
    case PointFType:
    case PointType:
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

Reading readNumbers(int type, const QString &text, bool whole)
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
        return failed(text, translated("%1 numbers expected, parted by commas").arg(count));
    if (type == PointType)
        return {QPoint(items.at(0).toInt(), items.at(1).toInt()), QString(), QString()};
    if (type == PointFType)
        return {QPointF(items.at(0).toReal(), items.at(1).toReal()), QString(), QString()};
    return {items, QString(), QString()};
}

Reading readNumber(const Entry *entry, const QString &text)
{
    const Reading reading = readNumbers(entry->type, text, entry->type == IntType);
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
        reading.error = translated("Directories are parted by '/'");
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
    switch (static_cast<int>(entry->type)) {
    case Name:
        return entry->fileId ? readFileName(text) : Reading{text, QString(), QString()};
    case Formula:
        return readFormula(text);
    case Quoted:
        return readQuoted(text);
    case DateType:
        return readDate(text);
    case EnumType:
        return readWords(entry, text, false);
    case EnumListType:
        return readWords(entry, text, true);
    case PointFType:
    case Reals:
    case Shares:
    case Frame:
        return readNumbers(entry->type, text, false);
    case PointType:
    case Ints:
    case Tint:
    case Box:
        return readNumbers(entry->type, text, true);
    case RealType:
    case IntType:
        return readNumber(entry, text);
    default:
        return {text, QString(), QString()};
    }
}

QString writeValue(const Entry *entry, const QVariant &value)
{
    if (!entry || value.type() == QVariant::String) {
        QString text = oneLine(value.toString());
        if (entry && static_cast<int>(entry->type) == Quoted)
            text = QLatin1Char('"') + text.replace(QLatin1Char('"'), QLatin1Char('\'')) +
                   QLatin1Char('"');
        return text;
    }
    switch (static_cast<int>(entry->type)) {
    case DateType:
        return value.toDate().toString(Qt::ISODate);
    case EnumType:
        return words(entry).value(value.toInt());
    case EnumListType: {
        QStringList texts;
        for (const QVariant &item : value.toList())
            texts.append(words(entry).value(item.toInt()));
        return texts.join(QLatin1String(", "));
    }
    case PointFType: {
        const QPointF point = value.toPointF();
        return real(point.x()) + QLatin1String(", ") + real(point.y());
    }
    case PointType: {
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
