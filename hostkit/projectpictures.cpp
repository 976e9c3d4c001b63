#include <hostkit/projectpictures.h>

#include <hostkit/paths.h>
#include <hostkit/projectsession.h>

#include <kilnx/image/sprite.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/projectfile.h>

#include <QDir>
#include <QPainter>
#include <QSaveFile>
#include <QSet>

#include <algorithm>

namespace HostKit
{

namespace
{
constexpr int Patience = 3000; // milliseconds in which a project may be busy with its start
constexpr unsigned int MostSought = 50; // sprites of a file
constexpr int MostPixels = 1 << 22;     // of a sprite that is worth its decoding
constexpr int LeastSide = 8;            // of one that shows something
constexpr int MostFiles = 8;            // of which a sprite is looked at
constexpr int MostLooked = 128;         // pixels of a row or column whose colours are counted

bool isFit(const Kiln::Sprite *sprite)
{
    const Kiln::ImageInfo info = sprite->imageInfo();
    const int width = int(info.width);
    const int height = int(info.height);
    return std::min(width, height) >= LeastSide && height <= MostPixels / width;
}

// What an indexed picture has as its colour 0 is what shines through.
QImage withoutGround(QImage image)
{
    if (image.format() == QImage::Format_Indexed8 && image.colorCount() > 0)
        image.setColor(0, Qt::transparent);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage firstSprite(const Kiln::Sprites *sprites)
{
    const unsigned int count = sprites ? std::min(sprites->itemCount(), MostSought) : 0;
    for (unsigned int i = 0; i < count; ++i) {
        const QImage image = isFit(sprites->at(i)) ? sprites->at(i)->image() : QImage();
        if (!image.isNull())
            return withoutGround(image);
    }
    return QImage();
}

// A spark has few colours, what a game is about has many.
int colorsOf(const QImage &image)
{
    QSet<QRgb> seen;
    const int step = std::max(1, std::max(image.width(), image.height()) / MostLooked);
    for (int y = 0; y < image.height(); y += step) {
        for (int x = 0; x < image.width(); x += step)
            seen.insert(image.pixel(x, y));
    }
    return seen.size();
}

// Of the first ones of some files the one with the most colours.
QImage bestSprite(const ProjectSession &session, const Kiln::ParentProject *project)
{
    QImage best;
    int most = 0;
    int looked = 0;
    const QList<Kiln::ProjectFile *> files = session.files(project);
    for (Kiln::ProjectFile *file : files) {
        const QImage image = firstSprite(dynamic_cast<Kiln::Sprites *>(file));
        const int colors = image.isNull() ? 0 : colorsOf(image);
        if (colors > most) {
            most = colors;
            best = image;
        }
        if (colors > 0 && ++looked == MostFiles)
            break;
    }
    return best;
}

// Small ones grow by whole factors, so that their pixels stay square.
QImage fitted(const QImage &image)
{
    const QSize room = ProjectPictures::Size;
    const int factor = std::min(room.width() / image.width(), room.height() / image.height());
    const QImage scaled = factor > 0
                              ? image.scaled(image.size() * factor)
                              : image.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QImage picture(room, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QRect place = scaled.rect();
    place.moveCenter(picture.rect().center());
    QPainter(&picture).drawImage(place.topLeft(), scaled);
    return picture;
}
} // namespace

ProjectPictures::ProjectPictures(ProjectSession &session, const QString &directory)
    : m_session(session)
    , m_directory(directory)
{
    m_later.setSingleShot(true);
    m_later.setInterval(Patience);
    connect(&m_later, &QTimer::timeout, this, [this] {
        const QList<Kiln::ParentProject *> open = m_session.parentProjects();
        for (const Kiln::ParentProject *project : open)
            keep(project);
    });
    connect(&session, &ProjectSession::changed, &m_later, QOverload<>::of(&QTimer::start));
    connect(&session, &ProjectSession::aboutToClose, this, &ProjectPictures::keep);
}

QImage ProjectPictures::picture(const QString &project) const
{
    return QImage(fileOfProject(m_directory, project, QStringLiteral(".png")));
}

// What cannot be written is not worth a word.
void ProjectPictures::keep(const Kiln::ParentProject *project) const
{
    const QImage sprite = m_directory.isEmpty() ? QImage() : bestSprite(m_session, project);
    if (sprite.isNull())
        return;
    QDir().mkpath(m_directory);
    QSaveFile file(fileOfProject(m_directory, project->basePath(), QStringLiteral(".png")));
    if (file.open(QIODevice::WriteOnly) && fitted(sprite).save(&file, "PNG"))
        file.commit();
}

} // namespace HostKit
