#include <hostkit/editordeck.h>

#include <kilnx/project/editor.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/workspace.h>

#include <QAction>
#include <QApplication>
#include <QStackedWidget>

namespace HostKit
{

EditorDeck::EditorDeck(QStackedWidget *stack, ControlPanels *panels, QObject *parent)
    : QObject(parent)
    , m_stack(stack)
    , m_panels(panels)
{
}

EditorDeck::~EditorDeck()
{
    if (m_current)
        m_current->deactivate();
    qDeleteAll(m_editors);
    for (Kiln::ExtraEditor *panel : qAsConst(m_sidePanels))
        panel->release();
    for (Kiln::Workspace *workspace : qAsConst(m_workspaces))
        workspace->release();
}

void EditorDeck::add(Kiln::Workspace *workspace)
{
    m_workspaces.append(workspace);
    m_stack->addWidget(workspace->widget());
    workspace->reconfig();
}

void EditorDeck::add(Kiln::Editor *editor)
{
    m_editors.append(editor);
    connect(editor, &Kiln::Editor::modified, this, &EditorDeck::modified);
    if (QAction *action = editor->action()) {
        action->setCheckable(true);
        connect(action, &QAction::triggered, editor, [this, editor] {
            switchTo(editor);
            editor->action()->setChecked(true);
        });
    }
}

void EditorDeck::add(Kiln::ExtraEditor *panel)
{
    m_sidePanels.append(panel);
}

Kiln::FileEditor *EditorDeck::currentFileEditor() const
{
    return qobject_cast<Kiln::FileEditor *>(m_current);
}

Kiln::ProjectFile *EditorDeck::currentFile() const
{
    const Kiln::FileEditor *editor = currentFileEditor();
    return editor ? editor->currentFile() : nullptr;
}

Kiln::Editor *EditorDeck::editor(const char *name) const
{
    for (Kiln::Editor *editor : m_editors) {
        if (qstrcmp(editor->name(), name) == 0)
            return editor;
    }
    return nullptr;
}

Kiln::FileEditor *EditorDeck::editorForFile(Kiln::Project::FileID id) const
{
    for (Kiln::Editor *editor : m_editors) {
        auto *fileEditor = qobject_cast<Kiln::FileEditor *>(editor);
        if (fileEditor && (unsigned(fileEditor->canEditFileType()) & id.bits))
            return fileEditor;
    }
    return nullptr;
}

Kiln::ExtraEditor *EditorDeck::sidePanel(int index) const
{
    return m_sidePanels.value(index);
}

QList<Kiln::Workspace *> EditorDeck::shownWorkspaces() const
{
    const QWidget *shown = m_stack->currentWidget();
    QList<Kiln::Workspace *> found;
    for (Kiln::Workspace *workspace : m_workspaces) {
        const QWidget *widget = workspace->widget();
        if (widget == shown || (shown->isAncestorOf(widget) && !widget->isHidden()))
            found.append(workspace);
    }
    return found;
}

Kiln::Workspace *EditorDeck::currentWorkspace() const
{
    const QWidget *focus = QApplication::focusWidget();
    const QList<Kiln::Workspace *> shown = shownWorkspaces();
    for (Kiln::Workspace *workspace : shown) {
        if (focus && (workspace->widget() == focus || workspace->widget()->isAncestorOf(focus)))
            return workspace;
    }
    return shown.isEmpty() ? nullptr : shown.last();
}

void EditorDeck::setFirstPage(QWidget *page)
{
    delete m_stack->widget(0);
    m_stack->insertWidget(0, page);
    if (!m_current)
        m_stack->setCurrentIndex(0);
}

QWidget *EditorDeck::shownWidget() const
{
    return m_stack->currentWidget();
}

void EditorDeck::switchTo(Kiln::Editor *editor)
{
    if (editor == m_current)
        return;
    if (m_current) {
        m_current->deactivate();
        if (m_current->action())
            m_current->action()->setChecked(false);
        Q_EMIT m_current->visibilityChanged(false);
    }
    m_current = editor;
    if (editor) {
        editor->activate();
        if (editor->action())
            editor->action()->setChecked(true);
        Q_EMIT editor->visibilityChanged(true);
    } else {
        showWidget(nullptr);
    }
    m_panels->showEditor(editor, shownWorkspaces());
    showBeside();
    Q_EMIT currentChanged();
}

void EditorDeck::showSidePanel(Kiln::ExtraEditor *panel)
{
    if (m_sidePanel != panel) {
        if (m_sidePanel)
            m_sidePanel->deactivate();
        m_sidePanel = panel;
        if (panel)
            panel->activate();
    }
    m_panels->showSidePanel(panel);
    showBeside();
}

void EditorDeck::accompany(const char *editor, Kiln::ExtraEditor *panel)
{
    m_beside.append({editor, panel});
    showBeside();
}

// A panel that is shown by itself as well is told of it there.
void EditorDeck::showBeside()
{
    QVector<const Kiln::ExtraEditor *> shown;
    for (const Beside &beside : qAsConst(m_beside)) {
        const bool isShown = m_current && beside.editor == m_current->name();
        if (isShown)
            shown.append(beside.panel);
        const bool isActive = isShown || beside.panel == m_sidePanel;
        if (isActive && !beside.panel->isActive())
            beside.panel->activate();
        else if (!isActive && beside.panel->isActive())
            beside.panel->deactivate();
    }
    m_panels->showBeside(shown);
}

void EditorDeck::showWidget(QWidget *widget)
{
    if (widget && m_stack->indexOf(widget) < 0)
        m_stack->addWidget(widget);
    if (widget)
        m_stack->setCurrentWidget(widget);
    else
        m_stack->setCurrentIndex(0);
    const QList<Kiln::Workspace *> before = m_activeWorkspaces;
    const QList<Kiln::Workspace *> after = shownWorkspaces();
    if (before == after)
        return;
    m_activeWorkspaces = after;
    for (Kiln::Workspace *workspace : before) {
        if (!after.contains(workspace))
            workspace->deactivate();
    }
    for (Kiln::Workspace *workspace : after) {
        if (!before.contains(workspace))
            workspace->activate();
    }
    m_panels->showEditor(m_current, after);
}

void EditorDeck::reconfig()
{
    for (Kiln::Workspace *workspace : qAsConst(m_workspaces))
        workspace->reconfig();
    for (Kiln::Editor *editor : qAsConst(m_editors))
        editor->reconfig();
    for (Kiln::ExtraEditor *panel : qAsConst(m_sidePanels))
        panel->reconfig();
}

void EditorDeck::retranslate()
{
    for (Kiln::Workspace *workspace : qAsConst(m_workspaces))
        workspace->retranslate();
    for (Kiln::Editor *editor : qAsConst(m_editors))
        editor->retranslate();
    for (Kiln::ExtraEditor *panel : qAsConst(m_sidePanels))
        panel->retranslate();
}

void EditorDeck::engineSwitched(bool on)
{
    for (Kiln::Workspace *workspace : qAsConst(m_workspaces))
        workspace->engineSwitched(on);
    for (Kiln::Editor *editor : qAsConst(m_editors))
        editor->engineSwitched(on);
    for (Kiln::ExtraEditor *panel : qAsConst(m_sidePanels))
        panel->engineSwitched(on);
}

} // namespace HostKit
