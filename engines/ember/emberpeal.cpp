#include "emberpeal.h"

#include <QDataStream>
#include <QIODevice>
#include <QtEndian>

namespace
{

constexpr char magic[] = "PEAL";
constexpr int magicSize = 4;
constexpr quint16 version = 1;
constexpr int recordSize = 32;
constexpr int offsetSize = 4;
constexpr int longestName = 65535;

QDataStream &operator<<(QDataStream &stream, const EmberPeal::Entry &entry)
{
    const QByteArray name = entry.name.toUtf8().left(longestName);
    stream << entry.offset << entry.size << entry.crc << quint32(entry.info.sampleRate)
           << quint32(entry.info.samples) << quint16(entry.info.channels)
           << quint16(entry.info.bits) << entry.coder << quint8(0) << quint16(name.size());
    stream.writeRawData(name.constData(), name.size());
    return stream;
}

QDataStream &operator>>(QDataStream &stream, EmberPeal::Entry &entry)
{
    quint16 nameSize = 0;
    quint8 reserved = 0;
    stream >> entry.offset >> entry.size >> entry.crc >> entry.info.sampleRate >>
        entry.info.samples >> entry.info.channels >> entry.info.bits >> entry.coder >> reserved >>
        nameSize;
    QByteArray name(nameSize, '\0');
    if (stream.readRawData(name.data(), nameSize) != nameSize)
        stream.setStatus(QDataStream::ReadPastEnd);
    entry.name = QString::fromUtf8(name);
    return stream;
}

/// Replaces each sample of `width` bytes by its difference to the one before in its channel, or
/// takes that back. The arithmetic wraps, so nothing is lost.
template<int width>
QByteArray convert(const QByteArray &bytes, int channels, bool encode)
{
    QByteArray result(bytes.size(), Qt::Uninitialized);
    const auto *in = reinterpret_cast<const uchar *>(bytes.constData());
    auto *out = reinterpret_cast<uchar *>(result.data());
    const qint64 step = channels * width;
    for (int channel = 0; channel < channels; ++channel) {
        quint32 before = 0;
        for (qint64 at = channel * width; at < bytes.size(); at += step) {
            quint32 value = 0;
            for (int byte = 0; byte < width; ++byte)
                value |= quint32(in[at + byte]) << (8 * byte);
            const quint32 changed = encode ? value - before : value + before;
            for (int byte = 0; byte < width; ++byte)
                out[at + byte] = static_cast<uchar>(changed >> (8 * byte));
            before = encode ? value : changed;
        }
    }
    return result;
}

/// Empty for a format without such a conversion, and for samples that end within a frame.
QByteArray convert(const QByteArray &bytes, const Kiln::SampleInfo &info, bool encode)
{
    if (info.channels == 0 || info.frameSize() == 0 || bytes.size() % info.frameSize() != 0)
        return QByteArray();
    switch (info.bits) {
    case 8:
        return convert<1>(bytes, info.channels, encode);
    case 16:
        return convert<2>(bytes, info.channels, encode);
    case 24:
        return convert<3>(bytes, info.channels, encode);
    case 32:
        return convert<4>(bytes, info.channels, encode);
    default:
        return QByteArray();
    }
}

} // namespace

QByteArray EmberPeal::head(int count)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.writeRawData(magic, magicSize);
    stream << version << quint16(0) << quint32(count);
    return bytes;
}

QByteArray EmberPeal::index(const QVector<Entry> &entries, quint32 offset)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    for (const Entry &entry : entries)
        stream << entry;
    stream << offset;
    return bytes;
}

bool EmberPeal::readIndex(QIODevice *device, QVector<Entry> &entries)
{
    entries.clear();
    QDataStream stream(device);
    stream.setByteOrder(QDataStream::LittleEndian);
    char found[magicSize] = {};
    quint16 foundVersion = 0;
    quint16 reserved = 0;
    quint32 count = 0;
    stream.readRawData(found, magicSize);
    stream >> foundVersion >> reserved >> count;
    if (qstrncmp(found, magic, magicSize) != 0 || foundVersion != version)
        return false;

    quint32 offset = 0;
    const qint64 end = device->size() - offsetSize;
    if (end < headSize || !device->seek(end))
        return false;
    stream >> offset;
    // No more records are made than the index has room for.
    if (offset < headSize || offset > end || count > (end - offset) / recordSize ||
        !device->seek(offset))
        return false;
    entries.resize(static_cast<int>(count));
    for (Entry &entry : entries)
        stream >> entry;
    return stream.status() == QDataStream::Ok && device->pos() <= end;
}

QByteArray EmberPeal::encode(const QByteArray &samples, const Kiln::SampleInfo &info)
{
    const QByteArray differences = convert(samples, info, true);
    return differences.isEmpty() ? differences : qCompress(differences);
}

QByteArray EmberPeal::decode(const QByteArray &bytes, const Kiln::SampleInfo &info)
{
    // The first four bytes announce the size. zlib cannot do better than one to 1032.
    constexpr int announcementSize = 4;
    constexpr qint64 bestRatio = 1032;
    const qint64 size = sampleBytes(info);
    if (bytes.size() < announcementSize || size > bytes.size() * bestRatio ||
        qFromBigEndian<quint32>(bytes.constData()) != size)
        return QByteArray();
    const QByteArray differences = qUncompress(bytes);
    return differences.size() == size ? convert(differences, info, false) : QByteArray();
}

qint64 EmberPeal::sampleBytes(const Kiln::SampleInfo &info)
{
    return qint64(info.samples) * info.frameSize();
}
