#include <kilnx/image/imageops.h>

#include <kilnx/image/bilinear_p.h>
#include <kilnx/image/codecs_p.h>
#include <kilnx/image/colormatch_p.h>
#include <kilnx/image/hqx_p.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace Kiln
{

namespace
{

/// The widest and highest picture that is made. Scaling keeps up to 24 bytes for each column and
/// row, which must not fail.
constexpr int MaxSide = 1 << 20;

/// An empty picture: what a filter does not write is 0.
QImage blank(QSize size, QImage::Format format)
{
    QImage image(size, format);
    if (!image.isNull())
        std::memset(image.bits(), 0, static_cast<size_t>(image.sizeInBytes()));
    return image;
}

/// The source position of each target position, in steps of 1/65536.
std::vector<int> nearestPositions(int sourceSize, int targetSize)
{
    const qint64 step = (qint64(sourceSize) << 16) / targetSize + 1;
    std::vector<int> positions(static_cast<size_t>(targetSize));
    for (int i = 0; i < targetSize; ++i)
        positions[static_cast<size_t>(i)] =
            static_cast<int>(std::min<qint64>(i * step >> 16, sourceSize - 1));
    return positions;
}

template<int Size>
void copyPixels(const uchar *source, uchar *target, const std::vector<int> &columns)
{
    for (int column : columns) {
        std::memcpy(target, source + qptrdiff(column) * Size, Size);
        target += Size;
    }
}

QImage resizeNearest(const QImage &image, QSize size)
{
    QImage result = blank(size, image.format());
    if (result.isNull())
        return result;
    const std::vector<int> columns = nearestPositions(image.width(), size.width());
    const std::vector<int> rows = nearestPositions(image.height(), size.height());
    // RGB32 is packed, pixels and columns alike.
    const int pixelSize = packedPixelSize(image.format());
    for (int y = 0; y < size.height(); ++y) {
        const int row = rows[static_cast<size_t>(y)];
        uchar *target = result.scanLine(y);
        if (y > 0 && row == rows[static_cast<size_t>(y) - 1]) {
            std::memcpy(target, result.constScanLine(y - 1),
                        static_cast<size_t>(result.bytesPerLine()));
            continue;
        }
        const uchar *source = image.constScanLine(row);
        if (pixelSize == 1)
            copyPixels<1>(source, target, columns);
        else if (pixelSize == 3)
            copyPixels<3>(source, target, columns);
        else if (pixelSize == 4)
            copyPixels<4>(source, target, columns);
    }
    return result;
}

QImage resizeBilinear(const QImage &image, QSize size, const RGBA *palette)
{
    QImage result = blank(size, image.format());
    if (result.isNull())
        return result;
    BilinearScaler scaler(image, size, palette);
    if (image.format() != QImage::Format_Indexed8) {
        for (int y = 0; y < size.height(); ++y)
            scaler.scale(y, reinterpret_cast<QRgb *>(result.scanLine(y)));
        return result;
    }
    NearestIndex nearest(palette);
    std::vector<QRgb> colors(static_cast<size_t>(size.width()));
    for (int y = 0; y < size.height(); ++y) {
        scaler.scale(y, colors.data());
        std::transform(colors.cbegin(), colors.cend(), result.scanLine(y),
                       [&nearest](QRgb color) { return nearest.index(color); });
    }
    return result;
}

QImage resizePlainly(const QImage &image, QSize size, const RGBA *palette, bool bilinear)
{
    return bilinear ? resizeBilinear(image, size, palette) : resizeNearest(image, size);
}

template<class Pixel>
const Pixel *pixelRow(const QImage &image, int y)
{
    return reinterpret_cast<const Pixel *>(image.constScanLine(y));
}

template<class Pixel>
void scale2x(const QImage &image, QImage &result)
{
    const int width = image.width();
    const int height = image.height();
    for (int y = 0; y < height; ++y) {
        const Pixel *above = pixelRow<Pixel>(image, std::max(y - 1, 0));
        const Pixel *row = pixelRow<Pixel>(image, y);
        const Pixel *below = pixelRow<Pixel>(image, std::min(y + 1, height - 1));
        auto *upper = reinterpret_cast<Pixel *>(result.scanLine(2 * y));
        auto *lower = reinterpret_cast<Pixel *>(result.scanLine(2 * y + 1));
        for (int x = 0; x < width; ++x) {
            const Pixel e = row[x];
            const Pixel b = above[x];
            const Pixel h = below[x];
            const Pixel d = row[std::max(x - 1, 0)];
            const Pixel f = row[std::min(x + 1, width - 1)];
            const bool isEdge = b != h && d != f;
            upper[2 * x] = isEdge && d == b ? d : e;
            upper[2 * x + 1] = isEdge && b == f ? f : e;
            lower[2 * x] = isEdge && d == h ? d : e;
            lower[2 * x + 1] = isEdge && h == f ? f : e;
        }
    }
}

template<class Pixel>
void scale3x(const QImage &image, QImage &result)
{
    const int width = image.width();
    const int height = image.height();
    for (int y = 0; y < height; ++y) {
        // Beyond an edge every neighbour, the corners too, is the pixel itself.
        const bool hasAbove = y > 0;
        const bool hasBelow = y + 1 < height;
        const Pixel *above = pixelRow<Pixel>(image, hasAbove ? y - 1 : y);
        const Pixel *row = pixelRow<Pixel>(image, y);
        const Pixel *below = pixelRow<Pixel>(image, hasBelow ? y + 1 : y);
        Pixel *out[3];
        for (int i = 0; i < 3; ++i)
            out[i] = reinterpret_cast<Pixel *>(result.scanLine(3 * y + i));
        for (int x = 0; x < width; ++x, ++out[0], ++out[1], ++out[2]) {
            const bool hasLeft = x > 0;
            const bool hasRight = x + 1 < width;
            const Pixel e = row[x];
            const Pixel a = hasAbove && hasLeft ? above[x - 1] : e;
            const Pixel b = above[x];
            const Pixel c = hasAbove && hasRight ? above[x + 1] : e;
            const Pixel d = hasLeft ? row[x - 1] : e;
            const Pixel f = hasRight ? row[x + 1] : e;
            const Pixel g = hasBelow && hasLeft ? below[x - 1] : e;
            const Pixel h = below[x];
            const Pixel i = hasBelow && hasRight ? below[x + 1] : e;
            const bool isEdge = b != h && d != f;
            const bool db = isEdge && d == b;
            const bool bf = isEdge && b == f;
            const bool dh = isEdge && d == h;
            const bool hf = isEdge && h == f;
            out[0][2 * x] = db ? d : e;
            out[0][2 * x + 1] = (db && e != c) || (bf && e != a) ? b : e;
            out[0][2 * x + 2] = bf ? f : e;
            out[1][2 * x] = (db && e != g) || (dh && e != a) ? d : e;
            out[1][2 * x + 1] = e;
            out[1][2 * x + 2] = (bf && e != i) || (hf && e != c) ? f : e;
            out[2][2 * x] = dh ? d : e;
            out[2][2 * x + 1] = (dh && e != i) || (hf && e != g) ? h : e;
            out[2][2 * x + 2] = hf ? f : e;
        }
    }
}

QImage scaleEpx(const QImage &image, int factor)
{
    QImage result(image.size() * factor, image.format());
    if (result.isNull())
        return result;
    const bool isIndexed = image.depth() == 8;
    if (factor == 2 && isIndexed)
        scale2x<uchar>(image, result);
    else if (factor == 2)
        scale2x<quint32>(image, result);
    else if (isIndexed)
        scale3x<uchar>(image, result);
    else
        scale3x<quint32>(image, result);
    return result;
}

/// How much larger a picture becomes, in the direction in which it grows most.
float growth(const QImage &image, QSize size)
{
    return std::max(static_cast<float>(size.height()) / static_cast<float>(image.height()),
                    static_cast<float>(size.width()) / static_cast<float>(image.width()));
}

QImage growEpx(const QImage &image, QSize size)
{
    const float factor = growth(image, size);
    if (factor > 3.0f) {
        const QImage twice = scaleEpx(image, 2);
        return twice.isNull() ? twice : scaleEpx(twice, 2);
    }
    return scaleEpx(image, factor > 2.0f ? 3 : 2);
}

QImage growHq(const QImage &image, QSize size, const RGBA *palette)
{
    QImage source = image;
    const bool isIndexed = image.format() == QImage::Format_Indexed8;
    if (isIndexed) {
        QVector<QRgb> table(256);
        std::transform(palette, palette + 256, table.begin(), toQRgb);
        source.setColorTable(table);
    }
    const float factor = growth(image, size);
    QImage scaled = scaleHqx(source.convertToFormat(QImage::Format_ARGB32),
                             factor > 3.0f ? 4 : (factor > 2.0f ? 3 : 2));
    if (!isIndexed) {
        scaled.reinterpretAsFormat(image.format());
        return scaled;
    }
    QImage result = blank(scaled.size(), image.format());
    NearestIndex nearest(palette);
    for (int y = 0; y < result.height(); ++y) {
        const QRgb *row = pixelRow<QRgb>(scaled, y);
        std::transform(row, row + scaled.width(), result.scanLine(y),
                       [&nearest](QRgb color) { return nearest.index(color); });
    }
    return result;
}

} // namespace

QImage resizeImage(QImage image, QSize size, RGBA (&palette)[256], ImageResizeFilter filter)
{
    if (image.isNull() || size.isEmpty() || filter < NearestNeighbor || filter > HqBilinear)
        return QImage();
    if (size.width() > MaxSide || size.height() > MaxSide)
        return QImage();
    if (filter > NearestNeighbor && packedPixelSize(image.format()) == 0)
        return QImage();
    const bool bilinear = filter == Bilinear || filter == EpxBilinear || filter == HqBilinear;
    QImage grown = image;
    if (filter == EpxNearestNeighbor || filter == EpxBilinear)
        grown = growEpx(image, size);
    else if (filter == HqNearestNeighbor || filter == HqBilinear)
        grown = growHq(image, size, palette);
    if (grown.isNull() || (filter > Bilinear && grown.size() == size))
        return grown;
    return resizePlainly(grown, size, palette, bilinear);
}

} // namespace Kiln
