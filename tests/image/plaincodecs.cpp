#include "plain.h"

#include <QtTest/QtTest>

namespace Plain
{

namespace
{

/// Stores bytes at rising places, over the padding of rows, as long as there is room.
struct Sink {
    QImage &image;
    int rowBytes;
    int padding;
    qint64 place = 0;
    int column = 0;

    bool isFull() const { return place >= image.sizeInBytes(); }
    void put(quint8 value)
    {
        if (isFull())
            return;
        image.bits()[place++] = value;
        if (++column == rowBytes) {
            column = 0;
            place += padding;
        }
    }
};

quint8 readByte(QDataStream &stream)
{
    quint8 byte = 0;
    stream >> byte;
    return byte;
}

QVector<quint8> packed(const QImage &image, int rowBytes)
{
    QVector<quint8> bytes;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < rowBytes; ++x)
            bytes.append(image.constScanLine(y)[x]);
    }
    return bytes;
}

int runLength(const QVector<quint8> &bytes, int i, int most)
{
    int run = 1;
    while (run < most && i + run < bytes.size() && bytes[i + run] == bytes[i])
        ++run;
    return run;
}

struct PcxFields {
    quint8 manufacturer, version, encoding, bits, reserved, planes;
    quint16 xMin, yMin, xMax, yMax, dpiX, dpiY, lineSize;
};

PcxFields readPcxFields(QDataStream &stream)
{
    PcxFields f;
    stream >> f.manufacturer >> f.version >> f.encoding >> f.bits >> f.xMin >> f.yMin >> f.xMax >>
        f.yMax >> f.dpiX >> f.dpiY;
    stream.skipRawData(48);
    stream >> f.reserved >> f.planes >> f.lineSize;
    stream.skipRawData(60);
    return f;
}

void readPcxPalette(QImage &image, QDataStream &stream)
{
    QIODevice *device = stream.device();
    if (device->pos() + 0x301 < device->size())
        device->seek(device->size() - 0x300);
    if (stream.atEnd() || readByte(stream) != 0x0C || stream.atEnd())
        return;
    QVector<QRgb> table;
    for (int i = 0; i < 256; ++i) {
        const int r = readByte(stream);
        const int g = readByte(stream);
        table.append(qRgb(r, g, readByte(stream)));
    }
    image.setColorTable(table);
}

struct Found {
    bool found = false;
    bool isShort = false;
    int offset = 0;
    int length = 1;
};

Found findMatch(const QVector<quint8> &p, int i)
{
    Found best;
    const int n = p.size();
    for (int d = 2; d <= qMin(i, 1024); ++d) {
        int k = 0;
        int changes = 0;
        int stretch = 0;
        bool longRun = false;
        while (k < 258 && i + k < n && p[i + k] == p[i + k - d]) {
            if (k > 0 && p[i + k] != p[i + k - 1]) {
                ++changes;
                stretch = 0;
            }
            if (++stretch > 7)
                longRun = true;
            ++k;
        }
        if (changes == 0 || k <= best.length)
            continue;
        if (k <= 64 && d <= 256) {
            if (changes > 1 || i + k == n || p[i + k] != p[i + k - 1])
                best = {true, true, d, k};
        } else if ((changes == 2 && longRun) || (k >= 4 && changes >= 3)) {
            best = {true, false, d, k};
        }
    }
    return best;
}

struct Lz5Packet {
    bool lz;
    Found data;
};

QVector<Lz5Packet> lz5Packets(const QVector<quint8> &p, bool useLZ)
{
    QVector<Lz5Packet> packets;
    int i = 0;
    while (i < p.size()) {
        if (useLZ && i >= 1) {
            const Found found = findMatch(p, i);
            if (found.found) {
                packets.append({true, found});
                i += found.length;
                continue;
            }
        }
        int length = runLength(p, i, 7);
        Found next;
        if (useLZ && length == 7)
            next = findMatch(p, i + 7);
        if (!next.found)
            length = runLength(p, i, 263);
        packets.append(Lz5Packet{false, {true, length < 8, p[i], length}});
        i += length;
        if (next.found) {
            packets.append(Lz5Packet{true, next});
            i += next.length;
        }
    }
    return packets;
}

} // namespace

bool loadPcx(QImage &image, QIODevice *device)
{
    QDataStream stream(device);
    stream.setByteOrder(QDataStream::LittleEndian);
    const PcxFields f = readPcxFields(stream);
    const int depth = (f.planes * f.bits) & 0xFF;
    const QImage::Format format = depth == 24   ? QImage::Format_RGB32
                                  : depth == 32 ? QImage::Format_ARGB32
                                                : QImage::Format_Indexed8;
    const int width = f.xMax - f.xMin + 1;
    const int height = f.yMax - f.yMin + 1;
    image = QImage(width, height, format);
    memset(image.bits(), 0, size_t(image.sizeInBytes()));
    const int stride = f.planes == 3 ? 4 : f.planes;
    int count = 0;
    quint8 value = 0;
    for (int y = 0; y < height; ++y) {
        for (int plane = 0; plane < f.planes; ++plane) {
            for (int x = 0; x < f.lineSize; ++x) {
                while (count == 0) {
                    value = readByte(stream);
                    count = 1;
                    if (value >= 0xC0) {
                        count = value & 0x3F;
                        value = readByte(stream);
                    }
                }
                --count;
                if (x < width)
                    image.scanLine(y)[x * stride + plane] = value;
            }
        }
    }
    if (depth == 8)
        readPcxPalette(image, stream);
    if (depth > 8)
        image = image.rgbSwapped();
    return stream.status() == QDataStream::Ok;
}

bool loadRle8(QImage &image, QIODevice *device)
{
    QDataStream stream(device);
    const int bits = image.format() == QImage::Format_Indexed8 ? 8
                     : image.format() == QImage::Format_RGB32  ? 24
                     : image.format() == QImage::Format_ARGB32 ? 32
                                                               : 0;
    const int rowBytes = image.width() * bits / 8;
    Sink sink{image, rowBytes, (image.bytesPerLine() - rowBytes) & 0xFF};
    while (!stream.atEnd() && !sink.isFull()) {
        const quint8 b = readByte(stream);
        if ((b & 0xC0) != 0x40) {
            sink.put(b);
            continue;
        }
        const quint8 value = readByte(stream);
        for (int i = 0; i < (b & 0x3F); ++i)
            sink.put(value);
    }
    return stream.status() == QDataStream::Ok;
}

bool loadRle5(QImage &image, QIODevice *device)
{
    QDataStream stream(device);
    Sink sink{image, image.width(), image.bytesPerLine() - image.width()};
    while (!stream.atEnd() && !sink.isFull()) {
        const int first = readByte(stream) + 1;
        const quint8 b = readByte(stream);
        const quint8 color = b & 0x80 ? readByte(stream) & 0x1F : 0;
        for (int i = 0; i < first; ++i)
            sink.put(color);
        for (int extra = 0; extra < (b & 0x1F); ++extra) {
            const quint8 run = readByte(stream);
            for (int i = 0; i <= run / 32; ++i)
                sink.put(run % 32);
        }
    }
    return stream.status() == QDataStream::Ok;
}

bool loadLz5(QImage &image, QIODevice *device)
{
    QDataStream stream(device);
    const int n = image.width() * image.height();
    QVector<quint8> out;
    int bit = 0;
    quint8 control = 0;
    QVector<int> tops;
    while (!stream.atEnd() && out.size() < n) {
        if (bit == 0)
            control = readByte(stream);
        const quint8 d = readByte(stream);
        if (!(control & (1 << bit))) {
            const int count = d / 32 ? d / 32 : readByte(stream) + 8;
            for (int i = 0; i < count && out.size() < n; ++i)
                out.append(d % 32);
        } else {
            int offset = 0;
            int length = 0;
            if (d % 64 == 0) {
                offset = d / 64 * 256 + readByte(stream);
                length = readByte(stream) + 3;
            } else {
                length = d % 64 + 1;
                tops.append(d / 64);
                if (tops.size() < 4) {
                    offset = readByte(stream);
                } else {
                    offset = tops[0] * 64 + tops[1] * 16 + tops[2] * 4 + tops[3];
                    tops.clear();
                }
            }
            if (offset + 1 > out.size())
                return false;
            for (int i = 0; i < length && out.size() < n; ++i)
                out.append(out[out.size() - offset - 1]);
        }
        bit = (bit + 1) % 8;
    }
    out.resize(n);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.scanLine(y)[x] = out[y * image.width() + x];
    }
    return stream.status() == QDataStream::Ok;
}

QByteArray saveRle8(const QImage &image)
{
    const QVector<quint8> bytes = packed(image, image.width() * image.depth() / 8);
    QByteArray out;
    for (int i = 0; i < bytes.size();) {
        const int run = runLength(bytes, i, 63);
        if (run >= 2 || (bytes[i] & 0xC0) == 0x40)
            out.append(char(0x40 | run));
        out.append(char(bytes[i]));
        i += run;
    }
    return out;
}

QByteArray saveRle5(const QImage &image)
{
    const QVector<quint8> bytes = packed(image, image.width());
    QByteArray out;
    for (int i = 0; i < bytes.size();) {
        const int first = runLength(bytes, i, 256);
        const quint8 color = bytes[i];
        i += first;
        QByteArray extras;
        while (i < bytes.size() && extras.size() < 31) {
            const int run = runLength(bytes, i, 8);
            extras.append(char((run - 1) * 32 + bytes[i]));
            i += run;
        }
        out.append(char(first - 1));
        out.append(char((color ? 0x80 : 0) | extras.size()));
        if (color)
            out.append(char(color));
        out.append(extras);
    }
    return out;
}

QByteArray saveLz5(const QImage &image, bool useLZ)
{
    QVector<Lz5Packet> packets = lz5Packets(packed(image, image.width()), useLZ);
    QByteArray out;
    int counter = 0;
    for (int i = 0; i < packets.size(); ++i) {
        if (i % 8 == 0) {
            int control = 0;
            for (int k = 0; k < 8 && i + k < packets.size(); ++k)
                control |= packets[i + k].lz ? 1 << k : 0;
            out.append(char(control));
        }
        Found &data = packets[i].data;
        if (!packets[i].lz) {
            if (data.isShort) {
                out.append(char(data.length << 5 | (data.offset & 0x1F)));
            } else {
                out.append(char(data.offset & 0x1F));
                out.append(char(data.length - 8));
            }
        } else if (!data.isShort) {
            const int offset = data.offset - 1;
            out.append(char((offset / 256) << 6));
            out.append(char(offset & 0xFF));
            out.append(char(data.length - 3));
        } else {
            if (++counter == 1) {
                QVector<Found *> group;
                for (int k = i; k < packets.size() && group.size() < 4; ++k) {
                    if (packets[k].lz && packets[k].data.isShort)
                        group.append(&packets[k].data);
                }
                for (Found *member : group) {
                    --member->length;
                    --member->offset;
                }
                if (group.size() == 4) {
                    for (int k = 0; k < 4; ++k)
                        group[k]->length |= (group[3]->offset >> (6 - 2 * k) & 3) << 6;
                }
            }
            out.append(char(data.length));
            if (counter < 4)
                out.append(char(data.offset));
            else
                counter = 0;
        }
    }
    return out;
}

} // namespace Plain
