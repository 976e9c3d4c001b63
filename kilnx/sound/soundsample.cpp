#include <kilnx/sound/soundsample.h>

#include <QtCore/qendian.h>

#include <samplerate.h>

#include <cstring>
#include <limits>
#include <vector>

namespace Kiln
{

namespace
{

using Floats = std::vector<float>;

bool isUsable(const SampleInfo &info)
{
    const bool knownWidth = info.bits == 8 || info.bits == 16 || info.bits == 24 || info.bits == 32;
    return knownWidth && info.channels > 0 && info.sampleRate > 0;
}

// As many frames as there are bytes for; a header can promise more, or leave the number open.
int frameCount(const SoundSample &sample)
{
    const int held = sample.data.size() / sample.frameSize();
    return sample.samples == 0 ? held : static_cast<int>(qMin<qint64>(sample.samples, held));
}

// Little-endian samples of three bytes as the upper bytes of 32 bits.
std::vector<int> unpack24(const char *data, int count)
{
    std::vector<int> values(static_cast<size_t>(count));
    const auto *bytes = reinterpret_cast<const uchar *>(data);
    for (int i = 0; i < count; ++i, bytes += 3)
        values[i] = static_cast<int>(quint32(bytes[0]) << 8 | quint32(bytes[1]) << 16 |
                                     quint32(bytes[2]) << 24);
    return values;
}

QByteArray pack24(const std::vector<int> &values)
{
    QByteArray data;
    data.reserve(static_cast<int>(values.size()) * 3);
    for (const int value : values) {
        data.append(static_cast<char>(value >> 8));
        data.append(static_cast<char>(value >> 16));
        data.append(static_cast<char>(value >> 24));
    }
    return data;
}

// The samples in the byte order of this machine.
template<class Integer>
std::vector<Integer> fromBytes(const char *data, int count)
{
    std::vector<Integer> values(static_cast<size_t>(count));
    if (count > 0)
        qFromLittleEndian<Integer>(data, count, values.data());
    return values;
}

template<class Integer>
QByteArray toBytes(const std::vector<Integer> &values)
{
    QByteArray data(static_cast<int>(values.size() * sizeof(Integer)), Qt::Uninitialized);
    if (!values.empty())
        qToLittleEndian<Integer>(values.data(), static_cast<qsizetype>(values.size()), data.data());
    return data;
}

Floats toFloats(const char *data, int bits, int count)
{
    Floats floats(static_cast<size_t>(count));
    if (bits == 8) {
        for (int i = 0; i < count; ++i)
            floats[i] = static_cast<float>(static_cast<uchar>(data[i]) / 127.5 - 1.0);
    } else if (bits == 16) {
        src_short_to_float_array(fromBytes<short>(data, count).data(), floats.data(), count);
    } else {
        const std::vector<int> values =
            bits == 24 ? unpack24(data, count) : fromBytes<int>(data, count);
        src_int_to_float_array(values.data(), floats.data(), count);
    }
    return floats;
}

// A float holds an 8-bit sample with an error of up to 4e-6 steps, which truncation would turn into
// a whole step; what the converter overshoots is cut off.
char toByte(float value)
{
    constexpr double floatError = 1e-5;
    const double scaled = (value + 1.0) * 127.5 + floatError;
    return static_cast<char>(static_cast<uchar>(qBound(0.0, scaled, 255.0)));
}

QByteArray fromFloats(const Floats &floats, int bits)
{
    const int count = static_cast<int>(floats.size());
    if (bits == 8) {
        QByteArray data(count, Qt::Uninitialized);
        for (int i = 0; i < count; ++i)
            data[i] = toByte(floats[i]);
        return data;
    }
    if (bits == 16) {
        std::vector<short> values(floats.size());
        src_float_to_short_array(floats.data(), values.data(), count);
        return toBytes(values);
    }
    std::vector<int> values(floats.size());
    src_float_to_int_array(floats.data(), values.data(), count);
    return bits == 24 ? pack24(values) : toBytes(values);
}

bool changeRate(Floats &floats, int channels, long frames, long outFrames, double ratio)
{
    Floats converted(static_cast<size_t>(outFrames) * channels);
    SRC_DATA job{};
    job.data_in = floats.data();
    job.data_out = converted.data();
    job.input_frames = frames;
    job.output_frames = outFrames;
    job.src_ratio = ratio;
    if (src_simple(&job, SRC_SINC_BEST_QUALITY, channels) != 0)
        return false;
    floats.swap(converted);
    return true;
}

Floats changeChannels(const Floats &floats, int from, int to)
{
    const size_t frames = floats.size() / from;
    Floats mixed(frames * to);
    for (size_t frame = 0; frame < frames; ++frame) {
        const float *source = &floats[frame * from];
        float *target = &mixed[frame * to];
        if (to == 1) {
            double sum = 0;
            for (int channel = 0; channel < from; ++channel)
                sum += source[channel];
            target[0] = static_cast<float>(sum / from);
        } else {
            for (int channel = 0; channel < to; ++channel)
                target[channel] = source[qMin(channel, from - 1)];
        }
    }
    return mixed;
}

} // namespace

bool resample(const SoundSample &source, const SampleInfo &target, SoundSample &result)
{
    if (!isUsable(source) || !isUsable(target))
        return false;
    const int frames = frameCount(source);
    const double ratio = static_cast<double>(target.sampleRate) / source.sampleRate;
    const double outFrames = frames * ratio;
    const int widest = qMax(source.channels, target.channels) * int(sizeof(float));
    if (qMax<double>(frames, outFrames) * widest > std::numeric_limits<int>::max())
        return false;

    Floats floats = toFloats(source.data.constData(), source.bits, frames * source.channels);
    if (target.sampleRate != source.sampleRate &&
        !changeRate(floats, source.channels, frames, static_cast<long>(outFrames), ratio))
        return false;
    if (target.channels != source.channels)
        floats = changeChannels(floats, source.channels, target.channels);

    SoundSample converted;
    static_cast<SampleInfo &>(converted) = target;
    converted.samples = static_cast<unsigned int>(outFrames);
    converted.data = fromFloats(floats, target.bits);
    result = converted;
    return true;
}

} // namespace Kiln
