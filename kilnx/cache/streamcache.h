#pragma once

#include <kilnx/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>

#include <map>
#include <utility>

namespace Kiln
{

/// A store of binary items, behind the sprites and sounds of a file: thousands of them, none held
/// decoded. Each item keeps its bytes packed, on the heap or on disk, and gives them back on
/// request; what an item weighs in memory depends on the store (`Type`).
///
/// An item has two forms. Its *raw* form is what the file format keeps, encoded by the coder whose
/// number is the item's `filter`; its *decoded* form is what editors work on. The store knows no
/// coder: it asks by the signals `readFilter` and `writeFilter`. With filter 0 the two forms are
/// the same bytes.
///
/// No operation reports an error: what cannot be read is empty, and what cannot be decoded comes
/// back as it is stored (see the stores). For the GUI thread only.
class KILNX_EXPORT StreamCache : public QObject
{
    Q_OBJECT

public:
    /// Which store is wanted.
    enum Type : int {
        Default = 0, ///< the one that the option "cache_type" names
        Memory = 1,  ///< `MemoryCache`
        Disk = 2,    ///< `DiskCache`
        File = 3     ///< `FileCache`
    };

    /// One item. A store derives its own record from it. Items belong to the cache.
    class KILNX_EXPORT Item
    {
    public:
        Item(unsigned char filter, void *param, unsigned long long crc)
            : filter(filter)
            , param(param)
            , m_crc(crc)
        {
        }
        virtual ~Item();
        Item(const Item &) = delete;
        Item &operator=(const Item &) = delete;

        /// The coder of the raw form; 0 is the store's plain packing.
        unsigned char filter;
        /// An argument that is handed to the coder. Not owned.
        void *param;
        /// `crc64` of the decoded bytes; 0 means not known yet.
        unsigned long long crc() const { return m_crc; }
        /// How many bytes the store keeps for this item.
        virtual int storedSize() const = 0;

    private:
        friend class StreamCache;
        unsigned long long m_crc;
    };

    StreamCache();
    /// Destroys all items. Handles on them (`StreamCacheData`) are not told.
    ~StreamCache() override;

    /// Makes a new cache, which belongs to the caller: nothing is shared between calls. `Default`
    /// follows the host's option "cache_type": above 1 a `DiskCache`, otherwise, and without a
    /// host, a `MemoryCache`. Null for a value that is no `Type`.
    static StreamCache *instance(Type type);
    /// Deletes this cache.
    void release();

    virtual Type type() const = 0;
    /// The decoded bytes; empty for null.
    virtual QByteArray itemData(Item *item) const = 0;
    /// The bytes in the encoding of the file format; empty for null.
    virtual QByteArray itemRawData(Item *item) const = 0;
    /// Stores a new item at the end of the list. `data` is in decoded form (but a file name for a
    /// `FileCache`); `crc` is its checksum, or 0 to let the store find it when it is needed. The
    /// store keeps bytes of its own, so `data` may refer to a buffer (`QByteArray::fromRawData`).
    virtual Item *addItem(const QByteArray &data,
                          unsigned char filter,
                          void *const param,
                          unsigned long long crc) = 0;
    /// Replaces the bytes of an item of this cache; nothing for null.
    virtual void setItemData(Item *item,
                             const QByteArray &data,
                             unsigned char filter,
                             void *const param,
                             unsigned long long crc) = 0;

    /// The items in the order in which they were added.
    QList<Item *> items() const;
    /// Removes and deletes all items, the last first.
    void clear();
    /// Removes the item from the list and deletes it. Null, and what is not in the list, is
    /// ignored.
    void removeItem(Item *item);
    /// The first item whose decoded bytes are `data`, without looking at `exclude`; null when there
    /// is none. Empty data is never found. Costs the logarithm of the number of items, and decodes
    /// only items of the same checksum and, once, those whose checksum was unknown.
    Item *find(const QByteArray &data, Item *exclude) const;
    /// Whether two items have the same bytes. Items of one filter whose checksums are known are
    /// compared in raw form, all others in decoded form. Empty items are equal to nothing.
    bool isEqual(Item *first, Item *second) const;
    /// Whether the item decodes to `data`, whose checksum `crc` the caller has computed. Empty data
    /// is equal to nothing.
    bool isEqual(Item *item, const QByteArray &data, unsigned long long crc) const;

Q_SIGNALS:
    /// Asks for the decoded form of `in`. The receiver that knows the coder `filter` writes it into
    /// `out`; leaving it empty says that there is no such coder, or that `in` is broken. `in` ends
    /// with the call, so `out` must not refer to it. The connection must be direct.
    void readFilter(unsigned char filter, void *param, const QByteArray &in, QByteArray &out) const;
    /// Asks for the encoded form of `in`, in the same way.
    void
    writeFilter(unsigned char filter, void *param, const QByteArray &in, QByteArray &out) const;

protected:
    /// Puts a new item at the end of the list, which then owns it.
    void append(Item *item);
    /// Whether the item is in the list of this cache.
    bool contains(const Item *item) const;
    /// The items that follow `item` in the list.
    QList<Item *> itemsBehind(const Item *item) const;
    /// Sets an item's checksum; 0 when it is not known. `find` relies on all changes coming here.
    void setCrc(Item *item, unsigned long long crc) const;

private:
    // The order of an item's checksum and place, for `find`.
    using Key = std::pair<unsigned long long, quint64>;

    unsigned long long knownCrc(Item *item, QByteArray &decoded) const;
    Item *nextOfCrc(unsigned long long crc, quint64 &serial) const;
    Item *firstOfCrc(unsigned long long crc,
                     const QByteArray &data,
                     const Item *exclude,
                     quint64 &serial) const;

    // By place in the order of the list. A place is never given twice, so taking items out costs
    // no renumbering.
    std::map<quint64, Item *> m_items;
    QHash<const Item *, quint64> m_serials;
    mutable std::map<Key, Item *> m_byCrc;
    quint64 m_lastSerial = 0;
};

} // namespace Kiln
