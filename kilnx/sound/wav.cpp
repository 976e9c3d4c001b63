#include <kilnx/sound/wav.h>

#include <kilnx/project/device_p.h>
#include <kilnx/project/extension.h>
#include <kilnx/project/paths.h>

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>

#include <algorithm>
#include <limits>

namespace Kiln
{

namespace
{

constexpr quint16 pcmFormat = 1;
constexpr int chunkIdSize = 4;
constexpr qint64 readStep = 0x10000;
// A little below what a QByteArray can hold.
constexpr qint64 largestArray = std::numeric_limits<int>::max() - readStep;

// The "fmt " chunk, with its id and size.
struct FormatChunk {
    char id[chunkIdSize] = {};
    quint32 size = 0;
    quint16 format = 0;
    quint16 channels = 0;
    quint32 sampleRate = 0;
    quint32 byteRate = 0;
    quint16 blockAlign = 0;
    quint16 bits = 0;
};

class LittleEndianStream : public QDataStream
{
public:
    template<class Source>
    explicit LittleEndianStream(const Source &source)
        : QDataStream(source)
    {
        setByteOrder(LittleEndian);
    }
};

QDataStream &operator>>(QDataStream &stream, FormatChunk &chunk)
{
    stream.readRawData(chunk.id, chunkIdSize);
    return stream >> chunk.size >> chunk.format >> chunk.channels >> chunk.sampleRate >>
           chunk.byteRate >> chunk.blockAlign >> chunk.bits;
}

// Takes memory for what the device has, not for what a header announces.
QByteArray readAtMost(QIODevice *device, qint64 count)
{
    count = qMin(count, largestArray);
    QByteArray data;
    while (count > 0) {
        const QByteArray part = device->read(qMin(count, readStep));
        if (part.isEmpty())
            break;
        data += part;
        count -= part.size();
    }
    return data;
}

// Moves to the samples: right behind the format chunk unless "data" is found elsewhere.
quint32 readDataSize(QDataStream &stream, const QByteArray &buffer)
{
    const int position = buffer.indexOf("data");
    if (position > 0)
        stream.device()->seek(position);
    quint32 size = 0;
    stream.skipRawData(chunkIdSize);
    stream >> size;
    return size;
}

unsigned int frameCount(const SampleInfo &info, quint32 byteRate, quint32 dataSize)
{
    const int frameSize = info.frameSize();
    return byteRate == 0 || frameSize == 0 ? 0 : dataSize / static_cast<unsigned int>(frameSize);
}

// All fields 0, unlike a default sample.
SoundSample emptySample()
{
    SoundSample sample;
    sample.bits = 0;
    return sample;
}

// False when the stream holds too little of what is announced.
bool readSamples(QDataStream &stream, quint32 size, QByteArray &data)
{
    constexpr qint64 alwaysAllowed = 0x10000;
    const qint64 available = qMin<qint64>(size, stream.device()->bytesAvailable());
    const qint64 allowed = qMin<qint64>(qMax(2 * available, alwaysAllowed), largestArray);
    if (size > allowed)
        return false;
    data = QByteArray(static_cast<int>(size), '\0');
    const int missing = static_cast<int>(size - available);
    stream.readRawData(data.data(), static_cast<int>(available));
    std::fill_n(data.begin(), missing, '\0');
    return true;
}

/// Asks one extension after the other, each from the same place and with a fresh sample. What a
/// reader gave stays until another one gives something, even if it said that it failed.
void readWithExtensions(QIODevice *device, const char *format, SoundSample &sample)
{
    SeekableDevice seekable(device);
    const qint64 start = seekable.get()->pos();
    sample = SoundSample();
    ExtensionManager::convert<SoundReader>(format, [&](SoundReader &reader) {
        seekable.get()->seek(start);
        SoundSample given;
        const bool ok = reader.read(seekable.get(), given);
        if (!given.data.isEmpty())
            sample = given;
        return ok;
    });
}

} // namespace

bool loadSound(QIODevice *device, const char *format, SoundSample &sample)
{
    if (!device || !device->isReadable() || !format)
        return false;
    if (qstrcmp(format, "wav") == 0) {
        sample = soundFromWAV(device);
    } else {
        readWithExtensions(device, format, sample);
    }
    return !sample.data.isEmpty();
}

bool saveSound(QIODevice *device, const char *format, const SoundSample &sample)
{
    if (!device || !device->isWritable() || !format)
        return false;
    if (qstrcmp(format, "wav") == 0)
        return soundToWAV(sample, device);
    return ExtensionManager::convert<SoundWriter>(
        format, [&](SoundWriter &writer) { return writer.write(sample, device); });
}

SoundSample soundFromWAV(QIODevice *source)
{
    if (!openForReading(source))
        return emptySample();
    SeekableDevice seekable(source);
    QIODevice *device = seekable.get();
    LittleEndianStream head(device);
    char id[chunkIdSize] = {};
    quint32 size = 0;
    head.skipRawData(chunkIdSize);
    head >> size;
    if (head.readRawData(id, chunkIdSize) != chunkIdSize || qstrncmp(id, "WAVE", chunkIdSize) != 0)
        return emptySample();

    // A size below 4 wraps round, and then means all that there is.
    const QByteArray buffer = readAtMost(device, quint32(size - chunkIdSize));
    LittleEndianStream stream(buffer);
    FormatChunk chunk;
    stream >> chunk;
    if (qstrncmp(chunk.id, "fmt", 3) != 0 || chunk.format != pcmFormat)
        return emptySample();

    SoundSample sample;
    sample.channels = chunk.channels;
    sample.sampleRate = chunk.sampleRate;
    sample.bits = chunk.bits;
    const quint32 dataSize = readDataSize(stream, buffer);
    if (sample.frameSize() == 0 || !readSamples(stream, dataSize, sample.data))
        return emptySample();
    sample.samples = frameCount(sample, chunk.byteRate, dataSize);
    return sample;
}

SampleInfo soundInfoFromWAV(QIODevice *device)
{
    SampleInfo info;
    if (!openForReading(device))
        return info;
    const QByteArray buffer = device->readAll();
    LittleEndianStream stream(buffer);
    constexpr int riffHeadSize = 12;
    stream.skipRawData(riffHeadSize);
    FormatChunk chunk;
    stream >> chunk;
    info.bits = 0;
    if (chunk.format != pcmFormat)
        return info;
    info.channels = chunk.channels;
    info.sampleRate = chunk.sampleRate;
    info.bits = chunk.bits;
    info.samples = frameCount(info, chunk.byteRate, readDataSize(stream, buffer));
    return info;
}

bool soundToWAV(const SoundSample &sample, QIODevice *device)
{
    if (!openForWriting(device))
        return false;
    const quint32 dataSize = static_cast<quint32>(sample.data.size());
    const auto blockAlign = static_cast<quint16>(sample.frameSize());
    constexpr quint32 headBehindSize = 36;
    constexpr quint32 formatSize = 16;

    LittleEndianStream stream(device);
    stream.writeRawData("RIFF", chunkIdSize);
    stream << quint32(dataSize + headBehindSize);
    stream.writeRawData("WAVE", chunkIdSize);
    stream.writeRawData("fmt ", chunkIdSize);
    stream << formatSize << pcmFormat << quint16(sample.channels) << quint32(sample.sampleRate)
           << quint32(sample.sampleRate * blockAlign) << blockAlign << quint16(sample.bits);
    stream.writeRawData("data", chunkIdSize);
    stream << dataSize;
    return stream.status() == QDataStream::Ok && writeAll(device, sample.data);
}

} // namespace Kiln
