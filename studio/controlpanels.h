#pragma once

#include <QMap>
#include <QObject>
#include <QPointer>
#include <QStringList>

class QAction;
class QDockWidget;
class QLayout;
class QMainWindow;
class QMenu;

namespace Kiln
{
class Control;
class Editor;
class ExtraEditor;
} // namespace Kiln

namespace Studio
{

class ActionRegistry;

/// Where the controls that editors register are put.
///
/// Controls belong together by the first word of their keys ("snd_play", "snd_sel"). Each such
/// group has a strip for its buttons and fields and docks for its lists. The group of an editor
/// is seen while that editor is current, a group with the name of a workspace with every editor
/// that stands in it; the group of a side panel lies in that panel's dock.
class ControlPanels : public QObject
{
    Q_OBJECT

public:
    /// Bits of Editor::areas(): which of its own places an editor wants on the screen.
    enum Area {
        ControlArea = 1, ///< the strip above the editor
        SideArea = 2,    ///< the docks of the side panels
        ListArea = 4     ///< the docks of the editor's lists and trees
    };

    /// `strip` takes the strips, top to bottom, `viewMenu` the actions that show the docks.
    ControlPanels(QMainWindow *window, QLayout *strip, QMenu *viewMenu, ActionRegistry *actions);

    /// Builds the widget of a control and puts it in its place. A key that is known already gets
    /// a new widget in place of the old one. Null for a control of unknown kind.
    QWidget *add(const QString &key, const Kiln::Control &control);

    /// The field built for a key, null if none.
    QWidget *control(const QString &key) const;

    /// Makes a dock at the right for a side panel and moves its group there.
    void addSidePanel(Kiln::ExtraEditor *panel);

    /// Tells that the group `name` is part of a view that several editors share.
    void addSharedGroup(const QString &name);

    /// Shows the places of `editor` (null for none) and of the shared view that it stands in
    /// (empty for none), and hides those of the others.
    void showEditor(const Kiln::Editor *editor, const QString &shared);

    /// Shows the dock of `panel` and hides those of the other side panels; null hides all.
    void showSidePanel(const Kiln::ExtraEditor *panel);

private:
    struct Group {
        QWidget *strip = nullptr;
        QList<QDockWidget *> docks;
        QPointer<QObject> owner;
        QDockWidget *sideDock = nullptr;
    };

    Group &group(const QString &name);
    void addDock(Group &group, const QString &key, QWidget *list);
    void placeInSideDock(Group &group);
    static QObject *ownerOf(QObject *receiver);
    QObject *receiverOf(const Kiln::Control &control) const;
    bool belongsTo(const QString &name,
                   const Group &group,
                   const Kiln::Editor *editor,
                   const QString &shared) const;

    QMainWindow *m_window;
    QLayout *m_strip;
    QMenu *m_viewMenu;
    ActionRegistry *m_actions;
    QMap<QString, Group> m_groups;
    QStringList m_sharedGroups;
    const Kiln::Editor *m_editor = nullptr; ///< for which showEditor() was last called
    QString m_shared;
    QMap<QString, QPointer<QWidget>> m_controls;
    QMap<QString, QPointer<QWidget>> m_rows;
    QMap<const Kiln::ExtraEditor *, QDockWidget *> m_sideDocks;
};

} // namespace Studio
