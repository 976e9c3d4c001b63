#pragma once

#include <QKeySequence>
#include <QList>
#include <QObject>

class QAction;
class QMainWindow;
class QMenu;
class QToolBar;

namespace HostKit
{
class Menus;
}

namespace Studio
{

/// Studio's own commands: actions with their place in menus and in the tool bar.
/// What they do is connected by the window.
class MainActions : public QObject
{
    Q_OBJECT

public:
    MainActions(QMainWindow *window, HostKit::Menus *menus);

    /// Enables what makes sense with a project open, and with a file shown in an editor.
    void setState(bool projectOpen, bool fileShown, bool running);

    QAction *newProject;
    QAction *openProject;
    QAction *openBeside;
    QAction *closeProject;
    QAction *closeFile;
    QAction *save;
    QAction *saveAs;
    QAction *saveAll;
    QAction *saveProjectAs;
    QAction *backup;
    QAction *restore;
    QAction *quit;
    QAction *undo;
    QAction *redo;
    QAction *cut;
    QAction *copy;
    QAction *paste;
    QAction *find;
    QAction *findNext;
    QAction *findPrevious;
    QAction *findInFiles;
    QAction *zoomIn;
    QAction *zoomOut;
    QAction *zoomActual;
    QAction *nextMessage;
    QAction *previousMessage;
    QAction *nextFile;
    QAction *previousFile;
    QAction *nextPanel;
    QAction *previousPanel;
    QAction *contextMenu;
    QAction *run;
    QAction *stop;
    QAction *settings;
    QAction *engines;
    QAction *keys;
    QAction *about;

    QMenu *newMenu;
    QMenu *openMenu;
    QMenu *recentMenu;

private:
    QAction *make(const char *name, const QString &text, const QString &hint);
    static void setKeys(QAction *action, QKeySequence::StandardKey standard, int otherwise);
    void makeFileMenu(QMenu *menu);
    void makeEditMenu(QMenu *menu);
    void makeViewMenu(QMenu *menu);
    void makeOtherMenus(HostKit::Menus *menus);
    void makeToolBar();

    QMainWindow *m_window;
    QList<QAction *> m_needProject;
    QList<QAction *> m_needFile;
};

} // namespace Studio
