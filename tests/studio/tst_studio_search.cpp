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
    // Before the endless expressions, which go on searching for a while.
    void findAndReplace_data()
    {
        const auto add = columns<QString, QString, QStringList, QString, QString>(
            "find", "by", "checked", "button", "text");
        const QString all("find_replace_all");
        const QStringList expression{"find_regex"};
        add("all, plain", "a.c", "\\1", {}, all, "abc \\1 ABC\n\\1");
        add("all, expression", "a(.)c", "<\\1>", expression, all, "<b> <.> <B>\n<.>");
        add("all, by case", "a.c", "x", {"find_regex", "find_case"}, all, "x x ABC\nx");
        add("one after the found one", "a.c", "x", {}, "find_replace_one", "abc x ABC\na.c");
        add("a broken expression does nothing", "a(", "x", expression, all, "abc a.c ABC\na.c");
    }

    void findAndReplace()
    {
        const auto [find, by, checked, button, text] =
            row<QString, QString, QStringList, QString, QString>();
        open("heroes/wren/air.glow");
        view()->selectAll();
        view()->insertPlainText("abc a.c ABC\na.c");
        QTest::keyClick(view(), Qt::Key_Home, Qt::ControlModifier);
        QTest::keyClick(view(), Qt::Key_F, Qt::ControlModifier);
        auto *field = m_window->findChild<QLineEdit *>("find_text");
        QTRY_VERIFY(field->hasFocus());
        field->setText(find);
        for (const QString &name : checked)
            m_window->findChild<QAbstractButton *>(name)->setChecked(true);
        m_window->findChild<QLineEdit *>("find_replacement")->setText(by);
        if (button == "find_replace_one") {
            QTest::keyClick(field, Qt::Key_Return);
            QCOMPARE(view()->textCursor().selectedText(), "a.c");
        }
        m_window->findChild<QPushButton *>(button)->click();
        QCOMPARE(document()->toString(), text);
        QTest::keyClick(field, Qt::Key_Escape);
        QVERIFY(!field->isVisible());
        QTRY_VERIFY(view()->hasFocus());
        document()->undo();
        actions()->saveAll->trigger();
    }

    void theBarTellsWhatWasFound()
    {
        open("heroes/wren/air.glow");
        view()->selectAll();
        view()->insertPlainText("abc a.c ABC\nxabc\na");
        QTest::keyClick(view(), Qt::Key_Home, Qt::ControlModifier);
        QTest::keyClick(view(), Qt::Key_F, Qt::ControlModifier);
        auto *field = m_window->findChild<QLineEdit *>("find_text");
        auto *told = m_window->findChild<QLabel *>("find_result");
        const auto check = [this](const char *box) {
            QTest::mouseClick(m_window->findChild<QAbstractButton *>(box), Qt::LeftButton, {},
                              {8, 8});
        };
        const auto search = [&](const char *text) {
            field->setText(text);
            QTest::keyClick(field, Qt::Key_Return);
        };
        field->setText("abc"); // counted before anything is looked for
        QTRY_COMPARE(told->text(), QString("3 hits"));
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(told->text(), QString("1 of 3"));
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(told->text(), QString("2 of 3"));
        m_window->findChild<QPushButton *>("find_previous")->click();
        QCOMPARE(told->text(), QString("1 of 3"));
        check("find_words");
        QTRY_COMPARE(told->text(), QString("1 of 2"));
        search("nobody");
        QCOMPARE(told->text(), QString("Nothing found")); // and no box
        check("find_case");
        search("ABC");
        QTRY_COMPARE(told->text(), QString("1 of 1"));
        check("find_words");
        check("find_regex");
        search("(abc");
        QVERIFY(told->text().startsWith("Bad expression: "));
        search("x.*c");
        QTRY_COMPARE(told->text(), QString("1 of 1"));
        QCOMPARE(view()->textCursor().selectedText(), QString("xabc"));
        m_window->findChild<QPushButton *>("find_replace_all")->click();
        QCOMPARE(told->text(), QString("1 replaced"));
        QTRY_COMPARE(view()->hitCount(), 0);
        QCOMPARE(told->text(), QString("1 replaced"));
        QTest::keyClick(field, Qt::Key_Escape);
        QCOMPARE(view()->hitState(), Kiln::CodeEditor::NotSearched);
        document()->undo();
        document()->undo();
    }

    void findInFilesSurvivesAnyExpression_data()
    {
        const auto add = columns<QString, bool, bool>("text", "expression", "hits");
        add("plain", "wren_dash", false, true);
        add("nothing there", "no such text anywhere", false, false);
        add("expression", "wren_\\w+", true, true);
        add("broken expression", "wren_(", true, false);
        add("empty text", "", false, false);
    }

    void findInFilesSurvivesAnyExpression()
    {
        const auto [text, expression, hits] = row<QString, bool, bool>();
        auto *dock = m_window->findChild<FindInFilesDock *>();
        actions()->findInFiles->trigger();
        searchFiles(text, expression);
        QCOMPARE(dock->hitCount() > 0, hits);
        // These match empty text at many places, or at every one.
        for (const char *hostile : {"x*", "\\b", "(?=w)", "^", "$"})
            searchFiles(hostile, true);
    }

    void treeIsSortedAndWhole()
    {
        auto *tree = m_window->findChild<Studio::ProjectTreeDock *>();
        const auto rows = [&](const QString &directory) {
            QStringList names;
            const QModelIndex above =
                directory.isEmpty() ? QModelIndex() : tree->tree()->find(path(directory));
            for (int i = 0; i < tree->tree()->rowCount(above); ++i)
                names += tree->tree()->index(i, 0, above).data().toString();
            return names;
        };
        const QStringList before = rows("shared");
        for (const char *name : {"wave10.glow", "Wave2.glow", "wave1.glow", "wave02b.glow"})
            writeFile(path("shared/") + name);
        writeFile(path("shared/zoo/a.glow"));
        QTRY_COMPARE(rows("shared").size(), before.size() + 5);
        // What a definition says of a file shows in its row.
        QSignalSpy told(tree->tree(), &HostKit::ProjectTree::dataChanged);
        auto *wren =
            dynamic_cast<Kiln::CodeDocument *>(session().findFile(path("heroes/wren/wren.wisp")));
        const QPersistentModelIndex wave(tree->tree()->find(path("shared/wave1.glow")));
        QCOMPARE(tree->tree()->fileId(wave), 0U);
        wren->replaceText(wren->toString().replace(
            "    states: hurt.glow\n",
            "    states: hurt.glow\n    states: ../../shared/wave1.glow\n"));
        QTRY_VERIFY(tree->tree()->fileId(wave) != 0);
        QVERIFY(std::any_of(told.begin(), told.end(), [&](const QVariantList &call) {
            return call.first().toModelIndex() == wave;
        }));
        wren->undo();
        const QStringList sorted = rows("shared").mid(0, 1) + rows("shared").filter("ave");
        QCOMPARE(sorted,
                 QStringList({"zoo", "wave1.glow", "Wave2.glow", "wave02b.glow", "wave10.glow"}));
        const QStringList top = rows(QString());
        QVERIFY(std::is_sorted(top.begin(), top.begin() + 3));

        // What is new has its place below all others, and by its name once it has one.
        actions()->newMenu->actions().first()->trigger();
        type("; new");
        QCoreApplication::processEvents();
        QCOMPARE(rows(QString()), top + QStringList("Untitled"));
        open("heroes/wren/air.glow");
        const QModelIndex last = tree->tree()->index(top.size(), 0);
        tree->view()->setCurrentIndex(last);
        QTest::keyClick(tree->view(), Qt::Key_Return);
        QCOMPARE(document()->fileName(), QString());
        QCOMPARE(tree->currentFile(), QString());
        m_dialogs->expectFiles({path("heroes/wren/extra/fresh.glow")});
        actions()->saveAs->trigger();
        QCoreApplication::processEvents();
        QCOMPARE(rows(QString()), top);
        QCOMPARE(rows("heroes/wren/extra"), QStringList("fresh.glow"));
        tree->selectFile(path("heroes/wren/extra/fresh.glow"));
        QCOMPARE(tree->currentFile(), path("heroes/wren/extra/fresh.glow"));
        // Under another name the old one is gone: nothing names it, and it is not open.
        const QPersistentModelIndex air(tree->tree()->find(path("heroes/wren/air.glow")));
        m_dialogs->expectFiles({path("heroes/wren/extra/other.glow")});
        actions()->saveAs->trigger();
        QCoreApplication::processEvents();
        QCOMPARE(rows("heroes/wren/extra"), QStringList("other.glow"));
        Kiln::ProjectFile *other = document();
        other->project()->removeFile(other);
        QCOMPARE(rows("heroes/wren").indexOf("extra"), -1);
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

    // Checked hits are replaced, also in a file that no definition names, each file in one step.
    void replacesInFiles()
    {
        auto *dock = m_window->findChild<FindInFilesDock *>();
        auto *results = dock->findChild<QTreeWidget *>("search_results");
        open("heroes/wren/air.glow");
        view()->insertPlainText("pole 1 pole 2\n");
        actions()->findInFiles->trigger();
        dock->findChild<QAbstractButton *>("search_words")->setChecked(true);
        searchFiles("(pole)( 2)?", true);
        QMap<QString, QTreeWidgetItem *> files;
        for (int i = 0; i < results->topLevelItemCount(); ++i)
            files.insert(results->topLevelItem(i)->text(0), results->topLevelItem(i));
        QVERIFY(!session().findFile(path("shared/gallery.glow")));
        QTreeWidgetItem *gallery = files.value("shared/gallery.glow");
        QTreeWidgetItem *air = files.value("heroes/wren/air.glow");
        QVERIFY(gallery && air);
        QCOMPARE(air->childCount(), 2);
        QTest::keyClicks(dock->findChild<QLineEdit *>("search_replacement"), "<\\1>");
        QCOMPARE(air->child(1)->text(2), QString("pole 1 <pole>"));
        for (QTreeWidgetItem *file : qAsConst(files))
            file->setCheckState(0, file == air || file == gallery ? Qt::Checked : Qt::Unchecked);
        const QRect row = results->visualItemRect(air->child(0));
        results->scrollToItem(air->child(0));
        QTest::mouseClick(results->viewport(), Qt::LeftButton, {},
                          results->visualItemRect(air->child(0)).topLeft() +
                              QPoint(10, row.height() / 2));
        QCOMPARE(air->checkState(0), Qt::PartiallyChecked);
        const QString before = document()->toString();
        document()->insert("pole 2"); // and is not asked about
        QTest::mouseClick(dock->findChild<QPushButton *>("search_replace"), Qt::LeftButton);
        QVERIFY(dock->findChild<QLabel *>("search_summary")
                    ->text()
                    .startsWith("Replaced: 2, files: 2"));
        auto *changed =
            dynamic_cast<Kiln::CodeDocument *>(session().findFile(path("shared/gallery.glow")));
        QVERIFY(changed && changed->toString().contains("pose with <pole>"));
        changed->undo();
        QVERIFY(!static_cast<QTextDocument *>(changed)->isModified());
        open("heroes/wren/air.glow");
        QVERIFY(document()->toString().startsWith("pole 1 <pole>\n"));
        document()->undo();
        document()->undo();
        QCOMPARE(document()->toString(), before);
        document()->undo();
        actions()->saveAll->trigger();
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

    void treeMakesAndRemovesFiles()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_directory->filePath("share")));
        auto *tree = m_window->findChild<Studio::ProjectTreeDock *>();
        const auto choose = [&](const char *file, const char *action) {
            tree->selectFile(path(file));
            const std::unique_ptr<QMenu> menu(tree->makeMenu(tree->view()->currentIndex()));
            menu->findChild<QAction *>(action)->trigger();
        };
        const auto name = [&](const char *text) {
            m_dialogs->expectDialog([text](QDialog *dialog) {
                qobject_cast<QInputDialog *>(dialog)->setTextValue(text);
                dialog->accept();
            });
        };
        name("fresh.glow");
        choose("heroes/wren/hurt.glow", "tree_new");
        QCOMPARE(document()->fileName(), path("heroes/wren/fresh.glow"));
        QVERIFY(QFile::exists(path("heroes/wren/fresh.glow")));
        type("; text");
        actions()->save->trigger();
        // Each with its reason.
        for (const auto &[wrong, why] : {std::pair("hurt.glow", "exists already"),
                                         {"no.type", "by its suffix"},
                                         {"../../../up.glow", "outside"},
                                         {"hurt.glow/below.glow", "cannot be made. Not a dir"}}) {
            name(wrong);
            m_dialogs->expectBox(QMessageBox::Ok);
            choose("heroes/wren/hurt.glow", "tree_new");
            QVERIFY2(m_dialogs->seen().last().text.contains(why),
                     qPrintable(m_dialogs->seen().last().text));
        }
        QVERIFY(!QFile::exists(path("heroes/wren/no.type")));
        QVERIFY(!QFile::exists(path("../up.glow")));
        choose("heroes/wren/hurt.glow", "tree_copy_path");
        QCOMPARE(QGuiApplication::clipboard()->text(), path("heroes/wren/hurt.glow"));
        choose("heroes/wren/hurt.glow", "tree_open");
        QCOMPARE(document()->fileName(), path("heroes/wren/hurt.glow"));

        // The definition follows a new name, in one step, and knows which file it names; what is
        // open goes on under it.
        auto *wren =
            dynamic_cast<Kiln::CodeDocument *>(session().findFile(path("heroes/wren/wren.wisp")));
        const auto addEntry = [wren](const char *name) {
            wren->replaceText(wren->toString().replace(
                "    states: hurt.glow\n",
                QStringLiteral("    states: hurt.glow\n    states: %1\n").arg(name)));
        };
        addEntry("../moss/hurt.glow");
        addEntry("./hurt.glow");
        const QString named = wren->toString();
        open("heroes/wren/hurt.glow");
        type("; here\n");
        name("taken/by.glow");
        m_dialogs->expectBox(QMessageBox::Ok);
        choose("heroes/wren/hurt.glow", "tree_rename");
        name("air.glow");
        m_dialogs->expectBox(QMessageBox::Ok);
        choose("heroes/wren/hurt.glow", "tree_rename");
        // The ending stays unless one means it.
        m_dialogs->expectDialog([](QDialog *dialog) {
            QTest::keyClicks(dialog->findChild<QLineEdit *>(), "pain");
            QTest::keyClick(dialog, Qt::Key_Return);
        });
        tree->selectFile(path("heroes/wren/hurt.glow"));
        tree->view()->setFocus();
        QTest::keyClick(tree->view(), Qt::Key_F2);
        QVERIFY(QFile::exists(path("heroes/wren/pain.glow")));
        QVERIFY(!QFile::exists(path("heroes/wren/hurt.glow")));
        QCOMPARE(document()->fileName(), path("heroes/wren/pain.glow"));
        QVERIFY(document()->toString().startsWith("; here\n"));
        QCOMPARE(wren->toString(), QString(named)
                                       .replace("states: hurt.glow", "states: pain.glow")
                                       .replace("states: ./hurt.glow", "states: ./pain.glow"));
        QVERIFY(session().parentProject()->filePath(path("heroes/wren/pain.glow")));
        host().desk().showFile(wren);
        name("hurt.glow");
        choose("heroes/wren/pain.glow", "tree_rename");
        QCOMPARE(wren->toString(), named);
        QCOMPARE(tree->currentFile(), path("heroes/wren/hurt.glow"));
        open("heroes/wren/hurt.glow");
        for (const char *step : {"pain.glow\n", "hurt.glow\n"}) {
            wren->undo();
            for (const char *entry : {"states: ", "states: ./"})
                QVERIFY(wren->toString().contains(QLatin1String(entry) + step));
        }
        QCOMPARE(wren->toString(), named);
        while (wren->isModified() && wren->isUndoAvailable())
            wren->undo();
        actions()->save->trigger();
        QVERIFY(readFile(path("heroes/wren/hurt.glow")).startsWith("; here"));
        // Plain text has no type of the engine's, and is edited like code.
        tree->selectFile(path("notes/design.txt"));
        QTest::keyClick(tree->view(), Qt::Key_Return);
        QCOMPARE(document()->fileName(), path("notes/design.txt"));
        type("seen\n");
        actions()->saveAll->trigger();
        QVERIFY(readFile(path("notes/design.txt")).startsWith("seen\r\n"));

        open("heroes/wren/hurt.glow");
        type("; more");
        m_dialogs->expectBox(QMessageBox::Yes);
        m_dialogs->expectBox(QMessageBox::Cancel);
        choose("heroes/wren/hurt.glow", "tree_trash");
        QVERIFY(QFile::exists(path("heroes/wren/hurt.glow")));
        m_dialogs->expectBox(QMessageBox::Yes);
        m_dialogs->expectBox(QMessageBox::Discard);
        choose("heroes/wren/hurt.glow", "tree_trash");
        QVERIFY(!QFile::exists(path("heroes/wren/hurt.glow")));
        QVERIFY(QFile::exists(m_directory->filePath("share/Trash/files/hurt.glow")));
        QVERIFY(!session().findFile(path("heroes/wren/hurt.glow")));
        m_dialogs->expectBox(QMessageBox::Ok);
        choose("heroes/wren/wren.wisp", "tree_trash");
        QVERIFY(QFile::exists(path("heroes/wren/wren.wisp")));
    }
};

QTEST_MAIN(tst_studio_search)
#include "tst_studio_search.moc"
