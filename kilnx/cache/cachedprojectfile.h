#pragma once

#include <kilnx/project/projectfile.h>
#include <kilnx/project/propertyitem.h>

#include <memory>

namespace Kiln
{

class Messages;
class SimpleMessages;
class StreamCache;
struct StreamCacheData;

/// An item whose bytes are in a `StreamCache`: a sprite, a sound.
class KILNX_EXPORT CachedPropertyItem : public PropertyItem
{
public:
    /// Takes over one reference to `data`, which may be null.
    explicit CachedPropertyItem(StreamCacheData *data = nullptr);
    CachedPropertyItem(const CachedPropertyItem &) = delete;
    CachedPropertyItem &operator=(const CachedPropertyItem &) = delete;
    /// Releases the handle.
    ~CachedPropertyItem() override;

    /// The handle on the bytes; null or empty for an item that has none yet.
    StreamCacheData *data() const { return m_data; }

protected:
    StreamCacheData *m_data;
};

/// A file of many binary items, which it keeps in a cache of its own.
///
/// An engine derives its containers from it, and destroys its items before the file: the cache goes
/// with the file, and an item that is left refers to a dead one.
class KILNX_EXPORT CachedProjectFile : public ProjectFile
{
public:
    /// The store of the items; never null unless the file was made on null.
    virtual StreamCache *cache() const;

protected:
    /// Takes `cache` over; see `StreamCache::instance`.
    explicit CachedProjectFile(StreamCache *cache);
    ~CachedProjectFile() override;

    /// What the file has to tell about its items, for its class to fill.
    SimpleMessages &itemMessages() const;
    Messages *fileMessages() const override;

private:
    StreamCache *m_cache;
    std::unique_ptr<SimpleMessages> m_messages;
};

/// A container whose items are searched by their property "Identifier".
class KILNX_EXPORT SearchableCachedProjectFile : public CachedProjectFile
{
public:
    virtual unsigned int itemCount() const = 0;
    /// An item in the order of the file; null past the end.
    virtual PropertyItem *itemAt(unsigned int index) const = 0;

    /// One result for each item whose identifier matches, at its first match. The `line` of a
    /// result is the item's index, its `text` the identifier. An invalid expression finds nothing.
    QList<SearchResult> search(const QRegularExpression &expression) override;
    /// Sets the identifier of each item that was found to `text`, in full. The place markers "%1",
    /// "%2" ... stand for what the second, third ... group of the expression captured; the first
    /// group is not used. All happens in one group of edits.
    void replace(const QList<SearchResult> &results, const QString &text) override;

protected:
    explicit SearchableCachedProjectFile(StreamCache *cache);
    ~SearchableCachedProjectFile() override;
};

} // namespace Kiln
