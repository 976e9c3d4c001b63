#include "projecttreedock.h"

#include <hostkit/widgets.h>

#include <kilnx/project/parentproject.h>

#include <QClipboard>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMenu>
#include <QShortcut>
#include <QTreeView>
#include <QUrl>
#include <QVBoxLayout>

#include <memory>

namespace Studio
{

using namespace HostKit;

ProjectTreeDock::ProjectTreeDock(QWidget *parent)
    : QDockWidget(tr("Project"), parent)
    , m_chooser(named(new QComboBox(this), "project_chooser", tr("Open projects")))
    , m_view(named(new QTreeView(this), "project_tree", tr("Files of the project")))
{
    named(this, "dock_project");
    m_view->setHeaderHidden(true);
    m_view->setUniformRowHeights(true);
    m_view->setIconSize(QSize(16, 16));
    auto *page = new QWidget(this);
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_chooser);
    layout->addWidget(m_view, 1);
    m_chooser->hide();
    setWidget(page);
    connect(m_chooser, QOverload<int>::of(&QComboBox::activated), this,
            [this] { emit projectChosen(m_chooser->currentData().toString()); });
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_view, &QTreeView::activated, this, &ProjectTreeDock::activate);
    connect(m_view, &QTreeView::customContextMenuRequested, this, &ProjectTreeDock::showMenu);
    addKey(Qt::Key_F2, &ProjectTreeDock::renameRequested);
    addKey(QKeySequence::Delete, &ProjectTreeDock::trashRequested);
}

// For the file of the current row, while the tree has the focus.
void ProjectTreeDock::addKey(const QKeySequence &key,
                             void (ProjectTreeDock::*wanted)(const QString &))
{
    auto *shortcut = new QShortcut(key, m_view);
    shortcut->setContext(Qt::WidgetShortcut);
    connect(shortcut, &QShortcut::activated, this, [this, wanted] {
        if (!currentFile().isEmpty())
            emit(this->*wanted)(currentFile());
    });
}

void ProjectTreeDock::setProjects(const QStringList &directories)
{
    m_chooser->clear();
    for (const QString &directory : directories) {
        m_chooser->addItem(QDir(directory).dirName(), directory);
        m_chooser->setItemData(m_chooser->count() - 1, QDir::toNativeSeparators(directory),
                               Qt::ToolTipRole);
    }
    m_chooser->setVisible(directories.size() > 1);
}

void ProjectTreeDock::setProject(Kiln::ParentProject *project)
{
    const bool isOther = m_project != project;
    m_project = project;
    if (project)
        m_chooser->setCurrentIndex(m_chooser->findData(QDir::cleanPath(project->basePath())));
    if (!isOther && m_view->model() == project)
        return;
    m_view->setModel(project);
    if (project)
        m_view->expandAll();
}

Kiln::ParentProject *ProjectTreeDock::project() const
{
    return m_project;
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

void ProjectTreeDock::showMenu(const QPoint &position)
{
    if (!m_project)
        return;
    const std::unique_ptr<QMenu> menu(makeMenu(m_view->indexAt(position)));
    menu->exec(m_view->viewport()->mapToGlobal(position));
}

QMenu *ProjectTreeDock::makeMenu(const QModelIndex &index)
{
    auto *menu = new QMenu(m_view);
    const Kiln::ParentProject::Path *path = m_project ? m_project->itemPath(index) : nullptr;
    const bool isFile = path && path->isFile();
    const QString name = path ? path->path() : m_project ? m_project->basePath() : QString();
    const QString directory = isFile ? QFileInfo(name).path() + QLatin1Char('/')
                                     : QDir::cleanPath(name) + QLatin1Char('/');
    const auto add = [&](const char *key, const QString &text, auto &&act) {
        QAction *action = menu->addAction(text, this, act);
        action->setObjectName(QLatin1String(key));
        return action;
    };
    if (isFile)
        menu->setDefaultAction(add("tree_open", tr("&Open"),
                                   [=, id = path->type()] { emit fileActivated(name, id); }));
    add("tree_new", tr("&New file..."), [=] { emit newFileRequested(directory); });
    menu->addSeparator();
    add("tree_copy_path", tr("&Copy path"),
        [=] { QGuiApplication::clipboard()->setText(QDir::toNativeSeparators(name)); });
    add("tree_show", tr("&Show in file manager"),
        [=] { QDesktopServices::openUrl(QUrl::fromLocalFile(directory)); });
    if (isFile) {
        menu->addSeparator();
        add("tree_rename", tr("&Rename..."), [=] { emit renameRequested(name); });
        add("tree_trash", tr("Move to &trash..."), [=] { emit trashRequested(name); });
    }
    return menu;
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
