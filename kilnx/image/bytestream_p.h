#pragma once

#include <kilnx/project/device_p.h>

#include <QtCore/QByteArray>

namespace Kiln
{

/// Reads a device byte by byte out of blocks, and leaves it behind the last byte that was used.
/// Past the end every byte is 0 and ok() turns false.
class ByteReader
{
public:
    explicit ByteReader(QIODevice *device)
        : m_device(device)
    {
        m_block.resize(BlockSize);
    }
    ~ByteReader() { sync(); }
    Q_DISABLE_COPY(ByteReader)

    quint8 next()
    {
        if (m_pos < m_end || fill())
            return *m_pos++;
        m_ok = false;
        return 0;
    }
    bool atEnd() { return m_pos == m_end && !fill(); }
    bool ok() const { return m_ok; }

    /// The bytes of the current block that are not used yet; empty only at the end.
    const uchar *begin() { return atEnd() ? m_end : m_pos; }
    const uchar *end() const { return m_end; }
    /// Goes on at `pos`, which lies between begin() and end().
    void setPos(const uchar *pos) { m_pos = pos; }

    /// Moves the device behind the last byte that was used.
    void sync()
    {
        if (m_begin)
            m_device->skip(m_pos - m_begin);
        m_begin = m_pos = m_end = nullptr;
    }

private:
    static constexpr int BlockSize = 0x10000;

    bool fill()
    {
        sync();
        const qint64 got = m_device->peek(m_block.data(), BlockSize);
        if (got <= 0)
            return false;
        m_begin = m_pos = reinterpret_cast<const uchar *>(m_block.constData());
        m_end = m_begin + got;
        return true;
    }

    QIODevice *m_device;
    QByteArray m_block;
    const uchar *m_begin = nullptr;
    const uchar *m_pos = nullptr;
    const uchar *m_end = nullptr;
    bool m_ok = true;
};

/// Writes bytes to a device in blocks. Nothing is sure to be written before finish().
class ByteWriter
{
public:
    explicit ByteWriter(QIODevice *device)
        : m_device(device)
    {
        m_block.reserve(BlockSize);
    }
    Q_DISABLE_COPY(ByteWriter)

    void put(quint8 byte)
    {
        if (m_block.size() == BlockSize)
            flush();
        m_block.append(static_cast<char>(byte));
    }
    void put(const uchar *bytes, int count)
    {
        for (int i = 0; i < count; ++i)
            put(bytes[i]);
    }
    /// Whether the device took every byte.
    bool finish()
    {
        flush();
        return m_ok;
    }

private:
    static constexpr int BlockSize = 0x10000;

    void flush()
    {
        m_ok = m_ok && m_device->write(m_block) == m_block.size();
        m_block.resize(0);
    }

    QIODevice *m_device;
    QByteArray m_block;
    bool m_ok = true;
};

/// Reads `size` bytes, also from a device that hands them out piece by piece. False if it has
/// fewer; the rest of `bytes` stays as it was.
inline bool readFully(QIODevice *device, uchar *bytes, qint64 size)
{
    for (qint64 got = 0; size > 0; bytes += got, size -= got) {
        got = device->read(reinterpret_cast<char *>(bytes), size);
        if (got <= 0)
            return false;
    }
    return true;
}

/// Whether a picture of `bytes` may be made for what is left of `device`. Small ones always;
/// larger ones only if the data can fill them, `growth` being the most that the format makes of a
/// byte. This bounds the memory that a hostile header can ask for.
inline bool pictureFits(qint64 bytes, QIODevice *device, qint64 growth)
{
    constexpr qint64 alwaysFits = 16 << 20;
    return bytes <= alwaysFits || bytes / growth <= device->bytesAvailable();
}

} // namespace Kiln
