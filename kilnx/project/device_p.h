#pragma once

#include <QtCore/QBuffer>
#include <QtCore/QIODevice>

namespace Kiln
{

inline bool openForReading(QIODevice *device)
{
    return device && (device->isReadable() || device->open(QIODevice::ReadOnly));
}

inline bool openForWriting(QIODevice *device)
{
    return device && (device->isWritable() || device->open(QIODevice::WriteOnly));
}

/// A view of a device that can be moved back and hands out as much as is asked for: the device
/// itself, or all that a sequential one has at the moment, up to 1 GiB. In the end a sequential
/// device stands behind the last byte that was used, unless its owner has a transaction going on.
class SeekableDevice
{
public:
    explicit SeekableDevice(QIODevice *device)
        : m_device(device)
        , m_isCopy(device->isSequential())
        , m_canGoBack(m_isCopy && !device->isTransactionStarted())
    {
        if (!m_isCopy)
            return;
        if (m_canGoBack)
            m_device->startTransaction();
        for (QByteArray part; m_copy.size() < Most; m_copy.buffer() += part) {
            part = m_device->read(Piece);
            if (part.isEmpty())
                break;
        }
        m_copy.open(QIODevice::ReadOnly);
    }
    ~SeekableDevice()
    {
        if (!m_canGoBack)
            return;
        m_device->rollbackTransaction();
        m_device->skip(m_copy.pos());
    }
    Q_DISABLE_COPY(SeekableDevice)

    QIODevice *get() { return m_isCopy ? &m_copy : m_device; }

private:
    static constexpr int Piece = 0x10000;
    static constexpr int Most = 1 << 30;

    QIODevice *m_device;
    bool m_isCopy;
    bool m_canGoBack;
    QBuffer m_copy;
};

} // namespace Kiln
