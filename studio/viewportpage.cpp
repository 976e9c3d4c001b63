#include "viewportpage.h"

#include <hostkit/settings.h>
#include <hostkit/widgets.h>

#include <kilnx/project/filedialogs.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

namespace Studio
{

using namespace HostKit;

namespace
{

/// The rows of Kiln::GraphicsRenderer::setZoomTable(), in per cent.
const int zoomSteps[2][12] = {{25, 50, 75, 100, 150, 200, 225, 250, 275, 300, 350, 400},
                              {25, 50, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000}};

QByteArray nameOf(const char *key)
{
    return QByteArray("settings_") + key;
}

} // namespace

ViewportPage::ViewportPage(Settings &settings, QWidget *parent)
    : QWidget(parent)
    , m_settings(settings)
{
    auto *layout = new QGridLayout(this);
    layout->addWidget(backgroundGroup(), 0, 0);
    layout->addWidget(crossGroup(), 0, 1);
    layout->addWidget(boxGroup(), 1, 0);
    layout->addWidget(zoomGroup(), 1, 1);
    layout->setRowStretch(2, 1);
    enableFields();
    for (const char *key : {"background_type", "crosshair_type"}) {
        connect(m_choices[key], QOverload<int>::of(&QComboBox::currentIndexChanged), this,
                &ViewportPage::enableFields);
    }
}

QWidget *ViewportPage::backgroundGroup()
{
    auto *group = new QGroupBox(tr("Background"), this);
    auto *form = new QFormLayout(group);
    form->addRow(tr("Sho&w:"), choice("background_type", tr("Background"),
                                      {tr("Colours"), tr("Stage"), tr("Picture")}));
    form->addRow(tr("&Picture:"), file("background_file", tr("Picture of the background")));
    form->addRow(tr("&Left:"), number("background_x", tr("Left of the picture")));
    form->addRow(tr("&Top:"), number("background_y", tr("Top of the picture")));
    return group;
}

QWidget *ViewportPage::crossGroup()
{
    auto *group = new QGroupBox(tr("Crosses"), this);
    auto *form = new QFormLayout(group);
    // The numbers of Kiln::GraphicsRenderer::CrossHairType; 1 keeps what there is.
    auto *type = choice("crosshair_type", tr("Crosses"),
                        {tr("Delivered"), tr("As they are"), tr("Pictures")});
    form->addRow(tr("S&how:"), type);
    form->addRow(tr("&Main:"), file("crosshair_main", tr("Picture of the main cross")));
    form->addRow(tr("&Secondary:"),
                 file("crosshair_secondary", tr("Picture of the secondary cross")));
    form->addRow(tr("E&xtra:"), file("crosshair_extra", tr("Picture of the extra cross")));
    return group;
}

QWidget *ViewportPage::boxGroup()
{
    auto *group = new QGroupBox(tr("Boxes and frames"), this);
    auto *form = new QFormLayout(group);
    form->addRow(tr("&Opacity of boxes:"), share("box_opacity", tr("Opacity of boxes")));
    form->addRow(option("contact_over_cross", tr("Boxes a&bove crosses")));
    form->addRow(option("sprite_over_guides", tr("Sprites above &guides")));
    form->addRow(tr("Onion s&kin:"),
                 choice("onion_effect", tr("Onion skin"),
                        {tr("Plain"), tr("Grey"), tr("Lighter"), tr("Darker")}));
    form->addRow(tr("Opacity o&f onion skin:"),
                 share("onion_opacity", tr("Opacity of the onion skin")));
    return group;
}

QWidget *ViewportPage::zoomGroup()
{
    auto *group = new QGroupBox(tr("Zoom and painting"), this);
    auto *form = new QFormLayout(group);
    form->addRow(tr("&Around:"),
                 choice("zoom_mode", tr("Zoom around"), {tr("The origin"), tr("The middle")}));
    auto *table = choice("zoom_center", tr("Zoom steps"), {tr("Fine"), tr("Whole")});
    form->addRow(tr("St&eps:"), table);
    auto *level = choice("zoom_level", tr("Zoom at first"), {});
    form->addRow(tr("At f&irst:"), level);
    showZoomSteps(table->currentIndex());
    level->setCurrentIndex(m_settings.value("zoom_level").toInt());
    connect(table, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &ViewportPage::showZoomSteps);
    form->addRow(option("native_painting", tr("Paint without Open&GL")));
    return group;
}

QComboBox *ViewportPage::choice(const char *key, const QString &name, const QStringList &texts)
{
    auto *box = named(new QComboBox(this), nameOf(key), name);
    box->addItems(texts);
    box->setCurrentIndex(m_settings.value(QLatin1String(key)).toInt());
    m_choices.insert(QLatin1String(key), box);
    return box;
}

QCheckBox *ViewportPage::option(const char *key, const QString &text)
{
    auto *box = named(new QCheckBox(text, this), nameOf(key));
    box->setChecked(m_settings.value(QLatin1String(key)).toBool());
    m_options.insert(QLatin1String(key), box);
    return box;
}

QSpinBox *ViewportPage::number(const char *key, const QString &name)
{
    auto *box = named(new QSpinBox(this), nameOf(key), name);
    box->setRange(-9999, 9999);
    box->setSuffix(tr(" px"));
    box->setValue(m_settings.value(QLatin1String(key)).toInt());
    m_numbers.insert(QLatin1String(key), box);
    return box;
}

QDoubleSpinBox *ViewportPage::share(const char *key, const QString &name)
{
    auto *box = named(new QDoubleSpinBox(this), nameOf(key), name);
    box->setRange(0, 1);
    box->setSingleStep(0.05);
    box->setValue(m_settings.value(QLatin1String(key)).toDouble());
    m_shares.insert(QLatin1String(key), box);
    return box;
}

QWidget *ViewportPage::file(const char *key, const QString &name)
{
    auto *row = new QWidget(this);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *edit = named(new QLineEdit(row), nameOf(key), name);
    edit->setText(m_settings.value(QLatin1String(key)).toString());
    auto *browse = named(new QToolButton(row), nameOf(key) + "_browse", tr("Choose a picture"));
    browse->setText(QStringLiteral("..."));
    connect(browse, &QToolButton::clicked, this, [this, edit, name] {
        const QString chosen = Kiln::getOpenFileName(this, name, edit->text(),
                                                     tr("Pictures (*.png *.bmp *.gif *.jpg)"));
        if (!chosen.isEmpty())
            edit->setText(chosen);
    });
    layout->addWidget(edit, 1);
    layout->addWidget(browse);
    row->setFocusProxy(edit);
    m_files.insert(QLatin1String(key), edit);
    return row;
}

void ViewportPage::showZoomSteps(int table)
{
    QComboBox *level = m_choices["zoom_level"];
    const int index = level->currentIndex();
    level->clear();
    for (int percent : zoomSteps[qBound(0, table, 1)])
        level->addItem(tr("%1 %").arg(percent));
    level->setCurrentIndex(index);
}

// Fields that say nothing under the present choice are grey.
void ViewportPage::enableFields()
{
    const bool picture = m_choices["background_type"]->currentIndex() == 2;
    const bool crosses = m_choices["crosshair_type"]->currentIndex() == 2;
    for (auto file = m_files.cbegin(); file != m_files.cend(); ++file) {
        file.value()->parentWidget()->setEnabled(
            file.key() == QLatin1String("background_file") ? picture : crosses);
    }
    for (QSpinBox *box : qAsConst(m_numbers))
        box->setEnabled(picture);
}

void ViewportPage::apply()
{
    for (auto box = m_choices.cbegin(); box != m_choices.cend(); ++box)
        m_settings.setValue(box.key(), box.value()->currentIndex());
    for (auto box = m_options.cbegin(); box != m_options.cend(); ++box)
        m_settings.setValue(box.key(), box.value()->isChecked());
    for (auto box = m_numbers.cbegin(); box != m_numbers.cend(); ++box)
        m_settings.setValue(box.key(), box.value()->value());
    for (auto box = m_shares.cbegin(); box != m_shares.cend(); ++box)
        m_settings.setValue(box.key(), box.value()->value());
    for (auto edit = m_files.cbegin(); edit != m_files.cend(); ++edit)
        m_settings.setValue(edit.key(), edit.value()->text());
}

} // namespace Studio
