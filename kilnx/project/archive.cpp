#include <kilnx/project/archive.h>

#include <kilnx/project/archive_p.h>
#include <kilnx/project/filewatch_p.h>
#include <kilnx/project/paths.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QThread>

#include <cstdio>
#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#endif

using Kiln::NewFiles;

static void sleepSeconds(unsigned long seconds)
{
    QThread::sleep(seconds);
}

static File::Pause pauseBetweenAttempts = sleepSeconds;

static QString &fileError()
{
    static QString error;
    return error;
}

File::Pause File::setPause(Pause pause)
{
    return std::exchange(pauseBetweenAttempts, pause);
}

static Kiln::NewFiles::Care currentCare = Kiln::NewFiles::Plain;

File::File(const QString &path)
    : QFile(path)
    , target(path)
{
}

File::~File()
{
    const bool isSaved = target.isOpen() ? commit() : m_isPart ? commitPart() : finishDirect();
    if (m_result)
        *m_result = isSaved;
    close();
    if (isSaved && !m_written.isEmpty())
        Kiln::FileWatcherManager::noteWritten(m_written);
}

bool File::open(OpenMode mode)
{
    if (mode & WriteOnly)
        m_written = fileName();
    // Only a regular file has contents to lose; replacing a device or a pipe would destroy it.
    const bool isReplaced =
        !m_written.isEmpty() && !(mode & NewOnly) && QFileInfo(fileName()).isFile();
    if (!isReplaced) {
        const QFileInfo info(fileName());
        m_isNew = !m_written.isEmpty() && !info.exists();
        m_care = m_isNew && !info.isSymLink() ? NewFiles::care() : NewFiles::Plain;
        const bool isPart = m_care == NewFiles::Synced || m_care == NewFiles::Whole;
        return isPart ? openPart(mode) : QFile::open(mode);
    }

    // A link is written through, not replaced.
    target.setFileName(Kiln::behindLinks(fileName()));
    // A temporary that an earlier process left behind may hold the only whole copy of something.
    do
        setFileName(target.fileName() + Kiln::randomString(6));
    while (QFileInfo::exists(fileName()));

    if (openTemporary(mode))
        return true;
    const QString error = errorString();
    target.close();
    close();
    QFile::remove(fileName());
    setErrorString(error);
    return false;
}

bool File::openTemporary(OpenMode mode)
{
    const bool keepsContents = mode & (ReadOnly | Append);
    if (keepsContents && !QFile::copy(target.fileName(), fileName()))
        return false;
    // An open target shows that it may be written.
    if (!QFile::open(keepsContents ? mode : (mode & ~ExistingOnly) | NewOnly))
        return false;
    if (!target.open(ReadWrite)) {
        setErrorString(target.errorString());
        return false;
    }
    Kiln::takeRights(*this, target.fileName());
    return true;
}

bool File::openPart(OpenMode mode)
{
    setFileName(Kiln::partBeside(m_written));
    m_isPart = QFile::open(mode);
    return m_isPart;
}

void File::discard()
{
    m_failed = true;
}

qint64 File::writeData(const char *data, qint64 size)
{
    qint64 written = 0;
    // A disk that fills up takes a part and says nothing; what it says to the rest is the reason.
    while (written < size) {
        const qint64 more = QFile::writeData(data + written, size - written);
        if (more <= 0)
            break;
        written += more;
    }
    m_failed |= written != size;
    return written;
}

/// Whether everything that was written has reached the system.
bool File::isWritten()
{
    return !m_failed && (isOpen() ? flush() : error() == NoError);
}

/// Whether the disk has confirmed what it is to confirm; where there is no disk, as behind a
/// device, it has.
bool File::isSynced()
{
#ifdef Q_OS_UNIX
    const bool isWanted = m_care == NewFiles::Plain || m_care == NewFiles::Synced;
    if (isWanted && isOpen() && fsync(handle()) != 0 && errno != EINVAL && errno != ENOTSUP) {
        setErrorString(qt_error_string(errno));
        return false;
    }
#endif
    return true;
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

/// The old file stays where the new contents are not whole. Contents that are whole but could not
/// take their place stay, too, under the temporary's name.
bool File::commit()
{
    // Others may have taken either file away, and waiting brings none back.
    const bool isWhole = QFile::exists(fileName()) && isWritten();
    target.close();
    if (!isWhole) {
        Kiln::setFileError(errorString());
        close();
        QFile::remove(fileName());
        return false;
    }
    const QString name = target.fileName();
    const bool isOnDisk = isSynced();
    QString error = errorString();
    close();
    if (isOnDisk) {
        if (Kiln::takePlace(fileName(), name))
            return true;
        attempt([&name] { return !QFile::exists(name) || QFile::remove(name); });
        QFile whole(fileName());
        if (attempt([&] { return whole.rename(name); }))
            return true;
        error = whole.errorString();
    }
    Kiln::setFileError(
        QCoreApplication::translate("Kiln::Archive", "%1 The new contents are in '%2'.")
            .arg(error, fileName()));
    return false;
}

bool File::commitPart()
{
    const bool isWhole = isWritten() && isSynced();
    QString error = errorString();
    close();
    if (isWhole && Kiln::takePlace(fileName(), m_written))
        return true;
    if (isWhole)
        error = qt_error_string();
    Kiln::setFileError(error);
    QFile::remove(fileName());
    return false;
}

bool File::finishDirect()
{
    if (m_written.isEmpty() || (isWritten() && isSynced()))
        return true;
    Kiln::setFileError(errorString());
    close();
    if (m_isNew)
        QFile::remove(fileName());
    return false;
}

namespace Kiln
{

void setFileError(const QString &error)
{
    fileError() = error;
}

NewFiles::NewFiles(Care care)
    : m_outer(std::exchange(currentCare, care))
{
}

NewFiles::~NewFiles()
{
    currentCare = m_outer;
}

NewFiles::Care NewFiles::care()
{
    return currentCare;
}

QString partBeside(const QString &path)
{
    const QString beside = QFileInfo(path).path() + QLatin1Char('/') + partPrefix;
    QString part;
    do
        part = beside + randomString(6);
    while (QFileInfo::exists(part));
    return part;
}

bool isPartName(const QString &fileName)
{
    return fileName.startsWith(partPrefix);
}

void takeRights(QFile &file, const QString &of)
{
    const QFileInfo old(of);
#ifdef Q_OS_UNIX
    // Without the right to give a file away it becomes the user's own.
    [[maybe_unused]] const int given =
        chown(QFile::encodeName(file.fileName()).constData(), old.ownerId(), old.groupId());
#endif
    // What the present user may do is no right of the file.
    constexpr QFile::Permissions ofUser = QFile::ReadUser | QFile::WriteUser | QFile::ExeUser;
    file.setPermissions(old.permissions() & ~ofUser);
}

void takeExecution(QFile &file, const QFile &from)
{
    constexpr QFile::Permissions execution = QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
    const QFile::Permissions taken = from.permissions() & execution;
    if (taken)
        file.setPermissions(file.permissions() | taken);
}

QString behindLinks(const QString &path)
{
    const QFileInfo info(path);
    const QString canonical = info.isSymLink() ? info.canonicalFilePath() : QString();
    return canonical.isEmpty() ? path : canonical;
}

bool takePlace(const QString &from, const QString &to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

bool syncAround(const QString &directory)
{
#ifdef Q_OS_LINUX
    const int handle =
        ::open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool isSynced = handle >= 0 && syncfs(handle) == 0;
    if (!isSynced)
        setFileError(qt_error_string(errno));
    if (handle >= 0)
        ::close(handle);
    return isSynced;
#else
    Q_UNUSED(directory)
#ifdef Q_OS_UNIX
    sync();
#endif
    return true;
#endif
}

bool Archive::closeWritten(QIODevice *device)
{
    bool isSaved = device;
    if (auto *own = dynamic_cast<File *>(device))
        own->tellResult(&isSaved);
    else if (auto *file = qobject_cast<QFileDevice *>(device))
        isSaved = file->flush() && file->error() == QFileDevice::NoError;
    closeFile(device);
    return isSaved;
}

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

QString FileSystemArchive::lastError()
{
    return fileError();
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
        setFileError(QString());
        const QDir directory = QFileInfo(path).dir();
        if (!directory.exists())
            QDir().mkpath(directory.absolutePath());
    } else if (!QFile::exists(path)) {
        return nullptr;
    }
    auto file = std::make_unique<File>(path);
    if (file->open(mode))
        return file.release();
    if (mode & QIODevice::WriteOnly)
        setFileError(file->errorString());
    return nullptr;
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
