#include <kilnx/forms/colorwidget.h>
#include <kilnx/forms/imagedlgs.h>
#include <kilnx/forms/resampledlg.h>
#include <kilnx/forms/rundlg.h>
#include <kilnx/forms/sprimport.h>
#include <kilnx/image/palette.h>
#include <kilnx/imageedit/colorpalette.h>
#include <kilnx/imageedit/imagetool.h>
#include <kilnx/imageedit/paletteremapwidget.h>
#include <kilnx/imageedit/palettewidget.h>
#include <tests/support/rows.h>
#include <tests/support/screen.h>

#include <QtCore/QRandomGenerator>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <numeric>

using namespace Kiln;

namespace
{

using Colors = QVector<QRgb>;

Colors colorsOf(const PaletteWidget &widget)
{
    Colors colors;
    for (const RGBA &entry : widget.palette()->palette())
        colors.append(toQRgb(entry));
    return colors;
}

QSet<int> selectionOf(const PaletteWidget &widget)
{
    QSet<int> cells;
    for (int i = 0; i < 256; ++i)
        if (widget.isSelected(uchar(i)))
            cells.insert(i);
    return cells;
}

void fillWith(PaletteWidget &widget, quint32 seed)
{
    QRandomGenerator dice(seed);
    RGBA table[256];
    for (RGBA &entry : table)
        entry = fromQRgb(dice.generate());
    widget.palette()->fromPalette(table);
}

QPoint middleOf(int cell)
{
    return {cell % 16 * 12 + 5, cell / 16 * 12 + 7};
}

void click(PaletteWidget &widget,
           int cell,
           Qt::MouseButton button = Qt::LeftButton,
           Qt::KeyboardModifiers keys = Qt::NoModifier)
{
    QTest::mouseClick(&widget, button, keys, middleOf(cell));
}

void move(PaletteWidget &widget, QPoint to)
{
    QMouseEvent event(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(&widget, &event);
}

void drag(PaletteWidget &widget, QPoint from, QPoint to)
{
    QTest::mousePress(&widget, Qt::LeftButton, {}, from);
    move(widget, to);
    QTest::mouseRelease(&widget, Qt::LeftButton, {}, to);
}

QImage pictureOf(QWidget &widget)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

/// A cell of 12 by 12 pixels, square by square.
void paintCell(QPainter &painter, QPoint at, QRgb rgb, bool isSelected)
{
    const QColor color = QColor::fromRgba(rgb);
    const auto fill = [&](int x, int y, int width, int height, const QColor &with) {
        painter.fillRect(at.x() + x, at.y() + y, width, height, with);
    };
    for (int square = 0; square < 4 && color.alpha() < 255; ++square)
        fill(1 + square % 2 * 5, 1 + square / 2 * 5, 5, 5,
             square % 3 ? QColor(Qt::white) : QColor(Qt::gray));
    if (isSelected) {
        fill(0, 0, 11, 11, color);
        const QColor contrast(qMin(255, color.red() + 128), qMin(255, color.green() + 128),
                              qMin(255, color.blue() + 128));
        for (const int side : {2, 8}) {
            fill(side, 2, 1, 7, contrast);
            fill(2, side, 7, 1, contrast);
        }
        return;
    }
    fill(1, 1, 9, 9, color);
    fill(0, 0, 10, 1, QColor(128, 128, 128));
    fill(0, 0, 1, 10, QColor(128, 128, 128));
    fill(0, 10, 11, 1, Qt::white);
    fill(10, 0, 1, 11, Qt::white);
}

/// A cell under way, with its upper left, and the cell under the mouse; -1 for none.
struct Held {
    int cell = -1;
    QPoint at;
    int target = -1;
    bool isInside = false, makesRoom = false;
};

QImage
plainPicture(const QWidget &widget, const Colors &colors, const QSet<int> &selected, Held held)
{
    QImage image(widget.size(), QImage::Format_RGB32);
    image.fill(widget.palette().color(QPalette::Window));
    QPainter painter(&image);
    for (int cell = 0; cell < 256; ++cell) {
        QVector<int> order(256);
        std::iota(order.begin(), order.end(), 0);
        int place = cell;
        if (held.makesRoom && held.target >= 0 && cell != held.cell) {
            order.move(held.cell, held.target);
            place = order.indexOf(cell);
        }
        if (cell != held.cell || !held.isInside)
            paintCell(painter, {place % 16 * 12, place / 16 * 12}, colors[cell],
                      selected.contains(cell));
    }
    if (held.cell >= 0)
        paintCell(painter, held.at, colors[held.cell], false);
    return image;
}

/// What every edit leads to, as lists: the pages up to the twelfth, and the one on show.
struct PlainRing {
    QVector<Colors> pages = {Colors(256, 0xff000000)};
    int shown = 0;
    bool started = false;

    void edit(const Colors &colors)
    {
        if (started) {
            pages.resize(shown + 1);
            pages.append(colors);
            if (pages.size() > 12)
                pages.removeFirst();
            shown = pages.size() - 1;
        }
        started = true;
        pages[shown] = colors;
    }
    /// To the page before or after, if there is one; whether it went there.
    bool go(int by, bool isLocked)
    {
        const bool goes = !isLocked && shown + by >= 0 && shown + by < pages.size();
        shown += goes ? by : 0;
        return goes;
    }
    void reset(const Colors &colors)
    {
        pages = {colors};
        shown = 0;
        started = false;
    }
    const Colors &colors() const { return pages[shown]; }
};

/// A tool that takes the clicks of one button.
struct TakingTool : ImageTool {
    TakingTool()
        : ImageTool(nullptr)
    {
    }
    bool paletteClicked(bool rightButton, unsigned char index) override
    {
        taken.append(index);
        return rightButton;
    }
    QVector<int> taken;
};

} // namespace

class tst_PaletteWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clicksSelect_data()
    {
        columns<int, int, bool, bool, QVector<int>, QVector<int>, QString>(
            "button", "keys", "multi", "selectable", "before", "after", "told");
        const int left = Qt::LeftButton;
        const int right = Qt::RightButton;
        const int ctrl = Qt::ControlModifier;
        const int shift = Qt::ShiftModifier;
        using Cells = QVector<int>;
        addRow("left", left, 0, true, true, Cells{1, 9}, Cells{5}, "sc");
        addRow("ctrl", left, ctrl, true, true, Cells{1, 9}, Cells{1, 5, 9}, "sc");
        addRow("ctrl, one", left, ctrl, false, true, Cells{1}, Cells{5}, "sc");
        addRow("shift, up to", left, shift, true, true, Cells{1, 3}, Cells{3, 4, 5}, "smc");
        addRow("shift, down to", left, shift, true, true, Cells{2, 7}, Cells{5, 6, 7}, "smc");
        addRow("shift, from the first", left, shift, true, true, Cells{0}, Cells{0, 1, 2, 3, 4, 5},
               "smc");
        addRow("shift, alone", left, shift, true, true, Cells{}, Cells{5}, "sc");
        addRow("shift, one", left, shift, false, true, Cells{1}, Cells{5}, "sc");
        addRow("right", right, 0, true, true, Cells{4, 5}, Cells{4}, "sc");
        addRow("middle", int(Qt::MiddleButton), 0, true, true, Cells{4}, Cells{4}, "c");
        addRow("not selectable", left, 0, true, false, Cells{4}, Cells{4}, "c");
    }

    void clicksSelect()
    {
        const auto [button, keys, multi, selectable, before, after, told] =
            row<int, int, bool, bool, QVector<int>, QVector<int>, QString>();
        PaletteWidget widget;
        widget.resize(widget.sizeHint());
        widget.setMultiSelect(multi);
        widget.setSelect(selectable);
        for (int cell : before)
            widget.selection[cell] = true;
        const auto pressed = Qt::MouseButton(button);
        QString heard;
        connect(&widget, &PaletteWidget::selectionChanged, [&] { heard += 's'; });
        connect(&widget, &PaletteWidget::multiColorClick, [&] { heard += 'm'; });
        connect(&widget, &PaletteWidget::colorClick, [&](ushort index, Qt::MouseButton with) {
            heard += index == 5 && with == pressed ? "c" : "?";
        });
        click(widget, 5, pressed, Qt::KeyboardModifiers(keys));
        QCOMPARE(heard, told);
        QCOMPARE(selectionOf(widget), QSet<int>(after.begin(), after.end()));
        QCOMPARE(widget.firstSelection(), after.value(0, -1));
    }

    void followsThePlainUser_data()
    {
        columns<quint32>("seed");
        for (quint32 seed = 1; seed <= 4; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }

    /// A user who clicks, drags, edits, undoes and locks at random.
    void followsThePlainUser()
    {
        QFETCH(quint32, seed);
        QRandomGenerator dice(seed);
        PaletteWidget widget;
        widget.resize(widget.sizeHint());
        PlainRing ring;
        QSet<int> selected;
        QSignalSpy changes(&widget, &PaletteWidget::changed);
        QSignalSpy moves(&widget, &PaletteWidget::colorMoved);
        QVariantList moved;
        bool isLocked = false;
        int told = 0;
        widget.move(0, 0); // far from the mouse
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        const auto shows = [&](const Held &held) {
            const QImage wanted = plainPicture(widget, ring.colors(), selected, held);
            return QTest::qWaitFor([&] { return onScreen(widget) == wanted; });
        };
        for (int step = 0; step < 250; ++step) {
            const int kind = dice.bounded(40);
            const int cell = dice.bounded(8) == 0 ? 0 : dice.bounded(256);
            const int other = dice.bounded(256);
            const auto edited = [&](const Colors &colors) {
                ++told;
                if (isLocked)
                    ring.pages[ring.shown] = colors;
                else
                    ring.edit(colors);
            };
            QCOMPARE(widget.isLocked(), isLocked);
            if (kind < 12) {
                const RGBA color = fromQRgb(dice.generate());
                widget.palette()->setColor(uchar(cell), color);
                Colors colors = ring.colors();
                colors[cell] = toQRgb(color);
                edited(colors);
            } else if (kind < 18 && cell != other) {
                // Now and then it is cut off, or ends outside.
                const int end = dice.bounded(12);
                const bool makesRoom = dice.bounded(2);
                widget.setRedistributable(makesRoom);
                QTest::mousePress(&widget, Qt::LeftButton, {}, middleOf(cell));
                const QPoint outside[] = {{-1, 5}, {192, 5}, {5, 192}, {-40000, 90000}};
                const QPoint to = end < 4 ? outside[end] : middleOf(end == 4 ? cell : other);
                for (const QPoint at :
                     {QPoint(dice.bounded(240) - 24, -1 - dice.bounded(9)), middleOf(other),
                      QPoint(dice.bounded(192), dice.bounded(192)), to}) {
                    move(widget, at);
                    const QPoint from(cell % 16 * 12, cell / 16 * 12);
                    QVERIFY(shows({cell, from + at - middleOf(cell), widget.cellAt(at),
                                   widget.rect().contains(at), makesRoom}));
                }
                if (end == 5) {
                    QTest::mousePress(&widget, Qt::RightButton, {}, middleOf(cell));
                } else if (end == 6) {
                    widget.hide();
                    widget.show();
                    QVERIFY(QTest::qWaitForWindowExposed(&widget));
                } else if (end == 7) {
                    widget.setEnabled(false);
                    widget.setEnabled(true);
                } else if (end == 8) {
                    const int change = dice.bounded(3);
                    change == 0   ? widget.setColorCount(256)
                    : change == 1 ? widget.setCellSize(12)
                                  : widget.setColumnCount(16);
                }
                QTest::mouseRelease(&widget, end == 5 ? Qt::MiddleButton : Qt::LeftButton, {}, to);
                if (end > 8) {
                    Colors colors = ring.colors();
                    colors.move(cell, other);
                    edited(colors);
                    moved = {ushort(cell), ushort(other)};
                } else if (end > 5) { // then it is a click
                    selected = {other};
                }
            } else if (kind < 24) {
                // Now and then to the end of the ring, and no further.
                for (int i = dice.bounded(4) ? 1 : 13; i > 0; --i) {
                    widget.undo();
                    told += ring.go(-1, isLocked);
                }
            } else if (kind < 28) {
                widget.redo();
                told += ring.go(1, isLocked);
            } else if (kind == 28) {
                isLocked ? widget.unlock() : widget.lock();
                isLocked = !isLocked;
            } else if (kind == 29) {
                if (dice.bounded(3) == 0) {
                    RGBA table[256];
                    Colors colors;
                    for (RGBA &entry : table)
                        colors.append(toQRgb(entry = fromQRgb(dice.generate())));
                    widget.load(table);
                    ring.reset(colors);
                    ring.started = true;
                }
                const bool clears = dice.bounded(3) == 0;
                clears ? widget.reset() : widget.flatten();
                if (!isLocked && (clears || ring.shown > 0))
                    ring.reset(clears ? Colors(256, 0) : ring.colors());
            } else if (kind < 34) {
                click(widget, cell);
                selected = {cell};
            } else if (kind < 37) {
                click(widget, cell, Qt::LeftButton, Qt::ControlModifier);
                selected.insert(cell);
            } else if (kind == 37) {
                click(widget, cell, Qt::RightButton);
                selected.remove(cell);
            } else if (!selected.isEmpty()) {
                click(widget, cell, Qt::LeftButton, Qt::ShiftModifier);
                const int last = *std::max_element(selected.begin(), selected.end());
                selected.clear();
                for (int i = qMin(cell, last); i <= qMax(cell, last); ++i)
                    selected.insert(i);
            }
            QVERIFY2(colorsOf(widget) == ring.colors(), qPrintable(QString("step %1").arg(step)));
            QCOMPARE(selectionOf(widget), selected);
            QCOMPARE(changes.count(), told);
            QCOMPARE(moves.isEmpty() ? QVariantList() : moves.takeLast(), moved);
            QVERIFY(moves.isEmpty());
            moved.clear();
            QVERIFY(step % 4 ? showsItself(widget) : shows({}));
        }
    }

    void keysSelect_data()
    {
        columns<int, QString, QString, QString>("colors", "keys", "selected", "clicks");
        addRow("arrows", 256, "Right Right Down", "18-18", "");
        addRow("stay inside", 256, "Right Up Left Left", "0-0", "");
        addRow("at the end", 20, "End Right Down", "19-19", "");
        addRow("up to a cell", 256, "Down Shift+Down Shift+Left", "16-31", "");
        addRow("back over the start", 256, "Down Right Shift+Home", "0-17", "");
        addRow("all", 20, "Ctrl+A", "0-19", "");
        addRow("both buttons", 256, "Right Space Right Ctrl+Space", "2-2", "1:1 2:2");
        addRow("no colors", 0, "End Home Right Space Ctrl+A Shift+Down", "", "");
    }

    void keysSelect()
    {
        const auto [colors, keys, selected, clicks] = row<int, QString, QString, QString>();
        PaletteWidget widget;
        widget.setColorCount(ushort(colors));
        QStringList told;
        connect(&widget, &PaletteWidget::colorClick, this,
                [&](ushort cell, Qt::MouseButton button) {
                    told << QString("%1:%2").arg(cell).arg(int(button));
                });
        const QSignalSpy extended(&widget, &PaletteWidget::multiColorClick);
        for (const QString &key : keys.split(' '))
            QTest::keySequence(&widget, QKeySequence(key));
        QCOMPARE(extended.count(), colors ? keys.count("Shift") + keys.count("Ctrl+A") : 0);
        const QSet<int> cells = selectionOf(widget);
        const auto [first, last] = std::minmax_element(cells.begin(), cells.end());
        QCOMPARE(cells.isEmpty() ? QString() : QString("%1-%2").arg(*first).arg(*last), selected);
        if (!cells.isEmpty())
            QCOMPARE(cells.size(), *last - *first + 1);
        QCOMPARE(told.join(' '), clicks);
    }

    void laysOutItsCells_data()
    {
        // in a widget of 300 by 300
        columns<int, int, int, QSize, QPoint, int>("cellSize", "columns", "colors", "hint", "point",
                                                   "cell");
        addRow("at the start", 12, 16, 256, QSize(192, 192), QPoint(54, 0), 0);
        addRow("left of it", 12, 16, 256, QSize(192, 192), QPoint(53, 0), -1);
        addRow("last", 12, 16, 256, QSize(192, 192), QPoint(245, 191), 255);
        addRow("right of it", 12, 16, 256, QSize(192, 192), QPoint(246, 191), -1);
        addRow("below", 12, 16, 256, QSize(192, 192), QPoint(100, 192), -1);
        addRow("part of a row", 10, 8, 20, QSize(80, 30), QPoint(145, 25), 19);
        addRow("after the last", 10, 8, 20, QSize(80, 30), QPoint(155, 25), -1);
        addRow("none", 10, 8, 0, QSize(80, 0), QPoint(110, 0), -1);
        addRow("sizes of 0", 0, -3, 4, QSize(1, 4), QPoint(149, 3), 3);
        addRow("huge", 1, 70000, 65535, QSize(255, 2), QPoint(22, 1), 255);
        addRow("huge cells", 70000, 2, 3, QSize(510, 510), QPoint(299, 299), -1);
    }

    void laysOutItsCells()
    {
        const auto [cellSize, columns, colors] = row<int, int, int>();
        PaletteWidget widget;
        widget.resize(300, 300);
        widget.selection[255] = true;
        widget.setCellSize(cellSize);
        widget.setColumnCount(columns);
        widget.setColorCount(ushort(colors));
        QTEST(widget.sizeHint(), "hint");
        QTEST(widget.minimumSizeHint(), "hint");
        QFETCH(QPoint, point);
        QTEST(widget.cellAt(point), "cell");
        QCOMPARE(widget.isSelected(255), colors >= 256);
        drag(widget, point, {});
        widget.grab();
    }

    void onlyTheLeftButtonMovesColors()
    {
        for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton}) {
            PaletteWidget widget;
            widget.resize(widget.sizeHint());
            widget.setRedistributable(true);
            widget.palette()->setColor(uchar(3), RGBA{1, 2, 3, 255});
            QTest::mousePress(&widget, button, {}, middleOf(3));
            QMouseEvent move(QEvent::MouseMove, middleOf(7), Qt::NoButton, button, {});
            QApplication::sendEvent(&widget, &move);
            QTest::mouseRelease(&widget, button, {}, middleOf(7));
            const int place = button == Qt::LeftButton ? 7 : 3;
            QCOMPARE(int(widget.palette()->at(uchar(place)).b), 3);
        }
    }

    void layoutsFollow()
    {
        QWidget window;
        QHBoxLayout layout(&window);
        layout.setSizeConstraint(QLayout::SetFixedSize);
        layout.setContentsMargins(0, 0, 0, 0);
        auto *const cells = new PaletteWidget(&window);
        auto *const pairs = new PaletteRemapWidget(true, &window);
        layout.addWidget(cells);
        layout.addWidget(pairs);
        window.show();
        const auto follows = [&] {
            QCoreApplication::sendPostedEvents();
            return cells->size() == cells->sizeHint().expandedTo({0, window.height()}) &&
                   pairs->width() == pairs->sizeHint().width();
        };
        const std::function<void()> changes[] = {
            [] {}, [&] { cells->setCellSize(9); }, [&] { cells->setColumnCount(8); },
            [&] { cells->setColorCount(40); }, [&] { pairs->setCount(5); }};
        for (const auto &change : changes) {
            change();
            QVERIFY(follows());
        }
    }

    /// Nothing around the colours glares in a dark window, and without a palette they are pale.
    void paintsItsCells()
    {
        PaletteWidget widget;
        widget.resize(widget.sizeHint());
        widget.palette()->setColor(uchar(0), RGBA{10, 200, 30, 255});
        widget.palette()->setColor(2, RGBA{0, 0, 0, 0});
        const QRgb ground = pictureOf(widget).pixel(11, 5);
        widget.setEnabled(false);
        const int green = qGreen(pictureOf(widget).pixel(5, 5));
        QVERIFY(qAbs(green - (qGreen(ground) * 4 + 200) / 5) < 3);
        widget.setEnabled(true);
        QCOMPARE(pictureOf(widget).pixel(5, 5), qRgb(10, 200, 30));
        widget.setPalette(QPalette(Qt::darkGray, QColor(40, 44, 50)));
        const QImage image = pictureOf(widget);
        for (const QPoint &place :
             {QPoint(0, 0), QPoint(10, 5), QPoint(24 + 3, 3), QPoint(24 + 8, 3)})
            QVERIFY(qGray(image.pixel(place)) < 100);
        QCOMPARE(image.pixel(5, 5), qRgb(10, 200, 30));
        QVERIFY(image.pixel(24 + 3, 3) != image.pixel(24 + 8, 3));
    }

    /// Who walks the grid by keys sees where the next key begins.
    void showsItsCursor()
    {
        PaletteWidget widget;
        widget.resize(widget.sizeHint());
        widget.show();
        widget.activateWindow();
        widget.setFocus();
        QTRY_VERIFY(widget.hasFocus());
        widget.select(17);
        const QImage without = pictureOf(widget);
        widget.setAttribute(Qt::WA_KeyboardFocusChange);
        const QImage with = pictureOf(widget);
        for (const QPoint &cell : {QPoint(0, 0), QPoint(1, 1), QPoint(2, 1), QPoint(1, 2)}) {
            const QRect rect(cell * 12, QSize(12, 12));
            QCOMPARE(with.copy(rect) != without.copy(rect), cell == QPoint(1, 1));
        }
        // What is done to it is on the screen at once.
        ColorPalette colors(&widget);
        PaletteRemapWidget pairs(true);
        pairs.setCount(4);
        pairs.setColors(&colors);
        pairs.move(300, 300);
        pairs.show();
        const std::function<void()> changes[] = {
            [&] { QTest::mouseClick(&widget, Qt::LeftButton, {}, middleOf(40)); },
            [&] { QTest::keyClick(&widget, Qt::Key_Left); },
            [&] {
                widget.palette()->setColor(uchar(9), RGBA{200, 100, 0, 255});
            },
            [&] { pairs.setFirst(9); },
            [&] { pairs.setSecond(9); },
            [&] { pairs.setCurrent(2); }};
        for (const auto &change : changes) {
            QVERIFY(showsItself(widget) && showsItself(pairs));
            change();
        }
        QVERIFY(showsItself(widget) && showsItself(pairs));
    }

    void tellsTheColorUnderTheMouse()
    {
        PaletteWidget widget;
        widget.resize(widget.sizeHint());
        widget.show();
        QVERIFY(widget.hasMouseTracking());
        for (const int cell : {17, 0}) {
            widget.palette()->setColor(uchar(cell), RGBA{1, 22, 133, uchar(cell)});
            move(widget, middleOf(cell));
            QTRY_COMPARE(QToolTip::text(), QString("1, 22, 133, %1").arg(cell));
        }
        QSignalSpy doubles(&widget, &PaletteWidget::colorDblClick);
        QTest::mouseDClick(&widget, Qt::LeftButton, {}, middleOf(17));
        QTest::mouseDClick(&widget, Qt::LeftButton, {}, {-4, 4});
        QTest::mouseDClick(&widget, Qt::LeftButton, {}, middleOf(0));
        QCOMPARE(doubles.count(), 2);
        QCOMPARE(doubles[0][0].toInt(), 17);
        QCOMPARE(doubles[1][0].toInt(), 0);
    }

    void handlersMayEndTheWidget_data()
    {
        columns<int>("which");
        const char *names[] = {"changed", "click", "double click", "moved", "range", "selection"};
        for (int which = 0; which < 6; ++which)
            addRow(names[which], which);
    }

    void handlersMayEndTheWidget()
    {
        QFETCH(int, which);
        auto *widget = new PaletteWidget;
        widget->resize(widget->sizeHint());
        widget->selection[7] = true;
        int heard = 0;
        const auto end = [&] {
            ++heard;
            delete widget;
        };
        ColorPalette palette(widget);
        const auto hear = [&](auto... signal) {
            int number = 0;
            ((number++ == which ? void(connect(widget, signal, end)) : void()), ...);
        };
        hear(&PaletteWidget::changed, &PaletteWidget::colorClick, &PaletteWidget::colorDblClick,
             &PaletteWidget::colorMoved, &PaletteWidget::multiColorClick,
             &PaletteWidget::selectionChanged);
        const auto send = [&](QEvent::Type type, int cell, Qt::KeyboardModifiers keys = {}) {
            QMouseEvent event(type, middleOf(cell), Qt::LeftButton, Qt::LeftButton, keys);
            static_cast<QObject *>(widget)->event(&event);
        };
        if (which == 2) {
            send(QEvent::MouseButtonDblClick, 3);
        } else {
            const bool drags = which == 0 || which == 3;
            send(QEvent::MouseButtonPress, 3);
            if (drags)
                send(QEvent::MouseMove, 9);
            send(QEvent::MouseButtonRelease, drags ? 9 : 3,
                 which == 4 ? Qt::ShiftModifier : Qt::NoModifier);
        }
        QCOMPARE(heard, 1);
        palette.setForegroundIndex(9); // without its widget
        QCOMPARE(palette.rgbAt(9), 0u);
        QCOMPARE(palette.colors()[255].a, uchar(0));
        QCOMPARE(int(palette.indexOf(Qt::red)), 0);
    }

    void colorPaletteFollowsClicks()
    {
        PaletteWidget widget;
        widget.resize(widget.sizeHint());
        fillWith(widget, 6);
        auto *palette = new ColorPalette(&widget);
        QPointer<ColorWidget> foreground = palette->foregroundWidget();
        QPointer<ColorWidget> background = palette->backgroundWidget();
        QCOMPARE(foreground->toolTip() + background->toolTip(), "Foreground colorBackground color");
        const auto shows = [&](ColorWidget *shown, int index) {
            return shown->color().rgba() == toQRgb(widget.palette()->at(uchar(index)));
        };
        QSignalSpy changes(palette, &ImagePalette::paletteChanged);
        click(widget, 30);
        click(widget, 40, Qt::RightButton);
        QCOMPARE(palette->foregroundIndex() * 1000 + palette->backgroundIndex(), 30040);
        QVERIFY(shows(foreground, 30) && shows(background, 40));
        QCOMPARE(selectionOf(widget), QSet<int>{30});
        click(widget, 33, Qt::LeftButton, Qt::ControlModifier);
        QCOMPARE(selectionOf(widget), QSet<int>({30, 33})); // the selection stays
        palette->setForegroundIndex(50);
        QCOMPARE(selectionOf(widget), QSet<int>{50});
        widget.palette()->setColor(50, RGBA{1, 2, 3, 4});
        QCOMPARE(changes.count(), 1);
        QVERIFY(shows(foreground, 50));
        // Squares of 4 pixels under what is clear in part, in a sunken frame.
        foreground->resize(25, 23);
        const QImage ground = pictureOf(*foreground);
        for (int y = 1; y < foreground->height() - 1; ++y) {
            for (int x = 1; x < foreground->width() - 1; ++x) {
                const int light = (x / 4 + y / 4) % 2 ? 255 : 160;
                QVERIFY(qAbs(qRed(ground.pixel(x, y)) - light) < 8);
            }
        }
        for (int i = 0; i < foreground->width(); ++i) {
            const int last = foreground->width() - 1;
            const int side = foreground->height() - 1;
            QCOMPARE(ground.pixel(i, 0), i < last ? 0xff808080 : 0xffffffff);
            QCOMPARE(ground.pixel(i, side), 0xffffffff);
        }
        QCOMPARE(ground.pixel(0, 1), 0xff808080);
        QCOMPARE(ColorWidget().accessibleDescription(), "#ff000000");
        RGBA copy[256];
        palette->copyTo(copy);
        QCOMPARE(toQRgb(copy[50]), palette->rgbAt(50));
        QCOMPARE(int(palette->indexOf(QColor(1, 2, 3, 4))), 50);
        {
            TakingTool tool;
            palette->setTool(&tool);
            click(widget, 60);
            click(widget, 70, Qt::RightButton);
            QCOMPARE(tool.taken, QVector<int>({60, 70}));
            QCOMPARE(palette->foregroundIndex() * 1000 + palette->backgroundIndex(), 60040);
        }
        click(widget, 71, Qt::RightButton); // the tool is gone
        palette->colorClicked(999, Qt::LeftButton);
        QCOMPARE(palette->foregroundIndex() * 1000 + palette->backgroundIndex(), 60071);
        delete foreground; // the host's bar went
        palette->setForegroundIndex(1);
        delete palette;
        QVERIFY(!background);
    }

    /// Nothing in a dialog lies on another thing, the first number can be typed at once, and lists
    /// to choose from are not edited.
    void dialogsAreLaidOut()
    {
        QStringListModel model({"one", "two"});
        ImgInfoDlg info(nullptr, "info", 0, {30, 40});
        ImgResizeDlg resize(nullptr, {30, 40}, {});
        RotImgDlg rotate(nullptr, {});
        ItemsDialog items(nullptr, "items", &model);
        ResampleDlg resample(nullptr, &model, 0, 44100, 16, 2);
        RunDlg run(nullptr, &model, 0);
        SprImport import(nullptr, "import", {"/a.png", "/b.png"}, &model, 0);
        for (QDialog *dialog : std::initializer_list<QDialog *>{&info, &resize, &rotate, &items,
                                                                &resample, &run, &import}) {
            dialog->show();
            QVERIFY(dialog->findChild<QDialogButtonBox *>());
            QList<QWidget *> parts =
                dialog->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
            while (!parts.isEmpty()) {
                const QWidget *part = parts.takeLast();
                for (const QWidget *other : qAsConst(parts))
                    QVERIFY(!part->geometry().intersects(other->geometry()));
            }
            for (auto *list : dialog->findChildren<QListView *>())
                QVERIFY(qobject_cast<QComboBox *>(list->parentWidget()->parentWidget()) ||
                        list->editTriggers() == QAbstractItemView::NoEditTriggers);
            if (auto *number = qobject_cast<QAbstractSpinBox *>(dialog->focusWidget()))
                QVERIFY(number->findChild<QLineEdit *>()->hasSelectedText());
            QCOMPARE(qobject_cast<QAbstractSpinBox *>(dialog->focusWidget()) != nullptr,
                     dialog == &info || dialog == &resize || dialog == &rotate);
        }
    }

    /// The cells as a grid: a key that would lead out of it leads nowhere.
    void keysWalkTheGrid()
    {
        QRandomGenerator dice(31);
        const int keys[] = {Qt::Key_Left, Qt::Key_Right, Qt::Key_Up,
                            Qt::Key_Down, Qt::Key_Home,  Qt::Key_End};
        for (const int count : {256, 250, 17, 16, 1, 0}) {
            PaletteWidget widget;
            QKeyEvent letter(QEvent::KeyPress, Qt::Key_A, {});
            QApplication::sendEvent(&widget, &letter);
            QVERIFY(!letter.isAccepted()); // others may want it
            widget.setColorCount(ushort(count));
            QPoint place(0, 0);
            for (int step = 0; step < 300; ++step) {
                const int key = keys[dice.bounded(dice.bounded(20) ? 4 : 6)];
                QTest::keyClick(&widget, Qt::Key(key));
                const int cell = place.y() * 16 + place.x();
                const int beside = cell + (key == Qt::Key_Right) - (key == Qt::Key_Left);
                QPoint to(beside % 16, beside / 16 + (key == Qt::Key_Down) - (key == Qt::Key_Up));
                if (key == Qt::Key_Home)
                    to = QPoint(0, 0);
                if (key == Qt::Key_End)
                    to = QPoint((count + 15) % 16, (count - 1) / 16);
                if (beside >= 0 && to.y() >= 0 && to.y() * 16 + to.x() < count)
                    place = to;
                if (count > 0 && dice.bounded(8) == 0) { // from where a program has put it
                    const int put = dice.bounded(count);
                    widget.select(uchar(put));
                    place = QPoint(put % 16, put / 16);
                }
                for (int i = 0; i < 256; ++i)
                    QCOMPARE(widget.isSelected(uchar(i)),
                             i == place.y() * 16 + place.x() && count > 0);
            }
        }
    }

    void previewFollowsTheFields()
    {
        ImgResizeDlg dialog(nullptr, {30, 40}, [](QSize size, int filter) {
            QImage picture(size, QImage::Format_RGB32);
            picture.fill(filter == 0 ? Qt::red : Qt::blue);
            return picture;
        });
        dialog.show();
        auto *preview = dialog.findChild<QWidget *>("preview");
        const auto shown = [&] {
            return QColor(onScreen(dialog).pixel(preview->geometry().center()));
        };
        QTRY_COMPARE(shown(), QColor(Qt::red));
        QTest::keyClick(dialog.findChild<QComboBox *>("filter"), Qt::Key_Down);
        QTRY_COMPARE(shown(), QColor(Qt::blue));
    }

    void remapWidgetHoldsPairs()
    {
        PaletteRemapWidget widget(true);
        QCOMPARE(widget.sizeHint(), QSize(12, 24));
        QCOMPARE(widget.focusPolicy(), Qt::TabFocus);
        QVERIFY(!widget.setCurrent(1));
        widget.setCount(99);
        QCOMPARE(widget.minimumSizeHint(), QSize(144, 24));
        widget.resize(200, 40);
        QSignalSpy currents(&widget, &PaletteRemapWidget::currentChanged);
        QTest::mouseClick(&widget, Qt::LeftButton, {}, {15, 20});
        QTest::mouseClick(&widget, Qt::LeftButton, {}, {150, 20}); // beside it
        QTest::mouseClick(&widget, Qt::LeftButton, {}, {-2, 20});
        QTest::keyClick(&widget, Qt::Key_Right);
        QTest::keyClick(&widget, Qt::Key_Up);
        QCOMPARE(currents, QList<QVariantList>({{1}, {2}, {1}}));
        widget.setFirst(200);
        widget.setSecond(7);
        QCOMPARE(widget.pair(1), QPoint(200, 7));
        QCOMPARE(widget.pair(-1) + widget.pair(12), QPoint());
        QKeyEvent letter(QEvent::KeyPress, Qt::Key_A, {});
        QApplication::sendEvent(&widget, &letter);
        QVERIFY(!letter.isAccepted()); // others may want it
        auto palette = std::make_unique<MonoPalette>();
        auto other = std::make_unique<MonoPalette>();
        widget.setColors(other.get());
        widget.setColors(palette.get());
        other.reset();
        const QImage image = pictureOf(widget);
        QCOMPARE(image.pixel(12 + 4, 4), 0xffffffff);
        QCOMPARE(image.pixel(12, 0), 0xffffffff); // the current pair is filled
        for (int cell : {0, 24, 132})
            QCOMPARE(image.pixel(cell, 0), 0xff808080);
        QCOMPARE(image.pixel(24 + 4, 16), 0xff000000);
        palette.reset();
        QCOMPARE(pictureOf(widget).pixel(12 + 4, 4), 0xff000000);
        PaletteRemapWidget upright(false);
        upright.setCount(3);
        QCOMPARE(upright.sizeHint(), QSize(24, 36));
        QCOMPARE(upright.cellAt({20, 30}), 2);
        upright.setCurrent(2);
        upright.setCount(0);
        QCOMPARE(upright.current() * 10 + upright.count(), 1);
    }
};

QTEST_MAIN(tst_PaletteWidget)
#include "tst_palettewidget.moc"
