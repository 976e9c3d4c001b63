#include <kilnx/codeedit/hitsearch_p.h>

#include <QtGui/QTextDocument>

#include <algorithm>
#include <utility>

namespace Kiln
{

namespace
{
constexpr int Poll = 10;       // milliseconds
constexpr int Patience = 3000; // milliseconds
constexpr int Delay = 150;     // milliseconds from a key to the next search
} // namespace

HitSearch::HitSearch(std::function<void()> tell, QObject *parent)
    : QObject(parent)
    , m_tell(std::move(tell))
    , m_delay(this)
{
    m_pollTimer.setInterval(Poll);
    m_delay.setInterval(Delay);
    m_delay.setSingleShot(true);
    connect(&m_pollTimer, &QTimer::timeout, this, &HitSearch::poll);
    connect(&m_delay, &QTimer::timeout, this, &HitSearch::begin);
}

HitSearch::~HitSearch()
{
    stop();
}

void HitSearch::search(const QString &text, unsigned int flags)
{
    m_expression = text.isEmpty() ? QRegExp() : searchExpression(text, flags);
    m_hits.clear();
    begin();
}

void HitSearch::setDocument(QTextDocument *document)
{
    disconnect(m_changes);
    m_document = document;
    m_hits.clear();
    if (document)
        m_changes =
            connect(document, &QTextDocument::contentsChange, this, &HitSearch::textChanged);
    begin();
}

void HitSearch::stop()
{
    if (m_stop)
        *m_stop = true;
    m_stop.reset();
    m_result = {};
    m_pollTimer.stop();
    m_delay.stop();
}

void HitSearch::begin()
{
    stop();
    if (!m_document || m_expression.isEmpty() || !m_expression.isValid()) {
        m_hits.clear();
        become(NotSearched);
        return;
    }
    m_clock.start();
    m_pollTimer.start();
    become(Searching);
}

void HitSearch::poll()
{
    using namespace std::chrono_literals;
    if (!m_result.valid()) { // the ones before must end first
        m_stop = std::make_shared<std::atomic<bool>>(false);
        m_result = searchAllText(m_expression, searchedText(m_document), m_stop);
        m_revision = m_document->revision();
    } else if (m_result.wait_for(0s) == std::future_status::ready) {
        m_hits = m_result.get();
        const bool isCurrent = m_document->revision() == m_revision;
        stop();
        if (isCurrent)
            become(Searched);
        else
            begin();
        return;
    }
    if (m_clock.elapsed() > Patience) {
        stop();
        m_hits.clear();
        become(OutOfTime);
    }
}

/// What the change touches is no hit until the next search says so.
void HitSearch::textChanged(int from, int removed, int added)
{
    if (m_state == NotSearched || m_state == OutOfTime)
        return;
    const auto first = m_hits.begin() + firstBehind(from);
    const auto last =
        std::find_if(first, m_hits.end(),
                     [end = from + removed](const TextMatch &hit) { return hit.position >= end; });
    for (auto hit = last; hit != m_hits.end(); ++hit)
        hit->position += added - removed;
    m_hits.erase(first, last);
    m_delay.start();
}

int HitSearch::firstBehind(int position) const
{
    const auto hit = std::upper_bound(
        m_hits.begin(), m_hits.end(), position,
        [](int value, const TextMatch &each) { return value < each.position + each.length; });
    return int(hit - m_hits.begin());
}

void HitSearch::become(State state)
{
    m_state = state;
    m_tell();
}

} // namespace Kiln
