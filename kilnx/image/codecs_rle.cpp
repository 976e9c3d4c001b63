#include <kilnx/image/codecs.h>

#include <kilnx/image/bytestream_p.h>
#include <kilnx/image/codecs_p.h>

#include <algorithm>
#include <cstring>

namespace Kiln
{

namespace
{

constexpr uchar MarkBits = 0xC0;
constexpr uchar RunMark = 0x40;
constexpr int MaxRun = 63;

/// Where decoded bytes go: row after row, over the padding at their ends, up to the last byte of
/// the picture.
class RowWriter
{
public:
    /// A `rowBytes` of 0 stands for one endless row.
    RowWriter(QImage &image, int rowBytes, int padding)
        : m_pos(image.bits())
        , m_left(image.sizeInBytes())
        , m_rowBytes(rowBytes)
        , m_padding(padding)
        , m_rowLeft(rowBytes)
    {
    }

    bool isFull() const { return m_left <= 0; }

    void run(uchar value, int count)
    {
        while (count > 0 && !isFull()) {
            const int part = static_cast<int>(std::min<qint64>(count, room()));
            std::memset(m_pos, value, static_cast<size_t>(part));
            count -= part;
            advance(part);
        }
    }

    /// Copies bytes up to the end of the row, of the bytes, or to the first mark of a run.
    /// Returns where it stopped.
    const uchar *singles(const uchar *pos, const uchar *end)
    {
        const qint64 length = std::min<qint64>(end - pos, room());
        uchar *target = m_pos;
        qint64 n = 0;
        for (; n < length && (pos[n] & MarkBits) != RunMark; ++n)
            target[n] = pos[n];
        advance(n);
        return pos + n;
    }

private:
    qint64 room() const { return m_rowBytes == 0 ? m_left : std::min<qint64>(m_left, m_rowLeft); }

    void advance(qint64 count)
    {
        m_left -= count;
        m_pos += count;
        if (m_rowBytes == 0)
            return;
        m_rowLeft -= static_cast<int>(count);
        if (m_rowLeft == 0) {
            m_rowLeft = m_rowBytes;
            const qint64 skipped = std::min<qint64>(m_left, m_padding);
            m_left -= skipped;
            m_pos += skipped;
        }
    }

    uchar *m_pos;
    qint64 m_left;
    int m_rowBytes;
    int m_padding;
    int m_rowLeft;
};

} // namespace

const uchar *packedRows(const QImage &image, int rowBytes, std::vector<uchar> &buffer)
{
    if (rowBytes >= image.bytesPerLine())
        return image.constBits();
    buffer.resize(static_cast<size_t>(rowBytes) * static_cast<size_t>(image.height()));
    for (int y = 0; y < image.height(); ++y)
        std::copy_n(image.constScanLine(y), rowBytes, buffer.data() + qptrdiff(y) * rowBytes);
    return buffer.data();
}

bool loadRLE8(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    const int rowBytes = image.width() * packedPixelSize(image.format());
    // The padding is a byte of its own in this format.
    RowWriter out(image, rowBytes, static_cast<quint8>(image.bytesPerLine() - rowBytes));
    ByteReader in(device);
    while (!out.isFull() && !in.atEnd()) {
        const uchar *pos = in.begin();
        if ((*pos & MarkBits) == RunMark) {
            const int count = in.next() & MaxRun;
            out.run(in.next(), count);
        } else {
            in.setPos(out.singles(pos, in.end()));
        }
    }
    return in.ok();
}

bool saveRLE8(const QImage &image, QIODevice *device)
{
    if (!openForWriting(device))
        return false;
    const int rowBytes = image.width() * (image.depth() / 8);
    std::vector<uchar> buffer;
    const uchar *bytes = packedRows(image, rowBytes, buffer);
    const qint64 size = qint64(rowBytes) * image.height();
    ByteWriter out(device);
    for (qint64 i = 0; i < size;) {
        const uchar value = bytes[i];
        int run = 1;
        while (run < MaxRun && i + run < size && bytes[i + run] == value)
            ++run;
        if (run > 1 || (value & MarkBits) == RunMark)
            out.put(static_cast<quint8>(RunMark | run));
        out.put(value);
        i += run;
    }
    return out.finish();
}

bool loadRLE5(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    RowWriter out(image, image.width(), std::max(image.bytesPerLine() - image.width(), 0));
    ByteReader in(device);
    while (!out.isFull() && !in.atEnd()) {
        const int length = in.next() + 1;
        const uchar head = in.next();
        const uchar color = (head & 0x80) ? in.next() & 0x1F : 0;
        out.run(color, length);
        for (int extra = head & 0x1F; extra > 0; --extra) {
            const uchar run = in.next();
            out.run(run & 0x1F, (run >> 5) + 1);
        }
    }
    return in.ok();
}

bool saveRLE5(const QImage &, QIODevice *device)
{
    openForWriting(device);
    return false;
}

} // namespace Kiln
