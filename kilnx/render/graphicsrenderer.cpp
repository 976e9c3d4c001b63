#include <kilnx/render/graphicsrenderer.h>

#include <kilnx/image/sprite.h>
#include <kilnx/render/graphicsrenderer_p.h>

namespace Kiln
{

namespace
{

constexpr int lastLevel = 11;
constexpr float zoomFactors[2][lastLevel + 1] = {
    {0.25F, 0.5F, 0.75F, 1.0F, 1.5F, 2.0F, 2.25F, 2.5F, 2.75F, 3.0F, 3.5F, 4.0F},
    {0.25F, 0.5F, 1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F, 8.0F, 9.0F, 10.0F},
};
constexpr unsigned char actualLevels[2] = {3, 2};
/// Longer chains of parents than this are cut: they are circles.
constexpr int longestChain = 256;

} // namespace

GraphicsRendererBase::~GraphicsRendererBase() = default;

GraphicsRendererPrivate::GraphicsRendererPrivate(GraphicsRenderer *renderer)
    : q(renderer)
{
    clearSelection();
    contactBoxes[0].visible = true;
    contactBoxes[1].visible = true;
}

GraphicsRenderer::GraphicsRenderer(QObject *parent)
    : QObject(parent)
    , d(std::make_unique<GraphicsRendererPrivate>(this))
{
    GraphicsStyle::instance().views.insert(this);
}

GraphicsRenderer::~GraphicsRenderer()
{
    GraphicsStyle::instance().views.remove(this);
}

void GraphicsRenderer::setSprites(SpriteProvider *provider)
{
    if (d->provider)
        d->provider->disconnect(this);
    d->provider = provider;
    if (provider) {
        connect(provider, &SpriteProvider::changed, this, &GraphicsRenderer::spritesChanged);
        connect(provider, &SpriteProvider::changedAt, this, &GraphicsRenderer::spriteChangedAt);
        connect(provider, &QObject::destroyed, this, [this] { setSprites(nullptr); });
    }
    spritesChanged();
}

SpriteProvider *GraphicsRenderer::spriteProvider() const
{
    return d->provider;
}

void GraphicsRenderer::spritesChanged()
{
    // A provider may change while it is asked: then it is asked once more from the start.
    constexpr int patience = 8;
    if (d->readDepth > 0) {
        d->readDepth = qMin(d->readDepth + 1, patience);
        return;
    }
    const QPointer<GraphicsRenderer> alive(this);
    int turn = 0;
    do {
        d->readDepth = ++turn;
        const int count = d->provider ? int(qMin(d->provider->count(), 1U << 16)) : 0;
        if (!alive)
            return;
        d->items = QVector<SpriteItem>(count);
        for (int i = 0; i != count && d->readDepth == turn; ++i) {
            spriteChangedAt(unsigned(i));
            if (!alive)
                return;
        }
    } while (d->readDepth != turn);
    d->readDepth = 0;
    Q_EMIT changed();
    if (alive)
        update();
}

void GraphicsRenderer::spriteChangedAt(unsigned int index)
{
    SpriteProvider *provider = d->provider;
    if (!provider || !d->item(index))
        return;
    const QPointer<GraphicsRenderer> alive(this);
    const auto property = [&](unsigned int id) {
        return alive && d->provider == provider ? provider->property(index, id) : QVariant();
    };
    SpriteItem item;
    item.sprite = provider->spriteAt(index);
    item.position = property(0).toPoint();
    item.mode = static_cast<unsigned char>(property(1).toInt());
    item.parent = static_cast<unsigned short>(property(2).toInt());
    item.size = property(3).toSize();
    item.scale = property(4).toPointF();
    item.flip = static_cast<unsigned char>(property(5).toUInt());
    item.opacity = property(6).toFloat();
    item.layer = static_cast<unsigned char>(property(7).toInt());
    item.turn = {property(SpriteProvider::Angle).toDouble(),
                 property(SpriteProvider::Pivot).toPointF()};
    SpriteItem *place = alive && d->provider == provider ? d->item(index) : nullptr;
    if (!place)
        return;
    *place = item;
    if (d->pressed && d->hit == GraphicsRendererPrivate::HitSprite && d->currentBox == int(index))
        d->dragStart = item.position;
    if (d->readDepth > 0)
        return;
    Q_EMIT changedAt(index);
    if (alive)
        update();
}

QTransform GraphicsRenderer::Turn::transform(const QRect &area, QSize size) const
{
    if (!std::isfinite(angle) || size.isEmpty())
        return QTransform();
    const QPointF about(area.x() + pivot.x() * area.width() / size.width(),
                        area.y() + pivot.y() * area.height() / size.height());
    return QTransform()
        .translate(about.x(), about.y())
        .rotate(-std::remainder(angle, 360))
        .translate(-about.x(), -about.y());
}

GraphicsRenderer::Turn GraphicsRenderer::spriteTurn(int index) const
{
    return d->items.value(index).turn;
}

void GraphicsRenderer::setVisibility(bool cross1,
                                     bool cross2,
                                     bool cross3,
                                     bool attackBoxes,
                                     bool collisionBoxes,
                                     bool rulers,
                                     bool guides)
{
    const std::pair<bool *, bool> wanted[] = {
        {&d->crosses[0].visible, cross1},
        {&d->crosses[1].visible, cross2},
        {&d->crosses[2].visible, cross3},
        {&d->contactBoxes[0].visible, attackBoxes},
        {&d->contactBoxes[1].visible, collisionBoxes},
        {&d->rulersVisible, rulers},
        {&d->guidesVisible, guides},
    };
    bool differs = false;
    for (const auto &[flag, value] : wanted) {
        differs |= *flag != value;
        *flag = value;
    }
    if (differs)
        update();
}

void GraphicsRenderer::setGuideLines(QPoint guides)
{
    if (guides == d->guides)
        return;
    d->guides = guides;
    update();
}

QPoint GraphicsRenderer::guideLines() const
{
    return d->guides;
}

void GraphicsRenderer::setOnionSkin(bool enabled, OnionEffect effect, float opacity)
{
    const bool differs = effect != d->onionEffect || opacity != d->onionOpacity;
    if (enabled == d->onionEnabled && !(enabled && differs))
        return;
    d->onionEnabled = enabled;
    d->onionEffect = effect;
    d->onionOpacity = opacity;
    update();
}

void GraphicsRenderer::setOnionSkinSprite(const Sprite *sprite, QPoint offset)
{
    if (sprite == d->onionSprite && offset == d->onionOffset)
        return;
    d->onionSprite = sprite;
    d->onionOffset = offset;
    update();
}

/// Null for what is no cross.
Item *GraphicsRendererPrivate::cross(GraphicsRenderer::ItemType type)
{
    const bool isCross =
        type >= GraphicsRenderer::ItemCrossMain && type <= GraphicsRenderer::ItemCrossExtra;
    return isCross ? &crosses[type] : nullptr;
}

/// The sprite of a number; null for one out of range.
SpriteItem *GraphicsRendererPrivate::item(unsigned int index)
{
    return index < unsigned(items.size()) ? &items[int(index)] : nullptr;
}

QPoint *GraphicsRendererPrivate::position(GraphicsRenderer::ItemType type, unsigned int index)
{
    if (Item *found = cross(type))
        return &found->position;
    SpriteItem *found = type == GraphicsRenderer::ItemSprite ? item(index) : nullptr;
    return found ? &found->position : nullptr;
}

void GraphicsRenderer::setItemPosition(ItemType type, QPoint position, unsigned int index)
{
    QPoint *place = d->position(type, index);
    if (!place || *place == position)
        return;
    *place = position;
    update();
}

QPoint GraphicsRenderer::itemPosition(ItemType type, unsigned int index) const
{
    const QPoint *place = d->position(type, index);
    return place ? *place : QPoint();
}

void GraphicsRenderer::setItemPositionMode(ItemType type,
                                           unsigned char mode,
                                           unsigned int parent,
                                           unsigned int index)
{
    const auto number = static_cast<unsigned short>(qMin(parent, 0xFFFFU));
    const auto set = [&](unsigned char &itemMode, unsigned short &itemParent) {
        const bool differs = itemMode != mode || itemParent != number;
        itemMode = mode;
        itemParent = number;
        if (differs && type != ItemContactBoxes)
            update();
    };
    if (type == ItemContactBoxes)
        set(d->boxMode, d->boxParent);
    else if (Item *cross = d->cross(type))
        set(cross->mode, cross->parent);
    else if (SpriteItem *item = type == ItemSprite ? d->item(index) : nullptr)
        set(item->mode, item->parent);
}

int GraphicsRenderer::indexOfItem(ItemType type, void *item) const
{
    if (d->cross(type))
        return type;
    for (int i = 0; type == ItemSprite && i < d->items.size(); ++i) {
        if (d->items.at(i).sprite == item)
            return i;
    }
    return -1;
}

void GraphicsRenderer::setZoomLevel(unsigned char level)
{
    d->setLevel(level == 255 ? 0 : level);
}

unsigned char GraphicsRenderer::zoomLevel() const
{
    return d->zoomLevel;
}

float GraphicsRenderer::zoomFactor() const
{
    return d->zoom;
}

void GraphicsRenderer::addZoom()
{
    d->setLevel(d->zoomLevel + 1);
}

void GraphicsRenderer::subZoom()
{
    d->setLevel(d->zoomLevel - 1);
}

void GraphicsRenderer::zoomActual()
{
    d->setLevel(actualLevels[GraphicsStyle::instance().zoomTable]);
}

void GraphicsRenderer::centralize()
{
    setOrigin({d->viewSize.width() / 2, d->viewSize.height() / 2});
}

void GraphicsRenderer::mouseWheel(int delta)
{
    constexpr int notch = 120;
    constexpr int lastByWheel = 9;
    if (delta / notch != 0)
        d->setLevel(qMin(d->zoomLevel + delta / notch, lastByWheel));
}

void GraphicsRenderer::sizeChanged(int width, int height)
{
    d->viewSize = {width, height};
    d->viewCentre = {width / 2, height / 2};
    GraphicsStyle::instance().setGradient(height);
    d->endStrayDrag();
}

void GraphicsRendererPrivate::setLevel(int level)
{
    zoomLevel = static_cast<unsigned char>(qBound(0, level, lastLevel));
    zoom = zoomFactors[GraphicsStyle::instance().zoomTable][zoomLevel];
    applyZoom();
    previousZoom = zoom;
    GraphicsStyle::instance().updateViews();
}

/// Keeps what is anchored to the screen over the same image point.
void GraphicsRendererPrivate::applyZoom()
{
    if (zoom == previousZoom)
        return;
    GraphicsStyle &style = GraphicsStyle::instance();
    const QPoint fixed = style.zoomMode == GraphicsRenderer::ZoomCentre ? viewCentre : style.origin;
    const auto axis = [this](int value, int fixedValue) {
        const int image = Pixels::rounded((double(value) - fixedValue) / double(previousZoom));
        return Pixels::bounded(double(fixedValue) + Pixels::rounded(image * double(zoom)));
    };
    const auto move = [&](QPoint &point) {
        point = {axis(point.x(), fixed.x()), axis(point.y(), fixed.y())};
    };
    const QPoint *dragged = pressed ? draggedPosition() : nullptr;
    const auto moveOnScreen = [&](unsigned char mode, QPoint &point) {
        if (place(mode) != GraphicsRenderer::PlaceOnScreen)
            return;
        move(point);
        if (&point == dragged)
            move(dragStart);
    };
    move(style.origin);
    for (Item &cross : crosses)
        moveOnScreen(cross.mode, cross.position);
    for (SpriteItem &item : items)
        moveOnScreen(item.mode, item.position);
    if (place(boxMode) != GraphicsRenderer::PlaceOnScreen)
        return;
    const double factor = double(zoom) / double(previousZoom);
    for (ContactBoxGroup &group : contactBoxes) {
        for (ContactBox &box : group.boxes)
            box.position = fixed + (box.position - fixed) * factor;
    }
    recomputeSelection();
}

/// The screen pixel that positions of this mode are relative to.
QPoint GraphicsRendererPrivate::anchor(unsigned char mode, unsigned short parent) const
{
    QPoint point;
    for (int depth = 0; depth < longestChain; ++depth) {
        const int where = place(mode);
        if (where == GraphicsRenderer::PlaceCross && parent < 3) {
            const Item &cross = crosses[parent];
            point = Pixels::sum(point, onScreen(cross.mode, cross.position));
            mode = cross.mode;
            parent = cross.parent;
        } else if (where == GraphicsRenderer::PlaceSprite && parent < items.size()) {
            const SpriteItem &item = items.at(parent);
            point = Pixels::sum(point, offset(item));
            mode = item.mode;
            parent = item.parent;
        } else {
            // A parent that does not exist leaves the origin.
            const bool onOrigin =
                where >= GraphicsRenderer::PlaceOrigin && where <= GraphicsRenderer::PlaceSprite;
            return onOrigin ? Pixels::sum(point, q->origin()) : point;
        }
    }
    return q->origin();
}

QPoint GraphicsRendererPrivate::onScreen(unsigned char mode, QPoint position) const
{
    const bool image = place(mode) != GraphicsRenderer::PlaceOnScreen;
    return Pixels::rounded(Pixels::scaled(position, image ? double(zoom) : 1.0));
}

/// From the anchor of a sprite to its upper left.
QPoint GraphicsRendererPrivate::offset(const SpriteItem &item) const
{
    const QPoint position(Pixels::bounded(item.position.x() * item.scale.x()),
                          Pixels::bounded(item.position.y() * item.scale.y()));
    return onScreen(item.mode, position);
}

QSize GraphicsRendererPrivate::size(const SpriteItem &item) const
{
    const int width = Pixels::bounded(item.size.width() * item.scale.x());
    const int height = Pixels::bounded(item.size.height() * item.scale.y());
    return {Pixels::rounded(width * double(zoom)), Pixels::rounded(height * double(zoom))};
}

QPoint GraphicsRendererPrivate::crossPoint(int cross) const
{
    const Item &item = crosses[cross];
    return Pixels::sum(anchor(item.mode, item.parent), onScreen(item.mode, item.position));
}

QPoint GraphicsRendererPrivate::spritePoint(int index) const
{
    const SpriteItem &item = items.at(index);
    return Pixels::sum(anchor(item.mode, item.parent), offset(item));
}

} // namespace Kiln
