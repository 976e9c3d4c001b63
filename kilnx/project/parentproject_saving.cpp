#include <kilnx/project/parentproject.h>

#include <kilnx/project/archive.h>
#include <kilnx/project/archive_p.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/filewatch_p.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/parentproject_p.h>
#include <kilnx/project/project_p.h>
#include <kilnx/project/restoreplan_p.h>
#include <kilnx/project/saveplan_p.h>
#include <kilnx/project/saveprogress_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QThread>

#include <algorithm>

namespace Kiln
{

namespace
{

const QLatin1String backups("backup/");

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
    SaveProgress progress(tr("Saving..."), projects.size(), plan.parts());
    plan.setProgress(&progress, this);
    for (const QPointer<Project> &project : projects) {
        if (project)
            plan.run(project);
        for (const auto &[owner, file] : qAsConst(unplaced)) {
            const bool isWanted = owner == project && !progress.isCancelled();
            if (isWanted && project && project->fileID(file).bits != 0)
                saveUnplaced(project, file, plan.report);
        }
        progress.stepDone();
    }
    plan.report.isCancelled = progress.isCancelled();
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
    SaveProgress progress(tr("Saving..."), others.size() + projects.size(), plan.parts());
    const bool isPrepared = plan.prepare() && saving.isAlive();
    plan.setProgress(&progress, this);
    if (isPrepared)
        plan.copyNew();
    plan.report.isCancelled = progress.isCancelled();
    if (!isPrepared || progress.isCancelled() || !saving.isAlive()) {
        plan.undo();
        return;
    }
    // Files in memory take their new names now.
    progress.commit();
    plan.run(nullptr);
    progress.stepsDone(others.size());
    for (const QPointer<Project> &project : projects) {
        if (project)
            project->saveAll(base, false, nullptr);
        if (project)
            plan.runDefinition(project);
        progress.stepDone();
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

/// What backup() would write where.
SavePlan ParentProjectPrivate::planBackup(const QString &target) const
{
    SavePlan plan(SavePlan::Backup);
    const QList<Project *> all = projects.keys();
    for (Project *project : all)
        plan.addProject(project, target + folderOf(project->fileName()));
    QStringList others;
    collectOthers(this, others);
    plan.noteOpen(all);
    for (const QString &name : qAsConst(others)) {
        if (!name.startsWith(backups))
            plan.addOther(*archive, path() + name, target + name);
    }
    plan.noteLeftOut(all);
    plan.setStaged();
    return plan;
}

/// What backups have left that were killed.
static void removeOldParts(const QString &directory)
{
    const QStringList left =
        QDir(directory).entryList({partPrefix + QLatin1Char('*')}, QDir::Dirs | QDir::Hidden);
    for (const QString &name : left)
        QDir(directory + name).removeRecursively();
}

/// A directory of that name that is not there yet. Two of one second cannot have one name: the
/// second one waits for its own.
static QString newBackup(const QString &base, const QString &name)
{
    constexpr int attempts = 20;
    constexpr unsigned long pauseMs = 100;
    QString target;
    for (int i = 0; i < attempts; ++i) {
        const QString stamp =
            QDateTime::currentDateTime().toString(QStringLiteral("dd.MM.yyyy_h.m.s_ap_"));
        target = QDir::cleanPath(base + backups + stamp + name);
        if (!QFileInfo::exists(target))
            break;
        QThread::msleep(pauseMs);
    }
    return target;
}

/// Gives a backup its name; the report has had that of its part until now. Nothing stays of one
/// that cannot have it.
static void finishBackup(SavePlan &plan, const QString &part, const QString &target)
{
    plan.report.rename(part, target + QLatin1Char('/'));
    if (takePlace(part, target))
        return;
    setFileError(qt_error_string());
    plan.undo();
    failToSave(plan.report, target,
               QCoreApplication::translate("Kiln::SaveReport", "It could not be saved."));
}

bool ParentProject::backup(const QString &name)
{
    if (d->plan)
        return false;
    const QString base = basePath();
    removeOldParts(base + backups);
    const QString target = newBackup(base, name);
    // What a killed process leaves of it is no backup.
    const QString part = QFileInfo(target).path() + QLatin1Char('/') + partPrefix +
                         QFileInfo(target).fileName() + QLatin1Char('/');
    SavePlan plan = d->planBackup(part);
    const QList<QPointer<Project>> projects = guarded(openedProjects());
    ParentProjectPrivate::Saving saving(this, plan);
    if (!plan.makeDirectory(part)) {
        plan.report.failures.append(
            {base + backups, QCoreApplication::translate(
                                 "Kiln::SaveReport", "Nothing can be written to this directory.")});
        return true;
    }
    plan.prepare();
    SaveProgress progress(tr("Backup in progress..."), projects.size(), plan.parts());
    plan.setProgress(&progress, this);
    plan.copyNew();
    plan.run(nullptr);
    for (const QPointer<Project> &project : projects) {
        if (project && !progress.isCancelled())
            project->saveAll(part, true, nullptr);
        progress.stepDone();
    }
    plan.report.isCancelled = progress.isCancelled();
    const bool isKept = !progress.isCancelled() && saving.isAlive();
    if (!isKept)
        plan.undo();
    else
        finishBackup(plan, part, target);
    return isKept;
}

/// A name that leads to one directory below "backup/", and nowhere else.
static bool isBackupName(const QString &name)
{
    const QStringList parts = name.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    return !parts.isEmpty() && std::none_of(parts.begin(), parts.end(), [](const QString &part) {
        return part == QLatin1String("..") || part == QLatin1String(".") || isPartName(part);
    });
}

/// The directory of a backup, ending in "/"; empty if there is none of that name.
static QString backupDirectory(const ParentProject &parent, const QString &name)
{
    const QString directory = withClosingSlash(parent.basePath() + backups + name);
    return isBackupName(name) && QFileInfo(directory).isDir() ? directory : QString();
}

/// By blocks: of large files nothing is held.
static bool isEqual(QIODevice *one, QIODevice *other)
{
    constexpr qint64 blockSize = 131072;
    bool isSoFar = one && other && one->size() == other->size();
    while (isSoFar && !one->atEnd()) {
        const QByteArray block = one->read(blockSize);
        isSoFar = !block.isEmpty() && block == other->read(blockSize);
    }
    return isSoFar;
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
        if (!archive().fileExists(target))
            continue;
        QIODevice *kept = disk.openFile(source + file, QIODevice::ReadOnly);
        QIODevice *now = archive().openFile(target, QIODevice::ReadOnly);
        if (!isEqual(kept, now))
            replaced.append(target);
        disk.closeFile(kept);
        archive().closeFile(now);
    }
    return replaced;
}

/// Up to the last file nothing has changed, unless the project is on no disk. False where the user
/// or the end of the project has stopped it.
bool ParentProjectPrivate::restoreFiles(RestorePlan &restore,
                                        const QList<Project *> &all,
                                        const Saving &saving)
{
    const QList<QPointer<Project>> opened = guarded(all);
    const QStringList files = restore.files();
    SaveProgress progress(ParentProject::tr("Restoring backup..."), files.size() + opened.size(),
                          restore.portions(),
                          restore.canGiveUp() ? SaveProgress::MayCancel : SaveProgress::NoCancel);
    const auto goesOn = [&] {
        progress.partDone();
        return !progress.isCancelled() && saving.isAlive();
    };
    for (const QString &file : files) {
        restore.fetch(file, goesOn);
        progress.stepDone();
        // The host shows each step, behind which the project is closed.
        restore.report.isCancelled = progress.isCancelled();
        if (progress.isCancelled() || !saving.isAlive())
            return false;
    }
    progress.commit();
    restore.place();
    for (const QPointer<Project> &project : opened) {
        if (project)
            project->reload();
        progress.stepDone();
    }
    return true;
}

bool ParentProject::restoreBackup(const QString &name)
{
    const QString source = backupDirectory(*this, name);
    if (d->plan)
        return false;
    d->report = SaveReport();
    if (archive().isReadOnly() || source.isEmpty())
        return false;
    QList<FileWatchObject *> watched;
    const QList<Project *> projects = openedProjects();
    for (Project *project : projects) {
        for (ProjectFile *file : project->files()) {
            if (auto *object = dynamic_cast<FileWatchObject *>(file))
                watched.append(object);
        }
    }
    bool isRestored = false;
    {
        SavePlan plan(SavePlan::Backup);
        const ParentProjectPrivate::Saving saving(this, plan);
        const FileWatchHold hold(watched);
        RestorePlan restore(archive(), source, basePath());
        isRestored = ParentProjectPrivate::restoreFiles(restore, projects, saving);
        plan.report = restore.report;
    }
    Interface *interface = isRestored ? Interface::instance() : nullptr;
    if (interface)
        interface->refreshEditors();
    return isRestored;
}

} // namespace Kiln
