#include <kilnx/cache/streamcachedata.h>

#include <kilnx/cache/filecache.h>

namespace Kiln
{

StreamCacheData::StreamCacheData(StreamCache *cache)
    : m_cache(cache)
{
}

StreamCacheData::StreamCacheData(StreamCache *cache, const QString &fileName)
    : m_cache(cache)
{
    constexpr unsigned char filterOfNames = 255;
    fromData(fileName.toLocal8Bit(), filterOfNames, nullptr, 0);
}

StreamCacheData::~StreamCacheData()
{
    reset();
}

void StreamCacheData::addRef()
{
    ++m_refCount;
}

unsigned int StreamCacheData::release()
{
    const int count = --m_refCount;
    if (count <= 0)
        delete this;
    return static_cast<unsigned int>(qMax(count, 0));
}

int StreamCacheData::refCount() const
{
    return m_refCount;
}

void StreamCacheData::reset()
{
    if (m_item)
        m_cache->removeItem(m_item);
    m_item = nullptr;
}

StreamCache *StreamCacheData::cache() const
{
    return m_cache;
}

bool StreamCacheData::isEmpty() const
{
    return !m_item || m_item->storedSize() == 0;
}

void StreamCacheData::fromData(const QByteArray &data,
                               unsigned char filter,
                               void *const param,
                               unsigned long long crc)
{
    if (!m_cache)
        return;
    if (m_item)
        m_cache->setItemData(m_item, data, filter, param, crc);
    else
        m_item = m_cache->addItem(data, filter, param, crc);
}

QByteArray StreamCacheData::toData(bool raw) const
{
    if (!m_item)
        return QByteArray();
    return raw ? m_cache->itemRawData(m_item) : m_cache->itemData(m_item);
}

bool StreamCacheData::isEqualToData(const QByteArray &data, unsigned long long crc) const
{
    return m_item && m_cache->isEqual(m_item, data, crc);
}

unsigned long long StreamCacheData::crc() const
{
    return m_item ? m_item->crc() : 0;
}

unsigned char StreamCacheData::filter() const
{
    return m_item ? m_item->filter : 0;
}

QString StreamCacheData::fileName() const
{
    const auto *files = dynamic_cast<const FileCache *>(m_cache);
    return files && m_item ? files->fileName(m_item) : QString();
}

} // namespace Kiln
