#pragma once

#include <hostkit/export.h>

#include <kilnx/project/parentproject.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>

namespace Kiln
{
class ProjectFile;
} // namespace Kiln

namespace HostKit
{

class EngineLibraries;

/// The project that is open: a ParentProject with its Projects and their files.
///
/// It finds and loads files and tells what comes and goes; it asks the user nothing.
class HOSTKIT_EXPORT ProjectSession : public QObject
{
    Q_OBJECT

public:
    /// The session asks the engines for projects; they must outlive it.
    explicit ProjectSession(EngineLibraries &engines, QObject *parent = nullptr);
    ~ProjectSession() override;

    /// Opens the project in a directory, in place of the one that is open, with the first engine
    /// that knows it, which becomes the current one. False, with the old project still open, when
    /// none does.
    bool open(const QString &directory);

    /// Closes all projects and their files, whatever changes they have.
    void close();

    /// What is open; null for nothing. It goes after aboutToClose().
    Kiln::ParentProject *parentProject() const { return m_parent; }
    /// The definitions nearest to the base directory first, then by name.
    QList<Kiln::Project *> projects() const;
    /// The project that editors act on: the one last given to setCurrentProject(), else the
    /// first; null without any.
    Kiln::Project *currentProject() const;
    void setCurrentProject(Kiln::Project *project);

    /// All loaded files of all projects, each once.
    QList<Kiln::ProjectFile *> files() const;
    QList<Kiln::ProjectFile *> modifiedFiles() const;
    Kiln::Project::FileID fileId(Kiln::ProjectFile *file) const;

    /// The loaded file of that absolute name, null if there is none.
    Kiln::ProjectFile *findFile(const QString &fileName) const;

    /// The file of that name, loaded if it is not yet. `id` is what a definition says about it; 0
    /// lets its suffix tell. Null when the engine has no such type or the file cannot be read.
    Kiln::ProjectFile *loadFile(const QString &fileName, unsigned int id);

    /// A new file of a type in the current project, which has no name yet; null as for loadFile().
    Kiln::ProjectFile *newFile(unsigned int id);

    /// A new file of that name on disk and in its project; null as for loadFile().
    Kiln::ProjectFile *createFile(const QString &fileName, unsigned int id);

Q_SIGNALS:
    /// Another project is open, or none.
    void changed();
    /// The projects are about to be destroyed: let go of their files.
    void aboutToClose();
    /// The file is about to be destroyed.
    void fileRemoved(Kiln::ProjectFile *file);

private:
    Kiln::Project::FileID::Type typeOf(const QString &fileName, unsigned int id) const;
    Kiln::Project *projectOf(const QString &fileName) const;
    Kiln::ProjectFile *makeFile(const QString &fileName, unsigned int id);
    void follow(Kiln::Project *project);

    EngineLibraries &m_engines;
    QPointer<Kiln::ParentProject> m_parent;
    QPointer<Kiln::Project> m_current;
};

} // namespace HostKit
