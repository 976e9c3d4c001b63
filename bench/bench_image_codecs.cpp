#include <tests/image/plain.h>

#include <kilnx/image/codecs.h>

#include <QBuffer>

#include <benchmark/benchmark.h>

#include <wand/MagickWand.h>
#include <zlib.h>

#include <memory>

using namespace Kiln;
using Plain::pixelsOf;

namespace
{

/// As many pixels as a large sprite has, in pictures of one size.
QVector<QImage> sprites(int side)
{
    std::mt19937 random(1);
    QVector<QImage> list;
    for (int pixels = 0; pixels < 4 * 512 * 512; pixels += side * side)
        list.append(Plain::sprite({side, side}, 32, random));
    return list;
}

qint64 countPixels(const QVector<QImage> &images)
{
    qint64 pixels = 0;
    for (const QImage &image : images)
        pixels += qint64(image.width()) * image.height();
    return pixels;
}

template<class Save>
void write(benchmark::State &state, Save &&save)
{
    const QVector<QImage> images = sprites(static_cast<int>(state.range(0)));
    qint64 size = 0;
    for (auto _ : state) {
        size = 0;
        for (const QImage &image : images)
            size += save(image);
    }
    state.SetBytesProcessed(state.iterations() * countPixels(images));
    state.counters["bytes"] = double(size);
}

void writeLz5(benchmark::State &state)
{
    write(state, [](const QImage &image) {
        QBuffer buffer;
        saveLZ5(image, &buffer, true);
        return buffer.data().size();
    });
}
void writeLz5Plainly(benchmark::State &state)
{
    write(state, [](const QImage &image) { return Plain::saveLz5(image, true).size(); });
}
void writeLz5Zlib(benchmark::State &state)
{
    write(state, [](const QImage &image) {
        const QByteArray pixels = pixelsOf(image);
        QByteArray out(int(compressBound(uLong(pixels.size()))), 0);
        uLongf size = uLongf(out.size());
        compress2(reinterpret_cast<Bytef *>(out.data()), &size,
                  reinterpret_cast<const Bytef *>(pixels.constData()), uLong(pixels.size()), 6);
        return int(size);
    });
}
BENCHMARK(writeLz5)->ArgName("side")->Arg(64)->Arg(512)->Unit(benchmark::kMillisecond);
BENCHMARK(writeLz5Plainly)->ArgName("side")->Arg(64)->Arg(512)->Unit(benchmark::kMillisecond);
BENCHMARK(writeLz5Zlib)->ArgName("side")->Arg(64)->Arg(512)->Unit(benchmark::kMillisecond);

/// Reads files that were written before; `load` takes a picture and a device.
template<class Save, class Load>
void read(benchmark::State &state, Save &&save, Load &&load)
{
    const QVector<QImage> images = sprites(512);
    std::vector<std::unique_ptr<QBuffer>> files;
    for (const QImage &image : images) {
        files.push_back(std::make_unique<QBuffer>());
        save(image, files.back().get());
        files.back()->close();
    }
    QImage target = images.constFirst().copy();
    for (auto _ : state) {
        for (const auto &file : files) {
            file->open(QIODevice::ReadOnly);
            if (!load(target, file.get()))
                state.SkipWithError("not read");
            file->close();
        }
    }
    state.SetBytesProcessed(state.iterations() * countPixels(images));
}

bool writeLz5To(const QImage &image, QIODevice *device)
{
    return saveLZ5(image, device, true);
}

void readLz5(benchmark::State &state)
{
    read(state, writeLz5To, loadLZ5);
}
void readLz5Plainly(benchmark::State &state)
{
    read(state, writeLz5To, Plain::loadLz5);
}
void readRle8(benchmark::State &state)
{
    read(state, saveRLE8, loadRLE8);
}
void readRle8Plainly(benchmark::State &state)
{
    read(state, saveRLE8, Plain::loadRle8);
}
void readPcx(benchmark::State &state)
{
    read(state, savePCX, loadPCX);
}
void readPcxPlainly(benchmark::State &state)
{
    read(state, savePCX, Plain::loadPcx);
}
void readPcxMagick(benchmark::State &state)
{
    read(state, savePCX, [](QImage &, QBuffer *file) {
        MagickWand *wand = NewMagickWand();
        MagickSetFormat(wand, "PCX");
        const bool isRead =
            MagickReadImageBlob(wand, file->data().constData(), size_t(file->size())) == MagickTrue;
        DestroyMagickWand(wand);
        return isRead;
    });
}
void readZlib(benchmark::State &state)
{
    read(
        state,
        [](const QImage &image, QBuffer *file) {
            const QByteArray pixels = pixelsOf(image);
            QByteArray out(int(compressBound(uLong(pixels.size()))), 0);
            uLongf size = uLongf(out.size());
            compress2(reinterpret_cast<Bytef *>(out.data()), &size,
                      reinterpret_cast<const Bytef *>(pixels.constData()), uLong(pixels.size()), 6);
            file->setData(out.left(int(size)));
        },
        [](QImage &image, QBuffer *file) {
            uLongf size = uLongf(image.sizeInBytes());
            return uncompress(image.bits(), &size,
                              reinterpret_cast<const Bytef *>(file->data().constData()),
                              uLong(file->size())) == Z_OK;
        });
}
BENCHMARK(readLz5)->Unit(benchmark::kMillisecond);
BENCHMARK(readLz5Plainly)->Unit(benchmark::kMillisecond);
BENCHMARK(readZlib)->Unit(benchmark::kMillisecond);
BENCHMARK(readRle8)->Unit(benchmark::kMillisecond);
BENCHMARK(readRle8Plainly)->Unit(benchmark::kMillisecond);
BENCHMARK(readPcx)->Unit(benchmark::kMillisecond);
BENCHMARK(readPcxPlainly)->Unit(benchmark::kMillisecond);
BENCHMARK(readPcxMagick)->Unit(benchmark::kMillisecond);

} // namespace
