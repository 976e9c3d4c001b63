#include <kilnx/project/project.h>

#include <kilnx/project/archive.h>
#include <kilnx/project/parentproject_p.h>
#include <kilnx/project/project_p.h>
#include <kilnx/project/saveplan_p.h>

#include <QtCore/QPointer>

namespace Kiln
{

void Project::saveAll(const QString &path, bool backup, QStringList *copied)
{
    if (!d->parent)
        return;
    ParentProjectPrivate &parent = *d->parent->d;
    SavePlan own(backup ? SavePlan::Backup : SavePlan::Move);
    if (copied || !parent.plan) {
        const QList<ReferencedFile> entries =
            own.addProject(this, path + parent.folderOf(fileName()));
        for (const ReferencedFile &entry : entries) {
            if (copied)
                copied->append(entry.path);
        }
    }
    const QPointer<Project> guard(this);
    if (parent.plan) {
        parent.plan->run(this);
    } else {
        own.prepare();
        own.run(this);
    }
    if (guard && !backup)
        moveTo(FileSystemArchive::instance());
}

void Project::moveTo(Archive &archive)
{
    archive.addOwner();
    std::exchange(m_archive, &archive)->removeOwner();
}

} // namespace Kiln
