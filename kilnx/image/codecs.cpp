#include <kilnx/image/codecs.h>

#include <kilnx/image/bytestream_p.h>
#include <kilnx/image/codecs_p.h>
#include <kilnx/image/gif.h>
#include <kilnx/project/extension.h>

#include <QtCore/QtEndian>
#include <QtGui/QImageReader>

#include <algorithm>
#include <cstring>
#include <utility>

namespace Kiln
{

namespace
{

/// A byte of a PNG stands for 1,032 bytes at most, of eight pixels each, which take four bytes
/// here at most.
constexpr int MaxGrowth = 1032 * 8 * 4;

bool isWord(const char *format, const char *word)
{
    return qstrcmp(format, word) == 0;
}

/// Sets the bytes behind the pixels of each row to 0, so that rows can be compared whole.
void clearPadding(QImage &image)
{
    const qint64 used = (qint64(image.width()) * image.depth() + 7) / 8;
    if (image.isNull() || used >= image.bytesPerLine())
        return;
    for (int y = 0; y < image.height(); ++y) {
        uchar *row = image.scanLine(y);
        std::fill(row + used, row + image.bytesPerLine(), uchar(0));
    }
}

/// Makes a colour table that some pixel points past 256 entries long, opaque black at its end:
/// Qt reads the table without looking at its length.
void coverAllIndexes(QImage &image)
{
    if (image.colorCount() == 0)
        return;
    int most = 0;
    for (int y = 0; y < image.height(); ++y) {
        const uchar *row = image.constScanLine(y);
        most = std::max<int>(most, *std::max_element(row, row + image.width()));
    }
    if (most < image.colorCount())
        return;
    QVector<QRgb> table = image.colorTable();
    const int known = table.size();
    table.resize(256);
    std::fill(table.begin() + known, table.end(), 0xFF000000);
    image.setColorTable(table);
}

/// The picture in the one of our three formats that is nearest. Few or grey colours become
/// indexes, channels of 16 bits lose their lower half.
QImage inOwnFormat(QImage image)
{
    switch (image.format()) {
    case QImage::Format_Invalid:
    case QImage::Format_Indexed8:
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
        return image;
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
        return image.convertToFormat(QImage::Format_Indexed8);
    case QImage::Format_Grayscale8:
    case QImage::Format_Grayscale16: {
        QImage grey = std::move(image).convertToFormat(QImage::Format_Grayscale8);
        QVector<QRgb> ramp;
        ramp.reserve(256);
        for (int level = 0; level < 256; ++level)
            ramp.append(qRgb(level, level, level));
        // Qt has no conversion of its own that keeps the levels.
        grey.reinterpretAsFormat(QImage::Format_Indexed8);
        grey.setColorTable(ramp);
        return grey;
    }
    default:
        return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32
                                                             : QImage::Format_RGB32);
    }
}

/// What a reader gave, as the library promises its pictures.
QImage tidied(QImage read)
{
    QImage image = inOwnFormat(std::move(read));
    clearPadding(image);
    coverAllIndexes(image);
    return image;
}

QImage readBounded(QIODevice *device, const char *format)
{
    QImageReader reader(device, format);
    // The height of a BMP whose top row comes first is negative here.
    const QSize size(reader.size().width(), std::abs(reader.size().height()));
    const qint64 bytes = qint64(size.width()) * size.height() * qint64(sizeof(QRgb));
    if (!pictureFits(bytes, device, MaxGrowth))
        return QImage();
    // Qt reads into a picture of the right size and format: what the file leaves out of a cleared
    // one stays cleared, and would otherwise be whatever the memory held.
    QImage image(size, reader.imageFormat());
    image.fill(0);
    return reader.read(&image) ? image : QImage();
}

void readWithQt(QIODevice *device, const char *format, QImage &image)
{
    SeekableDevice seekable(device);
    image = tidied(readBounded(seekable.get(), format));
}

void readGif(QIODevice *device, QImage &image)
{
    GIFImage gif;
    if (!gif.load(device) || gif.images().isEmpty())
        return;
    const GIFImage::SubImage &first = gif.images().constFirst();
    const QVector<RGB> colors = first.colorMap.isEmpty() ? gif.globalColorMap() : first.colorMap;
    QVector<QRgb> table;
    table.reserve(colors.size());
    for (RGB color : colors)
        table.append(qRgb(color.r, color.g, color.b));
    if (first.transparent >= 0 && first.transparent < table.size())
        table[first.transparent] &= 0x00FFFFFF;
    QImage picture = first.image;
    picture.setColorTable(table);
    image = tidied(std::move(picture));
}

bool writeGif(QIODevice *device, const QImage &image)
{
    GIFImage gif;
    gif.setWidth(image.width());
    gif.setHeight(image.height());
    GIFImage::SubImage picture;
    const QVector<QRgb> table = image.colorTable();
    for (int i = 0; i < table.size(); ++i) {
        const RGBA color = fromQRgb(table[i]);
        gif.globalColorMap().append({color.r, color.g, color.b});
        if (color.a == 0 && picture.transparent < 0)
            picture.transparent = static_cast<short>(i);
    }
    picture.image = image;
    gif.images().append(picture);
    return gif.save(device);
}

/// Asks one extension after the other, each from the same place of the device.
void readWithExtensions(QIODevice *device, const char *format, QImage &image)
{
    SeekableDevice seekable(device);
    const qint64 start = seekable.get()->pos();
    ExtensionManager::convert<ImageReader>(format, [&](ImageReader &reader) {
        seekable.get()->seek(start);
        return reader.read(seekable.get(), image);
    });
}

unsigned short shortSize(qint64 value)
{
    return static_cast<unsigned short>(std::abs(value));
}

void readBmpInfo(QIODevice *device, ImageInfo &info)
{
    uchar bytes[54];
    if (!readFully(device, bytes, sizeof bytes))
        return;
    info.width = shortSize(qFromLittleEndian<qint32>(bytes + 18));
    info.height = shortSize(qFromLittleEndian<qint32>(bytes + 22));
    info.format = formatOfDepth(qFromLittleEndian<quint16>(bytes + 28));
}

void readPngInfo(QIODevice *device, ImageInfo &info)
{
    uchar bytes[26];
    if (!readFully(device, bytes, sizeof bytes) ||
        std::memcmp(bytes, "\x89PNG\r\n\x1a\n", 8) != 0 || std::memcmp(bytes + 12, "IHDR", 4) != 0)
        return;
    info.width = static_cast<unsigned short>(qFromBigEndian<quint32>(bytes + 16));
    info.height = static_cast<unsigned short>(qFromBigEndian<quint32>(bytes + 20));
    const uchar colorType = bytes[25];
    if (colorType == 2)
        info.format = QImage::Format_RGB32;
    else if (colorType == 6)
        info.format = QImage::Format_ARGB32;
}

void readPcxInfo(QIODevice *device, ImageInfo &info)
{
    uchar bytes[PcxHeader::Size];
    if (!readFully(device, bytes, sizeof bytes))
        return;
    const PcxHeader header = PcxHeader::fromBytes(bytes);
    info.width = static_cast<unsigned short>(header.width());
    info.height = static_cast<unsigned short>(header.height());
    info.format = header.format();
}

void readGifInfo(QIODevice *device, ImageInfo &info)
{
    uchar bytes[13];
    if (!readFully(device, bytes, sizeof bytes) || std::memcmp(bytes, "GIF8", 4) != 0)
        return;
    info.width = qFromLittleEndian<quint16>(bytes + 6);
    info.height = qFromLittleEndian<quint16>(bytes + 8);
    // Only tables of 32 and 256 colours are ours.
    const int tableSize = bytes[10] & 7;
    if (tableSize != 4 && tableSize != 7)
        info.format = QImage::Format_Invalid;
}

} // namespace

QImage::Format formatOfDepth(int depth)
{
    switch (depth) {
    case 5:
    case 8:
        return QImage::Format_Indexed8;
    case 24:
        return QImage::Format_RGB32;
    case 32:
        return QImage::Format_ARGB32;
    default:
        return QImage::Format_Invalid;
    }
}

int packedPixelSize(QImage::Format format)
{
    switch (format) {
    case QImage::Format_Indexed8:
        return 1;
    case QImage::Format_RGB32:
        return 3;
    case QImage::Format_ARGB32:
        return 4;
    default:
        return 0;
    }
}

bool loadImage(QIODevice *device, const char *format, QImage &image)
{
    if (!device || !device->isReadable())
        return false;
    if (isWord(format, "PNG") || isWord(format, "BMP"))
        readWithQt(device, format, image);
    else if (isWord(format, "GIF"))
        readGif(device, image);
    else if (isWord(format, "PCX"))
        loadPCX(image, device);
    else
        readWithExtensions(device, format, image);
    return !image.isNull();
}

bool saveImage(QIODevice *device, const char *format, const QImage &image)
{
    if (image.isNull() || !device || !device->isWritable())
        return false;
    if (isWord(format, "PNG"))
        return image.save(device, format, -1);
    if (isWord(format, "BMP")) {
        // Qt writes whole rows, and what lies behind the pixels may be any memory.
        QImage whole = image;
        clearPadding(whole);
        return whole.save(device, format, -1);
    }
    if (isWord(format, "GIF"))
        return writeGif(device, image);
    if (isWord(format, "PCX"))
        return savePCX(image, device);
    return ExtensionManager::convert<ImageWriter>(
        format, [&](ImageWriter &writer) { return writer.write(image, device); });
}

ImageInfo imageInfoFromFile(QIODevice *device, const char *format)
{
    ImageInfo info;
    if (!device || !device->isReadable())
        return info;
    if (isWord(format, "BMP"))
        readBmpInfo(device, info);
    else if (isWord(format, "PNG"))
        readPngInfo(device, info);
    else if (isWord(format, "PCX"))
        readPcxInfo(device, info);
    else if (isWord(format, "GIF"))
        readGifInfo(device, info);
    return info;
}

bool loadPNG(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    readWithQt(device, "PNG", image);
    return true;
}

bool savePNG(const QImage &image, QIODevice *device)
{
    return openForWriting(device) && image.save(device, "PNG", -1);
}

} // namespace Kiln
