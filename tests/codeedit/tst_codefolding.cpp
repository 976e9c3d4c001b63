// Folding in the code view: what is hidden, what stays, and what edits do to it; what of the text
// is in sight, and how a place is found again.

#include "editortest.h"

using namespace Kiln;

namespace
{
// 0 [a]  1 -  2 [[b]]  3,4 body  5 [[c]]  6 body  7 [d]  8,9 body
const char *const Nested = "[a]\n-\n[[b]]\nb1\nb2\n[[c]]\nc1\n[d]\nd1\nd2";
} // namespace

class TestCodeFolding : public EditorTest
{
    Q_OBJECT

private slots:
    void init() { open(Nested); }
    void cleanup() { close(); }
    void toggles_data()
    {
        const auto add = columns<QList<int>, QString>("lines", "visible");
        add("an outer section", {0}, "x......xxx");
        add("an inner section", {2}, "xxx..xxxxx");
        add("the last one leaves the last line", {7}, "xxxxxxxx.x");
        add("twice is back", {0, 0}, "xxxxxxxxxx");
        add("the last one twice is back", {7, 7}, "xxxxxxxxxx");
        add("a line without a section", {3}, "xxxxxxxxxx");
        add("two inner ones", {2, 5}, "xxx..x.xxx");
        add("an outer one around it", {2, 0}, "x......xxx");
        add("which stays folded", {2, 0, 0}, "xxx..xxxxx");
        add("no such line", {-1, 99}, "xxxxxxxxxx");
    }

    void toggles()
    {
        QFETCH(QList<int>, lines);
        for (int line : lines)
            toggle(line);
        QTEST(shown(), "visible");
        QCOMPARE(m_document->lineCount(), shown().count('x'));
        QCOMPARE(isFolded(0), !block(1).isVisible());
        QCOMPARE(isFolded(2), !block(3).isVisible() && (block(2).isVisible() || lines.contains(2)));
        QCOMPARE(m_document->isModified(), false);
    }

    void foldsAndUnfoldsAll()
    {
        toggle(5);
        m_editor->foldAll();
        QCOMPARE(shown(), QString("x......x.x"));
        m_editor->foldAll();
        QCOMPARE(shown(), QString("x......x.x"));
        m_editor->unfoldAll();
        QCOMPARE(shown(), QString("xxxxxxxxxx"));
        for (int line = 0; line < 10; ++line)
            QVERIFY(!isFolded(line));
        m_editor->setPlainText("-\n-\n-\n-"); // of one depth
        m_editor->foldAll();
        QCOMPARE(shown(), QString("xxxx"));
    }

    void markerIsClickedAndLightsUp()
    {
        QWidget *const margin = this->margin();
        const auto marker = [&](int line) {
            return QPoint(margin->width() - 8,
                          m_editor->cursorRect(cursorAt(line, 0)).center().y());
        };
        const auto cell = [&](int line) {
            QRect rect(0, 0, 12, 12);
            rect.moveCenter(marker(line));
            return margin->grab(rect).toImage();
        };
        QTest::mouseMove(margin, QPoint(2, marker(4).y()));
        QTRY_COMPARE(margin->cursor().shape(), Qt::ArrowCursor);
        const QImage dark = cell(2);
        PaintWatch watch(margin);
        QTest::mouseMove(margin, marker(2));
        QTRY_COMPARE(margin->cursor().shape(), Qt::PointingHandCursor);
        QTRY_VERIFY(watch.region.contains(marker(2)));
        QTRY_VERIFY(cell(2) != dark);
        const QImage lit = cell(2); // a tint of the ground
        for (int i = 0; i < lit.width() * lit.height(); ++i)
            QVERIFY(lit.pixelColor(i % 12, i / 12) != margin->palette().color(QPalette::Highlight));
        QCoreApplication::processEvents();
        watch.region = QRegion();
        QTest::mouseMove(margin, QPoint(2, marker(2).y())); // beside it
        QTRY_VERIFY(watch.region.contains(marker(2)));
        QCOMPARE(cell(2), dark);
        QTest::mouseMove(margin, marker(2));
        QTRY_COMPARE(cell(2), lit);
        QTest::keyClick(m_editor.get(), Qt::Key_Right);
        QTRY_COMPARE(cell(2), dark);
        QTest::mouseMove(margin, marker(2) + QPoint(1, 0));
        QTRY_COMPARE(cell(2), lit);
        QEvent leaves(QEvent::Leave);
        QApplication::sendEvent(margin, &leaves);
        QTRY_COMPARE(cell(2), dark);
        QTest::mouseMove(margin, marker(2));
        QTRY_COMPARE(cell(2), lit);
        PlainDocument other(Nested);
        m_editor->setDocument(&other); // the mouse has not been there
        QTRY_COMPARE(cell(2), dark);
        m_editor->setDocument(m_document.get());
        // The line beside the blocks around the cursor has a tick where one ends.
        CodeEditor::SyntaxFormatting formatting = m_editor->syntaxFormatting();
        formatting.highlightBlocks = true;
        m_editor->setSyntaxFormatting(formatting);
        setCursor(3, 0);
        QTRY_VERIFY(cell(4) != cell(3));
        QCOMPARE(cell(3), cell(1));

        QTest::mouseClick(margin, Qt::LeftButton, Qt::NoModifier, marker(2));
        QCOMPARE(shown(), QString("xxx..xxxxx"));
        QVERIFY(!m_editor->textCursor().hasSelection());
        QVERIFY(cell(2) != dark); // now it shows how to unfold
        QTest::mouseClick(margin, Qt::LeftButton, Qt::NoModifier, marker(2));
        QCOMPARE(shown(), QString("xxxxxxxxxx"));
        QTest::mouseClick(margin, Qt::LeftButton, Qt::NoModifier, marker(3));
        QCOMPARE(shown(), QString("xxxxxxxxxx"));
        // The second of two quick clicks comes as a double click.
        QTest::mouseClick(margin, Qt::LeftButton, Qt::NoModifier, marker(2));
        QMouseEvent second(QEvent::MouseButtonDblClick, marker(2), Qt::LeftButton, Qt::LeftButton,
                           Qt::NoModifier);
        QApplication::sendEvent(margin, &second);
        QCOMPARE(shown(), QString("xxxxxxxxxx"));
    }

    void foldedLinesLookFolded()
    {
        const int height = m_editor->cursorRect(cursorAt(0, 0)).height();
        const auto below = [&] { return m_editor->cursorRect(cursorAt(7, 0)).top(); };
        const auto grayBehind = [&](int line) {
            const QRect end = m_editor->cursorRect(cursorAt(line, block(line).length() - 1));
            return showsColor(shot(m_editor->viewport()),
                              end.translated(3, 0).adjusted(0, 0, 57, 0), Qt::gray);
        };
        const int before = below();
        QVERIFY(!grayBehind(0));
        toggle(0);
        QVERIFY(qAbs(before - below() - 6 * height) <= 6);
        QVERIFY(grayBehind(0));
        QVERIFY(!grayBehind(7));
        toggle(0);
        QCOMPARE(below(), before);
        QVERIFY(!grayBehind(0));
    }

    void cursorComesOutOfAFold_data()
    {
        const auto add = columns<bool, int, QString, QPoint>("jumps", "line", "visible", "place");
        add("folding moves it to the head", false, 3, "x......xxx", QPoint(0, 3));
        add("folding leaves one outside", false, 8, "x......xxx", QPoint(8, 1));
        add("a jump opens the fold", true, 6, "xxx..xxxxx", QPoint(6, 1));
        add("a jump opens all folds around", true, 3, "xxxxxxxxxx", QPoint(3, 1));
    }

    void cursorComesOutOfAFold()
    {
        auto [jumps, line] = row<bool, int>();
        if (jumps)
            toggle(2);
        else
            setCursor(line, 1);
        toggle(0);
        if (jumps)
            setCursor(line, 1);
        QTEST(shown(), "visible");
        const CodeEditor::LinePos place = m_editor->currentLine();
        QTEST(QPoint(place.line, place.column), "place");
        // Whatever is typed now is seen.
        QTest::keyClick(m_editor.get(), 'z');
        QVERIFY(m_editor->textCursor().block().isVisible());
        QVERIFY(m_editor->textCursor().block().text().contains('z'));
    }

    /// A line that is begun at the end of a folded one belongs into the fold, which opens for it.
    void linesAreBegunInAFold()
    {
        toggle(0);
        setCursor(0, 3);
        QTest::keyClick(m_editor.get(), Qt::Key_Return);
        QTest::keyClicks(m_editor.get(), QString("new"));
        QCOMPARE(m_document->toString(), QString(Nested).replace("[a]\n", "[a]\nnew\n"));
        QVERIFY(m_editor->textCursor().block().isVisible());
        QCOMPARE(shown(), QString("xxxxxxxxxxx"));
    }

    void jumpsAreRightInAFold()
    {
        m_editor->setPlainText("[a]\n" + QString("x\n").repeated(400) + "[b]\n" +
                               QString("y\n").repeated(100));
        toggle(0);
        m_editor->setCurrentLine(150, CodeEditor::TopPlacement);
        const int top = m_editor->cursorForPosition(QPoint(0, 1)).blockNumber();
        QVERIFY2(qAbs(top - 150) <= 1, qPrintable(QString::number(top)));
    }

    /// The end of a selection that is folded away goes to the head, the other one stays.
    void selectionsReachOverAFold()
    {
        for (const bool fromInside : {true, false}) {
            const int inside = cursorAt(3, 1).position();
            const int outside = cursorAt(8, 1).position();
            const int head = cursorAt(0, 3).position();
            QTextCursor cursor(m_document.get());
            cursor.setPosition(fromInside ? inside : outside);
            cursor.setPosition(fromInside ? outside : inside, QTextCursor::KeepAnchor);
            m_editor->setTextCursor(cursor);
            toggle(0);
            QCOMPARE(m_editor->textCursor().anchor(), fromInside ? head : outside);
            QCOMPARE(m_editor->textCursor().position(), fromInside ? outside : head);
            toggle(0);
        }
    }

    void keysStepOverAFold()
    {
        toggle(0);
        // A line that stands for others is selected with them.
        QTest::mouseClick(margin(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(3, m_editor->cursorRect(cursorAt(0, 0)).center().y()));
        QCOMPARE(m_editor->textCursor().position(), block(7).position());
        setCursor(0, 1);
        QTest::keyClick(m_editor.get(), Qt::Key_Down);
        QCOMPARE(m_editor->currentLine().line, 7);
        QTest::keyClick(m_editor.get(), Qt::Key_Home);
        QTest::keyClick(m_editor.get(), Qt::Key_Left);
        QCOMPARE(m_editor->currentLine().line, 0);
        QTest::keyClick(m_editor.get(), Qt::Key_Right);
        QCOMPARE(m_editor->currentLine().line, 7);
        QTest::keyClick(m_editor.get(), Qt::Key_Left, Qt::ShiftModifier);
        QCOMPARE(m_editor->currentLine().line, 0);
        QVERIFY(m_editor->textCursor().hasSelection());
        QTest::keyClick(m_editor.get(), Qt::Key_Right);
        QCOMPARE(m_editor->currentLine().line, 7);
        QCOMPARE(shown(), QString("x......xxx"));
        // The key takes away the line end between the fold and this line: the fold opens.
        QTest::keyClick(m_editor.get(), Qt::Key_Backspace);
        QVERIFY(m_editor->textCursor().block().isVisible());
        QVERIFY(m_editor->toPlainText().contains("c1[d]"));
    }

    void editsInAFold_data()
    {
        // Removed are characters from the start of the line.
        const auto add =
            columns<int, int, QString, QString>("line", "removed", "inserted", "visible");
        add("text in a folded line", 3, 0, "q", "x......xxx");
        add("a line in the fold", 4, 0, "new\n", "x.......xxx");
        add("a line less in the fold", 3, 3, "", "x.....xxx");
        add("lines right behind the head", 1, 0, "n1\nn2\n", "x........xxx");
        add("an outer section in the fold", 4, 0, "[new]\n", "x...xxxxxxx");
        add("the head becomes a body", 0, 3, "x", "xxxxxxxxxx");
        add("the head goes with its line end", 0, 4, "", "xxxxxxxxx");
        add("the head gets a new name", 0, 3, "[new]", "x......xxx");
        add("text below the fold", 8, 1, "e", "x......xxx");
        add("lines above the fold", 0, 0, "0\n1\n", "xxx......xxx");
    }

    void editsInAFold()
    {
        const auto [line, removed, inserted, visible] = row<int, int, QString, QString>();
        setCursor(9, 0);
        toggle(0);
        QTextCursor cursor = cursorAt(line, 0);
        cursor.setPosition(cursor.position() + removed, QTextCursor::KeepAnchor);
        m_document->insertOnCursor(inserted, cursor);
        QTEST(shown(), "visible");
        QCOMPARE(m_document->lineCount(), shown().count('x'));
    }

    void randomEditsLoseNoLine_data()
    {
        const auto add = columns<uint>("seed");
        for (uint seed = 20; seed < 80; ++seed)
            add(qPrintable(QString("seed %1").arg(seed)), seed);
    }

    /// After any edit: a hidden line has a folded head, which opens to show it; the last line and
    /// the line of the cursor are shown; and the scroll bar counts what is shown.
    void randomEditsLoseNoLine()
    {
        QFETCH(uint, seed);
        QRandomGenerator random(seed);
        const QStringList pieces{"[s]", "[[i]]", "body",      "-", "", "x\ny", "[a]\n-\n[[b]]\nc",
                                 "[",   "[b",    "y\u2028[z]"};
        m_document->fromString(sectionedText(6, 3));
        PlainDocument other("other");
        for (int step = 0; step < 100; ++step) {
            const int count = m_document->blockCount();
            const int line = random.bounded(count);
            const int action = random.bounded(5);
            const bool isSeen = (action != 2 && action != 3) || random.bounded(6) > 0;
            if (!isSeen)
                m_editor->setDocument(&other);
            switch (action) {
            case 0:
            case 1:
                toggle(line);
                break;
            case 2:
                m_document->insertOnCursor(pieces.at(random.bounded(pieces.size())),
                                           cursorAt(line, 0));
                break;
            case 3: {
                QTextCursor cursor = cursorAt(line, 0);
                if (random.bounded(2))
                    cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
                else
                    cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor,
                                        random.bounded(3));
                m_document->insertOnCursor(QString(), cursor);
                break;
            }
            default:
                if (random.bounded(2))
                    m_document->undo();
                else
                    setCursor(line, 0);
            }
            if (!isSeen)
                m_editor->setDocument(m_document.get());
            auto *layout = static_cast<QPlainTextDocumentLayout *>(m_document->documentLayout());
            const int scrollable = m_editor->verticalScrollBar()->maximum();
            emit layout->documentSizeChanged(layout->documentSize());
            QCOMPARE(m_editor->verticalScrollBar()->maximum(), scrollable);
            QVERIFY(m_document->lastBlock().isVisible());
            QVERIFY(m_editor->textCursor().block().isVisible());
            QTextBlock head;
            unsigned int depth = 0;
            for (QTextBlock b = m_document->firstBlock(); b.isValid(); b = b.next()) {
                const CodeBlockData *data = CodeBlockData::testBlockData(b);
                const QByteArray where =
                    QString("step %1, line %2: ").arg(step).arg(b.blockNumber()).toUtf8();
                QCOMPARE(b.lineCount() > 0, b.isVisible());
                if (b.isVisible()) {
                    const bool folded = b.next().isValid() && !b.next().isVisible();
                    QVERIFY2(data->isFolded() == folded, where + "the mark lies");
                    head = b;
                    depth = data->foldingIndent();
                } else if (!head.isValid() || !isFolded(head.blockNumber()) ||
                           data->foldingIndent() <= depth) {
                    QFAIL(where + "the line is lost");
                }
            }
        }
        // Opening fold after fold, by their markers alone, shows everything.
        for (int line = 0; line < m_document->blockCount(); ++line) {
            if (block(line).isVisible() && block(line).next().isValid() &&
                !block(line).next().isVisible())
                toggle(line);
        }
        QCOMPARE(shown().count('.'), 0);
    }

    void foldsStayWithTheirDocument()
    {
        PlainDocument other("[x]\ny\nz");
        toggle(0);
        const QSignalSpy lines(m_editor.get(), &CodeEditor::currentLineChanged);
        m_editor->setDocument(&other);
        QCOMPARE(m_editor->currentLine().line, 0);
        QCOMPARE(lines.count(), 1); // another line of the same number
        m_editor->setDocument(m_document.get());
        QCOMPARE(shown(), QString("x......xxx"));
        m_editor->setFont(QFont("Courier", 14));
        QCOMPARE(shown(), QString("x......xxx"));
        QCOMPARE(m_editor->verticalScrollBar()->maximum(), 0);
        // What is written into a fold that is not shown is folded as it comes back, and the margin
        // has room for the numbers of the document that is shown.
        PlainDocument third(numberedLines(1000));
        const int width = margin()->width();
        m_editor->setDocument(&third);
        QVERIFY(margin()->width() > width);
        m_document->insertOnCursor(QString("new\n"), cursorAt(4, 0));
        m_editor->setDocument(m_document.get());
        QCOMPARE(margin()->width(), width);
        QCOMPARE(shown(), QString("x.......xxx"));
        toggle(0);
        QCOMPARE(shown(), QString("xxxxxxxxxxx"));
        m_editor->setDocument(nullptr);
    }

    void placesInTheView_data()
    {
        const auto add = columns<int, int, int>("from", "line", "type");
        add("top, from above", 0, 500, int(CodeEditor::TopPlacement));
        add("top, from below", 900, 500, int(CodeEditor::TopPlacement));
        add("middle, from above", 0, 500, int(CodeEditor::MiddlePlacement));
        add("middle, from below", 900, 500, int(CodeEditor::MiddlePlacement));
        add("as little as it must", 0, 500, int(CodeEditor::NoPlacement));
        add("near the end", 0, 997, int(CodeEditor::TopPlacement));
        add("on the first page", 0, 3, int(CodeEditor::TopPlacement));
        add("past the end", 0, 5000, int(CodeEditor::MiddlePlacement));
        add("before the start", 0, -4, int(CodeEditor::TopPlacement));
    }

    void placesInTheView()
    {
        const auto [from, line, type] = row<int, int, int>();
        m_editor->setPlainText(numberedLines(1000));
        m_editor->setCurrentLine(from, CodeEditor::TopPlacement);
        m_editor->setCurrentLine(line, CodeEditor::LineType(type));
        const int target = qBound(0, line, 999);
        QCOMPARE(m_editor->currentLine().line, target);
        QCOMPARE(m_editor->currentLine().column, 0);
        const int page = m_editor->displayedLineCount();
        const int lastTop = 1000 - page;
        const int top = m_editor->cursorForPosition(QPoint(0, 1)).blockNumber();
        int expected = 0;
        if (target >= page) {
            expected = type == CodeEditor::TopPlacement      ? target
                       : type == CodeEditor::MiddlePlacement ? target - page / 2
                                                             : target - page + 1;
            expected = qMin(expected, lastTop);
        }
        QVERIFY2(qAbs(top - expected) <= 1,
                 qPrintable(QString("%1 on top, not %2").arg(top).arg(expected)));
        QVERIFY(m_editor->viewport()->rect().contains(m_editor->cursorRect().center()));
    }

    void placesAreRestored()
    {
        m_editor->setPlainText(numberedLines(1000));
        setCursor(420, 4);
        m_editor->verticalScrollBar()->setValue(415);
        const CodeEditor::LinePos place = m_editor->currentLine();
        QCOMPARE(place.line, 420);
        QCOMPARE(place.column, 4);
        QCOMPARE(place.scroll, 415);
        m_editor->setCurrentLine(3, CodeEditor::NoPlacement);
        QSignalSpy moved(m_editor.get(), &CodeEditor::cursorChanged);
        m_editor->setCurrentLine(place);
        QCOMPARE(m_editor->currentLine().line, 420);
        QCOMPARE(m_editor->currentLine().column, 4);
        QCOMPARE(m_editor->verticalScrollBar()->value(), 415);
        QCOMPARE(moved.last().first().toPoint(), QPoint(420, 4));
        // A place that is gone is cut to what there is.
        m_editor->setPlainText("ab\ncd");
        m_editor->setCurrentLine(place);
        QCOMPARE(m_editor->currentLine().line, 1);
        QCOMPARE(m_editor->currentLine().column, 2);
        // The view may stand elsewhere than the cursor, at its start too.
        m_editor->setPlainText(numberedLines(1000));
        m_editor->setCurrentLine({420, 4, 0});
        QCOMPARE(m_editor->verticalScrollBar()->value(), 0);
    }

    /// What takes room from the view does not cover the line that is being edited, and leaves the
    /// view where the user has scrolled it.
    void caretStaysInSight()
    {
        m_document->fromString(numberedLines(200));
        const int lines = m_editor->displayedLineCount();
        m_editor->setTextCursor(QTextCursor(block(lines - 1)));
        m_editor->verticalScrollBar()->setValue(0);
        m_editor->resize(500, 200);
        QVERIFY(m_editor->viewport()->rect().contains(m_editor->cursorRect()));
        m_editor->resize(500, 400);
        m_editor->verticalScrollBar()->setValue(100);
        m_editor->resize(500, 200);
        QCOMPARE(m_editor->verticalScrollBar()->value(), 100);
    }

private:
    /// One character a line: "x" shown, "." hidden.
    QString shown() const
    {
        QString lines;
        for (QTextBlock line = m_document->firstBlock(); line.isValid(); line = line.next())
            lines += line.isVisible() ? 'x' : '.';
        return lines;
    }

    void toggle(int line) { m_editor->toggleBlockVisible(block(line)); }
    bool isFolded(int line) const
    {
        const CodeBlockData *data = CodeBlockData::testBlockData(block(line));
        return data && data->isFolded();
    }
};

QTEST_MAIN(TestCodeFolding)
#include "tst_codefolding.moc"
