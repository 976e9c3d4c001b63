// The stores beside what one would write by hand: the plain table loop for the checksum, and zlib
// on a list of byte arrays for a sound file of ten thousand sounds.

#include <ember/emberpeal.h>
#include <ember/embersounds.h>
#include <kilnx/cache/crc64.h>
#include <kilnx/cache/crc64_p.h>
#include <kilnx/cache/diskcache.h>
#include <kilnx/cache/packedcache.h>
#include <kilnx/project/archive.h>

#include <benchmark/benchmark.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include <malloc.h>
#include <zlib.h>

using namespace Kiln;

namespace
{

constexpr int itemCount = 10000;
constexpr int itemSize = 8 * 1024;

const QLatin1String childOption("--child");

std::vector<uchar> randomBytes(size_t count)
{
    std::mt19937 random(1);
    std::vector<uchar> bytes(count);
    for (uchar &byte : bytes)
        byte = static_cast<uchar>(random());
    return bytes;
}

// Tones with some noise, each sound another; the packed file is about half as large.
SoundSample makeSound(unsigned int number)
{
    SoundSample sound;
    sound.channels = 1;
    sound.bits = 16;
    sound.sampleRate = 22050;
    sound.samples = itemSize / 2;
    sound.data.resize(itemSize);
    std::mt19937 random(number);
    const double step = 0.01 + random() % 100 / 1000.0;
    for (int frame = 0; frame < itemSize / 2; ++frame) {
        const double value = 9000 * std::sin(frame * step) + random() % 64;
        qToLittleEndian(static_cast<qint16>(value), sound.data.data() + 2 * frame);
    }
    return sound;
}

struct Release {
    void operator()(ProjectFile *file) const { file->release(); }
};
using SoundsPointer = std::unique_ptr<EmberSounds, Release>;

SoundsPointer makeSounds(int count, StreamCache::Type store)
{
    SoundsPointer sounds(new EmberSounds(store));
    for (int i = 0; i < count; ++i)
        sounds->insert(sounds->itemCount(), i, makeSound(static_cast<unsigned int>(i)));
    return sounds;
}

std::vector<int> randomOrder(int count)
{
    std::vector<int> order(static_cast<size_t>(count));
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(3));
    return order;
}

double statusMebibytes(const char *key)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray status = file.readAll();
    const int start = status.indexOf(key);
    return start < 0
               ? 0
               : status.mid(start + int(qstrlen(key)), 20).trimmed().split(' ')[0].toDouble() /
                     1024;
}

// The growth of the resident memory between two points, at its peak.
class PeakMemory
{
public:
    PeakMemory()
    {
        malloc_trim(0);
        QFile reset(QStringLiteral("/proc/self/clear_refs"));
        if (reset.open(QIODevice::WriteOnly))
            reset.write("5");
        m_before = statusMebibytes("VmRSS:");
    }
    double mebibytes() const { return statusMebibytes("VmHWM:") - m_before; }

private:
    double m_before;
};

// The plain method: one table, one byte at a time.
void crcByTableLoop(benchmark::State &state)
{
    static quint64 table[256];
    for (quint64 i = 0; i < 256; ++i) {
        table[i] = i;
        for (int bit = 0; bit < 8; ++bit)
            table[i] = (table[i] & 1) ? (table[i] >> 1) ^ 0x95AC9329AC4BC9B5 : table[i] >> 1;
    }
    const std::vector<uchar> bytes = randomBytes(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        quint64 crc = ~quint64(0);
        for (const uchar byte : bytes)
            crc = table[(byte ^ crc) & 0xFF] ^ (crc >> 8);
        benchmark::DoNotOptimize(crc);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(crcByTableLoop)->Arg(16)->Arg(1024)->Arg(1 << 20);

void crcByKilnx(benchmark::State &state)
{
    const std::vector<uchar> bytes = randomBytes(static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(crc64(bytes.data(), static_cast<unsigned int>(bytes.size())));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(crcByKilnx)->Arg(16)->Arg(1024)->Arg(1 << 20);

// What is left where the processor has no carry-less multiplication.
void crcByTables(benchmark::State &state)
{
    const std::vector<uchar> bytes = randomBytes(static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(
            crc64ByTables(bytes.data(), static_cast<unsigned int>(bytes.size())));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(crcByTables)->Arg(1 << 20);

// Milliseconds of the processor since the last call. What waits for other programs does not count.
class Stopwatch
{
public:
    double lap()
    {
        const clock_t before = m_start;
        m_start = clock();
        return 1000.0 * double(m_start - before) / CLOCKS_PER_SEC;
    }

private:
    clock_t m_start = clock();
};

// The times of the three steps in milliseconds, and the peak of the memory in MiB.
struct Figures {
    double open = 0;
    double read = 0;
    double save = 0;
    double peak = 0;
};

// Opens a sound file, reads each sound once in random order, and saves it again.
Figures useSounds(StreamCache::Type store, const QString &from, const QString &to)
{
    const std::vector<int> order = randomOrder(itemCount);
    Figures figures;
    const PeakMemory memory;
    Stopwatch watch;
    const SoundsPointer sounds(new EmberSounds(store));
    sounds->fromFile(FileSystemArchive::instance(), from, false);
    figures.open = watch.lap();
    for (const int index : order)
        benchmark::DoNotOptimize(sounds->itemAt(static_cast<unsigned int>(index))->sample().data);
    figures.read = watch.lap();
    sounds->toFile(FileSystemArchive::instance(), to, false);
    figures.save = watch.lap();
    figures.peak = memory.mebibytes();
    return figures;
}

// The same by hand: the blocks of the same file in a list, and zlib. It finds the blocks as the
// file's own reader does, and leaves out what comes after zlib: the sum of the differences.
Figures useZlib(const QString &from, const QString &to)
{
    const std::vector<int> order = randomOrder(itemCount);
    Figures figures;
    const PeakMemory memory;
    Stopwatch watch;
    QFile in(from);
    in.open(QIODevice::ReadOnly);
    QVector<EmberPeal::Entry> entries;
    EmberPack::readIndex(&in, EmberPeal::magic, entries);
    std::vector<QByteArray> blocks;
    for (const EmberPeal::Entry &entry : qAsConst(entries)) {
        in.seek(entry.offset);
        blocks.push_back(in.read(entry.size));
    }
    figures.open = watch.lap();
    constexpr int announcementSize = 4;
    for (const int index : order) {
        const QByteArray &block = blocks[static_cast<size_t>(index)];
        QByteArray data(itemSize, Qt::Uninitialized);
        uLongf size = itemSize;
        uncompress(reinterpret_cast<Bytef *>(data.data()), &size,
                   reinterpret_cast<const Bytef *>(block.constData()) + announcementSize,
                   static_cast<uLong>(block.size() - announcementSize));
        benchmark::DoNotOptimize(data);
    }
    figures.read = watch.lap();
    QFile out(to);
    out.open(QIODevice::WriteOnly);
    out.write(EmberPack::head(EmberPeal::magic, entries.size()));
    for (const QByteArray &block : blocks)
        out.write(block);
    out.write(EmberPack::index(entries, static_cast<quint32>(out.pos())));
    out.close();
    figures.save = watch.lap();
    figures.peak = memory.mebibytes();
    return figures;
}

// What a child process does: `store` is that of a `StreamCache::Type`, or "zlib".
int runChild(const QString &store, const QString &from, const QString &to)
{
    const Figures figures = store == QLatin1String("zlib")
                                ? useZlib(from, to)
                                : useSounds(StreamCache::Type(store.toInt()), from, to);
    printf("%f %f %f %f\n", figures.open, figures.read, figures.save, figures.peak);
    return 0;
}

QByteArray contents(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Each container has a process of its own, so that its peak is its own.
void container(benchmark::State &state, const char *store)
{
    static const QTemporaryDir directory;
    const QString from = directory.filePath(QStringLiteral("container.peal"));
    const QString to = directory.filePath(QStringLiteral("again.peal"));
    if (!QFile::exists(from))
        makeSounds(itemCount, StreamCache::Memory)
            ->toFile(FileSystemArchive::instance(), from, false);
    Figures sum;
    for (auto _ : state) {
        QFile::remove(to); // a file that is replaced waits for the disk
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(),
                    {childOption, QString::fromLatin1(store), from, to});
        child.waitForFinished(-1);
        const QList<QByteArray> answer = child.readAllStandardOutput().trimmed().split(' ');
        if (answer.size() != 4 || contents(to) != contents(from)) {
            state.SkipWithError("the file did not come back as it was");
            return;
        }
        const double open = answer[0].toDouble();
        const double read = answer[1].toDouble();
        const double save = answer[2].toDouble();
        sum = {sum.open + open, sum.read + read, sum.save + save, sum.peak + answer[3].toDouble()};
        state.SetIterationTime((open + read + save) / 1000);
    }
    using benchmark::Counter;
    state.counters["open_ms"] = Counter(sum.open, Counter::kAvgIterations);
    state.counters["read_ms"] = Counter(sum.read, Counter::kAvgIterations);
    state.counters["save_ms"] = Counter(sum.save, Counter::kAvgIterations);
    state.counters["peak_MiB"] = Counter(sum.peak, Counter::kAvgIterations);
}

void ownProcess(benchmark::internal::Benchmark *benchmark)
{
    benchmark->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
}
BENCHMARK_CAPTURE(container, zlib, "zlib")->Apply(ownProcess);
BENCHMARK_CAPTURE(container, MemoryCache, "1")->Apply(ownProcess);
BENCHMARK_CAPTURE(container, DiskCache, "2")->Apply(ownProcess);

template<class Cache>
std::unique_ptr<Cache> smallItems(int count)
{
    auto cache = std::make_unique<Cache>();
    for (int i = 0; i < count; ++i)
        cache->addItem(QByteArray::number(i), 9, nullptr, 0);
    return cache;
}

// Steps of four, to see how the time grows.
void sizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(2500)->Arg(10000)->Arg(40000)->Unit(benchmark::kMillisecond);
}

// What a caller does who adds an item only when there is no equal one: a search for each item.
template<class Cache>
void findEachItem(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const auto cache = smallItems<Cache>(count);
    const std::vector<int> order = randomOrder(count);
    for (auto _ : state) {
        for (const int index : order)
            benchmark::DoNotOptimize(cache->find(QByteArray::number(index), nullptr));
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK_TEMPLATE(findEachItem, MemoryCache)->Apply(sizes);
BENCHMARK_TEMPLATE(findEachItem, DiskCache)->Apply(sizes);

// The plain method: a scan of the list, comparing the checksums.
void findEachItemByScan(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const auto cache = smallItems<MemoryCache>(count);
    cache->find("none", nullptr); // the checksums are known from now on
    const std::vector<int> order = randomOrder(count);
    const QList<StreamCache::Item *> list = cache->items();
    for (auto _ : state) {
        for (const int index : order) {
            const QByteArray data = QByteArray::number(index);
            const auto crc = crc64(data.constData(), static_cast<unsigned int>(data.size()));
            const auto found = std::find_if(list.begin(), list.end(), [&](StreamCache::Item *item) {
                return item->crc() == crc && cache->itemData(item) == data;
            });
            benchmark::DoNotOptimize(found);
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(findEachItemByScan)->Arg(2500)->Arg(10000)->Unit(benchmark::kMillisecond);

template<class Cache>
void removeEachItem(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const std::vector<int> order = randomOrder(count);
    for (auto _ : state) {
        state.PauseTiming();
        const auto cache = smallItems<Cache>(count);
        const QList<StreamCache::Item *> list = cache->items();
        state.ResumeTiming();
        for (const int index : order)
            cache->removeItem(list[index]);
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK_TEMPLATE(removeEachItem, MemoryCache)->Apply(sizes);
BENCHMARK_TEMPLATE(removeEachItem, DiskCache)->Apply(sizes);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == childOption)
        return runChild(arguments.value(2), arguments.value(3), arguments.value(4));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
