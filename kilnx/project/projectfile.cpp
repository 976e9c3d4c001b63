#include <kilnx/project/projectfile.h>

#include <kilnx/project/archive.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/projectfile_p.h>

namespace Kiln
{

ProjectFile::ProjectFile()
    : d(std::make_unique<ProjectFilePrivate>())
{
}

ProjectFile::~ProjectFile()
{
    if (d->archive)
        d->archive->removeOwner();
}

Archive &ProjectFile::archive() const
{
    return d->archive ? *d->archive : FileSystemArchive::instance();
}

Project *ProjectFile::project() const
{
    return d->project;
}

unsigned int ProjectFile::capabilities() const
{
    return 0;
}

QAbstractItemModel *ProjectFile::model()
{
    return nullptr;
}

bool ProjectFile::canSave() const
{
    return false;
}

bool ProjectFile::isModified() const
{
    return false;
}

void ProjectFile::reset()
{
}

bool ProjectFile::toFile(Archive &archive, const QString &, bool asCopy)
{
    return takeArchive(archive, asCopy);
}

bool ProjectFile::fromFile(Archive &archive, const QString &, bool asCopy)
{
    return takeArchive(archive, asCopy);
}

bool ProjectFile::takeArchive(Archive &archive, bool asCopy)
{
    if (asCopy || d->archive == &archive)
        return false;
    // The new one first: both may end with the same last owner.
    archive.addOwner();
    if (Archive *old = std::exchange(d->archive, &archive))
        old->removeOwner();
    return false;
}

QString ProjectFile::fileName()
{
    return QString();
}

void ProjectFile::beginChange()
{
}

void ProjectFile::endChange()
{
}

void ProjectFile::undo()
{
}

void ProjectFile::redo()
{
}

QVariant ProjectFile::option(const QString &key)
{
    const QVariant own = d->options.value(key);
    if (own.isValid() || !d->project)
        return own;
    return d->project->option(key);
}

void ProjectFile::setOption(const QString &key,
                            const QVariant &value,
                            bool toProject,
                            bool toSettings)
{
    if (toProject && d->project)
        d->project->setOption(key, value, toSettings);
    else
        setOrRemove(d->options, key, value);
}

bool ProjectFile::fileExists() const
{
    return archive().fileExists(const_cast<ProjectFile *>(this)->fileName());
}

const char *ProjectFile::fileExtension() const
{
    return nullptr;
}

} // namespace Kiln
