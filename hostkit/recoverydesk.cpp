#include <hostkit/recoverydesk.h>

#include <hostkit/bytesarchive.h>
#include <hostkit/comparedialog.h>
#include <hostkit/filedesk.h>
#include <hostkit/projectsession.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/parentproject.h>

#include <QDir>
#include <QFile>
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

// The file as its editor would read it; null if it is not there, is of another kind, or cannot be
// saved.
Kiln::ProjectFile *loaded(ProjectSession &session, const Entry &entry)
{
    const QString &name = entry.head.fileName;
    Kiln::ProjectFile *file =
        QFileInfo::exists(name) ? session.loadFile(name, entry.head.id) : nullptr;
    const bool isText = dynamic_cast<Kiln::CodeDocument *>(file);
    return file && isText == entry.isText && file->canSave() ? file : nullptr;
}

Kiln::CodeDocument *loadedText(ProjectSession &session, const Entry &entry)
{
    return entry.isText ? dynamic_cast<Kiln::CodeDocument *>(loaded(session, entry)) : nullptr;
}

QByteArray bytesOnDisk(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

Kiln::Sprite *drawnSprite(Kiln::ProjectFile *file, const Entry &entry)
{
    auto *sprites = dynamic_cast<Kiln::Sprites *>(file);
    return sprites && entry.items.row >= 0 ? sprites->at(unsigned(entry.items.row)) : nullptr;
}

// The process may have ended just after a save.
bool isSaved(ProjectSession &session, const Entry &entry)
{
    const QString &name = entry.head.fileName;
    if (entry.isText) {
        const Kiln::CodeDocument *document = loadedText(session, entry);
        return document && document->toRawText() == entry.text;
    }
    if (!entry.items.bytes.isNull() && entry.items.bytes != bytesOnDisk(name))
        return false;
    const Kiln::Sprite *sprite = drawnSprite(loaded(session, entry), entry);
    return entry.items.row < 0 || (sprite && sprite->image() == entry.items.picture);
}

// Of pictures and sounds: what there is, in words.
QPair<QString, QString> describedItems(const Entry &entry)
{
    const auto sized = [](qint64 bytes) {
        return RecoveryDesk::tr("%1 bytes").arg(QLocale().toString(bytes));
    };
    const QFileInfo file(entry.head.fileName);
    const QString before = file.isFile() ? sized(file.size()) : QString();
    QString after = entry.items.bytes.isNull() ? before : sized(entry.items.bytes.size());
    if (entry.items.row >= 0)
        after += QLatin1Char('\n') +
                 RecoveryDesk::tr("What was drawn on picture %1").arg(entry.items.row + 1);
    return qMakePair(before, after);
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
             "in texts, and are not written to the disk until you save."),
          tr("Changed"),
          listed(entries, QDir(session.parentProject()->basePath())),
          [&](int row) {
              if (!entries.at(row).isText)
                  return describedItems(entries.at(row));
              const Kiln::CodeDocument *document = loadedText(session, entries.at(row));
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
    const bool isPicture = !entry.isText && entry.items.bytes.isNull();
    const QString name = Kiln::getSaveFileName(
        this, tr("Save a copy"), entry.head.fileName + QLatin1String(isPicture ? ".png" : ""),
        QString());
    if (name.isEmpty())
        return;
    Kiln::Archive &archive = Kiln::FileSystemArchive::instance();
    QIODevice *device = archive.openFile(name, QIODevice::WriteOnly);
    if (device && isPicture)
        entry.items.picture.save(device, "PNG");
    else if (device)
        device->write(entry.isText ? withLineFeeds(entry.text).toUtf8() : entry.items.bytes);
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
        if (isSaved(m_session, entry))
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
    return entry.isText ? restoreText(entry) : restoreItems(entry);
}

bool RecoveryDesk::restoreText(const Entry &entry)
{
    const QString &name = entry.head.fileName;
    Kiln::CodeDocument *document = loadedText(m_session, entry);
    if (!document && name.isEmpty())
        document = dynamic_cast<Kiln::CodeDocument *>(m_session.newFile(entry.head.id));
    else if (!document && !QFileInfo::exists(name))
        document = m_session.newText(name, entry.head.id);
    if (!document)
        return false;
    document->replaceText(entry.text);
    return m_desk->showFile(document);
}

// A file that is gone from the disk comes back without a name.
bool RecoveryDesk::restoreItems(const Entry &entry)
{
    const JournalFile::Items &items = entry.items;
    const bool isThere = QFileInfo::exists(entry.head.fileName);
    Kiln::ProjectFile *file = isThere ? loaded(m_session, entry) : m_session.newFile(entry.head.id);
    BytesArchive archive(items.bytes);
    const bool isRead =
        file && (items.bytes.isNull() || file->fromFile(archive, entry.head.fileName, true));
    if (!isRead || !m_session.files().contains(file))
        return false;
    if (Kiln::Sprite *sprite = drawnSprite(file, entry)) {
        if (items.picture.format() == QImage::Format_Indexed8 && !sprite->palette())
            sprite->setImage(items.picture, false, Kiln::Sprite::ImagePalette, nullptr);
        else
            sprite->setImage(items.picture);
    }
    return m_desk->showFile(file);
}

} // namespace HostKit

#include "recoverydesk.moc"
