#include <hostkit/codeview.h>

#include <hostkit/controlpanels.h>

#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/codeedit/codeworkspace.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/projectfile.h>

#include <QAction>
#include <QDockWidget>

namespace HostKit
{

CodeView::CodeView(Kiln::CodeWorkspace *surface,
                   Kiln::Project::FileID::Type type,
                   const char *name,
                   int textId)
    : Kiln::CodeFileEditor(surface, "code_tree")
    , m_type(type)
    , m_name(name)
    , m_textId(textId)
    , m_action(interface->editorAction(QLatin1String("editor_") + QLatin1String(name),
                                       interface,
                                       textId))
{
    QWidget *nodes = interface->control(QStringLiteral("code_tree"));
    nodes->setAccessibleName(tr("Node tree"));
    if (auto *dock = qobject_cast<QDockWidget *>(nodes->parentWidget()))
        dock->setWindowTitle(nodes->accessibleName());
}

CodeView::~CodeView() = default;

unsigned int CodeView::areas() const
{
    const unsigned int areas = Kiln::CodeFileEditor::areas();
    return m_type == Kiln::Project::FileID::Animations ? areas | ControlPanels::SideArea : areas;
}

void CodeView::activate()
{
    Kiln::CodeFileEditor::activate();
    showAnimations();
    workspace->editor()->setFocus(Qt::OtherFocusReason);
}

void CodeView::deactivate()
{
    Kiln::CodeFileEditor::deactivate();
    showAnimations();
}

Kiln::OrganizerEditor *CodeView::organizer() const
{
    if (m_type != Kiln::Project::FileID::Animations)
        return nullptr;
    return qobject_cast<Kiln::OrganizerEditor *>(interface->extraEditor(0));
}

Kiln::Animations *CodeView::shownAnimations() const
{
    Kiln::CodeDocumentEditor *list = isActive() && document()
                                         ? document()->documentEditor(Kiln::CodeNode::Animation, 0)
                                         : nullptr;
    return dynamic_cast<Kiln::Animations *>(list);
}

/// The organizer has the animations of the shown file, and lets go of them before they end.
void CodeView::showAnimations()
{
    Kiln::OrganizerEditor *panel = organizer();
    if (!panel)
        return;
    panel->setObject(shownAnimations());
    connect(panel, &Kiln::OrganizerEditor::itemClicked, this, &CodeView::goToAnimation,
            Qt::UniqueConnection);
}

void CodeView::goToAnimation(int row)
{
    const Kiln::Animations *list = shownAnimations();
    if (const Kiln::AnimationCode *animation = list ? list->at(unsigned(row)) : nullptr)
        navigateTo(unsigned(animation->lineNo()), 0);
}

void CodeView::retranslate()
{
    m_action->setText(interface->text(m_textId));
    Kiln::CodeFileEditor::retranslate();
}

void CodeView::navigateTo(unsigned int line, unsigned int column)
{
    Kiln::CodeFileEditor::navigateTo(line, column);
    workspace->editor()->setFocus(Qt::OtherFocusReason);
}

void CodeView::setCurrentFile(Kiln::ProjectFile *file)
{
    Kiln::CodeFileEditor::setCurrentFile(file);
    // The project's selected file is the one that contentsChanged() comes back to.
    if (Kiln::Project *project = file ? file->project() : nullptr) {
        const int index = project->filesByType(m_type).indexOf(file);
        if (index >= 0)
            project->setSelectedFile(m_type, unsigned(index));
    }
    if (isActive())
        showAnimations();
}

// A file was made or loaded, and then it is the project's selected one, or the current was saved,
// and then the view stays as it is.
void CodeView::contentsChanged()
{
    const Kiln::Project *project = interface->currentProject();
    Kiln::ProjectFile *file = project ? project->file(m_type) : nullptr;
    if (project && file != currentFile())
        setCurrentFile(file);
    Q_EMIT modified();
}

} // namespace HostKit
