#include <kilnx/cache/cachedprojectfile.h>

#include <kilnx/cache/streamcachedata.h>
#include <kilnx/project/messages.h>
#include <kilnx/project/textmatch_p.h>

#include <QtCore/QRegularExpression>

namespace Kiln
{

namespace
{

const QString identifierProperty = QStringLiteral("Identifier");

} // namespace

CachedPropertyItem::CachedPropertyItem(StreamCacheData *data)
    : m_data(data)
{
}

CachedPropertyItem::~CachedPropertyItem()
{
    if (m_data)
        m_data->release();
}

CachedProjectFile::CachedProjectFile(StreamCache *cache)
    : m_cache(cache)
    , m_messages(std::make_unique<SimpleMessages>(this))
{
}

CachedProjectFile::~CachedProjectFile()
{
    if (m_cache)
        m_cache->release();
}

StreamCache *CachedProjectFile::cache() const
{
    return m_cache;
}

SimpleMessages &CachedProjectFile::itemMessages() const
{
    return *m_messages;
}

Messages *CachedProjectFile::fileMessages() const
{
    return m_messages.get();
}

SearchableCachedProjectFile::SearchableCachedProjectFile(StreamCache *cache)
    : CachedProjectFile(cache)
{
}

SearchableCachedProjectFile::~SearchableCachedProjectFile() = default;

QList<ProjectFile::SearchResult>
SearchableCachedProjectFile::search(const QRegularExpression &expression)
{
    QList<SearchResult> results;
    // Qt would warn of it at each item.
    if (!expression.isValid())
        return results;
    const unsigned int count = itemCount();
    for (unsigned int index = 0; index < count; ++index) {
        PropertyItem *item = itemAt(index);
        if (!item)
            continue;
        const QString identifier = item->property(identifierProperty).toString();
        const QRegularExpressionMatch match = expression.match(TextMatch::wellFormed(identifier));
        if (!match.hasMatch())
            continue;
        SearchResult result;
        result.line = index;
        result.start = static_cast<unsigned int>(match.capturedStart());
        result.length = static_cast<unsigned int>(match.capturedLength());
        result.text = identifier;
        result.captured = TextMatch::captures(identifier, match);
        results.append(result);
    }
    return results;
}

void SearchableCachedProjectFile::replace(const QList<SearchResult> &results, const QString &text)
{
    if (results.isEmpty())
        return;
    beginChange();
    for (const SearchResult &result : results) {
        if (PropertyItem *item = itemAt(result.line))
            item->setProperty(identifierProperty, TextMatch::filledIn(text, result.captured));
    }
    endChange();
}

} // namespace Kiln
