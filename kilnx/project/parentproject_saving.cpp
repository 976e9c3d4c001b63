#include <kilnx/project/parentproject.h>

#include <kilnx/project/archive.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/filewatch_p.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/parentproject_p.h>
#include <kilnx/project/project_p.h>
#include <kilnx/project/saveplan_p.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace Kiln
{

namespace
{

/// The host's progress indicator, or none without a host.
class Steps
{
public:
    Steps(const QString &text, int total)
    {
        if (Interface *interface = Interface::instance())
            m_progress = interface->progress(text, false);
        if (m_progress)
            m_progress->setProgress(0, static_cast<unsigned int>(total));
    }
    ~Steps()
    {
        if (m_progress)
            m_progress->finish();
    }
    void next()
    {
        if (m_progress)
            m_progress->setProgress(++m_count, 0);
    }

private:
    Progress *m_progress = nullptr;
    unsigned int m_count = 0;
    Q_DISABLE_COPY(Steps)
};

QString withClosingSlash(const QString &path)
{
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}

/// An absolute directory, ending in "/".
QString directoryAt(const QString &path)
{
    return withClosingSlash(QDir::cleanPath(QFileInfo(path).absoluteFilePath()));
}

QList<QPointer<Project>> guarded(const QList<Project *> &projects)
{
    return QList<QPointer<Project>>(projects.begin(), projects.end());
}

} // namespace

/// Lets Project::saveAll() find the plan; a second saving from within a box does nothing.
class ParentProjectPrivate::Saving
{
public:
    Saving(ParentProject *parent, SavePlan &plan)
        : m_parent(parent)
        , m_plan(plan)
    {
        parent->d->plan = &plan;
    }
    ~Saving()
    {
        if (!m_parent)
            return;
        m_parent->d->plan = nullptr;
        m_parent->d->report = m_plan.report;
    }
    /// False once the project was closed behind a box.
    bool isAlive() const { return m_parent; }

private:
    QPointer<ParentProject> m_parent;
    SavePlan &m_plan;
    Q_DISABLE_COPY(Saving)
};

const SaveReport &ParentProject::saveReport() const
{
    return d->report;
}

/// Has the user name a file that has no place on disk.
static void saveUnplaced(Project *project, ProjectFile *file, SaveReport &report)
{
    Interface *interface = Interface::instance();
    FileEditor *editor =
        interface ? interface->editorForFile(file, project->fileID(file)) : nullptr;
    const QPointer<Project> guard(project);
    if (editor)
        FileEditor::saveFileAs(file, editor, interface);
    if (!guard || guard->fileID(file).bits == 0)
        return;
    if (file->isModified())
        report.leftOut.append(file->fileName());
    else
        report.written.append(file->fileName());
}

void ParentProject::save()
{
    if (d->plan)
        return;
    SavePlan plan(SavePlan::Save);
    const QList<QPointer<Project>> projects = guarded(openedProjects());
    QList<QPair<QPointer<Project>, ProjectFile *>> unplaced;
    for (Project *project : projects) {
        const QList<ProjectFile *> files = project->files();
        for (ProjectFile *file : files) {
            const bool isThere = file->fileExists();
            if (!file->canSave())
                continue;
            if (!file->isModified() && !isThere && !file->fileName().isEmpty())
                plan.report.missing.append(file->fileName());
            if (file->isModified() && isThere)
                plan.addSave(project, file);
            if (file->isModified() && !isThere)
                unplaced.append({project, file});
        }
    }
    ParentProjectPrivate::Saving saving(this, plan);
    Steps steps(tr("Saving..."), projects.size());
    for (const QPointer<Project> &project : projects) {
        plan.run(project);
        for (const auto &[owner, file] : qAsConst(unplaced)) {
            if (owner == project && project && project->fileID(file).bits != 0)
                saveUnplaced(project, file, plan.report);
        }
        steps.next();
    }
    if (saving.isAlive())
        d->rebuildAll();
}

bool ParentProjectPrivate::movesAlone() const
{
    return projects.size() == 1 && !q->isGame();
}

/// What saveAs() would write where. `others` receives the files of no project.
SavePlan ParentProjectPrivate::planMove(const QString &target, QStringList &others) const
{
    SavePlan plan(SavePlan::Move);
    const QList<Project *> all = projects.keys();
    if (movesAlone()) {
        // The new file stands at the top of the new directory, so what it names goes along from
        // its own directory, wherever that was below the base.
        plan.addProject(all.first(), withClosingSlash(QFileInfo(target).absolutePath()));
        plan.addDefinition(all.first(), target);
    } else {
        for (Project *project : all) {
            const QString name = project->fileName();
            const QString directory = target + folderOf(name);
            plan.addProject(project, directory);
            if (!name.isEmpty())
                plan.addDefinition(project, directory + QFileInfo(name).fileName());
        }
        collectOthers(this, others);
        plan.noteOpen(all);
        for (const QString &name : qAsConst(others))
            plan.addOther(*archive, path() + name, target + name);
    }
    plan.noteLeftOut(all);
    return plan;
}

QString ParentProjectPrivate::moveTarget(const QString &given) const
{
    return movesAlone() ? QFileInfo(given).absoluteFilePath() : directoryAt(given);
}

QStringList ParentProject::replacedBySaveAs(const QString &path) const
{
    QStringList others;
    return d->planMove(d->moveTarget(path), others).replaced();
}

void ParentProject::saveAs(const QString &path)
{
    if (d->plan || path.isEmpty())
        return;
    const bool isAlone = d->movesAlone();
    const QString target = d->moveTarget(path);
    const QString base = isAlone ? withClosingSlash(QFileInfo(target).absolutePath()) : target;
    QStringList others;
    SavePlan plan = d->planMove(target, others);
    const QList<QPointer<Project>> projects = guarded(openedProjects());
    ParentProjectPrivate::Saving saving(this, plan);
    Steps steps(tr("Saving..."), others.size() + projects.size());
    if (!plan.prepare() || !saving.isAlive())
        return;
    plan.run(nullptr);
    for (int i = 0; i < others.size(); ++i)
        steps.next();
    for (const QPointer<Project> &project : projects) {
        if (project)
            project->saveAll(base, false, nullptr);
        if (project)
            plan.runDefinition(project);
        steps.next();
    }
    if (saving.isAlive() && plan.hasMoved())
        d->moveTo(base);
}

/// What is open lives on the plain file system from now on.
void ParentProjectPrivate::moveTo(const QString &base)
{
    FileSystemArchive::instance().addOwner();
    std::exchange(archive, &FileSystemArchive::instance())->removeOwner();
    setBasePath(base);
}

bool ParentProjectPrivate::isPlaceOfProject(const Path *node) const
{
    return std::any_of(projects.begin(), projects.end(),
                       [node](const Opened &opened) { return opened.node == node; });
}

/// The files on disk that no project copies itself, relative to the base. A file that a scan shows
/// is one of them, also where a definition from another directory names it.
void ParentProjectPrivate::collectOthers(const Path *node, QStringList &out) const
{
    for (const Path *child : node->children()) {
        const bool isShown = child->isFile() && static_cast<const BasePath *>(child)->scanned;
        if (!child->isItem() && !isShown)
            collectOthers(child, out);
        else if (!isPlaceOfProject(child))
            q->collectFiles(child->path().mid(path().size()), out);
    }
}

bool ParentProject::backup(const QString &name)
{
    if (d->plan)
        return false;
    const QString stamp =
        QDateTime::currentDateTime().toString(QStringLiteral("dd.MM.yyyy_h.m.s_ap_"));
    const QString target = withClosingSlash(basePath() + QStringLiteral("backup/") + stamp + name);
    QDir().mkpath(target);
    SavePlan plan(SavePlan::Backup);
    const QList<Project *> all = openedProjects();
    for (Project *project : all)
        plan.addProject(project, target + d->folderOf(project->fileName()));
    plan.noteLeftOut(all);
    plan.prepare();
    const QList<QPointer<Project>> projects = guarded(all);
    ParentProjectPrivate::Saving saving(this, plan);
    Steps steps(tr("Backup in progress..."), projects.size());
    for (const QPointer<Project> &project : projects) {
        if (project)
            project->saveAll(target, true, nullptr);
        steps.next();
    }
    return true;
}

/// A name that leads to one directory below "backup/", and nowhere else.
static bool isBackupName(const QString &name)
{
    const QStringList parts = name.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    return !parts.isEmpty() && !parts.contains(QStringLiteral("..")) &&
           !parts.contains(QStringLiteral("."));
}

/// The directory of a backup, ending in "/"; empty if there is none of that name.
static QString backupDirectory(const ParentProject &parent, const QString &name)
{
    const QString directory =
        withClosingSlash(parent.basePath() + QStringLiteral("backup/") + name);
    return isBackupName(name) && QFileInfo(directory).isDir() ? directory : QString();
}

static QByteArray contentsOf(Archive &archive, const QString &name)
{
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    const QByteArray contents = device ? device->readAll() : QByteArray();
    archive.closeFile(device);
    return contents;
}

QStringList ParentProject::replacedByRestore(const QString &name) const
{
    QStringList replaced;
    const QString source = backupDirectory(*this, name);
    if (source.isEmpty())
        return replaced;
    FileSystemArchive &disk = FileSystemArchive::instance();
    const QStringList files = filesBelow(disk, source);
    for (const QString &file : files) {
        const QString target = basePath() + file;
        if (archive().fileExists(target) &&
            contentsOf(disk, source + file) != contentsOf(archive(), target))
            replaced.append(target);
    }
    return replaced;
}

bool ParentProject::restoreBackup(const QString &name)
{
    const QString source = backupDirectory(*this, name);
    if (d->plan || archive().isReadOnly() || source.isEmpty())
        return false;
    const QString base = basePath();
    const QList<QPointer<Project>> projects = guarded(openedProjects());
    QList<FileWatchObject *> watched;
    for (Project *project : projects) {
        for (ProjectFile *file : project->files()) {
            if (auto *object = dynamic_cast<FileWatchObject *>(file))
                watched.append(object);
        }
    }
    SavePlan plan(SavePlan::Backup);
    {
        ParentProjectPrivate::Saving saving(this, plan);
        const FileWatchHold hold(watched);
        FileSystemArchive from = FileSystemArchive::instance();
        const QStringList files = filesBelow(from, source);
        Steps steps(tr("Restoring backup..."), files.size() + projects.size());
        for (const QString &file : files) {
            // The host shows each step, behind which the project is closed.
            if (!saving.isAlive())
                return false;
            plan.bring(from, source + file, archive(), base + file);
            steps.next();
        }
        for (const QPointer<Project> &project : projects) {
            if (project)
                project->reload();
            steps.next();
        }
    }
    if (Interface *interface = Interface::instance())
        interface->refreshEditors();
    return true;
}

} // namespace Kiln
