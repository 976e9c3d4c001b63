#pragma once

#include <kilnx/export.h>

#include <QtGui/QImage>
#include <QtWidgets/QDialog>

#include <functional>

class QAbstractItemModel;
class QCheckBox;
class QLabel;

namespace Kiln
{
class PaletteChoice;
}

/// Asks how a picture comes to its palette: its own colours, or a palette of the file, onto which
/// its colours are mapped or whose entries its indices then stand for.
///
/// Run it with exec(). It rejects itself when the list of palettes is destroyed meanwhile: after a
/// Rejected look whether the file still exists.
class KILNX_EXPORT PalDlg : public QDialog
{
    Q_OBJECT

public:
    /// What the picture would look like; null for no picture. Called on every choice of the user,
    /// so it should be given a copy of the picture that is small enough. `row` is -1 for none.
    using Preview = std::function<QImage(int mode, int row, bool reversed)>;

    /// `palettes` is a list of names, borrowed; null for none. `row` is selected, unless it is -1.
    /// Modes that need a palette cannot be chosen in an empty list.
    PalDlg(QWidget *parent,
           QAbstractItemModel *palettes,
           int row,
           const Preview &preview = Preview());

    /// 1 the picture's colours, 2 the palette, with the picture adapted to it, 3 the palette with
    /// the same indices. After a cancel 1.
    int mode() const;
    /// The row of the palette; -1 for none. After a cancel that of the constructor.
    int row() const;
    /// The picture counts its colours from the end. After a cancel false.
    bool isReversed() const;

    void done(int result) override;

private:
    void showPreview();

    Kiln::PaletteChoice *m_choice;
    QCheckBox *m_reversed;
    QLabel *m_picture = nullptr;
    const Preview m_preview;
    const int m_firstRow;
};
