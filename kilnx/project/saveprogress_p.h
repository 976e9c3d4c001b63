#pragma once

#include <kilnx/export.h>
#include <kilnx/project/progress.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QString>

namespace Kiln
{

/// The host's progress indicator while files are written; without a host there is none.
///
/// What it counts are the steps of the operation, as few as the open projects. Where that takes
/// longer than a moment its parts count, too, each file and each further portion of a large one, so
/// that the indicator moves and can be cancelled. A host that shows it may handle events, behind
/// which projects are closed.
class KILNX_EXPORT SaveProgress
{
public:
    enum Cancel { NoCancel, MayCancel };

    SaveProgress(const QString &text, int steps, int parts, Cancel cancel = MayCancel);
    ~SaveProgress();

    void stepDone();
    /// Tells what is left of the first `steps`.
    void stepsDone(int steps);
    void partDone();
    /// The user does not want it any more. False after commit().
    bool isCancelled() const { return m_isCancelled && !m_isCommitted; }
    /// From here on there is no way back.
    void commit() { m_isCommitted = true; }
    bool isCommitted() const { return m_isCommitted; }

    /// After how many milliseconds the parts count. Returns the time before.
    static int setPatience(int ms);

private:
    void tell(int total);

    Progress *m_progress = nullptr;
    QElapsedTimer m_clock;
    int m_steps;
    int m_parts;
    int m_stepsDone = 0;
    int m_partsDone = 0;
    bool m_countsParts = false;
    bool m_isCancelled = false;
    bool m_isCommitted = false;
    Q_DISABLE_COPY(SaveProgress)
};

} // namespace Kiln
