#include <kilnx/project/fileeditor.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/projectfile.h>

#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtCore/QRegularExpression>
#include <QtWidgets/QAction>

namespace Kiln
{

namespace
{

/// Bit of ProjectFile::capabilities(): changes need no confirmation before they are discarded.
constexpr unsigned int mayDiscard = 1;

QString patternOf(FileEditor *editor, const Interface *interface)
{
    const Engine *engine = interface->engine();
    return engine ? engine->singleFileFilters().value(static_cast<int>(editor->canEditFileType()))
                  : QString();
}

QString filterOf(FileEditor *editor, const QString &pattern)
{
    const QAction *action = editor->action();
    return QStringLiteral("%1 (%2)").arg(action ? action->text() : QString(), pattern);
}

QString pathKey(const FileEditor *editor)
{
    return QLatin1String(editor->name()) + QLatin1String("_path");
}

QString startDirectory(const FileEditor *editor, const Project *project)
{
    if (!project)
        return QString();
    const QString own = project->option(pathKey(editor)).toString();
    return own.isEmpty() ? project->option(QStringLiteral("project_path")).toString() : own;
}

void keepDirectory(const FileEditor *editor, Project *project, const QString &path)
{
    if (project)
        project->setOption(pathKey(editor), QFileInfo(path).absolutePath(), true);
}

bool isInside(const Project *project, const QString &path)
{
    return !project || project->isSingle() || path.startsWith(project->absolutePath());
}

bool askForCopy(const Interface *interface, const QString &question)
{
    return askWarning(interface->mainWindow(), FileEditor::tr("External file!"), question);
}

/// A file of a project, or of none, across boxes: behind them either may be closed.
class OpenFile
{
public:
    explicit OpenFile(ProjectFile *file)
        : m_file(file)
        , m_project(file->project())
        , m_isLoose(!m_project)
    {
    }
    bool isThere() const { return m_isLoose || (m_project && m_project->fileID(m_file).bits != 0); }

private:
    ProjectFile *m_file;
    QPointer<Project> m_project;
    bool m_isLoose;
};

/// A new file of a project. The engine may ask for something first, behind which the project is
/// closed: there is none then.
ProjectFile *makeFile(Engine *engine, Project::FileID::Type type, const QPointer<Project> &project)
{
    ProjectFile *file = engine->createFile(type, project);
    if (!file || project)
        return file;
    file->release();
    return nullptr;
}

/// The suffix that a pattern asks for, with its dot; empty when the pattern names none or many.
QString suffixOf(const QString &pattern)
{
    static const QRegularExpression suffixes(QStringLiteral("^(?:\\*(\\.[a-zA-Z]+))*$"));
    return suffixes.match(pattern).captured(1);
}

} // namespace

FileEditor::FileEditor(QObject *parent)
    : Editor(parent)
{
}

bool FileEditor::isModified() const
{
    return m_currentFile && m_currentFile->isModified();
}

void FileEditor::undo()
{
    if (m_currentFile)
        m_currentFile->undo();
}

void FileEditor::redo()
{
    if (m_currentFile)
        m_currentFile->redo();
}

void FileEditor::find(const QString &text, unsigned int flags)
{
    if (text.isEmpty() || find(m_currentFile, text, flags) || (flags & Silent))
        return;
    showInformation(interface->mainWindow(), interface->text(Interface::NothingFoundTitle),
                    tr("Nothing found!"));
}

bool FileEditor::canDiscard(const ProjectFile *file) const
{
    if (!file || (file->capabilities() & mayDiscard) || !file->isModified())
        return true;
    return askQuestion(
        interface->mainWindow(), tr("Discard changes?"),
        tr("Do you want to discard the changes made in %1?").arg(QLatin1String(name())));
}

bool FileEditor::canDiscard() const
{
    const Project *project = interface->currentProject();
    if (!project)
        return true;
    bool result = true;
    const auto type = const_cast<FileEditor *>(this)->canEditFileType();
    const QList<ProjectFile *> files = project->filesByType(type);
    // Each file is asked about, also behind a No: the user learns of all of them.
    QList<OpenFile> open;
    for (ProjectFile *file : files)
        open.append(OpenFile(file));
    for (int i = 0; i < files.size(); ++i)
        result = (!open[i].isThere() || canDiscard(files[i])) && result;
    return result;
}

void FileEditor::cut()
{
}

void FileEditor::copy()
{
}

void FileEditor::paste()
{
}

void FileEditor::setCurrentFile(ProjectFile *file)
{
    m_currentFile = file;
}

void FileEditor::create()
{
    Engine *engine = interface->engine();
    const QPointer<Project> project = interface->currentProject();
    ProjectFile *file = engine && project ? makeFile(engine, canEditFileType(), project) : nullptr;
    if (!file)
        return;
    project->addFile(file, canEditFileType());
    switchToThis();
    contentsChanged();
}

void FileEditor::open()
{
    Engine *engine = interface->engine();
    const QPointer<Project> project = interface->currentProject();
    if (!engine || !project)
        return;
    const QString path =
        getOpenFileName(interface->mainWindow(), tr("Open %1...").arg(QLatin1String(name())),
                        startDirectory(this, project), filterOf(this, patternOf(this, interface)));
    if (path.isEmpty() || !project)
        return;
    const bool isChild = isInside(project, path);
    const auto type = canEditFileType();
    ProjectFile *file = makeFile(engine, type, project);
    if (!file)
        return;
    const unsigned int selected = project->selectedFile(type);
    project->addFile(file, type);
    const OpenFile added(file);
    const bool asCopy =
        !isChild &&
        askForCopy(interface,
                   tr("This file isn't a child of the project directory, so will be ignored "
                      "on 'Run in engine', 'Backup' and 'Save as' functions. Do you want to "
                      "load it as copy?\nNote: As copy, if you save it the previous file will "
                      "be overwritten!"));
    if (!added.isThere())
        return;
    const bool isLoaded = file->fromFile(FileSystemArchive::instance(), path, asCopy);
    if (!added.isThere())
        return;
    if (!isLoaded) {
        project->removeFile(file);
        project->setSelectedFile(type, selected);
        return;
    }
    keepDirectory(this, project, path);
    switchToThis();
    contentsChanged();
}

void FileEditor::save()
{
    switchToThis();
    ProjectFile *file = m_currentFile;
    if (!file || !file->isModified() || !file->canSave())
        return;
    if (file->toFile(file->archive(), file->fileName(), false))
        contentsChanged();
    else
        saveAs();
}

void FileEditor::saveAs()
{
    switchToThis();
    if (m_currentFile)
        saveFileAs(m_currentFile, this, interface);
}

void FileEditor::saveFileAs(ProjectFile *file, FileEditor *editor, Interface *interface)
{
    if (!file || !file->canSave())
        return;
    const QString pattern = patternOf(editor, interface);
    Project *project = file->project();
    const OpenFile saved(file);
    const QString path = getSaveFileName(
        interface->mainWindow(), tr("Save %1 as...").arg(QLatin1String(editor->name())),
        startDirectory(editor, project), filterOf(editor, pattern), suffixOf(pattern));
    if (path.isEmpty() || !saved.isThere())
        return;
    const bool asCopy =
        !isInside(project, path) &&
        askForCopy(interface,
                   tr("This file isn't a child of the project directory, so will be ignored "
                      "on 'Run in engine', 'Backup' and 'Save as' functions. Do you want to "
                      "save it as copy?\nNote: As copy, we keep the reference to the previous "
                      "file!"));
    if (!saved.isThere())
        return;
    file->toFile(FileSystemArchive::instance(), path, asCopy);
    if (!saved.isThere())
        return;
    keepDirectory(editor, project, path);
    emit editor->modified();
}

} // namespace Kiln
