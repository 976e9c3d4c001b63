#include "windowtest.h"

#include <hostkit/keyspage.h>
#include <hostkit/outsidechanges.h>
#include <hostkit/shortcuts.h>
#include <hostkit/statusfields.h>
#include <hostkit/theme.h>
#include <kilnx/project/engine.h>
#include <projecttreedock.h>

using namespace HostKit;
using namespace Studio;

// What the window shows of files and projects, and how its parts are reached.
/// Another language: each text between marks.
class Marked : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *text, const char *, int) const override
    {
        return '<' + QString::fromUtf8(text) + '>';
    }
};

class tst_studio_window : public WindowTest
{
    Q_OBJECT

    MessageTable *messages() const { return &host().messages(); }
    QTreeView *nodes() const { return m_window->findChild<QTreeView *>("code_tree"); }
    QListView *organizer() const { return m_window->findChild<QListView *>("org_list"); }

    // Puts the cursor at the end of the first line that holds `text`.
    void goTo(const QString &text)
    {
        QTextCursor found = document()->QTextDocument::find(text);
        QVERIFY2(!found.isNull(), qPrintable(text));
        found.movePosition(QTextCursor::EndOfBlock);
        view()->setTextCursor(found);
    }

private slots:
    void languageIsChangedAtOnce()
    {
        open("heroes/wren/air.glow");
        const auto texts = [this] {
            QStringList shown{m_window->findChild<StatusFields *>()->field(0),
                              view()->accessibleName()};
            const QList<QAction *> all = m_window->findChildren<QAction *>();
            for (const QAction *action : all) {
                if (action->objectName().startsWith("code_"))
                    shown += action->text();
            }
            return shown;
        };
        const QStringList before = texts();
        QVERIFY(before.size() > 10);
        Marked marked;
        QCoreApplication::installTranslator(&marked);
        QCoreApplication::processEvents();
        for (const QString &text : texts())
            QVERIFY2(text.startsWith('<') && text.endsWith('>'), qPrintable(text));
        QCoreApplication::removeTranslator(&marked);
        QCoreApplication::processEvents();
        QCOMPARE(texts(), before);
    }

    void messageTableHoldsTheModelRules()
    {
        open("heroes/wren/ground.glow");
        QAbstractItemModelTester tester(messages());
        QAbstractItemModelTester nodeTester(nodes()->model());
        QTreeView *table = m_window->findChild<QTreeView *>("messages_view");
        table->setCurrentIndex(messages()->index(0, 0));
        goTo("posture: crouching");
        type("\nnonsense\nnonsense\nnonsense");
        QVERIFY2(table->currentIndex().isValid(), "typing must not lose the selected message");
        QTest::keyClick(view(), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(view(), Qt::Key_Delete);
        QCOMPARE(document()->messages()->count(Kiln::Message::All), 0U);
        QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier);
        QVERIFY(host().closeProject());
        QCOMPARE(messages()->rowCount(), 0);
    }

    // Below the title bar of a screen of 1024 by 600.
    void editorsFitASmallScreen()
    {
        for (const char *file : {"wren.gleam", "wren.flick", "air.glow"}) {
            QVERIFY2(host().desk().openFile(path("heroes/wren/") + file, 0), file);
            for (int i = 0; i < 3; ++i) { // as by the mouse: a lower window may be lower still
                m_window->resize(640, 400);
                QCoreApplication::processEvents();
            }
            const QSize size = m_window->size();
            QVERIFY2(
                size.width() <= 1016 && size.height() <= 580,
                qPrintable(QString("%1: %2 by %3").arg(file).arg(size.width()).arg(size.height())));
        }
    }

    void twoProjectsStandSideBySide()
    {
        const QString arcade = m_directory->filePath("arcade");
        copyFolder(KILN_SOURCE_DIR "/engines/spark/sample", arcade);
        const int inHero = messages()->rowCount();
        m_dialogs->expectFiles({arcade});
        actions()->openBeside->trigger();
        QCOMPARE(session().parentProjects().size(), 2);
        type("lonely = 1\n");
        const Kiln::CodeDocument *tuned = document();
        QCOMPARE(messages()->rowCount(), 1);

        // Another is chosen: tree, messages, engine and file follow.
        auto *tree = m_window->findChild<ProjectTreeDock *>();
        auto *chooser = tree->findChild<QComboBox *>("project_chooser");
        QVERIFY(chooser->isVisible());
        QCOMPARE(chooser->currentText(), QString("arcade"));
        QTest::keyClick(chooser, Qt::Key_Up);
        QCOMPARE(tree->project()->basePath(), hero() + '/');
        QCOMPARE(messages()->rowCount(), inHero);
        QCOMPARE(host().engine()->displayName(), "Ember");
        QVERIFY(document() != tuned && document()->fileName().startsWith(hero()));

        // Each is saved by itself, and a tab of the other leads back.
        open("heroes/wren/air.glow");
        type("; typed\n");
        actions()->saveAll->trigger();
        QVERIFY(readFile(path("heroes/wren/air.glow")).startsWith("; typed"));
        QVERIFY(tuned->isModified());
        host().tabs().setCurrentIndex(host().tabs().indexOf(session().modifiedFiles().value(0)));
        QCOMPARE(document(), tuned);
        QCOMPARE(chooser->currentText(), QString("arcade"));
        QCOMPARE(messages()->rowCount(), 1);

        // One is closed, the other stays as it is.
        QVERIFY(QFile::link(hero(), m_directory->filePath("link")));
        QVERIFY(host().openBeside(m_directory->filePath("link")));
        QCOMPARE(session().parentProjects().size(), 2);
        actions()->closeProject->trigger();
        QCOMPARE(session().parentProjects().size(), 1);
        QVERIFY(!chooser->isVisible());
        QCOMPARE(document(), tuned);
        QVERIFY(tuned->isModified());
        QCOMPARE(host().tabs().count(), 1);
        actions()->undo->trigger();
        actions()->saveAll->trigger();

        // The next window has both, with the files that were shown.
        QVERIFY(host().openBeside(hero()));
        QCOMPARE(document()->fileName(), path("heroes/wren/air.glow"));
        settings().setValue("reopen_last_project", true);
        QVERIFY(m_window->close());
        m_window.reset();
        makeWindow();
        m_window->reopenLast();
        QCOMPARE(session().parentProjects().size(), 2);
        QCOMPARE(session().parentProject()->basePath(), hero() + '/');
        QCOMPARE(document()->fileName(), path("heroes/wren/air.glow"));
        QVERIFY(session().findFile(arcade + "/arcade.spark"));
    }

    void newProjectOpensWithoutAMessage_data()
    {
        columns<int, int>("start", "definitions");
        addRow("a game", 0, 3);
        addRow("a character", 1, 1);
        addRow("a stage", 2, 1);
        addRow("a game of the small engine", 3, 1);
    }

    void newProjectOpensWithoutAMessage()
    {
        const auto [start, definitions] = row<int, int>();
        const auto fill = [](QDialog *dialog, const QString &name) {
            dialog->findChild<QLineEdit *>("new_project_name")->setText(name);
            return dialog->findChild<QPushButton *>("new_project_ok")->isEnabled();
        };
        QVERIFY(QDir().mkpath(m_directory->filePath("begun/.git")));
        QStringList wrong{"", "..", "a/b", "hero", "begun", "dot.", " ", "say \"x\""};
        m_dialogs->expectDialog([&, start = start](QDialog *dialog) {
            dialog->findChild<QLineEdit *>("new_project_place")->setText(m_directory->path());
            dialog->findChild<QListWidget *>("new_project_starts")->setCurrentRow(start);
            for (const QString &name : wrong)
                QVERIFY2(!fill(dialog, name), qPrintable(name));
            QVERIFY(fill(dialog, "Größe 1.5"));
            dialog->findChild<QPushButton *>("new_project_ok")->click();
        });
        actions()->newProject->trigger();
        QCOMPARE(session().parentProject()->basePath(), m_directory->filePath("Größe 1.5/"));
        QCOMPARE(session().projects(session().parentProject()).size(), definitions);
        Kiln::ProjectFile *file = nullptr;
        const QString told = messages()->messageAt(0, file).text;
        QVERIFY2(messages()->rowCount() == 0, qPrintable(told));
        QCOMPARE(session().currentProject()->displayName(), QString("Größe 1.5"));
        QVERIFY(session().modifiedFiles().isEmpty());
        for (const Kiln::Project *project : session().projects(session().parentProject())) {
            QList<Kiln::ReferencedFile> named;
            const_cast<Kiln::Project *>(project)->fileList(named);
            QCOMPARE(project->files().size() >= named.size(), true);
        }
        QCOMPARE(settings().value("new_project_place").toString(), m_directory->path());
    }

    // Recent projects with pictures, what is gone from the disk, and the sample.
    void theFirstPageLeadsIn()
    {
        auto *list = m_window->findChild<QListWidget *>("welcome_recent");
        QVERIFY(!list->isVisible());
        actions()->closeProject->trigger();
        QVERIFY(list->isVisible());
        QCOMPARE(list->count(), 1);
        QVERIFY(list->item(0)->text().startsWith("hero\n"));
        const ProjectPictures pictures(session(), m_directory->filePath("data/sessions"));
        const QImage picture = pictures.picture(hero() + '/');
        QCOMPARE(picture.size(), ProjectPictures::Size);
        QCOMPARE(qAlpha(picture.pixel(0, 0)), 0);
        QCOMPARE(list->item(0)->icon().pixmap(picture.size()).toImage().pixel(48, 40),
                 picture.pixel(48, 40));
        QVERIFY(qAlpha(picture.pixel(48, 40)) > 0);
        QSet<QRgb> colors; // no spark, of which the sample has two colours, but what it is about
        for (int i = 0; i < picture.width() * picture.height(); ++i)
            colors.insert(picture.pixel(i % picture.width(), i / picture.width()));
        QVERIFY(colors.size() > 8);
        m_window->resize(m_window->minimumSizeHint());
        QVERIFY(list->sizeHintForColumn(0) <= list->viewport()->width()); // paths are cut

        QVERIFY(QDir().rename(hero(), hero() + " elsewhere"));
        auto *sample = m_window->findChild<QAbstractButton *>("welcome_sample");
        for (const char *typed : {"", "; mine\n"}) {
            QTest::keyClick(sample, Qt::Key_Return);
            QCOMPARE(session().parentProject()->basePath(),
                     m_directory->filePath("data/sample/hero/"));
            QVERIFY(document()->toString().startsWith(typed)); // once made, it stays
            view()->moveCursor(QTextCursor::Start);
            type("; mine\n");
            actions()->saveAll->trigger();
            actions()->closeProject->trigger();
        }
        QCOMPARE(list->count(), 2);
        QVERIFY(list->item(1)->text().startsWith("hero (not there)\n"));
        list->setCurrentRow(1);
        m_dialogs->expectBox(QMessageBox::No);
        QTest::keyClick(list, Qt::Key_Return);
        QCOMPARE(list->count(), 2);
        QTest::keyClick(list, Qt::Key_Delete);
        QCOMPARE(settings().recentProjects(),
                 QStringList(m_directory->filePath("data/sample/hero")));
        QTest::keyClick(list, Qt::Key_Return);
        QVERIFY(session().parentProject());
        // Who closes all starts here again.
        actions()->closeProject->trigger();
        m_window->reopenLast();
        QVERIFY(!session().parentProject());
    }

    void settingsDialogReachesTheView()
    {
        open("heroes/wren/ground.glow");
        const auto colours = [this] {
            return document()->findBlockByNumber(2).layout()->formats().size();
        };
        QVERIFY(colours() > 0);
        settings().setValue("font_name", "a family that nobody has");
        const auto viewFlags = [this] {
            const Kiln::CodeEditor::SyntaxFormatting &now = view()->syntaxFormatting();
            auto *bar = m_window->findChild<QToolBar *>("codeToolBar");
            return QList<bool>{bar->isVisible(),  now.lineNumbers,     now.foldingMarkers,
                               now.highlightLine, now.highlightBlocks, now.parenMatching};
        };
        const QList<bool> before = viewFlags();
        QList<bool> toggled;
        for (const bool flag : before)
            toggled << !flag;
        m_dialogs->expectDialog([](QDialog *dialog) {
            dialog->findChild<QSpinBox *>("settings_font_size")->setValue(17);
            dialog->findChild<QAbstractButton *>("settings_highlightCode")->setChecked(false);
            dialog->findChild<QAbstractButton *>("settings_modelCode")->setChecked(false);
            for (const char *key :
                 {"show_code_bar", "code_line_numbers", "code_folding_markers",
                  "code_highlight_line", "code_highlight_blocks", "code_paren_matching"})
                dialog->findChild<QAbstractButton *>(QLatin1String("settings_") + key)->toggle();
            auto *theme = dialog->findChild<QComboBox *>("settings_theme");
            theme->setCurrentIndex(theme->findData("dark"));
            dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
        });
        actions()->settings->trigger();
        QCOMPARE(view()->font().pointSize(), 17);
        QCOMPARE(viewFlags(), toggled);
        QCOMPARE(settings().value("font_name").toString(), "a family that nobody has");
        QVERIFY(Theme::isDark());
        QCOMPARE(colours(), 0);
        QCOMPARE(document()->model()->rowCount(), 0);

        set("highlightCode", true);
        set("modelCode", true);
        QVERIFY(colours() > 0);
        QVERIFY(document()->model()->rowCount() > 0);
        actions()->zoomIn->trigger();
        QCOMPARE(view()->font().pointSize(), 19);
        actions()->zoomActual->trigger();
        QCOMPARE(view()->font().pointSize(), 17);
    }

    void everythingHasANameAndAKey()
    {
        open("heroes/wren/air.glow");
        actions()->find->trigger();
        actions()->findInFiles->trigger();
        for (const QWidget *widget : m_window->findChildren<QWidget *>()) {
            if (!widget->isVisible() || !(widget->focusPolicy() & Qt::TabFocus))
                continue;
            const QString text = widget->property("text").toString();
            const QByteArray what =
                widget->metaObject()->className() + QByteArray(" ") + widget->objectName().toUtf8();
            QVERIFY2(!widget->objectName().isEmpty(), what.constData());
            QVERIFY2(!widget->accessibleName().isEmpty() || !text.isEmpty(), what.constData());
        }
        // Alt and a letter is one thing: a menu, a button or a field.
        for (const char *dock : {"dock_messages", "dock_find_in_files"}) {
            m_window->findChild<QDockWidget *>(dock)->raise();
            QMap<QString, QString> letters;
            QStringList texts;
            for (const QAction *menu : m_window->menuBar()->actions())
                texts += menu->isVisible() ? menu->text() : QString();
            for (const QWidget *widget : m_window->findChildren<QWidget *>()) {
                const bool isField = qobject_cast<const QAbstractButton *>(widget) ||
                                     qobject_cast<const QLabel *>(widget);
                const bool mayShow = host().outsideChanges().bar()->isAncestorOf(widget) &&
                                     widget->objectName() != "changes_write"; // for "reload"
                if (isField && (mayShow || !widget->visibleRegion().isEmpty()))
                    texts += widget->property("text").toString();
            }
            for (const QString &text : qAsConst(texts)) {
                const QString letter = QKeySequence::mnemonic(text).toString();
                QVERIFY2(letter.isEmpty() || !letters.contains(letter),
                         qPrintable(text + " and " + letters.value(letter)));
                letters.insert(letter, text);
            }
            QVERIFY(letters.size() > 12);
        }
        // No two commands may want the same key in the same place: the window, or a view.
        struct Wanted {
            const QObject *place;
            QString command;
        };
        QMap<QString, QVector<Wanted>> keys;
        for (const QAction *action : m_window->findChildren<QAction *>()) {
            QVector<const QObject *> places;
            for (const QWidget *widget : action->associatedWidgets()) {
                if (!qobject_cast<const QMenu *>(widget))
                    places += widget;
            }
            if (action->shortcutContext() == Qt::WindowShortcut)
                places = {nullptr};
            for (const QKeySequence &key : action->shortcuts()) {
                QVector<Wanted> &all = keys[key.toString()];
                for (const Wanted &other : qAsConst(all)) {
                    const bool meet =
                        !other.place || places.contains(other.place) || places.contains(nullptr);
                    QVERIFY2(!meet || other.command == action->objectName(),
                             qPrintable(key.toString() + ' ' + other.command + ' ' +
                                        action->objectName()));
                }
                for (const QObject *place : qAsConst(places))
                    all.append({place, action->objectName()});
            }
        }
    }

    // A key is searched, set although another command has it, and kept over a restart.
    void keysAreChanged()
    {
        QStringList without;
        for (const QAction *command : host().shortcuts().commands()) {
            if (command->shortcut().isEmpty())
                without += command->objectName();
        }
        QCOMPARE(without, QStringList());
        const auto keyOf = [this](const char *name) {
            return m_window->findChild<QAction *>(name)->shortcut().toString();
        };
        QCOMPARE(keyOf("code_goto"), QString("Ctrl+L"));
        const auto onPage = [this](const std::function<void(QDialog *, QTreeWidget *)> &act) {
            m_dialogs->expectDialog([=](QDialog *dialog) {
                auto *tree = dialog->findChild<QTreeWidget *>("keys_tree");
                auto *filter = dialog->findChild<QLineEdit *>("keys_filter");
                QCOMPARE(dialog->focusWidget(), filter);
                // By key or by name.
                for (const auto &[sought, command] :
                     {std::pair("ctrl+alt+k", "Backup..."), {"go to line", "Go to line..."}}) {
                    filter->clear();
                    QTest::keyClicks(filter, sought);
                    QList<QTreeWidgetItem *> shown;
                    for (QTreeWidgetItemIterator item(tree, QTreeWidgetItemIterator::NotHidden);
                         *item; ++item) {
                        if ((*item)->childCount() == 0)
                            shown += *item;
                    }
                    QCOMPARE(shown.size(), 1);
                    QCOMPARE(shown.first()->text(0), QString(command));
                    QTest::keyClick(filter, Qt::Key_Return);
                    QCOMPARE(tree->currentItem(), shown.first());
                    QCOMPARE(dialog->focusWidget(), tree);
                }
                act(dialog, tree);
                dialog->findChild<QDialogButtonBox *>("settings_buttons")
                    ->button(QDialogButtonBox::Ok)
                    ->click();
            });
            QTest::keyClick(m_window.get(), Qt::Key_F1);
        };
        onPage([](QDialog *dialog, QTreeWidget *tree) {
            auto *key = dialog->findChild<QKeySequenceEdit *>("keys_key");
            auto *told = dialog->findChild<QLabel *>("keys_told");
            QTest::keyClick(key, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
            QVERIFY(told->text().contains("'Backup...'"));
            QTest::keyClick(key, Qt::Key_G, Qt::ControlModifier | Qt::AltModifier);
            QVERIFY(told->text().contains("'Save as animated GIF...'"));
            QTest::mouseClick(dialog->findChild<QPushButton *>("keys_set"), Qt::LeftButton);
            QCOMPARE(told->text(), QString());
            // Keys of a list meet those of the same one.
            auto *filter = dialog->findChild<QLineEdit *>("keys_filter");
            filter->clear();
            for (const char *command : {"Move one position up", "Previous palette"}) {
                const auto found = tree->findItems(command, Qt::MatchExactly | Qt::MatchRecursive);
                QCOMPARE(found.size(), 1);
                tree->setCurrentItem(found.first());
                QTest::keyClick(key, Qt::Key_PageDown);
                QCOMPARE(told->text().contains("'Next palette'"),
                         found.first()->text(0) == "Previous palette");
            }
        });
        for (const bool isLater : {false, true}) {
            if (isLater) {
                QVERIFY(m_window->close());
                makeWindow();
                m_window->show();
                m_window->activateWindow();
                QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
            }
            QCOMPARE(keyOf("code_goto"), QString("Ctrl+Alt+G"));
            QCOMPARE(keyOf("anim_save_gif"), QString());
            QCOMPARE(keyOf("action_backup"), QString("Ctrl+Alt+K"));
        }
        onPage([](QDialog *dialog, QTreeWidget *) {
            QTest::mouseClick(dialog->findChild<QPushButton *>("keys_standard"), Qt::LeftButton);
        });
        QCOMPARE(keyOf("code_goto"), QString("Ctrl+L"));
        QVERIFY(!settings().value("keys/code_goto").isValid());
        // What was applied is not applied once more over what came later.
        KeysPage page(host().shortcuts());
        auto *tree = page.findChild<QTreeWidget *>("keys_tree");
        tree->setCurrentItem(
            tree->findItems("Go to line...", Qt::MatchExactly | Qt::MatchRecursive).value(0));
        page.findChild<QPushButton *>("keys_remove")->click();
        page.apply();
        QCOMPARE(keyOf("code_goto"), QString());
        host().shortcuts().setKeys(m_window->findChild<QAction *>("code_goto"),
                                   {Qt::CTRL + Qt::Key_L});
        page.apply();
        QCOMPARE(keyOf("code_goto"), QString("Ctrl+L"));
    }

    // Dropped on any part of the window, a file is opened and a directory is a project.
    void droppedFilesAreOpened()
    {
        open("heroes/wren/air.glow");
        const QString before = document()->toString();
        const auto drop = [this](QWidget *target, const QString &name) {
            QMimeData data;
            data.setUrls({QUrl::fromLocalFile(name)});
            const QPoint place(5, 5);
            QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(target, &enter);
            QVERIFY(enter.isAccepted());
            QDropEvent event(place, Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(target, &event);
        };
        int number = 0;
        for (QWidget *target : {view()->viewport(), static_cast<QWidget *>(&host().tabs()),
                                m_window->findChild<QTreeView *>("project_tree")->viewport()}) {
            const char *name = number++ % 2 ? "heroes/wren/air.glow" : "heroes/wren/hurt.glow";
            drop(target, path(name));
            QTRY_COMPARE(document()->fileName(), path(name));
        }
        QCOMPARE(document()->toString().contains("file:"), false);
        open("heroes/wren/air.glow");
        QCOMPARE(document()->toString(), before);
    }

    void panelsAreReachedByTheKeyboard()
    {
        open("heroes/wren/air.glow");
        view()->setFocus();
        QStringList visited;
        for (int i = 0; i < 4; ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_F6);
            visited.append(QApplication::focusWidget()->objectName());
        }
        QCOMPARE(visited,
                 (QStringList{"project_tree", "code_tree", "messages_view", "codeEditor"}));
        QTest::keyClick(view(), Qt::Key_F6, Qt::ShiftModifier);
        QCOMPARE(QApplication::focusWidget()->objectName(), "messages_view");
        // The key of a panel brings one that is behind another to the front.
        auto *output = m_window->findChild<QDockWidget *>("dock_output");
        for (const bool isShown : {true, false}) {
            QTest::keyClick(m_window.get(), Qt::Key_4, Qt::AltModifier | Qt::ShiftModifier);
            QCOMPARE(!output->visibleRegion().isEmpty(), isShown);
            QCOMPARE(output->isAncestorOf(QApplication::focusWidget()), isShown);
        }
        QCOMPARE(QApplication::focusWidget(), view());
        // A list is gone to before the buttons over it.
        QVERIFY(host().desk().openFile(path("heroes/wren/wren.flick"), 0));
        QListView *animations = organizer();
        for (int i = 0; i < 8 && QApplication::focusWidget() != animations; ++i)
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_F6);
        QCOMPARE(QApplication::focusWidget(), animations);
        // And one sees where the keys go to.
        const auto selected = [animations] {
            const QRect place = animations->visualRect(animations->currentIndex());
            return animations->grab().toImage().pixelColor(place.right() - 2, place.center().y());
        };
        QVERIFY(selected().saturation() > 90);
        view()->setFocus();
        QVERIFY(selected().saturation() < 30);
        QVERIFY(selected() != animations->palette().color(QPalette::Base));
        // Not every keyboard has a key for menus.
        m_window->findChild<QTreeView *>("project_tree")->setFocus();
        bool hasMenu = false;
        QTimer::singleShot(0, this, [&hasMenu] {
            if (QWidget *menu = QApplication::activePopupWidget()) {
                hasMenu = menu->findChild<QAction *>("tree_new");
                menu->close();
            }
        });
        QTest::keyClick(m_window.get(), Qt::Key_F10, Qt::ShiftModifier);
        QVERIFY(hasMenu);
    }

    void progressIsShownAndCancelled()
    {
        Kiln::Progress *progress = host().progress("Saving...", true);
        progress->setProgress(0, 10);
        progress->setProgress(4, 0);
        auto *dialog = m_window->findChild<QProgressDialog *>("progress");
        QCOMPARE(dialog->labelText(), "Saving...");
        QCOMPARE(qMakePair(dialog->value(), dialog->maximum()), qMakePair(4, 10));
        bool cancelled = false;
        progress->setProgress(5, 0, &cancelled);
        QVERIFY(!cancelled);
        dialog->cancel();
        progress->setProgress(6, 0, &cancelled);
        QVERIFY(cancelled);
        progress->finish();
        QVERIFY(!m_window->findChild<QProgressDialog *>("progress"));
    }

    void windowComesBackAsItWas()
    {
        m_window->resize(1000, 700);
        m_window->findChild<QDockWidget *>("dock_messages")->hide();
        settings().setValue("font_size", 13);
        QVERIFY(m_window->close());
        makeWindow();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QCOMPARE(m_window->size(), QSize(1000, 700));
        QVERIFY(!m_window->findChild<QDockWidget *>("dock_messages")->isVisible());
        m_window->reopenLast();
        QVERIFY(document());
        QCOMPARE(view()->font().pointSize(), 13);
    }
};

QTEST_MAIN(tst_studio_window)
#include "tst_studio_window.moc"
