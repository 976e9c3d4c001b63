#include <kilnx/imageedit/imageflatten_p.h>

#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/imagelayer.h>

#include <QtCore/QVarLengthArray>

#include <algorithm>
#include <array>
#include <memory>

namespace Kiln
{

namespace
{

QRgb halfway(QRgb below, QRgb above)
{
    const auto half = [](int a, int b) { return a + ((b - a) >> 1); };
    return qRgba(half(qRed(below), qRed(above)), half(qGreen(below), qGreen(above)),
                 half(qBlue(below), qBlue(above)), half(qAlpha(below), qAlpha(above)));
}

/// The nearest indexes of colours, which a palette searches for: the last few thousand are kept.
class NearestIndexes
{
public:
    explicit NearestIndexes(ImagePalette &palette)
        : m_palette(palette)
        , m_slots(slotCount)
    {
    }

    uchar of(QRgb color)
    {
        Slot &slot = m_slots[(color * 2654435761u) >> (32 - slotBits)];
        if (!slot.used || slot.color != color)
            slot = {color, true, m_palette.indexOf(QColor::fromRgba(color))};
        return slot.index;
    }

private:
    static constexpr int slotBits = 12;
    static constexpr int slotCount = 1 << slotBits;

    struct Slot {
        QRgb color = 0;
        bool used = false;
        uchar index = 0;
    };

    ImagePalette &m_palette;
    std::vector<Slot> m_slots;
};

/// The rows of the visible indexed layers at one height, the top one first.
struct LayerRow {
    const uchar *pixels;
    int width;
};
using LayerRows = QVarLengthArray<LayerRow, 16>;

LayerRows rowsAt(const QList<ImageLayer *> &layers, int y)
{
    LayerRows rows;
    for (const ImageLayer *layer : layers) {
        const auto *raster = dynamic_cast<const RasterLayer *>(layer);
        if (raster && raster->visible && raster->image.format() == QImage::Format_Indexed8 &&
            y < raster->image.height())
            rows.append({raster->image.constScanLine(y), raster->image.width()});
    }
    return rows;
}

class IndexFlattener
{
public:
    explicit IndexFlattener(ImagePalette &palette)
        : m_nearest(palette)
    {
        for (int i = 0; i < 256; ++i)
            m_colors[i] = palette.rgbAt(static_cast<uchar>(i));
    }

    uchar pixel(const LayerRows &rows, int x)
    {
        QVarLengthArray<QRgb, 16> colors;
        for (const LayerRow &row : rows) {
            if (x >= row.width)
                continue;
            const uchar index = row.pixels[x];
            const QRgb color = m_colors[index];
            if (qAlpha(color) == 0)
                continue;
            if (colors.isEmpty() && qAlpha(color) == 255)
                return index;
            colors.append(color);
            if (qAlpha(color) == 255)
                break;
        }
        if (colors.isEmpty())
            return 0;
        QRgb mixed = colors.last();
        for (int i = colors.size() - 2; i >= 0; --i)
            mixed = halfway(mixed, colors[i]);
        return m_nearest.of(mixed);
    }

private:
    std::array<QRgb, 256> m_colors;
    NearestIndexes m_nearest;
};

} // namespace

void flattenColors(const QList<ImageLayer *> &layers, QImage &target, const QRect &area)
{
    QPainter painter(&target);
    painter.setClipRect(area);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.fillRect(area, Qt::transparent);
    for (auto layer = layers.crbegin(); layer != layers.crend(); ++layer) {
        if ((*layer)->visible)
            (*layer)->paint(painter);
    }
}

void flattenIndexes(const QList<ImageLayer *> &layers,
                    ImagePalette &palette,
                    QImage &target,
                    const QRect &area)
{
    IndexFlattener flattener(palette);
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const LayerRows rows = rowsAt(layers, y);
        uchar *to = target.scanLine(y);
        for (int x = area.left(); x <= area.right(); ++x)
            to[x] = flattener.pixel(rows, x);
    }
}

} // namespace Kiln
