#include <kilnx/render/graphicsrenderer.h>

#include <kilnx/image/sprite.h>
#include <kilnx/render/graphicsrenderer_p.h>

#include <QtGui/QCursor>

#include <algorithm>

namespace Kiln
{

namespace
{

constexpr int handleReach = 6; // a handle takes 12 by 12 pixels around its point

} // namespace

GraphicsRendererPrivate::Target GraphicsRendererPrivate::hitTest(QPoint point) const
{
    const GraphicsStyle &style = GraphicsStyle::instance();
    const bool onRuler =
        point.x() < GraphicsRenderer::RulerWidth || point.y() < GraphicsRenderer::RulerWidth;
    if (onRuler && QRect(QPoint(), viewSize).contains(point))
        return {};
    Target target;
    if (!style.spriteOverGuides && (target = hitGuides(point)).hit)
        return target;
    if (clickMode == GraphicsRenderer::ClickDrawContactBox)
        return {};
    if (clickMode != GraphicsRenderer::ClickCapture) {
        if (style.contactOverCross && (target = hitBoxes(point)).hit)
            return target;
        for (int i = 2; i >= 0; --i) {
            const QPixmap &pixmap = style.crossHairs[i];
            const QSizeF natural = QSizeF(pixmap.size()) / pixmap.devicePixelRatioF();
            const QSize size(Pixels::rounded(natural.width() * double(zoom)),
                             Pixels::rounded(natural.height() * double(zoom)));
            const QPoint half(size.width() / 2, size.height() / 2);
            if (crosses[i].visible && draggable(crosses[i].mode) &&
                Pixels::holds(crossPoint(i) - half, size, point)) {
                return {HitCross + i};
            }
        }
        if (!style.contactOverCross && (target = hitBoxes(point)).hit)
            return target;
    }
    if ((target = hitSprites(point)).hit)
        return target;
    return style.spriteOverGuides ? hitGuides(point) : Target();
}

GraphicsRendererPrivate::Target GraphicsRendererPrivate::hitGuides(QPoint point) const
{
    if (!guidesVisible)
        return {};
    const QPoint guide = Pixels::sum(
        Pixels::sum(q->origin(), Pixels::rounded(Pixels::scaled(guides, double(zoom)))), {-1, -1});
    const int reach = 2 + Pixels::rounded(qMin(1.0, double(zoom)));
    const auto near = [reach](int value, int from) {
        return value >= from && value < from + reach;
    };
    if (near(point.x(), guide.x()))
        return {HitGuideVertical};
    return {near(point.y(), guide.y()) ? HitGuideHorizontal : HitNone};
}

/// What a thing that cannot be dragged itself stands for; HitNone if the search goes on behind it.
int GraphicsRendererPrivate::fixedHit(unsigned char mode, unsigned short parent) const
{
    if (place(mode) == GraphicsRenderer::PlaceCross && parent < 3)
        return HitCross + parent;
    return place(mode) == GraphicsRenderer::PlaceSprite ? HitSprite : HitNone;
}

/// One that is turned is asked where the point would be if it were not.
bool GraphicsRendererPrivate::spriteHolds(int index, QPoint point) const
{
    const SpriteItem &item = items.at(index);
    const QRect area(spritePoint(index), size(item));
    if (item.turn.angle == 0 || area.isEmpty())
        return Pixels::holds(area.topLeft(), area.size(), point);
    const QTransform back = item.turn.transform(area, item.size).inverted();
    const QPointF upright = back.map(QPointF(point) + QPointF(0.5, 0.5)); // the pixel's middle
    return QRectF(area).contains(upright);
}

GraphicsRendererPrivate::Target GraphicsRendererPrivate::hitSprites(QPoint point) const
{
    for (int i = items.size(); --i >= 0;) {
        const SpriteItem &item = items.at(i);
        if (!spriteHolds(i, point))
            continue;
        const bool counts = clickMode == GraphicsRenderer::ClickCapture || draggable(item.mode);
        const int code = counts ? HitSprite : fixedHit(item.mode, item.parent);
        if (code)
            return {code, -1, i};
    }
    return {};
}

GraphicsRendererPrivate::Target GraphicsRendererPrivate::hitBoxes(QPoint point) const
{
    if (anySelected) {
        QPoint points[8];
        handlePoints(points);
        for (int i = 0; i < 8; ++i) {
            const QPoint corner = points[i] - QPoint(handleReach, handleReach);
            if (Pixels::holds(corner, {2 * handleReach, 2 * handleReach}, point))
                return {HitTopLeft + i};
        }
    }
    Target target = boxBelow(point, 7, INT_MAX);
    if (target.index < 0)
        return {};
    target.hit = boxesDraggable() ? HitBox : fixedHit(boxMode, boxParent);
    // The box stands for the sprite that it is fixed to.
    if (target.hit == HitSprite)
        target.index = boxParent;
    return target;
}

/// The first visible box at a point in the order of the search: from high groups and indexes to low
/// ones, from box `index` - 1 of `group` on.
GraphicsRendererPrivate::Target
GraphicsRendererPrivate::boxBelow(QPoint point, int group, int index) const
{
    const QPoint boxesAnchor = boxAnchor();
    for (; group >= 0; --group, index = INT_MAX) {
        if (!contactBoxes[group].visible)
            continue;
        const QVector<ContactBox> &boxes = contactBoxes[group].boxes;
        for (int i = qMin(index, boxes.size()) - 1; i >= 0; --i) {
            if (boxArea(boxes.at(i), boxesAnchor).contains(point))
                return {HitBox, group, i};
        }
    }
    return {};
}

void GraphicsRendererPrivate::showCursor(int code, Qt::KeyboardModifiers modifiers)
{
    static constexpr Qt::CursorShape shapes[] = {
        Qt::OpenHandCursor,  Qt::SizeAllCursor, Qt::SizeAllCursor,   Qt::SizeAllCursor,
        Qt::SizeAllCursor,   Qt::SizeVerCursor, Qt::SizeHorCursor,   Qt::SizeAllCursor,
        Qt::SizeFDiagCursor, Qt::SizeVerCursor, Qt::SizeHorCursor,   Qt::SizeBDiagCursor,
        Qt::SizeBDiagCursor, Qt::SizeVerCursor, Qt::SizeFDiagCursor, Qt::SizeHorCursor,
    };
    Qt::CursorShape shape = shapes[code];
    if (modifiers == Qt::ControlModifier)
        shape = Qt::OpenHandCursor;
    else if ((code == HitSprite && clickMode == GraphicsRenderer::ClickCapture) ||
             (code == HitNone && clickMode == GraphicsRenderer::ClickDrawContactBox))
        shape = Qt::CrossCursor;
    else if (code == HitNone && pressed)
        shape = Qt::ClosedHandCursor;
    setCursor(shape);
}

void GraphicsRendererPrivate::setCursor(Qt::CursorShape shape)
{
    QWidget *widget = q->widget();
    if (widget && widget->cursor().shape() != shape)
        widget->setCursor(shape);
}

void GraphicsRenderer::mousePressed(QPoint position,
                                    Qt::MouseButton button,
                                    Qt::KeyboardModifiers modifiers)
{
    const QPoint point = Pixels::bounded(position);
    if (button == Qt::LeftButton)
        d->press(point, modifiers);
    else if (!d->pressed)
        d->hit = d->hitTest(point).hit;
}

void GraphicsRendererPrivate::press(QPoint point, Qt::KeyboardModifiers modifiers)
{
    const QPointer<GraphicsRenderer> alive(q);
    if (QWidget *widget = q->widget())
        widget->setFocus(Qt::MouseFocusReason);
    if (!alive)
        return;
    abandonDrag();
    if (!alive)
        return;
    pressed = true;
    moved = false;
    lastPosition = point;
    pressWidget = q->widget();
    if (clickMode == GraphicsRenderer::ClickDrawContactBox) {
        startDrawing(point);
    } else if (modifiers & Qt::ControlModifier) {
        hit = HitNone;
    } else {
        pick(point, modifiers & Qt::ShiftModifier);
        return;
    }
    q->update();
}

/// Takes what is under the mouse. `toggle` keeps the selection and adds a box to it or takes it
/// away.
void GraphicsRendererPrivate::pick(QPoint point, bool toggle)
{
    const bool hadSelection = anySelected;
    const int oldGroup = currentGroup;
    const int oldBox = currentBox;
    const Target target = hitTest(point);
    hit = target.hit;
    if (hit < HitTopLeft) {
        currentBox = target.index;
        currentGroup = target.group < 0 ? currentGroup : target.group;
        if (!toggle)
            clearSelection();
    }
    if (hit == HitBox) {
        if (hadSelection) {
            // A click on boxes that lie on each other goes from one to the next below.
            const Target next = boxBelow(point, oldGroup, oldBox);
            if (next.index >= 0) {
                currentGroup = next.group;
                currentBox = next.index;
            }
        }
        const bool wasSelected = contactBoxes[currentGroup].boxes.at(currentBox).selected;
        contactBoxes[currentGroup].boxes[currentBox].selected = !(toggle && wasSelected);
        anySelected = anySelectedIn(currentGroup);
        recomputeSelection();
    } else if (hit > HitBox) {
        startResize();
    } else if (const QPoint *position = draggedPosition()) {
        dragStart = *position;
    }
    const QPointer<GraphicsRenderer> alive(q);
    if (hit < HitBox && clickMode == GraphicsRenderer::ClickCapture) {
        captureImage = QImage();
        if (hit == HitSprite && currentBox < items.size() && items.at(currentBox).sprite)
            captureImage = items.at(currentBox).sprite->image();
        capture(point);
    }
    if (alive)
        q->update();
}

/// Tells the palette index at a point; at the edge of the sprite for a point beside it.
void GraphicsRendererPrivate::capture(QPoint point)
{
    if (hit != HitSprite || currentBox < 0 || currentBox >= items.size() || captureImage.isNull() ||
        captureImage.format() != QImage::Format_Indexed8) {
        return;
    }
    const QPoint from = spritePoint(currentBox);
    const auto axis = [this](int value, int start, int extent) {
        return qBound(0, Pixels::rounded((double(value) - start) / double(zoom)), extent - 1);
    };
    const int x = axis(point.x(), from.x(), captureImage.width());
    const int y = axis(point.y(), from.y(), captureImage.height());
    Q_EMIT q->colorCaptured(captureImage.constScanLine(y)[x]);
}

void GraphicsRenderer::mouseMoved(QPoint mouse, Qt::KeyboardModifiers modifiers)
{
    const QPointer<GraphicsRenderer> alive(this);
    const QPoint position = Pixels::bounded(mouse);
    const auto zoom = double(d->zoom);
    d->showCursor(d->pressed ? d->hit : d->hitTest(position).hit, modifiers);
    const QPoint origin = GraphicsStyle::instance().origin;
    Q_EMIT cursorChanged({Pixels::rounded((double(position.x()) - origin.x()) / zoom),
                          Pixels::rounded((double(position.y()) - origin.y()) / zoom)});
    if (!alive || !d->pressed)
        return;
    if (d->clickMode == ClickCapture) {
        d->capture(position);
        return;
    }
    QPoint delta = position - d->lastPosition;
    switch (d->hit) {
    case GraphicsRendererPrivate::HitTop:
    case GraphicsRendererPrivate::HitBottom:
        delta.setX(0);
        break;
    case GraphicsRendererPrivate::HitLeft:
    case GraphicsRendererPrivate::HitRight:
        delta.setY(0);
        break;
    default:
        break;
    }
    QPoint scaled = delta;
    if (d->hit != GraphicsRendererPrivate::HitNone) {
        scaled = Pixels::rounded(QPointF(delta) / zoom);
        if (zoom > 1)
            delta = Pixels::rounded(Pixels::scaled(scaled, zoom));
    }
    if (d->hit < GraphicsRendererPrivate::HitTopLeft)
        d->lastPosition += delta;
    if (scaled.isNull())
        return;
    d->moved = true;
    d->drag(delta, scaled);
}

/// One step of a drag, in screen and in image pixels.
void GraphicsRendererPrivate::drag(QPoint delta, QPoint scaled)
{
    const QPointer<GraphicsRenderer> alive(q);
    const bool onScreen = place(boxMode) == GraphicsRenderer::PlaceOnScreen;
    QRect before;
    switch (hit) {
    case HitNone:
        GraphicsStyle::instance().origin = Pixels::moved(q->origin(), delta);
        GraphicsStyle::instance().updateViews();
        return;
    case HitSprite:
        dragSprite(delta, scaled);
        break;
    case HitCross:
    case HitCross + 1:
    case HitCross + 2:
        dragCross(delta, scaled);
        break;
    case HitGuideHorizontal:
        guides.setY(Pixels::moved(guides.y(), scaled.y()));
        Q_EMIT q->guideLinesMoved(guides);
        break;
    case HitGuideVertical:
        guides.setX(Pixels::moved(guides.x(), scaled.x()));
        Q_EMIT q->guideLinesMoved(guides);
        break;
    default:
        before = selectionArea();
        if (hit == HitBox)
            moveSelection(onScreen ? delta : scaled);
        else
            resizeSelection(onScreen ? delta : scaled, scaled);
        q->updateArea(before | selectionArea());
        return;
    }
    if (alive)
        q->update();
}

namespace
{

/// The part of a step along the axes that a mode allows.
QPoint allowed(unsigned char mode, QPoint step)
{
    return {(mode & GraphicsRenderer::DragX) ? step.x() : 0,
            (mode & GraphicsRenderer::DragY) ? step.y() : 0};
}

int over(int step, double scale)
{
    return scale == 0 ? 0 : Pixels::bounded(step / scale);
}

} // namespace

/// Where the sprite or cross stands that the mouse holds; null for all else and what stands fast.
QPoint *GraphicsRendererPrivate::draggedPosition()
{
    if (hit == HitSprite && currentBox >= 0 && currentBox < items.size() &&
        draggable(items.at(currentBox).mode)) {
        return &items[currentBox].position;
    }
    if (hit >= HitCross && hit < HitCross + 3 && draggable(crosses[hit - HitCross].mode))
        return &crosses[hit - HitCross].position;
    return nullptr;
}

/// Where the sprite or cross is that the mouse holds.
void GraphicsRendererPrivate::tellItem(void (GraphicsRenderer::*what)(GraphicsRenderer::ItemType,
                                                                      void *,
                                                                      QPoint))
{
    const QPoint position = *draggedPosition();
    if (hit == HitSprite)
        Q_EMIT(q->*what)(GraphicsRenderer::ItemSprite, items.at(currentBox).sprite, position);
    else
        Q_EMIT(q->*what)(GraphicsRenderer::ItemType(hit - HitCross), nullptr, position);
}

void GraphicsRendererPrivate::dragSprite(QPoint delta, QPoint scaled)
{
    if (!draggedPosition())
        return;
    SpriteItem &item = items[currentBox];
    const bool onScreen = place(item.mode) == GraphicsRenderer::PlaceOnScreen;
    const QPoint step = allowed(item.mode, onScreen ? delta : scaled);
    item.position = Pixels::moved(item.position,
                                  {over(step.x(), item.scale.x()), over(step.y(), item.scale.y())});
    tellItem(&GraphicsRenderer::itemMoved);
}

void GraphicsRendererPrivate::dragCross(QPoint delta, QPoint scaled)
{
    Item &cross = crosses[hit - HitCross];
    if (!draggedPosition())
        return;
    const bool onScreen = place(cross.mode) == GraphicsRenderer::PlaceOnScreen;
    cross.position = Pixels::moved(cross.position, allowed(cross.mode, onScreen ? delta : scaled));
    tellItem(&GraphicsRenderer::itemMoved);
}

void GraphicsRendererPrivate::moveSelection(QPoint step)
{
    const QPoint along = allowed(boxMode, step);
    forSelected([&](ContactBox &box) { box.position += along; });
    recomputeSelection();
}

void GraphicsRenderer::mouseReleased(QPoint, Qt::MouseButton button, Qt::KeyboardModifiers)
{
    // The other buttons have no say in a drag.
    if (!(d->pressed && button != Qt::LeftButton))
        d->release(button);
}

void GraphicsRendererPrivate::release(Qt::MouseButton button)
{
    const bool wasPressed = pressed;
    const bool wasMoved = moved;
    pressed = false;
    moved = false;
    if (hit == HitNone)
        setCursor(Qt::OpenHandCursor);
    if (button == Qt::RightButton && clickMode == GraphicsRenderer::ClickDrawContactBox)
        leaveDrawing();
    if (button != Qt::LeftButton || !wasPressed)
        return;
    if (clickMode == GraphicsRenderer::ClickDrawContactBox) {
        finishDrawing();
    } else if (!wasMoved) {
        return;
    } else if (draggedPosition()) {
        tellItem(&GraphicsRenderer::itemReleased);
    } else if (hit >= HitBox && boxesDraggable()) {
        Q_EMIT q->itemReleased(GraphicsRenderer::ItemContactBoxes, nullptr, {});
    }
}

/// As the user wishes, and not the program.
void GraphicsRendererPrivate::leaveDrawing()
{
    const QPointer<GraphicsRenderer> alive(q);
    q->setPositioningMode();
    if (alive)
        Q_EMIT q->contactDrawingExit();
}

/// The widget that would have told the release does not show the view any more.
void GraphicsRendererPrivate::endStrayDrag()
{
    if (pressed && pressWidget != q->widget())
        release(Qt::LeftButton);
}

void GraphicsRenderer::keyPressed(int key, Qt::KeyboardModifiers modifiers)
{
    const QPointer<GraphicsRenderer> alive(this);
    if (key == Qt::Key_Control)
        d->setCursor(Qt::OpenHandCursor);
    if (modifiers == Qt::NoModifier) {
        QPoint step;
        switch (key) {
        case Qt::Key_Delete:
            removeSelectedContactBoxes();
            break;
        case Qt::Key_Escape:
            if (!d->pressed && d->clickMode == ClickDrawContactBox)
                d->leaveDrawing();
            else
                d->abandonDrag();
            break;
        case Qt::Key_Left:
            step.setX(-1);
            break;
        case Qt::Key_Up:
            step.setY(-1);
            break;
        case Qt::Key_Right:
            step.setX(1);
            break;
        case Qt::Key_Down:
            step.setY(1);
            break;
        default:
            break;
        }
        if (!step.isNull()) {
            moveSelectedContactBoxes(step);
            Q_EMIT itemReleased(ItemContactBoxes, nullptr, {});
        }
    }
    if (alive)
        update();
}

void GraphicsRenderer::keyReleased(int key, Qt::KeyboardModifiers modifiers)
{
    if (key == Qt::Key_Control && widget()) {
        const QPoint position = widget()->mapFromGlobal(QCursor::pos());
        d->showCursor(d->pressed ? d->hit : d->hitTest(position).hit,
                      modifiers & ~Qt::ControlModifier);
    }
}

} // namespace Kiln
