// The stores beside what one would write by hand: the plain table loop for the checksum, and zlib
// on a list of byte arrays for a container of ten thousand items.

#include <kilnx/cache/crc64.h>
#include <kilnx/cache/diskcache.h>
#include <kilnx/cache/packedcache.h>

#include <benchmark/benchmark.h>

#include <QtCore/QBuffer>
#include <QtCore/QFile>

#include <algorithm>
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

std::vector<uchar> randomBytes(size_t count)
{
    std::mt19937 random(1);
    std::vector<uchar> bytes(count);
    for (uchar &byte : bytes)
        byte = static_cast<uchar>(random());
    return bytes;
}

// Runs of pixels as sprites have them, each item different; zlib takes them to about a third.
const std::vector<QByteArray> &items()
{
    static const std::vector<QByteArray> all = [] {
        std::mt19937 random(2);
        std::vector<QByteArray> list(itemCount);
        for (QByteArray &item : list) {
            while (item.size() < itemSize)
                item.append(static_cast<int>(1 + random() % 12), static_cast<char>(random() % 64));
            item.truncate(itemSize);
        }
        return list;
    }();
    return all;
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

// Each container is filled, read once in random order, and written out in order.
void containerByZlib(benchmark::State &state)
{
    const std::vector<int> order = randomOrder(itemCount);
    items();
    for (auto _ : state) {
        const PeakMemory memory;
        std::vector<QByteArray> packed;
        std::vector<uchar> block(compressBound(itemSize));
        for (const QByteArray &item : items()) {
            uLongf size = block.size();
            compress2(block.data(), &size, reinterpret_cast<const Bytef *>(item.constData()),
                      itemSize, Z_DEFAULT_COMPRESSION);
            packed.emplace_back(reinterpret_cast<const char *>(block.data()),
                                static_cast<int>(size));
        }
        const auto unpack = [&](int index) {
            QByteArray data(itemSize, Qt::Uninitialized);
            uLongf size = itemSize;
            uncompress(reinterpret_cast<Bytef *>(data.data()), &size,
                       reinterpret_cast<const Bytef *>(packed[index].constData()),
                       static_cast<uLong>(packed[index].size()));
            return data;
        };
        for (const int index : order)
            benchmark::DoNotOptimize(unpack(index).size());
        QFile out(QStringLiteral("/dev/null"));
        out.open(QIODevice::WriteOnly);
        for (int index = 0; index < itemCount; ++index)
            out.write(unpack(index));
        state.counters["peak_MiB"] = memory.mebibytes();
    }
}
BENCHMARK(containerByZlib)->Unit(benchmark::kMillisecond);

template<class Cache>
void container(benchmark::State &state)
{
    const std::vector<int> order = randomOrder(itemCount);
    items();
    for (auto _ : state) {
        const PeakMemory memory;
        Cache cache;
        std::vector<StreamCache::Item *> stored;
        for (const QByteArray &item : items())
            stored.push_back(cache.addItem(item, 0, nullptr, 0));
        for (const int index : order)
            benchmark::DoNotOptimize(cache.itemData(stored[index]).size());
        QFile out(QStringLiteral("/dev/null"));
        out.open(QIODevice::WriteOnly);
        for (StreamCache::Item *item : stored)
            out.write(cache.itemRawData(item));
        state.counters["peak_MiB"] = memory.mebibytes();
    }
}
BENCHMARK_TEMPLATE(container, MemoryCache)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(container, DiskCache)->Unit(benchmark::kMillisecond);

std::unique_ptr<MemoryCache> smallItems(int count)
{
    auto cache = std::make_unique<MemoryCache>();
    for (int i = 0; i < count; ++i)
        cache->addItem(QByteArray::number(i), 9, nullptr, 0);
    return cache;
}

// What a caller does who adds an item only when there is no equal one: a search for each item.
void findEachItem(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const auto cache = smallItems(count);
    const std::vector<int> order = randomOrder(count);
    for (auto _ : state) {
        for (const int index : order)
            benchmark::DoNotOptimize(cache->find(QByteArray::number(index), nullptr));
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(findEachItem)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The plain method: a scan of the list, comparing the checksums.
void findEachItemByScan(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const auto cache = smallItems(count);
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
BENCHMARK(findEachItemByScan)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void removeEachItem(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const std::vector<int> order = randomOrder(count);
    for (auto _ : state) {
        state.PauseTiming();
        const auto cache = smallItems(count);
        const QList<StreamCache::Item *> list = cache->items();
        state.ResumeTiming();
        for (const int index : order)
            cache->removeItem(list[index]);
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(removeEachItem)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
