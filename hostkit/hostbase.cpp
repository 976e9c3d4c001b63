#include <hostkit/hostbase.h>

#include <hostkit/actionregistry.h>
#include <hostkit/animationview.h>
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
#include <hostkit/newprojectdialog.h>
#include <hostkit/openfiles.h>
#include <hostkit/outsidechanges.h>
#include <hostkit/progressindicator.h>
#include <hostkit/projectsession.h>
#include <hostkit/recoverydesk.h>
#include <hostkit/recoveryjournal.h>
#include <hostkit/rundesk.h>
#include <hostkit/savedesk.h>
#include <hostkit/settings.h>
#include <hostkit/shortcuts.h>
#include <hostkit/soundview.h>
#include <hostkit/spriteview.h>
#include <hostkit/statusfields.h>
#include <hostkit/textfile.h>
#include <hostkit/theme.h>
#include <hostkit/viewport.h>
#include <hostkit/widgets.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/editors/paletteeditor.h>
#include <kilnx/editors/thumbnailseditor.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/image/sprite.h>
#include <kilnx/imageedit/imagerenderer.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/render/graphicsworkspace.h>
#include <kilnx/render/texture.h>
#include <kilnx/sound/soundworkspace.h>

#include <QAction>
#include <QCoreApplication>
#include <QDir>
#include <QDropEvent>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QStackedWidget>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

namespace HostKit
{

namespace
{

const char context[] = "HostKit::HostBase";

// A directory of the user's; empty in a host that keeps nothing.
QString below(const QString &user, const char *name)
{
    return user.isEmpty() ? QString() : user + QLatin1Char('/') + QLatin1String(name);
}

} // namespace

// The tabs, the strips of controls and the views of the editors, from top to bottom.
class Centre : public QWidget
{
public:
    explicit Centre(QWidget *parent)
        : QWidget(parent)
        , tabs(new FileTabs(this))
        , strips(new QVBoxLayout)
        , stack(named(new QStackedWidget(this), "editor_stack"))
    {
        auto *layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        strips->setSpacing(0);
        layout->addWidget(tabs);
        layout->addLayout(strips);
        layout->addWidget(stack, 1);
        stack->addWidget(new QWidget(stack));
    }

    // Right above the view.
    void addBar(QWidget *bar)
    {
        static_cast<QVBoxLayout *>(layout())->insertWidget(layout()->indexOf(stack), bar);
    }

    FileTabs *tabs;
    QVBoxLayout *strips;
    QStackedWidget *stack;
};

// In the order in which the parts need each other; the window owns what it shows.
struct HostBase::Private : QObject {
    Private(QMainWindow *mainWindow, const Paths &hostPaths);

    bool eventFilter(QObject *watched, QEvent *event) override;
    bool closeProject(Kiln::ParentProject *project);
    bool open(const QString &directory, Kiln::ParentProject *old);
    void noteProjects();
    void connectParts();
    void applySettings();
    void rehighlight();
    void showMessages(Kiln::ParentProject *project);
    void showSomething();
    bool hasType(Kiln::Project::FileID::Type type) const;
    void showThumbnails();
    void keepDrawings(SpriteView &editor);
    bool dropped(QDropEvent *event);
    void openDropped(const QStringList &names);

    HostBase *host = nullptr;
    QMainWindow *window;
    Paths paths;
    Settings settings;
    DialogPlaces places;
    Theme theme;
    EngineLibraries engines;
    ProjectSession session;
    RecoveryJournal journal;
    MessageTable messages;
    Menus *menus;
    ActionRegistry *actions;
    Shortcuts shortcuts;
    StatusFields *status;
    Centre *centre;
    OpenFiles openFiles;
    ControlPanels *panels;
    std::unique_ptr<Viewport> viewport; ///< in which the deck's editor of animations shows frames
    std::unique_ptr<EditorDeck> deck;
    std::unique_ptr<FileDesk> desk;
    std::unique_ptr<SaveDesk> saving;
    std::unique_ptr<RunDesk> running;
    std::unique_ptr<OutsideChanges> outside;
    std::unique_ptr<RecoveryDesk> recovery;
    CodeSurface *surface = nullptr;      ///< the deck's
    AnimationView *animations = nullptr; ///< the deck's
    QPointer<Kiln::ParentProject> told;  ///< whose messages are in the table
    bool busy = false;
};

HostBase::Private::Private(QMainWindow *mainWindow, const Paths &hostPaths)
    : window(mainWindow)
    , paths(hostPaths)
    , settings(hostPaths.settings)
    , places(settings)
    , theme(settings)
    , session(engines)
    , journal(session, below(paths.user, "recovery"))
    , menus(new Menus(window->menuBar()))
    , actions(new ActionRegistry(window))
    , shortcuts(*actions, settings)
    , status(new StatusFields(window))
    , centre(new Centre(window))
    , openFiles(session, centre->tabs, below(paths.user, "sessions"))
    , panels(
          new ControlPanels(window, centre->strips, menus->menu(QStringLiteral("view")), actions))
    , deck(std::make_unique<EditorDeck>(centre->stack, panels))
    , desk(std::make_unique<FileDesk>(&session, deck.get(), centre->tabs, window))
    , saving(std::make_unique<SaveDesk>(&session, deck.get(), desk.get(), window))
    , running(std::make_unique<RunDesk>(&session, saving.get(), window))
    , outside(std::make_unique<OutsideChanges>(session, settings, desk.get(), centre->tabs, window))
    , recovery(std::make_unique<RecoveryDesk>(journal, session, desk.get(), window))
{
    window->setStatusBar(status);
    window->setCentralWidget(centre);
    centre->addBar(outside->bar());
    window->installEventFilter(this);
    window->setAcceptDrops(true);
    theme.apply();
    connectParts();
}

// The window has another language, and so have actions and editors; or it is closed.
bool HostBase::Private::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        actions->retranslate();
        deck->retranslate();
    } else if (event->type() == QEvent::Close && !closeProject(nullptr)) {
        event->ignore();
        return true;
    } else if (event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove ||
               event->type() == QEvent::Drop) {
        return dropped(static_cast<QDropEvent *>(event));
    }
    return QObject::eventFilter(watched, event);
}

// Files that are dropped where nothing else takes them. They are opened when the drop is over, as
// who has dragged them waits for that, and there may be questions.
bool HostBase::Private::dropped(QDropEvent *event)
{
    QStringList names;
    const QList<QUrl> urls = event->mimeData()->urls();
    for (const QUrl &url : urls) {
        if (url.isLocalFile())
            names.append(url.toLocalFile());
    }
    if (names.isEmpty())
        return false;
    event->setDropAction(Qt::CopyAction); // not a move: who drags them would remove them
    event->accept();
    if (event->type() == QEvent::Drop)
        QTimer::singleShot(0, this, [this, names] { openDropped(names); });
    return true;
}

void HostBase::Private::openDropped(const QStringList &names)
{
    for (const QString &name : names) {
        if (QFileInfo(name).isDir())
            host->openProject(name);
        else
            desk->openFile(name, 0);
    }
}

// All of them for null: then they are opened again by the next window.
bool HostBase::Private::closeProject(Kiln::ParentProject *project)
{
    const QPointer<Kiln::ParentProject> guard = project;
    if (busy || !running->mayEnd(project) || !desk->confirmDiscard(project))
        return false;
    noteProjects();
    if (!project) {
        session.close();
    } else {
        session.close(guard);
        noteProjects();
        showSomething();
    }
    return true;
}

void HostBase::Private::noteProjects()
{
    QStringList open;
    const QList<Kiln::ParentProject *> projects = session.parentProjects();
    for (Kiln::ParentProject *project : projects) {
        const QString directory = QDir::cleanPath(project->basePath());
        if (project == session.parentProject())
            open.append(directory);
        else
            open.prepend(directory);
    }
    settings.setValue(QStringLiteral("open_projects"), open);
}

void HostBase::Private::connectParts()
{
    connect(&settings, &Settings::applied, this, [this] { applySettings(); });
    connect(&engines, &EngineLibraries::currentChanged, this,
            [this] { deck->engineSwitched(true); });
    connect(&session, &ProjectSession::changed, this,
            [this] { showMessages(session.parentProject()); });
    connect(&session, &ProjectSession::aboutToClose, this, [this](Kiln::ParentProject *project) {
        if (project == told)
            showMessages(nullptr);
    });
    connect(&messages, &MessageTable::countsChanged, this,
            [this] { status->setMessageCounts(messages.errorCount(), messages.warningCount()); });
    connect(status, &StatusFields::fieldClicked, this, [this](int field) {
        if (field == EncodingField && deck->shownWorkspaces().contains(surface))
            surface->statusClicked();
    });
    connect(desk.get(), &FileDesk::message, status,
            [this](const QString &text) { status->tell(text); });
    connect(outside.get(), &OutsideChanges::message, status,
            [this](const QString &text) { status->tell(text); });
    connect(outside.get(), &OutsideChanges::saveRequested, saving.get(), &SaveDesk::save);
    connect(outside.get(), &OutsideChanges::writeRequested, saving.get(), &SaveDesk::writeAgain);
    journal.setOnlyHereTest([this](Kiln::ProjectFile *file) {
        return outside && (outside->isGone(file) || desk->isKept(file));
    });
    saving->setOverwriteTest(
        [this](const QList<Kiln::ProjectFile *> &files) { return outside->mayOverwrite(files); });
    connect(desk.get(), &FileDesk::changed, &openFiles, &OpenFiles::touch);
    connect(&journal, &RecoveryJournal::failed, status, [this](const QString &reason) {
        status->tell(
            QCoreApplication::translate(context, "Unsaved work cannot be kept: %1").arg(reason));
    });
    connect(&journal, &RecoveryJournal::slowed, status, [this](Kiln::ProjectFile *file) {
        status->tell(QCoreApplication::translate(
                         context, "'%1' is large: its unsaved changes are kept once a minute.")
                         .arg(FileTabs::title(file)));
    });
}

// Those of the animations' own project, beside whatever project was shown before.
void HostBase::Private::showThumbnails()
{
    auto *panel = qobject_cast<Kiln::ThumbnailsEditor *>(deck->sidePanel(2));
    Kiln::ProjectFile *file = deck->current() == animations ? deck->currentFile() : nullptr;
    if (!panel || !file)
        return;
    Kiln::Project *project = file->project();
    Kiln::ProjectFile *sprites = project ? project->file(Kiln::Project::FileID::Sprites) : nullptr;
    panel->setSprites(dynamic_cast<Kiln::Sprites *>(sprites));
}

void HostBase::Private::keepDrawings(SpriteView &editor)
{
    journal.setDrawingOf([&editor](Kiln::ProjectFile *file) {
        const bool isDrawnOn = file == editor.currentFile() && editor.hasUnsavedPicture();
        return isDrawnOn ? RecoveryJournal::Drawing{editor.currentSprite()->index(),
                                                    [&editor] { return editor.unsavedPicture(); }}
                         : RecoveryJournal::Drawing();
    });
    connect(&editor.renderer()->canvas.undoStack, &QUndoStack::indexChanged, this,
            [this, &editor] { journal.touch(editor.currentFile()); });
}

// A project keeps what held when it was opened.
void HostBase::Private::applySettings()
{
    theme.apply();
    const QList<Kiln::Project *> projects = session.projects();
    for (const char *key : {"parseCode", "modelCode", "highlightCode"}) {
        for (Kiln::Project *project : projects)
            project->setOption(QLatin1String(key), settings.value(QLatin1String(key)), false);
    }
    rehighlight();
}

// The views let go of the documents, because whether they have rows at all is a setting too.
void HostBase::Private::rehighlight()
{
    Kiln::ProjectFile *shown = deck->currentFile();
    const bool isCode = dynamic_cast<Kiln::CodeDocument *>(shown);
    Kiln::FileEditor *editor = isCode ? deck->currentFileEditor() : nullptr;
    if (editor)
        editor->setCurrentFile(nullptr);
    deck->reconfig();
    const QList<Kiln::ProjectFile *> files = session.files();
    for (Kiln::ProjectFile *file : files) {
        if (auto *document = dynamic_cast<Kiln::CodeDocument *>(file))
            document->rehighlight();
    }
    if (editor)
        editor->setCurrentFile(shown);
}

// Those of one project.
void HostBase::Private::showMessages(Kiln::ParentProject *project)
{
    if (project == told)
        return;
    const auto each = [this](Kiln::ParentProject *of,
                             void (MessageTable::*act)(Kiln::MessageList *)) {
        const QList<Kiln::Project *> projects =
            of ? session.projects(of) : QList<Kiln::Project *>();
        for (const Kiln::Project *one : projects)
            (messages.*act)(one->messages());
    };
    each(told, &MessageTable::removeList);
    told = project;
    each(told, &MessageTable::addList);
}

// Of the current project: what was shown last, else its first definition.
void HostBase::Private::showSomething()
{
    const QList<Kiln::ProjectFile *> own = session.parentProject()
                                               ? session.files(session.parentProject())
                                               : QList<Kiln::ProjectFile *>();
    Kiln::ProjectFile *last = openFiles.shownLast(session.parentProject());
    const Kiln::Project *first = session.currentProject();
    if (own.contains(deck->currentFile()))
        return;
    if (!own.contains(last))
        last = first ? first->file(Kiln::Project::FileID::Definition) : nullptr;
    desk->showFile(last);
}

bool HostBase::Private::hasType(Kiln::Project::FileID::Type type) const
{
    for (Kiln::EnginePlugin *plugin : engines.plugins()) {
        if (type == Kiln::Project::FileID::Definition || type == TextFile::Type ||
            plugin->engine().singleFileFilters().contains(int(type)))
            return true;
    }
    return false;
}

HostBase::HostBase(QMainWindow *window, const Paths &paths)
    : d(std::make_unique<Private>(window, paths))
{
    d->host = this;
    Kiln::setGlobalInterface(this);
    QObject::connect(&d->engines, &EngineLibraries::added, d.get(), [this] {
        if (d->surface)
            makeCodeEditors();
    });
}

// Files are destroyed before the views on them, editors before the interface that they hold.
HostBase::~HostBase()
{
    d->session.close();
    d->deck->switchTo(nullptr); // while it can be asked what an editor lets go of
    d->recovery.reset();
    d->running.reset();
    d->outside.reset();
    d->saving.reset();
    d->desk.reset();
    d->deck.reset();
    Kiln::setGlobalInterface(nullptr);
}

const Paths &HostBase::paths() const
{
    return d->paths;
}

Settings &HostBase::settings() const
{
    return d->settings;
}

Theme &HostBase::theme() const
{
    return d->theme;
}

Menus &HostBase::menus() const
{
    return *d->menus;
}

ActionRegistry &HostBase::actions() const
{
    return *d->actions;
}

Shortcuts &HostBase::shortcuts() const
{
    return d->shortcuts;
}

StatusFields &HostBase::status() const
{
    return *d->status;
}

EngineLibraries &HostBase::engines() const
{
    return d->engines;
}

ProjectSession &HostBase::session() const
{
    return d->session;
}

MessageTable &HostBase::messages() const
{
    return d->messages;
}

EditorDeck &HostBase::deck() const
{
    return *d->deck;
}

FileTabs &HostBase::tabs() const
{
    return *d->centre->tabs;
}

FileDesk &HostBase::desk() const
{
    return *d->desk;
}

SaveDesk &HostBase::saving() const
{
    return *d->saving;
}

RunDesk &HostBase::running() const
{
    return *d->running;
}

OutsideChanges &HostBase::outsideChanges() const
{
    return *d->outside;
}

RecoveryJournal &HostBase::journal() const
{
    return d->journal;
}

RecoveryDesk &HostBase::recovery() const
{
    return *d->recovery;
}

CodeSurface *HostBase::surface() const
{
    return d->surface;
}

AnimationView *HostBase::animationView() const
{
    return d->animations;
}

// The types of code that the engines have share one surface.
void HostBase::makeCodeEditors()
{
    using FileID = Kiln::Project::FileID;
    struct CodeType {
        FileID::Type type;
        const char *name;
        int textId;
    };
    static const CodeType codeTypes[] = {
        {FileID::Definition, "definition", DefinitionText},
        {FileID::Code, "code", CodeText},
        {FileID::Commands, "commands", CommandText},
        {TextFile::Type, "text", PlainText},
    };
    if (!d->surface) {
        d->surface = d->deck->make<CodeSurface>(*this, d->engines);
        d->openFiles.setSurface(d->surface);
        d->deck->make<Kiln::OrganizerEditor>();
        d->deck->accompany("sprites", d->deck->make<Kiln::PaletteEditor>());
        auto *thumbnails = d->deck->make<Kiln::ThumbnailsEditor>();
        d->panels->stack(d->deck->sidePanel(0), thumbnails);
        for (const char *editor : {"sprites", "animations"})
            d->deck->accompany(editor, thumbnails);
    }
    const int before = d->deck->editors().size();
    for (const CodeType &code : codeTypes) {
        if (!d->deck->editorForFile(FileID(code.type)) && d->hasType(code.type))
            d->deck->make<CodeView>(d->surface, code.type, code.name, code.textId);
    }
    if (d->deck->editors().size() > before)
        d->deck->engineSwitched(true);
}

void HostBase::makeGraphicsEditors()
{
    if (d->animations || !d->surface)
        return;
    Kiln::Texture::setOpenGLEnabled(true);
    auto *workspace = d->deck->make<Kiln::GraphicsWorkspace>(*this);
    d->viewport = std::make_unique<Viewport>();
    d->animations = d->deck->make<AnimationView>(d->surface, workspace, d->viewport.get());
    d->keepDrawings(*d->deck->make<SpriteView>(
        *workspace, qobject_cast<Kiln::PaletteEditor *>(d->deck->sidePanel(1))));
    if (auto *palettes = qobject_cast<Kiln::PaletteEditor *>(d->deck->sidePanel(1)))
        QObject::connect(palettes, &Kiln::PaletteEditor::remapped, d->animations,
                         &AnimationView::update);
    // At once: what the view shows of the file is about to be destroyed.
    QObject::connect(&d->session, &ProjectSession::fileRemoved, d->animations,
                     &AnimationView::update);
    const auto show = [this] { d->showThumbnails(); };
    QObject::connect(d->desk.get(), &FileDesk::changed, d.get(), show);
    QObject::connect(d->deck.get(), &EditorDeck::currentChanged, d.get(), show);
}

void HostBase::makeSoundEditor()
{
    if (d->deck->editor("sounds"))
        return;
    auto *workspace = d->deck->make<Kiln::SoundWorkspace>(*this);
    d->deck->make<SoundView>(*workspace);
}

bool HostBase::Private::open(const QString &path, Kiln::ParentProject *old)
{
    if (!session.open(path, old)) {
        settings.removeRecentProject(path);
        QStringList names;
        for (Kiln::EnginePlugin *plugin : engines.plugins())
            names.append(plugin->engine().displayName());
        names.removeAll(QString());
        const QString text =
            engines.plugins().isEmpty()
                ? QCoreApplication::translate(context,
                                              "No engine is loaded that could open '%2'.%1")
            : names.isEmpty()
                ? QCoreApplication::translate(context, "There is no project in '%2'.%1")
                : QCoreApplication::translate(context, "There is no project of %1 in '%2'.");
        Kiln::showWarning(
            window, QCoreApplication::translate(context, "Open project"),
            text.arg(names.join(QStringLiteral(", ")), QDir::toNativeSeparators(path)));
        return false;
    }
    settings.addRecentProject(path);
    settings.setValue(QStringLiteral("project_path"), path);
    noteProjects();
    showSomething();
    openFiles.restore(*desk);
    recovery->offer();
    return true;
}

bool HostBase::openProject(const QString &directory)
{
    const QString path = QDir::cleanPath(QDir(directory).absolutePath());
    const QPointer<Kiln::ParentProject> old = d->session.parentProject();
    Kiln::ParentProject *known = d->session.findProject(path);
    if (known && known != old)
        return openBeside(path);
    return !d->busy && (!old || (d->running->mayEnd(old) && d->desk->confirmDiscard(old))) &&
           d->open(path, old);
}

bool HostBase::openBeside(const QString &directory)
{
    const QString path = QDir::cleanPath(QDir(directory).absolutePath());
    if (Kiln::ParentProject *known = d->session.findProject(path)) {
        switchToProject(known);
        return true;
    }
    return !d->busy && d->open(path, nullptr);
}

void HostBase::switchToProject(Kiln::ParentProject *project)
{
    d->session.setParentProject(project);
    d->noteProjects();
    d->showSomething();
}

bool HostBase::newProject()
{
    NewProjectDialog dialog(d->engines, d->settings, d->window);
    return !d->busy && dialog.exec() == QDialog::Accepted && openBeside(dialog.directory());
}

bool HostBase::closeProject()
{
    return d->closeProject(d->session.parentProject());
}

QStringList HostBase::lastProjects() const
{
    return d->settings.value(QStringLiteral("open_projects")).toStringList();
}

void HostBase::setBusy(bool busy)
{
    d->busy = busy;
}

bool HostBase::isBusy() const
{
    return d->busy;
}

QString HostBase::text(int id) const
{
    switch (id) {
    case XmlErrorTitle:
        return QCoreApplication::translate(context, "Engine configuration");
    case XmlErrorText:
        return QCoreApplication::translate(
            context, "The engine configuration is malformed: %1 (line %2, column %3)");
    case FailureTitle:
        return QCoreApplication::translate(context, "Warning");
    case SoundFailureText:
        return QCoreApplication::translate(context, "The sound '%1' cannot be read.");
    case ImportFailureText:
        return QCoreApplication::translate(context, "The %1 %2 of '%3' cannot be copied.");
    case PictureFailureText:
        return QCoreApplication::translate(context, "The picture '%1' cannot be read.");
    case NothingFoundTitle:
        return QCoreApplication::translate(context, "Find");
    case DefinitionText:
        return QCoreApplication::translate(context, "Definition");
    case CodeText:
        return QCoreApplication::translate(context, "Code");
    case CommandText:
        return QCoreApplication::translate(context, "Commands");
    case PlainText:
        return QCoreApplication::translate(context, "Text");
    default:
        return QString();
    }
}

QWidget *HostBase::mainWindow() const
{
    return d->window;
}

QString HostBase::dataPath() const
{
    return d->paths.data;
}

QString HostBase::userPath() const
{
    return d->paths.user;
}

QString HostBase::configPath() const
{
    return d->paths.config;
}

Kiln::Progress *HostBase::progress(const QString &text, bool cancellable)
{
    return new ProgressIndicator(d->window, text, cancellable);
}

Kiln::Engine *HostBase::engine() const
{
    return d->engines.engine();
}

Kiln::Editor *HostBase::currentEditor() const
{
    return d->deck->current();
}

Kiln::FileEditor *HostBase::editorForFile(Kiln::ProjectFile *, Kiln::Project::FileID id) const
{
    return d->deck->editorForFile(id);
}

Kiln::Editor *HostBase::editor(const char *name) const
{
    return d->deck->editor(name);
}

Kiln::ExtraEditor *HostBase::currentExtraEditor() const
{
    return d->deck->currentSidePanel();
}

unsigned int HostBase::projectCount() const
{
    return unsigned(d->session.projects().size());
}

Kiln::Project *HostBase::project(unsigned int index) const
{
    return d->session.projects().value(int(index));
}

Kiln::Project *HostBase::currentProject() const
{
    return d->session.currentProject();
}

// Qt scales logical pixels itself; what is left is a display whose fonts are set larger.
int HostBase::scaled(int pixels) const
{
    const int scaled = qRound(pixels * d->window->logicalDpiX() / 96.0);
    return pixels > 0 ? qMax(1, scaled) : scaled;
}

QIcon HostBase::icon(const QString &key) const
{
    if (key == QLatin1String("warning"))
        return ActionRegistry::icon(QStringLiteral("warn"));
    if (key == QLatin1String("information"))
        return ActionRegistry::icon(QStringLiteral("info"));
    return ActionRegistry::icon(key);
}

QColor HostBase::colorOption(const QString &key) const
{
    return d->theme.color(key);
}

QColor HostBase::colorOption2(const QString &key) const
{
    return d->theme.color(key, true);
}

QVariant HostBase::option(const QString &key, const QVariant &fallback) const
{
    return d->settings.value(key, fallback);
}

// A definition without a value of its own says so with an invalid one: the setting stays.
void HostBase::setOption(const QString &key, const QVariant &value)
{
    if (value.isValid())
        d->settings.setValue(key, value);
}

void HostBase::setStatusText(int field, const QString &text)
{
    d->status->setField(field, text);
}

QWidget *HostBase::addControl(const QString &key, const Kiln::Control &control)
{
    return d->panels->add(key, control);
}

QWidget *HostBase::control(const QString &key) const
{
    return d->panels->control(key);
}

QMenu *HostBase::menu(const char *name) const
{
    return d->menus->menu(QLatin1String(name));
}

QAction *HostBase::addAction(QWidget *container,
                             const QString &key,
                             Kiln::Translator *translator,
                             int textId,
                             bool checkable,
                             QObject *receiver,
                             const char *slot,
                             const char *enabler,
                             const char *checker)
{
    return d->actions->add(
        {container, key, translator, textId, checkable, receiver, slot, enabler, checker});
}

QAction *HostBase::actionByKey(const char *key) const
{
    return d->actions->action(QLatin1String(key));
}

QAction *HostBase::editorAction(const QString &key, Kiln::Translator *translator, int textId)
{
    ActionRequest request;
    request.container = d->menus->menu(QStringLiteral("editors"));
    request.key = key;
    request.translator = translator;
    request.textId = textId;
    request.checkable = true;
    return d->actions->add(request);
}

Kiln::ExtraEditor *HostBase::extraEditor(int index) const
{
    return d->deck->sidePanel(index);
}

void HostBase::refreshEditors()
{
    Kiln::FileEditor *editor = d->deck->currentFileEditor();
    if (!editor)
        return;
    Kiln::ProjectFile *file = editor->currentFile();
    // Lists tell their editors themselves, and what is drawn there is not to be lost.
    if (dynamic_cast<Kiln::CodeDocument *>(file))
        editor->setCurrentFile(nullptr);
    editor->setCurrentFile(file);
}

void HostBase::switchTo(Kiln::Editor *editor)
{
    d->deck->switchTo(editor);
}

void HostBase::setExtraEditor(Kiln::ExtraEditor *editor)
{
    d->deck->showSidePanel(editor);
}

void HostBase::setEditorWidget(QWidget *widget)
{
    d->deck->showWidget(widget);
}

} // namespace HostKit
