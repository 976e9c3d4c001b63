#pragma once

#include <kilnx/codeedit/textsearch_p.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <functional>

class QTextBlock;
class QTextDocument;

namespace Kiln
{

/// All places of a document that a search would come to. They are looked for on another thread,
/// move with the text as it changes, and are looked for anew a little later.
class HitSearch : public QObject
{
public:
    enum State { NotSearched, Searching, Searched, OutOfTime };

    /// `tell` is called when there are other hits, or another state.
    HitSearch(std::function<void()> tell, QObject *parent);
    ~HitSearch() override;

    /// An empty text takes the hits away.
    void search(const QString &text, unsigned int flags);
    /// Borrowed until the next call; null for none.
    void setDocument(QTextDocument *document);

    State state() const { return m_state; }
    /// In the order of the text.
    const QVector<TextMatch> &hits() const { return m_hits; }
    /// The index of the first hit that ends behind a position.
    int firstBehind(int position) const;

private:
    void begin();
    void poll();
    void stop();
    void textChanged(int from, int removed, int added);
    void become(State state);

    std::function<void()> m_tell;
    QTextDocument *m_document = nullptr;
    QMetaObject::Connection m_changes;
    QRegExp m_expression;
    QVector<TextMatch> m_hits;
    State m_state = NotSearched;
    std::future<QVector<TextMatch>> m_result;
    SearchStop m_stop;
    int m_revision = 0; ///< of the text that is being searched
    QTimer m_pollTimer;
    QTimer m_delay; ///< after a change of the text
    QElapsedTimer m_clock;
};

} // namespace Kiln
