#pragma once

#include <hostkit/export.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QVector>

#include <memory>
#include <optional>

class QTextDecoder;
class QTimer;
class QWidget;

namespace Kiln
{
class ParentProject;
}

namespace HostKit
{

class ProjectSession;
class SaveDesk;

/// Runs the current project in its engine, and tells what the engine writes while it runs.
/// Everything else goes on in the meantime: files are edited and saved, and closing the project
/// ends the engine.
class HOSTKIT_EXPORT RunDesk : public QObject
{
    Q_OBJECT

public:
    /// How a run went.
    enum Outcome {
        Succeeded, ///< exit code 0
        Failed,    ///< another one, or a crash
        Stopped,   ///< by the user
        NotRun
    };

    RunDesk(ProjectSession *session, SaveDesk *saving, QWidget *window);
    ~RunDesk() override;

    /// Offers to save what has changed, for the engine reads the disk, and starts the engine; where
    /// its program is missing, offers to look for it instead. Returns when the engine has ended.
    /// Nothing happens without a project, or while the engine runs.
    void run();
    /// Has the engine end; a second call kills it.
    void stop();
    bool isRunning() const;
    /// Before a project is closed, or all for null, which ends the engine: asks whether it may, if
    /// it runs there.
    bool mayEnd(const Kiln::ParentProject *project);

Q_SIGNALS:
    /// The engine runs now, or has ended.
    void runningChanged(bool isRunning);
    void started(const QString &commandLine);
    /// What the engine wrote, some twenty times a second at most. Where it writes more than anyone
    /// can read, a line tells how much was left out.
    void wrote(const QString &text, bool isError);
    /// `text` is a sentence about it for the user.
    void ended(HostKit::RunDesk::Outcome outcome, const QString &text);
    /// The user wants to tell where the engine's program is.
    void setUpWanted();

private:
    struct Piece {
        QString text;
        bool isError;
    };
    struct End {
        Outcome outcome;
        QString text;
    };

    bool settleChanges();
    void watch(Kiln::ParentProject *project);
    void take(const QByteArray &data, bool isError);
    void flush();
    void offerSetUp(const QString &program);
    static std::optional<QString> missingProgram(Kiln::ParentProject *project);

    ProjectSession *m_session;
    SaveDesk *m_saving;
    QWidget *m_window;
    QPointer<Kiln::ParentProject> m_project; ///< that runs
    bool m_isRunning = false;
    bool m_isStopping = false;
    bool m_wrote = false; ///< something to its standard output
    QString m_missing;    ///< the program that was not found
    std::optional<End> m_end;
    std::unique_ptr<QTextDecoder> m_decoders[2];
    QVector<Piece> m_pieces; ///< not told yet
    int m_size = 0;          ///< of their texts
    qint64 m_leftOut = 0;
    QTimer *m_timer;
    QElapsedTimer m_clock;
};

} // namespace HostKit
