// The animation editor in a large file beside a small one, its writing beside the same edit of the
// text, and playback beside a bare widget that draws the same pictures.

#include <bench/besidebare.h>

#include <ember/emberanimations.h>
#include <ember/emberdocument.h>
#include <hostkit/animationview.h>
#include <hostkit/codesurface.h>
#include <hostkit/enginelibraries.h>
#include <hostkit/filedesk.h>
#include <hostkit/hostbase.h>
#include <hostkit/paths.h>
#include <hostkit/viewport.h>
#include <kilnx/image/sprite.h>
#include <kilnx/render/graphicsworkspace.h>
#include <kilnx/render/timelinewidget.h>
#include <tests/support/files.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>
#include <QtGui/QPainter>
#include <QtGui/QTextBlock>
#include <QtWidgets/QAction>
#include <QtWidgets/QMainWindow>

using namespace Kiln;

namespace
{

constexpr int frames = 20;

QString textOf(int animations)
{
    QString text;
    for (int i = 0; i < animations; ++i) {
        text += QStringLiteral("@animation %1\n").arg(i);
        for (int frame = 0; frame < frames; ++frame) {
            text += QStringLiteral("    strike: 8, -58, 36, -44\n    body: -14, -70, 14, 0\n"
                                   "    frame: wren_jab_%1, at %2 0, for 2\n")
                        .arg(1 + frame % 3)
                        .arg(frame);
        }
        text += QLatin1Char('\n');
    }
    return text;
}

/// The editor in a window on a file of the sample project with a text of its own.
class Desk
{
public:
    explicit Desk(int animations)
        : Desk(textOf(animations))
    {
    }
    explicit Desk(const QString &text)
        : host(&window, HostKit::Paths::below(directory.path()))
    {
        const QString hero = directory.filePath(QStringLiteral("hero/"));
        copyFolder(QStringLiteral(KILN_SOURCE_DIR "/examples/hero/"), hero);
        host.setOption(QStringLiteral("native_painting"), true);
        host.makeCodeEditors();
        host.makeGraphicsEditors();
        QString fault;
        host.engines().load(QStringLiteral(ENGINE), &fault);
        host.openProject(hero);
        host.desk().openFile(hero + QStringLiteral("heroes/wren/wren.flick"), 0);
        file = dynamic_cast<EmberDocument *>(editor().currentFile());
        file->fromString(text);
        editor().update();
        window.resize(1280, 800);
        window.show();
        QCoreApplication::processEvents();
        editor().setCurrent(file->animations()->count() / 2, 4);
        view().widget()->setFocus();
        QCoreApplication::processEvents();
    }
    HostKit::AnimationView &editor() const { return *host.animationView(); }
    HostKit::Viewport &view() const { return editor().viewport(); }
    TimeLineWidget &strip() const { return *editor().graphicsWorkspace()->timeLine(); }
    QPoint place(QPoint image) const
    {
        return GraphicsRenderer::origin() + image * double(view().zoomFactor());
    }
    void press(QPoint grip)
    {
        held = grip;
        view().mousePressed(place(grip), Qt::LeftButton, Qt::NoModifier);
    }
    void move(int step) { view().mouseMoved(place(held + QPoint(step, 0)), Qt::NoModifier); }
    void release() { view().mouseReleased(place(held), Qt::LeftButton, Qt::NoModifier); }

    QTemporaryDir directory;
    QMainWindow window;
    HostKit::HostBase host;
    EmberDocument *file = nullptr;
    QPoint held;
};

/// Where the sprite is, away from the boxes, and where the second box is.
const QPoint onSprite(30, -10);
const QPoint onBox(-5, -30);

/// A mouse move of a drag in 2,000 animations; "bare_us" is one in 2.
void mouseMove(benchmark::State &state, QPoint grip)
{
    Desk large(2000);
    Desk small(2);
    BesideBare::Comparison comparison(state);
    large.press(grip);
    small.press(grip);
    int step = 0;
    for (auto _ : state) {
        ++step;
        comparison.add([&] { large.move(step % 20); }, [&] { small.move(step % 20); });
    }
}
BENCHMARK_CAPTURE(mouseMove, sprite, onSprite)
    ->UseManualTime()
    ->Iterations(2000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(mouseMove, box, onBox)
    ->UseManualTime()
    ->Iterations(2000)
    ->Unit(benchmark::kMicrosecond);

/// The release of a drag; "bare_us" is the same edit of the line in the code view.
void releaseDrag(benchmark::State &state, QPoint grip)
{
    const bool isBox = grip == onBox;
    Desk desk(2000);
    BesideBare::Comparison comparison(state);
    int step = 0;
    for (auto _ : state) {
        desk.press(grip);
        desk.move(10 + step % 5);
        const int revision = desk.file->revision();
        const QTextBlock frame = desk.editor().currentFrame()->block();
        const QTextBlock line = isBox ? frame.previous() : frame;
        const QString said = isBox ? QStringLiteral("body: %1, -70, 14, 0").arg(-14 - step % 7)
                                   : QStringLiteral("at %1 0").arg(step % 7);
        const QString word = said.section(QLatin1Char(' '), 0, 0);
        comparison.add([&] { desk.release(); },
                       [&] {
                           const QString text = line.text();
                           const int from = text.indexOf(word);
                           const int to =
                               isBox ? text.size() : text.indexOf(QLatin1String(", for"));
                           QTextCursor cursor(line);
                           cursor.setPosition(line.position() + from);
                           cursor.setPosition(line.position() + to, QTextCursor::KeepAnchor);
                           cursor.insertText(said);
                       });
        if (desk.file->revision() < revision + 2)
            state.SkipWithError("the drag wrote nothing");
        ++step;
    }
}
BENCHMARK_CAPTURE(releaseDrag, sprite, onSprite)
    ->UseManualTime()
    ->Iterations(300)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(releaseDrag, box, onBox)
    ->UseManualTime()
    ->Iterations(300)
    ->Unit(benchmark::kMicrosecond);

/// Another animation in 2,000; "bare_us" is one in 2.
void selectAnimation(benchmark::State &state)
{
    Desk large(2000);
    Desk small(2);
    BesideBare::Comparison comparison(state);
    unsigned int step = 0;
    for (auto _ : state) {
        step += 7;
        comparison.add([&] { large.editor().setCurrent(step * 13 % 2000, step % frames); },
                       [&] { small.editor().setCurrent(step % 2, step % frames); });
    }
}
BENCHMARK(selectAnimation)->UseManualTime()->Iterations(1000)->Unit(benchmark::kMicrosecond);

/// A page of the strip, painted, in an animation of 10,000 ticks; "bare_us" is one of 40 ticks.
void turnPage(benchmark::State &state)
{
    const QString head = QStringLiteral("@animation long\n");
    const QString line = QStringLiteral("    frame: wren_jab_1, for 2\n");
    Desk large(head + line.repeated(5000));
    Desk small(head + line.repeated(20));
    BesideBare::Comparison comparison(state);
    unsigned int tick = 0;
    for (auto _ : state) {
        tick = (tick + 90) % 10000;
        comparison.add(
            [&] {
                large.strip().setCurrentTick(tick, false);
                large.strip().repaint();
            },
            [&] {
                small.strip().setCurrentTick(tick % 40, false);
                small.strip().repaint();
            });
    }
}
BENCHMARK(turnPage)->UseManualTime()->Iterations(400)->Unit(benchmark::kMicrosecond);

/// Draws a frame's picture, and nothing else.
class BareWidget : public QWidget
{
public:
    QVector<QImage> pictures;
    int tick = 0;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), Qt::lightGray);
        painter.drawImage(rect().center(), pictures.at(tick / 2 % pictures.size()));
    }
};

void run(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

/// 10 seconds of playback with text, tree and strip: the share of ticks that came more than 4 ms
/// late, the ticks that came, and the processor's time beside a bare widget's.
void playback(benchmark::State &state)
{
    constexpr int milliseconds = 10000;
    Desk desk(20);
    BareWidget bare;
    for (int i = 1; i <= 3; ++i) {
        Sprites *sprites = desk.editor().sprites();
        const int row = sprites->indexOf(0, QStringLiteral("wren_jab_%1").arg(i));
        bare.pictures.append(sprites->at(unsigned(row))
                                 ->image()
                                 .convertToFormat(QImage::Format_ARGB32_Premultiplied));
    }
    for (auto _ : state) {
        QElapsedTimer clock;
        int ticks = 0;
        int late = 0;
        const auto heard =
            QObject::connect(&desk.strip(), &TimeLineWidget::tickChanged, [&](unsigned int tick) {
                if (ticks == 0)
                    clock.start(); // what comes before is no playing
                // Behind the last tick the loop has gone on already.
                if (tick != desk.strip().currentTick())
                    return;
                if (double(clock.nsecsElapsed()) / 1e6 - ticks * 1000.0 / 60 > 4)
                    ++late;
                ++ticks;
            });
        const double own = BesideBare::seconds([&] {
            desk.host.actionByKey("anim_play")->trigger();
            run(milliseconds);
            desk.host.actionByKey("anim_stop")->trigger();
        });
        QObject::disconnect(heard);
        bare.resize(desk.view().widget()->size());
        bare.show();
        QTimer timer;
        timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer, &QTimer::timeout, [&] {
            ++bare.tick;
            bare.update();
        });
        const double plain = BesideBare::seconds([&] {
            timer.start(16);
            run(milliseconds);
        });
        state.SetIterationTime(own);
        state.counters["ticks"] = ticks;
        state.counters["late_share"] = double(late) / qMax(1, ticks);
        state.counters["bare_us"] = plain * 1e6;
        state.counters["ratio"] = own / plain;
    }
}
BENCHMARK(playback)->UseManualTime()->Iterations(1)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    return BesideBare::run(argc, argv);
}
