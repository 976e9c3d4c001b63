#include <kilnx/editors/pictureimport_p.h>

#include <kilnx/editors/portionedchange_p.h>
#include <kilnx/image/codecs.h>
#include <kilnx/image/imageops.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/paths.h>
#include <kilnx/project/progress.h>

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QEventLoop>
#include <QtCore/QFile>
#include <QtCore/QTimer>

#include <atomic>
#include <memory>

namespace Kiln
{

namespace
{

constexpr int pollMs = 20;

/// The same as readPicture(), without free borders.
void readCropped(const QString &path, QImage *out)
{
    readPicture(path, out);
    cropImage(*out, nullptr, 0);
}

/// Pictures that are read on the global pool. What jobs write to lives as long as the last of them.
class Reading
{
public:
    explicit Reading(int count)
        : m_results(std::make_shared<Results>(count))
    {
    }
    ~Reading()
    {
        m_results->isCancelled = true;
        for (QFuture<void> &job : m_jobs)
            job.waitForFinished();
    }

    void start(int index, const QString &path, void (*read)(const QString &, QImage *))
    {
        QImage *out = &m_results->pictures[index];
        m_jobs.append(QtConcurrent::run([results = m_results, path, read, out] {
            if (!results->isCancelled)
                read(path, out);
            ++results->done;
        }));
    }
    int done() const { return m_results->done; }
    void cancel() { m_results->isCancelled = true; }
    bool isDone() const { return done() == m_jobs.size(); }
    const QVector<QImage> &pictures() const { return m_results->pictures; }

private:
    struct Results {
        explicit Results(int count)
            : pictures(count)
        {
            pictures.detach(); // jobs write to its elements
        }
        QVector<QImage> pictures;
        std::atomic<int> done{0};
        std::atomic<bool> isCancelled{false};
    };

    std::shared_ptr<Results> m_results;
    QVector<QFuture<void>> m_jobs;
};

} // namespace

void readPicture(const QString &path, QImage *out)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || !loadImage(&file, fileExtension(path).constData(), *out))
        *out = QImage();
}

PictureImport::PictureImport(Sprites *sprites,
                             const QStringList &files,
                             const QVector<SprImport::Answer> &answers,
                             const std::function<bool()> &isWanted)
    : m_sprites(sprites)
    , m_files(files)
    , m_answers(answers)
    , m_isWanted(isWanted)
{
}

/// Half of the steps are the reading, the others the putting in.
bool PictureImport::run(Progress *progress, unsigned int first)
{
    progress->setProgress(0, 2 * unsigned(m_files.size()), &m_isCancelled);
    const bool isDone = read(progress) && insertAll(progress, first);
    progress->finish();
    return isDone;
}

bool PictureImport::read(Progress *progress)
{
    Reading reading(m_files.size());
    for (int i = 0; i < m_files.size(); ++i)
        reading.start(i, m_files[i], m_answers[i].mode == 1 ? &readPicture : &readCropped);
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (isStopped(progress, reading.done()))
            reading.cancel();
        if (reading.isDone())
            loop.quit();
    });
    poll.start(pollMs);
    if (!reading.isDone())
        loop.exec();
    m_pictures = reading.pictures();
    return !isStopped(progress, m_files.size());
}

/// Shows how far it is.
bool PictureImport::isStopped(Progress *progress, int done)
{
    progress->setProgress(unsigned(done), 0, &m_isCancelled);
    return m_isCancelled || !m_sprites || !m_isWanted();
}

bool PictureImport::insertAll(Progress *progress, unsigned int first)
{
    PortionedChange<Sprites> change(m_sprites, [this, progress](int done) {
        return !isStopped(progress, m_files.size() + done);
    });
    const int count = m_files.size();
    for (int file = 0; file < count && change.isWhole(); ++file) {
        insert(file, first + m_added);
        change.stepped(file + 1, m_added > 0, file + 1 == count && m_forced.isEmpty());
    }
    for (int i = 0; i < m_forced.size() && change.isWhole(); ++i) {
        m_forced[i]->finishImport();
        change.stepped(count, true, i + 1 == m_forced.size());
    }
    return change.isWhole();
}

void PictureImport::insert(int file, unsigned int at)
{
    const QImage picture = std::exchange(m_pictures[file], QImage());
    if (picture.isNull()) {
        m_unread.append(m_files[file]);
        return;
    }
    const SprImport::Answer &answer = m_answers[file];
    Sprite *made = m_sprites->insert(at, answer.identifier, QImage());
    if (!made)
        return;
    ++m_added;
    Palette *chosen = m_sprites->palettes()->at(unsigned(answer.palette)); // null for none
    made->setImage(picture, false, answer.mode, chosen);
    if (answer.mode == Sprite::ForcePalette)
        m_forced.append(made);
}

} // namespace Kiln
