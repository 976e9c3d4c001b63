#include "plain.h"

#include <kilnx/image/codecs.h>
#include <kilnx/image/palette.h>
#include <tests/support/pipe.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>

#include <functional>

using namespace Kiln;
using Plain::pixelsOf;

namespace
{

enum class Codec { Rle8, Rle5, Lz5, Lz5Runs, Pcx }; // RLE5 is only read

QByteArray write(Codec codec, const QImage &image)
{
    QBuffer buffer;
    if (codec == Codec::Rle5)
        return Plain::saveRle5(image);
    const bool ok = codec == Codec::Rle8  ? saveRLE8(image, &buffer)
                    : codec == Codec::Pcx ? savePCX(image, &buffer)
                                          : saveLZ5(image, &buffer, codec == Codec::Lz5);
    return ok ? buffer.data() : QByteArray("failed");
}

/// PCX as the library writes it: bytes() has what that is.
QByteArray writePlainly(Codec codec, const QImage &image)
{
    return codec == Codec::Rle8   ? Plain::saveRle8(image)
           : codec == Codec::Rle5 ? Plain::saveRle5(image)
           : codec == Codec::Pcx  ? write(codec, image)
                                  : Plain::saveLz5(image, codec == Codec::Lz5);
}

bool read(Codec codec, QImage &image, QIODevice *device)
{
    return codec == Codec::Rle8   ? loadRLE8(image, device)
           : codec == Codec::Rle5 ? loadRLE5(image, device)
           : codec == Codec::Pcx  ? loadPCX(image, device)
                                  : loadLZ5(image, device);
}

/// A blank picture like another one, as the containers hand it to a raw codec. What its pixels
/// and its padding hold must not matter.
QImage prepared(const QImage &image)
{
    QImage blank(image.size(), image.format());
    memset(blank.bits(), 0x5A, size_t(blank.sizeInBytes()));
    blank.setColorTable(image.colorTable());
    return blank;
}

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

/// A picture of one row with these indexes.
QImage rowOf(const QByteArray &pixels)
{
    QImage image(pixels.size(), 1, QImage::Format_Indexed8);
    std::copy(pixels.cbegin(), pixels.cend(), image.scanLine(0));
    return image;
}

QByteArray pcxHeader(int bits, int planes, int xMax, int yMax, int lineSize)
{
    QByteArray bytes(128, 0);
    bytes[0] = 10;
    bytes[1] = 5;
    bytes[2] = 1;
    bytes[3] = char(bits);
    bytes[8] = char(xMax);
    bytes[9] = char(xMax >> 8);
    bytes[10] = char(yMax);
    bytes[11] = char(yMax >> 8);
    bytes[65] = char(planes);
    bytes[66] = char(lineSize);
    bytes[67] = char(lineSize >> 8);
    return bytes;
}

/// Takes some bytes and then no more.
class FullDisk : public QIODevice
{
public:
    explicit FullDisk(qint64 room)
        : m_room(room)
    {
        setOpenMode(WriteOnly | Unbuffered);
    }
    bool open(OpenMode) override { return false; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 size) override
    {
        const qint64 taken = qMin(size, m_room);
        m_room -= taken;
        return taken;
    }

private:
    qint64 m_room;
};

} // namespace

class TestCodecs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyWidthRoundTrips_data()
    {
        columns<int, int>("codec", "format");
        addRow("RLE8 indexed", int(Codec::Rle8), int(QImage::Format_Indexed8));
        addRow("RLE8 32 bits", int(Codec::Rle8), int(QImage::Format_ARGB32));
        addRow("RLE5", int(Codec::Rle5), int(QImage::Format_Indexed8));
        addRow("LZ5 with matches", int(Codec::Lz5), int(QImage::Format_Indexed8));
        addRow("LZ5 runs only", int(Codec::Lz5Runs), int(QImage::Format_Indexed8));
        addRow("PCX indexed", int(Codec::Pcx), int(QImage::Format_Indexed8));
        addRow("PCX 24 bits", int(Codec::Pcx), int(QImage::Format_RGB32));
        addRow("PCX 32 bits", int(Codec::Pcx), int(QImage::Format_ARGB32));
    }

    void everyWidthRoundTrips()
    {
        auto [codec, format] = row<int, int>();
        const auto kind = Codec(codec);
        const bool hasFiveBits = kind != Codec::Rle8 && kind != Codec::Pcx;
        std::mt19937 random(1);
        for (int width = 1; width <= 70; ++width) {
            for (int height : {1, 2, 9, 33}) {
                QVector<QImage> pictures;
                pictures << Plain::noise({width, height}, QImage::Format(format),
                                         hasFiveBits ? 32 : 256, random)
                         << Plain::noise({width, height}, QImage::Format(format), 2, random)
                         << Plain::sprite({width, height}, 32, random)
                                .convertToFormat(QImage::Format(format));
                for (const QImage &picture : qAsConst(pictures)) {
                    const QByteArray bytes = write(kind, picture);
                    QCOMPARE(bytes, writePlainly(kind, picture));
                    Plain::OpenBuffer buffer(bytes);
                    QImage back = prepared(picture);
                    QVERIFY(read(kind, back, &buffer));
                    QCOMPARE(back, picture);
                }
            }
        }
    }

    void largePicturesOfOneColor_data()
    {
        columns<QByteArray, int>("word", "format");
        for (const int format :
             {QImage::Format_Indexed8, QImage::Format_RGB32, QImage::Format_ARGB32})
            QTest::addRow("PCX, format %d", format) << QByteArray("PCX") << format;
        for (const int format : {QImage::Format_Mono, QImage::Format_RGB32})
            QTest::addRow("PNG, format %d", format) << QByteArray("PNG") << format;
        addRow("GIF", QByteArray("GIF"), int(QImage::Format_Indexed8));
        addRow("BMP", QByteArray("BMP"), int(QImage::Format_Mono));
    }

    /// Nothing makes smaller files: the bound on what a header may claim must let them through.
    void largePicturesOfOneColor()
    {
        auto [word, format] = row<QByteArray, int>();
        const int side = format == QImage::Format_Indexed8 ? 4200 : 2150;
        QImage picture(side, side, QImage::Format(format));
        picture.setColorTable({0xFF102030, 0xFF405060});
        picture.fill(1);
        Plain::OpenBuffer buffer(Plain::fileOf(word, picture));
        QVERIFY(word == "BMP" || qint64(side) * side > 7 * buffer.size());
        QImage back;
        QVERIFY(loadImage(&buffer, word, back));
        QCOMPARE(back.size(), picture.size());
        for (const QPoint &point : {QPoint(0, 0), QPoint(side / 2, 7), QPoint(side - 1, side - 1)})
            QCOMPARE(back.pixel(point), picture.pixel(point));
    }

    void lz5OfALargeSprite()
    {
        std::mt19937 random(10);
        const QImage picture = Plain::sprite({512, 512}, 32, random);
        QCOMPARE(write(Codec::Lz5, picture), Plain::saveLz5(picture, true));
    }

    void bytes_data()
    {
        columns<int, QByteArray, QByteArray>("codec", "pixels", "expected");
        const int rle8 = int(Codec::Rle8);
        const int runs = int(Codec::Lz5Runs);
        const int lz5 = int(Codec::Lz5);
        addRow("RLE8: a value that looks like a mark", rle8, hex("41"), hex("4141"));
        addRow("RLE8: a high value stands alone", rle8, hex("80"), hex("80"));
        addRow("RLE8: a run of two", rle8, hex("0707"), hex("4207"));
        addRow("RLE8: 64 make 63 and 1", rle8, QByteArray(64, 5), hex("7F0505"));
        const QByteArray palette(768, '\0');
        addRow("PCX: 64 make 63 and 1, and a value from 0xC0 on is a run of one", int(Codec::Pcx),
               QByteArray(64, 5) + hex("BFC0"),
               pcxHeader(8, 1, 65, 0, 66).replace(68, 1, "\1") + hex("FF0505BFC1C0 0C") + palette);
        addRow("LZ5: a short run", runs, QByteArray(7, 3), hex("00E3"));
        addRow("LZ5: a long run", runs, QByteArray(8, 3), hex("000300"));
        addRow("LZ5: 264 make 263 and 1", runs, QByteArray(264, 3), hex("0003FF23"));
        addRow("LZ5: a pair that repeats", lz5, hex("0102010201"), hex("04 2122 0201"));
        addRow("LZ5: a match may begin behind seven of a longer run", lz5,
               hex("090909 01020304 09090909090909090909 010203"), hex("40 69 21222324 E9 050D"));
    }

    void bytes()
    {
        auto [codec, pixels, expected] = row<int, QByteArray, QByteArray>();
        QCOMPARE(write(Codec(codec), rowOf(pixels)).toHex(), expected.toHex());
    }

    void pcxRunsEndWithTheirPlane()
    {
        QImage picture(2, 2, QImage::Format_RGB32);
        picture.fill(0xFF070707);
        QCOMPARE(write(Codec::Pcx, picture),
                 pcxHeader(8, 3, 1, 1, 2).replace(68, 1, "\1") + hex("C207").repeated(6));
    }

    void readings_data()
    {
        columns<QByteArray, QByteArray, bool>("stream", "pixels", "ok");
        // Each name begins with its codec.
        const auto add = [](const char *name, const char *stream, const char *pixels, bool ok) {
            addRow(name, hex(stream), hex(pixels), ok);
        };
        add("RLE8: a count of 0 emits nothing", "4009 01020304 05", "0102030405", true);
        add("RLE8: a run is cut at the end", "7F06", "0606060606", true);
        add("RLE8: a short stream leaves the rest", "0102", "01025A5A5A", true);
        add("RLE8: cut within a packet", "0142", "0100005A5A", false);
        add("RLE5: without a colour byte the first run is 0", "0001 27", "0007075A5A", true);
        add("RLE5: bits 5 and 6 mean nothing", "01E1 FF 43", "1F1F030303", true);
        add("RLE5: cut before the extra run", "0081 09", "09005A5A5A", false);
        add("LZ5: unfilled pixels become 0", "0021", "0100000000", true);
        add("LZ5: a copy that overlaps itself", "04 21 22 0201", "0102010201", true);
        add("LZ5: a long copy, cut at the end", "04 21 22 000140", "0102010201", true);
        add("LZ5: four short copies share the fourth's offset", "3C 21 22 0101 0100 0100 41",
            "01020102020202020202", true);
        add("LZ5: a source before the start", "02 21 0101", "010000", false);
        add("LZ5: a copy at the very start", "01 0100", "000000", false);
        add("LZ5: the farthest source before the start", "02 21 C0FFFF", "010000", false);
        add("LZ5: cut behind the control byte", "00", "0000000000", false);
        add("LZ5: cut within a long run", "0003", "0303030303", false);
    }

    void readings()
    {
        auto [stream, pixels, ok] = row<QByteArray, QByteArray, bool>();
        const QByteArray codec = QByteArray(QTest::currentDataTag()).left(4);
        QBuffer buffer(&stream);
        QImage image = prepared(rowOf(pixels));
        QCOMPARE((codec == "RLE8"   ? loadRLE8
                  : codec == "RLE5" ? loadRLE5
                                    : loadLZ5)(image, &buffer),
                 ok);
        QCOMPARE(pixelsOf(image).toHex(), pixels.toHex());
    }

    /// Groups of four are counted through the stream, so every remainder must come out.
    void lz5ShortMatchesOfEveryCount()
    {
        std::mt19937 random(3);
        for (int repeats = 1; repeats <= 13; ++repeats) {
            QByteArray pixels;
            for (int i = 0; i < repeats; ++i) {
                pixels.append(hex("0102030405"));
                pixels.append(char(6 + random() % 26));
                pixels.append(QByteArray(int(random() % 20), char(random() % 32)));
            }
            const QImage picture = rowOf(pixels);
            QByteArray bytes = write(Codec::Lz5, picture);
            QCOMPARE(bytes, Plain::saveLz5(picture, true));
            QBuffer buffer(&bytes);
            QImage back = prepared(picture);
            QVERIFY(loadLZ5(back, &buffer));
            QCOMPARE(pixelsOf(back), pixels);
        }
    }

    void pcxReadings_data()
    {
        columns<QByteArray, int, QByteArray, bool>("file", "format", "pixels", "ok");
        const int indexed = QImage::Format_Indexed8;
        const struct {
            const char *name;
            QByteArray header;
            const char *rest;
            int format;
            const char *pixels;
            bool ok;
        } rows[] = {
            {"a high value is a run of one", pcxHeader(8, 1, 0, 0, 1), "C1C0", indexed, "C0", true},
            {"runs cross rows, what is left over is dropped", pcxHeader(8, 1, 2, 1, 3),
             "01 C507 FF", indexed, "010707070707", true},
            {"runs cross planes; columns past the width are dropped", pcxHeader(8, 3, 1, 0, 3),
             "C509 01020304", QImage::Format_RGB32, "02090900 03090900", true},
            {"a count of 0", pcxHeader(8, 1, 1, 0, 2), "C0FF 0102", indexed, "0102", true},
            {"cut: the rest is black", pcxHeader(8, 1, 3, 0, 4), "0102", indexed, "01020000",
             false},
            {"one plane of five bits", pcxHeader(5, 1, 1, 0, 2), "1F02", indexed, "1F02", true},
            {"a product that overflows to 8 stays inside its rows", pcxHeader(11, 24, 1, 0, 1),
             "010101010101010101010101010101010101010101010101", indexed, "0101", true},
            {"32 planes of one bit stay inside their rows", pcxHeader(1, 32, 0, 0, 1),
             "0101010101010101010101010101010101010101010101010101010101010101",
             QImage::Format_ARGB32, "01010101", true},
            {"no bytes in a line", pcxHeader(8, 1, 0, 1, 0), "0102", indexed, "0102", true},
            {"minimum above maximum", pcxHeader(8, 1, 3, 0, 4).replace(4, 2, hex("0900")), "01", -1,
             "", false},
            {"version 3", pcxHeader(8, 1, 0, 0, 1).replace(1, 1, hex("03")), "", -1, "", false},
            {"two bits a pixel", pcxHeader(2, 1, 0, 0, 1), "", -1, "", false},
            {"cut within the header", QByteArray(127, 10), "", -1, "", false},
            {"65,536 a side without data", pcxHeader(8, 1, 0xFFFF, 0xFFFF, 0xFFFF), "", -1, "",
             false},
        };
        for (const auto &row : rows)
            addRow(row.name, row.header + hex(row.rest), row.format, hex(row.pixels), row.ok);
    }

    void pcxReadings()
    {
        auto [file, format, pixels, ok] = row<QByteArray, int, QByteArray, bool>();
        QBuffer buffer(&file);
        QImage image;
        QCOMPARE(loadPCX(image, &buffer), ok);
        QCOMPARE(image.isNull(), format < 0);
        if (format >= 0)
            QCOMPARE(int(image.format()), format);
        QCOMPARE(pixelsOf(image).toHex(), pixels.toHex());
    }

    void pcxPalettePosition_data()
    {
        columns<QByteArray, int, bool>("tail", "colors", "ok");
        const QByteArray palette(768, 'p');
        addRow("right behind the pixels", '\x0C' + palette, 256, true);
        addRow("no palette", QByteArray(), 0, true);
        addRow("a mark at the end", hex("0C"), 0, true);
        addRow("another mark", '\x0D' + palette, 0, true);
        addRow("bytes before the mark hide it", hex("00000C") + palette, 0, true);
        addRow("a first colour that looks like the mark",
               hex("0000") + '\x0C' + palette + QByteArray("\x0C").append(QByteArray(767, 'q')),
               256, false);
        addRow("cut within the palette", '\x0C' + palette.left(100), 256, false);
    }

    void pcxPalettePosition()
    {
        auto [tail, colors, ok] = row<QByteArray, int, bool>();
        QByteArray file = pcxHeader(8, 1, 1, 0, 2) + hex("0102") + tail;
        Plain::OpenBuffer buffer(file);
        QImage image;
        QCOMPARE(loadPCX(image, &buffer), ok);
        QCOMPARE(image.colorCount(), colors);
        buffer.seek(0);
        QImage plain;
        QCOMPARE(Plain::loadPcx(plain, &buffer), ok);
        QCOMPARE(image, plain);
    }

    void pcxReusesItsPicture()
    {
        QByteArray file = pcxHeader(8, 1, 1, 0, 2) + hex("01");
        QBuffer buffer(&file);
        QImage image(2, 1, QImage::Format_Indexed8);
        image.setColorTable({0xFF112233});
        image.fill(0);
        memset(image.bits(), 0x5A, size_t(image.sizeInBytes()));
        QVERIFY(!loadPCX(image, &buffer));
        QCOMPARE(image.colorTable(), QVector<QRgb>{0xFF112233});
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(image.constBits()), 4).toHex(),
                 QByteArray("01000000"));
    }

    /// However small the pieces are that a sequential device gives; what stands behind a picture
    /// is left to the next reader.
    void readersLeaveTheRestOfTheDevice()
    {
        std::mt19937 random(5);
        const QImage picture = Plain::sprite({61, 40}, 32, random);
        struct Reader {
            QByteArray bytes;
            std::function<bool(QIODevice *, QImage &)> load;
            QByteArray rest;
        };
        QVector<Reader> readers;
        for (Codec codec : {Codec::Rle8, Codec::Lz5, Codec::Pcx}) {
            const auto load = [codec](QIODevice *device, QImage &image) {
                return read(codec, image, device);
            };
            readers.append({write(codec, picture), load, codec == Codec::Pcx ? "" : "behind"});
        }
        for (const char *word : {"PNG", "BMP", "GIF"}) {
            const auto load = [word](QIODevice *device, QImage &image) {
                return loadImage(device, word, image);
            };
            // Qt looks beyond the end of a PNG.
            readers.append(
                {Plain::fileOf(word, picture), load, qstrcmp(word, "PNG") == 0 ? "" : "behind"});
        }
        for (const Reader &reader : qAsConst(readers)) {
            const QByteArray bytes = "before" + reader.bytes + reader.rest;
            Plain::OpenBuffer buffer(bytes);
            buffer.seek(6);
            Pipe bytewise(bytes.mid(6), 1);
            Pipe pieces(bytes.mid(6), 7);
            Pipe whole(bytes.mid(6), 4000);
            for (QIODevice *device :
                 std::initializer_list<QIODevice *>{&buffer, &bytewise, &pieces, &whole}) {
                QImage back = prepared(picture);
                QVERIFY(reader.load(device, back));
                QCOMPARE(pixelsOf(back), pixelsOf(picture));
                QCOMPARE(device->readAll(), reader.rest);
            }
        }
    }

    void cutStreamsReadLikeThePlainReader()
    {
        std::mt19937 random(6);
        const QImage picture = Plain::sprite({21, 14}, 32, random);
        const QImage trueColor = picture.convertToFormat(QImage::Format_RGB32);
        const auto compare = [](auto load, auto loadPlainly, const QImage &like, QByteArray bytes) {
            for (int size = 128; size < bytes.size(); ++size) {
                QByteArray part = bytes.left(size);
                QBuffer one(&part);
                Plain::OpenBuffer two(part);
                QImage mine = prepared(like);
                QImage plain = prepared(like);
                const bool ok = load(mine, &one);
                if (ok != loadPlainly(plain, &two) || pixelsOf(mine) != pixelsOf(plain))
                    return size;
            }
            return -1;
        };
        const QByteArray lead(128, '\x20'); // so that every cut of the stream itself is tried
        QCOMPARE(compare(loadRLE8, Plain::loadRle8, picture, write(Codec::Rle8, picture)), -1);
        QCOMPARE(compare(loadRLE5, Plain::loadRle5, picture, lead + Plain::saveRle5(picture)), -1);
        QCOMPARE(compare(loadLZ5, Plain::loadLz5, picture, write(Codec::Lz5, picture)), -1);
        QCOMPARE(compare(loadPCX, Plain::loadPcx, picture, write(Codec::Pcx, picture)), -1);
        QCOMPARE(compare(loadPCX, Plain::loadPcx, trueColor, write(Codec::Pcx, trueColor)), -1);
    }

    /// Any bytes, widths and formats: the padding too comes out like the plain reader's, and what
    /// LZ5 gives does not depend on what the picture held. The sanitizers watch.
    void hostileBytes()
    {
        std::mt19937 random(7);
        for (int round = 0; round < 3000; ++round) {
            QByteArray bytes(int(random() % 300), 0);
            for (char &byte : bytes)
                byte = char(random() >> 7);
            const int width = 1 + round % 71;
            const QSize size(width > 70 ? 300 : width, 1 + int(random() % 12));
            const auto format = QImage::Format(1 + random() % 7);
            QImage image = prepared(QImage(size, format));
            QImage plain = image.copy();
            QImage lz5 = image.copy();
            QImage again(size, format);
            memset(again.bits(), 0xFF, size_t(again.sizeInBytes()));
            QBuffer mine(&bytes);
            Plain::OpenBuffer theirs(bytes);
            QCOMPARE(loadRLE8(image, &mine), Plain::loadRle8(plain, &theirs));
            QVERIFY(memcmp(image.bits(), plain.bits(), size_t(image.sizeInBytes())) == 0);
            QBuffer rle5(&bytes);
            loadRLE5(image, &rle5);
            QBuffer first(&bytes);
            QBuffer second(&bytes);
            QCOMPARE(loadLZ5(lz5, &first), loadLZ5(again, &second));
            if (format == QImage::Format_Indexed8)
                QCOMPARE(pixelsOf(lz5), pixelsOf(again));
            QByteArray pcx = pcxHeader(int(random() % 40), int(random() % 40), size.width(),
                                       size.height(), int(random() % 50)) +
                             bytes;
            QBuffer buffer(&pcx);
            loadPCX(image, &buffer);
        }
    }

    void devicesOfTheWrongDirection()
    {
        QImage image(1, 1, QImage::Format_Indexed8);
        image.fill(0);
        FullDisk writeOnly(10);
        for (auto load : {loadRLE8, loadRLE5, loadLZ5, loadPCX, loadPNG}) {
            QVERIFY(!load(image, &writeOnly));
            QVERIFY(!load(image, nullptr));
        }
        Pipe readOnly("x");
        for (auto save : {saveRLE8, saveRLE5, savePCX, savePNG})
            QVERIFY(!save(image, &readOnly));
        QVERIFY(!saveLZ5(image, &readOnly, true));

        QBuffer opened;
        QVERIFY(!saveRLE5(image, &opened));
        QVERIFY(opened.isWritable());
        QVERIFY(opened.data().isEmpty());
    }

    void fullDisk()
    {
        std::mt19937 random(8);
        const QImage picture = Plain::noise({400, 400}, QImage::Format_Indexed8, 32, random);
        RGBA table[256] = {};
        for (qint64 room : {0, 100, 700, 70000}) {
            FullDisk rle8(room);
            QVERIFY(!saveRLE8(picture, &rle8));
            FullDisk lz5(room);
            QVERIFY(!saveLZ5(picture, &lz5, true));
            FullDisk pcx(room);
            QVERIFY(!savePCX(picture, &pcx));
            FullDisk gif(room);
            QVERIFY(!saveImage(&gif, "GIF", picture));
            FullDisk act(room);
            QCOMPARE(PaletteObject(&table).toFile(&act, "ACT"), room >= 768);
        }
    }

    void picturesThatCannotBeWritten()
    {
        QBuffer nothing;
        QVERIFY(saveLZ5(QImage(), &nothing, true));
        QVERIFY(saveRLE8(QImage(), &nothing));
        QVERIFY(!savePCX(QImage(), &nothing));
        QVERIFY(!savePCX(QImage(0x10000, 1, QImage::Format_Indexed8), &nothing));
        QVERIFY(!saveLZ5(QImage(64, 2, QImage::Format_Mono), &nothing, true));
        // One row too many; nothing touches the memory of these.
        QVERIFY(!saveLZ5(QImage(1 << 14, (1 << 14) + 1, QImage::Format_Indexed8), &nothing, true));
        QImage tooLarge(1 << 14, (1 << 14) + 1, QImage::Format_Mono);
        QByteArray packet = hex("0021");
        QBuffer onePacket(&packet);
        QVERIFY(!loadLZ5(tooLarge, &onePacket));
        QVERIFY(nothing.data().isEmpty());

        QBuffer headerOnly;
        QVERIFY(savePCX(QImage(3, 2, QImage::Format_RGB16), &headerOnly));
        QCOMPARE(headerOnly.data().size(), 128);
        QCOMPARE(int(headerOnly.data().at(65)), 0);

        QImage empty;
        QByteArray bytes("xyz");
        QBuffer buffer(&bytes);
        QVERIFY(loadRLE8(empty, &buffer));
        QVERIFY(loadLZ5(empty, &buffer));
        QByteArray garbage("no picture");
        QBuffer device(&garbage);
        QVERIFY(loadPNG(empty, &device));
        QVERIFY(empty.isNull());
        QBuffer png;
        const QImage picture(rowOf("abc").convertToFormat(QImage::Format_RGB32));
        QVERIFY(savePNG(picture, &png));
        png.close();
        QVERIFY(loadPNG(empty, &png));
        QCOMPARE(empty, picture);
    }
};

QTEST_APPLESS_MAIN(TestCodecs)
#include "tst_codecs.moc"
