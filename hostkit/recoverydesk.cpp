#include <hostkit/recoverydesk.h>

#include <hostkit/comparedialog.h>
#include <hostkit/filedesk.h>
#include <hostkit/projectsession.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/parentproject.h>

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QPushButton>

namespace HostKit
{

using Entry = RecoveryJournal::Entry;

namespace
{
// As it stands in the editor, with a line feed at each line end.
QString withLineFeeds(QString text)
{
    return text.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
}

// The file as its editor would read it; null if it is not there, or is no text that can be saved.
Kiln::CodeDocument *loaded(ProjectSession &session, const Entry &entry)
{
    const QString &name = entry.head.fileName;
    auto *document = QFileInfo::exists(name)
                         ? dynamic_cast<Kiln::CodeDocument *>(session.loadFile(name, entry.head.id))
                         : nullptr;
    return document && document->canSave() ? document : nullptr;
}

/// The files of which something was left.
class RecoveryDialog : public CompareDialog
{
    Q_OBJECT

public:
    enum Answer { Later, Restore, Discard };

    RecoveryDialog(const QList<Entry> &entries, ProjectSession &session, QWidget *parent);

private:
    static QVector<File> listed(const QList<Entry> &entries, const QDir &base);
    void saveCopy();

    const QList<Entry> &m_entries;
};

QVector<CompareDialog::File> RecoveryDialog::listed(const QList<Entry> &entries, const QDir &base)
{
    QVector<File> files;
    for (const Entry &entry : entries) {
        const QString &name = entry.head.fileName;
        files.append({name.isEmpty() ? tr("Untitled") : base.relativeFilePath(name),
                      QLocale().toString(entry.time, QLocale::ShortFormat), name});
    }
    return files;
}

RecoveryDialog::RecoveryDialog(const QList<Entry> &entries,
                               ProjectSession &session,
                               QWidget *parent)
    : CompareDialog(
          QStringLiteral("recovery"),
          tr("The last run ended before these files were saved. Restored changes can be undone, "
             "and are not written to the disk until you save."),
          tr("Changed"),
          listed(entries, QDir(session.parentProject()->basePath())),
          [&](int row) {
              const Kiln::CodeDocument *document = loaded(session, entries.at(row));
              return qMakePair(document ? withLineFeeds(document->toRawText()) : QString(),
                               withLineFeeds(entries.at(row).text));
          },
          parent)
    , m_entries(entries)
{
    setWindowTitle(tr("Unsaved work"));
    addButton(tr("&Restore"), "recovery_restore", QDialogButtonBox::AcceptRole, Restore)
        ->setDefault(true);
    addButton(tr("&Discard all"), "recovery_discard", QDialogButtonBox::DestructiveRole, Discard);
    addButton(tr("&Later"), "recovery_later", QDialogButtonBox::RejectRole, Later);
    QPushButton *copy =
        addButton(tr("Save a &copy..."), "recovery_copy", QDialogButtonBox::ActionRole);
    connect(copy, &QPushButton::clicked, this, &RecoveryDialog::saveCopy);
    showFile(0);
}

void RecoveryDialog::saveCopy()
{
    if (currentFile() < 0)
        return;
    const Entry &entry = m_entries.at(currentFile());
    const QString name =
        Kiln::getSaveFileName(this, tr("Save a copy"), entry.head.fileName, QString());
    if (name.isEmpty())
        return;
    Kiln::Archive &archive = Kiln::FileSystemArchive::instance();
    QIODevice *device = archive.openFile(name, QIODevice::WriteOnly);
    if (device)
        device->write(withLineFeeds(entry.text).toUtf8());
    if (!device || !archive.closeWritten(device))
        Kiln::showWarning(
            this, tr("Save a copy"),
            tr("'%1' could not be saved.\n%2")
                .arg(QDir::toNativeSeparators(name), Kiln::FileSystemArchive::lastError()));
}
} // namespace

RecoveryDesk::RecoveryDesk(RecoveryJournal &journal,
                           ProjectSession &session,
                           FileDesk *desk,
                           QWidget *window)
    : m_journal(journal)
    , m_session(session)
    , m_desk(desk)
    , m_window(window)
{
}

QString RecoveryDesk::projectLeft()
{
    const QList<Entry> entries = m_journal.leftBehind();
    return entries.isEmpty() ? QString() : entries.first().head.project;
}

void RecoveryDesk::offer()
{
    const QPointer<Kiln::ParentProject> project = m_session.parentProject();
    QList<Entry> entries;
    const QList<Entry> left = project ? m_journal.leftBehind() : QList<Entry>();
    for (const Entry &entry : left) {
        if (!ProjectSession::isSamePlace(entry.head.project, project->basePath()))
            continue;
        // The process may have ended just after a save.
        const Kiln::CodeDocument *document = loaded(m_session, entry);
        if (document && document->toRawText() == entry.text)
            m_journal.discard(entry);
        else
            entries.append(entry);
    }
    if (entries.isEmpty())
        return;
    RecoveryDialog dialog(entries, m_session, m_window);
    const int answer = dialog.exec();
    if (answer == RecoveryDialog::Later || !project)
        return;
    QStringList failed;
    QList<Entry> done;
    for (int i = entries.size() - 1; i >= 0; --i) { // the newest last, where a file was left twice
        const bool isWanted = answer == RecoveryDialog::Restore && dialog.isMarked(i);
        if (isWanted && !restore(entries.at(i)))
            failed.append(entries.at(i).head.fileName);
        else if (isWanted || answer == RecoveryDialog::Discard)
            done.append(entries.at(i));
    }
    // What was restored is on disk again before the old copy goes.
    if (m_journal.flush() || answer == RecoveryDialog::Discard) {
        for (const Entry &entry : qAsConst(done))
            m_journal.discard(entry);
    }
    if (!failed.isEmpty())
        Kiln::showWarning(m_window, tr("Unsaved work"),
                          tr("These files could not be opened; what was left of them is kept:\n%1")
                              .arg(FileDesk::listed(failed)));
}

bool RecoveryDesk::restore(const Entry &entry)
{
    const QString &name = entry.head.fileName;
    Kiln::CodeDocument *document = loaded(m_session, entry);
    if (!document && name.isEmpty())
        document = dynamic_cast<Kiln::CodeDocument *>(m_session.newFile(entry.head.id));
    else if (!document && !QFileInfo::exists(name))
        document = m_session.newText(name, entry.head.id);
    if (!document)
        return false;
    document->replaceText(entry.text);
    return m_desk->showFile(document);
}

} // namespace HostKit

#include "recoverydesk.moc"
