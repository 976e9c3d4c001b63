#pragma once

#include <kilnx/export.h>

#include <QtCore/QAbstractListModel>

namespace Kiln
{

/// The item model of a list that its user reorders by dragging rows.
///
/// Rows can be selected and dragged, and only the space between them takes a drop: an item never
/// takes one, so nothing can be dropped *onto* an animation or a sprite. The one action is the
/// move action.
class KILNX_EXPORT OrganizableListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit OrganizableListModel(QObject *parent = nullptr);

    /// Selectable, drag-enabled, enabled and without children for an index of this model whose row
    /// exists; Qt::ItemIsDropEnabled alone for every other index, the empty space among them.
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    /// Moves the dragged rows to before `row`, by OrganizableObject::move, within one
    /// beginChange() and endChange().
    ///
    /// A negative `row` is the top of the list, and a `row` past the end is below the last row. The
    /// rows come to stand side by side, taken from the last to the first, so the dragged row that
    /// stood last comes out first; only row `row` itself, if it is dragged too, does not move and
    /// ends below the others. Refused without effect: null `data`, an action other than
    /// Qt::MoveAction, data without the first of mimeTypes(), and rows that this list doesn't have.
    ///
    /// Always returns false: the rows have been moved already, and a view that heard true would
    /// remove the dragged rows once more.
    bool dropMimeData(const QMimeData *data,
                      Qt::DropAction action,
                      int row,
                      int column,
                      const QModelIndex &parent) override;

    /// Qt::MoveAction.
    Qt::DropActions supportedDragActions() const override;
    /// Qt::MoveAction.
    Qt::DropActions supportedDropActions() const override;
};

/// An ordered list whose order matters to the engine: the animations, sprites, palettes or sounds
/// of a file. The organizer panel (OrganizerEditor) shows one such list and changes it through the
/// five operations below and through nothing else.
///
/// The list belongs to its file, and so to the file's Project. Whoever shows it in a panel must
/// take it out of there (`setObject(nullptr)`) before it is destroyed.
class KILNX_EXPORT OrganizableObject : public OrganizableListModel
{
    Q_OBJECT

public:
    explicit OrganizableObject(QObject *parent = nullptr);

    /// Takes the item out of row `from` and puts it at row `to`, counted in the list that is left
    /// after the removal; announces it as one move of the model's rows. Does nothing when a row is
    /// out of range.
    virtual void move(unsigned int from, unsigned int to) = 0;

    /// Opens a group of changes that undo takes back in one step. Groups nest.
    virtual void beginChange() = 0;

    /// Closes the group that beginChange() opened.
    virtual void endChange() = 0;

    /// Deletes the item at `index`; does nothing when it is out of range.
    virtual void remove(unsigned int index) = 0;

    /// Puts the items into the order that the list's own rule prefers.
    virtual void autoOrganize() = 0;

Q_SIGNALS:
    /// The list's file has come to differ from what is stored (true) or to equal it (false).
    void changed(bool modified);

    /// The items or their order have been changed.
    void modified();
};

} // namespace Kiln
