#pragma once

#include <QtCore/QFileSystemWatcher>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QSet>

#include <kilnx/project/filewatch.h>

namespace Kiln
{

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
    /// Counts one less; the last one ends the manager.
    static void releaseOne();

    void add(FileWatchObject *object);
    void remove(FileWatchObject *object);
    /// The object goes from one name to another by a load or a save.
    void follow(FileWatchObject *object, const QString &oldName, const QString &newName);
    /// The object is saving: its pause ends 250 ms after the event loop has run again, also when
    /// no notification comes because nothing was written.
    void ownSave(FileWatchObject *object);
    /// Pauses that run out are void from now on.
    void renewPause(FileWatchObject *object);
    /// Held objects stay paused until they are let go. False for a copy, which is never told.
    bool hold(FileWatchObject *object);
    /// False for an object that is not held, or gone.
    bool letGo(FileWatchObject *object);

private:
    FileWatcherManager();
    using Stamp = quint64;

    void fileChanged(const QString &path);
    void tell(const QString &path);
    static bool isEnabled();
    static bool askToReload(const QString &path);
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
        Stamp registration;
        Stamp pause;
        bool joined;
    };
    QHash<FileWatchObject *, Record> m_records;
    QSet<FileWatchObject *> m_held;
    QSet<QString> m_wanted;
    QSet<QString> m_missing;
    QSet<QString> m_asking;
    bool m_settling = false;
    int m_telling = 0;
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
