#include <kilnx/forms/paldlg.h>

#include <kilnx/forms/palettechoice_p.h>

#include <QtCore/QAbstractItemModel>
#include <QtCore/QSignalBlocker>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>

static constexpr int previewSide = 256;

PalDlg::PalDlg(QWidget *parent, QAbstractItemModel *palettes, int row, const Preview &preview)
    : QDialog(parent)
    , m_choice(new Kiln::PaletteChoice(palettes, this))
    , m_reversed(new QCheckBox(tr("Reversed"), this))
    , m_preview(preview)
    , m_firstRow(row)
{
    setObjectName(QStringLiteral("choosePalette"));
    setWindowTitle(tr("Palette"));
    m_choice->set(1, row);
    m_reversed->setObjectName(QStringLiteral("reversed"));
    m_reversed->setToolTip(tr("The picture counts its colors from the end"));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QGridLayout(this);
    layout->addWidget(m_choice, 0, 0);
    layout->addWidget(m_reversed, 1, 0);
    layout->addWidget(buttons, 2, 0, 1, 2);
    if (palettes)
        connect(palettes, &QObject::destroyed, this, &QDialog::reject);
    if (!m_preview)
        return;
    m_picture = new QLabel(this);
    m_picture->setObjectName(QStringLiteral("preview"));
    m_picture->setAccessibleName(tr("Preview"));
    m_picture->setFrameShape(QFrame::StyledPanel);
    m_picture->setAlignment(Qt::AlignCenter);
    m_picture->setMinimumSize(previewSide, previewSide);
    layout->addWidget(m_picture, 0, 1, 2, 1);
    connect(m_choice, &Kiln::PaletteChoice::chosen, this, &PalDlg::showPreview);
    connect(m_reversed, &QCheckBox::toggled, this, &PalDlg::showPreview);
    if (palettes)
        connect(palettes, &QAbstractItemModel::rowsRemoved, this, &PalDlg::showPreview);
    showPreview();
}

int PalDlg::mode() const
{
    return m_choice->mode();
}

int PalDlg::row() const
{
    return m_choice->row();
}

bool PalDlg::isReversed() const
{
    return m_reversed->isChecked();
}

void PalDlg::done(int result)
{
    if (result != Accepted) {
        const QSignalBlocker silent(m_reversed);
        m_choice->set(1, m_firstRow);
        m_reversed->setChecked(false);
    }
    QDialog::done(result);
}

void PalDlg::showPreview()
{
    const QImage picture = m_preview(mode(), row(), isReversed());
    if (picture.isNull()) {
        m_picture->clear();
        return;
    }
    // Pixels stay pixels.
    m_picture->setPixmap(QPixmap::fromImage(picture).scaled(
        previewSide, previewSide, Qt::KeepAspectRatio, Qt::FastTransformation));
}
