// What the window does with whole projects.

#include "mainwindow.h"

#include "mainactions.h"
#include "projecttreedock.h"
#include "sample.h"
#include "welcomepage.h"

#include <hostkit/editordeck.h>
#include <hostkit/enginelibraries.h>
#include <hostkit/filedesk.h>
#include <hostkit/messagetable.h>
#include <hostkit/projectsession.h>
#include <hostkit/recoverydesk.h>
#include <hostkit/savedesk.h>
#include <hostkit/settings.h>
#include <hostkit/statusfields.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/project.h>
#include <kilnx/project/projectfile.h>

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenu>
#include <QScopedValueRollback>
#include <QStandardPaths>
#include <QTimer>

#include <algorithm>

namespace Studio
{

using namespace HostKit;

namespace
{
/// Asks for the name of a file. Of `name` all but the suffix is selected, which mostly stays. Empty
/// if the user thinks better of it.
QString askName(QWidget *parent, const QString &title, const QString &label, const QString &name)
{
    QInputDialog dialog(parent);
    dialog.setWindowTitle(title);
    dialog.setLabelText(label);
    dialog.setTextValue(name);
    dialog.resize(qMax(360, dialog.sizeHint().width()), dialog.sizeHint().height());
    auto *line = dialog.findChild<QLineEdit *>();
    // The dialog selects all of it when it is shown.
    QTimer::singleShot(0, line, [line, name] {
        const int base = QFileInfo(name).completeBaseName().size();
        line->setSelection(0, base > 0 ? base : name.size());
    });
    return dialog.exec() == QDialog::Accepted ? dialog.textValue().trimmed() : QString();
}
} // namespace

// Opening a project offers what was left of it.
void MainWindow::reopenLast()
{
    QStringList last = m_host.lastProjects();
    const QString left = QDir::cleanPath(m_host.recovery().projectLeft());
    const bool isWanted = m_host.settings().value("reopen_last_project").toBool();
    const auto exists = [](const QString &name) { return !name.isEmpty() && QDir(name).exists(); };
    if (exists(left) && !(isWanted && last.contains(left)) &&
        Kiln::askQuestion(this, tr("Unsaved work"),
                          tr("The last run ended before all changes in the project '%1' were "
                             "saved. Do you want to open it?")
                              .arg(QDir::toNativeSeparators(left)),
                          true))
        last = QStringList(left);
    else if (!isWanted)
        last.clear();
    for (const QString &directory : qAsConst(last)) {
        if (exists(directory))
            m_host.openBeside(directory);
    }
}

void MainWindow::open(const QStringList &names)
{
    for (const QString &name : names) {
        const QString file = QFileInfo(name).absoluteFilePath();
        const QList<Kiln::ParentProject *> projects = m_host.session().parentProjects();
        const bool isInside =
            std::any_of(projects.cbegin(), projects.cend(), [&file](const auto *project) {
                return file.startsWith(project->basePath());
            });
        if (!QFileInfo(file).isFile())
            m_host.openBeside(name);
        else if (isInside || m_host.openBeside(QFileInfo(file).path()))
            m_host.desk().openFile(file, 0);
    }
}

void MainWindow::showProject()
{
    Kiln::ParentProject *parent = m_host.session().parentProject();
    QStringList open;
    for (const Kiln::ParentProject *project : m_host.session().parentProjects())
        open.append(QDir::cleanPath(project->basePath()));
    m_tree->setProjects(open);
    m_tree->setProject(parent);
    if (!parent) // the first page is shown, with a new picture
        updateRecent();
    updateState();
}

void MainWindow::updateRecent()
{
    const QStringList recent = m_host.settings().recentProjects();
    QVector<WelcomePage::Recent> shown;
    m_actions->recentMenu->clear();
    for (const QString &directory : recent) {
        shown.append({directory, m_pictures.picture(directory)});
        QString text = QDir::toNativeSeparators(directory);
        text.replace(QLatin1Char('&'), QLatin1String("&&"));
        connect(m_actions->recentMenu->addAction(text), &QAction::triggered, this,
                [this, directory] { openRecent(directory); });
    }
    m_welcome->setRecent(shown);
    m_actions->recentMenu->menuAction()->setVisible(!recent.isEmpty());
}

void MainWindow::chooseProject(bool beside)
{
    const QString directory = Kiln::getExistingDirectory(
        this, tr("Open project"), m_host.settings().value("project_path").toString());
    if (!directory.isEmpty())
        beside ? m_host.openBeside(directory) : m_host.openProject(directory);
}

// A disk that is not there now may be back tomorrow: nothing goes off the list unasked.
void MainWindow::openRecent(const QString &directory)
{
    if (QFileInfo::exists(directory))
        m_host.openProject(directory);
    else if (Kiln::askQuestion(this, tr("Open project"),
                               tr("'%1' is not there. Do you want to take it off the list?")
                                   .arg(QDir::toNativeSeparators(directory))))
        m_host.settings().removeRecentProject(directory);
}

// What is delivered may be where nobody can write, so it is opened as a copy, made once.
void MainWindow::openSample()
{
    const QString from = deliveredSample();
    const QString to = m_host.userPath() + QLatin1String("/sample/hero");
    if (!QFileInfo::exists(to) && !copyDirectory(from, to))
        Kiln::showWarning(this, tr("Open project"),
                          tr("The sample in '%1' cannot be copied to '%2'.")
                              .arg(QDir::toNativeSeparators(from), QDir::toNativeSeparators(to)));
    else if (m_host.openProject(to))
        m_host.status().tell(tr("This copy of the sample is in '%1'; change what you like.")
                                 .arg(QDir::toNativeSeparators(to)));
}

void MainWindow::saveProjectAs()
{
    if (m_host.saving().saveProjectAs()) {
        m_host.settings().addRecentProject(m_host.session().parentProject()->basePath());
        showProject();
    }
}

void MainWindow::backup()
{
    bool accepted = false;
    const QString name = QInputDialog::getText(this, tr("Backup"), tr("Name of the backup:"),
                                               QLineEdit::Normal, tr("manual"), &accepted);
    if (accepted && m_host.saving().backup(name))
        m_host.status().tell(tr("The backup is done."));
}

void MainWindow::restore()
{
    const Kiln::ParentProject *project = m_host.session().parentProject();
    if (!project)
        return;
    const QString directory = Kiln::getExistingDirectory(
        this, tr("Restore backup"), project->basePath() + QLatin1String("backup"));
    if (!directory.isEmpty() && m_host.saving().restore(QDir(directory).dirName()))
        m_host.status().tell(tr("The backup is restored."));
}

void MainWindow::makeFile(const QString &directory)
{
    const QString title = tr("New file");
    const QString name = askName(this, title, tr("Name of the file, with its suffix:"), QString());
    const QString path = QDir::cleanPath(directory + name);
    if (name.isEmpty() || !m_host.session().parentProject())
        return;
    const QString base = QDir::cleanPath(m_host.session().parentProject()->basePath());
    if (!path.startsWith(base + QLatin1Char('/')))
        Kiln::showWarning(
            this, title, tr("'%1' is outside of the project.").arg(QDir::toNativeSeparators(path)));
    else if (QFileInfo::exists(path))
        Kiln::showWarning(this, title,
                          tr("'%1' exists already.").arg(QDir::toNativeSeparators(path)));
    else if (!m_host.session().hasTypeOf(path))
        Kiln::showWarning(this, title,
                          tr("'%1' cannot be made. The engine tells a file's type by its suffix.")
                              .arg(QDir::toNativeSeparators(path)));
    else if (Kiln::ProjectFile *file = m_host.session().createFile(path, 0))
        m_host.desk().showFile(file);
    else
        Kiln::showWarning(
            this, title,
            tr("'%1' cannot be made. %2")
                .arg(QDir::toNativeSeparators(path), Kiln::FileSystemArchive::lastError())
                .trimmed());
}

// Within its directory: other files and programs may count on where it is.
void MainWindow::renameFile(const QString &fileName)
{
    const QFileInfo file(fileName);
    const QString name = askName(this, tr("Rename"), tr("New name of the file:"), file.fileName());
    if (name.isEmpty() || name == file.fileName())
        return;
    if (name.contains(QLatin1Char('/')))
        Kiln::showWarning(this, tr("Rename"), tr("A name has no '/' in it."));
    else if (m_host.desk().renameFile(fileName, file.path() + QLatin1Char('/') + name))
        m_tree->selectFile(file.path() + QLatin1Char('/') + name);
}

// A file on the desk is closed first; what it has unsaved is asked about.
void MainWindow::moveToTrash(const QString &fileName)
{
    const QString title = tr("Move to trash");
    const QString shown = QDir::toNativeSeparators(fileName);
    Kiln::ProjectFile *file = m_host.session().findFile(fileName);
    if (m_host.session().fileId(file).has(Kiln::Project::FileID::Definition)) {
        Kiln::showWarning(
            this, title,
            tr("'%1' defines a part of the open project, and stays while it is open.").arg(shown));
        return;
    }
    if (!Kiln::askQuestion(this, title, tr("Do you want to move '%1' to the trash?").arg(shown)))
        return;
    file = m_host.session().findFile(fileName);
    if (file && !m_host.desk().closeFile(file))
        return;
    // Where that directory is missing, Qt takes the current one for the trash.
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    if (!QFile::moveToTrash(fileName)) {
        Kiln::showWarning(this, title, tr("'%1' could not be moved to the trash.").arg(shown));
        return;
    }
    file = m_host.session().findFile(fileName);
    if (file)
        file->project()->removeFile(file);
}

} // namespace Studio
