#pragma once

#include <hostkit/export.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QTimer>

class QFrame;
class QLabel;
class QPushButton;
class QWidget;

namespace Kiln
{
class ProjectFile;
} // namespace Kiln

namespace HostKit
{

class FileDesk;
class FileTabs;
class ProjectSession;
class Settings;

/// Files that other programs write, replace or delete while they are open, told without a box.
///
/// What has changed together is looked at together, when it has been quiet for a moment and no box
/// or menu is open. A file that has the same bytes as before is no news. One without changes of its
/// own is loaded again by itself, unless the setting "reload_unchanged" is false; text keeps its
/// steps of undo. The others wait for the user: a bar above the editor tells of the file that is
/// shown and how many more there are, and a dialog lists them all with what differs. Loading a text
/// that has changes is one step of undo, and happens beside the comparison only. Tabs mark the
/// files that are gone. While "enable_file_watcher" is false, nothing is told.
class HOSTKIT_EXPORT OutsideChanges : public QObject
{
    Q_OBJECT

public:
    /// From here on the library's own question about changed files is not asked any more.
    OutsideChanges(ProjectSession &session,
                   Settings &settings,
                   FileDesk *desk,
                   FileTabs *tabs,
                   QWidget *window);
    ~OutsideChanges() override;

    /// Stands above the editor; hidden while there is nothing to tell.
    QWidget *bar() const;

    /// The files that wait for the user.
    QList<Kiln::ProjectFile *> waiting() const;
    /// Whether a file is known to be gone from the disk.
    bool isGone(Kiln::ProjectFile *file) const;
    /// Asks about those that other programs have changed since they were loaded, before they are
    /// written over. False if the user says no.
    bool mayOverwrite(const QList<Kiln::ProjectFile *> &files);

Q_SIGNALS:
    /// A line for the status bar.
    void message(const QString &text);
    /// The file that is shown is to be written again.
    void saveRequested();
    /// Files that are gone are to be written again.
    void writeRequested(const QStringList &fileNames);

private:
    enum State { Changed, Gone };
    struct Notice {
        State state;
        bool isKept; ///< the user has seen it and goes on with what is in memory
    };

    void makeBar();
    void look();
    bool judge(Kiln::ProjectFile *file);
    bool forget(Kiln::ProjectFile *file);
    void drop(Kiln::ProjectFile *file);
    void settle();
    void showBar();
    bool load(Kiln::ProjectFile *file);
    void reloadShown();
    void keep(Kiln::ProjectFile *file);
    void choose(Kiln::ProjectFile *only);
    void reload(const QList<Kiln::ProjectFile *> &files);
    int ask(const QList<Kiln::ProjectFile *> &files,
            bool marksEdited,
            QList<Kiln::ProjectFile *> *chosen);

    ProjectSession &m_session;
    Settings &m_settings;
    FileDesk *m_desk;
    QPointer<FileTabs> m_tabs; ///< which may go with its window before this
    QWidget *m_window;
    QFrame *m_bar;
    QLabel *m_text;
    QPushButton *m_reload;
    QPushButton *m_compare;
    QPushButton *m_write;
    QPushButton *m_keep;
    QPushButton *m_others;
    QTimer m_quiet;                               ///< since the last change
    QSet<QString> m_paths;                        ///< to be looked at
    QHash<Kiln::ProjectFile *, Notice> m_notices; ///< until the file is as it was loaded or saved
};

} // namespace HostKit
