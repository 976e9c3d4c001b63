#include <hostkit/bytesarchive.h>

#include <QBuffer>

namespace HostKit
{

namespace
{
class Device : public QBuffer
{
protected:
    qint64 writeData(const char *data, qint64 size) override
    {
        return pos() + size <= BytesArchive::mostBytes ? QBuffer::writeData(data, size) : -1;
    }
};
} // namespace

QStringList BytesArchive::entries(const QString &, QDir::Filters, QDir::SortFlags) const
{
    return {};
}

QList<QFileInfo> BytesArchive::infoEntries(const QString &, QDir::Filters, QDir::SortFlags) const
{
    return {};
}

QIODevice *BytesArchive::openFile(const QString &, QIODevice::OpenMode mode)
{
    auto *device = new Device;
    if (!(mode & QIODevice::WriteOnly))
        device->setData(bytes);
    device->open(mode);
    return device;
}

void BytesArchive::closeFile(QIODevice *device)
{
    if (device && device->isWritable())
        bytes = static_cast<QBuffer *>(device)->data();
    delete device;
}

} // namespace HostKit
