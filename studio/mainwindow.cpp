#include "mainwindow.h"

#include "findbar.h"
#include "findinfilesdock.h"
#include "mainactions.h"
#include "messagesdock.h"
#include "outputdock.h"
#include "panelcycle.h"
#include "projecttreedock.h"
#include "studiostyle.h"
#include "welcomepage.h"

#include <hostkit/actionregistry.h>
#include <hostkit/codesurface.h>
#include <hostkit/codeview.h>
#include <hostkit/controlpanels.h>
#include <hostkit/dialogplaces.h>
#include <hostkit/editordeck.h>
#include <hostkit/enginelibraries.h>
#include <hostkit/filedesk.h>
#include <hostkit/filetabs.h>
#include <hostkit/menus.h>
#include <hostkit/messagetable.h>
#include <hostkit/projectsession.h>
#include <hostkit/projecttree.h>
#include <hostkit/settings.h>
#include <hostkit/statusfields.h>
#include <hostkit/theme.h>
#include <hostkit/widgets.h>

#include <kilnx/editors/organizer.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/projectfile.h>

#include <QApplication>
#include <QDir>
#include <QDockWidget>
#include <QMenu>
#include <QStackedWidget>
#include <QTreeView>
#include <QVBoxLayout>

namespace Studio
{

using namespace HostKit;

MainWindow::MainWindow(const HostKit::Paths &paths, const QStringList &libraries)
    : m_host(this, paths)
    , m_pictures(m_host.session(),
                 paths.user.isEmpty() ? QString() : paths.user + QLatin1String("/sessions"))
{
    setObjectName(QStringLiteral("main_window"));
    setWindowIcon(QIcon(QStringLiteral(":/kiln_icons/icons/kiln_128.png")));
    if (!qobject_cast<StudioStyle *>(QApplication::style())) {
        QApplication::setStyle(new StudioStyle);
        m_host.theme().apply();
    }
    m_actions = new MainActions(this, &m_host.menus());
    makeCentre();
    makeDocks();
    loadEngines(libraries);
    m_host.makeGraphicsEditors();
    m_host.makeSoundEditor();
    connectFileActions();
    connectEditActions();
    connectOtherActions();
    connectDocks();
    connectRunning();
    enrollActions();

    const Settings &settings = m_host.settings();
    resize(fittedSize(QSize(1280, 800)));
    restorePlace(this, settings.value("window_geometry").toByteArray());
    m_arranged = restoreState(unsealed(settings.value("window_state").toByteArray()));
    m_host.deck().switchTo(nullptr);
    updateRecent();
    updateState();
}

// Files are destroyed before the docks that show them.
MainWindow::~MainWindow()
{
    m_host.session().close();
    m_host.session().disconnect(this);
}

void MainWindow::makeCentre()
{
    auto *centre = new QWidget(this);
    auto *layout = new QVBoxLayout(centre);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_welcome = new WelcomePage(centre);
    m_findBar = new FindBar(centre);
    m_findBar->hide();
    m_host.deck().setFirstPage(m_welcome);
    layout->addWidget(takeCentralWidget(), 1);
    layout->addWidget(m_findBar);
    setCentralWidget(centre);
}

void MainWindow::makeDocks()
{
    setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
    m_tree = new ProjectTreeDock(m_host.session(), this);
    m_messages = new MessagesDock(&m_host.messages(), this);
    m_findInFiles = new FindInFilesDock(m_host, this);
    m_output = new OutputDock({m_actions->run, m_actions->stop}, this);
    addDockWidget(Qt::LeftDockWidgetArea, m_tree);
    addDockWidget(Qt::BottomDockWidgetArea, m_messages);
    tabifyDockWidget(m_messages, m_findInFiles);
    tabifyDockWidget(m_findInFiles, m_output);
    m_messages->raise();

    QMenu *view = m_host.menus().menu(QStringLiteral("view"));
    int key = Qt::ALT + Qt::SHIFT + Qt::Key_1;
    for (QDockWidget *dock : QList<QDockWidget *>{m_tree, m_messages, m_findInFiles, m_output}) {
        auto *toggle = new QAction(dock->windowTitle(), this);
        toggle->setObjectName(QLatin1String("show_") + dock->objectName());
        toggle->setShortcut(QKeySequence(key++));
        toggle->setCheckable(true);
        view->addAction(toggle);
        addAction(toggle);
        connect(dock, &QDockWidget::visibilityChanged, toggle, &QAction::setChecked);
        connect(toggle, &QAction::triggered, dock,
                [this, dock](bool isWanted) { isWanted ? showDock(dock) : hideDock(dock); });
    }
}

// One behind another is not seen, and comes to the front.
void MainWindow::showDock(QDockWidget *dock)
{
    dock->show();
    dock->raise();
    PanelCycle::enter(dock->widget());
}

void MainWindow::hideDock(QDockWidget *dock)
{
    const bool hadFocus = dock->isAncestorOf(QApplication::focusWidget());
    dock->hide();
    if (hadFocus)
        PanelCycle::enter(centralWidget());
}

// The user's own come before those beside the program, so that a changed copy of one of these is
// the one that opens its projects.
void MainWindow::loadEngines(const QStringList &libraries)
{
    EngineLibraries &engines = m_host.engines();
    const QStringList own = libraries + m_host.settings().value("engine_libraries").toStringList();
    for (const QString &library : own) {
        QString fault;
        if (!engines.load(library, &fault))
            m_engineFaults.append(fault);
    }
    for (const char *delivered : {"../lib", STUDIO_LIBRARIES}) {
        const QDir directory(QCoreApplication::applicationDirPath() + QLatin1Char('/') +
                             QLatin1String(delivered) + QLatin1String("/kilnx/engines"));
        m_engineFaults += engines.loadDirectory(directory.canonicalPath());
    }
    m_host.makeCodeEditors();
    showEngines();
    connect(&engines, &EngineLibraries::added, this, &MainWindow::showEngines);
    connect(&engines, &EngineLibraries::currentChanged, this, &MainWindow::showEngines);
}

void MainWindow::connectDocks()
{
    ProjectSession *session = &m_host.session();
    FileDesk *desk = &m_host.desk();
    connect(m_tree, &ProjectTreeDock::fileActivated, desk, &FileDesk::openFile);
    connect(m_tree, &ProjectTreeDock::openFileActivated, desk, &FileDesk::showFile);
    connect(m_tree, &ProjectTreeDock::newFileRequested, this, &MainWindow::makeFile);
    connect(m_tree, &ProjectTreeDock::renameRequested, this, &MainWindow::renameFile);
    connect(m_tree, &ProjectTreeDock::trashRequested, this, &MainWindow::moveToTrash);
    connect(m_messages, &MessagesDock::placeActivated, desk, &FileDesk::showPlace);
    connect(m_host.surface()->editor(), &QPlainTextEdit::cursorPositionChanged, this,
            &MainWindow::tellPlace);
    connect(session, &ProjectSession::aboutToClose, this, [this](Kiln::ParentProject *project) {
        m_findInFiles->clearResults();
        if (m_tree->project() == project)
            m_tree->setProject(nullptr);
    });
    connect(session, &ProjectSession::changed, this, &MainWindow::showProject);
    connect(&m_host.status(), &StatusFields::messagesClicked, m_messages,
            [this] { showDock(m_messages); });
    connect(m_welcome, &WelcomePage::openRequested, this, [this] { chooseProject(false); });
    connect(m_welcome, &WelcomePage::newRequested, m_actions->newProject, &QAction::trigger);
    connect(m_tree, &ProjectTreeDock::projectChosen, this, [this](const QString &directory) {
        m_host.switchToProject(m_host.session().findProject(directory));
    });
    connect(m_welcome, &WelcomePage::sampleRequested, this, &MainWindow::openSample);
    connect(m_welcome, &WelcomePage::recentRequested, this, &MainWindow::openRecent);
    connect(m_welcome, &WelcomePage::removeRequested, &m_host.settings(),
            &Settings::removeRecentProject);
    connect(desk, &FileDesk::changed, this, &MainWindow::updateState);
    connect(desk, &FileDesk::changed, m_tree->tree(), &ProjectTree::filesChanged);
    connect(&m_host.settings(), &Settings::applied, this, &MainWindow::updateState);
    connect(&m_host.settings(), &Settings::recentChanged, this, &MainWindow::updateRecent);
}

} // namespace Studio
