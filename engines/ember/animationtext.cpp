#include "animationtext.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <limits>

namespace EmberAnimationText
{

namespace
{

const char ever[] = "ever";
const char *const flips[] = {"none", "v", "h", "hv"};
constexpr int lastLayer = 9;

QString translated(const char *text)
{
    return QCoreApplication::translate("EmberAnimationText", text);
}

Range trimmed(const QString &text, Range range)
{
    while (range.begin < range.end && text.at(range.begin).isSpace())
        ++range.begin;
    while (range.end > range.begin && text.at(range.end - 1).isSpace())
        --range.end;
    return range;
}

/// Reads the clauses of one line and keeps what is wrong with them.
class Reader
{
public:
    explicit Reader(QVector<Fault> *faults)
        : m_faults(faults)
    {
    }

    void fault(const QString &text, Range range)
    {
        if (m_faults)
            m_faults->append({text, range});
    }

    void faultIn(const Clause &clause, const char *expected)
    {
        fault(translated("'%1' wants %2").arg(clause.word, translated(expected)), clause.range);
    }

    /// Whether the clause counts: its word is one of `words` and was not there before.
    bool isFirst(const Clause &clause, const QStringList &words)
    {
        const bool known = words.contains(clause.word);
        const bool repeated = m_known.contains(clause.word);
        if (!known)
            fault(translated("There is no '%1' here").arg(clause.word), clause.range);
        else if (repeated)
            fault(translated("'%1' is given twice").arg(clause.word), clause.range);
        else
            m_known.append(clause.word);
        return known && !repeated;
    }

    /// One or two numbers; `numbers` stays as it is if they cannot be read.
    static bool reals(const QString &arguments, QVector<qreal> &numbers)
    {
        QVector<qreal> read;
        for (const QString &word : arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            bool isNumber = false;
            read.append(word.toDouble(&isNumber));
            if (!isNumber || !std::isfinite(read.last()))
                return false;
        }
        if (read.isEmpty() || read.size() > 2)
            return false;
        numbers = read;
        return true;
    }

    static bool ints(const QString &text, QChar separator, int count, QVector<int> &numbers)
    {
        QVector<int> read;
        const QStringList words = text.split(separator);
        for (const QString &word : words) {
            bool isNumber = false;
            read.append(word.trimmed().toInt(&isNumber, 10));
            if (!isNumber)
                return false;
        }
        if (read.size() != count)
            return false;
        numbers = read;
        return true;
    }

    void bare(const Clause &clause, bool &value)
    {
        value = clause.arguments.isEmpty();
        if (!value)
            faultIn(clause, "nothing behind it");
    }

    void frameClause(const Clause &clause, FrameValues &values)
    {
        QVector<int> whole;
        QVector<qreal> real;
        if (clause.word == QLatin1String("at")) {
            if (ints(clause.arguments, QLatin1Char(' '), 2, whole))
                values.offset = {whole.at(0), whole.at(1)};
            else
                faultIn(clause, "two whole numbers");
        } else if (clause.word == QLatin1String("for")) {
            if (clause.arguments == QLatin1String(ever))
                values.delay = -1;
            else if (ints(clause.arguments, QLatin1Char(' '), 1, whole) && whole.at(0) >= 0)
                values.delay = whole.at(0);
            else
                faultIn(clause, "a number of ticks, or 'ever'");
        } else if (clause.word == QLatin1String("scale")) {
            if (reals(clause.arguments, real))
                values.scale = {real.first(), real.last()};
            else
                faultIn(clause, "one or two numbers");
        } else if (clause.word == QLatin1String("angle")) {
            if (reals(clause.arguments, real) && real.size() == 1)
                values.angle = real.first();
            else
                faultIn(clause, "a number");
        } else if (clause.word == QLatin1String("opacity")) {
            if (reals(clause.arguments, real) && real.size() == 1 && real.first() >= 0 &&
                real.first() <= 1)
                values.opacity = real.first();
            else
                faultIn(clause, "a number from 0 to 1");
        } else if (clause.word == QLatin1String("flip")) {
            flipClause(clause, values.flip);
        } else {
            bare(clause, values.loopPoint);
        }
    }

private:
    void flipClause(const Clause &clause, int &flip)
    {
        for (int value = 0; value < 4; ++value) {
            if (clause.arguments == QLatin1String(flips[value])) {
                flip = value;
                return;
            }
        }
        faultIn(clause, "'h', 'v', 'hv' or 'none'");
    }

    QVector<Fault> *m_faults;
    QStringList m_known; ///< the known words that were there
};

QString numberText(qreal number)
{
    return QString::number(number, 'g', 10);
}

} // namespace

Line Line::read(const QString &text)
{
    Line line;
    line.text = text;
    line.parts = EmberLine::read(text);
    switch (line.parts.kind) {
    case EmberLine::Blank:
        return line;
    case EmberLine::Broken:
        line.kind = Broken;
        return line;
    case EmberLine::Header: {
        line.kind = line.parts.word == QLatin1String("animation") ? Header : Unknown;
        const int word = text.indexOf(line.parts.word, line.parts.code.begin + line.parts.level);
        line.readClauses({word + line.parts.word.size(), line.parts.code.end});
        return line;
    }
    case EmberLine::Entry:
        break;
    }
    const QString key = line.parts.keys.join(QLatin1Char('+'));
    line.kind = key == QLatin1String("frame")    ? Frame
                : key == QLatin1String("strike") ? Strike
                : key == QLatin1String("body")   ? Body
                                                 : Unknown;
    if (line.kind == Frame) {
        line.readClauses(line.parts.valueRange);
    } else {
        line.subject = line.parts.value;
        line.subjectRange = line.parts.valueRange;
    }
    return line;
}

void Line::readClauses(Range range)
{
    bool isSubject = true;
    for (int begin = range.begin; begin <= range.end;) {
        int end = text.indexOf(QLatin1Char(','), begin);
        if (end < 0 || end > range.end)
            end = range.end;
        const Range part = trimmed(text, {begin, end});
        const QString words = text.mid(part.begin, part.end - part.begin).simplified();
        if (isSubject) {
            subject = words;
            subjectRange = part;
        } else {
            const QChar blank = QLatin1Char(' ');
            clauses.append({words.section(blank, 0, 0), words.section(blank, 1), part});
        }
        isSubject = false;
        begin = end + 1;
    }
}

const Clause *Line::clause(const QString &word) const
{
    for (const Clause &clause : clauses) {
        if (clause.word == word)
            return &clause;
    }
    return nullptr;
}

QString Line::code() const
{
    return text.mid(parts.code.begin, parts.code.end - parts.code.begin);
}

QString Line::withSubject(const QString &newSubject) const
{
    QString code = this->code();
    const int begin = subjectRange.begin - parts.code.begin;
    const bool touches = begin > 0 && !code.at(begin - 1).isSpace();
    code.replace(begin, subjectRange.end - subjectRange.begin,
                 touches ? QLatin1Char(' ') + newSubject : newSubject);
    return code;
}

QString Line::withClause(const QString &word, const QString &arguments) const
{
    QString code = this->code();
    const QString clauseText = arguments.isEmpty() ? word : word + QLatin1Char(' ') + arguments;
    const Clause *kept = arguments.isNull() ? nullptr : clause(word);
    if (!kept && !arguments.isNull())
        return code + QLatin1String(", ") + clauseText;
    // The last one first: the ranges of those before it stay right.
    for (auto old = clauses.crbegin(); old != clauses.crend(); ++old) {
        if (old->word != word)
            continue;
        const int begin = old->range.begin - parts.code.begin;
        const int end = old->range.end - parts.code.begin;
        const int comma = code.lastIndexOf(QLatin1Char(','), begin);
        if (&*old == kept)
            code.replace(begin, end - begin, clauseText);
        else
            code.remove(comma, end - comma);
    }
    return code.trimmed();
}

bool AnimationValues::operator==(const AnimationValues &other) const
{
    return identifier == other.identifier && title == other.title && layer == other.layer &&
           once == other.once;
}

bool FrameValues::operator==(const FrameValues &other) const
{
    return identifier == other.identifier && offset == other.offset && delay == other.delay &&
           scale == other.scale && angle == other.angle && flip == other.flip &&
           loopPoint == other.loopPoint && opacity == other.opacity;
}

AnimationValues readAnimation(const Line &line, QVector<Fault> *faults)
{
    static const QStringList words{QStringLiteral("title"), QStringLiteral("layer"),
                                   QStringLiteral("once")};
    Reader reader(faults);
    AnimationValues values;
    values.identifier = line.subject;
    if (line.subject.isEmpty())
        reader.fault(translated("An animation needs an identifier"), line.parts.code);
    for (const Clause &clause : line.clauses) {
        if (!reader.isFirst(clause, words))
            continue;
        QVector<int> number;
        if (clause.word == QLatin1String("title"))
            values.title = clause.arguments;
        else if (clause.word == QLatin1String("once"))
            reader.bare(clause, values.once);
        else if (Reader::ints(clause.arguments, QLatin1Char(' '), 1, number) && number.at(0) >= 0 &&
                 number.at(0) <= lastLayer)
            values.layer = number.at(0);
        else
            reader.faultIn(clause, "a number from 0 to 9");
    }
    return values;
}

FrameValues readFrame(const Line &line, QVector<Fault> *faults)
{
    static const QStringList words{QStringLiteral("at"),     QStringLiteral("for"),
                                   QStringLiteral("scale"),  QStringLiteral("angle"),
                                   QStringLiteral("flip"),   QStringLiteral("loop"),
                                   QStringLiteral("opacity")};
    Reader reader(faults);
    FrameValues values;
    values.identifier = line.subject;
    for (const Clause &clause : line.clauses) {
        if (reader.isFirst(clause, words))
            reader.frameClause(clause, values);
    }
    return values;
}

QRect readBox(const Line &line, QVector<Fault> *faults)
{
    Reader reader(faults);
    QVector<int> edges;
    if (!Reader::ints(line.subject, QLatin1Char(','), 4, edges)) {
        const bool isEmpty = line.subject.isEmpty();
        reader.fault(translated("A box is four whole numbers: left, top, right, bottom"),
                     isEmpty ? line.parts.code : line.subjectRange);
        return QRect();
    }
    // In 64 bits, so that edges at the ends of the range cannot overflow.
    const auto low = [&](int a, int b) { return std::min(edges.at(a), edges.at(b)); };
    const auto length = [&](int a, int b) {
        const qint64 size = std::abs(qint64(edges.at(a)) - edges.at(b));
        return int(std::min<qint64>(size, std::numeric_limits<int>::max() / 2));
    };
    const QRect rect(low(0, 2), low(1, 3), length(0, 2), length(1, 3));
    if (rect.width() <= 0 || rect.height() <= 0)
        reader.fault(translated("This box is empty"), line.subjectRange);
    return rect;
}

QString offsetText(const QPoint &offset)
{
    return offset.isNull() ? QString() : QStringLiteral("%1 %2").arg(offset.x()).arg(offset.y());
}

QString delayText(int delay)
{
    if (delay < 0)
        return QLatin1String(ever);
    return delay == 1 ? QString() : QString::number(delay);
}

QString scaleText(const QPointF &scale)
{
    const QString x = numberText(scale.x());
    const QString y = numberText(scale.y());
    if (x == y)
        return x == QLatin1String("1") ? QString() : x;
    return x + QLatin1Char(' ') + y;
}

QString angleText(qreal angle)
{
    const QString text = numberText(angle);
    return text == QLatin1String("0") || text == QLatin1String("-0") ? QString() : text;
}

QString flipText(int flip)
{
    return flip > 0 && flip < 4 ? QLatin1String(flips[flip]) : QString();
}

QString opacityText(qreal opacity)
{
    const QString text = numberText(opacity);
    return text == QLatin1String("1") ? QString() : text;
}

QString boxText(const QRect &rect)
{
    return QStringLiteral("%1, %2, %3, %4")
        .arg(rect.left())
        .arg(rect.top())
        .arg(qint64(rect.left()) + rect.width())
        .arg(qint64(rect.top()) + rect.height());
}

QString nameText(const QString &name)
{
    QString text = name;
    text.replace(QLatin1Char(','), QLatin1Char(' '));
    text.replace(QLatin1Char(';'), QLatin1Char(' '));
    return text.simplified();
}

} // namespace EmberAnimationText
