#include <ember/emberlanguage.h>
#include <ember/emberline.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>

using namespace EmberLanguage;

namespace
{

/// A source of values that an entry can have.
class RandomValue
{
public:
    /// Invalid for a type that no entry should have.
    QVariant of(const Entry *entry)
    {
        switch (int(entry->type)) {
        case Name:
        case Formula:
        case Words:
            return QString("a b(%1)").arg(number());
        case Quoted:
            return QString("it's (%1").arg(number());
        case Kiln::ValueCode::Date:
            return QDate(2026, 1, 1).addDays(number());
        case Kiln::ValueCode::Enum:
            return word(entry);
        case Kiln::ValueCode::EnumList:
            return QVariantList{word(entry), word(entry)};
        case Kiln::ValueCode::Real:
            return real();
        case Kiln::ValueCode::PointF:
            return QPointF(real(), real());
        case Kiln::ValueCode::Int:
            return number();
        case Kiln::ValueCode::Point:
            return QPoint(number(), number());
        case Reals:
            return list(1 + m_random.bounded(6), true);
        case Shares:
            return list(3, true);
        case Frame:
            return list(4, true);
        case Ints:
            return list(1 + m_random.bounded(6), false);
        case Tint:
            return list(3, false);
        case Box:
            return list(4, false);
        default:
            return QVariant();
        }
    }

private:
    int number() { return int(m_random.bounded(2001)) - 1000; }
    /// A quarter of a small number is exact in six digits.
    double real() { return number() / 4.0; }
    unsigned int word(const Entry *entry) { return m_random.bounded(quint32(words(entry).size())); }
    QVariantList list(int count, bool isReal)
    {
        QVariantList values;
        for (int i = 0; i < count; ++i)
            values.append(isReal ? QVariant(real()) : QVariant(number()));
        return values;
    }

    QRandomGenerator m_random{7};
};

} // namespace

/// Sections, entries, the reading and writing of values, and the anatomy of a line, on plain text.

class TestEmberLanguage : public QObject
{
    Q_OBJECT

private slots:
    void readsEveryType_data()
    {
        columns<int, QString, int, QString, QVariant>("section", "name", "type", "text", "value");
        const auto row = [](int section, const char *name, int type, const char *text,
                            QVariant value) {
            QTest::addRow("%s, type %d", name, type)
                << section << QString(name) << type << QString(text) << value;
        };
        row(State, "cel", 0, "wren_stand", "wren_stand");
        row(Rule, "when", 1, "(a or [b]) and {c}", "(a or [b]) and {c}");
        row(About, "title", 3, "\"Wren: a (short\"", "Wren: a (short");
        row(About, "author", 4, "Ada of the \"quay\"", "Ada of the \"quay\"");
        row(About, "made", 5, "2026-02-28", QDate(2026, 2, 28));
        row(Body, "facing", 6, "right", 1u);
        row(Command, "press", 7, "down , toward,strike", QVariantList{1u, 2u, 4u});
        row(Body, "weight", 8, "48.5", 48.5);
        row(Ground, "pull", 9, "0.02,-0.44", QPointF(0.02, -0.44));
        row(Ground, "gusts", 10, "0, 0.5, 1e-3, 4", QVariantList{0.0, 0.5, 0.001, 4.0});
        row(Ground, "light", 11, "1, 0.82, 0.64", QVariantList{1.0, 0.82, 0.64});
        row(Body, "grip", 12, "1.5, -2, 3, 4", QVariantList{1.5, -2.0, 3.0, 4.0});
        row(Body, "life", 13, "140", 140);
        row(Body, "size", 14, "34,  -72", QPoint(34, -72));
        row(State, "ticks", 15, "7", QVariantList{7});
        row(About, "tint", 16, "232, 148, 40", QVariantList{232, 148, 40});
        row(Step, "box", 17, "-10, -60, 18, +6", QVariantList{-10, -60, 18, 6});
    }

    void readsEveryType()
    {
        QFETCH(int, section);
        QFETCH(QString, name);
        QFETCH(QString, text);
        QFETCH(QVariant, value);
        const Entry *known = entry(section, name);
        QVERIFY(known);
        QTEST(int(known->type), "type");
        const Reading reading = readValue(known, text);
        QCOMPARE(reading.error, QString());
        QCOMPARE(reading.value.userType(), value.userType());
        QCOMPARE(reading.value, value);
    }

    /// Values made at random, for every entry of every section.
    void writesWhatReadsBack()
    {
        RandomValue random;
        for (unsigned int section = About; section < Unknown; ++section) {
            for (const Entry *entry : entries(section)) {
                for (int i = 0; i < 20; ++i) {
                    const QVariant value = random.of(entry);
                    QVERIFY2(value.isValid(), entry->name);
                    const Reading reading = readValue(entry, writeValue(entry, value));
                    QVERIFY2(reading.error.isEmpty(), entry->name);
                    QCOMPARE(reading.value, value);
                }
            }
        }
    }

    void takesLinesApart_data()
    {
        const auto row = columns<QString, QString>("text", "parts");
        row("empty", "", "blank");
        row("blanks", " \t ", "blank");
        row("a comment", "  ; @state: x", "blank ;2");
        row("a header", "@state low  guard", "header 1 'state' 'low guard' 0-17");
        row("a header with a comment", " @@on x ; y", "header 2 'on' 'x' 1-7 ;8");
        row("three signs", "@@@on", "header 2 '@on' '' 0-5");
        row("a sign alone", "@", "header 1 '' '' 0-1");
        row("an entry", "  drift: 1, 2", "entry drift@2-7 = '1, 2' 9-13");
        row("a comment cuts quotes", "say: \"a;b\"", "entry say@0-3 = '\"a' 5-7 ;7");
        row("no value", "drift:", "entry drift@0-5 = '' 6-6");
        row("a second colon", "a: b: c", "entry a@0-1 = 'b: c' 3-7");
        row("shared", "a+ b_2 : 3", "entry a@0-1 b_2@3-6 = '3' 9-10");
        row("no colon", "drift 1", "broken");
        row("a colon in the comment", "drift ; :", "broken ;6");
        row("no key", ": 1", "broken");
        row("two words for a key", "low guard: 1", "broken");
        row("an open plus", "a + : 1", "broken");
    }

    void takesLinesApart()
    {
        QFETCH(QString, text);
        const EmberLine line = EmberLine::read(text);
        const auto range = [](EmberLine::Range range) {
            return QString("%1-%2").arg(range.begin).arg(range.end);
        };
        QString parts;
        switch (line.kind) {
        case EmberLine::Blank:
            parts = QString("blank");
            break;
        case EmberLine::Broken:
            parts = QString("broken");
            break;
        case EmberLine::Header:
            parts = QString("header %1 '%2' '%3' ").arg(line.level).arg(line.word, line.name) +
                    range(line.code);
            break;
        case EmberLine::Entry:
            parts = QString("entry");
            for (int i = 0; i < line.keys.size(); ++i)
                parts += QLatin1Char(' ') + line.keys.at(i) + QLatin1Char('@') +
                         range(line.keyRanges.at(i));
            parts += QString(" = '%1' ").arg(line.value) + range(line.valueRange);
        }
        if (line.comment < text.size())
            parts += QString(" ;%1").arg(line.comment);
        QTEST(parts, "parts");
    }

    void findsUnpairedBrackets_data()
    {
        columns<QString, int>("text", "place");
        addRow("none", "a + b", -1);
        addRow("paired", "(a[b]{c})", -1);
        addRow("open", "(a)[", 3);
        addRow("two open: the inner", "((", 1);
        addRow("closed first", ")(", 0);
        addRow("another kind", "(a]", 2);
    }

    void findsUnpairedBrackets()
    {
        QFETCH(QString, text);
        QTEST(unpairedBracket(text), "place");
    }

    /// What the rest takes for granted of the tables.
    void tablesAreSound()
    {
        QCOMPARE(sectionByWord("nothing"), Unknown);
        QCOMPARE(sectionByWord(QString()), Unknown);
        QSet<int> types;
        int oldSpellings = 0;
        for (unsigned int section = About; section < Unknown; ++section) {
            QCOMPARE(unsigned(sectionByWord(sectionWord(section))), section);
            QSet<QString> names;
            for (const Entry *known : entries(section)) {
                QVERIFY2(!names.contains(known->name), known->name);
                names.insert(known->name);
                types.insert(known->type);
                const bool isEnumeration = known->type == Kiln::ValueCode::Enum ||
                                           known->type == Kiln::ValueCode::EnumList;
                QCOMPARE(!words(known).isEmpty(), isEnumeration);
                if (known->newName) {
                    const Entry *present = entry(section, known->newName);
                    QVERIFY2(present && !present->newName && present->type == known->type,
                             known->name);
                    ++oldSpellings;
                }
            }
        }
        QVERIFY(oldSpellings > 0);
        // All types of the library but 2, which entries that nobody knows have.
        QCOMPARE(types.size(), 17);
    }
};

QTEST_APPLESS_MAIN(TestEmberLanguage)
#include "tst_emberlanguage.moc"
