#pragma once

#include <kilnx/export.h>

#include <QtCore/QFile>

#include <functional>

namespace Kiln
{

class Archive;

/// How new files come to be on disk while one of these lives. A hidden part, be it of a file or a
/// directory of files, that a killed process has left counts for nothing.
class KILNX_EXPORT NewFiles
{
public:
    enum Care {
        Plain,  ///< under their names from the first byte, and confirmed by the disk
        Synced, ///< in a part beside their place until they are whole and the disk has confirmed it
        Whole,  ///< in a part; they need not be confirmed, as their contents are elsewhere, too
        Staged, ///< at once, as all of their directory is a part
    };

    explicit NewFiles(Care care);
    ~NewFiles();

    /// Plain while none lives.
    static Care care();

private:
    Care m_outer;
    Q_DISABLE_COPY(NewFiles)
};

} // namespace Kiln

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
    /// Whether it is open for writing where nothing was.
    bool isNew() const { return m_isNew; }
    /// What was written is not whole: an older file stays as it was.
    void discard();
    /// Where the destructor tells whether what was written now stands under the final name.
    void tellResult(bool *result) { m_result = result; }

protected:
    qint64 writeData(const char *data, qint64 size) override;

private:
    bool openTemporary(OpenMode mode);
    bool openPart(OpenMode mode);
    bool isWritten();
    bool isSynced();
    bool commit();
    bool commitPart();
    bool finishDirect();

    QFile target;
    /// The name that was asked for; empty while nothing is written.
    QString m_written;
    /// A write has failed: the temporary must not replace the target.
    bool m_failed = false;
    /// Opened directly, for writing, where nothing was.
    bool m_isNew = false;
    /// This is a part, and is to be given m_written as its name.
    bool m_isPart = false;
    Kiln::NewFiles::Care m_care = Kiln::NewFiles::Plain;
    bool *m_result = nullptr;
};

namespace Kiln
{

/// Sets FileSystemArchive::lastError().
void setFileError(const QString &error);

/// What the name of each part begins with.
const QLatin1String partPrefix(".kiln-part-");
/// A name beside `path` for a part of it, which no file has.
QString partBeside(const QString &path);
/// Whether this is the name of a part.
bool isPartName(const QString &fileName);

/// As much of a file as is copied without a look at what the user wants.
constexpr qint64 copiedPortion = 8 * 1024 * 1024;
/// copyFile(), which asks `goesOn` after each portion and gives up where that is false, with an
/// older destination as it was.
bool copyInPortions(Archive &from,
                    const QString &fromName,
                    Archive &to,
                    const QString &toName,
                    const std::function<bool()> &goesOn);

/// Gives a file the owner and the permissions of another, as far as the file system and the rights
/// of the process go.
void takeRights(QFile &file, const QString &of);
/// Lets a new file be executed by those by whom another is.
void takeExecution(QFile &file, const QFile &from);
/// The file that a name stands for in the end, where it is a symbolic link.
QString behindLinks(const QString &path);
/// Puts a file in the place of another in one step, so that at every moment one of the two stands
/// under the name. False, with both as they were, where the system cannot.
bool takePlace(const QString &from, const QString &to);
/// Has the disk confirm everything that was written to the file system of a directory.
bool syncAround(const QString &directory);

} // namespace Kiln
