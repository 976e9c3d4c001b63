#include <kilnx/imageedit/palettecells_p.h>

#include <QtGui/QPainter>
#include <QtWidgets/QWidget>

namespace Kiln
{

namespace
{

/// What is around the colour itself.
struct Tones {
    QColor check;
    QColor otherCheck;
    QColor shade;
    QColor light;
};

Tones tonesFor(const QWidget &widget)
{
    const QPalette palette = widget.QWidget::palette();
    const bool isDark = palette.color(QPalette::Window).lightness() <
                        palette.color(QPalette::WindowText).lightness();
    if (isDark)
        return {QColor(56, 60, 66), QColor(84, 90, 98), QColor(32, 35, 39), QColor(84, 90, 98)};
    return {Qt::gray, Qt::white, QColor(128, 128, 128), Qt::white};
}

void paintCheck(QPainter &painter, QPoint at, int size, const Tones &tones)
{
    const int side = size / 2 - 1;
    const QRect square(at, QSize(side, side));
    painter.fillRect(square, tones.check);
    painter.fillRect(square.translated(side, side), tones.check);
    painter.fillRect(square.translated(side, 0), tones.otherCheck);
    painter.fillRect(square.translated(0, side), tones.otherCheck);
}

void paintSunkenFrame(QPainter &painter, QPoint at, int side, const Tones &tones)
{
    painter.fillRect(QRect(at, QSize(side - 1, 1)), tones.shade);
    painter.fillRect(QRect(at, QSize(1, side - 1)), tones.shade);
    painter.fillRect(QRect(at + QPoint(0, side - 1), QSize(side, 1)), tones.light);
    painter.fillRect(QRect(at + QPoint(side - 1, 0), QSize(1, side)), tones.light);
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

void PaletteCells::paint(QPainter &painter,
                         const QWidget &widget,
                         QPoint at,
                         int size,
                         RGBA color,
                         bool selected)
{
    const QPoint inside = at + QPoint(1, 1);
    const Tones tones = tonesFor(widget);
    if (color.a < 255)
        paintCheck(painter, inside, size, tones);
    const QColor filling(color.r, color.g, color.b, color.a);
    if (!selected) {
        painter.fillRect(QRect(inside, QSize(size - 3, size - 3)), filling);
        paintSunkenFrame(painter, at, size - 1, tones);
        return;
    }
    const auto contrast = [](int channel) { return qMin(channel + 128, 255); };
    painter.fillRect(QRect(at, QSize(size - 1, size - 1)), filling);
    paintOutline(painter, QRect(at + QPoint(2, 2), QSize(size - 5, size - 5)),
                 QColor(contrast(color.r), contrast(color.g), contrast(color.b)));
}

} // namespace Kiln
