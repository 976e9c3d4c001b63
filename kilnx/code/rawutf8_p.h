#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace Kiln
{
/// UTF-8 that loses no byte. A byte that belongs to no character of the text becomes a character of
/// its own, U+10FE00 + byte, at the end of the last private plane, and is written as that byte
/// again. Where a file has such a character of its own, each of its four bytes is read so: every
/// sequence of bytes comes back.
namespace RawUtf8
{
/// The two halves of a character that stands for a byte.
constexpr ushort highHalf = 0xDBFF;
constexpr ushort lowHalf = 0xDE00;

/// Whether a character that stands for a byte starts at `position`.
bool isByte(const QString &text, int position);
/// The first such character from `position` on, -1 if there is none.
int indexOfByte(const QString &text, int position = 0);
/// Skips a byte order mark at the start.
QString decode(const QByteArray &data);
/// Writes no mark.
QByteArray encode(const QString &text);

/// The characters beyond ASCII that `data` holds as UTF-8, and the bytes that are none.
struct Count {
    int characters = 0;
    int bytes = 0;
};
Count count(const QByteArray &data);
} // namespace RawUtf8
} // namespace Kiln
