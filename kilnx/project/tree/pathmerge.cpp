#include <kilnx/project/tree/pathmerge_p.h>

#include <algorithm>

namespace Kiln
{

/// The order of rows: directories first, then files, each by name.
static bool isBefore(bool isFile, const QString &name, bool otherIsFile, const QString &otherName)
{
    return isFile != otherIsFile ? otherIsFile : name < otherName;
}

static bool isBefore(const PathEntry &entry, const BasePath *node)
{
    return isBefore(entry.isFile(), entry.name, node->isFile(), node->name());
}

static bool isBefore(const BasePath *node, const PathEntry &entry)
{
    return isBefore(node->isFile(), node->name(), entry.isFile(), entry.name);
}

static bool isSame(const PathEntry &entry, const BasePath *node)
{
    return entry.isFile() == node->isFile() && entry.name == node->name();
}

PathMerge::PathMerge(ParentProjectPrivate &root, const Project *project)
    : m_root(root)
    , m_model(root.q)
    , m_project(project)
{
    m_root.beginMerge();
}

PathMerge::~PathMerge()
{
    m_root.endMerge();
}

bool PathMerge::hasClaim(const BasePath *node) const
{
    if (!m_project)
        return node->scanned;
    return std::any_of(node->claims.begin(), node->claims.end(),
                       [this](const BasePath::Claim &claim) { return claim.project == m_project; });
}

void PathMerge::dropClaim(BasePath *node)
{
    if (!m_project) {
        node->scanned = false;
        return;
    }
    const auto end =
        std::remove_if(node->claims.begin(), node->claims.end(),
                       [this](const BasePath::Claim &claim) { return claim.project == m_project; });
    node->claims.erase(end, node->claims.end());
}

void PathMerge::addClaim(BasePath *node, const PathEntry &entry)
{
    if (!m_project) {
        node->scanned = true;
        return;
    }
    for (BasePath::Claim &claim : node->claims) {
        if (claim.project == m_project) {
            claim.id = entry.id;
            return;
        }
    }
    node->claims.append({m_project, entry.id});
}

void PathMerge::merge(BasePath *node, const Entries &entries)
{
    dropMissing(node, entries);
    keepOrInsert(node, entries);
}

void PathMerge::dropMissing(BasePath *node, const Entries &entries)
{
    auto walking = entries.begin();
    for (int row = 0; row < node->childCount(); ++row) {
        const BasePath *child = node->child(row);
        auto entry = walking;
        if (child->front) {
            entry = std::find_if(entries.begin(), entries.end(), [child](const PathEntry &wanted) {
                return isSame(wanted, child);
            });
        } else {
            while (entry != entries.end() && isBefore(*entry, child))
                ++entry;
            walking = entry;
        }
        if (hasClaim(child) && (entry == entries.end() || !isSame(*entry, child)))
            drop(node, row);
    }
    removeUnwanted(node);
}

void PathMerge::keepOrInsert(BasePath *node, const Entries &entries)
{
    const int front = node->frontCount();
    const auto frontRow = [node, front](const PathEntry &entry) {
        int row = 0;
        while (row < front && !isSame(entry, node->child(row)))
            ++row;
        return row < front ? row : -1;
    };
    int row = front;
    for (auto entry = entries.begin(); entry != entries.end();) {
        if (const int found = frontRow(*entry); found >= 0) {
            keep(node, found, *entry++);
            continue;
        }
        while (row < node->childCount() && isBefore(node->child(row), *entry))
            ++row;
        if (row < node->childCount() && isSame(*entry, node->child(row))) {
            keep(node, row++, *entry++);
            continue;
        }
        QList<ParentProject::Path *> fresh;
        while (entry != entries.end() && frontRow(*entry) < 0 &&
               (row == node->childCount() || isBefore(*entry, node->child(row))))
            fresh.append(create(node, *entry++));
        insertRows(node, row, fresh);
        row += fresh.size();
    }
}

void PathMerge::keep(BasePath *node, int row, const PathEntry &entry)
{
    BasePath *child = node->child(row);
    addClaim(child, entry);
    if (child->isFile()) {
        settleFile(node, row);
        return;
    }
    auto *directory = static_cast<DirectoryPath *>(child);
    if (m_project)
        merge(directory, entry.children);
    else if (!directory->fixed && directory->type() == 0)
        directory->startScanning(entry.scan, entry.filters);
}

void PathMerge::drop(BasePath *node, int row)
{
    BasePath *child = node->child(row);
    dropClaim(child);
    if (child->isFile()) {
        settleFile(node, row);
        return;
    }
    if (m_project)
        withdraw(child);
    else if (!child->fixed)
        static_cast<DirectoryPath *>(child)->stopScanning();
}

void PathMerge::withdraw(BasePath *node)
{
    for (int row = 0; row < node->childCount(); ++row) {
        if (hasClaim(node->child(row)))
            drop(node, row);
    }
    removeUnwanted(node);
}

BasePath *PathMerge::create(BasePath *parent, const PathEntry &entry)
{
    BasePath *node = nullptr;
    if (!entry.isFile())
        node = new DirectoryPath(parent, entry.name, entry.scan, entry.filters);
    else if (entry.kind == PathEntry::Named)
        node = new FilePath(parent, entry.name, entry.id);
    else
        node = new DummyPath(parent, entry.name, 0);
    addClaim(node, entry);
    // A directory that is scanned has filled itself.
    if (m_project)
        merge(node, entry.children);
    return node;
}

void PathMerge::insertRows(BasePath *node, int row, const QList<ParentProject::Path *> &fresh)
{
    const bool isTold = node->isAttached();
    if (isTold)
        m_model->beginInsertRows(m_root.indexOf(node), row, row + fresh.size() - 1);
    node->insertChildren(row, fresh);
    if (isTold)
        m_model->endInsertRows();
}

void PathMerge::removeUnwanted(BasePath *node)
{
    const bool isTold = node->isAttached();
    for (int last = node->childCount() - 1; last >= 0; --last) {
        if (node->child(last)->isWanted())
            continue;
        int first = last;
        while (first > 0 && !node->child(first - 1)->isWanted())
            --first;
        if (isTold)
            m_model->beginRemoveRows(m_root.indexOf(node), first, last);
        const QList<ParentProject::Path *> gone = node->takeChildren(first, last);
        if (isTold)
            m_model->endRemoveRows();
        qDeleteAll(gone);
        last = first;
    }
}

/// A file is of one class while a definition names it, and of the other while only a scan sees it.
void PathMerge::settleFile(BasePath *node, int row)
{
    BasePath *file = node->child(row);
    if (!file->isWanted())
        return;
    const bool isNamed = dynamic_cast<FilePath *>(file);
    const unsigned int type = file->namedType();
    if (isNamed && file->claims.isEmpty())
        replace(node, row, new DummyPath(node, file->name(), 0));
    else if (!isNamed && !file->claims.isEmpty())
        replace(node, row, new FilePath(node, file->name(), type));
    else if (file->type() != type) {
        file->setType(type);
        const QModelIndex index = m_root.indexOf(file);
        emit m_model->dataChanged(index, index);
    }
}

/// Puts another node in a row's place, which stays selected if it was.
void PathMerge::replace(BasePath *node, int row, BasePath *by)
{
    BasePath *old = node->child(row);
    by->scanned = old->scanned;
    by->claims = old->claims;
    by->detached = false;
    const QList<QPersistentModelIndex> parents{m_root.indexOf(node)};
    emit m_model->layoutAboutToBeChanged(parents);
    const QModelIndex oldIndex = m_root.indexOf(old);
    node->setChild(row, by);
    m_model->changePersistentIndex(oldIndex, m_root.indexOf(by));
    emit m_model->layoutChanged(parents);
    delete old;
}

} // namespace Kiln
