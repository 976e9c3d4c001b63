#pragma once

#include <kilnx/export.h>

#include <QtCore/QFile>

/// The device of FileSystemArchive: replaces an existing file through a temporary one.
///
/// While it is open for such a write, this QFile has the temporary name, and `target` holds the
/// file under its final name open. The destructor commits: target removed, temporary renamed. An
/// open for reading, or of a name without a regular file, is an ordinary one; a new file that
/// could not be written whole goes away again.
class KILNX_EXPORT File : public QFile
{
public:
    /// How often the removal and the renaming are tried, with a pause between attempts.
    static constexpr int attempts = 15;
    static constexpr unsigned long pauseSeconds = 1000;
    using Pause = void (*)(unsigned long seconds);
    /// Replaces the pause between attempts, QThread::sleep, and returns the one before.
    static Pause setPause(Pause pause);

    explicit File(const QString &path);
    ~File() override;

    bool open(OpenMode mode) override;
    /// What was written is not whole: an older file stays as it was.
    void discard();
    /// Where the destructor tells whether what was written now stands under the final name.
    void tellResult(bool *result) { m_result = result; }

protected:
    qint64 writeData(const char *data, qint64 size) override;

private:
    bool openTemporary(OpenMode mode);
    void keepOwnerAndPermissions();
    bool isWritten();
    bool isSynced();
    bool commit();
    bool finishDirect();

    QFile target;
    /// The name that was asked for; empty while nothing is written.
    QString m_written;
    /// A write has failed: the temporary must not replace the target.
    bool m_failed = false;
    /// Opened directly, for writing, where nothing was.
    bool m_isNew = false;
    bool *m_result = nullptr;
};

namespace Kiln
{

/// Sets FileSystemArchive::lastError().
void setFileError(const QString &error);

} // namespace Kiln
