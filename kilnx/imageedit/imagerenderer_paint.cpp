#include <kilnx/imageedit/imagerenderer_p.h>

#include <kilnx/forms/checktile_p.h>
#include <kilnx/imageedit/imageflatten_p.h>
#include <kilnx/imageedit/imagetool.h>
#include <kilnx/imageedit/pentool.h>

#include <QtGui/QPainter>

#include <cmath>

namespace Kiln
{

namespace
{

constexpr int checkSide = 8;
constexpr double gridFrom = 8;
/// More rectangles than this are composed as one.
constexpr int mostAreas = 16;
constexpr int originalMargin = 8;
const QColor gridColor(128, 128, 128, 110);

} // namespace

// --- PictureTiles

void PictureTiles::invalidate(const QRect &area)
{
    const auto touched = [&area](quint64 key) {
        return QRect(int(key >> 32) * side, int(key & 0xffffffffU) * side, side, side)
            .intersects(area);
    };
    for (auto tile = m_tiles.begin(); tile != m_tiles.end();) {
        if (touched(tile.key()))
            tile = m_tiles.erase(tile);
        else
            ++tile;
    }
}

void PictureTiles::draw(QPainter &painter, const QImage &picture, const QRect &visible)
{
    for (int y = visible.top() / side; y <= visible.bottom() / side; ++y) {
        for (int x = visible.left() / side; x <= visible.right() / side; ++x) {
            QImage &tile = m_tiles[quint64(x) << 32 | quint64(y)];
            const QRect area = QRect(x * side, y * side, side, side).intersected(picture.rect());
            if (tile.isNull())
                tile = picture.copy(area);
            painter.drawImage(area.topLeft(), tile);
        }
    }
}

// --- Composing

void ImageRendererPrivate::invalidate(const QRect &area)
{
    stale += area;
    tiles.invalidate(area);
    q->updateArea(screenArea(area).adjusted(-1, -1, 1, 1));
    if (viewOriginal)
        q->updateArea(originalView());
}

void ImageRendererPrivate::compose()
{
    const QRect all(QPoint(), q->canvas.size);
    const QImage::Format format = ImageCanvas::pixelFormat(q->canvas.format);
    if (picture.size() != all.size() || picture.format() != format) {
        picture = QImage(all.size(), format);
        tiles.clear();
        maskTiles.clear();
        stale = all;
    }
    if (stale.isEmpty() || picture.isNull())
        return;
    if (stale.rectCount() > mostAreas)
        stale = stale.boundingRect();
    for (const QRect &area : stale)
        composeArea(area.intersected(all));
    stale = QRegion();
}

void ImageRendererPrivate::composeArea(const QRect &area)
{
    const ImageCanvas &canvas = q->canvas;
    ImagePalette *palette = canvas.palette;
    if (area.size() == picture.size() && canvas.format == IndexedCanvas && palette) {
        QVector<QRgb> table(256);
        for (int i = 0; i < 256; ++i)
            table[i] = palette->rgbAt(static_cast<unsigned char>(i));
        picture.setColorTable(table);
    }
    if (showLayers) {
        canvas.flattenInto(picture, area);
        return;
    }
    QList<ImageLayer *> alone;
    if (current)
        alone.append(current);
    if (canvas.format == RGBACanvas)
        flattenColors(alone, picture, area);
    else if (palette)
        flattenIndexes(alone, *palette, picture, area);
}

// --- Places

QRect ImageRendererPrivate::originalView() const
{
    if (!viewOriginal)
        return QRect();
    const int width = qMin(q->canvas.size.width() + 2 * originalMargin, view.width() / 2);
    return QRect(0, 0, qMax(width, 0), view.height());
}

QRect ImageRendererPrivate::mainView() const
{
    return QRect(QPoint(), view).adjusted(originalView().width(), 0, 0, 0);
}

QRect ImageRendererPrivate::screenArea(const QRect &area) const
{
    const QPoint end = q->toScreen(area.bottomRight() + QPoint(1, 1));
    return QRect(q->toScreen(area.topLeft()), end - QPoint(1, 1));
}

QRect ImageRendererPrivate::overlayArea() const
{
    if (!pointerInside)
        return QRect();
    const QPoint at = q->toScreen(q->toImage(pointer));
    if (const auto *pen = qobject_cast<BasePenTool *>(q->activeTool()))
        return pen->cursorArea(at, q->zoom());
    const auto *rubber = qobject_cast<RectSelTool *>(q->activeTool());
    return rubber && rubber->pressed ? screenArea(rubber->dragged()).adjusted(-1, -1, 1, 1)
                                     : QRect();
}

void ImageRendererPrivate::updateOverlay()
{
    const QRect now = overlayArea();
    if (!overlay.isEmpty())
        q->updateArea(overlay);
    if (!now.isEmpty() && now != overlay)
        q->updateArea(now);
    overlay = now;
}

// --- Painting

void ImageRenderer::render(QPainter &painter)
{
    d->compose();
    const QRect view(QPoint(), d->view);
    const QRect clip =
        painter.hasClipping() ? painter.clipBoundingRect().toAlignedRect().intersected(view) : view;
    painter.save();
    painter.fillRect(clip, d->background);
    if (d->viewOriginal && clip.intersects(d->originalView()))
        d->paintOriginal(painter);
    const QRect shown = clip.intersected(d->mainView());
    painter.setClipRect(shown, Qt::IntersectClip);
    d->paintMain(painter, shown);
    painter.restore();
}

void ImageRendererPrivate::paintMain(QPainter &painter, const QRect &clip)
{
    // Below the picture's own size several of its pixels share the clip's last one.
    const QRect visible =
        QRect(q->toImage(clip.topLeft()), q->toImage(clip.bottomRight() + QPoint(1, 1))) &
        picture.rect();
    if (!clip.isEmpty() && !visible.isEmpty()) {
        paintCheck(painter, screenArea(visible));
        paintPicture(painter, picture, tiles, visible);
        const ImageSelection &selection = q->canvas.selection;
        const auto *adding = static_cast<PenSelTool *>(tools[ImageRenderer::PenSel]);
        if (showSelection && (selection.active || adding->isAdding()) &&
            selection.mask.size() == picture.size())
            paintPicture(painter, selection.mask, maskTiles, visible);
        if (showGrid && q->zoom() >= gridFrom)
            paintGrid(painter, visible);
    }
    if (pointerInside)
        q->activeTool()->paintCursor(painter, q->toScreen(q->toImage(pointer)), q->zoom());
}

/// The check stands still on the screen.
void ImageRendererPrivate::paintCheck(QPainter &painter, const QRect &area) const
{
    painter.setBrushOrigin(q->offset());
    painter.fillRect(area, QBrush(checkTile(checkSide, checks[0], checks[1])));
    painter.setBrushOrigin(0, 0);
}

/// On the native path the painter's clip keeps the cost to what is seen. Above the picture's own
/// size only that part is named, since a painter's coordinates end at 32,767; below it all is,
/// so that every repaint picks the same pixels.
void ImageRendererPrivate::paintPicture(QPainter &painter,
                                        const QImage &image,
                                        PictureTiles &pieces,
                                        const QRect &visible) const
{
    painter.save();
    painter.translate(offset);
    painter.scale(q->zoom(), q->zoom());
    if (q->onOpenGL)
        pieces.draw(painter, image, visible);
    else if (q->zoom() >= 1)
        painter.drawImage(QRectF(visible), image, QRectF(visible));
    else
        painter.drawImage(0, 0, image);
    painter.restore();
}

void ImageRendererPrivate::paintGrid(QPainter &painter, const QRect &visible) const
{
    const QRect area = screenArea(visible);
    for (int x = visible.left(); x <= visible.right(); ++x)
        painter.fillRect(q->toScreen({x, 0}).x(), area.top(), 1, area.height(), gridColor);
    for (int y = visible.top(); y <= visible.bottom(); ++y)
        painter.fillRect(area.left(), q->toScreen({0, y}).y(), area.width(), 1, gridColor);
}

/// A picture that is larger than the pane shows the part that the main view has in its middle.
void ImageRendererPrivate::paintOriginal(QPainter &painter)
{
    const QRect inner = originalView().adjusted(0, 0, -1, 0);
    const QSize size = picture.size().boundedTo(inner.size());
    const QPoint rest(picture.width() - size.width(), picture.height() - size.height());
    const QPoint wanted =
        q->toImage(mainView().center()) - QPoint(size.width() / 2, size.height() / 2);
    const QRect part(QPoint(qBound(0, wanted.x(), rest.x()), qBound(0, wanted.y(), rest.y())),
                     size);
    const QRect place(
        QPoint((inner.width() - size.width()) / 2, (inner.height() - size.height()) / 2), size);
    painter.fillRect(QRect(inner.right() + 1, 0, 1, inner.height()), gridColor.darker());
    painter.fillRect(place, QBrush(checkTile(checkSide, checks[0], checks[1])));
    painter.drawImage(place, picture.copy(part));
}

} // namespace Kiln
