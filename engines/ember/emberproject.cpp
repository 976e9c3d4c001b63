#include "emberproject.h"

#include "emberengine.h"
#include "embernodes.h"
#include "emberparentproject.h"
#include "embersounds.h"
#include "embersprites.h"

#include <kilnx/code/messages.h>
#include <kilnx/project/archive.h>

#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QSet>

#include <functional>

namespace
{

using FileEntry = std::function<void(const EmberValue *)>;

/// Calls `use` for each entry of the "files" sections that names a file by a proper name. A
/// project that has lost its definition has none.
void eachFileEntry(const EmberDocument *definition, const FileEntry &use)
{
    if (!definition)
        return;
    for (const Kiln::CodeNode *node : definition->childs()) {
        const auto *group = static_cast<const EmberGroup *>(node);
        if (group->subType() != EmberLanguage::Files)
            continue;
        for (const Kiln::ValueCode *value : group->values()) {
            const auto *entry = static_cast<const EmberValue *>(value);
            const QString path = entry->rawValue().toString();
            const bool isRelative = !path.isEmpty() && QDir::isRelativePath(path) &&
                                    path.mid(1, 1) != QLatin1String(":");
            if (entry->fileId() && isRelative)
                use(entry);
        }
    }
}

/// The type of the files that a definition can name, by the suffix.
Kiln::Project::FileID::Type typeOfFile(const QString &fileName)
{
    using FileID = Kiln::Project::FileID;
    const QString suffix = QFileInfo(fileName).suffix();
    switch (EmberDocument::typeOfFile(fileName)) {
    case EmberDocument::Commands:
        return FileID::Commands;
    case EmberDocument::States:
        return FileID::Code;
    case EmberDocument::Animations:
        return FileID::Animations;
    case EmberDocument::NoFileType:
        return suffix == QLatin1String(EmberSounds::suffix)    ? FileID::Sounds
               : suffix == QLatin1String(EmberSprites::suffix) ? FileID::Sprites
                                                               : FileID::Type();
    default:
        return FileID::Type();
    }
}

/// The value of an entry in the first section of that kind that has it; null if none has.
const Kiln::ValueCode *
findValue(const EmberDocument *definition, unsigned int section, const QString &name)
{
    if (!definition)
        return nullptr;
    for (const Kiln::CodeNode *node : definition->childs()) {
        const auto *group = static_cast<const EmberGroup *>(node);
        const Kiln::ValueCode *value =
            group->subType() == section ? group->valueByName(name) : nullptr;
        if (value)
            return value;
    }
    return nullptr;
}

} // namespace

EmberProject *EmberProject::open(EmberParentProject &parent, const QString &fileName)
{
    const EmberDocument::FileType type = EmberDocument::typeOfFile(fileName);
    if (!EmberDocument::isDefinition(type) || !parent.archive().fileExists(fileName))
        return nullptr;
    auto *definition = new EmberDocument(type);
    auto *project = new EmberProject(parent, definition);
    if (!definition->fromFile(parent.archive(), fileName, false)) {
        project->release();
        return nullptr;
    }
    project->addToParent();
    QList<Kiln::ReferencedFile> files;
    project->fileList(files);
    for (const Kiln::ReferencedFile &file : qAsConst(files))
        project->openFile(project->fullName(file.path));
    project->checkFiles();
    return project;
}

EmberProject *EmberProject::create(EmberParentProject &parent, EmberDocument::FileType type)
{
    auto *project = new EmberProject(parent, new EmberDocument(type));
    project->addToParent();
    return project;
}

EmberProject::EmberProject(EmberParentProject &parent, EmberDocument *definition)
    : Project(&parent, definition, FileID::Definition)
    , m_missing(std::make_unique<Kiln::SimpleMessages>(definition))
{
    messages()->registerMessages(m_missing.get());
    connect(static_cast<QTextDocument *>(definition), &QTextDocument::contentsChanged, this,
            &EmberProject::checkFiles);
}

EmberProject::~EmberProject() = default;

Kiln::ProjectFile *EmberProject::fileByName(const QString &fileName) const
{
    const QString name = QDir::cleanPath(fileName);
    for (Kiln::ProjectFile *file : files()) {
        if (!name.isEmpty() && QDir::cleanPath(file->fileName()) == name)
            return file;
    }
    return nullptr;
}

Kiln::ProjectFile *EmberProject::openFile(const QString &fileName)
{
    if (Kiln::ProjectFile *known = fileByName(fileName))
        return known;
    const QString name = QDir::cleanPath(fileName);
    const FileID::Type type = typeOfFile(name);
    if (!archive().fileExists(name))
        return nullptr;
    Kiln::ProjectFile *file = EmberEngine::instance().createFile(type, this);
    if (!file)
        return nullptr;
    if (!file->fromFile(archive(), name, false)) {
        file->release();
        return nullptr;
    }
    addFile(file, type);
    return file;
}

EmberDocument *EmberProject::definition() const
{
    return static_cast<EmberDocument *>(file(FileID::Definition));
}

QStringList EmberProject::cast() const
{
    QStringList names;
    eachFileEntry(definition(), [&](const EmberValue *entry) {
        if (entry->fileId() == FileID::Definition)
            names.append(entry->rawValue().toString());
    });
    return names;
}

void EmberProject::release()
{
    // The files end before this object does, and their last words are no reason to look again.
    if (EmberDocument *own = definition())
        static_cast<QTextDocument *>(own)->disconnect(this);
    m_missing.reset();
    Project::release();
}

QString EmberProject::displayName()
{
    const Kiln::ValueCode *title =
        findValue(definition(), EmberLanguage::About, QStringLiteral("title"));
    if (title && !title->rawValue().toString().isEmpty())
        return title->rawValue().toString();
    const QString name = QFileInfo(fileName()).completeBaseName();
    return name.isEmpty() ? tr("Untitled") : name;
}

QSize EmberProject::stageSize()
{
    const Kiln::ValueCode *size =
        findValue(definition(), EmberLanguage::Ground, QStringLiteral("size"));
    const QSize given = size ? size->asSize() : QSize();
    return given.isEmpty() ? QSize(640, 360) : given;
}

QSizeF EmberProject::stageScale()
{
    const Kiln::ValueCode *scale =
        findValue(definition(), EmberLanguage::Ground, QStringLiteral("scale"));
    const QPointF given = scale ? scale->asPointF() : QPointF();
    return given.x() > 0 && given.y() > 0 ? QSizeF(given.x(), given.y()) : QSizeF(1, 1);
}

void EmberProject::fileList(QList<Kiln::ReferencedFile> &out)
{
    const QString self = QDir::cleanPath(fileName());
    eachFileEntry(definition(), [&](const EmberValue *entry) {
        const QString path = entry->rawValue().toString();
        const bool isSelf = !self.isEmpty() && QDir::cleanPath(fullName(path)) == self;
        if (entry->fileId() != FileID::Definition && !isSelf)
            out.append({static_cast<int>(entry->fileId()), path});
    });
}

void EmberProject::checkFiles()
{
    if (!m_missing || fileName().isEmpty())
        return;
    QList<MissingFile> missing;
    QSet<QString> readable;
    const auto canRead = [this](const QString &name) {
        QIODevice *file = archive().openFile(name, QIODevice::ReadOnly);
        archive().closeFile(file);
        return file != nullptr;
    };
    eachFileEntry(definition(), [&](const EmberValue *entry) {
        const QString path = entry->rawValue().toString();
        const QString name = fullName(path);
        if (m_readable.contains(name) || canRead(name))
            readable.insert(name);
        else
            missing.append({entry->firstLine(), path});
    });
    m_readable = readable;
    if (missing == m_missingFiles)
        return;
    m_missingFiles = missing;
    watchForMissing();
    m_missing->beginChange();
    m_missing->clear();
    for (const MissingFile &file : qAsConst(missing)) {
        m_missing->add(Kiln::Message::Warning, tr("There is no readable file '%1'").arg(file.path),
                       file.line, 0);
    }
    m_missing->endChange();
}

// A file that is there again has no warning; nobody has to touch the definition for that.
void EmberProject::watchForMissing()
{
    if (!m_watcher && m_missingFiles.isEmpty())
        return; // a system has not many watchers
    if (!m_watcher) {
        m_watcher = new QFileSystemWatcher(this);
        connect(m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] {
            checkFiles();
            watchForMissing(); // the way to a file may have grown
        });
    }
    QStringList left = m_watcher->directories();
    for (const MissingFile &file : qAsConst(m_missingFiles)) {
        QString directory = QFileInfo(fullName(file.path)).path();
        while (!QFileInfo::exists(directory) && directory != QFileInfo(directory).path())
            directory = QFileInfo(directory).path();
        if (left.removeAll(directory) == 0)
            m_watcher->addPath(directory);
    }
    if (!left.isEmpty())
        m_watcher->removePaths(left);
}

QString EmberProject::fullName(const QString &path) const
{
    return QDir::cleanPath(absolutePath() + path);
}
