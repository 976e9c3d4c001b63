#include <kilnx/sound/soundsample.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>

#include <samplerate.h>

#include <cmath>
#include <functional>

using namespace Kiln;

namespace
{

constexpr double pi = 3.14159265358979323846;

SampleInfo format(int channels, int bits, unsigned int rate)
{
    SampleInfo info;
    info.channels = static_cast<unsigned short>(channels);
    info.bits = static_cast<unsigned short>(bits);
    info.sampleRate = rate;
    return info;
}

SoundSample soundOf(const SampleInfo &info, const QByteArray &data)
{
    SoundSample sample;
    static_cast<SampleInfo &>(sample) = info;
    sample.data = data;
    sample.samples = static_cast<unsigned int>(data.size() / sample.frameSize());
    return sample;
}

void appendValue(QByteArray &data, double value, int bits)
{
    if (bits == 8) {
        data.append(static_cast<char>(qRound((value + 1.0) * 127.5)));
        return;
    }
    const auto whole = static_cast<quint32>(qRound(value * (std::pow(2.0, bits - 1) - 1)));
    for (int shift = 0; shift < bits; shift += 8)
        data.append(static_cast<char>(whole >> shift));
}

double valueAt(const SoundSample &sample, int index)
{
    const int width = sample.bits / 8;
    const auto *bytes = reinterpret_cast<const uchar *>(sample.data.constData()) + index * width;
    if (width == 1)
        return bytes[0] / 127.5 - 1.0;
    quint32 whole = 0;
    for (int i = 0; i < width; ++i)
        whole |= quint32(bytes[i]) << (32 - sample.bits + 8 * i);
    return static_cast<int>(whole) / 2147483648.0;
}

// What channel `channel` of a sound should be at a time: sines of different height.
double tone(int channel, double seconds)
{
    return (channel == 0 ? 0.8 : 0.4) * std::sin(2 * pi * 440 * seconds);
}

SoundSample makeTone(const SampleInfo &info, unsigned int frames)
{
    QByteArray data;
    for (unsigned int frame = 0; frame < frames; ++frame) {
        for (int channel = 0; channel < info.channels; ++channel)
            appendValue(data, tone(channel, double(frame) / info.sampleRate), info.bits);
    }
    return soundOf(info, data);
}

} // namespace

class TestResample : public QObject
{
    Q_OBJECT

private slots:
    void keepsTheTone_data()
    {
        columns<int, int, uint, int, int, uint>("fromChannels", "fromBits", "fromRate",
                                                "toChannels", "toBits", "toRate");
        const unsigned int rates[][2] = {
            {8000, 44100}, {44100, 11025}, {48000, 44100}, {22050, 22050}};
        for (int i = 0; i < 4 * 4 * 4 * 4; ++i) {
            const auto [fromRate, toRate] = rates[i / 64];
            const int fromBits = 8 + i / 16 % 4 * 8;
            const int toBits = 8 + i / 4 % 4 * 8;
            const int from = 1 + i / 2 % 2;
            const int to = 1 + i % 2;
            QTest::addRow("%d x %d bits at %u to %d x %d bits at %u", from, fromBits, fromRate, to,
                          toBits, toRate)
                << from << fromBits << fromRate << to << toBits << toRate;
        }
    }

    // The expected value of every frame is known without resampling.
    void keepsTheTone()
    {
        auto [fromChannels, fromBits, fromRate, toChannels, toBits, toRate] =
            row<int, int, uint, int, int, uint>();
        const unsigned int frames = fromRate / 20;
        const SoundSample source = makeTone(format(fromChannels, fromBits, fromRate), frames);
        SoundSample result;
        QVERIFY(resample(source, format(toChannels, toBits, toRate), result));

        const auto outFrames = static_cast<unsigned int>(frames * (double(toRate) / fromRate));
        QCOMPARE(result.samples, outFrames);
        QCOMPARE(result.channels, static_cast<unsigned short>(toChannels));
        QCOMPARE(result.bits, static_cast<unsigned short>(toBits));
        QCOMPARE(result.sampleRate, toRate);
        QCOMPARE(result.data.size(), static_cast<int>(outFrames) * toChannels * toBits / 8);

        // Two steps of the coarser width, and what the converter itself may be off by.
        const double allowed = 2 * std::pow(2.0, 1 - qMin(fromBits, toBits)) + 2e-4;
        // The converter rings where the sound begins and ends.
        const unsigned int edge = fromRate == toRate ? 0 : outFrames / 5;
        for (unsigned int frame = edge; frame < outFrames - edge; ++frame) {
            const double seconds = double(frame) / toRate;
            for (int channel = 0; channel < toChannels; ++channel) {
                double expected = tone(qMin(channel, fromChannels - 1), seconds);
                if (fromChannels == 2 && toChannels == 1)
                    expected = (tone(0, seconds) + tone(1, seconds)) / 2;
                const double got = valueAt(result, static_cast<int>(frame) * toChannels + channel);
                if (std::abs(got - expected) > allowed)
                    QFAIL(qPrintable(
                        QString("frame %1: %2, expected %3").arg(frame).arg(got).arg(expected)));
            }
        }
    }

    // The same steps by hand, byte for byte; no other converter of the library gives these.
    void takesTheBestConverter()
    {
        constexpr int frames = 2205;
        constexpr int outFrames = 2400;
        for (const int channels : {1, 2}) {
            for (const int bits : {16, 32}) {
                const SoundSample source = makeTone(format(channels, bits, 44100), frames);
                std::vector<float> in(static_cast<size_t>(frames * channels));
                std::vector<float> out(static_cast<size_t>(outFrames * channels));
                QByteArray expected(outFrames * channels * bits / 8, '\0');
                const void *from = source.data.constData();
                void *to = expected.data();
                if (bits == 16)
                    src_short_to_float_array(static_cast<const short *>(from), in.data(),
                                             int(in.size()));
                else
                    src_int_to_float_array(static_cast<const int *>(from), in.data(),
                                           int(in.size()));
                SRC_DATA job{in.data(), out.data(), frames, outFrames, 0, 0, 0, 48000.0 / 44100.0};
                QCOMPARE(src_simple(&job, SRC_SINC_BEST_QUALITY, channels), 0);
                if (bits == 16)
                    src_float_to_short_array(out.data(), static_cast<short *>(to), int(out.size()));
                else
                    src_float_to_int_array(out.data(), static_cast<int *>(to), int(out.size()));
                SoundSample result;
                QVERIFY(resample(source, format(channels, bits, 48000), result));
                QVERIFY(result.data == expected);
            }
        }
    }

    void equalRatesOnlyDuplicate()
    {
        for (const int bits : {8, 16, 24}) {
            QByteArray source, expected;
            for (int value = 0; value < 0x10000; ++value) {
                QByteArray frame;
                for (int shift = 0; shift < bits; shift += 8)
                    frame.append(static_cast<char>((value * 257) >> shift));
                source += frame;
                expected += frame + frame;
            }
            SoundSample result;
            QVERIFY(
                resample(soundOf(format(1, bits, 11025), source), format(2, bits, 11025), result));
            QVERIFY(result.data == expected);
        }
    }

    void silenceStaysSilence()
    {
        const SoundSample source = soundOf(format(1, 8, 8000), QByteArray(4000, char(128)));
        SoundSample result;
        QVERIFY(resample(source, format(2, 8, 16000), result));
        QCOMPARE(result.data.size(), 16000);
        // Away from the edges, where silence meets the nothing around it.
        for (int i = 2000; i < 14000; ++i)
            QCOMPARE(uchar(result.data[i]), uchar(128));
        QVERIFY(resample(source, format(1, 16, 8000), result));
        QCOMPARE(qRound(valueAt(result, 0) * 32768), 129);
    }

    // Every 16-bit value goes down to the 8-bit step below it.
    void shortsToBytes()
    {
        QByteArray source;
        for (int value = -32768; value < 32768; ++value)
            source.append(static_cast<char>(value)).append(static_cast<char>(value >> 8));
        SoundSample result;
        QVERIFY(resample(soundOf(format(1, 16, 8000), source), format(1, 8, 8000), result));
        for (int value = -32768; value < 32768; ++value) {
            const int expected = static_cast<int>((value / 32768.0 + 1.0) * 127.5);
            QCOMPARE(int(uchar(result.data[value + 32768])), expected);
        }
    }

    void overshootIsCutOff()
    {
        // A square wave of full height overshoots at every step.
        const QByteArray square = QByteArray(20, '\0') + QByteArray(20, '\xFF');
        const SoundSample source = soundOf(format(1, 8, 8000), square.repeated(100));
        for (const int bits : {8, 16, 24, 32}) {
            SoundSample result;
            QVERIFY(resample(source, format(1, bits, 44100), result));
            // In the middle of each level, where the ringing has died down; a wrapped value would
            // have the wrong sign.
            for (int level = 5; level < 190; ++level) {
                for (int offset = 3; offset < 17; ++offset) {
                    const int frame = int((level * 20 + offset) * 44100.0 / 8000);
                    QCOMPARE(valueAt(result, frame) > 0.5, level % 2 == 1);
                    QCOMPARE(valueAt(result, frame) < -0.5, level % 2 == 0);
                }
            }
        }
    }

    void moreChannels()
    {
        const SoundSample source =
            soundOf(format(3, 8, 8000), QByteArray::fromHex("102030 405060"));
        SoundSample result;
        QVERIFY(resample(source, format(1, 8, 8000), result));
        QCOMPARE(result.data, QByteArray::fromHex("2050"));
        QVERIFY(resample(source, format(4, 8, 8000), result));
        QCOMPARE(result.data, QByteArray::fromHex("10203030 40506060"));
    }

    void refuses_data()
    {
        columns<int, int, uint>("channels", "bits", "rate");
        addRow("no channels", 0, 8, 8000u);
        addRow("no bits", 1, 0, 8000u);
        addRow("12 bits", 1, 12, 8000u);
        addRow("64 bits", 1, 64, 8000u);
        addRow("no rate", 1, 8, 0u);
        addRow("more than 256 times the rate", 1, 8, 8000u * 257);
        addRow("less than a 256th of the rate", 1, 8, 31u);
        addRow("more than 2 GiB", 65535, 32, 8000u * 200);
        addRow("more than 2 GiB of floats for less", 65535, 8, 8000u * 5);
    }

    void refuses()
    {
        auto [channels, bits, rate] = row<int, int, uint>();
        const SoundSample good = makeTone(format(1, 16, 8000), 4000);
        SoundSample result;
        result.data = "before";
        QVERIFY(!resample(good, format(channels, bits, rate), result));
        SoundSample bad = good;
        static_cast<SampleInfo &>(bad) = format(channels, bits, rate);
        bad.samples = 4000;
        if (channels == 0 || bits % 8 != 0 || bits == 0 || bits == 64 || rate == 0)
            QVERIFY(!resample(bad, good, result));
        QCOMPARE(result.data, QByteArray("before"));
    }

    void lengthAgainstData_data()
    {
        columns<uint, int, int>("samples", "bytes", "frames");
        addRow("as many as there are", 100u, 400, 100);
        addRow("the number is not known", 0u, 400, 100);
        addRow("one more than there are", 101u, 400, 100);
        addRow("4 Gi more", 0xFFFFFFFFu, 400, 100);
        addRow("fewer than there are", 40u, 400, 40);
        addRow("a part of a frame at the end", 100u, 399, 99);
        addRow("not known, and a part of a frame", 0u, 397, 99);
        addRow("one frame", 0u, 4, 1);
        addRow("not one frame", 0u, 3, 0);
        addRow("no data", 100u, 0, 0);
        addRow("nothing", 0u, 0, 0);
    }

    void lengthAgainstData()
    {
        auto [samples, bytes, frames] = row<uint, int, int>();
        SoundSample source = makeTone(format(2, 16, 8000), 100);
        source.samples = samples;
        source.data.truncate(bytes);
        for (const SampleInfo &target :
             {format(2, 16, 8000), format(1, 8, 8000), format(3, 24, 44100), format(1, 32, 1000)}) {
            SoundSample result = source;
            QVERIFY(resample(result, target, result));
            QCOMPARE(result.samples, frames * target.sampleRate / 8000);
            QCOMPARE(result.data.size(), int(result.samples) * target.frameSize());
            if (target.bits == source.bits)
                QCOMPARE(result.data, source.data.left(4 * frames));
        }
    }
};

QTEST_APPLESS_MAIN(TestResample)

#include "tst_resample.moc"
