#pragma once

#include <kilnx/imageedit/paletteremapwidget.h>
#include <kilnx/imageedit/pentool.h>
#include <tests/imageedit/paintbench.h>

#include <cmath>

/// The view of a canvas as a user moves about in it, by plain loops: places, zoom and pointer, and
/// every pixel that is to be seen. What is on the canvas itself comes from the canvas.
class PlainView
{
public:
    using Bench = PaintBench::Bench;
    using Renderer = Kiln::ImageRenderer;

    explicit PlainView(Bench &bench)
        : m_bench(bench)
    {
    }

    double zoom() const { return zooms[step]; }
    QRect main() const { return {paneWidth(), 0, view.width() - paneWidth(), view.height()}; }
    QPoint toImage(QPoint screen) const
    {
        return {int(std::floor((screen.x() - offset.x()) / zoom())),
                int(std::floor((screen.y() - offset.y()) / zoom()))};
    }
    QPoint toScreen(QPoint image) const
    {
        return offset +
               QPoint(int(std::floor(image.x() * zoom())), int(std::floor(image.y() * zoom())));
    }
    void zoomTo(int to, QPoint fixed)
    {
        to = qBound(0, to, 12);
        if (to == step)
            return;
        const double factor = zooms[to] / zoom();
        step = to;
        offset = {int(std::round(fixed.x() - (fixed.x() - offset.x()) * factor)),
                  int(std::round(fixed.y() - (fixed.y() - offset.y()) * factor))};
        if (isInside)
            point(pointer);
        log += "zoom";
    }
    static int nearest(double factor)
    {
        int best = 0;
        for (int i = 1; i < 13; ++i)
            best = qAbs(zooms[i] - factor) < qAbs(zooms[best] - factor) ? i : best;
        return best;
    }
    void wheel(int delta)
    {
        rest += delta;
        const int notches = rest / 120;
        rest %= 120;
        zoomTo(step + notches, isInside ? pointer : main().center());
    }
    void centralize()
    {
        const double width = m_bench.renderer.canvas.size.width() * zoom();
        const double height = m_bench.renderer.canvas.size.height() * zoom();
        offset = {main().x() + int(std::floor((main().width() - width) / 2)),
                  int(std::floor((main().height() - height) / 2))};
    }
    void press(QPoint at, Qt::MouseButton button)
    {
        if ((held && held != button) || (isOriginal && !main().contains(at)))
            return;
        held = button;
        isByKey = false;
        isPressed = true;
        start = at;
        band = QRect(toImage(at), QSize(0, 0));
        offsetBefore = offset;
        point(at);
    }
    void move(QPoint at)
    {
        if (isPressed && tool() == Renderer::CanvasMove)
            offset = offsetBefore + at - start;
        const QPoint to = toImage(at);
        if (isPressed)
            band.setBottomRight(to - QPoint(1, 1));
        point(at);
    }
    void release(Qt::MouseButton button)
    {
        isPressed &= held != button;
        held = held == button ? Qt::NoButton : held;
    }
    void choose()
    {
        isPressed = false;
        held = Qt::NoButton;
    }
    /// A key that the tool has left alone.
    void arrow(QPoint way, bool shift)
    {
        way *= shift ? 8 : 1;
        const int middle = int(zoom() / 2);
        const QPoint to =
            zoom() < 1 ? pointer + way : toScreen(toImage(pointer) + way) + QPoint(middle, middle);
        const QPoint inside(qBound(main().left(), to.x(), main().right()),
                            qBound(main().top(), to.y(), main().bottom()));
        const bool follows = tool() != Renderer::CanvasMove;
        offset += follows ? inside - to : QPoint();
        move(follows ? inside : to);
    }
    Qt::CursorShape shape() const
    {
        return tool() == Renderer::CanvasMove
                   ? (isPressed ? Qt::ClosedHandCursor : Qt::OpenHandCursor)
               : tool() == Renderer::SelMove ? Qt::SizeAllCursor
                                             : Qt::CrossCursor;
    }
    int tool() const { return m_bench.renderer.activePosition(); }

    /// A pixel of a picture that is another than the view's; empty for none. Where several of the
    /// canvas share one, its middle is between them.
    QByteArray difference(const QImage &shot) const
    {
        const QImage flat = m_bench.renderer.picture();
        for (int i = 0; i < view.width() * view.height(); ++i) {
            const QPoint at(i % view.width(), i / view.width());
            bool fits = false;
            for (int turn = 0; turn < (zoom() < 1 ? 4 : 1) && !fits; ++turn)
                fits = isLike(shot.pixelColor(at), colorAt(at, flat, {turn % 2, turn / 2}));
            if (!fits)
                return QString("%1 instead of %2 at %3 %4")
                    .arg(shot.pixelColor(at).name(), colorAt(at, flat, {}).name())
                    .arg(at.x())
                    .arg(at.y())
                    .toLatin1();
        }
        return {};
    }

    QSize view = PaintBench::viewSize;
    QPoint offset, pointer, pointed, start, offsetBefore;
    QRect band; ///< from where a drag began to where it is; its size may be negative
    int step = 3, rest = 0;
    Qt::MouseButton held = Qt::NoButton;
    bool isInside = false, isPressed = false, isByKey = false;
    bool isOriginal = false, hasGrid = true, showsSelection = true;
    QStringList log;

private:
    static constexpr double zooms[] = {0.125, 0.25, 0.5, 1, 2, 3, 4, 6, 8, 12, 16, 24, 32};

    int paneWidth() const
    {
        return isOriginal ? qMin(m_bench.renderer.canvas.size.width() + 16, view.width() / 2) : 0;
    }
    void point(QPoint at)
    {
        const QPoint now = toImage(at);
        if (now != pointed || !isInside)
            log += QString("at %1 %2").arg(now.x()).arg(now.y());
        pointer = at;
        pointed = now;
        isInside = true;
    }
    static QColor mixed(const QColor &ground, const QColor &color, int alpha)
    {
        const auto mix = [alpha](int a, int b) { return a + (b - a) * alpha / 255; };
        return {mix(ground.red(), color.red()), mix(ground.green(), color.green()),
                mix(ground.blue(), color.blue())};
    }
    static QColor over(QColor ground, QRgb color)
    {
        return mixed(ground, QColor(color), qAlpha(color));
    }
    static QColor check(QPoint at)
    {
        return (at.x() / 8 + at.y() / 8) % 2 ? QColor(250, 250, 250) : QColor(10, 10, 10);
    }
    /// Of the picture beside the view, the part that has the view's middle in its own.
    QColor originalAt(QPoint at, const QImage &flat) const
    {
        const QColor ground(1, 2, 3);
        const int width = paneWidth() - 1;
        if (at.x() == width)
            return mixed(ground, QColor(64, 64, 64), 110);
        const QSize size = flat.size().boundedTo({width, view.height()});
        const QPoint corner((width - size.width()) / 2, (view.height() - size.height()) / 2);
        const QPoint wanted =
            toImage(main().center()) - QPoint(size.width() / 2, size.height() / 2);
        const QPoint part(qBound(0, wanted.x(), flat.width() - size.width()),
                          qBound(0, wanted.y(), flat.height() - size.height()));
        return QRect(corner, size).contains(at) ? over(check(at), flat.pixel(at - corner + part))
                                                : ground;
    }
    static bool isLike(const QColor &shown, const QColor &wanted)
    {
        if (wanted == Qt::transparent)
            return true;
        if (!wanted.isValid()) // a dash
            return shown == Qt::black || shown == Qt::white;
        return qAbs(shown.red() - wanted.red()) <= 4 && qAbs(shown.green() - wanted.green()) <= 4 &&
               qAbs(shown.blue() - wanted.blue()) <= 4;
    }
    /// Not valid for the dashes of a band, and clear where anything may be.
    QColor colorAt(QPoint at, const QImage &flat, QPoint before) const
    {
        if (at.x() < paneWidth())
            return originalAt(at, flat);
        const QPoint from = at - offset;
        const QPoint pixel = QPoint(int(std::floor((from.x() + 0.5) / zoom())),
                                    int(std::floor((from.y() + 0.5) / zoom()))) -
                             before;
        QColor color(1, 2, 3);
        if (flat.valid(pixel)) {
            const Kiln::ImageSelection &selection = m_bench.renderer.canvas.selection;
            color = over(check(from), flat.pixel(pixel));
            const auto *adding =
                static_cast<Kiln::PenSelTool *>(m_bench.renderer.tool(Renderer::PenSel));
            if (showsSelection && (selection.active || adding->isAdding()) &&
                !selection.mask.pixelIndex(pixel))
                color = mixed(color, Qt::black, 0x64);
            const QPoint first = toScreen(pixel);
            for (const bool isOnLine : {at.x() == first.x(), at.y() == first.y()})
                color = hasGrid && zoom() >= 8 && isOnLine
                            ? mixed(color, QColor(128, 128, 128), 110)
                            : color;
        }
        return overlaid(color, at);
    }
    QColor overlaid(const QColor &color, QPoint at) const
    {
        const auto isOnEdge = [at](const QRect &outer) {
            return outer.contains(at) && !outer.adjusted(1, 1, -1, -1).contains(at);
        };
        if (!isInside)
            return color;
        if (const auto *pen = qobject_cast<Kiln::BasePenTool *>(m_bench.renderer.activeTool())) {
            const int side = int(std::floor(pen->penSize() * zoom() + 2.5));
            const QPoint corner = toScreen(toImage(pointer));
            return isOnEdge({corner - QPoint(2, 2), QSize(side + 2, side + 2)}) ? QColor(Qt::black)
                   : isOnEdge({corner - QPoint(1, 1), QSize(side, side)})       ? QColor(Qt::white)
                                                                                : color;
        }
        const QRect turned(QPoint(qMin(band.x(), band.x() + band.width()),
                                  qMin(band.y(), band.y() + band.height())),
                           QSize(qAbs(band.width()), qAbs(band.height())));
        const bool isBand = tool() == Renderer::RectSel && isPressed && !turned.isEmpty();
        const QPoint end = toScreen(turned.topLeft() + QPoint(turned.width(), turned.height()));
        if (isBand && at == end)
            return Qt::transparent; // Qt leaves it out where the band begins outside
        return isBand && isOnEdge(QRect(toScreen(turned.topLeft()), end)) ? QColor() : color;
    }

    Bench &m_bench;
};
