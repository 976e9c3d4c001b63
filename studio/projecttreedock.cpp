#include "projecttreedock.h"

#include <hostkit/widgets.h>

#include <kilnx/project/parentproject.h>

#include <QTreeView>

namespace Studio
{

using namespace HostKit;

ProjectTreeDock::ProjectTreeDock(QWidget *parent)
    : QDockWidget(tr("Project"), parent)
    , m_view(named(new QTreeView(this), "project_tree", tr("Files of the project")))
{
    named(this, "dock_project");
    m_view->setHeaderHidden(true);
    m_view->setUniformRowHeights(true);
    m_view->setIconSize(QSize(16, 16));
    setWidget(m_view);
    connect(m_view, &QTreeView::activated, this, &ProjectTreeDock::activate);
}

void ProjectTreeDock::setProject(Kiln::ParentProject *project)
{
    m_project = project;
    m_view->setModel(project);
    if (project)
        m_view->expandAll();
}

void ProjectTreeDock::selectFile(const QString &fileName)
{
    const Kiln::ParentProject::Path *path = m_project ? m_project->filePath(fileName) : nullptr;
    const QModelIndex index = path ? findFile({}, path) : QModelIndex();
    if (!index.isValid())
        return;
    m_view->setCurrentIndex(index);
    m_view->scrollTo(index);
}

QString ProjectTreeDock::currentFile() const
{
    const Kiln::ParentProject::Path *path =
        m_project ? m_project->itemPath(m_view->currentIndex()) : nullptr;
    return path && path->isFile() ? path->path() : QString();
}

void ProjectTreeDock::activate(const QModelIndex &index)
{
    const Kiln::ParentProject::Path *path = m_project ? m_project->itemPath(index) : nullptr;
    if (path && path->isFile())
        emit fileActivated(path->path(), path->type());
}

QModelIndex ProjectTreeDock::findFile(const QModelIndex &parent, const void *path) const
{
    const int rows = m_project->rowCount(parent);
    for (int row = 0; row < rows; ++row) {
        const QModelIndex index = m_project->index(row, 0, parent);
        if (m_project->itemPath(index) == path)
            return index;
        const QModelIndex below = findFile(index, path);
        if (below.isValid())
            return below;
    }
    return {};
}

} // namespace Studio
