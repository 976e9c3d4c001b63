#pragma once

#include <kilnx/export.h>

#include <QtCore/QPointer>
#include <QtWidgets/QDialog>

class QAction;
class QPushButton;
class QTableView;

namespace Kiln
{
class Palettes;
}

/// "Remap": the table of palettes that stand in for others. It is modeless, and changes the table
/// at once, as steps of undo of the file.
///
/// A cell of Palettes::remapModel() that stands for a palette has the palette's row as its
/// Qt::EditRole and takes another one: it is chosen from a list of names. Insert, or "Add" of the
/// table's context menu, adds a row where the table takes one; "Delete" removes the selected rows
/// and "Clear" all.
class KILNX_EXPORT RemapDlg : public QDialog
{
    Q_OBJECT

public:
    explicit RemapDlg(QWidget *parent);

    /// The palettes whose table is shown, borrowed; null, or a file without such a table, empties
    /// the dialog.
    void setPalettes(Kiln::Palettes *palettes);

private:
    void add();
    void removeSelected();
    void clear();
    void updateButtons();

    QTableView *m_table;
    QAction *m_add;
    QPushButton *m_delete;
    QPushButton *m_clear;
    QPointer<Kiln::Palettes> m_palettes;
};
