#pragma once

#include <kilnx/image/palette.h>
#include <kilnx/imageedit/colorpalette.h>
#include <kilnx/imageedit/imagerenderer.h>
#include <kilnx/imageedit/palettewidget.h>
#include <kilnx/render/glrenderwidget.h>
#include <kilnx/render/renderwidget.h>
#include <tests/imageedit/plaincanvas.h>

#include <QtTest/QtTest>

/// A view on the screen with a user's hands, and the plain model of what tools do.
namespace PaintBench
{

using namespace Kiln;
using PlainCanvas::randomPicture;
using PlainCanvas::rasterAt;

using Points = QVector<QPoint>;

inline constexpr QSize viewSize(420, 300);

/// A renderer in a widget that is on the screen, and the hands of its user.
struct Bench {
    Bench(bool openGL, int format, QSize size, quint32 seed = 1)
        : dice(seed)
    {
        RGBA table[256];
        for (RGBA &entry : table)
            entry = fromQRgb(dice.generate() | (dice.bounded(3) ? 0xff000000U : 0));
        table[0].a = 0;
        cells.palette()->fromPalette(table);
        renderer.canvas.setFormat(format, false);
        renderer.canvas.setSize(size, {}, false);
        const QImage image = randomPicture(size, format, dice, 4);
        renderer.canvas.layers.addLayer(&image);
        renderer.canvas.undoStack.clear();
        renderer.setCurrentLayer(renderer.canvas.layers.at(0));
        show(openGL);
        renderer.setZoom(4);
        renderer.setOffset({20, 12});
    }
    void show(bool openGL)
    {
        if (openGL) {
            auto *gl = new GLRenderWidget;
            widget.reset(gl);
            QObject::connect(gl, &GLRenderWidget::initialize,
                             [this, gl] { gl->setRenderer(&renderer); });
        } else {
            auto *native = new RenderWidget;
            widget.reset(native);
            native->setRenderer(&renderer);
        }
        widget->setFocusPolicy(Qt::StrongFocus);
        widget->resize(viewSize);
        widget->show();
        QVERIFY(QTest::qWaitForWindowExposed(widget.get()));
        QTRY_VERIFY(renderer.renderWidget);
    }
    QPoint screen(QPoint image) const
    {
        const int middle = int(renderer.zoom() / 2);
        return renderer.toScreen(image) + QPoint(middle, middle);
    }
    void mouse(QEvent::Type type,
               QPoint at,
               Qt::MouseButton button = Qt::NoButton,
               Qt::KeyboardModifiers keys = {})
    {
        held.setFlag(button, type == QEvent::MouseButtonPress);
        QMouseEvent event(type, at, button, held, keys);
        QApplication::sendEvent(widget.get(), &event);
    }
    void press(QPoint image) { mouse(QEvent::MouseButtonPress, screen(image), Qt::LeftButton); }
    void move(QPoint image) { mouse(QEvent::MouseMove, screen(image)); }
    void release(QPoint image) { mouse(QEvent::MouseButtonRelease, screen(image), Qt::LeftButton); }
    void
    stroke(Points points, Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers keys = {})
    {
        for (QPoint &point : points)
            point = screen(point);
        mouse(QEvent::MouseButtonPress, points.first(), button, keys);
        for (int i = 1; i < points.size(); ++i)
            mouse(QEvent::MouseMove, points[i]);
        mouse(QEvent::MouseButtonRelease, points.last(), button, keys);
    }
    void key(Qt::Key key, Qt::KeyboardModifiers keys = {})
    {
        QTest::keyClick(widget.get(), key, keys);
    }
    void leave()
    {
        QEvent event(QEvent::Leave);
        QApplication::sendEvent(widget.get(), &event);
    }
    uint pixel(QPoint at)
    {
        const QImage &image = rasterAt(renderer.canvas, 0)->image;
        return image.depth() == 8 ? image.constScanLine(at.y())[at.x()] : image.pixel(at);
    }
    template<class Tool>
    Tool *choose(int position)
    {
        renderer.setActiveTool(position);
        return static_cast<Tool *>(renderer.activeTool());
    }
    int steps() const { return renderer.canvas.undoStack.index(); }

    QRandomGenerator dice;
    PaletteWidget cells;
    ColorPalette palette{&cells};
    ImageRenderer renderer{&palette};
    Qt::MouseButtons held;
    std::unique_ptr<QWidget> widget;
};

/// Pixels as plain numbers, and the mask beside them.
struct PlainPicture {
    explicit PlainPicture(Bench &bench)
        : palette(bench.palette)
        , rgba(bench.renderer.canvas.format == RGBACanvas)
        , image(static_cast<RasterLayer *>(bench.renderer.currentLayer())->image)
        , selection(bench.renderer.canvas.selection)
    {
        image.detach();
        selection.mask.detach();
        QVector<QRgb> colors; // pictures are compared by their colours
        for (QRgb i = 0; i < 256 && !rgba; ++i)
            colors.append(0xff000000 | i);
        image.setColorTable(colors);
    }
    bool open(QPoint at) const
    {
        return image.valid(at) && selection.mask.valid(at) &&
               (!selection.active || selection.mask.pixelIndex(at) > 0);
    }
    uint raw(QPoint at) const { return rgba ? image.pixel(at) : uint(image.pixelIndex(at)); }
    int index(QPoint at) const
    {
        return rgba ? palette.indexOf(QColor(image.pixel(at))) : image.pixelIndex(at);
    }
    uint color(int index) const { return rgba ? palette.rgbAt(uchar(index)) : uint(index); }

    /// Calls for every pixel of every square of the pen.
    template<class Pixel>
    void pen(const Points &points, int side, Pixel pixel)
    {
        for (int i = 0; i < points.size(); ++i) {
            if (i > 0 && points[i] == points[i - 1])
                continue; // a move within one pixel
            PlainCanvas::line(points[qMax(0, i - 1)], points[i], [&](QPoint at) {
                for (int y = 0; y < side; ++y)
                    for (int x = 0; x < side; ++x)
                        pixel(at + QPoint(x, y));
            });
        }
    }
    void paint(const Points &points, int side, int to)
    {
        pen(points, side, [&](QPoint at) {
            if (open(at))
                image.setPixel(at, color(to));
        });
    }
    void remap(const Points &points, int side, const QMap<int, int> &map)
    {
        pen(points, side, [&](QPoint at) {
            if (open(at) && map.contains(index(at)))
                image.setPixel(at, color(map[index(at)]));
        });
    }
    void fill(QPoint from, int to)
    {
        if (!open(from) || raw(from) == color(to))
            return;
        const uint target = raw(from);
        Points waiting = {from};
        while (!waiting.isEmpty()) {
            const QPoint at = waiting.takeLast();
            if (!open(at) || raw(at) != target)
                continue;
            image.setPixel(at, color(to));
            waiting += {at + QPoint(1, 0), at - QPoint(1, 0), at + QPoint(0, 1), at - QPoint(0, 1)};
        }
    }
    void moveSelected(QPoint by, uint background)
    {
        const QImage before = image.copy();
        for (const bool landing : {false, true})
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    if (open({x, y})) {
                        const QPoint at = landing ? QPoint(x, y) + by : QPoint(x, y);
                        const uint was = rgba ? before.pixel(x, y) : before.pixelIndex(x, y);
                        if (image.valid(at))
                            image.setPixel(at, landing ? was : background);
                    }
    }
    void selectRect(QPoint from, QPoint to)
    {
        QRect rect(QPoint(qMin(from.x(), to.x()), qMin(from.y(), to.y())),
                   QSize(qAbs(to.x() - from.x()), qAbs(to.y() - from.y())));
        if (rect.isEmpty())
            rect = image.rect();
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                selection.mask.setPixel(x, y, rect.contains(x, y));
        selection.active = true;
    }

    ColorPalette &palette;
    bool rgba;
    QImage image;
    ImageSelection selection;
};

} // namespace PaintBench
