#pragma once

#include <kilnx/project/project.h>

#include <QList>
#include <QObject>
#include <QVector>

class QStackedWidget;

namespace Kiln
{
class Editor;
class ExtraEditor;
class FileEditor;
class ProjectFile;
class Workspace;
} // namespace Kiln

namespace Studio
{

class ControlPanels;

/// The editors, side panels and workspaces of the application, and which of them is current.
/// It owns them all and ends them in its destructor: editors first, then what they stand in.
class EditorDeck : public QObject
{
    Q_OBJECT

public:
    /// `stack` shows the widgets of editors above its first page, which is shown without one.
    EditorDeck(QStackedWidget *stack, ControlPanels *panels, QObject *parent = nullptr);
    ~EditorDeck() override;

    void addWorkspace(Kiln::Workspace *workspace);
    void addEditor(Kiln::Editor *editor);
    void addSidePanel(Kiln::ExtraEditor *panel);

    const QList<Kiln::Editor *> &editors() const { return m_editors; }
    const QList<Kiln::Workspace *> &workspaces() const { return m_workspaces; }

    /// The editor shown now, null if none.
    Kiln::Editor *current() const { return m_current; }
    Kiln::FileEditor *currentFileEditor() const;
    Kiln::ProjectFile *currentFile() const;

    Kiln::Editor *editor(const char *name) const;
    Kiln::FileEditor *editorForFile(Kiln::Project::FileID id) const;
    Kiln::ExtraEditor *sidePanel(int index) const;
    Kiln::ExtraEditor *currentSidePanel() const { return m_sidePanel; }
    /// The workspace whose widget is shown, null if the current editor brings its own.
    Kiln::Workspace *currentWorkspace() const;

    void switchTo(Kiln::Editor *editor);
    void showSidePanel(Kiln::ExtraEditor *panel);
    void showWidget(QWidget *widget);

    /// Tells editors, side panels and workspaces that settings, or the engine, have changed.
    void reconfig();
    void retranslate();
    void engineSwitched(bool on);

signals:
    /// Another editor is current, or none.
    void currentChanged();
    /// The modification state of the current file may have changed.
    void modified();

private:
    QStackedWidget *m_stack;
    ControlPanels *m_panels;
    QList<Kiln::Editor *> m_editors;
    QList<Kiln::ExtraEditor *> m_sidePanels;
    QList<Kiln::Workspace *> m_workspaces;
    Kiln::Editor *m_current = nullptr;
    Kiln::ExtraEditor *m_sidePanel = nullptr;
};

} // namespace Studio
