#pragma once

#include <hostkit/export.h>

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QVector>

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
class Workspace;
} // namespace Kiln

namespace HostKit
{

class ActionRegistry;

/// Where the controls that editors, side panels and workspaces register are put.
///
/// Everything that is registered or looked up while a part is being constructed belongs to that
/// part: beginPart() and endPart() bracket its construction. What is registered later belongs to
/// the part that receives its signals, or to the editor shown then. Each part has a strip for its
/// buttons and fields, and a dock for each of its lists; those of an editor are seen while it is
/// current, those of a workspace with every editor that stands in it, those of a side panel in the
/// panel's own dock. A control that several parts have looked up is seen with each of them. A field
/// whose label was registered before it, under the field's key with "_lb" behind it, stands behind
/// that label in a form, which is a dock of the part.
class HOSTKIT_EXPORT ControlPanels : public QObject
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

    /// The construction of a part begins; its controls go into a dock of its own if it is a side
    /// panel. Brackets may not be nested.
    void beginPart(bool sidePanel);
    /// The construction that began last is done.
    void endPart(QObject *part);

    /// Builds the widget of a control and puts it in its place. A key that the same part has
    /// registered already gets a new widget in place of the old one; that of another part stays,
    /// and the key names the new one. Null for a control of unknown kind.
    QWidget *add(const QString &key, const Kiln::Control &control);

    /// The field built for a key, null if none.
    QWidget *control(const QString &key);

    /// Shows the places of `editor` (null for none) and of the workspaces that it stands in, and
    /// hides those of the others.
    void showEditor(Kiln::Editor *editor, const QList<Kiln::Workspace *> &workspaces);

    /// Shows the dock of `panel` and hides those of the other side panels; null hides all but those
    /// of showBeside().
    void showSidePanel(const Kiln::ExtraEditor *panel);
    /// Shows the docks of these panels beside that of showSidePanel(), and of no others.
    void showBeside(const QVector<const Kiln::ExtraEditor *> &panels);

    /// Puts the dock of the second panel under that of the first, which then are tabs.
    void stack(const Kiln::ExtraEditor *upper, const Kiln::ExtraEditor *lower);

protected:
    /// Keeps the strips of side docks as high as their rows of buttons are.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    /// The room of a part, which is null while it is being constructed.
    struct Place {
        QPointer<QObject> part;
        QWidget *strip = nullptr;
        QDockWidget *sideDock = nullptr;
        QDockWidget *formDock = nullptr; ///< of the fields that have labels
    };
    struct Entry {
        QString key;
        QPointer<QWidget> field;
        QPointer<QWidget> row;      ///< the field with its caption
        QPointer<QDockWidget> dock; ///< of a list or a form, null for the others
        QPointer<QWidget> strip;    ///< that the row stands in, null in a dock
        QVector<QPointer<QObject>> users;
        bool shown = false; ///< as show() left it; the editor may hide the widget itself
    };

    Place &place(const Kiln::Control &control);
    QDockWidget *sideDock(const Kiln::ExtraEditor *panel) const;
    Place &makePlace(bool sidePanel);
    QDockWidget *
    makeDock(const QString &key, QWidget *widget, const QString &title, Qt::DockWidgetArea area);
    QObject *partOf(const Kiln::Control &control) const;
    bool isShown(const Entry &entry);
    int find(const QString &key) const;
    bool addToForm(Entry &entry, Place &place);
    void removeOwn(const QString &key, const QObject *part, const QWidget *again);
    void show();
    void showSideDocks();
    static void setShown(Entry &entry, bool shown);

    QMainWindow *m_window;
    QLayout *m_strip;
    QMenu *m_viewMenu;
    ActionRegistry *m_actions;
    QVector<Place> m_places;
    int m_building = -1;        ///< the place of the part that is being constructed, -1 for none
    QSet<QString> m_touched;    ///< keys that the part in construction registers or looks up
    QVector<Entry> m_entries;   ///< in the order of registration
    QPointer<QObject> m_editor; ///< for which showEditor() was last called
    QVector<QPointer<QObject>> m_workspaces;
    QPointer<const Kiln::ExtraEditor> m_sidePanel;
    QVector<const Kiln::ExtraEditor *> m_beside; ///< never read through
};

} // namespace HostKit
