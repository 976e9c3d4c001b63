#pragma once

#include <kilnx/cache/streamcache.h>

namespace Kiln
{

/// A store of one ordinary file for each item: for containers that are a directory of pictures
/// rather than one packed file. The files are the user's; they stay when the cache is destroyed.
///
/// The suffix of the name, in any letter case, gives the item's filter: 4 for "png", 5 for "pcx",
/// 6 for "gif", 7 for "act", 0 for any other. A GIF that is added without a parameter gets filter
/// 8, and as its parameter a `QString *` to the item's own file name, which follows renaming.
class KILNX_EXPORT FileCache : public StreamCache
{
    Q_OBJECT

public:
    Type type() const override;
    /// What `readFilter` makes of the file. Empty, unlike in the other stores, when no coder
    /// answers.
    QByteArray itemData(Item *item) const override;
    /// The whole file; empty when it cannot be read.
    QByteArray itemRawData(Item *item) const override;
    /// `name` is the file's name in the local 8-bit encoding. The file need not exist; the filter
    /// that is given is ignored.
    Item *addItem(const QByteArray &name,
                  unsigned char filter,
                  void *const param,
                  unsigned long long crc) override;
    /// Writes the item's file anew. `data` counts as decoded when `filter` is 0 or the item's own,
    /// otherwise it is decoded with `filter` first; it is then encoded with `filter` and `param`.
    /// Where no coder answers the bytes go on as they are. So pass the item's own filter to have
    /// the file encoded as its suffix says: that filter never changes. Silent when the file cannot
    /// be written.
    void setItemData(Item *item,
                     const QByteArray &data,
                     unsigned char filter,
                     void *const param,
                     unsigned long long crc) override;

    /// The item's file; empty for null, with which the operations below do nothing.
    QString fileName(Item *item) const;
    /// Looks the size of the file up again, and returns whether it is not 0: false also for a file
    /// that is missing.
    bool itemIsValid(Item *item) const;
    /// Renames the file. The item takes the new name even if that fails.
    void renameItem(Item *item, const QString &newName);
    /// Deletes the item's file from the disk. The item stays in the list.
    void deleteItem(Item *item);
};

} // namespace Kiln
