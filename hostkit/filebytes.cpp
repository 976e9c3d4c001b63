#include <hostkit/filebytes.h>

#include <kilnx/code/textcodecs.h>
#include <kilnx/project/archive.h>

#include <QFileInfo>

namespace HostKit
{

namespace
{
constexpr int looked = 1 << 16;      // bytes
constexpr int mostWhole = 128 << 20; // bytes of a file that is read as a whole
} // namespace

// Text in UTF-16 has its zeros at either odd or even places, and in UTF-32 a mark before it.
bool isBinary(const QByteArray &data)
{
    int zeros[2] = {0, 0};
    const int size = qMin(data.size(), looked);
    for (int i = 0; i < size; ++i)
        zeros[i % 2] += data.at(i) == '\0' ? 1 : 0;
    const bool hasMark = data.startsWith("\xff\xfe") || data.startsWith("\xfe\xff") ||
                         data.startsWith(QByteArray("\0\0\xfe\xff", 4));
    const bool isWide = (zeros[0] == 0) != (zeros[1] == 0) && (zeros[0] + zeros[1]) * 4 > size;
    return zeros[0] + zeros[1] > 0 && !hasMark && !isWide;
}

QByteArray firstBytes(Kiln::Archive &archive, const QString &fileName)
{
    QIODevice *device = archive.openFile(fileName, QIODevice::ReadOnly);
    const QByteArray data = device ? device->read(looked) : QByteArray();
    archive.closeFile(device);
    return data;
}

std::optional<QString> readText(Kiln::Archive &archive, const QString &fileName)
{
    const bool isFile = QFileInfo(fileName).isFile();
    QIODevice *device = isFile ? archive.openFile(fileName, QIODevice::ReadOnly) : nullptr;
    const bool isFit = device && device->size() <= mostWhole;
    const QByteArray data = isFit ? device->readAll() : QByteArray();
    archive.closeFile(device);
    if (!isFit || isBinary(data))
        return std::nullopt;
    int codec = -1;
    QString text = Kiln::TextCodecs::stringFromData(data, &codec);
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    return text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
}

} // namespace HostKit
