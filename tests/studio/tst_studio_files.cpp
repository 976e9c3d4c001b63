#include "windowtest.h"

#include <hostkit/filetabs.h>
#include <hostkit/savedesk.h>

#include <kilnx/project/editor.h>
#include <kilnx/project/engine.h>
#include <kilnx/sound/sounds.h>
#include <kilnx/sound/soundsample.h>
#include <tests/support/fulldisk.h>

#include <unistd.h>

using namespace HostKit;
using namespace Studio;

// How the window opens, saves, replaces and closes files and projects, and what it asks first.
class tst_studio_files : public WindowTest
{
    Q_OBJECT

private slots:
    void savesLeaveTheViewAlone()
    {
        open("heroes/wren/air.glow");
        type("; " + QString(400, 'x'));
        QTextCursor selection = view()->textCursor();
        selection.movePosition(QTextCursor::Left, QTextCursor::KeepAnchor, 5);
        view()->setTextCursor(selection);
        const int scrolled = view()->horizontalScrollBar()->value();
        QVERIFY(scrolled > 0);
        auto *nodes = m_window->findChild<QTreeView *>("code_tree");
        nodes->setFocus();
        actions()->save->trigger();
        QVERIFY(!document()->isModified());
        QCOMPARE(view()->textCursor().selectedText(), selection.selectedText());
        QCOMPARE(view()->horizontalScrollBar()->value(), scrolled);
        QCOMPARE(QApplication::focusWidget(), nodes);
    }

    void spritesHaveTheirPlace()
    {
        QVERIFY(host().desk().openFile(path("heroes/wren/wren.gleam"), 0));
        const auto *opacity = m_window->findChild<QWidget *>("spr_layers_opacity");
        QVERIFY(!opacity->isEnabled());
        QVERIFY(opacity->palette().color(QPalette::Text) !=
                opacity->palette().color(QPalette::Active, QPalette::Text));
        // The marks of the viewport are not those of a picture.
        QVERIFY(!m_window->findChild<QToolButton *>("view_main_cross")->isVisible());
        // The thumbnails share a place with the organizer.
        const auto dockOf = [this](const char *part) {
            const QWidget *found = m_window->findChild<QWidget *>(part);
            while (found && !qobject_cast<const QDockWidget *>(found))
                found = found->parentWidget();
            return static_cast<QDockWidget *>(const_cast<QWidget *>(found));
        };
        QVERIFY(m_window->tabifiedDockWidgets(dockOf("org_list")).contains(dockOf("thumb_list")));
        // The whole grid of colours is in sight.
        const auto *grid = m_window->findChild<QWidget *>("pal_view");
        QTRY_VERIFY(grid->visibleRegion().boundingRect().height() >= grid->sizeHint().height());
        auto *layers = m_window->findChild<QToolButton *>("spr_layers_menu");
        QVERIFY(layers->defaultAction());
        QCOMPARE(layers->defaultAction()->menu()->actions().size(), 5);
    }

    void oneFileIsOneBuffer_data()
    {
        const auto add = columns<QString, QString, bool>("name", "link", "isSame");
        add("by its name", "heroes/wren/air.glow", "", true);
        add("by the parent directory", "heroes/moss/../wren/air.glow", "", true);
        add("by a symbolic link", "heroes/link.glow", "wren/air.glow", true);
        add("by a linked directory", "linked/air.glow", "linked heroes/wren", true);
        add("by a hard link, which a save parts", "heroes/hard.glow", "hard", false);
        add("another", "heroes/wren/hurt.glow", "", false);
    }

    /// Opened from the tree and by the menu; what is saved goes through a link.
    void oneFileIsOneBuffer()
    {
        const auto [name, link, isSame] = row<QString, QString, bool>();
        const QString air = path("heroes/wren/air.glow");
        if (link == "hard")
            QCOMPARE(::link(qPrintable(air), qPrintable(path(name))), 0);
        else if (link.startsWith("linked"))
            QVERIFY(QFile::link(link.mid(7), path("linked")));
        else if (!link.isEmpty())
            QVERIFY(QFile::link(link, path(name)));
        open("heroes/wren/air.glow");
        type("; here\n");
        const int tabs = host().tabs().count();
        const int files = session().files().size();
        const bool isLoaded = isSame || session().findFile(path(name));
        for (QAction *entry : actions()->openMenu->actions()) {
            if (entry->text() != host().text(HostBase::CodeText) + "...")
                continue;
            m_dialogs->expectFiles({path(name)});
            if (!QDir::cleanPath(path(name)).startsWith(path("heroes/wren/")))
                m_dialogs->expectBox(QMessageBox::No); // outside, and no copy
            entry->trigger();
        }
        QCOMPARE(document()->toString().startsWith("; here"), isSame);
        QVERIFY(host().desk().openFile(path(name), 0));
        QCOMPARE(document()->toString().startsWith("; here"), isSame);
        QCOMPARE(host().tabs().count(), isSame ? tabs : tabs + 1);
        QCOMPARE(session().files().size(), isLoaded ? files : files + 1);
        if (!isSame)
            return;
        actions()->save->trigger();
        QVERIFY(readFile(air).startsWith("; here"));
        QCOMPARE(QFileInfo(path(name)).isSymLink(), link == "wren/air.glow");
    }

    void longReportsAreCut()
    {
        m_dialogs->expectBox(QMessageBox::Ok);
        {
            const FullDisk full(10);
            QVERIFY(!host().saving().backup("x"));
        }
        const QStringList told = m_dialogs->seen().last().text.split('\n');
        QVERIFY2(told.size() == 9 && told.last().startsWith("and "), qPrintable(told.join('\n')));
    }

    void definitionStaysInItsProject()
    {
        open("heroes/wren/wren.wisp");
        type("; changed\n");
        QVERIFY(QFile::remove(path("heroes/wren/wren.wisp")));
        m_dialogs->expectBox(QMessageBox::Discard);
        actions()->closeFile->trigger();
        const QList<Kiln::Project *> projects = session().projects();
        for (const Kiln::Project *project : projects)
            QVERIFY(project->file(Kiln::Project::FileID::Definition));
        QVERIFY(session().parentProject()->backup("kept"));
    }

    void nothingIsRestoredUnasked()
    {
        QVERIFY(host().saving().backup("first"));
        const QStringList copies =
            QDir(path("backup")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        QCOMPARE(copies.size(), 1);
        QVERIFY(QFileInfo::exists(path("backup/" + copies.first() + "/notes/design.txt")));
        open("heroes/wren/air.glow");
        type("; newer\n");
        actions()->save->trigger();
        m_dialogs->expectFiles({path("backup/" + copies.first())});
        m_dialogs->expectBox(QMessageBox::No);
        actions()->restore->trigger();
        QVERIFY(readFile(path("heroes/wren/air.glow")).startsWith("; newer"));
        m_dialogs->expectFiles({path("backup/" + copies.first())});
        m_dialogs->expectBox(QMessageBox::Yes);
        actions()->restore->trigger();
        QVERIFY(!readFile(path("heroes/wren/air.glow")).startsWith("; newer"));
    }

    // Laying out the bar takes as long as there are tabs: not for each of them.
    void tabsAreLaidOutOnce()
    {
        struct CountedTabs : FileTabs {
            using FileTabs::FileTabs;
            void tabLayoutChange() override { ++layouts; }
            int layouts = 0;
        } counted(nullptr);
        for (Kiln::ProjectFile *file : session().files())
            counted.showFile(file);
        QVERIFY(counted.count() > 2);
        const int laidOut = counted.layouts;
        counted.refresh();
        QCOMPARE(counted.layouts, laidOut);
        // Names stay whole, and scroll.
        counted.resize(counted.tabRect(1).size());
        QVERIFY(counted.tabRect(1).width() >
                counted.fontMetrics().horizontalAdvance(counted.tabText(1)));
    }

    /// Whatever signs are in it.
    void namesAreShownAsTheyAre()
    {
        const QString name("a & [*]<i>x.glow");
        writeFile(path("heroes/wren/" + name));
        open("heroes/wren/" + name);
        QTabBar &tabs = host().tabs();
        QCOMPARE(tabs.tabText(tabs.currentIndex()), QString(name).replace("&", "&&"));
        QVERIFY(m_window->windowTitle().startsWith(QString(name).replace("[*]", "[*][*]") + "[*]"));
        type("; x");
        QVERIFY(m_window->isWindowModified());
        m_dialogs->expectDialog([](QDialog *dialog) {
            QCOMPARE(qobject_cast<QMessageBox *>(dialog)->textFormat(), Qt::PlainText);
            dialog->reject();
        });
        actions()->closeFile->trigger();
        actions()->save->trigger();
        QVERIFY(!m_window->isWindowModified());
        settings().addRecentProject("/there/R&D");
        QCOMPARE(actions()->recentMenu->actions().first()->text(), "/there/R&&D");
    }

    void projectGoesBehindTheQuestion_data()
    {
        const auto add = columns<int, bool>("answer", "all");
        add("save one", int(QMessageBox::Save), false);
        add("discard one", int(QMessageBox::Discard), false);
        add("save all", int(QMessageBox::Save), true);
        add("discard all", int(QMessageBox::Discard), true);
    }

    void projectGoesBehindTheQuestion()
    {
        const auto [answer, all] = row<int, bool>();
        QVERIFY(host().desk().openFile(path("heroes/wren/wren.gleam"), 0));
        m_window->findChild<QAction *>("spr_layer_add")->trigger();
        open("heroes/wren/air.glow");
        type("; typed");
        m_dialogs->expectDialog([this, answer = answer](QDialog *box) {
            session().close();
            qobject_cast<QMessageBox *>(box)->button(QMessageBox::StandardButton(answer))->click();
        });
        if (all)
            QVERIFY(host().closeProject());
        else
            QVERIFY(!host().desk().closeFile(document()));
        QVERIFY(!session().parentProject());
        // An editor may be shown without a project when the window ends.
        host().deck().switchTo(host().deck().editor("code"));
    }

    void changesOfSoundsAreAskedAbout()
    {
        auto *sounds =
            dynamic_cast<Kiln::Sounds *>(session().loadFile(path("heroes/wren/wren.peal"), 0));
        QVERIFY(sounds && sounds->insert(0, "new", sounds->itemAt(0)->sample()));
        for (const bool discards : {false, true}) {
            m_dialogs->expectBox(discards ? QMessageBox::Yes : QMessageBox::No);
            QCOMPARE(host().closeProject(), discards);
        }
        // And those of a type that no editor shows.
        QVERIFY(host().openProject(hero()));
        auto *shown = session().currentProject();
        auto *other = dynamic_cast<Kiln::Sounds *>(
            host().engine()->createFile(Kiln::Project::FileID::Sounds, shown));
        shown->addFile(other, Kiln::Project::FileID(0x1000));
        QVERIFY(other->insert(0, "new", {}));
        for (const bool discards : {false, true}) {
            m_dialogs->expectBox(discards ? QMessageBox::Yes : QMessageBox::No);
            QCOMPARE(host().closeProject(), discards);
        }
    }

    void projectGoesBehindAFailedLoad()
    {
        const QString name = path("heroes/wren/broken.gleam");
        writeFile(name, "nothing");
        for (const bool closes : {false, true}) {
            m_dialogs->expectDialog([this, closes](QDialog *box) {
                if (closes)
                    session().close();
                box->reject();
            });
            QVERIFY(!session().loadFile(name, 0));
        }
        QVERIFY(!session().parentProject());
    }

    // A file that is no text is shown as its bytes and never written, whatever its name says.
    void bytesAreShownAndNeverWritten()
    {
        const QByteArray bytes = QByteArray("GIF\0\n\x80 text\r", 12).repeated(100000);
        for (const char *name : {"shared/odd.glow", "shared/odd.bin", "heroes/wren/hurt.glow"}) {
            const bool isNamed = !QByteArray(name).startsWith("shared"); // by a definition
            QVERIFY(!isNamed || host().closeProject());
            writeFile(path(name), bytes);
            QVERIFY(!isNamed || host().openProject(hero()));
            open(name);
            QVERIFY(document()->toString().startsWith(
                "00000000  47 49 46 00 0a 80 20 74 65 78 74 0d 47 49 46 00  GIF... text.GIF.\n"));
            QVERIFY(document()->toString().endsWith("\n151424 more bytes\n"));
            QVERIFY(view()->isReadOnly());
            type("x\n");
            QTest::keyClick(view(), Qt::Key_V, Qt::ControlModifier);
            QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier);
            actions()->saveAll->trigger();
            QVERIFY(readFile(path(name)) == bytes);
            actions()->closeFile->trigger();
            QCOMPARE(session().findFile(path(name)) != nullptr, isNamed);
        }
        // Changed by another program, it is still shown as bytes, and all of them.
        open("shared/odd.bin");
        QCoreApplication::processEvents(); // reads the bytes for later
        replaceFile(path("shared/odd.bin"), QByteArray("a\x7f~ \0\n", 6));
        QTRY_COMPARE(document()->toString(),
                     "00000000  61 7f 7e 20 00 0a" + QString(32, ' ') + "a.~ ..\n");
        open("heroes/wren/air.glow");
        QVERIFY(!view()->isReadOnly());
        // It moves with its project.
        const QString copy = m_directory->filePath("copy");
        QVERIFY(QDir().mkpath(copy));
        m_dialogs->expectFiles({copy});
        actions()->saveProjectAs->trigger();
        QVERIFY(readFile(copy + "/heroes/wren/hurt.glow") == bytes);
    }

    // What was opened by hand is given back when it is closed, and a large file has no colours.
    void closedTextIsGivenBack()
    {
        const QString name = path("shared/large.glow");
        writeFile(name, QByteArray("@state one\r\n    ticks: 1\r\n").repeated(400000));
        open("shared/large.glow");
        QVERIFY(document()->findBlockByNumber(0).layout()->formats().isEmpty());
        QCOMPARE(document()->model()->rowCount(), 0);
        QVERIFY(
            m_window->findChild<QStatusBar *>("status_bar")->currentMessage().contains("large"));
        m_window->activateWindow(); // the progress was, and there is no window manager
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        QTest::keyClick(view(), Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!session().findFile(name));
        open("heroes/wren/air.glow");
        QVERIFY(!document()->findBlockByNumber(2).layout()->formats().isEmpty());
        actions()->closeFile->trigger();
    }

    // As named on the command line: a file is shown in the project beside it.
    void filesOpenTheirProject()
    {
        const QString other = m_directory->filePath("other");
        copyFolder(hero(), other);
        for (const QString &name : {path("shared/rules.glow"), other + "/tidewater.hearth"}) {
            m_window->open({hero(), name});
            QCOMPARE(document()->fileName(), name);
        }
        QCOMPARE(session().parentProjects().size(), 2);
        QCOMPARE(QDir::cleanPath(session().parentProject()->basePath()), other);
        const QTabBar &tabs = host().tabs();
        QCOMPARE(tabs.tabText(tabs.currentIndex()), "other/tidewater.hearth");
    }
};

QTEST_MAIN(tst_studio_files)
#include "tst_studio_files.moc"
