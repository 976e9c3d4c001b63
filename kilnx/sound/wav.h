#pragma once

#include <kilnx/sound/soundsample.h>

class QIODevice;

namespace Kiln
{

/// Reads a sound of a format, which is the file suffix in lower case and is compared letter for
/// letter. "wav" is built in; for all others the `SoundReader`s are asked in their order of
/// registration. False for a device that is not readable, and when `sample.data` is empty in the
/// end: what `sample` held before does not count. The device is left open.
KILNX_EXPORT bool loadSound(QIODevice *device, const char *format, SoundSample &sample);

/// Writes a sound, through the `SoundWriter`s for a format other than "wav". False for a device
/// that is not writable, when writing fails, and when no writer succeeds. The device is left open.
KILNX_EXPORT bool saveSound(QIODevice *device, const char *format, const SoundSample &sample);

/// Reads a WAV file from where `device` stands; opens the device when it is not readable yet. The
/// format chunk must come first and say PCM; the samples are taken from behind the first bytes
/// "data", so other chunks between are passed over.
///
/// A file that is cut off, but holds at least half of what it announces, keeps its length: as many
/// bytes as are missing are zero at the start of the data, and so is all behind the end. Everything
/// else that cannot be read gives an empty sample with all fields 0. No more memory is taken than
/// the file has bytes, times two, or 64 KiB.
KILNX_EXPORT SoundSample soundFromWAV(QIODevice *device);

/// Reads the format and length from the header of a WAV file, without the checks of
/// `soundFromWAV`: look at `samples` to see whether it makes sense. All fields are 0 for a format
/// other than PCM; a default `SampleInfo`, of one bit, for a device that cannot be opened.
KILNX_EXPORT SampleInfo soundInfoFromWAV(QIODevice *device);

/// Writes a WAV file: a header of 44 bytes and the data. Opens the device for writing when it is
/// not writable yet. False when it cannot be opened or not all was written, as on a full disk.
KILNX_EXPORT bool soundToWAV(const SoundSample &sample, QIODevice *device);

} // namespace Kiln
