#pragma once

#include <kilnx/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QSize>
#include <QtCore/QSizeF>

class QImage;

namespace Kiln
{

struct RGBA;

/// One image on the graphics card: the pixels of a sprite, or a palette.
///
/// Sprites, palettes and renderers hold textures by value. All of them live in one private context
/// of the library, which shares its objects with Qt's global share context, so that every view can
/// bind them by name; the host sets Qt::AA_ShareOpenGLContexts before it makes its application,
/// and setOpenGLEnabled(true) before the first sprite is made. As long as OpenGL is not enabled,
/// or the machine has none, every upload silently does nothing and the texture stays invalid.
///
/// A sprite with a palette is two textures: its indices, one byte a pixel, and the palette, 256 by
/// 1. The pixel shader joins them, so that another palette costs one upload of 1 KB whatever the
/// number of sprites. Filters are always "nearest": pixels stay exact at every zoom.
///
/// An object may be made and destroyed on any thread; uploads and reset() belong to the GUI thread.
/// Each upload gives a new name: whoever keeps the name reads it again afterwards.
class KILNX_EXPORT Texture
{
public:
    /// What a texture holds.
    enum Type : unsigned int {
        TypeNone = 0,    ///< nothing yet
        TypePalette = 1, ///< a palette, 256 by 1, four bytes an entry
        TypeIndexed = 2, ///< palette indices of one byte, to be drawn with a palette texture
        TypeRGBA = 3     ///< true colour, four bytes a pixel
    };

    /// Pixels made ready for the upload. Making them is the slow half of the work, and may run on
    /// any thread.
    struct ImageData {
        QSize size;           ///< of the image
        QSize textureSize;    ///< of the memory on the card: `size`, or powers of two above it
        bool indexed = false; ///< one byte a pixel, an index; otherwise four: R, G, B, A
        QByteArray data;      ///< the pixels, bottom row first; empty for no image
    };

    Texture();
    explicit Texture(const ImageData &data);
    explicit Texture(const QImage &image);
    /// `palette` has 256 entries.
    explicit Texture(const RGBA *palette);
    ~Texture();
    Texture(const Texture &) = delete;
    Texture &operator=(const Texture &) = delete;

    /// Makes an image ready for the card. An image of Format_Indexed8 gives its indices, any other
    /// true colour. A null image, and one that does not fit into 2 GB, gives empty `data`.
    ///
    /// Where the card is not known to take every size (before the first upload, none is), the
    /// texture's size is rounded up to powers of two. Rows of indices are then padded to the wider
    /// texture, while rows of true colour follow each other without a gap. The padding is not set.
    static void dataFromImage(const QImage &image, ImageData &data);

    /// Puts prepared pixels on the card in place of what was there. Empty data, and data that are
    /// shorter than their size says or larger than the card takes, only remove what was there; id()
    /// then keeps the old name, which is nobody's any more, when the data are empty.
    void fromData(const ImageData &data);
    /// dataFromImage() and fromData() in one.
    void fromImage(const QImage &image);
    /// Puts a palette of 256 entries on the card in place of what was there.
    void fromPalette(const RGBA *palette);
    /// Takes the texture off the card. Type and sizes stay.
    void reset();
    /// Exchanges the names on the card and nothing else: types and sizes stay where they are.
    void swap(Texture &other);

    /// The switch for the whole library, off at the start. Switching off takes every texture off
    /// the card; after switching on, the owners upload theirs again.
    static void setOpenGLEnabled(bool enabled);
    static bool isOpenGLEnabled();
    /// Whether the machine gives the library a context to keep textures in. Makes it on first use,
    /// on the GUI thread; false without a driver, and on a platform without OpenGL.
    static bool hasContext();

    /// Whether there is a name: something was uploaded.
    bool isValid() const { return m_id != 0; }
    /// Whether the name stands for something: it does not after an upload of empty data.
    bool isOnCard() const { return m_id != 0 && !m_deleted; }
    /// The name on the card, 0 for none.
    unsigned int id() const { return m_id; }
    Type type() const { return m_type; }
    /// The texture coordinate at which the image ends: its size in terms of the texture's.
    QSizeF maximumUV() const { return m_maximumUV; }
    /// The image's size in pixels.
    QSize size() const { return m_size; }
    int width() const { return m_size.width(); }
    int height() const { return m_size.height(); }

private:
    void removeOld();
    void upload(const QSize &textureSize, unsigned int format, const void *pixels);

    Type m_type = TypeNone;
    unsigned int m_id = 0;
    QSizeF m_maximumUV;
    QSize m_size;
    bool m_deleted = false; // the name in m_id is off the card already, and may be another's now
};

} // namespace Kiln
