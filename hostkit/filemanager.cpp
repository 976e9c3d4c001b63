#include <hostkit/filemanager.h>

#include <kilnx/forms/messageboxes.h>

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QUrl>

namespace HostKit
{

namespace
{
const char context[] = "HostKit::FileManager";
}

void showInFileManager(QWidget *window, const QString &directory)
{
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(directory)))
        Kiln::showWarning(
            window, QCoreApplication::translate(context, "File manager"),
            QCoreApplication::translate(context, "There is no program that shows '%1'.")
                .arg(QDir::toNativeSeparators(directory)));
}

} // namespace HostKit
