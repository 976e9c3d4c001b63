#pragma once

#include <hostkit/export.h>
#include <hostkit/recoveryjournal.h>

#include <QtCore/QObject>

namespace HostKit
{

class FileDesk;

/// Gives unsaved work back that an earlier run of the host has left.
class HOSTKIT_EXPORT RecoveryDesk : public QObject
{
    Q_OBJECT

public:
    RecoveryDesk(RecoveryJournal &journal,
                 ProjectSession &session,
                 FileDesk *desk,
                 QWidget *window);

    /// Offers what was left of the open project, file by file, beside what is on disk. What the
    /// user takes becomes an unsaved change of its file, in a text one step of undo; what is put
    /// off is offered again the next time. Nothing happens when nothing was left.
    void offer();

    /// The project of which something was left last; empty if there is none.
    QString projectLeft();

private:
    bool restore(const RecoveryJournal::Entry &entry);
    bool restoreText(const RecoveryJournal::Entry &entry);
    bool restoreItems(const RecoveryJournal::Entry &entry);

    RecoveryJournal &m_journal;
    ProjectSession &m_session;
    FileDesk *m_desk;
    QWidget *m_window;
};

} // namespace HostKit
