#pragma once

#include <kilnx/export.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QIODevice>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Kiln
{

/// A store of named files. Every file access of a project goes through one, so that a project can
/// live on a plain directory or behind anything else that has names and contents.
///
/// Owned by count: whoever keeps an archive calls addOwner(), and removeOwner() when it lets go;
/// the last one destroys it through free(). ParentProject, Project and each ProjectFile are owners.
/// An archive with storage of its own deletes itself in free() and commits in flush() what is
/// still pending. GUI thread only.
class KILNX_EXPORT Archive
{
public:
    /// The number of owners, 0 at construction.
    int refCount = 0;

    /// Commits what is pending.
    virtual void flush() = 0;
    virtual bool isReadOnly() const = 0;
    /// The names in a directory; "." and ".." and symbolic links are always left out.
    virtual QStringList
    entries(const QString &path, QDir::Filters filters, QDir::SortFlags sort) const = 0;
    /// The same entries with what is known about them.
    virtual QList<QFileInfo>
    infoEntries(const QString &path, QDir::Filters filters, QDir::SortFlags sort) const = 0;
    /// Opens a file. Writing makes missing directories. Returns null when the file cannot be
    /// opened, and shows nothing; otherwise the device must go back through closeFile().
    virtual QIODevice *openFile(const QString &path, QIODevice::OpenMode mode) = 0;
    /// Closes and deletes a device of openFile(); null is ignored. What was written is in the
    /// store afterwards, whole; a device on which a write failed leaves an older file as it was.
    /// Use closeWritten() to learn which it was.
    virtual void closeFile(QIODevice *device) = 0;
    virtual bool fileExists(const QString &path) const = 0;
    /// False when there is no such file or it cannot be removed.
    virtual bool removeFile(const QString &path) = 0;
    virtual ~Archive() = default;

    /// Closes a device like closeFile(). True when what was written to it is in the store; false
    /// after a failed write, sync or renaming, and for null: nothing may count as saved then. Of a
    /// device that is no QFileDevice, look at the results of the writes.
    bool closeWritten(QIODevice *device);

    void addOwner() { ++refCount; }
    /// Takes one owner off; the last one calls free(), after which the archive may be gone.
    void removeOwner();

private:
    /// The last owner has let go.
    virtual void free() = 0;
};

/// The plain file system.
///
/// An existing regular file is never overwritten in place: the device of openFile() writes to a
/// temporary file beside it, named as the file with six random characters appended, and closing
/// replaces the file by it. A process that dies in between leaves the old or the new contents
/// whole under the file's name, where the system can replace a file in one step; a write that fails
/// leaves the old file, and no file where there was none. Where the disk does not confirm a whole
/// temporary, or it cannot be renamed, it stays beside the old file. The new file keeps the old
/// one's permissions, and a symbolic link stays a link: what it points at is replaced.
class KILNX_EXPORT FileSystemArchive : public Archive
{
public:
    /// The one object of the process, which nothing destroys. A copy takes its count along.
    static FileSystemArchive &instance();
    /// Why the last file that was opened for writing could not be opened, or was not saved: the
    /// system's own words, as in "Permission denied". Empty when it was.
    static QString lastError();

    void flush() override;
    bool isReadOnly() const override;
    QStringList
    entries(const QString &path, QDir::Filters filters, QDir::SortFlags sort) const override;
    QList<QFileInfo>
    infoEntries(const QString &path, QDir::Filters filters, QDir::SortFlags sort) const override;
    QIODevice *openFile(const QString &path, QIODevice::OpenMode mode) override;
    void closeFile(QIODevice *device) override;
    bool fileExists(const QString &path) const override;
    bool removeFile(const QString &path) override;

private:
    FileSystemArchive() = default;
    void free() override;
};

} // namespace Kiln
