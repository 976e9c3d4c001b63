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

} // namespace

BENCHMARK_MAIN();
