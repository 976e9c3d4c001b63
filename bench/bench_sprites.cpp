// A sprite file of thousands of pictures: opening it beside reading its bytes, and walking through
// its pictures as a viewport does beside a file that keeps none of them decoded.

#include "besidebare.h"

#include <ember/embersprites.h>
#include <kilnx/project/archive.h>

#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>

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

} // namespace

BENCHMARK(open)->Arg(5000)->Arg(20000)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(walk)->Arg(500)->Arg(4000)->UseManualTime()->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    return BesideBare::run(argc, argv);
}
