#include <kilnx/cache/filecache.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <limits>

namespace Kiln
{

namespace
{

enum Filter : unsigned char { Unknown = 0, Png = 4, Pcx = 5, Gif = 6, Act = 7, NamedGif = 8 };

class FileItem : public StreamCache::Item
{
public:
    FileItem(const QString &fileName, void *param, unsigned long long crc)
        : Item(Unknown, param, crc)
        , fileName(fileName)
    {
        readSize();
    }

    int storedSize() const override { return size; }

    void readSize()
    {
        size = static_cast<int>(
            qMin<qint64>(QFileInfo(fileName).size(), std::numeric_limits<int>::max()));
    }

    int size = 0;
    QString fileName;
};

FileItem *fileItem(StreamCache::Item *item)
{
    return static_cast<FileItem *>(item);
}

Filter filterOf(const QString &fileName)
{
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    if (suffix == QLatin1String("gif"))
        return Gif;
    if (suffix == QLatin1String("png"))
        return Png;
    if (suffix == QLatin1String("pcx"))
        return Pcx;
    if (suffix == QLatin1String("act"))
        return Act;
    return Unknown;
}

} // namespace

StreamCache::Type FileCache::type() const
{
    return File;
}

QByteArray FileCache::itemData(Item *item) const
{
    QByteArray data;
    if (item)
        emit readFilter(item->filter, item->param, itemRawData(item), data);
    return data;
}

QByteArray FileCache::itemRawData(Item *item) const
{
    if (!item)
        return QByteArray();
    QFile file(fileItem(item)->fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

StreamCache::Item *
FileCache::addItem(const QByteArray &name, unsigned char, void *const param, unsigned long long crc)
{
    auto *item = new FileItem(QString::fromLocal8Bit(name), param, crc);
    item->filter = filterOf(item->fileName);
    if (item->filter == Gif && !param) {
        item->filter = NamedGif;
        item->param = &item->fileName;
    }
    append(item);
    return item;
}

// The checksum of the old bytes must not outlive them, so an unknown one is stored as such.
void FileCache::setItemData(Item *item,
                            const QByteArray &data,
                            unsigned char filter,
                            void *const param,
                            unsigned long long crc)
{
    if (!item)
        return;
    setCrc(item, crc);
    QByteArray decoded;
    if (filter != Unknown && filter != item->filter)
        emit readFilter(filter, param, data, decoded);
    if (decoded.isEmpty())
        decoded = data;
    QByteArray encoded;
    emit writeFilter(filter, param, decoded, encoded);
    if (encoded.isEmpty())
        encoded = decoded;

    QFile file(fileItem(item)->fileName);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(encoded);
    file.close();
    fileItem(item)->readSize();
}

QString FileCache::fileName(Item *item) const
{
    return item ? fileItem(item)->fileName : QString();
}

bool FileCache::itemIsValid(Item *item) const
{
    if (!item)
        return false;
    fileItem(item)->readSize();
    return fileItem(item)->size != 0;
}

void FileCache::renameItem(Item *item, const QString &newName)
{
    if (!item)
        return;
    QFile::rename(fileItem(item)->fileName, newName);
    fileItem(item)->fileName = newName;
}

void FileCache::deleteItem(Item *item)
{
    if (item)
        QFile::remove(fileItem(item)->fileName);
}

} // namespace Kiln
