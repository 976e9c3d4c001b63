#pragma once

#include <kilnx/export.h>

#include <QtCore/QObject>
#include <QtGui/QColor>

class QIODevice;

namespace Kiln
{

/// A colour without alpha: one entry of a GIF colour map. Bytes R, G, B.
struct RGB {
    unsigned char r = 0;
    unsigned char g = 0;
    unsigned char b = 0;
};

/// A colour with alpha: one entry of a palette. Bytes R, G, B, A, where alpha 255 is opaque.
/// A palette is always a table of 256 of these, 1,024 bytes in one piece.
struct RGBA {
    unsigned char r = 0;
    unsigned char g = 0;
    unsigned char b = 0;
    unsigned char a = 0;
};

inline bool operator==(RGB x, RGB y)
{
    return x.r == y.r && x.g == y.g && x.b == y.b;
}
inline bool operator!=(RGB x, RGB y)
{
    return !(x == y);
}
inline bool operator==(RGBA x, RGBA y)
{
    return x.r == y.r && x.g == y.g && x.b == y.b && x.a == y.a;
}
inline bool operator!=(RGBA x, RGBA y)
{
    return !(x == y);
}

/// The same colour in Qt's form, alpha in the top byte.
inline QRgb toQRgb(RGBA color)
{
    return qRgba(color.r, color.g, color.b, color.a);
}
/// The same colour from Qt's form.
inline RGBA fromQRgb(QRgb color)
{
    return {static_cast<unsigned char>(qRed(color)), static_cast<unsigned char>(qGreen(color)),
            static_cast<unsigned char>(qBlue(color)), static_cast<unsigned char>(qAlpha(color))};
}

/// What PaletteObject::applyEffect() does to a colour. `avg` is (r + g + b) / 3, truncated.
enum RGBPaletteEffect : int {
    SwapRedBlue = 1,
    SwapGreenBlue = 2,
    SwapRedGreen = 3,
    SwapBlueGreen = 4, ///< the same as SwapGreenBlue
    SwapGreenRed = 5,  ///< the same as SwapRedGreen
    SwapBlueRed = 6,   ///< the same as SwapRedBlue
    Lighter = 7,       ///< every channel + 32
    Darker = 8,        ///< every channel - 32
    Gray = 9,          ///< every channel becomes avg
    WarmTint = 10,     ///< (avg + 100, avg / 2, 0)
    VioletTint = 11,   ///< (avg / 4 + 60, 0, avg / 2 + 60)
    Washed = 12,       ///< avg + 50 up to 127, avg - 50 above
    MuchLighter = 13,  ///< every channel + 128
    MuchDarker = 14    ///< every channel - 128
};

/// Edits a palette of 256 entries that somebody else owns.
///
/// Every writing operation except empty() emits changing() once before it touches the table and
/// changed() once when it is done, also when nothing changed: a listener that keeps undo steps
/// takes a copy on changing(). There is no history here.
///
/// A `mask` is an array of 256 flags, one for each index; null selects all. The files of palettes
/// are read and written in palette_files.cpp.
class KILNX_EXPORT PaletteObject : public QObject
{
    Q_OBJECT

public:
    /// Edits `*table`, which must outlive this object and is not freed by it. Has no parent.
    explicit PaletteObject(RGBA (*table)[256]);
    ~PaletteObject() override;
    /// Turns to another table. Emits nothing.
    PaletteObject &operator=(RGBA (*table)[256]);

    RGBA (&palette() const)[256] { return *m_table; }
    RGBA at(unsigned char i) const { return (*m_table)[i]; }
    RGBA operator[](unsigned char i) const { return (*m_table)[i]; }
    QColor colorAt(unsigned char i) const;
    /// The entry nearest to `c` by squared distance of red, green and blue. Among equals the
    /// first wins, unless a later one's alpha minus the wanted alpha is below the kept
    /// difference, which is kept as an unsigned byte.
    unsigned char index(RGBA c) const;
    void toPalette(RGBA (&out)[256]) const;

    /// Copies 256 entries in.
    void fromPalette(const RGBA *src);
    /// Sets every byte to zero, alpha too. Emits no signal.
    void empty();
    void setColor(unsigned char i, RGBA c);
    void setColor(const bool *mask, RGBA c);
    /// Writes each of the 256 colours of `src` that the table lacks, from entry 255 downwards.
    void addColors(const RGBA *src);
    /// Adds a signed delta to each channel and clamps to 0..255. Alpha stays.
    void addRGB(const bool *mask, short r, short g, short b);
    /// Adds to the HSL hue (clamped to 0..359) and saturation (0..255). Alpha becomes 255.
    void addHueSaturation(const bool *mask, short hue, short saturation);
    /// Values outside RGBPaletteEffect change nothing. Alpha stays.
    void applyEffect(RGBPaletteEffect effect, const bool *mask);
    /// Where two entries above 0 are equal, the earlier becomes `replacement`, opaque.
    void clearDuplicated(RGB replacement);
    /// Writes `to - from` steps from `start` to `end` into the entries from 0 on. Does nothing
    /// to the table unless `from` is below `to`.
    void gradient(unsigned char from, RGBA start, unsigned char to, const RGBA &end);
    /// Spreads the steps from `start` to `end` over the selected entries, in rising order.
    void gradient(const bool *mask, RGBA start, RGBA end);
    /// From entry 0 on, brings the nearest of the later colours next to each entry.
    void sortByTones();
    /// Reverses the order of the selected colours. With `keepAlphaEnds` the alpha of entries 0
    /// and 255 is exchanged afterwards, so that a transparent index 0 stays transparent.
    void switchColors(const bool *mask, bool keepAlphaEnds);

    /// Reads a palette file. `format` is the upper-case file extension: "PNG", "PCX", "BMP",
    /// "GIF" (indexed pictures), "ACT", "ACO"; every other word goes by the first four bytes
    /// (RIFF, Jasc, swatch exchange, swatch text) and then by the registered extensions.
    /// False leaves the table alone and emits nothing.
    bool fromFile(QIODevice *device, const char *format);
    /// Writes "ACT" (768 bytes R, G, B, last entry first), other words through the registered
    /// extensions. False for a device that cannot be written or when nobody knows the format.
    bool toFile(QIODevice *device, const char *format);

Q_SIGNALS:
    /// The table is about to be written.
    void changing();
    /// The table has been written.
    void changed();

private:
    RGBA (*m_table)[256];
};

} // namespace Kiln
