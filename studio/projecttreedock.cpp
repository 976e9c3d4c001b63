#include "projecttreedock.h"

#include <hostkit/filemanager.h>
#include <hostkit/projecttree.h>
#include <hostkit/widgets.h>

#include <kilnx/project/parentproject.h>

#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMenu>
#include <QShortcut>
#include <QTreeView>
#include <QVBoxLayout>

#include <memory>

namespace Studio
{

using namespace HostKit;

ProjectTreeDock::ProjectTreeDock(ProjectSession &session, QWidget *parent)
    : QDockWidget(tr("Project"), parent)
    , m_chooser(named(new QComboBox(this), "project_chooser", tr("Open projects")))
    , m_view(named(new QTreeView(this), "project_tree", tr("Files of the project")))
    , m_tree(new ProjectTree(session, this))
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
    if (project)
        m_chooser->setCurrentIndex(m_chooser->findData(QDir::cleanPath(project->basePath())));
    if (m_tree->project() == project)
        return;
    m_tree->setProject(project);
    // A view without a model has no row that is current.
    m_view->setModel(project ? m_tree : nullptr);
    if (project)
        m_view->expandAll();
}

Kiln::ParentProject *ProjectTreeDock::project() const
{
    return m_tree->project();
}

void ProjectTreeDock::selectFile(const QString &fileName)
{
    const QModelIndex index = m_tree->find(fileName);
    if (!index.isValid())
        return;
    m_view->setCurrentIndex(index);
    m_view->scrollTo(index);
}

QString ProjectTreeDock::currentFile() const
{
    const QModelIndex current = m_view->currentIndex();
    return m_tree->isFile(current) ? m_tree->path(current) : QString();
}

void ProjectTreeDock::activate(const QModelIndex &index)
{
    if (Kiln::ProjectFile *open = m_tree->openFile(index))
        emit openFileActivated(open);
    else if (m_tree->isFile(index))
        emit fileActivated(m_tree->path(index), m_tree->fileId(index));
}

void ProjectTreeDock::showMenu(const QPoint &position)
{
    if (!project())
        return;
    const std::unique_ptr<QMenu> menu(makeMenu(m_view->indexAt(position)));
    menu->exec(m_view->viewport()->mapToGlobal(position));
}

QMenu *ProjectTreeDock::makeMenu(const QModelIndex &index)
{
    auto *menu = new QMenu(m_view);
    const bool isFile = m_tree->isFile(index);
    const QString base = project() ? project()->basePath() : QString();
    const QString name = index.isValid() ? m_tree->path(index) : base;
    const QString directory = QDir::cleanPath(name.isEmpty() ? base
                                              : isFile       ? QFileInfo(name).path()
                                                             : name) +
                              QLatin1Char('/');
    const auto add = [&](const char *key, const QString &text, auto &&act) {
        QAction *action = menu->addAction(text, this, act);
        action->setObjectName(QLatin1String(key));
        return action;
    };
    if (isFile)
        menu->setDefaultAction(add("tree_open", tr("&Open"),
                                   [=, row = QPersistentModelIndex(index)] { activate(row); }));
    add("tree_new", tr("&New file..."), [=] { emit newFileRequested(directory); });
    if (name.isEmpty())
        return menu;
    menu->addSeparator();
    add("tree_copy_path", tr("&Copy path"),
        [=] { QGuiApplication::clipboard()->setText(QDir::toNativeSeparators(name)); });
    add("tree_show", tr("&Show in file manager"), [=] { showInFileManager(window(), directory); });
    if (isFile) {
        menu->addSeparator();
        add("tree_rename", tr("&Rename..."), [=] { emit renameRequested(name); });
        add("tree_trash", tr("Move to &trash..."), [=] { emit trashRequested(name); });
    }
    return menu;
}

} // namespace Studio
