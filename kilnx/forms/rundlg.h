#pragma once

#include <kilnx/export.h>

#include <QtWidgets/QDialog>

class QAbstractItemModel;
class QListView;

/// "Run in Engine": the choice among the installed executables of an engine. The model must
/// outlive the dialog.
class KILNX_EXPORT RunDlg : public QDialog
{
    Q_OBJECT

public:
    /// Selects row `selected`, if there is such a row.
    RunDlg(QWidget *parent, QAbstractItemModel *model, int selected);

    /// -1 when nothing is selected.
    int selectedRow() const;

private:
    QListView *m_view;
};
