// Resampling beside the bare call of the converter that it uses, by the editor on all threads
// beside one, and the wave of a long sound beside a scan for its peaks.

#include <hostkit/hostbase.h>
#include <hostkit/paths.h>
#include <hostkit/soundview.h>
#include <kilnx/forms/resampledlg.h>
#include <kilnx/project/progress.h>
#include <kilnx/sound/audiosamplewidget.h>
#include <kilnx/sound/soundsample.h>
#include <kilnx/sound/soundworkspace.h>

#include <ember/embersounds.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QListView>
#include <QMainWindow>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <samplerate.h>

#include <random>
#include <vector>

using namespace Kiln;

namespace
{

constexpr unsigned int seconds = 5;

// The places of the arguments.
enum Argument { Channels, Rate, Bits, TargetChannels, TargetRate };

SoundSample noise(const benchmark::State &state)
{
    SoundSample sample;
    sample.channels = static_cast<unsigned short>(state.range(Channels));
    sample.bits = static_cast<unsigned short>(state.range(Bits));
    sample.sampleRate = static_cast<unsigned int>(state.range(Rate));
    sample.samples = sample.sampleRate * seconds;
    std::mt19937 random(1);
    sample.data.resize(static_cast<int>(sample.samples) * sample.frameSize());
    for (char &byte : sample.data)
        byte = static_cast<char>(random());
    return sample;
}

void shapes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Args({1, 22050, 16, 1, 44100});
    benchmark->Args({2, 44100, 16, 2, 48000});
    benchmark->Args({2, 48000, 16, 2, 11025});
    benchmark->Args({2, 44100, 8, 2, 48000});
    benchmark->Args({1, 22050, 16, 2, 44100});
    benchmark->Unit(benchmark::kMillisecond);
}

std::vector<float> toFloats(const SoundSample &sample)
{
    std::vector<float> floats(sample.samples * sample.channels);
    if (sample.bits == 8) {
        for (size_t i = 0; i < floats.size(); ++i)
            floats[i] = static_cast<uchar>(sample.data[static_cast<int>(i)]) / 127.5f - 1;
    } else {
        src_short_to_float_array(reinterpret_cast<const short *>(sample.data.constData()),
                                 floats.data(), static_cast<int>(floats.size()));
    }
    return floats;
}

void bareConverter(benchmark::State &state)
{
    const SoundSample source = noise(state);
    const std::vector<float> in = toFloats(source);
    SRC_DATA job{};
    job.src_ratio = double(state.range(TargetRate)) / source.sampleRate;
    job.input_frames = source.samples;
    job.output_frames = static_cast<long>(source.samples * job.src_ratio);
    std::vector<float> out(static_cast<size_t>(job.output_frames * source.channels));
    job.data_in = in.data();
    job.data_out = out.data();
    for (auto _ : state) {
        if (src_simple(&job, SRC_SINC_BEST_QUALITY, source.channels) != 0)
            state.SkipWithError("the converter refused");
    }
}
BENCHMARK(bareConverter)->Apply(shapes);

void wholeSound(benchmark::State &state)
{
    const SoundSample source = noise(state);
    SampleInfo target = source;
    target.channels = static_cast<unsigned short>(state.range(TargetChannels));
    target.sampleRate = static_cast<unsigned int>(state.range(TargetRate));
    for (auto _ : state) {
        SoundSample result;
        if (!resample(source, target, result))
            state.SkipWithError("the sound was refused");
        benchmark::DoNotOptimize(result.data.constData());
    }
}
// At equal rates no converter runs: what is left is all that is done around it.
BENCHMARK(wholeSound)
    ->Apply(shapes)
    ->Args({2, 44100, 16, 2, 44100})
    ->Args({2, 44100, 8, 2, 44100})
    ->Args({1, 44100, 16, 2, 44100});

// --- The wave

HostKit::HostBase *host = nullptr;
constexpr QSize viewSize(1200, 400);

SoundSample longSound(unsigned int length)
{
    SoundSample sample;
    sample.channels = 2;
    sample.bits = 16;
    sample.sampleRate = 44100;
    sample.samples = sample.sampleRate * length;
    sample.data.resize(static_cast<int>(sample.samples) * sample.frameSize());
    auto *values = reinterpret_cast<qint16 *>(sample.data.data());
    for (unsigned int i = 0; i < sample.samples * 2; ++i)
        values[i] = static_cast<qint16>(i * 2654435761U >> 18);
    return sample;
}

void showWave(benchmark::State &state)
{
    const SoundSample sample = longSound(unsigned(state.range(0)));
    AudioSampleWidget view(*host);
    view.resize(viewSize);
    QImage picture(viewSize, QImage::Format_RGB32);
    for (auto _ : state) {
        view.setSound(sample);
        view.render(&picture);
    }
}
BENCHMARK(showWave)->Arg(1)->Arg(600)->Unit(benchmark::kMicrosecond);

void resizeWave(benchmark::State &state)
{
    AudioSampleWidget view(*host);
    view.setSound(longSound(unsigned(state.range(0))));
    QImage picture(viewSize, QImage::Format_RGB32);
    bool isWide = false;
    for (auto _ : state) {
        isWide = !isWide;
        view.resize(viewSize.width() - isWide, viewSize.height());
        view.render(&picture);
    }
}
BENCHMARK(resizeWave)->Arg(1)->Arg(600)->Unit(benchmark::kMicrosecond);

// What a view that shows peaks would have to do before it can paint.
void peakScan(benchmark::State &state)
{
    const SoundSample sample = longSound(unsigned(state.range(0)));
    const auto *values = reinterpret_cast<const qint16 *>(sample.data.constData());
    const int columns = viewSize.width() / 2;
    for (auto _ : state) {
        std::vector<qint16> peaks(size_t(columns) * 4);
        for (unsigned int frame = 0; frame < sample.samples; ++frame) {
            const size_t column = quint64(frame) * unsigned(columns) / sample.samples;
            for (size_t channel = 0; channel < 2; ++channel) {
                qint16 *peak = &peaks[column * 4 + channel * 2];
                peak[0] = std::min(peak[0], values[frame * 2 + channel]);
                peak[1] = std::max(peak[1], values[frame * 2 + channel]);
            }
        }
        benchmark::DoNotOptimize(peaks.data());
    }
}
BENCHMARK(peakScan)->Arg(1)->Arg(600)->Unit(benchmark::kMicrosecond);

// --- Many sounds

// The editor's own command, with so many threads; the answers to its dialog are given by a timer.
void resampleFile(benchmark::State &state)
{
    QThreadPool::globalInstance()->setMaxThreadCount(int(state.range(0)));
    auto *workspace = new SoundWorkspace(*host);
    auto *sounds = new EmberSounds(StreamCache::Memory);
    SoundSample sample = longSound(1);
    sample.samples /= 4;
    sample.data.truncate(static_cast<int>(sample.samples) * sample.frameSize());
    for (int i = 0; i < 1000; ++i)
        sounds->insert(0, i, sample);
    {
        HostKit::SoundView editor(*workspace);
        host->switchTo(&editor);
        editor.setCurrentFile(sounds);
        QTimer hand;
        QObject::connect(&hand, &QTimer::timeout, [] {
            if (auto *dialog = qobject_cast<ResampleDlg *>(QApplication::activeModalWidget())) {
                dialog->findChild<QListView *>(QStringLiteral("items"))->selectAll();
                dialog->findChild<QComboBox *>(QStringLiteral("sampleRate"))->setCurrentIndex(5);
                dialog->accept();
            }
        });
        hand.start(5);
        for (auto _ : state) {
            host->actionByKey("snd_resample")->trigger();
            state.PauseTiming();
            if (sounds->itemAt(999)->sampleInfo().sampleRate != 22050)
                state.SkipWithError("nothing was resampled");
            editor.undo();
            state.ResumeTiming();
        }
        host->switchTo(nullptr);
        editor.setCurrentFile(nullptr);
    }
    sounds->release();
    workspace->release();
    QThreadPool::globalInstance()->setMaxThreadCount(QThread::idealThreadCount());
}
BENCHMARK(resampleFile)
    ->Arg(1)
    ->Arg(2)
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QTemporaryDir directory;
    QMainWindow window;
    HostKit::HostBase base(&window, HostKit::Paths::below(directory.path()));
    host = &base;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
