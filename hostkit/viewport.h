#pragma once

#include <hostkit/export.h>

#include <kilnx/render/graphicsrenderer.h>

#include <QtCore/QCache>

namespace HostKit
{

/// The viewport of a host, complete: it draws the pixels of sprites, through OpenGL or with a
/// painter, as the widget that shows it has it. This file and its source need nothing else of the
/// kit and can be copied.
///
/// On the card, sprites and palettes own their textures, which are asked for in each frame.
/// Natively, pictures are turned into what the painter blends fastest and kept, at most 32 MB of
/// them; they are known by QImage::cacheKey(), so an engine that gives out the same image until it
/// changes has each picture turned once, and another palette turns only what is shown.
class HOSTKIT_EXPORT Viewport : public Kiln::GraphicsRenderer
{
    Q_OBJECT

public:
    explicit Viewport(QObject *parent = nullptr);
    ~Viewport() override;

    /// How the sprite of the onion skin is mirrored (bit 0 horizontally, bit 1 vertically), scaled,
    /// by factors of its size, and turned; its offset stays.
    void setOnionSkinShape(unsigned char flip, QPointF scale, const Turn &turn);
    /// Bytes of pictures that are kept for native painting.
    int keptBytes() const { return m_pictures.totalCost(); }

    // An opacity of 0 stands for a provider that says nothing: such a sprite is opaque.
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

private:
    QSize onionSize(QSize size) const;
    void paint(QPainter &painter,
               const QRect &area,
               const Turn &turn,
               float opacity,
               unsigned char flip,
               const Kiln::Sprite *sprite,
               OnionEffect effect);
    void draw(const QRect &area,
              const Turn &turn,
              float opacity,
              unsigned char flip,
              const Kiln::Sprite *sprite,
              OnionEffect effect);

    using Key = QPair<qint64, int>; // QImage::cacheKey(), effect and flip
    QCache<Key, QImage> m_pictures;
    unsigned char m_onionFlip = 0;
    QPointF m_onionScale{1, 1};
    Turn m_onionTurn;
};

} // namespace HostKit
