#include <kilnx/render/graphicsrenderer.h>

#include <kilnx/render/graphicsrenderer_p.h>

#include <algorithm>
#include <utility>

namespace Kiln
{

namespace
{

/// Nothing, to which every rectangle can be merged by taking the outer edges.
const QRect emptySelection(4444, 4444, -8888, -8888);

bool isEmptySelection(const QRect &rect)
{
    return rect == emptySelection;
}

/// How far a box's drawing and its handles reach beyond its rectangle, with any line width.
constexpr int drawingReach = 24;

/// The text may have any numbers, and then the lengths are beyond int.
QRectF exact(const QRect &rect)
{
    return {double(rect.left()), double(rect.top()), double(rect.right()) - rect.left() + 1,
            double(rect.bottom()) - rect.top() + 1};
}

/// The same pixels with positive lengths.
QRect upright(const QRect &rect)
{
    return {rect.x() + qMin(0, rect.width()), rect.y() + qMin(0, rect.height()), qAbs(rect.width()),
            qAbs(rect.height())};
}

} // namespace

QRect ContactBox::rect() const
{
    return {Pixels::rounded(position),
            QSize(Pixels::rounded(size.width()), Pixels::rounded(size.height()))};
}

void ContactBox::setRect(const QRect &rect)
{
    position = rect.topLeft();
    size = exact(rect).size();
}

// Places on the screen.

/// The box as it is drawn and hit; one that is drawn from right to left, too, has positive size.
QRect GraphicsRendererPrivate::boxArea(const ContactBox &box, QPoint boxAnchor) const
{
    const bool onScreen = place(boxMode) == GraphicsRenderer::PlaceOnScreen;
    const QPoint position = Pixels::rounded(box.position * (onScreen ? 1.0 : double(zoom)));
    QPoint corner = Pixels::sum(boxAnchor, position);
    int width = Pixels::rounded(box.size.width() * double(zoom));
    int height = Pixels::rounded(box.size.height() * double(zoom));
    corner -= {qMax(0, -width), qMax(0, -height)};
    return {corner, QSize(qAbs(width), qAbs(height))};
}

void GraphicsRendererPrivate::handlePoints(QPoint (&points)[8]) const
{
    const double left = selectionRect.x();
    const double top = selectionRect.y();
    const double halfWidth = selectionRect.width() / 2.0;
    const double halfHeight = selectionRect.height() / 2.0;
    static constexpr int places[8][2] = {{0, 0}, {1, 0}, {0, 1}, {2, 0},
                                         {0, 2}, {1, 2}, {2, 2}, {2, 1}};
    const auto scale = double(zoom);
    const double positionScale = place(boxMode) == GraphicsRenderer::PlaceOnScreen ? 1.0 : scale;
    const QPoint start = boxAnchor();
    for (int i = 0; i < 8; ++i) {
        const QPointF point(left * positionScale + places[i][0] * halfWidth * scale,
                            top * positionScale + places[i][1] * halfHeight * scale);
        points[i] = Pixels::sum(start, Pixels::rounded(point));
    }
}

/// What of the view the selected boxes and their handles take.
QRect GraphicsRendererPrivate::selectionArea() const
{
    const QPoint boxesAnchor = boxAnchor();
    QRect area;
    for (const ContactBoxGroup &group : contactBoxes) {
        for (const ContactBox &box : group.boxes) {
            if (box.selected)
                area |= boxArea(box, boxesAnchor);
        }
    }
    if (anySelected) {
        QPoint points[8];
        handlePoints(points);
        area |= QRect(points[0], points[6]).normalized();
    }
    return area.adjusted(-drawingReach, -drawingReach, drawingReach, drawingReach) &
           QRect(QPoint(), viewSize);
}

// The selection.

/// The boxes of the text, in order.
QVector<ContactBoxCode *> ContactBoxGroup::codes() const
{
    const ContactBoxesCode *boxesOfText = living();
    return boxesOfText ? boxesOfText->all() : QVector<ContactBoxCode *>();
}

bool GraphicsRendererPrivate::anySelectedIn(int group) const
{
    const QVector<ContactBox> &boxes = contactBoxes[group].boxes;
    return std::any_of(boxes.begin(), boxes.end(), [](const ContactBox &b) { return b.selected; });
}

void GraphicsRendererPrivate::clearSelection()
{
    forSelected([](ContactBox &box) { box.selected = false; });
    anySelected = false;
    selectionRect = emptySelection;
}

void GraphicsRendererPrivate::mergeSelection(const QRect &rect)
{
    if (isEmptySelection(selectionRect)) {
        selectionRect = rect;
        return;
    }
    const int left = qMin(selectionRect.x(), rect.x());
    const int top = qMin(selectionRect.y(), rect.y());
    const int right = qMax(selectionRect.x() + selectionRect.width(), rect.x() + rect.width());
    const int bottom = qMax(selectionRect.y() + selectionRect.height(), rect.y() + rect.height());
    selectionRect = QRect(left, top, right - left, bottom - top);
}

void GraphicsRendererPrivate::recomputeSelection()
{
    selectionRect = emptySelection;
    if (anySelected)
        forSelected([this](ContactBox &box) { mergeSelection(box.rect()); });
}

/// Selects one box alone.
void GraphicsRendererPrivate::select(int group, int index)
{
    clearSelection();
    ContactBox &box = contactBoxes[group].boxes[index];
    box.selected = true;
    anySelected = true;
    selectionRect = box.rect();
}

void GraphicsRenderer::deselectContactBoxes()
{
    if (!d->anySelected && d->selectionRect == emptySelection)
        return;
    d->clearSelection();
    update();
}

QRect GraphicsRenderer::boxesSelectionRect() const
{
    return d->selectionRect;
}

QList<ContactBoxCode *> GraphicsRenderer::selectedContactBoxes() const
{
    QList<ContactBoxCode *> selected;
    for (const ContactBoxGroup &group : d->contactBoxes) {
        if (!group.living())
            continue;
        for (const ContactBox &box : group.boxes) {
            if (box.selected && box.code)
                selected.append(box.code);
        }
    }
    return selected;
}

void GraphicsRenderer::moveSelectedContactBoxes(QPoint step)
{
    if (!d->anySelected)
        return;
    const bool onScreen = GraphicsRendererPrivate::place(d->boxMode) == PlaceOnScreen;
    d->moveSelection(onScreen ? Pixels::rounded(Pixels::scaled(step, double(d->zoom))) : step);
    update();
}

// Resizing. It starts from the text each time, so that no error builds up.

void GraphicsRendererPrivate::startResize()
{
    selectionStart = selectionRect;
    for (ContactBoxGroup &group : contactBoxes) {
        const QVector<ContactBoxCode *> codes = group.codes();
        for (int i = 0; i < group.boxes.size(); ++i) {
            ContactBox &box = group.boxes[i];
            const bool isInText = box.code && codes.value(i) == box.code;
            box.base = isInText ? exact(box.code->rect()) : QRectF(box.position, box.size);
        }
    }
}

/// `step` moves edges and `sizeStep` changes lengths: they differ for boxes that stand on the
/// screen while their sizes follow the zoom.
void GraphicsRendererPrivate::resizeSelection(QPoint step, QPoint sizeStep)
{
    const bool drawing = clickMode == GraphicsRenderer::ClickDrawContactBox;
    if (!drawing && !boxesDraggable())
        return;
    const bool movesLeft =
        hit == HitTopLeft || hit == HitLeft || hit == HitBottomLeft || hit == HitTop;
    const bool movesTop =
        hit == HitTopLeft || hit == HitTop || hit == HitTopRight || hit == HitLeft;
    const QRect old = selectionStart;
    const QPoint corner(old.x() + (movesLeft ? step.x() : 0), old.y() + (movesTop ? step.y() : 0));
    const QSize size(old.width() + (movesLeft ? -sizeStep.x() : sizeStep.x()),
                     old.height() + (movesTop ? -sizeStep.y() : sizeStep.y()));
    const double x = old.width() ? double(size.width()) / old.width() : 1.0;
    const double y = old.height() ? double(size.height()) / old.height() : 1.0;
    forSelected([&](ContactBox &box) {
        const QRectF base = box.code ? box.base : QRectF(old);
        box.position = {corner.x() + (base.x() - old.x()) * x,
                        corner.y() + (base.y() - old.y()) * y};
        box.size = {base.width() * x, base.height() * y};
    });
    selectionRect = QRect(corner, size);
}

// Drawing a box.

void GraphicsRendererPrivate::startDrawing(QPoint point)
{
    clearSelection();
    hit = HitBottomRight;
    const int step = zoom > 1 ? int(zoom) : 1;
    const QPoint start = boxAnchor();
    const double scale = place(boxMode) == GraphicsRenderer::PlaceOnScreen ? 1.0 : double(zoom);
    const auto axis = [&](int value, int from) {
        return Pixels::rounded((double(value - value % step) - from) / scale);
    };
    ContactBox box;
    box.position = QPoint(axis(point.x(), start.x()), axis(point.y(), start.y()));
    box.size = QSizeF(0, 0);
    box.selected = true;
    QVector<ContactBox> &boxes = contactBoxes[currentGroup].boxes;
    boxes.append(box);
    currentBox = boxes.size() - 1;
    selectionRect = QRect(box.position.toPoint(), QSize(1, 1));
    selectionStart = selectionRect;
}

/// The box that was drawn goes to the text, or vanishes if it has no area or is refused.
void GraphicsRendererPrivate::finishDrawing()
{
    QRect rect = drawn() ? drawn()->rect() : QRect();
    if (rect.width() == 0 || rect.height() == 0) {
        dropDrawing();
        q->update();
        return;
    }
    rect = upright(rect);
    drawn()->setRect(rect);
    selectionRect = rect;
    const QPointer<GraphicsRenderer> alive(q);
    beginWriting();
    ContactBoxCode *code = q->appendContactBox(ContactBoxCode::BoxType(currentGroup + 1), rect);
    if (!alive)
        return;
    if (ContactBox *box = drawn()) // the list may have been let go of meanwhile
        box->code = code;
    if (!code)
        dropDrawing();
    endWriting();
    q->update();
}

/// The box that is being drawn, the last of its kind; null for none.
ContactBox *GraphicsRendererPrivate::drawn()
{
    QVector<ContactBox> &boxes = contactBoxes[currentGroup].boxes;
    return boxes.isEmpty() || boxes.last().code ? nullptr : &boxes.last();
}

void GraphicsRendererPrivate::dropDrawing()
{
    if (!drawn())
        return;
    contactBoxes[currentGroup]
        .boxes.removeLast(); // the next search among boxes begins there, above all others
    selectionRect = emptySelection;
}

/// What is being drawn or dragged is as the text, the provider or the program had it before.
void GraphicsRendererPrivate::abandonDrag()
{
    const bool wasPressed = std::exchange(pressed, false);
    dropDrawing();
    if (wasPressed && hit >= HitBox)
        readAllBoxes();
    QPoint *position = wasPressed ? draggedPosition() : nullptr;
    if (position && *position != dragStart) {
        *position = dragStart;
        tellItem(&GraphicsRenderer::itemMoved);
    }
}

void GraphicsRenderer::setDrawContactBoxMode(ContactBoxCode::BoxType type)
{
    if (type < 1 || type > 8)
        return;
    const QPointer<GraphicsRenderer> alive(this);
    d->abandonDrag();
    if (!alive)
        return;
    d->clickMode = ClickDrawContactBox;
    d->currentGroup = type - 1;
    d->boxCountAtDrawStart = d->contactBoxes[type - 1].boxes.size();
    d->clearSelection();
    update();
}

void GraphicsRenderer::setPositioningMode()
{
    if (d->clickMode == ClickDrawContactBox) {
        d->abandonDrag();
        const int count = d->contactBoxes[d->currentGroup].boxes.size();
        if (count > d->boxCountAtDrawStart)
            d->select(d->currentGroup, count - 1);
    }
    d->clickMode = ClickPositioning;
    update();
}

void GraphicsRenderer::setCaptureMode()
{
    const QPointer<GraphicsRenderer> alive(this);
    d->abandonDrag();
    if (!alive)
        return;
    d->clickMode = ClickCapture;
    d->clearSelection();
    update();
}

GraphicsRenderer::ClickMode GraphicsRenderer::clickMode() const
{
    return d->clickMode;
}

// The text.

ContactBoxesCode *GraphicsRenderer::boxes(ContactBoxCode::BoxType type) const
{
    return type < 1 || type > 8 ? nullptr : d->contactBoxes[type - 1].living();
}

ContactBoxCode *GraphicsRenderer::appendContactBox(ContactBoxCode::BoxType type, const QRect &rect)
{
    ContactBoxesCode *source = boxes(type);
    return source ? source->add(rect) : nullptr;
}

void GraphicsRenderer::setContactBoxes(ContactBoxCode::BoxType type, ContactBoxesCode *boxes)
{
    if (type < 1 || type > 8)
        return;
    ContactBoxGroup &group = d->contactBoxes[type - 1];
    group.source = boxes;
    group.sourceLife = boxes ? boxes->life() : std::weak_ptr<const void>();
    if (d->writing) {
        d->pending = true;
        return;
    }
    // What is being drawn or dragged is not there any more.
    if (d->pressed && d->hit >= GraphicsRendererPrivate::HitBox)
        d->abandonDrag();
    if (type == ContactBoxCode::Attack) {
        d->anySelected = false;
        d->selectionRect = emptySelection;
    }
    d->readBoxes(group);
    update();
}

/// Takes the boxes of the text over. One that was selected stays so if it did not change.
void GraphicsRendererPrivate::readBoxes(ContactBoxGroup &group)
{
    const QVector<ContactBoxCode *> codes = group.codes();
    group.boxes.resize(codes.size());
    for (int i = 0; i < codes.size(); ++i) {
        ContactBox &box = group.boxes[i];
        box.code = codes.at(i);
        const QRect rect = box.code ? box.code->rect() : QRect();
        box.selected = box.selected && box.rect() == rect;
        box.setRect(rect);
        if (!box.selected)
            continue;
        anySelected = true;
        mergeSelection(rect);
    }
}

/// From here to endWriting() the boxes of the text that come back wait: they are not complete yet,
/// and a box that is still to be written would lose its selection.
void GraphicsRendererPrivate::beginWriting()
{
    writing = true;
    pending = false;
}

void GraphicsRendererPrivate::endWriting()
{
    writing = false;
    if (pending)
        readAllBoxes();
}

void GraphicsRendererPrivate::readAllBoxes()
{
    anySelected = false;
    selectionRect = emptySelection;
    for (ContactBoxGroup &group : contactBoxes)
        readBoxes(group);
}

void GraphicsRenderer::updateSelectedBoxes()
{
    const QPointer<GraphicsRenderer> alive(this);
    // A corner may have been dragged past the one across.
    d->forSelected([](ContactBox &box) {
        if (box.code)
            box.setRect(upright(box.rect()));
    });
    d->beginWriting();
    for (const ContactBoxGroup &group : d->contactBoxes) {
        unsigned int number = 0;
        const QVector<ContactBox> boxes = group.boxes;
        for (const ContactBox &box : boxes) {
            ContactBoxesCode *source = group.living();
            ContactBoxCode *code = box.selected && source ? source->at(number) : nullptr;
            ++number;
            if (code)
                code->setRect(box.rect());
            if (!alive)
                return;
        }
    }
    d->endWriting();
}

void GraphicsRenderer::removeSelectedContactBoxes()
{
    if (!d->anySelected)
        return;
    const QPointer<GraphicsRenderer> alive(this);
    Q_EMIT removingContactBoxes(true);
    if (!alive)
        return;
    d->beginWriting();
    for (const ContactBoxGroup &group : d->contactBoxes) {
        const QVector<ContactBox> boxes = group.boxes;
        for (int i = boxes.size() - 1; i >= 0; --i) {
            ContactBoxesCode *source = group.living();
            if (boxes.at(i).selected && source)
                source->remove(source->at(unsigned(i)));
            if (!alive)
                return;
        }
    }
    d->clearSelection();
    d->pending = true; // the codes behind the removed ones have other places now
    d->endWriting();
    Q_EMIT removingContactBoxes(false);
    if (alive)
        update();
}

} // namespace Kiln
