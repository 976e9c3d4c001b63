#pragma once

#include <kilnx/export.h>
#include <kilnx/project/project.h>
#include <kilnx/project/tree/treemodel.h>

#include <QtCore/QFlags>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtGui/QIcon>

#include <memory>

class QFileSystemWatcher;
class QProcess;

namespace Kiln
{

class Archive;
class CodeDocument;
class Engine;
class ParentProjectPrivate;
struct PathEntry;
struct SaveReport;

/// What the user opens: a base directory with the projects that live in it, as a tree.
///
/// The model has one column and mixes directories scanned from disk with the files that the
/// definitions name, and follows both as they change: a file that is scanned and named has one
/// row, and a row stays as long as anything wants it. Rows that stay keep their persistent
/// indexes.
///
/// An engine derives from it: the constructor calls addPath() for the directories to show, and
/// then makes the projects. The object destroys itself, through release(), with the last project
/// that was added to it.
class KILNX_EXPORT ParentProject : public TreeModel
{
    Q_OBJECT

public:
    /// How a directory is scanned and watched. Without a flag it is neither.
    enum PathTypeFlag {
        NotScanned = 0,
        ScanDirectories = 1, ///< shows its subdirectories, which are scanned in the same way
        ScanFiles = 2,       ///< shows its files that match the filters
    };
    Q_DECLARE_FLAGS(PathType, PathTypeFlag)

    /// A row of the tree. The tree owns it; it may go with any change of the tree.
    class KILNX_EXPORT Path
    {
    public:
        virtual ~Path();
        /// The absolute name; a directory ends in "/".
        virtual QString path() const = 0;
        /// The last component of the name; at the root the base path without a closing "/".
        virtual QString name() const = 0;
        virtual bool isDirectory() const = 0;
        /// Whether this is a unit of its own: a definition, or what a scan shows one by one.
        virtual bool isItem() const = 0;
        virtual bool isFile() const = 0;
        /// What a definition says that the file is; else 1 for an item and 0 for the rest.
        virtual Project::FileID fileID() const = 0;

        const QList<Path *> &children() const { return m_children; }
        /// Null at the root.
        const Path *parent() const { return m_parent; }
        /// The PathType of a directory; the FileID bits of a file.
        unsigned int type() const { return m_type; }

    protected:
        Path(Path *parent, const QString &name, unsigned int type);
        /// Makes what a scan has found the rows of `node`; the root does the work.
        virtual void update(Path *node, const PathEntry &entries) = 0;
        /// The root's watcher.
        virtual QFileSystemWatcher *watcher() = 0;

        QList<Path *> m_children;
        Path *m_parent;
        QString m_name;
        unsigned int m_type;

    private:
        friend class BasePath;
        Q_DISABLE_COPY(Path)
    };

    /// `basePath` is an absolute directory. Keeps the archive as an owner.
    ParentProject(const QString &basePath, Archive &archive);
    ~ParentProject() override;

    Archive &archive() const;
    /// The base directory, ending in "/".
    QString basePath() const;
    /// How many projects were added and not yet released.
    unsigned int refCount() const;
    QList<Project *> openedProjects() const;

    /// The row of an absolute name, compared with letter case; null outside the tree.
    const Path *filePath(const QString &absolutePath) const;
    /// The row of an index; null for an invalid index.
    const Path *itemPath(const QModelIndex &index) const;
    /// The definition that a row belongs to: from the row upwards the first item, or the item
    /// among that one's children; without any, the place of the first open project. May be null.
    const Path *projectForFile(const Path *path) const;
    /// Whether the engine's executable lies in the base directory.
    bool isGame() const;

    // Saving, a copy elsewhere, a backup: what goes where is settled before the first byte. Each
    // file has one source, and an open, changed one comes before everything else. A failure does
    // not stop the others; saveReport() tells all that happened. While one of them runs, another
    // does nothing.

    /// Saves every modified file, asking for a name where a file has no place on disk.
    void save();
    /// Saves everything below another directory and moves there. `path` is that directory or, for
    /// one definition that is no game, the definition's new file name. Existing files are
    /// replaced: look at replacedBySaveAs() first. Where a directory or a definition cannot be
    /// written, or the user cancels it while files are copied, the project stays as it was, and
    /// nothing new is in the other place.
    void saveAs(const QString &path);
    /// The existing files that saveAs() would replace by others; touches nothing.
    QStringList replacedBySaveAs(const QString &path) const;
    /// Copies everything, as it is in memory, to a dated directory below "backup/". True, also
    /// where files are missing in it: see saveReport(). False, and nothing is kept, when the user
    /// cancels it or the project is closed meanwhile, and while something is being saved.
    bool backup(const QString &name);
    /// Copies the files of a backup, named by its directory, back over the project and loads them.
    /// False, with nothing changed, for a read-only archive or an unknown name, and when the user
    /// cancels it or the project is closed before all are copied. Of an archive other than the
    /// disk it cannot be cancelled, and what was copied before such a close stays.
    bool restoreBackup(const QString &name);
    /// The files that restoreBackup() would replace and that are not as in the backup.
    QStringList replacedByRestore(const QString &name) const;
    /// What the last of these operations did; replaced when the next one is done.
    const SaveReport &saveReport() const;
    /// Starts the engine on the project and returns when it has ended; events are handled in the
    /// meantime. `output` receives what the process wrote unless it is null. False when nothing
    /// ran, after a message where there is something to tell.
    bool run(QString *output);
    /// Whether run() has started the engine and it has not ended yet.
    bool isRunning() const;
    /// Asks the engine that run() has started to end. One that has not after three seconds, or at a
    /// second call, is killed.
    void stopEngine();

    QModelIndex
    index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    using QObject::parent;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    /// The engine of the project.
    virtual Engine *engine() = 0;

protected:
    /// An icon of the engine's own for a file of these types; a null icon leaves the choice to the
    /// library.
    virtual QIcon fileIcon(Project::FileID id);

public:
    /// Appends the files below `path` that belong to it and are to be copied with the project,
    /// both relative to the base directory.
    virtual void collectFiles(const QString &path, QStringList &out) = 0;
    /// Gets everything ready for run(): may change the executable, and appends what is to be
    /// removed afterwards, directories with a closing "/". False keeps the engine from starting.
    virtual bool prepareRun(QString &executable, QStringList &temporaries) = 0;

protected:
    /// What run() gives back of a process that has ended: its standard output.
    virtual QString outputString(QProcess *process);

public:
    /// The last project is gone: the final class deletes itself.
    virtual void release() = 0;

protected:
    /// Shows a directory, relative to the base. Missing levels get the same type and filters;
    /// levels that exist keep theirs. Filters are wildcards as in "*.txt".
    void addPath(const QString &name, PathType type, const QStringList &filters);
    /// Takes the row of that name away, relative to the base or absolute; nothing if unknown.
    void removePath(const QString &name);
    /// Enters the document's project in the tree, with the files that it names, now and on each
    /// change of the text.
    void addRef(CodeDocument *document);

Q_SIGNALS:
    // What goes on during run(). A slot may close the project.

    /// The engine's process is there.
    void engineStarted(const QString &program, const QStringList &arguments);
    /// It wrote to its standard output or, with `isError`, to its standard error.
    void engineWrote(const QByteArray &data, bool isError);
    /// It has ended, by itself with an exit code or, with `crashed`, by a signal; not told when it
    /// is killed because the project is closed.
    void engineEnded(int exitCode, bool crashed);
    /// There is no such program; the user is told next, without its name.
    void engineNotFound(const QString &program);

private:
    friend class Project;
    friend class ParentProjectPrivate;
    friend class PathMerge;

    std::unique_ptr<ParentProjectPrivate> d;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(ParentProject::PathType)

} // namespace Kiln
