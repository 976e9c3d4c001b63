#pragma once

#include <kilnx/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <functional>

namespace Kiln
{

class Archive;
struct FileStamp;

/// Tells a file when it was changed on disk from outside, and asks the user before it is reloaded.
///
/// A mix-in: a file type derives from it and calls its fromFile() and toFile() first in its own,
/// so that the watched path follows its name. While the option "enable_file_watcher" is true, a
/// change of the file brings the question "File modified", once for all objects on that path, and
/// Yes calls reload() of each. An object's own save is recognised by what it has left on disk, and
/// is not asked about, however late the system tells of it; the others on the same path are, and so
/// is what another program writes right over it. Files that another program replaces by renaming
/// stay watched, and a file that is deleted is reported when it comes back. All objects share one
/// hidden manager.
class KILNX_EXPORT FileWatchObject
{
public:
    FileWatchObject();
    /// A copy has the same paused state and is never told of changes.
    FileWatchObject(const FileWatchObject &other);
    FileWatchObject &operator=(const FileWatchObject &other) = default;

    virtual ~FileWatchObject();
    /// Follows a load, before fileName() changes to `name`. Nothing for `asCopy`, since the file
    /// does not become this object's. Always true.
    virtual bool fromFile(Archive &archive, const QString &name, bool asCopy);
    /// Follows a save in the same way, and pauses until 250 milliseconds after the change that
    /// the save makes has come in.
    virtual bool toFile(Archive &archive, const QString &name, bool asCopy);
    /// The path that this object stands for; empty if none.
    virtual QString fileName() = 0;
    /// Loads the file again.
    virtual void reload() = 0;
    /// A paused object is not asked about; the pause ends 250 milliseconds after the next change
    /// of a watched file.
    virtual void pauseWatch(bool pause);

    bool isWatchPaused() const { return paused; }

    /// The file on disk beside what this object has loaded or saved last.
    enum class DiskState { Same, Changed, Gone };
    /// Looks at the disk now. With a listener, a file that was written again with the same bytes is
    /// the same, up to 64 MiB.
    DiskState diskState();
    /// Takes the file as it is now for known, as if it had been loaded.
    void acceptDisk();

    /// A host that tells its user in a way of its own: in place of the question, `listener` hears
    /// the path of each watched file that was written, by whomever, has gone or is back, while
    /// "enable_file_watcher" is true. It is called from the event loop, for many files in a row,
    /// and has to return at once. An empty one brings the question back.
    static void setListener(const std::function<void(const QString &path)> &listener);

protected:
    /// Behind fromFile(), for a file type that has the bytes at hand: what was loaded are `bytes`,
    /// from the file as it was at `stamp`. Without it the file is read once more, to know it again.
    void loaded(const FileStamp &stamp, const QString &name, const QByteArray &bytes);

private:
    friend class FileWatcherManager;
    bool paused = false;
};

} // namespace Kiln
