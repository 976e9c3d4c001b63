#pragma once

#include "emberpack.h"

#include <QImage>

#include <limits>

/// What a sprite file of Ember (".gleam") keeps in the layout of emberpack.h, with the magic
/// "GLEM": first its palettes, then the table of stand-ins, then its pictures.
///
/// The 12 bytes of a picture's record are width, height (16 bits each), format (8 bits, a
/// QImage::Format), the row of its palette or -1 (24: a file has no room for more), x and y of its
/// origin from its upper left (16 each, signed). A palette has 1024 bytes: 256 entries of red,
/// green, blue and alpha. The table of stand-ins is a list of pairs of rows of palettes (32 bits
/// each).
///
/// A picture's coder is 0 for plain pixels, 1 for the library's RLE8 and 2 for its LZ5, which takes
/// values below 32. Pixels have one byte for an indexed picture and four for true colour, row after
/// row from the top, without padding.
namespace EmberGleam
{

enum Coder : unsigned char { Plain = 0, Runs = 1, Matches = 2 };
enum Kind : unsigned char { Picture = 0, Colors = 1, StandIns = 2 };

constexpr char magic[] = "GLEM";

struct PictureInfo {
    quint16 width = 0;
    quint16 height = 0;
    quint8 format = QImage::Format_Invalid;
    qint32 palette = -1;
    qint16 originX = 0;
    qint16 originY = 0;
};
using Entry = EmberPack::Entry<PictureInfo>;

/// Bytes of pixels that a picture may have at most: a QByteArray counts in int.
constexpr qint64 largestPicture = std::numeric_limits<int>::max() - 64;

/// How many bytes the pixels take; 0 for a format that is none of ours.
EMBER_EXPORT qint64 pixelBytes(const PictureInfo &info);
/// The pixels of a picture in one of our formats, of largestPicture bytes at most.
EMBER_EXPORT QByteArray pixelsOf(const QImage &image);
/// The picture again, without a colour table; null unless the pixels are as many as `info` says.
EMBER_EXPORT QImage pictureOf(const QByteArray &pixels, const PictureInfo &info);
/// The coder that fits the pixels.
EMBER_EXPORT Coder coderFor(const QByteArray &pixels, const PictureInfo &info);
/// Empty for plain pixels.
EMBER_EXPORT QByteArray encode(const QByteArray &pixels, const PictureInfo &info, quint8 coder);
/// The pixels again, where those that the bytes leave out are 0; empty for broken bytes, and for
/// far more pixels than they can hold.
EMBER_EXPORT QByteArray decode(const QByteArray &bytes, const PictureInfo &info, quint8 coder);

} // namespace EmberGleam

template<>
struct EmberPack::Fields<EmberGleam::PictureInfo> {
    static void write(QDataStream &stream, const EmberGleam::PictureInfo &info)
    {
        const quint32 formatAndPalette = quint32(info.palette) << 8 | info.format;
        stream << info.width << info.height << formatAndPalette << info.originX << info.originY;
    }
    static void read(QDataStream &stream, EmberGleam::PictureInfo &info)
    {
        quint32 formatAndPalette = 0;
        stream >> info.width >> info.height >> formatAndPalette >> info.originX >> info.originY;
        info.format = static_cast<quint8>(formatAndPalette);
        info.palette = static_cast<qint32>(formatAndPalette) >> 8;
    }
};
