#include <kilnx/project/parentproject.h>

#include <algorithm>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/filewatch_p.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/parentproject_p.h>
#include <kilnx/project/paths.h>
#include <kilnx/project/project_p.h>

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

void makeDirectoryOf(const QString &fileName)
{
    const QString directory = QFileInfo(fileName).absolutePath();
    if (!QFileInfo::exists(directory))
        QDir().mkpath(directory);
}

CodeDocument *definitionOf(Project *project)
{
    return dynamic_cast<CodeDocument *>(project->file(Project::FileID::Definition));
}

/// Everything below a directory, the deepest first, relative to it.
void listFiles(const QString &directory, const QString &below, QStringList &out)
{
    constexpr QDir::Filters filters =
        QDir::Dirs | QDir::Files | QDir::Readable | QDir::NoSymLinks | QDir::NoDotAndDotDot;
    const QFileInfoList entries =
        QDir(directory + below).entryInfoList(filters, QDir::Name | QDir::DirsFirst);
    for (const QFileInfo &entry : entries) {
        if (entry.isDir())
            listFiles(directory, below + entry.fileName() + QLatin1Char('/'), out);
        else
            out.append(below + entry.fileName());
    }
}

} // namespace

void ParentProject::save()
{
    Interface *interface = Interface::instance();
    const QList<Project *> projects = openedProjects();
    Steps steps(tr("Saving..."), projects.size());
    for (Project *project : projects) {
        const QMap<ProjectFile *, Project::FileID> files = project->filesWithIDs();
        for (auto file = files.begin(); file != files.end(); ++file) {
            ProjectFile *current = file.key();
            if (!current->isModified() || !current->canSave())
                continue;
            if (current->fileExists())
                current->toFile(current->archive(), current->fileName(), false);
            else if (FileEditor *editor =
                         interface ? interface->editorForFile(current, file.value()) : nullptr)
                FileEditor::saveFileAs(current, editor, interface);
        }
        steps.next();
    }
    d->rebuildAll();
}

void ParentProject::saveAs(const QString &path)
{
    const QList<Project *> projects = openedProjects();
    if (projects.size() == 1 && !isGame())
        d->saveSingleAs(projects.first(), path);
    else
        d->saveAllAs(withClosingSlash(path));
}

void ParentProjectPrivate::saveSingleAs(Project *project, const QString &path)
{
    CodeDocument *definition = definitionOf(project);
    if (!definition)
        return;
    const QString target = QFileInfo(path).absolutePath();
    // The new file stands at the top of the new directory, so what it names goes along from its
    // own directory, wherever that was below the base.
    const QString oldBase = this->path();
    if (!definition->fileName().isEmpty() && project->absolutePath() != oldBase)
        setBasePath(project->absolutePath());
    project->saveAll(withClosingSlash(target), false, nullptr);
    const bool isSaved = definition->toFile(FileSystemArchive::instance(), path, false);
    setBasePath(isSaved ? target : oldBase);
}

bool ParentProjectPrivate::isPlaceOfProject(const Path *node) const
{
    return std::any_of(projects.begin(), projects.end(),
                       [node](const Opened &opened) { return opened.node == node; });
}

/// The files on disk that no project copies itself, relative to the base.
void ParentProjectPrivate::collectOthers(const Path *node, QStringList &out) const
{
    for (const Path *child : node->children()) {
        if (!child->isItem())
            collectOthers(child, out);
        else if (!isPlaceOfProject(child))
            q->collectFiles(child->path().mid(path().size()), out);
    }
}

void ParentProjectPrivate::saveAllAs(const QString &target)
{
    QStringList others;
    collectOthers(this, others);
    const QList<Project *> all = projects.keys();
    Steps steps(ParentProject::tr("Saving..."), others.size() + all.size());
    FileSystemArchive destination = FileSystemArchive::instance();
    for (const QString &name : qAsConst(others)) {
        makeDirectoryOf(target + name);
        copyFile(*archive, path() + name, destination, target + name);
        steps.next();
    }
    for (Project *project : all) {
        project->saveAll(target, false, nullptr);
        CodeDocument *definition = definitionOf(project);
        if (definition && !definition->fileName().isEmpty()) {
            const QString name = QFileInfo(definition->fileName()).fileName();
            definition->toFile(FileSystemArchive::instance(),
                               target + folderOf(definition->fileName()) + name, false);
        }
        steps.next();
    }
    setBasePath(target);
}

bool ParentProject::backup(const QString &name)
{
    const QString stamp =
        QDateTime::currentDateTime().toString(QStringLiteral("dd.MM.yyyy_h.m.s_ap_"));
    const QString target = withClosingSlash(basePath() + QStringLiteral("backup/") + stamp + name);
    QDir().mkpath(target);
    const QList<Project *> projects = openedProjects();
    Steps steps(tr("Backup in progress..."), projects.size());
    for (Project *project : projects) {
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

bool ParentProject::restoreBackup(const QString &name)
{
    if (archive().isReadOnly() || !isBackupName(name))
        return false;
    const QString base = basePath();
    const QString source = withClosingSlash(base + QStringLiteral("backup/") + name);
    if (!QFileInfo(source).isDir())
        return false;
    const QList<Project *> projects = openedProjects();
    QList<FileWatchObject *> watched;
    for (Project *project : projects) {
        for (ProjectFile *file : project->files()) {
            if (auto *object = dynamic_cast<FileWatchObject *>(file))
                watched.append(object);
        }
    }
    {
        const FileWatchHold hold(watched);
        QStringList files;
        listFiles(source, QString(), files);
        Steps steps(tr("Restoring backup..."), files.size() + projects.size());
        FileSystemArchive from = FileSystemArchive::instance();
        for (const QString &file : qAsConst(files)) {
            copyFile(from, source + file, archive(), base + file);
            steps.next();
        }
        for (Project *project : projects) {
            project->reload();
            steps.next();
        }
    }
    if (Interface *interface = Interface::instance())
        interface->refreshEditors();
    return true;
}

namespace
{

/// Copies a project's files, the open and the others, below another directory.
class ProjectCopy
{
public:
    /// `folder` is the definition's directory relative to the base, empty or ending in "/".
    ProjectCopy(Project &project, const QString &path, const QString &folder)
        : m_project(project)
        , m_prefix(project.fileName().isEmpty() ? project.parent()->basePath()
                                                : project.absolutePath())
        , m_target(path + folder)
    {
    }

    const QString &prefix() const { return m_prefix; }

    /// True when `file` now stands in its new place.
    bool write(ProjectFile *file, bool asCopy) const
    {
        const QString name = file->fileName();
        if (&file->archive() != &m_project.archive() || !name.startsWith(m_prefix) ||
            name == m_prefix || !file->canSave())
            return false;
        const QString target = m_target + name.mid(m_prefix.size());
        makeDirectoryOf(target);
        return file->toFile(FileSystemArchive::instance(), target, asCopy);
    }

    /// Copies what an entry names as it is on disk, if that lies in the project's directory.
    void copy(const ReferencedFile &entry) const
    {
        const QString source = sourceOf(entry);
        if (!source.startsWith(m_prefix))
            return;
        QStringList files{QString()};
        if (QFileInfo(source).isDir()) {
            files.clear();
            listFiles(source + QLatin1Char('/'), QString(), files);
        }
        const QString name = source.mid(m_prefix.size());
        for (const QString &below : qAsConst(files)) {
            const QString full = below.isEmpty() ? name : name + QLatin1Char('/') + below;
            makeDirectoryOf(m_target + full);
            copyFile(m_project.archive(), m_prefix + full, FileSystemArchive::instance(),
                     m_target + full);
        }
    }

    QString sourceOf(const ReferencedFile &entry) const
    {
        const bool isAbsolute = QDir::isAbsolutePath(entry.path);
        return QDir::cleanPath(isAbsolute ? entry.path : m_prefix + entry.path);
    }

private:
    Project &m_project;
    QString m_prefix;
    QString m_target;
};

} // namespace

void Project::saveAll(const QString &path, bool backup, QStringList *copied)
{
    if (!d->parent)
        return;
    const ProjectCopy copy(*this, path, d->parent->d->folderOf(fileName()));
    QList<ReferencedFile> entries;
    fileList(entries);
    if (backup && !fileName().isEmpty())
        entries.append({FileID::Definition, fileName().mid(copy.prefix().size())});
    if (copied) {
        for (const ReferencedFile &entry : qAsConst(entries))
            copied->append(entry.path);
    }
    const QMap<ProjectFile *, FileID> files = d->filesWithIDs;
    for (auto known = files.begin(); known != files.end(); ++known) {
        ProjectFile *file = known.key();
        const bool isLeft = backup ? !file->isModified() && file->fileExists()
                                   : known.value() == FileID(FileID::Definition);
        const QString oldName = QDir::cleanPath(file->fileName());
        if (isLeft || !copy.write(file, backup))
            continue;
        // What could not be written from memory is copied from disk below.
        const auto entry =
            std::find_if(entries.begin(), entries.end(), [&](const ReferencedFile &candidate) {
                return copy.sourceOf(candidate) == oldName;
            });
        if (entry != entries.end())
            entries.erase(entry);
    }
    for (const ReferencedFile &entry : qAsConst(entries))
        copy.copy(entry);
    if (!backup)
        moveTo(FileSystemArchive::instance());
}

void Project::moveTo(Archive &archive)
{
    if (m_archive == &archive)
        return;
    archive.addOwner();
    std::exchange(m_archive, &archive)->removeOwner();
}

} // namespace Kiln
