#pragma once

#include <hostkit/viewport.h>
#include <kilnx/image/palette.h>
#include <kilnx/image/sprite.h>
#include <kilnx/render/texture.h>

#include <QImage>
#include <QPainter>
#include <QVariant>

#include <functional>
#include <vector>

/// The colours of a picture, on the card as they are now.
class FakePalette : public Kiln::Palette
{
public:
    explicit FakePalette(const QImage &picture)
        : m_picture(picture)
    {
    }
    const Kiln::Texture &texture() const override;

    // What no view asks for.
    QVariant property(const QString &) override { return {}; }
    void setProperty(const QString &, const QVariant &) override {}
    int index() const override { return 0; }
    Kiln::Palettes *palettes() const override { return nullptr; }
    unsigned int useCount() const override { return 1; }
    void toPalette(Kiln::RGBA (&)[256]) const override {}
    void setColors(const Kiln::RGBA *, int) override {}

private:
    const QImage &m_picture;
    mutable Kiln::Texture m_texture;
    mutable qint64 m_key = 0;
};

/// A sprite that holds its picture.
class FakeSprite : public Kiln::Sprite
{
public:
    explicit FakeSprite(const QImage &image = QImage())
        : picture(image)
        , m_palette(picture)
    {
    }
    QImage image() const override { return picture; }
    Kiln::ImageInfo imageInfo() const override;
    const Kiln::Texture &texture() const override;
    Kiln::Palette *palette() const override { return &m_palette; }

    // What no view asks for.
    QVariant property(const QString &) override { return {}; }
    void setProperty(const QString &, const QVariant &) override {}
    int index() const override { return -1; }
    Kiln::Sprites *sprites() const override { return nullptr; }
    bool isEmpty() const override { return picture.isNull(); }
    void finishImport() override {}
    void resetTexture() override {}
    void setPalette(Kiln::Palette *) override {}
    void setImage(const QImage &, bool, int, Kiln::Palette *) override {}
    void setImage(const QImage &) override {}
    bool sharesPalette() const override { return false; }

    QImage picture;

private:
    mutable FakePalette m_palette;
    mutable Kiln::Texture m_texture;
    mutable qint64 m_key = 0;
};

/// A provider that gives what the test put in.
class FakeProvider : public Kiln::SpriteProvider
{
    Q_OBJECT

public:
    struct Row {
        Kiln::Sprite *sprite = nullptr;
        QVariant properties[8];
    };

    FakeProvider();
    unsigned int count() override { return unsigned(rows.size()); }
    Kiln::Sprite *spriteAt(unsigned int index) override { return rows.at(index).sprite; }
    QVariant property(unsigned int index, unsigned int id) override;
    /// A row with sensible properties: at image pixel `position` from the origin, free on both
    /// axes.
    void add(Kiln::Sprite *sprite, QPoint position, int mode = 13, int parent = 0);

    std::vector<Row> rows;
    std::function<void(unsigned int)> beforeProperty; ///< runs while the view reads
};

/// The kit's viewport, which counts its frames.
class FakeView : public HostKit::Viewport
{
    Q_OBJECT

public:
    void render(QPainter &painter) override
    {
        ++frames;
        isPartial = painter.hasClipping();
        Viewport::render(painter);
    }

    int frames = 0;
    bool isPartial = false; ///< of the last frame
};
