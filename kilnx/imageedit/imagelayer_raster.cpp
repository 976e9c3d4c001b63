#include <kilnx/imageedit/imagelayer.h>

#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/imagecanvas.h>
#include <kilnx/imageedit/imagecommands.h>
#include <kilnx/imageedit/imageturn_p.h>

#include <array>
#include <cmath>
#include <cstring>
#include <unordered_map>

namespace Kiln
{

namespace
{

constexpr double radiansOfDegree = 0.017453292519943295;
/// An x of setSize() below this asks for the middle.
constexpr int middleBelow = -0xFFFF;

QImage toRGBA(const QImage &indexed, ImagePalette *palette)
{
    QImage image(indexed.size(), QImage::Format_ARGB32);
    std::array<QRgb, 256> colors;
    for (int i = 0; i < 256; ++i)
        colors[i] = palette->rgbAt(static_cast<unsigned char>(i));
    for (int y = 0; y < image.height(); ++y) {
        const uchar *from = indexed.constScanLine(y);
        auto *to = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            to[x] = colors[from[x]];
    }
    return image;
}

QImage toIndexed(const QImage &rgba, ImagePalette *palette)
{
    QImage image(rgba.size(), QImage::Format_Indexed8);
    std::unordered_map<QRgb, uchar> known;
    for (int y = 0; y < image.height(); ++y) {
        const auto *from = reinterpret_cast<const QRgb *>(rgba.constScanLine(y));
        uchar *to = image.scanLine(y);
        for (int x = 0; x < image.width(); ++x) {
            const auto [entry, added] = known.try_emplace(from[x], uchar(0));
            if (added)
                entry->second = palette->indexOf(QColor::fromRgba(from[x]));
            to[x] = entry->second;
        }
    }
    return image;
}

/// The index nearest to each colour of one palette in another.
std::array<uchar, 256> remapped(const RGBA *oldPalette, const RGBA *newPalette)
{
    RGBA table[256];
    PaletteObject colors(&table);
    colors.fromPalette(newPalette);
    std::array<uchar, 256> map;
    for (int i = 0; i < 256; ++i)
        map[i] = colors.index(oldPalette[i]);
    return map;
}

} // namespace

QImage turnedPicture(const QImage &image,
                     float degrees,
                     int filter,
                     RGBA (&colors)[256],
                     unsigned int fill)
{
    const auto radians = static_cast<float>(degrees * radiansOfDegree);
    if (filter == NearestNeighbor)
        return rotateImage(image, radians, fill);
    const QImage doubled =
        resizeImage(image, image.size() * 2, colors, static_cast<ImageResizeFilter>(filter));
    const QImage turned = rotateImage(doubled, radians, fill);
    return turned.isNull()
               ? turned
               : resizeImage(turned, {qMax(1, turned.width() / 2), qMax(1, turned.height() / 2)},
                             colors, NearestNeighbor);
}

RasterLayer::RasterLayer(ImageCanvas *canvas, const QImage &image)
    : ImageLayer(canvas)
    , image(image)
{
    this->image.setColorCount(0);
}

RasterLayer *RasterLayer::clone() const
{
    return new RasterLayer(*this);
}

void RasterLayer::pushEdit()
{
    canvas->undoStack.push(new RasterLayerEdit(this));
}

void RasterLayer::replaceImage(QImage changed)
{
    changed.setColorCount(0);
    image = std::move(changed);
}

/// The picture with the palette's colours, for the moment of drawing it.
QImage RasterLayer::withColors() const
{
    QImage colored = image;
    if (colored.format() == QImage::Format_Indexed8 && canvas->palette) {
        QVector<QRgb> table(256);
        for (int i = 0; i < 256; ++i)
            table[i] = canvas->palette->rgbAt(static_cast<unsigned char>(i));
        colored.setColorTable(table);
    }
    return colored;
}

void RasterLayer::paint(QPainter &painter) const
{
    ImageLayer::paint(painter);
    painter.drawImage(0, 0, image.format() == QImage::Format_Indexed8 ? withColors() : image);
}

void RasterLayer::remap(const RGBA *oldPalette, const RGBA *newPalette)
{
    if (image.format() != QImage::Format_Indexed8)
        return;
    const std::array<uchar, 256> map = remapped(oldPalette, newPalette);
    for (int y = 0; y < image.height(); ++y) {
        uchar *row = image.scanLine(y);
        for (int x = 0; x < image.width(); ++x)
            row[x] = map[row[x]];
    }
}

void RasterLayer::flip(bool horizontal, bool vertical)
{
    const QImage flipped = image.mirrored(horizontal, vertical);
    if (flipped.isNull())
        return;
    pushEdit();
    replaceImage(flipped);
}

void RasterLayer::rotate(float degrees, int filter)
{
    RGBA colors[256] = {};
    if (canvas->palette)
        canvas->palette->copyTo(colors);
    const QImage turned = turnedPicture(image, degrees, filter, colors, canvas->fillColor());
    if (turned.isNull())
        return;
    pushEdit();
    replaceImage(turned);
}

void RasterLayer::resize(QSize size, int filter)
{
    if (size == image.size())
        return;
    RGBA colors[256] = {};
    if (canvas->palette)
        canvas->palette->copyTo(colors);
    const QImage scaled = resizeImage(image, size, colors, static_cast<ImageResizeFilter>(filter));
    if (scaled.isNull())
        return;
    pushEdit();
    replaceImage(scaled);
}

void RasterLayer::setSize(QSize size, QPoint topLeft, unsigned int fill)
{
    if (size == image.size())
        return;
    QImage grown(size, image.format());
    if (grown.isNull())
        return;
    pushEdit();
    if (topLeft.x() < middleBelow)
        topLeft =
            QPoint((size.width() - image.width()) >> 1, (size.height() - image.height()) >> 1);
    grown.fill(fill);
    // In 64 bits: a corner may lie anywhere.
    const qint64 left = qMax<qint64>(0, topLeft.x());
    const qint64 top = qMax<qint64>(0, topLeft.y());
    const qint64 right = qMin<qint64>(size.width(), qint64(topLeft.x()) + image.width());
    const qint64 bottom = qMin<qint64>(size.height(), qint64(topLeft.y()) + image.height());
    const int bytes = image.depth() / 8;
    for (qint64 y = top; y < bottom && left < right; ++y) {
        const uchar *from =
            image.constScanLine(int(y - topLeft.y())) + (left - topLeft.x()) * bytes;
        std::memcpy(grown.scanLine(int(y)) + left * bytes, from, size_t(right - left) * bytes);
    }
    replaceImage(grown);
}

void RasterLayer::setFormat(int format, ImagePalette *palette)
{
    const QImage::Format wanted = ImageCanvas::pixelFormat(format);
    if (image.format() == wanted || !palette)
        return;
    pushEdit();
    replaceImage(wanted == QImage::Format_ARGB32 ? toRGBA(image, palette)
                                                 : toIndexed(image, palette));
}

QRect RasterLayer::contentRect() const
{
    return cropImageRect(image, 0);
}

} // namespace Kiln
