#include <kilnx/render/graphicsrenderer.h>

#include <kilnx/image/sprite.h>
#include <kilnx/render/graphicsrenderer_p.h>

#include <QtGui/QPainter>

namespace Kiln
{

namespace
{

constexpr int rulerWidth = GraphicsRenderer::RulerWidth;
constexpr int handleSize = 8;
/// More labels than this are those of other zooms and origins.
constexpr int mostLabels = 1024;

/// A straight line of one pixel, both ends drawn, which every paint engine draws alike.
void drawMark(QPainter &painter, Qt::Orientation ruler, int at, int from, const QColor &color)
{
    const QRect mark(at, from, 1, rulerWidth - from);
    painter.fillRect(ruler == Qt::Horizontal ? mark : QRect(from, at, mark.height(), 1), color);
}

} // namespace

void GraphicsRenderer::render(QPainter &painter)
{
    const GraphicsStyle &style = GraphicsStyle::instance();
    renderBackground(painter);
    if (style.spriteOverGuides)
        renderGuides(painter);
    beginTextureDrawing(painter);
    renderOnionSkin(painter);
    renderSprites(painter, 0);
    endTextureDrawing(painter);
    if (style.contactOverCross)
        renderCross(painter);
    renderContactBoxes(painter, ContactBoxCode::Collision, {}, {});
    renderContactBoxes(painter, ContactBoxCode::Attack, {}, {});
    renderContactBoxSizers(painter);
    if (!style.contactOverCross)
        renderCross(painter);
    if (!style.spriteOverGuides)
        renderGuides(painter);
    renderRulers(painter);
}

void GraphicsRenderer::renderBackground(QPainter &painter)
{
    const GraphicsStyle &style = GraphicsStyle::instance();
    painter.fillRect(QRect(QPoint(), d->viewSize), style.backgroundBrush);
    const QPixmap &pixmap = style.backgroundPixmap;
    if (pixmap.isNull()) // which has a ratio of 0
        return;
    const auto zoom = double(d->zoom);
    const QPoint offset = Pixels::rounded(Pixels::scaled(style.backgroundPosition, zoom));
    const QSizeF size = QSizeF(pixmap.size()) / pixmap.devicePixelRatioF() * zoom;
    painter.drawPixmap(QRect(Pixels::sum(style.origin, offset),
                             QSize(Pixels::rounded(size.width()), Pixels::rounded(size.height()))),
                       pixmap);
}

void GraphicsRenderer::renderGuides(QPainter &painter)
{
    if (!d->guidesVisible)
        return;
    const QColor color(0, 255, 255);
    const QPoint origin = GraphicsStyle::instance().origin;
    const auto zoom = double(d->zoom);
    const int width = d->thickness();
    const int y = Pixels::bounded(d->guides.y() * zoom + origin.y());
    const int x = Pixels::bounded(d->guides.x() * zoom + origin.x());
    painter.fillRect(QRect(0, y, d->viewSize.width(), width), color);
    painter.fillRect(QRect(x, 0, width, d->viewSize.height()), color);
}

void GraphicsRenderer::renderOnionSkin(QPainter &painter)
{
    if (!d->onionEnabled || !d->onionSprite)
        return;
    const auto zoom = double(d->zoom);
    const ImageInfo info = d->onionSprite->imageInfo();
    const QSize size(Pixels::rounded(info.width * zoom), Pixels::rounded(info.height * zoom));
    const QPoint anchor = d->anchor(d->crosses[0].mode, d->crosses[0].parent);
    const QPoint offset = Pixels::rounded(Pixels::scaled(d->onionOffset, zoom));
    if (onOpenGL)
        drawOnionSprite(d->onionSprite, anchor, offset, size, d->onionOpacity, d->onionEffect);
    else
        paintOnionSprite(painter, d->onionSprite, anchor, offset, size, d->onionOpacity,
                         d->onionEffect);
}

void GraphicsRenderer::renderSprites(QPainter &painter, unsigned char layer)
{
    for (int i = 0; i < d->items.size(); ++i) {
        const SpriteItem item = d->items.at(i);
        if (item.layer != layer || !item.sprite)
            continue;
        const QSize size = d->size(item);
        const QPoint offset = d->offset(item);
        const QPoint anchor = d->anchor(item.mode, item.parent);
        if (onOpenGL)
            drawSprite(anchor, offset, size, item.opacity, item.flip, item.sprite, i);
        else
            paintSprite(painter, anchor, offset, size, item.opacity, item.flip, item.sprite, i);
    }
}

void GraphicsRenderer::renderCross(QPainter &painter)
{
    const int scale = d->thickness();
    for (int i = 2; i >= 0; --i) {
        const QPixmap &pixmap = GraphicsStyle::instance().crossHairs[i];
        if (!d->crosses[i].visible || pixmap.isNull())
            continue;
        const QSize size = pixmap.size() / pixmap.devicePixelRatioF();
        const QPoint half(size.width() / 2 * scale, size.height() / 2 * scale);
        painter.drawPixmap(QRect(d->crossPoint(i) - half, size * scale), pixmap);
    }
}

void GraphicsRenderer::renderContactBoxes(QPainter &painter,
                                          ContactBoxCode::BoxType type,
                                          const QColor &fill,
                                          const QColor &edge)
{
    if (type < 1 || type > 8 || !d->contactBoxes[type - 1].visible)
        return;
    const GraphicsStyle &style = GraphicsStyle::instance();
    const QColor &own = style.boxColors[(type - 1) % 2];
    const QColor inside = fill.isValid() ? fill : own;
    const QColor border = edge.isValid() ? edge : own;
    const Qt::BrushStyle hatch =
        type == ContactBoxCode::Collision ? Qt::FDiagPattern : Qt::BDiagPattern;
    const int width = d->thickness();
    const QRect view = painter.hasClipping() ? painter.clipBoundingRect().toAlignedRect()
                                             : QRect(QPoint(), d->viewSize);
    const QPoint anchor = d->boxAnchor();
    const qreal opacity = painter.opacity();
    for (const ContactBox &box : d->contactBoxes[type - 1].boxes) {
        const QRect area = d->boxArea(box, anchor);
        // A box that is thinner than a pixel shows as its edges.
        if (!area.adjusted(-width, -width, width, width).intersects(view))
            continue;
        if (box.selected)
            painter.fillRect(area, QBrush(inside, hatch));
        if (area.width() > width && area.height() > width) {
            painter.setOpacity(qreal(style.boxOpacity) * 0.5);
            painter.fillRect(area.adjusted(width, width, 0, 0), inside);
            painter.setOpacity(opacity);
        }
        painter.fillRect(QRect(area.x(), area.y(), width, area.height()), border);
        painter.fillRect(QRect(area.x(), area.y(), area.width(), width), border);
        painter.fillRect(QRect(area.right() + 1 - width, area.y(), width, area.height()), border);
        painter.fillRect(QRect(area.x(), area.bottom() + 1 - width, area.width(), width), border);
    }
}

void GraphicsRenderer::renderContactBoxSizers(QPainter &painter)
{
    if (d->clickMode == ClickDrawContactBox || !d->anySelected)
        return;
    QPoint points[8];
    d->handlePoints(points);
    for (QPoint point : points) {
        // A line of one pixel around an area of 8 by 8 takes 9.
        painter.fillRect(QRect(point, QSize(handleSize + 1, handleSize + 1)), Qt::gray);
        painter.fillRect(QRect(point + QPoint(1, 1), QSize(handleSize - 1, handleSize - 1)),
                         Qt::white);
    }
}

void GraphicsRenderer::renderRulers(QPainter &painter)
{
    if (!d->rulersVisible)
        return;
    const GraphicsStyle &style = GraphicsStyle::instance();
    const int width = d->viewSize.width();
    const int height = d->viewSize.height();
    const QColor &top = style.backgroundTop;
    painter.fillRect(QRect(0, 0, rulerWidth, height), top);
    painter.fillRect(QRect(rulerWidth, 0, width - rulerWidth, rulerWidth), top);
    painter.fillRect(QRect(10, 10, 10, height), style.backgroundBottom);
    painter.fillRect(QRect(20, 10, width - 10, 10), style.backgroundBottom);

    const QColor ink(255 - top.red(), 255 - top.green(), 255 - top.blue());
    d->prepareLabels(painter, ink);
    const int unit = int(10.0 / double(d->zoom));
    const int tick = int(unit * double(d->zoom));
    const QPoint origin = style.origin;
    for (Qt::Orientation ruler : {Qt::Horizontal, Qt::Vertical}) {
        const bool across = ruler == Qt::Horizontal;
        const int steps = ((across ? width : height) - rulerWidth) / tick;
        const qint64 zero = across ? origin.x() : origin.y();
        qint64 at = (zero - rulerWidth) % tick + rulerWidth;
        qint64 k = (zero - at) / tick;
        qint64 value = -k * unit;
        for (int step = 0; step <= steps; ++step, at += tick, value += unit, --k) {
            const bool labelled = k % 5 == 0;
            drawMark(painter, ruler, int(at), labelled ? 20 : 24, ink);
            if (!labelled || step == 0)
                continue;
            const QRect area(int(at) - 5 * tick, 0, 10 * tick, rulerWidth);
            d->drawLabel(painter, value,
                         across ? area : QRect(0, area.x(), rulerWidth, area.width()));
        }
    }
}

/// Labels are drawn as pictures: that is quick, and alike on every paint engine.
void GraphicsRendererPrivate::prepareLabels(const QPainter &painter, const QColor &ink)
{
    const QString look = QStringLiteral("%1 %2 %3")
                             .arg(painter.font().toString(), ink.name())
                             .arg(painter.device()->devicePixelRatioF());
    if (look == labelLook && labels.size() < mostLabels)
        return;
    labels.clear();
    labelLook = look;
    labelInk = ink;
}

namespace
{

/// The painter's, or a smaller one if the text would not fit across the vertical ruler.
QFont fittingFont(const QPainter &painter, const QString &text)
{
    constexpr int widest = rulerWidth - 2;
    constexpr int smallest = 6;
    QFont font = painter.font();
    const auto advance = [&] {
        return QFontMetrics(font, painter.device()).horizontalAdvance(text);
    };
    for (int pixels = QFontInfo(font).pixelSize(); advance() > widest && pixels > smallest;)
        font.setPixelSize(--pixels);
    return font;
}

} // namespace

void GraphicsRendererPrivate::drawLabel(QPainter &painter, qint64 value, const QRect &area)
{
    QPixmap &label = labels[value];
    const qreal ratio = painter.device()->devicePixelRatioF();
    if (label.isNull()) {
        const QString text = QStringLiteral("%1").arg(value, 0, 10);
        const QFont font = fittingFont(painter, text);
        const QFontMetrics metrics(font, painter.device());
        // Even sizes keep the text in the middle of the even areas that it is centred in.
        const QSize size((metrics.horizontalAdvance(text) + 5) / 2 * 2,
                         (metrics.height() + 1) / 2 * 2);
        QImage picture(size * ratio, QImage::Format_ARGB32_Premultiplied);
        picture.setDevicePixelRatio(ratio);
        picture.fill(Qt::transparent);
        QPainter writer(&picture);
        writer.setFont(font);
        writer.setPen(labelInk);
        writer.drawText(QRect(QPoint(), size), Qt::AlignCenter, text);
        writer.end();
        label = QPixmap::fromImage(picture);
    }
    const QSize size = label.size() / ratio;
    painter.drawPixmap(QPoint(area.x() + (area.width() - size.width()) / 2,
                              area.y() + (area.height() - size.height()) / 2),
                       label);
}

} // namespace Kiln
