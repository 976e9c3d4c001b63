#include <hostkit/recoveryjournal.h>

#include <hostkit/projectsession.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/parentproject.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QUuid>

#include <algorithm>
#include <utility>

namespace HostKit
{

namespace
{
constexpr int Interval = 500;

// Beside the directory and locked before that is made: no other host ever sees one without.
std::unique_ptr<QLockFile> lockOf(const QString &directory)
{
    auto lock = std::make_unique<QLockFile>(directory + QLatin1String(".lock"));
    lock->setStaleLockTime(0); // only when its process is gone
    return lock;
}

// A power cut may leave a lock without a word about its owner; a living one still holds the file.
bool takeOver(QLockFile &lock)
{
    qint64 process = 0;
    QString host;
    QString application;
    return lock.tryLock(0) || (!lock.getLockInfo(&process, &host, &application) &&
                               lock.removeStaleLockFile() && lock.tryLock(0));
}
} // namespace

RecoveryJournal::RecoveryJournal(ProjectSession &session, const QString &directory)
    : m_session(session)
    , m_directory(directory)
{
    m_writer.setMaxThreadCount(1);
    m_syncer.setMaxThreadCount(1);
    connect(&m_timer, &QTimer::timeout, this, &RecoveryJournal::look);
    connect(&session, &ProjectSession::fileRemoved, this, &RecoveryJournal::forget);
    // What other projects have unsaved stays on disk meanwhile.
    connect(&session, &ProjectSession::aboutToClose, this, [this](Kiln::ParentProject *project) {
        const QList<Kiln::ProjectFile *> files = m_session.files(project);
        for (Kiln::ProjectFile *file : files)
            forget(file);
    });
    m_timer.start(Interval);
}

RecoveryJournal::~RecoveryJournal()
{
    m_writer.waitForDone();
    m_syncer.waitForDone();
    if (!m_own.isEmpty())
        QDir(m_own).removeRecursively();
}

bool RecoveryJournal::flush()
{
    m_writer.waitForDone();
    m_syncer.waitForDone();
    look();
    m_writer.waitForDone();
    syncLater();
    m_syncer.waitForDone();
    return std::all_of(m_kept.cbegin(), m_kept.cend(),
                       [](const Kept &kept) { return kept.file && kept.file->error().isEmpty(); });
}

// What a killed process has written is there; after a power cut only what the disk has confirmed.
// That may take seconds, and nobody waits for it.
void RecoveryJournal::syncLater()
{
    if (!m_unsynced.isEmpty() && m_syncer.activeThreadCount() == 0)
        m_syncer.start([paths = std::exchange(m_unsynced, {})] {
            for (const QString &path : paths)
                JournalFile::sync(path);
        });
}

void RecoveryJournal::look()
{
    if (m_writer.activeThreadCount() > 0)
        return; // the next time
    syncLater();
    QList<Kiln::ProjectFile *> gone = m_kept.keys();
    const QList<Kiln::ProjectFile *> files = m_session.files();
    for (Kiln::ProjectFile *file : files) {
        auto *document = dynamic_cast<Kiln::CodeDocument *>(file);
        if (!document || !document->isModified())
            continue;
        gone.removeOne(file);
        Kept &kept = m_kept[file];
        const bool isWritten = kept.file && kept.file->error().isEmpty(); // the writer rests
        if (!isWritten || kept.revision != document->revision() ||
            kept.fileName != document->fileName())
            keep(file, document, kept);
    }
    for (Kiln::ProjectFile *file : qAsConst(gone))
        forget(file);
}

void RecoveryJournal::keep(Kiln::ProjectFile *file, Kiln::CodeDocument *document, Kept &kept)
{
    if (!makeDirectory())
        return;
    if (!kept.file)
        kept.file = std::make_shared<JournalFile>(
            QStringLiteral("%1/%2.journal").arg(m_own).arg(++m_files));
    kept.revision = document->revision();
    kept.fileName = document->fileName();
    const JournalFile::Head head{kept.fileName, m_session.fileId(file).bits,
                                 file->project()->parent()->basePath()};
    m_writer.start([this, journal = kept.file, head, text = document->toRawText()] {
        const bool isWritten = journal->write(head, text);
        const QString error = isWritten ? QString() : journal->error();
        QMetaObject::invokeMethod(this, [this, error] { told(error); });
    });
    if (!m_unsynced.contains(kept.file->path()))
        m_unsynced.append(kept.file->path());
}

void RecoveryJournal::forget(Kiln::ProjectFile *file)
{
    const Kept kept = m_kept.take(file);
    if (kept.file)
        m_writer.start([journal = kept.file] { journal->remove(); });
}

bool RecoveryJournal::makeDirectory()
{
    if (!m_own.isEmpty() || m_directory.isEmpty())
        return !m_own.isEmpty();
    const QString own = m_directory + QLatin1Char('/') + QUuid::createUuid().toString(QUuid::Id128);
    QDir().mkpath(m_directory);
    m_lock = lockOf(own);
    const bool isMade = m_lock->tryLock(0) && QDir().mkpath(own);
    if (isMade)
        m_own = own;
    else
        told(tr("'%1' cannot be made.").arg(QDir::toNativeSeparators(own)));
    return isMade;
}

// The text is tried again with the next look.
void RecoveryJournal::told(const QString &error)
{
    const bool isNew = !error.isEmpty() && !m_hasFailed;
    m_hasFailed = !error.isEmpty();
    if (isNew)
        Q_EMIT failed(error);
}

// A directory whose lock can be had belongs to nobody any more.
void RecoveryJournal::adopt()
{
    if (m_directory.isEmpty())
        return;
    const QStringList names =
        QDir(m_directory).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QString &name : names) {
        const QString path = m_directory + QLatin1Char('/') + name;
        std::unique_ptr<QLockFile> lock = lockOf(path);
        if (path == m_own || m_adoptedPaths.contains(path) || !takeOver(*lock))
            continue;
        m_adopted.push_back(std::move(lock));
        m_adoptedPaths.append(path);
    }
    // A host that was killed may leave the lock of a directory that it had emptied, or not made
    // yet.
    const QStringList locks = QDir(m_directory).entryList({QStringLiteral("*.lock")}, QDir::Files);
    for (const QString &name : locks) {
        const QString path = m_directory + QLatin1Char('/') + QFileInfo(name).completeBaseName();
        if (!m_adoptedPaths.contains(path) && !QFileInfo::exists(path))
            lockOf(path)->tryLock(0);
    }
}

QList<RecoveryJournal::Entry> RecoveryJournal::leftBehind()
{
    adopt();
    QList<Entry> entries;
    for (const QString &directory : qAsConst(m_adoptedPaths)) {
        const QDir dir(directory);
        for (const QString &name : dir.entryList({QStringLiteral("*.journal")}, QDir::Files)) {
            Entry entry;
            entry.path = dir.filePath(name);
            if (JournalFile::read(entry.path, &entry))
                entries.append(entry);
            else if (QFileInfo(entry.path).size() == 0) // another may be readable some day
                discard(entry);
        }
        for (const QString &unfinished : dir.entryList({QStringLiteral("*.new")}, QDir::Files))
            QFile::remove(dir.filePath(unfinished));
        QDir().rmdir(directory); // where its host had no text when it ended
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry &one, const Entry &other) { return one.time > other.time; });
    return entries;
}

// The directory goes with its last file.
void RecoveryJournal::discard(const Entry &entry)
{
    JournalFile(entry.path).remove();
    QDir().rmdir(QFileInfo(entry.path).path());
}

} // namespace HostKit
