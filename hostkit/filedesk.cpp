#include <hostkit/filedesk.h>

#include <hostkit/editordeck.h>
#include <hostkit/filetabs.h>
#include <hostkit/projectsession.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/valuecode.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/projectfile.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QTextBlock>

#include <algorithm>

namespace HostKit
{

namespace
{
const int shownNames = 8;
constexpr unsigned int discardsUnasked = 1; // bit of ProjectFile::capabilities()

bool isChangedText(Kiln::ProjectFile *file)
{
    return dynamic_cast<Kiln::CodeDocument *>(file) && file->isModified() &&
           !(file->capabilities() & discardsUnasked);
}

/// Has the values of a definition that lead to one file lead to another in the same directory.
void renameIn(Kiln::CodeDocument *definition, const QString &from, const QString &to)
{
    const QDir base(QFileInfo(definition->fileName()).path());
    const QString oldName = QFileInfo(from).fileName();
    QList<QTextCursor> places;
    for (QTextBlock line = definition->begin(); line.isValid(); line = line.next()) {
        const auto *value = dynamic_cast<const Kiln::ValueCode *>(definition->nodeInBlock(line));
        const QString path = value ? value->rawValue().toString() : QString();
        const int start = path.isEmpty() ? -1 : line.text().indexOf(path);
        if (start < 0 || !path.endsWith(oldName) || QDir::cleanPath(base.filePath(path)) != from)
            continue;
        QTextCursor place = definition->cursor();
        place.setPosition(line.position() + start + path.size());
        place.movePosition(QTextCursor::Left, QTextCursor::KeepAnchor, oldName.size());
        places.append(place);
    }
    definition->beginChange();
    for (const QTextCursor &place : qAsConst(places))
        definition->insertOnCursor(QFileInfo(to).fileName(), place);
    definition->endChange();
}
} // namespace

FileDesk::FileDesk(ProjectSession *session, EditorDeck *deck, FileTabs *tabs, QWidget *window)
    : QObject(window)
    , m_session(session)
    , m_deck(deck)
    , m_tabs(tabs)
    , m_window(window)
{
    tabs->setModifiedTest([this](Kiln::ProjectFile *file) { return isModified(file); });
    connect(tabs, &FileTabs::fileChosen, this, &FileDesk::showFile);
    connect(tabs, &FileTabs::closeRequested, this, &FileDesk::closeFile);
    connect(session, &ProjectSession::fileRemoved, this, &FileDesk::forget);
    connect(session, &ProjectSession::aboutToClose, this, &FileDesk::clear);
    connect(deck, &EditorDeck::modified, this, &FileDesk::syncWithEditor);
    connect(deck, &EditorDeck::currentChanged, this, &FileDesk::syncWithEditor);
}

bool FileDesk::isModified(Kiln::ProjectFile *file) const
{
    const Kiln::FileEditor *editor = editorOf(file);
    return file->isModified() || m_kept.contains(file) ||
           (editor && editor->currentFile() == file && editor->isModified());
}

void FileDesk::setKept(Kiln::ProjectFile *file, bool isKept)
{
    if (isKept)
        m_kept.insert(file);
    else
        m_kept.remove(file);
}

bool FileDesk::openFile(const QString &fileName, unsigned int id)
{
    if (fileName.isEmpty())
        return false;
    const QString shown = QDir::toNativeSeparators(fileName);
    Kiln::ProjectFile *file = m_session->findFile(fileName);
    if (!file && !QFileInfo::exists(fileName)) {
        if (!Kiln::askQuestion(
                m_window, tr("File not found"),
                tr("The file '%1' does not exist. Do you want to create it?").arg(shown)))
            return false;
        file = m_session->createFile(fileName, id);
    } else if (!file) {
        file = m_session->loadFile(fileName, id);
    }
    if (!file) {
        if (!m_session->wasCancelled())
            Q_EMIT message(tr("'%1' cannot be opened.").arg(shown));
        return false;
    }
    tellDetail(file);
    return showFile(file);
}

void FileDesk::tellDetail(Kiln::ProjectFile *file)
{
    const auto *text = dynamic_cast<Kiln::CodeDocument *>(file);
    const Kiln::CodeDocument::Detail detail =
        text ? text->detail() : Kiln::CodeDocument::WithColors;
    const QString name = FileTabs::title(file);
    if (text && !text->canSave())
        Q_EMIT message(tr("'%1' is no text: its bytes are shown.").arg(name));
    else if (detail == Kiln::CodeDocument::TextOnly)
        Q_EMIT message(
            tr("'%1' is large: it has no colours, folds, nodes and messages.").arg(name));
    else if (detail == Kiln::CodeDocument::WithNodes)
        Q_EMIT message(tr("'%1' is large: it has no colours.").arg(name));
}

// The library makes and loads the file before anybody can tell that it is there already.
void FileDesk::openBy(Kiln::FileEditor *editor)
{
    const QList<Kiln::ProjectFile *> before = m_session->files();
    editor->open();
    syncWithEditor();
    const QList<Kiln::ProjectFile *> after = m_session->files();
    for (Kiln::ProjectFile *file : after) {
        Kiln::ProjectFile *twin = before.contains(file) ? nullptr : m_session->twinOf(file);
        if (twin && showFile(twin)) {
            forget(file);
            file->project()->removeFile(file);
        } else if (!before.contains(file)) {
            Kiln::ProjectFile *bytes = m_session->asBytes(file);
            if (bytes != file)
                showFile(bytes);
        }
    }
}

bool FileDesk::showFile(Kiln::ProjectFile *file)
{
    if (!file)
        return false;
    Kiln::FileEditor *editor = editorOf(file);
    if (!editor) {
        Q_EMIT message(tr("There is no editor for '%1'.").arg(FileTabs::title(file)));
        return false;
    }
    m_givenUp.remove(file);
    m_session->setCurrentProject(file->project());
    if (editor->currentFile() != file)
        editor->setCurrentFile(file);
    m_deck->switchTo(editor);
    syncWithEditor();
    return true;
}

void FileDesk::showPlace(Kiln::ProjectFile *file, int line, int column)
{
    if (showFile(file))
        m_deck->current()->navigateTo(unsigned(qMax(0, line)), unsigned(qMax(0, column)));
}

bool FileDesk::closeFile(Kiln::ProjectFile *file)
{
    if (!file)
        return false;
    bool saved = false;
    const bool mayGo = isChangedText(file) ? settleText({file}, &saved) : mayClose(file);
    if (!mayGo || !isThere(file))
        return false;
    if (!saved && isGone(file) && !(mayLose({file->fileName()}) && isThere(file)))
        return false;
    if (!m_session->unloadText(file))
        putAway(file);
    m_tabs->refresh(); // one name less may tell the others apart
    return true;
}

void FileDesk::closeCurrentFile()
{
    if (Kiln::ProjectFile *file = m_tabs->currentFile())
        closeFile(file);
}

bool FileDesk::confirmDiscard(const Kiln::ParentProject *of)
{
    const QPointer<const Kiln::ParentProject> project = of;
    const QList<Kiln::ProjectFile *> asked = m_session->files(of);
    QList<Kiln::ProjectFile *> modified = m_session->modifiedFiles(of);
    for (Kiln::Editor *each : m_deck->editors()) {
        auto *editor = qobject_cast<Kiln::FileEditor *>(each);
        if (editor && editor->isModified() && !modified.contains(editor->currentFile()) &&
            (!of || asked.contains(editor->currentFile())))
            modified.append(editor->currentFile());
    }
    for (Kiln::ProjectFile *file : asked) {
        if (m_kept.contains(file) && !modified.contains(file))
            modified.append(file);
    }
    const auto text = std::stable_partition(modified.begin(), modified.end(),
                                            [](auto *file) { return !isChangedText(file); });
    bool saved = false;
    if (text != modified.end() && !settleText(modified.mid(int(text - modified.begin())), &saved))
        return false;
    modified.erase(text, modified.end());
    for (Kiln::ProjectFile *file : qAsConst(modified)) {
        if (!isThere(file))
            continue;
        if (editorOf(file))
            showFile(file);
        if (!mayClose(file))
            return false;
    }
    QStringList gone;
    if (of && !project)
        return true;
    const QList<Kiln::ProjectFile *> files = m_session->files(of);
    for (Kiln::ProjectFile *file : files) {
        if (isGone(file) && !m_givenUp.contains(file))
            gone.append(file->fileName());
    }
    return gone.isEmpty() || mayLose(gone);
}

bool FileDesk::isGone(Kiln::ProjectFile *file)
{
    const QString name = file->fileName();
    const bool isThere = file->fileExists() && !QFileInfo(name).isDir();
    return !file->isModified() && !name.isEmpty() && !isThere;
}

QString FileDesk::listed(const QStringList &files)
{
    QStringList lines;
    for (const QString &file : files.mid(0, shownNames))
        lines.append(QDir::toNativeSeparators(file));
    if (files.size() > shownNames)
        lines.append(tr("and %1 more").arg(files.size() - shownNames));
    return lines.join(QLatin1Char('\n'));
}

/// Has changed text saved, unless the user would rather lose it; false if it has to stay.
bool FileDesk::settleText(const QList<Kiln::ProjectFile *> &files, bool *saved)
{
    QStringList names;
    for (Kiln::ProjectFile *file : files)
        names.append(file->fileName().isEmpty() ? FileTabs::title(file) : file->fileName());
    const QString text =
        files.size() == 1
            ? tr("'%1' has changes that are not saved.").arg(FileTabs::title(files.first()))
            : tr("These files have changes that are not saved:\n%1").arg(listed(names));
    const Kiln::UnsavedAnswer answer = Kiln::askUnsaved(m_window, tr("Unsaved changes"), text);
    *saved = answer == Kiln::UnsavedAnswer::Save;
    if (!*saved)
        return answer == Kiln::UnsavedAnswer::Discard;
    bool areSaved = true;
    for (Kiln::ProjectFile *file : files)
        areSaved = (!isThere(file) || (m_save && m_save(file))) && areSaved;
    return areSaved;
}

/// Behind a box it may have been closed.
bool FileDesk::isThere(Kiln::ProjectFile *file) const
{
    return m_session->files().contains(file);
}

/// Asks about changes as the file's editor does, and about those that it does not know.
bool FileDesk::mayClose(Kiln::ProjectFile *file)
{
    const Kiln::FileEditor *editor = editorOf(file);
    const bool isUnknown = !file->isModified() && m_kept.contains(file);
    if (editor && !editor->canDiscard(file))
        return false;
    const bool isAsked = isUnknown || (!editor && file->isModified());
    return !isThere(file) || !isAsked || mayDiscard(file);
}

/// Asks about changes that no editor asks about.
bool FileDesk::mayDiscard(Kiln::ProjectFile *file)
{
    return (file->capabilities() & discardsUnasked) ||
           Kiln::askQuestion(m_window, tr("Unsaved changes"),
                             tr("'%1' has changes that are not saved. Do you want to discard them?")
                                 .arg(FileTabs::title(file)));
}

bool FileDesk::mayLose(const QStringList &gone)
{
    return Kiln::askQuestion(m_window, tr("File not found"),
                             tr("These files are gone from the disk; saving writes them again. Do "
                                "you want to close them without?\n%1")
                                 .arg(listed(gone)));
}

bool FileDesk::renameFile(const QString &from, const QString &to)
{
    const QString title = tr("Rename");
    Kiln::ProjectFile *file = m_session->findFile(from);
    auto *document = dynamic_cast<Kiln::CodeDocument *>(file);
    // All but text is loaded again under its new name.
    if (file && !document && isModified(file)) {
        Kiln::showWarning(m_window, title,
                          tr("'%1' has changes that are not saved. Save or discard them first.")
                              .arg(FileTabs::title(file)));
        return false;
    }
    if (QFileInfo::exists(to) || !QFile::rename(from, to)) {
        const QString why = QFileInfo::exists(to) ? tr("'%1' exists already.")
                                                  : tr("The file could not be renamed to '%1'.");
        Kiln::showWarning(m_window, title, why.arg(QDir::toNativeSeparators(to)));
        return false;
    }
    if (document)
        document->rename(to);
    else if (file)
        file->fromFile(file->archive(), to, false);
    const QList<Kiln::Project *> projects = m_session->projects();
    for (const Kiln::Project *project : projects) {
        auto *definition =
            dynamic_cast<Kiln::CodeDocument *>(project->file(Kiln::Project::FileID::Definition));
        if (definition)
            renameIn(definition, QDir::cleanPath(from), to);
    }
    syncWithEditor();
    return true;
}

void FileDesk::stepTab(int by)
{
    const int count = m_tabs->count();
    if (count > 1)
        m_tabs->setCurrentIndex((m_tabs->currentIndex() + by + count) % count);
}

void FileDesk::syncWithEditor()
{
    Kiln::ProjectFile *file = m_deck->currentFile();
    if (file && file->project())
        m_tabs->showFile(file);
    else
        m_tabs->refresh();
    Q_EMIT changed();
}

// The tab that moves up is shown next.
void FileDesk::forget(Kiln::ProjectFile *file)
{
    m_givenUp.remove(file);
    m_kept.remove(file);
    const bool shown = m_deck->currentFile() == file;
    const QList<Kiln::Editor *> editors = m_deck->editors();
    for (Kiln::Editor *editor : editors) {
        auto *fileEditor = qobject_cast<Kiln::FileEditor *>(editor);
        if (fileEditor && fileEditor->currentFile() == file)
            fileEditor->setCurrentFile(nullptr);
    }
    m_tabs->removeFile(file);
    if (!shown)
        return;
    if (Kiln::ProjectFile *next = m_tabs->currentFile())
        showFile(next);
    else
        m_deck->switchTo(nullptr);
}

void FileDesk::clear(Kiln::ParentProject *project)
{
    const QList<Kiln::ProjectFile *> gone = m_session->files(project);
    for (Kiln::ProjectFile *file : gone) {
        m_givenUp.remove(file);
        m_kept.remove(file);
    }
    const bool isShown = !m_deck->currentFile() || gone.contains(m_deck->currentFile());
    if (isShown)
        m_deck->switchTo(nullptr);
    const QList<Kiln::Editor *> editors = m_deck->editors();
    for (Kiln::Editor *editor : editors) {
        auto *fileEditor = qobject_cast<Kiln::FileEditor *>(editor);
        if (fileEditor && (!fileEditor->currentFile() || gone.contains(fileEditor->currentFile())))
            fileEditor->setCurrentFile(nullptr);
    }
    const QList<Kiln::ProjectFile *> tabs = m_tabs->files();
    for (Kiln::ProjectFile *file : tabs) {
        if (gone.contains(file) || !isThere(file))
            m_tabs->removeFile(file);
    }
    if (isShown && m_tabs->currentFile())
        showFile(m_tabs->currentFile());
}

// A file of the project is as it is on disk again; one that is not there leaves it, and so does one
// from elsewhere. A project cannot go on without its definition, which stays in it as it is.
void FileDesk::putAway(Kiln::ProjectFile *file)
{
    const bool isOther = file->isModified() || m_kept.contains(file);
    forget(file);
    const bool isDefinition = m_session->fileId(file).has(Kiln::Project::FileID::Definition);
    const bool exists = file->fileExists() && !QFileInfo(file->fileName()).isDir();
    if (!isDefinition && (!exists || isOutside(file)))
        file->project()->removeFile(file);
    else if (!exists)
        m_givenUp.insert(file);
    else if (isOther)
        file->fromFile(file->archive(), file->fileName(), false);
    Q_EMIT changed();
}

/// Whether a file neither lies in the directory of the project nor is named by a definition.
bool FileDesk::isOutside(Kiln::ProjectFile *file) const
{
    const Kiln::ParentProject *project = file->project()->parent();
    const QString name = QDir::cleanPath(file->fileName());
    return project && !project->filePath(name) && !name.startsWith(project->basePath());
}

Kiln::FileEditor *FileDesk::editorOf(Kiln::ProjectFile *file) const
{
    return file ? m_deck->editorForFile(m_session->fileId(file)) : nullptr;
}

} // namespace HostKit
