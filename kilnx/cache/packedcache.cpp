#include <kilnx/cache/packedcache.h>

#include <kilnx/cache/crc64.h>

namespace Kiln
{

namespace
{

// The checksum that goes with plainly packed data; that of coded data waits until it is needed.
unsigned long long
crcToStore(const QByteArray &data, unsigned char filter, unsigned long long given)
{
    if (given != 0 || filter != 0)
        return given;
    return crc64(data.constData(), static_cast<unsigned int>(data.size()));
}

} // namespace

QByteArray PackedCache::pack(const QByteArray &data, unsigned char filter, void *param) const
{
    QByteArray packed;
    if (filter != 0)
        emit writeFilter(filter, param, data, packed);
    else if (!data.isEmpty())
        packed = qCompress(data, -1);
    return packed.isEmpty() ? data : packed;
}

QByteArray PackedCache::itemData(StreamCache::Item *item) const
{
    if (!item)
        return QByteArray();
    const QByteArray raw = rawData(static_cast<Item *>(item));
    QByteArray data;
    if (item->filter != 0)
        emit readFilter(item->filter, item->param, raw, data);
    else if (!raw.isEmpty())
        data = qUncompress(raw);
    return data.isEmpty() ? raw : data;
}

QByteArray PackedCache::itemRawData(StreamCache::Item *item) const
{
    if (!item)
        return QByteArray();
    const QByteArray raw = rawData(static_cast<Item *>(item));
    return item->filter == 0 && !raw.isEmpty() ? qUncompress(raw) : raw;
}

StreamCache::Item *PackedCache::addItem(const QByteArray &data,
                                        unsigned char filter,
                                        void *const param,
                                        unsigned long long crc)
{
    Item *item = add(pack(data, filter, param), filter, param, crcToStore(data, filter, crc));
    item->size = data.size();
    append(item);
    return item;
}

void PackedCache::setItemData(StreamCache::Item *item,
                              const QByteArray &data,
                              unsigned char filter,
                              void *const param,
                              unsigned long long crc)
{
    if (!item)
        return;
    const QByteArray packed = pack(data, filter, param);
    auto *packedItem = static_cast<Item *>(item);
    packedItem->size = data.size();
    set(packedItem, packed, filter, param, crcToStore(data, filter, crc));
}

StreamCache::Type MemoryCache::type() const
{
    return Memory;
}

QByteArray MemoryCache::rawData(PackedCache::Item *item) const
{
    return static_cast<Item *>(item)->data;
}

PackedCache::Item *MemoryCache::add(const QByteArray &data,
                                    unsigned char filter,
                                    void *const param,
                                    unsigned long long crc)
{
    auto *item = new Item(filter, param, crc);
    set(item, data, filter, param, crc);
    return item;
}

void MemoryCache::set(PackedCache::Item *item,
                      const QByteArray &data,
                      unsigned char filter,
                      void *const param,
                      unsigned long long crc)
{
    item->filter = filter;
    item->param = param;
    setCrc(item, crc);
    item->packedSize = data.size();
    QByteArray &stored = static_cast<Item *>(item)->data;
    stored = data;
    // Without room of its own the array only refers to bytes (QByteArray::fromRawData), which can
    // go before the store. Compression works in an array as large as its input, which the result
    // would keep.
    if (stored.capacity() < stored.size())
        stored.detach();
    else if (stored.capacity() - stored.size() > stored.size() / 8)
        stored.squeeze();
}

} // namespace Kiln
