#include <kilnx/project/filewatch.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/filewatch_p.h>
#include <kilnx/project/interface.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QCryptographicHash>
#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTimer>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

namespace Kiln
{

FileStamp FileStamp::of(const QString &path)
{
    FileStamp stamp;
#ifdef Q_OS_UNIX
    struct stat found;
    if (stat(QFile::encodeName(path).constData(), &found) == 0) {
        constexpr qint64 nanoseconds = 1000000000;
        stamp.file = found.st_ino;
        stamp.size = found.st_size;
        stamp.modified = found.st_mtim.tv_sec * nanoseconds + found.st_mtim.tv_nsec;
    }
#else
    const QFileInfo found(path);
    if (found.exists()) {
        stamp.size = found.size();
        stamp.modified = found.lastModified().toMSecsSinceEpoch() * 1000000;
    }
#endif
    return stamp;
}

static constexpr int pauseMilliseconds = 250;
static constexpr qint64 mostRead = 64 << 20; // bytes of a file that are compared

static std::function<void(const QString &)> &listener()
{
    static std::function<void(const QString &)> current;
    return current;
}

static QByteArray digestOf(const QByteArray &bytes)
{
    return bytes.size() <= mostRead ? QCryptographicHash::hash(bytes, QCryptographicHash::Sha1)
                                    : QByteArray();
}

/// Empty for a file that cannot be read, or is too large.
static QByteArray digestOf(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha1);
    const bool isRead =
        file.open(QIODevice::ReadOnly) && file.size() <= mostRead && hash.addData(&file);
    return isRead ? hash.result() : QByteArray();
}

/// Living FileWatchObjects, copies included.
static int livingObjects = 0;
static FileWatcherManager *manager = nullptr;

FileWatcherManager &FileWatcherManager::retain()
{
    if (livingObjects++ == 0)
        manager = new FileWatcherManager;
    return *manager;
}

void FileWatcherManager::releaseOne()
{
    if (--livingObjects > 0)
        return;
    FileWatcherManager *last = std::exchange(manager, nullptr);
    // The last object may go while the manager is telling it of a change, with a box open.
    if (last->m_telling)
        last->m_isOrphan = true;
    else
        delete last;
}

FileWatcherManager::FileWatcherManager()
{
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &FileWatcherManager::fileChanged);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this,
            &FileWatcherManager::settleLater);
}

void FileWatcherManager::add(FileWatchObject *object)
{
    m_objects.append(object);
    Record &record = m_records[object];
    record.registration = record.pause = ++m_lastStamp;
}

void FileWatcherManager::remove(FileWatchObject *object)
{
    m_objects.removeAll(object);
    m_records.remove(object);
    m_held.remove(object);
    for (auto saving = m_saving.begin(); saving != m_saving.end();)
        saving = *saving == object ? m_saving.erase(saving) : std::next(saving);
}

bool FileWatcherManager::isAlive(FileWatchObject *object, Stamp registration) const
{
    const auto record = m_records.constFind(object);
    return record != m_records.constEnd() && record->registration == registration;
}

void FileWatcherManager::follow(FileWatchObject *object,
                                const QString &oldName,
                                const QString &newName)
{
    const auto record = m_records.find(object);
    if (record == m_records.end())
        return;
    record->joined = true;
    if (oldName != newName && !oldName.isEmpty()) {
        int sharing = 0;
        for (FileWatchObject *other : qAsConst(m_objects))
            sharing += other->fileName() == oldName;
        if (sharing <= 1) {
            m_wanted.remove(oldName);
            m_missing.remove(oldName);
            m_watcher.removePath(oldName);
        }
    }
    watch(newName);
    // The load or save that follows may still fail, or make the file.
    settleLater();
}

void FileWatcherManager::watch(const QString &path)
{
    if (path.isEmpty() || m_wanted.contains(path))
        return;
    m_wanted.insert(path);
    if (!m_watcher.addPath(path))
        m_missing.insert(path);
}

/// Takes up the missing files that are there now, and watches the directories of the others.
void FileWatcherManager::watchMissing()
{
    QStringList back;
    QSet<QString> directories;
    const QStringList before = m_watcher.directories();
    QSet<QString> known(before.begin(), before.end());
    for (const QString &path : qAsConst(m_missing)) {
        QString directory = QFileInfo(path).absolutePath();
        while (!QFileInfo::exists(directory))
            directory = QFileInfo(directory).absolutePath();
        // Only a directory that is watched before the look at the file cannot miss its return.
        if (!known.contains(directory)) {
            known.insert(directory);
            m_watcher.addPath(directory);
        }
        if (QFileInfo::exists(path) && m_watcher.addPath(path))
            back.append(path);
        else
            directories.insert(directory);
    }
    const QStringList watched = m_watcher.directories();
    for (const QString &directory : watched) {
        if (!directories.contains(directory))
            m_watcher.removePath(directory);
    }
    for (const QString &path : qAsConst(back))
        m_missing.remove(path);
    for (const QString &path : qAsConst(back))
        fileChanged(path);
}

void FileWatcherManager::settleLater()
{
    if (std::exchange(m_settling, true))
        return;
    QTimer::singleShot(0, this, &FileWatcherManager::settle);
}

/// Watches exactly the names that the objects have once all loads and saves are through.
void FileWatcherManager::settle()
{
    m_settling = false;
    QSet<QString> names;
    for (FileWatchObject *object : qAsConst(m_objects)) {
        if (m_records.value(object).joined)
            names.insert(object->fileName());
    }
    names.remove(QString());
    const QSet<QString> left = m_wanted - names;
    for (const QString &path : left) {
        m_wanted.remove(path);
        m_missing.remove(path);
        m_watcher.removePath(path);
    }
    for (const QString &path : qAsConst(names))
        watch(path);
    watchMissing();
    readKnown();
}

/// Reads what was loaded and saved once more, to know it again. What others have written since then
/// is another file.
void FileWatcherManager::readKnown()
{
    settleSaves();
    for (FileWatchObject *object : qAsConst(m_objects)) {
        Record &record = m_records[object];
        if (std::exchange(record.isRead, true) || !listener() ||
            !(FileStamp::of(object->fileName()) == record.known))
            continue;
        const QByteArray digest = digestOf(object->fileName());
        if (FileStamp::of(object->fileName()) == record.known)
            record.digest = digest;
    }
}

void FileWatcherManager::noteKnown(FileWatchObject *object, const QString &name)
{
    const auto record = m_records.find(object);
    if (record == m_records.end())
        return;
    record->known = FileStamp::of(name);
    record->other = FileStamp();
    record->digest.clear();
    record->isRead = false;
    settleLater();
}

void FileWatcherManager::noteLoaded(FileWatchObject *object,
                                    const QString &name,
                                    const FileStamp &stamp,
                                    const QByteArray &bytes)
{
    const auto record = m_records.find(object);
    if (record == m_records.end())
        return;
    record->known = stamp;
    record->other = FileStamp();
    record->isRead = true;
    if (listener())
        record->digest = digestOf(bytes);
    if (!(FileStamp::of(name) == stamp))
        QTimer::singleShot(0, this, [this, name] { fileChanged(name); });
}

FileWatchObject::DiskState FileWatcherManager::diskState(FileWatchObject *object)
{
    settleSaves();
    const QString name = object->fileName();
    const FileStamp now = FileStamp::of(name);
    const auto record = m_records.find(object);
    if (!QFileInfo(name).isFile())
        return FileWatchObject::DiskState::Gone;
    if (record == m_records.end() || record->known == now)
        return FileWatchObject::DiskState::Same;
    // Hosts look often, and a file that waits for its user is not read each time.
    if (record->digest.isEmpty() || record->other == now)
        return FileWatchObject::DiskState::Changed;
    if (record->digest != digestOf(name)) {
        record->other = now;
        return FileWatchObject::DiskState::Changed;
    }
    record->known = now;
    return FileWatchObject::DiskState::Same;
}

void FileWatcherManager::fileChanged(const QString &path)
{
    if (!m_wanted.contains(path))
        return;
    // The name may stand for another file now, while the watcher still follows the old one.
    m_watcher.removePath(path);
    if (m_watcher.addPath(path)) {
        tell(path);
    } else {
        // Once for all that are gone: a look at them costs as much as there are.
        m_missing.insert(path);
        settleLater();
        report(path);
    }
}

void FileWatcherManager::report(const QString &path)
{
    if (listener() && isEnabled())
        listener()(path);
}

void FileWatcherManager::tell(const QString &path)
{
    const QList<Told> stale = takeNotice(path);
    if (listener()) {
        report(path);
        return;
    }
    // While the box is open, a further change of the file has its answer already.
    if (stale.isEmpty() || m_asking.contains(path) || !isEnabled())
        return;
    ++m_telling;
    m_asking.insert(path);
    const bool reload = askToReload(path);
    m_asking.remove(path);
    if (reload)
        reloadAll(stale);
    leaveTelling();
}

QList<FileWatcherManager::Told> FileWatcherManager::takeNotice(const QString &path)
{
    settleSaves();
    const FileStamp now = FileStamp::of(path);
    QList<Told> stale;
    for (FileWatchObject *object : qAsConst(m_objects)) {
        const bool isIts = object->fileName() == path;
        if (!isIts && !object->paused)
            continue;
        const Record &record = m_records[object];
        // What another program writes over an own save is asked about, also during its pause.
        const bool isQuiet = record.own == now || (object->paused && !record.saves);
        if (isIts && !isQuiet)
            stale.append({object, record.registration});
        if (isIts || !record.saves)
            endPauseLater(object);
    }
    return stale;
}

void FileWatcherManager::reloadAll(const QList<Told> &stale)
{
    for (const auto &[object, registration] : stale) {
        if (isAlive(object, registration))
            object->reload();
    }
}

void FileWatcherManager::leaveTelling()
{
    // The callers are members, too: the end comes when the event loop has control again.
    if (--m_telling == 0 && m_isOrphan)
        deleteLater();
}

bool FileWatcherManager::isEnabled()
{
    Interface *interface = Interface::instance();
    return interface &&
           interface->option(QStringLiteral("enable_file_watcher"), QVariant()).toBool();
}

bool FileWatcherManager::askToReload(const QString &path)
{
    const QString text = QCoreApplication::translate(
        "Kiln::FileWatchObject",
        "The file '%1' has been modified. Do you want to reload all other instances of this file "
        "now?");
    return askQuestion(Interface::instance()->mainWindow(),
                       QCoreApplication::translate("Kiln::FileWatchObject", "File modified"),
                       text.arg(path));
}

void FileWatcherManager::endPauseLater(FileWatchObject *object)
{
    // One timer a pause, however many files have changed: the first notification counts.
    Record &record = m_records[object];
    if (!object->paused || record.ending == record.pause)
        return;
    record.ending = record.pause;
    QTimer::singleShot(pauseMilliseconds, this,
                       [this, object, stamp = record.pause] { endPause(object, stamp); });
}

void FileWatcherManager::endPause(FileWatchObject *object, Stamp stamp)
{
    const auto record = m_records.constFind(object);
    if (record != m_records.constEnd() && record->pause == stamp && !m_held.contains(object))
        object->paused = false;
}

void FileWatcherManager::ownSave(FileWatchObject *object, const QString &name)
{
    renewPause(object);
    const auto record = m_records.find(object);
    if (record == m_records.end())
        return;
    record->saves = true;
    record->found = record->own = FileStamp::of(name);
    if (m_saving.isEmpty())
        QTimer::singleShot(0, this, &FileWatcherManager::settleSaves);
    m_saving.insert(name, object);
}

void FileWatcherManager::noteWritten(const QString &name)
{
    if (!manager)
        return;
    const QList<FileWatchObject *> saving = manager->m_saving.values(name);
    for (FileWatchObject *object : saving) {
        manager->m_records[object].own = FileStamp::of(name);
        manager->noteKnown(object, name);
    }
}

/// The saves are through. One that has left its file as it was brings no notification.
void FileWatcherManager::settleSaves()
{
    const auto saving = std::exchange(m_saving, {});
    for (auto save = saving.begin(); save != saving.end(); ++save) {
        Record &record = m_records[save.value()];
        // Not by an archive: an engine may write its files in a way of its own.
        if (record.own == record.found) {
            record.own = FileStamp::of(save.key());
            if (!(record.own == record.found))
                noteKnown(save.value(), save.key());
        }
        if (record.own == record.found)
            endPauseLater(save.value());
    }
}

void FileWatcherManager::renewPause(FileWatchObject *object)
{
    const auto record = m_records.find(object);
    if (record == m_records.end())
        return;
    record->pause = ++m_lastStamp;
    record->saves = false;
}

bool FileWatcherManager::hold(FileWatchObject *object)
{
    if (!m_records.contains(object))
        return false;
    m_held.insert(object);
    return true;
}

bool FileWatcherManager::letGo(FileWatchObject *object)
{
    if (!m_held.remove(object))
        return false;
    // A notification that is late finds the file as it was written under the hold.
    m_records[object].own = FileStamp::of(object->fileName());
    return true;
}

FileWatchHold::FileWatchHold(const QList<FileWatchObject *> &objects)
    : m_objects(objects)
{
    for (FileWatchObject *object : objects) {
        if (manager->hold(object))
            object->pauseWatch(true);
    }
}

FileWatchHold::~FileWatchHold()
{
    // The notifications of what was written under the hold must find it still there.
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    for (FileWatchObject *object : qAsConst(m_objects)) {
        if (manager && manager->letGo(object))
            object->pauseWatch(false);
    }
}

FileWatchObject::FileWatchObject()
{
    FileWatcherManager::retain().add(this);
}

FileWatchObject::FileWatchObject(const FileWatchObject &other)
    : paused(other.paused)
{
    FileWatcherManager::retain();
}

FileWatchObject::~FileWatchObject()
{
    manager->remove(this);
    FileWatcherManager::releaseOne();
}

bool FileWatchObject::fromFile(Archive &, const QString &name, bool asCopy)
{
    if (asCopy)
        return true;
    manager->follow(this, fileName(), name);
    manager->noteKnown(this, name);
    return true;
}

bool FileWatchObject::toFile(Archive &, const QString &name, bool asCopy)
{
    if (asCopy)
        return true;
    manager->follow(this, fileName(), name);
    paused = true;
    manager->ownSave(this, name);
    return true;
}

FileWatchObject::DiskState FileWatchObject::diskState()
{
    return manager->diskState(this);
}

void FileWatchObject::acceptDisk()
{
    manager->noteKnown(this, fileName());
}

void FileWatchObject::loaded(const FileStamp &stamp, const QString &name, const QByteArray &bytes)
{
    manager->noteLoaded(this, name, stamp, bytes);
}

void FileWatchObject::setListener(const std::function<void(const QString &path)> &told)
{
    listener() = told;
}

void FileWatchObject::pauseWatch(bool pause)
{
    paused = pause;
    manager->renewPause(this);
}

} // namespace Kiln
