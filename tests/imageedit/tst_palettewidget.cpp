#include <kilnx/forms/colorwidget.h>
#include <kilnx/image/palette.h>
#include <kilnx/imageedit/colorpalette.h>
#include <kilnx/imageedit/imagetool.h>
#include <kilnx/imageedit/paletteremapwidget.h>
#include <kilnx/imageedit/palettewidget.h>
#include <tests/support/rows.h>

#include <QtCore/QRandomGenerator>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>
#include <QtWidgets/QToolTip>

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

    void dragsShiftTheColorsBetween_data()
    {
        // -1: nothing
        columns<int, QPoint, int>("from", "to", "target");
        addRow("down", 3, middleOf(10), 10);
        addRow("up", 10, middleOf(3), 3);
        addRow("to the end", 0, middleOf(255), 255);
        addRow("to the start", 255, middleOf(0), 0);
        addRow("outside left", 3, QPoint(-1, 5), -1);
        addRow("outside right", 3, QPoint(192, 5), -1);
        addRow("outside below", 3, QPoint(5, 193), -1);
        addRow("far away", 3, QPoint(-40000, 90000), -1);
    }

    void dragsShiftTheColorsBetween()
    {
        const auto [from, to, target] = row<int, QPoint, int>();
        PaletteWidget widget;
        widget.resize(widget.sizeHint());
        fillWith(widget, 4);
        const Colors before = colorsOf(widget);
        QSignalSpy changes(&widget, &PaletteWidget::changed);
        QSignalSpy moves(&widget, &PaletteWidget::colorMoved);
        drag(widget, middleOf(from), to);
        Colors wanted = before;
        if (target >= 0)
            wanted.move(from, target);
        QCOMPARE(colorsOf(widget), wanted);
        QCOMPARE(changes.count(), int(target >= 0));
        QCOMPARE(moves.count(), int(target >= 0));
        if (target >= 0)
            QCOMPARE(moves[0], QVariantList({ushort(from), ushort(target)}));
        widget.undo();
        QCOMPARE(colorsOf(widget), before);
    }

    /// The held cell follows the mouse.
    void repaintsWhileDragged()
    {
        struct Paints : QObject {
            bool eventFilter(QObject *, QEvent *event) override
            {
                count += event->type() == QEvent::Paint;
                return false;
            }
            int count = 0;
        } paints;
        PaletteWidget widget;
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        QTest::mousePress(&widget, Qt::LeftButton, {}, middleOf(3));
        QCoreApplication::processEvents();
        widget.installEventFilter(&paints);
        move(widget, middleOf(4));
        QTRY_VERIFY(paints.count > 0);
    }

    void dropsWhatIsCutOff_data()
    {
        columns<int>("how");
        const char *names[] = {"other button", "hidden",     "disabled",
                               "fewer colors", "back again", "double click"};
        for (int how = 0; how < 6; ++how)
            addRow(names[how], how);
    }

    void dropsWhatIsCutOff()
    {
        QFETCH(int, how);
        PaletteWidget widget;
        widget.resize(widget.sizeHint());
        fillWith(widget, 4);
        widget.show();
        const Colors before = colorsOf(widget);
        QTest::mousePress(&widget, Qt::LeftButton, {}, middleOf(200));
        move(widget, middleOf(100));
        if (how == 0) {
            QTest::mousePress(&widget, Qt::RightButton, {}, middleOf(9));
        } else if (how == 1) {
            widget.hide();
        } else if (how == 2) {
            widget.setEnabled(false);
            widget.setEnabled(true);
        } else if (how == 3) {
            widget.setColorCount(32);
        } else if (how == 4) {
            move(widget, middleOf(200));
        } else {
            QTest::mouseDClick(&widget, Qt::LeftButton, {}, middleOf(3));
        }
        QTest::mouseRelease(&widget, Qt::LeftButton, {}, middleOf(how == 4 ? 200 : 20));
        QCOMPARE(colorsOf(widget), before);
    }

    // The grid shows what the program does, without a move of the mouse.
    void changesArePainted()
    {
        PaletteWidget widget;
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        fillWith(widget, 4);
        const auto shows = [&widget](auto change) {
            QCoreApplication::processEvents();
            struct Paints : QObject {
                bool eventFilter(QObject *, QEvent *event) override
                {
                    return count += event->type() == QEvent::Paint, false;
                }
                int count = 0;
            } paints;
            widget.installEventFilter(&paints);
            change();
            QTRY_VERIFY(paints.count > 0);
        };
        shows([&] { widget.select(7); });
        shows([&] { widget.clearSelection(); });
        shows([&] { fillWith(widget, 5); });
        shows([&] { widget.undo(); });
        shows([&] { widget.setColorCount(32); });
        shows([&] { widget.reset(); });
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
        int told = 0;
        for (int step = 0; step < 600; ++step) {
            const int kind = dice.bounded(40);
            const int cell = dice.bounded(8) == 0 ? 0 : dice.bounded(256);
            const int other = dice.bounded(256);
            const auto edited = [&](const Colors &colors) {
                ++told;
                if (widget.isLocked())
                    ring.pages[ring.shown] = colors;
                else
                    ring.edit(colors);
            };
            if (kind < 12) {
                const RGBA color = fromQRgb(dice.generate());
                widget.palette()->setColor(uchar(cell), color);
                Colors colors = ring.colors();
                colors[cell] = toQRgb(color);
                edited(colors);
            } else if (kind < 18 && cell != other) {
                drag(widget, middleOf(cell), middleOf(other));
                Colors colors = ring.colors();
                colors.move(cell, other);
                edited(colors);
            } else if (kind < 24) {
                // Now and then to the end of the ring, and no further.
                for (int i = dice.bounded(4) ? 1 : 13; i > 0; --i) {
                    widget.undo();
                    told += ring.go(-1, widget.isLocked());
                }
            } else if (kind < 28) {
                widget.redo();
                told += ring.go(1, widget.isLocked());
            } else if (kind == 28) {
                widget.isLocked() ? widget.unlock() : widget.lock();
            } else if (kind == 29) {
                const bool clears = dice.bounded(3) == 0;
                clears ? widget.reset() : widget.flatten();
                if (!widget.isLocked() && (clears || ring.shown > 0))
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
        for (const QString &key : keys.split(' '))
            QTest::keySequence(&widget, QKeySequence(key));
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

    void paintsItsCells()
    {
        PaletteWidget widget;
        widget.resize(widget.sizeHint());
        const QRgb gray = QColor(Qt::gray).rgb();
        widget.palette()->setColor(uchar(0), RGBA{10, 200, 30, 255});
        widget.palette()->setColor(1, RGBA{10, 200, 30, 255});
        widget.palette()->setColor(2, RGBA{0, 0, 0, 0});
        widget.palette()->setColor(82, RGBA{1, 2, 3, 255});
        widget.selection[1] = true;
        QImage image = pictureOf(widget);
        const auto at = [&](int cell, int x, int y) { return image.pixel(cell * 12 + x, y); };
        const QRgb sunken = 0xff808080, raised = 0xffffffff;
        const QRgb full = qRgb(10, 200, 30), selected = qRgb(138, 255, 158);
        const struct {
            int cell;
            QPoint point;
            QRgb color;
        } shown[] = {
            {0, {0, 0}, sunken}, {0, {9, 0}, sunken},   {0, {10, 5}, raised},  {0, {5, 10}, raised},
            {0, {1, 1}, full},   {0, {9, 9}, full},     {1, {0, 0}, full},     {1, {10, 10}, full},
            {1, {3, 3}, full},   {1, {2, 2}, selected}, {1, {8, 5}, selected}, {2, {3, 3}, gray},
            {2, {8, 8}, gray},   {2, {8, 3}, raised},   {2, {3, 8}, raised},
        };
        for (const auto &[cell, point, color] : shown)
            QCOMPARE(at(cell, point.x(), point.y()), color);

        // Nothing around the colours glares in a dark window.
        widget.setPalette(QPalette(Qt::darkGray, QColor(40, 44, 50)));
        image = pictureOf(widget);
        for (const auto &[cell, point, color] : shown)
            QCOMPARE(qGray(at(cell, point.x(), point.y())) < 100,
                     color == gray || color == raised || color == sunken);
        QVERIFY(at(2, 3, 3) != at(2, 8, 3));
        widget.setPalette(QPalette());
        image = pictureOf(widget);

        const QRgb ground = image.pixel(11, 5);
        QTest::mousePress(&widget, Qt::LeftButton, {}, {2, 3});
        move(widget, {26, 63}); // cell 0 at (24, 60)
        image = pictureOf(widget);
        QCOMPARE(at(0, 5, 5), ground);
        QCOMPARE(image.pixel(24 + 5, 60 + 5), qRgb(10, 200, 30));
        widget.setRedistributable(true);
        image = pictureOf(widget);
        QCOMPARE(at(0, 5, 5), qRgb(10, 200, 30)); // cell 1 has made room
        QCOMPARE(at(1, 2, 2), gray);
        QCOMPARE(at(1, 5, 60 + 5), qRgb(1, 2, 3)); // and cell 82, which the held one is over
        move(widget, {-30, -30});
        image = pictureOf(widget);
        QCOMPARE(at(0, 1, 1), qRgb(10, 200, 30)); // back in its place
        QCOMPARE(at(0, 0, 0), 0xff808080);
        QTest::mouseRelease(&widget, Qt::LeftButton, {}, {-30, -30});
    }

    void tellsTheColorUnderTheMouse()
    {
        PaletteWidget widget;
        widget.resize(widget.sizeHint());
        widget.show();
        QVERIFY(widget.hasMouseTracking());
        widget.palette()->setColor(17, RGBA{1, 22, 133, 4});
        move(widget, middleOf(17));
        QTRY_COMPARE(QToolTip::text(), "1, 22, 133, 4");
        QSignalSpy doubles(&widget, &PaletteWidget::colorDblClick);
        QTest::mouseDClick(&widget, Qt::LeftButton, {}, middleOf(17));
        QTest::mouseDClick(&widget, Qt::LeftButton, {}, {-4, 4});
        QCOMPARE(doubles.count(), 1);
        QCOMPARE(doubles[0][0].toInt(), 17);
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

    void remapWidgetHoldsPairs()
    {
        PaletteRemapWidget widget(true);
        QCOMPARE(widget.sizeHint(), QSize(12, 24));
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
        auto palette = std::make_unique<MonoPalette>();
        widget.setColors(palette.get());
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
