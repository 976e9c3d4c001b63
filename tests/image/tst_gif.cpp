#include "plain.h"

#include <kilnx/image/codecs.h>
#include <kilnx/image/gif.h>
#include <tests/support/pipe.h>

#include <QtTest/QtTest>

using namespace Kiln;

namespace
{

/// The blocks of a GIF file in words, by the published layout.
class Blocks
{
public:
    explicit Blocks(const QByteArray &bytes)
        : m_bytes(bytes)
    {
        const QByteArray signature = take(6);
        const int width = word();
        const int height = word();
        const int flags = byte();
        const int background = byte();
        byte();
        m_list << QString::asprintf("%s %dx%d res %d back %d map %d", signature.constData(), width,
                                    height, (flags >> 4 & 7) + 1, background, skipMap(flags));
        while (m_pos < m_bytes.size() && readBlock()) {
        }
    }
    QStringList list() const { return m_list; }

private:
    QByteArray take(int count)
    {
        const QByteArray part = m_bytes.mid(m_pos, count);
        m_pos += count;
        return part;
    }
    int byte() { return m_pos < m_bytes.size() ? uchar(m_bytes[m_pos++]) : 0; }
    int word()
    {
        const int low = byte();
        return low | byte() << 8;
    }
    int skipMap(int flags)
    {
        const int size = flags & 0x80 ? 2 << (flags & 7) : 0;
        m_pos += 3 * size;
        return size;
    }
    QByteArray subBlocks()
    {
        QByteArray data;
        while (const int size = byte()) {
            if (m_pos >= m_bytes.size())
                break;
            data += take(size);
        }
        return data;
    }
    bool readBlock()
    {
        const int mark = byte();
        if (mark == 0x21) {
            const int label = byte();
            const QByteArray data = subBlocks();
            m_list << QString::number(label, 16) + ' ' +
                          (label == 0xFF ? data.left(11) + ' ' + data.mid(11).toHex()
                                         : data.toHex());
        } else if (mark == 0x2C) {
            const int left = word();
            const int top = word();
            const int width = word();
            const int height = word();
            const int flags = byte();
            m_list << QString::asprintf("image %d,%d %dx%d flags %d map %d", left, top, width,
                                        height, flags & 0x78, skipMap(flags));
            byte();
            subBlocks();
        } else {
            m_list << (mark == 0x3B ? QString("end") : QString("?"));
            return false;
        }
        return true;
    }

    QByteArray m_bytes;
    int m_pos = 0;
    QStringList m_list;
};

QImage indexed(QSize size, int colors, int transparent = -1)
{
    std::mt19937 random(unsigned(size.width() * 1000 + colors));
    QImage image = Plain::noise(size, QImage::Format_Indexed8, colors, random);
    QVector<QRgb> table = image.colorTable().mid(0, colors);
    if (transparent >= 0)
        table[transparent] &= 0x00FFFFFF;
    image.setColorTable(table);
    return image;
}

QImage trueColor(QSize size, QRgb color)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

QVector<RGB> triples(const QVector<QRgb> &colors)
{
    QVector<RGB> map;
    for (QRgb c : colors)
        map.append({uchar(qRed(c)), uchar(qGreen(c)), uchar(qBlue(c))});
    return map;
}

QByteArray saved(const QVector<AnimImageFrame> &frames, bool singlePalette, bool loop)
{
    QBuffer buffer;
    return saveGIF(&buffer, frames, singlePalette, loop) ? buffer.data() : QByteArray("refused");
}

GIFImage loaded(QByteArray bytes)
{
    GIFImage gif;
    QBuffer buffer(&bytes);
    return gif.load(&buffer) ? gif : GIFImage();
}

QPoint placeOf(const GIFImage &gif, int picture)
{
    return {gif.images()[picture].left, gif.images()[picture].top};
}

/// The colours of one stored picture, transparent ones as 0.
QVector<QRgb> colorsOf(const GIFImage &gif, int picture)
{
    const GIFImage::SubImage sub = gif.images().value(picture);
    const QVector<RGB> map = sub.colorMap.isEmpty() ? gif.globalColorMap() : sub.colorMap;
    QVector<QRgb> colors;
    for (int y = 0; y < sub.image.height(); ++y) {
        for (int x = 0; x < sub.image.width(); ++x) {
            const int index = sub.image.pixelIndex(x, y);
            const RGB c = map.value(index);
            colors.append(index == sub.transparent ? 0 : qRgb(c.r, c.g, c.b));
        }
    }
    return colors;
}

} // namespace

class TestGif : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void colorCounts()
    {
        const int rows[][3] = {{256, 256, 256}, {200, 200, 256}, {16, 16, 16},
                               {17, 17, 32},    {3, 3, 4},       {2, 2, 2},
                               {1, 1, 2},       {16, 100, 128},  {2, 100, 128}};
        for (const auto &[count, used, stored] : rows) {
            QImage image = indexed({40, 30}, used);
            image.setColorTable(image.colorTable().mid(0, count));
            QByteArray file = Plain::fileOf("GIF", image);
            QVector<RGB> map = triples(image.colorTable());
            map.resize(stored);
            // Many programs write a resolution of 0 whatever the colours.
            for (int mask : {0xFF, 0x8F}) {
                file[10] = char(file[10] & mask);
                const GIFImage gif = loaded(file);
                QCOMPARE(gif.globalColorMap(), map);
                QCOMPARE(gif.images().size(), 1);
                const QImage back = gif.images().constFirst().image;
                QCOMPARE(Plain::pixelsOf(back.convertToFormat(QImage::Format_Indexed8)),
                         Plain::pixelsOf(image));
            }
        }
    }

    void writtenBlocks()
    {
        using Frames = QVector<AnimImageFrame>;
        const auto row = [](const char *name, const QByteArray &file, const QStringList &blocks) {
            QCOMPARE(QStringList(name) + Blocks(file).list(), QStringList(name) + blocks);
        };
        const QString loop = QString("ff NETSCAPE2.0 010000");
        const QString end = QString("end");
        row("one picture has no control block", Plain::fileOf("GIF", indexed({5, 4}, 16, 3)),
            {"GIF89a 5x4 res 4 back 3 map 16", "image 0,0 5x4 flags 0 map 0", end});
        row("one picture without transparency", Plain::fileOf("GIF", indexed({5, 4}, 256)),
            {"GIF89a 5x4 res 8 back 0 map 256", "image 0,0 5x4 flags 0 map 0", end});
        row("one frame has none either, whatever its delay",
            saved(Frames{{indexed({5, 4}, 8, 1), {0, 0}, 6}}, true, true),
            {"GIF89a 5x4 res 3 back 1 map 8", loop, "image 0,0 5x4 flags 0 map 0", end});
        row("own maps; a frame without transparency has no control block",
            saved(Frames{{indexed({5, 4}, 8, 1), {0, 0}, 6}, {indexed({5, 4}, 32), {0, 0}, 60}},
                  false, false),
            {"GIF89a 5x4 res 5 back 0 map 0", "f9 090a0001", "image 0,0 5x4 flags 0 map 8",
             "image 0,0 5x4 flags 0 map 32", end});
        row("a single palette keeps the first picture's transparency, also behind a null frame",
            saved(Frames{{QImage(), {0, 0}, 6},
                         {indexed({5, 4}, 8, 7), {1, 0}, 6},
                         {indexed({3, 6}, 4), {0, 2}, 60}},
                  true, true),
            {"GIF89a 5x6 res 3 back 0 map 8", loop, "f9 090a0007", "image 0,2 5x4 flags 0 map 0",
             "f9 09640007", "image 1,0 3x6 flags 0 map 0", end});
        row("true colour frames share a table of 256",
            saved(Frames{{trueColor({5, 4}, 0xFFFF0000), {0, 0}, 1},
                         {trueColor({5, 4}, 0), {0, 0}, 60}},
                  false, false),
            {"GIF89a 5x4 res 8 back 0 map 256", "f9 09010000", "image 0,0 5x4 flags 0 map 0",
             "f9 09640000", "image 0,0 5x4 flags 0 map 0", end});
    }

    void loadTakesOverTheFile()
    {
        const QImage first = indexed({5, 4}, 8, 1);
        const QImage second = indexed({3, 6}, 32);
        GIFImage gif(9, 8, true);
        gif.globalColorMap() = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {0, 0, 0}};
        const QVector<RGB> own = triples(second.colorTable());
        // The last one has the global map alone, after two with maps of their own.
        gif.images() = {{first, own, 1, 2, 50, 6},
                        {second, own, -5536, -5536, 70, -1},
                        {indexed({2, 2}, 4), {}, 0, 0, 70, -1}};
        QBuffer buffer;
        QVERIFY(gif.save(&buffer));
        // Far outside the screen, where shorts are negative.
        QVERIFY(Blocks(buffer.data()).list().contains("image 60000,60000 3x6 flags 0 map 32"));
        buffer.close();
        buffer.open(QIODevice::ReadOnly);
        QImage picture;
        QVERIFY(loadImage(&buffer, "GIF", picture));
        QVector<QRgb> firstColors = second.colorTable();
        firstColors[6] &= 0x00FFFFFF; // by the control block; the map is the picture's own
        QCOMPARE(picture.colorTable(), firstColors);
        buffer.close();
        GIFImage back(1, 1, false);
        back.images().append(GIFImage::SubImage());
        QVERIFY(back.load(&buffer));
        QCOMPARE(QSize(back.width(), back.height()), QSize(9, 8));
        QVERIFY(back.canLoop());
        QCOMPARE(back.globalColorMap(), gif.globalColorMap());
        QCOMPARE(back.images().size(), 3);
        QCOMPARE(colorsOf(back, 0), colorsOf(gif, 0));
        QVERIFY(back.images()[2].colorMap.isEmpty());
        QCOMPARE(back.images()[1].colorMap, own);
        QCOMPARE(placeOf(back, 0), QPoint(1, 2));
        QCOMPARE(placeOf(back, 1), QPoint(-5536, -5536));
        QCOMPARE(back.images()[0].transparent, short(6));
        QCOMPARE(Plain::pixelsOf(back.images()[1].image), Plain::pixelsOf(second));
        // Without a control block the background of a file with a global map counts.
        QCOMPARE(back.images()[1].transparent, short(0));

        gif.images() = {gif.images().constFirst()};
        gif.globalColorMap().clear();
        gif.setLoop(false);
        QBuffer one;
        QVERIFY(gif.save(&one));
        one.close();
        QVERIFY(back.load(&one));
        // A single picture gives its own size; without a global map nothing is transparent.
        QCOMPARE(QSize(back.width(), back.height()), QSize(5, 4));
        QVERIFY(!back.canLoop());
        QCOMPARE(back.images()[0].transparent, short(-1));
    }

    void monoFiles()
    {
        for (int width : {1, 7, 8, 9, 31, 70}) {
            QImage image(width, 5, QImage::Format_Mono);
            image.fill(0);
            image.setColorTable({0xFF102030, 0xFFA0B0C0});
            for (int i = 0; i < width * 5; i += 3)
                image.setPixel(i % width, i / width, 1);
            const QByteArray bytes = Plain::fileOf("GIF", image);
            QVERIFY(Blocks(bytes).list().constFirst().contains(QLatin1String("res 1 ")));
            const GIFImage gif = loaded(bytes);
            QCOMPARE(gif.images().size(), 1);
            QImage back = gif.images().constFirst().image;
            QCOMPARE(int(back.format()), int(QImage::Format_Mono));
            back.setColorTable(image.colorTable());
            QCOMPARE(back, image);
            // Whoever wants a picture gets one byte a pixel, and the background as transparent.
            Plain::OpenBuffer buffer(bytes);
            QVERIFY(loadImage(&buffer, "GIF", back));
            QImage bytewise = image.convertToFormat(QImage::Format_Indexed8);
            bytewise.setColor(0, 0x00102030);
            QCOMPARE(back, bytewise);
        }
    }

    void framesOnTheScreen()
    {
        // Opaque pixels stay opaque without alpha too.
        for (QImage::Format format : {QImage::Format_ARGB32, QImage::Format_RGB32}) {
            const auto solid = [format](QSize size, QRgb color) {
                return trueColor(size, color).convertToFormat(format);
            };
            const QVector<AnimImageFrame> frames = {{solid({10, 4}, 0xFFFF0000), {3, 1}, 6},
                                                    {QImage(), {900, 900}, 6},
                                                    {solid({5, 9}, 0xFF00FF00), {-2, 7}, 6}};
            const GIFImage gif = loaded(saved(frames, false, true));
            QCOMPARE(QSize(gif.width(), gif.height()), QSize(10, 10));
            QCOMPARE(gif.images().size(), 2);
            QCOMPARE(placeOf(gif, 0), QPoint(0, 6));
            QCOMPARE(placeOf(gif, 1), QPoint(5, 0));
            QCOMPARE(colorsOf(gif, 0), QVector<QRgb>(40, 0xFFFF0000));
            QCOMPARE(colorsOf(gif, 1), QVector<QRgb>(45, 0xFF00FF00));
        }
    }

    /// The plain quantizer and the plain scan give the same file contents.
    void trueColorFramesShareOneTable()
    {
        std::mt19937 random(1);
        QVector<QImage> images;
        QVector<AnimImageFrame> frames;
        for (int i = 0; i < 3; ++i) {
            QImage image = Plain::photo({40, 30}, random).convertToFormat(QImage::Format_ARGB32);
            image.setPixel(i, 0, 0x10FFFFFF);
            image.setPixel(i, 1, 0x80FFFFFF);
            images.append(image);
            frames.append({image, {0, 0}, 6});
        }
        RGBA table[256];
        QVERIFY(Plain::quantize(images, 255, 8, table) <= 255);
        RGBA palette[256] = {};
        for (int i = 1; i < 256; ++i)
            palette[i] = {table[i - 1].r, table[i - 1].g, table[i - 1].b, 255};
        palette[0] = {table[0].r, table[0].g, table[0].b, 255};
        const GIFImage gif = loaded(saved(frames, true, true));
        QCOMPARE(gif.images().size(), 3);
        for (int i = 0; i < 256; ++i)
            QCOMPARE(gif.globalColorMap()[i], (RGB{palette[i].r, palette[i].g, palette[i].b}));
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(gif.images()[i].transparent, short(0));
            const QImage expected = Plain::adapt(images[i], palette);
            for (int y = 0; y < 30; ++y) {
                for (int x = 0; x < 40; ++x) {
                    const bool isClear = qAlpha(images[i].pixel(x, y)) < 128;
                    QCOMPARE(gif.images()[i].image.pixelIndex(x, y),
                             isClear ? 0 : qMax(expected.pixelIndex(x, y), 1));
                }
            }
        }
    }

    void mixedFrames()
    {
        for (const int kind : {0, 1, 2, 3}) {
            const bool indexedFirst = kind & 1;
            const bool singlePalette = kind & 2;
            QImage table(6, 5, QImage::Format_Indexed8);
            table.fill(2);
            table.setColorTable({0, 0xFF0000FF, 0xFF00FF00, 0xFFFF0000});
            QImage full = trueColor({16, 12}, 0xFFFF0000);
            const QImage noAlpha = full.copy(0, 0, 6, 5).convertToFormat(QImage::Format_RGB32);
            std::mt19937 random(3);
            // Fewer pixels than a table has entries: a table of their own gives every colour.
            if (!indexedFirst || !singlePalette)
                full = Plain::photo({16, 12}, random).convertToFormat(QImage::Format_ARGB32);
            full.setPixel(0, 0, 0x00010203);
            full.setPixel(1, 0, 0xFFFF0000);
            QVector<AnimImageFrame> frames = {
                {table, {0, 0}, 6}, {full, {0, 0}, 6}, {noAlpha, {0, 0}, 6}};
            if (!indexedFirst)
                std::swap(frames[0], frames[1]);
            const GIFImage gif = loaded(saved(frames, singlePalette, false));
            QCOMPARE(gif.images().size(), 3);
            QCOMPARE(gif.globalColorMap().isEmpty(), !singlePalette);
            const int fullAt = indexedFirst ? 1 : 0;
            const auto *pixels = reinterpret_cast<const QRgb *>(full.constBits());
            QVector<QRgb> expected(pixels, pixels + 16 * 12);
            expected[0] = 0;
            QCOMPARE(colorsOf(gif, fullAt), expected);
            QCOMPARE(colorsOf(gif, 2), QVector<QRgb>(30, 0xFFFF0000));
            // With one palette an indexed frame that comes later keeps its indexes.
            if (indexedFirst || !singlePalette)
                QCOMPARE(colorsOf(gif, 1 - fullAt), QVector<QRgb>(30, 0xFF00FF00));
            else
                QCOMPARE(gif.images()[1].image.pixelIndex(3, 3), 2);
        }
    }

    void delays()
    {
        const QImage image = indexed({2, 2}, 4, 3);
        const int delays[][2] = {{0, 0}, {1, 1}, {2, 3}, {6, 10}, {59, 98}, {INT_MAX, 0x7FFF}};
        for (const auto &row : delays) {
            const QByteArray file =
                saved({{image, {0, 0}, row[0]}, {image, {0, 0}, 1}}, false, false);
            const QByteArray bytes = QByteArray(1, char(row[1])) + char(row[1] >> 8);
            QCOMPARE(Blocks(file).list().value(1),
                     QString::fromLatin1("f9 09" + bytes.toHex() + "03"));
        }
    }

    void refusesToWrite()
    {
        const QImage image = indexed({2, 2}, 4);
        QBuffer buffer;
        QVERIFY(!saveGIF(nullptr, {{image, {0, 0}, 1}}, false, false));
        const AnimImageFrame none{QImage(), {0, 0}, 1};
        const QVector<QVector<AnimImageFrame>> refused = {
            {},
            {none},
            {{image, {INT_MIN, 0}, 1}, {image, {INT_MAX, 0}, 1}},
            {{image, {0, 0}, 1}, {image, {0, 65535}, 1}}};
        for (const QVector<AnimImageFrame> &frames : refused)
            QVERIFY(!saveGIF(&buffer, frames, false, false));
        GIFImage empty(1, 1, false);
        QVERIFY(!empty.save(&buffer));
        GIFImage deep(2, 2, false);
        deep.globalColorMap() = {{1, 2, 3}};
        deep.images().append({trueColor({2, 2}, 0), {}, 0, 0, 0, -1});
        QVERIFY(!deep.save(&buffer));
        QVERIFY(buffer.data().isEmpty());
        buffer.open(QIODevice::WriteOnly);
        QVERIFY(!saveImage(&buffer, "GIF", trueColor({2, 2}, 0)));
        // Colours that nobody gave can't be written.
        QImage noTable = image;
        noTable.setColorTable({});
        QVERIFY(!saveImage(&buffer, "GIF", noTable));
        // The shared colours of true colour frames are taken at the last one, which is null here.
        QVERIFY(!saveGIF(&buffer, {{trueColor({2, 2}, 0), {0, 0}, 1}, none}, false, false));
    }

    void cutFiles()
    {
        const QImage image = indexed({19, 17}, 64, 3);
        const QByteArray bytes = saved({{image, {0, 0}, 6}, {image, {0, 0}, 6}}, true, true);
        int kept = 0;
        for (int size = 0; size < bytes.size(); ++size) {
            QByteArray part = bytes.left(size);
            QBuffer buffer(&part);
            GIFImage gif;
            QVERIFY(!gif.load(&buffer));
            kept = gif.images().size();
            for (int i = 0; i + 1 < kept; ++i)
                QCOMPARE(gif.images()[i].image.pixelIndex(5, 5), image.pixelIndex(5, 5));
            QImage untouched(1, 1, QImage::Format_RGB32);
            Plain::OpenBuffer open(part);
            QVERIFY(loadImage(&open, "GIF", untouched));
            QCOMPARE(int(untouched.format()), int(QImage::Format_RGB32));
        }
        QCOMPARE(kept, 2);
    }

    void brokenFiles()
    {
        const QByteArray head =
            QByteArray("GIF89a").append(QByteArray::fromHex("01000100800000000000FFFFFF"));
        const struct {
            const char *name;
            QByteArray head;
            const char *rest;
            int repeats;
        } rows[] = {{"nothing", "", "", 1},
                    {"another signature", "PNG89a" + head.mid(6), "", 1},
                    {"a picture of 0 by 0", head, "2C000000000000000000020100003B", 1},
                    {"65,535 a side without data", head, "2C00000000FFFFFFFF0002023B", 1},
                    {"many of them", head, "2C00000000FF7FFF7F00020144003B", 100},
                    {"an empty extension before a thousand million pixels", head,
                     "210000002C00000000007F007F0002020144003B", 1},
                    {"an own map before them", head,
                     "2C000000000100010080000000FFFFFF0202440100"
                     "2C00000000007F007F0002020144003B",
                     1},
                    {"a code size of 255", head, "2C000000000100010000FF0244013B", 1},
                    {"broken pixels behind an own map", head,
                     "2C000000000100010080000000FFFFFF020177003B", 1},
                    {"an unknown block", head, "77", 1}};
        for (const auto &row : rows) {
            QByteArray file = row.head + QByteArray::fromHex(row.rest).repeated(row.repeats);
            QBuffer buffer(&file);
            Pipe pipe(file);
            for (QIODevice *device :
                 {static_cast<QIODevice *>(&buffer), static_cast<QIODevice *>(&pipe)}) {
                GIFImage gif;
                QVERIFY2(!gif.load(device), row.name);
                qint64 memory = 0;
                for (const GIFImage::SubImage &picture : gif.images())
                    memory += picture.image.sizeInBytes();
                QVERIFY2(memory <= 16 << 20, row.name);
            }
        }
    }
};

QTEST_APPLESS_MAIN(TestGif)
#include "tst_gif.moc"
