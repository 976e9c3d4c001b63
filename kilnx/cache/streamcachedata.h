#pragma once

#include <kilnx/cache/streamcache.h>

namespace Kiln
{

/// The counted handle on one item of a `StreamCache`, which every sprite and sound carries. An
/// engine derives its own record from it, with what its format keeps beside the bytes.
///
/// The handle stands for its item: when it is destroyed, the item is removed from the cache. The
/// cache must outlive its handles.
///
/// Copying copies the pointers and the count, and makes no second item: the copies share one item,
/// and destroying any of them removes it. After that the others must not be used any more; only
/// their own destruction is harmless, as long as nothing was added to the cache in between.
struct KILNX_EXPORT StreamCacheData {
    /// An empty handle. `cache` is not owned.
    explicit StreamCacheData(StreamCache *cache);
    /// A handle on a new item whose bytes are the name of a file in the local encoding: for a
    /// `FileCache`.
    StreamCacheData(StreamCache *cache, const QString &fileName);
    StreamCacheData(const StreamCacheData &) = default;
    StreamCacheData &operator=(const StreamCacheData &) = default;
    /// Removes the item from the cache.
    virtual ~StreamCacheData();

    /// A new handle of the same class in `cache`, with an item of its own that holds the same
    /// bytes. This is how an engine duplicates an item or takes it to another file.
    virtual StreamCacheData *copyTo(StreamCache *cache) const = 0;

    /// Counts one owner more; a new handle has one.
    void addRef();
    /// Counts one owner less, deletes the handle at zero, and returns the new count.
    unsigned int release();
    int refCount() const;

    /// Removes the item from the cache. The handle is empty then, and can be used again.
    void reset();

    StreamCache *cache() const;
    /// Whether there is no item, or one of no stored bytes.
    bool isEmpty() const;
    /// Replaces the item's bytes, or adds an item when there is none. `data` is in decoded form;
    /// `crc` is its checksum or 0.
    void fromData(const QByteArray &data,
                  unsigned char filter,
                  void *const param,
                  unsigned long long crc);
    /// The item's bytes in raw or in decoded form; empty without an item.
    QByteArray toData(bool raw) const;
    /// Whether the item decodes to `data`, whose checksum is `crc`. False without an item.
    bool isEqualToData(const QByteArray &data, unsigned long long crc) const;
    /// The checksum of the decoded bytes as far as it is known, otherwise 0.
    unsigned long long crc() const;
    /// The coder of the item's raw form; 0 without an item.
    unsigned char filter() const;
    /// The name of the item's file; empty unless the cache is a `FileCache`.
    QString fileName() const;

private:
    StreamCache *m_cache;
    StreamCache::Item *m_item = nullptr;
    int m_refCount = 1;
};

} // namespace Kiln
