#include <enginetest/randomrun.h>
#include <tests/code/plaincode.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>

/// Random edits of every kind. After each of them the document must be what a fresh document makes
/// of the same text, and every rule between text, tree, rows and messages must hold.
class TestCodeRandom : public QObject
{
    Q_OBJECT

private slots:
    void steps_data();
    void steps();
};

namespace
{

/// Whether a line opens one of the sections that a document enables, 0 to 3.
bool isHeader(const QString &line)
{
    const QString code = line.section(QLatin1Char(';'), 0, 0).trimmed();
    const QString name = code.mid(1, code.indexOf(QLatin1Char(']')) - 1);
    const bool hasNumber = name.contains(QLatin1Char(':'));
    return code.startsWith(QLatin1Char('[')) &&
           (!hasNumber || name.section(QLatin1Char(':'), 1).toUInt() <= 3);
}

const EngineTest::LineMaker lines{isHeader,
                                  {"[run:1]\nx = 1\nz + w = 4\n",
                                   " [inner:3]\n! fault\ny = 2, 3 ; c\n; comment\n[off:9]\nx = 1\n",
                                   "t = word (a)\n\n[stand:2] ; c\n~ old\n",
                                   "[zero:0]\na = 1.5\n? odd\n\n"},
                                  {"[run:1]", "[stand:2] ; c", " [inner:3]", "[off:9]", "[zero:0]"},
                                  {"x = 1", "y = 2, 3 ; c", "z + w = 4", "t = word (a)", "! fault",
                                   "~ old", "? odd", "; comment", "", "a = 1.5", "  "},
                                  "[]:=123x+;! ~?()\n\n",
                                  {"1", "2, 3", "word", "two\nlines", "a ; b"},
                                  {"n1", "x", "[y]", ""},
                                  {"(\\w)(\\w*)", "= *(\\w+)"},
                                  {"= 1", "[%1", "x"}};

} // namespace

void TestCodeRandom::steps_data()
{
    columns<quint32, bool>("seed", "highlight");
    for (quint32 seed = 1; seed <= 8; ++seed)
        QTest::addRow("seed %u", seed) << seed << (seed % 4 != 0);
}

void TestCodeRandom::steps()
{
    auto [seed, highlight] = row<quint32, bool>();
    Plain::Parser parser;
    const auto make = [&] {
        auto *document = new Plain::Document(&parser);
        document->setOption(QString("highlightCode"), highlight, false, false);
        return document;
    };
    const Plain::DocumentPointer document(make());
    const QAbstractItemModelTester tester(document->model(),
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    document->fromString(Plain::sampleText(16, 5));
    const auto rules = [&] { return Plain::faults(*document).join(QLatin1Char('\n')); };
    const QString fault =
        EngineTest::runEdits(*document, make, lines, {seed, 300, seed % 2 == 0, rules});
    QVERIFY2(fault.isEmpty(), qPrintable(fault));
}

QTEST_MAIN(TestCodeRandom)
#include "tst_coderandom.moc"
