#include <kilnx/forms/itemsdialog.h>

#include <kilnx/forms/taborder_p.h>

#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QListView>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace Kiln
{

ItemsDialog::ItemsDialog(QWidget *parent, const QString &title, QAbstractItemModel *model)
    : QDialog(parent)
    , m_view(new QListView(this))
{
    setObjectName(QStringLiteral("pickItems"));
    setWindowTitle(title);
    m_view->setObjectName(QStringLiteral("items"));
    m_view->setAccessibleName(title);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setModel(model);
    connect(model, &QObject::destroyed, this, &QDialog::reject);

    auto *clear = new QPushButton(tr("Clear"), this);
    auto *invert = new QPushButton(tr("Invert selection"), this);
    auto *all = new QPushButton(tr("Select all"), this);
    connect(clear, &QPushButton::clicked, m_view, &QListView::clearSelection);
    connect(invert, &QPushButton::clicked, this, &ItemsDialog::invertSelection);
    connect(all, &QPushButton::clicked, m_view, &QListView::selectAll);
    auto *selection = new QHBoxLayout;
    for (QPushButton *button : {clear, invert, all}) {
        button->setAutoDefault(false);
        selection->addWidget(button);
    }
    selection->addStretch();

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_view);
    layout->addLayout(selection);
    layout->addWidget(buttons);
}

QList<int> ItemsDialog::selectedRows() const
{
    QList<int> rows;
    const QModelIndexList selected = m_view->selectionModel()->selectedIndexes();
    for (const QModelIndex &index : selected)
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

void ItemsDialog::selectRow(int row)
{
    m_view->setCurrentIndex(m_view->model()->index(row, 0));
}

void ItemsDialog::showEvent(QShowEvent *event)
{
    putButtonsLast(this);
    QDialog::showEvent(event);
}

void ItemsDialog::invertSelection()
{
    const QAbstractItemModel *model = m_view->model();
    const QItemSelection everything(model->index(0, 0), model->index(model->rowCount() - 1, 0));
    m_view->selectionModel()->select(everything, QItemSelectionModel::Toggle);
}

} // namespace Kiln
