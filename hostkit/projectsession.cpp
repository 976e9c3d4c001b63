#include <hostkit/projectsession.h>

#include <hostkit/bytesfile.h>
#include <hostkit/enginelibraries.h>
#include <hostkit/filebytes.h>
#include <hostkit/textfile.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>
#include <kilnx/project/projectfile.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

namespace HostKit
{

using FileID = Kiln::Project::FileID;

namespace
{
constexpr qint64 textOnlyFrom = 8 << 20; // bytes

/// Whether a file of that type is opened as text; so is one of no type, if it is opened at all.
bool isTextType(FileID::Type type)
{
    const unsigned int other = FileID::Sprites | FileID::Sounds;
    return !(unsigned(type) & other);
}

// What is the same for all names of a file: its number, where the system has one, else its name
// without links. What is not there yet is told by its directory.
QString identityOf(const QString &fileName)
{
    const QFileInfo info(fileName);
#ifdef Q_OS_UNIX
    struct stat found;
    if (stat(QFile::encodeName(fileName).constData(), &found) == 0 && found.st_nlink == 1)
        return QStringLiteral("%1:%2").arg(quint64(found.st_dev)).arg(quint64(found.st_ino));
#endif
    if (info.exists())
        return info.canonicalFilePath();
    const QString directory = QFileInfo(info.path()).canonicalFilePath();
    return directory.isEmpty() ? QDir::cleanPath(fileName)
                               : directory + QLatin1Char('/') + info.fileName();
}
} // namespace

ProjectSession::ProjectSession(EngineLibraries &engines, QObject *parent)
    : QObject(parent)
    , m_engines(engines)
{
}

ProjectSession::~ProjectSession()
{
    close();
}

// An engine is the current one already while it reads its files.
Kiln::ParentProject *ProjectSession::openBy(const QString &directory)
{
    Kiln::EnginePlugin *before = m_engines.current();
    QList<Kiln::EnginePlugin *> plugins = m_engines.plugins();
    plugins.removeAll(before);
    plugins.prepend(before);
    for (Kiln::EnginePlugin *plugin : qAsConst(plugins)) {
        m_engines.setCurrent(plugin);
        if (Kiln::ParentProject *opened = plugin ? plugin->openProject(directory) : nullptr)
            return opened;
    }
    m_engines.setCurrent(before);
    return nullptr;
}

bool ProjectSession::open(const QString &directory, Kiln::ParentProject *old)
{
    const QPointer<Kiln::ParentProject> opened = openBy(directory);
    if (!opened)
        return false;
    close(old);
    useEngineOf(opened);
    m_open.append(opened);
    m_parent = opened;
    m_current = nullptr;
    const QList<Kiln::Project *> all = projects(opened);
    for (Kiln::Project *project : all) {
        follow(project);
        const QList<Kiln::ProjectFile *> loaded = project->files();
        for (Kiln::ProjectFile *file : loaded)
            asBytes(file);
    }
    Q_EMIT changed();
    return true;
}

void ProjectSession::close(Kiln::ParentProject *project)
{
    if (!project || !m_open.contains(project))
        return;
    Q_EMIT aboutToClose(project);
    const QList<Kiln::ProjectFile *> closed = files(project);
    for (Kiln::ProjectFile *file : closed)
        m_loaded.remove(file);
    m_open.removeAll(project);
    const QList<Kiln::Project *> all = projects(project);
    for (Kiln::Project *each : all) {
        each->disconnect(this);
        each->release();
    }
    // The first release may have ended everything.
    if (m_parent.isNull() || m_parent == project) {
        m_parent = parentProjects().isEmpty() ? nullptr : parentProjects().last();
        m_current = nullptr;
        useEngineOf(m_parent);
    }
    Q_EMIT changed();
}

void ProjectSession::close()
{
    const QList<QPointer<Kiln::ParentProject>> all = m_open;
    for (const QPointer<Kiln::ParentProject> &project : all)
        close(project);
}

QList<Kiln::ParentProject *> ProjectSession::parentProjects() const
{
    QList<Kiln::ParentProject *> open;
    for (const QPointer<Kiln::ParentProject> &project : m_open) {
        if (project)
            open.append(project);
    }
    return open;
}

Kiln::ParentProject *ProjectSession::findProject(const QString &directory) const
{
    const QList<Kiln::ParentProject *> open = parentProjects();
    for (Kiln::ParentProject *project : open) {
        if (isSamePlace(project->basePath(), directory))
            return project;
    }
    return nullptr;
}

bool ProjectSession::isSamePlace(const QString &directory, const QString &other)
{
    return QDir::cleanPath(directory) == QDir::cleanPath(other) ||
           identityOf(directory) == identityOf(other);
}

void ProjectSession::setParentProject(Kiln::ParentProject *project)
{
    if (!project || project == m_parent || !m_open.contains(project))
        return;
    m_parent = project;
    if (m_current && m_current->parent() != project)
        m_current = nullptr;
    useEngineOf(project);
    Q_EMIT changed();
}

void ProjectSession::useEngineOf(Kiln::ParentProject *project)
{
    const QList<Kiln::EnginePlugin *> plugins = m_engines.plugins();
    for (Kiln::EnginePlugin *plugin : plugins) {
        if (project && &plugin->engine() == project->engine())
            m_engines.setCurrent(plugin);
    }
}

QList<Kiln::Project *> ProjectSession::projects(const Kiln::ParentProject *of) const
{
    QList<Kiln::Project *> all;
    if (!of) {
        const QList<Kiln::ParentProject *> open = parentProjects();
        for (const Kiln::ParentProject *project : open)
            all += projects(project);
        return all;
    }
    all = of->openedProjects();
    const auto place = [](const Kiln::Project *project) {
        const QString name = project->fileName();
        return std::make_pair(name.count(QLatin1Char('/')), name);
    };
    std::sort(all.begin(), all.end(), [place](const Kiln::Project *one, const Kiln::Project *two) {
        return place(one) < place(two);
    });
    return all;
}

Kiln::Project *ProjectSession::currentProject() const
{
    return m_current || !m_parent ? m_current.data() : projects(m_parent).value(0);
}

void ProjectSession::setCurrentProject(Kiln::Project *project)
{
    m_current = project;
    if (project)
        setParentProject(project->parent());
}

QList<Kiln::ProjectFile *> ProjectSession::files(const Kiln::ParentProject *of) const
{
    QList<Kiln::ProjectFile *> all;
    const QList<Kiln::Project *> opened = projects(of);
    for (const Kiln::Project *project : opened)
        all += project->files();
    return all;
}

QList<Kiln::ProjectFile *> ProjectSession::modifiedFiles(const Kiln::ParentProject *of) const
{
    QList<Kiln::ProjectFile *> modified = files(of);
    modified.erase(std::remove_if(modified.begin(), modified.end(),
                                  [](Kiln::ProjectFile *file) { return !file->isModified(); }),
                   modified.end());
    const auto isBefore = [](Kiln::ProjectFile *one, Kiln::ProjectFile *two) {
        return one->fileName() < two->fileName();
    };
    std::sort(modified.begin(), modified.end(), isBefore);
    return modified;
}

FileID ProjectSession::fileId(Kiln::ProjectFile *file) const
{
    return file && file->project() ? file->project()->fileID(file) : FileID();
}

Kiln::ProjectFile *ProjectSession::findFile(const QString &fileName) const
{
    const QString clean = QDir::cleanPath(fileName);
    const QList<Kiln::ProjectFile *> all = files();
    for (Kiln::ProjectFile *file : all) {
        if (QDir::cleanPath(file->fileName()) == clean)
            return file;
    }
    return sameFile(fileName, nullptr);
}

Kiln::ProjectFile *ProjectSession::twinOf(Kiln::ProjectFile *file) const
{
    return sameFile(file->fileName(), file);
}

Kiln::ProjectFile *ProjectSession::sameFile(const QString &fileName,
                                            const Kiln::ProjectFile *but) const
{
    if (fileName.isEmpty())
        return nullptr;
    const QString identity = identityOf(fileName);
    const QList<Kiln::ProjectFile *> all = files();
    for (Kiln::ProjectFile *file : all) {
        const QString name = file != but ? file->fileName() : QString();
        if (!name.isEmpty() && identityOf(name) == identity)
            return file;
    }
    return nullptr;
}

Kiln::ProjectFile *ProjectSession::loadFile(const QString &fileName, unsigned int id)
{
    if (Kiln::ProjectFile *known = findFile(fileName))
        return known;
    // A directory has no text, and a pipe or a device may never end.
    if (!QFileInfo(fileName).isFile())
        return nullptr;
    Kiln::Project *project = m_parent ? projectOf(fileName) : nullptr;
    const bool isBytes = project && isTextType(typeOf(fileName, id, project)) &&
                         isBinary(firstBytes(project->parent()->archive(), fileName));
    Kiln::ProjectFile *file = isBytes ? new BytesFile : makeFile(fileName, id);
    if (isBytes)
        project->addFile(file, FileID(FileID::Code));
    auto *text = dynamic_cast<Kiln::CodeDocument *>(file);
    if (text) {
        text->setShowsProgress(true);
        const bool hasAnimations = typeOf(fileName, id, project) == FileID::Animations;
        if (!hasAnimations && QFileInfo(fileName).size() >= textOnlyFrom)
            text->setDetail(Kiln::CodeDocument::TextOnly);
    }
    m_wasCancelled = false;
    file = settled(file, [&](Kiln::ProjectFile *made) {
        const bool isLoaded = made->fromFile(made->project()->archive(), fileName, false);
        m_wasCancelled = text && files().contains(made) && text->wasLoadCancelled();
        return isLoaded;
    });
    if (text && file)
        m_loaded.insert(file);
    return file;
}

// A file tells of what goes wrong in a box, behind which it may be closed with all else.
Kiln::ProjectFile *ProjectSession::settled(Kiln::ProjectFile *file,
                                           const std::function<bool(Kiln::ProjectFile *)> &step)
{
    const bool isDone = file && step(file);
    if (!file || !files().contains(file))
        return nullptr;
    if (isDone)
        return file;
    file->project()->removeFile(file);
    return nullptr;
}

Kiln::ProjectFile *ProjectSession::asBytes(Kiln::ProjectFile *file)
{
    const QString name = file->fileName();
    Kiln::Project *project = file->project();
    if (!dynamic_cast<Kiln::CodeDocument *>(file) || !file->canSave() || file->isModified() ||
        fileId(file).has(FileID::Definition) || !QFileInfo(name).isFile() ||
        !isBinary(firstBytes(file->archive(), name)))
        return file;
    auto *bytes = new BytesFile;
    if (!bytes->fromFile(file->archive(), name, false)) {
        bytes->release();
        return file;
    }
    project->removeFile(file);
    project->addFile(bytes, FileID(FileID::Code));
    return bytes;
}

bool ProjectSession::unloadText(Kiln::ProjectFile *file)
{
    if (!m_loaded.contains(file) || fileId(file).has(FileID::Definition))
        return false;
    file->project()->removeFile(file);
    return true;
}

Kiln::ProjectFile *ProjectSession::newFile(unsigned int id)
{
    return makeFile(QString(), id);
}

Kiln::ProjectFile *ProjectSession::createFile(const QString &fileName, unsigned int id)
{
    return settled(makeFile(fileName, id), [&](Kiln::ProjectFile *file) {
        return file->toFile(file->project()->archive(), fileName, false);
    });
}

Kiln::CodeDocument *ProjectSession::newText(const QString &fileName, unsigned int id)
{
    Kiln::ProjectFile *file = makeFile(fileName, id);
    auto *document = dynamic_cast<Kiln::CodeDocument *>(file);
    if (document)
        document->rename(fileName);
    else if (file)
        file->project()->removeFile(file);
    return document;
}

// The lowest bit of what is said; without, the type whose pattern the name matches; 0 if none.
FileID::Type
ProjectSession::typeOf(const QString &fileName, unsigned int id, Kiln::Project *project) const
{
    if (id != 0)
        return FileID::Type(id & (~id + 1));
    const QString name = QFileInfo(fileName).fileName();
    const Kiln::Engine *engine = project->parent()->engine();
    const QMap<int, QString> filters = engine ? engine->singleFileFilters() : QMap<int, QString>();
    for (auto filter = filters.cbegin(); filter != filters.cend(); ++filter) {
        const QStringList patterns = filter->split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (QDir::match(patterns, name))
            return FileID::Type(filter.key());
    }
    return TextFile::isNameOf(name) ? TextFile::Type : FileID::Type(0);
}

bool ProjectSession::hasTypeOf(const QString &fileName) const
{
    Kiln::Project *project = m_parent ? projectOf(fileName) : nullptr;
    return project && unsigned(typeOf(fileName, 0, project)) != 0;
}

Kiln::Project *ProjectSession::projectOf(const QString &fileName) const
{
    const QList<Kiln::ParentProject *> open = parentProjects();
    for (Kiln::ParentProject *parent : open) {
        const Kiln::ParentProject::Path *path = parent->filePath(fileName);
        const Kiln::ParentProject::Path *definition = path ? parent->projectForFile(path) : nullptr;
        const QList<Kiln::Project *> all = projects(parent);
        for (Kiln::Project *project : all) {
            if (definition && project->fileName() == definition->path())
                return project;
        }
        if (parent != m_parent && !fileName.isEmpty() && fileName.startsWith(parent->basePath()) &&
            !fileName.startsWith(m_parent->basePath()))
            return all.value(0);
    }
    return currentProject();
}

Kiln::ProjectFile *ProjectSession::makeFile(const QString &fileName, unsigned int id)
{
    Kiln::Project *project = m_parent ? projectOf(fileName) : nullptr;
    const FileID::Type type = project ? typeOf(fileName, id, project) : FileID::Type(0);
    if (unsigned(type) == 0)
        return nullptr;
    Kiln::ProjectFile *file = nullptr;
    if (type == TextFile::Type)
        file = new TextFile;
    else
        file = project->parent()->engine()->createFile(type, project);
    if (file)
        project->addFile(file, id != 0 ? FileID(id) : FileID(type));
    return file;
}

void ProjectSession::follow(Kiln::Project *project)
{
    connect(project, &Kiln::Project::fileRemoved, this,
            [this, project](const Kiln::ProjectFile *file, FileID) {
                auto *removed = const_cast<Kiln::ProjectFile *>(file);
                m_loaded.remove(removed);
                if (project->fileID(removed).bits == 0)
                    Q_EMIT fileRemoved(removed);
            });
}

} // namespace HostKit
