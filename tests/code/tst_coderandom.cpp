#include <enginetest/treedump.h>
#include <tests/code/plaincode.h>

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QTest>
#include <QTextLayout>

namespace TreeDump = EngineTest::TreeDump;

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

using Kiln::CodeNode;

class RandomEditor
{
public:
    RandomEditor(Plain::Document &document, quint32 seed)
        : m_document(document)
        , m_random(seed)
    {
    }

    void step()
    {
        switch (below(16)) {
        case 0:
            return m_document.undo();
        case 1:
            return m_document.redo();
        case 2:
            return bracket();
        case 3:
            return removeRange(1 + below(40));
        case 4:
            return removeRange(1);
        case 5:
            return editNode();
        case 6:
            return moveNode();
        case 7:
            return insertAt(randomPosition(), section());
        case 8:
            return m_document.insertBefore(randomNode(), line(), below(2));
        case 9:
            return m_document.insertAfter(randomNode(), line(), below(2));
        case 10:
            return removeLines();
        case 11:
            return insertAt(randomPosition(), QStringLiteral("\n"));
        case 12:
            return insertAt(lineStart(), line() + QLatin1Char('\n'));
        default:
            return typeCharacter();
        }
    }

private:
    int below(int bound) { return int(m_random.bounded(bound)); }
    int randomPosition() { return below(m_document.characterCount()); }
    int lineStart()
    {
        return m_document.findBlockByNumber(below(m_document.blockCount())).position();
    }

    QString line()
    {
        static const char *const lines[] = {
            "[run:1]",   "[stand:2] ; c", " [inner:3]", "[off:9]", "x = 1", "y = 2, 3 ; c",
            "z + w = 4", "t = word (a)",  "! fault",    "~ old",   "? odd", "; comment",
            "",          "a = 1.5",       "[zero:0]",   "  "};
        return QLatin1String(lines[below(int(sizeof lines / sizeof *lines))]);
    }

    QString section()
    {
        QString text;
        for (int count = below(8); count >= 0; --count)
            text += line() + QLatin1Char('\n');
        return text;
    }

    CodeNode *randomNode()
    {
        CodeNode *const node =
            m_document.nodeInBlock(m_document.findBlockByNumber(below(m_document.blockCount())));
        return node;
    }

    void insertAt(int position, const QString &text)
    {
        QTextCursor cursor(&m_document);
        cursor.setPosition(position);
        m_document.insertOnCursor(text, cursor);
    }

    void typeCharacter()
    {
        static const char characters[] = "[]:=123x+;! ~?()";
        insertAt(randomPosition(), QLatin1String(characters + below(sizeof characters - 1), 1));
    }

    void removeRange(int length)
    {
        QTextCursor cursor(&m_document);
        cursor.setPosition(randomPosition());
        cursor.setPosition(qMin(cursor.position() + length, m_document.characterCount() - 1),
                           QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
    }

    void removeLines()
    {
        QTextCursor cursor(&m_document);
        cursor.setPosition(lineStart());
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor, 1 + below(4));
        m_document.insertOnCursor(QString(), cursor);
    }

    void editNode()
    {
        CodeNode *const node = randomNode();
        if (!node)
            return;
        if (below(3) == 0)
            return node->remove(below(2));
        if (auto *const named = dynamic_cast<Kiln::NamedCode *>(node))
            named->setName(QStringLiteral("n%1").arg(below(100)));
    }

    void moveNode()
    {
        CodeNode *const node = randomNode();
        if (!node)
            return;
        m_document.beginChange();
        const QTextCursor taken = node->selectAll();
        QString text = taken.selectedText();
        text.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
        m_document.insertOnCursor(QString(), taken);
        insertAt(lineStart(), text);
        m_document.endChange();
    }

    void bracket()
    {
        m_document.beginChange();
        for (int count = 1 + below(4); count > 0; --count) {
            if (below(3))
                insertAt(randomPosition(), section());
            else
                removeRange(1 + below(20));
        }
        m_document.endChange();
    }

    Plain::Document &m_document;
    QRandomGenerator m_random;
};

/// How deep each line is and what stands in it in which colours.
QString looks(const Plain::Document &document)
{
    QString text;
    for (QTextBlock line = document.begin(); line.isValid(); line = line.next()) {
        const auto *const data = Kiln::CodeBlockData::testBlockData(line);
        text += QStringLiteral("%1: indent %2").arg(line.blockNumber()).arg(data->foldingIndent());
        for (const QTextLayout::FormatRange &range : line.layout()->formats())
            text += QStringLiteral(", %1+%2 %3 %4")
                        .arg(range.start)
                        .arg(range.length)
                        .arg(range.format.foreground().color().name())
                        .arg(range.format.underlineColor().name());
        text += QLatin1Char('\n');
    }
    return text;
}

} // namespace

void TestCodeRandom::steps_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<bool>("highlight");
    for (quint32 seed = 1; seed <= 8; ++seed)
        QTest::addRow("seed %u", seed) << seed << (seed % 4 != 0);
}

void TestCodeRandom::steps()
{
    QFETCH(quint32, seed);
    QFETCH(bool, highlight);
    Plain::Parser parser;
    Plain::DocumentPointer document(new Plain::Document(&parser));
    document->setOption(QStringLiteral("highlightCode"), highlight, false, false);
    QAbstractItemModelTester tester(document->model(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
    document->fromString(Plain::sampleText(16, 5));
    RandomEditor editor(*document, seed);
    for (int step = 0; step < 300; ++step) {
        editor.step();
        if (document->characterCount() > 700)
            document->fromString(Plain::sampleText(16, 5));
        const QStringList faults = Plain::faults(*document);
        if (!faults.isEmpty())
            QFAIL(qPrintable(
                QStringLiteral("step %1: %2").arg(step).arg(faults.join(QLatin1Char('\n')))));
        Plain::DocumentPointer fresh(new Plain::Document(&parser));
        fresh->setOption(QStringLiteral("highlightCode"), highlight, false, false);
        fresh->fromString(document->toString());
        const QString expected = TreeDump::all(*fresh) + looks(*fresh);
        const QString found = TreeDump::all(*document) + looks(*document);
        if (found != expected) {
            qWarning().noquote() << "step" << step << "text:\n" << document->toString();
            QCOMPARE(found, expected);
        }
        if (QTest::currentTestFailed())
            return;
    }
}

QTEST_MAIN(TestCodeRandom)
#include "tst_coderandom.moc"
