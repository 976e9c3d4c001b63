#pragma once

#include <hostkit/export.h>

#include <QtCore/QObject>
#include <QtCore/QSet>

#include <functional>

class QWidget;

namespace Kiln
{
class FileEditor;
class ParentProject;
class ProjectFile;
} // namespace Kiln

namespace HostKit
{

class EditorDeck;
class FileTabs;
class ProjectSession;

/// What the user does with files: opening, showing, closing, discarding. It keeps the tabs, the
/// current editor and its file in step, whoever of them moves first.
class HOSTKIT_EXPORT FileDesk : public QObject
{
    Q_OBJECT

public:
    FileDesk(ProjectSession *session, EditorDeck *deck, FileTabs *tabs, QWidget *window);

    /// Opens a file of the project by its absolute name; `id` is what its definition says, 0 if
    /// none does. A file that does not exist is made if the user agrees. False if there is
    /// nothing to show, after a message.
    bool openFile(const QString &fileName, unsigned int id);

    /// Has an editor ask for a file and load it. One that is loaded already, under whatever name,
    /// is shown instead of a second one.
    void openBy(Kiln::FileEditor *editor);

    /// Shows a loaded file in its editor. False if none edits its type, after a message.
    bool showFile(Kiln::ProjectFile *file);

    /// Shows a place of a loaded file; both numbers count from 0.
    void showPlace(Kiln::ProjectFile *file, int line, int column);

    /// Who saves a file that is closed with changes; true if it has none after that.
    void setSaver(std::function<bool(Kiln::ProjectFile *)> save) { m_save = std::move(save); }

    /// Takes the file off the desk; true if that was done. Text with changes is saved or thrown
    /// away, as the user says; changes of other files, and a file that is gone from the disk, are
    /// thrown away after a question. What is not on disk, or lies outside of the project, leaves
    /// the project, too, unless it is a definition.
    bool closeFile(Kiln::ProjectFile *file);
    void closeCurrentFile();

    /// Asks once for all changed text, to save or to discard it, for every other changed file
    /// whether it may be lost, and once for those that are gone from the disk; in one project, or
    /// in all for null. False if the user says no, or something could not be saved.
    bool confirmDiscard(const Kiln::ParentProject *of = nullptr);

    /// Gives a file another name, both absolute, on disk and in each definition that names it, one
    /// step of undo in its text. What is open goes on under the new name. False, with nothing
    /// changed, after a message why not.
    bool renameFile(const QString &from, const QString &to);

    /// Moves to the tab that is `by` places to the right, around the end.
    void stepTab(int by);

    /// Follows an editor that has opened or made a file by itself.
    void syncWithEditor();

    /// Whether a file has changes, also such as its editor has not given to it yet, or is kept.
    bool isModified(Kiln::ProjectFile *file) const;
    /// Has a file count as changed, although it has no changes of its own: what is here is nowhere
    /// on disk any more. Ends with setKept(false), and when the file is closed.
    void setKept(Kiln::ProjectFile *file, bool isKept);
    bool isKept(Kiln::ProjectFile *file) const { return m_kept.contains(file); }
    /// Whether a file has no changes but is gone from the disk, so that memory holds the only copy.
    static bool isGone(Kiln::ProjectFile *file);
    /// File names for a message, a line each; of many, the first ones and how many more there are.
    static QString listed(const QStringList &files);

Q_SIGNALS:
    /// A line for the status bar.
    void message(const QString &text);
    /// Another file is shown, or the shown one has become modified or saved. Not told for each key:
    /// follow the text by the signals of its QTextDocument.
    void changed();

private:
    bool settleText(const QList<Kiln::ProjectFile *> &files, bool *saved);
    void tellDetail(Kiln::ProjectFile *file);
    bool mayLose(const QStringList &gone);
    bool mayDiscard(Kiln::ProjectFile *file);
    bool mayClose(Kiln::ProjectFile *file);
    bool isThere(Kiln::ProjectFile *file) const;
    void forget(Kiln::ProjectFile *file);
    void clear(Kiln::ParentProject *project);
    void putAway(Kiln::ProjectFile *file);
    bool isOutside(Kiln::ProjectFile *file) const;
    Kiln::FileEditor *editorOf(Kiln::ProjectFile *file) const;

    ProjectSession *m_session;
    EditorDeck *m_deck;
    FileTabs *m_tabs;
    QWidget *m_window;
    std::function<bool(Kiln::ProjectFile *)> m_save;
    QSet<Kiln::ProjectFile *> m_givenUp; ///< gone from the disk, and closed; until shown again
    QSet<Kiln::ProjectFile *> m_kept;
};

} // namespace HostKit
