#include <kilnx/image/codecs.h>

#include <kilnx/image/bytestream_p.h>
#include <kilnx/image/codecs_p.h>

#include <QtCore/QtEndian>

#include <algorithm>
#include <cstring>

namespace Kiln
{

namespace
{

constexpr int MaxRun = 63;
constexpr uchar RunMark = 0xC0;
constexpr uchar PaletteMark = 0x0C;
constexpr int PaletteSize = 768;
/// A run of 63 bytes takes two.
constexpr int MaxGrowth = 32;

/// Where decoded bytes go: through the columns of a plane, the planes of a row and the rows.
class PlaneWriter
{
public:
    PlaneWriter(QImage &image, const PcxHeader &header)
        : m_bits(image.bits())
        , m_rowSize(image.bytesPerLine())
        , m_width(header.width())
        , m_height(header.height())
        , m_planes(header.planes)
        , m_lineSize(header.bytesPerLine)
        , m_stride(header.planes == 3 ? 4 : header.planes)
    {
        startPlane();
    }

    bool isDone() const { return m_row == m_height; }

    /// Emits `value` `count` times; what does not fit into the last row is dropped.
    void run(uchar value, int count)
    {
        while (count > 0 && !isDone()) {
            const int part = std::min(count, std::max(m_lineSize - m_column, 1));
            const int end = std::min(m_column + part, m_visible);
            for (int x = m_column; x < end; ++x)
                m_plane[x * m_stride] = value;
            count -= part;
            advance(part);
        }
    }

    /// Emits single pixels from `pos` on, up to the end of the plane, of the bytes, or to the
    /// first mark of a run. Returns where it stopped.
    const uchar *singles(const uchar *pos, const uchar *end)
    {
        const int room = std::max(m_lineSize - m_column, 1);
        const auto length = std::min<qptrdiff>(end - pos, room);
        const int visible = static_cast<int>(qBound<qptrdiff>(0, m_visible - m_column, length));
        uchar *target = m_plane + qptrdiff(m_column) * m_stride;
        const int stride = m_stride;
        int n = 0;
        for (; n < visible && pos[n] < RunMark; ++n, target += stride)
            *target = pos[n];
        if (n == visible) {
            while (n < length && pos[n] < RunMark)
                ++n;
        }
        if (n > 0)
            advance(n);
        return pos + n;
    }

private:
    void advance(int columns)
    {
        m_column += columns;
        if (m_column < m_lineSize)
            return;
        m_column = 0;
        if (++m_planeNumber == m_planes) {
            m_planeNumber = 0;
            ++m_row;
        }
        startPlane();
    }

    void startPlane()
    {
        m_plane = m_bits + qptrdiff(std::min(m_row, m_height - 1)) * m_rowSize + m_planeNumber;
        // Odd numbers of planes claim more bytes a pixel than the row has.
        const int fitting = (m_rowSize - m_planeNumber + m_stride - 1) / m_stride;
        m_visible = std::min(m_width, std::max(fitting, 0));
    }

    uchar *m_bits;
    int m_rowSize;
    int m_width;
    int m_height;
    int m_planes;
    int m_lineSize;
    int m_stride;
    int m_row = 0;
    int m_planeNumber = 0;
    int m_column = 0;
    int m_visible = 0;
    uchar *m_plane = nullptr;
};

/// Ends at the last row or at the end of the stream: what is missing reads as single pixels of
/// 0, which the picture already holds.
bool readPlanes(QImage &image, const PcxHeader &header, QIODevice *device)
{
    PlaneWriter out(image, header);
    ByteReader in(device);
    while (!out.isDone() && !in.atEnd()) {
        const uchar *pos = in.begin();
        const uchar *next = *pos < RunMark ? out.singles(pos, in.end()) : pos;
        in.setPos(next);
        if (next == pos) {
            const int count = in.next() & MaxRun;
            out.run(in.next(), count);
        }
    }
    return out.isDone() && in.ok();
}

/// The palette of 256 colours ends the file. When there is more than the palette behind the
/// pixels, the skip ends on its first colour and so finds no mark, as other readers do.
bool readPalette(QImage &image, QIODevice *device)
{
    const qint64 position = device->pos();
    if (position + PaletteSize + 1 < device->size())
        device->skip(device->size() - position - PaletteSize);
    char mark = 0;
    if (!device->getChar(&mark) || mark != PaletteMark || device->atEnd())
        return true;

    uchar bytes[PaletteSize] = {};
    const bool isWhole = readFully(device, bytes, PaletteSize);
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i)
        table[i] = qRgb(bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2]);
    image.setColorTable(table);
    return isWhole;
}

void swapRedAndBlue(QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        uchar *row = image.scanLine(y);
        for (int x = 0; x < image.width(); ++x)
            std::swap(row[4 * x], row[4 * x + 2]);
    }
}

void writeHeader(const QImage &image, int planes, ByteWriter &out)
{
    uchar bytes[PcxHeader::Size] = {10, 5, 1, 8};
    qToLittleEndian<quint16>(static_cast<quint16>(image.width() - 1), bytes + 8);
    qToLittleEndian<quint16>(static_cast<quint16>(image.height() - 1), bytes + 10);
    bytes[65] = static_cast<uchar>(planes);
    qToLittleEndian<quint16>(static_cast<quint16>(image.width()), bytes + 66);
    bytes[68] = 1;
    out.put(bytes, PcxHeader::Size);
}

void writePlane(const uchar *pixels, int stride, int width, ByteWriter &out)
{
    for (int x = 0; x < width;) {
        const uchar value = pixels[qptrdiff(x) * stride];
        int run = 1;
        while (run < MaxRun && x + run < width && pixels[qptrdiff(x + run) * stride] == value)
            ++run;
        if (run > 1 || value >= RunMark)
            out.put(static_cast<quint8>(RunMark | run));
        out.put(value);
        x += run;
    }
}

void writePalette(const QVector<QRgb> &colors, ByteWriter &out)
{
    QVector<QRgb> table = colors;
    table.resize(256);
    out.put(PaletteMark);
    for (QRgb color : qAsConst(table)) {
        out.put(static_cast<quint8>(qRed(color)));
        out.put(static_cast<quint8>(qGreen(color)));
        out.put(static_cast<quint8>(qBlue(color)));
    }
}

} // namespace

QImage::Format PcxHeader::format() const
{
    return formatOfDepth(depth());
}

PcxHeader PcxHeader::fromBytes(const uchar *bytes)
{
    PcxHeader header;
    header.manufacturer = bytes[0];
    header.version = bytes[1];
    header.bitsPerPlane = bytes[3];
    header.xMin = qFromLittleEndian<quint16>(bytes + 4);
    header.yMin = qFromLittleEndian<quint16>(bytes + 6);
    header.xMax = qFromLittleEndian<quint16>(bytes + 8);
    header.yMax = qFromLittleEndian<quint16>(bytes + 10);
    header.planes = bytes[65];
    header.bytesPerLine = qFromLittleEndian<quint16>(bytes + 66);
    return header;
}

bool loadPCX(QImage &image, QIODevice *source)
{
    if (!openForReading(source))
        return false;
    SeekableDevice seekable(source);
    QIODevice *device = seekable.get();
    uchar bytes[PcxHeader::Size] = {};
    if (!readFully(device, bytes, PcxHeader::Size))
        return false;
    const PcxHeader header = PcxHeader::fromBytes(bytes);
    if (header.manufacturer != 10 || header.version != 5)
        return false;
    const QImage::Format format = header.format();
    if (format == QImage::Format_Invalid)
        return false;

    const QSize size(header.width(), header.height());
    if (image.size() != size || image.format() != format) {
        const qint64 pixelSize = format == QImage::Format_Indexed8 ? 1 : 4;
        const qint64 bytes = pixelSize * size.width() * size.height();
        // The file has no more of a pixel than its planes: three bytes of four for RGB32.
        const qint64 growth = MaxGrowth * pixelSize / std::min<qint64>(header.planes, pixelSize);
        image = pictureFits(bytes, device, growth) ? QImage(size, format) : QImage();
        if (image.isNull())
            return false;
    }
    std::memset(image.bits(), 0, static_cast<size_t>(image.sizeInBytes()));

    bool ok = readPlanes(image, header, device);
    if (header.depth() == 8)
        ok = readPalette(image, device) && ok;
    if (header.depth() > 8)
        swapRedAndBlue(image);
    return ok;
}

bool savePCX(const QImage &image, QIODevice *device)
{
    if (image.isNull() || image.width() > 0xFFFF || image.height() > 0x10000 ||
        !openForWriting(device))
        return false;
    const int planes = packedPixelSize(image.format());
    const QImage source = planes > 1 ? image.rgbSwapped() : image;
    const int stride = planes > 1 ? 4 : 1;
    ByteWriter out(device);
    writeHeader(image, planes, out);
    for (int y = 0; y < source.height(); ++y) {
        for (int plane = 0; plane < planes; ++plane)
            writePlane(source.constScanLine(y) + plane, stride, source.width(), out);
    }
    if (planes == 1)
        writePalette(image.colorTable(), out);
    return out.finish();
}

} // namespace Kiln
