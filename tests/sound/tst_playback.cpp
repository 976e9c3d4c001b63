#include <kilnx/editors/projimport.h>
#include <kilnx/sound/audiosamplewidget.h>
#include <tests/editors/soundtest.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtMultimedia/QAudioOutput>
#include <QtTest/QtTest>

using namespace Kiln;

namespace
{

using States = QList<SoundSample::State>;

/// A sound whose samples are `value(frame, channel)`, in the upper bits of whole bytes.
SoundSample makeSound(int channels,
                      int bits,
                      unsigned int rate,
                      int frames,
                      const std::function<qint64(int, int)> &value)
{
    SoundSample sound;
    sound.channels = static_cast<unsigned short>(channels);
    sound.bits = static_cast<unsigned short>(bits);
    sound.sampleRate = rate;
    const int bytes = (bits + 7) / 8;
    for (int frame = 0; frame < frames; ++frame) {
        for (int channel = 0; channel < channels; ++channel) {
            qint64 raw = value(frame, channel) * (1 << (8 * bytes - bits));
            if (bits == 8)
                raw += 128;
            for (int byte = 0; byte < bytes; ++byte)
                sound.data.append(static_cast<char>(raw >> (8 * byte)));
        }
    }
    // As a WAV file's header has it, which for 20 bits are more than there are.
    sound.samples = static_cast<unsigned int>(sound.data.size() / (bits * channels / 8));
    return sound;
}

SoundSample tone(unsigned int rate, int frames)
{
    return makeSound(2, 16, rate, frames, [](int frame, int) { return frame % 100 * 100; });
}

/// A sound server of the test's own, which plays to nobody.
class Server
{
public:
    Server()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", m_home.path());
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start("pulseaudio", {"-n", "--daemonize=no", "--exit-idle-time=-1", "-L",
                                       "module-null-sink", "-L", "module-native-protocol-unix"});
    }
    ~Server() { end(); }
    bool isThere() const
    {
        return m_process.state() == QProcess::Running &&
               QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + "/pulse/native");
    }
    void end()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    QByteArray told() { return m_process.readAll(); }

private:
    QTemporaryDir m_home;
    QProcess m_process;
};

/// Notes what a view tells.
struct Listener {
    explicit Listener(AudioSampleWidget &view)
    {
        QObject::connect(&view, &AudioSampleWidget::stateChanged, &view,
                         [this](SoundSample::State state) { states << state; });
    }
    States states;
};

} // namespace

class tst_Playback : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_server = std::make_unique<Server>();
        QTRY_VERIFY2_WITH_TIMEOUT(m_server->isThere(), m_server->told(), 20000);
    }

    void samplesTheWave_data()
    {
        const auto add = columns<int, int, int, int>("bits", "channels", "frames", "width");
        add("8 bits", 8, 1, 1000, 200);
        add("16 bits, stereo", 16, 2, 1000, 333);
        add("20 bits", 20, 1, 1000, 200);
        add("20 bits, stereo", 20, 2, 999, 77);
        add("24 bits, three channels", 24, 3, 1000, 100);
        add("32 bits", 32, 2, 1000, 101);
        add("one frame", 16, 1, 1, 64);
        add("fewer frames than columns", 16, 2, 7, 150);
        add("one dot", 8, 1, 100, 1);
        add("a width that is not known", 12, 1, 100, 50);
    }

    void samplesTheWave()
    {
        const auto [bits, channels, frames, width] = row<int, int, int, int>();
        const qint64 half = qint64(1) << (bits - 1);
        const auto value = [half](int frame, int channel) {
            return (frame * qint64(7919) * half / 1000 + channel * half / 2) % (2 * half) - half;
        };
        TestHost host;
        AudioSampleWidget view(host);
        view.resize(width, 130);
        const SoundSample sound = makeSound(channels, bits, 8000, frames, value);
        view.setSound(sound);
        const int columns = width / host.scaled(2);
        QCOMPARE(view.columns(), columns);
        QCOMPARE(view.levels().size(), columns * channels);
        for (int channel = 0; channel < channels; ++channel) {
            for (int column = 0; column < columns; ++column) {
                const int frame = column * frames / columns;
                const double expected = bits == 12 ? 0 : double(value(frame, channel)) / (2 * half);
                QVERIFY(qAbs(view.levels()[columns * channel + column] - expected) < 1e-9);
            }
        }
        QCOMPARE(view.pixelsPerFrame(), double(width) / sound.samples);
        QCOMPARE(view.framesPerPixel(), double(sound.samples) / width);
        view.resize(3 * width, 20); // lower than the line below the wave
        view.grab();
        QCOMPARE(view.columns(), 3 * width / host.scaled(2));
    }

    // Two constant channels are two lines, at the heights that their levels ask for.
    void drawsTheWave()
    {
        TestHost host;
        AudioSampleWidget view(host);
        view.resize(100, 230);
        view.setSound(makeSound(2, 16, 8000, 500,
                                [](int, int channel) { return channel == 0 ? 16384 : -32768; }));
        const QImage picture = view.grab().toImage();
        const QColor wave(185, 175, 55);
        const int places[] = {50 / 4 + 50, 100 + 50 - 25};
        for (int y = 0; y < 230; ++y)
            QCOMPARE(picture.pixelColor(50, y) == wave, y == places[0] || y == places[1]);
        QCOMPARE(picture.pixelColor(0, 200), QColor(Qt::yellow));
        view.setSound(SoundSample());
        QCOMPARE(view.grab().toImage().pixelColor(50, places[0]),
                 view.palette().color(QPalette::Window));
    }

    void playsOnce()
    {
        TestHost host;
        AudioSampleWidget view(host);
        view.resize(300, 100);
        view.show();
        const Listener told(view);
        view.play(false);
        QVERIFY(told.states.isEmpty()); // there is nothing to play
        view.setSound(tone(44100, 22050));
        QCOMPARE(view.fault(), QString());
        const auto *output = view.findChild<QAudioOutput *>();
        QCOMPARE(output->notifyInterval(), 10);
        int farthest = 0;
        connect(output, &QAudioOutput::notify, &view,
                [&] { farthest = qMax(farthest, view.cursorX()); });
        view.play(false);
        view.play(true); // it plays already
        QCOMPARE(view.state(), SoundSample::Playing);
        QTRY_COMPARE_WITH_TIMEOUT(view.state(), SoundSample::Stopped, 20000);
        QCOMPARE(told.states, States({SoundSample::Playing, SoundSample::Stopped}));
        QVERIFY(farthest > 0);
        QVERIFY(view.cursorX() <= 0);

        // Another sound of the format has the same output, another rate a new one.
        view.setSound(tone(44100, 999));
        QCOMPARE(view.findChild<QAudioOutput *>(), output);
        const QPointer<const QObject> before(output);
        view.setSound(tone(22050, 999));
        QVERIFY(view.findChild<QAudioOutput *>() != output);
        QTRY_VERIFY(!before);
        QCOMPARE(view.findChildren<QAudioOutput *>().size(), 1);
    }

    void loopsWithoutAStop()
    {
        TestHost host;
        AudioSampleWidget view(host);
        view.resize(300, 100);
        view.show();
        const Listener told(view);
        view.setSound(tone(44100, 4410));
        int rounds = 0;
        int last = 0;
        connect(view.findChild<QAudioOutput *>(), &QAudioOutput::notify, &view, [&] {
            rounds += view.cursorX() < last;
            last = view.cursorX();
        });
        view.play(true);
        QTRY_VERIFY_WITH_TIMEOUT(rounds >= 5, 30000);
        // Nothing is fed for so long that the device runs dry.
        QThread::msleep(1000);
        rounds = 0;
        QTRY_VERIFY_WITH_TIMEOUT(rounds >= 5, 30000);
        QCOMPARE(told.states, States({SoundSample::Looping}));
        // Another sound stops it first.
        view.setSound(tone(48000, 100));
        QCOMPARE(told.states, States({SoundSample::Looping, SoundSample::Stopped}));
        view.play(true);
        view.stop();
        QCOMPARE(told.states.mid(2), States({SoundSample::Looping, SoundSample::Stopped}));
    }

    void refusesAFormat()
    {
        TestHost host;
        AudioSampleWidget view(host);
        const Listener told(view);
        view.setSound(makeSound(2, 20, 44100, 100, [](int, int) { return 1; }));
        view.play(false);
        QVERIFY(view.fault().contains("format"));
        QCOMPARE(view.state(), SoundSample::Stopped);
        // The next ones have less and more than they announce, and end all the same.
        SoundSample next = tone(44100, 4410);
        int farthest = 0;
        for (const unsigned int announced : {4410000U, 44U}) {
            next.samples = announced;
            view.setSound(next);
            QCOMPARE(view.fault(), QString());
            connect(view.findChild<QAudioOutput *>(), &QAudioOutput::notify, &view,
                    [&] { farthest = qMax(farthest, view.cursorX()); });
            view.play(false);
            QCOMPARE(view.state(), SoundSample::Playing);
            QTRY_COMPARE_WITH_TIMEOUT(view.state(), SoundSample::Stopped, 20000);
            QVERIFY(farthest <= view.width());
        }
    }

    // The view goes in the events that its own painting lets run, and on each kind of news.
    void mayBeDestroyedMeanwhile()
    {
        TestHost host;
        for (int when = 0; when < 4; ++when) {
            const QPointer<AudioSampleWidget> view(new AudioSampleWidget(host));
            view->show();
            view->setSound(tone(44100, 2205));
            connect(view, &AudioSampleWidget::stateChanged, view,
                    [view, when](SoundSample::State state) {
                        if ((when == 0 && state == SoundSample::Playing) ||
                            (when == 1 && state == SoundSample::Stopped))
                            delete view;
                    });
            auto *output = view->findChild<QAudioOutput *>();
            const auto deleteSoon = [view] {
                QMetaObject::invokeMethod(
                    qApp, [view] { delete view; }, Qt::QueuedConnection);
            };
            if (when > 1) // before the view hears of it, and so within its events
                connect(output, &QAudioOutput::notify, view, deleteSoon);
            view->play(when == 3);
            QTRY_VERIFY_WITH_TIMEOUT(!view, 20000);
            QCoreApplication::processEvents();
        }
    }

    void editorAndImportPlay()
    {
        SoundTest::Heroes heroes;
        TestHost &host = heroes.bench.host;
        const SoundSample sound = tone(8000, 240000);
        heroes.target->insert(0, "long", sound);
        heroes.source->insert(0, "long", sound);
        heroes.bench.editor->setCurrent(0);
        const auto checked = [&host] {
            QStringList keys;
            for (const char *key : {"snd_play", "snd_play_loop", "snd_stop"})
                keys << (host.action(key)->isChecked() ? key : "");
            return keys.join("");
        };
        for (const char *key : {"snd_play", "snd_play_loop", "snd_play", "snd_stop"}) {
            heroes.bench.trigger(key);
            QTRY_COMPARE_WITH_TIMEOUT(checked(), QString(key), 20000);
        }
        for (const char *key : {"snd_play_loop", "snd_play"}) { // once more stops
            heroes.bench.trigger(key);
            QTRY_COMPARE_WITH_TIMEOUT(checked(), QString(key), 20000);
            heroes.bench.trigger(key);
            QCOMPARE(checked(), QString("snd_stop"));
        }
        heroes.bench.trigger("snd_play"); // what has other bytes ends
        QTRY_COMPARE_WITH_TIMEOUT(checked(), QString("snd_play"), 20000);
        heroes.target->itemAt(0)->setSample(tone(8000, 200000));
        QCOMPARE(checked(), QString("snd_stop"));
        host.activeEditor->deactivate();
        for (const char *key : {"snd_play", "snd_play_loop"}) { // another editor's turn
            host.action(key)->setEnabled(true);
            heroes.bench.trigger(key);
            QCOMPARE(heroes.bench.workspace->currentState(), SoundSample::Stopped);
        }

        SndImportDlg dialog(&host, heroes.target->project(), nullptr);
        dialog.show();
        auto *list = dialog.findChild<QListView *>("source");
        list->setCurrentIndex(list->model()->index(0, 0));
        auto *wave = dialog.findChild<AudioSampleWidget *>();
        auto *play = dialog.findChild<QPushButton *>("play");
        play->click();
        QTRY_VERIFY_WITH_TIMEOUT(wave->cursorX() > 0 && play->isChecked(), 20000);
        play->click();
        QVERIFY(wave->state() == SoundSample::Stopped && !play->isChecked());
    }

    // The last one: the process has no other server.
    void outlivesItsServer()
    {
        TestHost host;
        AudioSampleWidget view(host);
        view.resize(300, 100);
        view.show();
        const Listener told(view);
        view.setSound(tone(44100, 441000));
        view.play(true);
        QTRY_VERIFY_WITH_TIMEOUT(view.cursorX() > 0, 20000);
        m_server->end();
        QTRY_COMPARE_WITH_TIMEOUT(view.state(), SoundSample::Stopped, 20000);
        QCOMPARE(told.states, States({SoundSample::Looping, SoundSample::Stopped}));
        QVERIFY(view.fault().contains("gone"));
        view.grab();
        view.play(false);
        QCOMPARE(view.state(), SoundSample::Stopped);
        view.setSound(tone(8000, 100));
        view.play(false);
        QVERIFY(view.fault().contains("not there"));
        QVERIFY(!view.levels().isEmpty());
    }

private:
    std::unique_ptr<Server> m_server;
};

QTEST_MAIN(tst_Playback)
#include "tst_playback.moc"
