#pragma once

#include "embergleam.h"

#include <kilnx/image/sprite.h>
#include <kilnx/render/texture.h>

class EmberPalette;
class EmberSprites;

/// The handle on a picture's bytes, with the size and format that its coder needs.
struct EMBER_EXPORT EmberPictureData : EmberItemData {
    using EmberItemData::EmberItemData;

    EmberGleam::PictureInfo info;

    /// Without a colour table; null when the bytes cannot be decoded.
    QImage picture() const;
    /// A picture in one of our formats, or a null one.
    void setPicture(const QImage &image);
    StreamCacheData *copyTo(Kiln::StreamCache *target) const override;
};

/// One sprite of an EmberSprites. Changes go through the undo history of its list.
///
/// The texture on the card belongs to the sprite, the palette's to the palette: a new colour costs
/// one upload of 1 KB. What is decoded and what is on the card are copies that the list bounds.
class EMBER_EXPORT EmberSprite : public Kiln::Sprite
{
public:
    /// Takes `data` over.
    EmberSprite(EmberSprites &list, const QString &identifier, EmberPictureData *data);
    ~EmberSprite() override;

    QString identifier() const { return m_identifier; }
    void exchangeIdentifier(QString &other) { m_identifier.swap(other); }
    /// The point of the picture that stands where a frame puts the sprite, in pixels from its upper
    /// left; the property "Origin". It stays when the picture is replaced.
    QPoint origin() const { return m_origin; }

    /// "Identifier" and "Origin".
    QStringList propertyNames() override;
    QVariant property(const QString &name) override;
    void setProperty(const QString &name, const QVariant &value) override;
    int index() const override;
    Kiln::Sprites *sprites() const override;
    bool isEmpty() const override;
    /// Lets go of what the import decoded.
    void finishImport() override;
    const Kiln::Texture &texture() const override;
    void resetTexture() override;
    QImage image() const override;
    Kiln::ImageInfo imageInfo() const override;
    void setPalette(Kiln::Palette *palette) override;
    void setImage(const QImage &image,
                  bool keepPalette,
                  int paletteMode,
                  Kiln::Palette *palette) override;
    void setImage(const QImage &image) override;
    Kiln::Palette *palette() const override;
    bool sharesPalette() const override;
    std::function<QImage()> pictureJob() const override;

private:
    friend class EmberSprites;
    EmberPictureData *pictureData() const;
    EmberPalette *own(Kiln::Palette *palette) const;

    EmberSprites &m_list;
    QString m_identifier;
    QPoint m_origin;
    EmberPalette *m_palette = nullptr;
    mutable Kiln::Texture m_texture;
    mutable bool m_isRefused = false; // the card does not take the picture
    mutable bool m_isBroken = false;  // the bytes cannot be decoded, or there are none
};
