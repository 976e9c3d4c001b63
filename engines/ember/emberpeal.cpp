#include "emberpeal.h"

#include <QtEndian>

namespace
{

/// Replaces each sample of `width` bytes by its difference to the one before in its channel, or
/// takes that back. The arithmetic wraps, so nothing is lost.
template<int width>
QByteArray convert(const QByteArray &bytes, int channels, bool encode)
{
    QByteArray result(bytes.size(), Qt::Uninitialized);
    const auto *in = reinterpret_cast<const uchar *>(bytes.constData());
    auto *out = reinterpret_cast<uchar *>(result.data());
    const qint64 step = channels * width;
    for (int channel = 0; channel < channels; ++channel) {
        quint32 before = 0;
        for (qint64 at = channel * width; at < bytes.size(); at += step) {
            quint32 value = 0;
            for (int byte = 0; byte < width; ++byte)
                value |= quint32(in[at + byte]) << (8 * byte);
            const quint32 changed = encode ? value - before : value + before;
            for (int byte = 0; byte < width; ++byte)
                out[at + byte] = static_cast<uchar>(changed >> (8 * byte));
            before = encode ? value : changed;
        }
    }
    return result;
}

/// Empty for a format without such a conversion, and for samples that end within a frame.
QByteArray convert(const QByteArray &bytes, const Kiln::SampleInfo &info, bool encode)
{
    if (info.channels == 0 || info.frameSize() == 0 || bytes.size() % info.frameSize() != 0)
        return QByteArray();
    switch (info.bits) {
    case 8:
        return convert<1>(bytes, info.channels, encode);
    case 16:
        return convert<2>(bytes, info.channels, encode);
    case 24:
        return convert<3>(bytes, info.channels, encode);
    case 32:
        return convert<4>(bytes, info.channels, encode);
    default:
        return QByteArray();
    }
}

} // namespace

QByteArray EmberPeal::encode(const QByteArray &samples, const Kiln::SampleInfo &info)
{
    const QByteArray differences = convert(samples, info, true);
    return differences.isEmpty() ? differences : qCompress(differences);
}

QByteArray EmberPeal::decode(const QByteArray &bytes, const Kiln::SampleInfo &info)
{
    // The first four bytes announce the size. zlib cannot do better than one to 1032.
    constexpr int announcementSize = 4;
    constexpr qint64 bestRatio = 1032;
    const qint64 size = sampleBytes(info);
    if (bytes.size() < announcementSize || size > bytes.size() * bestRatio ||
        qFromBigEndian<quint32>(bytes.constData()) != size)
        return QByteArray();
    const QByteArray differences = qUncompress(bytes);
    return differences.size() == size ? convert(differences, info, false) : QByteArray();
}

qint64 EmberPeal::sampleBytes(const Kiln::SampleInfo &info)
{
    return qint64(info.samples) * info.frameSize();
}
