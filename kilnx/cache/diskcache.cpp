#include <kilnx/cache/diskcache.h>

#include <QtCore/QTemporaryFile>

#include <new>

namespace Kiln
{

class DiskCache::DiskItem : public PackedCache::Item
{
public:
    using PackedCache::Item::Item;
    // The place in the file; -1 until the first write.
    long long offset = -1;
};

// The temporary file. It has no buffer of its own, so that a full disk shows in the write that met
// it. Parts of it are moved through one block of memory, which is not initialised: the system gives
// its pages when they are first written.
class DiskCache::StoreFile : private QTemporaryFile
{
public:
    explicit StoreFile(int blockSize)
        : m_blockSize(qMax(blockSize, 1))
        , m_block(new (std::nothrow) char[static_cast<size_t>(m_blockSize)])
    {
        open(ReadWrite | Unbuffered);
    }

    using QTemporaryFile::size;

    // Empty when not all of it can be read.
    QByteArray readAt(long long offset, int count)
    {
        if (!isOpen() || !seek(offset))
            return QByteArray();
        const QByteArray data = read(count);
        return data.size() == count ? data : QByteArray();
    }

    bool writeAt(long long offset, const QByteArray &data)
    {
        return isOpen() && seek(offset) && write(data) == data.size();
    }

    // Moves all from `from` to the end of the file by `delta` bytes. Where the file must grow and
    // cannot, nothing has moved.
    bool moveTail(long long from, long long delta)
    {
        const long long end = size();
        if (!isOpen() || !m_block || (delta > 0 && !extend(end, delta)))
            return false;
        for (long long done = 0; done < end - from;) {
            const long long count = qMin<long long>(m_blockSize, end - from - done);
            const long long start = delta < 0 ? from + done : end - done - count;
            if (!moveBlock(start, start + delta, count))
                return false;
            done += count;
        }
        return true;
    }

private:
    bool moveBlock(long long from, long long to, long long count)
    {
        return seek(from) && read(m_block.get(), count) == count && seek(to) &&
               write(m_block.get(), count) == count;
    }

    // Writes the new bytes rather than only setting the size, which would promise room that the
    // disk may not have.
    bool extend(long long end, long long count)
    {
        const QByteArray zeros(static_cast<int>(qMin<long long>(count, m_blockSize)), '\0');
        bool done = seek(end);
        while (done && count > 0) {
            const long long step = qMin<long long>(count, zeros.size());
            done = write(zeros.constData(), step) == step;
            count -= step;
        }
        if (!done)
            resize(end);
        return done;
    }

    const int m_blockSize;
    const std::unique_ptr<char[]> m_block;
};

DiskCache::DiskCache(int blockSize)
    : m_file(std::make_unique<StoreFile>(blockSize))
{
}

DiskCache::~DiskCache() = default;

StreamCache::Type DiskCache::type() const
{
    return Disk;
}

QByteArray DiskCache::rawData(Item *item) const
{
    return m_file->readAt(static_cast<DiskItem *>(item)->offset, item->packedSize);
}

PackedCache::Item *DiskCache::add(const QByteArray &data,
                                  unsigned char filter,
                                  void *const param,
                                  unsigned long long crc)
{
    auto *item = new DiskItem(filter, param, crc);
    set(item, data, filter, param, crc);
    return item;
}

void DiskCache::set(Item *item,
                    const QByteArray &data,
                    unsigned char filter,
                    void *const param,
                    unsigned long long crc)
{
    auto *diskItem = static_cast<DiskItem *>(item);
    const bool fits = moveBehind(*diskItem, static_cast<long long>(data.size()) - item->packedSize);
    item->filter = filter;
    item->param = param;
    setCrc(item, crc);
    if (diskItem->offset < 0)
        diskItem->offset = m_file->size();
    const bool written = fits && m_file->writeAt(diskItem->offset, data);
    item->packedSize = written ? data.size() : 0;
}

// The file keeps the items in the order of the list, so a new size moves all that lies behind the
// item. An item that is not yet in the list, or is its last, has nothing behind it.
bool DiskCache::moveBehind(const DiskItem &item, long long delta)
{
    if (delta == 0)
        return true;
    const QList<StreamCache::Item *> behind = itemsBehind(&item);
    if (behind.isEmpty())
        return true;
    if (!m_file->moveTail(item.offset + item.packedSize, delta))
        return false;
    for (StreamCache::Item *next : behind)
        static_cast<DiskItem *>(next)->offset += delta;
    return true;
}

} // namespace Kiln
