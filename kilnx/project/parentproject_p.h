#pragma once

#include <kilnx/project/archive.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/savereport.h>
#include <kilnx/project/tree/path_p.h>

#include <QtCore/QFileSystemWatcher>
#include <QtCore/QMap>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtGui/QTextDocument>

namespace Kiln
{

class RestorePlan;
class SavePlan;

/// The root of the tree, and everything else that a ParentProject keeps.
///
/// It and the ParentProject are defined in parentproject.cpp, parentproject_running.cpp (engines)
/// and parentproject_saving.cpp (save, save as, backups).
class ParentProjectPrivate : public QObject, public DirectoryPath
{
public:
    /// An open project, and what its rows were made from.
    struct Opened {
        Path *node = nullptr;
        QPointer<QTextDocument> document;
        QString fileName;
        QList<ReferencedFile> files;
        bool isStale = true; ///< the rows may be gone although nothing else changed
        QMetaObject::Connection contents;
        QMetaObject::Connection modification;
    };

    ParentProjectPrivate(ParentProject *owner, const QString &basePath, Archive &archive);
    ~ParentProjectPrivate() override;

    void addProject(CodeDocument *document);
    /// Ends the owner with the last project.
    void removeProject(Project *project);
    /// Makes the rows of a project what its definition says now.
    void rebuild(Project *project);
    void rebuildAll();
    void setBasePath(const QString &path);
    /// Returns when the process has ended; handles events in the meantime.
    void runProcess(const QString &executable, const QString &arguments, QString *output);
    void stopEngine();
    /// One definition, which can go anywhere alone.
    bool movesAlone() const;
    QString moveTarget(const QString &given) const;
    SavePlan planMove(const QString &target, QStringList &others) const;
    SavePlan planBackup(const QString &target) const;
    class Saving;
    static bool
    restoreFiles(RestorePlan &restore, const QList<Project *> &all, const Saving &saving);
    void moveTo(const QString &base);
    /// That directory relative to the base, empty or ending in "/"; empty outside the base.
    QString folderOf(const QString &fileName) const;
    void forget(const BasePath *node);
    const BasePath *follow(const QString &relativePath) const;
    QModelIndex indexOf(BasePath *node) const;

    void watch(DirectoryPath *directory);
    void unwatch(DirectoryPath *directory);

    /// Brackets every change of rows. A slot may close or open projects in between: what that
    /// changes waits until the rows stand.
    void beginMerge() { ++m_merging; }
    void endMerge();

    int refCount = 0;
    Archive *archive;
    ParentProject *q;
    QMap<Project *, Opened> projects;
    QFileSystemWatcher fileSystemWatcher;
    /// True when no engine process runs.
    bool runFinished = true;
    QPointer<QProcess> engineProcess;
    bool engineIsStopping = false;
    /// The owner is being destroyed: nobody looks at the rows any more.
    bool closing = false;
    /// What is being saved; null at other times.
    SavePlan *plan = nullptr;
    /// Of the last saving.
    SaveReport report;

protected:
    void update(Path *node, const PathEntry &entries) override;
    QFileSystemWatcher *watcher() override { return &fileSystemWatcher; }

private:
    bool isPlaceOfProject(const Path *node) const;
    void collectOthers(const Path *node, QStringList &out) const;
    QString directoryOf(const QString &fileName) const;
    void directoryChanged(const QString &path);
    void retryLater();
    void retryMissing();
    void withdraw(Project *project);

    /// Directories to scan that are not there, and what is watched until they are.
    QSet<DirectoryPath *> m_missing;
    QSet<QString> m_stakeouts;
    /// Those that are there again and wait for their scan.
    QList<DirectoryPath *> m_back;
    bool m_isRetrying = false;
    int m_merging = 0;
    /// Closed during a merge: only the address, which their claims carry.
    QList<Project *> m_leaving;
    QSet<Project *> m_toRebuild;
};

} // namespace Kiln
