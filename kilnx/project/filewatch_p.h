#pragma once

#include <kilnx/project/filewatch.h>

#include <QtCore/QByteArray>
#include <QtCore/QFileSystemWatcher>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QSet>

namespace Kiln
{

/// What tells one state of a file on disk from another, without a look at its contents.
struct FileStamp {
    static FileStamp of(const QString &path);
    bool operator==(const FileStamp &other) const
    {
        return file == other.file && size == other.size && modified == other.modified;
    }

    quint64 file = 0;    ///< the file system's number of the file; another after a rename over it
    qint64 size = -1;    ///< in bytes; -1: there is no such file
    qint64 modified = 0; ///< in nanoseconds, as fine as the file system keeps it
};

/// The one hidden object behind all FileWatchObjects; it lives as long as there are any.
///
/// A watcher of the platform follows the file, not the name: a file that is removed or replaced is
/// forgotten. So the manager keeps the wanted names itself, takes a replaced file up again, and
/// watches the directory of a missing one until it is back.
class FileWatcherManager : public QObject
{
public:
    /// Counts one more living object.
    static FileWatcherManager &retain();
    /// Counts one less; the last one destroys the manager.
    static void releaseOne();

    void add(FileWatchObject *object);
    void remove(FileWatchObject *object);
    /// The object goes from one name to another by a load or a save.
    void follow(FileWatchObject *object, const QString &oldName, const QString &newName);
    /// The object is saving under `name`. Its pause ends 250 ms after the notification of what it
    /// writes, however late that comes; where nothing is written, 250 ms after the event loop has
    /// run again.
    void ownSave(FileWatchObject *object, const QString &name);
    /// This program has just written the file of that name: what stands there now is the own save
    /// of the objects that are saving under it.
    static void noteWritten(const QString &name);
    /// Pauses that run out are void from now on.
    void renewPause(FileWatchObject *object);
    /// Held objects stay paused until they are let go. False for a copy, which is never told.
    bool hold(FileWatchObject *object);
    /// False for an object that is not held, or gone.
    bool letGo(FileWatchObject *object);
    /// What is on disk under `name` is what the object has from here on.
    void noteKnown(FileWatchObject *object, const QString &name);
    /// The same for bytes that were read from it when it was as `stamp` tells. What has changed
    /// since then is told.
    void noteLoaded(FileWatchObject *object,
                    const QString &name,
                    const FileStamp &stamp,
                    const QByteArray &bytes);
    FileWatchObject::DiskState diskState(FileWatchObject *object);

private:
    FileWatcherManager();
    using Stamp = quint64;

    struct Record;
    using Told = QPair<FileWatchObject *, Stamp>;

    void fileChanged(const QString &path);
    void tell(const QString &path);
    void report(const QString &path);
    void readKnown();
    static bool isEnabled();
    static bool askToReload(const QString &path);
    /// Who has to be asked about a change of `path`; the pauses of the others run out from here.
    QList<Told> takeNotice(const QString &path);
    void reloadAll(const QList<Told> &stale);
    void leaveTelling();
    void settleSaves();
    void endPauseLater(FileWatchObject *object);
    void endPause(FileWatchObject *object, Stamp stamp);
    void settleLater();
    void settle();
    void watch(const QString &path);
    void watchMissing();
    bool isAlive(FileWatchObject *object, Stamp registration) const;

    QFileSystemWatcher m_watcher;
    QList<FileWatchObject *> m_objects;
    /// Of each registered object its registration and the state of its pause. An address may come
    /// back with another object, a stamp never does.
    struct Record {
        Stamp registration = 0;
        Stamp pause = 0;
        Stamp ending = 0; ///< the pause that a timer is running out
        bool joined = false;
        bool saves = false; ///< the pause is that of an own save
        FileStamp found;    ///< the file before the last own save
        FileStamp own;      ///< the file as the last own save has left it
        FileStamp known;    ///< the file as it was loaded or saved last
        QByteArray digest;  ///< of its bytes; empty while nobody has read them for it
        bool isRead = true; ///< nothing is to be read for it
        FileStamp other;    ///< the file as it was when its bytes were others; see diskState()
    };
    QHash<FileWatchObject *, Record> m_records;
    QSet<FileWatchObject *> m_held;
    /// Who saves under a name since the event loop has last run.
    QMultiHash<QString, FileWatchObject *> m_saving;
    QSet<QString> m_wanted;
    QSet<QString> m_missing;
    QSet<QString> m_asking;
    bool m_settling = false;
    /// Calls of tell() under way: boxes may be open in them.
    int m_telling = 0;
    /// The last object has gone in the middle of that.
    bool m_isOrphan = false;
    Stamp m_lastStamp = 0;
};

/// Keeps objects from being asked about while many files are written by the program itself.
class FileWatchHold
{
public:
    explicit FileWatchHold(const QList<FileWatchObject *> &objects);
    ~FileWatchHold();

private:
    QList<FileWatchObject *> m_objects;
    Q_DISABLE_COPY(FileWatchHold)
};

} // namespace Kiln
