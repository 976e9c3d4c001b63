#pragma once

#include <hostkit/export.h>

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QString>

class QJsonObject;
class QTimer;

namespace Kiln
{
class ParentProject;
class ProjectFile;
} // namespace Kiln

namespace HostKit
{

class CodeSurface;
class FileDesk;
class FileTabs;
class ProjectSession;

/// Remembers, for each project, which files were open, where their cursors stood and what was
/// folded, and opens them again.
///
/// What is open is written two seconds after it has changed, and when the project is closed, as one
/// small JSON file a project. Make the object before the FileDesk, which takes the files off.
class HOSTKIT_EXPORT OpenFiles : public QObject
{
    Q_OBJECT

public:
    /// Keeps its files below `directory`, which is made when there is something to keep; without a
    /// name nothing is kept.
    OpenFiles(ProjectSession &session, FileTabs *tabs, const QString &directory);

    /// The view in which code files are shown; null at first.
    void setSurface(CodeSurface *surface) { m_surface = surface; }

    /// Opens the files of the current project again in the order of their tabs, and shows the one
    /// that was shown last. Files that are gone are passed over. Nothing happens to a project that
    /// is opened for the first time.
    void restore(FileDesk &desk);
    /// The file of a project that was shown last; null if there is none, or it is not open any
    /// more.
    Kiln::ProjectFile *shownLast(const Kiln::ParentProject *project) const;
    /// Something may have changed.
    void touch();

private:
    void storeAll();
    void store(const Kiln::ParentProject *project);
    QString fileName(const Kiln::ParentProject *project) const;
    QJsonObject placeOf(Kiln::ProjectFile *file, const QString &base) const;
    void restorePlace(const QJsonObject &place);

    ProjectSession &m_session;
    FileTabs *m_tabs;
    /// Of each project, which file was shown last.
    QHash<QString, QString> m_shown;
    QString m_directory;
    CodeSurface *m_surface = nullptr;
    QTimer *m_timer;
    bool m_restoring = false;
};

} // namespace HostKit
