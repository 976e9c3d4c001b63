#include <hostkit/filesearch.h>

#include <hostkit/filebytes.h>
#include <hostkit/projectsession.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/textcodecs.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/editor.h>
#include <kilnx/project/projectfile.h>

#include <QElapsedTimer>
#include <QSet>
#include <QTextBlock>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace HostKit
{

namespace
{
constexpr int slice = 20; // milliseconds
constexpr int mostHits = 10000;
// On the steps of one match; nobody waits longer for an expression. It stands before all else.
const QLatin1String limit("(*LIMIT_MATCH=1000000)");

bool isWord(QChar character)
{
    return character.isLetterOrNumber() || character.isMark() || character == QLatin1Char('_');
}

QString patternOf(const QString &text, unsigned int flags)
{
    const bool isExpression = flags & Kiln::Editor::RegularExpression;
    QString pattern = isExpression ? text : QRegularExpression::escape(text);
    if (flags & Kiln::Editor::WholeWords) {
        const QString boundary = QStringLiteral("\\b");
        const QString before = isExpression || isWord(text.front()) ? boundary : QString();
        const QString behind = isExpression || isWord(text.back()) ? boundary : QString();
        pattern = before + QStringLiteral("(?:%1)").arg(pattern) + behind;
    }
    return limit + pattern;
}

void collectFiles(const Kiln::ParentProject &project, const QModelIndex &parent, QStringList &out)
{
    const int rows = project.rowCount(parent);
    for (int row = 0; row < rows; ++row) {
        const QModelIndex index = project.index(row, 0, parent);
        const Kiln::ParentProject::Path *path = project.itemPath(index);
        if (path && path->isFile())
            out.append(path->path());
        collectFiles(project, index, out);
    }
}

QString plainText(QString text)
{
    if (text.isValidUtf16())
        return text;
    for (QChar &character : text) {
        if (character.isSurrogate())
            character = QChar::ReplacementCharacter;
    }
    return text;
}
} // namespace

FileSearch::FileSearch(ProjectSession &session, QObject *parent)
    : QObject(parent)
    , m_session(session)
    , m_timer(new QTimer(this))
{
    connect(m_timer, &QTimer::timeout, this, &FileSearch::work);
    connect(&session, &ProjectSession::aboutToClose, this, &FileSearch::stop);
}

FileSearch::~FileSearch() = default;

QString FileSearch::start(const QString &text, unsigned int flags)
{
    stop();
    m_isExpression = flags & Kiln::Editor::RegularExpression;
    QRegularExpression::PatternOptions options =
        QRegularExpression::MultilineOption | QRegularExpression::UseUnicodePropertiesOption;
    if (!(flags & Kiln::Editor::CaseSensitive))
        options |= QRegularExpression::CaseInsensitiveOption;
    if (text.isEmpty())
        return tr("There is nothing to search for.");
    const QRegularExpression own(text);
    m_expression = QRegularExpression(patternOf(text, flags), options);
    if (m_isExpression && !(own.isValid() && m_expression.isValid()))
        return tr("Bad expression: %1")
            .arg(own.isValid() ? m_expression.errorString() : own.errorString());
    collectSources();
    m_next = m_count = 0;
    m_isTooSlow = false;
    m_timer->start(0);
    return QString();
}

bool FileSearch::isRunning() const
{
    return m_timer->isActive();
}

void FileSearch::stop()
{
    if (isRunning())
        end(Stopped);
}

// The loaded files first, as they are what the user is at; each kind by its names.
void FileSearch::collectSources()
{
    m_sources.clear();
    QSet<QString> loaded;
    m_project = m_session.parentProject();
    if (!m_project)
        return;
    const QList<Kiln::ProjectFile *> files = m_session.files(m_project);
    for (Kiln::ProjectFile *file : files) {
        m_sources.append({file->fileName(), file});
        loaded.insert(file->fileName());
    }
    std::sort(m_sources.begin(), m_sources.end(),
              [](const Source &one, const Source &two) { return one.fileName < two.fileName; });
    QStringList all;
    collectFiles(*m_project, {}, all);
    all.removeDuplicates();
    all.sort();
    for (const QString &name : qAsConst(all)) {
        if (!loaded.contains(name))
            m_sources.append({name, nullptr});
    }
}

void FileSearch::work()
{
    QElapsedTimer clock;
    clock.start();
    while (isRunning() && clock.elapsed() < slice) {
        if (m_matches)
            searchSlice();
        else if (m_next == m_sources.size())
            end(m_isTooSlow ? TooSlow : Complete);
        else if (openNext())
            beginText();
    }
    tellHits();
    if (isRunning())
        Q_EMIT progressed(m_next, m_sources.size());
}

/// Whether there is a text to search.
bool FileSearch::openNext()
{
    tellHits();
    if (!isRunning()) // who heard of them has stopped it
        return false;
    const Source source = m_sources.at(m_next++);
    if (!source.file) {
        const std::optional<QString> text = readText(m_project->archive(), source.fileName);
        m_text = plainText(text.value_or(QString()));
        return !m_text.isEmpty();
    }
    if (!m_session.files().contains(source.file)) // closed meanwhile
        return false;
    if (const auto *document = dynamic_cast<Kiln::CodeDocument *>(source.file)) {
        if (!document->canSave()) // bytes
            return false;
        m_text =
            plainText(document->toRawText().replace(QChar::ParagraphSeparator, QLatin1Char('\n')));
        return true;
    }
    searchItems(source);
    return false;
}

// Names of sprites and the like. An engine's file may look on from where a match has ended, so a
// match must never end where it began.
void FileSearch::searchItems(const Source &source)
{
    const QRegularExpression expression(
        limit + QStringLiteral("(?:%1)(?!\\G)").arg(m_expression.pattern().mid(limit.size())),
        m_expression.patternOptions());
    const QList<Kiln::ProjectFile::SearchResult> results = source.file->search(expression);
    for (const Kiln::ProjectFile::SearchResult &result : results) {
        if (result.length > 0)
            m_hits.append({int(result.line),
                           int(result.start),
                           result.text.mid(int(result.start), int(result.length)),
                           {},
                           result.text,
                           int(result.start)});
    }
    m_count += m_hits.size();
    tellHits();
}

void FileSearch::beginText()
{
    m_line = m_lineStart = 0;
    m_lineEnd = lineEndFrom(0);
    m_isAtEnd = false;
    m_matches = m_expression.globalMatch(m_text);
}

void FileSearch::searchSlice()
{
    if (!m_matches->hasNext()) {
        m_isTooSlow = m_isTooSlow || (!m_isAtEnd && !m_matches->isValid());
        m_matches.reset();
        m_text.clear();
        return;
    }
    const QRegularExpressionMatch match = m_matches->next();
    m_isAtEnd = match.capturedLength() == 0 && match.capturedEnd() == m_text.size();
    if (match.capturedLength() > 0)
        addHit(match);
    if (m_count >= mostHits)
        end(TooMany);
}

/// The place of the next line feed, or of the end of the text.
int FileSearch::lineEndFrom(int place) const
{
    const int feed = m_text.indexOf(QLatin1Char('\n'), place);
    return feed < 0 ? m_text.size() : feed;
}

void FileSearch::addHit(const QRegularExpressionMatch &match)
{
    const int start = match.capturedStart();
    while (m_lineEnd < start) {
        ++m_line;
        m_lineStart = m_lineEnd + 1;
        m_lineEnd = lineEndFrom(m_lineStart);
    }
    constexpr int mostShown = 400; // characters of a line
    const int from = qMax(m_lineStart, start - mostShown / 2);
    const int length = qMin(mostShown, m_lineEnd - from);
    m_hits.append({m_line, start - m_lineStart, match.captured(), match.capturedTexts().mid(1),
                   m_text.mid(from, length), start - from});
    ++m_count;
}

void FileSearch::tellHits()
{
    const QVector<FileHit> hits = std::exchange(m_hits, {});
    if (hits.isEmpty() || m_next == 0)
        return;
    const Source source = m_sources.at(m_next - 1); // a slot may stop the search
    // Between two slices it may have been closed.
    const bool isLoaded = m_session.files().contains(source.file);
    Q_EMIT found(source.fileName, isLoaded ? source.file : nullptr, hits);
}

void FileSearch::end(End how)
{
    m_timer->stop();
    tellHits();
    m_matches.reset();
    m_text.clear();
    m_sources.clear();
    Q_EMIT finished(how);
}

QString FileSearch::replacement(const FileHit &hit, const QString &by) const
{
    if (!m_isExpression)
        return by;
    QString text;
    for (int i = 0; i < by.size(); ++i) {
        const int group = by.at(i) == QLatin1Char('\\') ? by.mid(i + 1, 1).toInt() : 0;
        if (group > 0) {
            text += hit.captured.value(group - 1);
            ++i;
        } else {
            text += by.at(i);
        }
    }
    return text;
}

int FileSearch::replace(Kiln::CodeDocument &document,
                        const QVector<FileHit> &hits,
                        const QString &by) const
{
    int count = 0;
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    for (int i = hits.size() - 1; i >= 0; --i) { // those before keep their places
        const FileHit &hit = hits.at(i);
        const QTextBlock block = document.findBlockByNumber(hit.line);
        const int start = block.position() + hit.column;
        if (!block.isValid() || start + hit.matched.size() >= document.characterCount())
            continue;
        cursor.setPosition(start);
        cursor.setPosition(start + hit.matched.size(), QTextCursor::KeepAnchor);
        if (cursor.selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n')) !=
            hit.matched)
            continue;
        cursor.insertText(replacement(hit, by));
        ++count;
    }
    cursor.endEditBlock();
    return count;
}

} // namespace HostKit
