#include "plain.h"

#include <kilnx/image/palette.h>
#include <kilnx/project/extension.h>
#include <tests/support/pipe.h>
#include <tests/support/rows.h>

#include <QtGui/QtGui>
#include <QtTest/QtTest>

#include <sys/resource.h>

using namespace Kiln;

namespace
{

using Colors = QVector<QRgb>;

constexpr QRgb Black = 0xFF000000;
constexpr QRgb Clear = 0;

/// Files made by hand, to the published layouts.
QByteArray actFile(const Colors &colors)
{
    QByteArray bytes;
    for (QRgb c : colors)
        bytes.append(char(qRed(c))).append(char(qGreen(c))).append(char(qBlue(c)));
    return bytes;
}

QByteArray riffFile(quint32 chunkSize, const QByteArray &colors, const char *type = "PAL data")
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.writeRawData("RIFF", 4);
    stream << quint32(colors.size() + 16);
    stream.writeRawData(type, 8);
    stream << chunkSize << quint16(0x300) << quint16(colors.size() / 4);
    stream.writeRawData(colors.constData(), colors.size());
    return bytes;
}

struct AcoColor {
    quint16 words[5];
};

QByteArray acoFile(quint16 version, quint16 count, const QVector<AcoColor> &colors)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << version << count;
    for (const AcoColor &color : colors) {
        for (quint16 word : color.words)
            stream << word;
    }
    return bytes;
}

class AseFile
{
public:
    AseFile(quint16 major, quint16 minor, quint32 blocks)
        : m_stream(&m_bytes, QIODevice::WriteOnly)
    {
        m_stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
        m_stream.writeRawData("ASEF", 4);
        m_stream << major << minor << blocks;
    }
    AseFile &color(const QString &name, const char *model, const QVector<float> &values)
    {
        m_stream << quint16(1) << quint32(name.size() * 2 + 10 + values.size() * 4);
        putName(name);
        m_stream.writeRawData(model, 4);
        for (float value : values)
            m_stream << value;
        m_stream << quint16(0);
        return *this;
    }
    AseFile &group(const QString &name)
    {
        m_stream << quint16(0xC001) << quint32(0xFFFFFFFF);
        putName(name);
        return *this;
    }
    AseFile &groupEnd()
    {
        m_stream << quint16(0xC002) << quint32(0) << quint16(0);
        return *this;
    }
    AseFile &unknown(const QByteArray &data)
    {
        m_stream << quint16(7) << quint32(data.size());
        m_stream.writeRawData(data.constData(), data.size());
        return *this;
    }
    QByteArray bytes() const { return m_bytes; }

private:
    void putName(const QString &name)
    {
        m_stream << quint16(name.size());
        for (QChar c : name)
            m_stream << quint16(c.unicode());
    }

    QByteArray m_bytes;
    QDataStream m_stream;
};

Colors counted(int count)
{
    Colors colors;
    for (int i = 0; i < count; ++i)
        colors.append(qRgb(i, 255 - i, i / 2));
    return colors;
}

Colors reversed(Colors colors)
{
    std::reverse(colors.begin(), colors.end());
    return colors;
}

QByteArray jascFile(const Colors &colors, const QByteArray &head = "JASC-PAL\r\n0100\r\n256\r\n")
{
    QByteArray text = head;
    for (QRgb c : colors)
        text += QString("%1 %2 %3\r\n").arg(qRed(c)).arg(qGreen(c)).arg(qBlue(c)).toLatin1();
    return text;
}

QByteArray swatchFile(const Colors &colors)
{
    QByteArray text = "ROWS 16\nCOLS 16\n\n";
    for (QRgb c : colors)
        text +=
            QString::asprintf("R: %d, G:%d, B: %d name\n", qRed(c), qGreen(c), qBlue(c)).toLatin1();
    return text;
}

/// A palette format from outside that fails on its first word and reads one colour otherwise.
class FourBytes : public PaletteReader
{
public:
    const char *format() override { return "FOUR"; }
    bool read(QIODevice *device, RGBA *palette) override
    {
        const QByteArray bytes = device->read(4);
        if (!bytes.startsWith(m_lead))
            return false;
        palette[0] = {1, 2, 3, 4};
        return true;
    }
    explicit FourBytes(const char *lead)
        : m_lead(lead)
    {
    }

private:
    QByteArray m_lead;
};

class FourBytesOut : public PaletteWriter
{
public:
    const char *format() override { return "FOUR"; }
    bool write(const RGBA *palette, QIODevice *device) override
    {
        return device->write(reinterpret_cast<const char *>(palette), 4) == 4;
    }
};

qint64 peakMemory()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return qint64(usage.ru_maxrss) * 1024;
}

} // namespace

class TestPaletteFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ExtensionManager::add(new FourBytes("no"));
        ExtensionManager::add(new FourBytes("yes"));
        ExtensionManager::add(new FourBytesOut);
    }

    void reads_data()
    {
        // `colors` are the first ones; `rest` stands for all others.
        const auto row =
            columns<QByteArray, QByteArray, Colors, uint>("format", "file", "colors", "rest");
        const Colors all = counted(256);

        row("ACT is stored backwards", "ACT", actFile(all), reversed(all), Black);
        row("ACT of 772 bytes", "ACT", actFile(all) + "tail", reversed(all), Black);

        QByteArray quads;
        for (QRgb c : all)
            quads += actFile({c}) + '\x05';
        Colors withoutLast = all;
        withoutLast[255] = Black;
        row("RIFF of 256 colours loses the last", "PAL", riffFile(1028, quads),
            reversed(withoutLast), Black);
        row("RIFF that counts to its end", "PAL", riffFile(1032, quads), reversed(all), Black);
        row("RIFF of two colours", "PAL", riffFile(16, quads.left(8)),
            reversed(Colors(all.mid(0, 2)) + Colors(254, Black)), Black);
        row("RIFF without colours", "PAL", riffFile(8, QByteArray()), {}, Black);

        row("Jasc", "PAL", jascFile(all), all, Clear);
        row("Jasc with more than 256", "PAL", jascFile(all + counted(40)), all, Clear);
        row("Jasc without a count", "PAL", jascFile(all, "JASC-PAL\r\n0100\r\n"),
            Colors(all.mid(1)) + Colors{Clear}, Clear);
        row("Jasc: alpha, clamping, bad lines and empty ones", "PAL",
            "JASC-PAL\r\n\r\n0100\r\n4\r\n1 2 3 4\r\nbad\r\n\r\n999 0 256\r\n1  2 3\r\n1 2 3 4 "
            "5\r\n7\t8 9",
            {qRgba(1, 2, 3, 4), Clear, qRgb(255, 0, 255), Clear, Clear, qRgb(7, 8, 9)}, Clear);
        row("Jasc: lines of any length", "PAL",
            "JASC-PAL\r\n0100\r\n" + QByteArray(100000, 'x') + "\r\n1 2 3\r\n" +
                QByteArray(70000, '1') + "\r\n4 5 6",
            {qRgb(1, 2, 3), Clear, qRgb(4, 5, 6)}, Clear);

        row("swatch text", "TXT", swatchFile(all), all, Clear);
        row("swatch text stops at 256", "TXT", swatchFile(all + counted(44)), all, Clear);
        row("swatch text: lines that don't match take no place", "TXT",
            "ROWS 1\r\nG: 1\r\nR:1,G:2,B:3 A: 9\r\n x R: 1, G: 1, B: 1\r\nR: 300, G: 0, B: 7 A\r\n",
            {qRgba(1, 2, 3, 9), qRgb(255, 0, 7)}, Clear);
        row("swatch text without colours", "TXT", "ROWS", {}, Clear);

        row("ACO: RGB, HSB, CMYK and gray", "ACO",
            acoFile(1, 6,
                    {{{0, 0xFFFF, 0x8080, 257, 0}},
                     {{1, 0x5555, 0xFFFF, 0xFFFF, 0}},
                     {{2, 0xFFFF, 0, 0xFFFF, 0xFFFF}},
                     {{7, 1, 2, 3, 4}},
                     {{8, 5000, 0, 0, 0}},
                     {{8, 0, 0, 0, 0}}}),
            {qRgb(255, 128, 1), QColor::fromHsv(120, 255, 255).rgb(),
             QColor::fromCmyk(0, 255, 0, 0).rgb(), qRgb(128, 128, 128), qRgb(255, 255, 255)},
            Black);
        row("ACO of version 2", "ACO", acoFile(2, 1, {{{0, 1, 2, 3, 4}}}), {}, Black);
        row("ACO: a hue at its end", "ACO", acoFile(1, 1, {{{1, 0xFFFF, 0xFFFF, 0xFFFF, 0}}}),
            {QColor::fromHsv(359, 255, 255).rgb()}, Black);
        QVector<AcoColor> many(300, AcoColor{{0, 0x0101, 0x0202, 0x0303, 0}});
        row("ACO of 300 stops at 256", "ACO", acoFile(1, 300, many), Colors(256, qRgb(1, 2, 3)),
            Black);
        row("ACO that promises 65,535", "ACO", acoFile(1, 0xFFFF, many.mid(0, 2)),
            {qRgb(1, 2, 3), qRgb(1, 2, 3)}, Black);

        row("ASE", "ASE",
            AseFile(1, 0, 8)
                .group(QString("all"))
                // The last one is 128.5 of 255 in single precision only.
                .color(QString("a"), "RGB ", {1.0f, 0.5f, 0.503921568f})
                .color(QString(), "LAB ", {1.0f, 0.5f, 0.0f})
                .color(QString("ink"), "CMYK", {0.0f, 1.0f, 0.0f, 0.5f})
                .unknown("whatever this is")
                .color(QString(), "Gray", {0.2f})
                .groupEnd()
                .color(QString(), "RGB ", {7.0f, -3.0f, std::numeric_limits<float>::quiet_NaN()})
                .bytes(),
            {qRgb(255, 128, 129), QColor::fromCmyk(0, 255, 0, 128).rgb(), qRgb(51, 51, 51),
             qRgb(255, 0, 0)},
            Clear);
        row("ASE of version 2", "ASE", AseFile(2, 0, 1).bytes(), {}, Clear);

        QImage indexed(3, 2, QImage::Format_Indexed8);
        indexed.fill(0);
        indexed.setColorTable({qRgba(1, 2, 3, 4), qRgb(9, 8, 7)});
        row("PNG with alpha", "PNG", Plain::fileOf("PNG", indexed),
            {qRgba(1, 2, 3, 4), qRgb(9, 8, 7)}, Black);
        indexed.setColorTable({qRgb(1, 2, 3), qRgb(9, 8, 7)});
        for (const char *word : {"PNG", "BMP"})
            row(word, word, Plain::fileOf(word, indexed), indexed.colorTable(), Black);
        indexed.setColorTable(counted(16));
        // The background of a picture without a transparent colour.
        row("GIF of 16 colours", "GIF", Plain::fileOf("GIF", indexed),
            Colors{0x0000FF00} + counted(16).mid(1), Black);
        row("from an extension, after another one failed", "FOUR", "yes!", {qRgba(1, 2, 3, 4)},
            Clear);
    }

    void reads()
    {
        auto [format, file, colors, rest] = row<QByteArray, QByteArray, Colors, uint>();
        RGBA table[256];
        PaletteObject object(&table);
        QSignalSpy changing(&object, &PaletteObject::changing);
        QSignalSpy changed(&object, &PaletteObject::changed);
        Plain::OpenBuffer buffer(file);
        QVERIFY(object.fromFile(&buffer, format));
        QCOMPARE(changing.count(), 1);
        QCOMPARE(changed.count(), 1);
        for (int i = 0; i < 256; ++i) {
            const QRgb wanted = i < colors.size() ? colors[i] : rest;
            const QRgb found = toQRgb(table[i]);
            QVERIFY2(found == wanted,
                     qPrintable(QString::asprintf("%d: %08x instead of %08x", i, found, wanted)));
        }
        // However small the pieces are that a sequential device gives.
        for (int piece : {1, 7, 4000}) {
            Pipe pipe(file, piece);
            RGBA same[256];
            QVERIFY(PaletteObject(&same).fromFile(&pipe, format));
            QVERIFY(std::equal(std::begin(table), std::end(table), same));
        }
    }

    void refuses_data()
    {
        const auto add = columns<QByteArray, QByteArray>("format", "file");
        const QByteArray quads(1028, 'c');
        add("ACT, short", "ACT", QByteArray(767, 'a'));
        add("RIFF of another kind", "PAL", riffFile(1028, quads, "WAVEfmt "));
        add("RIFF, size below 8", "PAL", riffFile(7, quads));
        add("RIFF, too many", "PAL", riffFile(1033, quads));
        add("RIFF, cut", "PAL", riffFile(1028, quads.left(1000)));
        add("RIFF, cut within its header", "PAL", "RIFF1234PAL");
        add("Jasc, bare line feeds", "PAL", "JASC-PAL\n0100\n1\n1 1 1\n");
        add("Jasc, other version", "PAL", "JASC-PAL\r\n0200\r\n1\r\n");
        add("Jasc, one line", "PAL", "JASC-PAL");
        add("unknown bytes", "PAL", "whatever");
        add("nothing", "TXT", "");
        add("a lower-case word", "act", QByteArray(768, 'a'));
        add("true colour", "PNG", Plain::fileOf("PNG", QImage(2, 2, QImage::Format_RGB32)));
        add("no picture", "GIF", "GIF89a");
        add("no extension succeeds", "FOUR", "what");
    }

    void refuses()
    {
        auto [format, file] = row<QByteArray, QByteArray>();
        RGBA table[256] = {{1, 2, 3, 4}};
        PaletteObject object(&table);
        QSignalSpy changing(&object, &PaletteObject::changing);
        QSignalSpy changed(&object, &PaletteObject::changed);
        Plain::OpenBuffer buffer(file);
        QVERIFY(!object.fromFile(&buffer, format));
        QCOMPARE(changing.count() + changed.count(), 0);
        QCOMPARE(table[0], (RGBA{1, 2, 3, 4}));
    }

    /// Four billion blocks are promised, and lengths that lead far beyond the file.
    void endlessBlocksEndWithTheFile()
    {
        const QByteArray longName = QByteArray::fromHex("00010000000CFFFF") + "RGB ";
        for (const QByteArray &tail :
             {QByteArray(), QByteArray(64, '\0'), QByteArray(64, '\xFF'), longName}) {
            const QByteArray file =
                AseFile(1, 0, 0xFFFFFFFF).color(QString("x"), "Gray", {1.0f}).bytes() + tail;
            Plain::OpenBuffer buffer(file);
            RGBA table[256];
            PaletteObject object(&table);
            QVERIFY(object.fromFile(&buffer, "ASE"));
            QCOMPARE(table[0], (RGBA{255, 255, 255, 255}));
            QCOMPARE(table[1], RGBA());
        }
    }

    /// Millions of short lines, and one endless line.
    void longTextsTakeNoMemory()
    {
        for (const QByteArray word : {"ROWS\n", "ROWS "}) {
            QTemporaryFile file;
            QVERIFY(file.open());
            for (int piece = 0; piece < 48; ++piece)
                QCOMPARE(file.write(word.repeated(200000)), qint64(1000000));
            QVERIFY(file.seek(0));
            RGBA table[256];
            PaletteObject object(&table);
            const qint64 before = peakMemory();
            QVERIFY(object.fromFile(&file, "TXT"));
            QVERIFY(file.atEnd());
            QCOMPARE(table[0], RGBA());
#ifdef __SANITIZE_ADDRESS__
            Q_UNUSED(before) // the sanitizer holds freed memory back
#else
            QVERIFY(peakMemory() - before < 16 << 20);
#endif
        }
    }

    void writes()
    {
        RGBA table[256];
        for (int i = 0; i < 256; ++i)
            table[i] = {uchar(i), uchar(255 - i), uchar(i / 2), uchar(i)};
        PaletteObject object(&table);
        QBuffer act;
        act.open(QIODevice::WriteOnly);
        QVERIFY(object.toFile(&act, "ACT"));
        QCOMPARE(act.data(), actFile(reversed(counted(256))));
        QBuffer four;
        four.open(QIODevice::WriteOnly);
        QVERIFY(object.toFile(&four, "FOUR"));
        QCOMPARE(four.data(), QByteArray("\0\xFF\0\0", 4));
        QVERIFY(!object.toFile(&four, "PAL"));
    }

    void wrongDirection()
    {
        RGBA table[256];
        PaletteObject object(&table);
        QBuffer buffer;
        QVERIFY(!object.fromFile(&buffer, "ACT"));
        QVERIFY(!object.toFile(&buffer, "ACT"));
        QVERIFY(!object.fromFile(nullptr, "ACT"));
        QVERIFY(!object.toFile(nullptr, "ACT"));
        buffer.open(QIODevice::ReadOnly);
        QVERIFY(!object.toFile(&buffer, "ACT"));
    }

private:
    ExtensionManager m_extensions{QString("/nonexistent")};
};

QTEST_APPLESS_MAIN(TestPaletteFiles)
#include "tst_palettefiles.moc"
