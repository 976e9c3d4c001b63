#pragma once

#include <kilnx/cache/packedcache.h>

#include <memory>

namespace Kiln
{

/// A store in one temporary file, for files too large for the memory: only the place of an item is
/// held. The file lives as long as the cache and never gets smaller: a removed item leaves a hole.
///
/// New items go to the end of the file. Resizing an item moves all that lies behind it, so append
/// rather than grow early items. When the disk is full, or the file could not be made, the items
/// that could not be written are empty; the others stay as they are.
class KILNX_EXPORT DiskCache : public PackedCache
{
    Q_OBJECT

public:
    /// 32 MiB; the memory is not touched before something is moved.
    static constexpr int defaultBlockSize = 0x2000000;

    /// `blockSize` is the number of bytes that are moved at a time, at least 1.
    explicit DiskCache(int blockSize = defaultBlockSize);
    ~DiskCache() override;

    Type type() const override;

private:
    class DiskItem;
    class StoreFile;

    QByteArray rawData(Item *item) const override;
    Item *add(const QByteArray &data,
              unsigned char filter,
              void *const param,
              unsigned long long crc) override;
    void set(Item *item,
             const QByteArray &data,
             unsigned char filter,
             void *const param,
             unsigned long long crc) override;
    bool moveBehind(const DiskItem &item, long long delta);

    std::unique_ptr<StoreFile> m_file;
};

} // namespace Kiln
