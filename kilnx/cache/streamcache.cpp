#include <kilnx/cache/streamcache.h>

#include <kilnx/cache/crc64.h>
#include <kilnx/cache/diskcache.h>
#include <kilnx/cache/filecache.h>
#include <kilnx/cache/packedcache.h>
#include <kilnx/project/interface.h>

namespace Kiln
{

namespace
{

unsigned long long checksum(const QByteArray &data)
{
    return crc64(data.constData(), static_cast<unsigned int>(data.size()));
}

bool sameBytes(const QByteArray &first, const QByteArray &second)
{
    return !first.isEmpty() && first == second;
}

StreamCache *defaultInstance()
{
    const Interface *host = Interface::instance();
    const int wanted = host ? host->option(QStringLiteral("cache_type"), QVariant()).toInt()
                            : StreamCache::Default;
    return StreamCache::instance(wanted > StreamCache::Memory ? StreamCache::Disk
                                                              : StreamCache::Memory);
}

} // namespace

StreamCache::Item::~Item() = default;

StreamCache::StreamCache() = default;

StreamCache::~StreamCache()
{
    clear();
}

StreamCache *StreamCache::instance(Type type)
{
    switch (type) {
    case Default:
        return defaultInstance();
    case Memory:
        return new MemoryCache;
    case Disk:
        return new DiskCache;
    case File:
        return new FileCache;
    }
    return nullptr;
}

void StreamCache::release()
{
    delete this;
}

QList<StreamCache::Item *> StreamCache::items() const
{
    QList<Item *> list;
    list.reserve(static_cast<int>(m_items.size()));
    for (const auto &entry : m_items)
        list.append(entry.second);
    return list;
}

void StreamCache::clear()
{
    while (!m_items.empty())
        removeItem(m_items.rbegin()->second);
}

void StreamCache::removeItem(Item *item)
{
    const quint64 serial = m_serials.take(item);
    if (serial == 0)
        return;
    m_byCrc.erase(Key(item->m_crc, serial));
    m_items.erase(serial);
    delete item;
}

// The items whose checksum is that of `data` are looked at first. An item of unknown checksum can
// only win when it stands before the match found so far.
StreamCache::Item *StreamCache::find(const QByteArray &data, Item *exclude) const
{
    if (data.isEmpty())
        return nullptr;
    const unsigned long long crc = checksum(data);
    quint64 matchSerial = 0;
    Item *match = firstOfCrc(crc, data, exclude, matchSerial);
    quint64 serial = 0;
    while (Item *item = nextOfCrc(0, serial)) {
        if (match && serial > matchSerial)
            break;
        if (item == exclude)
            continue;
        QByteArray decoded;
        if (knownCrc(item, decoded) == crc && sameBytes(decoded, data))
            return item;
    }
    return match;
}

bool StreamCache::isEqual(Item *first, Item *second) const
{
    if (!first || !second)
        return false;
    QByteArray firstData;
    QByteArray secondData;
    const bool bothKnown = first->m_crc != 0 && second->m_crc != 0;
    if (knownCrc(first, firstData) != knownCrc(second, secondData))
        return false;
    if (bothKnown && first->filter == second->filter)
        return sameBytes(itemRawData(first), itemRawData(second));
    if (firstData.isEmpty())
        firstData = itemData(first);
    if (secondData.isEmpty() && !firstData.isEmpty())
        secondData = itemData(second);
    return sameBytes(firstData, secondData);
}

bool StreamCache::isEqual(Item *item, const QByteArray &data, unsigned long long crc) const
{
    if (!item || data.isEmpty())
        return false;
    QByteArray decoded;
    if (knownCrc(item, decoded) != crc)
        return false;
    return sameBytes(decoded.isEmpty() ? itemData(item) : decoded, data);
}

void StreamCache::append(Item *item)
{
    const quint64 serial = ++m_lastSerial;
    m_items.emplace_hint(m_items.end(), serial, item);
    m_serials.insert(item, serial);
    m_byCrc.emplace(Key(item->m_crc, serial), item);
}

bool StreamCache::contains(const Item *item) const
{
    return m_serials.contains(item);
}

QList<StreamCache::Item *> StreamCache::itemsBehind(const Item *item) const
{
    QList<Item *> list;
    if (!contains(item))
        return list;
    const auto behind = m_items.upper_bound(m_serials.value(item));
    for (auto entry = behind; entry != m_items.end(); ++entry)
        list.append(entry->second);
    return list;
}

void StreamCache::setCrc(Item *item, unsigned long long crc) const
{
    if (const quint64 serial = m_serials.value(item)) {
        m_byCrc.erase(Key(item->m_crc, serial));
        m_byCrc.emplace(Key(crc, serial), item);
    }
    item->m_crc = crc;
}

// The checksum of an item, computed now when it was not known. In that case `decoded` takes the
// bytes, which would otherwise be decoded a second time.
unsigned long long StreamCache::knownCrc(Item *item, QByteArray &decoded) const
{
    if (item->m_crc == 0) {
        decoded = itemData(item);
        setCrc(item, checksum(decoded));
    }
    return item->m_crc;
}

// The first item with that checksum whose place is behind `serial`, which takes its place; or null.
StreamCache::Item *StreamCache::nextOfCrc(unsigned long long crc, quint64 &serial) const
{
    const auto next = m_byCrc.upper_bound(Key(crc, serial));
    if (next == m_byCrc.end() || next->first.first != crc)
        return nullptr;
    serial = next->first.second;
    return next->second;
}

// The first item with that known checksum and those bytes, and its place; or null.
StreamCache::Item *StreamCache::firstOfCrc(unsigned long long crc,
                                           const QByteArray &data,
                                           const Item *exclude,
                                           quint64 &serial) const
{
    while (Item *item = nextOfCrc(crc, serial)) {
        if (item != exclude && sameBytes(itemData(item), data))
            return item;
    }
    return nullptr;
}

} // namespace Kiln
