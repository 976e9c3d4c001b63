#include "embersprite.h"

#include "emberpalettes.h"
#include "embersprites.h"

#include <kilnx/image/imageops.h>

#include <algorithm>

namespace
{

const QLatin1String identifierName("Identifier");
const QLatin1String originName("Origin");

/// The picture in the one of our formats that is nearest.
QImage inOwnFormat(const QImage &image)
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
    default:
        return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32
                                                             : QImage::Format_RGB32);
    }
}

/// Entry i of the colours, and with it each pixel of that index, becomes entry 255 - i.
QImage turnedRound(QImage image)
{
    QVector<QRgb> table(256, 0xFF000000); // what the image leaves out is opaque black
    const QVector<QRgb> colors = image.colorTable();
    std::copy_n(colors.cbegin(), qMin(colors.size(), 256), table.rbegin());
    for (int y = 0; y < image.height(); ++y) {
        uchar *row = image.scanLine(y);
        std::transform(row, row + image.width(), row, [](uchar index) { return 255 - index; });
    }
    image.setColorTable(table);
    return image;
}

} // namespace

QImage EmberPictureData::picture() const
{
    // The store gives back undecoded what it cannot decode.
    return EmberGleam::pictureOf(toData(false), info);
}

void EmberPictureData::setPicture(const QImage &image)
{
    info.width = static_cast<quint16>(image.width());
    info.height = static_cast<quint16>(image.height());
    info.format = static_cast<quint8>(image.format());
    const QByteArray pixels = EmberGleam::pixelsOf(image);
    store(pixels, EmberGleam::coderFor(pixels, info));
}

Kiln::StreamCacheData *EmberPictureData::copyTo(Kiln::StreamCache *target) const
{
    auto *copy = new EmberPictureData(target);
    copy->info = info;
    copy->adopt(*this);
    return copy;
}

EmberSprite::EmberSprite(EmberSprites &list, const QString &identifier, EmberPictureData *data)
    : Sprite(data)
    , m_list(list)
    , m_identifier(identifier)
{
}

EmberSprite::~EmberSprite()
{
    m_list.forgetCopies(this);
}

QStringList EmberSprite::propertyNames()
{
    return Sprite::propertyNames() << originName;
}

QVariant EmberSprite::property(const QString &name)
{
    return name == identifierName ? QVariant(m_identifier)
           : name == originName   ? QVariant(m_origin)
                                  : QVariant();
}

void EmberSprite::setProperty(const QString &name, const QVariant &value)
{
    if (name == identifierName)
        m_list.rename(*this, value.toString());
    else if (name == originName)
        m_list.changeOrigin(*this, value.toPoint());
}

int EmberSprite::index() const
{
    return m_list.rowOf(this);
}

Kiln::Sprites *EmberSprite::sprites() const
{
    return &m_list;
}

bool EmberSprite::isEmpty() const
{
    return EmberGleam::pixelBytes(pictureData()->info) == 0;
}

void EmberSprite::finishImport()
{
    resetTexture();
}

const Kiln::Texture &EmberSprite::texture() const
{
    if (!Kiln::Texture::isOpenGLEnabled())
        return m_texture;
    if (!m_texture.isOnCard() && !m_isRefused) {
        m_texture.fromImage(m_list.decoded(*this));
        m_isRefused = !m_texture.isOnCard();
    }
    m_list.noteTexture(this);
    return m_texture;
}

void EmberSprite::resetTexture()
{
    m_list.forgetCopies(this);
}

QImage EmberSprite::image() const
{
    return m_list.decoded(*this);
}

Kiln::ImageInfo EmberSprite::imageInfo() const
{
    const EmberGleam::PictureInfo &info = pictureData()->info;
    return isEmpty() ? Kiln::ImageInfo{0, 0, QImage::Format_Invalid}
                     : Kiln::ImageInfo{info.width, info.height, QImage::Format(info.format)};
}

void EmberSprite::setPalette(Kiln::Palette *palette)
{
    EmberPalette *wanted = own(palette);
    if (wanted || !palette)
        m_list.changePalette(*this, wanted);
}

void EmberSprite::setImage(const QImage &image,
                           bool keepPalette,
                           int paletteMode,
                           Kiln::Palette *palette)
{
    QImage picture = inOwnFormat(image);
    if (keepPalette && picture.format() == QImage::Format_Indexed8)
        picture = turnedRound(picture);
    if (picture.isNull() || paletteMode == ImagePalette || !palette) {
        m_list.changePicture(*this, picture, nullptr);
        return;
    }
    if (paletteMode == ForcePalette || picture.format() != QImage::Format_Indexed8)
        Kiln::adaptImageToPalette(picture, palette->colors());
    EmberPalette *wanted = own(palette);
    if (!wanted)
        picture.setColorTable(EmberPalette::tableOf(palette->colors()));
    m_list.changePicture(*this, picture, wanted);
}

void EmberSprite::setImage(const QImage &image)
{
    m_list.changePicture(*this, inOwnFormat(image), m_palette);
}

Kiln::Palette *EmberSprite::palette() const
{
    return m_palette;
}

bool EmberSprite::sharesPalette() const
{
    return m_palette && m_palette->useCount() > 1;
}

std::function<QImage()> EmberSprite::pictureJob() const
{
    if (isEmpty())
        return {};
    const EmberPictureData *data = pictureData();
    const QVector<QRgb> colors = m_palette ? m_palette->colorTable() : QVector<QRgb>();
    return [bytes = data->toData(true), info = data->info, coder = data->filter(), colors] {
        const QByteArray pixels =
            coder == EmberGleam::Plain ? bytes : EmberGleam::decode(bytes, info, coder);
        QImage picture = EmberGleam::pictureOf(pixels, info);
        picture.setColorTable(colors);
        return picture;
    };
}

/// The palette as one that the list has; null for one of another file, and for one that was taken
/// out.
EmberPalette *EmberSprite::own(Kiln::Palette *palette) const
{
    const bool isOwn = palette && palette->palettes() == m_list.palettes() && palette->index() >= 0;
    return isOwn ? static_cast<EmberPalette *>(palette) : nullptr;
}

EmberPictureData *EmberSprite::pictureData() const
{
    return static_cast<EmberPictureData *>(m_data);
}
