#include <kilnx/project/project.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/parentproject_p.h>
#include <kilnx/project/project_p.h>

#include <QtCore/QFileInfo>
#include <QtCore/QPointer>

#include <algorithm>

namespace Kiln
{

Project::Project(ParentProject *parent, CodeDocument *definition, FileID id)
    : QObject(parent)
    , m_type(static_cast<Type>(definition->fileType()))
    , d(std::make_unique<ProjectPrivate>(this, parent))
    , m_archive(&parent->archive())
{
    m_archive->addOwner();
    moveOptionsUp(definition);
    addFile(definition, id);
}

Project::~Project()
{
    // Only where the parent was deleted before release() could run.
    releaseFiles();
    if (m_archive)
        m_archive->removeOwner();
}

/// What a definition says about its text holds for all files of the project.
void Project::moveOptionsUp(CodeDocument *definition)
{
    for (const char *name : {"parseCode", "highlightCode", "modelCode"}) {
        const QString key = QString::fromLatin1(name);
        const QVariant value = definition->option(key);
        // A definition that does not care hands an invalid value on: what that means for the
        // settings is the host's choice.
        setOption(key, value, true);
    }
    for (const char *name : {"highlightCode", "parseCode", "modelCode"})
        definition->setOption(QString::fromLatin1(name), QVariant(), false, false);
}

void Project::addToParent()
{
    if (auto *definition = dynamic_cast<CodeDocument *>(file(FileID::Definition)))
        d->parent->addRef(definition);
}

void Project::release()
{
    m_archive->flush();
    std::exchange(m_archive, nullptr)->removeOwner();
    // The parent may end here, and with it what is still its child.
    ParentProject *parent = d->parent;
    setParent(nullptr);
    if (parent)
        parent->d->removeProject(this);
    releaseFiles();
    delete this;
}

void Project::releaseFiles()
{
    const QList<ProjectFile *> all = files();
    d->filesWithIDs.clear();
    d->filesByType.clear();
    for (ProjectFile *file : all)
        file->release();
}

bool Project::isEmpty() const
{
    const QList<ProjectFile *> all = files();
    return std::all_of(all.begin(), all.end(), [](ProjectFile *file) { return file->isEmpty(); });
}

bool Project::isModified() const
{
    const QList<ProjectFile *> all = files();
    return std::any_of(all.begin(), all.end(),
                       [](ProjectFile *file) { return file->isModified(); });
}

ProjectFile *Project::file(FileID::Type type) const
{
    const QList<ProjectFile *> &list = filesByType(type);
    if (list.isEmpty())
        return nullptr;
    const unsigned int index = selectedFile(type);
    return index < static_cast<unsigned int>(list.size()) ? list[static_cast<int>(index)]
                                                          : list.first();
}

void Project::reload()
{
    const QPointer<Project> guard(this);
    const QList<ProjectFile *> all = files();
    for (ProjectFile *file : all) {
        // A file may tell of a failure in a box, behind which others are closed.
        if (!guard)
            return;
        if (fileID(file).bits != 0 && file->archive().fileExists(file->fileName()))
            file->fromFile(file->archive(), file->fileName(), false);
    }
}

ParentProject *Project::parent() const
{
    return d->parent;
}

Archive &Project::archive() const
{
    return m_archive ? *m_archive : FileSystemArchive::instance();
}

MessageList *Project::messages() const
{
    return d.get();
}

QString Project::fileName() const
{
    ProjectFile *definition = file(FileID::Definition);
    return definition ? definition->fileName() : QString();
}

QString Project::absolutePath() const
{
    const QString name = fileName();
    const QString directory = name.isEmpty() ? name : QFileInfo(name).absolutePath();
    return directory.endsWith(QLatin1Char('/')) ? directory : directory + QLatin1Char('/');
}

QString Project::basePath() const
{
    return d->parent ? absolutePath().mid(d->parent->basePath().size()) : absolutePath();
}

void Project::addFile(ProjectFile *file, FileID id)
{
    if (!file)
        return;
    const FileID known = fileID(file);
    const FileID added(id.bits & ~known.bits);
    d->filesWithIDs[file] = FileID(known.bits | id.bits);
    if (Messages *messages = file->fileMessages(); messages && messages->list() != d.get()) {
        if (MessageList *old = messages->list())
            old->unregisterMessages(messages);
        d->registerMessages(messages);
    }
    file->d->project = this;
    for (unsigned int bit = 1; bit != 0; bit <<= 1) {
        if (!(added.bits & bit))
            continue;
        QList<ProjectFile *> &list = d->filesByType[static_cast<int>(bit)];
        d->selected[static_cast<int>(bit)] = static_cast<unsigned int>(list.size());
        list.append(file);
    }
    emit fileAdded(file, added);
}

void Project::moveFile(FileID::Type type, int from, int to)
{
    const auto list = d->filesByType.find(static_cast<int>(type));
    if (list == d->filesByType.end())
        return;
    const int size = list->size();
    if (from >= 0 && from < size && to >= 0 && to < size)
        list->move(from, to);
}

void Project::removeFile(FileID::Type type, int index)
{
    if (index < 0 || index >= filesByType(type).size())
        return;
    ProjectFile *file = d->filesByType[static_cast<int>(type)].takeAt(index);
    const FileID old = fileID(file);
    if (old.bits == 0)
        return;
    if (old.bits != type) {
        d->filesWithIDs[file] = FileID(old.bits & ~type);
        emit fileRemoved(file, old);
        return;
    }
    d->filesWithIDs.remove(file);
    emit fileRemoved(file, old);
    file->release();
}

void Project::removeFile(ProjectFile *file)
{
    if (ProjectFile *taken = takeFile(file))
        taken->release();
}

ProjectFile *Project::takeFile(ProjectFile *file)
{
    const auto known = d->filesWithIDs.find(file);
    if (known == d->filesWithIDs.end())
        return nullptr;
    const FileID old = *known;
    d->filesWithIDs.erase(known);
    for (QList<ProjectFile *> &list : d->filesByType)
        list.removeAll(file);
    // Whoever hears of it may close the project, and its messages then leave the list with it.
    const QPointer<Project> guard(this);
    emit fileRemoved(file, old);
    Messages *messages = guard ? file->fileMessages() : nullptr;
    if (messages && messages->list() == d.get())
        d->unregisterMessages(messages);
    file->d->project = nullptr;
    return file;
}

QList<ProjectFile *> Project::files() const
{
    return d->filesWithIDs.keys();
}

const QList<ProjectFile *> &Project::filesByType(FileID::Type type) const
{
    static const QList<ProjectFile *> none;
    const auto list = d->filesByType.constFind(static_cast<int>(type));
    return list == d->filesByType.constEnd() ? none : *list;
}

const QMap<ProjectFile *, Project::FileID> &Project::filesWithIDs() const
{
    return d->filesWithIDs;
}

Project::FileID Project::fileID(ProjectFile *file) const
{
    return d->filesWithIDs.value(file);
}

unsigned int Project::selectedFile(FileID::Type type) const
{
    return d->selected.value(static_cast<int>(type));
}

void Project::setSelectedFile(FileID::Type type, unsigned int index)
{
    d->selected[static_cast<int>(type)] = index;
}

bool Project::isSingle() const
{
    const QList<ProjectFile *> &definitions = filesByType(FileID::Definition);
    if (definitions.size() != 1)
        return false;
    ProjectFile *definition = definitions.first();
    return definition->isEmpty() && !definition->isModified() && definition->fileName().isEmpty();
}

QVariant Project::option(const QString &key) const
{
    const QVariant own = d->options.value(key);
    Interface *interface = Interface::instance();
    return own.isValid() || !interface ? own : interface->option(key, QVariant());
}

void Project::setOption(const QString &key, const QVariant &value, bool toSettings)
{
    if (Interface *interface = toSettings ? Interface::instance() : nullptr)
        interface->setOption(key, value);
    setOrRemove(d->options, key, value);
}

} // namespace Kiln
