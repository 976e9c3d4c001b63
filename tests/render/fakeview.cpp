#include <tests/render/fakeview.h>

using namespace Kiln;

const Texture &FakePalette::texture() const
{
    if (m_key == m_picture.cacheKey() && m_texture.isOnCard())
        return m_texture;
    m_key = m_picture.cacheKey();
    RGBA colors[256];
    for (int i = 0; i < qMin(256, m_picture.colorCount()); ++i)
        colors[i] = fromQRgb(m_picture.color(i));
    m_texture.fromPalette(colors);
    return m_texture;
}

const Texture &FakeSprite::texture() const
{
    if (m_key != picture.cacheKey() || !m_texture.isOnCard())
        m_texture.fromImage(picture);
    m_key = picture.cacheKey();
    return m_texture;
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
    const bool isKnown = index < rows.size() && id < std::size(rows[index].properties);
    const QVariant value = isKnown ? rows[index].properties[id] : QVariant();
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
