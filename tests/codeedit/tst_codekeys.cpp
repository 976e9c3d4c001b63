// Keys in the code view: overwriting, the hidden mouse cursor, and the completion of words, those
// that Ember offers too.

#include "editortest.h"

#include <engines/ember/emberdocument.h>
#include <engines/ember/emberwords.h>
#include <kilnx/project/editor.h>
#include <tests/support/files.h>
#include <tests/support/release.h>

using namespace Kiln;

class TestCodeKeys : public EditorTest
{
    Q_OBJECT

private slots:
    void init()
    {
        open();
        m_words = std::make_unique<QStringListModel>(QStringList{"run", "stand", "Walk", "wander"});
        m_more = std::make_unique<QStringListModel>(QStringList{"left", "right"});
        m_editor->setWordList("type=", m_words.get());
        m_editor->setWordList("play(", m_words.get());
        m_editor->setWordList("my.type=", m_more.get());
        m_editor->setWordList(" ->", m_more.get());
    }

    void cleanup() { close(); }
    void popupOpens_data()
    {
        const auto add = columns<QString, bool, QString>("typed", "open", "first");
        add("after the prefix and a blank", "type= ", true, "run");
        add("a terminator alone doesn't", "type=", false, "");
        add("a bracket does", "play(", true, "run");
        add("blanks within the prefix", "  ty pe  =  ", true, "run");
        add("upper case is the same", "TYPE= ", true, "run");
        add("after a bracket", "(type= ", true, "run");
        add("a letter before", "mytype= ", false, "");
        add("a digit before", "1type= ", false, "");
        add("a dot before", "x.type= ", false, "");
        add("the longer prefix counts", "my.type= ", true, "left");
        add("not yet the prefix", "typ ", false, "");
        add("only this line counts", "type=\n ", false, "");
        add("a word and a blank before", "my type= ", false, "");
        add("its own blank before", "my - > ", true, "left");
        add("no such blank", "my-> ", false, "");
        add("its blank is no must", "->  ", true, "left");
    }

    void popupOpens()
    {
        const auto [typed, open, first] = row<QString, bool, QString>();
        type(typed);
        QCOMPARE(popup()->isVisible(), open);
        if (!open)
            return;
        QTEST(popup()->model()->index(0, 0).data().toString(), "first");
        // The whole list below the cursor, as wide as its words and the scroll bar.
        QCOMPARE(popup()->model()->rowCount(), first == "left" ? 2 : 4);
        QVERIFY(popup()->width() >=
                popup()->sizeHintForColumn(0) + popup()->verticalScrollBar()->sizeHint().width());
        const QPoint cursor =
            m_editor->viewport()->mapToGlobal(m_editor->cursorRect().bottomLeft());
        QVERIFY(qAbs(popup()->geometry().left() - cursor.x()) < 4);
        QVERIFY(popup()->geometry().top() >= cursor.y() - 2);
    }

    void popupFollowsTheWord()
    {
        type("type= ");
        QVERIFY(popup()->isVisible());
        type("w");
        QVERIFY(popup()->isVisible());
        QCOMPARE(popup()->model()->rowCount(), 4);
        QCOMPARE(currentWord(), QString("Walk"));
        for (int i = 0; i < 4; ++i)
            QTest::keyClick(popup(), Qt::Key_Up);
        QCOMPARE(currentWord(), QString("run"));
        type("an");
        QCOMPARE(currentWord(), QString("wander"));
        QTest::keyClick(popup(), Qt::Key_Backspace);
        QTest::keyClick(popup(), Qt::Key_Backspace);
        QTest::keyClick(popup(), Qt::Key_Backspace);
        QVERIFY(!popup()->currentIndex().isValid());
        QVERIFY(!popup()->selectionModel()->hasSelection());
        type("st");
        QCOMPARE(currentWord(), QString("stand"));
        QCOMPARE(popup()->selectionModel()->selectedIndexes(),
                 QModelIndexList{popup()->currentIndex()});
        QTest::keyClick(popup(), 'A', Qt::ShiftModifier);
        QVERIFY(!popup()->isVisible());
        QCOMPARE(m_editor->toPlainText(), QString("type= stA"));
        m_editor->clear();
        type("type= ");
        QVERIFY(popup()->isVisible());
        m_editor->clearWordLists();
        QVERIFY(!popup()->isVisible());
    }

    /// What asks for no words, or must not bring any.
    void popupStaysClosed()
    {
        type("type= ");
        QTest::keyClick(popup(), Qt::Key_Escape);
        QTest::keyClick(m_editor.get(), Qt::Key_Escape);
        QVERIFY(!popup()->isVisible());
        // The keyboard's own commands bring control characters, which QTest leaves out.
        QKeyEvent copy(QEvent::KeyPress, Qt::Key_C, Qt::ControlModifier, QString("\x03"));
        QApplication::sendEvent(m_editor.get(), &copy);
        QVERIFY(!popup()->isVisible());
        QTest::keyClick(m_editor.get(), Qt::Key_Space, Qt::ControlModifier);
        QVERIFY(popup()->isVisible());
        QTest::keyClick(popup(), Qt::Key_F6, Qt::ControlModifier); // no text: the list stays
        QVERIFY(popup()->isVisible());
        QTest::keyClick(popup(), Qt::Key_Return); // nothing is chosen: a new line
        QVERIFY(!popup()->isVisible());
        // A command that changes the text or moves the cursor takes the list away.
        m_editor->setPlainText("type=");
        m_editor->moveCursor(QTextCursor::End);
        type(" st");
        QVERIFY(popup()->isVisible());
        QKeyEvent undo(QEvent::KeyPress, Qt::Key_Z, Qt::ControlModifier, QString("\x1a"));
        QApplication::sendEvent(m_editor.get(), &undo);
        QVERIFY(!popup()->isVisible());
        PlainDocument other;
        type("\ntype= st");
        QVERIFY(popup()->isVisible());
        m_editor->setDocument(&other);
        QVERIFY(!popup()->isVisible());
        m_editor->setDocument(m_document.get());
        m_editor->moveCursor(QTextCursor::End);
        type("\ntype= st");
        QVERIFY(popup()->isVisible());
        QTest::keyClick(popup(), Qt::Key_Left, Qt::ControlModifier);
        QVERIFY(!popup()->isVisible());
        m_editor->setPlainText("play");
        m_editor->moveCursor(QTextCursor::End);
        QTest::keyClick(m_editor.get(), '(', Qt::ShiftModifier);
        QVERIFY(!popup()->isVisible());
        m_editor->setReadOnly(true);
        QTest::keyClick(m_editor.get(), Qt::Key_Space, Qt::ControlModifier);
        QVERIFY(!popup()->isVisible());
        emit m_editor->findChild<QCompleter *>()->activated(QString("run"));
        QCOMPARE(m_editor->toPlainText(), QString("play("));
    }

    void wordIsCompleted_data()
    {
        const auto add = columns<QString, int, QString, QString>("typed", "down", "behind", "text");
        add("the rest of the word", "type= st", 0, "", "type= stand|");
        add("a word of its own", "type= ", 1, "", "type= run|");
        add("behind a bracket", "play(", 2, "", "play(stand|");
        add("before other text", "play(st", 0, " );", "play(stand| );");
        add("within a word", "type= st", 0, "a", "type= stand|");
        add("before a bracket", "play(st", 0, ")", "play(stand|)");
    }

    void wordIsCompleted()
    {
        const auto [typed, down, behind, text] = row<QString, int, QString, QString>();
        for (const int key :
             {Qt::Key_Semicolon, Qt::Key_Escape, Qt::Key_Tab, Qt::Key_Return, Qt::Key_Enter}) {
            m_editor->setPlainText(behind);
            type(typed);
            QVERIFY(popup()->isVisible());
            for (int i = 0; i < down; ++i)
                QTest::keyClick(popup(), Qt::Key_Down);
            QTest::keyClick(popup(), Qt::Key(key));
            QVERIFY(!popup()->isVisible());
            const bool completes = key != Qt::Key_Semicolon && key != Qt::Key_Escape;
            const QString untouched = typed + (key == Qt::Key_Semicolon ? ";|" : "|") + behind;
            QString shown = m_editor->toPlainText();
            shown.insert(m_editor->textCursor().position(), '|');
            QCOMPARE(shown, completes ? text : untouched);
            if (!completes)
                continue;
            m_editor->undo(); // the completion alone
            QCOMPARE(m_editor->toPlainText(), typed + behind);
        }
    }

    void wordListsComeAndGo()
    {
        QTemporaryDir directory;
        const QString path = directory.filePath("completer.xml");
        QVERIFY(!m_editor->completerFromFile(path));
        writeFile(path, "");
        QVERIFY(m_editor->completerFromFile(path)); // it brings no words
        type("type= ");
        QCOMPARE(popup()->model()->rowCount(), 4);
        QVERIFY(popup()->isVisible());
        m_words.reset();
        type("x\ntype= ");
        QVERIFY(!popup()->isVisible());
        m_words = std::make_unique<QStringListModel>(QStringList{"again"});
        m_editor->setWordList("", m_words.get());
        type("\n");
        QVERIFY(!popup()->isVisible());
        type(" ");
        QVERIFY(popup()->isVisible());
        QTest::keyClick(popup(), Qt::Key_Escape);
        QTest::keyClick(m_editor.get(), Qt::Key_Space, Qt::ControlModifier);
        QVERIFY(popup()->isVisible());
        QTest::keyClick(popup(), Qt::Key_Escape);
        type("a, ");
        QVERIFY(!popup()->isVisible());
        m_editor->setWordList("", nullptr);
        type("\n ");
        QVERIFY(!popup()->isVisible());
        m_editor->setWordList("new=", m_words.get());
        m_editor->clearWordLists();
        type("\nnew= ");
        QVERIFY(!popup()->isVisible());
    }

    void indentationByKeys_data()
    {
        const auto add = columns<int, QString, QString, QString>("key", "flags", "before", "after");
        // "k": kept on Return, "s": blanks for tabs. "|" is the cursor, from "[" if there is one.
        add("not wished", int(Qt::Key_Return), "", "  a|b", "  a\n|b");
        add("kept", int(Qt::Key_Return), "k", " \ta|b", " \ta\n \t|b");
        add("in the keypad", int(Qt::Key_Enter), "k", "  a|", "  a\n  |");
        add("within the blanks", int(Qt::Key_Return), "k", "  |  ab", "\n  |  ab");
        add("at the start", int(Qt::Key_Return), "k", "|  ab", "\n|  ab");
        add("nothing to keep", int(Qt::Key_Return), "k", "a|", "a\n|");
        add("over a selection", int(Qt::Key_Return), "k", "  a[b\nc|d", "  a\n  |d");
        add("a tab", int(Qt::Key_Tab), "", "a|b", "a\t|b");
        add("blanks to the next stop", int(Qt::Key_Tab), "s", "\tab|c", "\tab  |c");
        add("a whole stop", int(Qt::Key_Tab), "s", "abcd|", "abcd    |");
        add("in another line", int(Qt::Key_Tab), "s", "abc\nd|efgh", "abc\nd   |efgh");
        add("in place of a selection", int(Qt::Key_Tab), "s", "a[bc|d", "a   |d");
        add("lines to the right", int(Qt::Key_Tab), "", "a[b\n\n c|d\ne", "[\tab\n\n\t cd|\ne");
        add("by blanks", int(Qt::Key_Tab), "s", "a[b\nc|d", "[    ab\n    cd|");
        add("not the line of the end", int(Qt::Key_Tab), "", "[a\nb\n|c", "[\ta\n\tb|\nc");
        add("lines to the left", int(Qt::Key_Backtab), "", "\t\ta[b\nb\n\n  \tc\n     d\n e|",
            "[\tab\nb\n\nc\n d\ne|");
    }

    void indentationByKeys()
    {
        const auto [key, flags, before, after] = row<int, QString, QString, QString>();
        m_editor->setIndentation({flags.contains('k'), flags.contains('s'), 4});
        const QString text = QString(before).remove('[').remove('|');
        m_editor->setPlainText(text);
        QTextCursor cursor = m_editor->textCursor();
        const int anchor = before.indexOf('[');
        const int end = before.indexOf('|') - (anchor < 0 ? 0 : 1);
        cursor.setPosition(anchor < 0 ? end : anchor);
        cursor.setPosition(end, QTextCursor::KeepAnchor);
        m_editor->setTextCursor(cursor);
        QTest::keyClick(m_editor.get(), Qt::Key(key),
                        key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
        QString shown = m_editor->toPlainText();
        cursor = m_editor->textCursor();
        shown.insert(cursor.position(), '|');
        if (cursor.hasSelection())
            shown.insert(cursor.anchor(), '[');
        QCOMPARE(shown, after);
        m_editor->undo(); // one step
        QCOMPARE(m_editor->toPlainText(), text);
        QCOMPARE(m_editor->textCursor().position(), end);
        m_editor->redo();
        const QString redone = m_editor->toPlainText();
        m_editor->moveCursor(QTextCursor::Start);
        type("q"); // another step
        m_editor->undo();
        QCOMPARE(m_editor->toPlainText(), redone);
    }

    void keysWithAMeaning()
    {
        for (const int width : {-1, 0, 99}) {
            m_editor->setIndentation({true, true, width});
            QCOMPARE(m_editor->indentation().tabWidth, width < 1 ? 1 : 32);
            QTest::keyClick(m_editor.get(), Qt::Key_Tab);
        }
        QCOMPARE(m_editor->toPlainText(), QString(32, ' '));
        // The cursor stays in sight, whatever a key puts before it.
        m_editor->setPlainText(QString(60, ' ') + QString(60, 'x'));
        for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Return}) {
            QTextCursor cursor = m_editor->textCursor();
            cursor.movePosition(QTextCursor::EndOfBlock);
            m_editor->setTextCursor(cursor);
            for (int i = 0; i < 5; ++i)
                QTest::keyClick(m_editor.get(), key);
            const QRect view = m_editor->viewport()->rect();
            QVERIFY(view.contains(m_editor->cursorRect().center()));
        }
        m_editor->setPlainText("abc");
        QTest::keyClick(m_editor.get(), Qt::Key_Insert);
        type("xy");
        QCOMPARE(m_editor->toPlainText(), QString("xyc"));
        QTest::keyClick(m_editor.get(), Qt::Key_Insert);
        type("z");
        QCOMPARE(m_editor->toPlainText(), QString("xyzc"));
        // Typing hides the mouse cursor until it moves.
        QCOMPARE(m_editor->viewport()->cursor().shape(), Qt::BlankCursor);
        QMouseEvent move(QEvent::MouseMove, QPoint(40, 40), Qt::NoButton, Qt::NoButton,
                         Qt::NoModifier);
        QApplication::sendEvent(m_editor->viewport(), &move);
        QCOMPARE(m_editor->viewport()->cursor().shape(), Qt::IBeamCursor);
        m_editor->moveCursor(QTextCursor::End);
        QTest::keyClick(m_editor.get(), Qt::Key_Return, Qt::ShiftModifier);
        type("c");
        QCOMPARE(m_document->blockCount(), 2);
        QCOMPARE(m_editor->toPlainText(), QString("xyzc\nc"));
    }

    void wordsOfEmber_data()
    {
        const auto add = columns<int, QString, QStringList>("line", "typed", "words");
        add("words of an enumeration", 1,
            "posture: ", {"airborne", "crouching", "lying", "standing"});
        add("states of the file", 5, "then: ", {"rest", "walk"});
        add("pictures of the file", 1, "cel: ", {"wren_a"});
        add("what was typed in other lines", 1, "cel: new_b\n cel: ", {"new_b", "wren_a"});
        add("entries of the section", 5, " ",
            {"after:", "chance:", "say:", "set:", "then:", "when:"});
        add("outer sections", 5, "@s",
            {"about", "body", "command", "files", "ground", "layer", "match", "note", "sketch",
             "state"});
        add("inner sections", 5, "@@o", {"on", "step"});
        add("nothing for free text", 1, "say: ", {});
    }

    void wordsOfEmber()
    {
        const auto [line, typed, words] = row<int, QString, QStringList>();
        const std::unique_ptr<EmberDocument, Release> document(
            new EmberDocument(EmberDocument::States));
        document->fromString("@state walk\n\ncel: wren_a\n@state rest\n@@on tired\n\nwhen: (1)");
        new EmberWords(m_editor.get());
        m_editor->setDocument(document.get());
        m_editor->setCurrentLine(line, CodeEditor::NoPlacement);
        type(typed);
        QCOMPARE(popup()->isVisible(), !words.isEmpty());
        QStringList offered;
        for (int row = 0; popup()->isVisible() && row < popup()->model()->rowCount(); ++row)
            offered << popup()->model()->index(row, 0).data().toString();
        QCOMPARE(offered, words);
        m_editor->setDocument(nullptr);
    }

    // The hits of a search are counted and painted, move with the text at once, and are those of
    // the text again soon.
    void hitsFollowTheText()
    {
        m_document->fromString("one two one\nonly ONE\nnone");
        const auto isMarked = [this](int line, int column) {
            QRect place = m_editor->cursorRect(cursorAt(line, column));
            place.setWidth(4);
            return showsColor(shot(m_editor->viewport()), place,
                              m_editor->syntaxFormatting().hitColor);
        };
        const auto numberAt = [this](int line, int column) {
            QTextCursor cursor = cursorAt(line, column);
            cursor.movePosition(QTextCursor::Right, QTextCursor::KeepAnchor, 3);
            m_editor->setTextCursor(cursor);
            return m_editor->selectedHit();
        };
        setCursor(2, 4);
        QCoreApplication::processEvents();
        const PaintWatch watch(m_editor->viewport());
        m_editor->markHits("one", 0);
        QTRY_COMPARE(m_editor->hitState(), CodeEditor::Searched);
        QCOMPARE(m_editor->hitCount(), 4);
        QTRY_VERIFY(watch.region.contains(m_editor->cursorRect(cursorAt(0, 1)).center()));
        QVERIFY(isMarked(2, 1));
        m_editor->markHits("one", Editor::WholeWords);
        QCOMPARE(m_editor->hitCount(), 0);
        QTRY_COMPARE(m_editor->hitState(), CodeEditor::Searched);
        QCOMPARE(m_editor->hitCount(), 3);
        QVERIFY(isMarked(0, 8) && !isMarked(0, 4) && !isMarked(2, 1));
        QCOMPARE(numberAt(1, 5), 3);
        QCOMPARE(numberAt(1, 4), 0);
        setCursor(0, 1);
        QTest::keyClick(m_editor.get(), Qt::Key_Return); // takes the first one apart
        QCOMPARE(m_editor->hitCount(), 2);
        QCOMPARE(numberAt(2, 5), 2);
        setCursor(0, 1);
        QTest::keyClick(m_editor.get(), Qt::Key_Delete);
        QTRY_COMPARE(m_editor->hitCount(), 3);
        QCOMPARE(numberAt(1, 5), 3);
        setCursor(0, 4);
        QTest::keyClick(m_editor.get(), Qt::Key_Delete);
        QCOMPARE(numberAt(1, 5), 3);         // at once
        QTextCursor cursor = cursorAt(0, 2); // between the first and the last
        cursor.setPosition(cursorAt(2, 0).position(), QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        QCOMPARE(m_editor->hitCount(), 0);
        PlainDocument other("one");
        m_editor->setDocument(&other);
        const double blank = QFontMetricsF(m_editor->font()).horizontalAdvance(' ');
        QCOMPARE(m_editor->tabStopDistance(), std::ceil(blank * m_editor->indentation().tabWidth));
        QTRY_COMPARE(m_editor->hitCount(), 1);
        const QSignalSpy told(m_editor.get(), &CodeEditor::hitsChanged);
        QTest::qWait(60); // a search that has ended does not begin again
        QCOMPARE(told.count(), 0);
        m_editor->markHits("z*", Editor::RegularExpression); // nothing is no hit
        QTRY_COMPARE(m_editor->hitState(), CodeEditor::Searched);
        QCOMPARE(m_editor->hitCount(), 0);
        m_editor->markHits("(", Editor::RegularExpression);
        QCOMPARE(m_editor->hitState(), CodeEditor::NotSearched);
        QCOMPARE(m_editor->hitCount(), 0);
        m_editor->setDocument(m_document.get());
    }

    /// A search that takes too long is given up, once.
    void hitsThatTakeTooLong()
    {
        m_document->fromString(QString(30000, 'a'));
        m_editor->markHits("(a*)*(a*)*\\2\\1b", Editor::RegularExpression);
        QTRY_COMPARE_WITH_TIMEOUT(m_editor->hitState(), CodeEditor::OutOfTime, 6000);
        const QSignalSpy told(m_editor.get(), &CodeEditor::hitsChanged);
        QTest::qWait(60);
        QCOMPARE(told.count(), 0);
    }

    /// What is changed while a search goes on is searched again.
    void hitsOfATextThatChanges()
    {
        m_document->fromString(QString(QString(100, 'a') + '\n').repeated(120));
        m_editor->markHits("(a*)(a*)b", Editor::RegularExpression);
        QTest::qWait(20); // the search is on its way, and ends before the next would begin
        QTextCursor cursor(m_document.get());
        cursor.movePosition(QTextCursor::EndOfBlock);
        cursor.insertText("b");
        QTRY_COMPARE(m_editor->hitCount(), 1);
        QCOMPARE(m_editor->hitState(), CodeEditor::Searched);
    }

    // Text goes in, the address of a file does not.
    void droppedFilesAreLeftAlone()
    {
        for (const bool isFile : {true, false}) {
            QMimeData data;
            data.setText("text");
            if (isFile)
                data.setUrls({QUrl::fromLocalFile("/file")});
            QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, &data, Qt::LeftButton, {});
            QDragMoveEvent move(QPoint(9, 9), Qt::CopyAction, &data, Qt::LeftButton, {});
            for (QDropEvent *event :
                 {static_cast<QDropEvent *>(&enter), static_cast<QDropEvent *>(&move)}) {
                QApplication::sendEvent(m_editor->viewport(), event);
                QCOMPARE(event->isAccepted(), !isFile);
            }
        }
    }

private:
    QAbstractItemView *popup() const { return m_editor->findChild<QCompleter *>()->popup(); }
    QString currentWord() const { return popup()->currentIndex().data().toString(); }
    /// Real keys: while the popup is open they go to it, as the keyboard's would.
    void type(const QString &text)
    {
        for (QChar character : text) {
            QWidget *target =
                popup()->isVisible() ? static_cast<QWidget *>(popup()) : m_editor.get();
            if (character == '\n')
                QTest::keyClick(target, Qt::Key_Return);
            else
                QTest::keyClick(target, character.toLatin1());
        }
    }

    std::unique_ptr<QStringListModel> m_words;
    std::unique_ptr<QStringListModel> m_more;
};

QTEST_MAIN(TestCodeKeys)
#include "tst_codekeys.moc"
