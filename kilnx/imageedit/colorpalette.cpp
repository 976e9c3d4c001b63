#include <kilnx/imageedit/colorpalette.h>

#include <kilnx/forms/colorwidget.h>
#include <kilnx/imageedit/imagetool.h>
#include <kilnx/imageedit/palettewidget.h>

#include <algorithm>

namespace Kiln
{

struct ColorPalette::Spare {
    RGBA table[256];
    const PaletteObject object{&table};
};

ColorPalette::ColorPalette(PaletteWidget *widget, QObject *parent)
    : ImagePalette(parent)
    , m_foregroundWidget(new ColorWidget)
    , m_backgroundWidget(new ColorWidget)
    , m_widget(widget)
{
    m_foregroundWidget->setToolTip(tr("Foreground color"));
    m_backgroundWidget->setToolTip(tr("Background color"));
    if (widget) {
        connect(widget, &PaletteWidget::colorClick, this, &ColorPalette::colorClicked);
        connect(widget, &PaletteWidget::changed, this, &ColorPalette::refresh);
        connect(widget, &PaletteWidget::changed, this, &ColorPalette::paletteChanged);
    }
    refresh();
}

ColorPalette::~ColorPalette()
{
    delete m_foregroundWidget;
    delete m_backgroundWidget;
}

ColorWidget *ColorPalette::foregroundWidget() const
{
    return m_foregroundWidget;
}

ColorWidget *ColorPalette::backgroundWidget() const
{
    return m_backgroundWidget;
}

void ColorPalette::setTool(ImageTool *tool)
{
    m_tool = tool;
}

void ColorPalette::setSpare(const RGBA *colors)
{
    const bool wasUsed = m_usesSpare;
    m_spare = colors ? std::make_unique<Spare>() : nullptr;
    if (colors)
        std::copy_n(colors, 256, m_spare->table);
    refresh();
    if (wasUsed || m_usesSpare)
        Q_EMIT paletteChanged();
}

unsigned char ColorPalette::backgroundIndex() const
{
    return m_background;
}

unsigned char ColorPalette::foregroundIndex() const
{
    return m_foreground;
}

QRgb ColorPalette::rgbAt(unsigned char i)
{
    return toQRgb(colors()[i]);
}

unsigned char ColorPalette::indexOf(QColor color)
{
    if (!m_widget)
        return 0;
    const PaletteObject &shown = m_usesSpare ? m_spare->object : *m_widget->palette();
    return shown.index(fromQRgb(color.rgba()));
}

void ColorPalette::setForegroundIndex(unsigned char index)
{
    m_foreground = index;
    if (m_widget)
        m_widget->select(index);
    refresh();
}

void ColorPalette::setBackgroundIndex(unsigned char index)
{
    m_background = index;
    refresh();
}

const RGBA *ColorPalette::colors()
{
    static const RGBA clear[256] = {};
    if (!m_widget)
        return clear;
    return m_usesSpare ? m_spare->table : m_widget->palette()->palette();
}

void ColorPalette::copyTo(RGBA (&out)[256])
{
    std::copy_n(colors(), 256, out);
}

void ColorPalette::colorClicked(unsigned short index, Qt::MouseButton button)
{
    const auto entry = static_cast<unsigned char>(index);
    const QPointer<ColorPalette> alive(this);
    if (index > 255 || (m_tool && m_tool->paletteClicked(button == Qt::RightButton, entry)) ||
        !alive)
        return;
    if (button == Qt::RightButton)
        setBackgroundIndex(entry);
    else
        setForegroundIndex(entry);
}

void ColorPalette::refresh()
{
    static const RGBA clear[256] = {};
    const RGBA *own = m_widget ? m_widget->palette()->palette() : clear;
    m_usesSpare =
        m_spare && std::all_of(own, own + 256, [](const RGBA &color) { return color.a == 0; });
    if (m_foregroundWidget)
        m_foregroundWidget->setColor(QColor::fromRgba(toQRgb(own[m_foreground])));
    if (m_backgroundWidget)
        m_backgroundWidget->setColor(QColor::fromRgba(toQRgb(own[m_background])));
}

} // namespace Kiln
