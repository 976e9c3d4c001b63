#pragma once

#include <QDockWidget>
#include <QPointer>

class QTreeView;

namespace Kiln
{
class ParentProject;
}

namespace Studio
{

/// The tree of the open project; a file that is activated is opened.
class ProjectTreeDock : public QDockWidget
{
    Q_OBJECT

public:
    explicit ProjectTreeDock(QWidget *parent = nullptr);

    /// Shows the tree of `project`, null for none. The project must outlive this until the next
    /// call, or go.
    void setProject(Kiln::ParentProject *project);

    QTreeView *view() const { return m_view; }

    /// Selects the row of a file, given by its absolute name; nothing if it has none.
    void selectFile(const QString &fileName);

    /// The absolute name of the file in the current row; empty for a directory or no row.
    QString currentFile() const;

signals:
    /// `fileId` is what a definition says about the file, 0 for one that a scan has found.
    void fileActivated(const QString &fileName, unsigned int fileId);

private:
    void activate(const QModelIndex &index);
    QModelIndex findFile(const QModelIndex &parent, const void *path) const;

    QTreeView *m_view;
    QPointer<Kiln::ParentProject> m_project;
};

} // namespace Studio
