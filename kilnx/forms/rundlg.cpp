#include <kilnx/forms/rundlg.h>

#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListView>
#include <QtWidgets/QVBoxLayout>

RunDlg::RunDlg(QWidget *parent, QAbstractItemModel *model, int selected)
    : QDialog(parent)
    , m_view(new QListView(this))
{
    setWindowTitle(tr("Run in Engine"));
    auto *label = new QLabel(tr("Choose the target:"), this);
    m_view->setObjectName(QStringLiteral("targets"));
    m_view->setAccessibleName(label->text());
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setModel(model);
    m_view->setCurrentIndex(model->index(selected, 0));
    connect(m_view, &QListView::doubleClicked, this, &QDialog::accept);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(m_view);
    layout->addWidget(buttons);
}

int RunDlg::selectedRow() const
{
    const QModelIndexList selected = m_view->selectionModel()->selectedIndexes();
    return selected.isEmpty() ? -1 : selected.first().row();
}
