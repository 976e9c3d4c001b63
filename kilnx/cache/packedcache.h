#pragma once

#include <kilnx/cache/streamcache.h>

namespace Kiln
{

/// The compressing base of the stores that keep their bytes themselves. An item of filter 0 is kept
/// compressed with zlib, any other in the form that its coder gave; bytes that no coder took are
/// kept as they are.
class KILNX_EXPORT PackedCache : public StreamCache
{
    Q_OBJECT

public:
    class KILNX_EXPORT Item : public StreamCache::Item
    {
    public:
        using StreamCache::Item::Item;
        int storedSize() const override { return packedSize; }

        /// How many bytes are stored.
        int packedSize = 0;
        /// How many bytes were given to `addItem` or `setItemData`.
        int size = 0;
    };

    /// The decoded bytes. Where decoding gives nothing, the stored bytes as they are: a block that
    /// cannot be read and one that was never packed look alike.
    QByteArray itemData(StreamCache::Item *item) const override;
    /// The stored bytes for a filter other than 0, the decoded ones for filter 0: the internal
    /// compression never reaches a file.
    QByteArray itemRawData(StreamCache::Item *item) const override;
    StreamCache::Item *addItem(const QByteArray &data,
                               unsigned char filter,
                               void *const param,
                               unsigned long long crc) override;
    void setItemData(StreamCache::Item *item,
                     const QByteArray &data,
                     unsigned char filter,
                     void *const param,
                     unsigned long long crc) override;

private:
    /// The stored bytes.
    virtual QByteArray rawData(Item *item) const = 0;
    /// Creates an item that holds these bytes. The caller puts it into the list.
    virtual Item *add(const QByteArray &data,
                      unsigned char filter,
                      void *const param,
                      unsigned long long crc) = 0;
    /// Replaces the stored bytes, and the item's `filter`, `param`, checksum and `packedSize`.
    virtual void set(Item *item,
                     const QByteArray &data,
                     unsigned char filter,
                     void *const param,
                     unsigned long long crc) = 0;

    QByteArray pack(const QByteArray &data, unsigned char filter, void *param) const;
};

/// A store on the heap.
class KILNX_EXPORT MemoryCache : public PackedCache
{
    Q_OBJECT

public:
    class KILNX_EXPORT Item : public PackedCache::Item
    {
    public:
        using PackedCache::Item::Item;
        /// The stored bytes.
        QByteArray data;
    };

    Type type() const override;

private:
    QByteArray rawData(PackedCache::Item *item) const override;
    PackedCache::Item *add(const QByteArray &data,
                           unsigned char filter,
                           void *const param,
                           unsigned long long crc) override;
    void set(PackedCache::Item *item,
             const QByteArray &data,
             unsigned char filter,
             void *const param,
             unsigned long long crc) override;
};

} // namespace Kiln
