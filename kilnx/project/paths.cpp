#include <kilnx/project/paths.h>

#include <kilnx/project/archive.h>
#include <kilnx/project/archive_p.h>

#include <QtCore/QBuffer>
#include <QtCore/QFileDevice>
#include <QtCore/QFileInfo>

#include <utility>

namespace Kiln
{

const char *fileExtension(FileExtensionType type)
{
    switch (type) {
    case ImageOpenAll:
        return " (*.pcx *.png *.gif *.bmp);;";
    case ImageOpen:
        return "Personal Computer eXchange (*.pcx);;Portable Network Graphic (*.png);;"
               "Graphics Interchange Format (*.gif);;Bitmap (*.bmp)";
    case ImageSave:
        return "Portable Network Graphic (*.png);;Graphics Interchange Format (*.gif);;"
               "Personal Computer eXchange (*.pcx);;Bitmap (*.bmp)";
    case PaletteOpenAll:
        return " (*.act *.pcx *.png *.gif *.bmp *.pal *.aco *.ase *.txt);;";
    case PaletteOpen:
        return "Adobe Color Table (*.act);;Personal Computer eXchange (*.pcx);;"
               "Portable Network Graphic (*.png);;Graphics Interchange Format (*.gif);;"
               "Bitmap (*.bmp);;RIFF / Jasc Palette (*.pal);;Adobe Color Swatch (*.aco);;"
               "Adobe Swatch Exchange (*.ase);;Corel Painter Swatches (*.txt)";
    case PaletteSave:
        return "Adobe Color Table (*.act)";
    }
    return nullptr;
}

QByteArray fileExtension(const QString &path)
{
    return QFileInfo(path).suffix().toUpper().toLatin1();
}

QString fixFileCase(const QString &path, Archive &, const QString &name)
{
    return path + name;
}

/// False when something is left that cannot be read, not be written, or is not wanted.
static bool
copyBlocks(QIODevice *source, QIODevice *destination, const std::function<bool()> &goesOn)
{
    bool copied = true;
    for (qint64 size = 0; copied && !source->atEnd();) {
        constexpr qint64 blockSize = 131072;
        const QByteArray block = source->read(blockSize);
        copied = !block.isEmpty() && writeAll(destination, block);
        const qint64 before = std::exchange(size, size + block.size());
        const bool isPortion = size / copiedPortion > before / copiedPortion;
        if (copied && goesOn && isPortion && !source->atEnd())
            copied = goesOn();
    }
    return copied;
}

bool copyFile(Archive &from, const QString &fromName, Archive &to, const QString &toName)
{
    return copyInPortions(from, fromName, to, toName, {});
}

bool copyInPortions(Archive &from,
                    const QString &fromName,
                    Archive &to,
                    const QString &toName,
                    const std::function<bool()> &goesOn)
{
    if (fromName == toName)
        return false;
    QIODevice *source = from.openFile(fromName, QIODevice::ReadOnly);
    if (!source)
        return false;
    // A half copy is discarded on disk. Other stores keep what their device was given, so that one
    // is given only what was read whole.
    const bool isDisk = dynamic_cast<FileSystemArchive *>(&to);
    QBuffer whole;
    whole.open(QIODevice::ReadWrite);
    const bool isRead = isDisk || copyBlocks(source, &whole, goesOn);
    whole.seek(0);
    QIODevice *destination = isRead ? to.openFile(toName, QIODevice::WriteOnly) : nullptr;
    const auto *sourceFile = qobject_cast<QFile *>(source);
    auto *made = dynamic_cast<File *>(destination);
    if (made && made->isNew() && sourceFile)
        takeExecution(*made, *sourceFile);
    const bool copied =
        destination && copyBlocks(isDisk ? source : &whole, destination, isDisk ? goesOn : nullptr);
    if (made && !copied)
        made->discard();
    from.closeFile(source);
    return to.closeWritten(destination) && copied;
}

bool writeAll(QIODevice *device, const QByteArray &data)
{
    if (device->write(data) != data.size())
        return false;
    auto *file = qobject_cast<QFileDevice *>(device);
    return !file || file->flush();
}

void skipRead(QIODevice *device, unsigned int count)
{
    constexpr unsigned int step = 256;
    char thrownAway[step];
    for (; count > 0; count -= qMin(count, step))
        device->read(thrownAway, qMin(count, step));
}

QString randomString(int length)
{
    static constexpr char characters[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    QString result;
    // The host seeds this generator: a seeded run has the same names each time.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    for (int i = 0; i < length; ++i)
        result += QLatin1Char(characters[qrand() % 62]);
    QT_WARNING_POP
    return result;
}

} // namespace Kiln
