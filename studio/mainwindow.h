#pragma once

#include "settingsdialog.h"

#include <hostkit/hostbase.h>
#include <hostkit/projectpictures.h>

#include <QMainWindow>
#include <QStringList>

namespace Studio
{

class FindBar;
class FindInFilesDock;
class MainActions;
class MessagesDock;
class OutputDock;
class ProjectTreeDock;
class WelcomePage;

/// The window of Kiln Studio: a host of the kit with docks of its own, and the commands connected
/// with what does them (mainwindow_commands.cpp; those on projects, mainwindow_project.cpp).
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// Loads the engines in `libraries`, those that the settings name, and those that were
    /// delivered; they are asked for a project in this order. What cannot be loaded is told when
    /// the window is shown.
    explicit MainWindow(const HostKit::Paths &paths, const QStringList &libraries = {});
    ~MainWindow() override;

    /// Opens what was open last if the settings say so.
    void reopenLast();
    /// Opens the projects in directories. Files are shown; where none of the open projects holds
    /// one, that of its directory is opened first.
    void open(const QStringList &names);

    HostKit::HostBase &host() { return m_host; }
    MainActions *actions() const { return m_actions; }

protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void makeCentre();
    void makeDocks();
    void showDock(QDockWidget *dock);
    void hideDock(QDockWidget *dock);
    void loadEngines(const QStringList &libraries);
    void showEngines();
    void connectFileActions();
    void connectEditActions();
    void connectOtherActions();
    void connectRunning();
    void enrollActions();
    void connectDocks();

    void showProject();
    void arrangeDocks();
    void updateState();
    void updateRecent();
    void chooseProject(bool beside);
    void openRecent(const QString &directory);
    void openSample();
    void saveProjectAs();
    void backup();
    void restore();
    void makeFile(const QString &directory);
    void renameFile(const QString &fileName);
    void moveToTrash(const QString &fileName);
    void showSettings(SettingsDialog::Page page);
    void showAbout();
    void tellPlace();
    void startFind();
    void findText(const QString &text, unsigned int flags);
    void replaceText(const QString &text, const QString &by, unsigned int flags, bool all);
    void tellHits();

    HostKit::HostBase m_host;
    HostKit::ProjectPictures m_pictures;
    MainActions *m_actions = nullptr;
    WelcomePage *m_welcome = nullptr;
    FindBar *m_findBar = nullptr;
    ProjectTreeDock *m_tree = nullptr;
    MessagesDock *m_messages = nullptr;
    FindInFilesDock *m_findInFiles = nullptr;
    OutputDock *m_output = nullptr;
    QStringList m_engineFaults; ///< told when the window is shown
    bool m_tellsHits = true;    ///< the find bar counts the hits
    bool m_arranged = false;    ///< the docks have sizes of the user's or of arrangeDocks()
};

} // namespace Studio
