#pragma once

#include <kilnx/imageedit/imagecanvas.h>

#include <QtCore/QDataStream>
#include <QtCore/QRandomGenerator>

/// What the tests of canvas and tools share: random pictures and operations, and the plain line.
namespace PlainCanvas
{

using namespace Kiln;

inline QImage randomPicture(QSize size, int format, QRandomGenerator &dice, quint32 kinds = 256)
{
    QImage image(size, ImageCanvas::pixelFormat(format));
    image.setColorCount(format == IndexedCanvas ? 256 : 0);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, format == IndexedCanvas ? dice.bounded(kinds) : dice.generate());
    return image;
}

inline RasterLayer *rasterAt(const ImageCanvas &canvas, int row)
{
    return static_cast<RasterLayer *>(canvas.layers.at(row));
}

/// Everything that undo must bring back, as bytes.
inline QByteArray stateOf(const ImageCanvas &canvas)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << canvas.size << canvas.format << canvas.selection.mask.size();
    for (const ImageLayer *layer : canvas.layers.list) {
        const QImage &image = static_cast<const RasterLayer *>(layer)->image;
        out << layer->name << layer->blendMode << layer->opacity << image.size()
            << int(image.format()) << image.colorCount();
        for (int y = 0; y < image.height(); ++y)
            out.writeRawData(reinterpret_cast<const char *>(image.constScanLine(y)),
                             image.width() * image.depth() / 8);
    }
    return bytes;
}

/// Each place of a canvas' undo stack has one state, however it is reached.
class UndoStates
{
public:
    explicit UndoStates(ImageCanvas &canvas)
        : m_canvas(canvas)
        , m_states{stateOf(canvas)}
    {
    }
    /// Whether the state is the place's; what was done at `before`, unless it was a jump, makes new
    /// places.
    bool holds(int before, bool jumped)
    {
        const int now = m_canvas.undoStack.index();
        if (!jumped && now > before) {
            m_states.resize(before + 1);
            m_states.resize(now + 1); // two steps at once: the one between is seen by undo
            m_states.last() = stateOf(m_canvas);
        }
        return m_states[now].isEmpty() || m_states[now] == stateOf(m_canvas);
    }
    /// Whether all the way back and forth again each place has its state, and `look` agrees.
    template<class Look>
    bool walk(Look look)
    {
        QUndoStack &stack = m_canvas.undoStack;
        for (const bool back : {true, false}) {
            while (back ? stack.canUndo() : stack.canRedo()) {
                back ? stack.undo() : stack.redo();
                QByteArray &wanted = m_states[stack.index()];
                if (wanted.isEmpty())
                    wanted = stateOf(m_canvas);
                if (stateOf(m_canvas) != wanted || !look())
                    return false;
            }
        }
        return true;
    }

private:
    ImageCanvas &m_canvas;
    QVector<QByteArray> m_states;
};

/// All points of a line, by a loop of its own.
template<class Point>
void line(QPoint at, QPoint to, Point point)
{
    const int dx = qAbs(to.x() - at.x());
    const int dy = qAbs(to.y() - at.y());
    const QPoint step((to.x() > at.x()) - (to.x() < at.x()), (to.y() > at.y()) - (to.y() < at.y()));
    point(at);
    int error = qMax(dx, dy) >> 1;
    while (dy > dx ? at.y() != to.y() : at.x() != to.x()) {
        if (dy > dx) {
            at.ry() += step.y();
            if ((error += dx) >= dy) {
                at.rx() += step.x();
                error -= dy;
            }
        } else {
            at.rx() += step.x();
            if ((error += dy) >= dx) {
                at.ry() += step.y();
                error -= dx;
            }
        }
        point(at);
    }
}

/// One operation on the whole canvas or on its layers, with its steps of undo.
inline void randomOperation(ImageCanvas &canvas, QRandomGenerator &dice)
{
    const int count = canvas.layers.list.size();
    const int row = count ? dice.bounded(count) : -1;
    const QSize size(20 + dice.bounded(90), 20 + dice.bounded(90));
    const int kind = dice.bounded(13);
    if (kind == 0) {
        canvas.layers.addLayer(nullptr);
    } else if (kind == 1) {
        const QImage image = randomPicture(canvas.size, canvas.format, dice);
        canvas.layers.addLayer(&image);
    } else if (kind == 2) {
        canvas.layers.removeLayer(count > 2 ? 0 : -1, true);
    } else if (kind == 3) {
        canvas.setFormat(dice.bounded(2), true);
    } else if (kind == 4) {
        canvas.setSize(size, {dice.bounded(60) - 30, dice.bounded(60) - 30}, true);
    } else if (kind == 5) {
        canvas.resize(size, dice.bounded(4));
    } else if (kind == 6 && canvas.size.width() < 120 && canvas.size.height() < 120) {
        canvas.rotate(float(dice.bounded(360)), dice.bounded(2));
    } else if (kind == 7) {
        canvas.flip(dice.bounded(2), true);
    } else if (kind == 8) {
        canvas.crop();
    } else if (kind == 9) {
        dice.bounded(2) ? canvas.mergeAll() : canvas.mergeVisible();
    } else if (kind == 10) {
        canvas.layers.setData(canvas.layers.index(row), QString::number(dice.generate()));
    } else if (kind == 11) {
        canvas.layers.moveRows({}, row, 1, {}, dice.bounded(3));
    } else if (row >= 0) {
        canvas.layers.at(row)->setOpacity(dice.bounded(100) / 100.0, true);
        canvas.layers.at(row)->setBlendMode(12 + dice.bounded(12), true);
    }
}

} // namespace PlainCanvas
