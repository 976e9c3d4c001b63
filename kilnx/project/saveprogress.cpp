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

SaveProgress::SaveProgress(const QString &text, int steps, int parts, Cancel cancel)
    : m_steps(steps)
    , m_parts(parts)
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

void SaveProgress::partDone()
{
    ++m_partsDone;
    if (m_countsParts) {
        tell(0);
    } else if (m_clock.elapsed() >= patienceMs) {
        m_countsParts = true;
        tell(m_steps + m_parts);
    }
}

void SaveProgress::tell(int total)
{
    if (!m_progress || isCancelled())
        return;
    const int value = m_countsParts ? m_stepsDone + m_partsDone : m_stepsDone;
    m_progress->setProgress(static_cast<unsigned int>(value), static_cast<unsigned int>(total),
                            &m_isCancelled);
}

} // namespace Kiln
