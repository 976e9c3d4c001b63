#include <hostkit/paths.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QStandardPaths>

namespace HostKit
{

Paths Paths::standard()
{
    const QString config = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    return {QCoreApplication::applicationDirPath(),
            QStandardPaths::writableLocation(QStandardPaths::AppDataLocation), config,
            config + QLatin1Char('/') + QCoreApplication::applicationName() +
                QLatin1String(".ini")};
}

Paths Paths::below(const QString &directory)
{
    return {QCoreApplication::applicationDirPath(), directory + QLatin1String("/data"),
            directory + QLatin1String("/config"),
            directory + QLatin1String("/config/settings.ini")};
}

QString fileOfProject(const QString &directory, const QString &project, const QString &suffix)
{
    const QByteArray base = QDir::cleanPath(project).toUtf8();
    return directory + QLatin1Char('/') +
           QString::fromLatin1(QCryptographicHash::hash(base, QCryptographicHash::Sha1).toHex()) +
           suffix;
}

} // namespace HostKit
