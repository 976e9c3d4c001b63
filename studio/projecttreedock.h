#pragma once

#include <QDockWidget>

class QComboBox;
class QMenu;
class QTreeView;

namespace HostKit
{
class ProjectSession;
class ProjectTree;
} // namespace HostKit

namespace Kiln
{
class ParentProject;
class ProjectFile;
} // namespace Kiln

namespace Studio
{

/// The tree of the current project, and a choice among those that are open; a file that is
/// activated is opened. Its menu makes files, renames them, moves them to the trash and shows where
/// they are.
class ProjectTreeDock : public QDockWidget
{
    Q_OBJECT

public:
    explicit ProjectTreeDock(HostKit::ProjectSession &session, QWidget *parent = nullptr);

    /// The base directories of the projects that are open.
    void setProjects(const QStringList &directories);
    /// Shows the tree of `project`, null for none. The project must outlive this until the next
    /// call, or go.
    void setProject(Kiln::ParentProject *project);

    Kiln::ParentProject *project() const;
    HostKit::ProjectTree *tree() const { return m_tree; }
    QTreeView *view() const { return m_view; }

    /// Selects the row of a file, given by its absolute name; nothing if it has none.
    void selectFile(const QString &fileName);

    /// The absolute name of the file in the current row; empty for a directory or no row.
    QString currentFile() const;

    /// What can be done with a row, or with the project for an invalid index. Owned by the caller.
    QMenu *makeMenu(const QModelIndex &index);

signals:
    /// The user wants to see another project, named by its base directory.
    void projectChosen(const QString &directory);
    /// A new file is wanted in a directory, which ends with "/".
    void newFileRequested(const QString &directory);
    void trashRequested(const QString &fileName);
    void renameRequested(const QString &fileName);
    /// `fileId` is what a definition says about the file, 0 for one that a scan has found.
    void fileActivated(const QString &fileName, unsigned int fileId);
    /// A file that is open and that no definition names.
    void openFileActivated(Kiln::ProjectFile *file);

private:
    void activate(const QModelIndex &index);
    void addKey(const QKeySequence &key, void (ProjectTreeDock::*wanted)(const QString &));
    void showMenu(const QPoint &position);

    QComboBox *m_chooser; ///< hidden while there is no choice
    QTreeView *m_view;
    HostKit::ProjectTree *m_tree;
};

} // namespace Studio
