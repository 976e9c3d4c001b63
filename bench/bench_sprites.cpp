// A sprite file of thousands of pictures: opening it beside reading its bytes, and walking through
// its pictures as a viewport does beside a file that keeps none of them decoded. And picture files
// that are added to one, read by two threads beside one.

#include "besidebare.h"

#include <ember/embersprites.h>
#include <hostkit/editordeck.h>
#include <hostkit/enginelibraries.h>
#include <hostkit/hostbase.h>
#include <hostkit/paths.h>
#include <kilnx/editors/spriteeditor.h>
#include <kilnx/project/archive.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThreadPool>
#include <QtCore/QTimer>
#include <QtWidgets/QAction>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMainWindow>

using namespace Kiln;
using BesideBare::Comparison;

namespace
{

constexpr double megabyte = 1 << 20;

struct Release {
    void operator()(EmberSprites *sprites) const { sprites->release(); }
};
using SpritesPointer = std::unique_ptr<EmberSprites, Release>;

/// Figures of a few colours on an empty ground: each has other pixels, so none is stored twice.
QImage figure(const QSize &size, QRandomGenerator &random)
{
    QImage image(size, QImage::Format_Indexed8);
    QVector<QRgb> colors(256);
    for (int i = 1; i < 256; ++i)
        colors[i] = qRgb(i, 255 - i, i * 7 % 256);
    image.setColorTable(colors);
    image.fill(0);
    for (int y = size.height() / 8; y < size.height() * 7 / 8; ++y) {
        uchar *line = image.scanLine(y);
        for (int x = size.width() / 4; x < size.width() * 3 / 4; x += 4)
            std::fill_n(line + x, 4, static_cast<uchar>(1 + random.bounded(31)));
    }
    return image;
}

/// A file of many sprites in a directory of its own.
struct File {
    File(int count, const QSize &size)
        : name(directory.filePath(QStringLiteral("many.gleam")))
    {
        QRandomGenerator random(1);
        const SpritesPointer sprites(new EmberSprites(StreamCache::Memory));
        sprites->beginChange();
        for (int i = 0; i < count; ++i)
            sprites->insert(unsigned(i), QString::number(i), figure(size, random));
        sprites->endChange();
        isWritten = sprites->toFile(archive, name, false);
    }
    SpritesPointer opened()
    {
        SpritesPointer sprites(new EmberSprites(StreamCache::Memory));
        isWritten &= sprites->fromFile(archive, name, false);
        return sprites;
    }

    QTemporaryDir directory;
    Archive &archive = FileSystemArchive::instance();
    QString name;
    bool isWritten = false;
};

void open(benchmark::State &state)
{
    File file(int(state.range(0)), {48, 64});
    Comparison comparison(state);
    int decodings = 0;
    for (auto step : state) {
        Q_UNUSED(step)
        SpritesPointer sprites;
        QByteArray bytes;
        comparison.add(
            [&] {
                sprites.reset(new EmberSprites(StreamCache::Memory));
                QObject::connect(sprites->cache(), &StreamCache::readFilter,
                                 [&decodings] { ++decodings; });
                file.isWritten &= sprites->fromFile(file.archive, file.name, false);
            },
            [&] {
                QFile bare(file.name);
                file.isWritten &= bare.open(QFile::ReadOnly);
                bytes = bare.readAll();
                benchmark::DoNotOptimize(bytes.data());
            });
        file.isWritten &= int(sprites->itemCount()) == state.range(0);
        state.counters["file_mb"] = bytes.size() / megabyte;
    }
    if (!file.isWritten || decodings)
        state.SkipWithError("not opened, or pictures were decoded");
}

/// Each picture is asked for twice, as two paints of a frame do; the other side keeps none.
void walk(benchmark::State &state)
{
    File file(int(state.range(0)), {256, 256});
    const SpritesPointer sprites = file.opened();
    int decodings = 0;
    QObject::connect(sprites->cache(), &StreamCache::readFilter, [&decodings] { ++decodings; });
    const auto each = [&](auto show) {
        for (unsigned int i = 0; i < sprites->itemCount(); ++i)
            show(*sprites->at(i));
    };
    const auto forget = [](EmberSprite &sprite) { sprite.resetTexture(); };
    const auto paint = [](EmberSprite &sprite) { benchmark::DoNotOptimize(sprite.image()); };
    Comparison comparison(state);
    for (auto step : state) {
        Q_UNUSED(step)
        each(forget);
        comparison.add(
            [&] {
                decodings = 0;
                each([&](EmberSprite &sprite) {
                    paint(sprite);
                    paint(sprite);
                });
                state.counters["decodings_per_picture"] = double(decodings) / state.range(0);
            },
            [&] {
                each([&](EmberSprite &sprite) {
                    for (int i = 0; i < 2; ++i) {
                        forget(sprite);
                        paint(sprite);
                    }
                });
            });
    }
    state.counters["pictures_mb"] = double(state.range(0)) * 256 * 256 / megabyte;
    if (!file.isWritten)
        state.SkipWithError("not opened");
}

/// What the user of a window waits for while files are added.
struct Waiting {
    double reading = 0;      ///< seconds until the last file is read
    double longestStall = 0; ///< seconds for which the window's events waited
};

/// Measures a Waiting by the clock on the wall, until the work is done.
class WaitingProgress : public Progress
{
public:
    explicit WaitingProgress(Waiting &waiting)
        : m_waiting(waiting)
    {
        m_clock.start();
        QObject::connect(&m_beat, &QTimer::timeout, [this] { turn(); });
        m_beat.start(2); // seldom enough to leave both cores to the reading
    }
    void setProgress(unsigned int value, unsigned int total, bool *) override
    {
        m_files = total > 0 ? total / 2 : m_files;
        if (value >= m_files && m_waiting.reading == 0)
            m_waiting.reading = seconds();
    }
    void finish() override
    {
        turn();
        delete this;
    }

private:
    double seconds() const { return double(m_clock.nsecsElapsed()) * 1e-9; }
    /// The window has had one.
    void turn()
    {
        m_waiting.longestStall = std::max(m_waiting.longestStall, seconds() - m_lastTurn);
        m_lastTurn = seconds();
    }

    Waiting &m_waiting;
    unsigned int m_files = 0;
    double m_lastTurn = 0;
    QElapsedTimer m_clock;
    QTimer m_beat;
};

/// A window with an editor of sprites, whose user chooses the same files each time.
class Desk : private QObject
{
public:
    Desk()
        : host(&window, HostKit::Paths::below(directory.path()), waiting)
    {
        host.setOption(QStringLiteral("native_painting"), true);
        host.makeCodeEditors();
        host.makeGraphicsEditors();
        QString fault;
        host.engines().load(QStringLiteral(ENGINE), &fault);
        editor = qobject_cast<SpriteEditor *>(host.deck().editor("sprites"));
        window.show();
        host.switchTo(editor);
        qApp->installEventFilter(this);
    }
    /// All that comes behind the reading is added to `inserting`.
    Waiting addFiles(int threads, double &inserting)
    {
        QThreadPool::globalInstance()->setMaxThreadCount(threads);
        const SpritesPointer sprites(new EmberSprites(StreamCache::Memory));
        editor->setCurrentFile(sprites.get());
        waiting = {};
        QElapsedTimer all;
        all.start();
        host.actionByKey("spr_add")->trigger();
        inserting += double(all.nsecsElapsed()) * 1e-9 - waiting.reading;
        isWhole &= int(sprites->itemCount()) == files.size();
        editor->setCurrentFile(nullptr);
        return waiting;
    }

    QStringList files;
    QTemporaryDir directory;
    bool isWhole = true;

private:
    struct Host : HostKit::HostBase {
        Host(QMainWindow *window, const HostKit::Paths &paths, Waiting &waiting)
            : HostBase(window, paths)
            , waiting(waiting)
        {
        }
        Progress *progress(const QString &, bool) override { return new WaitingProgress(waiting); }

        Waiting &waiting;
    };

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *dialog = qobject_cast<QDialog *>(watched);
        if (dialog && event->type() == QEvent::Show)
            QTimer::singleShot(0, dialog, [this, dialog] {
                if (auto *chooser = qobject_cast<QFileDialog *>(dialog)) {
                    // A line holds 32,767 characters: names alone, not paths. And the dialog would
                    // complete each of them.
                    chooser->setDirectory(directory.path());
                    auto *name = chooser->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
                    const QSignalBlocker quiet(name);
                    name->setText('"' + files.join(QLatin1String("\" \"")) + '"');
                }
                dialog->accept();
            });
        return false;
    }

    Waiting waiting;
    QMainWindow window;
    Host host;
    SpriteEditor *editor = nullptr;
};

/// The row's time is that of reading on two threads; "gain" is how many times as long one takes.
void addFiles(benchmark::State &state)
{
    Desk desk;
    QRandomGenerator random(1);
    for (int i = 0; i < state.range(0); ++i) {
        desk.files << QStringLiteral("%1.png").arg(i);
        desk.isWhole &= figure({400, 400}, random).save(desk.directory.filePath(desk.files.last()));
    }
    double one = 0;
    double two = 0;
    double inserting = 0;
    double longestStall = 0;
    for (auto step : state) {
        Q_UNUSED(step)
        one += desk.addFiles(1, inserting).reading;
        const Waiting waiting = desk.addFiles(2, inserting);
        two += waiting.reading;
        longestStall = std::max(longestStall, waiting.longestStall);
        state.SetIterationTime(waiting.reading);
    }
    state.counters["gain"] = one / two;
    state.counters["inserting_s"] = inserting / 2 / double(state.iterations());
    state.counters["longest_stall_ms"] = longestStall * 1e3;
    if (!desk.isWhole)
        state.SkipWithError("not all were added");
}

} // namespace

BENCHMARK(addFiles)->Arg(1000)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(open)->Arg(5000)->Arg(20000)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(walk)->Arg(500)->Arg(4000)->UseManualTime()->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    return BesideBare::run(argc, argv);
}
