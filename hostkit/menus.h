#pragma once

#include <hostkit/export.h>

#include <QtCore/QMap>
#include <QtCore/QObject>

class QMenu;
class QMenuBar;

namespace HostKit
{

/// The menus of the window by name. A name that nobody asked for before makes a new menu, so an
/// editor that comes later brings its own without a change here. A menu is seen while it has
/// something to show, and gives every command a letter of its text for the keyboard.
class HOSTKIT_EXPORT Menus : public QObject
{
    Q_OBJECT

public:
    /// Makes the menus that every host has: "file", "edit", "view", "project", "tools",
    /// "help". New ones are put before "tools".
    explicit Menus(QMenuBar *bar);

    QMenu *menu(const QString &name);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    static void giveKeys(const QMenu &menu);
    QMenu *add(const QString &name, const QString &title, QMenu *before = nullptr);

    QMenuBar *m_bar;
    QMap<QString, QMenu *> m_menus;
};

} // namespace HostKit
