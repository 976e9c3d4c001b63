#include <kilnx/render/timelinewidget.h>
#include <tests/support/rows.h>
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
    /// 0 nothing, 1 on a row, 2 on the cursor.
    int modeAt(int x) const
    {
        const int cursor = (int(current) - int(first)) * tickWidth + labels;
        return x >= cursor && x < cursor + tickWidth ? 2 : x > labels;
    }
    int visible = 0;
    unsigned int current = 0, first = 0;
    int dragged = 0;
    bool pressed = false;
    QList<unsigned int> told;
};

} // namespace

class TestTimeLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomUser()
    {
        TimeLineWidget strip;
        Items row({3});
        PlainStrip plain;
        QList<unsigned int> told;
        connect(&strip, &TimeLineWidget::tickChanged, this,
                [&told](unsigned int tick) { told.append(tick); });
        strip.setCurrentTick(37, false); // before it was ever laid out
        plain.moveTo(37);
        strip.addTimeLine(&row);
        QRandomGenerator random(5);
        const auto below = [&random](int bound) { return random.bounded(bound); };
        for (int step = 0; step < 4000; ++step) {
            const int x = below(320);
            const auto mouse = [&](QEvent::Type type, Qt::MouseButton button) {
                const Qt::MouseButton held = plain.pressed ? Qt::LeftButton : Qt::NoButton;
                QMouseEvent event(type, QPoint(x, 30), button, held, Qt::NoModifier);
                QCoreApplication::sendEvent(&strip, &event);
            };
            const int what = below(8);
            if (what == 0) {
                plain.dragged = plain.modeAt(x);
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
                const bool left = below(2);
                QTest::keyClick(&strip, left ? Qt::Key_Left : Qt::Key_Right);
                if (!left || plain.current > 0)
                    plain.moveTo(left ? plain.current - 1 : plain.current + 1);
            } else if (what == 6) {
                const unsigned int tick = below(3) ? unsigned(below(90)) : plain.current;
                const bool force = below(2);
                strip.setCurrentTick(tick, force);
                if (force || tick != plain.current)
                    plain.moveTo(tick);
            } else if (step % 50 == 0) {
                strip.resize(125 + below(200), 50);
                plain.visible = (strip.width() - labels) / tickWidth;
            }
            QCOMPARE(strip.currentTick(), plain.current);
            QCOMPARE(told, plain.told);
            if (!plain.pressed && (what == 4 || what == 1))
                QCOMPARE(strip.cursor().shape() == Qt::SizeHorCursor, plain.modeAt(x) == 2);
        }
    }

    // Each row, the ruler and the cursor, pixel for pixel where no text is.
    void painting()
    {
        TestHost host;
        TimeLineWidget strip;
        QVERIFY(strip.isHidden());
        Items first({2, 5, 1});
        Items second({});
        strip.addTimeLine(&first);
        strip.addTimeLine(&second);
        const int top = host.scaled(ruler);
        QCOMPARE(strip.minimumHeight(), top + 2 * rowHeight);
        QCOMPARE(strip.maximumHeight(), strip.minimumHeight());
        strip.resize(labels + 30 * tickWidth, strip.height());
        strip.setCurrentTick(4, false);
        const QImage image = strip.grab().toImage();
        const auto at = [&image](int tick, int x, int y) {
            return QColor(image.pixel(labels + tick * tickWidth + x, y));
        };
        const QColor ground = strip.palette().color(QPalette::Window);
        const QColor edge(ground.darker(300).rgb());
        const int middle = top + rowHeight / 2;
        QCOMPARE(at(0, 2, middle), QColor(Qt::blue));
        QCOMPARE(at(2, 2, middle), QColor(Qt::red));
        QCOMPARE(at(7, 2, middle), QColor(Qt::blue));
        QCOMPARE(at(9, 0, middle), edge);
        QCOMPARE(at(9, 2, middle), ground);
        QCOMPARE(at(2, 2, middle + rowHeight), ground);
        // The bar leaves its cell in the colour of the window and gets redder.
        const int near = at(3, 3, middle).green();
        const int far = at(6, 4, middle).green();
        QVERIFY2(near > far, qPrintable(QString("%1 %2").arg(near).arg(far)));
        QVERIFY(at(6, 4, middle).red() > at(6, 4, middle).green());
        // The ruler: long marks each 5 ticks. The cursor covers the whole height.
        QCOMPARE(at(10, 3, top - 9), strip.palette().color(QPalette::WindowText));
        QCOMPARE(at(9, 3, top - 9), ground);
        QCOMPARE(at(9, 3, top - 5), strip.palette().color(QPalette::WindowText));
        for (const int tick : {10, 12, 13, 15, 17}) {
            bool hasNumber = false;
            for (int pixel = 0; pixel < tickWidth * (top - 10); ++pixel)
                hasNumber |= at(tick, pixel % tickWidth, pixel / tickWidth) != ground;
            QCOMPARE(hasNumber, tick % 5 == 0);
        }
        for (int y : {0, top, strip.height() - 1})
            QCOMPARE(at(4, 2, y), QColor(Qt::yellow));
        // On the screen, where only what a tick changes is painted, too.
        strip.move(0, 0);
        QVERIFY(QTest::qWaitForWindowExposed(&strip));
        for (const unsigned int tick : {5U, 6U, 29U, 28U, 0U, 41U}) {
            strip.setCurrentTick(tick, false);
            QCoreApplication::processEvents();
            const auto screen = [&strip] {
                return strip.screen()->grabWindow(strip.winId()).toImage();
            };
            const auto whole = [&strip] {
                return strip.grab().toImage().convertToFormat(QImage::Format_RGB32);
            };
            QTRY_COMPARE(screen().convertToFormat(QImage::Format_RGB32), whole());
        }
        strip.clearTimeLines();
        QVERIFY(strip.isHidden());
        // Lengths and ticks at the ends of their ranges.
        Items endless({INT_MAX, -5});
        strip.addTimeLine(&endless);
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
