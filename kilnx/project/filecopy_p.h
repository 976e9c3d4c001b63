#pragma once

#include <kilnx/project/archive_p.h>

#include <QtCore/QString>

#include <atomic>

namespace Kiln
{

/// What became of a copy.
struct FileCopyResult {
    bool isDone = false; ///< else there is nothing in the place
    QString error;       ///< the system's own words
};

/// Copies files on disk to places, in directories that are there, where nothing is.
class FileCopier
{
public:
    /// `care` is Whole or Staged. Once `isStopped`, nothing more is copied.
    FileCopier(NewFiles::Care care, const std::atomic<bool> &isStopped)
        : m_care(care)
        , m_isStopped(&isStopped)
    {
    }
    /// On any thread.
    FileCopyResult copy(const QString &from, const QString &to) const;

private:
    NewFiles::Care m_care;
    const std::atomic<bool> *m_isStopped;
};

} // namespace Kiln
