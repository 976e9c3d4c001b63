#include <kilnx/project/filedialogs.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/interface.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtWidgets/QFileDialog>

namespace Kiln
{

static bool hasOption(const char *key)
{
    const Interface *interface = Interface::instance();
    return interface && interface->option(QString::fromLatin1(key), QVariant()).toBool();
}

static QFileDialog::Options openOptions()
{
    return hasOption("use_native_open") ? QFileDialog::Options()
                                        : QFileDialog::Options(QFileDialog::DontUseNativeDialog);
}

QString getExistingDirectory(QWidget *parent, const QString &caption, const QString &directory)
{
    return QFileDialog::getExistingDirectory(parent, caption, directory, QFileDialog::ShowDirsOnly);
}

QString getOpenFileName(QWidget *parent,
                        const QString &caption,
                        const QString &directory,
                        const QString &filter)
{
    return QFileDialog::getOpenFileName(parent, caption, directory, filter, nullptr, openOptions());
}

QStringList getOpenFileNames(QWidget *parent,
                             const QString &caption,
                             const QString &directory,
                             const QString &filter)
{
    QStringList names =
        QFileDialog::getOpenFileNames(parent, caption, directory, filter, nullptr, openOptions());
    if (hasOption("sort_file_names"))
        names.sort(Qt::CaseSensitive);
    return names;
}

QString getSaveFileName(QWidget *parent,
                        const QString &caption,
                        const QString &directory,
                        const QString &filter)
{
    return QFileDialog::getSaveFileName(parent, caption, directory, filter);
}

QString getSaveFileName(QWidget *parent,
                        const QString &caption,
                        const QString &directory,
                        const QString &filter,
                        const QString &suffix)
{
    for (;;) {
        const QString given = getSaveFileName(parent, caption, directory, filter);
        if (given.isEmpty() || given.endsWith(suffix))
            return given;
        const QString path = given + suffix;
        const QString question =
            QCoreApplication::translate("Kiln::FileEditor",
                                        "The file '%1' exists. Do you want to replace it?")
                .arg(QDir::toNativeSeparators(path));
        if (!QFileInfo::exists(path) || askQuestion(parent, caption, question))
            return path;
    }
}

} // namespace Kiln
