#include "fakes.h"

#include <kilnx/editors/fieldguard.h>
#include <kilnx/forms/itemsdialog.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/controls.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/translator.h>

#include <QtWidgets/QtWidgets>

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

} // namespace

class tst_host : public ProjectTest
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
        QCOMPARE(Interface::instance(), m_host.get());
        QCOMPARE(m_host->hint(1), m_host->text(1));
        QAction action("do");
        QMenu menu;
        auto *widget = qobject_cast<QToolButton *>(m_host->actionControl("key", &action, &menu));
        QVERIFY(widget);
        QCOMPARE(menu.actions(), QList<QAction *>{&action});
        QCOMPARE(m_host->control("key"), widget);
        QCOMPARE(widget->defaultAction(), &action);
        QVERIFY(m_host->actionControl("without a menu", &action, nullptr));
        m_host.reset();
        QVERIFY(!Interface::instance());
        m_host = std::make_unique<TestHost>();
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
        FakeEditor editor;
        QVERIFY(!editor.isActive());
        editor.switchToThis();
        QVERIFY(m_host->activeEditor == &editor && editor.isActive());
        m_host->activeEditor = nullptr;
        editor.switchToThis();
        QVERIFY(!m_host->activeEditor);
        editor.deactivate();
        QVERIFY(!editor.isActive());
    }

    void itemsAreChosen()
    {
        QStringListModel model({"a", "b", "c", "d"});
        const std::unique_ptr<ItemsDialog> dialog(
            m_host->itemsDialog(m_host->mainWindow(), "Export", &model, 2));
        QCOMPARE(dialog->windowTitle(), QString("Export"));
        QCOMPARE(dialog->selectedRows(), QList<int>{2});
        dialog->show();
        const QRect list = dialog->findChild<QListView *>()->geometry();
        for (QPushButton *button :
             dialog->findChildren<QPushButton *>(QString(), Qt::FindDirectChildrenOnly))
            QVERIFY2(!button->geometry().intersects(list), qPrintable(button->text()));
        const auto pressed = [&dialog](const QString &text) {
            for (QPushButton *button : dialog->findChildren<QPushButton *>()) {
                if (button->text().remove('&') == text)
                    button->click();
            }
            return dialog->selectedRows();
        };
        QCOMPARE(pressed("Invert selection"), QList<int>({0, 1, 3}));
        QCOMPARE(pressed("Select all"), QList<int>({0, 1, 2, 3}));
        QCOMPARE(pressed("Clear"), QList<int>());
        model.setStringList({});
        QCOMPARE(pressed("Invert selection"), QList<int>());
        model.setStringList({"a", "b"});
        const std::unique_ptr<ItemsDialog> first(m_host->itemsDialog(nullptr, "One", &model, 0));
        QCOMPARE(first->selectedRows(), QList<int>{0});
        const std::unique_ptr<ItemsDialog> none(m_host->itemsDialog(nullptr, "None", &model, -1));
        QVERIFY(none->selectedRows().isEmpty());
    }

    void questionsDefaultToNo()
    {
        m_host->dialogs().expectBox(QMessageBox::Yes);
        QVERIFY(askQuestion(m_host->mainWindow(), "t", "q"));
        m_host->dialogs().expectDialog([](QDialog *dialog) { dialog->reject(); });
        QVERIFY(!askWarning(m_host->mainWindow(), "t", "q"));
    }

    void fileDialogs_data()
    {
        columns<QVariant, QVariant>("native", "sorts");
        addRow("unset", QVariant(), QVariant());
        addRow("native and sorted", QVariant(true), QVariant(true));
    }

    void fileDialogs()
    {
        const auto [native, sorts] = row<QVariant, QVariant>();
        m_host->options["use_native_open"] = native;
        m_host->options["sort_file_names"] = sorts;
        make({{"b", ""}, {"a", ""}, {"B", ""}});
        const QStringList names{path("b"), path("a"), path("B")};
        const QStringList sorted{names[2], names[1], names[0]};
        // Each dialog chooses, or is left if there is nothing to choose, and tells of itself.
        QStringList seen;
        const auto expect = [this, &seen](const QStringList &chosen) {
            m_host->dialogs().expectDialog([&seen, chosen](QDialog *dialog) {
                auto *files = qobject_cast<QFileDialog *>(dialog);
                const bool isNative = !files->testOption(QFileDialog::DontUseNativeDialog);
                seen << files->windowTitle() + (isNative ? ", native" : "") +
                            (files->testOption(QFileDialog::ShowDirsOnly) ? ", folders" : "");
                if (chosen.isEmpty())
                    return dialog->reject();
                auto *edit = files->findChild<QLineEdit *>("fileNameEdit");
                edit->setText('"' + chosen.join("\" \"") + '"');
                dialog->accept();
            });
        };
        expect({names[0]});
        QCOMPARE(getOpenFileName(nullptr, "One", base(), "All (*)"), names[0]);
        expect(names);
        QCOMPARE(getOpenFileNames(nullptr, "Many", base(), "All (*)"),
                 sorts.toBool() ? sorted : names);
        expect({});
        QCOMPARE(getSaveFileName(nullptr, "Save", base(), "All (*)"), QString());
        // The suffix is added, and a file that this would replace is asked for.
        const auto saved = [this] { return getSaveFileName(nullptr, "", base(), "All (*)", ".b"); };
        const QStringList before = seen;
        expect({});
        QCOMPARE(saved(), QString());
        expect({base() + "whole.b"});
        QCOMPARE(saved(), base() + "whole.b");
        writeFile(base() + "there.b");
        expect({base() + "there"});
        m_host->dialogs().expectBox(QMessageBox::No);
        expect({base() + "there"});
        m_host->dialogs().expectBox(QMessageBox::Yes);
        QCOMPARE(saved(), base() + "there.b");
        seen = before;
        expect({});
        QCOMPARE(getExistingDirectory(nullptr, "Where", base()), QString());
        expect({names[0]});
        setGlobalInterface(nullptr);
        QCOMPARE(getOpenFileName(nullptr, "No host", base(), "All (*)"), names[0]);
        setGlobalInterface(m_host.get());
        const QString asked = native.toBool() ? ", native" : "";
        QCOMPARE(seen, QStringList({"One" + asked, "Many" + asked, "Save, native",
                                    "Where, native, folders", "No host"}));
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
        std::unique_ptr<QAction> edit(new QAction);
        // What happens, letter by letter; then whether fields may be set, and a change is no
        // field's.
        const QMap<char, void (FieldGuard::*)()> known{{'b', &FieldGuard::beginChangeFieldValue},
                                                       {'e', &FieldGuard::endChangeFieldValue},
                                                       {'p', &FieldGuard::beginProgramChange},
                                                       {'q', &FieldGuard::endProgramChange}};
        const auto after = [&](const char *steps) {
            for (; *steps; ++steps)
                (guard.*known[*steps])();
            return QString(guard.canChangeFieldValue() ? "set " : "") +
                   (guard.changeNotFromField() ? "other" : "");
        };
        QVERIFY(!guard.canChangeFieldValue());
        active = true;
        QCOMPARE(after(""), QString("set other"));
        QCOMPARE(after("b"), QString("set "));
        QCOMPARE(after("p"), QString());
        QCOMPARE(after("qe"), QString("set other"));
        guard.setCodeEditAction(edit.get());
        QCOMPARE(after("b"), QString("set "));
        QCOMPARE(after("e"), QString("set other"));
        edit->setCheckable(true);
        edit->setChecked(true);
        QCOMPARE(after("b"), QString());
        // The user switches the code off in the middle: the bracket still closes what it opened.
        edit->setChecked(false);
        QCOMPARE(after("be"), QString());
        QCOMPARE(after("e"), QString("set other"));
        edit.reset();
        QCOMPARE(after("beeq"), QString("set other"));
    }
};

QTEST_MAIN(tst_host)
#include "tst_host.moc"
