#include <hostkit/controlfactory.h>
#include <hostkit/editordeck.h>
#include <hostkit/enginelibraries.h>
#include <hostkit/filedesk.h>
#include <hostkit/hostbase.h>

#include <kilnx/project/controls.h>
#include <kilnx/project/editor.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/translator.h>
#include <tests/support/dialogscript.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

using HostKit::ControlFactory;

// The side of a control that an editor keeps: signals of every type that a widget may show, and
// slots that note what the user did.
class Receiver : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    QStringList calls;

public slots:
    void intChanged(int value) { calls << QString("int %1").arg(value); }
    void doubleChanged(double value) { calls << QString("double %1").arg(value); }
    void boolChanged(bool value) { calls << QString("bool %1").arg(value); }
    void textChanged(const QString &value) { calls << QString("text %1").arg(value); }
    void chosen(const QModelIndex &value) { calls << QString("index %1").arg(value.row()); }
    void touched() { calls << QString("touched"); }

signals:
    void setInt(int value);
    void setDouble(double value);
    void setBool(bool value);
    void setText(const QString &value);
    void setIndex(const QModelIndex &value);
    void enabled(bool on);
};

// An editor as a later room brings it: it speaks to the host only through the interface.
class SoundsLikeEditor : public Kiln::Editor
{
    Q_OBJECT

public:
    explicit SoundsLikeEditor(unsigned int areas)
        : m_areas(areas)
        , m_view(new QLabel("a view of its own"))
    {
        Kiln::KilnTranslator *texts = Kiln::KilnTranslator::instance();
        m_action = interface->editorAction("editor_snd", texts, 150);
        QMenu *menu = interface->menu("sounds");
        addAction = interface->addAction(menu, "snd_add", texts, 151, false, this, "1add()",
                                         "2enabled(bool)");
        playAction = interface->addAction(menu, "snd_play", texts, 157, true, this, "1play(bool)",
                                          nullptr, "2playing(bool)");
        button = interface->actionControl("snd_add", addAction, menu);
        Kiln::SpinEditControl spin;
        spin.receiver = this;
        field = interface->addControl("snd_spin", spin);
        Kiln::TreeViewControl contents;
        contents.receiver = this;
        tree = interface->addControl("snd_tree", contents);
    }
    ~SoundsLikeEditor() override { delete m_view; }

    QAction *action() const override { return m_action; }
    const char *name() const override { return "sounds"; }
    bool isModified() const override { return false; }
    unsigned int areas() const override { return m_areas; }
    void activate() override
    {
        Kiln::Editor::activate();
        interface->setEditorWidget(m_view);
    }
    void retranslate() override {}
    void undo() override {}
    void redo() override {}
    void find(const QString &, unsigned int) override {}
    void replace(const QString &, const QString &, unsigned int, bool) override {}
    void hostReserved15() override {}

    QWidget *view() const { return m_view; }

    QAction *addAction;
    QAction *playAction;
    QWidget *button;
    QWidget *field;
    QWidget *tree;
    QStringList calls;

public slots:
    void add() { calls << QString("add"); }
    void play(bool on) { calls << QString("play %1").arg(on); }

signals:
    void enabled(bool on);
    void playing(bool on);

private:
    unsigned int m_areas;
    QLabel *m_view;
    QAction *m_action;
};

// A side panel as the organizer is one: a list and a button.
class OrganizerLikePanel : public Kiln::ExtraEditor
{
    Q_OBJECT

public:
    OrganizerLikePanel()
    {
        up = interface->addAction(nullptr, "side_up", Kiln::KilnTranslator::instance(), 166, false,
                                  this, "1moveUp()");
        Kiln::ListViewControl control;
        control.receiver = this;
        control.slot = "1itemDblClick(QModelIndex)";
        list = interface->addControl("side_list", control);
        button = interface->addControl("side_up", Kiln::ToolButtonControl(up));
    }

    const char *name() const override { return "side"; }
    QString displayName() const override { return QString("Side"); }
    void retranslate() override {}
    void release() override { delete this; }

    QAction *up;
    QWidget *list;
    QWidget *button;
    int moved = 0;
    int clicked = -1;

public slots:
    void moveUp() { ++moved; }
    void itemDblClick(const QModelIndex &index) { clicked = index.row(); }
};

namespace
{

using Control = std::shared_ptr<Kiln::WidgetControl>;

void useByKeys(QWidget *field, const QString &keys)
{
    field->show();
    if (keys == "end")
        return QTest::keyClick(field, Qt::Key_End);
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(field, keys);
    QTest::keyClick(field, Qt::Key_Return);
}

void setFromEditor(Receiver &receiver, const QVariant &value)
{
    if (value.userType() == QMetaType::Int) {
        emit receiver.setInt(value.toInt());
    } else if (value.userType() == QMetaType::Double) {
        emit receiver.setDouble(value.toDouble());
    } else {
        emit receiver.setBool(!value.toBool());
        emit receiver.setBool(value.toBool());
    }
}

// An editor that asks for a field of another, and registers one that nobody receives.
class BorrowingEditor : public SoundsLikeEditor
{
public:
    BorrowingEditor()
        : SoundsLikeEditor(7)
        , borrowed(interface->control("snd_shared"))
        , label(interface->addControl("any_label", Kiln::trWidgetControl(Kiln::Control::Label)))
    {
    }

    QWidget *borrowed;
    QWidget *label;
};

class LendingEditor : public SoundsLikeEditor
{
public:
    LendingEditor()
        : SoundsLikeEditor(7)
    {
        interface->addControl("snd_shared", Kiln::trWidgetControl(Kiln::Control::CheckBox));
    }
};

} // namespace

Q_DECLARE_METATYPE(Control)

class tst_studio_controls : public QObject
{
    Q_OBJECT

private slots:
    void userAndEditorReachEachOther_data()
    {
        const auto add = columns<Control, QByteArray, QByteArray, QString, QString, QVariant>(
            "control", "slot", "setter", "keys", "call", "value");
        const auto spin = std::make_shared<Kiln::SpinEditControl>();
        const auto real = std::make_shared<Kiln::FloatEditControl>();
        const auto check = std::make_shared<Kiln::trWidgetControl>(Kiln::Control::CheckBox);
        const auto place = std::make_shared<Kiln::WidgetControl>(Kiln::Control::PositionSelector);
        const int most = 2147483647;
        add("spin", spin, "1intChanged(int)", "2setInt(int)", "-7", "int -7", most);
        add("slot without argument", spin, "1touched()", "2setInt(int)", "-7", "touched", most);
        add("float", real, "1doubleChanged(double)", "2setDouble(double)", "2.5", "double 2.5",
            -0.125);
        add("check box", check, "1boolChanged(bool)", "2setBool(bool)", " ", "bool 1", true);
        add("position", place, "1intChanged(int)", "2setInt(int)", "end", "int 99", 12);
    }

    void userAndEditorReachEachOther()
    {
        const auto [control, slot, setter, keys, call, value] =
            row<Control, QByteArray, QByteArray, QString, QString, QVariant>();
        QWidget window;
        Receiver receiver;
        control->receiver = &receiver;
        control->slot = slot.constData();
        control->setter = setter.constData();
        const ControlFactory::Built built = ControlFactory::build("tst_key", *control, &window);
        QVERIFY(built.field);
        QCOMPARE(built.field->objectName(), "tst_key");

        useByKeys(built.field, keys);
        QVERIFY2(receiver.calls.contains(call), qPrintable(receiver.calls.join(", ")));
        receiver.calls.clear();
        setFromEditor(receiver, value);
        QCOMPARE(built.field->property(value.type() == QVariant::Bool ? "checked" : "value"),
                 value);
        QVERIFY2(receiver.calls.isEmpty(), "what the editor sets must not come back to it");
    }

    void enablerRulesFieldAndCaption()
    {
        QWidget window;
        Receiver receiver;
        Kiln::SpinEditControl control;
        control.receiver = &receiver;
        control.enabler = "2enabled(bool)";
        control.translator = Kiln::KilnTranslator::instance();
        control.textId = 79;
        control.minimum = -5;
        control.maximum = 5;
        const ControlFactory::Built built = ControlFactory::build("anim_x", control, &window);
        auto *caption = built.row->findChild<QLabel *>("anim_x_caption");
        QCOMPARE(caption->text(), "X axis:");
        QCOMPARE(caption->buddy(), built.field);
        QCOMPARE(built.field->accessibleName(), "X axis");
        auto *spin = qobject_cast<QSpinBox *>(built.field);
        QCOMPARE(qMakePair(spin->minimum(), spin->maximum()), qMakePair(-5, 5));

        QVERIFY(!built.field->isEnabled() && !caption->isEnabled());
        emit receiver.enabled(true);
        QVERIFY(built.field->isEnabled() && caption->isEnabled());
        emit receiver.enabled(false);
        QVERIFY(!built.field->isEnabled() && !caption->isEnabled());

        control.enabler = nullptr;
        QVERIFY(ControlFactory::build("anim_y", control, &window).field->isEnabled());
    }

    void labelsShowTexts()
    {
        QWidget window;
        Receiver receiver;
        Kiln::WidgetControl changing(Kiln::Control::Label);
        changing.receiver = &receiver;
        changing.setter = "2setText(QString)";
        auto *label =
            qobject_cast<QLabel *>(ControlFactory::build("snd_pos", changing, &window).field);
        emit receiver.setText("3 / 12");
        QCOMPARE(label->text(), "3 / 12");

        Kiln::trWidgetControl fixed(Kiln::Control::Label);
        fixed.translator = Kiln::KilnTranslator::instance();
        fixed.textId = 78;
        auto *caption = qobject_cast<QLabel *>(ControlFactory::build("a_b", fixed, &window).field);
        QCOMPARE(caption->text(), "Frames:");
        caption->clear();
        QEvent languageChange(QEvent::LanguageChange);
        QCoreApplication::sendEvent(caption, &languageChange);
        QCOMPARE(caption->text(), "Frames:");
    }

    void combosGiveIndexOrText_data()
    {
        columns<QByteArray, QString>("slot", "call");
        addRow("index", QByteArray("1intChanged(int)"), "int 1");
        addRow("text", QByteArray("1textChanged(QString)"), "text both");
    }

    void combosGiveIndexOrText()
    {
        auto [slot, call] = row<QByteArray, QString>();
        QWidget window;
        Receiver receiver;
        Kiln::ComboBoxControl control;
        control.receiver = &receiver;
        control.slot = slot.constData();
        control.setter = "2setInt(int)";
        auto *combo =
            qobject_cast<QComboBox *>(ControlFactory::build("a_flip", control, &window).field);
        combo->addItems({"none", "both", "third"});
        QTest::keyClick(combo, Qt::Key_Down);
        QCOMPARE(receiver.calls, QStringList(call));
        emit receiver.setInt(2);
        QCOMPARE(combo->currentIndex(), 2);
        QCOMPARE(receiver.calls.size(), 1);
    }

    void buttonsRunActionsAndMenus()
    {
        QWidget window;
        QAction action("Add");
        QMenu menu;
        QSignalSpy triggered(&action, &QAction::triggered);
        auto *plain = qobject_cast<QToolButton *>(
            ControlFactory::build("a_add", Kiln::ToolButtonControl(&action), &window).field);
        plain->click();
        QCOMPARE(triggered.count(), 1);
        QVERIFY(!plain->menu());
        QVERIFY2(plain->focusPolicy() & Qt::TabFocus, "a button must be reached by the keyboard");
        auto *withMenu = qobject_cast<QToolButton *>(
            ControlFactory::build("a_more", Kiln::MenuToolButtonControl(&action, &menu), &window)
                .field);
        QCOMPARE(withMenu->menu(), &menu);
        withMenu->click();
        QCOMPARE(triggered.count(), 2);

        const QPointer<QLabel> brought(new QLabel("colours"));
        const ControlFactory::Built embedded =
            ControlFactory::build("a_own", Kiln::EmbeddedControl(brought), &window);
        QVERIFY(embedded.field == brought && embedded.row == brought);
        QCOMPARE(brought->parentWidget(), &window);
        QCOMPARE(brought->objectName(), QString("a_own"));
        QVERIFY(!ControlFactory::build("a_none", Kiln::EmbeddedControl(nullptr), &window).field);
    }

    void treesAndListsTellTheirRows()
    {
        QWidget window;
        Receiver receiver;
        Kiln::TreeViewControl control;
        control.receiver = &receiver;
        control.slot = "1chosen(QModelIndex)";
        control.setter = "2setIndex(QModelIndex)";
        auto *tree =
            qobject_cast<QTreeView *>(ControlFactory::build("a_tree", control, &window).field);
        QStandardItemModel model(3, 1);
        tree->setModel(&model);
        tree->setCurrentIndex(model.index(1, 0));
        QTest::keyClick(tree, Qt::Key_Return);
        QCOMPARE(receiver.calls, QStringList("index 1"));
        emit receiver.setIndex(model.index(2, 0));
        QCOMPARE(tree->currentIndex().row(), 2);
    }

    void unknownKindsAndTypesAreRefused()
    {
        QWidget window;
        Receiver receiver;
        QVERIFY(!ControlFactory::build("a_b", Kiln::WidgetControl(77), &window).field);
        QVERIFY(!ControlFactory::build("a_b", Kiln::Control(3), &window).field);
        Kiln::SpinEditControl control;
        control.receiver = &receiver;
        control.setter = "2setRect(QRect)";
        QTest::ignoreMessage(QtWarningMsg,
                             "Control with the signature 2setRect(QRect): no widget gives or takes "
                             "this type");
        QVERIFY(ControlFactory::build("a_b", control, &window).field);
    }

    void editorsAppearWithoutHostCode_data()
    {
        columns<unsigned int, bool, bool>("areas", "fields", "lists");
        addRow("all areas", 7U, true, true);
        addRow("without controls", 6U, false, true);
        addRow("without lists", 3U, true, false);
    }

    void editorsAppearWithoutHostCode()
    {
        auto [areas, fields, lists] = row<unsigned int, bool, bool>();
        QMainWindow window;
        HostKit::HostBase host(&window, {});
        auto *editor = host.deck().make<SoundsLikeEditor>(areas);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(!editor->field->isVisible() && !editor->tree->isVisible());
        QCOMPARE(host.control("snd_spin"), editor->field);
        QCOMPARE(host.actionByKey("snd_add"), editor->addAction);

        editor->action()->trigger();
        QVERIFY(editor->isActive() && editor->view()->isVisible());
        QCOMPARE(editor->field->isVisible(), fields);
        QCOMPARE(editor->button->isVisible(), fields);
        QCOMPARE(editor->tree->isVisible(), lists);
        QVERIFY(!editor->addAction->isEnabled());
        emit editor->enabled(true);
        editor->addAction->trigger();
        editor->playAction->trigger();
        emit editor->playing(false);
        QVERIFY(!editor->playAction->isChecked());
        QCOMPARE(editor->calls, (QStringList{"add", "play 1"}));
        QCOMPARE(editor->addAction->toolTip(), "Add one or more sounds (Ins)");
        QVERIFY(!editor->addAction->icon().isNull());
        QVERIFY(host.menu("sounds")->actions().contains(editor->playAction));

        host.deck().switchTo(nullptr);
        QVERIFY(!editor->isActive() && !editor->field->isVisible() && !editor->tree->isVisible());
    }

    void sidePanelsGetADock()
    {
        QMainWindow window;
        HostKit::HostBase host(&window, {});
        host.makeCodeEditors();
        auto *panel = host.deck().make<OrganizerLikePanel>();
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(QString(host.extraEditor(0)->name()), "organizer");
        QCOMPARE(QString(host.extraEditor(1)->name()), "palettes");
        QCOMPARE(QString(host.extraEditor(2)->name()), "thumbnails");
        QCOMPARE(host.extraEditor(3), panel);
        QVERIFY(!panel->list->isVisible());

        host.setExtraEditor(panel);
        QCOMPARE(host.currentExtraEditor(), panel);
        QVERIFY(panel->list->isVisible() && panel->button->isVisible());
        auto *list = qobject_cast<QListView *>(panel->list);
        QVERIFY2(list, "a panel reorders a list, not a tree");
        QStandardItemModel model(4, 1);
        list->setModel(&model);
        for (const int row : {0, 2}) {
            QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::ControlModifier,
                              list->visualRect(model.index(row, 0)).center());
        }
        QCOMPARE(list->selectionModel()->selectedRows().size(), 2);
        list->setCurrentIndex(model.index(2, 0));
        QTest::keyClick(list, Qt::Key_Return);
        QCOMPARE(panel->clicked, 2);
        qobject_cast<QToolButton *>(panel->button)->click();
        QCOMPARE(panel->moved, 1);

        host.setExtraEditor(nullptr);
        QVERIFY(!panel->list->isVisible());

        // Beside another panel, while its editor is current.
        host.deck().accompany("sounds", panel);
        host.deck().switchTo(host.deck().make<SoundsLikeEditor>(7u));
        host.setExtraEditor(host.extraEditor(0));
        QVERIFY(panel->list->isVisible() && panel->isActive());
        QVERIFY(host.control("org_list")->isVisible() && host.extraEditor(0)->isActive());
        host.deck().switchTo(nullptr);
        QVERIFY(!panel->list->isVisible() && !panel->isActive());
    }

    void controlsBelongToWhoAsksForThem()
    {
        QMainWindow window;
        HostKit::HostBase host(&window, {});
        auto *lender = host.deck().make<LendingEditor>();
        auto *borrower = host.deck().make<BorrowingEditor>();
        window.show();
        host.deck().switchTo(lender);
        QVERIFY(borrower->borrowed->isVisible() && lender->field->isVisible());
        QVERIFY(!borrower->label->isVisible() && !borrower->field->isVisible());
        host.deck().switchTo(borrower);
        QVERIFY(borrower->borrowed->isVisible() && borrower->label->isVisible());
        QVERIFY2(!lender->field->isVisible() && borrower->field->isVisible(),
                 "two parts may use the same keys");
        QCOMPARE(host.control("snd_spin"), borrower->field);

        Kiln::SpinEditControl late;
        late.receiver = lender;
        QWidget *field = host.addControl("late_spin", late);
        QVERIFY(!field->isVisible());
        host.deck().switchTo(lender);
        QVERIFY(field->isVisible());

        // What an editor brings along is there in its place when it is registered again.
        const QPointer<QLabel> brought(new QLabel("colours"));
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(host.addControl("late_own", Kiln::EmbeddedControl(brought)), brought.data());
            QVERIFY(brought && brought->isVisible());
        }
    }

    void enginesThatCannotBeLoadedAreTold_data()
    {
        columns<QString, QString>("library", "told");
        addRow("no file", "/no/such/library.so", "cannot be loaded");
        addRow("no library", QString(KILN_SOURCE_DIR "/CMakeLists.txt"), "cannot be loaded");
        addRow("no engine", QString(NO_ENGINE), "holds no engine");
        addRow("another version", QString(OLDER_ENGINE), "was built for kilnx 0.0.1");
        addRow("throws", QString(THROWING_ENGINE), "out of coal");
        addRow("an engine", QString(ENGINE), QString());
    }

    void enginesThatCannotBeLoadedAreTold()
    {
        auto [library, told] = row<QString, QString>();
        QMainWindow window;
        HostKit::HostBase host(&window, {});
        QString fault;
        QCOMPARE(host.engines().load(library, nullptr), told.isEmpty());
        QCOMPARE(host.engines().load(library, &fault), told.isEmpty());
        QVERIFY2(fault.contains(told) && fault.contains(told.isEmpty() ? fault : library),
                 qPrintable(fault));
        QVERIFY2(host.engines().load(QString(ENGINE), &fault), "the host goes on");
        QVERIFY(host.engines().load(QString(ENGINE), &fault));
        // A copy of what is there: told where it was asked for, passed over where it was found.
        const QTemporaryDir directory;
        const QString copy = directory.filePath(QFileInfo(ENGINE).fileName());
        QVERIFY(QFile::copy(ENGINE, copy));
        QVERIFY(!host.engines().load(copy, &fault));
        QVERIFY2(fault.contains(copy) && fault.contains("'Spark'"), qPrintable(fault));
        QCOMPARE(host.engines().loadDirectory(directory.path()), QStringList());
        QCOMPARE(host.engines().plugins().size(), 1);
        QCOMPARE(host.engine()->displayName(), "Spark");
        QSignalSpy changes(&host.engines(), &HostKit::EngineLibraries::currentChanged);
        host.engines().setCurrent(host.engines().plugins().first());
        host.engines().setCurrent(nullptr);
        QCOMPARE(host.engine()->displayName(), "Spark");
        QCOMPARE(changes.count(), 0);
    }

    void hostsTakeTheirStepsInAnyOrder()
    {
        QMainWindow window;
        HostKit::HostBase host(&window, {});
        DialogScript dialogs;
        dialogs.expectBox(QMessageBox::Ok);
        const QString sample = KILN_SOURCE_DIR "/engines/spark/sample";
        QVERIFY(!host.openProject(sample));
        QVERIFY(dialogs.seen().first().text.startsWith("No engine is loaded"));
        QVERIFY(!host.desk().showFile(nullptr) && !host.desk().closeFile(nullptr));
        QVERIFY(!host.desk().openFile(QString(), 0));

        host.makeCodeEditors();
        QString fault;
        QVERIFY2(host.engines().load(ENGINE, &fault), qPrintable(fault));
        QVERIFY(host.openProject(sample));
        QVERIFY(host.desk().openFile(sample + "/bosses.tune", 0));
        QVERIFY2(host.currentEditor(), "an engine that came later has its editors");
        // Without places of its own it keeps nothing: no directory at the root, no locks in this.
        const QDateTime before = QFileInfo("/sessions").lastModified();
        QVERIFY(host.closeProject());
        QCOMPARE(QFileInfo("/sessions").lastModified(), before);
    }
};

QTEST_MAIN(tst_studio_controls)
#include "tst_studio_controls.moc"
