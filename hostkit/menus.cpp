#include <hostkit/menus.h>

#include <QActionEvent>
#include <QMenu>
#include <QMenuBar>

#include <algorithm>

namespace HostKit
{

Menus::Menus(QMenuBar *bar)
    : QObject(bar)
    , m_bar(bar)
{
    add("file", tr("&File"));
    add("edit", tr("&Edit"));
    add("view", tr("&View"));
    add("project", tr("&Project"));
    add("tools", tr("&Tools"));
    add("help", tr("&Help"));
}

QMenu *Menus::menu(const QString &name)
{
    if (QMenu *known = m_menus.value(name))
        return known;
    QString title = name;
    title.replace(QLatin1Char('_'), QLatin1Char(' '));
    if (!title.isEmpty())
        title[0] = title[0].toUpper();
    const QList<QAction *> others = m_bar->actions();
    const auto isTaken = [&others](QChar key) {
        return std::any_of(others.cbegin(), others.cend(), [key](const QAction *other) {
            return other->text().contains(QLatin1Char('&') + key, Qt::CaseInsensitive);
        });
    };
    const auto free = std::find_if_not(title.cbegin(), title.cend(), isTaken);
    title.insert(int(free - title.cbegin()) % qMax(1, title.size()), QLatin1Char('&'));
    return add(name, title, m_menus.value(QStringLiteral("tools")));
}

bool Menus::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::ActionAdded:
    case QEvent::ActionChanged:
    case QEvent::ActionRemoved: {
        const auto *menu = static_cast<QMenu *>(watched);
        menu->menuAction()->setVisible(!menu->isEmpty());
        break;
    }
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

QMenu *Menus::add(const QString &name, const QString &title, QMenu *before)
{
    auto *menu = new QMenu(title, m_bar);
    menu->setObjectName(QStringLiteral("menu_") + name);
    menu->setToolTipsVisible(true);
    menu->menuAction()->setVisible(false);
    menu->installEventFilter(this);
    m_bar->insertMenu(before ? before->menuAction() : nullptr, menu);
    m_menus.insert(name, menu);
    return menu;
}

} // namespace HostKit
