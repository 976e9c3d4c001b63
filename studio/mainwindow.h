#pragma once

#include "settings.h"
#include "studiohost.h"
#include "theme.h"

#include <QMainWindow>

class QStackedWidget;

namespace Studio
{

class CodeSurface;
class FileDesk;
class FileTabs;
class FindBar;
class FindInFilesDock;
class MainActions;
class MessagesDock;
class OutputDock;
class ProjectTreeDock;
class WelcomePage;

/// The window of Kiln Studio. It makes the host and its parts, installs the host, and connects
/// the commands with what does them.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(const Paths &paths);
    ~MainWindow() override;

    /// Opens a project in place of the present one, after questions about changes. False if the
    /// user says no, or after a message if there is no project in `directory`.
    bool openProject(const QString &directory);

    /// Opens what was open last if the settings say so.
    void reopenLast();

    /// Makes everything follow the settings: palette, colours, fonts, parsing.
    void applySettings();

    /// Asks about changes, then closes the project; false if the user says no.
    bool closeProject();

    Settings &settings() { return m_settings; }
    ProjectSession *session() const { return m_host.parts.session; }
    EditorDeck *deck() const { return m_host.parts.deck; }
    FileDesk *desk() const { return m_desk; }
    CodeSurface *surface() const { return m_surface; }
    MainActions *actions() const { return m_actions; }
    StudioHost &host() { return m_host; }

protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void makeParts(const Paths &paths);
    void makeCentre();
    void makeDocks();
    void makeEditors();
    void connectFileActions();
    void connectEditActions();
    void connectOtherActions();
    void connectDocks();
    void makeEditorMenus();

    void showProject();
    void arrangeDocks();
    void updateState();
    void updateRecent();
    void chooseProject();
    void saveProjectAs();
    void backup();
    void restore();
    void runInEngine();
    void showSettings(bool engines);
    void showAbout();
    void stepMessage(int by);
    void startFind();
    void rehighlight();
    void showMessage(const QString &text);

    Settings m_settings;
    Theme m_theme;
    StudioHost m_host;
    MainActions *m_actions = nullptr;
    QStackedWidget *m_stack = nullptr;
    WelcomePage *m_welcome = nullptr;
    FileTabs *m_tabs = nullptr;
    FindBar *m_findBar = nullptr;
    FileDesk *m_desk = nullptr;
    CodeSurface *m_surface = nullptr;
    ProjectTreeDock *m_tree = nullptr;
    MessagesDock *m_messages = nullptr;
    FindInFilesDock *m_findInFiles = nullptr;
    OutputDock *m_output = nullptr;
    bool m_running = false;
    bool m_arranged = false; ///< the docks have sizes of the user's or of arrangeDocks()
};

} // namespace Studio
