// The code view beside QScintilla, KTextEditor and a bare QPlainTextEdit, all on the same text,
// each with its own highlighting and folding where it has any. A time runs until the change is
// painted. The time of a row is the code view's; `scintilla`, `kate` and `bare` are the others' in
// terms of it, so that 2 means twice as long. An editor is left out of a row where it has no such
// operation, where its turns take minutes, or where its canvas was not seen to be painted. Where
// the row tells memory, it is bytes on the heap.

#include "codeviews.h"

#include <QtCore/QProcess>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <malloc.h>

namespace
{

using Clock = std::chrono::steady_clock;
using Work = std::function<bool(CodeBenchView &)>;
using Text = std::function<QString(CodeViewKind)>;

const QString MemoryOption = QStringLiteral("--memory-of");
const char *const Names[] = {"kilnx", "bare", "scintilla", "kate"};
constexpr int Kinds = 4;
constexpr int TurnsOfKeys = 20;
constexpr int TurnsOfLongKeys = 5;

/// Code of sections with entries, in as many characters for each editor. The heads of the sections
/// are those of Ember in the code view, and those of an INI file, which fold there, in the others.
QString code(CodeViewKind kind, int lines)
{
    const QString head =
        kind == KilnView ? QStringLiteral("@state number %1") : QStringLiteral("[state count %1]");
    QStringList text;
    for (int line = 0; line < lines; ++line) {
        if (line % 10 == 0)
            text << head.arg(line);
        else
            text << QStringLiteral("    cel: wren_%1 ; what it is").arg(line);
    }
    text << QStringLiteral("    aim: the last line of all");
    QString joined = text.join(QLatin1Char('\n'));
    return joined;
}

/// Hears when a canvas has been asked to paint.
class PaintWatch : public QObject
{
public:
    explicit PaintWatch(QWidget *canvas) { canvas->installEventFilter(this); }
    bool painted = false;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        painted = painted || event->type() == QEvent::Paint;
        return false;
    }
};

/// Runs until the change is painted and nothing else is waiting. What changes nothing that can be
/// seen is given up after a while.
void paint(PaintWatch *watch = nullptr)
{
    constexpr std::chrono::milliseconds patience(200);
    const auto begin = Clock::now();
    do {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    } while (watch && !watch->painted && Clock::now() - begin < patience);
}

double timed(CodeBenchView &view, const Work &work, bool *did)
{
    PaintWatch watch(view.canvas());
    const auto begin = Clock::now();
    *did = work(view);
    paint(&watch);
    *did = *did && watch.painted;
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

void show(CodeBenchView &view)
{
    view.widget()->resize(900, 700);
    view.widget()->show();
    QApplication::setActiveWindow(view.widget());
    if (!QTest::qWaitForWindowExposed(view.widget()))
        qFatal("the window does not appear");
    view.input()->setFocus();
    paint();
}

const Work nothing = [](CodeBenchView &) { return true; };

/// Runs `prepare` and then `work` in each editor, `turns` times, and reports the medians. What
/// `work` says to have done must hold up to `check`.
void compare(benchmark::State &state,
             const Text &text,
             int turns,
             const Work &prepare,
             const Work &work,
             const Work &check = nothing)
{
    double median[Kinds] = {};
    for (auto _ : state) {
        for (int kind = 0; kind < Kinds; ++kind) {
            const auto view = makeView(CodeViewKind(kind));
            show(*view);
            view->load(text(CodeViewKind(kind)));
            paint();
            std::vector<double> times;
            bool did = true;
            for (int turn = 0; turn < turns && did; ++turn) {
                prepare(*view);
                paint();
                times.push_back(timed(*view, work, &did));
                if (did && !check(*view))
                    qFatal("%s has not done it", Names[kind]);
            }
            std::sort(times.begin(), times.end());
            median[kind] = did ? times[times.size() / 2] : 0;
        }
        state.SetIterationTime(median[KilnView]);
    }
    for (int kind = BareView; kind < Kinds; ++kind) {
        if (median[kind] > 0)
            state.counters[Names[kind]] = median[kind] / median[KilnView];
    }
}

Text codeOf(const benchmark::State &state)
{
    const int lines = int(state.range(0));
    return [=](CodeViewKind kind) { return code(kind, lines); };
}

void loadAndPaint(benchmark::State &state)
{
    QString text;
    compare(
        state,
        [&](CodeViewKind kind) {
            text = codeOf(state)(kind);
            return text;
        },
        3,
        [](CodeBenchView &view) {
            view.load(QString());
            return true;
        },
        [&](CodeBenchView &view) {
            view.load(text);
            return true;
        });
}

void keystroke(benchmark::State &state, bool middle)
{
    const int lines = int(state.range(0));
    compare(
        state, codeOf(state), TurnsOfKeys,
        [=](CodeBenchView &view) {
            view.goTo(middle ? lines / 2 + 3 : 3);
            return true;
        },
        [](CodeBenchView &view) {
            QTest::keyClick(view.input(), Qt::Key_X);
            return true;
        });
}

void keystrokeAtStart(benchmark::State &state)
{
    keystroke(state, false);
}

void keystrokeInTheMiddle(benchmark::State &state)
{
    keystroke(state, true);
}

void returnInAWindow(benchmark::State &state)
{
    const int lines = int(state.range(0));
    compare(
        state, codeOf(state), TurnsOfKeys,
        [=](CodeBenchView &view) {
            view.standInAWindow();
            view.goTo(lines / 2 + 3);
            return true;
        },
        [](CodeBenchView &view) {
            QTest::keyClick(view.input(), Qt::Key_Return);
            return true;
        });
}

void pageDown(benchmark::State &state)
{
    compare(state, codeOf(state), TurnsOfKeys, nothing,
            [](CodeBenchView &view) { return view.pageDown(); });
}

/// Whether more lines of the text are between the edges of the screen than it has room for.
bool isFolded(CodeBenchView &view)
{
    constexpr int mostOnScreen = 100;
    view.goTo(0);
    paint();
    return view.lastLineOnScreen() > mostOnScreen;
}

void foldAll(benchmark::State &state)
{
    compare(
        state, codeOf(state), 3, [](CodeBenchView &view) { return view.unfoldAll(); },
        [](CodeBenchView &view) { return view.foldAll(); }, isFolded);
}

void unfoldAll(benchmark::State &state)
{
    compare(
        state, codeOf(state), 3,
        [](CodeBenchView &view) {
            if (view.foldAll() && !isFolded(view))
                qFatal("nothing to unfold");
            return true;
        },
        [](CodeBenchView &view) { return view.unfoldAll(); },
        [](CodeBenchView &view) { return !isFolded(view); });
}

void findLastLine(benchmark::State &state)
{
    compare(
        state, codeOf(state), 5,
        [](CodeBenchView &view) {
            view.goTo(0);
            return true;
        },
        [](CodeBenchView &view) { return view.find(QStringLiteral("last line of all")); });
}

/// What a view takes for a text, in bytes of the heap, at once or after it has shown every line.
double bytesOfText(CodeViewKind kind, int lines, bool paged)
{
    constexpr int leastOnScreen = 30;
    const auto view = makeView(kind);
    show(*view);
    const QString text = code(kind, lines);
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    view->load(text);
    paint();
    for (int line = 0; paged && line < lines; line += leastOnScreen) {
        view->pageDown();
        paint();
    }
    return double(mallinfo2().uordblks + mallinfo2().hblkhd - before);
}

/// Each view in a process of its own: what one leaves in pools another would find there.
void compareMemory(benchmark::State &state, bool paged)
{
    double bytes[Kinds] = {};
    for (auto _ : state) {
        for (int kind = 0; kind < Kinds; ++kind) {
            QProcess program;
            program.start(QCoreApplication::applicationFilePath(),
                          {MemoryOption, QString::number(kind), QString::number(state.range(0)),
                           QString::number(paged)});
            program.waitForFinished(-1);
            bytes[kind] = program.readAllStandardOutput().trimmed().toDouble();
        }
        state.SetIterationTime(1e-9);
    }
    state.counters["bytes"] = bytes[KilnView];
    for (int kind = BareView; kind < Kinds; ++kind)
        state.counters[Names[kind]] = bytes[kind] / bytes[KilnView];
}

void memory(benchmark::State &state)
{
    compareMemory(state, false);
}

void memoryAfterPaging(benchmark::State &state)
{
    compareMemory(state, true);
}

void keystrokeInALongLine(benchmark::State &state)
{
    compare(
        state,
        [&](CodeViewKind kind) {
            QString text = code(kind, 1) + QStringLiteral("\n    cel: ");
            while (text.size() < state.range(0))
                text += QStringLiteral("wren_17 ");
            return text;
        },
        TurnsOfLongKeys,
        [](CodeBenchView &view) {
            view.goTo(2);
            return true;
        },
        [](CodeBenchView &view) {
            QTest::keyClick(view.input(), Qt::Key_X);
            return true;
        });
}

#define CODE_SIZES                                                                                 \
    ->Arg(1000)->Arg(10000)->Arg(100000)->Iterations(1)->UseManualTime()->Unit(                    \
        benchmark::kMillisecond)
BENCHMARK(loadAndPaint) CODE_SIZES;
BENCHMARK(keystrokeAtStart) CODE_SIZES;
BENCHMARK(keystrokeInTheMiddle) CODE_SIZES;
BENCHMARK(returnInAWindow)
    ->Arg(1000)
    ->Arg(66500)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(pageDown) CODE_SIZES;
BENCHMARK(foldAll) CODE_SIZES;
BENCHMARK(unfoldAll) CODE_SIZES;
BENCHMARK(findLastLine) CODE_SIZES;
BENCHMARK(memory) CODE_SIZES;
BENCHMARK(memoryAfterPaging) CODE_SIZES;
BENCHMARK(keystrokeInALongLine)
    ->Arg(1000000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == MemoryOption) {
        const auto kind = CodeViewKind(arguments.value(2).toInt());
        std::printf("%.0f\n",
                    bytesOfText(kind, arguments.value(3).toInt(), arguments.value(4).toInt()));
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
