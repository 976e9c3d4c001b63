#pragma once

#include <hostkit/export.h>

#include <kilnx/project/parentproject.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSet>

#include <functional>

namespace Kiln
{
class CodeDocument;
class ProjectFile;
} // namespace Kiln

namespace HostKit
{

class EngineLibraries;

/// The projects that are open: ParentProjects with their Projects and their files. One is current.
///
/// It finds and loads files and tells what comes and goes; it asks the user nothing.
class HOSTKIT_EXPORT ProjectSession : public QObject
{
    Q_OBJECT

public:
    /// The session asks the engines for projects; they must outlive it.
    explicit ProjectSession(EngineLibraries &engines, QObject *parent = nullptr);
    ~ProjectSession() override;

    /// Opens the project in a directory with the first engine that knows it and makes it current,
    /// in place of the project `old`, or beside all others for null. False, with nothing changed,
    /// when no engine does.
    bool open(const QString &directory, Kiln::ParentProject *old = nullptr);

    /// Closes a project with its files, whatever changes they have; the last one that was opened
    /// becomes current if it was.
    void close(Kiln::ParentProject *project);
    /// Closes all projects.
    void close();

    /// The current project, whose engine is the current one; null for none. Each goes after
    /// aboutToClose().
    Kiln::ParentProject *parentProject() const { return m_parent; }
    /// In the order in which they were opened.
    QList<Kiln::ParentProject *> parentProjects() const;
    /// The one in that base directory; null if it is not open.
    Kiln::ParentProject *findProject(const QString &directory) const;
    /// Whether two names, by whatever links, lead to the same directory.
    static bool isSamePlace(const QString &directory, const QString &other);
    /// Makes one of parentProjects() current.
    void setParentProject(Kiln::ParentProject *project);

    // Of one project, or of all for null.
    /// The definitions nearest to the base directory first, then by name.
    QList<Kiln::Project *> projects(const Kiln::ParentProject *of = nullptr) const;
    /// All loaded files, each once.
    QList<Kiln::ProjectFile *> files(const Kiln::ParentProject *of = nullptr) const;
    /// By their names.
    QList<Kiln::ProjectFile *> modifiedFiles(const Kiln::ParentProject *of = nullptr) const;

    /// The Project that editors act on: the one last given to setCurrentProject(), else the first
    /// of the current ParentProject; null without any.
    Kiln::Project *currentProject() const;
    /// Makes its ParentProject current, too.
    void setCurrentProject(Kiln::Project *project);

    Kiln::Project::FileID fileId(Kiln::ProjectFile *file) const;

    /// The loaded file that an absolute name leads to, by whatever links and however it is
    /// written; null if there is none. A hard link is a file of its own: a save parts them.
    Kiln::ProjectFile *findFile(const QString &fileName) const;
    /// Another loaded file that stands for the same one on disk; null if there is none.
    Kiln::ProjectFile *twinOf(Kiln::ProjectFile *file) const;

    /// The file of that name, loaded if it is not yet. `id` is what a definition says about it; 0
    /// lets its suffix tell, by the engine's patterns or as plain text. Null when neither has such
    /// a type or the file cannot be read. A text of 8 MB or more has its text only, one of
    /// animations all but its colours; see Kiln::CodeDocument::Detail.
    Kiln::ProjectFile *loadFile(const QString &fileName, unsigned int id);

    /// A text whose bytes on disk are none is taken out of its project, and one that shows its
    /// bytes comes in; every other file, a definition too, is given back as it is.
    Kiln::ProjectFile *asBytes(Kiln::ProjectFile *file);

    /// Whether the engine, or the kit for plain text, has a type for files of that name.
    bool hasTypeOf(const QString &fileName) const;

    /// Whether the user has cancelled the last loadFile().
    bool wasCancelled() const { return m_wasCancelled; }

    /// Takes a text that loadFile() has loaded out of its project, and frees it, whatever changes
    /// it has. False, with nothing done, for a definition and every other file.
    bool unloadText(Kiln::ProjectFile *file);

    /// A new file of a type in the current project, which has no name yet; null as for loadFile().
    Kiln::ProjectFile *newFile(unsigned int id);

    /// A new file of that name on disk and in its project; null as for loadFile().
    Kiln::ProjectFile *createFile(const QString &fileName, unsigned int id);
    /// A text of that name that is not on disk until it is saved; null as for newFile(), and for a
    /// type that is no text.
    Kiln::CodeDocument *newText(const QString &fileName, unsigned int id);

Q_SIGNALS:
    /// Another project is current, or none, or others are open.
    void changed();
    /// The project is about to be destroyed: let go of its files.
    void aboutToClose(Kiln::ParentProject *project);
    /// The file is about to be destroyed.
    void fileRemoved(Kiln::ProjectFile *file);

private:
    Kiln::ParentProject *openBy(const QString &directory);
    void useEngineOf(Kiln::ParentProject *project);
    Kiln::Project::FileID::Type
    typeOf(const QString &fileName, unsigned int id, Kiln::Project *project) const;
    Kiln::Project *projectOf(const QString &fileName) const;
    Kiln::ProjectFile *sameFile(const QString &fileName, const Kiln::ProjectFile *but) const;
    Kiln::ProjectFile *makeFile(const QString &fileName, unsigned int id);
    Kiln::ProjectFile *settled(Kiln::ProjectFile *file,
                               const std::function<bool(Kiln::ProjectFile *)> &step);
    void follow(Kiln::Project *project);

    EngineLibraries &m_engines;
    bool m_wasCancelled = false;
    QSet<Kiln::ProjectFile *> m_loaded; ///< by loadFile(); only ever compared
    QList<QPointer<Kiln::ParentProject>> m_open;
    QPointer<Kiln::ParentProject> m_parent; ///< the current one
    QPointer<Kiln::Project> m_current;
};

} // namespace HostKit
