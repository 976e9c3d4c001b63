#include "testhost.h"

#include <kilnx/project/controls.h>
#include <kilnx/project/editor.h>
#include <kilnx/project/fileeditor.h>

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QListView>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSlider>
#include <QSpinBox>
#include <QToolButton>
#include <QTreeView>

using namespace Kiln;

namespace
{

/// Notes its steps in a record that outlives it, and ends itself on `finish`.
class RecordingProgress : public Progress
{
public:
    RecordingProgress(std::shared_ptr<TestHost::ProgressRecord> record, bool cancels)
        : m_record(std::move(record))
        , m_cancels(cancels)
    {
    }

    void setProgress(unsigned int value, unsigned int total, bool *cancelled) override
    {
        if (total > 0)
            m_record->total = total;
        m_record->steps << value;
        if (cancelled && m_cancels)
            *cancelled = true;
    }

    void finish() override
    {
        ++m_record->finished;
        delete this;
    }

private:
    std::shared_ptr<TestHost::ProgressRecord> m_record;
    bool m_cancels;
};

/// The widget of a control, with the coded signals that report a change and that take a value.
struct Built {
    QWidget *widget;
    const char *changed;
    const char *setter;
};

Built build(const Control &control)
{
    if (const auto *list = dynamic_cast<const ListViewControl *>(&control)) {
        auto *view = new QListView;
        if (list->doubleClickSlot)
            QObject::connect(view, SIGNAL(doubleClicked(QModelIndex)), list->receiver,
                             list->doubleClickSlot);
        return {view, SIGNAL(activated(QModelIndex)), nullptr};
    }
    if (dynamic_cast<const TreeViewControl *>(&control))
        return {new QTreeView, SIGNAL(activated(QModelIndex)), nullptr};
    if (dynamic_cast<const ToolButtonControl *>(&control))
        return {new QToolButton, nullptr, nullptr};
    switch (control.kind) {
    case 4:
        return {new QSlider, SIGNAL(valueChanged(int)), SLOT(setValue(int))};
    case 6:
        return {new QSpinBox, SIGNAL(valueChanged(int)), SLOT(setValue(int))};
    case 7:
        return {new QDoubleSpinBox, SIGNAL(valueChanged(double)), SLOT(setValue(double))};
    case 8:
        return {new QCheckBox, SIGNAL(clicked(bool)), SLOT(setChecked(bool))};
    case 9:
        return {new QComboBox, SIGNAL(activated(int)), SLOT(setCurrentIndex(int))};
    default:
        return {new QLabel, nullptr, SLOT(setText(QString))};
    }
}

} // namespace

TestHost::TestHost()
    : m_window(std::make_unique<QMainWindow>())
{
    m_window->resize(800, 600);
    setGlobalInterface(this);
}

TestHost::~TestHost()
{
    setGlobalInterface(nullptr);
}

QAction *TestHost::action(const char *key) const
{
    const auto found = m_actions.find(key);
    return found == m_actions.end() ? nullptr : found->second.action;
}

QString TestHost::text(int id) const
{
    return QStringLiteral("host text %1").arg(id);
}

QWidget *TestHost::mainWindow() const
{
    return m_window.get();
}

QString TestHost::dataPath() const
{
    return dataDirectory;
}

QString TestHost::userPath() const
{
    return userDirectory;
}

QString TestHost::configPath() const
{
    return configDirectory;
}

Progress *TestHost::progress(const QString &text, bool cancellable)
{
    auto record = std::make_shared<ProgressRecord>();
    record->text = text;
    record->cancellable = cancellable;
    progresses << record;
    return new RecordingProgress(record, cancelProgress);
}

Engine *TestHost::engine() const
{
    return currentEngine;
}

Editor *TestHost::currentEditor() const
{
    return activeEditor;
}

FileEditor *TestHost::editorForFile(ProjectFile *, Project::FileID id) const
{
    for (auto entry = fileEditors.cbegin(); entry != fileEditors.cend(); ++entry) {
        if (id.bits & static_cast<unsigned int>(entry.key()))
            return entry.value();
    }
    return nullptr;
}

Editor *TestHost::editor(const char *name) const
{
    for (Editor *editor : qAsConst(editors)) {
        if (qstrcmp(editor->name(), name) == 0)
            return editor;
    }
    return nullptr;
}

ExtraEditor *TestHost::currentExtraEditor() const
{
    return shownExtraEditor;
}

unsigned int TestHost::projectCount() const
{
    return static_cast<unsigned int>(projects.size());
}

Project *TestHost::project(unsigned int index) const
{
    return projects.value(static_cast<int>(index));
}

Project *TestHost::currentProject() const
{
    return activeProject;
}

int TestHost::scaled(int pixels) const
{
    return pixels;
}

QIcon TestHost::icon(const QString &key) const
{
    QPixmap pixmap(16, 16);
    pixmap.fill(QColor::fromRgb(qHash(key) | 0xff000000u));
    QIcon icon(pixmap);
    return icon;
}

QColor TestHost::colorOption(const QString &key) const
{
    return colors.value(key);
}

QColor TestHost::colorOption2(const QString &key) const
{
    return secondColors.value(key);
}

QVariant TestHost::option(const QString &key, const QVariant &fallback) const
{
    return options.value(key, fallback);
}

void TestHost::setOption(const QString &key, const QVariant &value)
{
    log << QStringLiteral("setOption %1=%2").arg(key, value.toString());
    if (value.isValid())
        options.insert(key, value);
}

void TestHost::setStatusText(int field, const QString &text)
{
    statusTexts.insert(field, text);
}

QWidget *TestHost::addControl(const QString &key, const Control &control)
{
    log << QStringLiteral("addControl ") + key;
    const Built built = build(control);
    built.widget->setParent(m_window.get());
    built.widget->setObjectName(key);
    m_controls.insert(key, built.widget);
    if (const auto *button = dynamic_cast<const ToolButtonControl *>(&control))
        static_cast<QToolButton *>(built.widget)->setDefaultAction(button->action);
    if (const auto *field = dynamic_cast<const WidgetControl *>(&control)) {
        if (field->slot && built.changed)
            QObject::connect(built.widget, built.changed, field->receiver, field->slot);
        if (field->setter && built.setter)
            QObject::connect(field->receiver, field->setter, built.widget, built.setter);
        if (field->enabler)
            QObject::connect(field->receiver, field->enabler, built.widget, SLOT(setEnabled(bool)));
    }
    if (const auto *spin = dynamic_cast<const SpinEditControl *>(&control))
        static_cast<QSpinBox *>(built.widget)->setRange(spin->minimum, spin->maximum);
    return built.widget;
}

QWidget *TestHost::control(const QString &key) const
{
    return m_controls.value(key);
}

QMenu *TestHost::menu(const char *name) const
{
    QMenu *&menu = m_menus[QString::fromLatin1(name)];
    if (!menu)
        menu = m_window->menuBar()->addMenu(QString::fromLatin1(name));
    return menu;
}

QAction *TestHost::addAction(QWidget *container,
                             const QString &key,
                             Translator *translator,
                             int textId,
                             bool checkable,
                             QObject *receiver,
                             const char *slot,
                             const char *enabler,
                             const char *checker)
{
    auto *action = new QAction(translator->text(textId), m_window.get());
    action->setToolTip(translator->hint(textId));
    action->setCheckable(checkable);
    action->setObjectName(key);
    if (receiver && slot) {
        QObject::connect(action, checkable ? SIGNAL(toggled(bool)) : SIGNAL(triggered()), receiver,
                         slot);
    }
    if (enabler)
        QObject::connect(receiver, enabler, action, SLOT(setEnabled(bool)));
    if (checker)
        QObject::connect(receiver, checker, action, SLOT(setChecked(bool)));
    if (container)
        container->addAction(action);
    m_actions[key.toStdString()] = {action, container, textId, checkable};
    log << QStringLiteral("addAction ") + key;
    return action;
}

QAction *TestHost::actionByKey(const char *key) const
{
    return action(key);
}

QAction *TestHost::editorAction(const QString &key, Translator *translator, int textId)
{
    auto *action = new QAction(translator->text(textId), m_window.get());
    action->setCheckable(true);
    m_actions[key.toStdString()] = {action, nullptr, textId, true};
    return action;
}

ExtraEditor *TestHost::extraEditor(int index) const
{
    return extraEditors.value(index);
}

void TestHost::refreshEditors()
{
    log << QStringLiteral("refreshEditors");
}

void TestHost::switchTo(Editor *editor)
{
    log << QStringLiteral("switchTo ") + QString::fromLatin1(editor->name());
    if (activeEditor)
        activeEditor->deactivate();
    activeEditor = editor;
    editor->activate();
}

void TestHost::setExtraEditor(ExtraEditor *editor)
{
    log << QStringLiteral("setExtraEditor ") +
               (editor ? QString::fromLatin1(editor->name()) : QStringLiteral("none"));
    shownExtraEditor = editor;
}

void TestHost::setEditorWidget(QWidget *widget)
{
    editorWidget = widget;
    log << QStringLiteral("setEditorWidget");
}
