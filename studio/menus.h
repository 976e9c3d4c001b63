#pragma once

#include <QMap>
#include <QObject>

class QMenu;
class QMenuBar;

namespace Studio
{

/// The menus of the window by name. A name that nobody asked for before makes a new menu, so an
/// editor that comes later brings its own without a change here.
class Menus : public QObject
{
    Q_OBJECT

public:
    /// Makes the menus that Studio fills itself: "file", "edit", "view", "project", "tools",
    /// "help". New ones are put before "tools".
    explicit Menus(QMenuBar *bar);

    QMenu *menu(const QString &name);

    /// Hides the menus that have nothing to show.
    void hideEmpty();

private:
    QMenu *add(const QString &name, const QString &title, QMenu *before = nullptr);

    QMenuBar *m_bar;
    QMap<QString, QMenu *> m_menus;
};

} // namespace Studio
