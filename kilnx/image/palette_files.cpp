#include <kilnx/image/palette.h>

#include <kilnx/image/bytestream_p.h>
#include <kilnx/image/codecs.h>
#include <kilnx/project/extension.h>

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>
#include <QtCore/QRegExp>
#include <QtCore/QTextStream>
#include <QtCore/QtEndian>
#include <QtGui/QImage>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

namespace Kiln
{

namespace
{

constexpr int Entries = 256;
constexpr int TripleBytes = 3 * Entries;

using Table = RGBA (&)[Entries];

bool isWord(const char *format, const char *word)
{
    return qstrcmp(format, word) == 0;
}

int roundHalfUp(double value)
{
    return static_cast<int>(std::floor(value + 0.5));
}

RGBA opaque(const QColor &color)
{
    RGBA entry = fromQRgb(color.rgb());
    entry.a = 255;
    return entry;
}

/// "ACT" and RIFF files hold the last entry first.
void reverse(Table table)
{
    std::reverse(std::begin(table), std::end(table));
}

bool readPicture(QIODevice *device, const char *format, Table table)
{
    QImage image;
    if (!loadImage(device, format, image) || image.format() != QImage::Format_Indexed8)
        return false;
    const QVector<QRgb> colors = image.colorTable();
    const int count = std::min(colors.size(), Entries);
    std::transform(colors.cbegin(), colors.cbegin() + count, table, fromQRgb);
    return true;
}

bool readAct(QIODevice *device, Table table)
{
    uchar c[TripleBytes];
    if (!readFully(device, c, sizeof c))
        return false;
    for (int i = 0; i < Entries; ++i)
        table[i] = {c[3 * i], c[3 * i + 1], c[3 * i + 2], 255};
    reverse(table);
    return true;
}

bool readRiff(QIODevice *device, Table table)
{
    uchar header[24];
    if (!readFully(device, header, sizeof header) || std::memcmp(header + 8, "PAL data", 8) != 0)
        return false;
    // The chunk counts its version and its number of colours, and a full one comes out at 1,020
    // bytes here: the 256th colour of the file is not part of the palette.
    const quint32 size = qFromLittleEndian<quint32>(header + 16) - 8;
    if (size > sizeof table || !readFully(device, reinterpret_cast<uchar *>(table), size))
        return false;
    for (RGBA &entry : table)
        entry.a = 255;
    reverse(table);
    return true;
}

/// Hands out the lines of a text that are not empty until `take` returns false. Keeps no more
/// than the beginning of a line, which is all that a colour needs, whatever the file's size.
void readLines(QIODevice *device,
               const QString &lineEnd,
               const std::function<bool(const QString &)> &take)
{
    constexpr int block = 0x8000;
    constexpr int longest = 80;
    QTextStream stream(device);
    QString line;
    QString text;
    while (true) {
        const QString more = stream.read(block);
        text += more;
        int start = 0;
        for (int end; (end = text.indexOf(lineEnd, start)) >= 0; start = end + lineEnd.size()) {
            line += text.midRef(start, std::min(end - start, longest));
            if (!line.isEmpty() && !take(line))
                return;
            line.resize(0); // keeps its memory
        }
        // What is left may end in half of a line end.
        const int rest = more.isEmpty() ? text.size() - start
                                        : std::max(text.size() - start - lineEnd.size() + 1, 0);
        line += text.midRef(start, std::min(rest, longest));
        text.remove(0, start + rest);
        if (more.isEmpty())
            break;
        if (line.size() > 2 * longest)
            line.truncate(2 * longest);
    }
    if (!line.isEmpty())
        take(line);
}

/// The colour of captures 1 to 4, where the fourth may be missing.
RGBA capturedColor(const QRegExp &expression)
{
    const auto channel = [&expression](int i) {
        return static_cast<unsigned char>(std::min(expression.cap(i).toInt(), 255));
    };
    return {channel(1), channel(2), channel(3),
            expression.cap(4).isEmpty() ? static_cast<unsigned char>(255) : channel(4)};
}

bool readJasc(QIODevice *device, Table table)
{
    constexpr int firstColor = 3;
    QRegExp expression(QStringLiteral("^(\\d{1,3})\\s(\\d{1,3})\\s(\\d{1,3})(?:\\s(\\d{1,3}))?$"));
    bool valid = true;
    int number = 0;
    readLines(device, QStringLiteral("\r\n"), [&](const QString &line) {
        if (number == 0)
            valid = line == QLatin1String("JASC-PAL");
        else if (number == 1)
            valid = line == QLatin1String("0100");
        else if (number >= firstColor && expression.indexIn(line) >= 0)
            table[number - firstColor] = capturedColor(expression);
        return valid && ++number < firstColor + Entries;
    });
    return valid && number > 1;
}

bool readSwatchText(QIODevice *device, Table table)
{
    QRegExp expression(QStringLiteral("^R:\\s?(\\d{1,3}),\\s?G:\\s?(\\d{1,3}),\\s?B:\\s?"
                                      "(\\d{1,3})(?:\\s?A:\\s?(\\d{1,3}))?"));
    int count = 0;
    readLines(device, QStringLiteral("\n"), [&](const QString &line) {
        if (line.startsWith(QLatin1String("R:")) && expression.indexIn(line) >= 0)
            table[count++] = capturedColor(expression);
        return count < Entries;
    });
    return true;
}

/// One colour of a swatch file with 16-bit numbers. False for a colour space we don't know.
bool swatchColor(const quint16 (&words)[5], RGBA &color)
{
    const auto byte = [&words](int i) { return words[i] / 257; };
    switch (words[0]) {
    case 0:
        color = opaque(QColor(byte(1), byte(2), byte(3)));
        return true;
    case 1:
        color = opaque(QColor::fromHsv(roundHalfUp(words[1] / 182.5487), byte(2), byte(3), 255));
        return true;
    case 2:
        color = opaque(
            QColor::fromCmyk(255 - byte(1), 255 - byte(2), 255 - byte(3), 255 - byte(4), 255));
        return true;
    case 8: {
        const auto v = static_cast<unsigned char>(255 - roundHalfUp(words[1] / 39.2157));
        color = {v, v, v, 255};
        return true;
    }
    default:
        return false;
    }
}

void readAco(QIODevice *device, Table table)
{
    QDataStream stream(device);
    quint16 version = 0;
    quint16 count = 0;
    stream >> version;
    if (version != 1)
        return;
    stream >> count;
    int stored = 0;
    for (int i = 0; i < count && stored < Entries && stream.status() == QDataStream::Ok; ++i) {
        quint16 words[5];
        for (quint16 &word : words)
            stream >> word;
        if (stream.status() == QDataStream::Ok && swatchColor(words, table[stored]))
            ++stored;
    }
}

/// Reads blocks of a swatch exchange file, as long as there are bytes.
class SwatchExchangeReader
{
public:
    explicit SwatchExchangeReader(QIODevice *device)
        : m_device(device)
        , m_stream(device)
    {
        m_stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
    }

    void read(Table table)
    {
        m_device->skip(4);
        quint32 blocks = 0;
        if (word() != 1 || word() != 0)
            return;
        m_stream >> blocks;
        for (int stored = 0; blocks > 0 && stored < Entries && isGood(); --blocks) {
            if (readBlock(table[stored]))
                ++stored;
        }
    }

private:
    bool isGood() const { return m_stream.status() == QDataStream::Ok; }

    quint16 word()
    {
        quint16 value = 0;
        m_stream >> value;
        return value;
    }

    int channel()
    {
        float value = 0;
        m_stream >> value;
        // In single precision, like the value; written so that what is no number becomes 0.
        const float scaled = value > 0 ? std::min(value * 255.0f, 255.0f) : 0.0f;
        return roundHalfUp(scaled);
    }

    void skipName() { m_device->skip(qint64(word()) * 2); }

    bool readBlock(RGBA &entry)
    {
        const quint16 type = word();
        quint32 length = 0;
        m_stream >> length;
        switch (type) {
        case 0x0001:
            return readColor(entry);
        case 0xC001:
        case 0xC002:
            skipName();
            return false;
        default:
            m_device->skip(length);
            return false;
        }
    }

    bool readColor(RGBA &entry)
    {
        skipName();
        char model[4] = {};
        m_stream.readRawData(model, sizeof model);
        const QByteArray word = QByteArray::fromRawData(model, sizeof model);
        QColor color;
        if (word == "RGB ") {
            const int r = channel();
            const int g = channel();
            color = QColor(r, g, channel());
        } else if (word == "CMYK") {
            const int c = channel();
            const int m = channel();
            const int y = channel();
            color = QColor::fromCmyk(c, m, y, channel(), 255);
        } else if (word == "Gray") {
            const int v = channel();
            color = QColor(v, v, v);
        } else {
            m_device->skip(12);
        }
        m_device->skip(2);
        if (!color.isValid() || !isGood())
            return false;
        entry = opaque(color);
        return true;
    }

    QIODevice *m_device;
    QDataStream m_stream;
};

bool readBySignature(QIODevice *device, const char *format, Table table)
{
    const QByteArray signature = device->peek(4);
    std::fill(std::begin(table), std::end(table), RGBA());
    if (signature == "RIFF")
        return readRiff(device, table);
    if (signature == "JASC")
        return readJasc(device, table);
    if (signature == "ASEF") {
        SwatchExchangeReader(device).read(table);
        return true;
    }
    if (signature == "ROWS")
        return readSwatchText(device, table);
    const qint64 start = device->pos();
    return ExtensionManager::convert<PaletteReader>(format, [&](PaletteReader &reader) {
        device->seek(start);
        return reader.read(device, table);
    });
}

bool writeAct(QIODevice *device, const RGBA (&table)[Entries])
{
    QByteArray bytes;
    for (int i = Entries - 1; i >= 0; --i) {
        for (unsigned char channel : {table[i].r, table[i].g, table[i].b})
            bytes.append(static_cast<char>(channel));
    }
    return device->write(bytes) == bytes.size();
}

} // namespace

bool PaletteObject::fromFile(QIODevice *source, const char *format)
{
    if (!source || !source->isReadable())
        return false;
    SeekableDevice seekable(source);
    QIODevice *device = seekable.get();
    RGBA table[Entries];
    std::fill(std::begin(table), std::end(table), RGBA{0, 0, 0, 255});
    bool ok = true;
    if (isWord(format, "PNG") || isWord(format, "PCX") || isWord(format, "BMP") ||
        isWord(format, "GIF"))
        ok = readPicture(device, format, table);
    else if (isWord(format, "ACT"))
        ok = readAct(device, table);
    else if (isWord(format, "ACO"))
        readAco(device, table);
    else
        ok = readBySignature(device, format, table);
    if (ok)
        fromPalette(table);
    return ok;
}

bool PaletteObject::toFile(QIODevice *device, const char *format)
{
    if (!device || !device->isWritable())
        return false;
    if (isWord(format, "ACT"))
        return writeAct(device, palette());
    return ExtensionManager::convert<PaletteWriter>(
        format, [&](PaletteWriter &writer) { return writer.write(palette(), device); });
}

} // namespace Kiln
