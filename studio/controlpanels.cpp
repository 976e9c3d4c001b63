#include "controlpanels.h"

#include "actionregistry.h"
#include "controlfactory.h"
#include "flowlayout.h"

#include <kilnx/editors/controls.h>
#include <kilnx/project/editor.h>

#include <QAbstractItemView>
#include <QDockWidget>
#include <QMainWindow>
#include <QMenu>
#include <QVBoxLayout>

namespace Studio
{

ControlPanels::ControlPanels(QMainWindow *window,
                             QLayout *strip,
                             QMenu *viewMenu,
                             ActionRegistry *actions)
    : QObject(window)
    , m_window(window)
    , m_strip(strip)
    , m_viewMenu(viewMenu)
    , m_actions(actions)
{
}

QWidget *ControlPanels::add(const QString &key, const Kiln::Control &control)
{
    delete m_rows.take(key);
    Group &group = this->group(ActionRegistry::group(key));
    if (!group.owner)
        group.owner = ownerOf(receiverOf(control));
    const ControlFactory::Built built = ControlFactory::build(key, control, group.strip);
    if (!built.field)
        return nullptr;
    if (qobject_cast<QAbstractItemView *>(built.field)) {
        addDock(group, key, built.row);
    } else {
        group.strip->layout()->addWidget(built.row);
        built.row->show();
    }
    m_controls.insert(key, built.field);
    m_rows.insert(key, built.row);
    if (m_editor)
        showEditor(m_editor, m_shared);
    return built.field;
}

QWidget *ControlPanels::control(const QString &key) const
{
    return m_controls.value(key);
}

void ControlPanels::addSidePanel(Kiln::ExtraEditor *panel)
{
    const QString name = QLatin1String(panel->name());
    auto *dock = new QDockWidget(panel->displayName(), m_window);
    dock->setObjectName(QStringLiteral("dock_panel_") + name);
    auto *contents = new QWidget(dock);
    contents->setLayout(new QVBoxLayout);
    contents->layout()->setContentsMargins(0, 0, 0, 0);
    dock->setWidget(contents);
    m_window->addDockWidget(Qt::RightDockWidgetArea, dock);
    dock->hide();
    m_sideDocks.insert(panel, dock);
    m_viewMenu->addAction(dock->toggleViewAction());

    for (auto group = m_groups.begin(); group != m_groups.end(); ++group) {
        if (group->owner == panel || name.startsWith(group.key())) {
            group->owner = panel;
            group->sideDock = dock;
            placeInSideDock(*group);
        }
    }
}

void ControlPanels::addSharedGroup(const QString &name)
{
    m_sharedGroups.append(name);
}

void ControlPanels::showEditor(const Kiln::Editor *editor, const QString &shared)
{
    m_editor = editor;
    m_shared = shared;
    const unsigned int areas = editor ? editor->areas() : 0;
    for (auto group = m_groups.begin(); group != m_groups.end(); ++group) {
        if (group->sideDock)
            continue;
        const bool shown = editor && belongsTo(group.key(), *group, editor, shared);
        const bool hasControls = group->strip->layout()->count() > 0;
        group->strip->setVisible(shown && hasControls && (areas & ControlArea));
        for (QDockWidget *dock : qAsConst(group->docks)) {
            const bool wanted = shown && (areas & ListArea);
            dock->toggleViewAction()->setVisible(wanted);
            dock->setVisible(wanted);
        }
    }
    if (!(areas & SideArea))
        showSidePanel(nullptr);
}

void ControlPanels::showSidePanel(const Kiln::ExtraEditor *panel)
{
    for (auto side = m_sideDocks.cbegin(); side != m_sideDocks.cend(); ++side)
        side.value()->setVisible(side.key() == panel);
}

ControlPanels::Group &ControlPanels::group(const QString &name)
{
    Group &group = m_groups[name];
    if (!group.strip) {
        group.strip = new QWidget(m_strip->parentWidget());
        group.strip->setObjectName(QStringLiteral("strip_") + name);
        new FlowLayout(group.strip);
        m_strip->addWidget(group.strip);
        group.strip->hide();
    }
    return group;
}

void ControlPanels::addDock(Group &group, const QString &key, QWidget *list)
{
    if (group.sideDock) {
        group.sideDock->widget()->layout()->addWidget(list);
        return;
    }
    QString title = list->accessibleName();
    if (title.isEmpty())
        title = tr("Contents");
    auto *dock = new QDockWidget(title, m_window);
    dock->setObjectName(QStringLiteral("dock_") + key);
    dock->setWidget(list);
    m_window->addDockWidget(Qt::LeftDockWidgetArea, dock);
    m_viewMenu->addAction(dock->toggleViewAction());
    dock->toggleViewAction()->setVisible(false);
    dock->hide();
    group.docks.append(dock);
}

// A group is often filled before its panel is known: its strip and lists move over then.
void ControlPanels::placeInSideDock(Group &group)
{
    QLayout *layout = group.sideDock->widget()->layout();
    layout->addWidget(group.strip);
    group.strip->show();
    for (QDockWidget *dock : qAsConst(group.docks)) {
        layout->addWidget(dock->widget());
        m_viewMenu->removeAction(dock->toggleViewAction());
        dock->deleteLater();
    }
    group.docks.clear();
}

QObject *ControlPanels::ownerOf(QObject *receiver)
{
    for (QObject *object = receiver; object; object = object->parent()) {
        if (qobject_cast<Kiln::Editor *>(object) || qobject_cast<Kiln::ExtraEditor *>(object))
            return object;
    }
    return nullptr;
}

QObject *ControlPanels::receiverOf(const Kiln::Control &control) const
{
    if (const auto *field = dynamic_cast<const Kiln::WidgetControl *>(&control))
        return field->receiver;
    if (const auto *button = dynamic_cast<const Kiln::ToolButtonControl *>(&control))
        return m_actions->receiver(button->action);
    return nullptr;
}

// An editor is told by who receives, and by its action, "editor_snd" for the group "snd". A
// group that belongs to nobody is seen with every editor.
bool ControlPanels::belongsTo(const QString &name,
                              const Group &group,
                              const Kiln::Editor *editor,
                              const QString &shared) const
{
    if (m_sharedGroups.contains(name))
        return name == shared;
    const QString actionKey = QStringLiteral("editor_") + name;
    const QAction *action = editor->action();
    if (group.owner == editor || (action && action->objectName() == actionKey))
        return true;
    return !group.owner && !m_actions->action(actionKey);
}

} // namespace Studio
