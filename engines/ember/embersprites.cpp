#include "embersprites.h"

#include <kilnx/code/messages.h>

#include <QtEndian>

#include <cstring>
#include <limits>

namespace
{

constexpr int paletteBytes = 256 * sizeof(Kiln::RGBA);

QByteArray bytesOf(const Kiln::RGBA *colors)
{
    return QByteArray(reinterpret_cast<const char *>(colors), paletteBytes);
}

} // namespace

/// What a file holds, while it is read. What is not taken over ends with it.
struct EmberSprites::Contents {
    QList<EmberPalette *> palettes;
    QList<EmberSprite *> sprites;
    QVector<EmberStandIns::Pair> standIns;
    QList<QPair<int, QString>> faults; ///< row of a sprite and what is wrong there

    ~Contents()
    {
        qDeleteAll(sprites);
        qDeleteAll(palettes);
    }
    EmberPalette *palette(qint32 row) const { return palettes.value(row); }
    void tell(int row, const QString &fault) { faults.append(qMakePair(row, fault)); }
};

/// The copies of pictures that are kept: decoded ones, and those on the card. The one that was
/// asked for last stands first.
struct EmberSprites::Copies {
    struct Copy {
        const EmberSprite *sprite;
        qint64 bytes;
        QImage image;
        const EmberPalette *palette;
        unsigned int stamp;
    };
    using List = std::list<Copy>;

    /// Finds the copy and puts it first.
    static Copy *
    find(List &list, QHash<const EmberSprite *, List::iterator> &places, const EmberSprite *sprite)
    {
        const auto place = places.constFind(sprite);
        if (place == places.constEnd())
            return nullptr;
        list.splice(list.begin(), list, *place);
        return &list.front();
    }
    /// Takes the last ones out until the rest fits, but never the first.
    template<class Drop>
    static void bound(List &list, qint64 &bytes, Drop &&drop)
    {
        while (bytes > keptBytes && list.size() > 1) {
            const Copy last = list.back();
            bytes -= last.bytes;
            list.pop_back();
            drop(last.sprite);
        }
    }

    List images;
    QHash<const EmberSprite *, List::iterator> imagePlaces;
    qint64 imageBytes = 0;
    List textures;
    QHash<const EmberSprite *, List::iterator> texturePlaces;
    qint64 textureBytes = 0;
};

/// Exchanges the handles and the palettes, so that the old bytes wait in the store. Without a
/// handle, the palettes alone.
class EmberSprites::PictureCommand : public QUndoCommand
{
public:
    PictureCommand(EmberSprites &list,
                   EmberSprite &sprite,
                   EmberPictureData *data,
                   EmberPalette *palette)
        : m_list(list)
        , m_sprite(sprite)
        , m_data(data)
        , m_palette(palette)
    {
    }
    ~PictureCommand() override
    {
        if (m_data)
            m_data->release();
    }
    void redo() override
    {
        std::swap(m_sprite.m_palette, m_palette);
        if (m_data) {
            std::swap(m_sprite.m_data, m_data);
            m_list.forgetCopies(&m_sprite);
        }
        m_list.pictureChanged(m_sprite);
    }
    void undo() override { redo(); }

private:
    EmberSprites &m_list;
    EmberSprite &m_sprite;
    Kiln::StreamCacheData *m_data;
    EmberPalette *m_palette;
};

class EmberSprites::OriginCommand : public QUndoCommand
{
public:
    OriginCommand(EmberSprites &list, EmberSprite &sprite, QPoint origin)
        : m_list(list)
        , m_sprite(sprite)
        , m_origin(origin)
    {
    }
    void redo() override
    {
        std::swap(m_sprite.m_origin, m_origin);
        m_list.pictureChanged(m_sprite);
    }
    void undo() override { redo(); }

private:
    EmberSprites &m_list;
    EmberSprite &m_sprite;
    QPoint m_origin;
};

EmberSprites::EmberSprites(Kiln::StreamCache::Type store, quint32 limit)
    : EmberList(m_history, Kiln::StreamCache::instance(store))
    , m_palettes(std::make_unique<EmberPalettes>(*this, m_history))
    , m_copies(std::make_unique<Copies>())
    , m_limit(limit)
{
    connect(cache(), &Kiln::StreamCache::readFilter, this,
            [](unsigned char filter, void *data, const QByteArray &in, QByteArray &out) {
                out = EmberGleam::decode(in, static_cast<EmberPictureData *>(data)->info, filter);
            });
    connect(cache(), &Kiln::StreamCache::writeFilter, this,
            [](unsigned char filter, void *data, const QByteArray &in, QByteArray &out) {
                const auto *picture = static_cast<const EmberPictureData *>(data);
                if (!picture->isAdopting())
                    out = EmberGleam::encode(in, picture->info, filter);
            });
    connect(&m_history, &QUndoStack::cleanChanged, this, [this](bool clean) {
        emit changed(!clean);
        emit m_palettes->changed(!clean);
    });
}

EmberSprites::~EmberSprites()
{
    m_history.disconnect(this);
    // Commands refer to sprites and palettes, sprites to the copies and the store, which ends last.
    m_history.forget();
    const QSignalBlocker quiet(this);
    replaceItems({});
}

QVariant EmberSprites::data(const QModelIndex &index, int role) const
{
    const EmberSprite *sprite = items().value(index.isValid() ? index.row() : -1);
    if (!sprite)
        return QVariant();
    if (role == Qt::DisplayRole)
        return sprite->identifier();
    const Kiln::ImageInfo info = sprite->imageInfo();
    return role == Qt::ToolTipRole ? tr("%1 by %2").arg(info.width).arg(info.height) : QVariant();
}

void EmberSprites::setCurrent(unsigned int index)
{
    m_current = index;
}

EmberPalettes *EmberSprites::palettes() const
{
    return m_palettes.get();
}

EmberSprite *EmberSprites::at(unsigned int index) const
{
    return item(index);
}

EmberSprite *
EmberSprites::insert(unsigned int index, const QVariant &identifier, const QImage &image)
{
    auto *sprite = new EmberSprite(*this, identifier.toString(), new EmberPictureData(cache()));
    beginChange();
    insertItem(index, sprite);
    if (!image.isNull())
        sprite->setImage(image, false, Kiln::Sprite::ImagePalette, nullptr);
    endChange();
    return sprite;
}

EmberSprite *EmberSprites::duplicate(unsigned int index)
{
    const EmberSprite *sprite = at(index);
    if (!sprite)
        return nullptr;
    auto *data = static_cast<EmberPictureData *>(sprite->pictureData()->copyTo(cache()));
    auto *copy = new EmberSprite(*this, sprite->identifier(), data);
    copy->m_palette = sprite->m_palette;
    copy->m_origin = sprite->m_origin;
    insertItem(index + 1, copy);
    return copy;
}

int EmberSprites::indexOf(int from, const QVariant &identifier) const
{
    return rowNamed(from, identifier.toString());
}

void EmberSprites::cancelChange()
{
    m_history.cancelGroup();
}

void EmberSprites::changePicture(EmberSprite &sprite, const QImage &image, EmberPalette *palette)
{
    constexpr int largestSide = 0xFFFF;
    const qint64 bytes = qint64(image.width()) * image.height() * image.depth() / 8;
    if (image.width() > largestSide || image.height() > largestSide ||
        bytes > EmberGleam::largestPicture) {
        return;
    }
    beginChange();
    if (image.format() != QImage::Format_Indexed8) {
        palette = nullptr;
    } else if (!palette) {
        Kiln::RGBA colors[256];
        std::fill_n(colors, 256, Kiln::RGBA{0, 0, 0, 255});
        const QVector<QRgb> table = image.colorTable();
        std::transform(table.cbegin(), table.cbegin() + qMin(table.size(), 256), colors,
                       Kiln::fromQRgb);
        const int row = m_palettes->find(0, colors);
        palette = row < 0 ? m_palettes->add(colors, sprite.identifier(), false)
                          : m_palettes->at(static_cast<unsigned int>(row));
    }
    auto *data = new EmberPictureData(cache());
    data->setPicture(image);
    m_history.add(new PictureCommand(*this, sprite, data, palette));
    endChange();
}

void EmberSprites::changePalette(EmberSprite &sprite, EmberPalette *palette)
{
    if (sprite.m_palette == palette || sprite.pictureData()->info.format != QImage::Format_Indexed8)
        return;
    m_history.add(new PictureCommand(*this, sprite, nullptr, palette));
}

void EmberSprites::changeOrigin(EmberSprite &sprite, QPoint origin)
{
    const auto kept = [](int value) {
        return qBound(int(std::numeric_limits<qint16>::min()), value,
                      int(std::numeric_limits<qint16>::max()));
    };
    const QPoint wanted(kept(origin.x()), kept(origin.y()));
    if (wanted != sprite.m_origin)
        m_history.add(new OriginCommand(*this, sprite, wanted));
}

unsigned int EmberSprites::useCount(const Kiln::Palette *palette) const
{
    return static_cast<unsigned int>(
        std::count_if(items().cbegin(), items().cend(), [palette](const EmberSprite *sprite) {
            return sprite->m_palette == palette;
        }));
}

QSet<const Kiln::Palette *> EmberSprites::usedPalettes() const
{
    QSet<const Kiln::Palette *> used;
    for (const EmberSprite *sprite : items())
        used.insert(sprite->m_palette);
    return used;
}

QImage EmberSprites::decoded(const EmberSprite &sprite) const
{
    const EmberPalette *palette = sprite.m_palette;
    Copies::Copy *copy = Copies::find(m_copies->images, m_copies->imagePlaces, &sprite);
    if (!copy) {
        const QImage image = sprite.m_isBroken ? QImage() : sprite.pictureData()->picture();
        sprite.m_isBroken = image.isNull();
        if (sprite.m_isBroken)
            return image;
        m_copies->images.push_front({&sprite, image.sizeInBytes(), image, nullptr, 0});
        m_copies->imagePlaces.insert(&sprite, m_copies->images.begin());
        m_copies->imageBytes += image.sizeInBytes();
        copy = &m_copies->images.front();
    }
    const unsigned int stamp = palette ? palette->stamp() : 0;
    if (copy->palette != palette || copy->stamp != stamp) {
        copy->palette = palette;
        copy->stamp = stamp;
        copy->image.setColorTable(palette ? palette->colorTable() : QVector<QRgb>());
    }
    const QImage image = copy->image;
    Copies::bound(m_copies->images, m_copies->imageBytes,
                  [this](const EmberSprite *last) { m_copies->imagePlaces.remove(last); });
    return image;
}

void EmberSprites::noteTexture(const EmberSprite *sprite) const
{
    if (Copies::find(m_copies->textures, m_copies->texturePlaces, sprite))
        return;
    const qint64 bytes = EmberGleam::pixelBytes(sprite->pictureData()->info);
    m_copies->textures.push_front({sprite, bytes, QImage(), nullptr, 0});
    m_copies->texturePlaces.insert(sprite, m_copies->textures.begin());
    m_copies->textureBytes += bytes;
    Copies::bound(m_copies->textures, m_copies->textureBytes, [this](const EmberSprite *last) {
        m_copies->texturePlaces.remove(last);
        last->m_texture.reset();
    });
}

void EmberSprites::forgetCopies(const EmberSprite *sprite) const
{
    const auto forget = [sprite](Copies::List &list, auto &places, qint64 &bytes) {
        const auto place = places.find(sprite);
        if (place == places.end())
            return;
        bytes -= (*place)->bytes;
        list.erase(*place);
        places.erase(place);
    };
    forget(m_copies->images, m_copies->imagePlaces, m_copies->imageBytes);
    forget(m_copies->textures, m_copies->texturePlaces, m_copies->textureBytes);
    sprite->m_texture.reset();
    sprite->m_isRefused = false;
    sprite->m_isBroken = false;
}

bool EmberSprites::fromFile(Kiln::Archive &archive, const QString &name, bool asCopy)
{
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device) {
        EmberPack::showFailure(tr("Can't open the sprites '%1'!").arg(name));
        return false;
    }
    QVector<EmberGleam::Entry> entries;
    Contents contents;
    const QString failure = EmberPack::readIndex(device, EmberGleam::magic, entries)
                                ? read(device, entries, contents)
                            : EmberPack::hasMagic(device, EmberGleam::magic)
                                ? tr("The sprite file '%1' is damaged: the index at its end is "
                                     "cut off or broken!")
                                : tr("'%1' is no sprite file of Ember!");
    archive.closeFile(device);
    if (!failure.isEmpty()) {
        EmberPack::showFailure(failure.arg(name));
        return false;
    }
    takeOver(contents);
    FileWatchObject::fromFile(archive, name, asCopy);
    Sprites::fromFile(archive, name, asCopy);
    if (asCopy)
        m_history.resetClean();
    else
        m_fileName = name;
    return true;
}

/// Takes the bytes over as they are. Returns what went wrong with the file '%1', or nothing.
QString
EmberSprites::read(QIODevice *device, const QVector<EmberGleam::Entry> &entries, Contents &contents)
{
    qint64 end = EmberPack::headSize;
    for (const EmberGleam::Entry &entry : entries) {
        QByteArray bytes;
        if (!EmberPack::readBytes(device, entry.offset, entry.size, end, bytes))
            return tr("Can't read the sprites '%1'!");
        if (entry.kind == EmberGleam::Picture) {
            const EmberSprite *sprite = readSprite(entry, bytes, contents);
            if (sprite->pictureData()->hasBytes() && sprite->pictureData()->isEmpty())
                return tr("The temporary disk has no room for the sprites '%1'!");
        } else if (entry.kind == EmberGleam::Colors) {
            Kiln::RGBA colors[256] = {};
            if (bytes.size() == paletteBytes)
                std::memcpy(colors, bytes.constData(), paletteBytes);
            else
                contents.tell(0, tr("The palette '%1' is not whole").arg(entry.name));
            contents.palettes.append(new EmberPalette(*m_palettes, entry.name, colors));
        } else if (entry.kind == EmberGleam::StandIns) {
            for (int at = 0; at + 8 <= bytes.size(); at += 8) {
                EmberPalette *from =
                    contents.palette(qFromLittleEndian<qint32>(bytes.constData() + at));
                EmberPalette *to =
                    contents.palette(qFromLittleEndian<qint32>(bytes.constData() + at + 4));
                if (from && to)
                    contents.standIns.append(EmberStandIns::Pair{from, to});
            }
        }
    }
    return QString();
}

EmberSprite *EmberSprites::readSprite(const EmberGleam::Entry &entry,
                                      const QByteArray &bytes,
                                      Contents &contents)
{
    const int row = contents.sprites.size();
    if (bytes.isEmpty() && entry.size > 0)
        contents.tell(row, tr("The sprite '%1' lies outside of the file").arg(entry.name));
    auto *data = new EmberPictureData(cache());
    auto *sprite = new EmberSprite(*this, entry.name, data);
    contents.sprites.append(sprite);
    data->info = entry.info;
    sprite->m_origin = QPoint(entry.info.originX, entry.info.originY);
    data->adopt(bytes, entry.coder, entry.crc);
    if (entry.info.format == QImage::Format_Indexed8) {
        sprite->m_palette = contents.palette(entry.info.palette);
        if (!sprite->m_palette)
            contents.tell(row, tr("The sprite '%1' has no palette").arg(entry.name));
    }
    return sprite;
}

void EmberSprites::takeOver(Contents &contents)
{
    m_history.forget();
    // Sprites refer to palettes, so they go first and come last.
    replaceItems({});
    m_palettes->remapModel()->replacePairs({});
    m_palettes->replaceItems(std::exchange(contents.palettes, {}));
    m_palettes->remapModel()->replacePairs(contents.standIns);
    replaceItems(std::exchange(contents.sprites, {}));
    itemMessages().beginChange();
    itemMessages().clear();
    for (const auto &fault : qAsConst(contents.faults))
        itemMessages().add(Kiln::Message::Error, fault.second,
                           static_cast<unsigned int>(fault.first), 0);
    itemMessages().endChange();
}

bool EmberSprites::toFile(Kiln::Archive &archive, const QString &name, bool asCopy)
{
    using Writer = EmberPack::Writer<EmberGleam::PictureInfo>;
    Writer writer;
    EmberGleam::Entry entry;
    entry.kind = EmberGleam::Colors;
    QHash<const Kiln::Palette *, int> rows;
    for (unsigned int row = 0; row < m_palettes->count(); ++row) {
        const EmberPalette *palette = m_palettes->at(row);
        rows.insert(palette, static_cast<int>(row));
        entry.name = palette->identifier();
        writer.add(entry, nullptr, bytesOf(palette->colors()));
    }
    QByteArray standIns;
    QDataStream stream(&standIns, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    for (const EmberStandIns::Pair &pair : m_palettes->remapModel()->pairs())
        stream << qint32(rows.value(pair.from)) << qint32(rows.value(pair.to));
    if (!standIns.isEmpty()) {
        entry.kind = EmberGleam::StandIns;
        entry.name.clear();
        writer.add(entry, nullptr, standIns);
    }
    entry.kind = EmberGleam::Picture;
    for (const EmberSprite *sprite : items()) {
        entry.info = sprite->pictureData()->info;
        entry.info.palette = rows.value(sprite->m_palette, -1);
        entry.info.originX = static_cast<qint16>(sprite->m_origin.x());
        entry.info.originY = static_cast<qint16>(sprite->m_origin.y());
        entry.name = sprite->identifier();
        writer.add(entry, sprite->pictureData());
    }
    QString lost;
    // Writing closes the file, and the watch is to know that for the list's own.
    FileWatchObject::toFile(archive, name, asCopy);
    const Writer::Fault fault = writer.write(archive, name, EmberGleam::magic, m_limit, lost);
    if (fault != Writer::None) {
        const QString texts[] = {
            tr("Can't save the sprites '%1': the temporary disk has lost '%2'!").arg(name, lost),
            tr("The sprites are too large for the file '%1'!").arg(name)};
        if (fault != Writer::Device) // the archive knows why
            EmberPack::showFailure(texts[fault - Writer::Lost]);
        return false;
    }
    Sprites::toFile(archive, name, asCopy);
    if (!asCopy) {
        m_fileName = name;
        m_history.setClean();
    }
    return true;
}

QString EmberSprites::fileName()
{
    return m_fileName;
}

void EmberSprites::reload()
{
    // What is here is all there is now, and is in no file.
    if (!fromFile(archive(), fileName(), false))
        m_history.resetClean();
}

bool EmberSprites::canSave() const
{
    return true;
}

bool EmberSprites::isModified() const
{
    return !m_history.isClean();
}

bool EmberSprites::isEmpty() const
{
    return items().isEmpty() && m_palettes->count() == 0;
}

void EmberSprites::reset()
{
    Contents nothing;
    takeOver(nothing);
    m_fileName.clear();
}

void EmberSprites::release()
{
    delete this;
}

void EmberSprites::undo()
{
    m_history.undo();
}

void EmberSprites::redo()
{
    m_history.redo();
}

const char *EmberSprites::fileExtension() const
{
    return suffix;
}

void EmberSprites::pictureChanged(EmberSprite &sprite)
{
    rowChanged(&sprite);
}
