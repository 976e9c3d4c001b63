#include <hostkit/recoveryjournal.h>

#include <hostkit/bytesarchive.h>
#include <hostkit/projectsession.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/parentproject.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLockFile>
#include <QScopedValueRollback>
#include <QUuid>

#include <algorithm>
#include <utility>

namespace HostKit
{

namespace
{
constexpr int Interval = 500;
// Of files of items, in milliseconds, and the times as long as it took to take one.
constexpr qint64 ShortestPause = 2000;
constexpr qint64 SlowPause = 60000;
constexpr qint64 Patience = 100;
constexpr int MostOften = 64 << 20; // bytes of a file that is taken every few seconds

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
    m_syncer.setMaxThreadCount(1);
    connect(&m_timer, &QTimer::timeout, this, [this] { look(false); });
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
    for (QThreadPool *pool : {&m_texts.writer, &m_items.writer, &m_syncer})
        pool->waitForDone();
    if (!m_own.isEmpty())
        QDir(m_own).removeRecursively();
}

bool RecoveryJournal::flush()
{
    for (QThreadPool *pool : {&m_texts.writer, &m_items.writer, &m_syncer})
        pool->waitForDone();
    look(true);
    m_texts.writer.waitForDone();
    m_items.writer.waitForDone();
    syncLater();
    m_syncer.waitForDone();
    return std::all_of(m_kept.cbegin(), m_kept.cend(), [](const auto &kept) {
        return kept.second.file && kept.second.file->error().isEmpty();
    });
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

RecoveryJournal::Drawing RecoveryJournal::drawingOf(Kiln::ProjectFile *file) const
{
    return m_drawingOf ? m_drawingOf(file) : Drawing();
}

/// Whether the disk does not have what the file itself holds.
bool RecoveryJournal::isUnsaved(Kiln::ProjectFile *file) const
{
    return file->isModified() || (m_isOnlyHere && m_isOnlyHere(file));
}

bool RecoveryJournal::isChanged(Kiln::ProjectFile *file) const
{
    return file->canSave() && (isUnsaved(file) || drawingOf(file).row >= 0);
}

void RecoveryJournal::look(bool isUrgent)
{
    syncLater();
    const QList<Kiln::ProjectFile *> files = m_session.files();
    QList<Kiln::ProjectFile *> gone;
    for (const auto &kept : m_kept) {
        if (!files.contains(kept.first) || !isChanged(kept.first))
            gone.append(kept.first);
    }
    for (Kiln::ProjectFile *file : qAsConst(gone))
        forget(file);
    // Journal files are read while their writer rests.
    const bool areTextsDue = !m_texts.isBusy();
    const bool areItemsDue = !m_items.isBusy() && !m_isTaking;
    bool hasTaken = false;
    for (Kiln::ProjectFile *file : files) {
        // A file tells of what goes wrong in a box, behind which others are closed.
        if ((hasTaken && !m_session.files().contains(file)) || !isChanged(file))
            continue;
        auto *document = dynamic_cast<Kiln::CodeDocument *>(file);
        if (document && areTextsDue)
            lookAt(document);
        else if (!document && areItemsDue)
            hasTaken = lookAt(file, isUrgent) || hasTaken;
    }
}

bool RecoveryJournal::isWritten(Kiln::ProjectFile *file, const Kept &kept)
{
    return kept.file && kept.file->error().isEmpty() && kept.fileName == file->fileName();
}

void RecoveryJournal::lookAt(Kiln::CodeDocument *document)
{
    Kept &kept = m_kept[document];
    if (isWritten(document, kept) && kept.revision == document->revision())
        return;
    kept.revision = document->revision();
    keep(document, kept, m_texts,
         [text = document->toRawText()](JournalFile &journal, const JournalFile::Head &head) {
             return journal.write(head, text);
         });
}

/// True if the file was taken.
bool RecoveryJournal::lookAt(Kiln::ProjectFile *file, bool isUrgent)
{
    Kept &kept = m_kept[file];
    follow(file, kept);
    const bool isDue = !kept.taken.isValid() || kept.taken.hasExpired(kept.pause);
    const bool isHeld = QGuiApplication::mouseButtons() != Qt::NoButton; // in a stroke
    const bool isTaken =
        (kept.isStale || !isWritten(file, kept)) && (isUrgent || (isDue && !isHeld));
    if (isTaken)
        take(file);
    return isTaken;
}

// Items, and what belongs to them, tell of changes by models.
void RecoveryJournal::follow(Kiln::ProjectFile *file, Kept &kept)
{
    if (kept.watch)
        return;
    kept.watch = std::make_unique<QObject>();
    QList<QAbstractItemModel *> models{file->model()};
    if (auto *sprites = dynamic_cast<Kiln::Sprites *>(file))
        models << sprites->palettes() << sprites->palettes()->remapModel();
    for (QAbstractItemModel *model : qAsConst(models)) {
        if (!model)
            continue;
        const auto changed = [this, file] { touch(file); };
        using Model = QAbstractItemModel;
        connect(model, &Model::dataChanged, kept.watch.get(), changed);
        connect(model, &Model::rowsInserted, kept.watch.get(), changed);
        connect(model, &Model::rowsRemoved, kept.watch.get(), changed);
        connect(model, &Model::rowsMoved, kept.watch.get(), changed);
        connect(model, &Model::layoutChanged, kept.watch.get(), changed);
        connect(model, &Model::modelReset, kept.watch.get(), changed);
        if (auto *list = qobject_cast<Kiln::OrganizableObject *>(model))
            connect(list, &Kiln::OrganizableObject::modified, kept.watch.get(), changed);
    }
}

void RecoveryJournal::touch(Kiln::ProjectFile *file)
{
    const auto kept = m_kept.find(file);
    if (kept != m_kept.end())
        kept->second.isStale = true;
}

void RecoveryJournal::take(Kiln::ProjectFile *file)
{
    const QScopedValueRollback<bool> taking(m_isTaking, true);
    QElapsedTimer clock;
    clock.start();
    BytesArchive archive;
    const bool isTaken = !isUnsaved(file) || file->toFile(archive, file->fileName(), true);
    const auto found = m_kept.find(file);
    if (found == m_kept.end())
        return;
    Kept &kept = found->second;
    JournalFile::Items items{archive.bytes, -1, QImage()};
    const Drawing drawing = drawingOf(file);
    if (drawing.row >= 0)
        items.picture = drawing.picture();
    items.row = items.picture.isNull() ? -1 : drawing.row;
    const bool isSlow = items.bytes.size() > MostOften;
    kept.isStale = !file->model(); // which would tell
    kept.pause = qMax(isSlow ? SlowPause : ShortestPause, Patience * clock.elapsed());
    kept.taken.start();
    if (isSlow && !std::exchange(kept.isSlow, true))
        Q_EMIT slowed(file);
    if (isTaken)
        keep(file, kept, m_items, [items](JournalFile &journal, const JournalFile::Head &head) {
            return journal.write(head, items);
        });
    else
        told(tr("'%1' is too large, or cannot be read.").arg(file->fileName()), m_items);
}

template<typename Work>
void RecoveryJournal::keep(Kiln::ProjectFile *file, Kept &kept, Lane &lane, const Work &work)
{
    if (!makeDirectory())
        return;
    if (!kept.file)
        kept.file = std::make_shared<JournalFile>(
            QStringLiteral("%1/%2.journal").arg(m_own).arg(++m_files));
    kept.fileName = file->fileName();
    const JournalFile::Head head{kept.fileName, m_session.fileId(file).bits,
                                 file->project()->parent()->basePath()};
    lane.writer.start([this, &lane, journal = kept.file, head, work] {
        const bool isWritten = work(*journal, head);
        const QString error = isWritten ? QString() : journal->error();
        QMetaObject::invokeMethod(this, [this, &lane, error] { told(error, lane); });
    });
    if (!m_unsynced.contains(kept.file->path()))
        m_unsynced.append(kept.file->path());
}

void RecoveryJournal::forget(Kiln::ProjectFile *file)
{
    const auto kept = m_kept.find(file);
    if (kept == m_kept.end())
        return;
    Lane &lane = kept->second.watch ? m_items : m_texts;
    if (kept->second.file)
        lane.writer.start([journal = kept->second.file] { journal->remove(); });
    m_kept.erase(kept);
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
        told(tr("'%1' cannot be made.").arg(QDir::toNativeSeparators(own)), m_texts);
    return isMade;
}

// It is tried again with a later look.
void RecoveryJournal::told(const QString &error, Lane &lane)
{
    const bool isNew = !error.isEmpty() && !lane.hasFailed;
    lane.hasFailed = !error.isEmpty();
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
