#include "emberparentproject.h"

#include "emberengine.h"

#include <kilnx/project/archive.h>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryFile>

namespace
{

constexpr QDir::Filters files = QDir::Files | QDir::Readable | QDir::NoSymLinks;
constexpr QDir::Filters directories =
    QDir::Dirs | QDir::Readable | QDir::NoSymLinks | QDir::NoDotAndDotDot;

/// Archive::fileExists() is true for directories as well.
bool isFileOf(const QString &name, const Kiln::Archive &archive)
{
    const QFileInfo info(name);
    return archive.entries(info.path(), files, QDir::Name).contains(info.fileName());
}

/// The definitions directly in a directory, games first, by absolute name.
QStringList definitionsIn(const QString &directory, const Kiln::Archive &archive)
{
    QStringList games;
    QStringList others;
    for (const QString &name : archive.entries(directory, files, QDir::Name)) {
        const EmberDocument::FileType type = EmberDocument::typeOfFile(name);
        if (type == EmberDocument::Game)
            games.append(directory + name);
        else if (EmberDocument::isDefinition(type))
            others.append(directory + name);
    }
    return games + others;
}

QStringList definitionsBelow(const QString &directory, const Kiln::Archive &archive)
{
    QStringList found = definitionsIn(directory, archive);
    const bool isGame =
        !found.isEmpty() && EmberDocument::typeOfFile(found.first()) == EmberDocument::Game;
    if (isGame)
        return {found.first()};
    for (const QString &name : archive.entries(directory, directories, QDir::Name))
        found += definitionsIn(directory + name + QLatin1Char('/'), archive);
    return found;
}

} // namespace

EmberParentProject *EmberParentProject::open(const QString &path, Kiln::Archive &archive)
{
    const QString name = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    const bool isFile = isFileOf(name, archive);
    const QString directory = isFile ? QFileInfo(name).path() : name;
    const QStringList definitions =
        isFile ? QStringList(name) : definitionsBelow(directory + QLatin1Char('/'), archive);
    if (definitions.isEmpty())
        return nullptr;
    auto *parent = new EmberParentProject(directory, archive);
    if (parent->openProjects(definitions))
        return parent;
    parent->release();
    return nullptr;
}

EmberParentProject *EmberParentProject::create(const QString &directory,
                                               Kiln::Archive &archive,
                                               EmberDocument::FileType type)
{
    auto *parent = new EmberParentProject(directory, archive);
    EmberProject::create(*parent, type);
    return parent;
}

EmberParentProject::EmberParentProject(const QString &directory, Kiln::Archive &archive)
    : ParentProject(directory, archive)
{
    const QStringList known = archive.entries(basePath(), directories, QDir::Name);
    if (known.contains(QLatin1String("shared")))
        addPath(QStringLiteral("shared"), ScanDirectories | ScanFiles, {QStringLiteral("*.glow")});
    if (known.contains(QLatin1String("notes")))
        addPath(QStringLiteral("notes"), ScanFiles, {QStringLiteral("*.txt")});
}

EmberParentProject::~EmberParentProject() = default;

/// Opens the definitions and the cast of those that are games. True when one of them opened.
bool EmberParentProject::openProjects(const QStringList &definitions)
{
    QStringList waiting = definitions;
    QStringList done;
    while (!waiting.isEmpty()) {
        const QString name = QDir::cleanPath(waiting.takeFirst());
        if (done.contains(name))
            continue;
        done.append(name);
        EmberProject *project = EmberProject::open(*this, name);
        if (!project)
            continue;
        for (const QString &member : project->cast())
            waiting.append(project->absolutePath() + member);
    }
    return refCount() > 0;
}

void EmberParentProject::close()
{
    // The last one destroys this object, so nothing of it is touched inside the loop.
    const QList<Kiln::Project *> projects = openedProjects();
    for (Kiln::Project *project : projects)
        project->release();
}

Kiln::ProjectFile *EmberParentProject::openFile(const QString &fileName)
{
    for (Kiln::Project *project : openedProjects()) {
        Kiln::ProjectFile *file = static_cast<EmberProject *>(project)->fileByName(fileName);
        if (file)
            return file;
    }
    EmberProject *project = projectAround(fileName);
    return project ? project->openFile(fileName) : nullptr;
}

/// The project whose definition's directory is the nearest above a file; the first one for a file
/// that none is above.
EmberProject *EmberParentProject::projectAround(const QString &fileName) const
{
    const QList<Kiln::Project *> projects = openedProjects();
    Kiln::Project *nearest = nullptr;
    for (Kiln::Project *project : projects) {
        const QString directory = project->absolutePath();
        const bool isNearer = !nearest || directory.size() > nearest->absolutePath().size();
        if (fileName.startsWith(directory) && isNearer)
            nearest = project;
    }
    return static_cast<EmberProject *>(nearest ? nearest : projects.value(0));
}

Kiln::Engine *EmberParentProject::engine()
{
    return &EmberEngine::instance();
}

void EmberParentProject::collectFiles(const QString &path, QStringList &out)
{
    const QString full = basePath() + path;
    if (isFileOf(full, archive())) {
        out.append(path);
        return;
    }
    const QString prefix =
        path.isEmpty() || path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
    for (const QString &name : archive().entries(full, files, QDir::Name))
        out.append(prefix + name);
    for (const QString &name : archive().entries(full, directories, QDir::Name))
        collectFiles(prefix + name + QLatin1Char('/'), out);
}

bool EmberParentProject::prepareRun(QString &executable, QStringList &temporaries)
{
    if (isGame())
        executable = basePath() + engine()->executable();
    // The game learns what to load from a list whose name stands in its environment.
    QTemporaryFile list(QDir::tempPath() + QStringLiteral("/ember-XXXXXX.txt"));
    list.setAutoRemove(false);
    if (!list.open())
        return false;
    temporaries.append(list.fileName());
    QStringList names;
    for (Kiln::Project *project : openedProjects())
        names.append(project->fileName());
    names.sort();
    list.write(names.join(QLatin1Char('\n')).toUtf8());
    qputenv("EMBER_DEFINITIONS", QFile::encodeName(list.fileName()));
    return true;
}

void EmberParentProject::release()
{
    delete this;
}

QIcon EmberParentProject::fileIcon(Kiln::Project::FileID id)
{
    return id == Kiln::Project::FileID::Definition ? QIcon(QStringLiteral(":/ember/definition.svg"))
                                                   : QIcon();
}
