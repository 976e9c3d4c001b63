#pragma once

#include <kilnx/export.h>

#include <QtGui/QImage>

class QIODevice;

namespace Kiln
{

/// What a picture file says about itself. Format 3 is Indexed8, 4 RGB32, 5 ARGB32, 0 unknown.
struct ImageInfo {
    unsigned short width = 0;
    unsigned short height = 0;
    QImage::Format format = QImage::Format_Indexed8;
};

// A `format` word is the upper-case file extension without the dot, compared exactly: "PNG",
// "BMP", "GIF", "PCX". All functions here hold no shared state: different threads may call them
// at once on devices and pictures of their own. No function closes the device.
//
// A picture above 16 MiB is made only if the bytes that the device has left can fill it. Files are
// read from sequential devices too, in pieces of any size; they should have arrived whole.

/// Reads a picture by its format word; words that are not built in go through the registered
/// extensions, in their order. Pictures of up to 8 bits, grey ones too, come as Indexed8 with a
/// colour table, others as RGB32 or ARGB32; of channels of 16 bits the upper 8 are kept. True if
/// `image` is not null afterwards: a picture that it held before stays (and counts) when a GIF or
/// extension read fails, or a PCX by its signature or format. It becomes null when a PNG or BMP
/// cannot be read, and when a PCX claims a size that it cannot fill.
KILNX_EXPORT bool loadImage(QIODevice *device, const char *format, QImage &image);

/// Writes a picture by its format word. False for a null image, a device that cannot be written,
/// a word nobody knows, and for a GIF of a picture without colour table.
KILNX_EXPORT bool saveImage(QIODevice *device, const char *format, const QImage &image);

/// Reads size and format out of the header of a "BMP", "PNG", "PCX" or "GIF" without decoding
/// it. Gives 0 by 0 Indexed8 for anything else.
KILNX_EXPORT ImageInfo imageInfoFromFile(QIODevice *device, const char *format);

// The codecs open the device if it is not open in their direction and return false if that
// fails, or if the stream ended within a packet or could not be written. A reader leaves the
// device behind the last byte it used.

/// PCX version 5 with planes of 8 bits: one plane (indexed, with the palette at the file's end),
/// three or four. `image` is replaced unless it has the file's size and format. A file that is
/// cut off gives false and a picture whose missing pixels are 0. False leaves `image` alone for
/// another kind of file, and makes it null for a size without area or beyond what the file's
/// bytes can fill.
KILNX_EXPORT bool loadPCX(QImage &image, QIODevice *device);
/// Writes Indexed8, RGB32 and ARGB32; a picture of another format gives a header alone. False
/// for a null picture and for one wider than 65,535 or higher than 65,536 pixels.
KILNX_EXPORT bool savePCX(const QImage &image, QIODevice *device);

/// Reads as loadImage() does. True even when the bytes are no PNG: test `image.isNull()`.
KILNX_EXPORT bool loadPNG(QImage &image, QIODevice *device);
KILNX_EXPORT bool savePNG(const QImage &image, QIODevice *device);

// The raw codecs have no header: the caller's container holds size and palette, and `image`
// already has its size and format. Pixels the stream does not reach stay as they were, except
// in loadLZ5(), which sets them to 0.

/// Packets of the bytes of a picture, row after row: 0x40 | n (n up to 63) and a value make a
/// run of n, every other byte is one value.
KILNX_EXPORT bool loadRLE8(QImage &image, QIODevice *device);
/// Works on any picture of 8 or more bits a pixel; runs cross rows.
KILNX_EXPORT bool saveRLE8(const QImage &image, QIODevice *device);

/// Packets of two bytes, a colour byte if wanted, and up to 31 short runs, for pixels of 0 to 31.
KILNX_EXPORT bool loadRLE5(QImage &image, QIODevice *device);
/// There is no writer for this format: opens the device, writes nothing, returns false.
KILNX_EXPORT bool saveRLE5(const QImage &image, QIODevice *device);

/// Runs and back references of up to 1,024 pixels, eight packets behind each control byte, for
/// pixels of 0 to 31. A reference to before the first pixel ends the reading with false. Pictures
/// of more than 2^28 pixels are neither read nor written.
KILNX_EXPORT bool loadLZ5(QImage &image, QIODevice *device);
/// `useLZ` false writes runs only.
KILNX_EXPORT bool saveLZ5(const QImage &image, QIODevice *device, bool useLZ);

} // namespace Kiln
