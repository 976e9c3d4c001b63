#include <kilnx/imageedit/palettecells_p.h>

#include <QtGui/QPainter>

namespace Kiln
{

namespace
{

void paintCheck(QPainter &painter, QPoint at, int size)
{
    const int side = size / 2 - 1;
    const QRect square(at, QSize(side, side));
    painter.fillRect(square, Qt::gray);
    painter.fillRect(square.translated(side, side), Qt::gray);
    painter.fillRect(square.translated(side, 0), Qt::white);
    painter.fillRect(square.translated(0, side), Qt::white);
}

void paintSunkenFrame(QPainter &painter, QPoint at, int side)
{
    const QColor shade(128, 128, 128);
    painter.fillRect(QRect(at, QSize(side - 1, 1)), shade);
    painter.fillRect(QRect(at, QSize(1, side - 1)), shade);
    painter.fillRect(QRect(at + QPoint(0, side - 1), QSize(side, 1)), Qt::white);
    painter.fillRect(QRect(at + QPoint(side - 1, 0), QSize(1, side)), Qt::white);
}

void paintOutline(QPainter &painter, const QRect &area, const QColor &color)
{
    if (area.isEmpty())
        return;
    painter.setPen(color);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(area.adjusted(0, 0, -1, -1));
}

} // namespace

void PaletteCells::paint(QPainter &painter, QPoint at, int size, RGBA color, bool selected)
{
    const QPoint inside = at + QPoint(1, 1);
    if (color.a < 255)
        paintCheck(painter, inside, size);
    const QColor filling(color.r, color.g, color.b, color.a);
    if (!selected) {
        painter.fillRect(QRect(inside, QSize(size - 3, size - 3)), filling);
        paintSunkenFrame(painter, at, size - 1);
        return;
    }
    const auto contrast = [](int channel) { return qMin(channel + 128, 255); };
    painter.fillRect(QRect(at, QSize(size - 1, size - 1)), filling);
    paintOutline(painter, QRect(at + QPoint(2, 2), QSize(size - 5, size - 5)),
                 QColor(contrast(color.r), contrast(color.g), contrast(color.b)));
}

} // namespace Kiln
