#include <hostkit/projectsession.h>

#include <hostkit/enginelibraries.h>

#include <kilnx/project/archive.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>
#include <kilnx/project/projectfile.h>

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace HostKit
{

using FileID = Kiln::Project::FileID;

ProjectSession::ProjectSession(EngineLibraries &engines, QObject *parent)
    : QObject(parent)
    , m_engines(engines)
{
}

ProjectSession::~ProjectSession()
{
    close();
}

bool ProjectSession::open(const QString &directory)
{
    // An engine is the current one already while it reads its files.
    Kiln::EnginePlugin *before = m_engines.current();
    QList<Kiln::EnginePlugin *> plugins = m_engines.plugins();
    plugins.removeAll(before);
    plugins.prepend(before);
    Kiln::ParentProject *parent = nullptr;
    for (Kiln::EnginePlugin *plugin : qAsConst(plugins)) {
        m_engines.setCurrent(plugin);
        parent = plugin ? plugin->openProject(directory) : nullptr;
        if (parent)
            break;
    }
    if (!parent) {
        m_engines.setCurrent(before);
        return false;
    }
    close();
    m_parent = parent;
    const QList<Kiln::Project *> opened = projects();
    for (Kiln::Project *project : opened)
        follow(project);
    Q_EMIT changed();
    return true;
}

void ProjectSession::close()
{
    if (!m_parent)
        return;
    Q_EMIT aboutToClose();
    const QList<Kiln::Project *> opened = projects();
    for (Kiln::Project *project : opened) {
        project->disconnect(this);
        project->release();
    }
    m_parent = nullptr;
    m_current = nullptr;
    Q_EMIT changed();
}

QList<Kiln::Project *> ProjectSession::projects() const
{
    if (!m_parent)
        return {};
    QList<Kiln::Project *> opened = m_parent->openedProjects();
    const auto place = [](const Kiln::Project *project) {
        const QString name = project->fileName();
        return std::make_pair(name.count(QLatin1Char('/')), name);
    };
    std::sort(opened.begin(), opened.end(),
              [place](const Kiln::Project *one, const Kiln::Project *other) {
                  return place(one) < place(other);
              });
    return opened;
}

Kiln::Project *ProjectSession::currentProject() const
{
    return m_current ? m_current.data() : projects().value(0);
}

void ProjectSession::setCurrentProject(Kiln::Project *project)
{
    m_current = project;
}

QList<Kiln::ProjectFile *> ProjectSession::files() const
{
    QList<Kiln::ProjectFile *> all;
    const QList<Kiln::Project *> opened = projects();
    for (const Kiln::Project *project : opened)
        all += project->files();
    return all;
}

QList<Kiln::ProjectFile *> ProjectSession::modifiedFiles() const
{
    QList<Kiln::ProjectFile *> modified = files();
    modified.erase(std::remove_if(modified.begin(), modified.end(),
                                  [](Kiln::ProjectFile *file) { return !file->isModified(); }),
                   modified.end());
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
    return nullptr;
}

Kiln::ProjectFile *ProjectSession::loadFile(const QString &fileName, unsigned int id)
{
    if (Kiln::ProjectFile *known = findFile(fileName))
        return known;
    Kiln::ProjectFile *file = makeFile(fileName, id);
    if (file && !file->fromFile(m_parent->archive(), fileName, false)) {
        file->project()->removeFile(file);
        return nullptr;
    }
    return file;
}

Kiln::ProjectFile *ProjectSession::newFile(unsigned int id)
{
    return makeFile(QString(), id);
}

Kiln::ProjectFile *ProjectSession::createFile(const QString &fileName, unsigned int id)
{
    Kiln::ProjectFile *file = makeFile(fileName, id);
    if (file && !file->toFile(m_parent->archive(), fileName, false)) {
        file->project()->removeFile(file);
        return nullptr;
    }
    return file;
}

// The lowest bit of what is said; without, the type whose pattern the name matches; 0 if none.
FileID::Type ProjectSession::typeOf(const QString &fileName, unsigned int id) const
{
    if (id != 0)
        return FileID::Type(id & (~id + 1));
    const QString name = QFileInfo(fileName).fileName();
    const Kiln::Engine *engine = m_engines.engine();
    const QMap<int, QString> filters = engine ? engine->singleFileFilters() : QMap<int, QString>();
    for (auto filter = filters.cbegin(); filter != filters.cend(); ++filter) {
        const QStringList patterns = filter->split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (QDir::match(patterns, name))
            return FileID::Type(filter.key());
    }
    return FileID::Type(0);
}

Kiln::Project *ProjectSession::projectOf(const QString &fileName) const
{
    const Kiln::ParentProject::Path *path = m_parent->filePath(fileName);
    const Kiln::ParentProject::Path *definition = path ? m_parent->projectForFile(path) : nullptr;
    const QList<Kiln::Project *> opened = projects();
    for (Kiln::Project *project : opened) {
        if (definition && project->fileName() == definition->path())
            return project;
    }
    return currentProject();
}

Kiln::ProjectFile *ProjectSession::makeFile(const QString &fileName, unsigned int id)
{
    const FileID::Type type = typeOf(fileName, id);
    Kiln::Project *project = m_parent ? projectOf(fileName) : nullptr;
    if (!project || unsigned(type) == 0)
        return nullptr;
    Kiln::ProjectFile *file = m_engines.engine()->createFile(type, project);
    if (file)
        project->addFile(file, id != 0 ? FileID(id) : FileID(type));
    return file;
}

void ProjectSession::follow(Kiln::Project *project)
{
    connect(project, &Kiln::Project::fileRemoved, this,
            [this, project](const Kiln::ProjectFile *file, FileID) {
                auto *removed = const_cast<Kiln::ProjectFile *>(file);
                if (project->fileID(removed).bits == 0)
                    Q_EMIT fileRemoved(removed);
            });
}

} // namespace HostKit
