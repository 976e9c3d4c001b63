#pragma once

#include <kilnx/project/messages.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/project.h>
#include <kilnx/project/projectfile_p.h>

#include <QtCore/QMap>
#include <QtCore/QPointer>

namespace Kiln
{

/// The record of a project, which is also the table of its messages. Project is defined in
/// project.cpp and project_saving.cpp.
class ProjectPrivate : public MessageList
{
public:
    ProjectPrivate(Project *project, ParentProject *parentProject)
        : MessageList(project)
        , parent(parentProject)
    {
    }

    /// Null once the parent is gone.
    QPointer<ParentProject> parent;
    OptionMap options;
    QMap<ProjectFile *, Project::FileID> filesWithIDs;
    /// From one type bit to the index of the selected file.
    QMap<int, unsigned int> selected;
    /// From one type bit to its files in order.
    QMap<int, QList<ProjectFile *>> filesByType;
};

} // namespace Kiln
