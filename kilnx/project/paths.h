#pragma once

#include <kilnx/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

class QIODevice;

namespace Kiln
{

class Archive;

/// The file-dialog filters of the picture and palette dialogs. The two `...All` lists begin with a
/// blank and end in ";;": put a label of your own before them and one of the other lists behind.
enum FileExtensionType {
    ImageOpenAll,   ///< every picture format
    ImageOpen,      ///< one entry a picture format
    ImageSave,      ///< the same, in the order for saving
    PaletteOpenAll, ///< every format that holds a palette
    PaletteOpen,    ///< one entry a format that holds a palette
    PaletteSave,    ///< the palette format that is written
};

/// The filter list of that number; null for any number above 5.
KILNX_EXPORT const char *fileExtension(FileExtensionType type);

/// The last suffix of `path` in capitals, as in "PNG" for "a.b.png"; empty without a suffix.
KILNX_EXPORT QByteArray fileExtension(const QString &path);

/// `path` directly followed by `name`; `path` ends in "/". Letter case is taken as written.
KILNX_EXPORT QString fixFileCase(const QString &path, Archive &archive, const QString &name);

/// Copies a file between archives, or in one. Equal names are refused, in different archives too.
/// An empty source makes an empty file. False when a side did not open or a write failed; an older
/// destination then stays as it was.
KILNX_EXPORT bool
copyFile(Archive &from, const QString &fromName, Archive &to, const QString &toName);

/// Writes all of `data` and hands it to the operating system. False when any byte did not get
/// there, as on a full disk; close the device then and tell the user that nothing was saved.
KILNX_EXPORT bool writeAll(QIODevice *device, const QByteArray &data);

/// Reads `count` bytes and throws them away; returns normally past the end of the device.
KILNX_EXPORT void skipRead(QIODevice *device, unsigned int count);

/// `length` random characters out of A-Z, a-z and 0-9, drawn with qrand(), which the host seeds if
/// it wishes; empty for a length of 0 or less.
KILNX_EXPORT QString randomString(int length);

} // namespace Kiln
