#include <hostkit/savedesk.h>

#include <hostkit/editordeck.h>
#include <hostkit/filebytes.h>
#include <hostkit/filedesk.h>
#include <hostkit/filetabs.h>
#include <hostkit/projectsession.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/textcodecs.h>
#include <kilnx/editors/spriteeditor.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/projectfile.h>
#include <kilnx/project/savereport.h>

#include <QDir>
#include <QFileInfo>
#include <QPointer>

namespace HostKit
{

namespace
{

// While it lives, an editor's dialog for a name starts with the name that its file has.
class OwnPlace
{
public:
    explicit OwnPlace(const Kiln::FileEditor &editor)
        : m_key(QLatin1String(editor.name()) + QLatin1String("_path"))
    {
        Kiln::ProjectFile *file = editor.currentFile();
        m_project = file ? file->project() : nullptr;
        m_name = file ? file->fileName() : QString();
        if (!m_project || m_name.isEmpty())
            return;
        m_before = m_project->option(m_key);
        m_project->setOption(m_key, m_name, false);
    }
    // A file that was saved has left its directory here.
    ~OwnPlace()
    {
        if (m_project && !m_name.isEmpty() && m_project->option(m_key) == m_name)
            m_project->setOption(m_key, m_before, false);
    }

private:
    QString m_key;
    QString m_name;
    QVariant m_before;
    QPointer<Kiln::Project> m_project;
    Q_DISABLE_COPY(OwnPlace)
};

} // namespace

SaveDesk::SaveDesk(ProjectSession *session, EditorDeck *deck, FileDesk *desk, QWidget *window)
    : QObject(window)
    , m_session(session)
    , m_deck(deck)
    , m_desk(desk)
    , m_window(window)
{
    desk->setSaver([this](Kiln::ProjectFile *file) { return saveFile(file); });
}

/// What is drawn and not yet in its file goes there.
bool SaveDesk::settle()
{
    auto *sprites = qobject_cast<Kiln::SpriteEditor *>(m_deck->editor("sprites"));
    return !sprites || sprites->saveImage();
}

void SaveDesk::save()
{
    Kiln::ProjectFile *file = settle() ? m_deck->currentFile() : nullptr;
    if (!file || !file->canSave() || !(m_desk->isModified(file) || FileDesk::isGone(file)))
        return;
    if (!mayOverwrite({file}) || !m_session->files().contains(file))
        return;
    const bool changesEnds = changesLineEnds(file);
    if (file->fileName().isEmpty()) {
        saveAs();
    } else if (!file->toFile(file->archive(), file->fileName(), false)) {
        tellWhyNot(tr("Save"), file);
        saveAs();
    } else if (changesEnds) {
        tellLineEnds({file->fileName()});
    }
    m_desk->syncWithEditor();
}

/// Whether a text on disk has other line ends than the CR LF that every saved text has.
bool SaveDesk::changesLineEnds(Kiln::ProjectFile *file)
{
    if (!dynamic_cast<Kiln::CodeDocument *>(file) || file->fileName().isEmpty())
        return false;
    int codec = -1;
    const QString text =
        Kiln::TextCodecs::stringFromData(firstBytes(file->archive(), file->fileName()), &codec);
    for (int feed = text.indexOf(QLatin1Char('\n')); feed >= 0;
         feed = text.indexOf(QLatin1Char('\n'), feed + 1)) {
        if (feed == 0 || text.at(feed - 1) != QLatin1Char('\r'))
            return true;
    }
    return false;
}

void SaveDesk::tellLineEnds(const QStringList &files)
{
    if (files.size() == 1)
        Q_EMIT m_desk->message(tr("The lines of '%1' now end with CR LF, as the engine has them.")
                                   .arg(QFileInfo(files.first()).fileName()));
    else if (!files.isEmpty())
        Q_EMIT m_desk->message(
            tr("The lines of %1 files now end with CR LF, as the engine has them.")
                .arg(files.size()));
}

// Before it is closed.
bool SaveDesk::saveFile(Kiln::ProjectFile *file)
{
    if (m_deck->currentFile() != file && !m_desk->showFile(file))
        return false;
    save();
    return m_session->files().contains(file) && !file->isModified();
}

// The editor tells of a save by modified(), and not when the user has cancelled its dialog.
void SaveDesk::saveAs()
{
    Kiln::FileEditor *editor = m_deck->currentFileEditor();
    if (!editor)
        return;
    const OwnPlace place(*editor);
    bool tried = false;
    const auto watch = connect(editor, &Kiln::Editor::modified, this, [&tried] { tried = true; });
    editor->saveAs();
    disconnect(watch);
    if (tried && m_deck->currentFile())
        dropTwin(m_deck->currentFile());
    if (tried && !Kiln::FileSystemArchive::lastError().isEmpty() && m_deck->currentFile())
        tellWhyNot(tr("Save as"), m_deck->currentFile());
    m_desk->syncWithEditor();
}

// What was loaded from the file that has just been written over is nowhere any more.
void SaveDesk::dropTwin(Kiln::ProjectFile *file)
{
    Kiln::ProjectFile *twin = m_session->twinOf(file);
    if (twin && !m_desk->isModified(twin) &&
        !m_session->fileId(twin).has(Kiln::Project::FileID::Definition))
        twin->project()->removeFile(twin);
}

void SaveDesk::saveAll()
{
    // What goes on behind the progress may close it.
    const QPointer<Kiln::ParentProject> project = m_session->parentProject();
    if (!project || !settle() || !project || !mayOverwrite(m_session->modifiedFiles(project)) ||
        !project)
        return;
    QStringList changed;
    const QList<Kiln::ProjectFile *> modified = m_session->modifiedFiles(project);
    for (Kiln::ProjectFile *file : modified) {
        if (changesLineEnds(file))
            changed.append(file->fileName());
    }
    project->save();
    if (!project)
        return;
    tellLineEnds(changed);
    const Kiln::SaveReport report = project->saveReport();
    if (!report.failures.isEmpty() || !report.leftOut.isEmpty())
        tellReport(tr("Save all"), project);
    const QStringList missing = report.missing;
    saveKept(project);
    if (!missing.isEmpty() &&
        Kiln::askQuestion(m_window, tr("Save all"),
                          tr("These files are gone from the disk. Do you want to write them "
                             "again?\n%1")
                              .arg(FileDesk::listed(missing))))
        writeAgain(missing);
    else
        m_desk->syncWithEditor();
}

bool SaveDesk::saveProjectAs()
{
    const QString title = tr("Save project as");
    // What goes on behind the boxes may close it.
    const QPointer<Kiln::ParentProject> project = m_session->parentProject();
    const QString target = project && settle() && project ? chooseTarget(project) : QString();
    if (target.isEmpty() || !project || !mayReplace(title, project->replacedBySaveAs(target)) ||
        !project)
        return false;
    const QString before = project->basePath();
    project->saveAs(target);
    tellReport(title, project);
    m_desk->syncWithEditor();
    return project && project->basePath() != before;
}

bool SaveDesk::backup(const QString &name)
{
    const QPointer<Kiln::ParentProject> project = m_session->parentProject();
    const bool done =
        project && settle() && project && project->backup(QString(name).remove(QLatin1Char('/')));
    return done && tellReport(tr("Backup"), project);
}

bool SaveDesk::restore(const QString &name)
{
    const QString title = tr("Restore backup");
    const QPointer<Kiln::ParentProject> project = m_session->parentProject();
    if (!project || !m_desk->confirmDiscard(project) || !project ||
        !mayReplace(title, project->replacedByRestore(name)) || !project)
        return false;
    const bool restored = project->restoreBackup(name);
    if (restored)
        tellReport(title, project);
    else if (project && !project->saveReport().isCancelled)
        Kiln::showWarning(m_window, title, tr("This is no backup of the project."));
    m_desk->syncWithEditor();
    return restored;
}

// A single definition is saved under a name of its kind, all else into a directory.
QString SaveDesk::chooseTarget(Kiln::ParentProject *project)
{
    const QString title = tr("Save project as");
    if (m_session->projects(project).size() != 1 || project->isGame())
        return Kiln::getExistingDirectory(m_window, title, project->basePath());
    const QString definition = m_session->projects(project).first()->fileName();
    const QString suffix = QFileInfo(definition).suffix();
    return Kiln::getSaveFileName(m_window, title, definition, project->engine()->fileFilter(),
                                 suffix.isEmpty() ? suffix : QLatin1Char('.') + suffix);
}

bool SaveDesk::mayOverwrite(const QList<Kiln::ProjectFile *> &files) const
{
    return !m_mayOverwrite || m_mayOverwrite(files);
}

bool SaveDesk::mayReplace(const QString &title, const QStringList &files)
{
    return files.isEmpty() ||
           Kiln::askQuestion(m_window, title,
                             tr("These files will be replaced. Do you want to go on?\n%1")
                                 .arg(FileDesk::listed(files)));
}

// As much as a box can show. Null where it was closed meanwhile.
bool SaveDesk::tellReport(const QString &title, const Kiln::ParentProject *project)
{
    const QString text = project ? project->saveReport().text() : QString();
    if (!text.isEmpty())
        Kiln::showWarning(m_window, title, FileDesk::listed(text.split(QLatin1Char('\n'))));
    return text.isEmpty();
}

// The library knows nothing of them.
void SaveDesk::saveKept(Kiln::ParentProject *project)
{
    const QList<Kiln::ProjectFile *> files = m_session->files(project);
    for (Kiln::ProjectFile *file : files) {
        const bool isKept =
            m_session->files().contains(file) && !file->isModified() && m_desk->isModified(file);
        if (isKept && !file->toFile(file->archive(), file->fileName(), false))
            tellWhyNot(tr("Save all"), file);
    }
}

void SaveDesk::writeAgain(const QStringList &files)
{
    if (!settle())
        return;
    QList<Kiln::ProjectFile *> all;
    for (const QString &name : files)
        all.append(m_session->findFile(name));
    all.removeAll(nullptr);
    if (!mayOverwrite(all)) // other programs may have brought some back
        return;
    for (const QString &name : files) {
        Kiln::ProjectFile *file = m_session->findFile(name);
        if (file && !file->toFile(file->archive(), file->fileName(), false))
            tellWhyNot(tr("Save"), file);
    }
    m_desk->syncWithEditor();
}

void SaveDesk::tellWhyNot(const QString &title, Kiln::ProjectFile *file)
{
    Kiln::showWarning(m_window, title,
                      tr("'%1' could not be saved. %2")
                          .arg(FileTabs::title(file), Kiln::FileSystemArchive::lastError())
                          .trimmed());
}

} // namespace HostKit
