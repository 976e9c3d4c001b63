#include <hostkit/journalfile.h>

#include <kilnx/cache/crc64.h>

#include <QDataStream>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <system_error>
#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace HostKit
{

namespace
{
constexpr quint32 Magic = 0x4B4A4E31;
constexpr quint32 ItemsMagic = 0x4B4A4932;
// Reading applies every record to the whole text: few enough that it stays quick.
constexpr int MostRecords = 500;
constexpr qint64 FreeBytes = 1 << 16;

QByteArray record(const QByteArray &payload)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << payload << quint64(crc64(payload.constData(), unsigned(payload.size())));
    return bytes;
}

// False at the end, and at a record that is cut off or damaged.
bool readRecord(QDataStream &stream, QByteArray *payload)
{
    quint64 sum = 0;
    stream >> *payload >> sum;
    return stream.status() == QDataStream::Ok && !payload->isNull() &&
           sum == crc64(payload->constData(), unsigned(payload->size()));
}

// PNG would make other formats of pictures with few colours, or grey ones.
void putPicture(QDataStream &stream, const QImage &picture)
{
    stream << qint32(picture.format()) << picture.size() << picture.colorTable()
           << qint32(picture.bytesPerLine())
           << qCompress(picture.constBits(), int(picture.sizeInBytes()), 1);
}

bool takePicture(QDataStream &stream, QImage *picture)
{
    qint32 format = 0;
    QSize size;
    QVector<QRgb> colors;
    qint32 stride = 0;
    QByteArray packed;
    stream >> format >> size >> colors >> stride >> packed;
    const QByteArray bits = qUncompress(packed);
    if (stream.status() != QDataStream::Ok || format <= QImage::Format_Invalid ||
        format >= QImage::NImageFormats || size.isEmpty())
        return false;
    QImage read(size, QImage::Format(format));
    if (read.isNull() || read.bytesPerLine() != stride || read.sizeInBytes() != bits.size())
        return false;
    std::copy(bits.begin(), bits.end(), reinterpret_cast<char *>(read.bits()));
    read.setColorTable(colors);
    *picture = read;
    return true;
}

bool readItems(QDataStream &stream, JournalFile::Items *items)
{
    qint32 row = -1;
    stream >> items->bytes >> row;
    items->row = row;
    return stream.status() == QDataStream::Ok && (row < 0 || takePicture(stream, &items->picture));
}

bool writeOut(QFile &file, const QByteArray &bytes)
{
    return file.write(bytes) == bytes.size() && file.flush();
}

bool reachesDisk(QFile &file)
{
#ifdef Q_OS_UNIX
    return fsync(file.handle()) == 0;
#else
    return true;
#endif
}
} // namespace

JournalFile::JournalFile(const QString &path)
    : m_path(path)
{
}

bool JournalFile::write(const Head &head, const QString &text)
{
    m_error.clear();
    const bool isLong = m_appended > FreeBytes + m_text.size() || m_records >= MostRecords;
    const auto all = [&] {
        QByteArray payload;
        QDataStream(&payload, QIODevice::WriteOnly)
            << Magic << head.fileName << head.id << head.project << text;
        return payload;
    };
    const bool isWritten =
        m_appended < 0 || isLong || !(head == m_head) ? writeAll(all()) : append(text);
    if (isWritten) {
        m_head = head;
        m_text = text;
    } else {
        m_appended = -1;
    }
    return isWritten;
}

bool JournalFile::write(const Head &head, const Items &items)
{
    m_error.clear();
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::WriteOnly);
    stream << ItemsMagic << head.fileName << head.id << head.project << items.bytes
           << qint32(items.row);
    if (items.row >= 0)
        putPicture(stream, items.picture);
    return writeAll(payload);
}

// Beside the old file and then over it, so that one of the two is always whole.
bool JournalFile::writeAll(const QByteArray &payload)
{
    QFile file(m_path + QLatin1String(".new"));
    bool isWritten = file.open(QIODevice::WriteOnly) && writeOut(file, record(payload)) &&
                     (!QFile::exists(m_path) || reachesDisk(file));
    if (!isWritten)
        m_error = file.errorString();
    file.close();
    if (isWritten) {
        std::error_code fault;
        std::filesystem::rename(file.fileName().toStdU16String(), m_path.toStdU16String(), fault);
        isWritten = !fault;
        m_error = isWritten ? QString() : QString::fromStdString(fault.message());
    }
    m_appended = 0;
    m_records = 0;
    return isWritten;
}

bool JournalFile::append(const QString &text)
{
    const int shorter = std::min(text.size(), m_text.size());
    const auto differing = std::mismatch(text.begin(), text.begin() + shorter, m_text.begin());
    const int from = int(differing.first - text.begin());
    const auto tail =
        std::mismatch(text.rbegin(), text.rbegin() + (shorter - from), m_text.rbegin());
    const int same = int(tail.first - text.rbegin());
    QByteArray payload;
    QDataStream(&payload, QIODevice::WriteOnly)
        << qint32(from) << qint32(m_text.size() - from - same)
        << text.mid(from, text.size() - from - same);
    const QByteArray bytes = record(payload);
    QFile file(m_path);
    if (!file.open(QIODevice::Append | QIODevice::ExistingOnly) || !writeOut(file, bytes)) {
        m_error = file.errorString();
        return false;
    }
    m_appended += bytes.size();
    ++m_records;
    return true;
}

void JournalFile::sync(const QString &path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
        reachesDisk(file);
}

void JournalFile::remove()
{
    QFile::remove(m_path);
    QFile::remove(m_path + QLatin1String(".new"));
    m_appended = -1;
}

bool JournalFile::read(const QString &path, Contents *contents)
{
    QFile file(path);
    QByteArray payload;
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QDataStream records(&file);
    if (!readRecord(records, &payload))
        return false;
    quint32 magic = 0;
    QDataStream first(payload);
    first >> magic >> contents->head.fileName >> contents->head.id >> contents->head.project;
    contents->isText = magic == Magic;
    contents->time = QFileInfo(file).lastModified();
    if (magic == ItemsMagic)
        return readItems(first, &contents->items);
    first >> contents->text;
    if (magic != Magic || first.status() != QDataStream::Ok)
        return false;
    while (readRecord(records, &payload)) {
        qint32 from = -1;
        qint32 removed = -1;
        QString added;
        QDataStream change(payload);
        change >> from >> removed >> added;
        if (change.status() != QDataStream::Ok || from < 0 || removed < 0 ||
            from > contents->text.size() - removed)
            break;
        contents->text.replace(from, removed, added);
    }
    return true;
}

} // namespace HostKit
