#include <hostkit/controlpanels.h>

#include <hostkit/actionregistry.h>
#include <hostkit/controlfactory.h>
#include <hostkit/flowlayout.h>

#include <kilnx/project/controls.h>
#include <kilnx/project/editor.h>
#include <kilnx/project/workspace.h>

#include <QAbstractItemView>
#include <QDockWidget>
#include <QEvent>
#include <QFormLayout>
#include <QMainWindow>
#include <QMenu>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace HostKit
{

namespace
{

const int tabMargin = 28; // pixels of a tab beside its text

/// Less of a grid is of no use.
constexpr int lowestGrid = 80;
/// What everything beside a grid wants of a window's height.
constexpr int restOfWindow = 480;

/// Shows a part of a grid where the window is too low for the whole, but always its full width.
class GridScroll : public QScrollArea
{
public:
    explicit GridScroll(QWidget *grid)
    {
        setFrameShape(QFrame::NoFrame);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setFocusPolicy(Qt::NoFocus);
        setWidgetResizable(true);
        setWidget(grid);
    }
    QSize sizeHint() const override { return minimumSizeHint().expandedTo(wanted()); }
    QSize minimumSizeHint() const override
    {
        const int room = qMax(lowestGrid, window()->height() - restOfWindow);
        return {wanted().width() + verticalScrollBar()->sizeHint().width(),
                qMin(wanted().height(), room)};
    }

protected:
    /// The grid has another size, or the window.
    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Resize)
            updateGeometry();
        return QScrollArea::event(event);
    }

private:
    QSize wanted() const { return widget() ? widget()->sizeHint() : QSize(0, 0); }
};

} // namespace

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

void ControlPanels::beginPart(bool sidePanel)
{
    makePlace(sidePanel);
    m_building = m_places.size() - 1;
}

void ControlPanels::endPart(QObject *part)
{
    Place &place = m_places[m_building];
    m_building = -1;
    place.part = part;
    for (const QString &key : qAsConst(m_touched)) {
        if (const int entry = find(key); entry >= 0) // not taken back since
            m_entries[entry].users.append(part);
    }
    m_touched.clear();
    if (auto *panel = qobject_cast<Kiln::ExtraEditor *>(part)) {
        place.sideDock->setObjectName(QStringLiteral("dock_panel_") + QLatin1String(panel->name()));
        place.sideDock->setWindowTitle(panel->displayName());
    }
    show();
}

QWidget *ControlPanels::add(const QString &key, const Kiln::Control &control)
{
    Place &place = this->place(control);
    const auto *embedded = dynamic_cast<const Kiln::EmbeddedControl *>(&control);
    removeOwn(key, place.part, embedded ? embedded->widget : nullptr);
    const ControlFactory::Built built = ControlFactory::build(key, control, place.strip);
    if (!built.field)
        return nullptr;
    Entry entry;
    entry.key = key;
    entry.field = built.field;
    entry.row = built.row;
    const bool isList = qobject_cast<QAbstractItemView *>(built.field);
    const bool isWide = isList || embedded;
    if (place.sideDock && isWide) {
        if (embedded)
            entry.row = new GridScroll(built.row);
        place.sideDock->widget()->layout()->addWidget(entry.row);
    } else if (!isList) {
        if (!addToForm(entry, place)) {
            place.strip->layout()->addWidget(built.row);
            entry.strip = place.sideDock ? nullptr : place.strip;
        }
    } else {
        entry.dock = makeDock(key, built.row, tr("Contents"), Qt::LeftDockWidgetArea);
    }
    if (m_building >= 0)
        m_touched.insert(key);
    else
        entry.users.append(place.part);
    setShown(entry, false);
    m_entries.append(entry);
    show();
    return built.field;
}

QWidget *ControlPanels::control(const QString &key)
{
    const int entry = find(key);
    if (entry < 0)
        return nullptr;
    if (m_building >= 0)
        m_touched.insert(key);
    return m_entries[entry].field;
}

void ControlPanels::showEditor(Kiln::Editor *editor, const QList<Kiln::Workspace *> &workspaces)
{
    m_editor = editor;
    m_workspaces.clear();
    for (Kiln::Workspace *workspace : workspaces)
        m_workspaces.append(workspace);
    show();
    if (!editor || !(editor->areas() & SideArea))
        showSidePanel(nullptr);
}

void ControlPanels::showSidePanel(const Kiln::ExtraEditor *panel)
{
    m_sidePanel = panel;
    showSideDocks();
}

void ControlPanels::showBeside(const QVector<const Kiln::ExtraEditor *> &panels)
{
    if (m_beside == panels)
        return;
    m_beside = panels;
    showSideDocks();
}

// A dock does not ask what height a width needs, and would cut off what is below.
bool ControlPanels::eventFilter(QObject *watched, QEvent *event)
{
    auto *strip = qobject_cast<QWidget *>(watched);
    if (strip && (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest))
        strip->setMinimumHeight(strip->layout()->heightForWidth(strip->width()));
    return QObject::eventFilter(watched, event);
}

QDockWidget *ControlPanels::sideDock(const Kiln::ExtraEditor *panel) const
{
    for (const Place &place : m_places) {
        if (place.part == panel)
            return place.sideDock;
    }
    return nullptr;
}

void ControlPanels::stack(const Kiln::ExtraEditor *upper, const Kiln::ExtraEditor *lower)
{
    if (QDockWidget *dock = sideDock(upper); dock && sideDock(lower)) {
        m_window->tabifyDockWidget(dock, sideDock(lower));
        dock->raise();
        const QString titles = dock->windowTitle() + sideDock(lower)->windowTitle();
        dock->setMinimumWidth(dock->fontMetrics().horizontalAdvance(titles) + 2 * tabMargin);
    }
}

void ControlPanels::showSideDocks()
{
    for (const Place &place : qAsConst(m_places)) {
        const auto *panel = qobject_cast<Kiln::ExtraEditor *>(place.part);
        if (place.sideDock)
            place.sideDock->setVisible(panel && (panel == m_sidePanel || m_beside.contains(panel)));
    }
}

// The place of the part that is being constructed, that receives, or that is shown.
ControlPanels::Place &ControlPanels::place(const Kiln::Control &control)
{
    if (m_building >= 0)
        return m_places[m_building];
    QObject *part = partOf(control);
    if (!part)
        part = m_editor;
    for (Place &place : m_places) {
        if (part && place.part == part)
            return place;
    }
    Place &place = makePlace(false);
    place.part = part ? part : this;
    return place;
}

ControlPanels::Place &ControlPanels::makePlace(bool sidePanel)
{
    Place place;
    place.strip = new QWidget(m_strip->parentWidget());
    new FlowLayout(place.strip);
    if (sidePanel) {
        place.sideDock = new QDockWidget(m_window);
        auto *contents = new QWidget(place.sideDock);
        auto *layout = new QVBoxLayout(contents);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(place.strip);
        place.sideDock->setWidget(contents);
        m_window->addDockWidget(Qt::RightDockWidgetArea, place.sideDock);
        place.sideDock->hide();
        place.strip->installEventFilter(this);
        m_viewMenu->addAction(place.sideDock->toggleViewAction());
    } else {
        m_strip->addWidget(place.strip);
        place.strip->hide();
    }
    m_places.append(place);
    return m_places.last();
}

QDockWidget *ControlPanels::makeDock(const QString &key,
                                     QWidget *widget,
                                     const QString &title,
                                     Qt::DockWidgetArea area)
{
    auto *dock = new QDockWidget(title, m_window);
    dock->setObjectName(QStringLiteral("dock_") + key);
    dock->setWidget(widget);
    m_window->addDockWidget(area, dock);
    m_viewMenu->addAction(dock->toggleViewAction());
    return dock;
}

QObject *ControlPanels::partOf(const Kiln::Control &control) const
{
    QObject *receiver = nullptr;
    if (const auto *field = dynamic_cast<const Kiln::WidgetControl *>(&control))
        receiver = field->receiver;
    else if (const auto *button = dynamic_cast<const Kiln::ToolButtonControl *>(&control))
        receiver = m_actions->receiver(button->action);
    for (QObject *object = receiver; object; object = object->parent()) {
        if (qobject_cast<Kiln::Editor *>(object) || qobject_cast<Kiln::ExtraEditor *>(object) ||
            qobject_cast<Kiln::Workspace *>(object))
            return object;
    }
    return nullptr;
}

// A control of nobody is seen with every editor, and none whose command is hidden.
bool ControlPanels::isShown(const Entry &entry)
{
    const auto *button = qobject_cast<QToolButton *>(entry.field);
    if (button && button->defaultAction() && !button->defaultAction()->isVisible())
        return false;
    const auto uses = [&entry](const QPointer<QObject> &part) {
        return part && entry.users.contains(part);
    };
    return m_editor && (uses(m_editor) || entry.users.contains(this) ||
                        std::any_of(m_workspaces.cbegin(), m_workspaces.cend(), uses));
}

// The entry that a key names: the last one.
int ControlPanels::find(const QString &key) const
{
    for (int i = m_entries.size() - 1; i >= 0; --i) {
        if (m_entries[i].key == key)
            return i;
    }
    return -1;
}

/// Puts a field behind its label, if there is one in the strip.
bool ControlPanels::addToForm(Entry &entry, Place &place)
{
    const int label = find(entry.key + QLatin1String("_lb"));
    if (label < 0 || m_entries[label].strip != place.strip || !m_entries[label].row)
        return false;
    if (!place.formDock) {
        auto *form = new QWidget;
        form->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
        new QFormLayout(form);
        place.formDock = makeDock(entry.key, form, tr("Fields"), Qt::RightDockWidgetArea);
    }
    Entry &caption = m_entries[label];
    static_cast<QFormLayout *>(place.formDock->widget()->layout())->addRow(caption.row, entry.row);
    caption.strip = nullptr;
    caption.dock = place.formDock;
    entry.dock = place.formDock;
    return true;
}

// A part in construction has no entry with a user yet. The widget that comes again stays.
void ControlPanels::removeOwn(const QString &key, const QObject *part, const QWidget *again)
{
    const int known = find(key);
    if (known < 0)
        return;
    const Entry &entry = m_entries[known];
    const bool own =
        part ? entry.users.size() == 1 && entry.users.first() == part : entry.users.isEmpty();
    if (!own)
        return;
    // A form has other fields, too.
    if (entry.dock && entry.dock->widget() == entry.row)
        delete entry.dock;
    if (auto *scroll = qobject_cast<QScrollArea *>(entry.row); scroll && entry.field == again)
        scroll->takeWidget();
    if (entry.row != again)
        delete entry.row;
    m_entries.remove(known);
}

void ControlPanels::show()
{
    const auto *editor = qobject_cast<Kiln::Editor *>(m_editor);
    const unsigned int areas = editor ? editor->areas() : 0;
    QSet<QWidget *> filled;
    for (Entry &entry : m_entries) {
        const bool shown = isShown(entry) && (areas & (entry.dock ? ListArea : ControlArea));
        if (shown != entry.shown)
            setShown(entry, shown);
        if (shown && entry.strip)
            filled.insert(entry.strip);
    }
    for (const Place &place : qAsConst(m_places)) {
        if (!place.sideDock)
            place.strip->setVisible(filled.contains(place.strip));
    }
}

void ControlPanels::setShown(Entry &entry, bool shown)
{
    entry.shown = shown;
    if (entry.dock) {
        entry.dock->toggleViewAction()->setVisible(shown);
        entry.dock->setVisible(shown);
    }
    if (entry.dock && entry.row) {
        entry.row->show();
    } else if (entry.strip && entry.row) {
        entry.row->setVisible(shown);
    }
}

} // namespace HostKit
