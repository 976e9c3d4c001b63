// What the commands of the window do.

#include "mainwindow.h"

#include "findbar.h"
#include "findinfilesdock.h"
#include "mainactions.h"
#include "messagesdock.h"
#include "outputdock.h"
#include "panelcycle.h"
#include "projecttreedock.h"
#include "settingsdialog.h"

#include <hostkit/actionregistry.h>
#include <hostkit/codesurface.h>
#include <hostkit/dialogplaces.h>
#include <hostkit/editordeck.h>
#include <hostkit/filedesk.h>
#include <hostkit/filetabs.h>
#include <hostkit/projectsession.h>
#include <hostkit/rundesk.h>
#include <hostkit/savedesk.h>
#include <hostkit/settings.h>
#include <hostkit/statusfields.h>
#include <hostkit/widgets.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/codeedit/codefileeditor.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/projectfile.h>
#include <kilnx/render/graphicsworkspace.h>

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QDir>
#include <QDockWidget>
#include <QMenu>
#include <QTabBar>
#include <QTimer>
#include <QWindow>

#include <utility>

namespace Studio
{

using namespace HostKit;

void MainWindow::closeEvent(QCloseEvent *event)
{
    m_host.settings().setValue("window_geometry", saveGeometry());
    m_host.settings().setValue("window_state", sealed(saveState()));
    m_host.settings().sync();
    event->accept();
}

void MainWindow::connectFileActions()
{
    connect(m_actions->newProject, &QAction::triggered, this, [this] { m_host.newProject(); });
    connect(m_actions->openProject, &QAction::triggered, this, [this] { chooseProject(false); });
    connect(m_actions->openBeside, &QAction::triggered, this, [this] { chooseProject(true); });
    connect(m_actions->closeProject, &QAction::triggered, this, [this] { m_host.closeProject(); });
    connect(m_actions->closeFile, &QAction::triggered, &m_host.desk(), &FileDesk::closeCurrentFile);
    SaveDesk *saving = &m_host.saving();
    connect(m_actions->save, &QAction::triggered, saving, &SaveDesk::save);
    connect(m_actions->saveAs, &QAction::triggered, saving, &SaveDesk::saveAs);
    connect(m_actions->saveAll, &QAction::triggered, saving, &SaveDesk::saveAll);
    connect(m_actions->saveProjectAs, &QAction::triggered, this, &MainWindow::saveProjectAs);
    connect(m_actions->backup, &QAction::triggered, this, &MainWindow::backup);
    connect(m_actions->restore, &QAction::triggered, this, &MainWindow::restore);
    connect(m_actions->quit, &QAction::triggered, this, &MainWindow::close);
}

void MainWindow::connectEditActions()
{
    const auto forward = [this](QAction *action, void (Kiln::FileEditor::*operation)()) {
        connect(action, &QAction::triggered, this, [this, operation] {
            if (Kiln::FileEditor *editor = m_host.deck().currentFileEditor())
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
    connect(m_actions->findInFiles, &QAction::triggered, this, [this] {
        m_findInFiles->start(m_host.surface()->editor()->textCursor().selectedText());
    });
    Kiln::CodeEditor *view = m_host.surface()->editor();
    connect(m_findBar, &FindBar::soughtChanged, view,
            [this, view](const QString &text, unsigned int flags) {
                m_tellsHits = true;
                view->markHits(text, flags);
            });
    connect(view, &Kiln::CodeEditor::hitsChanged, this, &MainWindow::tellHits);
    connect(view, &Kiln::CodeEditor::selectionChanged, this, &MainWindow::tellHits);
    connect(m_findBar, &FindBar::findRequested, this, &MainWindow::findText);
    connect(m_findBar, &FindBar::replaceRequested, this, &MainWindow::replaceText);
    connect(m_findBar, &FindBar::closed, this, [this] {
        if (QWidget *shown = m_host.deck().shownWidget())
            shown->setFocus();
    });
    connect(m_actions->nextMessage, &QAction::triggered, this, [this] { m_messages->step(1); });
    connect(m_actions->previousMessage, &QAction::triggered, this,
            [this] { m_messages->step(-1); });
}

void MainWindow::connectOtherActions()
{
    const auto forward = [this](QAction *action, void (Kiln::Workspace::*operation)()) {
        connect(action, &QAction::triggered, this, [this, operation] {
            if (Kiln::Workspace *workspace = m_host.deck().currentWorkspace())
                (workspace->*operation)();
        });
    };
    forward(m_actions->zoomIn, &Kiln::Workspace::zoomIn);
    forward(m_actions->zoomOut, &Kiln::Workspace::zoomOut);
    forward(m_actions->zoomActual, &Kiln::Workspace::zoomActual);
    connect(m_actions->nextFile, &QAction::triggered, this, [this] { m_host.desk().stepTab(1); });
    connect(m_actions->previousFile, &QAction::triggered, this,
            [this] { m_host.desk().stepTab(-1); });
    connect(m_actions->nextPanel, &QAction::triggered, this, [this] { PanelCycle::step(this, 1); });
    connect(m_actions->previousPanel, &QAction::triggered, this,
            [this] { PanelCycle::step(this, -1); });
    connect(m_actions->contextMenu, &QAction::triggered, this, [this] {
        QContextMenuEvent asked(QContextMenuEvent::Keyboard, QPoint());
        QApplication::sendEvent(windowHandle(), &asked);
    });
    connect(m_actions->settings, &QAction::triggered, this,
            [this] { showSettings(SettingsDialog::General); });
    connect(m_actions->engines, &QAction::triggered, this,
            [this] { showSettings(SettingsDialog::Engines); });
    connect(m_actions->keys, &QAction::triggered, this,
            [this] { showSettings(SettingsDialog::Keys); });
    connect(m_actions->about, &QAction::triggered, this, &MainWindow::showAbout);
}

void MainWindow::connectRunning()
{
    RunDesk *running = &m_host.running();
    connect(m_actions->run, &QAction::triggered, running, &RunDesk::run);
    connect(m_actions->stop, &QAction::triggered, running, &RunDesk::stop);
    connect(running, &RunDesk::runningChanged, this, &MainWindow::updateState);
    connect(running, &RunDesk::wrote, m_output, &OutputDock::write);
    connect(running, &RunDesk::started, m_output, [this](const QString &commandLine) {
        m_output->begin(commandLine);
        m_output->show();
        m_output->raise();
    });
    connect(running, &RunDesk::ended, m_output,
            [this](RunDesk::Outcome outcome, const QString &text) {
                m_output->end(text, outcome == RunDesk::Failed);
                m_host.status().tell(text);
            });
    connect(running, &RunDesk::setUpWanted, this,
            [this] { showSettings(SettingsDialog::Engines); });
}

// The window's own commands have keys that can be changed, too.
void MainWindow::enrollActions()
{
    const QList<QAction *> known = m_host.actions().actions();
    const QList<QAction *> own = QWidget::actions();
    for (QAction *action : own) {
        if (!action->objectName().isEmpty() && !known.contains(action))
            m_host.actions().enroll(action);
    }
}

// New and Open have one entry for each type of file that the engine makes; a definition is no such
// file: it makes a project.
void MainWindow::showEngines()
{
    m_actions->newMenu->clear();
    m_actions->openMenu->clear();
    const QMap<int, QString> types =
        m_host.engine() ? m_host.engine()->singleFileFilters() : QMap<int, QString>();
    for (Kiln::Editor *editor : m_host.deck().editors()) {
        auto *fileEditor = qobject_cast<Kiln::FileEditor *>(editor);
        if (!fileEditor || !fileEditor->action())
            continue;
        const auto type = fileEditor->canEditFileType();
        if (type == Kiln::Project::FileID::Definition || !types.contains(int(type)))
            continue;
        const QString text = fileEditor->action()->text();
        QAction *create = m_actions->newMenu->addAction(text);
        if (m_actions->newMenu->actions().first() == create)
            create->setShortcuts(QKeySequence::New);
        connect(create, &QAction::triggered, this, [=] {
            fileEditor->create();
            m_host.desk().syncWithEditor();
        });
        connect(m_actions->openMenu->addAction(text + tr("...")), &QAction::triggered, this,
                [=] { m_host.desk().openBy(fileEditor); });
    }
}

// Hidden docks have no size to set, so this waits for the first file.
void MainWindow::arrangeDocks()
{
    auto *nodes = findChild<QDockWidget *>(QStringLiteral("dock_code_tree"));
    if (m_arranged || !nodes->isVisible())
        return;
    resizeDocks({m_tree}, {260}, Qt::Horizontal);
    const int room = m_tree->height() + nodes->height(); // more would make the window larger
    resizeDocks({m_tree, nodes}, {room * 5 / 9, room * 4 / 9}, Qt::Vertical);
    m_arranged = true;
    // Strips of tools ask for more height until they have their width, and a window that has grown
    // for them stays so.
    const QSize before = size();
    QTimer::singleShot(0, this, [this, before] {
        resize(size().boundedTo(fittedSize(size()).expandedTo(before)));
    });
}

void MainWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    const QList<QTabBar *> bars = findChildren<QTabBar *>(QString(), Qt::FindDirectChildrenOnly);
    for (QTabBar *bar : bars)
        named(bar, "dock_tabs", tr("Panels"));
    if (!m_arranged) // most of a small window is for what is edited
        resizeDocks({m_messages}, {height() / 5}, Qt::Vertical);
    QTimer::singleShot(0, this, [this] {
        const QStringList faults = std::exchange(m_engineFaults, {});
        if (!faults.isEmpty())
            Kiln::showWarning(this, tr("Load engine"), faults.join(QLatin1Char('\n')));
    });
}

void MainWindow::updateState()
{
    Kiln::ProjectFile *file = m_host.deck().currentFile();
    Kiln::ParentProject *project = m_host.session().parentProject();
    m_actions->setState(project != nullptr, file != nullptr, m_host.running().isRunning());
    QStringList title;
    if (file) {
        const QLatin1String mark("[*]"); // twice for one in a name
        title.append(m_host.tabs().shownTitle(file).replace(mark, QLatin1String("[*][*]")) + mark);
        m_tree->selectFile(file->fileName());
        arrangeDocks();
    }
    if (project)
        title.append(QDir(project->basePath()).dirName());
    title.append(tr("Kiln Studio"));
    setWindowTitle(title.join(QStringLiteral(" – ")));
    setWindowModified(file && m_host.deck().current()->isModified());
    tellPlace();
    if (!file)
        m_findBar->hide();
}

// Messages are chosen by the caret.
void MainWindow::tellPlace()
{
    Kiln::ProjectFile *file = m_host.deck().currentFile();
    const bool isText = dynamic_cast<Kiln::CodeDocument *>(file);
    m_messages->setPlace(file, isText ? m_host.surface()->editor()->textCursor().blockNumber() : 0);
}

void MainWindow::showSettings(SettingsDialog::Page page)
{
    SettingsDialog dialog(m_host, this);
    dialog.showPage(page);
    dialog.exec();
    if (m_host.engine())
        m_host.engine()->save();
}

void MainWindow::showAbout()
{
    const Kiln::Engine *engine = m_host.engine();
    Kiln::showInformation(this, tr("About Kiln Studio"),
                          tr("Kiln Studio %1\nThe sample host of kilnx, working for %2.")
                              .arg(QCoreApplication::applicationVersion(),
                                   engine ? engine->displayName() : tr("no engine")));
}

// What came of it stands in the bar: nobody wants a box in the way of the next key.
void MainWindow::findText(const QString &text, unsigned int flags)
{
    Kiln::FileEditor *editor = m_host.deck().currentFileEditor();
    Kiln::ProjectFile *file = m_host.deck().currentFile();
    if (!editor || !file || text.isEmpty())
        return;
    const bool isFound = editor->find(file, text, flags | Kiln::Editor::Silent);
    m_tellsHits = isFound; // not those on the other side
    const auto *code = qobject_cast<Kiln::CodeFileEditor *>(editor);
    if (code && code->ranOutOfTime())
        m_findBar->tell(tr("The expression takes too long"));
    else if (!isFound)
        m_findBar->tell(tr("Nothing found"));
    else if (!m_host.surface()->editor()->isVisible()) // what is found is not in the code
        m_findBar->tell(QString());
    else
        tellHits();
}

void MainWindow::replaceText(const QString &text, const QString &by, unsigned int flags, bool all)
{
    Kiln::Editor *editor = m_host.deck().current();
    if (!editor)
        return;
    editor->replace(text, by, flags | Kiln::Editor::Silent, all);
    const auto *code = qobject_cast<Kiln::CodeFileEditor *>(editor);
    if (code && code->ranOutOfTime())
        m_findBar->tell(tr("The expression takes too long"));
    else if (code && all)
        m_findBar->tell(tr("%1 replaced").arg(code->replacedCount()));
    m_tellsHits = !all; // there are none any more
}

void MainWindow::tellHits()
{
    const Kiln::CodeEditor *view = m_host.surface()->editor();
    if (!m_tellsHits || !view->isVisible())
        return;
    const int count = view->hitCount();
    const int selected = view->selectedHit();
    switch (view->hitState()) {
    case Kiln::CodeEditor::Searched:
        m_findBar->tell(count == 0     ? tr("Nothing found")
                        : selected > 0 ? tr("%1 of %2").arg(selected).arg(count)
                        : count == 1   ? tr("1 hit")
                                       : tr("%1 hits").arg(count));
        break;
    case Kiln::CodeEditor::OutOfTime:
        m_findBar->tell(tr("The expression takes too long"));
        break;
    default:
        break;
    }
}

void MainWindow::startFind()
{
    const Kiln::CodeEditor *view = m_host.surface()->editor();
    const QString selected = view->isVisible() ? view->textCursor().selectedText() : QString();
    m_findBar->start(selected.contains(QChar::ParagraphSeparator) ? QString() : selected);
}

} // namespace Studio
