#include "fakes.h"

#include <kilnx/project/paths.h>

using namespace Kiln;

bool FakeFile::fromFile(Archive &archive, const QString &file, bool asCopy)
{
    if (inBox) {
        std::exchange(inBox, nullptr)();
        return false;
    }
    FileWatchObject::fromFile(archive, file, asCopy);
    QIODevice *device = refuses ? nullptr : archive.openFile(file, QIODevice::ReadOnly);
    if (!device)
        return false;
    contents = device->readAll();
    archive.closeFile(device);
    modified = asCopy;
    if (!asCopy)
        name = file;
    ProjectFile::fromFile(archive, file, asCopy);
    return true;
}

bool FakeFile::toFile(Archive &archive, const QString &file, bool asCopy)
{
    if (inBox) {
        std::exchange(inBox, nullptr)();
        return false;
    }
    FileWatchObject::toFile(archive, file, asCopy);
    QIODevice *device = refuses ? nullptr : archive.openFile(file, QIODevice::WriteOnly);
    const bool isWritten = device && writeAll(device, contents);
    if (!archive.closeWritten(device) || !isWritten)
        return false;
    if (!asCopy) {
        name = file;
        modified = false;
    }
    ProjectFile::toFile(archive, file, asCopy);
    return true;
}

void FakeProject::fileList(QList<ReferencedFile> &out)
{
    auto *definition = dynamic_cast<CodeDocument *>(file(FileID::Definition));
    const QStringList lines = definition->toString().split('\n', Qt::SkipEmptyParts);
    for (const QString &line : lines)
        out.append({line.section(' ', 0, 0).toInt(), line.section(' ', 1)});
}

void FakeParent::collectFiles(const QString &path, QStringList &out)
{
    if (!path.endsWith('/')) {
        out.append(path);
        return;
    }
    QDirIterator iterator(basePath() + path, QDir::Files, QDirIterator::Subdirectories);
    while (iterator.hasNext())
        out.append(iterator.next().mid(basePath().size()));
}

FakeProject *FakeParent::open(const QString &name)
{
    auto *document = new FakeDocument;
    auto *project = new FakeProject(this, document);
    if (!document->fromFile(archive(), basePath() + name, false))
        qFatal("cannot open %s", qPrintable(name));
    project->addToParent();
    return project;
}

void ProjectTest::make(const Files &files) const
{
    for (auto file = files.begin(); file != files.end(); ++file)
        writeFile(base() + file.key(), *file);
}

void ProjectTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    m_host = std::make_unique<TestHost>();
}

void ProjectTest::cleanup()
{
    QCOMPARE(m_host->dialogs().finish(), QString());
    m_host.reset();
    QCOMPARE(FakeParent::alive + FakeProject::alive + FakeDocument::alive + FakeFile::alive, 0);
    QCOMPARE(FileSystemArchive::instance().refCount, 0);
}

FakeDocument *definitionOf(Project *project)
{
    return static_cast<FakeDocument *>(
        dynamic_cast<CodeDocument *>(project->file(Project::FileID::Definition)));
}

FakeFile *openFile(Project *project, const QString &path)
{
    auto *file = new FakeFile;
    if (!file->fromFile(project->archive(), path, false))
        qFatal("cannot open %s", qPrintable(path));
    project->addFile(file, Project::FileID::Sounds);
    return file;
}

static void
dumpRows(const ParentProject &project, const QModelIndex &parent, int depth, QString &out)
{
    for (int row = 0; row < project.rowCount(parent); ++row) {
        const QModelIndex index = project.index(row, 0, parent);
        const ParentProject::Path *path = project.itemPath(index);
        out += QString(2 * depth, ' ') + path->name();
        if (path->isDirectory())
            out += '/';
        else if (path->type() != 0)
            out += '+' + QString::number(path->type());
        out += '\n';
        dumpRows(project, index, depth + 1, out);
    }
}

QString dump(const ParentProject &project)
{
    QString out;
    dumpRows(project, QModelIndex(), 0, out);
    return out;
}
