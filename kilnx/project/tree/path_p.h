#pragma once

#include <kilnx/project/parentproject.h>

#include <QtCore/QVector>

#include <vector>

// Defined in path.cpp, the entries of definitions in path_entries.cpp.

namespace Kiln
{

class ParentProjectPrivate;

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

} // namespace Kiln
