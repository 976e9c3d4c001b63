#include <hostkit/bytesfile.h>

#include <kilnx/project/archive.h>
#include <kilnx/project/paths.h>

#include <QCoreApplication>

namespace HostKit
{

namespace
{
constexpr int mostShown = 1 << 20; // bytes
constexpr int width = 16;
} // namespace

QString BytesFile::dump(const QByteArray &data)
{
    QString text;
    for (int from = 0; from < data.size(); from += width) {
        const QByteArray line = data.mid(from, width);
        QString characters;
        for (const char byte : line)
            characters += byte >= ' ' && byte < '\x7f' ? QLatin1Char(byte) : QLatin1Char('.');
        text += QStringLiteral("%1  %2  %3\n")
                    .arg(from, 8, 16, QLatin1Char('0'))
                    .arg(QString::fromLatin1(line.toHex(' ')), -(3 * width - 1))
                    .arg(characters);
    }
    return text;
}

QString BytesFile::language() const
{
    return QCoreApplication::translate("HostKit::BytesFile", "Bytes");
}

bool BytesFile::canSave() const
{
    return false;
}

// Elsewhere, as when the project is saved there, it is what it is on disk.
bool BytesFile::toFile(Kiln::Archive &archive, const QString &name, bool asCopy)
{
    if (name == fileName() || !Kiln::copyFile(this->archive(), fileName(), archive, name))
        return false;
    if (!asCopy) {
        FileWatchObject::fromFile(archive, name, asCopy);
        setFileName(name);
    }
    ProjectFile::toFile(archive, name, asCopy);
    return true;
}

bool BytesFile::fromFile(Kiln::Archive &archive, const QString &name, bool asCopy)
{
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device)
        return false;
    const QByteArray data = device->read(mostShown);
    const qint64 rest = device->size() - data.size();
    archive.closeFile(device);
    QString text = dump(data);
    if (rest > 0)
        text += QCoreApplication::translate("HostKit::BytesFile", "%1 more bytes\n").arg(rest);
    FileWatchObject::fromFile(archive, name, asCopy);
    fromString(text);
    setFileName(name);
    ProjectFile::fromFile(archive, name, asCopy);
    return true;
}

void BytesFile::reload()
{
    fromFile(archive(), fileName(), false);
}

void BytesFile::release()
{
    delete this;
}

int BytesFile::foldingKind(const QString &)
{
    return 0;
}

} // namespace HostKit
