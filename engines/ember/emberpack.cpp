#include "emberpack.h"

#include <kilnx/cache/crc64.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/interface.h>

#include <QCoreApplication>
#include <QIODevice>

namespace
{

constexpr int magicSize = 4;
constexpr quint16 version = 1;
constexpr int offsetSize = 4;
constexpr int longestName = 65535;

} // namespace

void EmberItemData::adopt(const QByteArray &bytes, unsigned char coder, unsigned long long crc)
{
    m_isAdopting = true;
    take(bytes, coder, crc);
    m_isAdopting = false;
}

void EmberItemData::adopt(const EmberItemData &other)
{
    adopt(other.toData(true), other.filter(), other.crc());
    m_hasBytes = other.m_hasBytes; // what is lost there is lost here
}

void EmberItemData::store(const QByteArray &bytes, unsigned char coder)
{
    const auto crc = crc64(bytes.constData(), static_cast<unsigned int>(bytes.size()));
    take(bytes, coder, crc);
}

/// Nothing is no item, so that it is saved alike wherever it came from.
void EmberItemData::take(const QByteArray &bytes, unsigned char coder, unsigned long long crc)
{
    m_hasBytes = !bytes.isEmpty();
    if (m_hasBytes)
        fromData(bytes, coder, this, crc);
    else
        reset();
}

QByteArray EmberPack::head(const char *magic, int count)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.writeRawData(magic, magicSize);
    stream << version << quint16(0) << quint32(count);
    return bytes;
}

QByteArray EmberPack::nameBytes(const QString &name)
{
    return name.toUtf8().left(longestName);
}

bool EmberPack::readName(QDataStream &stream, int size, QString &name)
{
    QByteArray bytes(size, '\0');
    if (stream.readRawData(bytes.data(), size) != size)
        return false;
    name = QString::fromUtf8(bytes);
    return true;
}

bool EmberPack::hasMagic(QIODevice *device, const char *magic)
{
    return device->seek(0) && device->read(magicSize) == QByteArray(magic, magicSize);
}

bool EmberPack::findIndex(QIODevice *device, const char *magic, quint32 &count, qint64 &end)
{
    QDataStream stream(device);
    stream.setByteOrder(QDataStream::LittleEndian);
    char found[magicSize] = {};
    quint16 foundVersion = 0;
    quint16 reserved = 0;
    stream.readRawData(found, magicSize);
    stream >> foundVersion >> reserved >> count;
    if (qstrncmp(found, magic, magicSize) != 0 || foundVersion != version)
        return false;
    quint32 offset = 0;
    end = device->size() - offsetSize;
    if (end < headSize || !device->seek(end))
        return false;
    stream >> offset;
    // No more records are made than the index has room for.
    return offset >= headSize && offset <= end && count <= (end - offset) / recordSize &&
           device->seek(offset);
}

bool EmberPack::readBytes(QIODevice *device,
                          quint32 offset,
                          quint32 size,
                          qint64 &end,
                          QByteArray &bytes)
{
    const qint64 itemEnd = qint64(offset) + size;
    if (offset < end || itemEnd > device->size() || !device->seek(offset))
        return true;
    bytes = device->read(size);
    end = itemEnd;
    return bytes.size() == qint64(size);
}

void EmberPack::showFailure(const QString &text)
{
    Kiln::Interface *host = Kiln::Interface::instance();
    Kiln::showCritical(host ? host->mainWindow() : nullptr,
                       QCoreApplication::translate("EmberPack", "Error!"), text);
}
