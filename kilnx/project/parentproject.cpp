#include <kilnx/project/parentproject.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/parentproject_p.h>
#include <kilnx/project/tree/pathmerge_p.h>

#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QTimer>

#include <algorithm>

namespace Kiln
{

static QString withoutClosingSlashes(QString path)
{
    while (path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}

ParentProjectPrivate::ParentProjectPrivate(ParentProject *owner,
                                           const QString &basePath,
                                           Archive &store)
    : DirectoryPath(nullptr, withoutClosingSlashes(basePath), ParentProject::NotScanned, {})
    , archive(&store)
    , q(owner)
{
    detached = false;
    archive->addOwner();
    connect(&fileSystemWatcher, &QFileSystemWatcher::directoryChanged, this,
            &ParentProjectPrivate::directoryChanged);
}

ParentProjectPrivate::~ParentProjectPrivate()
{
    deleteChildren();
    archive->removeOwner();
}

QModelIndex ParentProjectPrivate::indexOf(BasePath *node) const
{
    return node->above() ? q->createIndex(node->row(), 0, static_cast<ParentProject::Path *>(node))
                         : QModelIndex();
}

const BasePath *ParentProjectPrivate::follow(const QString &relativePath) const
{
    const BasePath *node = this;
    const QStringList parts = relativePath.split(QLatin1Char('/'));
    for (int i = 0; node && i < parts.size(); ++i) {
        const bool isClosingSlash = parts[i].isEmpty() && i == parts.size() - 1;
        if (!isClosingSlash)
            node = node->find(parts[i]);
        else if (!node->isDirectory())
            return nullptr;
    }
    return node;
}

QString ParentProjectPrivate::folderOf(const QString &fileName) const
{
    const QString directory = directoryOf(fileName);
    return directory.startsWith(path()) ? directory.mid(path().size()) : QString();
}

/// An untitled definition belongs to the base directory.
QString ParentProjectPrivate::directoryOf(const QString &fileName) const
{
    if (fileName.isEmpty())
        return path();
    return withoutClosingSlashes(QFileInfo(fileName).absolutePath()) + QLatin1Char('/');
}

void ParentProjectPrivate::addProject(CodeDocument *document)
{
    Project *project = document->project();
    if (!project || projects.contains(project))
        return;
    ++refCount;
    QTextDocument *text = document;
    Opened &opened = projects[project];
    opened.node = this;
    opened.document = text;
    opened.contents =
        connect(text, &QTextDocument::contentsChanged, this, [this, project] { rebuild(project); });
    // A first save gives a document its name only after it has told that it is unmodified.
    opened.modification = connect(
        text, &QTextDocument::modificationChanged, this, [this, project] { rebuild(project); },
        Qt::QueuedConnection);
    // Last: a view that is told of the rows may close the project.
    rebuild(project);
}

void ParentProjectPrivate::rebuild(Project *project)
{
    const auto opened = projects.find(project);
    if (opened == projects.end() || !opened->document)
        return;
    if (m_merging > 0) {
        m_toRebuild.insert(project);
        return;
    }
    const QString fileName = static_cast<CodeDocument *>(opened->document.data())->fileName();
    QList<ReferencedFile> files;
    project->fileList(files);
    if (!fileName.isEmpty())
        files.append({Project::FileID::Definition, QFileInfo(fileName).fileName()});
    const auto isSame = [](const ReferencedFile &a, const ReferencedFile &b) {
        return a.id == b.id && a.path == b.path;
    };
    // Most keystrokes in a definition name no other file.
    if (!opened->isStale && fileName == opened->fileName &&
        std::equal(files.begin(), files.end(), opened->files.begin(), opened->files.end(), isSame))
        return;
    opened->isStale = false;
    opened->fileName = fileName;
    opened->files = files;
    const QString directory = directoryOf(fileName);
    PathMerge(*this, project).merge(this, definitionEntries(path(), directory, files));
    // The views were told of the changes meanwhile, and may have closed the project.
    const auto still = projects.find(project);
    if (still != projects.end())
        still->node = const_cast<BasePath *>(follow(folderOf(fileName)));
}

/// A node goes with all below it, although definitions want it.
void ParentProjectPrivate::forget(const BasePath *node)
{
    for (Opened &opened : projects) {
        for (const Path *at = opened.node; at; at = at->parent()) {
            if (at == node)
                opened.node = this;
        }
        opened.isStale = true;
    }
}

void ParentProjectPrivate::rebuildAll()
{
    const QList<Project *> all = projects.keys();
    for (Project *project : all)
        rebuild(project);
}

void ParentProjectPrivate::removeProject(Project *project)
{
    const auto found = projects.find(project);
    if (found == projects.end())
        return;
    const Opened opened = *found;
    disconnect(opened.contents);
    disconnect(opened.modification);
    projects.erase(found);
    m_toRebuild.remove(project);
    withdraw(project);
    if (--refCount > 0 || closing)
        return;
    if (m_merging == 0)
        q->release();
    else
        QTimer::singleShot(0, this, [this] {
            if (refCount == 0)
                q->release();
        });
}

void ParentProjectPrivate::withdraw(Project *project)
{
    if (m_merging > 0)
        m_leaving.append(project);
    else if (!closing)
        PathMerge(*this, project).withdraw(this);
}

void ParentProjectPrivate::endMerge()
{
    if (--m_merging > 0)
        return;
    // First who left: the address may be that of a new project already.
    while (!m_leaving.isEmpty())
        withdraw(m_leaving.takeFirst());
    const auto waiting = std::exchange(m_toRebuild, {});
    for (Project *project : waiting)
        rebuild(project);
}

void ParentProjectPrivate::setBasePath(const QString &newPath)
{
    QList<DirectoryPath *> scanned;
    QList<BasePath *> waiting{this};
    while (!waiting.isEmpty()) {
        BasePath *node = waiting.takeFirst();
        for (int row = 0; row < node->childCount(); ++row)
            waiting.append(node->child(row));
        if (node->isDirectory() && node->type() != 0) {
            scanned.append(static_cast<DirectoryPath *>(node));
            unwatch(scanned.last());
        }
    }
    setBaseName(withoutClosingSlashes(newPath));
    // From the inside out: a scan may end directories below, never those above.
    while (!scanned.isEmpty()) {
        DirectoryPath *directory = scanned.takeLast();
        watch(directory);
        directory->scan();
    }
    for (Opened &opened : projects)
        opened.isStale = true;
    rebuildAll();
}

void ParentProjectPrivate::update(Path *node, const PathEntry &entries)
{
    PathMerge(*this, nullptr).merge(static_cast<BasePath *>(node), entries.children);
}

void ParentProjectPrivate::watch(DirectoryPath *directory)
{
    if (fileSystemWatcher.addPath(directory->path()))
        return;
    m_missing.insert(directory);
    retryLater();
}

void ParentProjectPrivate::unwatch(DirectoryPath *directory)
{
    m_missing.remove(directory);
    m_back.removeAll(directory);
    fileSystemWatcher.removePath(directory->path());
}

/// Once for all directories that are missed meanwhile: a look at them costs as much as there are.
void ParentProjectPrivate::retryLater()
{
    if (!std::exchange(m_isRetrying, true))
        QTimer::singleShot(0, this, &ParentProjectPrivate::retryMissing);
}

/// Takes up directories that are there now; for the others, watches the nearest one above.
void ParentProjectPrivate::retryMissing()
{
    m_isRetrying = false;
    QSet<QString> stakeouts;
    for (DirectoryPath *directory : qAsConst(m_missing)) {
        QString above = directory->path();
        do
            above = QFileInfo(withoutClosingSlashes(above)).absolutePath();
        while (!QFileInfo::exists(above));
        fileSystemWatcher.addPath(above);
        if (QFileInfo::exists(directory->path()) && fileSystemWatcher.addPath(directory->path()))
            m_back.append(directory);
        else
            stakeouts.insert(above);
    }
    for (const QString &path : m_stakeouts - stakeouts)
        fileSystemWatcher.removePath(path);
    m_stakeouts = stakeouts;
    for (DirectoryPath *directory : qAsConst(m_back))
        m_missing.remove(directory);
    while (!m_back.isEmpty())
        m_back.takeFirst()->scan();
}

void ParentProjectPrivate::directoryChanged(const QString &changed)
{
    const QString base = path();
    const BasePath *node = changed.startsWith(base) ? follow(changed.mid(base.size())) : nullptr;
    if (node && node->isDirectory() && node->type() != 0) {
        auto *directory = static_cast<DirectoryPath *>(const_cast<BasePath *>(node));
        if (!QFileInfo::exists(changed))
            m_missing.insert(directory);
        directory->scan();
    }
    retryLater();
}

ParentProject::ParentProject(const QString &basePath, Archive &archive)
    : d(std::make_unique<ParentProjectPrivate>(this, basePath, archive))
{
}

ParentProject::~ParentProject()
{
    // Projects that nobody has released; they still find a whole tree to leave.
    d->closing = true;
    const auto projects = findChildren<Project *>(QString(), Qt::FindDirectChildrenOnly);
    for (Project *project : projects)
        project->release();
}

Archive &ParentProject::archive() const
{
    return *d->archive;
}

QString ParentProject::basePath() const
{
    return d->path();
}

unsigned int ParentProject::refCount() const
{
    return static_cast<unsigned int>(d->refCount);
}

QList<Project *> ParentProject::openedProjects() const
{
    return d->projects.keys();
}

void ParentProject::addRef(CodeDocument *document)
{
    d->addProject(document);
}

void ParentProject::addPath(const QString &name, PathType type, const QStringList &filters)
{
    QStringList parts = name.split(QLatin1Char('/'));
    if (parts.first().isEmpty())
        parts.removeFirst();
    if (!parts.isEmpty() && parts.last().isEmpty())
        parts.removeLast();
    BasePath *node = d.get();
    d->beginMerge();
    for (const QString &part : qAsConst(parts)) {
        BasePath *child = node->find(part, false);
        if (!child) {
            child = new DirectoryPath(node, part, static_cast<unsigned int>(int(type)), filters);
            child->front = true;
            const int row = node->frontCount();
            beginInsertRows(d->indexOf(node), row, row);
            node->insertChildren(row, {child});
            endInsertRows();
        }
        child->fixed = true;
        node = child;
    }
    d->endMerge();
}

void ParentProject::removePath(const QString &name)
{
    const QString base = basePath();
    const QString relative = name.startsWith(base) ? name.mid(base.size()) : name;
    auto *node = const_cast<BasePath *>(d->follow(withoutClosingSlashes(relative)));
    if (!node || !node->above())
        return;
    BasePath *above = node->above();
    d->beginMerge();
    const int row = node->row();
    d->forget(node);
    beginRemoveRows(d->indexOf(above), row, row);
    above->takeChildren(row, row);
    endRemoveRows();
    delete node;
    d->endMerge();
}

const ParentProject::Path *ParentProject::filePath(const QString &absolutePath) const
{
    const QString base = basePath();
    return absolutePath.startsWith(base) ? d->follow(absolutePath.mid(base.size())) : nullptr;
}

const ParentProject::Path *ParentProject::itemPath(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<const Path *>(index.internalPointer()) : nullptr;
}

const ParentProject::Path *ParentProject::projectForFile(const Path *path) const
{
    for (; path; path = path->parent()) {
        if (!path->isItem())
            continue;
        for (const Path *child : path->children()) {
            if (child->isItem())
                return child;
        }
        return path;
    }
    return d->projects.isEmpty() ? nullptr : d->projects.first().node;
}

bool ParentProject::isGame() const
{
    const Engine *engine = const_cast<ParentProject *>(this)->engine();
    const QString executable = engine ? engine->executable() : QString();
    // The base directory itself is no program.
    return !executable.isEmpty() && archive().fileExists(basePath() + executable);
}

QModelIndex ParentProject::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    const Path *node = parent.isValid() ? itemPath(parent) : d.get();
    return createIndex(row, column, node->children()[row]);
}

QModelIndex ParentProject::parent(const QModelIndex &child) const
{
    auto *node = static_cast<BasePath *>(const_cast<Path *>(itemPath(child)));
    return node && node->above() ? d->indexOf(node->above()) : QModelIndex();
}

int ParentProject::rowCount(const QModelIndex &parent) const
{
    if (parent.column() > 0)
        return 0;
    const Path *node = parent.isValid() ? itemPath(parent) : d.get();
    return node->children().size();
}

int ParentProject::columnCount(const QModelIndex &) const
{
    return 1;
}

bool ParentProject::hasChildren(const QModelIndex &parent) const
{
    return rowCount(parent) > 0;
}

static QString iconKey(const ParentProject::Path *path)
{
    if (path->isDirectory())
        return QStringLiteral("icon_folder");
    switch (path->fileID().bits) {
    case Project::FileID::Definition:
    case Project::FileID::Code:
        return QStringLiteral("icon_code");
    case Project::FileID::Sprites:
        return QStringLiteral("icon_sprite");
    case Project::FileID::Sounds:
        return QStringLiteral("icon_sound");
    case Project::FileID::Animations:
        return QStringLiteral("icon_animation");
    case Project::FileID::Commands:
        return QStringLiteral("icon_command");
    default:
        return QStringLiteral("icon_file");
    }
}

QVariant ParentProject::data(const QModelIndex &index, int role) const
{
    const Path *path = itemPath(index);
    if (!path)
        return QVariant();
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return path->name();
    if (role != Qt::DecorationRole)
        return QVariant();
    Interface *interface = Interface::instance();
    if (!interface)
        return QIcon();
    const QIcon own =
        path->isFile() ? const_cast<ParentProject *>(this)->fileIcon(path->fileID()) : QIcon();
    return own.isNull() ? interface->icon(iconKey(path)) : own;
}

QIcon ParentProject::fileIcon(Project::FileID)
{
    return QIcon();
}

QString ParentProject::outputString(QProcess *process)
{
    return QString::fromLocal8Bit(process->readAllStandardOutput());
}

} // namespace Kiln
