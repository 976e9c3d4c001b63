#pragma once

#include <kilnx/export.h>

#include <QtCore/QAbstractItemModel>
#include <QtCore/QPersistentModelIndex>
#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <QtWidgets/QDialog>

class QTableWidget;

namespace Kiln
{

class PaletteChoice;

/// Asks what becomes of the files that are to be imported: a name for each, and, for pictures, how
/// each comes to its palette.
///
/// The files stand in a table, all of them selected at first; what is chosen for the palette goes
/// for those that are selected. Names are edited in the table. Run it with exec(). It rejects
/// itself when the list of palettes is destroyed meanwhile: after a Rejected look whether the file
/// still exists.
class KILNX_EXPORT SprImport : public QDialog
{
    Q_OBJECT

public:
    struct Answer {
        QString identifier; ///< the file's name without its last suffix, unless it was edited
        int mode = 1;       ///< as in PalDlg::mode()
        int palette = -1;   ///< the row of the palette; -1 for none, as always in mode 1
    };

    /// For files that need a name alone, as palettes do.
    SprImport(QWidget *parent, const QString &title, const QStringList &files);
    /// For pictures. `palettes` is a list of names, borrowed; null for none. Row `palette` is the
    /// one that serves at first, unless it is -1, once the user takes a mode that needs one.
    SprImport(QWidget *parent,
              const QString &title,
              const QStringList &files,
              QAbstractItemModel *palettes,
              int palette);

    /// One for each file, in their order, after an accept; none after a cancel. A file whose
    /// palette was removed meanwhile has mode 1.
    QVector<Answer> answers() const;

    void accept() override;

private:
    struct Choice {
        int mode = 1;
        QPersistentModelIndex palette;
    };

    void showChoice();
    void takeChoice();
    void showSummaries();
    int modeOf(int file) const;

    QTableWidget *m_files;
    PaletteChoice *m_choice = nullptr;
    QPointer<QAbstractItemModel> m_palettes;
    QVector<Choice> m_choices; ///< one a file
};

} // namespace Kiln
