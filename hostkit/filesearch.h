#pragma once

#include <hostkit/export.h>

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <optional>

class QTimer;

namespace Kiln
{
class CodeDocument;
class ParentProject;
class ProjectFile;
} // namespace Kiln

namespace HostKit
{

class ProjectSession;

/// A place that a search in files has found.
struct HOSTKIT_EXPORT FileHit {
    int line = 0; ///< from 0 on, as `column`; the number of the item in a file that is no text
    int column = 0;
    QString matched;
    QStringList captured; ///< by the groups of an expression, from the first on
    QString text;         ///< the line; of a long one, some of it
    int start = 0;        ///< of the hit in `text`
};

/// A search in all files of the current project: those that are loaded, as they are in memory, and
/// the others that its tree shows, as they are on disk, but for those that are no text.
///
/// It works in slices of the event loop's time, so that everything else goes on, and can be stopped
/// at any time. Ten thousand hits end it.
class HOSTKIT_EXPORT FileSearch : public QObject
{
    Q_OBJECT

public:
    enum End {
        Complete,
        Stopped,
        TooMany, ///< hits
        TooSlow  ///< the expression, in some file
    };

    explicit FileSearch(ProjectSession &session, QObject *parent = nullptr);
    ~FileSearch() override;

    /// `flags` are bits of Kiln::Editor::FindFlag. Empty if there is something to search for;
    /// otherwise what is wrong with it.
    QString start(const QString &text, unsigned int flags);
    void stop();
    bool isRunning() const;

    /// Replaces hits of a loaded file in one step of undo, those that still are there. Returns how
    /// many. In `by`, "\1" to "\9" stand for the groups if the search was for an expression.
    int
    replace(Kiln::CodeDocument &document, const QVector<FileHit> &hits, const QString &by) const;
    /// What stands in place of a hit then.
    QString replacement(const FileHit &hit, const QString &by) const;

Q_SIGNALS:
    /// More hits of a file, in order. `file` is null for one that is not loaded, or not any more,
    /// and may be gone at any later time.
    void
    found(const QString &fileName, Kiln::ProjectFile *file, const QVector<HostKit::FileHit> &hits);
    void progressed(int filesDone, int files);
    void finished(HostKit::FileSearch::End end);

private:
    struct Source {
        QString fileName;
        Kiln::ProjectFile *file; ///< null if it is not loaded
    };

    void collectSources();
    void work();
    bool openNext();
    void searchItems(const Source &source);
    void beginText();
    void searchSlice();
    int lineEndFrom(int place) const;
    void addHit(const QRegularExpressionMatch &match);
    void tellHits();
    void end(End how);

    ProjectSession &m_session;
    QPointer<Kiln::ParentProject> m_project; ///< that is searched
    QTimer *m_timer;
    QRegularExpression m_expression;
    bool m_isExpression = false;
    bool m_isTooSlow = false;
    QVector<Source> m_sources;
    int m_next = 0;          ///< of the sources
    int m_count = 0;         ///< of all hits
    QVector<FileHit> m_hits; ///< not told yet

    QString m_text; ///< of the file that is being searched; its lines end with a line feed
    std::optional<QRegularExpressionMatchIterator> m_matches;
    int m_line = 0;         ///< up to which lines were counted
    int m_lineStart = 0;    ///< its first character
    int m_lineEnd = 0;      ///< behind its last one
    bool m_isAtEnd = false; ///< an empty match was there, behind which an iterator is not valid
};

} // namespace HostKit
