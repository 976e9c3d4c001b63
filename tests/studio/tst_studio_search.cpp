#include "windowtest.h"

#include <findinfilesdock.h>
#include <hostkit/filesearch.h>
#include <hostkit/projecttree.h>
#include <projecttreedock.h>

#include <kilnx/project/editor.h>

using namespace Studio;

// How files are found, made and removed in the tree of a project, and text in them is found and
// replaced.
class tst_studio_search : public WindowTest
{
    Q_OBJECT

    void searchFiles(const QString &text, bool isExpression)
    {
        auto *dock = m_window->findChild<FindInFilesDock *>();
        auto *field = dock->findChild<QLineEdit *>("search_text");
        field->setText(text);
        dock->findChild<QAbstractButton *>("search_regex")->setChecked(isExpression);
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_VERIFY_WITH_TIMEOUT(!dock->isSearching(), 20000);
    }

private slots:
    // What a definition says of a file shows in its row; a file that goes leaves the others alone.
    void rowsOfTheTreeTellTypes()
    {
        auto *tree = m_window->findChild<Studio::ProjectTreeDock *>()->tree();
        writeFile(path("shared/wave1.glow"));
        QTRY_VERIFY(tree->find(path("shared/wave1.glow")).isValid());
        QSignalSpy told(tree, &HostKit::ProjectTree::dataChanged);
        auto *wren =
            dynamic_cast<Kiln::CodeDocument *>(session().findFile(path("heroes/wren/wren.wisp")));
        const QPersistentModelIndex wave(tree->find(path("shared/wave1.glow")));
        QCOMPARE(tree->fileId(wave), 0U);
        wren->replaceText(wren->toString().replace(
            "    states: hurt.glow\n",
            "    states: hurt.glow\n    states: ../../shared/wave1.glow\n"));
        QTRY_VERIFY(tree->fileId(wave) != 0);
        QVERIFY(std::any_of(told.begin(), told.end(), [&](const QVariantList &call) {
            return call.first().toModelIndex() == wave;
        }));
        wren->undo();
        const QPersistentModelIndex air(tree->find(path("heroes/wren/air.glow")));
        open("heroes/wren/air.glow");
        m_dialogs->expectFiles({path("heroes/wren/extra/other.glow")});
        actions()->saveAs->trigger();
        QTRY_VERIFY(tree->find(path("heroes/wren/extra")).isValid());
        document()->project()->removeFile(document());
        QVERIFY(!tree->find(path("heroes/wren/extra")).isValid());
        QVERIFY(air.isValid() && air.data() == "air.glow");
    }

    void barTellsOfLongSearches()
    {
        open("heroes/wren/air.glow");
        document()->replaceText(QString(3000, 'a') + "\n@state one\n@state two\n");
        actions()->find->trigger();
        auto *told = m_window->findChild<QLabel *>("find_result");
        auto *field = m_window->findChild<QLineEdit *>("find_text");
        m_window->findChild<QCheckBox *>("find_regex")->setChecked(true);
        const QString endless("(a*)*(a*)*\\2\\1b");
        const QString tooLong("The expression takes too long");
        // While it is typed, and at once when it is asked for.
        field->setText(endless);
        QTRY_COMPARE_WITH_TIMEOUT(told->text(), tooLong, 20000);
        field->setText("@state");
        QTRY_COMPARE(told->text(), QString("2 hits"));
        // What comes after them does not wait for them.
        for (const char *next : {"@sta\\w*", "@state"}) {
            field->setText(endless);
            QTest::keyClick(field, Qt::Key_Return);
            QCOMPARE(told->text(), tooLong);
            field->setText(next);
            QTest::keyClick(field, Qt::Key_Return);
            QTRY_VERIFY2(told->text().endsWith(" of 2"), qPrintable(told->text()));
        }
        QTest::keyClick(field, Qt::Key_Escape);
        QCOMPARE(view()->hitState(), Kiln::CodeEditor::NotSearched);
    }

    void linesWrapByASetting()
    {
        open("heroes/wren/air.glow");
        type(QString("; ") + QString("word ").repeated(100));
        const auto rows = [this] {
            QCoreApplication::processEvents();
            view()->document()->documentLayout()->blockBoundingRect(document()->firstBlock());
            return document()->firstBlock().layout()->lineCount();
        };
        for (const bool wraps : {true, false}) {
            set("code_wrap", wraps);
            QCOMPARE(rows() > 1, wraps);
            QCOMPARE(view()->horizontalScrollBar()->maximum() == 0, wraps);
        }
    }

    void longSearchesEnd()
    {
        auto *dock = m_window->findChild<FindInFilesDock *>();
        actions()->findInFiles->trigger();
        open("heroes/wren/air.glow");
        document()->insert(QString(3000, 'a') + '\n');
        searchFiles("(a+)+[=#]", true);
        auto *told = dock->findChild<QLabel *>("search_summary");
        QVERIFY(told->text().endsWith("The expression takes too long."));
        document()->insert((QString(3000, 'a') + '\n').repeated(4));
        searchFiles("a", false);
        QCOMPARE(dock->hitCount(), 10000);
        QTest::keyClick(dock->findChild<QLineEdit *>("search_text"), Qt::Key_Return);
        QTest::mouseClick(dock->findChild<QPushButton *>("search_start"), Qt::LeftButton);
        QVERIFY(!dock->isSearching());
        QVERIFY(told->text().contains("Stopped"));
        document()->undo();
        document()->undo();
    }

    // A hit tells some of a long line; whole words are those of the whole expression; what is shown
    // as bytes is not searched; what does not stand there any more is not replaced.
    void hitsAreWhatStandsThere()
    {
        using HostKit::FileHit;
        HostKit::FileSearch search(session());
        writeFile(path("notes/bytes.txt"), QByteArray("\0\1needle\0", 9));
        QVERIFY(host().desk().openFile(path("notes/bytes.txt"), 0));
        open("heroes/wren/air.glow");
        const QString filler = "needles pin pine " + QString(3000, '-');
        document()->setPlainText(filler + " needle " + filler + "\npin");
        QVector<FileHit> all;
        QStringList names;
        bool isOver = false;
        connect(&search, &HostKit::FileSearch::finished, this, [&] { isOver = true; });
        connect(&search, &HostKit::FileSearch::found, this,
                [&](const QString &name, Kiln::ProjectFile *, const QVector<FileHit> &hits) {
                    names += name;
                    all += hits;
                });
        const unsigned int words = Kiln::Editor::RegularExpression | Kiln::Editor::WholeWords;
        QCOMPARE(search.start("needle|pin", words), QString());
        QTRY_VERIFY(isOver);
        QCOMPARE(names, QStringList(path("heroes/wren/air.glow")));
        QCOMPARE(all.size(), 4);
        for (const FileHit &hit : qAsConst(all)) {
            QVERIFY(hit.text.size() <= 400);
            QCOMPARE(hit.text.mid(hit.start, hit.matched.size()), hit.matched);
            QCOMPARE(document()->findBlockByNumber(hit.line).text().mid(hit.column, 3),
                     hit.matched.left(3));
        }
        document()->setPlainText(filler + "\npi");
        QCOMPARE(search.replace(*document(), all, "x"), 1);
        QCOMPARE(document()->toPlainText(), QString(filler).replace(" pin ", " x ") + "\npi");
        QCOMPARE(search.replace(*document(), {{1, 0, "pi", {}, "pi", 0}}, "x"), 1);
        document()->undo();
        QCOMPARE(
            search.replace(*document(), {{1, 1, "i", {}, "pi", 1}, {7, 0, "p", {}, "p", 0}}, "x"),
            1);
        actions()->saveAll->trigger();
    }

    // A file is closed, or the search stopped, by who hears of a hit; names of sprites are found as
    // text is.
    void searchesOutliveTheirFiles()
    {
        using HostKit::FileSearch;
        FileSearch search(session());
        const unsigned int words = Kiln::Editor::RegularExpression | Kiln::Editor::WholeWords;
        QVERIFY(search.start("(?x)wren # )", words).startsWith("Bad expression"));
        open("heroes/wren/hurt.glow");
        document()->setPlainText(
            ("x" + QString(15, 'b') + '\n').repeated(1500)); // more than one slice
        static_cast<QTextDocument *>(document())->setModified(false);
        QVERIFY(host().desk().openFile(path("heroes/wren/wren.gleam"), 0));
        const Kiln::ProjectFile *closed = session().findFile(path("heroes/wren/hurt.glow"));
        int times = 0;
        bool isStopping = false;
        QVector<FileSearch::End> ends;
        connect(&search, &FileSearch::finished, this, [&](FileSearch::End how) { ends += how; });
        connect(&search, &FileSearch::found, this,
                [&](const QString &name, Kiln::ProjectFile *file,
                    const QVector<HostKit::FileHit> &hits) {
                    QVERIFY(!file || session().files().contains(file));
                    for (const HostKit::FileHit &hit : hits)
                        QVERIFY(!hit.matched.isEmpty());
                    if (name == path("heroes/wren/hurt.glow") && ++times == 1)
                        file->project()->removeFile(file);
                    if (isStopping)
                        search.stop();
                });
        QCOMPARE(search.start("x(?=(?:b+)+c|b)|b*", Kiln::Editor::RegularExpression), QString());
        QTRY_COMPARE_WITH_TIMEOUT(ends.size(), 1, 20000);
        QVERIFY(times > 1 && !session().files().contains(const_cast<Kiln::ProjectFile *>(closed)));
        isStopping = true;
        QCOMPARE(search.start("state", 0), QString());
        QTRY_COMPARE(ends.size(), 2);
        QCOMPARE(ends[1], FileSearch::Stopped);
    }

    void missingFilesAreMadeOnlyIfWanted()
    {
        const QString name = path("heroes/wren/fresh.glow");
        m_dialogs->expectBox(QMessageBox::No);
        QVERIFY(!host().desk().openFile(name, Kiln::Project::FileID::Code));
        QVERIFY(!QFileInfo::exists(name));
        m_dialogs->expectBox(QMessageBox::Yes);
        QVERIFY(host().desk().openFile(name, Kiln::Project::FileID::Code));
        QVERIFY(QFileInfo::exists(name));
        QCOMPARE(document()->fileName(), name);
        QVERIFY(!host().desk().openFile(path("make-sounds"), 0));
    }

    // Unless one means it.
    void renamingKeepsTheEnding()
    {
        auto *tree = m_window->findChild<Studio::ProjectTreeDock *>();
        m_dialogs->expectDialog([](QDialog *dialog) {
            QTest::keyClicks(dialog->findChild<QLineEdit *>(), "pain");
            QTest::keyClick(dialog, Qt::Key_Return);
        });
        tree->selectFile(path("heroes/wren/hurt.glow"));
        tree->view()->setFocus();
        QTest::keyClick(tree->view(), Qt::Key_F2);
        QVERIFY(QFile::exists(path("heroes/wren/pain.glow")));
        QCOMPARE(tree->currentFile(), path("heroes/wren/pain.glow"));
    }
};

QTEST_MAIN(tst_studio_search)
#include "tst_studio_search.moc"
