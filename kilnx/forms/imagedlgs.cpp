#include <kilnx/forms/imagedlgs.h>

#include <kilnx/forms/picturepreview_p.h>

#include <QtCore/QSignalBlocker>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace
{

constexpr int largestSide = 16384;

QSpinBox *makeSide(QWidget *parent, const char *name, int value)
{
    auto *spin = new QSpinBox(parent);
    spin->setObjectName(QLatin1String(name));
    spin->setRange(1, largestSide);
    spin->setSuffix(ImgInfoDlg::tr(" px"));
    spin->setValue(value);
    return spin;
}

QComboBox *makeFilter(QWidget *parent)
{
    auto *combo = new QComboBox(parent);
    combo->setObjectName(QStringLiteral("filter"));
    combo->addItems({ImgResizeDlg::tr("Nearest Neighbor"), ImgResizeDlg::tr("Bilinear"),
                     ImgResizeDlg::tr("EPX + Nearest Neighbor"), ImgResizeDlg::tr("EPX + Bilinear"),
                     ImgResizeDlg::tr("HQ + Nearest Neighbor"), ImgResizeDlg::tr("HQ + Bilinear")});
    return combo;
}

/// Fields, what they lead to below them, and the buttons.
void layOut(QDialog *dialog, QFormLayout *fields, QWidget *below)
{
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    auto *layout = new QVBoxLayout(dialog);
    layout->addLayout(fields);
    if (below)
        layout->addWidget(below, 1);
    layout->addWidget(buttons);
}

} // namespace

ImgInfoDlg::ImgInfoDlg(QWidget *parent, const QString &title, int format, QSize size)
    : QDialog(parent)
    , m_format(new QComboBox(this))
    , m_width(makeSide(this, "width", size.width()))
    , m_height(makeSide(this, "height", size.height()))
{
    setObjectName(QStringLiteral("imageProperties"));
    setWindowTitle(title);
    m_format->setObjectName(QStringLiteral("format"));
    m_format->addItem(tr("RGBA"), 1);
    m_format->addItem(tr("RGBA (indexed color)"), 0);
    m_format->setCurrentIndex(m_format->findData(format));
    auto *fields = new QFormLayout;
    fields->addRow(tr("Format:"), m_format);
    fields->addRow(tr("Width:"), m_width);
    fields->addRow(tr("Height:"), m_height);
    layOut(this, fields, nullptr);
    m_width->setFocus();
}

int ImgInfoDlg::format() const
{
    return m_format->currentData().toInt();
}

QSize ImgInfoDlg::imageSize() const
{
    return {m_width->value(), m_height->value()};
}

ImgResizeDlg::ImgResizeDlg(QWidget *parent, QSize size, const Preview &preview)
    : QDialog(parent)
    , m_size(size)
    , m_preview(preview)
    , m_width(makeSide(this, "width", size.width()))
    , m_height(makeSide(this, "height", size.height()))
    , m_keep(new QCheckBox(tr("Keep proportions"), this))
    , m_filter(makeFilter(this))
    , m_picture(new Kiln::PicturePreview(this))
{
    setObjectName(QStringLiteral("resizeImage"));
    setWindowTitle(tr("Resize"));
    m_keep->setObjectName(QStringLiteral("keep"));
    m_keep->setChecked(true);
    const double shape = double(qMax(1, size.height())) / qMax(1, size.width());
    const auto changed = QOverload<int>::of(&QSpinBox::valueChanged);
    connect(m_width, changed, this, [this, shape] { follow(m_width, m_height, shape); });
    connect(m_height, changed, this, [this, shape] { follow(m_height, m_width, 1 / shape); });
    connect(m_filter, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &ImgResizeDlg::showPreview);
    auto *fields = new QFormLayout;
    fields->addRow(tr("Width:"), m_width);
    fields->addRow(tr("Height:"), m_height);
    fields->addRow(QString(), m_keep);
    fields->addRow(tr("Filter:"), m_filter);
    layOut(this, fields, m_picture);
    m_width->setFocus();
    showPreview();
}

void ImgResizeDlg::follow(QSpinBox *changed, QSpinBox *other, double factor)
{
    if (m_keep->isChecked()) {
        const QSignalBlocker quiet(other);
        other->setValue(qRound(changed->value() * factor));
    }
    showPreview();
}

void ImgResizeDlg::showPreview()
{
    m_picture->setPicture(m_preview ? m_preview(imageSize(), filter()) : QImage());
}

QSize ImgResizeDlg::imageSize() const
{
    return {m_width->value(), m_height->value()};
}

int ImgResizeDlg::filter() const
{
    return m_filter->currentIndex();
}

RotImgDlg::RotImgDlg(QWidget *parent, const Preview &preview)
    : QDialog(parent)
    , m_preview(preview)
    , m_degrees(new QDoubleSpinBox(this))
    , m_filter(makeFilter(this))
    , m_picture(new Kiln::PicturePreview(this))
{
    setObjectName(QStringLiteral("rotateImage"));
    setWindowTitle(tr("Rotate"));
    m_degrees->setObjectName(QStringLiteral("degrees"));
    m_degrees->setRange(-360, 360);
    m_degrees->setSuffix(tr("°"));
    m_degrees->setValue(90);
    connect(m_degrees, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            &RotImgDlg::showPreview);
    connect(m_filter, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &RotImgDlg::showPreview);
    auto *turns = new QHBoxLayout;
    for (const int degrees : {90, 180, 270}) {
        auto *turn = new QPushButton(tr("%1°").arg(degrees), this);
        turn->setAutoDefault(false);
        connect(turn, &QPushButton::clicked, this,
                [this, degrees] { m_degrees->setValue(degrees); });
        turns->addWidget(turn);
    }
    auto *fields = new QFormLayout;
    fields->addRow(tr("Degrees, clockwise:"), m_degrees);
    fields->addRow(QString(), turns);
    fields->addRow(tr("Filter:"), m_filter);
    layOut(this, fields, m_picture);
    m_degrees->setFocus();
    showPreview();
}

void RotImgDlg::showPreview()
{
    m_picture->setPicture(m_preview ? m_preview(degrees(), filter()) : QImage());
}

float RotImgDlg::degrees() const
{
    return float(m_degrees->value());
}

int RotImgDlg::filter() const
{
    return m_filter->currentIndex();
}
