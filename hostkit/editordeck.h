#pragma once

#include <hostkit/controlpanels.h>
#include <hostkit/export.h>

#include <kilnx/project/project.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QVector>

#include <type_traits>
#include <utility>

class QStackedWidget;

namespace Kiln
{
class Editor;
class ExtraEditor;
class FileEditor;
class ProjectFile;
class Workspace;
} // namespace Kiln

namespace HostKit
{

/// The editors, side panels and workspaces of the application, and which of them is current.
/// It makes and owns them all, and destroys them in its destructor: editors first, then what they
/// stand in.
class HOSTKIT_EXPORT EditorDeck : public QObject
{
    Q_OBJECT

public:
    /// `stack` shows the widgets of editors above its first page, which is shown without one.
    EditorDeck(QStackedWidget *stack, ControlPanels *panels, QObject *parent = nullptr);
    ~EditorDeck() override;

    /// Constructs an editor, side panel or workspace from the arguments and takes it over. What it
    /// registers in its constructor is put into its own places. Workspaces are made before the
    /// editors that stand in them; side panels are numbered in the order in which they are made.
    template<class Part, class... Arguments>
    Part *make(Arguments &&...arguments)
    {
        m_panels->beginPart(std::is_convertible<Part *, Kiln::ExtraEditor *>::value);
        auto *part = new Part(std::forward<Arguments>(arguments)...);
        m_panels->endPart(part);
        add(part);
        return part;
    }

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
    /// The workspaces whose widgets are shown, alone or within the widget of an editor.
    QList<Kiln::Workspace *> shownWorkspaces() const;
    /// The one of them that has the focus, or the last one; null if there is none.
    Kiln::Workspace *currentWorkspace() const;

    /// Puts a page in place of the one that is shown without an editor.
    void setFirstPage(QWidget *page);
    /// The page that is shown now.
    QWidget *shownWidget() const;

    /// Makes an editor current, or none for null.
    void switchTo(Kiln::Editor *editor);
    void showSidePanel(Kiln::ExtraEditor *panel);
    /// From now on the panel stands beside whatever side panel the editor of that name shows, while
    /// that editor is current.
    void accompany(const char *editor, Kiln::ExtraEditor *panel);
    void showWidget(QWidget *widget);

    /// Tells editors, side panels and workspaces that settings, or the engine, have changed.
    void reconfig();
    void retranslate();
    void engineSwitched(bool on);

Q_SIGNALS:
    /// Another editor is current, or none.
    void currentChanged();
    /// The modification state of the current file may have changed.
    void modified();

private:
    struct Beside {
        QByteArray editor;
        Kiln::ExtraEditor *panel;
    };

    void showBeside();
    void add(Kiln::Workspace *workspace);
    void add(Kiln::Editor *editor);
    void add(Kiln::ExtraEditor *panel);

    QStackedWidget *m_stack;
    ControlPanels *m_panels;
    QList<Kiln::Editor *> m_editors;
    QList<Kiln::ExtraEditor *> m_sidePanels;
    QList<Kiln::Workspace *> m_workspaces;
    Kiln::Editor *m_current = nullptr;
    Kiln::ExtraEditor *m_sidePanel = nullptr;
    QList<Kiln::Workspace *> m_activeWorkspaces; ///< that were told so
    QVector<Beside> m_beside;
};

} // namespace HostKit
