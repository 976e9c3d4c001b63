#include "embergleam.h"

#include <kilnx/image/codecs.h>

#include <QBuffer>

#include <algorithm>
#include <cstring>

namespace
{

/// Pixels that a byte of the coders stands for at most: an LZ5 packet of two bytes and a bit for
/// 263. What a record claims beyond that is not made.
constexpr qint64 bestRatio = 264;
constexpr uchar matchColors = 32;

int pixelSize(const EmberGleam::PictureInfo &info)
{
    switch (info.format) {
    case QImage::Format_Indexed8:
        return 1;
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
        return 4;
    default:
        return 0;
    }
}

/// The picture that the coders see: bytes, or four channels whether alpha counts or not.
QImage::Format codedFormat(const EmberGleam::PictureInfo &info)
{
    return pixelSize(info) == 1 ? QImage::Format_Indexed8 : QImage::Format_ARGB32;
}

bool load(QImage &image, QIODevice *device, quint8 coder)
{
    return coder == EmberGleam::Runs      ? Kiln::loadRLE8(image, device)
           : coder == EmberGleam::Matches ? Kiln::loadLZ5(image, device)
                                          : false;
}

} // namespace

qint64 EmberGleam::pixelBytes(const PictureInfo &info)
{
    return qint64(info.width) * info.height * pixelSize(info);
}

QByteArray EmberGleam::pixelsOf(const QImage &image)
{
    const int rowBytes = image.width() * image.depth() / 8;
    QByteArray pixels;
    pixels.reserve(rowBytes * image.height());
    for (int y = 0; y < image.height(); ++y)
        pixels.append(reinterpret_cast<const char *>(image.constScanLine(y)), rowBytes);
    return pixels;
}

QImage EmberGleam::pictureOf(const QByteArray &pixels, const PictureInfo &info)
{
    if (pixels.isEmpty() || pixels.size() != pixelBytes(info))
        return QImage();
    QImage image(info.width, info.height, QImage::Format(info.format));
    if (image.isNull())
        return image;
    const int rowBytes = info.width * pixelSize(info);
    const auto padding = static_cast<size_t>(image.bytesPerLine() - rowBytes);
    for (int y = 0; y < image.height(); ++y) {
        std::memcpy(image.scanLine(y), pixels.constData() + qptrdiff(y) * rowBytes,
                    static_cast<size_t>(rowBytes));
        std::memset(image.scanLine(y) + rowBytes, 0, padding);
    }
    return image;
}

EmberGleam::Coder EmberGleam::coderFor(const QByteArray &pixels, const PictureInfo &info)
{
    if (pixels.isEmpty())
        return Plain;
    const bool isSmall = std::all_of(pixels.cbegin(), pixels.cend(),
                                     [](char value) { return uchar(value) < matchColors; });
    return pixelSize(info) == 1 && isSmall ? Matches : Runs;
}

QByteArray EmberGleam::encode(const QByteArray &pixels, const PictureInfo &info, quint8 coder)
{
    PictureInfo coded = info;
    coded.format = codedFormat(info);
    const QImage image = pictureOf(pixels, coded);
    QBuffer buffer;
    const bool ok = !image.isNull() && (coder == Runs      ? Kiln::saveRLE8(image, &buffer)
                                        : coder == Matches ? Kiln::saveLZ5(image, &buffer, true)
                                                           : false);
    return ok ? buffer.data() : QByteArray();
}

QByteArray EmberGleam::decode(const QByteArray &bytes, const PictureInfo &info, quint8 coder)
{
    const qint64 size = pixelBytes(info);
    if (size == 0 || size > qMin(bytes.size() * bestRatio, largestPicture))
        return QByteArray();
    QImage image(info.width, info.height, codedFormat(info));
    QByteArray copy = bytes;
    QBuffer buffer(&copy);
    if (image.isNull())
        return QByteArray();
    image.fill(0);
    return load(image, &buffer, coder) && buffer.atEnd() ? pixelsOf(image) : QByteArray();
}
