#include "panelcycle.h"

#include <QApplication>
#include <QDockWidget>
#include <QMainWindow>

#include <algorithm>

namespace Studio
{

namespace
{

// What takes the focus of a panel: the view that had it last, else the first that can.
QWidget *focusTarget(QWidget *panel)
{
    QWidget *last = panel->focusWidget();
    if (last && last->isVisible() && last->isEnabled())
        return last;
    if (panel->focusPolicy() & Qt::TabFocus)
        return panel;
    const QList<QWidget *> widgets = panel->findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus))
            return widget;
    }
    return nullptr;
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
    focusTarget(panels[next])->setFocus(Qt::ShortcutFocusReason);
}

} // namespace Studio
