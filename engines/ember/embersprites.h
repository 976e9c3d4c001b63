#pragma once

#include "emberlist.h"
#include "emberpalettes.h"
#include "embersprite.h"

#include <kilnx/project/filewatch.h>

#include <QSet>

#include <list>

class QIODevice;

/// A sprite file of Ember (".gleam", see embergleam.h): pictures, palettes that they share, and
/// which palettes stand in for which others.
///
/// The pictures lie encoded in a store; opening decodes none, and saving writes them as they lie.
/// Every change is a step of undo, of the palettes too. Decoded pictures and textures are made on
/// demand, and only the last ones that were asked for are kept. Made with `new`; release() destroys
/// it.
class EMBER_EXPORT EmberSprites : public EmberList<Kiln::Sprites, EmberSprite>,
                                  public Kiln::FileWatchObject
{
    Q_OBJECT

public:
    static constexpr const char *suffix = "gleam";
    /// Bytes of decoded pictures that are kept, and of textures on the card.
    static constexpr qint64 keptBytes = 64 << 20;

    /// `store` is Memory, Disk, or Default for the one that the host's option "cache_type" names.
    /// Files of more than `limit` bytes are not saved.
    explicit EmberSprites(Kiln::StreamCache::Type store = Kiln::StreamCache::Default,
                          quint32 limit = EmberPack::largestFile);

    // The list.
    /// The identifier, and as a tool tip the size.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    void setCurrent(unsigned int index) override;
    EmberPalettes *palettes() const override;
    EmberSprite *at(unsigned int index) const override;
    EmberSprite *
    insert(unsigned int index, const QVariant &identifier, const QImage &image) override;
    EmberSprite *duplicate(unsigned int index) override;
    int indexOf(int from, const QVariant &identifier) const override;
    void cancelChange() override;

    // What sprites and palettes ask of their file.
    /// Shows `image`, which is in one of our formats, in `palette`; without one, in the image's own
    /// colours, for which the file gets a palette unless it has an equal one. An image that is
    /// larger than a file can tell changes nothing.
    void changePicture(EmberSprite &sprite, const QImage &image, EmberPalette *palette);
    void changePalette(EmberSprite &sprite, EmberPalette *palette);
    /// Coordinates are cut to the 16 bits of the file.
    void changeOrigin(EmberSprite &sprite, QPoint origin);
    unsigned int useCount(const Kiln::Palette *palette) const;
    QSet<const Kiln::Palette *> usedPalettes() const;
    /// The picture with its colours.
    QImage decoded(const EmberSprite &sprite) const;
    /// Tells that the sprite's texture is in use, which takes those that are not off the card.
    void noteTexture(const EmberSprite *sprite) const;
    void forgetCopies(const EmberSprite *sprite) const;

    // The file. Both show a message when they fail, but for a
    // device that takes no bytes: the archive knows why, and the host tells. A failed load leaves
    // all as it was; a file that is too large, or of which the store has lost a picture, is not
    // written.
    bool fromFile(Kiln::Archive &archive, const QString &name, bool asCopy) override;
    bool toFile(Kiln::Archive &archive, const QString &name, bool asCopy) override;
    QString fileName() override;
    void reload() override;
    bool canSave() const override;
    bool isModified() const override;
    bool isEmpty() const override;
    void reset() override;
    void release() override;
    void undo() override;
    void redo() override;

protected:
    ~EmberSprites() override;
    const char *fileExtension() const override;

private:
    class OriginCommand;
    class PictureCommand;
    struct Contents;
    struct Copies;

    QString read(QIODevice *device, const QVector<EmberGleam::Entry> &entries, Contents &contents);
    EmberSprite *
    readSprite(const EmberGleam::Entry &entry, const QByteArray &bytes, Contents &contents);
    void takeOver(Contents &contents);
    void pictureChanged(EmberSprite &sprite);

    QString m_fileName;
    EmberHistory m_history;
    std::unique_ptr<EmberPalettes> m_palettes;
    std::unique_ptr<Copies> m_copies;
    const quint32 m_limit;
};
