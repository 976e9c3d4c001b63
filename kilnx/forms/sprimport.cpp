#include <kilnx/forms/sprimport.h>

#include <kilnx/forms/palettechoice_p.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QTableWidget>
#include <QtWidgets/QVBoxLayout>

namespace Kiln
{

namespace
{

enum Column { FileColumn, IdentifierColumn, PaletteColumn };

QTableWidgetItem *fixedItem(const QString &text, const QString &tip)
{
    auto *item = new QTableWidgetItem(text);
    item->setToolTip(tip);
    item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
}

} // namespace

SprImport::SprImport(QWidget *parent, const QString &title, const QStringList &files)
    : QDialog(parent)
    , m_files(new QTableWidget(files.size(), PaletteColumn, this))
    , m_choices(files.size())
{
    setObjectName(QStringLiteral("importFiles"));
    setWindowTitle(title);
    resize(560, 420);
    m_files->setObjectName(QStringLiteral("files"));
    m_files->setAccessibleName(title);
    m_files->setHorizontalHeaderLabels({tr("File"), tr("Identifier")});
    m_files->verticalHeader()->hide();
    m_files->horizontalHeader()->setStretchLastSection(true);
    m_files->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_files->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                             QAbstractItemView::AnyKeyPressed);
    m_files->setTabKeyNavigation(false);
    for (int file = 0; file < files.size(); ++file) {
        const QFileInfo info(files[file]);
        m_files->setItem(file, FileColumn,
                         fixedItem(info.fileName(), QDir::toNativeSeparators(files[file])));
        m_files->setItem(file, IdentifierColumn, new QTableWidgetItem(info.completeBaseName()));
    }
    m_files->setCurrentCell(0, IdentifierColumn);
    m_files->selectAll();

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_files);
    layout->addWidget(buttons);
}

SprImport::SprImport(QWidget *parent,
                     const QString &title,
                     const QStringList &files,
                     QAbstractItemModel *palettes,
                     int palette)
    : SprImport(parent, title, files)
{
    m_palettes = palettes;
    m_choice = new PaletteChoice(palettes, this);
    m_choice->set(1, palette);
    static_cast<QVBoxLayout *>(layout())->insertWidget(1, m_choice);
    m_files->setColumnCount(PaletteColumn + 1);
    m_files->setHorizontalHeaderItem(PaletteColumn, new QTableWidgetItem(tr("Palette")));
    for (int file = 0; file < files.size(); ++file) {
        if (palettes)
            m_choices[file].palette = palettes->index(palette, 0);
        m_files->setItem(file, PaletteColumn, fixedItem(QString(), QString()));
    }
    showSummaries();
    m_files->selectAll();
    connect(m_files, &QTableWidget::itemSelectionChanged, this, &SprImport::showChoice);
    connect(m_choice, &PaletteChoice::chosen, this, &SprImport::takeChoice);
    if (!palettes)
        return;
    connect(palettes, &QAbstractItemModel::rowsRemoved, this, &SprImport::showSummaries);
    connect(palettes, &QObject::destroyed, this, &QDialog::reject);
}

QVector<SprImport::Answer> SprImport::answers() const
{
    QVector<Answer> answers;
    for (int file = 0; result() == Accepted && file < m_choices.size(); ++file) {
        const int mode = modeOf(file);
        answers.append({m_files->item(file, IdentifierColumn)->text(), mode,
                        mode == 1 ? -1 : m_choices[file].palette.row()});
    }
    return answers;
}

/// A name that is still being typed counts.
void SprImport::accept()
{
    m_files->setCurrentIndex(QModelIndex());
    QDialog::accept();
}

/// What goes for the first of the selected files.
void SprImport::showChoice()
{
    const QModelIndexList selected = m_files->selectionModel()->selectedRows();
    m_choice->setEnabled(!selected.isEmpty());
    if (selected.isEmpty())
        return;
    const int file = selected.first().row();
    m_choice->set(modeOf(file), m_choices[file].palette.row());
}

void SprImport::takeChoice()
{
    const QModelIndexList selected = m_files->selectionModel()->selectedRows();
    for (const QModelIndex &index : selected) {
        m_choices[index.row()].mode = m_choice->mode();
        if (m_palettes)
            m_choices[index.row()].palette = m_palettes->index(m_choice->row(), 0);
    }
    showSummaries();
}

void SprImport::showSummaries()
{
    for (int file = 0; file < m_choices.size(); ++file) {
        const QString name = m_choices[file].palette.data().toString();
        const QString texts[] = {tr("the image's"), tr("adapted to %1").arg(name),
                                 tr("exchanged with %1").arg(name)};
        m_files->item(file, PaletteColumn)->setText(texts[modeOf(file) - 1]);
    }
}

int SprImport::modeOf(int file) const
{
    return m_choices[file].palette.isValid() ? m_choices[file].mode : 1;
}

} // namespace Kiln
