#include <hostkit/viewport.h>

#include <kilnx/image/sprite.h>
#include <kilnx/render/texture.h>

#include <QPainter>

#include <QMatrix4x4>

#include <cmath>

namespace HostKit
{

namespace
{

constexpr int keptPictures = 32 << 20; // bytes

/// What the shaders do to a colour.
QRgb shaded(QRgb color, Kiln::GraphicsRenderer::OnionEffect effect)
{
    using View = Kiln::GraphicsRenderer;
    if (effect == View::OnionGrayscale)
        return qRgba(qRed(color), qRed(color), qRed(color), qAlpha(color));
    const int step = effect == View::OnionLighter ? 128 : effect == View::OnionDarker ? -127 : 0;
    const auto channel = [step](int value) { return qBound(0, value + step, 255); };
    return qRgba(channel(qRed(color)), channel(qGreen(color)), channel(qBlue(color)),
                 qAlpha(color));
}

/// A picture as the painter blends it fastest.
QImage painted(const QImage &picture, Kiln::GraphicsRenderer::OnionEffect effect, int flip)
{
    QImage image = picture;
    if (effect != Kiln::GraphicsRenderer::OnionNormal) {
        image = image.convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < image.height(); ++y) {
            auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < image.width(); ++x)
                row[x] = shaded(row[x], effect);
        }
    }
    if (flip)
        image = image.mirrored(flip & 1, flip & 2);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QTransform transformOf(const QRect &area, const Viewport::Turn &turn, const Kiln::Sprite &sprite)
{
    const Kiln::ImageInfo info = sprite.imageInfo();
    return turn.transform(area, {int(info.width), int(info.height)});
}

} // namespace

Viewport::Viewport(QObject *parent)
    : GraphicsRenderer(parent)
    , m_pictures(keptPictures)
{
}

Viewport::~Viewport() = default;

void Viewport::setOnionSkinShape(unsigned char flip, QPointF scale, const Turn &turn)
{
    if (flip == m_onionFlip && scale == m_onionScale && turn.angle == m_onionTurn.angle &&
        turn.pivot == m_onionTurn.pivot)
        return;
    m_onionFlip = flip;
    m_onionScale = scale;
    m_onionTurn = turn;
    GraphicsRenderer::update();
}

QSize Viewport::onionSize(QSize size) const
{
    const auto scaled = [](int length, double scale) {
        const double result = length * scale;
        return std::isfinite(result) ? qRound(qBound(0.0, result, double(1 << 24))) : 0;
    };
    return {scaled(size.width(), m_onionScale.x()), scaled(size.height(), m_onionScale.y())};
}

void Viewport::paintSprite(QPainter &painter,
                           QPoint anchor,
                           QPoint offset,
                           QSize size,
                           float opacity,
                           unsigned char flip,
                           Kiln::Sprite *sprite,
                           int index)
{
    paint(painter, {anchor + offset, size}, spriteTurn(index), opacity, flip, sprite, OnionNormal);
}

void Viewport::paintOnionSprite(QPainter &painter,
                                const Kiln::Sprite *sprite,
                                QPoint anchor,
                                QPoint offset,
                                QSize size,
                                float opacity,
                                OnionEffect effect)
{
    paint(painter, {anchor + offset, onionSize(size)}, m_onionTurn, opacity, m_onionFlip, sprite,
          effect);
}

void Viewport::drawSprite(QPoint anchor,
                          QPoint offset,
                          QSize size,
                          float opacity,
                          unsigned char flip,
                          Kiln::Sprite *sprite,
                          int index)
{
    draw({anchor + offset, size}, spriteTurn(index), opacity, flip, sprite, OnionNormal);
}

void Viewport::drawOnionSprite(const Kiln::Sprite *sprite,
                               QPoint anchor,
                               QPoint offset,
                               QSize size,
                               float opacity,
                               OnionEffect effect)
{
    draw({anchor + offset, onionSize(size)}, m_onionTurn, opacity, m_onionFlip, sprite, effect);
}

void Viewport::paint(QPainter &painter,
                     const QRect &area,
                     const Turn &turn,
                     float opacity,
                     unsigned char flip,
                     const Kiln::Sprite *sprite,
                     OnionEffect effect)
{
    const QImage picture = sprite->image();
    if (picture.isNull() || area.isEmpty())
        return;
    const Key key(picture.cacheKey(), effect << 2 | (flip & 3));
    QImage image;
    if (const QImage *known = m_pictures.object(key)) {
        image = *known;
    } else {
        image = painted(picture, effect, flip & 3);
        m_pictures.insert(key, new QImage(image),
                          int(qMin(image.sizeInBytes(), qsizetype(INT_MAX))));
    }
    const qreal before = painter.opacity();
    painter.setOpacity(opacity > 0 ? qreal(opacity) : 1.0);
    if (turn.angle == 0) {
        painter.drawImage(area, image);
    } else {
        const QTransform unturned = painter.transform();
        painter.setTransform(transformOf(area, turn, *sprite), true);
        painter.drawImage(area, image);
        painter.setTransform(unturned);
    }
    painter.setOpacity(before);
}

/// Puts the unit square of an image to where the sprite is.
void Viewport::draw(const QRect &area,
                    const Turn &turn,
                    float opacity,
                    unsigned char flip,
                    const Kiln::Sprite *sprite,
                    OnionEffect effect)
{
    if (area.isEmpty())
        return;
    const Kiln::Texture &image = sprite->texture();
    const bool isIndexed = image.type() == Kiln::Texture::TypeIndexed;
    const Kiln::Palette *palette = isIndexed ? sprite->palette() : nullptr;
    if (isIndexed && !palette)
        return;
    QMatrix4x4 matrix(transformOf(area, turn, *sprite));
    matrix.translate(float(area.x()), float(area.y()));
    matrix.scale(float(area.width()), float(area.height()));
    glSetBlend(true);
    glSetBlendEquation(BlendAdd);
    glSetBlendFunction(BlendSrcAlpha, BlendOneMinusSrcAlpha);
    glDrawImage(matrix, &image, palette ? &palette->texture() : nullptr, flip,
                opacity > 0 ? opacity : 1.0F, true, static_cast<unsigned char>(effect));
}

} // namespace HostKit
