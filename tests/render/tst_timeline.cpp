#include <kilnx/render/timelinewidget.h>
#include <tests/support/rows.h>
#include <tests/support/screen.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>

using namespace Kiln;

namespace
{

constexpr int labels = 125, tickWidth = 6, ruler = 20, rowHeight = 30;

/// Items of some ticks each, in two colours by turns.
class Items : public TimeLine
{
public:
    explicit Items(const QVector<int> &lengths)
        : m_lengths(lengths)
    {
    }
    QString name() override { return QStringLiteral("Items"); }
    bool at(unsigned int tick, TimeLineCell &cell) override
    {
        unsigned int start = 0;
        for (int i = 0; i < m_lengths.size() && start <= tick; start += unsigned(m_lengths[i++])) {
            if (start != tick)
                continue;
            cell.color = i % 2 ? Qt::red : Qt::blue;
            cell.length = m_lengths[i];
            return true;
        }
        return false;
    }

private:
    QVector<int> m_lengths;
};

/// What the strip is to do, and what it is to tell.
struct PlainStrip {
    void moveTo(unsigned int tick)
    {
        current = tick;
        first = tick - tick % unsigned(qMax(1, visible));
        first -= first % 10;
        told.append(tick);
    }
    unsigned int tickAt(int x) const
    {
        return unsigned(qMax(0, int(first) + (x - labels) / tickWidth));
    }
    int cursor() const { return (int(current) - int(first)) * tickWidth + labels; }
    /// 0 nothing, 1 on a row, 2 on the cursor.
    int modeAt(QPoint place)
    {
        if (place.x() >= cursor() && place.x() < cursor() + tickWidth)
            return 2;
        if (place.x() > labels)
            hovered = qMax(0, place.y() - ruler) / rowHeight;
        return place.x() > labels;
    }
    /// The strip as it is to look, painted by pixels but for its texts.
    QImage picture(const TimeLineWidget &strip, const QVector<Items *> &rows) const;

    int visible = 0, hovered = 0;
    unsigned int current = 0, first = 0;
    int dragged = 0;
    bool pressed = false;
    QList<unsigned int> told;
};

QImage PlainStrip::picture(const TimeLineWidget &strip, const QVector<Items *> &rows) const
{
    const QPalette &colors = strip.palette();
    const QColor ground = colors.color(QPalette::Window);
    const QColor edge = ground.darker(300);
    QImage image(strip.size(), QImage::Format_RGB32);
    image.setDotsPerMeterX(qRound(strip.logicalDpiX() / 0.0254)); // for letters of the same size
    image.setDotsPerMeterY(image.dotsPerMeterX());
    image.fill(ground);
    QPainter painter(&image);
    painter.setFont(strip.font());
    const int top = strip.height() - rows.size() * rowHeight;
    const auto mix = [](const QColor &a, const QColor &b, double t) {
        return QColor(qRound(a.red() + (b.red() - a.red()) * t),
                      qRound(a.green() + (b.green() - a.green()) * t),
                      qRound(a.blue() + (b.blue() - a.blue()) * t));
    };
    painter.setPen(colors.color(QPalette::WindowText));
    for (int column = 0; column < visible; ++column) {
        const int x = labels + column * tickWidth + tickWidth / 2;
        const bool isFifth = (first + unsigned(column)) % 5 == 0;
        painter.fillRect(x, top - (isFifth ? 10 : 6), 1, isFifth ? 10 : 6,
                         colors.color(QPalette::WindowText));
        if (isFifth)
            painter.drawText(QRect(x - 20, 0, 40, top - 10), Qt::AlignCenter,
                             QString::number(first + unsigned(column)));
    }
    painter.setPen(colors.color(QPalette::Text));
    for (int row = 0; row < rows.size(); ++row) {
        const int y = top + row * rowHeight;
        painter.drawText(QRect(8, y + 2, labels - 16, rowHeight - 4), Qt::AlignCenter,
                         strip.fontMetrics().elidedText(rows[row]->name(), Qt::ElideRight, 110));
        for (int column = 0; column < visible; ++column) {
            const int x = labels + column * tickWidth;
            TimeLineCell cell;
            const bool starts = rows[row]->at(first + unsigned(column), cell);
            const int length = starts ? (cell.length - 1) * tickWidth : 0;
            for (int i = 0; i < length && x + tickWidth + i < strip.width(); ++i)
                painter.fillRect(x + tickWidth + i, y, 1, rowHeight,
                                 mix(ground, mix(ground, cell.color, (i + 0.5) / length), 0.33));
            if (starts)
                painter.fillRect(x, y, tickWidth, rowHeight, cell.color);
            for (const int side : {0, 1}) {
                painter.fillRect(x + side * tickWidth, y, 1, rowHeight + 1, edge);
                painter.fillRect(x, y + side * rowHeight, tickWidth + 1, 1, edge);
            }
        }
    }
    painter.fillRect(cursor() + 2, 0, 2, strip.height(), Qt::yellow);
    return image;
}

/// By how much the pixels differ at most.
int difference(const QImage &a, const QImage &b)
{
    int most = a.size() == b.size() ? 0 : 999;
    for (int i = 0; most < 999 && i < a.width() * a.height(); ++i) {
        const QRgb p = a.pixel(i % a.width(), i / a.width());
        const QRgb q = b.pixel(i % a.width(), i / a.width());
        most = qMax(most, qMax(qAbs(qRed(p) - qRed(q)),
                               qMax(qAbs(qGreen(p) - qGreen(q)), qAbs(qBlue(p) - qBlue(q)))));
    }
    return most;
}

} // namespace

class TestTimeLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomUser()
    {
        TimeLineWidget strip;
        Items row({3, 1, 9, 2, 30});
        Items other({12, 4});
        PlainStrip plain;
        QList<unsigned int> told;
        connect(&strip, &TimeLineWidget::tickChanged, this,
                [&told](unsigned int tick) { told.append(tick); });
        strip.setCurrentTick(37, false); // before it was ever laid out
        plain.moveTo(37);
        strip.addTimeLine(&row);
        strip.addTimeLine(&other);
        strip.move(0, 0); // far from the mouse
        QVERIFY(QTest::qWaitForWindowExposed(&strip));
        plain.visible = (strip.width() - labels) / tickWidth;
        QRandomGenerator random(5);
        const auto below = [&random](int bound) { return random.bounded(bound); };
        for (int step = 0; step < 1000; ++step) {
            const int what = below(8);
            const bool isAtCursor = what == 0 && below(2);
            const int x = isAtCursor ? plain.cursor() + below(tickWidth) : below(320);
            const int y = below(85);
            const auto mouse = [&](QEvent::Type type, Qt::MouseButton button) {
                const Qt::MouseButton held = plain.pressed ? Qt::LeftButton : Qt::NoButton;
                QMouseEvent event(type, QPoint(x, y), button, held, Qt::NoModifier);
                QCoreApplication::sendEvent(&strip, &event);
            };
            if (what == 0) {
                plain.dragged = plain.modeAt({x, y});
                plain.pressed = true;
                mouse(QEvent::MouseButtonPress, Qt::LeftButton);
            } else if (what < 4) {
                plain.pressed &= below(9) != 0; // a box gets a release now and then
                mouse(QEvent::MouseMove, Qt::NoButton);
                if (plain.pressed && plain.dragged == 2 && plain.tickAt(x) != plain.current)
                    plain.moveTo(plain.tickAt(x));
            } else if (what == 4) {
                mouse(QEvent::MouseButtonRelease, Qt::LeftButton);
                if (plain.pressed && plain.dragged == 1 && plain.tickAt(x) != plain.current)
                    plain.moveTo(plain.tickAt(x));
                plain.pressed = false;
            } else if (what == 5) {
                const int key = below(3); // the third is none of the strip's
                QTest::keyClick(&strip, key == 0   ? Qt::Key_Left
                                        : key == 1 ? Qt::Key_Right
                                                   : Qt::Key_Up);
                if (key == 1 || (key == 0 && plain.current > 0))
                    plain.moveTo(key == 0 ? plain.current - 1 : plain.current + 1);
            } else if (what == 6) {
                const unsigned int tick = below(3) ? unsigned(below(90)) : plain.current;
                const bool force = below(2);
                strip.setCurrentTick(tick, force);
                if (force || tick != plain.current)
                    plain.moveTo(tick);
            } else if (step % 50 == 0) {
                strip.resize(125 + below(200), strip.height());
                plain.visible = (strip.width() - labels) / tickWidth;
            }
            QCOMPARE(strip.currentTick(), plain.current);
            QCOMPARE(told, plain.told);
            if (!plain.pressed && what > 0 && what < 5)
                QCOMPARE(strip.cursor().shape(),
                         plain.modeAt({x, y}) == 2 ? Qt::SizeHorCursor : Qt::ArrowCursor);
            QCOMPARE(int(strip.hoverRow()), plain.hovered);
            QVERIFY2(showsItself(strip), qPrintable(QString::number(step)));
            if (step % 10 == 0) {
                const QImage wanted = plain.picture(strip, {&row, &other});
                QVERIFY2(difference(onScreen(strip), wanted) < 5,
                         qPrintable(QString::number(step)));
            }
        }
    }

    void scalesAndEnds()
    {
        TestHost host;
        TimeLineWidget strip;
        QVERIFY(strip.isHidden());
        Items first({2, 5, 1});
        Items second({});
        strip.addTimeLine(&first);
        strip.addTimeLine(&second);
        QCOMPARE(strip.minimumHeight(), host.scaled(ruler) + 2 * rowHeight);
        QCOMPARE(strip.maximumHeight(), strip.minimumHeight());
        strip.resize(labels + 30 * tickWidth, strip.height());
        PlainStrip plain;
        plain.visible = 30;
        plain.moveTo(4);
        strip.setCurrentTick(4, false);
        const QImage shown = strip.grab().toImage().convertToFormat(QImage::Format_RGB32);
        QVERIFY(difference(shown, plain.picture(strip, {&first, &second})) < 5);
        strip.clearTimeLines();
        QVERIFY(strip.isHidden());
        // Lengths and ticks at the ends of their ranges.
        Items endless({INT_MAX, -5});
        strip.addTimeLine(&endless);
        QCOMPARE(strip.height(), host.scaled(ruler) + rowHeight);
        strip.setCurrentTick(UINT_MAX, false);
        strip.grab();
        QTest::keyClick(&strip, Qt::Key_Right);
        QCOMPARE(strip.currentTick(), 0U);
        strip.resize(10, 10);
        strip.grab();
    }

    // Ticks come one by one, never early, and what a slow slot has cost is paid back.
    void playing()
    {
        TimeLineWidget strip;
        QElapsedTimer clock;
        QVector<QPair<unsigned int, double>> told;
        connect(&strip, &TimeLineWidget::tickChanged, this, [&](unsigned int tick) {
            told.append({tick, clock.nsecsElapsed() * 1e-6});
            if (tick == 15)
                QTest::qSleep(1000);
        });
        strip.setCurrentTick(10, false);
        told.clear();
        clock.start();
        strip.play();
        strip.play();
        QVERIFY(strip.isPlaying());
        QCOMPARE(told.size(), 2); // at once, for each of both
        told.removeFirst();
        const auto lateness = [&told] { // of the last tick, in ticks
            return (told.last().second - told.first().second) * 0.06 - (told.size() - 1);
        };
        QTRY_VERIFY(told.size() > 6);
        QTRY_VERIFY(told.size() > 20 && lateness() < 1.5);
        QTest::mouseClick(&strip, Qt::LeftButton, {}, {300, 30});
        QTest::keyClick(&strip, Qt::Key_Right); // the keys still move
        strip.stop();
        const int count = told.size();
        QVERIFY(!strip.isPlaying());
        for (int i = 1; i < count; ++i) {
            QCOMPARE(told[i].first, told[i - 1].first + 1);
            if (i < count - 1)
                QVERIFY(told[i].second - told[0].second > (i - 1) * 16.0);
        }
        QTest::qWait(60);
        QCOMPARE(told.size(), count);
        // Few frames came in the second that was slept, and a new start knows nothing of them.
        QVERIFY(strip.framesPerSecond() < 30);
        strip.play();
        QCOMPARE(strip.framesPerSecond(), 60.0F);
    }

    void stoppedWithinATick_data()
    {
        columns<int>("what");
        addRow("by the slot of the tick", 0);
        addRow("by what waits behind it", 1);
        addRow("played anew by the slot", 2);
        addRow("destroyed by the slot", 3);
        addRow("destroyed by what waits behind it", 4);
    }

    void stoppedWithinATick()
    {
        auto [what] = row<int>();
        QPointer<TimeLineWidget> strip = new TimeLineWidget;
        int told = 0;
        connect(strip, &TimeLineWidget::tickChanged, this, [&, what = what](unsigned int tick) {
            ++told;
            const auto end = [&strip, what] {
                QVERIFY(strip->isPlaying());
                if (what < 2)
                    strip->stop();
                else if (what == 2)
                    strip->play();
                else
                    delete strip;
            };
            if (tick != 3)
                return;
            if (what == 1 || what == 4)
                QTimer::singleShot(0, this, end);
            else if (what != 2 || told < 5)
                end();
        });
        strip->play();
        QTRY_VERIFY(told >= 4);
        QTest::qWait(50);
        if (what == 2) {
            QTRY_VERIFY(told > 6);
            QVERIFY(strip->isPlaying());
        } else {
            QCOMPARE(told, 4);
            QVERIFY(!strip || !strip->isPlaying());
        }
        delete strip;
    }
};

QTEST_MAIN(TestTimeLine)
#include "tst_timeline.moc"
