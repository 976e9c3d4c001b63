#include "sample.h"

#include <kilnx/project/archive.h>
#include <kilnx/project/paths.h>

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>

namespace Studio
{

QString deliveredSample()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() +
                           QLatin1String("/" STUDIO_SAMPLE));
}

// What is begun and broken off is no project yet.
bool copyDirectory(const QString &from, const QString &to)
{
    Kiln::Archive &disk = Kiln::FileSystemArchive::instance();
    const QString part = to + QLatin1String(".part");
    QDir(part).removeRecursively();
    QDirIterator files(from, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    bool isWhole = files.hasNext();
    while (isWhole && files.hasNext()) {
        const QString name = files.next();
        isWhole = Kiln::copyFile(disk, name, disk, part + name.mid(from.size()));
    }
    return isWhole && QDir().rename(part, to);
}

} // namespace Studio
