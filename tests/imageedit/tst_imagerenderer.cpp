#include <kilnx/imageedit/imagecommands.h>
#include <tests/imageedit/plainview.h>
#include <tests/render/contexts.h>
#include <tests/support/rows.h>
#include <tests/support/screen.h>

#include <QtGui/QPainter>
#include <QtGui/QScreen>
#include <QtGui/QWindow>
#include <QtTest/QSignalSpy>

#include <climits>

using namespace Kiln;
using namespace PaintBench;
using PlainCanvas::rasterAt;
using PlainCanvas::stateOf;
using PlainCanvas::UndoStates;

class tst_ImageRenderer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void followsThePlainPainter_data()
    {
        columns<bool, int, quint32>("openGL", "format", "seed");
        for (quint32 i = 0; i < 8; ++i)
            QTest::addRow("%s, %s, seed %u", i & 1 ? "OpenGL" : "native",
                          i & 2 ? "rgba" : "indexed", i)
                << bool(i & 1) << int(i >> 1 & 1) << i;
    }

    /// A user at random: every tool, both buttons, Shift, operations on the canvas, undo and redo.
    void followsThePlainPainter()
    {
        const auto [openGL, format, seed] = row<bool, int, quint32>();
        if (openGL && !GLRenderWidget::isSupported())
            QSKIP("no OpenGL");
        Bench bench(openGL, format, {44, 37}, seed);
        ImageRenderer &renderer = bench.renderer;
        ImageCanvas &canvas = renderer.canvas;
        QRandomGenerator &dice = bench.dice;
        UndoStates states(canvas);
        QPoint lastPos;
        int sides[ImageRenderer::ToolCount] = {};
        for (int step = 0; step < 260; ++step) {
            const auto somewhere = [&] {
                return QPoint(dice.bounded(canvas.size.width() + 12) - 6,
                              dice.bounded(canvas.size.height() + 12) - 6);
            };
            const int before = canvas.undoStack.index();
            const int kind = dice.bounded(14);
            const bool right = dice.bounded(3) == 0;
            const bool shift = dice.bounded(4) == 0;
            const auto button = right ? Qt::RightButton : Qt::LeftButton;
            const Qt::KeyboardModifiers keys = shift ? Qt::ShiftModifier : Qt::NoModifier;
            Points points = {somewhere(), somewhere(), somewhere()};
            points.resize(1 + dice.bounded(3));
            if (!renderer.currentLayer()) {
                if (canvas.layers.list.isEmpty())
                    canvas.layers.addLayer(nullptr);
                renderer.setCurrentLayer(canvas.layers.at(dice.bounded(canvas.layers.list.size())));
            }
            bool jumped = false;
            if (kind == 9) {
                jumped = true;
                canvas.undoStack.setIndex(dice.bounded(canvas.undoStack.count() + 1));
            } else if (kind == 10 && dice.bounded(2)) {
                PlainCanvas::randomOperation(canvas, dice);
            } else if (kind < ImageRenderer::ToolCount) {
                PlainPicture plain(bench);
                if (renderer.activePosition() != kind || dice.bounded(3) == 0)
                    renderer.setActiveTool(kind);
                const int fore = bench.palette.foregroundIndex();
                const int back = bench.palette.backgroundIndex();
                if (auto *pen = qobject_cast<BasePenTool *>(renderer.activeTool())) {
                    if (dice.bounded(4) == 0)
                        pen->size->setValue(1 + dice.bounded(24));
                    sides[kind] = pen->penSize();
                }
                QMap<int, int> map;
                QPoint offset = renderer.offset();
                // A stroke that stays away from the picture has nothing to undo.
                const auto stepsAfter = [&](const Points &way) {
                    const QSize pen(sides[kind], sides[kind]);
                    int steps = before;
                    for (int i = 0; i < way.size(); ++i)
                        if ((QRect(way[i], pen) | QRect(way[qMax(0, i - 1)], pen))
                                .intersects(plain.image.rect()))
                            steps = before + 1;
                    return steps;
                };
                int steps = before;
                if (kind == ImageRenderer::CanvasMove) {
                    if (points.size() > 1)
                        offset += bench.screen(points.last()) - bench.screen(points[0]);
                } else if (kind == ImageRenderer::SelMove) {
                    renderer.activeTool()->activate();
                    plain.moveSelected(points.last() - points[0], plain.color(back));
                } else if (kind == ImageRenderer::RectSel) {
                    plain.selectRect(points[0], points.last());
                } else if (kind == ImageRenderer::PenSel) {
                    plain.selection.active |= right;
                    plain.pen(points, sides[kind], [&](QPoint at) {
                        if (plain.image.valid(at))
                            plain.selection.mask.setPixel(at, right ? 0 : 1);
                    });
                } else if (kind == ImageRenderer::Pen) {
                    if (shift)
                        points.prepend(lastPos);
                    plain.paint(points, sides[kind], right ? back : fore);
                    steps = stepsAfter(points);
                    lastPos = points.last();
                    if (shift)
                        points.removeFirst();
                } else if (kind == ImageRenderer::Eraser) {
                    steps = stepsAfter(points);
                    if (right)
                        plain.remap(points, sides[kind], {{fore, back}});
                    else
                        plain.paint(points, sides[kind], back);
                } else if (kind == ImageRenderer::Replace) {
                    auto *pairs = static_cast<ReplaceTool *>(renderer.activeTool())->pairs();
                    for (int i = 0; i < 12; ++i) {
                        pairs->setCurrent(i);
                        pairs->setFirst(uchar(dice.bounded(8)));
                        pairs->setSecond(uchar(dice.bounded(8)));
                        const QPoint pair = pairs->pair(i);
                        if (pair.x() != pair.y())
                            map[right ? pair.y() : pair.x()] = right ? pair.x() : pair.y();
                    }
                    steps = shift ? before : stepsAfter(points);
                    if (!shift)
                        plain.remap(points, sides[kind], map);
                } else if (kind == ImageRenderer::FloodFill) {
                    const QImage unfilled = plain.image.copy();
                    plain.fill(points[0], fore);
                    steps = before + (plain.image != unfilled);
                }
                bench.stroke(points, button, keys);
                const bool picks = kind == ImageRenderer::Picker && plain.image.valid(points[0]);
                const int picked = picks ? plain.index(points[0]) : 0;
                QCOMPARE(int(bench.palette.foregroundIndex()), picks && !right ? picked : fore);
                QCOMPARE(int(bench.palette.backgroundIndex()), picks && right ? picked : back);
                const PlainPicture now(bench);
                const QByteArray where = QString("step %1, tool %2").arg(step).arg(kind).toLatin1();
                QVERIFY2(now.image == plain.image, where);
                QVERIFY2(now.selection.mask == plain.selection.mask, where);
                QCOMPARE(now.selection.active, plain.selection.active);
                QCOMPARE(renderer.offset(), offset);
                QVERIFY2(bench.steps() <= before + 1, where); // one step a stroke
                if (kind != ImageRenderer::SelMove)
                    QCOMPARE(bench.steps(), steps);
            } else if (kind == 11) {
                bench.palette.setForegroundIndex(uchar(dice.bounded(8)));
                bench.palette.setBackgroundIndex(uchar(dice.bounded(8)));
            } else if (kind == 12) {
                canvas.selection.active = dice.bounded(2);
                canvas.announceSelection();
            } else {
                const QModelIndex row = canvas.layers.index(dice.bounded(3));
                canvas.layers.setData(row, Qt::Checked, Qt::CheckStateRole);
                renderer.setZoom(1 << dice.bounded(3));
                renderer.setOffset({dice.bounded(40), dice.bounded(40)});
            }
            QVERIFY2(renderer.picture() == canvas.flatten(),
                     qPrintable(QString("step %1, kind %2").arg(step).arg(kind)));
            QVERIFY2(states.holds(before, jumped), qPrintable(QString::number(step)));
        }
        QVERIFY(states.walk([&] { return renderer.picture() == canvas.flatten(); }));
    }

    void looksLikeThePlainView_data()
    {
        columns<bool, int>("openGL", "format");
        for (int i = 0; i < 4; ++i)
            QTest::addRow("%s, %s", i & 1 ? "OpenGL" : "native", i & 2 ? "rgba" : "indexed")
                << bool(i & 1) << (i >> 1);
    }

    /// A user at random who moves about: mouse, wheel and keys, with every tool. Places are those
    /// of the plain view, and so are all pixels, of which the screen lacks none.
    void looksLikeThePlainView()
    {
        const auto [openGL, format] = row<bool, int>();
        if (openGL && !GLRenderWidget::isSupported())
            QSKIP("no OpenGL");
        // For OpenGL it is cut in squares of 256 pixels.
        Bench bench(openGL, format, openGL ? QSize(304, 272) : QSize(64, 48), 7 + format);
        ImageRenderer &renderer = bench.renderer;
        QRandomGenerator &dice = bench.dice;
        PlainView plain(bench);
        QStringList log;
        connect(&renderer, &ImageRenderer::cursorChanged, this,
                [&](QPoint at) { log += QString("at %1 %2").arg(at.x()).arg(at.y()); });
        connect(&renderer, &ImageRenderer::zoomChanged, this, [&] { log += "zoom"; });
        renderer.setChecks(QColor(10, 10, 10), QColor(250, 250, 250));
        renderer.setBackground(QColor(1, 2, 3));
        renderer.setActiveTool(ImageRenderer::Pen);
        bench.widget->move(0, 0); // far from the mouse
        plain.offset = {20, 12};
        plain.step = 6;
        const Qt::Key keys[] = {Qt::Key_Left, Qt::Key_Up, Qt::Key_Right, Qt::Key_Down};
        const QPoint ways[] = {{-1, 0}, {0, -1}, {1, 0}, {0, 1}};
        const Qt::MouseButton buttons[] = {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton};
        for (int step = 0; step < (openGL ? 50 : 200); ++step) {
            const int kind = dice.bounded(20);
            const int one = dice.bounded(2) * 2 - 1; // up or down
            const QPoint at(dice.bounded(plain.view.width() + 40) - 20,
                            dice.bounded(plain.view.height() + 40) - 20);
            const bool control = dice.bounded(3) == 0;
            const bool shift = dice.bounded(3) == 0;
            const Qt::KeyboardModifiers modifiers =
                (control ? Qt::ControlModifier : Qt::NoModifier) |
                (shift ? Qt::ShiftModifier : Qt::NoModifier);
            const Qt::MouseButton button = buttons[qMax(0, dice.bounded(6) - 3)];
            if (dice.bounded(12) == 0) {
                renderer.setActiveTool(ImageRenderer::Replace);
                plain.choose();
            }
            auto *pen = qobject_cast<BasePenTool *>(renderer.activeTool());
            auto *replace = qobject_cast<ReplaceTool *>(pen);
            // Often at the end of its range, from where the keys are the view's.
            if (pen && dice.bounded(2))
                pen->size->setValue(one > 0 ? 24 : 1);
            if (replace && dice.bounded(2))
                replace->pairs()->setCurrent(one > 0 ? 11 : 0);
            if (kind < 6) {
                renderer.mouseMoved(at, modifiers);
                plain.move(at);
            } else if (kind == 6) {
                const int delta = dice.bounded(500) - 250;
                renderer.mouseWheel(delta);
                plain.wheel(delta);
            } else if (kind == 7) {
                const int size = pen ? pen->penSize() : 0;
                const bool sizes = pen && !control && size + one >= 1 && size + one <= 24;
                renderer.keyPressed(one > 0 ? Qt::Key_Plus : Qt::Key_Minus, modifiers);
                QCOMPARE(pen ? pen->penSize() : 0, sizes ? size + one : size);
                if (!sizes)
                    plain.zoomTo(plain.step + one, plain.main().center());
            } else if (kind < 10) {
                const int way = dice.bounded(4);
                const int before = replace ? replace->pairs()->current() : 0;
                const int pair = before + (control ? 0 : ways[way].y());
                const bool isTaken = replace && pair != before && pair >= 0 && pair < 12;
                if (plain.tool() == ImageRenderer::SelMove && !control)
                    continue; // it moves pixels by keys
                renderer.keyPressed(keys[way], modifiers);
                QCOMPARE(replace ? replace->pairs()->current() : 0, isTaken ? pair : before);
                if (!isTaken)
                    plain.arrow(ways[way], shift);
            } else if (kind == 10) {
                if (one > 0) {
                    renderer.keyPressed(Qt::Key_Space, modifiers);
                    if (!plain.held || plain.isByKey) {
                        plain.press(plain.pointer, control ? Qt::RightButton : Qt::LeftButton);
                        plain.isByKey = true;
                    }
                } else {
                    renderer.keyReleased(Qt::Key_Space, modifiers);
                    if (plain.isByKey && plain.held)
                        plain.release(plain.held);
                }
            } else if (kind == 11) {
                const double wanted = dice.bounded(400) / 10.0;
                renderer.setZoom(wanted);
                plain.zoomTo(plain.nearest(wanted), plain.main().center());
            } else if (kind == 12) {
                plain.offset = {dice.bounded(200) - 100, dice.bounded(160) - 80};
                renderer.setOffset(plain.offset);
            } else if (kind == 13) {
                renderer.setShowGrid(plain.hasGrid = !plain.hasGrid);
                renderer.setShowSelection(plain.showsSelection = control);
                renderer.setViewOriginal(plain.isOriginal = shift);
            } else if (kind == 14) {
                renderer.setActiveTool(dice.bounded(ImageRenderer::ToolCount));
                plain.choose();
            } else if (kind < 17) {
                renderer.mousePressed(at, button, modifiers);
                plain.press(at, button);
            } else if (kind == 17) {
                renderer.mouseReleased(at, button, modifiers);
                plain.release(button);
            } else if (kind == 18 && control) {
                bench.leave();
                plain.isInside = false;
            } else if (kind == 18 && shift) {
                renderer.zoomActual();
                plain.zoomTo(3, plain.main().center());
                renderer.centralize();
                plain.centralize();
            } else if (kind == 18) {
                one > 0 ? renderer.addZoom() : renderer.subZoom();
                plain.zoomTo(plain.step + one, plain.main().center());
            } else {
                plain.view = {120 + dice.bounded(100), 90 + dice.bounded(90)};
                bench.widget->resize(plain.view);
                renderer.canvas.selection.active = control;
                renderer.canvas.announceSelection();
            }
            const QByteArray where = QString("step %1, kind %2").arg(step).arg(kind).toLatin1();
            QVERIFY2(renderer.offset() == plain.offset && renderer.zoom() == plain.zoom(), where);
            QVERIFY2(log == plain.log, where + log.join(' ').toLatin1());
            QVERIFY2(bench.widget->cursor().shape() == plain.shape(), where);
            const auto wrong = [&] { return plain.difference(onScreen(*bench.widget)); };
            QVERIFY2(QTest::qWaitFor([&] { return wrong().isEmpty(); }, 1000), where + wrong());
            log.clear();
            plain.log.clear();
        }
    }

    void toolsHaveTheirOptions()
    {
        Bench bench(false, IndexedCanvas, {20, 20});
        ImageRenderer &renderer = bench.renderer;
        const QStringList names = {"canvasmove", "selmove", "rectsel",   "freesel",    "picker",
                                   "pen",        "eraser",  "remap_pen", "paintbucket"};
        auto *stack = static_cast<QStackedLayout *>(renderer.toolOptions()->layout());
        QCOMPARE(renderer.toolOptions()->maximumHeight(), 26);
        QCOMPARE(stack->count(), int(ImageRenderer::ToolCount));
        QSignalSpy chosen(&renderer, &ImageRenderer::activeToolChanged);
        for (int i = 0; i < ImageRenderer::ToolCount; ++i) {
            renderer.setActiveTool(i);
            QCOMPARE(renderer.activeTool()->objectName(), "spr_tool_" + names[i]);
            QCOMPARE(stack->currentWidget(), renderer.tool(i)->options.data());
            const auto shape = [&] {
                const Qt::CursorShape now = bench.widget->cursor().shape();
                bench.widget->setCursor(Qt::ArrowCursor);
                return now;
            };
            shape();
            bench.move({5, 5});
            const Qt::CursorShape resting = i == ImageRenderer::CanvasMove ? Qt::OpenHandCursor
                                            : i == ImageRenderer::SelMove  ? Qt::SizeAllCursor
                                                                           : Qt::CrossCursor;
            QCOMPARE(shape(), resting);
            bench.press({5, 5});
            if (i == ImageRenderer::CanvasMove || i == ImageRenderer::SelMove)
                QCOMPARE(shape(), i == 0 ? Qt::ClosedHandCursor : resting);
            QVERIFY(renderer.activeTool()->pressed);
            bench.release({5, 5});
            if (i == ImageRenderer::CanvasMove || i == ImageRenderer::SelMove)
                QCOMPARE(shape(), resting);
            QVERIFY(!renderer.activeTool()->pressed);
            if (auto *pen = qobject_cast<BasePenTool *>(renderer.activeTool())) {
                QCOMPARE(QPoint(pen->size->minimum(), pen->size->maximum()), QPoint(1, 24));
                QVERIFY(pen->options->layout()->indexOf(pen->size) >= 0);
            }
        }
        QCOMPARE(chosen.count(), 9);
        renderer.setActiveTool(-1);
        renderer.setActiveTool(9);
        QCOMPARE(renderer.activePosition(), int(ImageRenderer::FloodFill));
        auto *replace = static_cast<ReplaceTool *>(renderer.tool(ImageRenderer::Replace));
        QCOMPARE(replace->pairs()->sizeHint(), QSize(144, 24));
        QCOMPARE(replace->options->layout()->contentsMargins(), QMargins(1, 1, 1, 1));
        QCOMPARE(replace->options->layout()->spacing(), 4);
        delete replace->pairs();
        QVERIFY(!replace->paletteClicked(false, 3));
        // A tool of somebody else's begins with one that only notes where it is pressed.
        ImageTool bare(&renderer);
        QCursor cursor;
        bare.mousePressed({}, Qt::LeftButton, {5, 6}, {1, 2}, cursor);
        QVERIFY(bare.pressed && bare.screenPos == QPoint(5, 6) && bare.imagePos == QPoint(1, 2));
        bare.mouseReleased({}, Qt::LeftButton, {5, 6}, {1, 2}, cursor);
        QVERIFY(!bare.pressed && !bare.keyPressed(Qt::Key_Left) && !bare.paletteClicked(true, 3));
    }

    void replacePicksWithShift()
    {
        Bench bench(false, IndexedCanvas, {20, 20});
        ReplaceTool *replace = bench.choose<ReplaceTool>(ImageRenderer::Replace);
        rasterAt(bench.renderer.canvas, 0)->image.fill(0);
        rasterAt(bench.renderer.canvas, 0)->image.scanLine(3)[4] = 77;
        bench.stroke({{4, 3}, {9, 9}}, Qt::LeftButton, Qt::ShiftModifier);
        bench.stroke({{-4, 3}}, Qt::RightButton, Qt::ShiftModifier); // outside: nothing to pick
        QCOMPARE(replace->pairs()->pair(0), QPoint(77, 0));
        bench.stroke({{4, 3}}, Qt::RightButton, Qt::ShiftModifier);
        QCOMPARE(replace->pairs()->pair(0), QPoint(77, 77));
        QCOMPARE(bench.steps(), 0);
        bench.cells.resize(bench.cells.sizeHint());
        QTest::mouseClick(&bench.cells, Qt::LeftButton, {}, {5, 5});
        QTest::mouseClick(&bench.cells, Qt::RightButton, {}, {17 + 12, 5});
        QCOMPARE(replace->pairs()->pair(0), QPoint(0, 2));
        QCOMPARE(int(bench.palette.foregroundIndex()), 0);
        bench.stroke({{1, 1}, {3, 1}}); // the other pairs are 0 to 0 and stand in no way
        QCOMPARE(bench.pixel({2, 1}), 2u);
    }

    void movesSelectionsOverTheEdge()
    {
        Bench bench(false, IndexedCanvas, {10, 10});
        ImageRenderer &renderer = bench.renderer;
        QImage &image = rasterAt(renderer.canvas, 0)->image;
        image.fill(1);
        image.scanLine(4)[5] = 9;
        image.scanLine(4)[6] = 8;
        bench.palette.setBackgroundIndex(2);
        bench.renderer.setActiveTool(ImageRenderer::RectSel);
        bench.stroke({{7, 5}, {5, 4}}); // against the reading direction
        QCOMPARE(renderer.canvas.selection.rect, QRect(5, 4, 2, 1));
        bench.renderer.setActiveTool(ImageRenderer::SelMove);
        bench.stroke({{5, 4}}); // no way: no step
        QCOMPARE(bench.steps(), 0);
        bench.stroke({{5, 4}, {300, 4}, {-90, 2}, {8, 4}});
        QCOMPARE(bench.pixel({8, 4}) * 10 + bench.pixel({9, 4}), 98u);
        QCOMPARE(bench.pixel({5, 4}), 2u);
        bench.key(Qt::Key_Right);
        QCOMPARE(bench.pixel({8, 4}) * 10 + bench.pixel({9, 4}), 19u);
        bench.key(Qt::Key_Right);
        QCOMPARE(bench.pixel({8, 4}) * 10 + bench.pixel({9, 4}), 11u);
        bench.stroke({{0, 0}, {-5, 0}}); // what had left comes back
        QCOMPARE(bench.pixel({5, 4}) * 10 + bench.pixel({6, 4}), 98u);
        QCOMPARE(bench.steps(), 4);
        renderer.canvas.undoStack.undo();
        bench.key(Qt::Key_Left); // the layer as it is now: nothing comes from outside any more
        QCOMPARE(bench.pixel({4, 4}), 2u);
        QVERIFY(!renderer.activeTool()->keyPressed(Qt::Key_A));
        QImage nothing = renderer.canvas.selection.mask;
        nothing.fill(0);
        nothing.swap(renderer.canvas.selection.mask);
        renderer.canvas.announceSelection();
        QVERIFY(!renderer.activeTool()->keyPressed(Qt::Key_Left)); // there is nothing to move
        nothing.swap(renderer.canvas.selection.mask);
        renderer.canvas.announceSelection();
        // What another tool has painted meanwhile is what moves.
        bench.renderer.setActiveTool(ImageRenderer::Pen);
        bench.palette.setForegroundIndex(7);
        bench.stroke({{5, 4}});
        QCOMPARE(bench.pixel({5, 4}), 7u);
        bench.renderer.setActiveTool(ImageRenderer::SelMove);
        bench.key(Qt::Key_Down);
        QCOMPARE(bench.pixel({5, 5}), 7u);
        // What has left is lost when the tool is chosen again.
        for (int i = 0; i < 5; ++i)
            bench.key(Qt::Key_Down);
        bench.renderer.setActiveTool(ImageRenderer::SelMove);
        bench.key(Qt::Key_Up);
        QCOMPARE(bench.pixel({5, 9}), 1u);
    }

    /// On the outline of what is dragged over, on any picture, and nowhere else.
    void bandIsBlackAndWhite()
    {
        for (const QRgb color : {qRgb(0, 0, 0), qRgb(255, 255, 255), qRgb(90, 120, 30)}) {
            Bench bench(false, RGBACanvas, {10, 10});
            bench.renderer.setActiveTool(ImageRenderer::RectSel);
            rasterAt(bench.renderer.canvas, 0)->image.fill(color);
            bench.renderer.canvas.announceImage();
            const QImage before = bench.widget->grab().toImage();
            bench.press({7, 6});
            bench.move({2, 3});
            const QImage after = bench.widget->grab().toImage();
            const QRect band(bench.renderer.toScreen({2, 3}), QSize(5, 3) * 4 + QSize(1, 1));
            QMap<QRgb, int> colors;
            for (int y = 0; y < after.height(); ++y) {
                for (int x = 0; x < after.width(); ++x) {
                    const bool isInside = band.contains(x, y, true);
                    if (band.contains(x, y) && !isInside)
                        ++colors[after.pixel(x, y)];
                    else
                        QVERIFY(after.pixel(x, y) == before.pixel(x, y));
                }
            }
            QCOMPARE(colors.keys(), QList<QRgb>({qRgb(0, 0, 0), qRgb(255, 255, 255)}));
            bench.release({2, 3});
            const QImage chosen = bench.widget->grab().toImage();
            QVERIFY(chosen != after);
            bench.renderer.setShowSelection(false);
            QVERIFY(!bench.renderer.showSelection() && showsItself(*bench.widget));
            const bool isDimmed = bench.widget->grab().toImage() != chosen;
            QCOMPARE(isDimmed, color != qRgb(0, 0, 0));
            bench.renderer.setShowSelection(true);
            QVERIFY(showsItself(*bench.widget));
            QCOMPARE(bench.widget->grab().toImage(), chosen);
        }
    }

    void standsWithoutAPalette()
    {
        ImageRenderer renderer(nullptr);
        renderer.canvas.setSize({9, 9}, {}, false);
        renderer.canvas.layers.addLayer(nullptr);
        renderer.setCurrentLayer(renderer.canvas.layers.at(0));
        const QByteArray before = stateOf(renderer.canvas);
        for (int tool = 0; tool < ImageRenderer::ToolCount; ++tool) {
            renderer.setActiveTool(tool);
            for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton}) {
                renderer.mousePressed({2, 2}, button, {});
                renderer.mouseMoved({5, 5}, {});
                renderer.mouseReleased({5, 5}, button, {});
            }
        }
        renderer.picture();
        QCOMPARE(stateOf(renderer.canvas), before);
    }

    void outlivesWhoHearsOfAStep_data()
    {
        toolsAndWays({"layer gone", "layer smaller"},
                     {ImageRenderer::SelMove, ImageRenderer::FloodFill, ImageRenderer::Pen});
    }

    void outlivesWhoHearsOfAStep()
    {
        const auto [number, how] = row<int, QString>();
        Bench bench(false, IndexedCanvas, {10, 10});
        ImageCanvas &canvas = bench.renderer.canvas;
        auto *tool = bench.choose<ImageTool>(number);
        bench.palette.setForegroundIndex(9);
        QByteArray after;
        connect(&canvas.undoStack, &QUndoStack::indexChanged, tool, [&, how = how] {
            if (how == "layer gone")
                canvas.layers.removeLayer(0, false);
            else
                rasterAt(canvas, 0)->image = rasterAt(canvas, 0)->image.copy(0, 0, 3, 3);
            after = stateOf(canvas);
        });
        if (number == ImageRenderer::SelMove)
            QVERIFY(tool->keyPressed(Qt::Key_Right)); // it was the tool's key all the same
        else
            bench.stroke({{5, 5}});
        QVERIFY(!after.isEmpty());
        QCOMPARE(stateOf(canvas), after);
    }

    void zoomsToTheEnds()
    {
        Bench bench(false, IndexedCanvas, {100, 80});
        ImageRenderer &renderer = bench.renderer;
        for (int delta : {-12000, 120000})
            renderer.mouseWheel(delta);
        QCOMPARE(renderer.zoomFactor(), 32.0F);
        for (double factor : {0.0, -4.0, 1e300, double(qQNaN())})
            renderer.setZoom(factor);
        renderer.setOffset({INT_MIN, INT_MAX});
        renderer.toImage({INT_MAX, INT_MIN});
        bench.widget->grab();
    }

    void paintsByKeysAlone()
    {
        Bench bench(false, IndexedCanvas, {200, 150});
        ImageRenderer &renderer = bench.renderer;
        rasterAt(renderer.canvas, 0)->image.fill(0);
        renderer.setActiveTool(ImageRenderer::Pen);
        bench.palette.setForegroundIndex(5);
        bench.palette.setBackgroundIndex(6);
        bench.move({3, 3});
        QSignalSpy moves(&renderer, &ImageRenderer::cursorChanged);
        QTest::keyPress(bench.widget.get(), Qt::Key_Space);
        QKeyEvent repeated(QEvent::KeyRelease, Qt::Key_Space, {}, {}, true);
        QApplication::sendEvent(bench.widget.get(), &repeated);
        for (Qt::Key key : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Down})
            bench.key(key);
        QTest::keyRelease(bench.widget.get(), Qt::Key_Space);
        QCOMPARE(moves.last()[0].toPoint(), QPoint(5, 4));
        QCOMPARE(bench.steps(), 1);
        QCOMPARE(bench.pixel({5, 4}) * 100 + bench.pixel({4, 3}) * 10 + bench.pixel({4, 4}), 550u);
        bench.key(Qt::Key_Right, Qt::ShiftModifier);
        bench.key(Qt::Key_Space, Qt::ControlModifier);
        QCOMPARE(bench.pixel({13, 4}), 6u);
    }

    static void toolsAndWays(const QStringList &ways, const QVector<int> &tools)
    {
        columns<int, QString>("tool", "how");
        for (const QString &how : ways)
            for (int tool : tools)
                QTest::addRow("%s, tool %d", qPrintable(how), tool) << tool << how;
    }

    void standsWithoutALayer_data()
    {
        toolsAndWays({"none", "hidden", "other format", "gone", "no canvas"},
                     {0, 1, 2, 3, 4, 5, 6, 7, 8});
    }

    void standsWithoutALayer()
    {
        const auto [tool, how] = row<int, QString>();
        Bench bench(false, RGBACanvas, {30, 30});
        ImageCanvas &canvas = bench.renderer.canvas;
        bench.renderer.setActiveTool(tool);
        if (how == "none")
            bench.renderer.setCurrentLayer(nullptr);
        if (how == "hidden")
            canvas.layers.at(0)->visible = false;
        QImage indexes(30, 30, QImage::Format_Indexed8);
        indexes.fill(7);
        if (how == "other format")
            bench.renderer.setCurrentLayer(canvas.layers.addLayer(&indexes));
        if (how == "gone")
            canvas.layers.removeLayer(0, false);
        QCOMPARE(!bench.renderer.currentLayer(), how == "none" || how == "gone");
        if (how == "no canvas") {
            canvas.layers.clearLayers();
            canvas.setSize({}, {}, false);
        }
        const QByteArray before = stateOf(canvas);
        const int steps = bench.steps();
        bench.stroke({{3, 3}, {29, 4}, {500, 500}});
        bench.stroke({{-3, -3}, {9, 9}}, Qt::RightButton, Qt::ShiftModifier);
        bench.key(Qt::Key_Left);
        bench.widget->grab();
        QCOMPARE(stateOf(canvas), before);
        QCOMPARE(bench.steps(), steps);
    }

    void endsDragsThatAreCutOff_data()
    {
        toolsAndWays({"undo", "layer deleted", "dialog", "tool chosen", "hidden", "size changed",
                      "layers cleared", "focus lost"},
                     {ImageRenderer::Pen, ImageRenderer::SelMove, ImageRenderer::RectSel,
                      ImageRenderer::PenSel, ImageRenderer::FloodFill});
    }

    void endsDragsThatAreCutOff()
    {
        const auto [tool, how] = row<int, QString>();
        Bench bench(false, IndexedCanvas, {30, 30});
        ImageCanvas &canvas = bench.renderer.canvas;
        bench.palette.setForegroundIndex(7);
        bench.palette.setBackgroundIndex(8);
        canvas.layers.addLayer(nullptr);
        bench.renderer.setCurrentLayer(canvas.layers.at(0));
        const QByteArray untouched = stateOf(canvas);
        bench.renderer.setActiveTool(tool);
        canvas.selection.active = tool == ImageRenderer::PenSel;
        if (how == "focus lost") { // the release of a key goes elsewhere then
            bench.move({3, 3});
            QTest::keyPress(bench.widget.get(), Qt::Key_Space);
        } else {
            bench.press({3, 3});
        }
        bench.move({9, 9});
        QFocusEvent away(QEvent::FocusOut);
        if (how == "focus lost")
            QApplication::sendEvent(bench.widget.get(), &away);
        if (how == "undo") {
            canvas.undoStack.undo();
            if (tool == ImageRenderer::Pen || tool == ImageRenderer::SelMove)
                QCOMPARE(stateOf(canvas), untouched);
        }
        if (how == "layer deleted")
            canvas.layers.removeLayer(0, true);
        QDialog dialog;
        dialog.setModal(true);
        if (how == "dialog") {
            dialog.show();
            QVERIFY(QTest::qWaitForWindowExposed(&dialog));
            dialog.hide();
        }
        if (how == "tool chosen")
            bench.renderer.setActiveTool(tool);
        if (how == "hidden") {
            bench.widget->hide();
            bench.widget->show();
        }
        if (how == "size changed")
            canvas.setSize({12, 12}, {}, true);
        if (how == "layers cleared")
            canvas.layers.clearLayers();
        const QByteArray before = stateOf(canvas);
        const QImage mask = canvas.selection.mask;
        const int steps = bench.steps();
        bench.move({20, 1});
        bench.release({20, 1});
        if (tool == ImageRenderer::PenSel)
            QVERIFY(canvas.selection.active);
        QCOMPARE(stateOf(canvas), before);
        QCOMPARE(canvas.selection.mask, mask);
        QCOMPARE(bench.steps(), steps);
        while (canvas.undoStack.canUndo())
            canvas.undoStack.undo();
        while (canvas.undoStack.canRedo())
            canvas.undoStack.redo();
        if (how != "undo")
            QCOMPARE(stateOf(canvas), before);
    }

    /// What becomes of a widget that has shown the canvas is nothing to one that shows it now.
    void leavesItsOldView()
    {
        Bench bench(false, IndexedCanvas, {30, 30});
        const std::unique_ptr<QWidget> before = std::move(bench.widget);
        bench.show(false);
        bench.palette.setForegroundIndex(7);
        bench.renderer.setActiveTool(ImageRenderer::Pen);
        bench.press({3, 3});
        before->hide();
        bench.move({9, 3});
        bench.release({9, 3});
        QCOMPARE(bench.pixel({9, 3}), 7u);
        // What is painted onto a selection is told at the end of the stroke.
        bench.renderer.canvas.selection.active = true;
        bench.renderer.setActiveTool(ImageRenderer::PenSel);
        bench.press({4, 4});
        bench.widget->grab();
        bench.move({8, 4});
        const QImage shown = bench.widget->grab().toImage();
        const QSignalSpy told(&bench.renderer.canvas, &ImageCanvas::selectionChanged);
        bench.release({8, 4});
        QCOMPARE(told.count(), 1);
        QCOMPARE(bench.widget->grab().toImage(), shown); // it was seen before that
    }

    void showsOneLayer()
    {
        Bench bench(false, RGBACanvas, {40, 40});
        ImageRenderer &renderer = bench.renderer;
        ImageCanvas &canvas = renderer.canvas;
        rasterAt(canvas, 0)->image.fill(Qt::red);
        QImage blue(40, 40, QImage::Format_ARGB32);
        blue.fill(Qt::blue);
        canvas.layers.addLayer(&blue);
        renderer.setShowLayers(false);
        QCOMPARE(QColor(renderer.picture().pixel(2, 2)), QColor(Qt::red));
        renderer.setCurrentLayer(canvas.layers.at(0));
        QCOMPARE(QColor(renderer.picture().pixel(2, 2)), QColor(Qt::blue));
        renderer.setCurrentLayer(nullptr);
        QCOMPARE(qAlpha(renderer.picture().pixel(2, 2)), 0);
        // As if there were no other, in both formats.
        for (const int format : {RGBACanvas, IndexedCanvas}) {
            Bench alone(false, format, {40, 40}, 5);
            Bench both(false, format, {40, 40}, 5);
            const QImage other = randomPicture({40, 40}, format, both.dice, 4);
            both.renderer.canvas.layers.addLayer(&other);
            QVERIFY(both.renderer.picture() != alone.renderer.picture());
            both.renderer.setShowLayers(false);
            QVERIFY(both.renderer.picture() == alone.renderer.picture());
        }
    }

    void survivesItsParts()
    {
        auto *bench = new Bench(false, IndexedCanvas, {30, 30});
        PenTool orphan(&bench->renderer);
        PenSelTool orphanSelection(&bench->renderer);
        CanvasMoveTool orphanMove(&bench->renderer);
        SelMoveTool orphanSelMove(&bench->renderer);
        RectSelTool orphanRect(&bench->renderer);
        PickerTool orphanPicker(&bench->renderer);
        ImageTool *const orphans[] = {&orphan,        &orphanSelection, &orphanMove,
                                      &orphanSelMove, &orphanRect,      &orphanPicker};
        for (ImageTool *tool : orphans)
            tool->setParent(nullptr);
        delete bench->renderer.toolOptions(); // the host's bar went
        for (int tool = 0; tool < ImageRenderer::ToolCount; ++tool) {
            bench->renderer.setActiveTool(tool);
            bench->key(Qt::Key_Plus);
            bench->key(Qt::Key_Down);
            bench->stroke({{3, 3}, {8, 9}});
            bench->widget->grab();
        }
        bench->show(false); // another widget; the first one goes
        bench->renderer.setActiveTool(ImageRenderer::Pen);
        bench->press({4, 4});
        delete bench;
        QCursor cursor;
        for (ImageTool *tool : orphans) {
            tool->mousePressed({}, Qt::RightButton, {1, 1}, {1, 1}, cursor);
            tool->mouseMoved({}, Qt::RightButton, {9, 9}, {9, 9}, cursor);
            tool->mouseReleased({}, Qt::RightButton, {9, 9}, {9, 9}, cursor);
            QVERIFY(!tool->pressed);
        }
    }

    /// A stroke composes its own area alone: elsewhere the picture is what it was.
    void composesByArea()
    {
        Bench bench(false, IndexedCanvas, {300, 300});
        ImageRenderer &renderer = bench.renderer;
        renderer.picture();
        rasterAt(renderer.canvas, 0)->image.scanLine(250)[250] = 99; // told to nobody
        const int before = renderer.picture().pixelIndex(250, 250);
        bench.palette.setForegroundIndex(200);
        bench.choose<PenTool>(ImageRenderer::Pen)->size->setValue(8);
        QSignalSpy areas(&renderer.canvas, &ImageCanvas::imageChanged);
        bench.stroke({{10, 10}, {30, 12}});
        QCOMPARE(areas[0][0].toRect(), QRect(10, 10, 8, 8));
        QCOMPARE(areas[1][0].toRect(), QRect(10, 10, 28, 10));
        bench.stroke({{-50, -50}});
        QCOMPARE(areas.count(), 2);
        QCOMPARE(renderer.picture().pixelIndex(32, 15), 200);
        QCOMPARE(renderer.picture().pixelIndex(250, 250), before);
        renderer.canvas.announceImage();
        QCOMPARE(renderer.picture().pixelIndex(250, 250), 99);
        // A layer that is smaller than the canvas turns, and back, without a word of the canvas's.
        QImage small(60, 20, QImage::Format_Indexed8);
        small.fill(7);
        renderer.canvas.layers.addLayer(&small);
        renderer.canvas.rotate(90, 0);
        QCOMPARE(renderer.picture(), renderer.canvas.flatten());
        renderer.canvas.undoStack.undo();
        QCOMPARE(renderer.picture(), renderer.canvas.flatten());
    }
};

int main(int argc, char **argv)
{
    return Contexts::run<tst_ImageRenderer>(argc, argv);
}
#include "tst_imagerenderer.moc"
