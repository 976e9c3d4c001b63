#pragma once

#include <hostkit/export.h>

#include <QtCore/QObject>
#include <QtCore/QString>

class QJsonObject;
class QTimer;

namespace Kiln
{
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

    /// Opens the files of the open project again in the order of their tabs, and shows the one that
    /// was shown last. Files that are gone are passed over. Nothing happens to a project that is
    /// opened for the first time.
    void restore(FileDesk &desk);
    /// Something may have changed.
    void touch();

private:
    void store();
    QString fileName() const;
    QJsonObject placeOf(Kiln::ProjectFile *file) const;
    void restorePlace(const QJsonObject &place);

    ProjectSession &m_session;
    FileTabs *m_tabs;
    QString m_directory;
    CodeSurface *m_surface = nullptr;
    QTimer *m_timer;
    bool m_restoring = false;
};

} // namespace HostKit
