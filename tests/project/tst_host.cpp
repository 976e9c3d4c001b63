#include <kilnx/editors/fieldguard.h>
#include <kilnx/forms/itemsdialog.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/controls.h>
#include <kilnx/project/editor.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/translator.h>
#include <tests/support/testhost.h>

#include <QFileDialog>
#include <QListView>
#include <QMenu>
#include <QPushButton>
#include <QStringListModel>
#include <QToolButton>
#include <QTranslator>
#include <QtTest>

using namespace Kiln;

namespace
{

/// Translates everything, and tells how it was asked.
class Echo : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        return QLatin1String(context) + "|" + QLatin1String(source);
    }
    bool isEmpty() const override { return false; }
};

class PlainEditor : public Editor
{
public:
    QAction *action() const override { return nullptr; }
    const char *name() const override { return "plain"; }
    bool isModified() const override { return false; }
    unsigned int areas() const override { return 0; }
    void retranslate() override {}
    void undo() override {}
    void redo() override {}
    void find(const QString &, unsigned int) override {}
    void replace(const QString &, const QString &, unsigned int, bool) override {}
    void hostReserved15() override {}
};

} // namespace

class tst_host : public QObject
{
    Q_OBJECT

private slots:
    void actionTexts()
    {
        const KilnTranslator &translator = *KilnTranslator::instance();
        QCOMPARE(KilnTranslator::instance(), &translator);
        QCryptographicHash hash(QCryptographicHash::Sha256);
        for (int id = 0; id < KilnTranslator::idCount; ++id)
            hash.addData(QString("%1|%2|%3\n")
                             .arg(id)
                             .arg(translator.text(id), translator.hint(id))
                             .toUtf8());
        // Of the table as it was agreed, written with the same separators.
        QCOMPARE(hash.result().toHex(),
                 QByteArray("f0f87b56ad4202763a601a23d2314fbe97ec0cde1be8d05e96e4db4875d7f11a"));
        QCOMPARE(translator.text(23), QString("Unfold all coded blocks"));
        QCOMPARE(translator.hint(16), QString("Go to the specifed line"));
        for (int id : {-1, 179, 180, 100000}) {
            QVERIFY(translator.text(id).isEmpty());
            QVERIFY(translator.hint(id).isEmpty());
        }
        for (int id : {1, 22, 163, 178})
            QVERIFY(translator.hint(id).isEmpty());
        QVERIFY(translator.description(2).isNull());
    }

    void actionTextsAreTranslated()
    {
        Echo echo;
        QVERIFY(QCoreApplication::installTranslator(&echo));
        QCOMPARE(KilnTranslator::instance()->text(48), QString("Kiln::Translator|Add"));
        QCOMPARE(KilnTranslator::instance()->text(151), QString("Kiln::Translator|Add"));
        QCOMPARE(KilnTranslator::instance()->hint(151),
                 QString("Kiln::Translator|Add one or more sounds"));
        QVERIFY(KilnTranslator::instance()->hint(1).isEmpty());
        QCoreApplication::removeTranslator(&echo);
    }

    void hostIsInstalledAndGivesTools()
    {
        QVERIFY(!Interface::instance());
        {
            TestHost host;
            QCOMPARE(Interface::instance(), &host);
            QCOMPARE(host.hint(1), host.text(1));
            QAction action("do");
            QMenu menu;
            QWidget *widget = host.actionControl("key", &action, &menu);
            QCOMPARE(menu.actions(), QList<QAction *>{&action});
            QCOMPARE(host.control("key"), widget);
            QVERIFY(qobject_cast<QToolButton *>(widget));
            QCOMPARE(qobject_cast<QToolButton *>(widget)->defaultAction(), &action);
            QVERIFY(host.actionControl("without a menu", &action, nullptr));
        }
        QVERIFY(!Interface::instance());
    }

    void loadingAsksForDpiAwarenessOnce()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const bool isThere : {false, true}) {
            if (isThere)
                environment.insert("LD_LIBRARY_PATH", USER32_DIRECTORY);
            QProcess process;
            process.setProcessEnvironment(environment);
            process.start(QCoreApplication::applicationFilePath(), {"-functions"});
            QVERIFY(process.waitForFinished());
            QCOMPARE(process.exitCode(), 0);
            QCOMPARE(process.readAllStandardError().count("awareness -4\n"), isThere ? 1 : 0);
        }
    }

    void editorsAreSwitched()
    {
        TestHost host;
        PlainEditor editor;
        QVERIFY(!editor.isActive());
        editor.switchToThis();
        QCOMPARE(host.activeEditor, &editor);
        QVERIFY(editor.isActive());
        host.activeEditor = nullptr;
        editor.switchToThis();
        QVERIFY(!host.activeEditor);
        editor.deactivate();
        QVERIFY(!editor.isActive());
    }

    void itemsAreChosen()
    {
        TestHost host;
        QStringListModel model({"a", "b", "c", "d"});
        const std::unique_ptr<ItemsDialog> dialog(
            host.itemsDialog(host.mainWindow(), "Export", &model, 2));
        QCOMPARE(dialog->windowTitle(), QString("Export"));
        QCOMPARE(dialog->selectedRows(), QList<int>{2});
        const auto press = [&dialog](const QString &text) {
            for (QPushButton *button : dialog->findChildren<QPushButton *>()) {
                if (button->text().remove('&') == text)
                    button->click();
            }
        };
        press("Invert selection");
        QCOMPARE(dialog->selectedRows(), QList<int>({0, 1, 3}));
        press("Select all");
        QCOMPARE(dialog->selectedRows(), QList<int>({0, 1, 2, 3}));
        press("Clear");
        QCOMPARE(dialog->selectedRows(), QList<int>());
        model.setStringList({});
        press("Invert selection");
        QCOMPARE(dialog->selectedRows(), QList<int>());
        const std::unique_ptr<ItemsDialog> none(host.itemsDialog(nullptr, "None", &model, -1));
        QVERIFY(none->selectedRows().isEmpty());
    }

    void questionsDefaultToNo()
    {
        TestHost host;
        host.dialogs().expectBox(QMessageBox::Yes);
        QVERIFY(askQuestion(host.mainWindow(), "t", "q"));
        host.dialogs().expectDialog([](QDialog *dialog) { dialog->reject(); });
        QVERIFY(!askWarning(host.mainWindow(), "t", "q"));
        QCOMPARE(host.dialogs().finish(), QString());
    }

    void fileDialogs_data()
    {
        QTest::addColumn<QVariant>("native");
        QTest::addColumn<QVariant>("sorts");
        QTest::newRow("unset") << QVariant() << QVariant();
        QTest::newRow("native and sorted") << QVariant(true) << QVariant(true);
    }

    void fileDialogs()
    {
        QFETCH(QVariant, native);
        QFETCH(QVariant, sorts);
        TestHost host;
        host.options["use_native_open"] = native;
        host.options["sort_file_names"] = sorts;
        QTemporaryDir directory;
        QStringList names;
        for (const char *name : {"b", "a", "B"}) {
            names << directory.filePath(name);
            QFile file(names.last());
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        bool wasNative = false;
        const auto chooses = [&wasNative](const QStringList &chosen) {
            return [&wasNative, chosen](QDialog *dialog) {
                auto *files = qobject_cast<QFileDialog *>(dialog);
                wasNative = !files->testOption(QFileDialog::DontUseNativeDialog);
                QStringList quoted;
                for (const QString &name : chosen)
                    quoted << '"' + name + '"';
                files->findChild<QLineEdit *>("fileNameEdit")->setText(quoted.join(' '));
                static_cast<QDialog *>(files)->accept();
            };
        };
        host.dialogs().expectDialog(chooses({names[0]}));
        QCOMPARE(getOpenFileName(nullptr, "One", directory.path(), "All (*)"), names[0]);
        QCOMPARE(wasNative, native.toBool());
        host.dialogs().expectDialog(chooses(names));
        QStringList expected = names;
        if (sorts.toBool())
            expected = QStringList{names[2], names[1], names[0]};
        QCOMPARE(getOpenFileNames(nullptr, "Many", directory.path(), "All (*)"), expected);
        host.dialogs().expectDialog([&wasNative](QDialog *dialog) {
            wasNative =
                !qobject_cast<QFileDialog *>(dialog)->testOption(QFileDialog::DontUseNativeDialog);
            dialog->reject();
        });
        QCOMPARE(getSaveFileName(nullptr, "Save", directory.path(), "All (*)"), QString());
        QVERIFY(wasNative);
        host.dialogs().expectDialog([](QDialog *dialog) {
            auto *files = qobject_cast<QFileDialog *>(dialog);
            QVERIFY(files->testOption(QFileDialog::ShowDirsOnly));
            dialog->reject();
        });
        QCOMPARE(getExistingDirectory(nullptr, "Where", directory.path()), QString());
        host.dialogs().expectDialog(chooses({names[0]}));
        setGlobalInterface(nullptr);
        QCOMPARE(getOpenFileName(nullptr, "No host", directory.path(), "All (*)"), names[0]);
        setGlobalInterface(&host);
        QVERIFY(!wasNative);
        QCOMPARE(host.dialogs().finish(), QString());
        QCOMPARE(host.dialogs().seenTitles(),
                 QStringList({"One", "Many", "Save", "Where", "No host"}));
    }

    void controlsTellTheirKind()
    {
        const SpinEditControl spin;
        QCOMPARE(spin.kind, 6);
        QCOMPARE(spin.minimum, -2147483647 - 1);
        QCOMPARE(spin.maximum, 2147483647);
        QVERIFY(!spin.receiver && !spin.slot && !spin.setter && !spin.enabler && !spin.translator);
        QCOMPARE(FloatEditControl().kind, 7);
        QCOMPARE(ComboBoxControl().kind, 9);
        QAction action;
        QMenu menu;
        const std::unique_ptr<Control> button(new MenuToolButtonControl(&action, &menu));
        QCOMPARE(dynamic_cast<ToolButtonControl *>(button.get())->action, &action);
    }

    void fieldsDoNotEcho()
    {
        bool active = false;
        FieldGuard guard(active);
        QVERIFY(!guard.canChangeFieldValue());
        active = true;
        QVERIFY(guard.canChangeFieldValue() && guard.changeNotFromField());
        guard.beginChangeFieldValue();
        QVERIFY(!guard.changeNotFromField() && guard.canChangeFieldValue());
        guard.beginProgramChange();
        QVERIFY(!guard.canChangeFieldValue());
        guard.endProgramChange();
        guard.endChangeFieldValue();
        QVERIFY(guard.canChangeFieldValue() && guard.changeNotFromField());

        auto *edit = new QAction;
        guard.setCodeEditAction(edit);
        guard.beginChangeFieldValue();
        QVERIFY(guard.canChangeFieldValue());
        guard.endChangeFieldValue();
        edit->setCheckable(true);
        edit->setChecked(true);
        guard.beginChangeFieldValue();
        QVERIFY(!guard.canChangeFieldValue());
        // The user switches the code off in the middle: the bracket still closes what it opened.
        edit->setChecked(false);
        guard.beginChangeFieldValue();
        guard.endChangeFieldValue();
        QVERIFY(!guard.canChangeFieldValue());
        guard.endChangeFieldValue();
        QVERIFY(guard.canChangeFieldValue() && guard.changeNotFromField());
        delete edit;
        guard.beginChangeFieldValue();
        guard.endChangeFieldValue();
        guard.endChangeFieldValue();
        guard.endProgramChange();
        QVERIFY(guard.canChangeFieldValue() && guard.changeNotFromField());
    }
};

QTEST_MAIN(tst_host)
#include "tst_host.moc"
