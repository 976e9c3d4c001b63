#include "embersnippets.h"

#include <QDir>
#include <QFile>

// The resources of a library are only found once its initialiser was called from outside of every
// namespace.
static void useResources()
{
    Q_INIT_RESOURCE(ember);
}

namespace EmberSnippets
{

bool deliver(const QString &directory)
{
    useResources();
    if (QDir(directory).exists())
        return true;
    bool written = QDir().mkpath(directory);
    const QDir delivered(QStringLiteral(":/ember/snippets"));
    for (const QString &name : delivered.entryList(QDir::Files)) {
        const QString target = directory + QLatin1Char('/') + name;
        written = written && QFile::copy(delivered.filePath(name), target) &&
                  QFile::setPermissions(target, QFile::permissions(target) | QFile::WriteOwner);
    }
    return written;
}

} // namespace EmberSnippets
