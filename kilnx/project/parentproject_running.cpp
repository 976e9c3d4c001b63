#include <kilnx/project/parentproject.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/forms/rundlg.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/parentproject_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QRect>
#include <QtWidgets/QWidget>

namespace Kiln
{

namespace
{

QWidget *dialogParent()
{
    Interface *interface = Interface::instance();
    return interface ? interface->mainWindow() : nullptr;
}

/// Where the dialog stood last, kept for the length of the process and in the settings.
QRect &runGeometry()
{
    static QRect geometry =
        Interface::instance()->option(QStringLiteral("project_run_geometry"), QVariant()).toRect();
    return geometry;
}

/// Lets the user choose among several executables; -1 when the user cancels.
int askForTarget(Engine *engine, int selected)
{
    RunDlg dialog(dialogParent(), engine, selected);
    if (runGeometry().isValid())
        dialog.setGeometry(runGeometry());
    const bool isAccepted = dialog.exec() == QDialog::Accepted;
    runGeometry() = dialog.geometry();
    Interface::instance()->setOption(QStringLiteral("project_run_geometry"), runGeometry());
    return isAccepted ? dialog.selectedRow() : -1;
}

/// Finds out which executable to start. False when the user does not want any.
bool chooseTarget(Engine *engine, EngineInstances::Info &target)
{
    Interface *interface = Interface::instance();
    if (!interface || !engine || engine->count() == 0) {
        showWarning(
            dialogParent(), ParentProject::tr("Warning!"),
            ParentProject::tr("Oops, you need to add an engine first. Do it in Tools / Options."));
        return true;
    }
    const QString lastKey = QStringLiteral("last_") + engine->displayName();
    int row = 0;
    if (engine->count() > 1) {
        row = askForTarget(engine, interface->option(lastKey, 0).toInt());
        if (row < 0)
            return false;
    }
    target = engine->at(static_cast<unsigned int>(row));
    interface->setOption(lastKey, row);
    return true;
}

/// Links are removed, never followed.
void removeTree(const QString &directory)
{
    constexpr QDir::Filters everything =
        QDir::Dirs | QDir::Files | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot;
    const QFileInfoList entries = QDir(directory).entryInfoList(everything);
    for (const QFileInfo &entry : entries) {
        if (entry.isDir() && !entry.isSymLink())
            removeTree(entry.absoluteFilePath());
        else
            QFile::remove(entry.absoluteFilePath());
    }
    QDir().rmdir(directory);
}

void removeTemporaries(const QStringList &temporaries)
{
    for (const QString &name : temporaries) {
        QString directory = name;
        while (directory.endsWith(QLatin1Char('/')))
            directory.chop(1);
        if (directory == name || QFileInfo(directory).isSymLink())
            QFile::remove(directory);
        else if (!directory.isEmpty())
            removeTree(directory);
    }
}

} // namespace

bool ParentProject::run(QString *output)
{
    if (!d->runFinished) {
        showWarning(dialogParent(), tr("Warning!"),
                    tr("Oops, you can run only one instance of yhe engine at the same time."));
        return false;
    }
    EngineInstances::Info target;
    if (!isGame() && !chooseTarget(engine(), target))
        return false;
    QString executable = target.executable;
    QStringList temporaries;
    const bool isReady = prepareRun(executable, temporaries);
    bool result = isReady;
    if (!QFile::exists(executable)) {
        showCritical(dialogParent(), tr("Error!"), tr("Executable not found!"));
        result = false;
    } else if (isReady) {
        d->runProcess(executable, target.arguments, output);
    }
    removeTemporaries(temporaries);
    return result;
}

void ParentProjectPrivate::runProcess(const QString &executable,
                                      const QString &arguments,
                                      QString *output)
{
    runFinished = false;
    QProcess process;
    connect(
        &process, &QProcess::errorOccurred, this, [this, &process](QProcess::ProcessError error) {
            if (error != QProcess::FailedToStart)
                return;
            runFinished = true;
            showCritical(dialogParent(), ParentProject::tr("Error %1!").arg(error),
                         ParentProject::tr("Can't start the process '%1'!").arg(process.program()));
        });
    connect(&process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this] { runFinished = true; });
    process.setWorkingDirectory(QFileInfo(executable).absolutePath());
    process.setProgram(executable);
    if (!arguments.isEmpty())
        process.setArguments(arguments.split(QLatin1Char(' ')));
    process.start(QIODevice::ReadWrite);
    const QPointer<QObject> self(this);
    while (self && !runFinished) {
        process.waitForFinished(10);
        QCoreApplication::processEvents();
    }
    // The user may have closed the project meanwhile; its game goes with it.
    if (!self) {
        process.kill();
        process.waitForFinished();
    } else if (output)
        *output = q->outputString(&process);
}

} // namespace Kiln
