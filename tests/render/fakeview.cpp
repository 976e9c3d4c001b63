#include <tests/render/fakeview.h>

#include <QMatrix4x4>
#include <QPainter>

using namespace Kiln;

FakeSprite::FakeSprite(const QImage &image)
    : picture(image)
{
}

ImageInfo FakeSprite::imageInfo() const
{
    ImageInfo info;
    info.width = static_cast<unsigned short>(picture.width());
    info.height = static_cast<unsigned short>(picture.height());
    info.format = picture.format();
    return info;
}

FakeProvider::FakeProvider()
    : SpriteProvider(nullptr)
{
}

QVariant FakeProvider::property(unsigned int index, unsigned int id)
{
    const QVariant value = index < rows.size() ? rows[index].properties[id] : QVariant();
    if (beforeProperty)
        beforeProperty(id);
    return value;
}

void FakeProvider::add(Sprite *sprite, QPoint position, int mode, int parent)
{
    const ImageInfo info = sprite ? sprite->imageInfo() : ImageInfo();
    rows.push_back(
        {sprite,
         {position, mode, parent, QSize(info.width, info.height), QPointF(1, 1), 0, 1.0F, 0}});
}

/// The picture with its palette's alpha and the effect, as the shaders do it.
static QImage effected(const QImage &picture, int effect)
{
    QImage image = picture.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height() && effect; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const QRgb c = line[x];
            const auto shade = [effect, c](int value) {
                const int gray = effect == 1 ? qRed(c) : value;
                return qBound(0, gray + (effect == 2 ? 128 : effect == 3 ? -127 : 0), 255);
            };
            line[x] = qRgba(shade(qRed(c)), shade(qGreen(c)), shade(qBlue(c)), qAlpha(c));
        }
    }
    return image;
}

static void
paint(QPainter &painter, const QImage &image, const QRect &area, int flip, float opacity)
{
    const qreal before = painter.opacity();
    painter.setOpacity(qreal(opacity));
    painter.drawImage(area, image.mirrored(flip & 1, flip & 2));
    painter.setOpacity(before);
}

void FakeView::paintSprite(QPainter &painter,
                           QPoint anchor,
                           QPoint offset,
                           QSize size,
                           float opacity,
                           unsigned char flip,
                           Sprite *sprite,
                           int)
{
    paint(painter, static_cast<FakeSprite *>(sprite)->picture, {anchor + offset, size}, flip,
          opacity);
}

void FakeView::paintOnionSprite(QPainter &painter,
                                const Sprite *sprite,
                                QPoint anchor,
                                QPoint offset,
                                QSize size,
                                float opacity,
                                OnionEffect effect)
{
    const QImage &picture = static_cast<const FakeSprite *>(sprite)->picture;
    paint(painter, effected(picture, effect), {anchor + offset, size}, 0, opacity);
}

void FakeView::drawSprite(QPoint anchor,
                          QPoint offset,
                          QSize size,
                          float opacity,
                          unsigned char flip,
                          Sprite *sprite,
                          int)
{
    draw(sprite, {anchor + offset, size}, flip, opacity, EffectNone);
}

void FakeView::drawOnionSprite(const Sprite *sprite,
                               QPoint anchor,
                               QPoint offset,
                               QSize size,
                               float opacity,
                               OnionEffect effect)
{
    draw(sprite, {anchor + offset, size}, 0, opacity, static_cast<unsigned char>(effect));
}

void FakeView::render(QPainter &painter)
{
    ++frames;
    GraphicsRenderer::render(painter);
}

void FakeView::spritesChanged()
{
    m_cards.clear();
    GraphicsRenderer::spritesChanged();
}

FakeView::Card &FakeView::card(const Sprite *sprite)
{
    const auto [place, isNew] = m_cards.try_emplace(sprite);
    if (!isNew)
        return place->second;
    const QImage &picture = static_cast<const FakeSprite *>(sprite)->picture;
    RGBA colors[256];
    for (int i = 0; i < qMin(256, picture.colorCount()); ++i)
        colors[i] = fromQRgb(picture.color(i));
    place->second.image.fromImage(picture);
    place->second.palette.fromPalette(colors);
    return place->second;
}

void FakeView::draw(const Sprite *sprite,
                    const QRect &area,
                    unsigned char flip,
                    float opacity,
                    unsigned char effect)
{
    Card &textures = card(sprite);
    QMatrix4x4 matrix;
    matrix.translate(float(area.x()), float(area.y()));
    matrix.scale(float(area.width()), float(area.height()));
    glSetBlend(true);
    glSetBlendEquation(BlendAdd);
    glSetBlendFunction(BlendSrcAlpha, BlendOneMinusSrcAlpha);
    const bool indexed = textures.image.type() == Texture::TypeIndexed;
    glDrawImage(matrix, &textures.image, indexed ? &textures.palette : nullptr, flip, opacity, true,
                effect);
}
