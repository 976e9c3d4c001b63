#include "mainactions.h"

#include <hostkit/actionregistry.h>
#include <hostkit/menus.h>

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QToolBar>

namespace Studio
{

using namespace HostKit;

MainActions::MainActions(QMainWindow *window, Menus *menus)
    : QObject(window)
    , m_window(window)
{
    makeFileMenu(menus->menu(QStringLiteral("file")));
    makeEditMenu(menus->menu(QStringLiteral("edit")));
    makeViewMenu(menus->menu(QStringLiteral("view")));
    makeOtherMenus(menus);
    makeToolBar();
    m_needFile = {closeFile, save,       saveAs,   undo,        redo,         cut,
                  copy,      paste,      find,     findNext,    findPrevious, zoomIn,
                  zoomOut,   zoomActual, nextFile, previousFile};
    m_needProject = {closeProject,
                     saveAll,
                     saveProjectAs,
                     backup,
                     restore,
                     findInFiles,
                     nextMessage,
                     previousMessage,
                     newMenu->menuAction(),
                     openMenu->menuAction()};
    setState(false, false, false);
}

void MainActions::setState(bool projectOpen, bool fileShown, bool running)
{
    for (QAction *action : qAsConst(m_needProject))
        action->setEnabled(projectOpen);
    for (QAction *action : qAsConst(m_needFile))
        action->setEnabled(fileShown);
    run->setEnabled(projectOpen && !running);
    stop->setEnabled(running);
}

QAction *MainActions::make(const char *name, const QString &text, const QString &hint)
{
    auto *action = new QAction(ActionRegistry::icon(QLatin1String(name)), text, m_window);
    action->setObjectName(QLatin1String("action_") + QLatin1String(name));
    action->setStatusTip(hint);
    m_window->addAction(action);
    return action;
}

// Some platforms have no key of their own for it.
void MainActions::setKeys(QAction *action, QKeySequence::StandardKey standard, int otherwise)
{
    action->setShortcuts(standard);
    if (action->shortcut().isEmpty())
        action->setShortcut(QKeySequence(otherwise));
}

void MainActions::makeFileMenu(QMenu *menu)
{
    newMenu = menu->addMenu(ActionRegistry::icon("new"), tr("&New"));
    openProject = make("open", tr("&Open project..."), tr("Open the project in a directory"));
    openProject->setShortcuts(QKeySequence::Open);
    newProject = make("new_project", tr("Ne&w project..."), tr("Make a project and open it"));
    newProject->setShortcut(QKeySequence(Qt::CTRL + Qt::ALT + Qt::Key_Insert));
    openBeside = make("open_beside", tr("Open anot&her project..."),
                      tr("Open a project beside those that are open"));
    openBeside->setShortcut(QKeySequence(Qt::CTRL + Qt::ALT + Qt::SHIFT + Qt::Key_O));
    openMenu = new QMenu(tr("Open &file"), menu);
    recentMenu = new QMenu(tr("&Recent projects"), menu);
    recentMenu->setObjectName(QStringLiteral("menu_recent"));
    save = make("save", tr("&Save"), tr("Save the current file"));
    save->setShortcuts(QKeySequence::Save);
    saveAs = make("save_as", tr("Save &as..."), tr("Save the current file under another name"));
    setKeys(saveAs, QKeySequence::SaveAs, Qt::CTRL + Qt::SHIFT + Qt::Key_S);
    saveAll = make("save_all", tr("Save a&ll"), tr("Save every changed file of the project"));
    saveAll->setShortcut(QKeySequence(Qt::CTRL + Qt::ALT + Qt::Key_S));
    closeFile = make("close", tr("&Close file"), tr("Close the current file"));
    closeFile->setShortcuts(QKeySequence::Close);
    closeProject =
        make("project_close", tr("Close &project"), tr("Close the project that is shown"));
    closeProject->setShortcut(QKeySequence(Qt::CTRL + Qt::ALT + Qt::Key_W));
    quit = make("quit", tr("&Quit"), tr("Leave Kiln Studio"));
    quit->setShortcuts(QKeySequence::Quit);
    quit->setMenuRole(QAction::QuitRole);

    menu->addAction(newProject);
    menu->addSeparator();
    menu->addActions({openProject, openBeside});
    menu->addMenu(openMenu);
    menu->addMenu(recentMenu);
    menu->addSeparator();
    menu->addActions({save, saveAs, saveAll});
    menu->addSeparator();
    menu->addActions({closeFile, closeProject});
    menu->addSeparator();
    menu->addAction(quit);
}

void MainActions::makeEditMenu(QMenu *menu)
{
    undo = make("undo", tr("&Undo"), tr("Take back the last change"));
    undo->setShortcuts(QKeySequence::Undo);
    redo = make("redo", tr("&Redo"), tr("Make the change again that was taken back"));
    redo->setShortcuts(QKeySequence::Redo);
    cut = make("cut", tr("Cu&t"), tr("Move the selection to the clipboard"));
    cut->setShortcuts(QKeySequence::Cut);
    copy = make("copy", tr("&Copy"), tr("Copy the selection to the clipboard"));
    copy->setShortcuts(QKeySequence::Copy);
    paste = make("paste", tr("&Paste"), tr("Insert the clipboard"));
    paste->setShortcuts(QKeySequence::Paste);
    find = make("find", tr("&Find and replace..."), tr("Find and replace in the current file"));
    find->setShortcuts({QKeySequence(QKeySequence::Find), QKeySequence(QKeySequence::Replace)});
    findNext = make("find_next", tr("Find &next"), tr("Go to the next hit"));
    findNext->setShortcuts(QKeySequence::FindNext);
    findPrevious = make("find_previous", tr("Find pre&vious"), tr("Go to the previous hit"));
    findPrevious->setShortcuts(QKeySequence::FindPrevious);
    findInFiles = make("find_in_files", tr("Find in f&iles..."), tr("Find in all files"));
    findInFiles->setShortcut(QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_F));
    nextMessage = make("next_message", tr("Next &message"), tr("Go to the next message"));
    nextMessage->setShortcut(QKeySequence(Qt::Key_F8));
    previousMessage =
        make("previous_message", tr("Previous messa&ge"), tr("Go to the previous message"));
    previousMessage->setShortcut(QKeySequence(Qt::SHIFT + Qt::Key_F8));

    menu->addActions({undo, redo});
    menu->addSeparator();
    menu->addActions({cut, copy, paste});
    menu->addSeparator();
    menu->addActions({find, findNext, findPrevious, findInFiles});
    menu->addSeparator();
    menu->addActions({nextMessage, previousMessage});
    menu->addSeparator();
}

void MainActions::makeViewMenu(QMenu *menu)
{
    zoomIn = make("zoom_in", tr("Zoom &in"), tr("Show the contents larger"));
    zoomIn->setShortcuts(QKeySequence::ZoomIn);
    zoomOut = make("zoom_out", tr("Zoom &out"), tr("Show the contents smaller"));
    zoomOut->setShortcuts(QKeySequence::ZoomOut);
    zoomActual = make("zoom_actual", tr("&Actual size"), tr("Show the contents in their size"));
    zoomActual->setShortcut(QKeySequence(Qt::CTRL + Qt::Key_0));
    nextFile = make("next_file", tr("Ne&xt file"), tr("Go to the next open file"));
    nextFile->setShortcuts(QKeySequence::NextChild);
    previousFile = make("previous_file", tr("Pre&vious file"), tr("Go to the previous open file"));
    previousFile->setShortcuts(QKeySequence::PreviousChild);

    menu->addActions({zoomIn, zoomOut, zoomActual});
    menu->addSeparator();
    nextPanel = make("next_panel", tr("Next &panel"), tr("Go to the next visible panel"));
    nextPanel->setShortcut(QKeySequence(Qt::Key_F6));
    previousPanel =
        make("previous_panel", tr("Previous pane&l"), tr("Go to the previous visible panel"));
    previousPanel->setShortcut(QKeySequence(Qt::SHIFT + Qt::Key_F6));

    // In no menu: there it would be about that menu.
    contextMenu =
        make("context_menu", tr("Context menu"), tr("Show the menu of what has the focus"));
    contextMenu->setShortcut(QKeySequence(Qt::SHIFT + Qt::Key_F10));

    menu->addActions({nextFile, previousFile});
    menu->addActions({nextPanel, previousPanel});
    menu->addSeparator();
}

void MainActions::makeOtherMenus(Menus *menus)
{
    run = make("run", tr("&Run in engine"), tr("Start the engine on the project"));
    run->setShortcut(QKeySequence(Qt::Key_F5));
    stop = make("stop", tr("S&top the engine"), tr("Have the engine end; the second time at once"));
    stop->setShortcut(QKeySequence(Qt::SHIFT + Qt::Key_F5));
    saveProjectAs = make("save_project_as", tr("&Save project as..."), tr("Save all elsewhere"));
    saveProjectAs->setShortcut(QKeySequence(Qt::CTRL + Qt::ALT + Qt::Key_P));
    backup = make("backup", tr("&Backup..."), tr("Keep a dated copy of the project"));
    backup->setShortcut(QKeySequence(Qt::CTRL + Qt::ALT + Qt::Key_K));
    restore = make("restore", tr("Res&tore backup..."), tr("Go back to a kept copy"));
    restore->setShortcut(QKeySequence(Qt::CTRL + Qt::ALT + Qt::Key_R));
    settings = make("settings", tr("&Settings..."), tr("Change the options of Kiln Studio"));
    setKeys(settings, QKeySequence::Preferences, Qt::CTRL + Qt::Key_Comma);
    settings->setMenuRole(QAction::PreferencesRole);
    engines = make("engines", tr("&Engines..."), tr("Edit the list of engines"));
    engines->setShortcut(QKeySequence(Qt::CTRL + Qt::ALT + Qt::Key_Comma));
    keys = make("keys", tr("&Keys..."), tr("Show and change the keys of all commands"));
    keys->setShortcut(QKeySequence(Qt::Key_F1));
    about = make("about", tr("&About Kiln Studio"), QString());
    about->setShortcut(QKeySequence(Qt::SHIFT + Qt::Key_F1));
    about->setMenuRole(QAction::AboutRole);

    QMenu *project = menus->menu(QStringLiteral("project"));
    project->addActions({run, stop});
    project->addSeparator();
    project->addActions({saveProjectAs, backup, restore});
    menus->menu(QStringLiteral("tools"))->addActions({settings, engines});
    menus->menu(QStringLiteral("help"))->addActions({keys, about});
}

void MainActions::makeToolBar()
{
    auto *bar = new QToolBar(tr("Main tool bar"), m_window);
    bar->setObjectName(QStringLiteral("toolbar_main"));
    bar->setIconSize(QSize(16, 16));
    bar->addAction(openProject);
    bar->addActions({save, saveAll});
    bar->addSeparator();
    bar->addActions({undo, redo});
    bar->addSeparator();
    bar->addActions({cut, copy, paste});
    bar->addSeparator();
    bar->addActions({find, findInFiles});
    bar->addSeparator();
    bar->addActions({run, stop, settings});
    m_window->addToolBar(bar);
}

} // namespace Studio
