#include <kilnx/code/rawutf8_p.h>

namespace Kiln
{
namespace
{
constexpr uint firstByte = 0x10FE80;
constexpr uint lastByte = 0x10FEFF;
constexpr int markLength = 3;

/// The length of the character at `at`, 0 if the bytes there are none, and its code point.
int characterAt(const uchar *at, const uchar *end, uint *character)
{
    const uint lead = *at;
    const int length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || lead > 0xF4 || end - at < length)
        return 0;
    *character = length == 1 ? lead : lead & (0x7Fu >> length);
    for (int i = 1; i < length; ++i) {
        if ((at[i] & 0xC0) != 0x80)
            return 0;
        *character = *character << 6 | (at[i] & 0x3Fu);
    }
    constexpr uint least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = *character >= 0xD800 && *character <= 0xDFFF;
    return *character < least[length] || *character > 0x10FFFF || isSurrogate ? 0 : length;
}

/// Calls `characters` and `bytes` for what it meets, in order.
template<typename Characters, typename Bytes>
void read(const QByteArray &data, Characters characters, Bytes bytes)
{
    const auto *at = reinterpret_cast<const uchar *>(data.constData());
    const uchar *end = at + data.size();
    while (at < end) {
        uint character = 0;
        const int length = characterAt(at, end, &character);
        if (length == 0 || (character >= firstByte && character <= lastByte))
            bytes(*at++);
        else {
            characters(character);
            at += length;
        }
    }
}

void append(QString *text, uint character)
{
    if (QChar::requiresSurrogates(character)) {
        *text += QChar(QChar::highSurrogate(character));
        *text += QChar(QChar::lowSurrogate(character));
    } else {
        *text += QChar(character);
    }
}
} // namespace

bool RawUtf8::isByte(const QString &text, int position)
{
    if (position + 1 >= text.size() || text.at(position).unicode() != highHalf)
        return false;
    const ushort low = text.at(position + 1).unicode();
    return low >= lowHalf + 0x80 && low <= lowHalf + 0xFF;
}

int RawUtf8::indexOfByte(const QString &text, int position)
{
    do
        position = text.indexOf(QChar(highHalf), position);
    while (position >= 0 && !isByte(text, position) && ++position > 0);
    return position;
}

QString RawUtf8::decode(const QByteArray &data)
{
    QString text;
    text.reserve(data.size());
    const QByteArray body = data.startsWith("\xEF\xBB\xBF") ? data.mid(markLength) : data;
    read(
        body, [&text](uint character) { append(&text, character); },
        [&text](uchar byte) { append(&text, 0x10FE00u + byte); });
    return text;
}

QByteArray RawUtf8::encode(const QString &text)
{
    QByteArray data;
    int copied = 0;
    for (int at = indexOfByte(text); at >= 0; at = indexOfByte(text, copied)) {
        data += text.midRef(copied, at - copied).toUtf8();
        data += char(text.at(at + 1).unicode() - lowHalf);
        copied = at + 2;
    }
    return copied == 0 ? text.toUtf8() : data + text.midRef(copied).toUtf8();
}

RawUtf8::Count RawUtf8::count(const QByteArray &data)
{
    Count count;
    read(
        data, [&count](uint character) { count.characters += character < 0x80 ? 0 : 1; },
        [&count](uchar) { ++count.bytes; });
    return count;
}
} // namespace Kiln
