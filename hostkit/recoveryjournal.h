#pragma once

#include <hostkit/export.h>
#include <hostkit/journalfile.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QThreadPool>
#include <QtCore/QTimer>

#include <memory>
#include <vector>

class QLockFile;

namespace Kiln
{
class CodeDocument;
class ProjectFile;
} // namespace Kiln

namespace HostKit
{

class ProjectSession;

/// Keeps the unsaved text of all documents on disk, so that no end of the process loses more than
/// what was typed in the last second.
///
/// Twice a second it looks at the documents of the session that have changed, and writes what is
/// new on a thread of its own; a key costs nothing. What is saved, undone to the saved state,
/// thrown away or closed is forgotten. Each running host has a directory of its own, locked while
/// it runs; what hosts left that are no longer there is found by leftBehind().
class HOSTKIT_EXPORT RecoveryJournal : public QObject
{
    Q_OBJECT

public:
    /// Text that a host left, and where.
    struct Entry : JournalFile::Contents {
        QString path; ///< of the journal's file; names the entry
    };

    /// Keeps its files below `directory`, which is made when there is something to keep; without a
    /// name nothing is kept.
    RecoveryJournal(ProjectSession &session, const QString &directory);
    /// Whoever destroys the journal has ended as wished: nothing of its own stays.
    ~RecoveryJournal() override;

    /// Looks at the documents now, and returns when all is on disk, or false when something could
    /// not be written.
    bool flush();

    /// What hosts left that ended without closing their project, the newest first. Those that run
    /// are left alone, and this host keeps what it has found from other hosts.
    QList<Entry> leftBehind();
    /// Deletes the file of an entry.
    void discard(const Entry &entry);

Q_SIGNALS:
    /// Text could not be written, and why; once until it can be again.
    void failed(const QString &reason);

private:
    struct Kept {
        int revision = -1;
        QString fileName;
        std::shared_ptr<JournalFile> file;
    };

    void look();
    void syncLater();
    void keep(Kiln::ProjectFile *file, Kiln::CodeDocument *document, Kept &kept);
    void forget(Kiln::ProjectFile *file);
    bool makeDirectory();
    void told(const QString &error);
    void adopt();

    ProjectSession &m_session;
    QString m_directory;
    QString m_own;                     ///< this host's directory; empty until it is made
    std::unique_ptr<QLockFile> m_lock; ///< on m_own
    std::vector<std::unique_ptr<QLockFile>> m_adopted; ///< on directories of hosts that are gone
    QStringList m_adoptedPaths;                        ///< these directories
    QHash<Kiln::ProjectFile *, Kept> m_kept;
    QThreadPool m_writer;   ///< one thread: writes stay in order
    QThreadPool m_syncer;   ///< one thread, which waits for the disk
    QStringList m_unsynced; ///< files that were written since it started last
    QTimer m_timer;
    int m_files = 0; ///< names given
    bool m_hasFailed = false;
};

} // namespace HostKit
