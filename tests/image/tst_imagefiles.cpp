#include "plain.h"

#include <kilnx/image/codecs.h>
#include <kilnx/image/gif.h>
#include <kilnx/image/imageops.h>
#include <kilnx/image/palette.h>
#include <kilnx/project/extension.h>
#include <tests/support/files.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>

#include <atomic>
#include <functional>
#include <thread>

#include <malloc.h>

using namespace Kiln;
using Plain::OpenBuffer;

namespace
{

/// A picture format from outside: one byte a side, the second one answers.
class TinyReader : public ImageReader
{
public:
    explicit TinyReader(bool works)
        : m_works(works)
    {
    }
    const char *format() override { return "TINY"; }
    bool read(QIODevice *device, QImage &image) override
    {
        char side = 0;
        device->getChar(&side);
        if (m_works && side > 0)
            image = QImage(side, side, QImage::Format_RGB32);
        return m_works && side > 0;
    }

private:
    bool m_works;
};

class TinyWriter : public ImageWriter
{
public:
    const char *format() override { return "TINY"; }
    bool write(const QImage &image, QIODevice *device) override
    {
        return device->putChar(char(image.width()));
    }
};

/// The first of these programs that is installed. Plain names may stand for something else.
QString program(const QStringList &names)
{
    for (const QString &name : names) {
        const QString path = QStandardPaths::findExecutable(name, {QString("/usr/bin")});
        if (!path.isEmpty())
            return path;
    }
    return QString();
}

bool run(const QString &program, const QStringList &arguments, const QString &output = QString())
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    if (!output.isEmpty())
        process.setStandardOutputFile(output);
    process.start(program, arguments);
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

bool readBytes(const QByteArray &bytes, const char *format, QImage &image)
{
    OpenBuffer buffer(bytes);
    return loadImage(&buffer, format, image);
}

ImageInfo infoOf(const QByteArray &bytes, const char *format)
{
    OpenBuffer buffer(bytes);
    return imageInfoFromFile(&buffer, format);
}

/// One of the files that the fuzz targets start from.
QByteArray seed(const char *name)
{
    return readFile(QString(KILN_SOURCE_DIR "/tests/fuzz/corpus/") + QString::fromLatin1(name));
}

/// Something that any thread may do, and all that came out of it.
using Work = std::function<QByteArray()>;

/// Reads a file, asks it for its size and its palette, and writes the picture again.
Work fileWork(const QByteArray &format, const QImage &image)
{
    return [=, file = Plain::fileOf(format, image)] {
        QImage read(1, 1, QImage::Format_RGB32);
        read.fill(0);
        if (format != "TINY") // its pixels mean nothing
            readBytes(file, format, read);
        const ImageInfo info = infoOf(file, format);
        OpenBuffer buffer(file);
        RGBA table[256] = {};
        PaletteObject(&table).fromFile(&buffer, format);
        return Plain::pixelsOf(read) + QByteArray::number(info.width * info.height) +
               QByteArray(reinterpret_cast<const char *>(table), sizeof table) +
               Plain::fileOf(format, image);
    };
}

template<class Save, class Load>
Work rawWork(const QImage &image, Save save, Load load)
{
    return [=] {
        QBuffer buffer;
        save(image, &buffer);
        buffer.close();
        QImage read(image.size(), image.format());
        load(read, &buffer);
        return buffer.data() + Plain::pixelsOf(read);
    };
}

Work paletteWork(const QByteArray &file, const QByteArray &format = "PAL")
{
    return [=] {
        OpenBuffer buffer(file);
        RGBA table[256];
        PaletteObject palette(&table);
        palette.fromFile(&buffer, format);
        QBuffer act;
        act.open(QIODevice::WriteOnly);
        palette.toFile(&act, "ACT");
        return act.data();
    };
}

std::vector<Work> everyWork()
{
    std::mt19937 random(7);
    const QImage sprite = Plain::sprite({64, 40}, 32, random);
    const QImage photo = Plain::photo({33, 40}, random);
    std::vector<Work> works = {
        rawWork(sprite, saveRLE8, loadRLE8),
        rawWork(photo, savePNG, loadPNG),
        rawWork(
            sprite, [](const QImage &i, QIODevice *device) { return saveLZ5(i, device, true); },
            loadLZ5),
        rawWork(
            sprite, [](const QImage &i, QBuffer *buffer) { buffer->setData(Plain::saveRle5(i)); },
            loadRLE5),
        paletteWork("JASC-PAL\r\n0100\r\n2\r\n1 2 3\r\n4 5 6\r\n"),
        paletteWork("ROWS\nR: 1, G: 2, B: 3\n"),
        paletteWork(seed("palette/riff.pal")),
        paletteWork(seed("palette/swatches.ase")),
        paletteWork(seed("palette/colours.aco"), "ACO"),
        paletteWork(seed("palette/table.act"), "ACT"),
        [=] {
            RGBA palette[256] = {{1, 2, 3, 4}, {200, 100, 50, 255}};
            QImage adapted = photo;
            adaptImageToPalette(adapted, palette);
            return Plain::pixelsOf(adapted);
        },
        [=] {
            QBuffer buffer;
            saveGIF(&buffer, {{photo, {1, 2}, 6}, {photo, {3, 4}, 9}}, true, true);
            return buffer.data();
        }};
    for (const char *format : {"PNG", "BMP", "PCX", "GIF", "TINY"})
        works.push_back(fileWork(format, sprite));
    for (const char *format : {"PNG", "BMP", "PCX"})
        works.push_back(fileWork(format, photo));
    for (int filter = NearestNeighbor; filter <= HqBilinear; ++filter) {
        works.push_back([=] {
            RGBA palette[256] = {{1, 2, 3, 4}};
            const QImage grown =
                resizeImage(photo, photo.size() * 2, palette, ImageResizeFilter(filter));
            return Plain::pixelsOf(rotateImage(grown, 1, 0));
        });
    }
    return works;
}

/// What a picture looks like; alpha only where `withAlpha`.
QImage look(const QImage &image, bool withAlpha = false)
{
    return image.convertToFormat(QImage::Format_ARGB32)
        .convertToFormat(withAlpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
}

/// Without its alpha, the colour table too: GIF takes index 0 as transparent.
QImage opaque(QImage image)
{
    QVector<QRgb> table = image.colorTable();
    for (QRgb &color : table)
        color |= 0xFF000000;
    image.setColorTable(table);
    return image;
}

} // namespace

class TestImageFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        mallopt(M_PERTURB, 0x5A); // so that pixels that nobody wrote are seen
        QVERIFY(m_dir.isValid());
        m_convert = program({QString("convert-im6.q16"), QString("convert-im7.q16")});
        m_gifText = program({"giftext"});
        m_gifBuild = program({"gifbuild"});
        QVERIFY2(!m_convert.isEmpty(), "needs the package imagemagick");
        QVERIFY2(!m_gifText.isEmpty() && !m_gifBuild.isEmpty(), "needs the package giflib-tools");
        ExtensionManager::add(new TinyReader(false));
        ExtensionManager::add(new TinyReader(true));
        ExtensionManager::add(new TinyWriter);
    }

    void roundTrips_data()
    {
        columns<QByteArray, int>("format", "pixels");
        const QMap<QByteArray, QVector<QImage::Format>> formats{
            {"PNG",
             {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_RGB32,
              QImage::Format_ARGB32}},
            {"BMP", {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_RGB32}},
            {"PCX", {QImage::Format_Indexed8, QImage::Format_RGB32, QImage::Format_ARGB32}},
            {"GIF", {QImage::Format_Mono, QImage::Format_Indexed8}}};
        for (const QByteArray &word : formats.keys()) {
            for (QImage::Format format : formats[word])
                QTest::addRow("%s, format %d", word.constData(), format) << word << int(format);
        }
    }

    void roundTrips()
    {
        auto [format, pixels] = row<QByteArray, int>();
        std::mt19937 random(1);
        const bool isMono = pixels == QImage::Format_Mono;
        const QImage::Format wanted = isMono ? QImage::Format_Indexed8 : QImage::Format(pixels);
        for (int width = 1; width <= 70; ++width) {
            for (int height : {1, 5}) {
                for (QImage image :
                     {Plain::noise({width, height}, wanted, isMono ? 2 : 256, random),
                      Plain::sprite({width, height}, 32, random)}) {
                    image = image.convertToFormat(QImage::Format(pixels));
                    const QByteArray file = Plain::fileOf(format, image);
                    for (int y = 0; y < height; ++y) {
                        for (int i = (width * image.depth() + 7) / 8; i < image.bytesPerLine(); ++i)
                            image.scanLine(y)[i] ^= 0xFF;
                    }
                    QCOMPARE(Plain::fileOf(format, image), file);
                    QImage back;
                    QVERIFY(readBytes(file, format, back));
                    QCOMPARE(int(back.format()), int(wanted));
                    QCOMPARE(opaque(back), opaque(image.convertToFormat(wanted)));
                    // The padding is 0, so that rows can be compared whole.
                    for (int y = 0; y < height; ++y) {
                        for (int i = width * back.depth() / 8; i < back.bytesPerLine(); ++i)
                            QCOMPARE(int(back.constScanLine(y)[i]), 0);
                    }
                    const ImageInfo info = infoOf(file, format);
                    QCOMPARE(QSize(info.width, info.height), back.size());
                    if (!isMono)
                        QCOMPARE(info.format, back.format());
                }
            }
        }
    }

    void indexesPastTheTableAreBlack()
    {
        QVector<QRgb> table(256, 0xFF000000);
        table[1] = 0xFF112233;
        QImage image;
        const QByteArray bmp = seed("qt/past-the-table.bmp").replace(58, 3, "\x33\x22\x11");
        QVERIFY(readBytes(bmp, "BMP", image));
        QCOMPARE(image.colorTable(), table);
        QCOMPARE(image.pixelIndex(0, 0), 200);
        // Also when only one row has such pixels; rows stand in the file from the bottom up.
        const int stride = (image.width() + 3) / 4 * 4;
        const int pixels = bmp.size() - stride * image.height();
        for (int y = 0; y < image.height(); ++y) {
            QByteArray one = bmp;
            for (int other = 0; other < image.height(); ++other)
                one.replace(pixels + stride * (image.height() - 1 - other), image.width(),
                            QByteArray(image.width(), char(other == y ? 200 : 1)));
            QImage read;
            QVERIFY(readBytes(one, "BMP", read));
            QCOMPARE(read.colorTable(), table);
            QCOMPARE(read.pixelIndex(0, y), 200);
        }
        // In a PNG they become 0 before.
        QVERIFY(readBytes(seed("qt/past-the-table.png"), "PNG", image));
        QCOMPARE(image.colorCount(), 2);
        QCOMPARE(image.pixelIndex(0, 1), 0);
    }

    void missingPixelsAreCleared()
    {
        // A cut file keeps its lowest rows, of three and of four bytes a pixel.
        const QString path = m_dir.filePath(QString("alpha.bmp"));
        QVERIFY(run(m_convert, {"-size", "6x4", "xc:rgba(255,0,0,0.4)", "BMP:" + path}));
        QImage solid(6, 4, QImage::Format_RGB32);
        solid.fill(0xFFFF0000);
        const struct {
            QByteArray file;
            int bytes; // of the two rows that are missing
            QRgb kept;
            QRgb missing;
        } cases[] = {{Plain::fileOf("BMP", solid), 40, 0xFFFF0000, 0xFF000000},
                     {readFile(path), 48, 0x66FF0000, 0}};
        for (const auto &c : cases) {
            QImage image;
            QVERIFY(readBytes(c.file.left(c.file.size() - c.bytes), "BMP", image));
            for (int y = 0; y < 4; ++y) {
                for (int x = 0; x < 6; ++x)
                    QCOMPARE(image.pixel(x, y), y < 2 ? c.missing : c.kept);
            }
        }
        // Packed rows may end early and skip pixels: two, then one to the right and one row up.
        const QByteArray packed = QByteArray::fromHex(
            "424D000000000000000036000000 28000000 04000000 03000000 0100 0800 01000000 00000000"
            "00000000 00000000 02000000 00000000 11223300 44556600 0201 00020101 0101 0001");
        QImage image;
        QVERIFY(readBytes(QByteArray(packed).replace(10, 1, "\x3E"), "BMP", image));
        QCOMPARE(Plain::pixelsOf(image).toHex(' '),
                 QByteArray("00 00 00 00 00 00 00 01 01 01 00 00"));
    }

    void failedReads_data()
    {
        const auto add = columns<QByteArray, QByteArray, bool>("format", "file", "keeps");
        const auto changed = [](const char *word, int from, const char *bytes) {
            const QByteArray hex = QByteArray::fromHex(bytes);
            return Plain::fileOf(word, QImage(1, 1, QImage::Format_RGB32))
                .replace(from, hex.size(), hex);
        };
        const QByteArray png =
            changed("PNG", 12, "49484452 0000FFFF 0000FFFF 0802000000 39674E07"); // a whole header
        add("PNG", "PNG", "no picture", false);
        add("BMP", "BMP", "BMno picture", false);
        add("PCX", "PCX", "no picture", true);
        add("PCX, 65,536 a side", "PCX", changed("PCX", 4, "00000000FFFFFFFF"), false);
        add("PCX without width", "PCX", changed("PCX", 4, "0900000003000000"), false);
        add("GIF", "GIF", "GIF89a", true);
        add("a lower-case word", "png", "no picture", true);
        add("a word nobody knows", "XYZ", "no picture", true);
        add("an extension", "TINY", "", true);
        add("PNG, 65,535 a side", "PNG", png, false);
        add("BMP, 65,536 a side", "BMP", changed("BMP", 18, "0000010000000100"), false);
        add("BMP, 50 million rows, top first", "BMP", changed("BMP", 18, "04000000020000FD"),
            false);
    }

    void failedReads()
    {
        auto [format, file, keeps] = row<QByteArray, QByteArray, bool>();
        QImage none;
        QVERIFY(!readBytes(file, format, none));
        QImage held(3, 2, QImage::Format_RGB32);
        held.fill(0xFF123456);
        const QImage before = held;
        QCOMPARE(readBytes(file, format, held), keeps);
        QCOMPARE(held, keeps ? before : QImage());
        QVERIFY(!loadImage(nullptr, format, held));
        QBuffer closed;
        QVERIFY(!loadImage(&closed, format, held));
    }

    void extensionsComeAfterTheBuiltIn()
    {
        QImage image;
        QVERIFY(readBytes("\x07", "TINY", image));
        QCOMPARE(image.size(), QSize(7, 7));
        QCOMPARE(Plain::fileOf("TINY", image), QByteArray("\x07"));
        QVERIFY(!readBytes("\x07", "tiny", image = QImage()));
    }

    void refusesToWrite()
    {
        const QImage image(2, 2, QImage::Format_RGB32);
        for (const char *format : {"PNG", "BMP", "GIF", "PCX", "TINY"}) {
            QCOMPARE(Plain::fileOf(format, QImage()), QByteArray("refused"));
            QBuffer readOnly;
            readOnly.open(QIODevice::ReadOnly);
            QVERIFY(!saveImage(&readOnly, format, image));
            QVERIFY(!saveImage(nullptr, format, image));
        }
        QCOMPARE(Plain::fileOf("XYZ", image), QByteArray("refused"));
        QCOMPARE(Plain::fileOf("png", image), QByteArray("refused"));
    }

    void info_data()
    {
        const auto row = columns<QByteArray, QByteArray, int, int, int>("format", "file", "width",
                                                                        "height", "pixels");
        const auto bmp = [](qint32 width, qint32 height, quint16 bits) {
            QByteArray bytes("BM");
            QDataStream stream(&bytes, QIODevice::Append);
            stream.setByteOrder(QDataStream::LittleEndian);
            stream << qint32(0) << qint32(0) << qint32(0) << qint32(40) << width << height
                   << qint16(1) << bits;
            return bytes + QByteArray(24, 0);
        };
        row("BMP, 8 bits", "BMP", bmp(300, 200, 8), 300, 200, 3);
        row("BMP, 5 bits, top down", "BMP", bmp(3, -200, 5), 3, 200, 3);
        row("BMP, 24 bits", "BMP", bmp(-3, 2, 24), 3, 2, 4);
        row("BMP, 32 bits", "BMP", bmp(3, 2, 32), 3, 2, 5);
        row("BMP, 4 bits", "BMP", bmp(3, 2, 4), 3, 2, 0);
        row("BMP, sizes are cut to 16 bits", "BMP", bmp(0x10003, INT_MIN, 8), 3, 0, 3);
        row("BMP, cut", "BMP", bmp(3, 2, 4).left(53), 0, 0, 3);
        const auto png = [](int type) {
            QByteArray bytes("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\x01\x2c\0\x01\0\xc8\x08", 25);
            return bytes.append(char(type));
        };
        row("PNG, grey", "PNG", png(0), 300, 200, 3);
        row("PNG, RGB", "PNG", png(2), 300, 200, 4);
        row("PNG, indexed", "PNG", png(3), 300, 200, 3);
        row("PNG, grey with alpha", "PNG", png(4), 300, 200, 3);
        row("PNG, RGBA", "PNG", png(6), 300, 200, 5);
        row("PNG, bad signature", "PNG", png(6).replace(0, 1, "x"), 0, 0, 3);
        row("PNG, no header chunk", "PNG", png(6).replace(12, 1, "x"), 0, 0, 3);
        const auto pcx = [](int bits, int planes) {
            QByteArray bytes(128, 0);
            bytes[0] = 10;
            bytes[1] = 5;
            bytes[3] = char(bits);
            bytes[4] = 2;
            bytes[6] = 1;
            bytes[8] = 11;
            bytes[10] = 20;
            bytes[65] = char(planes);
            return bytes;
        };
        row("PCX, 8 bits", "PCX", pcx(8, 1), 10, 20, 3);
        row("PCX, 5 bits", "PCX", pcx(5, 1), 10, 20, 3);
        row("PCX, 24 bits", "PCX", pcx(8, 3), 10, 20, 4);
        row("PCX, 32 bits", "PCX", pcx(8, 4), 10, 20, 5);
        row("PCX, product above a byte", "PCX", pcx(24, 11), 10, 20, 3);
        row("PCX, 16 bits", "PCX", pcx(8, 2), 10, 20, 0);
        row("PCX, cut", "PCX", pcx(8, 3).left(127), 0, 0, 3);
        const auto gif = [](int flags) {
            return QByteArray("GIF87a\x2c\x01\xc8\0", 10).append(char(flags)).append("\0\0", 2);
        };
        row("GIF, 32 colours", "GIF", gif(0x84), 300, 200, 3);
        row("GIF, 256 colours", "GIF", gif(0xF7), 300, 200, 3);
        row("GIF, 16 colours", "GIF", gif(0xF3), 300, 200, 0);
        row("GIF, other version", "GIF", gif(0xF7).replace(3, 1, "9"), 0, 0, 3);
        row("GIF, cut", "GIF", gif(0xF3).left(12), 0, 0, 3);
        row("another word", "TINY", "\x07", 0, 0, 3);
        row("nothing", "PNG", QByteArray(), 0, 0, 3);
    }

    void info()
    {
        auto [format, file] = row<QByteArray, QByteArray>();
        QBuffer closed(&file);
        QCOMPARE(int(imageInfoFromFile(&closed, format).format), 3);
        const ImageInfo found = infoOf(file, format);
        QTEST(int(found.width), "width");
        QTEST(int(found.height), "height");
        QTEST(int(found.format), "pixels");
    }

    void independentFilesAreRead_data()
    {
        const auto add = columns<int, int>("pixels", "wanted");
        constexpr int indexed = QImage::Format_Indexed8;
        constexpr int rgb = QImage::Format_RGB32;
        constexpr int argb = QImage::Format_ARGB32;
        constexpr int grey = QImage::Format_Grayscale8;
        constexpr int mono = QImage::Format_Mono;
        // Each name is what the program is told; its last word is the format that it writes.
        add("-type Palette PCX", indexed, indexed);
        add("-type TrueColor PCX", rgb, rgb);
        add("-type TrueColorAlpha PCX", argb, argb);
        add("-type Palette GIF", indexed, indexed);
        add("-type Bilevel GIF", mono, indexed);
        add("-type Palette PNG8", indexed, indexed);
        add("-type TrueColor PNG24", rgb, rgb);
        add("-type TrueColorAlpha PNG32", argb, argb);
        add("-type TrueColor PNG48", rgb, rgb);
        add("-type TrueColorAlpha PNG64", argb, argb);
        add("-define png:color-type=0 -define png:bit-depth=1 PNG", mono, indexed);
        add("-define png:color-type=0 -define png:bit-depth=8 PNG", grey, indexed);
        add("-define png:color-type=0 -define png:bit-depth=16 PNG", grey, indexed);
        add("-define png:color-type=4 -define png:bit-depth=8 PNG", grey, argb);
        add("-define png:color-type=4 -define png:bit-depth=16 PNG", grey, argb);
        add("-type Palette BMP3", indexed, indexed);
        add("-type TrueColor BMP3", rgb, rgb);
        add("-type Bilevel BMP3", mono, indexed);
        add("-type TrueColorAlpha BMP", argb, argb);
    }

    void independentFilesAreRead()
    {
        const auto [pixels, wanted] = row<int, int>();
        const QString options = QTest::currentDataTag();
        const QByteArray format = options.section(' ', -1).left(3).toLatin1();
        std::mt19937 random(4);
        const QString source = m_dir.filePath(QString("source.png"));
        const QString path = m_dir.filePath(QString("converted"));
        const bool hasAlpha = wanted == QImage::Format_ARGB32;
        for (const int width : {1, 8, 31, 64}) {
            QImage image = pixels == QImage::Format_Indexed8
                               ? Plain::sprite({width, 23}, 200, random)
                               : Plain::noise({width, 23}, QImage::Format_ARGB32, 0, random);
            if (pixels == QImage::Format_Grayscale8 || pixels == QImage::Format_RGB32)
                image = image.convertToFormat(QImage::Format_RGB32);
            image = image.convertToFormat(QImage::Format(pixels));
            QVERIFY(image.save(source));
            QVERIFY(run(m_convert, (source + ' ' + options + ':' + path).split(' ')));
            QImage read;
            QVERIFY(readBytes(readFile(path), format, read));
            QCOMPARE(read.size(), image.size());
            QCOMPARE(int(read.format()), wanted);
            QCOMPARE(look(wanted == QImage::Format_Indexed8 ? opaque(read) : read, hasAlpha),
                     look(image, hasAlpha));
        }
    }

    void independentProgramsReadOurs_data() { roundTrips_data(); }

    void independentProgramsReadOurs()
    {
        auto [format, pixels] = row<QByteArray, int>();
        std::mt19937 random(5);
        for (int width : {1, 8, 33}) {
            QImage image = Plain::sprite({width, 21}, 32, random);
            if (pixels == QImage::Format_Mono)
                image = image.convertToFormat(QImage::Format_Mono);
            else if (pixels != QImage::Format_Indexed8)
                image = Plain::noise({width, 21}, QImage::Format(pixels), 0, random);
            const QString path =
                m_dir.filePath(QString("ours.") + QString::fromLatin1(format).toLower());
            const QString back = m_dir.filePath(QString("back.png"));
            writeFile(path, Plain::fileOf(format, image));
            QVERIFY(run(m_convert, {path, QString("PNG32:") + back}));
            QImage read;
            QVERIFY(read.load(back));
            const bool withAlpha = pixels == 5;
            QCOMPARE(look(read, withAlpha), look(image, withAlpha));
        }
    }

    void animationsOfIndependentPrograms()
    {
        // ImageMagick: three frames of one colour with delays, looping.
        const QString path = m_dir.filePath(QString("animation.gif"));
        QVERIFY(run(m_convert, {"-size", "9x7", "-delay", "20", "xc:red", "xc:lime", "xc:blue",
                                "-loop", "0", path}));
        GIFImage gif;
        QFile file(path);
        QVERIFY(gif.load(&file));
        file.close();
        QCOMPARE(gif.images().size(), 3);
        QCOMPARE(QSize(gif.width(), gif.height()), QSize(9, 7));
        QVERIFY(gif.canLoop());
        const RGB colors[] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
        for (int i = 0; i < 3; ++i) {
            const GIFImage::SubImage sub = gif.images()[i];
            const QVector<RGB> map = sub.colorMap.isEmpty() ? gif.globalColorMap() : sub.colorMap;
            QCOMPARE(sub.image.size(), QSize(9, 7));
            QCOMPARE(map.value(sub.image.pixelIndex(4, 4)), colors[i]);
        }

        // giflib: a file from a text, with places, a control block and a local map.
        const QString text = m_dir.filePath(QString("build.txt"));
        const QString built = m_dir.filePath(QString("built.gif"));
        writeFile(text,
                  "screen width 20\nscreen height 10\nscreen colors 8\nscreen background 2\n"
                  "screen map\n\trgb 1 2 3 is a\n\trgb 4 5 6 is b\n\trgb 7 8 9 is c\nend\n\n"
                  "netscape loop 0\n\ngraphics control\n\tdisposal mode 1\n\tuser input flag off\n"
                  "\tdelay 7\n\ttransparent index 1\nend\n\n"
                  "image # 1\nimage left 3\nimage top 2\nimage bits 4 by 2\nabca\nccbb\n\n"
                  "image # 2\nimage left 0\nimage top 1\nimage map\n\trgb 9 9 9 is x\n\trgb 8 8 8 "
                  "is y\nend\n"
                  "image bits 2 by 2\nxy\nyx\n");
        QVERIFY(run(m_gifBuild, {text}, built));
        QFile builtFile(built);
        QVERIFY(gif.load(&builtFile));
        QCOMPARE(gif.images().size(), 2);
        QCOMPARE(QSize(gif.width(), gif.height()), QSize(20, 10));
        QVERIFY(gif.canLoop());
        const GIFImage::SubImage first = gif.images()[0];
        QCOMPARE(QPoint(first.left, first.top), QPoint(3, 2));
        QCOMPARE(first.transparent, short(1));
        QCOMPARE(gif.globalColorMap().value(2), (RGB{7, 8, 9}));
        QCOMPARE(first.image.pixelIndex(2, 0), 2);
        QCOMPARE(first.image.pixelIndex(3, 1), 1);
        QCOMPARE(gif.images()[1].colorMap.value(1), (RGB{8, 8, 8}));
        QCOMPARE(gif.images()[1].transparent, short(2));
        // Of several clear colours the first becomes the background.
        QImage still({2, 2}, QImage::Format_Indexed8);
        still.setColorTable({0xff010101, 0x00112233, 0xff020202, 0x00445566});
        still.fill(0);
        QBuffer saved;
        QVERIFY(saved.open(QIODevice::WriteOnly) && saveImage(&saved, "GIF", still));
        QCOMPARE(saved.data().at(11), char(1));
    }

    void independentProgramsReadOurAnimations()
    {
        std::mt19937 random(6);
        QVector<AnimImageFrame> frames;
        QVector<QImage> images;
        for (int i = 0; i < 3; ++i) {
            QImage image = Plain::sprite({24, 18}, 9, random);
            QVector<QRgb> table = image.colorTable().mid(0, 16);
            table[0] = 0;
            image.setColorTable(table);
            images.append(image);
            frames.append({image, {0, 0}, 6 * (i + 1)});
        }
        const QString path = m_dir.filePath(QString("ours.gif"));
        QFile file(path);
        QVERIFY(saveGIF(&file, frames, false, true));
        file.close();

        QVERIFY(run(m_convert, {path, m_dir.filePath(QString("frame-%d.png"))}));
        for (int i = 0; i < 3; ++i) {
            QImage frame;
            QVERIFY(frame.load(m_dir.filePath(QString("frame-%1.png").arg(i))));
            const auto premultiplied = QImage::Format_ARGB32_Premultiplied; // clear is one colour
            QCOMPARE(frame.convertToFormat(premultiplied),
                     images[i].convertToFormat(premultiplied));
        }

        const QString report = m_dir.filePath(QString("report.txt"));
        QVERIFY(run(m_gifText, {path}, report));
        const QString words = QString::fromLatin1(readFile(report));
        QCOMPARE(
            words.count(QLatin1String("Image Size - Left = 0, Top = 0, Width = 24, Height = 18")),
            3);
        for (const char *word : {"Disposal Mode: 2", "DelayTime: 10", "DelayTime: 20",
                                 "DelayTime: 30", "Transparent Index: 0", "application block"})
            QVERIFY2(words.contains(QLatin1String(word)), qPrintable(words));
    }

    /// Nothing is shared: on every thread each work gives what it gives alone.
    void manyThreadsAtOnce()
    {
        const std::vector<Work> works = everyWork();
        std::vector<QByteArray> alone;
        for (const Work &work : works)
            alone.push_back(work());
        std::atomic<int> faults(0);
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                for (int round = 0; round < 20; ++round) {
                    for (size_t k = 0; k < works.size(); ++k)
                        faults += works[k]() != alone[k];
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(faults.load(), 0);
    }

private:
    ExtensionManager m_extensions{QString("/nonexistent")};
    QTemporaryDir m_dir;
    QString m_convert;
    QString m_gifText;
    QString m_gifBuild;
};

QTEST_APPLESS_MAIN(TestImageFiles)
#include "tst_imagefiles.moc"
