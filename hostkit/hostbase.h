#pragma once

#include <hostkit/export.h>
#include <hostkit/paths.h>

#include <kilnx/project/interface.h>

#include <memory>

class QMainWindow;

namespace HostKit
{

class ActionRegistry;
class AnimationView;
class CodeSurface;
class EditorDeck;
class EngineLibraries;
class FileDesk;
class FileTabs;
class Menus;
class MessageTable;
class OutsideChanges;
class ProjectSession;
class RecoveryDesk;
class RecoveryJournal;
class RunDesk;
class SaveDesk;
class Settings;
class Shortcuts;
class StatusFields;
class Theme;

/// A host on a main window: the whole Kiln::Interface, answered from parts that every host needs.
///
/// The constructor makes all parts, puts them into the window and installs the host, so that
/// engines, workspaces and editors may come next, in this order:
///
///     QMainWindow window;
///     HostKit::HostBase host(&window, HostKit::Paths::standard());
///     if (!host.engines().load(library, &fault))
///         return tell(fault);
///     host.makeCodeEditors();
///     host.openProject(directory);
///     window.show();
///
/// The window gets menus, a status bar and, as its central widget, the files' tabs, the controls of
/// the current editor, and the editor itself; more is the host's own. Derive from HostBase to
/// answer an operation otherwise. Whatever an editor asks for by the interface finds its place by
/// itself: a new editor needs EditorDeck::make() and nothing else.
///
/// There is one host in a process at a time, and its window must outlive it. The destructor closes
/// the project without questions, destroys editors and workspaces, and takes the host away again.
/// So have a command that ends the program close the window, which asks: QApplication::quit() does
/// not.
class HOSTKIT_EXPORT HostBase : public Kiln::Interface
{
public:
    /// Numbers of the host's own texts beside Interface::TextId: the names of code editors.
    enum EditorTextId { DefinitionText = 100, CodeText, CommandText, PlainText };

    HostBase(QMainWindow *window, const Paths &paths);
    ~HostBase() override;
    HostBase(const HostBase &) = delete;
    HostBase &operator=(const HostBase &) = delete;

    // The parts, all there from the constructor on, owned by the host.
    const Paths &paths() const;
    Settings &settings() const;
    Theme &theme() const;
    Menus &menus() const;
    ActionRegistry &actions() const;
    Shortcuts &shortcuts() const;
    StatusFields &status() const;
    EngineLibraries &engines() const;
    ProjectSession &session() const;
    MessageTable &messages() const;
    EditorDeck &deck() const;
    FileTabs &tabs() const;
    FileDesk &desk() const;
    SaveDesk &saving() const;
    RunDesk &running() const;
    OutsideChanges &outsideChanges() const;
    RecoveryJournal &journal() const;
    RecoveryDesk &recovery() const;
    /// The view that code editors share; null before makeCodeEditors().
    CodeSurface *surface() const;
    /// The editor of animations; null before makeGraphicsEditors().
    AnimationView *animationView() const;

    /// Makes the code view, the organizer, the panels of palettes and thumbnails, which are numbers
    /// 0 to 2 of extraEditor() (so make side panels of your own after it), and an editor for each
    /// type of code file that one of the engines has and no editor handles yet, but for animations,
    /// and for plain text.
    /// An engine that is loaded later gets its editors by itself.
    void makeCodeEditors();

    /// Makes the graphics workspace and the editors of sprites and of animations, which stand in
    /// it. Call it after makeCodeEditors() and before a project is opened. OpenGL is used where it
    /// works, the application has set Qt::AA_ShareOpenGLContexts and the user does not wish
    /// otherwise.
    void makeGraphicsEditors();

    /// Makes the sound workspace and the editor of sounds that stands in it. Call it after
    /// makeCodeEditors(), whose organizer it shows the sounds in.
    void makeSoundEditor();

    /// Opens a project in place of the current one, after questions about changes, shows the files
    /// that were open when it was closed last, at first its first definition, notes the directory
    /// among the recent ones, and offers unsaved work on it that an earlier run has left. False if
    /// the user says no, or after a message if no engine knows a project in `directory`.
    bool openProject(const QString &directory);
    /// The same beside the projects that are open; one that is open already becomes the current
    /// one.
    bool openBeside(const QString &directory);
    /// Makes one of session().parentProjects() current and shows what was shown of it last.
    void switchToProject(Kiln::ParentProject *project);
    /// Asks for a name, a place and what to start with, has the engine make the project, and opens
    /// it beside the others. False if the user says no, or after a message.
    bool newProject();

    /// Asks about changes and about an engine that runs, then closes the current project; false if
    /// the user says no. The window does so with all projects when it is closed, and stays when the
    /// answer is no.
    bool closeProject();
    /// The projects that were open when a window was closed last, the current one at the end.
    QStringList lastProjects() const;

    /// While something works on a project, opening and closing projects is refused, and so is
    /// closing the window.
    void setBusy(bool busy);
    bool isBusy() const;

    QString text(int id) const override;
    QWidget *mainWindow() const override;
    QString dataPath() const override;
    QString userPath() const override;
    QString configPath() const override;
    Kiln::Progress *progress(const QString &text, bool cancellable) override;
    Kiln::Engine *engine() const override;
    Kiln::Editor *currentEditor() const override;
    Kiln::FileEditor *editorForFile(Kiln::ProjectFile *file,
                                    Kiln::Project::FileID id) const override;
    Kiln::Editor *editor(const char *name) const override;
    Kiln::ExtraEditor *currentExtraEditor() const override;
    unsigned int projectCount() const override;
    Kiln::Project *project(unsigned int index) const override;
    Kiln::Project *currentProject() const override;
    int scaled(int pixels) const override;
    QIcon icon(const QString &key) const override;
    QColor colorOption(const QString &key) const override;
    QColor colorOption2(const QString &key) const override;
    QVariant option(const QString &key, const QVariant &fallback) const override;
    void setOption(const QString &key, const QVariant &value) override;
    void setStatusText(int field, const QString &text) override;
    QWidget *addControl(const QString &key, const Kiln::Control &control) override;
    QWidget *control(const QString &key) const override;
    QMenu *menu(const char *name) const override;
    QAction *addAction(QWidget *container,
                       const QString &key,
                       Kiln::Translator *translator,
                       int textId,
                       bool checkable,
                       QObject *receiver,
                       const char *slot,
                       const char *enabler = nullptr,
                       const char *checker = nullptr) override;
    QAction *actionByKey(const char *key) const override;
    QAction *editorAction(const QString &key, Kiln::Translator *translator, int textId) override;
    Kiln::ExtraEditor *extraEditor(int index) const override;
    void refreshEditors() override;
    void switchTo(Kiln::Editor *editor) override;
    void setExtraEditor(Kiln::ExtraEditor *editor) override;
    void setEditorWidget(QWidget *widget) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace HostKit
