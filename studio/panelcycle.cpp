#include "panelcycle.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QApplication>
#include <QDockWidget>
#include <QMainWindow>

#include <algorithm>
#include <functional>

namespace Studio
{

namespace
{

// What takes the focus of a panel: the view that had it last, else the first that can, and a button
// or slider where nothing else can.
QWidget *focusTarget(QWidget *panel)
{
    QWidget *last = panel->focusWidget();
    if (last && last->isVisible() && last->isEnabled())
        return last;
    if (panel->focusPolicy() & Qt::TabFocus)
        return panel;
    QList<QWidget *> widgets = panel->findChildren<QWidget *>();
    const auto isTarget = [](const QWidget *widget) {
        return widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus);
    };
    const auto isTool = [](const QWidget *widget) {
        return qobject_cast<const QAbstractButton *>(widget) ||
               qobject_cast<const QAbstractSlider *>(widget);
    };
    std::stable_partition(widgets.begin(), widgets.end(), std::not_fn(isTool));
    const auto target = std::find_if(widgets.cbegin(), widgets.cend(), isTarget);
    return target == widgets.cend() ? nullptr : *target;
}

QList<QWidget *> visiblePanels(QMainWindow *window)
{
    QList<QWidget *> panels;
    const QList<QDockWidget *> docks = window->findChildren<QDockWidget *>();
    for (QDockWidget *dock : docks) {
        if (dock->isVisible() && !dock->visibleRegion().isEmpty() && focusTarget(dock->widget()))
            panels.append(dock->widget());
    }
    std::sort(panels.begin(), panels.end(), [](const QWidget *one, const QWidget *other) {
        const QPoint a = one->mapToGlobal({});
        const QPoint b = other->mapToGlobal({});
        return std::make_pair(a.y(), a.x()) < std::make_pair(b.y(), b.x());
    });
    if (focusTarget(window->centralWidget()))
        panels.prepend(window->centralWidget());
    return panels;
}

} // namespace

void PanelCycle::enter(QWidget *panel)
{
    if (QWidget *target = focusTarget(panel))
        target->setFocus(Qt::ShortcutFocusReason);
}

void PanelCycle::step(QMainWindow *window, int by)
{
    const QList<QWidget *> panels = visiblePanels(window);
    if (panels.isEmpty())
        return;
    const QWidget *focus = QApplication::focusWidget();
    int now = -1;
    for (int i = 0; i < panels.size(); ++i) {
        if (focus && (panels[i] == focus || panels[i]->isAncestorOf(focus)))
            now = i;
    }
    const int next = now < 0 ? 0 : (now + by + panels.size()) % panels.size();
    enter(panels[next]);
}

} // namespace Studio
