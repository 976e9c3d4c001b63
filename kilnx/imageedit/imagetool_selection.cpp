#include <kilnx/imageedit/imagetool.h>
#include <kilnx/imageedit/reach_p.h>

#include <kilnx/imageedit/imagerenderer.h>

#include <QtGui/QPainter>

#include <cstring>

namespace Kiln
{

namespace
{

bool isSelected(const QImage &mask, int x, int y)
{
    return mask.isNull() || (mask.valid(x, y) && mask.constScanLine(y)[x] > 0);
}

QRect boundsOf(const QImage &mask, const QRect &area)
{
    if (mask.isNull())
        return area;
    QRect bounds;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        int left = area.left();
        while (left <= area.right() && !isSelected(mask, left, y))
            ++left;
        int right = area.right();
        while (right > left && !isSelected(mask, right, y))
            --right;
        if (left <= right)
            bounds |= QRect(QPoint(left, y), QPoint(right, y));
    }
    return bounds;
}

template<class Pixel>
void fillSelected(QImage &image, const QImage &mask, const QRect &area, Pixel fill)
{
    for (int y = area.top(); y <= area.bottom(); ++y) {
        auto *row = reinterpret_cast<Pixel *>(image.scanLine(y));
        for (int x = area.left(); x <= area.right(); ++x) {
            if (isSelected(mask, x, y))
                row[x] = fill;
        }
    }
}

/// Draws the selected pixels of `lifted` into `image`, moved; those that leave it are left out.
template<class Pixel>
void drawSelected(QImage &image,
                  const QImage &lifted,
                  const QImage &mask,
                  const QRect &bounds,
                  QPoint by)
{
    const QRect target = bounds.translated(by).intersected(image.rect());
    for (int y = target.top(); y <= target.bottom(); ++y) {
        const auto *from = reinterpret_cast<const Pixel *>(lifted.constScanLine(y - by.y()));
        auto *to = reinterpret_cast<Pixel *>(image.scanLine(y));
        for (int x = target.left(); x <= target.right(); ++x) {
            if (isSelected(mask, x - by.x(), y - by.y()))
                to[x] = from[x - by.x()];
        }
    }
}

void copyArea(QImage &image, const QImage &from, const QRect &area)
{
    const int bytes = image.depth() / 8;
    for (int y = area.top(); y <= area.bottom(); ++y)
        std::memcpy(image.scanLine(y) + area.left() * bytes,
                    from.constScanLine(y) + area.left() * bytes, size_t(area.width()) * bytes);
}

} // namespace

// --- SelMoveTool

SelMoveTool::SelMoveTool(ImageRenderer *renderer)
    : ImageTool(renderer)
{
    setObjectName(QStringLiteral("spr_tool_selmove"));
}

void SelMoveTool::layerChanged()
{
    m_isSplit = false;
    m_lifted = m_rest = m_mask = QImage();
}

void SelMoveTool::selectionChanged()
{
    layerChanged();
}

void SelMoveTool::activate()
{
    layerChanged();
    split();
}

/// Whether there is something to move.
bool SelMoveTool::split()
{
    const RasterLayer *layer = renderer ? renderer->paintedLayer() : nullptr;
    if (!layer)
        return false;
    if (m_isSplit)
        return !m_bounds.isEmpty();
    const ImageSelection &selection = renderer->canvas.selection;
    m_mask = selection.active ? selection.mask : QImage();
    m_lifted = layer->image;
    m_rest = layer->image;
    m_bounds = boundsOf(m_mask, layer->image.rect());
    if (m_rest.depth() == 8)
        fillSelected(m_rest, m_mask, m_bounds, uchar(renderer->canvas.fillColor()));
    else
        fillSelected(m_rest, m_mask, m_bounds, QRgb(renderer->canvas.fillColor()));
    m_position = m_placed = QPoint();
    m_isSplit = true;
    return !m_bounds.isEmpty();
}

/// Puts the selected pixels at an offset from where they came from, in a step of its own if the
/// drag has none yet. Whether the tool and its layer still exist.
bool SelMoveTool::place(QPoint offset)
{
    const QPointer<SelMoveTool> alive(this);
    RasterLayer *layer = m_stepOpen ? renderer->paintedLayer() : renderer->beginEdit();
    if (!alive || !layer || !m_isSplit || layer->image.size() != m_rest.size())
        return false;
    m_stepOpen = true;
    QImage &image = layer->image;
    const QRect dirty = (m_bounds.translated(m_placed) | m_bounds.translated(offset) | m_bounds)
                            .intersected(image.rect());
    copyArea(image, m_rest, dirty);
    if (image.depth() == 8)
        drawSelected<uchar>(image, m_lifted, m_mask, m_bounds, offset);
    else
        drawSelected<QRgb>(image, m_lifted, m_mask, m_bounds, offset);
    m_placed = offset;
    touch(dirty);
    Q_EMIT changed();
    return alive && renderer;
}

bool SelMoveTool::keyPressed(int key)
{
    const QPoint way((key == Qt::Key_Right) - (key == Qt::Key_Left),
                     (key == Qt::Key_Down) - (key == Qt::Key_Up));
    if (way.isNull() || pressed || !split())
        return false;
    m_stepOpen = false;
    const QPoint position = withinReach(m_position + way);
    if (!place(position))
        return true;
    m_position = position;
    renderer->canvas.settleEdit();
    return true;
}

void SelMoveTool::mousePressed(Qt::KeyboardModifiers,
                               Qt::MouseButton,
                               QPoint screen,
                               QPoint image,
                               QCursor &cursor)
{
    cursor.setShape(Qt::SizeAllCursor);
    m_stepOpen = false;
    if (split())
        press(screen, image);
}

void SelMoveTool::mouseReleased(Qt::KeyboardModifiers,
                                Qt::MouseButton,
                                QPoint,
                                QPoint,
                                QCursor &cursor)
{
    cursor.setShape(Qt::SizeAllCursor);
    if (!std::exchange(pressed, false) || !renderer)
        return;
    m_position = m_placed;
    renderer->canvas.settleEdit();
}

void SelMoveTool::mouseMoved(Qt::KeyboardModifiers,
                             Qt::MouseButton,
                             QPoint screen,
                             QPoint,
                             QCursor &cursor)
{
    cursor.setShape(Qt::SizeAllCursor);
    if (!pressed || !renderer)
        return;
    const QPointF way = QPointF(screen - screenPos) / renderer->zoom();
    const QPoint offset = withinReach(m_position + QPoint(qRound(way.x()), qRound(way.y())));
    if (offset != m_placed)
        place(offset);
}

// --- RectSelTool

RectSelTool::RectSelTool(ImageRenderer *renderer)
    : ImageTool(renderer)
{
    setObjectName(QStringLiteral("spr_tool_rectsel"));
}

QRect RectSelTool::dragged() const
{
    const QPoint end = imagePos + m_size;
    return QRect(qMin(imagePos.x(), end.x()), qMin(imagePos.y(), end.y()), qAbs(m_size.x()),
                 qAbs(m_size.y()));
}

void RectSelTool::mousePressed(Qt::KeyboardModifiers,
                               Qt::MouseButton,
                               QPoint screen,
                               QPoint image,
                               QCursor &cursor)
{
    press(screen, withinReach(image));
    m_size = QPoint();
    cursor.setShape(Qt::CrossCursor);
}

void RectSelTool::mouseReleased(Qt::KeyboardModifiers,
                                Qt::MouseButton,
                                QPoint,
                                QPoint image,
                                QCursor &)
{
    if (!std::exchange(pressed, false) || !renderer)
        return;
    m_size = withinReach(image) - imagePos;
    const QRect whole(QPoint(), renderer->canvas.size);
    const QRect chosen = dragged().isEmpty() ? whole : dragged().intersected(whole);
    ImageSelection &selection = renderer->canvas.selection;
    selection.select(chosen);
    selection.rect = chosen;
    selection.active = true;
    renderer->canvas.announceSelection();
}

void RectSelTool::mouseMoved(Qt::KeyboardModifiers,
                             Qt::MouseButton,
                             QPoint,
                             QPoint image,
                             QCursor &cursor)
{
    cursor.setShape(Qt::CrossCursor);
    if (pressed)
        m_size = withinReach(image) - imagePos;
}

/// White dashes on black, so that the band shows on every picture.
void RectSelTool::paintCursor(QPainter &painter, QPoint, double)
{
    if (!pressed || !renderer || dragged().isEmpty())
        return;
    const QRect band(renderer->toScreen(dragged().topLeft()),
                     renderer->toScreen(dragged().bottomRight() + QPoint(1, 1)) - QPoint(1, 1));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(Qt::black);
    painter.drawRect(band);
    painter.setPen(QPen(Qt::white, 1, Qt::DashLine));
    painter.drawRect(band);
}

} // namespace Kiln
