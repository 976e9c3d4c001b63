#include "windowtest.h"

#include <hostkit/filetabs.h>
#include <hostkit/outsidechanges.h>

#include <kilnx/project/editor.h>

using namespace HostKit;
using namespace Studio;

// What the window tells of what other programs do to open files.
class tst_studio_outside : public WindowTest
{
    Q_OBJECT

private slots:
    void goneFilesAreNotLostUnasked()
    {
        const QString name = path("heroes/wren/hurt.glow");
        const QByteArray before = readFile(name);
        open("heroes/wren/hurt.glow");
        const QTabBar &tabs = host().tabs();
        const QWidget *bar = host().outsideChanges().bar();
        const auto press = [bar](const char *button) {
            QTest::mouseClick(bar->findChild<QPushButton *>(button), Qt::LeftButton);
        };
        for (const char *button : {"changes_write", "changes_keep"}) {
            QVERIFY(QFile::remove(name));
            QTRY_VERIFY(bar->isVisible());
            QCOMPARE(tabs.tabText(tabs.currentIndex()), "hurt.glow (gone)");
            press(button);
            QVERIFY(!bar->isVisible());
            QCoreApplication::processEvents();
        }
        QCOMPARE(tabs.tabText(tabs.currentIndex()), "hurt.glow (gone)");
        QVERIFY(!QFileInfo::exists(name));
        // One that comes back is another's.
        type("; mine");
        writeFile(name, "; back");
        m_dialogs->expectBox(QMessageBox::No);
        actions()->save->trigger();
        QCOMPARE(readFile(name), QByteArray("; back"));
        QVERIFY(QFile::remove(name));
        while (document()->isModified())
            document()->undo();
        // A directory in its place is not it, and no news.
        for (const bool isDirectory : {true, false}) {
            if (isDirectory) {
                QVERIFY(QDir().mkpath(name));
                replaceFile(path("heroes/wren/air.glow"), "; witness\r\n");
                auto *witness = dynamic_cast<Kiln::CodeDocument *>(
                    session().findFile(path("heroes/wren/air.glow")));
                QTRY_COMPARE(witness->toString(), QString("; witness\n"));
                QVERIFY(host().outsideChanges().waiting().isEmpty());
            }
            m_dialogs->expectBox(QMessageBox::No);
            actions()->closeFile->trigger();
            QVERIFY(document());
            QVERIFY(!isDirectory || QDir().rmdir(name));
        }
        actions()->save->trigger();
        QCOMPARE(readFile(name), QByteArray(before).replace("\r\n", "\n").replace("\n", "\r\n"));

        QVERIFY(QFile::remove(name));
        m_dialogs->expectBox(QMessageBox::Yes);
        actions()->saveAll->trigger();
        QVERIFY(QFileInfo::exists(name));

        QVERIFY(QFile::remove(name));
        m_dialogs->expectBox(QMessageBox::No);
        QVERIFY(!m_window->close());
        // Once is enough: what was given up is no file of the project any more.
        m_dialogs->expectBox(QMessageBox::Yes);
        actions()->closeFile->trigger();
        QVERIFY(!session().findFile(name));
        open("heroes/wren/wren.wisp");
        QVERIFY(QFile::remove(path("heroes/wren/wren.wisp")));
        m_dialogs->expectBox(QMessageBox::Yes);
        actions()->closeFile->trigger();
        QVERIFY(m_window->close());
    }

    void outsideChangesAreTold_data()
    {
        const auto add = columns<QByteArray, bool, bool, QByteArray, bool>(
            "change", "reloads", "edited", "button", "taken");
        add("loaded by itself", "other", true, false, "", true);
        add("not by itself", "other", false, false, "changes_reload", true);
        add("kept", "other", false, false, "changes_keep", false);
        add("edited, reloaded", "other", true, true, "changes_reload", true);
        add("edited, compared", "other", true, true, "changes_compare", true);
        add("edited, kept", "other", true, true, "changes_keep", false);
        add("the same bytes", "same", true, false, "", false);
        add("the same bytes, edited", "same", true, true, "", false);
        add("permissions only", "permissions", false, true, "", false);
    }

    /// One file changes beside a witness that nobody has edited, and nothing stops the user.
    void outsideChangesAreTold()
    {
        const auto [change, reloads, edited, button, taken] =
            row<QByteArray, bool, bool, QByteArray, bool>();
        const QString name = path("heroes/wren/air.glow");
        const QString other = path("heroes/wren/hurt.glow");
        set("reload_unchanged", reloads);
        open("heroes/wren/air.glow");
        QCoreApplication::processEvents(); // reads the bytes for later
        host().deck().current()->navigateTo(2, 3);
        const QString line = view()->textCursor().block().text();
        if (edited)
            type("; mine");
        const QString mine = document()->toString();
        const QByteArray old = readFile(name);
        const QByteArray bytes = change == "other" ? "; from outside\r\n" + old : old;
        if (change == "permissions")
            QVERIFY(QFile::setPermissions(name, QFile::ReadOwner));
        else
            replaceFile(name, bytes);
        replaceFile(other, "; witness\r\n");
        auto *witness = session().findFile(other);
        const auto waits = [this](Kiln::ProjectFile *file) {
            return host().outsideChanges().waiting().contains(file);
        };
        QTRY_COMPARE(waits(witness), !reloads);
        QTRY_COMPARE(dynamic_cast<Kiln::CodeDocument *>(witness)->toString(),
                     reloads ? QString("; witness\n")
                             : dynamic_cast<Kiln::CodeDocument *>(witness)->toString());
        QCOMPARE(waits(document()), !button.isEmpty());
        const QWidget *bar = host().outsideChanges().bar();
        QCOMPARE(bar->isVisible(), !button.isEmpty() || !reloads);
        QString compared;
        if (edited && taken)
            m_dialogs->expectDialog([&](QDialog *dialog) {
                compared = dialog->findChild<QPlainTextEdit *>("changes_compare")->toPlainText();
                QTest::mouseClick(dialog->findChild<QPushButton *>("changes_take"), Qt::LeftButton);
            });
        if (!button.isEmpty()) {
            QVERIFY(bar->findChild<QPushButton *>(button)->isVisible());
            QTest::mouseClick(bar->findChild<QPushButton *>(button), Qt::LeftButton);
        }
        QCOMPARE(compared.contains("+ ; from outside"), edited && taken);
        QCOMPARE(compared.contains("; mine"), edited && taken);
        QVERIFY(!waits(document()));
        const QString theirs = QString::fromUtf8(bytes).replace("\r\n", "\n");
        QCOMPARE(document()->toString(), taken ? theirs : mine);
        QCOMPARE(document()->isModified(), button == "changes_keep" || (edited && !taken));
        if (!taken) // nobody has touched the disk
            QCOMPARE(readFile(name), bytes);
        if (taken && !edited)
            QCOMPARE(view()->textCursor().block().text(), line);
        if (taken) {
            QTest::keyClick(view(), Qt::Key_Z, Qt::ControlModifier);
            QCOMPARE(document()->toString(), mine);
            QVERIFY(document()->isModified());
        }
        QFile::setPermissions(name, QFile::ReadOwner | QFile::WriteOwner);
    }

    /// Whoever has opened a box may hold on to what a file has.
    void changesWaitForTheBox()
    {
        open("heroes/wren/air.glow");
        const QString before = document()->toString();
        m_dialogs->expectDialog([&](QDialog *box) {
            replaceFile(path("heroes/wren/air.glow"), "; outside\r\n");
            QTest::qWait(700);
            QCOMPARE(document()->toString(), before);
            box->reject();
        });
        QMessageBox(QMessageBox::NoIcon, "box", "text", QMessageBox::Close, m_window.get()).exec();
        QTRY_COMPARE(document()->toString(), QString("; outside\n"));
    }

    void manyChangesAreOneNotice()
    {
        const QStringList names{path("heroes/wren/air.glow"), path("heroes/wren/hurt.glow"),
                                path("heroes/wren/brain.glow"), path("heroes/wren/ground.glow")};
        set("reload_unchanged", false);
        for (const QString &name : names)
            open(QString(name).remove(hero() + '/'));
        open("heroes/wren/hurt.glow");
        type("; mine");
        open("heroes/wren/ground.glow");
        const auto text = [this](const QString &name) {
            return dynamic_cast<Kiln::CodeDocument *>(session().findFile(name))->toString();
        };
        for (const QString &name : names)
            replaceFile(name, "; outside\r\n");
        QVERIFY(QFile::remove(names[2]));
        auto &changes = host().outsideChanges();
        QTRY_COMPARE(changes.waiting().size(), 4);
        QCOMPARE(changes.bar()->findChild<QPushButton *>("changes_others")->text(),
                 "&Browse others (3)...");
        QStringList rows;
        QStringList enabled; // with all marked, with the gone one alone, with none
        m_dialogs->expectDialog([&](QDialog *dialog) {
            auto *list = dialog->findChild<QTreeWidget *>("changes_files");
            const auto mark = [list](const QString &remark) {
                for (int i = 0; i < list->topLevelItemCount(); ++i) {
                    QTreeWidgetItem *item = list->topLevelItem(i);
                    item->setCheckState(0, item->text(1) == remark || remark == "all"
                                               ? Qt::Checked
                                               : Qt::Unchecked);
                }
            };
            for (const char *remark : {"all", "gone", "none"}) {
                mark(remark);
                enabled += remark;
                for (const char *button : {"changes_take", "changes_write_gone", "changes_hold"}) {
                    if (dialog->findChild<QPushButton *>(button)->isEnabled())
                        enabled.last() += QLatin1String(" ") + button;
                }
            }
            dialog->reject();
        });
        auto *others = changes.bar()->findChild<QPushButton *>("changes_others");
        QTest::mouseClick(others, Qt::LeftButton);
        QCOMPARE(enabled, QStringList({"all changes_take changes_write_gone changes_hold",
                                       "gone changes_write_gone changes_hold", "none"}));
        m_dialogs->expectDialog([&](QDialog *dialog) {
            auto *list = dialog->findChild<QTreeWidget *>("changes_files");
            for (int i = 0; i < list->topLevelItemCount(); ++i) {
                QTreeWidgetItem *item = list->topLevelItem(i);
                rows += QFileInfo(item->text(0)).fileName() + ' ' + item->text(1) + ' ' +
                        QString::number(item->checkState(0));
            }
            dialog->findChild<QPushButton *>("changes_take")->click();
        });
        QTest::mouseClick(others, Qt::LeftButton);
        rows.sort();
        QCOMPARE(rows, QStringList({"air.glow changed 2", "brain.glow gone 2",
                                    "ground.glow changed 2", "hurt.glow changed here, too 0"}));
        QCOMPARE(text(names[0]), "; outside\n");
        QCOMPARE(text(names[3]), "; outside\n");
        QVERIFY(text(names[1]).startsWith("; mine"));
        QCOMPARE(changes.waiting().size(), 2);
        // Writing over another's work is asked about, one file and all.
        for (const bool all : {false, true}) {
            open("heroes/wren/hurt.glow");
            m_dialogs->expectBox(QMessageBox::No);
            (all ? actions()->saveAll : actions()->save)->trigger();
            QVERIFY(m_dialogs->seen().last().text.contains("hurt.glow"));
            QCOMPARE(readFile(names[1]), QByteArray("; outside\r\n"));
        }
        m_dialogs->expectBox(QMessageBox::Yes);
        QTest::keyClick(view(), Qt::Key_S, Qt::ControlModifier);
        QVERIFY(readFile(names[1]).startsWith("; mine"));
        // One that has come back meanwhile is not written over unasked.
        m_dialogs->expectDialog([&](QDialog *dialog) {
            writeFile(names[2], "; back");
            dialog->findChild<QPushButton *>("changes_write_gone")->click();
        });
        m_dialogs->expectBox(QMessageBox::No);
        QTest::mouseClick(others, Qt::LeftButton);
        QCOMPARE(readFile(names[2]), QByteArray("; back"));
        QVERIFY(QFile::remove(names[2]));
        QTRY_VERIFY(changes.isGone(session().findFile(names[2])));
        for (const char *button : {"changes_write_gone", "changes_hold"}) {
            m_dialogs->expectDialog(
                [=](QDialog *dialog) { dialog->findChild<QPushButton *>(button)->click(); });
            QTest::mouseClick(others, Qt::LeftButton);
            QCOMPARE(changes.waiting().size(), 0);
            QCoreApplication::processEvents();
            if (QFile::remove(names[2])) // which was written again
                QTRY_COMPARE(changes.waiting().size(), 1);
        }
        QVERIFY(!QFileInfo::exists(names[2]));
        // A notice goes with its file, and with the changes that are discarded.
        for (const char *name : {"shared/gallery.glow", "heroes/wren/hurt.glow"}) {
            open(name);
            type("; mine");
            replaceFile(path(name), "; outside again\r\n");
            open("heroes/wren/air.glow");
            QTRY_COMPARE(changes.waiting().size(), 1);
            QVERIFY(changes.bar()->isVisible());
            m_dialogs->expectBox(QMessageBox::Discard);
            QVERIFY(host().desk().closeFile(session().findFile(path(name))));
            QVERIFY(!changes.bar()->isVisible());
        }
        // Pictures have no undo: those that are edited are asked about.
        QVERIFY(host().desk().openFile(path("heroes/wren/wren.gleam"), 0));
        m_window->findChild<QAction *>("spr_layer_add")->trigger();
        replaceFile(path("heroes/wren/wren.gleam"), readFile(path("heroes/moss/moss.gleam")));
        QTRY_COMPARE(changes.waiting().size(), 1);
        auto *reload = changes.bar()->findChild<QPushButton *>("changes_reload");
        QVERIFY(reload->isVisible());
        QVERIFY(!changes.bar()->findChild<QPushButton *>("changes_compare")->isVisible());
        for (const bool takes : {false, true}) {
            m_dialogs->expectBox(takes ? QMessageBox::Yes : QMessageBox::No);
            QTest::mouseClick(reload, Qt::LeftButton);
            QCOMPARE(changes.waiting().size(), takes ? 0 : 1);
        }
    }
};

QTEST_MAIN(tst_studio_outside)
#include "tst_studio_outside.moc"
