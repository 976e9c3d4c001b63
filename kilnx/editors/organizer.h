#pragma once

#include <kilnx/export.h>
#include <kilnx/project/editor.h>

#include <QtCore/QModelIndex>
#include <QtCore/QVector>

#include <memory>

namespace Kiln
{

class OrganizableObject;
class OrganizerEditorPrivate;

/// The side panel that shows one ordered list and changes its order: by seven buttons, by dragging
/// and, for taking items out, by the Delete key.
///
/// The panel declares its list ("org_list") and its actions ("org_up", "org_down", "org_up_10",
/// "org_down_10", "org_top", "org_bottom", "org_auto") to the host when it is made. An editor hands
/// it the list of its current file with setObject(). All moves work on the selected rows, in their
/// order in the list, and do nothing without a selection; the rows that were moved stand side by
/// side afterwards and are selected. Each gesture is one group of changes of the list
/// (OrganizableObject::beginChange()), which undo takes back in one step.
class KILNX_EXPORT OrganizerEditor : public ExtraEditor
{
    Q_OBJECT

public:
    /// The host must be installed, and must make a QListView for a ListViewControl.
    explicit OrganizerEditor(QObject *parent = nullptr);
    ~OrganizerEditor() override;

    /// "organizer".
    const char *name() const override;
    QString displayName() const override;
    void activate() override;
    /// Reads the option "show_organizer" again.
    void reconfig() override;
    void retranslate() override;
    void release() override;

    /// Shows `object`, or nothing for null. The list stays its file's: call setObject(nullptr)
    /// before it is destroyed.
    ///
    /// The host is asked to show the panel when the option "show_organizer" is true and the list
    /// has rows, and to hide it otherwise; this follows the list when its first row comes, unless
    /// the host shows another side panel by then, or its last one goes.
    void setObject(OrganizableObject *object);
    /// The list that is shown; null if there is none.
    OrganizableObject *object() const;
    /// The selected rows, in the order of the list.
    QVector<int> selectedRows() const;
    /// Shows which row its editor has now, in the list that is shown or will be: it is selected
    /// alone and brought into sight, once, and again when the editor does not follow a click. Rows
    /// that the user has selected stay so if it is among them. Emits nothing.
    void setCurrentRow(const QModelIndex &row);

public Q_SLOTS:
    /// Moves the selected rows to before the row above the first of them; nothing at the top.
    void moveUp();
    /// Moves the selected rows to after the row below the last of them; nothing at the bottom.
    void moveDown();
    /// The same over ten rows, or as many as there are.
    void moveUp10();
    void moveDown10();
    void moveTop();
    void moveBottom();
    /// Has the list sort itself by its own rule.
    void moveAuto();
    /// Emits itemClicked() for the row.
    void itemDblClick(const QModelIndex &index);

Q_SIGNALS:
    /// The panel has changed the list: its order, or by the Delete key its items.
    void changed();
    /// The user wants to see the item at `row`: a click or a key that selects it alone, or a double
    /// click.
    void itemClicked(int row);
    /// Whether there is a list with rows to work on. Enables the actions.
    void enabled(bool enabled);

private:
    std::unique_ptr<OrganizerEditorPrivate> d;
};

} // namespace Kiln
