#include <kilnx/project/tree/path_p.h>

#include <kilnx/project/parentproject_p.h>

#include <QtCore/QDir>

#include <algorithm>

namespace Kiln
{

ParentProject::Path::Path(Path *parent, const QString &name, unsigned int type)
    : m_parent(parent)
    , m_name(name)
    , m_type(type)
{
}

ParentProject::Path::~Path()
{
    while (!m_children.isEmpty())
        delete m_children.takeLast();
}

BasePath::BasePath(BasePath *parent, const QString &name, unsigned int type)
    : Path(parent, name, type)
{
}

QString BasePath::path() const
{
    const QString own = m_parent ? m_parent->path() + m_name : m_name;
    return isDirectory() ? own + QLatin1Char('/') : own;
}

QString BasePath::name() const
{
    return m_name;
}

Project::FileID BasePath::fileID() const
{
    return isItem() ? Project::FileID(Project::FileID::Definition) : Project::FileID();
}

int BasePath::frontCount() const
{
    int count = 0;
    while (count < childCount() && child(count)->front)
        ++count;
    return count;
}

int BasePath::lowerBound(bool isFile, const QString &name) const
{
    const auto end = m_children.end();
    const auto found = std::lower_bound(m_children.begin() + frontCount(), end, name,
                                        [isFile](const Path *path, const QString &wanted) {
                                            if (path->isFile() != isFile)
                                                return isFile;
                                            return path->name() < wanted;
                                        });
    return static_cast<int>(found - m_children.begin());
}

BasePath *BasePath::find(const QString &name, bool isFile) const
{
    const int front = frontCount();
    for (int row = 0; row < front; ++row) {
        if (child(row)->isFile() == isFile && child(row)->m_name == name)
            return child(row);
    }
    const int row = lowerBound(isFile, name);
    const bool isThere =
        row < childCount() && child(row)->isFile() == isFile && child(row)->m_name == name;
    return isThere ? child(row) : nullptr;
}

BasePath *BasePath::find(const QString &name) const
{
    BasePath *directory = find(name, false);
    return directory ? directory : find(name, true);
}

int BasePath::row() const
{
    const BasePath *parent = above();
    if (front)
        return parent->m_children.indexOf(const_cast<BasePath *>(this));
    return parent->lowerBound(isFile(), m_name);
}

void BasePath::insertChildren(int row, const QList<Path *> &nodes)
{
    for (Path *node : nodes)
        static_cast<BasePath *>(node)->detached = false;
    if (row == m_children.size())
        m_children += nodes;
    else
        m_children = m_children.mid(0, row) + nodes + m_children.mid(row);
}

QList<ParentProject::Path *> BasePath::takeChildren(int first, int last)
{
    const QList<Path *> taken = m_children.mid(first, last - first + 1);
    m_children.erase(m_children.begin() + first, m_children.begin() + last + 1);
    return taken;
}

void BasePath::setChild(int row, BasePath *node)
{
    m_children[row] = node;
}

ParentProjectPrivate *BasePath::root()
{
    BasePath *node = this;
    while (node->above())
        node = node->above();
    return static_cast<ParentProjectPrivate *>(node);
}

bool BasePath::isAttached() const
{
    const BasePath *node = this;
    while (!node->detached && node->above())
        node = node->above();
    return !node->detached;
}

bool BasePath::isWanted() const
{
    return fixed || scanned || !claims.isEmpty() || !m_children.isEmpty();
}

unsigned int BasePath::namedType() const
{
    unsigned int type = 0;
    for (const Claim &claim : claims) {
        if (type == 0 || claim.id < type)
            type = claim.id;
    }
    return type;
}

void BasePath::update(Path *node, const PathEntry &entries)
{
    m_parent->update(node, entries);
}

QFileSystemWatcher *BasePath::watcher()
{
    return m_parent->watcher();
}

void BasePath::deleteChildren()
{
    while (!m_children.isEmpty())
        delete m_children.takeLast();
}

DirectoryPath::DirectoryPath(BasePath *parent,
                             const QString &name,
                             unsigned int type,
                             const QStringList &nameFilters)
    : BasePath(parent, name, 0)
{
    if (type != 0)
        startScanning(type, nameFilters);
}

DirectoryPath::~DirectoryPath()
{
    // While this node still leads to the root: the ones below leave the watcher, too.
    deleteChildren();
    if (m_type != 0)
        root()->unwatch(this);
}

bool DirectoryPath::isItem() const
{
    return m_parent && m_parent->isDirectory() &&
           (m_parent->type() & ParentProject::ScanDirectories);
}

void DirectoryPath::startScanning(unsigned int type, const QStringList &nameFilters)
{
    m_type = type;
    filters = nameFilters;
    root()->watch(this);
    scan();
}

void DirectoryPath::stopScanning()
{
    if (m_type == 0)
        return;
    root()->unwatch(this);
    m_type = 0;
    filters.clear();
    update(this, PathEntry());
}

void DirectoryPath::scan()
{
    const QDir directory(path());
    constexpr QDir::Filters common = QDir::Readable | QDir::NoSymLinks;
    PathEntry found;
    if (m_type & ParentProject::ScanDirectories) {
        const QStringList names =
            directory.entryList(QDir::Dirs | QDir::NoDotAndDotDot | common, QDir::Name);
        for (const QString &name : names)
            found.children.push_back({PathEntry::Directory, name, 0, m_type, filters, {}});
    }
    if (m_type & ParentProject::ScanFiles) {
        const QStringList names = directory.entryList(filters, QDir::Files | common, QDir::Name);
        for (const QString &name : names)
            found.children.push_back({PathEntry::Scanned, name, 0, 0, {}, {}});
    }
    update(this, found);
}

bool FilePath::isItem() const
{
    return m_type == Project::FileID::Definition;
}

Project::FileID FilePath::fileID() const
{
    return Project::FileID(m_type);
}

bool DummyPath::isItem() const
{
    return m_parent->type() & ParentProject::ScanFiles;
}

} // namespace Kiln
