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
    void savingWritesTheWholeFile()
    {
        open("heroes/wren/air.glow");
        QTest::keyClick(view(), Qt::Key_End, Qt::ControlModifier);
        type("\n; the end");
        const QByteArray expected = document()->toString().replace("\n", "\r\n").toUtf8();
        QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(readFile(path("heroes/wren/air.glow")), expected);
        QVERIFY(!document()->isModified());
        QVERIFY(!m_window->isWindowModified());

        open("heroes/wren/hurt.glow");
        type("; one\n");
        open("heroes/wren/brain.glow");
        type("; two\n");
        QCOMPARE(session().modifiedFiles().size(), 2);
        QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier | Qt::AltModifier);
        QVERIFY(session().modifiedFiles().isEmpty());
        QVERIFY(readFile(path("heroes/wren/hurt.glow")).startsWith("; one\r\n"));
        QVERIFY(readFile(path("heroes/wren/brain.glow")).startsWith("; two\r\n"));
    }

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

    void failedSavesAreTold()
    {
        settings().setValue("enable_file_watcher", false);
        open("heroes/wren/air.glow");
        type("; not lost");
        // A directory stands in the way.
        QVERIFY(QFile::remove(path("heroes/wren/air.glow")));
        QVERIFY(QDir().mkpath(path("heroes/wren/air.glow/in the way")));
        m_dialogs->expectBox(QMessageBox::Ok);
        m_dialogs->expectFiles({});
        actions()->save->trigger();
        QVERIFY(document()->isModified());
        QVERIFY2(m_dialogs->seen().first().text.contains("air.glow' could not be saved."),
                 qPrintable(m_dialogs->seen().first().text));

        QVERIFY(QDir().mkpath(path("heroes/wren/also.glow/in the way")));
        m_dialogs->expectFiles({path("heroes/wren/also")});
        m_dialogs->expectBox(QMessageBox::Yes);
        m_dialogs->expectBox(QMessageBox::Ok);
        actions()->saveAs->trigger();
        QVERIFY(document()->isModified());
        QVERIFY(m_dialogs->seen().last().text.contains("could not be saved."));

        m_dialogs->expectFiles({path("heroes/wren/higher")});
        actions()->saveAs->trigger();
        QVERIFY(readFile(path("heroes/wren/higher.glow")).startsWith("; not lost"));
        m_dialogs->expectFiles({});
        actions()->saveAs->trigger();
    }

    void spritesAreDrawnAndSaved()
    {
        const QString name = path("heroes/wren/wren.gleam");
        settings().setValue("enable_file_watcher", false);
        QVERIFY(host().desk().openFile(name, 0));
        QTabBar &tabs = host().tabs();
        const auto isMarked = [&tabs] {
            return tabs.tabText(tabs.currentIndex()).endsWith(QChar(0x2022));
        };
        auto *addLayer = m_window->findChild<QAction *>("spr_layer_add");
        QVERIFY(!isMarked());
        addLayer->trigger();
        QVERIFY(isMarked());
        actions()->undo->trigger();
        QVERIFY(!isMarked());
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
        // A directory stands in the way of the save, which one box tells.
        addLayer->trigger();
        QVERIFY(QFile::remove(name));
        QVERIFY(QDir().mkpath(name + "/in the way"));
        m_dialogs->expectBox(QMessageBox::Ok);
        m_dialogs->expectFiles({});
        actions()->save->trigger();
        QVERIFY(m_dialogs->seen().first().text.contains("wren.gleam' could not be saved."));
        QVERIFY(isMarked());
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

    /// A file from elsewhere goes with its tab; one that is saved over takes the place of its text.
    void filesFromElsewhereGo()
    {
        const QString name = m_directory->filePath("elsewhere.glow");
        writeFile(name, "nonsense\r\n");
        QVERIFY(host().desk().openFile(name, 0));
        const int before = host().messages().errorCount();
        QVERIFY(session().findFile(name)->messages()->count(Kiln::Message::Error) > 0);
        actions()->closeFile->trigger();
        QVERIFY(!session().findFile(name));
        QVERIFY(host().messages().errorCount() < before);
        const QString pictures = m_directory->filePath("elsewhere.gleam");
        QVERIFY(QFile::copy(path("heroes/wren/wren.gleam"), pictures));
        for (const QString &picture : {pictures, path("heroes/wren/wren.gleam")}) {
            QVERIFY(host().desk().openFile(picture, 0));
            actions()->closeFile->trigger();
            QCOMPARE(session().findFile(picture) != nullptr, picture != pictures);
        }
        open("heroes/wren/hurt.glow");
        open("heroes/wren/air.glow");
        const int files = session().files().size();
        m_dialogs->expectFiles({path("heroes/wren/hurt.glow")});
        m_dialogs->expectBox(QMessageBox::Yes);
        actions()->saveAs->trigger();
        QCOMPARE(session().files().size(), files - 1);
        QCOMPARE(session().findFile(path("heroes/wren/hurt.glow")), document());
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

    void saveAsStartsWithTheOwnName()
    {
        open("heroes/wren/air.glow");
        const QVariant before = session().currentProject()->option("code_path");
        m_dialogs->expectDialog([this](QDialog *dialog) {
            auto *files = qobject_cast<QFileDialog *>(dialog);
            QCOMPARE(files->selectedFiles(), QStringList(path("heroes/wren/air.glow")));
            files->reject();
        });
        actions()->saveAs->trigger();
        QCOMPARE(session().currentProject()->option("code_path"), before);
    }

    void projectIsSavedUnderANameOfItsKind()
    {
        QVERIFY(host().openProject(path("heroes/wren")));
        QCOMPARE(session().projects().size(), 1);
        const QString copy = m_directory->filePath("raven");
        m_dialogs->expectFiles({copy + "/raven"});
        actions()->saveProjectAs->trigger();
        QVERIFY(QFileInfo::exists(copy + "/raven.wisp"));
        QVERIFY(!QFileInfo::exists(copy + "/raven"));
        QCOMPARE(settings().recentProjects().value(0), copy);
        QVERIFY(host().openProject(copy));
    }

    void nothingIsReplacedUnasked()
    {
        const QString other = m_directory->filePath("other");
        QVERIFY(QDir().mkpath(other));
        writeFile(other + "/tidewater.hearth", "; of somebody else\r\n");
        m_dialogs->expectFiles({other});
        m_dialogs->expectBox(QMessageBox::No);
        actions()->saveProjectAs->trigger();
        QCOMPARE(readFile(other + "/tidewater.hearth"), QByteArray("; of somebody else\r\n"));
        QVERIFY(m_dialogs->seen().last().text.contains("tidewater.hearth"));

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

    void tabsFollowTheFiles()
    {
        auto *tabs = m_window->findChild<FileTabs *>();
        const int before = tabs->count();
        // Laying out the bar takes as long as there are tabs: not for each of them.
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
        open("heroes/wren/air.glow");
        open("heroes/moss/ground.glow");
        open("heroes/wren/air.glow");
        QCOMPARE(tabs->count(), before + 2);
        type("; x");
        QVERIFY(tabs->tabText(tabs->currentIndex()).endsWith("•"));
        QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(tabs->tabText(tabs->currentIndex()), "air.glow");
        type("; y");
        Kiln::CodeDocument *const air = document();
        tabs->setCurrentIndex(tabs->indexOf(session().findFile(path("heroes/moss/ground.glow"))));
        QCOMPARE(document()->fileName(), path("heroes/moss/ground.glow"));
        QCOMPARE(tabs->tabText(tabs->indexOf(air)), "air.glow •");
        air->reload();
        QCOMPARE(tabs->tabText(tabs->indexOf(air)), "air.glow");
        // An editor may hold changes that its file has not got yet.
        QVERIFY(host().desk().openFile(path("heroes/wren/wren.gleam"), 0));
        const int sprites = tabs->currentIndex();
        m_window->findChild<QAction *>("spr_image_fliph")->trigger();
        QCOMPARE(tabs->tabText(sprites), "wren.gleam •");
        host().desk().showFile(air);
        QCOMPARE(tabs->tabText(sprites), "wren.gleam •");
        host().desk().showFile(tabs->files().at(sprites));
        actions()->undo->trigger();
        tabs->resize(tabs->tabRect(sprites).size()); // names stay whole, and scroll
        QVERIFY(tabs->tabRect(sprites).width() >
                tabs->fontMetrics().horizontalAdvance(tabs->tabText(sprites)));
        // Two of one name are told apart as long as there are two.
        open("heroes/wren/strikes.glow");
        const Kiln::CodeDocument *const wren = document();
        open("heroes/moss/strikes.glow");
        Kiln::CodeDocument *const moss = document();
        QCOMPARE(tabs->tabText(tabs->indexOf(wren)), "wren/strikes.glow");
        QVERIFY(m_window->windowTitle().startsWith("moss/strikes.glow"));
        tabs->moveTab(tabs->currentIndex(), 0);
        QCOMPARE(tabs->shownTitle(moss), "moss/strikes.glow");
        const auto middleClick = [tabs](const Kiln::ProjectFile *file) {
            QTest::mouseClick(tabs, Qt::MiddleButton, {},
                              tabs->tabRect(tabs->indexOf(file)).center());
        };
        middleClick(wren);
        QCOMPARE(tabs->tabText(tabs->indexOf(moss)), "strikes.glow");
        const auto choose = [tabs](const Kiln::ProjectFile *file, const char *action) {
            QTimer::singleShot(0, tabs, [action] {
                QWidget *menu = QApplication::activePopupWidget();
                menu->findChild<QAction *>(action)->trigger();
                menu->close();
            });
            const QPoint place = tabs->tabRect(tabs->indexOf(file)).center();
            QContextMenuEvent asked(QContextMenuEvent::Mouse, place, tabs->mapToGlobal(place));
            QApplication::sendEvent(tabs, &asked);
        };
        choose(moss, "tab_copy_path");
        QCOMPARE(QGuiApplication::clipboard()->text(), moss->fileName());
        QVERIFY(tabs->count() > 2);
        choose(moss, "tab_close_others");
        QCOMPARE(tabs->files(), QList<Kiln::ProjectFile *>{moss});
        type("; kept\n");
        open("heroes/wren/air.glow");
        m_dialogs->expectBox(QMessageBox::Cancel);
        choose(moss, "tab_close_all");
        QCOMPARE(tabs->count(), 2); // who keeps one keeps the rest
        moss->reload();
        while (tabs->count() > 0)
            actions()->closeFile->trigger();
        QVERIFY(!document());
        QVERIFY(!host().deck().current());
        QVERIFY2(session().findFile(path("heroes/wren/air.glow")),
                 "a file off the desk still belongs to its project");

        actions()->newMenu->actions().first()->trigger();
        QCOMPARE(tabs->tabText(0), "Untitled");
        type("; new");
        m_dialogs->expectBox(QMessageBox::Discard);
        const int files = session().files().size();
        actions()->closeFile->trigger();
        QCOMPARE(session().files().size(), files - 1);
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
        m_dialogs->expectDialog([](QDialog *dialog) {
            QCOMPARE(qobject_cast<QMessageBox *>(dialog)->textFormat(), Qt::PlainText);
            dialog->reject();
        });
        actions()->closeFile->trigger();
        actions()->save->trigger();
        settings().addRecentProject("/there/R&D");
        QCOMPARE(actions()->recentMenu->actions().first()->text(), "/there/R&&D");
    }

    void closingAsksForChanges_data()
    {
        const auto add = columns<int, bool, bool>("answer", "all", "done");
        add("save one", int(QMessageBox::Save), false, true);
        add("discard one", int(QMessageBox::Discard), false, true);
        add("keep one", int(QMessageBox::Cancel), false, false);
        add("save all", int(QMessageBox::Save), true, true);
        add("discard all", int(QMessageBox::Discard), true, true);
        add("keep all", int(QMessageBox::Cancel), true, false);
        add("one cannot be saved", -1, true, false);
    }

    /// One question for all, by name; what is to be saved is on disk before anything closes.
    void closingAsksForChanges()
    {
        const auto [answer, all, done] = row<int, bool, bool>();
        const QStringList names{path("heroes/wren/air.glow"), path("heroes/wren/hurt.glow")};
        settings().setValue("enable_file_watcher", false);
        for (const QString &name : names) {
            open(QString(name).remove(hero() + '/'));
            type("; typed");
        }
        if (answer < 0) { // a directory stands in the way
            QVERIFY(QFile::remove(names[1]) && QDir().mkpath(names[1] + "/in the way"));
            m_dialogs->expectBox(QMessageBox::Save);
            m_dialogs->expectBox(QMessageBox::Ok);
            m_dialogs->expectFiles({});
        } else {
            m_dialogs->expectBox(QMessageBox::StandardButton(answer));
        }
        if (all)
            QCOMPARE(m_window->close(), done);
        else
            QCOMPARE(host().desk().closeFile(session().findFile(names[0])), done);
        const QString asked = m_dialogs->seen().first().text;
        QVERIFY(asked.contains("air.glow"));
        QCOMPARE(asked.contains("hurt.glow"), all);
        QCOMPARE(m_dialogs->seen().first().defaultButton, QMessageBox::Save);
        const bool isSaved = answer == QMessageBox::Save || answer < 0;
        QCOMPARE(readFile(names[0]).startsWith("; typed"), isSaved);
        QCOMPARE(session().parentProject() == nullptr, all && done);
        if (!all)
            QCOMPARE(session().findFile(names[0])->isModified(), !done);
        if (session().parentProject()) { // the other is still there, as it was
            auto *other = session().findFile(names[1]);
            QVERIFY(other && other->isModified());
            QVERIFY(dynamic_cast<Kiln::CodeDocument *>(other)->toString().startsWith("; typed"));
        } else {
            QCOMPARE(readFile(names[1]).startsWith("; typed"), isSaved);
        }
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

    // Lines end with CR LF on disk: a save that changes that says so, once.
    void lineEndsAreTold_data()
    {
        const auto add = columns<bool>("all");
        add("one file", false);
        add("all files", true);
    }

    void lineEndsAreTold()
    {
        const auto [all] = row<bool>();
        const QString name = path("heroes/wren/air.glow");
        writeFile(name, readFile(name).replace('\r', ""));
        open("heroes/wren/air.glow");
        document()->acceptDisk();
        auto *told = m_window->findChild<QStatusBar *>("status_bar");
        for (const bool isFirst : {true, false}) {
            type("; x\n");
            told->clearMessage();
            (all ? actions()->saveAll : actions()->save)->trigger();
            QCOMPARE(told->currentMessage().contains("CR LF"), isFirst);
            QVERIFY(readFile(name).contains("\r\n") &&
                    !static_cast<QTextDocument *>(document())->isModified());
        }
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

    void directoryWithoutProjectLeavesTheOldOne()
    {
        const QTemporaryDir empty;
        const Kiln::ParentProject *project = session().parentProject();
        m_dialogs->expectBox(QMessageBox::Ok);
        QVERIFY(!host().openProject(empty.path()));
        QCOMPARE(session().parentProject(), project);
        QVERIFY(!settings().recentProjects().contains(empty.path()));
        QVERIFY2(host().openProject(hero()), "it opens again");
        QVERIFY(document());
        // As named on the command line: a file is shown in the project beside it.
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
