#include <hostkit/rundesk.h>

#include <hostkit/projectsession.h>
#include <hostkit/savedesk.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/parentproject.h>

#include <QDir>
#include <QFile>
#include <QScopedValueRollback>
#include <QTextCodec>
#include <QTimer>
#include <QWidget>

#include <utility>

namespace HostKit
{

namespace
{
constexpr int pause = 50;            // milliseconds between two flushes
constexpr int mostPending = 1 << 18; // characters that are told in one
} // namespace

RunDesk::RunDesk(ProjectSession *session, SaveDesk *saving, QWidget *window)
    : QObject(window)
    , m_session(session)
    , m_saving(saving)
    , m_window(window)
    , m_timer(new QTimer(this))
{
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &RunDesk::flush);
}

RunDesk::~RunDesk() = default;

bool RunDesk::isRunning() const
{
    return m_isRunning;
}

void RunDesk::run()
{
    Kiln::ParentProject *project = m_session->parentProject();
    if (!project || m_isRunning)
        return;
    m_project = project;
    if (const std::optional<QString> missing = missingProgram(project)) {
        offerSetUp(*missing);
        return;
    }
    if (!m_session->modifiedFiles(project).isEmpty() && (!settleChanges() || !m_project))
        return;
    const QPointer<RunDesk> self(this);
    watch(project);
    m_isRunning = true;
    Q_EMIT runningChanged(true);
    QString output;
    const bool hasRun = m_project && m_project->run(&output);
    if (!self)
        return;
    if (m_project)
        m_project->disconnect(this);
    // An engine may find its output elsewhere, as in a file.
    if (!m_wrote && !output.isEmpty())
        m_pieces.append({output, false});
    flush();
    const End otherwise = {m_project || !hasRun ? NotRun : Stopped,
                           m_project ? tr("Not run") : tr("Stopped, as the project was closed")};
    const End end = m_end.value_or(otherwise);
    Q_EMIT ended(end.outcome, end.text);
    m_isRunning = false;
    Q_EMIT runningChanged(false);
    if (self && !m_missing.isEmpty())
        offerSetUp(m_missing);
}

/// False if nothing is to run, as the user says or because not all could be saved.
bool RunDesk::settleChanges()
{
    const Kiln::UnsavedAnswer answer =
        Kiln::askUnsaved(m_window, tr("Run in engine"),
                         tr("The engine reads the saved files. Do you want to save all changes "
                            "first?"),
                         tr("&Run without"));
    if (answer == Kiln::UnsavedAnswer::Save)
        m_saving->saveAll();
    return answer == Kiln::UnsavedAnswer::Discard ||
           (answer == Kiln::UnsavedAnswer::Save && m_project &&
            m_session->modifiedFiles(m_project).isEmpty());
}

void RunDesk::watch(Kiln::ParentProject *project)
{
    m_isStopping = m_wrote = false;
    m_missing.clear();
    m_end.reset();
    m_leftOut = 0;
    for (auto &decoder : m_decoders)
        decoder.reset(QTextCodec::codecForLocale()->makeDecoder());
    connect(project, &Kiln::ParentProject::engineStarted, this,
            [this](const QString &program, const QStringList &arguments) {
                m_clock.start();
                Q_EMIT started((QStringList(QDir::toNativeSeparators(program)) + arguments)
                                   .join(QLatin1Char(' ')));
            });
    connect(project, &Kiln::ParentProject::engineWrote, this, &RunDesk::take);
    connect(project, &Kiln::ParentProject::engineNotFound, this,
            [this](const QString &program) { m_missing = program; });
    connect(project, &Kiln::ParentProject::engineEnded, this, [this](int exitCode, bool crashed) {
        const QString seconds = QString::number(double(m_clock.elapsed()) / 1000, 'f', 1);
        if (m_isStopping)
            m_end = End{Stopped, tr("Stopped after %1 s").arg(seconds)};
        else if (crashed)
            m_end = End{Failed, tr("Crashed after %1 s").arg(seconds)};
        else
            m_end = End{exitCode == 0 ? Succeeded : Failed,
                        tr("Ended with exit code %1 after %2 s").arg(exitCode).arg(seconds)};
    });
}

void RunDesk::take(const QByteArray &data, bool isError)
{
    m_wrote = m_wrote || !isError;
    const QString text = m_decoders[isError ? 1 : 0]->toUnicode(data);
    if (m_pieces.isEmpty() || m_pieces.last().isError != isError)
        m_pieces.append({text, isError});
    else
        m_pieces.last().text += text;
    m_size += text.size();
    while (m_size > mostPending) {
        QString &first = m_pieces.first().text;
        const int count = qMin(first.size(), m_size - mostPending);
        first.remove(0, count);
        m_size -= count;
        m_leftOut += count;
        if (first.isEmpty() && m_pieces.size() > 1)
            m_pieces.removeFirst();
    }
    if (!m_timer->isActive())
        m_timer->start(pause);
}

void RunDesk::flush()
{
    m_timer->stop();
    const QVector<Piece> pieces = std::exchange(m_pieces, {});
    const qint64 leftOut = std::exchange(m_leftOut, 0);
    m_size = 0;
    if (leftOut > 0)
        Q_EMIT wrote(tr("\n[%1 characters left out]\n").arg(leftOut), false);
    for (const Piece &piece : pieces)
        Q_EMIT wrote(piece.text, piece.isError);
}

void RunDesk::stop()
{
    if (!m_project || !m_isRunning)
        return;
    m_isStopping = true;
    m_project->stopEngine();
}

bool RunDesk::mayEnd(const Kiln::ParentProject *project)
{
    return !m_isRunning || (project && project != m_project) ||
           Kiln::askQuestion(m_window, tr("Run in engine"),
                             tr("The engine is still running. Do you want to stop it?"));
}

/// The program that would be run without a question, if it is not there; empty if none is known.
std::optional<QString> RunDesk::missingProgram(Kiln::ParentProject *project)
{
    const Kiln::Engine *engine = project->engine();
    if (!engine || project->isGame() || engine->count() > 1)
        return std::nullopt;
    const QString program = engine->at(0).executable;
    return QFile::exists(program) ? std::nullopt : std::make_optional(program);
}

void RunDesk::offerSetUp(const QString &program)
{
    Kiln::ParentProject *project = m_session->parentProject();
    const Kiln::Engine *engine = project ? project->engine() : nullptr;
    const QString name = engine ? engine->displayName() : QString();
    const QString text = program.isEmpty()
                             ? tr("No program of %1 is known that could run the project.").arg(name)
                             : tr("The program '%1' of %2 does not exist.")
                                   .arg(QDir::toNativeSeparators(program), name);
    if (Kiln::askQuestion(m_window, tr("Run in engine"),
                          text + QLatin1Char(' ') + tr("Do you want to set it now?"), true))
        Q_EMIT setUpWanted();
}

} // namespace HostKit
