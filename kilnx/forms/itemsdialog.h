#pragma once

#include <kilnx/export.h>

#include <QtCore/QList>
#include <QtWidgets/QDialog>

class QAbstractItemModel;
class QListView;

namespace Kiln
{

/// A dialog in which the user picks rows of a model, with buttons that clear and invert the
/// selection and select everything. It rejects itself when the model is destroyed.
class KILNX_EXPORT ItemsDialog : public QDialog
{
    Q_OBJECT

public:
    ItemsDialog(QWidget *parent, const QString &title, QAbstractItemModel *model);

    /// The rows that are selected, in rising order.
    QList<int> selectedRows() const;
    /// Selects one row and shows it.
    void selectRow(int row);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void invertSelection();

    QListView *m_view;
};

} // namespace Kiln
