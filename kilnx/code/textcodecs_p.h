#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

class QTextCodec;

namespace Kiln
{
/// What TextCodecs does by codec instead of by id, for the room's own use.
namespace TextCodecsPrivate
{
/// The codec of an id, the system's for one that does not exist.
QTextCodec *codecOf(int id);
/// The byte order mark at the start of `data` that belongs to the codec; empty if there is none.
QByteArray markOf(const QByteArray &data, const QTextCodec *codec);
/// Writes no mark. UTF-16 and UTF-32 are in the order of `mark`, or else of this machine.
QByteArray encode(const QString &text, const QTextCodec *codec, const QByteArray &mark);
/// `data` has no mark of its own; the order of bytes is as for encode().
QString decode(const QByteArray &data, const QTextCodec *codec, const QByteArray &mark);
/// Whether every text that decode() makes comes back by encode() as the same bytes.
bool isLossless(const QTextCodec *codec);
/// Whether the codec has every character of `text`; `encoded` is what encode() made of it.
bool hasEncoded(const QString &text,
                const QByteArray &encoded,
                const QTextCodec *codec,
                const QByteArray &mark);
} // namespace TextCodecsPrivate
} // namespace Kiln
