#pragma once

#include <QtGui/QImage>

#include <vector>

// The engines' own codecs are defined in codecs_lz5.cpp, codecs_pcx.cpp and codecs_rle.cpp.

namespace Kiln
{

/// The fields of a PCX header that mean something to us; 128 bytes in the file.
struct PcxHeader {
    static constexpr int Size = 128;

    quint8 manufacturer = 0;
    quint8 version = 0;
    quint8 bitsPerPlane = 0;
    quint16 xMin = 0;
    quint16 yMin = 0;
    quint16 xMax = 0;
    quint16 yMax = 0;
    quint8 planes = 0;
    quint16 bytesPerLine = 0;

    int width() const { return xMax - xMin + 1; }
    int height() const { return yMax - yMin + 1; }
    /// Bits per pixel; the format's readers keep it in eight bits.
    quint8 depth() const { return static_cast<quint8>(planes * bitsPerPlane); }
    /// Format_Invalid for a depth that is not supported.
    QImage::Format format() const;

    /// `bytes` are the 128 bytes of the file.
    static PcxHeader fromBytes(const uchar *bytes);
};

/// The format for a depth of 5, 8, 24 or 32 bits, else Format_Invalid.
QImage::Format formatOfDepth(int depth);

/// Bytes of a pixel where nothing is left empty: RGB32 counts three although a pixel in memory has
/// four. 0 for a format that is none of ours.
int packedPixelSize(QImage::Format format);

/// The bytes of a picture with rows of `rowBytes` and no padding: the picture's own ones when
/// they are laid out that way, otherwise a copy that `buffer` holds.
const uchar *packedRows(const QImage &image, int rowBytes, std::vector<uchar> &buffer);

} // namespace Kiln
