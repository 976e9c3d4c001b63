#include <kilnx/forms/palettechoice_p.h>

#include <QtCore/QScopedValueRollback>
#include <QtGui/QStandardItemModel>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QListView>
#include <QtWidgets/QVBoxLayout>

namespace Kiln
{

PaletteChoice::PaletteChoice(QAbstractItemModel *palettes, QWidget *parent)
    : QGroupBox(tr("Palette:"), parent)
    , m_modes(new QComboBox(this))
    , m_palettes(new QListView(this))
    , m_model(palettes ? palettes : new QStandardItemModel(this))
{
    setObjectName(QStringLiteral("palette_choice"));
    m_modes->setObjectName(QStringLiteral("palette_modes"));
    m_modes->setAccessibleName(title());
    m_modes->addItems({tr("Image's palette, if not already added"),
                       tr("Force the specified palette (adapt the image)"),
                       tr("Exchange with the specified palette")});
    m_palettes->setObjectName(QStringLiteral("palettes"));
    m_palettes->setAccessibleName(tr("Palettes"));
    m_palettes->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_palettes->setDragEnabled(false);
    m_palettes->setModel(m_model);

    connect(m_modes, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &PaletteChoice::choose);
    connect(m_palettes->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &PaletteChoice::choose);
    connect(m_model, &QAbstractItemModel::rowsInserted, this, &PaletteChoice::rowsChanged);
    connect(m_model, &QAbstractItemModel::rowsRemoved, this, &PaletteChoice::rowsChanged);
    connect(m_model, &QAbstractItemModel::modelReset, this, &PaletteChoice::rowsChanged);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_modes);
    layout->addWidget(m_palettes);
    m_palettes->setEnabled(false);
    rowsChanged();
}

int PaletteChoice::mode() const
{
    return m_modes->currentIndex() + 1;
}

int PaletteChoice::row() const
{
    return m_palettes->currentIndex().row();
}

void PaletteChoice::set(int mode, int row)
{
    const QScopedValueRollback<bool> guard(m_isSetting, true);
    const QModelIndex palette = paletteAt(row);
    if (m_model)
        m_palettes->setCurrentIndex(palette);
    m_modes->setCurrentIndex(palette.isValid() ? mode - 1 : 0);
    m_palettes->setEnabled(m_modes->currentIndex() > 0);
}

void PaletteChoice::rowsChanged()
{
    const bool isEmpty = m_model->rowCount() == 0;
    auto *modes = qobject_cast<QStandardItemModel *>(m_modes->model());
    for (int mode = 1; mode < m_modes->count(); ++mode)
        modes->item(mode)->setEnabled(!isEmpty);
    if (isEmpty)
        m_modes->setCurrentIndex(0);
}

/// A mode that needs a palette has one from the start, the first of the list.
void PaletteChoice::choose()
{
    if (m_isSetting)
        return;
    {
        const QScopedValueRollback<bool> guard(m_isSetting, true);
        m_palettes->setEnabled(mode() > 1);
        if (mode() > 1 && row() < 0)
            m_palettes->setCurrentIndex(paletteAt(0));
    }
    Q_EMIT chosen();
}

QModelIndex PaletteChoice::paletteAt(int row) const
{
    return m_model ? m_model->index(row, 0) : QModelIndex();
}

} // namespace Kiln
