#include "windowtest.h"

#include <hostkit/outsidechanges.h>

// What the window tells of what other programs do to open files.
class tst_studio_outside : public WindowTest
{
    Q_OBJECT

private slots:
    void permissionsAreNoNews()
    {
        open("heroes/wren/air.glow");
        QCoreApplication::processEvents(); // reads the bytes for later
        type("; mine");
        QVERIFY(QFile::setPermissions(path("heroes/wren/air.glow"), QFile::ReadOwner));
        replaceFile(path("heroes/wren/hurt.glow"), "; witness\r\n");
        auto *witness =
            dynamic_cast<Kiln::CodeDocument *>(session().findFile(path("heroes/wren/hurt.glow")));
        QTRY_COMPARE(witness->toString(), QString("; witness\n"));
        QVERIFY(host().outsideChanges().waiting().isEmpty());
        QVERIFY(document()->toString().startsWith("; mine") && document()->isModified());
        QFile::setPermissions(path("heroes/wren/air.glow"), QFile::ReadOwner | QFile::WriteOwner);
    }

    void filesThatCameBackAreAskedAbout()
    {
        const QString name = path("heroes/wren/brain.glow");
        auto &changes = host().outsideChanges();
        QVERIFY(QFile::remove(name));
        QTRY_COMPARE(changes.waiting().size(), 1);
        m_dialogs->expectDialog([&](QDialog *dialog) {
            writeFile(name, "; back");
            dialog->findChild<QPushButton *>("changes_write_gone")->click();
        });
        m_dialogs->expectBox(QMessageBox::No);
        QTest::mouseClick(changes.bar()->findChild<QPushButton *>("changes_others"),
                          Qt::LeftButton);
        QCOMPARE(readFile(name), QByteArray("; back"));
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
};

QTEST_MAIN(tst_studio_outside)
#include "tst_studio_outside.moc"
