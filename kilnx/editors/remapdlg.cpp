#include <kilnx/editors/remapdlg.h>

#include <kilnx/image/sprite.h>

#include <QtWidgets/QAction>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStyledItemDelegate>
#include <QtWidgets/QTableView>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace
{

/// Edits the row of a palette as a choice among the names; all else in the usual way.
class PaletteDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QPointer<Kiln::Palettes> palettes;

    QWidget *createEditor(QWidget *parent,
                          const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override
    {
        if (!palettes || index.data(Qt::EditRole).type() != QVariant::Int)
            return QStyledItemDelegate::createEditor(parent, option, index);
        auto *names = new QComboBox(parent);
        for (int row = 0; row < palettes->rowCount(); ++row)
            names->addItem(palettes->index(row).data().toString());
        return names;
    }
    void setEditorData(QWidget *editor, const QModelIndex &index) const override
    {
        if (auto *names = qobject_cast<QComboBox *>(editor))
            names->setCurrentIndex(index.data(Qt::EditRole).toInt());
        else
            QStyledItemDelegate::setEditorData(editor, index);
    }
    void setModelData(QWidget *editor,
                      QAbstractItemModel *model,
                      const QModelIndex &index) const override
    {
        if (auto *names = qobject_cast<QComboBox *>(editor))
            model->setData(index, names->currentIndex(), Qt::EditRole);
        else
            QStyledItemDelegate::setModelData(editor, model, index);
    }
};

} // namespace

RemapDlg::RemapDlg(QWidget *parent)
    : QDialog(parent)
    , m_table(new QTableView(this))
    , m_add(new QAction(tr("Add"), this))
{
    setObjectName(QStringLiteral("remap"));
    setWindowTitle(tr("Remap"));
    resize(420, 320);
    m_table->setObjectName(QStringLiteral("remap_table"));
    m_table->setAccessibleName(windowTitle());
    m_table->setItemDelegate(new PaletteDelegate(m_table));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setTabKeyNavigation(false);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    m_add->setShortcut(Qt::Key_Insert);
    m_table->addAction(m_add);
    m_table->setContextMenuPolicy(Qt::ActionsContextMenu);

    auto *hint = new QLabel(tr("Insert adds a row, F2 changes a palette."), this);
    auto *buttons = new QDialogButtonBox(this);
    m_delete = buttons->addButton(tr("Delete"), QDialogButtonBox::ActionRole);
    m_clear = buttons->addButton(tr("Clear"), QDialogButtonBox::ActionRole);
    buttons->addButton(QDialogButtonBox::Ok);
    for (QPushButton *button : {m_delete, m_clear})
        button->setAutoDefault(false);
    connect(m_add, &QAction::triggered, this, &RemapDlg::add);
    connect(m_delete, &QPushButton::clicked, this, &RemapDlg::removeSelected);
    connect(m_clear, &QPushButton::clicked, this, &RemapDlg::clear);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_table);
    layout->addWidget(hint);
    layout->addWidget(buttons);
    updateButtons();
}

void RemapDlg::setPalettes(Kiln::Palettes *palettes)
{
    QAbstractItemModel *model = palettes ? palettes->remapModel() : nullptr;
    m_palettes = palettes;
    static_cast<PaletteDelegate *>(m_table->itemDelegate())->palettes = palettes;
    QItemSelectionModel *oldSelection = m_table->selectionModel();
    m_table->setModel(model);
    delete oldSelection; // views don't
    if (model) {
        connect(model, &QAbstractItemModel::rowsInserted, this, &RemapDlg::updateButtons);
        connect(model, &QAbstractItemModel::rowsRemoved, this, &RemapDlg::updateButtons);
        connect(model, &QAbstractItemModel::modelReset, this, &RemapDlg::updateButtons);
        connect(model, &QObject::destroyed, this, &RemapDlg::updateButtons, Qt::QueuedConnection);
    }
    updateButtons();
}

void RemapDlg::add()
{
    QAbstractItemModel *model = m_table->model();
    if (!m_palettes || !model)
        return;
    const int row = model->rowCount();
    model->insertRows(row, 1);
    m_table->setCurrentIndex(model->index(row, 0));
    m_table->setFocus();
}

/// As one step of undo; from the last to the first, so that those that still have to go stay where
/// they are.
void RemapDlg::removeSelected()
{
    QAbstractItemModel *model = m_table->model();
    if (!m_palettes || !model)
        return;
    QVector<int> rows;
    const QModelIndexList selected = m_table->selectionModel()->selectedRows();
    for (const QModelIndex &index : selected)
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    m_palettes->beginChange();
    for (auto row = rows.crbegin(); row != rows.crend(); ++row)
        model->removeRows(*row, 1);
    m_palettes->endChange();
}

void RemapDlg::clear()
{
    if (QAbstractItemModel *model = m_table->model())
        model->removeRows(0, model->rowCount());
}

void RemapDlg::updateButtons()
{
    const QAbstractItemModel *model = m_table->model();
    const bool hasRows = model && model->rowCount() > 0;
    m_delete->setEnabled(hasRows);
    m_clear->setEnabled(hasRows);
    m_add->setEnabled(model);
}
