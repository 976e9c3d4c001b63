// What the commands of the window do.

#include "actionregistry.h"
#include "codesurface.h"
#include "editordeck.h"
#include "filedesk.h"
#include "filetabs.h"
#include "findbar.h"
#include "findinfilesdock.h"
#include "mainactions.h"
#include "mainwindow.h"
#include "messagesdock.h"
#include "messagetable.h"
#include "outputdock.h"
#include "projectsession.h"
#include "projecttreedock.h"
#include "settingsdialog.h"
#include "statusfields.h"
#include "welcomepage.h"
#include "widgets.h"

#include <kilnx/code/codedocument.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/paths.h>

#include <QAction>
#include <QCloseEvent>
#include <QDir>
#include <QDockWidget>
#include <QInputDialog>
#include <QMenu>
#include <QScopedValueRollback>
#include <QTabBar>
#include <QTreeView>

namespace Studio
{

bool MainWindow::openProject(const QString &directory)
{
    const QString path = QDir::cleanPath(QDir(directory).absolutePath());
    if (m_running || !m_desk->confirmDiscard())
        return false;
    if (!session()->open(path)) {
        m_settings.removeRecentProject(path);
        updateRecent();
        Kiln::showWarning(this, tr("Open project"),
                          tr("There is no project of %1 in '%2'.")
                              .arg(m_host.engine()->displayName(), QDir::toNativeSeparators(path)));
        return false;
    }
    m_settings.addRecentProject(path);
    m_settings.setValue("project_path", path);
    updateRecent();
    return true;
}

void MainWindow::reopenLast()
{
    const QString last = m_settings.recentProjects().value(0);
    if (m_settings.value("reopen_last_project").toBool() && QDir(last).exists() && !last.isEmpty())
        openProject(last);
}

bool MainWindow::closeProject()
{
    if (m_running || !m_desk->confirmDiscard())
        return false;
    session()->close();
    return true;
}

void MainWindow::applySettings()
{
    m_theme.apply();
    // A project keeps what held when it was opened.
    const QList<Kiln::Project *> projects = session()->projects();
    for (const char *key : {"parseCode", "modelCode", "highlightCode"}) {
        for (Kiln::Project *project : projects)
            project->setOption(QLatin1String(key), m_settings.value(QLatin1String(key)), false);
    }
    rehighlight();
    updateState();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (!closeProject()) {
        event->ignore();
        return;
    }
    m_settings.setValue("window_geometry", saveGeometry());
    m_settings.setValue("window_state", saveState());
    m_settings.sync();
    event->accept();
}

void MainWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::LanguageChange && m_desk) {
        m_host.parts.actions->retranslate();
        deck()->retranslate();
    }
}

void MainWindow::connectFileActions()
{
    connect(m_actions->openProject, &QAction::triggered, this, &MainWindow::chooseProject);
    connect(m_actions->closeProject, &QAction::triggered, this, &MainWindow::closeProject);
    connect(m_actions->closeFile, &QAction::triggered, m_desk, &FileDesk::closeCurrentFile);
    connect(m_actions->save, &QAction::triggered, this, [this] {
        if (Kiln::FileEditor *editor = deck()->currentFileEditor())
            editor->save();
        m_desk->syncWithEditor();
    });
    connect(m_actions->saveAs, &QAction::triggered, this, [this] {
        if (Kiln::FileEditor *editor = deck()->currentFileEditor())
            editor->saveAs();
        m_desk->syncWithEditor();
    });
    connect(m_actions->saveAll, &QAction::triggered, this, [this] {
        if (Kiln::ParentProject *project = session()->parentProject())
            project->save();
        m_desk->syncWithEditor();
    });
    connect(m_actions->saveProjectAs, &QAction::triggered, this, &MainWindow::saveProjectAs);
    connect(m_actions->backup, &QAction::triggered, this, &MainWindow::backup);
    connect(m_actions->restore, &QAction::triggered, this, &MainWindow::restore);
    connect(m_actions->quit, &QAction::triggered, this, &MainWindow::close);
}

void MainWindow::connectEditActions()
{
    const auto forward = [this](QAction *action, void (Kiln::FileEditor::*operation)()) {
        connect(action, &QAction::triggered, this, [this, operation] {
            if (Kiln::FileEditor *editor = deck()->currentFileEditor())
                (editor->*operation)();
        });
    };
    forward(m_actions->undo, &Kiln::FileEditor::undo);
    forward(m_actions->redo, &Kiln::FileEditor::redo);
    forward(m_actions->cut, &Kiln::FileEditor::cut);
    forward(m_actions->copy, &Kiln::FileEditor::copy);
    forward(m_actions->paste, &Kiln::FileEditor::paste);

    connect(m_actions->find, &QAction::triggered, this, &MainWindow::startFind);
    connect(m_actions->findNext, &QAction::triggered, m_findBar, &FindBar::findNext);
    connect(m_actions->findPrevious, &QAction::triggered, m_findBar, &FindBar::findPrevious);
    connect(m_actions->findInFiles, &QAction::triggered, this,
            [this] { m_findInFiles->start(m_surface->text()->textCursor().selectedText()); });
    connect(m_findBar, &FindBar::findRequested, this,
            [this](const QString &text, unsigned int flags) {
                if (Kiln::Editor *editor = deck()->current())
                    editor->find(text, flags);
            });
    connect(m_findBar, &FindBar::replaceRequested, this,
            [this](const QString &text, const QString &by, unsigned int flags, bool all) {
                if (Kiln::Editor *editor = deck()->current())
                    editor->replace(text, by, flags, all);
            });
    connect(m_findBar, &FindBar::closed, this, [this] {
        if (m_stack->currentWidget())
            m_stack->currentWidget()->setFocus();
    });
    connect(m_actions->nextMessage, &QAction::triggered, this, [this] { stepMessage(1); });
    connect(m_actions->previousMessage, &QAction::triggered, this, [this] { stepMessage(-1); });
}

void MainWindow::connectOtherActions()
{
    const auto forward = [this](QAction *action, void (Kiln::Workspace::*operation)()) {
        connect(action, &QAction::triggered, this, [this, operation] {
            if (Kiln::Workspace *workspace = deck()->currentWorkspace())
                (workspace->*operation)();
        });
    };
    forward(m_actions->zoomIn, &Kiln::Workspace::zoomIn);
    forward(m_actions->zoomOut, &Kiln::Workspace::zoomOut);
    forward(m_actions->zoomActual, &Kiln::Workspace::zoomActual);
    connect(m_actions->nextFile, &QAction::triggered, this, [this] { m_desk->stepTab(1); });
    connect(m_actions->previousFile, &QAction::triggered, this, [this] { m_desk->stepTab(-1); });
    connect(m_actions->run, &QAction::triggered, this, &MainWindow::runInEngine);
    connect(m_actions->settings, &QAction::triggered, this, [this] { showSettings(false); });
    connect(m_actions->engines, &QAction::triggered, this, [this] { showSettings(true); });
    connect(m_actions->about, &QAction::triggered, this, &MainWindow::showAbout);
}

// New and Open, one entry for each type of file that the engine makes; a definition is no such
// file: it makes a project.
void MainWindow::makeEditorMenus()
{
    const QList<Kiln::Editor *> editors = deck()->editors();
    const QMap<int, QString> types = m_host.engine()->singleFileFilters();
    for (Kiln::Editor *editor : editors) {
        auto *fileEditor = qobject_cast<Kiln::FileEditor *>(editor);
        if (!fileEditor || !fileEditor->action())
            continue;
        const auto type = fileEditor->canEditFileType();
        if (type == Kiln::Project::FileID::Definition || !types.contains(int(type)))
            continue;
        const QString text = fileEditor->action()->text();
        connect(m_actions->newMenu->addAction(text), &QAction::triggered, this, [=] {
            fileEditor->create();
            m_desk->syncWithEditor();
        });
        connect(m_actions->openMenu->addAction(text + tr("...")), &QAction::triggered, this, [=] {
            fileEditor->open();
            m_desk->syncWithEditor();
        });
    }
}

void MainWindow::showProject()
{
    Kiln::ParentProject *parent = session()->parentProject();
    m_tree->setProject(parent);
    const QList<Kiln::Project *> projects = session()->projects();
    for (Kiln::Project *project : projects)
        m_messages->table()->addList(project->messages());
    if (parent && parent->rowCount() > 0) {
        Kiln::Project *first = session()->currentProject();
        if (Kiln::ProjectFile *definition = first->file(Kiln::Project::FileID::Definition))
            m_desk->showFile(definition);
        arrangeDocks();
    }
    updateState();
}

// Hidden docks have no size to set, so this waits for the first file.
void MainWindow::arrangeDocks()
{
    auto *nodes = findChild<QDockWidget *>(QStringLiteral("dock_code_tree"));
    if (m_arranged || !nodes->isVisible())
        return;
    resizeDocks({m_tree}, {260}, Qt::Horizontal);
    resizeDocks({m_tree, nodes}, {400, 320}, Qt::Vertical);
    resizeDocks({m_messages}, {190}, Qt::Vertical);
    m_arranged = true;
}

void MainWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    const QList<QTabBar *> bars = findChildren<QTabBar *>(QString(), Qt::FindDirectChildrenOnly);
    for (QTabBar *bar : bars)
        named(bar, "dock_tabs", tr("Panels"));
}

void MainWindow::updateState()
{
    Kiln::ProjectFile *file = deck()->currentFile();
    Kiln::ParentProject *project = session()->parentProject();
    m_actions->setState(project != nullptr, file != nullptr, m_running);
    QStringList title;
    if (file) {
        title.append(FileTabs::title(file) + QLatin1String("[*]"));
        m_tree->selectFile(file->fileName());
    }
    if (project)
        title.append(QDir(project->basePath()).dirName());
    title.append(tr("Kiln Studio"));
    setWindowTitle(title.join(QStringLiteral(" – ")));
    setWindowModified(file && file->isModified());
    if (!file)
        m_findBar->hide();
}

void MainWindow::updateRecent()
{
    const QStringList recent = m_settings.recentProjects();
    m_welcome->setRecent(recent);
    m_actions->recentMenu->clear();
    for (const QString &directory : recent) {
        connect(m_actions->recentMenu->addAction(QDir::toNativeSeparators(directory)),
                &QAction::triggered, this, [this, directory] { openRecent(directory); });
    }
    m_actions->recentMenu->menuAction()->setVisible(!recent.isEmpty());
}

void MainWindow::openRecent(const QString &directory)
{
    openProject(directory);
}

void MainWindow::chooseProject()
{
    const QString directory = Kiln::getExistingDirectory(
        this, tr("Open project"), m_settings.value("project_path").toString());
    if (!directory.isEmpty())
        openProject(directory);
}

void MainWindow::saveProjectAs()
{
    Kiln::ParentProject *project = session()->parentProject();
    if (!project)
        return;
    QString target;
    if (session()->projects().size() == 1 && !project->isGame()) {
        target = Kiln::getSaveFileName(this, tr("Save project as"),
                                       session()->currentProject()->fileName(),
                                       m_host.engine()->fileFilter());
    } else {
        target = Kiln::getExistingDirectory(this, tr("Save project as"), project->basePath());
    }
    if (target.isEmpty())
        return;
    project->saveAs(target);
    m_settings.addRecentProject(project->basePath());
    updateRecent();
    m_desk->syncWithEditor();
}

void MainWindow::backup()
{
    bool accepted = false;
    const QString name = QInputDialog::getText(this, tr("Backup"), tr("Name of the backup:"),
                                               QLineEdit::Normal, tr("manual"), &accepted);
    Kiln::ParentProject *project = session()->parentProject();
    if (accepted && project && project->backup(QString(name).remove(QLatin1Char('/'))))
        showMessage(tr("The backup is done."));
}

void MainWindow::restore()
{
    Kiln::ParentProject *project = session()->parentProject();
    if (!project)
        return;
    const QString directory = Kiln::getExistingDirectory(
        this, tr("Restore backup"), project->basePath() + QLatin1String("backup"));
    if (directory.isEmpty() || !m_desk->confirmDiscard())
        return;
    if (project->restoreBackup(QDir(directory).dirName()))
        showMessage(tr("The backup is restored."));
    else
        Kiln::showWarning(this, tr("Restore backup"), tr("This is no backup of the project."));
    m_desk->syncWithEditor();
}

// The engine reads from the disk, and events are handled while it runs.
void MainWindow::runInEngine()
{
    Kiln::ParentProject *project = session()->parentProject();
    if (!project || m_running)
        return;
    if (!session()->modifiedFiles().isEmpty() &&
        Kiln::askQuestion(this, tr("Run in engine"),
                          tr("The engine reads the saved files. Do you want to save all changes "
                             "first?"))) {
        project->save();
        m_desk->syncWithEditor();
    }
    QString output;
    bool success = false;
    {
        const QScopedValueRollback<bool> guard(m_running, true);
        updateState();
        showMessage(tr("Running in the engine..."));
        success = project->run(&output);
    }
    updateState();
    m_host.parts.status->clearMessage();
    m_output->addRun(output, success);
    m_output->show();
    m_output->raise();
}

void MainWindow::showSettings(bool engines)
{
    SettingsDialog dialog(m_settings, m_host.engine(), this);
    if (engines)
        dialog.showEngines();
    connect(&dialog, &SettingsDialog::applied, this, &MainWindow::applySettings);
    dialog.exec();
    m_host.engine()->save();
}

void MainWindow::showAbout()
{
    Kiln::showInformation(
        this, tr("About Kiln Studio"),
        tr("Kiln Studio %1\nThe sample host of kilnx, working for %2.")
            .arg(QCoreApplication::applicationVersion(), m_host.engine()->displayName()));
}

void MainWindow::stepMessage(int by)
{
    QTreeView *view = m_messages->view();
    const int count = m_messages->table()->rowCount();
    if (count == 0)
        return;
    const int row = view->currentIndex().isValid() ? view->currentIndex().row() : (by > 0 ? -1 : 0);
    const QModelIndex index = m_messages->table()->index((row + by + count) % count, 0);
    view->setCurrentIndex(index);
    m_messages->activate(index);
}

void MainWindow::startFind()
{
    const QString selected = m_surface->text()->textCursor().selectedText();
    m_findBar->start(selected.contains(QChar::ParagraphSeparator) ? QString() : selected);
}

// The views let go of the documents, because whether they have rows at all is a setting too.
void MainWindow::rehighlight()
{
    Kiln::CodeDocument *shown = m_surface->document();
    m_surface->setDocument(nullptr);
    deck()->reconfig();
    const QList<Kiln::ProjectFile *> files = session()->files();
    for (Kiln::ProjectFile *file : files) {
        if (auto *document = dynamic_cast<Kiln::CodeDocument *>(file))
            document->rehighlight();
    }
    m_surface->setDocument(shown);
}

void MainWindow::showMessage(const QString &text)
{
    m_host.parts.status->showMessage(text, 5000);
}

} // namespace Studio
