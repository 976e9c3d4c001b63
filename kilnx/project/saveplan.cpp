#include <kilnx/project/saveplan_p.h>

#include <kilnx/project/archive_p.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/paths.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

namespace Kiln
{

static QString tr(const char *text)
{
    return QCoreApplication::translate("Kiln::SaveReport", text);
}

QStringList filesBelow(const Archive &archive, const QString &directory)
{
    constexpr QDir::Filters filters = QDir::Readable | QDir::Hidden;
    QStringList found;
    const QStringList below = archive.entries(directory, QDir::Dirs | filters, QDir::Name);
    for (const QString &name : below) {
        const QStringList files = filesBelow(archive, directory + name + QLatin1Char('/'));
        for (const QString &file : files)
            found.append(name + QLatin1Char('/') + file);
    }
    return found + archive.entries(directory, QDir::Files | filters, QDir::Name);
}

SavePlan::SavePlan(Kind kind)
    : m_kind(kind)
{
}

/// Copies of the file system's archive, and links to a file, stand for one place.
SavePlan::Place SavePlan::placeOf(Archive &archive, const QString &name)
{
    if (!dynamic_cast<FileSystemArchive *>(&archive))
        return {&archive, QDir::cleanPath(name)};
    const QString canonical = QFileInfo(name).canonicalFilePath();
    return {&FileSystemArchive::instance(),
            canonical.isEmpty() ? QDir::cleanPath(name) : canonical};
}

SavePlan::Step &SavePlan::stepAt(Archive &archive, const QString &name)
{
    Step &step = m_steps[placeOf(archive, name)];
    if (step.name.isEmpty())
        step.name = name;
    return step;
}

void SavePlan::addMemory(Step &step, const Instance &instance)
{
    const bool isBetter =
        !step.memory.file || (instance.file->isModified() && !step.memory.file->isModified());
    if (step.memory.file == instance.file)
        return;
    if (step.memory.file)
        step.others.append(isBetter ? step.memory : instance);
    if (!isBetter)
        return;
    step.memory = instance;
    step.owner = instance.project;
}

void SavePlan::addSave(Project *project, ProjectFile *file)
{
    addMemory(stepAt(file->archive(), file->fileName()), {project, file});
}

void SavePlan::addDisk(const Project *owner,
                       Archive &from,
                       const QString &source,
                       const QString &target)
{
    const Place read = placeOf(from, source);
    const Place written = placeOf(FileSystemArchive::instance(), target);
    if (read == written)
        return;
    const bool isNew = !m_steps.contains(written);
    Step &step = stepAt(FileSystemArchive::instance(), target);
    if (isNew)
        step.owner = owner;
    if (step.from)
        return;
    step.from = &from;
    step.source = source;
    m_readers.insert(read, written);
}

/// What an entry of a definition names, as it is on disk, if that lies in the project's directory.
void SavePlan::addEntry(Project *project,
                        const QString &prefix,
                        const QString &directory,
                        const ReferencedFile &entry)
{
    const bool isAbsolute = QDir::isAbsolutePath(entry.path);
    const QString source = QDir::cleanPath(isAbsolute ? entry.path : prefix + entry.path);
    if (!source.startsWith(prefix))
        return;
    const QString target = directory + source.mid(prefix.size());
    const QStringList below = filesBelow(project->archive(), source + QLatin1Char('/'));
    for (const QString &name : below)
        addDisk(project, project->archive(), source + QLatin1Char('/') + name,
                target + QLatin1Char('/') + name);
    const bool isFile =
        below.isEmpty() && project->archive().fileExists(source) && !QFileInfo(source).isDir();
    if (isFile)
        addDisk(project, project->archive(), source, target);
}

/// In a backup, an unchanged file is taken from disk, where it still is there.
bool SavePlan::isLeftToDisk(ProjectFile *file) const
{
    return m_kind == Backup && !file->isModified() && file->fileExists();
}

QList<ReferencedFile> SavePlan::addProject(Project *project, const QString &directory)
{
    const QString definition = project->fileName();
    const QString prefix =
        definition.isEmpty() ? project->parent()->basePath() : project->absolutePath();
    QList<ReferencedFile> entries;
    project->fileList(entries);
    if (m_kind == Backup && !definition.isEmpty())
        entries.append({Project::FileID::Definition, definition.mid(prefix.size())});
    const QMap<ProjectFile *, Project::FileID> files = project->filesWithIDs();
    for (auto known = files.begin(); known != files.end(); ++known) {
        ProjectFile *file = known.key();
        const bool isOthers =
            m_kind == Move && known.value() == Project::FileID(Project::FileID::Definition);
        const QString name = QDir::cleanPath(file->fileName());
        if (isOthers || isLeftToDisk(file) || &file->archive() != &project->archive() ||
            !name.startsWith(prefix) || !file->canSave())
            continue;
        const QString target = directory + name.mid(prefix.size());
        addMemory(stepAt(FileSystemArchive::instance(), target), {project, file});
    }
    for (const ReferencedFile &entry : qAsConst(entries)) {
        if (!entry.path.isEmpty())
            addEntry(project, prefix, directory, entry);
    }
    return entries;
}

void SavePlan::addDefinition(Project *project, const QString &target)
{
    ProjectFile *definition = project->file(Project::FileID::Definition);
    if (!definition)
        return;
    Step &step = stepAt(FileSystemArchive::instance(), target);
    addMemory(step, {project, definition});
    step.isDefinition |= step.memory.file == definition;
}

void SavePlan::noteOpen(const QList<Project *> &projects)
{
    for (Project *project : projects) {
        const QList<ProjectFile *> files = project->files();
        for (ProjectFile *file : files) {
            if (file->canSave() && !file->fileName().isEmpty())
                m_open[placeOf(file->archive(), file->fileName())].append({project, file});
        }
    }
}

void SavePlan::addOther(Archive &from, const QString &source, const QString &target)
{
    addDisk(nullptr, from, source, target);
    const QList<Instance> instances = m_open.value(placeOf(from, source));
    for (const Instance &instance : instances)
        addMemory(stepAt(FileSystemArchive::instance(), target), instance);
}

void SavePlan::noteLeftOut(const QList<Project *> &projects)
{
    QSet<ProjectFile *> planned;
    for (const Step &step : qAsConst(m_steps)) {
        planned.insert(step.memory.file);
        for (const Instance &instance : step.others)
            planned.insert(instance.file);
    }
    for (Project *project : projects) {
        const QList<ProjectFile *> files = project->files();
        for (ProjectFile *file : files) {
            if (file->isModified() && !planned.contains(file))
                report.leftOut.append(file->fileName());
        }
    }
}

QStringList SavePlan::replaced() const
{
    QStringList names;
    for (auto step = m_steps.begin(); step != m_steps.end(); ++step) {
        const Instance &memory = step->memory;
        const bool isOwnPlace =
            memory.file && placeOf(memory.file->archive(), memory.file->fileName()) == step.key();
        if (!isOwnPlace && step.key().first->fileExists(step.key().second))
            names.append(step->name);
    }
    return names;
}

bool SavePlan::prepare()
{
    QSet<QString> directories;
    for (auto step = m_steps.begin(); step != m_steps.end(); ++step)
        directories.insert(QFileInfo(step.key().second).absolutePath());
    for (const QString &directory : qAsConst(directories)) {
        if (!QDir().mkpath(directory) || !QFileInfo(directory).isWritable())
            fail(directory, tr("Nothing can be written to this directory."));
    }
    return m_kind != Move || (report.failures.isEmpty() && tryDefinitions());
}

/// A project moves with its definitions or not at all: each is written as a copy first, in a
/// directory of its own beside the place where it will be.
bool SavePlan::tryDefinitions()
{
    const QList<Place> places = m_steps.keys();
    for (const Place &target : places) {
        const Step &step = m_steps[target];
        if (!step.isDefinition || !step.memory.isOpen())
            continue;
        setFileError(QString());
        const QFileInfo place(target.second);
        const bool isFree = !place.isDir() && (!place.exists() || place.isWritable());
        const QTemporaryDir trial(place.absolutePath() + QLatin1String("/.save-XXXXXX"));
        const QString copy = trial.filePath(place.fileName());
        if (isFree && trial.isValid() && step.memory.file->toFile(*target.first, copy, true))
            continue;
        failToSave(target.second, tr("The definition cannot be saved."));
        return false;
    }
    return true;
}

void SavePlan::run(const Project *project)
{
    const QList<Place> places = m_steps.keys();
    for (const Place &target : places) {
        const Step &step = m_steps[target];
        if (step.owner == project && !step.isDefinition)
            execute(target);
    }
}

void SavePlan::runDefinition(const Project *project)
{
    const QList<Place> places = m_steps.keys();
    for (const Place &target : places) {
        const Step &step = m_steps[target];
        if (step.owner == project && step.isDefinition)
            execute(target);
    }
}

bool SavePlan::hasMoved() const
{
    for (auto step = m_steps.begin(); step != m_steps.end(); ++step) {
        if (step->isDefinition && !report.written.contains(step->name))
            return false;
    }
    return true;
}

/// What is copied from a file that is about to be replaced is copied before.
void SavePlan::executeReaders(const Place &source)
{
    const QList<Place> readers = m_readers.values(source);
    for (const Place &reader : readers)
        execute(reader);
}

void SavePlan::execute(const Place &target)
{
    Step &step = m_steps[target];
    if (step.isDone)
        return;
    step.isDone = true;
    executeReaders(target);
    const bool isInMemory = step.memory.file;
    if (isInMemory && !step.memory.isOpen())
        fail(step.name, tr("It was closed before it could be saved."));
    else if (isInMemory && write(step, target))
        settleOthers(step, target);
    else if (!isInMemory ||
             (!step.isDefinition && step.from && !target.first->fileExists(target.second)))
        bring(*step.from, step.source, *target.first, step.name);
}

bool SavePlan::write(const Step &step, const Place &target)
{
    setFileError(QString());
    // A file goes back under the name that it has, be that a link.
    const QString name = m_kind == Save ? step.memory.file->fileName() : step.name;
    Archive &archive = m_kind == Save ? step.memory.file->archive() : *target.first;
    if (!step.memory.file->toFile(archive, name, m_kind == Backup)) {
        failToSave(name, tr("It could not be saved."));
        return false;
    }
    report.written.append(name);
    return true;
}

void SavePlan::bring(Archive &from, const QString &source, Archive &to, const QString &target)
{
    setFileError(QString());
    if (copyFile(from, source, to, target))
        report.copied.append(target);
    else
        failToSave(target, tr("'%1' could not be copied to it.").arg(source));
}

/// The other instances of a file that was just written.
void SavePlan::settleOthers(const Step &step, const Place &target)
{
    for (const Instance &other : step.others) {
        if (!other.isOpen())
            continue;
        if (other.file->isModified())
            fail(other.file->fileName(),
                 tr("It is open twice, with different changes. Only those of one were saved."));
        else if (m_kind != Backup)
            other.file->fromFile(*target.first, step.name, false);
    }
}

void SavePlan::fail(const QString &fileName, const QString &reason)
{
    report.failures.append({fileName, reason});
}

void SavePlan::failToSave(const QString &fileName, const QString &otherwise)
{
    const QString error = FileSystemArchive::lastError();
    fail(fileName, error.isEmpty() ? otherwise : otherwise + QLatin1Char(' ') + error);
}

} // namespace Kiln
