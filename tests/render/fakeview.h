#pragma once

#include <kilnx/image/palette.h>
#include <kilnx/image/sprite.h>
#include <kilnx/render/graphicsrenderer.h>
#include <kilnx/render/texture.h>

#include <QImage>
#include <QVariant>

#include <functional>
#include <map>
#include <vector>

/// A sprite that holds its picture.
class FakeSprite : public Kiln::Sprite
{
public:
    explicit FakeSprite(const QImage &picture = QImage());

    QImage image() const override { return picture; }
    Kiln::ImageInfo imageInfo() const override;

    // What no view asks for.
    QVariant property(const QString &) override { return {}; }
    void setProperty(const QString &, const QVariant &) override {}
    int index() const override { return -1; }
    Kiln::Sprites *sprites() const override { return nullptr; }
    bool isEmpty() const override { return picture.isNull(); }
    void finishImport() override {}
    const Kiln::Texture &texture() const override { return m_none; }
    void resetTexture() override {}
    void setPalette(Kiln::Palette *) override {}
    void setImage(const QImage &, bool, int, Kiln::Palette *) override {}
    void setImage(const QImage &) override {}
    Kiln::Palette *palette() const override { return nullptr; }
    bool sharesPalette() const override { return false; }

    QImage picture;

private:
    Kiln::Texture m_none;
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

/// What a host has to write: sprites drawn on both paths, each turned into what its path needs
/// once.
class FakeView : public Kiln::GraphicsRenderer
{
    Q_OBJECT

public:
    void paintSprite(QPainter &painter,
                     QPoint anchor,
                     QPoint offset,
                     QSize size,
                     float opacity,
                     unsigned char flip,
                     Kiln::Sprite *sprite,
                     int index) override;
    void paintOnionSprite(QPainter &painter,
                          const Kiln::Sprite *sprite,
                          QPoint anchor,
                          QPoint offset,
                          QSize size,
                          float opacity,
                          OnionEffect effect) override;
    void drawSprite(QPoint anchor,
                    QPoint offset,
                    QSize size,
                    float opacity,
                    unsigned char flip,
                    Kiln::Sprite *sprite,
                    int index) override;
    void drawOnionSprite(const Kiln::Sprite *sprite,
                         QPoint anchor,
                         QPoint offset,
                         QSize size,
                         float opacity,
                         OnionEffect effect) override;

    /// Other sprites may have come to the places of the old ones.
    void spritesChanged() override;

    void render(QPainter &painter) override;

    int frames = 0;

private:
    struct Card {
        Kiln::Texture image;
        Kiln::Texture palette;
    };
    Card &card(const Kiln::Sprite *sprite);
    void draw(const Kiln::Sprite *sprite,
              const QRect &area,
              unsigned char flip,
              float opacity,
              unsigned char effect);

    std::map<const Kiln::Sprite *, Card> m_cards;
};
