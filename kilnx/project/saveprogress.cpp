#include <kilnx/project/saveprogress_p.h>

#include <kilnx/project/interface.h>

#include <utility>

namespace Kiln
{

static int patienceMs = 400;

int SaveProgress::setPatience(int ms)
{
    return std::exchange(patienceMs, ms);
}

SaveProgress::SaveProgress(const QString &text, int steps, int files, Cancel cancel)
    : m_steps(steps)
    , m_files(files)
    , m_isCommitted(cancel == NoCancel)
{
    if (Interface *interface = Interface::instance())
        m_progress = interface->progress(text, cancel == MayCancel);
    m_clock.start();
    if (m_progress)
        m_progress->setProgress(0, static_cast<unsigned int>(steps), nullptr);
}

SaveProgress::~SaveProgress()
{
    if (m_progress)
        m_progress->finish();
}

void SaveProgress::stepDone()
{
    ++m_stepsDone;
    tell(0);
}

void SaveProgress::stepsDone(int steps)
{
    while (m_stepsDone < steps)
        stepDone();
}

void SaveProgress::fileDone()
{
    ++m_filesDone;
    if (m_countsFiles) {
        tell(0);
    } else if (m_clock.elapsed() >= patienceMs) {
        m_countsFiles = true;
        tell(m_steps + m_files);
    }
}

void SaveProgress::tell(int total)
{
    if (!m_progress || isCancelled())
        return;
    const int value = m_countsFiles ? m_stepsDone + m_filesDone : m_stepsDone;
    m_progress->setProgress(static_cast<unsigned int>(value), static_cast<unsigned int>(total),
                            &m_isCancelled);
}

} // namespace Kiln
