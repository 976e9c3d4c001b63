#include <hostkit/codeview.h>

#include <kilnx/codeedit/codeworkspace.h>
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

void CodeView::activate()
{
    Kiln::CodeFileEditor::activate();
    workspace->editor()->setFocus(Qt::OtherFocusReason);
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
