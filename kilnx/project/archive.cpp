#include <kilnx/project/archive.h>

#include <QtCore/QFile>
#include <QtCore/QThread>

#include <kilnx/project/archive_p.h>
#include <kilnx/project/filewatch_p.h>
#include <kilnx/project/paths.h>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

static void sleepSeconds(unsigned long seconds)
{
    QThread::sleep(seconds);
}

static File::Pause pauseBetweenAttempts = sleepSeconds;

File::Pause File::setPause(Pause pause)
{
    return std::exchange(pauseBetweenAttempts, pause);
}

/// The file that a name stands for in the end: a symbolic link is written through, not replaced.
static QString resolved(const QString &path)
{
    const QFileInfo info(path);
    const QString canonical = info.isSymLink() ? info.canonicalFilePath() : QString();
    return canonical.isEmpty() ? path : canonical;
}

File::File(const QString &path)
    : QFile(path)
    , target(path)
{
}

File::~File()
{
    if (target.isOpen())
        commit();
    close();
    if (!m_written.isEmpty())
        Kiln::FileWatcherManager::noteWritten(m_written);
}

bool File::open(OpenMode mode)
{
    if (mode & WriteOnly)
        m_written = fileName();
    // Only a regular file has contents to lose; replacing a device or a pipe would destroy it.
    if (!(mode & WriteOnly) || (mode & NewOnly) || !QFileInfo(fileName()).isFile())
        return QFile::open(mode);

    target.setFileName(resolved(fileName()));
    // A temporary that an earlier process left behind may hold the only whole copy of something.
    do
        setFileName(target.fileName() + Kiln::randomString(6));
    while (QFileInfo::exists(fileName()));

    if (openTemporary(mode))
        return true;
    target.close();
    close();
    remove();
    return false;
}

bool File::openTemporary(OpenMode mode)
{
    const bool keepsContents = mode & (ReadOnly | Append);
    if (keepsContents && !QFile::copy(target.fileName(), fileName()))
        return false;
    // An open target shows that it may be written.
    if (!QFile::open(keepsContents ? mode : (mode & ~ExistingOnly) | NewOnly) ||
        !target.open(ReadWrite))
        return false;
    keepOwnerAndPermissions();
    return true;
}

/// As far as the file system and the rights of the process go.
void File::keepOwnerAndPermissions()
{
    const QFileInfo old(target.fileName());
#ifdef Q_OS_UNIX
    // Without the right to give a file away it becomes the user's own.
    [[maybe_unused]] const int given = fchown(handle(), old.ownerId(), old.groupId());
#endif
    // What the present user may do is no right of the file.
    setPermissions(old.permissions() & ~Permissions(ReadUser | WriteUser | ExeUser));
}

void File::discard()
{
    m_failed = true;
}

qint64 File::writeData(const char *data, qint64 size)
{
    const qint64 written = QFile::writeData(data, size);
    m_failed |= written != size;
    return written;
}

/// Whether everything that was written has reached the disk.
bool File::isWhole()
{
    if (m_failed)
        return false;
    if (!isOpen())
        return error() == NoError;
    if (!flush())
        return false;
#ifdef Q_OS_UNIX
    return fsync(handle()) == 0;
#else
    return true;
#endif
}

template<typename Operation>
static bool attempt(Operation operation)
{
    for (int i = 1; !operation(); ++i) {
        if (i == File::attempts)
            return false;
        pauseBetweenAttempts(File::pauseSeconds);
    }
    return true;
}

void File::commit()
{
    // Others may have taken either file away, and waiting brings none back.
    const bool whole = QFile::exists(fileName()) && isWhole();
    target.close();
    if (!whole) {
        close();
        remove();
        return;
    }
    const QString name = target.fileName();
    attempt([&name] { return !QFile::exists(name) || QFile::remove(name); });
    close();
    attempt([this, &name] { return QFile::rename(fileName(), name); });
}

namespace Kiln
{

void Archive::removeOwner()
{
    if (--refCount == 0)
        free();
}

FileSystemArchive &FileSystemArchive::instance()
{
    static FileSystemArchive archive;
    return archive;
}

void FileSystemArchive::flush()
{
}

bool FileSystemArchive::isReadOnly() const
{
    return false;
}

/// No filter means every entry to QDir, and could not take on what is always left out.
static QDir::Filters withoutDotsAndLinks(QDir::Filters filters)
{
    const QDir::Filters wanted = filters == QDir::NoFilter ? QDir::AllEntries : filters;
    return wanted | QDir::NoDotAndDotDot | QDir::NoSymLinks;
}

QStringList
FileSystemArchive::entries(const QString &path, QDir::Filters filters, QDir::SortFlags sort) const
{
    return QDir(path).entryList(withoutDotsAndLinks(filters), sort);
}

QList<QFileInfo> FileSystemArchive::infoEntries(const QString &path,
                                                QDir::Filters filters,
                                                QDir::SortFlags sort) const
{
    return QDir(path).entryInfoList(withoutDotsAndLinks(filters), sort);
}

QIODevice *FileSystemArchive::openFile(const QString &path, QIODevice::OpenMode mode)
{
    if (mode & QIODevice::WriteOnly) {
        const QDir directory = QFileInfo(path).dir();
        if (!directory.exists())
            QDir().mkpath(directory.absolutePath());
    } else if (!QFile::exists(path)) {
        return nullptr;
    }
    auto file = std::make_unique<File>(path);
    return file->open(mode) ? file.release() : nullptr;
}

void FileSystemArchive::closeFile(QIODevice *device)
{
    delete device;
}

bool FileSystemArchive::fileExists(const QString &path) const
{
    return QFile::exists(path);
}

bool FileSystemArchive::removeFile(const QString &path)
{
    return QFile::remove(path);
}

void FileSystemArchive::free()
{
}

} // namespace Kiln
