#include <kilnx/image/sprite.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace Kiln
{

namespace
{

const QString identifierName = QStringLiteral("Identifier");

QImage blankCanvas(qint64 width, qint64 height, const QImage &like)
{
    constexpr qint64 largest = std::numeric_limits<int>::max();
    if (width <= 0 || height <= 0 || width > largest || height > largest)
        return QImage();
    QImage canvas(static_cast<int>(width), static_cast<int>(height), like.format());
    if (canvas.isNull())
        return canvas;
    std::memset(canvas.bits(), 0, static_cast<size_t>(canvas.sizeInBytes()));
    if (like.format() == QImage::Format_Indexed8)
        canvas.setColorTable(like.colorTable());
    return canvas;
}

/// Copies the rows of `image` so that its top left corner lies at (x, y) of the canvas.
void copyRows(const QImage &image, QImage &canvas, qint64 x, qint64 y)
{
    const qint64 left = std::max<qint64>(x, 0);
    const qint64 right = std::min<qint64>(x + image.width(), canvas.width());
    const qint64 top = std::max<qint64>(y, 0);
    const qint64 bottom = std::min<qint64>(y + image.height(), canvas.height());
    if (left >= right)
        return;
    const qint64 depth = image.depth();
    const auto bytes = static_cast<size_t>((right - left) * depth / 8);
    for (qint64 row = top; row < bottom; ++row)
        std::memcpy(canvas.scanLine(static_cast<int>(row)) + left * depth / 8,
                    image.constScanLine(static_cast<int>(row - y)) + (left - x) * depth / 8, bytes);
}

} // namespace

Palette::~Palette() = default;

QStringList Palette::propertyNames()
{
    return {identifierName};
}

Sprite::Sprite(StreamCacheData *data)
    : CachedPropertyItem(data)
{
}

Sprite::Sprite(const Sprite &other)
    : CachedPropertyItem(other.m_data)
{
}

Sprite &Sprite::operator=(const Sprite &other)
{
    m_data = other.m_data;
    return *this;
}

Sprite::~Sprite() = default;

QStringList Sprite::propertyNames()
{
    return {identifierName};
}

std::function<QImage()> Sprite::pictureJob() const
{
    const QImage picture = image();
    return picture.isNull() ? std::function<QImage()>() : [picture] { return picture; };
}

QImage Sprite::aligned(QPoint from, QPoint to, QPoint extent) const
{
    const QImage picture = image();
    if (picture.isNull())
        return QImage();
    QImage canvas = blankCanvas(qint64(to.x()) + extent.x(), qint64(to.y()) + extent.y(), picture);
    if (!canvas.isNull())
        copyRows(picture, canvas, qint64(to.x()) - from.x(), qint64(to.y()) - from.y());
    return canvas;
}

Palettes::Palettes(QObject *parent)
    : OrganizableObject(parent)
{
}

Palettes::~Palettes() = default;

Sprites::Sprites(StreamCache *cache)
    : SearchableCachedProjectFile(cache)
{
}

Sprites::~Sprites() = default;

unsigned int Sprites::itemCount() const
{
    return static_cast<unsigned int>(rowCount());
}

Sprite *Sprites::itemAt(unsigned int index) const
{
    return at(index);
}

QAbstractItemModel *Sprites::model()
{
    return this;
}

void Sprites::cancelChange()
{
    endChange();
    undo();
}

SpriteProvider::SpriteProvider(QObject *parent)
    : QObject(parent)
{
}

SpriteProvider::~SpriteProvider() = default;

} // namespace Kiln

// With its own class, so that the fuzz targets need not link what sprites stand on.
#include "moc_sprite.cpp"
