#include "plain.h"

#include <kilnx/image/codecs.h>
#include <kilnx/image/palette.h>

#include <QBuffer>
#include <QTest>

using namespace Kiln;
using Plain::pixelsOf;

namespace
{

enum class Codec { Rle8, Lz5, Lz5Runs, Pcx };

QByteArray write(Codec codec, const QImage &image)
{
    QBuffer buffer;
    bool ok = false;
    switch (codec) {
    case Codec::Rle8:
        ok = saveRLE8(image, &buffer);
        break;
    case Codec::Lz5:
    case Codec::Lz5Runs:
        ok = saveLZ5(image, &buffer, codec == Codec::Lz5);
        break;
    case Codec::Pcx:
        ok = savePCX(image, &buffer);
        break;
    }
    return ok ? buffer.data() : QByteArray("failed");
}

QByteArray writePlainly(Codec codec, const QImage &image)
{
    switch (codec) {
    case Codec::Rle8:
        return Plain::saveRle8(image);
    case Codec::Lz5:
    case Codec::Lz5Runs:
        return Plain::saveLz5(image, codec == Codec::Lz5);
    case Codec::Pcx:
        return Plain::savePcx(image);
    }
    return QByteArray();
}

bool read(Codec codec, QImage &image, QIODevice *device)
{
    return codec == Codec::Rle8  ? loadRLE8(image, device)
           : codec == Codec::Pcx ? loadPCX(image, device)
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

/// Hands its bytes out in small pieces and cannot be moved back.
class Pipe : public QIODevice
{
public:
    explicit Pipe(const QByteArray &bytes)
        : m_bytes(bytes)
    {
        setOpenMode(ReadOnly);
    }
    bool open(OpenMode) override { return false; }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override
    {
        return m_bytes.size() - m_pos + QIODevice::bytesAvailable();
    }

protected:
    qint64 readData(char *data, qint64 size) override
    {
        const int count = int(qMin<qint64>(qMin<qint64>(size, 7), m_bytes.size() - m_pos));
        std::copy_n(m_bytes.constData() + m_pos, count, data);
        m_pos += count;
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_bytes;
    int m_pos = 0;
};

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
    void everyWidthRoundTrips_data();
    void everyWidthRoundTrips();
    void largePicturesOfOneColor();
    void lz5OfALargeSprite();
    void pngRoundTrips();
    void rle5ReadsEveryWidth();
    void bytes_data();
    void bytes();
    void rleReadings_data();
    void rleReadings();
    void lz5Readings_data();
    void lz5Readings();
    void lz5ShortMatchesOfEveryCount();
    void pcxReadings_data();
    void pcxReadings();
    void pcxPalettePosition_data();
    void pcxPalettePosition();
    void pcxReusesItsPicture();
    void readersLeaveTheRestOfTheDevice();
    void readersWorkOnSequentialDevices();
    void cutStreamsReadLikeThePlainReader();
    void hostileBytes();
    void devicesOfTheWrongDirection();
    void fullDisk();
    void picturesThatCannotBeWritten();
};

void TestCodecs::everyWidthRoundTrips_data()
{
    QTest::addColumn<int>("codec");
    QTest::addColumn<int>("format");
    QTest::newRow("RLE8 indexed") << int(Codec::Rle8) << int(QImage::Format_Indexed8);
    QTest::newRow("RLE8 32 bits") << int(Codec::Rle8) << int(QImage::Format_ARGB32);
    QTest::newRow("LZ5 with matches") << int(Codec::Lz5) << int(QImage::Format_Indexed8);
    QTest::newRow("LZ5 runs only") << int(Codec::Lz5Runs) << int(QImage::Format_Indexed8);
    QTest::newRow("PCX indexed") << int(Codec::Pcx) << int(QImage::Format_Indexed8);
    QTest::newRow("PCX 24 bits") << int(Codec::Pcx) << int(QImage::Format_RGB32);
    QTest::newRow("PCX 32 bits") << int(Codec::Pcx) << int(QImage::Format_ARGB32);
}

void TestCodecs::everyWidthRoundTrips()
{
    QFETCH(int, codec);
    QFETCH(int, format);
    const auto kind = Codec(codec);
    const bool isLz5 = kind == Codec::Lz5 || kind == Codec::Lz5Runs;
    std::mt19937 random(1);
    for (int width = 1; width <= 70; ++width) {
        for (int height : {1, 2, 9, 33}) {
            QVector<QImage> pictures;
            pictures << Plain::noise({width, height}, QImage::Format(format), isLz5 ? 32 : 256,
                                     random)
                     << Plain::noise({width, height}, QImage::Format(format), 2, random)
                     << Plain::sprite({width, height}, 32, random)
                            .convertToFormat(QImage::Format(format));
            for (const QImage &picture : qAsConst(pictures)) {
                const QByteArray bytes = write(kind, picture);
                QCOMPARE(bytes, writePlainly(kind, picture));
                QBuffer buffer;
                buffer.setData(bytes);
                QImage back = prepared(picture);
                QVERIFY(read(kind, back, &buffer));
                QCOMPARE(back, picture);
            }
        }
    }
}

/// Nothing makes smaller files: the bound on what a header may claim must let them through.
void TestCodecs::largePicturesOfOneColor()
{
    std::mt19937 random(9);
    for (auto format : {QImage::Format_Indexed8, QImage::Format_RGB32, QImage::Format_ARGB32}) {
        const int side = format == QImage::Format_Indexed8 ? 4200 : 2100;
        const QImage picture = Plain::noise({1, 1}, format, 256, random).scaled(side, side);
        QByteArray bytes = write(Codec::Pcx, picture);
        QBuffer buffer(&bytes);
        QImage back;
        QVERIFY(loadPCX(back, &buffer));
        QCOMPARE(back, picture);
    }
}

void TestCodecs::lz5OfALargeSprite()
{
    std::mt19937 random(10);
    const QImage picture = Plain::sprite({512, 512}, 32, random);
    QCOMPARE(write(Codec::Lz5, picture), Plain::saveLz5(picture, true));
}

void TestCodecs::pngRoundTrips()
{
    std::mt19937 random(11);
    for (auto format : {QImage::Format_Indexed8, QImage::Format_RGB32, QImage::Format_ARGB32}) {
        const QImage picture = Plain::noise({33, 9}, format, 256, random);
        QBuffer buffer;
        QVERIFY(savePNG(picture, &buffer));
        buffer.close();
        QImage back;
        QVERIFY(loadPNG(back, &buffer));
        QCOMPARE(back, picture);
    }
}

void TestCodecs::rle5ReadsEveryWidth()
{
    std::mt19937 random(2);
    for (int width = 1; width <= 70; ++width) {
        for (const QImage &picture : {Plain::noise({width, 9}, QImage::Format_Indexed8, 32, random),
                                      Plain::sprite({width, 33}, 32, random)}) {
            QByteArray bytes = Plain::saveRle5(picture);
            QBuffer buffer(&bytes);
            QImage back = prepared(picture);
            QVERIFY(loadRLE5(back, &buffer));
            QCOMPARE(pixelsOf(back), pixelsOf(picture));
        }
    }
}

void TestCodecs::bytes_data()
{
    QTest::addColumn<int>("codec");
    QTest::addColumn<QByteArray>("pixels");
    QTest::addColumn<QByteArray>("expected");
    const int rle8 = int(Codec::Rle8);
    const int runs = int(Codec::Lz5Runs);
    const int lz5 = int(Codec::Lz5);
    QTest::newRow("RLE8: a value that looks like a mark") << rle8 << hex("41") << hex("4141");
    QTest::newRow("RLE8: a high value stands alone") << rle8 << hex("80") << hex("80");
    QTest::newRow("RLE8: a run of two") << rle8 << hex("0707") << hex("4207");
    QTest::newRow("RLE8: 64 make 63 and 1") << rle8 << QByteArray(64, 5) << hex("7F0505");
    QTest::newRow("LZ5: a short run") << runs << QByteArray(7, 3) << hex("00E3");
    QTest::newRow("LZ5: a long run") << runs << QByteArray(8, 3) << hex("000300");
    QTest::newRow("LZ5: 264 make 263 and 1") << runs << QByteArray(264, 3) << hex("0003FF23");
    QTest::newRow("LZ5: a pair that repeats") << lz5 << hex("0102010201")
                                              << hex("042122"
                                                     "0201");
    QTest::newRow("LZ5: a match may begin behind seven of a longer run")
        << lz5
        << hex("090909"
               "01020304"
               "09090909090909090909"
               "010203")
        << hex("40"
               "69"
               "21"
               "22"
               "23"
               "24"
               "E9"
               "050D");
}

void TestCodecs::bytes()
{
    QFETCH(int, codec);
    QFETCH(QByteArray, pixels);
    QFETCH(QByteArray, expected);
    QCOMPARE(write(Codec(codec), rowOf(pixels)).toHex(), expected.toHex());
}

void TestCodecs::rleReadings_data()
{
    QTest::addColumn<bool>("isRle5");
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QByteArray>("pixels");
    QTest::addColumn<bool>("ok");
    QTest::newRow("RLE8: a count of 0 emits nothing") << false
                                                      << hex("4009"
                                                             "01020304"
                                                             "05")
                                                      << hex("0102030405") << true;
    QTest::newRow("RLE8: a run is cut at the end")
        << false << hex("7F06") << hex("0606060606") << true;
    QTest::newRow("RLE8: a short stream leaves the rest")
        << false << hex("0102") << hex("01025A5A5A") << true;
    QTest::newRow("RLE8: cut within a packet")
        << false << hex("0142") << hex("0100005A5A") << false;
    QTest::newRow("RLE5: without a colour byte the first run is 0") << true
                                                                    << hex("0001"
                                                                           "27")
                                                                    << hex("0007075A5A") << true;
    QTest::newRow("RLE5: bits 5 and 6 mean nothing") << true
                                                     << hex("01E1"
                                                            "FF"
                                                            "43")
                                                     << hex("1F1F030303") << true;
    QTest::newRow("RLE5: cut before the extra run") << true
                                                    << hex("0081"
                                                           "09")
                                                    << hex("09005A5A5A") << false;
}

void TestCodecs::rleReadings()
{
    QFETCH(bool, isRle5);
    QFETCH(QByteArray, stream);
    QFETCH(QByteArray, pixels);
    QFETCH(bool, ok);
    QBuffer buffer(&stream);
    QImage image = prepared(rowOf(pixels));
    QCOMPARE(isRle5 ? loadRLE5(image, &buffer) : loadRLE8(image, &buffer), ok);
    QCOMPARE(pixelsOf(image).toHex(), pixels.toHex());
}

void TestCodecs::lz5Readings_data()
{
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QByteArray>("pixels");
    QTest::addColumn<bool>("ok");
    QTest::newRow("unfilled pixels become 0") << hex("0021") << hex("0100000000") << true;
    QTest::newRow("a copy that overlaps itself") << hex("04"
                                                        "21"
                                                        "22"
                                                        "0201")
                                                 << hex("0102010201") << true;
    QTest::newRow("a long copy, cut at the end") << hex("04"
                                                        "21"
                                                        "22"
                                                        "000140")
                                                 << hex("0102010201") << true;
    QTest::newRow("four short copies share the fourth's offset")
        << hex("3C"
               "21"
               "22"
               "0101"
               "0100"
               "0100"
               "41")
        << hex("01020102020202020202") << true;
    QTest::newRow("a source before the start") << hex("02"
                                                      "21"
                                                      "0101")
                                               << hex("010000") << false;
    QTest::newRow("a copy at the very start") << hex("01"
                                                     "0100")
                                              << hex("000000") << false;
    QTest::newRow("the farthest source before the start") << hex("02"
                                                                 "21"
                                                                 "C0FFFF")
                                                          << hex("010000") << false;
    QTest::newRow("cut behind the control byte") << hex("00") << hex("0000000000") << false;
    QTest::newRow("cut within a long run") << hex("0003") << hex("0303030303") << false;
}

void TestCodecs::lz5Readings()
{
    QFETCH(QByteArray, stream);
    QFETCH(QByteArray, pixels);
    QFETCH(bool, ok);
    QBuffer buffer(&stream);
    QImage image = prepared(rowOf(pixels));
    QCOMPARE(loadLZ5(image, &buffer), ok);
    QCOMPARE(pixelsOf(image).toHex(), pixels.toHex());
}

/// Groups of four are counted through the stream, so every remainder must come out.
void TestCodecs::lz5ShortMatchesOfEveryCount()
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

void TestCodecs::pcxReadings_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("format");
    QTest::addColumn<QByteArray>("pixels");
    QTest::addColumn<bool>("ok");
    const int indexed = QImage::Format_Indexed8;
    const int rgb = QImage::Format_RGB32;
    QTest::newRow("a high value is a run of one")
        << pcxHeader(8, 1, 0, 0, 1) + hex("C1C0") << indexed << hex("C0") << true;
    QTest::newRow("runs cross rows, what is left over is dropped")
        << pcxHeader(8, 1, 2, 1, 3) + hex("01"
                                          "C507"
                                          "FF")
        << indexed << hex("010707070707") << true;
    QTest::newRow("runs cross planes; columns past the width are dropped")
        << pcxHeader(8, 3, 1, 0, 3) + hex("C509"
                                          "01"
                                          "02"
                                          "03"
                                          "04")
        << rgb
        << hex("02090900"
               "03090900")
        << true;
    QTest::newRow("a count of 0") << pcxHeader(8, 1, 1, 0, 2) + hex("C0FF"
                                                                    "0102")
                                  << indexed << hex("0102") << true;
    QTest::newRow("cut: the rest is black")
        << pcxHeader(8, 1, 3, 0, 4) + hex("0102") << indexed << hex("01020000") << false;
    QTest::newRow("one plane of five bits")
        << pcxHeader(5, 1, 1, 0, 2) + hex("1F02") << indexed << hex("1F02") << true;
    QTest::newRow("a product that overflows to 8 stays inside its rows")
        << pcxHeader(11, 24, 1, 0, 1) + QByteArray(24, 1) << indexed << hex("0101") << true;
    QTest::newRow("32 planes of one bit stay inside their rows")
        << pcxHeader(1, 32, 0, 0, 1) + QByteArray(32, 1) << int(QImage::Format_ARGB32)
        << hex("01010101") << true;
    QTest::newRow("no bytes in a line")
        << pcxHeader(8, 1, 0, 1, 0) + hex("0102") << indexed << hex("0102") << true;
    QTest::newRow("minimum above maximum")
        << pcxHeader(8, 1, 3, 0, 4).replace(4, 2, hex("0900")) + hex("01") << -1 << QByteArray()
        << false;
    QTest::newRow("version 3") << pcxHeader(8, 1, 0, 0, 1).replace(1, 1, hex("03")) << -1
                               << QByteArray() << false;
    QTest::newRow("two bits a pixel") << pcxHeader(2, 1, 0, 0, 1) << -1 << QByteArray() << false;
    QTest::newRow("cut within the header") << QByteArray(127, 10) << -1 << QByteArray() << false;
    QTest::newRow("65,536 a side without data")
        << pcxHeader(8, 1, 0xFFFF, 0xFFFF, 0xFFFF) << -1 << QByteArray() << false;
}

void TestCodecs::pcxReadings()
{
    QFETCH(QByteArray, file);
    QFETCH(int, format);
    QFETCH(QByteArray, pixels);
    QFETCH(bool, ok);
    QBuffer buffer(&file);
    QImage image;
    QCOMPARE(loadPCX(image, &buffer), ok);
    QCOMPARE(image.isNull(), format < 0);
    if (format >= 0)
        QCOMPARE(int(image.format()), format);
    QCOMPARE(pixelsOf(image).toHex(), pixels.toHex());
}

void TestCodecs::pcxPalettePosition_data()
{
    QTest::addColumn<QByteArray>("tail");
    QTest::addColumn<int>("colors");
    QTest::addColumn<bool>("ok");
    const QByteArray palette(768, 'p');
    QTest::newRow("right behind the pixels") << '\x0C' + palette << 256 << true;
    QTest::newRow("no palette") << QByteArray() << 0 << true;
    QTest::newRow("a mark at the end") << hex("0C") << 0 << true;
    QTest::newRow("another mark") << '\x0D' + palette << 0 << true;
    QTest::newRow("bytes before the mark hide it") << hex("00000C") + palette << 0 << true;
    QTest::newRow("a first colour that looks like the mark")
        << hex("0000") + '\x0C' + palette + QByteArray("\x0C").append(QByteArray(767, 'q')) << 256
        << false;
    QTest::newRow("cut within the palette") << '\x0C' + palette.left(100) << 256 << false;
}

void TestCodecs::pcxPalettePosition()
{
    QFETCH(QByteArray, tail);
    QFETCH(int, colors);
    QFETCH(bool, ok);
    QByteArray file = pcxHeader(8, 1, 1, 0, 2) + hex("0102") + tail;
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    QImage image;
    QCOMPARE(loadPCX(image, &buffer), ok);
    QCOMPARE(image.colorCount(), colors);
    buffer.seek(0);
    QImage plain;
    QCOMPARE(Plain::loadPcx(plain, &buffer), ok);
    QCOMPARE(image, plain);
}

void TestCodecs::pcxReusesItsPicture()
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

void TestCodecs::readersLeaveTheRestOfTheDevice()
{
    std::mt19937 random(4);
    const QImage picture = Plain::sprite({40, 30}, 32, random);
    for (Codec codec : {Codec::Rle8, Codec::Lz5}) {
        QByteArray bytes = "before" + write(codec, picture) + "behind";
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        buffer.seek(6);
        QImage back = prepared(picture);
        QVERIFY(read(codec, back, &buffer));
        QCOMPARE(pixelsOf(back), pixelsOf(picture));
        QCOMPARE(buffer.readAll(), QByteArray("behind"));
    }
}

void TestCodecs::readersWorkOnSequentialDevices()
{
    std::mt19937 random(5);
    const QImage picture = Plain::sprite({61, 40}, 32, random);
    for (Codec codec : {Codec::Rle8, Codec::Lz5, Codec::Pcx}) {
        Pipe pipe(write(codec, picture));
        QImage back = prepared(picture);
        QVERIFY(read(codec, back, &pipe));
        QCOMPARE(pixelsOf(back), pixelsOf(picture));
    }
    RGBA table[256];
    PaletteObject palette(&table);
    Pipe act(QByteArray(768, 'a'));
    QVERIFY(palette.fromFile(&act, "ACT"));
    QCOMPARE(table[0], (RGBA{'a', 'a', 'a', 255}));
    Pipe riff("RIFF1234PAL data" + hex("0404000000030001") + QByteArray(1020, 'b'));
    QVERIFY(palette.fromFile(&riff, "PAL"));
    QCOMPARE(table[1], (RGBA{'b', 'b', 'b', 255}));
}

void TestCodecs::cutStreamsReadLikeThePlainReader()
{
    std::mt19937 random(6);
    const QImage picture = Plain::sprite({21, 14}, 32, random);
    const QImage trueColor = picture.convertToFormat(QImage::Format_RGB32);
    const auto compare = [](auto load, auto loadPlainly, const QImage &like, QByteArray bytes) {
        for (int size = 128; size < bytes.size(); ++size) {
            QByteArray part = bytes.left(size);
            QBuffer one(&part);
            QBuffer two(&part);
            two.open(QIODevice::ReadOnly);
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
void TestCodecs::hostileBytes()
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
        QBuffer theirs(&bytes);
        theirs.open(QIODevice::ReadOnly);
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

void TestCodecs::devicesOfTheWrongDirection()
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

void TestCodecs::fullDisk()
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

void TestCodecs::picturesThatCannotBeWritten()
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
}

QTEST_APPLESS_MAIN(TestCodecs)
#include "tst_codecs.moc"
