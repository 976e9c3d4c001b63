// What the window does with whole projects.

#include "editordeck.h"
#include "filedesk.h"
#include "mainactions.h"
#include "mainwindow.h"
#include "messagesdock.h"
#include "messagetable.h"
#include "outputdock.h"
#include "projectsession.h"
#include "projecttreedock.h"
#include "statusfields.h"
#include "welcomepage.h"

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/paths.h>
#include <kilnx/project/projectfile.h>

#include <QAction>
#include <QDir>
#include <QInputDialog>
#include <QMenu>
#include <QScopedValueRollback>

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

void MainWindow::updateRecent()
{
    const QStringList recent = m_settings.recentProjects();
    m_welcome->setRecent(recent);
    m_actions->recentMenu->clear();
    for (const QString &directory : recent) {
        connect(m_actions->recentMenu->addAction(QDir::toNativeSeparators(directory)),
                &QAction::triggered, this, [this, directory] { openProject(directory); });
    }
    m_actions->recentMenu->menuAction()->setVisible(!recent.isEmpty());
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

} // namespace Studio
