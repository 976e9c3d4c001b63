#include <kilnx/project/saveplan_p.h>

#include <kilnx/project/archive_p.h>
#include <kilnx/project/filecopy_p.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/paths.h>
#include <kilnx/project/saveprogress_p.h>

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QThreadPool>

#include <algorithm>
#include <iterator>

namespace Kiln
{

static QString tr(const char *text)
{
    return QCoreApplication::translate("Kiln::SaveReport", text);
}

QStringList filesBelow(const Archive &archive, const QString &directory)
{
    constexpr QDir::Filters filters = QDir::Hidden;
    const bool isOnDisk = dynamic_cast<const FileSystemArchive *>(&archive);
    QStringList found;
    const QStringList below = archive.entries(directory, QDir::Dirs | filters, QDir::Name);
    for (const QString &name : below) {
        if (isPartName(name))
            continue;
        if (isOnDisk && !QFileInfo(directory + name).isReadable())
            found.append(name);
        const QStringList files = filesBelow(archive, directory + name + QLatin1Char('/'));
        for (const QString &file : files)
            found.append(name + QLatin1Char('/') + file);
    }
    const QStringList files = archive.entries(directory, QDir::Files | filters, QDir::Name);
    std::copy_if(files.begin(), files.end(), std::back_inserter(found),
                 [](const QString &name) { return !isPartName(name); });
    return found;
}

int partsOf(const Archive &archive, const QString &fileName)
{
    const bool isOnDisk = dynamic_cast<const FileSystemArchive *>(&archive);
    const qint64 size = isOnDisk ? QFileInfo(fileName).size() : 0;
    return 1 + int(qMax<qint64>(0, size - 1) / copiedPortion);
}

void failToSave(SaveReport &report, const QString &fileName, const QString &otherwise)
{
    const QString error = FileSystemArchive::lastError();
    report.failures.append(
        {fileName, error.isEmpty() ? otherwise : otherwise + QLatin1Char(' ') + error});
}

SavePlan::SavePlan(Kind kind)
    : m_kind(kind)
{
}

/// Copies of the file system's archive, and links to a file, stand for one place.
SavePlan::Place SavePlan::placeOf(Archive &archive, const QString &name) const
{
    if (!dynamic_cast<FileSystemArchive *>(&archive))
        return {&archive, QDir::cleanPath(name)};
    const QFileInfo info(QDir::cleanPath(name));
    const QString behind = info.isSymLink() ? info.canonicalFilePath() : QString();
    return {&FileSystemArchive::instance(),
            behind.isEmpty() ? canonicalDirectory(info.path()) + QLatin1Char('/') + info.fileName()
                             : behind};
}

/// Of a directory that is not there, the nearest one above counts.
QString SavePlan::canonicalDirectory(const QString &path) const
{
    const auto known = m_canonical.constFind(path);
    if (known != m_canonical.constEnd())
        return *known;
    const QFileInfo info(path);
    QString canonical = info.canonicalFilePath();
    if (canonical.isEmpty() && info.path() != path)
        canonical = canonicalDirectory(info.path()) + QLatin1Char('/') + info.fileName();
    if (canonical == QLatin1String("/"))
        canonical.clear();
    m_canonical.insert(path, canonical);
    return canonical;
}

void SavePlan::keep(Archive &archive)
{
    if (m_archives.contains(&archive))
        return;
    archive.addOwner();
    m_archives.insert(
        &archive, std::shared_ptr<Archive>(&archive, [](Archive *kept) { kept->removeOwner(); }));
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
    keep(from);
    step.from = &from;
    step.source = source;
    step.parts = partsOf(from, source);
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
    Archive &archive = project->archive();
    const bool isOnDisk = dynamic_cast<FileSystemArchive *>(&archive);
    const bool isDirectory = !isOnDisk || QFileInfo(source).isDir();
    const QStringList below =
        isDirectory ? filesBelow(archive, source + QLatin1Char('/')) : QStringList();
    for (const QString &name : below)
        addDisk(project, archive, source + QLatin1Char('/') + name,
                target + QLatin1Char('/') + name);
    if (below.isEmpty() && !(isOnDisk && isDirectory) && archive.fileExists(source))
        addDisk(project, archive, source, target);
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
    for (const Instance &instance : instances) {
        if (!isLeftToDisk(instance.file))
            addMemory(stepAt(FileSystemArchive::instance(), target), instance);
    }
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
        directories.insert(QFileInfo(step.key().second).path());
    for (const QString &directory : qAsConst(directories)) {
        if (!makeDirectory(directory) || !QFileInfo(directory).isWritable())
            fail(directory, tr("Nothing can be written to this directory."));
    }
    return m_kind != Move || (report.failures.isEmpty() && tryDefinitions());
}

bool SavePlan::makeDirectory(const QString &directory)
{
    QStringList missing;
    for (QFileInfo above(QDir::cleanPath(directory)); !above.exists() && !above.isRoot();
         above.setFile(above.path()))
        missing.prepend(above.filePath());
    m_newDirectories += missing;
    return QDir().mkpath(directory);
}

/// A project moves with its definitions or not at all: each is written as a copy first, in a
/// directory of its own beside the place where it will be, which keeps its room on the disk.
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
        auto trial = std::make_unique<QTemporaryDir>(place.absolutePath() + QLatin1Char('/') +
                                                     partPrefix + QLatin1String("XXXXXX"));
        const QString copy = trial->filePath(place.fileName());
        if (isFree && trial->isValid() && step.memory.file->toFile(*target.first, copy, true)) {
            m_trials[target] = std::move(trial);
            continue;
        }
        failToSave(report, target.second, tr("The definition cannot be saved."));
        return false;
    }
    return true;
}

/// A copy, as files that are executed may have others executed first.
QList<SavePlan::Place> SavePlan::stepsOf(const Project *project)
{
    if (m_byOwner.isEmpty()) {
        for (auto step = m_steps.begin(); step != m_steps.end(); ++step)
            m_byOwner[step->owner].append(step.key());
    }
    return m_byOwner.value(project);
}

int SavePlan::parts() const
{
    int parts = 0;
    for (const Step &step : m_steps) {
        parts += (step.memory.file ? 1 : step.parts) - isOwnStep(step);
    }
    return parts;
}

/// Whether this is one of the steps that the operation counts from the start.
bool SavePlan::isOwnStep(const Step &step) const
{
    return m_kind == Move && !step.owner;
}

void SavePlan::setProgress(SaveProgress *progress, const ParentProject *parent)
{
    m_progress = progress;
    m_parent = parent;
}

void SavePlan::tellStep(const Step &step)
{
    if (m_progress && isOwnStep(step))
        m_progress->stepDone();
    else
        tellPart();
}

void SavePlan::tellPart()
{
    if (m_progress)
        m_progress->partDone();
}

bool SavePlan::isStopped() const
{
    return m_progress && !m_progress->isCommitted() && (m_progress->isCancelled() || !m_parent);
}

void SavePlan::copyNew()
{
    const QList<Place> places = m_steps.keys();
    QList<Place> small;
    for (const Place &target : places) {
        const Step &step = m_steps[target];
        const QFileInfo place(step.name);
        const bool isNew = !step.memory.file && step.from && !place.exists() && !place.isSymLink();
        const bool isSmall = dynamic_cast<FileSystemArchive *>(step.from) && step.parts == 1;
        if (isNew && isSmall)
            small.append(target);
        else if (isNew && !isStopped())
            execute(target);
    }
    copySmall(small);
}

/// On all cores. What the others do goes on while this thread tells of what is ready.
void SavePlan::copySmall(const QList<Place> &places)
{
    std::atomic<bool> isOver{isStopped()};
    const FileCopier copier(m_isStaged ? NewFiles::Staged : NewFiles::Whole, isOver);
    QThreadPool pool;
    QVector<QFuture<FileCopyResult>> results;
    for (const Place &target : places)
        results.append(QtConcurrent::run(&pool, copier, &FileCopier::copy, m_steps[target].source,
                                         m_steps[target].name));
    for (int i = 0; i < places.size(); ++i) {
        const FileCopyResult result = results[i].result();
        Step &step = m_steps[places[i]];
        step.isDone = true;
        setFileError(result.error);
        if (result.isDone || !isOver)
            noteCopy(step, result.isDone, true);
        if (!isOver)
            tellStep(step);
        isOver = isStopped();
    }
}

void SavePlan::noteCopy(const Step &step, bool isDone, bool isNew)
{
    const bool isTold = step.memory.file; // by the writing of what is in memory
    if (!isDone && !isTold)
        failToSave(report, step.name, tr("'%1' could not be copied to it.").arg(step.source));
    if (!isDone)
        return;
    report.copied.append(step.name);
    if (isNew)
        m_newFiles.append(step.name);
}

void SavePlan::run(const Project *project)
{
    const QList<Place> places = stepsOf(project);
    for (const Place &target : places) {
        if (!m_steps[target].isDefinition && !isStopped())
            execute(target);
    }
}

void SavePlan::runDefinition(const Project *project)
{
    const QList<Place> places = stepsOf(project);
    for (const Place &target : places) {
        if (m_steps[target].isDefinition)
            execute(target);
    }
}

void SavePlan::undo()
{
    m_trials.clear();
    for (const QString &name : qAsConst(m_newFiles))
        QFile::remove(name);
    // From the inside out, and only those that are empty.
    std::sort(m_newDirectories.begin(), m_newDirectories.end());
    while (!m_newDirectories.isEmpty())
        QDir().rmdir(m_newDirectories.takeLast());
    report.written.clear();
    report.copied.clear();
}

bool SavePlan::hasMoved() const
{
    return std::all_of(m_steps.begin(), m_steps.end(),
                       [](const Step &step) { return !step.isDefinition || step.isWritten; });
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
    m_trials.erase(target);
    if (isInMemory && step.memory.isOpen())
        step.isWritten = write(step, target);
    if (step.isWritten)
        settleOthers(step, target);
    else if (!isInMemory ||
             (!step.isDefinition && step.from && !target.first->fileExists(target.second)))
        bring(step, target);
    tellStep(step);
}

bool SavePlan::write(const Step &step, const Place &target)
{
    setFileError(QString());
    ProjectFile *file = step.memory.file;
    // A file goes back under the name that it has, be that a link.
    const QString name = m_kind == Save ? file->fileName() : step.name;
    Archive &archive = m_kind == Save ? file->archive() : *target.first;
    const bool isNew = m_kind == Backup && !archive.fileExists(name);
    // What is in the old place as well need not be confirmed by the disk.
    const bool isElsewhere = m_kind == Backup || !file->isModified();
    const NewFiles newFiles(m_isStaged    ? NewFiles::Staged
                            : isElsewhere ? NewFiles::Whole
                                          : NewFiles::Synced);
    if (!file->toFile(archive, name, m_kind == Backup)) {
        failToSave(report, name, tr("It could not be saved."));
        return false;
    }
    report.written.append(name);
    if (isNew)
        m_newFiles.append(name);
    return true;
}

void SavePlan::bring(const Step &step, const Place &target)
{
    setFileError(QString());
    const bool isNew = !target.first->fileExists(step.name);
    const NewFiles newFiles(m_isStaged ? NewFiles::Staged : NewFiles::Whole);
    const auto goesOn = [this] {
        tellPart();
        return !isStopped();
    };
    const bool isCopied = copyInPortions(*step.from, step.source, *target.first, step.name, goesOn);
    if (isCopied || !isStopped())
        noteCopy(step, isCopied, isNew);
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

} // namespace Kiln
