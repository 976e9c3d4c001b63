#include <kilnx/cache/cachedprojectfile.h>

#include <kilnx/cache/streamcachedata.h>
#include <kilnx/project/messages.h>

#include <QtCore/QRegularExpression>

namespace Kiln
{

namespace
{

const QString identifierProperty = QStringLiteral("Identifier");

// `QString::arg` warns when there is no place marker for its argument.
bool hasPlaceMarker(const QString &text)
{
    static const QRegularExpression marker(QStringLiteral("%L?[0-9]"));
    return marker.match(text).hasMatch();
}

QString filledIn(QString text, const QStringList &captured)
{
    for (int i = 1; i < captured.size() && hasPlaceMarker(text); ++i)
        text = text.arg(captured[i]);
    return text;
}

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
        const QRegularExpressionMatch match = expression.match(identifier);
        if (!match.hasMatch())
            continue;
        SearchResult result;
        result.line = index;
        result.start = static_cast<unsigned int>(match.capturedStart());
        result.length = static_cast<unsigned int>(match.capturedLength());
        result.text = identifier;
        result.captured = match.capturedTexts().mid(1);
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
            item->setProperty(identifierProperty, filledIn(text, result.captured));
    }
    endChange();
}

} // namespace Kiln
