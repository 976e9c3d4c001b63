#pragma once

#include <kilnx/image/palette.h>

#include <QBuffer>
#include <QImage>

#include <random>

/// The picture operations written the plain way: one byte, one pixel, one comparison at a time.
/// They are what the library's own, faster ones are held against, in tests and in benchmarks.
namespace Plain
{

/// Bytes as a device that is open to be read.
struct OpenBuffer : QBuffer {
    explicit OpenBuffer(const QByteArray &bytes)
    {
        setData(bytes);
        open(ReadOnly);
    }
};

/// Each byte through a QDataStream.
bool loadPcx(QImage &image, QIODevice *device);
bool loadRle8(QImage &image, QIODevice *device);
bool loadRle5(QImage &image, QIODevice *device);
bool loadLz5(QImage &image, QIODevice *device);

QByteArray saveRle8(const QImage &image);
/// A writer of the format that the library only reads: a packet for each pixel run.
QByteArray saveRle5(const QImage &image);
/// Tries every distance at every position.
QByteArray saveLz5(const QImage &image, bool useLZ);

/// Compares every pixel with all 256 entries.
QImage adapt(const QImage &image, const Kiln::RGBA *palette);
/// The octree, pixel by pixel. Returns the number of leaves.
int quantize(const QVector<QImage> &images, int maxColors, int maxBits, Kiln::RGBA (&table)[256]);

QImage resizeNearest(const QImage &image, QSize size);
QImage resizeBilinear(const QImage &image, QSize size, Kiln::RGBA (&palette)[256]);
/// Scale2x and Scale3x, through QImage::pixel() or pixelIndex().
QImage scale(const QImage &image, int factor);
QImage rotate(const QImage &image, float radians, unsigned fill);

/// The file that the library writes of a picture; "refused" if it writes none.
QByteArray fileOf(const char *format, const QImage &image);
/// The bytes of all pixels, row after row without padding.
QByteArray pixelsOf(const QImage &image);

/// Pixels without any order; indexes below `colors` for an indexed picture.
QImage noise(QSize size, QImage::Format format, int colors, std::mt19937 &random);
/// A figure on an empty ground: outlines, flat areas, dithered ones and repeated tiles.
QImage sprite(QSize size, int colors, std::mt19937 &random);
/// Soft gradients with grain: as many colours as a photograph.
QImage photo(QSize size, std::mt19937 &random);
/// A palette as games have them: some ramps from dark to light, opaque but for entry 0.
void rampPalette(Kiln::RGBA (&palette)[256], std::mt19937 &random);

} // namespace Plain
