#pragma once

#include "export.h"

#include <kilnx/cache/streamcachedata.h>
#include <kilnx/project/archive.h>

#include <QDataStream>
#include <QString>
#include <QVector>

/// The handle on the bytes of an item of a sound or sprite file, which lie in the store as they lie
/// in the file.
struct EMBER_EXPORT EmberItemData : Kiln::StreamCacheData {
    using StreamCacheData::StreamCacheData;

    /// Takes bytes that `coder` has encoded already, with the checksum of what they decode to or 0.
    void adopt(const QByteArray &bytes, unsigned char coder, unsigned long long crc);
    /// The same bytes, also those that cannot be decoded, and those that are lost.
    void adopt(const EmberItemData &other);
    /// While it adopts, there is nothing to encode.
    bool isAdopting() const { return m_isAdopting; }
    /// Whether it was given any bytes. If so and the store gives none back, they are lost, as on a
    /// full disk.
    bool hasBytes() const { return m_hasBytes; }

protected:
    /// Takes decoded bytes, for `coder` to encode.
    void store(const QByteArray &bytes, unsigned char coder);

private:
    void take(const QByteArray &bytes, unsigned char coder, unsigned long long crc);

    bool m_isAdopting = false;
    bool m_hasBytes = false;
};

/// The layout that Ember's files of binary items share. All numbers are little-endian.
///
///     magic (4 bytes)  version (16 bits, 1)  0 (16 bits)  number of items (32 bits)
///     the items' bytes, one after the other
///     the index: a record for each item, and the UTF-8 bytes of its name behind it
///     offset of the index (32 bits)
///
/// A record has 32 bytes: offset and size of the item's bytes (32 bits each), crc64 of what they
/// decode to (64), 12 bytes that the kind of file defines, coder, kind (8 each), number of bytes of
/// the name (16).
namespace EmberPack
{

constexpr int headSize = 12;
constexpr int recordSize = 32;
/// The file counts its bytes in 32 bits.
constexpr quint32 largestFile = 0xFFFFFFFF;

/// `Info` is what the 12 bytes hold; Fields<Info> reads and writes them.
template<class Info>
struct Entry {
    quint32 offset = 0;
    quint32 size = 0;
    quint64 crc = 0;
    Info info;
    quint8 coder = 0;
    quint8 kind = 0;
    QString name;
};

template<class Info>
struct Fields;

EMBER_EXPORT QByteArray head(const char *magic, int count);
/// The UTF-8 bytes of a name, cut to the 65535 that a record can tell.
EMBER_EXPORT QByteArray nameBytes(const QString &name);
EMBER_EXPORT bool readName(QDataStream &stream, int size, QString &name);
/// Moves to the index and finds the number of its records. False when the file is none with that
/// magic, or its index has no room for them. `end` is where the index ends.
EMBER_EXPORT bool findIndex(QIODevice *device, const char *magic, quint32 &count, qint64 &end);
/// Whether the file begins as one with that magic, for the message on one that cannot be read.
EMBER_EXPORT bool hasMagic(QIODevice *device, const char *magic);
/// Reads the bytes of an item that begins at `end` or later, and moves `end` behind it: records
/// name their items in the order of the file, without overlap, so what is read is never more than
/// the file has. Empty bytes for an item that lies elsewhere; false if the device fails.
EMBER_EXPORT bool
readBytes(QIODevice *device, quint32 offset, quint32 size, qint64 &end, QByteArray &bytes);
/// A message box with the title "Error!".
EMBER_EXPORT void showFailure(const QString &text);

/// The index, with the offset of itself that ends the file.
template<class Info>
QByteArray index(const QVector<Entry<Info>> &entries, quint32 offset)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    for (const Entry<Info> &entry : entries) {
        const QByteArray name = nameBytes(entry.name);
        stream << entry.offset << entry.size << entry.crc;
        Fields<Info>::write(stream, entry.info);
        stream << entry.coder << entry.kind << quint16(name.size());
        stream.writeRawData(name.constData(), name.size());
    }
    stream << offset;
    return bytes;
}

/// Reads the index of a device that can seek. False when the file is none of this kind, or its
/// index is not whole; the items that it names can still lie outside of the file.
template<class Info>
bool readIndex(QIODevice *device, const char *magic, QVector<Entry<Info>> &entries)
{
    entries.clear();
    quint32 count = 0;
    qint64 end = 0;
    if (!findIndex(device, magic, count, end))
        return false;
    QDataStream stream(device);
    stream.setByteOrder(QDataStream::LittleEndian);
    entries.resize(static_cast<int>(count));
    for (Entry<Info> &entry : entries) {
        quint16 nameSize = 0;
        stream >> entry.offset >> entry.size >> entry.crc;
        Fields<Info>::read(stream, entry.info);
        stream >> entry.coder >> entry.kind >> nameSize;
        if (!readName(stream, nameSize, entry.name))
            return false;
    }
    return stream.status() == QDataStream::Ok && device->pos() <= end;
}

/// A file that is about to be written. Nothing is opened until it is clear that all items are
/// there and fit: closing a half-written file would replace the old one.
template<class Info>
class Writer
{
public:
    enum Fault { None, Lost, TooLarge, Device };

    /// Adds an item whose bytes are those of `data`, or `bytes` without it. `data` must last.
    void add(Entry<Info> entry, const EmberItemData *data, const QByteArray &bytes = QByteArray())
    {
        if (data) {
            entry.crc = data->crc();
            entry.coder = data->filter();
        }
        m_entries.append(entry);
        m_items.append({data, bytes});
    }

    /// After Lost, `lost` is the name of the item whose bytes the store has not any more.
    Fault write(Kiln::Archive &archive,
                const QString &name,
                const char *magic,
                quint32 limit,
                QString &lost)
    {
        qint64 end = headSize;
        for (int i = 0; i < m_items.size(); ++i) {
            const int size = m_items[i].get().size();
            lost = m_entries[i].name;
            if (size == 0 && m_items[i].data && m_items[i].data->hasBytes())
                return Lost;
            m_entries[i].offset = static_cast<quint32>(end);
            m_entries[i].size = static_cast<quint32>(size);
            end += size;
            if (end > limit)
                return TooLarge;
        }
        QIODevice *device = archive.openFile(name, QIODevice::WriteOnly);
        const bool isWritten = device && writeTo(device, magic, static_cast<quint32>(end));
        return archive.closeWritten(device) && isWritten ? None : Device;
    }

private:
    struct Item {
        const EmberItemData *data;
        QByteArray bytes;

        QByteArray get() const { return data ? data->toData(true) : bytes; }
    };

    bool writeTo(QIODevice *device, const char *magic, quint32 end) const
    {
        const auto put = [device](const QByteArray &bytes) {
            return device->write(bytes) == bytes.size();
        };
        bool ok = put(head(magic, m_entries.size()));
        for (int i = 0; ok && i < m_items.size(); ++i) {
            const QByteArray bytes = m_items[i].get();
            ok = quint32(bytes.size()) == m_entries[i].size && put(bytes);
        }
        return ok && put(index(m_entries, end));
    }

    QVector<Entry<Info>> m_entries;
    QVector<Item> m_items;
};

} // namespace EmberPack
