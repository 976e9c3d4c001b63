#pragma once

#include <kilnx/forms/sprimport.h>

#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtGui/QImage>

#include <functional>

namespace Kiln
{

class Progress;
class Sprite;
class Sprites;

/// For any thread: reads a picture file, or leaves `out` null.
void readPicture(const QString &path, QImage *out);

/// Picture files that become sprites of a file: all are read on the global pool, a job a file, and
/// then put in by portions, between which events run. All of it is one change of the file.
class PictureImport
{
public:
    /// `answers` has one for each of `files`. `isWanted` is asked after events whether the work
    /// still is; what it refers to must outlive this.
    PictureImport(Sprites *sprites,
                  const QStringList &files,
                  const QVector<SprImport::Answer> &answers,
                  const std::function<bool()> &isWanted);

    /// Puts the sprites before row `first`, and finishes `progress`. False, with the file as it was
    /// before, when the user has cancelled or the work is not wanted any more.
    bool run(Progress *progress, unsigned int first);

    /// The files that had no picture.
    const QStringList &unread() const { return m_unread; }
    /// How many sprites came.
    unsigned int added() const { return m_added; }

private:
    bool read(Progress *progress);
    bool insertAll(Progress *progress, unsigned int first);
    void insert(int file, unsigned int at);
    bool isStopped(Progress *progress, int done);

    const QPointer<Sprites> m_sprites;
    const QStringList m_files;
    const QVector<SprImport::Answer> m_answers;
    const std::function<bool()> m_isWanted;
    QVector<QImage> m_pictures; ///< null again once they are put in
    QStringList m_unread;
    QVector<Sprite *> m_forced; ///< mapped onto a palette
    unsigned int m_added = 0;
    bool m_isCancelled = false;
};

} // namespace Kiln
