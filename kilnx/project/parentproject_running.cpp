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
#include <QtCore/QTimer>
#include <QtWidgets/QWidget>

#include <algorithm>

namespace Kiln
{

namespace
{

constexpr int StopPatience = 3000; // milliseconds that the engine has to end by itself
constexpr int MostKept = 64 << 20; // bytes of each stream that can be read once more

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

/// The engine's process. What it writes is read as it comes, and can be read once more afterwards:
/// not all of it where an engine writes without end.
class EngineProcess : public QProcess
{
public:
    explicit EngineProcess(bool keepsOutput)
        : m_keepsOutput(keepsOutput)
    {
    }

    QByteArray take(ProcessChannel channel)
    {
        setReadChannel(channel);
        const QByteArray data = readAll();
        if (m_keepsOutput)
            m_kept[channel].append(data.constData(),
                                   qMin(data.size(), MostKept - m_kept[channel].size()));
        return data;
    }
    /// From now on everything is there again.
    void replay() { m_isReplaying = true; }

    qint64 bytesAvailable() const override { return QProcess::bytesAvailable() + rest().size(); }
    bool canReadLine() const override { return QProcess::canReadLine() || rest().contains('\n'); }

protected:
    qint64 readData(char *data, qint64 size) override
    {
        const QByteArray next = rest();
        const int count = int(qMin(size, qint64(next.size())));
        std::copy_n(next.constData(), count, data);
        m_replayed[readChannel()] += count;
        return count > 0 ? count : QProcess::readData(data, size);
    }

private:
    QByteArray rest() const
    {
        if (!m_isReplaying)
            return QByteArray();
        const QByteArray &kept = m_kept[readChannel()];
        const int from = m_replayed[readChannel()];
        return QByteArray::fromRawData(kept.constData() + from, kept.size() - from);
    }

    const bool m_keepsOutput;
    bool m_isReplaying = false;
    QByteArray m_kept[2]; ///< by channel
    int m_replayed[2] = {0, 0};
};

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
        emit engineNotFound(executable);
        showCritical(dialogParent(), tr("Error!"), tr("Executable not found!"));
        result = false;
    } else if (isReady) {
        d->runProcess(executable, target.arguments, output);
    }
    removeTemporaries(temporaries);
    return result;
}

bool ParentProject::isRunning() const
{
    return !d->runFinished;
}

void ParentProject::stopEngine()
{
    d->stopEngine();
}

void ParentProjectPrivate::stopEngine()
{
    if (!engineProcess)
        return;
    if (engineIsStopping) {
        engineProcess->kill();
        return;
    }
    engineIsStopping = true;
    QTimer::singleShot(StopPatience, engineProcess.data(), &QProcess::kill);
    engineProcess->terminate();
}

void ParentProjectPrivate::runProcess(const QString &executable,
                                      const QString &arguments,
                                      QString *output)
{
    EngineProcess process(output != nullptr);
    engineProcess = &process;
    runFinished = false;
    engineIsStopping = false;
    const QPointer<QObject> self(this);
    const auto tell = [this, self, &process](QProcess::ProcessChannel channel) {
        const QByteArray data = process.take(channel);
        if (self && !data.isEmpty())
            emit q->engineWrote(data, channel == QProcess::StandardError);
    };
    connect(
        &process, &QProcess::errorOccurred, this, [this, &process](QProcess::ProcessError error) {
            if (error != QProcess::FailedToStart)
                return;
            runFinished = true;
            showCritical(dialogParent(), ParentProject::tr("Error %1!").arg(error),
                         ParentProject::tr("Can't start the process '%1'!").arg(process.program()));
        });
    connect(&process, &QProcess::started, this,
            [this, &process] { emit q->engineStarted(process.program(), process.arguments()); });
    connect(&process, &QProcess::readyReadStandardOutput, this,
            [tell] { tell(QProcess::StandardOutput); });
    connect(&process, &QProcess::readyReadStandardError, this,
            [tell] { tell(QProcess::StandardError); });
    connect(&process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this, self, tell](int exitCode, QProcess::ExitStatus status) {
                tell(QProcess::StandardOutput);
                tell(QProcess::StandardError);
                if (!self)
                    return;
                runFinished = true;
                emit q->engineEnded(exitCode, status == QProcess::CrashExit);
            });
    process.setWorkingDirectory(QFileInfo(executable).absolutePath());
    process.setProgram(executable);
    if (!arguments.isEmpty())
        process.setArguments(arguments.split(QLatin1Char(' ')));
    process.start(QIODevice::ReadWrite);
    while (self && !runFinished) {
        process.waitForFinished(10);
        QCoreApplication::processEvents();
    }
    // The user may have closed the project meanwhile; its game goes with it.
    if (!self) {
        process.kill();
        process.waitForFinished();
    } else if (output) {
        process.replay();
        *output = q->outputString(&process);
    }
}

} // namespace Kiln
