#include <kilnx/image/gif.h>

#include <kilnx/image/colorquantizer.h>
#include <kilnx/image/imageops.h>

#include <algorithm>
#include <climits>

namespace Kiln
{

namespace
{

constexpr int MaxScreen = 0xFFFF;

/// How the frames lie over one another: their axes meet at (axisX, axisY).
struct Layout {
    qint64 axisX = 0;
    qint64 axisY = 0;
    qint64 width = 0;
    qint64 height = 0;
    bool allTrueColor = true;
};

Layout layoutOf(const QVector<AnimImageFrame> &frames)
{
    Layout layout;
    qint64 right = INT_MIN;
    qint64 bottom = INT_MIN;
    layout.axisX = INT_MIN;
    layout.axisY = INT_MIN;
    for (const AnimImageFrame &frame : frames) {
        if (frame.image.isNull())
            continue;
        const QPoint offset = frame.offset;
        layout.axisX = std::max<qint64>(layout.axisX, offset.x());
        layout.axisY = std::max<qint64>(layout.axisY, offset.y());
        right = std::max(right, qint64(frame.image.width()) - offset.x());
        bottom = std::max(bottom, qint64(frame.image.height()) - offset.y());
        if (frame.image.format() == QImage::Format_Indexed8)
            layout.allTrueColor = false;
    }
    layout.width = right + layout.axisX;
    layout.height = bottom + layout.axisY;
    return layout;
}

/// The colours of a quantizer, one place up, with a transparent entry 0 before them.
void takeTable(ColorQuantizer &quantizer, RGBA (&table)[256])
{
    quantizer.getColorTable(table);
    std::copy_backward(table, table + 255, table + 256);
    table[0].a = 0;
}

QVector<RGB> triples(const RGBA (&table)[256])
{
    QVector<RGB> colors;
    colors.reserve(256);
    for (RGBA color : table)
        colors.append({color.r, color.g, color.b});
    return colors;
}

QVector<RGB> triples(const QVector<QRgb> &table)
{
    QVector<RGB> colors;
    colors.reserve(table.size());
    for (QRgb entry : table) {
        const RGBA color = fromQRgb(entry);
        colors.append({color.r, color.g, color.b});
    }
    return colors;
}

/// Index 0 stays reserved for pixels of alpha below 128; in pictures without alpha only if
/// `isTransparent` says that index 0 is not drawn.
void toIndexedKeepingAlpha(QImage &image, const RGBA *palette, bool isTransparent)
{
    QImage indexed = image;
    adaptImageToPalette(indexed, palette);
    const bool hasAlpha = image.format() == QImage::Format_ARGB32;
    if (hasAlpha || isTransparent) {
        for (int y = 0; y < image.height(); ++y) {
            const auto *source = reinterpret_cast<const QRgb *>(image.constScanLine(y));
            uchar *target = indexed.scanLine(y);
            for (int x = 0; x < image.width(); ++x) {
                if (hasAlpha && qAlpha(source[x]) < 128)
                    target[x] = 0;
                else if (target[x] == 0)
                    target[x] = 1;
            }
        }
    }
    image = indexed;
}

short firstTransparent(const QVector<QRgb> &table)
{
    for (int i = 0; i < table.size(); ++i) {
        if (qAlpha(table[i]) == 0)
            return static_cast<short>(i);
    }
    return -1;
}

/// Fills a GIFImage frame by frame.
class Assembler
{
public:
    Assembler(const Layout &layout, bool singlePalette, bool loop)
        : m_layout(layout)
        , m_singlePalette(singlePalette)
        , m_gif(static_cast<quint16>(layout.width), static_cast<quint16>(layout.height), loop)
        , m_shared(255, 8)
    {
    }

    void add(const AnimImageFrame &frame, bool isLast)
    {
        const bool isFirst = m_gif.images().isEmpty();
        GIFImage::SubImage picture;
        picture.image = frame.image;
        picture.left = static_cast<short>(m_layout.axisX - frame.offset.x());
        picture.top = static_cast<short>(m_layout.axisY - frame.offset.y());
        const qint64 delay = frame.delay >= 0 ? frame.delay : qint64(frame.ticks) * 100 / 60;
        picture.delay = static_cast<short>(qBound<qint64>(SHRT_MIN, delay, SHRT_MAX));
        if (m_layout.allTrueColor)
            share(picture, isLast);
        else if (!m_singlePalette || isFirst)
            reduce(picture);
        else
            picture.transparent = m_transparent;
        m_gif.images().append(picture);
    }

    bool save(QIODevice *device, const std::function<bool()> &step)
    {
        for (GIFImage::SubImage &picture : m_gif.images()) {
            if (picture.image.format() != QImage::Format_Indexed8)
                adapt(picture);
            if (step && !step())
                return false;
        }
        return m_gif.save(device, step);
    }

private:
    void adapt(GIFImage::SubImage &picture)
    {
        const QVector<RGB> colors =
            m_gif.globalColorMap().isEmpty() ? picture.colorMap : m_gif.globalColorMap();
        RGBA palette[256] = {};
        for (int i = 0; i < colors.size() && i < 256; ++i)
            palette[i] = {colors[i].r, colors[i].g, colors[i].b, 255};
        toIndexedKeepingAlpha(picture.image, palette, picture.transparent == 0);
    }

    void share(GIFImage::SubImage &picture, bool isLast)
    {
        // The reserved index, so that delays are written.
        picture.transparent = 0;
        m_shared.processImage(picture.image);
        if (!isLast)
            return;
        RGBA table[256];
        takeTable(m_shared, table);
        m_gif.globalColorMap() = triples(table);
    }

    void reduce(GIFImage::SubImage &picture)
    {
        if (picture.image.format() != QImage::Format_Indexed8) {
            ColorQuantizer quantizer(255, 8);
            quantizer.processImage(picture.image);
            RGBA table[256];
            takeTable(quantizer, table);
            toIndexedKeepingAlpha(picture.image, table, false);
        }
        const QVector<QRgb> colors = picture.image.colorTable();
        (m_singlePalette ? m_gif.globalColorMap() : picture.colorMap) = triples(colors);
        m_transparent = firstTransparent(colors);
        picture.transparent = m_transparent;
    }

    Layout m_layout;
    bool m_singlePalette;
    GIFImage m_gif;
    ColorQuantizer m_shared;
    short m_transparent = -1;
};

} // namespace

bool saveGIF(QIODevice *device,
             const QVector<AnimImageFrame> &frames,
             bool singlePalette,
             bool loop,
             const std::function<bool()> &step)
{
    if (frames.isEmpty() || !device)
        return false;
    const Layout layout = layoutOf(frames);
    if (layout.width <= 0 || layout.width > MaxScreen || layout.height <= 0 ||
        layout.height > MaxScreen)
        return false;
    Assembler assembler(layout, singlePalette, loop);
    for (int i = 0; i < frames.size(); ++i) {
        if (frames[i].image.isNull())
            continue;
        assembler.add(frames[i], i + 1 == frames.size());
        if (step && !step())
            return false;
    }
    return assembler.save(device, step);
}

} // namespace Kiln
