#pragma once

#include <vector>

#include <QtCore/QFileSystemWatcher>
#include <QtCore/QMap>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QVector>
#include <QtGui/QTextDocument>

#include <kilnx/project/archive.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/savereport.h>

namespace Kiln
{

class ParentProjectPrivate;
class SavePlan;

/// What one source wants to see below a node: a scan, or a definition. The children are in the
/// order of rows: directories first, then files, each by name, and no two alike.
struct PathEntry {
    enum Kind { Directory, Scanned, Named };

    int kind = Directory;
    QString name;
    unsigned int id = 0;   ///< Project::FileID bits, of a file that a definition names
    unsigned int scan = 0; ///< ParentProject::PathType, of a directory found by a scan
    QStringList filters;   ///< of a directory found by a scan
    std::vector<PathEntry> children;

    bool isFile() const { return kind != Directory; }
};

/// The files of a definition as entries of the root.
///
/// `basePath` and `directory`, the definition's, are absolute and end in "/". Names are taken to
/// their real place, also with ".." in them or when they are absolute; those that lie outside the
/// base have no row.
std::vector<PathEntry> definitionEntries(const QString &basePath,
                                         const QString &directory,
                                         const QList<ReferencedFile> &files);

/// The common part of all rows.
///
/// A row stays for as long as anybody wants it: the engine that added its path, the scan of the
/// directory above, or one of the definitions. Each source takes off only its own claims, so a
/// file that is scanned and named by two definitions has one row that survives any two of them.
class BasePath : public ParentProject::Path
{
public:
    struct Claim {
        const Project *project;
        unsigned int id;
    };

    BasePath(BasePath *parent, const QString &name, unsigned int type);

    QString path() const override;
    QString name() const override;
    Project::FileID fileID() const override;

    BasePath *above() const { return static_cast<BasePath *>(m_parent); }
    BasePath *child(int row) const { return static_cast<BasePath *>(m_children[row]); }
    int childCount() const { return m_children.size(); }
    /// The row of this node in the one above.
    int row() const;
    /// The child of that name, a directory before a file; null if there is none.
    BasePath *find(const QString &name) const;
    BasePath *find(const QString &name, bool isFile) const;
    /// How many rows come first because an engine put them there, in its own order.
    int frontCount() const;
    /// The first row, behind the front, that does not come before that entry.
    int lowerBound(bool isFile, const QString &name) const;
    void insertChildren(int row, const QList<Path *> &nodes);
    /// Takes rows out; the caller deletes them.
    QList<Path *> takeChildren(int first, int last);
    void setChild(int row, BasePath *node);
    void setType(unsigned int type) { m_type = type; }
    void setBaseName(const QString &name) { m_name = name; }

    ParentProjectPrivate *root();
    /// Whether views can know this node: it is below the root.
    bool isAttached() const;
    bool isWanted() const;
    /// What the definitions say that a file is: the definition itself before anything else.
    unsigned int namedType() const;

    bool fixed = false;    ///< wanted by ParentProject::addPath()
    bool front = false;    ///< made by it, too, and so among the first rows
    bool scanned = false;  ///< wanted by the scan of the directory above
    bool detached = true;  ///< not yet among the children of the node above
    QVector<Claim> claims; ///< of the definitions that want it

protected:
    void update(Path *node, const PathEntry &entries) override;
    QFileSystemWatcher *watcher() override;
    void deleteChildren();
};

/// A directory, scanned if its type says so.
class DirectoryPath : public BasePath
{
public:
    DirectoryPath(BasePath *parent,
                  const QString &name,
                  unsigned int type,
                  const QStringList &nameFilters);
    ~DirectoryPath() override;

    bool isDirectory() const override { return true; }
    bool isItem() const override;
    bool isFile() const override { return false; }

    void startScanning(unsigned int type, const QStringList &nameFilters);
    void stopScanning();
    /// Looks at the disk and hands what is there to the root.
    void scan();

    QStringList filters;
};

/// A file that a definition names.
class FilePath : public BasePath
{
public:
    using BasePath::BasePath;
    bool isDirectory() const override { return false; }
    bool isItem() const override;
    bool isFile() const override { return true; }
    Project::FileID fileID() const override;
};

/// A file that only a scan has found.
class DummyPath : public BasePath
{
public:
    using BasePath::BasePath;
    bool isDirectory() const override { return false; }
    bool isItem() const override;
    bool isFile() const override { return true; }
};

/// The root of the tree, and everything else that a ParentProject keeps.
///
/// It and the ParentProject are defined in parentproject.cpp, parentproject_running.cpp (engines)
/// and parentproject_saving.cpp (save, save as, backups).
class ParentProjectPrivate : public QObject, public DirectoryPath
{
public:
    /// An open project, and what its rows were made from.
    struct Opened {
        Path *node = nullptr;
        QPointer<QTextDocument> document;
        QString fileName;
        QList<ReferencedFile> files;
        bool isStale = true; ///< the rows may be gone although nothing else changed
        QMetaObject::Connection contents;
        QMetaObject::Connection modification;
    };

    ParentProjectPrivate(ParentProject *owner, const QString &basePath, Archive &archive);
    ~ParentProjectPrivate() override;

    void addProject(CodeDocument *document);
    /// Ends the owner with the last project.
    void removeProject(Project *project);
    /// Makes the rows of a project what its definition says now.
    void rebuild(Project *project);
    void rebuildAll();
    void setBasePath(const QString &path);
    /// Returns when the process has ended; handles events in the meantime.
    void runProcess(const QString &executable, const QString &arguments, QString *output);
    /// One definition, which can go anywhere alone.
    bool movesAlone() const;
    QString moveTarget(const QString &given) const;
    SavePlan planMove(const QString &target, QStringList &others) const;
    void moveTo(const QString &base);
    /// That directory relative to the base, empty or ending in "/"; empty outside the base.
    QString folderOf(const QString &fileName) const;
    void forget(const BasePath *node);
    const BasePath *follow(const QString &relativePath) const;
    QModelIndex indexOf(BasePath *node) const;

    void watch(DirectoryPath *directory);
    void unwatch(DirectoryPath *directory);

    /// Brackets every change of rows. A slot may close or open projects in between: what that
    /// changes waits until the rows stand.
    void beginMerge() { ++m_merging; }
    void endMerge();

    int refCount = 0;
    Archive *archive;
    ParentProject *q;
    QMap<Project *, Opened> projects;
    QFileSystemWatcher fileSystemWatcher;
    /// True when no engine process runs.
    bool runFinished = true;
    /// The owner is being destroyed: nobody looks at the rows any more.
    bool closing = false;
    /// What is being saved; null at other times.
    SavePlan *plan = nullptr;
    /// Of the last saving.
    SaveReport report;

    class Saving;

protected:
    void update(Path *node, const PathEntry &entries) override;
    QFileSystemWatcher *watcher() override { return &fileSystemWatcher; }

private:
    bool isPlaceOfProject(const Path *node) const;
    void collectOthers(const Path *node, QStringList &out) const;
    QString directoryOf(const QString &fileName) const;
    void directoryChanged(const QString &path);
    void retryLater();
    void retryMissing();
    void withdraw(Project *project);

    /// Directories to scan that are not there, and what is watched until they are.
    QSet<DirectoryPath *> m_missing;
    QSet<QString> m_stakeouts;
    /// Those that are there again and wait for their scan.
    QList<DirectoryPath *> m_back;
    bool m_isRetrying = false;
    int m_merging = 0;
    /// Closed during a merge: only the address, which their claims carry.
    QList<Project *> m_leaving;
    QSet<Project *> m_toRebuild;
};

} // namespace Kiln
