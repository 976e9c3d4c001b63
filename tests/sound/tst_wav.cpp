#include <kilnx/project/extension.h>
#include <kilnx/sound/wav.h>
#include <tests/support/pipe.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>

#include <random>

using namespace Kiln;

namespace
{

// Runs sox, an independent tool for sounds, or its soxi, and returns what it wrote to its standard
// output; "failed" if it did not work.
QByteArray run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
        process.exitCode() == 0)
        return process.readAllStandardOutput();
    qWarning().noquote() << process.errorString() << process.readAllStandardError();
    return "failed";
}

QStringList words(const QString &text)
{
    return text.split(' ');
}

QByteArray little(quint32 value, int bytes)
{
    QByteArray data;
    for (int i = 0; i < bytes; ++i)
        data.append(static_cast<char>(value >> (8 * i)));
    return data;
}

QByteArray chunk(const char *id, const QByteArray &data)
{
    return QByteArray(id, 4) + little(static_cast<quint32>(data.size()), 4) + data;
}

// The fields of a WAV file; a test changes what it wants wrong.
struct Wav {
    QByteArray riff = "RIFF";
    QByteArray wave = "WAVE";
    QByteArray formatId = "fmt ";
    quint32 format = 1;
    quint32 channels = 1;
    quint32 sampleRate = 8000;
    quint32 byteRate = 8000;
    quint32 bits = 8;
    QByteArray formatRest;
    QByteArray between;
    QByteArray data = "0123456789";
    QByteArray dataHead; ///< instead of "data" and the size

    QByteArray bytes() const
    {
        const QByteArray fields = little(format, 2) + little(channels, 2) + little(sampleRate, 4) +
                                  little(byteRate, 4) + little(channels * bits / 8, 2) +
                                  little(bits, 2) + formatRest;
        QByteArray body =
            wave + formatId + little(static_cast<quint32>(fields.size()), 4) + fields + between;
        body += dataHead.isNull() ? chunk("data", data) : dataHead + data;
        return riff + little(static_cast<quint32>(body.size()), 4) + body;
    }
};

template<class T>
QByteArray wavWith(T Wav::*field, const std::decay_t<T> &value)
{
    Wav wav;
    wav.*field = value;
    return wav.bytes();
}

SoundSample readWav(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    return soundFromWAV(&buffer);
}

SampleInfo readInfo(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    return soundInfoFromWAV(&buffer);
}

QList<quint32> fieldsOf(const SampleInfo &info)
{
    return {info.channels, info.bits, info.sampleRate, info.samples};
}

bool isEmptySample(const SoundSample &sample)
{
    return sample.data.isEmpty() && fieldsOf(sample) == QList<quint32>({0, 0, 0, 0});
}

// A sound format from outside that gives `data` and says whether that was all well.
class ToneReader : public SoundReader
{
public:
    ToneReader(const QByteArray &data, bool works)
        : m_data(data)
        , m_works(works)
    {
    }
    const char *format() override { return "tone"; }
    bool read(QIODevice *device, SoundSample &sample) override
    {
        if (device->read(4) != "TONE" || !sample.data.isEmpty())
            return false;
        sample.data = m_data;
        return m_works;
    }

private:
    QByteArray m_data;
    bool m_works;
};

// A device that cannot be opened.
class ClosedDevice : public QIODevice
{
public:
    bool open(OpenMode) override { return false; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64) override { return -1; }
};

} // namespace

class TestWav : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_directory.isValid());
        QVERIFY2(!QStandardPaths::findExecutable(QString("sox")).isEmpty(),
                 "sox is needed; ./kiln test installs it");
    }

    void readsWhatSoxWrites_data()
    {
        columns<QString, QString, bool>("options", "raw", "readable");
        for (const int bits : {8, 16, 24, 32}) {
            for (const int channels : {1, 2}) {
                const QString format =
                    QString("-t wavpcm -b %1 -c %2 -r 22050").arg(bits).arg(channels);
                const QString raw = QString("-t raw -L -e ") + (bits == 8 ? "unsigned" : "signed");
                QTest::addRow("%d bits, %d channels", bits, channels) << format << raw << true;
                QTest::addRow("%d bits, %d channels, with a comment", bits, channels)
                    << "--add-comment tool " + format << raw << true;
            }
        }
        addRow("floats are not read", QString("-t wav -e floating-point -b 32"), QString(), false);
        addRow("a-law is not read", QString("-t wav -e a-law"), QString(), false);
    }

    void readsWhatSoxWrites()
    {
        const auto [options, raw, readable] = row<QString, QString, bool>();
        const QString name = file("tool.wav");
        const QString made = "-D -n " + options + ' ' + name + " synth 0.1 sine 440 gain -3";
        QCOMPARE(run("sox", words(made)), QByteArray());
        QFile wav(name);
        QVERIFY(wav.open(QIODevice::ReadOnly));
        SoundSample sample;
        QCOMPARE(loadSound(&wav, "wav", sample), readable);
        QFile again(name);
        QCOMPARE(fieldsOf(soundInfoFromWAV(&again)), fieldsOf(sample));
        if (!readable) {
            QVERIFY(isEmptySample(sample));
            return;
        }
        const QByteArray expected = run("sox", words("-D " + name + ' ' + raw + " -"));
        QVERIFY(sample.data == expected);
        QCOMPARE(sample.sampleRate, 22050u);
        QCOMPARE(sample.samples, 2205u);
    }

    void soxReadsWhatWeWrite_data()
    {
        columns<int, int, int>("bits", "channels", "rate");
        addRow("8 bits, mono", 8, 1, 8000);
        addRow("8 bits, stereo, odd rate", 8, 2, 11025);
        addRow("16 bits, mono", 16, 1, 44100);
        addRow("16 bits, stereo", 16, 2, 192000);
        addRow("24 bits, stereo", 24, 2, 48000);
        addRow("32 bits, mono", 32, 1, 96000);
    }

    void soxReadsWhatWeWrite()
    {
        auto [bits, channels, rate] = row<int, int, int>();
        SoundSample sample;
        sample.bits = static_cast<unsigned short>(bits);
        sample.channels = static_cast<unsigned short>(channels);
        sample.sampleRate = static_cast<unsigned int>(rate);
        sample.samples = 777;
        std::mt19937 random(5);
        sample.data.resize(777 * sample.frameSize());
        for (char &byte : sample.data)
            byte = static_cast<char>(random());

        const QString name = file("ours.wav");
        QFile wav(name);
        QVERIFY(wav.open(QIODevice::WriteOnly));
        QVERIFY(saveSound(&wav, "wav", sample));
        wav.close();

        const QMap<QString, int> facts{{"-c", channels}, {"-r", rate}, {"-b", bits}, {"-s", 777}};
        for (const QString &option : facts.keys())
            QCOMPARE(run("soxi", {option, name}).trimmed().toInt(), facts[option]);
        QVERIFY(run("sox", words(name + " -t raw -L -")) == sample.data);

        QFile again(name);
        const SoundSample read = soundFromWAV(&again);
        QVERIFY(read.data == sample.data);
        QCOMPARE(fieldsOf(read), fieldsOf(sample));
    }

    void headerByteForByte()
    {
        SoundSample sample;
        sample.channels = 2;
        sample.bits = 16;
        sample.sampleRate = 0x0000AC44;
        sample.data = "abcdefgh";
        QBuffer buffer;
        QVERIFY(soundToWAV(sample, &buffer));
        QCOMPARE(
            buffer.data().toHex(' '),
            QByteArray("52 49 46 46 2c 00 00 00 57 41 56 45 66 6d 74 20 10 00 00 00 01 00 02 00 "
                       "44 ac 00 00 10 b1 02 00 04 00 10 00 64 61 74 61 08 00 00 00 "
                       "61 62 63 64 65 66 67 68"));
    }

    void layouts_data()
    {
        const auto add = columns<QByteArray, QByteArray>("bytes", "data");
        const QByteArray good = Wav().bytes();
        const QByteArray samples = "0123456789";
        add("plain", good, samples);
        add("the first four bytes do not matter", wavWith(&Wav::riff, "XXXX"), samples);
        add("a format chunk of 40 bytes", wavWith(&Wav::formatRest, QByteArray(24, '\x07')),
            samples);
        const QByteArray note = "INFOICMT" + little(4, 4) + "none";
        add("a list between", wavWith(&Wav::between, chunk("LIST", note)), samples);
        const QByteArray trap = "INFO data" + little(3, 4) + "abc";
        add("the word data in the list misleads", wavWith(&Wav::between, chunk("LIST", trap)),
            "abc");
        add("no data chunk: right behind the format",
            wavWith(&Wav::dataHead, "DATA" + little(4, 4)), "0123");
        const auto ofSize = [&good](quint32 size) {
            return QByteArray(good).replace(4, 4, little(size, 4));
        };
        add("size 0 means to the end", ofSize(0), samples);
        add("size of 4 GiB means to the end", ofSize(0xFFFFFFFF), samples);
        add("bytes behind the file", good + "more", samples);
        add("a size that ends four bytes early zeroes as many at the start", ofSize(42),
            QByteArray("\0\0\0\0\64\65\0\0\0\0", 10));

        const QByteArray none;
        add("no WAVE", wavWith(&Wav::wave, "AVI "), none);
        add("format is not first", wavWith(&Wav::formatId, "LIST"), none);
        add("floats", wavWith(&Wav::format, 3), none);
        Wav wav;
        wav.format = 0xFFFE;
        wav.formatRest = little(22, 2) + QByteArray(22, '\x01');
        add("a format told by the other 24 of 40 bytes", wav.bytes(), none);
        add("no channels", wavWith(&Wav::channels, 0), none);
        add("3 bits", wavWith(&Wav::bits, 3), none);
        wav = Wav();
        wav.bits = wav.channels = 0xFFFF;
        add("a frame larger than the file", wav.bytes(), samples);
        add("no samples", wavWith(&Wav::data, none), none);
        add("a size that ends in the format", ofSize(20), none);
        for (const quint32 size : {0u, 0xFFFFFFFFu})
            QTest::addRow("samples of %u bytes, left open by a streaming writer", size)
                << wavWith(&Wav::dataHead, "data" + little(size, 4)) << none;
        add("nothing", none, none);
    }

    void layouts()
    {
        auto [bytes, data] = row<QByteArray, QByteArray>();
        QBuffer buffer(&bytes);
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        SoundSample sample;
        QCOMPARE(loadSound(&buffer, "wav", sample), !data.isEmpty());
        QCOMPARE(sample.data, data);
        if (sample.frameSize() > 0)
            QCOMPARE(sample.samples, static_cast<unsigned int>(data.size() / sample.frameSize()));
    }

    void infoWithoutChecks()
    {
        Wav wav;
        wav.wave = "AVI ";
        wav.formatId = "LIST";
        wav.between = chunk("LIST", "something");
        QCOMPARE(fieldsOf(readInfo(wav.bytes())), QList<quint32>({1, 8, 8000, 10}));
        QVERIFY(isEmptySample(readWav(wav.bytes())));

        wav = Wav();
        wav.byteRate = 0;
        QCOMPARE(fieldsOf(readInfo(wav.bytes())), QList<quint32>({1, 8, 8000, 0}));
        QCOMPARE(fieldsOf(readWav(wav.bytes())), QList<quint32>({1, 8, 8000, 0}));
        wav.format = 0xFFFE;
        QCOMPARE(fieldsOf(readInfo(wav.bytes())), QList<quint32>({0, 0, 0, 0}));
        wav = Wav();
        wav.channels = 0;
        QCOMPARE(fieldsOf(readInfo(wav.bytes())), QList<quint32>({0, 8, 8000, 0}));
        wav.bits = 3;
        QCOMPARE(fieldsOf(readInfo(wav.bytes())), QList<quint32>({0, 3, 8000, 0}));
        QCOMPARE(fieldsOf(readInfo("RIFF")), QList<quint32>({0, 0, 0, 0}));
    }

    // As many bytes as are missing become zero at the start; behind the bytes that were read it is
    // zero too.
    void cutOffAtEveryLength()
    {
        const QByteArray whole = Wav().bytes();
        QCOMPARE(whole.size(), 54);
        for (int length = 0; length <= whole.size(); ++length) {
            const SoundSample sample = readWav(whole.left(length));
            const int missing = whole.size() - length;
            if (length < 36) {
                QVERIFY2(sample.data.isEmpty(), qPrintable(QString::number(length)));
            } else if (missing <= 10) {
                QByteArray expected = QByteArray("0123456789").left(10 - missing);
                expected.append(missing, '\0');
                expected.replace(0, missing, QByteArray(missing, '\0'));
                QCOMPARE(sample.data, expected);
                QCOMPARE(sample.samples, 10u);
            }
        }
    }

    void announcesMoreThanThereIs()
    {
        Wav wav;
        for (const quint32 size : {0x10001u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
            wav.dataHead = "data" + little(size, 4);
            QVERIFY(isEmptySample(readWav(wav.bytes())));
            QCOMPARE(readInfo(wav.bytes()).samples, size);
        }
        wav.data = QByteArray(100000, 'x');
        wav.dataHead = "data" + little(150000, 4);
        const SoundSample sample = readWav(wav.bytes());
        QCOMPARE(sample.data,
                 QByteArray(50000, '\0') + QByteArray(50000, 'x') + QByteArray(50000, '\0'));
    }

    void randomBytes()
    {
        std::mt19937 random(11);
        const QByteArray good = Wav().bytes();
        for (int round = 0; round < 20000; ++round) {
            QByteArray bytes = good.left(static_cast<int>(random() % 60));
            for (unsigned int i = random() % 5; i > 0 && !bytes.isEmpty(); --i)
                bytes[static_cast<int>(random() % bytes.size())] = static_cast<char>(random());
            const SoundSample sample = readWav(bytes);
            QVERIFY(sample.data.size() <= 0x10000);
            const SampleInfo info = readInfo(bytes);
            if (!sample.data.isEmpty())
                QCOMPARE(info.channels, sample.channels);
        }
    }

    void devices()
    {
        ClosedDevice closed;
        SoundSample sample;
        QVERIFY(isEmptySample(soundFromWAV(&closed)));
        QCOMPARE(fieldsOf(soundInfoFromWAV(&closed)), QList<quint32>({0, 1, 0, 0}));
        QVERIFY(!soundToWAV(sample, &closed));
        QVERIFY(!loadSound(nullptr, "wav", sample));
        QVERIFY(!saveSound(nullptr, "wav", sample));

        QByteArray bytes = Wav().bytes();
        QBuffer buffer(&bytes);
        QVERIFY(!loadSound(&buffer, "wav", sample)); // not open
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        QVERIFY(!loadSound(&buffer, "WAV", sample));
        QVERIFY(!saveSound(&buffer, "wav", sample));
        QVERIFY(loadSound(&buffer, "wav", sample));
        QVERIFY(buffer.isOpen());

        QFile full(QString("/dev/full"));
        QVERIFY(full.open(QIODevice::WriteOnly));
        QVERIFY(!saveSound(&full, "wav", sample));
    }

    void sequentialDevices()
    {
        SoundSample sample;
        sample.channels = 1;
        sample.bits = 8;
        sample.sampleRate = 8000;
        sample.data = QByteArray(100000, 'x');
        QBuffer wav;
        QVERIFY(soundToWAV(sample, &wav));
        for (const int piece : {1, 7, 30000}) {
            Pipe pipe(wav.data(), piece);
            SoundSample read;
            QVERIFY(loadSound(&pipe, "wav", read));
            QCOMPARE(read.data, sample.data);
            Pipe again(wav.data(), piece);
            QCOMPARE(soundInfoFromWAV(&again).samples, 100000u);
        }
    }

    // Each begins at the same place with an empty sample. What one gave counts, even if it says
    // that it failed, until another one gives something.
    void readersFromOutside()
    {
        const struct {
            QList<SoundReader *> readers;
            QByteArray data;
        } cases[] = {
            {{new ToneReader("", false), new ToneReader("works", true), new ToneReader("no", true)},
             "works"},
            {{new ToneReader("half", false), new ToneReader("", false)}, "half"},
            {{new ToneReader("half", false), new ToneReader("", true)}, "half"},
            {{new ToneReader("half", false), new ToneReader("more", false)}, "more"},
            {{new ToneReader("", false)}, ""},
            {{}, ""}};
        for (const auto &c : cases) {
            const ExtensionManager manager(QString("/nonexistent"));
            for (SoundReader *reader : c.readers)
                ExtensionManager::add(reader);
            QByteArray bytes("leadTONE");
            QBuffer buffer(&bytes);
            QVERIFY(buffer.open(QIODevice::ReadOnly) && buffer.seek(4));
            Pipe pipe("TONE", 1);
            for (QIODevice *device :
                 {static_cast<QIODevice *>(&buffer), static_cast<QIODevice *>(&pipe)}) {
                SoundSample sample;
                QCOMPARE(loadSound(device, "tone", sample), !c.data.isEmpty());
                QCOMPARE(sample.data, c.data);
            }
        }
    }

private:
    QString file(const char *name) const { return m_directory.filePath(name); }

    QTemporaryDir m_directory;
};

QTEST_GUILESS_MAIN(TestWav)

#include "tst_wav.moc"
