#include <kilnx/image/imageops.h>

#include <kilnx/image/colormatch_p.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <vector>

namespace Kiln
{

namespace
{

/// The colours of the 256 indexes of an indexed picture, as Qt shows them, also of indexes past
/// its table.
std::vector<QRgb> shownColors(const QImage &image)
{
    QImage ramp(256, 1, QImage::Format_Indexed8);
    ramp.setColorTable(image.colorTable());
    std::iota(ramp.bits(), ramp.bits() + 256, uchar(0));
    const QImage shown = ramp.convertToFormat(QImage::Format_ARGB32);
    const auto *colors = reinterpret_cast<const QRgb *>(shown.constBits());
    return std::vector<QRgb>(colors, colors + 256);
}

bool hasTranslucentColor(const QImage &image)
{
    const QVector<QRgb> table = image.colorTable();
    return std::any_of(table.cbegin(), table.cend(), [](QRgb c) { return qAlpha(c) < 255; });
}

/// Calls `put(target, source)` for each row of two pictures of the same size.
template<class Source, class Put>
void mapPixels(const QImage &source, QImage &target, Put &&put)
{
    for (int y = 0; y < source.height(); ++y) {
        const auto *row = reinterpret_cast<const Source *>(source.constScanLine(y));
        std::transform(row, row + source.width(), target.scanLine(y), put);
    }
}

void adaptTrueColor(const QImage &source, QImage &target, PaletteMatcher &matcher)
{
    QRgb last = 0;
    uchar index = matcher.match(last);
    mapPixels<QRgb>(source, target, [&](QRgb color) {
        if (color != last) {
            last = color;
            index = matcher.match(color);
        }
        return index;
    });
}

/// What counts as content: pixels that differ from `background` in the bits of `mask`.
template<class Pixel>
QRect contentRect(const QImage &image, Pixel background, Pixel mask)
{
    const auto isContent = [=](Pixel pixel) { return ((pixel ^ background) & mask) != 0; };
    int left = std::max(100000, image.width());
    int top = std::max(100000, image.height());
    int right = 0;
    int bottom = 0;
    for (int y = 0; y < image.height(); ++y) {
        const auto *row = reinterpret_cast<const Pixel *>(image.constScanLine(y));
        const auto *end = row + image.width();
        const auto *first = std::find_if(row, end, isContent);
        if (first == end)
            continue;
        const auto *last = end - 1;
        while (!isContent(*last))
            --last;
        left = std::min(left, static_cast<int>(first - row));
        right = std::max(right, static_cast<int>(last - row));
        top = std::min(top, y);
        bottom = y;
    }
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

struct Bounds {
    int minX;
    int minY;
    int maxX;
    int maxY;
};

Bounds rotatedBounds(QSize size, float c, float s)
{
    const auto w = static_cast<float>(size.width());
    const auto h = static_cast<float>(size.height());
    const auto x = {0, static_cast<int>(-h * s), static_cast<int>(w * c - h * s),
                    static_cast<int>(w * c)};
    const auto y = {0, static_cast<int>(h * c), static_cast<int>(h * c + w * s),
                    static_cast<int>(w * s)};
    return {std::min(x), std::min(y), std::max(x), std::max(y)};
}

/// (from + i) * factor for each i.
std::vector<float> products(int from, int count, float factor)
{
    std::vector<float> values(static_cast<size_t>(std::max(count, 0)));
    for (size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(from + static_cast<int>(i)) * factor;
    return values;
}

template<class Pixel>
void rotatePixels(const QImage &image, QImage &result, Bounds bounds, float c, float s, Pixel fill)
{
    const auto width = static_cast<unsigned>(image.width());
    const auto height = static_cast<unsigned>(image.height());
    const std::vector<float> xc = products(bounds.minX, result.width(), c);
    const std::vector<float> xs = products(bounds.minX, result.width(), s);
    const uchar *source = image.constBits();
    const qptrdiff stride = image.bytesPerLine();
    for (int y = 0; y < result.height(); ++y) {
        const float ys = static_cast<float>(y + bounds.minY) * s;
        const float yc = static_cast<float>(y + bounds.minY) * c;
        const auto column = [&](size_t x) { return static_cast<int>(xc[x] + ys); };
        const auto line = [&](size_t x) { return static_cast<int>(yc - xs[x]); };
        const auto isInside = [&](size_t x) {
            return static_cast<unsigned>(column(x)) < width &&
                   static_cast<unsigned>(line(x)) < height;
        };
        // Both only rise or only fall along a row, so what lies inside is one piece of it.
        auto *row = reinterpret_cast<Pixel *>(result.scanLine(y));
        size_t first = 0;
        size_t end = xc.size();
        while (first < end && !isInside(first))
            row[first++] = fill;
        while (end > first && !isInside(end - 1))
            row[--end] = fill;
        for (size_t x = first; x < end; ++x)
            row[x] = reinterpret_cast<const Pixel *>(source + line(x) * stride)[column(x)];
    }
}

} // namespace

void adaptImageToPalette(QImage &image, const RGBA *palette)
{
    if (image.isNull())
        return;
    const bool isIndexed = image.format() == QImage::Format_Indexed8;
    const bool forceOpaque =
        image.format() != QImage::Format_ARGB32 && !(isIndexed && hasTranslucentColor(image));
    RGBA colors[256];
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i) {
        colors[i] = palette[i];
        if (forceOpaque)
            colors[i].a = 255;
        table[i] = toQRgb(colors[i]);
    }

    QImage result(image.size(), QImage::Format_Indexed8);
    if (result.isNull())
        return;
    PaletteMatcher matcher(colors);
    if (isIndexed) {
        const std::vector<QRgb> shown = shownColors(image);
        uchar indexes[256];
        std::transform(shown.cbegin(), shown.cend(), indexes,
                       [&matcher](QRgb color) { return matcher.match(color); });
        mapPixels<uchar>(image, result, [&indexes](uchar index) { return indexes[index]; });
    } else {
        adaptTrueColor(image.convertToFormat(QImage::Format_ARGB32), result, matcher);
    }
    result.setColorTable(table);
    image = result;
}

QImage rotateImage(QImage image, float radians, unsigned int fill)
{
    if (image.isNull() || !std::isfinite(radians) || (image.depth() != 8 && image.depth() != 32))
        return QImage();
    const float c = std::cos(radians);
    const float s = std::sin(radians);
    const Bounds bounds = rotatedBounds(image.size(), c, s);
    QImage result(bounds.maxX - bounds.minX, bounds.maxY - bounds.minY, image.format());
    if (result.isNull())
        return result;
    if (image.depth() == 8) {
        std::memset(result.bits(), fill & 0xFF, static_cast<size_t>(result.sizeInBytes()));
        rotatePixels<uchar>(image, result, bounds, c, s, static_cast<uchar>(fill));
    } else {
        rotatePixels<quint32>(image, result, bounds, c, s, fill);
    }
    return result;
}

QRect cropImageRect(const QImage &image, int margin)
{
    if (image.isNull())
        return QRect();
    const auto *first = reinterpret_cast<const quint32 *>(image.constBits());
    QRect rect;
    switch (image.format()) {
    case QImage::Format_ARGB32:
        rect = contentRect<quint32>(image, 0, 0xFF000000);
        break;
    case QImage::Format_RGB32:
        rect = contentRect<quint32>(image, *first, 0x00FFFFFF);
        break;
    case QImage::Format_ARGB32_Premultiplied:
        rect = contentRect<quint32>(image, *first, 0xFFFFFFFF);
        break;
    case QImage::Format_Indexed8:
        rect = contentRect<uchar>(image, *image.constBits(), 0xFF);
        break;
    default:
        return QRect();
    }
    if (margin > 0 && rect.isValid()) {
        const int grow = std::min(margin, std::max(image.width(), image.height()));
        rect = rect.adjusted(-grow, -grow, grow, grow).intersected(image.rect());
    }
    return rect;
}

bool cropImage(QImage &image, QPoint *topLeft, int margin)
{
    const QRect rect = cropImageRect(image, margin);
    if (!rect.isValid() || rect == image.rect())
        return false;
    if (topLeft)
        *topLeft = rect.topLeft();
    image = image.copy(rect);
    return true;
}

} // namespace Kiln
