#pragma once

#include <kilnx/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

class QTextCodec;

namespace Kiln
{
/// The encodings that Qt offers, by number: 0 is the system's own, and an id above 0 is entry id -
/// 1 of QTextCodec::availableCodecs() without "System". The ids hold for this process only; what is
/// kept beyond it is the name.
class KILNX_EXPORT TextCodecs
{
public:
    /// The number of ids, 0 included.
    static int count();
    /// The id of a name as name() writes it, 0 if there is none.
    static int index(const char *name);
    /// The name of an id; "System", translated, for 0. Empty for an id that does not exist.
    static QString name(int id);
    /// The encoding to fall back on where none can be detected; 0 at start.
    static void setDefaultCodec(int id);
    /// The codec that fits `data`: the detected one, or else the default, or else the system's.
    /// Most of a file has to be UTF-8 for that to be it, not all.
    static QTextCodec *get(const QByteArray &data);
    /// Decodes with the codec of `*id` and stores the id of the codec used in `*id`. A negative id
    /// asks for get(); a detected codec that cannot read most of the bytes gives way to ISO-8859-1,
    /// which keeps them. An id that does not exist counts as 0. A byte that is no UTF-8 is the
    /// character U+10FE00 plus the byte, which stringToData() makes the same byte again.
    static QString stringFromData(const QByteArray &data, int *id);
    /// Encodes with the codec of `id`. What the codec cannot say comes out as its replacement
    /// character, see canEncode(). An id that does not exist counts as 0.
    static QByteArray stringToData(const QString &text, int id);
    /// Whether stringFromData() gets `text` back from what stringToData() makes of it.
    static bool canEncode(const QString &text, int id);
};
} // namespace Kiln
