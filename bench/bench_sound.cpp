// Resampling beside the bare call of the converter that it uses.

#include <kilnx/sound/soundsample.h>

#include <benchmark/benchmark.h>

#include <samplerate.h>

#include <random>
#include <vector>

using namespace Kiln;

namespace
{

constexpr unsigned int seconds = 5;

SoundSample noise(int channels, unsigned int rate)
{
    SoundSample sample;
    sample.channels = static_cast<unsigned short>(channels);
    sample.bits = 16;
    sample.sampleRate = rate;
    sample.samples = rate * seconds;
    std::mt19937 random(1);
    sample.data.resize(static_cast<int>(sample.samples) * sample.frameSize());
    for (char &byte : sample.data)
        byte = static_cast<char>(random());
    return sample;
}

// The arguments are the channels and the two rates.
void shapes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Args({1, 22050, 44100})->Args({2, 44100, 48000})->Args({2, 48000, 11025});
    benchmark->Unit(benchmark::kMillisecond);
}

void bareConverter(benchmark::State &state)
{
    const auto channels = static_cast<int>(state.range(0));
    const SoundSample source = noise(channels, static_cast<unsigned int>(state.range(1)));
    std::vector<float> in(source.samples * source.channels);
    src_short_to_float_array(reinterpret_cast<const short *>(source.data.constData()), in.data(),
                             static_cast<int>(in.size()));
    SRC_DATA job{};
    job.src_ratio = double(state.range(2)) / double(state.range(1));
    job.input_frames = source.samples;
    job.output_frames = static_cast<long>(source.samples * job.src_ratio);
    std::vector<float> out(static_cast<size_t>(job.output_frames * channels));
    job.data_in = in.data();
    job.data_out = out.data();
    for (auto _ : state) {
        if (src_simple(&job, SRC_SINC_BEST_QUALITY, channels) != 0)
            state.SkipWithError("the converter refused");
    }
}
BENCHMARK(bareConverter)->Apply(shapes);

void wholeSound(benchmark::State &state)
{
    const SoundSample source =
        noise(static_cast<int>(state.range(0)), static_cast<unsigned int>(state.range(1)));
    SampleInfo target = source;
    target.sampleRate = static_cast<unsigned int>(state.range(2));
    for (auto _ : state) {
        SoundSample result;
        if (!resample(source, target, result))
            state.SkipWithError("the sound was refused");
        benchmark::DoNotOptimize(result.data.constData());
    }
}
// At equal rates no converter runs: what is left is all that is done around it.
BENCHMARK(wholeSound)->Apply(shapes)->Args({2, 44100, 44100});

} // namespace

BENCHMARK_MAIN();
