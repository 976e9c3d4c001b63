#pragma once

#include <hostkit/export.h>
#include <hostkit/journalfile.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QThreadPool>
#include <QtCore/QTimer>

#include <functional>
#include <memory>
#include <unordered_map>
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

/// Keeps the unsaved work on all files on disk, so that no end of the process loses more than what
/// was typed in the last second, or was done to pictures and sounds in the last few.
///
/// Twice a second it looks at the files of the session that have changed, and writes what is new on
/// threads of its own; a key costs nothing. Files of items, as sprites and sounds, are taken as
/// they would be saved, while no mouse button is down, and so seldom that it takes a hundredth of
/// the time at most: a large one every minute, which is told. What is saved, undone to the saved
/// state, thrown away or closed is forgotten. Each running host has a directory of its own, locked
/// while it runs; what hosts left that are no longer there is found by leftBehind().
class HOSTKIT_EXPORT RecoveryJournal : public QObject
{
    Q_OBJECT

public:
    /// What a host left, and where.
    struct Entry : JournalFile::Contents {
        QString path; ///< of the journal's file; names the entry
    };

    /// Keeps its files below `directory`, which is made when there is something to keep; without a
    /// name nothing is kept.
    RecoveryJournal(ProjectSession &session, const QString &directory);
    /// Whoever destroys the journal has ended as wished: nothing of its own stays.
    ~RecoveryJournal() override;

    /// What an editor has not put into its file yet: the picture that is drawn on one item.
    struct Drawing {
        int row = -1; ///< of the item; -1 where there is none
        std::function<QImage()> picture;
    };
    /// Who knows the drawing of a file. When it changes, call touch().
    void setDrawingOf(const std::function<Drawing(Kiln::ProjectFile *)> &drawingOf)
    {
        m_drawingOf = drawingOf;
    }
    /// Who knows of files without changes that are nowhere on disk any more: the journal keeps
    /// them, too.
    void setOnlyHereTest(const std::function<bool(Kiln::ProjectFile *)> &test)
    {
        m_isOnlyHere = test;
    }
    /// A file has changed in a way that its model does not tell.
    void touch(Kiln::ProjectFile *file);

    /// Looks at the files now, and returns when all is on disk, or false when something could
    /// not be written.
    bool flush();

    /// What hosts left that ended without closing their project, the newest first. Those that run
    /// are left alone, and this host keeps what it has found from other hosts.
    QList<Entry> leftBehind();
    /// Deletes the file of an entry.
    void discard(const Entry &entry);

Q_SIGNALS:
    /// Something could not be written, and why; once until it can be again.
    void failed(const QString &reason);
    /// The unsaved changes of a file are kept every minute only; once for each.
    void slowed(Kiln::ProjectFile *file);

private:
    struct Kept {
        int revision = -1; ///< of a text
        QString fileName;
        std::shared_ptr<JournalFile> file;
        // Of a file of items:
        std::unique_ptr<QObject> watch; ///< hears of changes
        bool isStale = true;            ///< changed since it was taken
        QElapsedTimer taken;
        qint64 pause = 0; ///< milliseconds from there to the next time
        bool isSlow = false;
    };
    using KeptFiles = std::unordered_map<Kiln::ProjectFile *, Kept>;
    /// A thread that writes: in order, and texts do not wait for the items of large files.
    struct Lane {
        Lane() { writer.setMaxThreadCount(1); }
        bool isBusy() const { return writer.activeThreadCount() > 0; }

        QThreadPool writer;
        bool hasFailed = false;
    };

    void look(bool isUrgent);
    void lookAt(Kiln::CodeDocument *document);
    bool lookAt(Kiln::ProjectFile *file, bool isUrgent);
    static bool isWritten(Kiln::ProjectFile *file, const Kept &kept);
    void syncLater();
    void follow(Kiln::ProjectFile *file, Kept &kept);
    template<typename Work>
    void keep(Kiln::ProjectFile *file, Kept &kept, Lane &lane, const Work &work);
    void take(Kiln::ProjectFile *file);
    bool isUnsaved(Kiln::ProjectFile *file) const;
    bool isChanged(Kiln::ProjectFile *file) const;
    Drawing drawingOf(Kiln::ProjectFile *file) const;
    void forget(Kiln::ProjectFile *file);
    bool makeDirectory();
    void told(const QString &error, Lane &lane);
    void adopt();

    ProjectSession &m_session;
    QString m_directory;
    QString m_own;                     ///< this host's directory; empty until it is made
    std::unique_ptr<QLockFile> m_lock; ///< on m_own
    std::vector<std::unique_ptr<QLockFile>> m_adopted; ///< on directories of hosts that are gone
    QStringList m_adoptedPaths;                        ///< these directories
    KeptFiles m_kept;
    std::function<Drawing(Kiln::ProjectFile *)> m_drawingOf;
    std::function<bool(Kiln::ProjectFile *)> m_isOnlyHere;
    Lane m_texts;
    Lane m_items;
    QThreadPool m_syncer;   ///< one thread, which waits for the disk
    QStringList m_unsynced; ///< files that were written since it started last
    QTimer m_timer;
    int m_files = 0; ///< names given
    bool m_isTaking = false;
};

} // namespace HostKit
