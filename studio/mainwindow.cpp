#include "mainwindow.h"

#include "actionregistry.h"
#include "codesurface.h"
#include "codeview.h"
#include "controlpanels.h"
#include "editordeck.h"
#include "enginefactory.h"
#include "filedesk.h"
#include "filetabs.h"
#include "findbar.h"
#include "findinfilesdock.h"
#include "mainactions.h"
#include "menus.h"
#include "messagesdock.h"
#include "messagetable.h"
#include "outputdock.h"
#include "projectsession.h"
#include "projecttreedock.h"
#include "statusfields.h"
#include "welcomepage.h"
#include "widgets.h"

#include <kilnx/editors/organizer.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/projectfile.h>

#include <QDockWidget>
#include <QMenu>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace Studio
{

MainWindow::MainWindow(const Paths &paths)
    : m_settings(paths.settings)
    , m_theme(m_settings)
{
    setObjectName(QStringLiteral("main_window"));
    setWindowIcon(QIcon(QStringLiteral(":/kiln_icons/icons/kiln_128.png")));
    m_theme.apply();
    makeParts(paths);
    makeCentre();
    makeDocks();
    makeEditors();
    makeEditorMenus();
    connectFileActions();
    connectEditActions();
    connectOtherActions();
    connectDocks();

    resize(1280, 800);
    restoreGeometry(m_settings.value("window_geometry").toByteArray());
    m_arranged = restoreState(m_settings.value("window_state").toByteArray());
    m_host.parts.panels->showEditor(nullptr, QString());
    updateRecent();
    updateState();
}

// Files end before the views on them, editors before the interface that they hold.
MainWindow::~MainWindow()
{
    session()->close();
    delete m_desk;
    delete m_host.parts.deck;
    delete m_host.parts.session;
    Kiln::setGlobalInterface(nullptr);
}

void MainWindow::makeParts(const Paths &paths)
{
    HostParts &parts = m_host.parts;
    parts.paths = paths;
    parts.window = this;
    parts.settings = &m_settings;
    parts.theme = &m_theme;
    parts.menus = new Menus(menuBar());
    parts.actions = new ActionRegistry(this);
    parts.status = new StatusFields(this);
    setStatusBar(parts.status);
    m_actions = new MainActions(this, parts.menus);
    Kiln::setGlobalInterface(&m_host);
    parts.engine = &EngineFactory::engine();
    parts.engine->clear();
    parts.engine->load();
    const QString sample = EngineFactory::sampleExecutable();
    if (parts.engine->count() == 0 && !sample.isEmpty())
        parts.engine->add(parts.engine->displayName(), sample, QString(), QString());
    parts.session = new ProjectSession(*parts.engine, this);
}

void MainWindow::makeCentre()
{
    auto *centre = new QWidget(this);
    auto *layout = new QVBoxLayout(centre);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_tabs = new FileTabs(centre);
    auto *strip = new QVBoxLayout;
    strip->setSpacing(0);
    m_stack = named(new QStackedWidget(centre), "editor_stack");
    m_welcome = new WelcomePage(m_stack);
    m_stack->addWidget(m_welcome);
    m_findBar = new FindBar(centre);
    m_findBar->hide();
    layout->addWidget(m_tabs);
    layout->addLayout(strip);
    layout->addWidget(m_stack, 1);
    layout->addWidget(m_findBar);
    setCentralWidget(centre);

    HostParts &parts = m_host.parts;
    parts.panels =
        new ControlPanels(this, strip, parts.menus->menu(QStringLiteral("view")), parts.actions);
    parts.deck = new EditorDeck(m_stack, parts.panels);
    m_desk = new FileDesk(parts.session, parts.deck, m_tabs, this);
}

void MainWindow::makeDocks()
{
    setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
    m_tree = new ProjectTreeDock(this);
    m_messages = new MessagesDock(this);
    m_findInFiles = new FindInFilesDock(this);
    m_output = new OutputDock(this);
    addDockWidget(Qt::LeftDockWidgetArea, m_tree);
    addDockWidget(Qt::BottomDockWidgetArea, m_messages);
    tabifyDockWidget(m_messages, m_findInFiles);
    tabifyDockWidget(m_findInFiles, m_output);
    m_messages->raise();

    QMenu *view = m_host.parts.menus->menu(QStringLiteral("view"));
    for (QDockWidget *dock : QList<QDockWidget *>{m_tree, m_messages, m_findInFiles, m_output})
        view->addAction(dock->toggleViewAction());
}

// The types of code that the engine has share one surface.
void MainWindow::makeEditors()
{
    using FileID = Kiln::Project::FileID;
    struct CodeType {
        FileID::Type type;
        const char *name;
        int textId;
    };
    static const CodeType codeTypes[] = {
        {FileID::Definition, "definition", StudioHost::DefinitionText},
        {FileID::Code, "code", StudioHost::CodeText},
        {FileID::Commands, "commands", StudioHost::CommandText},
        {FileID::Animations, "animations", StudioHost::AnimationText},
    };
    const QMap<int, QString> filters = m_host.engine()->singleFileFilters();
    m_surface = new CodeSurface(m_host);
    deck()->addWorkspace(m_surface);
    deck()->addSidePanel(new Kiln::OrganizerEditor);
    for (const CodeType &code : codeTypes) {
        if (code.type == FileID::Definition || filters.contains(int(code.type)))
            deck()->addEditor(new CodeView(m_surface, code.type, code.name, code.textId));
    }
    deck()->engineSwitched(true);
    m_host.parts.menus->hideEmpty();
}

void MainWindow::connectDocks()
{
    connect(m_tree, &ProjectTreeDock::fileActivated, m_desk, &FileDesk::openFile);
    connect(m_messages, &MessagesDock::placeActivated, m_desk, &FileDesk::showPlace);
    connect(m_findInFiles, &FindInFilesDock::placeActivated, m_desk, &FileDesk::showPlace);
    connect(m_findInFiles, &FindInFilesDock::searchRequested, this,
            [this] { m_findInFiles->search(session()->files()); });
    connect(session(), &ProjectSession::fileRemoved, m_findInFiles, &FindInFilesDock::clearResults);
    connect(session(), &ProjectSession::aboutToClose, this, [this] {
        m_findInFiles->clearResults();
        m_tree->setProject(nullptr);
        const QList<Kiln::Project *> projects = session()->projects();
        for (const Kiln::Project *project : projects)
            m_messages->table()->removeList(project->messages());
    });
    connect(session(), &ProjectSession::changed, this, &MainWindow::showProject);
    connect(m_messages->table(), &MessageTable::countsChanged, this, [this] {
        const MessageTable *table = m_messages->table();
        m_host.parts.status->setMessageCounts(table->errorCount(), table->warningCount());
    });
    connect(m_host.parts.status, &StatusFields::messagesClicked, m_messages, [this] {
        m_messages->show();
        m_messages->raise();
        m_messages->view()->setFocus();
    });
    connect(m_host.parts.status, &StatusFields::fieldClicked, this, [this](int field) {
        Kiln::Workspace *workspace = deck()->currentWorkspace();
        if (field == 2 && workspace)
            workspace->statusClicked();
    });
    connect(m_welcome, &WelcomePage::openRequested, this, &MainWindow::chooseProject);
    connect(m_welcome, &WelcomePage::recentRequested, this, &MainWindow::openProject);
    connect(m_desk, &FileDesk::message, this, &MainWindow::showMessage);
    connect(m_desk, &FileDesk::changed, this, &MainWindow::updateState);
}

} // namespace Studio
