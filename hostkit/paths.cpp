#include <hostkit/paths.h>

#include <QCoreApplication>
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

} // namespace HostKit
