#include <kilnx/editors/projectanimations_p.h>

#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/project/project.h>

namespace Kiln
{

Animations *animationsOf(const Project *project)
{
    ProjectFile *file = project ? project->file(Project::FileID::Animations) : nullptr;
    if (auto *document = dynamic_cast<CodeDocument *>(file))
        return dynamic_cast<Animations *>(document->documentEditor(CodeNode::Animation, 0));
    return dynamic_cast<Animations *>(file);
}

} // namespace Kiln
