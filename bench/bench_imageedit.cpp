// The canvas and its tools beside plain loops, a bare QPainter and another program's fill.

#include <bench/besidebare.h>
#include <kilnx/image/palette.h>
#include <kilnx/imageedit/colorpalette.h>
#include <kilnx/imageedit/imagerenderer.h>
#include <kilnx/imageedit/palettewidget.h>
#include <kilnx/imageedit/pentool.h>
#include <kilnx/render/renderwidget.h>

#include <QtCore/QRandomGenerator>
#include <QtGui/QPainter>

#include <malloc.h>
#include <wand/MagickWand.h>

using namespace Kiln;

namespace
{

constexpr int layerCount = 8;

/// Every sixteenth colour is clear and every sixteenth translucent.
void fillPalette(PaletteWidget &cells)
{
    QRandomGenerator dice(3);
    RGBA table[256];
    for (int i = 0; i < 256; ++i) {
        table[i] = fromQRgb(dice.generate() | 0xff000000U);
        if (i % 16 < 2)
            table[i].a = i % 16 ? 128 : 0;
    }
    cells.palette()->fromPalette(table);
}

/// A layer of patches, most of them clear, as those of a sprite are.
QImage layerPicture(int side, int format, int number, ImagePalette &palette)
{
    QImage image(side, side, ImageCanvas::pixelFormat(format));
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const int patch = (x / 37 * 7 + y / 29 * 13 + number * 5) % 23;
            const auto index = uchar(patch < 14 ? 0 : patch * 11 % 256);
            if (format == RGBACanvas)
                reinterpret_cast<QRgb *>(image.scanLine(y))[x] = palette.rgbAt(index);
            else
                image.scanLine(y)[x] = index;
        }
    }
    return image;
}

/// A canvas in a view of 800 by 600, with the pen of 8 pixels in hand.
struct Bench {
    Bench(int side, int format, int layers = layerCount)
    {
        fillPalette(cells);
        renderer.canvas.setFormat(format, false);
        renderer.canvas.setSize({side, side}, {}, false);
        for (int i = 0; i < layers; ++i) {
            const QImage image = layerPicture(side, format, i, palette);
            renderer.canvas.layers.addLayer(&image);
        }
        renderer.canvas.undoStack.clear();
        renderer.setCurrentLayer(renderer.canvas.layers.at(0));
        renderer.setActiveTool(ImageRenderer::Pen);
        static_cast<PenTool *>(renderer.activeTool())->size->setValue(8);
        palette.setForegroundIndex(33);
        widget.resize(800, 600);
        widget.setRenderer(&renderer);
        widget.show();
        renderer.setOffset({});
        QApplication::processEvents();
    }
    QImage &layer() { return static_cast<RasterLayer *>(renderer.currentLayer())->image; }

    PaletteWidget cells;
    ColorPalette palette{&cells};
    ImageRenderer renderer{&palette};
    RenderWidget widget;
};

/// Moves within a stroke, each until the widget is painted: a large canvas beside a small one.
void penMove(benchmark::State &state)
{
    const auto format = int(state.range(0));
    Bench large(4096, format);
    Bench small(256, format);
    int turn = 0;
    const auto move = [&turn](Bench &bench) {
        bench.renderer.mouseMoved({40 + turn * 37 % 150, 30 + turn * 53 % 170}, {});
        QApplication::processEvents();
    };
    for (Bench *bench : {&large, &small}) {
        bench->renderer.mousePressed({20, 20}, Qt::LeftButton, {});
        move(*bench);
    }
    BesideBare::Comparison comparison(state);
    for (auto _ : state) {
        ++turn;
        comparison.add([&] { move(large); }, [&] { move(small); });
    }
}

void plainFill(ImagePainter &painter, QPoint from)
{
    const unsigned target = painter.rawPixel(from.x(), from.y());
    std::vector<QPoint> waiting = {from};
    while (!waiting.empty()) {
        const QPoint at = waiting.back();
        waiting.pop_back();
        if (!painter.image->valid(at) || painter.rawPixel(at.x(), at.y()) != target)
            continue;
        painter.setPixel(at.x(), at.y());
        for (QPoint way : {QPoint(1, 0), QPoint(-1, 0), QPoint(0, 1), QPoint(0, -1)})
            waiting.push_back(at + way);
    }
}

/// An empty canvas, by the painter and by a stack of points.
void floodFill(benchmark::State &state)
{
    Bench bench(2048, int(state.range(0)), 1);
    ImagePainter &painter = *bench.renderer.painter();
    painter.setColor(33);
    BesideBare::Comparison comparison(state);
    for (auto _ : state) {
        bench.layer().fill(0);
        QImage other = bench.layer();
        other.detach();
        comparison.add(
            [&] {
                painter.floodFill({1000, 900});
            },
            [&] {
                painter.image = &other;
                plainFill(painter, {1000, 900});
                painter.image = &bench.layer();
            });
    }
}

/// The same beside ImageMagick's fill.
void floodFillBesideMagick(benchmark::State &state)
{
    Bench bench(2048, RGBACanvas, 1);
    ImagePainter &painter = *bench.renderer.painter();
    painter.setColor(33);
    PixelWand *clear = NewPixelWand();
    PixelWand *red = NewPixelWand();
    PixelSetColor(clear, "#00000000");
    PixelSetColor(red, "red");
    BesideBare::Comparison comparison(state);
    for (auto _ : state) {
        bench.layer().fill(0);
        MagickWand *wand = NewMagickWand();
        MagickNewImage(wand, 2048, 2048, clear);
        comparison.add(
            [&] {
                painter.floodFill({1000, 900});
            },
            [&] {
                MagickFloodfillPaintImage(wand, DefaultChannels, red, 0, clear, 1000, 900,
                                          MagickFalse);
            });
        DestroyMagickWand(wand);
    }
    DestroyPixelWand(red);
    DestroyPixelWand(clear);
}

uchar plainPixel(const QList<ImageLayer *> &layers, ImagePalette &palette, int x, int y)
{
    QVector<QRgb> colors;
    for (const ImageLayer *layer : layers) {
        const int index = static_cast<const RasterLayer *>(layer)->image.constScanLine(y)[x];
        const QRgb color = palette.rgbAt(uchar(index));
        if (!layer->visible || qAlpha(color) == 0)
            continue;
        if (colors.isEmpty() && qAlpha(color) == 255)
            return uchar(index);
        colors.append(color);
        if (qAlpha(color) == 255)
            break;
    }
    if (colors.isEmpty())
        return 0;
    int mixed[4];
    for (int i = 0; i < 4; ++i) {
        mixed[i] = int(colors.last() >> (i * 8) & 255);
        for (int k = colors.size() - 2; k >= 0; --k)
            mixed[i] += (int(colors[k] >> (i * 8) & 255) - mixed[i]) >> 1;
    }
    return palette.indexOf(QColor(mixed[2], mixed[1], mixed[0], mixed[3]));
}

QImage plainFlatten(Bench &bench, int format)
{
    const ImageCanvas &canvas = bench.renderer.canvas;
    QImage flat(canvas.size, ImageCanvas::pixelFormat(format));
    flat.fill(0);
    if (format == RGBACanvas) {
        QPainter painter(&flat);
        for (int row = canvas.layers.list.size() - 1; row >= 0; --row)
            painter.drawImage(0, 0, static_cast<RasterLayer *>(canvas.layers.list[row])->image);
        return flat;
    }
    for (int y = 0; y < flat.height(); ++y) {
        uchar *to = flat.scanLine(y);
        for (int x = 0; x < flat.width(); ++x)
            to[x] = plainPixel(canvas.layers.list, bench.palette, x, y);
    }
    return flat;
}

/// Beside the plain loop for indices, and a bare QPainter for colours.
void flatten(benchmark::State &state)
{
    const auto format = int(state.range(0));
    Bench bench(2048, format);
    QImage own;
    QImage plain;
    BesideBare::Comparison comparison(state);
    for (auto _ : state)
        comparison.add([&] { own = bench.renderer.canvas.flatten(); },
                       [&] { plain = plainFlatten(bench, format); });
    plain.setColorTable(own.colorTable());
    if (own != plain)
        state.SkipWithError("the pictures differ");
}

/// Strokes of twenty moves: what undo keeps of them, and what taking them back
/// costs in terms of making them.
void strokes(benchmark::State &state)
{
    constexpr int count = 100;
    double making = 0;
    double undoing = 0;
    double kept = 0;
    for (auto _ : state) {
        Bench bench(2048, int(state.range(0)), 1);
        ImageRenderer &renderer = bench.renderer;
        QRandomGenerator dice(5);
        const auto point = [&dice] { return QPoint(dice.bounded(2048), dice.bounded(2048)); };
        const size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
        const double made = BesideBare::seconds([&] {
            for (int i = 0; i < count; ++i) {
                QPoint at = point();
                renderer.mousePressed(at, Qt::LeftButton, {});
                for (int k = 0; k < 20; ++k) {
                    at += QPoint(dice.bounded(21) - 10, dice.bounded(21) - 10);
                    renderer.mouseMoved(at, {});
                }
                renderer.mouseReleased(at, Qt::LeftButton, {});
            }
        });
        kept += double(mallinfo2().uordblks + mallinfo2().hblkhd - before);
        const double undone = BesideBare::seconds([&] {
            while (renderer.canvas.undoStack.canUndo())
                renderer.canvas.undoStack.undo();
        });
        making += made;
        undoing += undone;
        state.SetIterationTime(made);
    }
    state.counters["kept_MB"] = kept / double(state.iterations()) / (1 << 20);
    state.counters["undo_of_making"] = undoing / making;
}

} // namespace

BENCHMARK(penMove)->ArgName("format")->Arg(0)->Arg(1)->UseManualTime()->Iterations(400);
BENCHMARK(floodFill)->ArgName("format")->Arg(0)->Arg(1)->UseManualTime()->Iterations(5);
BENCHMARK(floodFillBesideMagick)->UseManualTime()->Iterations(5);
BENCHMARK(flatten)->ArgName("format")->Arg(0)->Arg(1)->UseManualTime()->Iterations(3);
BENCHMARK(strokes)->ArgName("format")->Arg(0)->Arg(1)->UseManualTime()->Iterations(3);

int main(int argc, char **argv)
{
    MagickWandGenesis();
    return BesideBare::run(argc, argv);
}
