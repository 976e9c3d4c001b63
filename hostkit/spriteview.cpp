#include <hostkit/spriteview.h>

#include <kilnx/image/sprite.h>

namespace HostKit
{

namespace
{
const QString originName = QStringLiteral("Origin");
}

QPoint SpriteView::spriteOffset(Kiln::Sprite *sprite) const
{
    return sprite->property(originName).toPoint();
}

void SpriteView::setSpriteOffset(Kiln::Sprite *sprite, QPoint offset)
{
    if (sprite->propertyNames().contains(originName))
        sprite->setProperty(originName, offset);
}

} // namespace HostKit
