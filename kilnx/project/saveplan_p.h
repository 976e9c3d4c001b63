#pragma once

#include <kilnx/project/archive.h>
#include <kilnx/project/project.h>
#include <kilnx/project/projectfile.h>
#include <kilnx/project/savereport.h>

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QMultiMap>
#include <QtCore/QPair>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>

#include <map>
#include <memory>

namespace Kiln
{

class SaveProgress;

/// What one saving writes where, settled before the first byte; then it writes, and reports.
///
/// Each target has one source: a changed file in memory before an unchanged one, and that before
/// the disk. Other open instances of the same file follow the one that was written; an instance
/// with changes of its own is told as a failure and stays modified. Boxes may open while it writes,
/// and what was closed behind them is passed by.
class SavePlan
{
public:
    enum Kind {
        Save,   ///< files go back to their places
        Move,   ///< files take their new names
        Backup, ///< files keep their names; what is unchanged is copied from disk
    };

    explicit SavePlan(Kind kind);

    /// Plans a file's own place, in its own archive.
    void addSave(Project *project, ProjectFile *file);
    /// Plans all that belongs to a project and lies in its directory: open files and what the
    /// definition names. `directory`, the new one, ends in "/". The definition itself is planned
    /// for a backup only. Returns the entries that were looked at.
    QList<ReferencedFile> addProject(Project *project, const QString &directory);
    /// Plans the definition of a project that moves.
    void addDefinition(Project *project, const QString &target);
    /// Notes what these projects have open, for addOther().
    void noteOpen(const QList<Project *> &projects);
    /// Plans a file of no project. An instance that is open comes first.
    void addOther(Archive &from, const QString &source, const QString &target);

    /// Notes the changed files of these projects that no step saves.
    void noteLeftOut(const QList<Project *> &projects);

    /// Existing files that would be replaced by others.
    QStringList replaced() const;
    /// How many parts a SaveProgress is told of: files, and further portions of large ones.
    int parts() const;
    /// Who hears of each part, and stops what may be stopped; so does the end of `parent`.
    void setProgress(SaveProgress *progress, const ParentProject *parent);
    /// All that a backup writes stands in a part that gets its name when all of it is there.
    void setStaged() { m_isStaged = true; }
    /// Makes the directories of everything but a Save, and for a move tries out whether the
    /// definitions can be written. False, with nothing moved, when a move cannot come about.
    bool prepare();
    /// Makes a directory that undo() takes away again; false if that cannot be done.
    bool makeDirectory(const QString &directory);
    /// Copies what is only on disk to where nothing is, before everything else. From here undo()
    /// leads back.
    void copyNew();
    /// Writes what was planned for a project, without the definition of a move; null stands for
    /// the files of no project.
    void run(const Project *project);
    /// Writes the definition of a move.
    void runDefinition(const Project *project);
    /// Takes new files and directories away again.
    void undo();

    /// Whether all definitions of a move have been written.
    bool hasMoved() const;

    SaveReport report;

private:
    /// A place on a store.
    using Place = QPair<Archive *, QString>;

    struct Instance {
        QPointer<Project> project;
        ProjectFile *file = nullptr;

        bool isOpen() const { return project && project->fileID(file).bits != 0; }
    };

    struct Step {
        const Project *owner = nullptr;
        QString name;            ///< of the target as it was asked for, be that behind a link
        Instance memory;         ///< without a file: from disk
        QList<Instance> others;  ///< of the same file
        Archive *from = nullptr; ///< null: not on disk, or nothing to fall back on
        QString source;
        int parts = 1; ///< that a SaveProgress is told of while it is copied
        bool isDefinition = false;
        bool isDone = false;
        bool isWritten = false; ///< from memory
    };

    Place placeOf(Archive &archive, const QString &name) const;
    QString canonicalDirectory(const QString &path) const;
    /// The step that writes that file.
    Step &stepAt(Archive &archive, const QString &name);
    static void addMemory(Step &step, const Instance &instance);
    void addDisk(const Project *owner, Archive &from, const QString &source, const QString &target);
    void addEntry(Project *project,
                  const QString &prefix,
                  const QString &directory,
                  const ReferencedFile &entry);
    bool isLeftToDisk(ProjectFile *file) const;

    bool tryDefinitions();
    void executeReaders(const Place &source);
    QList<Place> stepsOf(const Project *project);
    void execute(const Place &target);
    bool write(const Step &step, const Place &target);
    void bring(const Step &step, const Place &target);
    void settleOthers(const Step &step, const Place &target);
    void fail(const QString &fileName, const QString &reason);
    void keep(Archive &archive);
    bool isOwnStep(const Step &step) const;
    void copySmall(const QList<Place> &places);
    void noteCopy(const Step &step, bool isDone, bool isNew);
    void tellStep(const Step &step);
    void tellPart();
    bool isStopped() const;

    Kind m_kind;
    bool m_isStaged = false;
    SaveProgress *m_progress = nullptr;
    QPointer<const ParentProject> m_parent; ///< whose end stops it; only with m_progress
    /// So that they outlive projects that are closed meanwhile.
    QHash<Archive *, std::shared_ptr<Archive>> m_archives;
    /// As they were when they were first asked for.
    mutable QHash<QString, QString> m_canonical;
    /// Filled by the first run; owners stay from then on.
    QHash<const Project *, QList<Place>> m_byOwner;
    /// What was not there before.
    QStringList m_newFiles;
    QStringList m_newDirectories;
    std::map<Place, std::unique_ptr<QTemporaryDir>> m_trials; ///< of definitions, until they go
    QMap<Place, Step> m_steps;
    QMap<Place, QList<Instance>> m_open;
    /// From a source on disk to the targets that are copied from it.
    QMultiMap<Place, Place> m_readers;
};

/// Reports a file that is not where it was to be, with `otherwise` and what the system said.
void failToSave(SaveReport &report, const QString &fileName, const QString &otherwise);

/// How many parts a SaveProgress is told of while a file is copied.
int partsOf(const Archive &archive, const QString &fileName);

/// Everything below a directory of a store, relative to it; hidden files, too, but no links and no
/// parts. What cannot be read, be it a directory, is there, as to copy it is to fail.
QStringList filesBelow(const Archive &archive, const QString &directory);

} // namespace Kiln
