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

/// The first letter of a word, or else any letter, that no other command of the menu has: the texts
/// of library and engines come without.
void Menus::giveKeys(const QMenu &menu)
{
    const QLatin1Char mark('&');
    QString taken;
    const QList<QAction *> commands = menu.actions();
    for (const QAction *command : commands) {
        const int at = command->text().indexOf(mark) + 1;
        if (at > 0)
            taken += command->text().mid(at, 1).toLower();
    }
    for (QAction *command : commands) {
        QString text = command->text();
        const auto isFree = [&](int at, bool starts) {
            return text[at].isLetterOrNumber() && !taken.contains(text[at].toLower()) &&
                   (!starts || at == 0 || text[at - 1].isSpace());
        };
        int best = -1;
        for (int at = text.size() - 1; at >= 0 && !text.contains(mark); --at) {
            if (isFree(at, true) || (isFree(at, false) && (best < 0 || !isFree(best, true))))
                best = at;
        }
        if (best >= 0) {
            taken += text[best].toLower();
            command->setText(text.insert(best, mark));
        }
        if (command->menu())
            giveKeys(*command->menu());
    }
}

QMenu *Menus::add(const QString &name, const QString &title, QMenu *before)
{
    auto *menu = new QMenu(title, m_bar);
    menu->setObjectName(QStringLiteral("menu_") + name);
    menu->setToolTipsVisible(true);
    menu->menuAction()->setVisible(false);
    menu->installEventFilter(this);
    connect(menu, &QMenu::aboutToShow, this, [menu] { giveKeys(*menu); });
    m_bar->insertMenu(before ? before->menuAction() : nullptr, menu);
    m_menus.insert(name, menu);
    return menu;
}

} // namespace HostKit
