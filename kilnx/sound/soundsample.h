#pragma once

#include <kilnx/export.h>

#include <QtCore/QByteArray>

namespace Kiln
{

/// The format and the length of a sound.
struct SampleInfo {
    unsigned short channels = 0;
    /// Bits per sample of one channel.
    unsigned short bits = 1;
    /// Frames per second (Hz).
    unsigned int sampleRate = 0;
    /// The number of frames; a frame is one sample of each channel. With data, 0 means not known.
    unsigned int samples = 0;

    /// The bytes of one frame; 0 where the format makes none.
    int frameSize() const { return static_cast<int>(quint32(bits) * channels / 8); }
};

/// A sound in memory: uncompressed PCM with its format.
struct SoundSample : SampleInfo {
    /// The state of playback.
    enum State { Playing = 0, Looping = 1, Paused = 2, Stopped = 3 };

    /// Interleaved samples in little-endian order; 8-bit samples are unsigned, others signed.
    QByteArray data;
};

/// Converts a sound to the channels, bits and rate of `target` (its `samples` is not looked at).
///
/// The rate is changed by libsamplerate's best sinc converter; at equal rates no converter runs. To
/// one channel, the channels of a frame are averaged; to more, those that the source has are taken
/// and the last is repeated. Widths are 8, 16, 24 (packed in three bytes) and 32 bits. The whole
/// sound is held twice as 32-bit floats.
///
/// Of `source`, the first `samples` frames are converted, or all when `samples` is 0, as far as
/// `data` has them; a part of a frame at its end is left out. `result` may be `source`.
///
/// False, with `result` as it was, for a format that makes no frames or has another width, a sound
/// above 2 GiB (the longer of source and result, as floats of the greater number of channels), and
/// what the converter refuses (a rate that changes more than 256 times).
KILNX_EXPORT bool
resample(const SoundSample &source, const SampleInfo &target, SoundSample &result);

} // namespace Kiln
