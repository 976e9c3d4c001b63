// Finding and replacing in the shared code view.

#include "workspacetest.h"

#include <engines/ember/embersprites.h>

using namespace Kiln;

namespace
{
enum { Find, ReplaceAll, ReplaceOne };
}

class TestCodeSearch : public WorkspaceTest
{
    Q_OBJECT

private slots:
    void init() { open(); }
    void cleanup() { close(); }

    void finds_data()
    {
        // From and selected are anchor and position.
        const auto add =
            columns<QString, unsigned int, QPoint, QPoint>("sought", "flags", "from", "selected");
        using F = CodeFileEditor;
        const unsigned int none = 0, back = F::Backward, wrap = F::WrapAround;
        const unsigned int expression = F::RegularExpression, exact = F::CaseSensitive;
        // "One two one\ntwo ONE"
        add("the first", "one", none, QPoint(0, 0), QPoint(0, 3));
        add("behind the selection", "one", none, QPoint(0, 3), QPoint(8, 11));
        add("with the case", "one", exact, QPoint(0, 0), QPoint(8, 11));
        add("none follows", "one", none, QPoint(16, 19), QPoint(16, 19));
        add("around the end", "one", wrap, QPoint(16, 19), QPoint(0, 3));
        add("around, and still none", "three", wrap, QPoint(4, 7), QPoint(4, 7));
        add("backward", "one", back, QPoint(16, 19), QPoint(8, 11));
        add("backward from the start", "one", back, QPoint(0, 0), QPoint(0, 3));
        add("backward, none before", "two", back, QPoint(4, 7), QPoint(4, 7));
        add("backward around", "ONE", (back | wrap | exact), QPoint(4, 7), QPoint(16, 19));
        add("an expression", "t.o\\s", expression, QPoint(0, 0), QPoint(4, 8));
        add("over a line end", "one\\ntwo", expression, QPoint(0, 0), QPoint(8, 15));
        add("the same taken as it stands", "t.o", none, QPoint(2, 2), QPoint(2, 2));
        add("a broken expression", "(", expression, QPoint(2, 2), QPoint(2, 2));
        add("a broken one that brackets would mend", "o)*(n", expression, QPoint(2, 2),
            QPoint(2, 2));
        add("an empty match gets on", "x*", expression, QPoint(5, 5), QPoint(6, 6));
        add("an empty match at the end", "x*", expression, QPoint(19, 19), QPoint(19, 19));
        add("no text", "", none, QPoint(4, 7), QPoint(4, 7));
        const unsigned int whole = F::WholeWords;
        add("a whole word", "one", whole | exact, QPoint(0, 0), QPoint(8, 11));
        add("no whole word", "wo", whole, QPoint(2, 2), QPoint(2, 2));
        add("whole, an expression", "t\\w|tw.", whole | expression, QPoint(0, 0), QPoint(4, 7));
    }

    void finds()
    {
        const auto [sought, flags, from, selected] = row<QString, unsigned int, QPoint, QPoint>();
        m_document->fromString("One two one\ntwo ONE");
        select(from.x(), from.y());
        const bool found =
            m_editor->find(static_cast<ProjectFile *>(m_document.get()), sought, flags);
        QCOMPARE(QPoint(view()->textCursor().selectionStart(), view()->textCursor().selectionEnd()),
                 selected);
        const bool empty = sought == "x*";
        QCOMPARE(found, empty || from != selected);
    }

    /// Random expressions, against one search over the whole text.
    void findsWhatThePlainSearchFinds()
    {
        QRandomGenerator random(5);
        const QStringList signs{"a",   "b",   "(?:", "(", ")", "|",  "*",   "+",   "?",   "[^a]",
                                "[ab", "\\b", ".",   "$", "^", "\n", "{2}", "\\1", "\\^", "]"};
        for (int tried = 0; tried < 1500;) {
            QString text;
            QString pattern;
            for (int i = random.bounded(12); i > 0; --i)
                text += QStringLiteral("ab\n^")[random.bounded(4)];
            for (int i = 1 + random.bounded(7); i > 0; --i)
                pattern += signs[random.bounded(signs.size())];
            const QRegExp plain(pattern, Qt::CaseInsensitive, QRegExp::RegExp2);
            const bool isBackward = random.bounded(2);
            const int from = random.bounded(text.size() + 1);
            if (!plain.isValid())
                continue;
            ++tried;
            int at =
                isBackward ? plain.lastIndexIn(text, qMax(0, from - 1)) : plain.indexIn(text, from);
            if (!isBackward && at == from && plain.matchedLength() == 0 && from < text.size())
                at = plain.indexIn(text, from + 1);
            const QPoint wanted =
                at < 0 ? QPoint(from, from) : QPoint(at, at + plain.matchedLength());
            m_document->fromString(text);
            select(from, from);
            const unsigned int flags =
                CodeFileEditor::RegularExpression | (isBackward ? CodeFileEditor::Backward : 0U);
            const bool isFound =
                m_editor->find(static_cast<ProjectFile *>(m_document.get()), pattern, flags);
            const QTextCursor cursor = view()->textCursor();
            const QString what = QStringLiteral("%1 in %2 from %3 backward %4");
            QVERIFY2(isFound == (at >= 0) &&
                         wanted == QPoint(cursor.selectionStart(), cursor.selectionEnd()),
                     qPrintable(what.arg(pattern, text).arg(from).arg(isBackward)));
        }
    }

    void replacesOne()
    {
        m_document->fromString("aa b aa");
        select(0, 2);
        m_editor->replace("a(a)", "<\\1>", CodeFileEditor::RegularExpression | Quiet, false);
        QCOMPARE(m_document->toString(), QString("<a> b aa"));
        QCOMPARE(view()->textCursor().selectedText(), QString("aa"));
        m_editor->replace("b", "c", Quiet, false); // the selection does not match
        QCOMPARE(m_document->toString(), QString("<a> b aa"));
        select(0, 2);
        m_editor->replace("aa", "c", Quiet, false); // nor does a part of it
        QCOMPARE(m_document->toString(), QString("<a> b aa"));
        QCOMPARE(view()->textCursor().selectedText(), QString("aa"));
        select(2, 2); // nothing is replaced yet, only found
        m_editor->replace("x*|b", "c", CodeFileEditor::RegularExpression | Quiet, false);
        QCOMPARE(m_document->toString(), QString("<a> b aa"));
        select(6, 8);
        m_host->dialogs().expectBox(QMessageBox::Ok);
        m_editor->replace("aa", "\\1", 0, false);
        QCOMPARE(m_document->toString(), QString("<a> b \\1"));
    }

    void replacesAll()
    {
        const QString before = sectionedText(3, 3);
        m_document->fromString(before);
        view()->setCurrentLine({5, 2, 0});
        view()->toggleBlockVisible(m_document->findBlockByNumber(10));
        m_editor->replace("LINE (\\d+)", "row \\1", CodeFileEditor::RegularExpression, true);
        QString after = before;
        QCOMPARE(m_document->toString(), after.replace("line ", "row "));
        QCOMPARE(m_editor->replacedCount(), before.count("line "));
        QCOMPARE(m_document->lineCount(), m_document->blockCount());
        QCOMPARE(place(), QPoint(5, 2));
        view()->moveCursor(QTextCursor::Start);
        m_editor->undo();
        QCOMPARE(m_document->toString(), before);
        QCOMPARE(place(), QPoint(5, 2));
        const int steps = m_document->availableUndoSteps();
        m_editor->replace("nowhere", "x", 0, true);
        QCOMPARE(m_document->availableUndoSteps(), steps);
        QCOMPARE(m_editor->replacedCount(), 0);
        // What does not match stays as it is, no-break spaces too.
        m_document->fromString(QString::fromUtf8("a\u00a0b a b"));
        m_editor->replace("a b", "c", Quiet, true);
        QCOMPARE(m_document->toRawText(), QString::fromUtf8("a\u00a0b c"));
        m_document->fromString(before);
        view()->setReadOnly(true);
        m_editor->replace("line", "x", 0, true);
        QCOMPARE(m_document->toString(), before);
        QCOMPARE(m_editor->replacedCount(), 0);
    }

    void hostileExpressions_data()
    {
        const auto add = columns<QString, int, bool>("expression", "what", "outOfTime");
        const QString endless("(a*)*(a*)*\\2\\1b");
        add("one that matches nothing everywhere", "b*", ReplaceAll, false);
        add("one that never ends", endless, Find, true);
        add("one that never ends, replacing", endless, ReplaceAll, true);
        add("one that never ends, replacing what is selected", endless, ReplaceOne, true);
        add("another right after them", "c?", ReplaceAll, false);
    }

    void hostileExpressions()
    {
        const auto [expression, what, outOfTime] = row<QString, int, bool>();
        const QString text(200000, 'a');
        m_document->fromString(text);
        const unsigned int flags =
            CodeFileEditor::RegularExpression | CodeFileEditor::WrapAround | Quiet;
        const ProjectFile *file = m_document.get();
        view()->selectAll();
        if (what == ReplaceOne) // the one that is not quiet
            m_host->dialogs().expectBox(QMessageBox::Ok);
        if (what == Find)
            QVERIFY(!m_editor->find(file, expression, flags));
        else
            m_editor->replace(expression, "x", what == ReplaceAll ? flags : 1, what == ReplaceAll);
        QCOMPARE(m_editor->ranOutOfTime(), outOfTime);
        QCOMPARE(m_host->dialogs().seen().size(), int(what == ReplaceOne));
        QVERIFY(m_document->toString() ==
                (outOfTime ? text : QString(text).replace("a", "xa").append("x")));
    }

    void strangersAreRefused()
    {
        // A search in another file leaves the view alone, and the file opens at the match.
        m_document->fromString("here");
        Document other(new PlainDocument("a\nb\n  there"));
        QVERIFY(m_editor->find(static_cast<ProjectFile *>(other.get()), "there", 0));
        QVERIFY(!m_editor->find(static_cast<ProjectFile *>(other.get()), "here!", 0));
        QVERIFY(!m_editor->find(nullptr, "there", 0));
        const std::unique_ptr<EmberSprites, Release> pictures(new EmberSprites);
        QVERIFY(!m_editor->find(pictures.get(), "there", 0));
        QVERIFY(!view()->textCursor().hasSelection());
        m_editor->setCurrentFile(other.get());
        QCOMPARE(place(), QPoint(2, 2));
        m_editor->setCurrentFile(m_document.get());
    }
};

QTEST_MAIN(TestCodeSearch)
#include "tst_codesearch.moc"
