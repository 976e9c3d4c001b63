#pragma once

#include <QtCore/QAbstractItemModel>
#include <QtCore/QPointer>
#include <QtWidgets/QGroupBox>

class QComboBox;
class QListView;

namespace Kiln
{

/// The group "Palette:": how a picture comes to its palette, and the palette that serves.
///
/// Modes 2 and 3 need a palette: they cannot be chosen while the list is empty, and the mode goes
/// back to 1 when its last row goes. The list is a borrowed model, which may end meanwhile.
class PaletteChoice : public QGroupBox
{
    Q_OBJECT

public:
    /// A null model is an empty list.
    PaletteChoice(QAbstractItemModel *palettes, QWidget *parent);

    /// 1 to 3, in the order of the list of modes.
    int mode() const;
    /// The row that is selected, also while the mode has no use for it; -1 if there is none.
    int row() const;
    /// Emits nothing. A mode without a row to serve it becomes 1.
    void set(int mode, int row);

Q_SIGNALS:
    /// Mode or row are others, by the user or because the list has lost its rows.
    void chosen();

private:
    void rowsChanged();
    void choose();
    QModelIndex paletteAt(int row) const;

    QComboBox *m_modes;
    QListView *m_palettes;
    QPointer<QAbstractItemModel> m_model;
    bool m_isSetting = false;
};

} // namespace Kiln
