#pragma once

#include "emberpack.h"

#include <kilnx/sound/soundsample.h>

/// What a sound file of Ember (".peal") keeps in the layout of emberpack.h, with the magic "PEAL".
/// The 12 bytes of a record are rate and number of frames (32 bits each), channels and bits (16
/// each).
///
/// The coder is 0 for plain samples, and 1 for the differences of each sample to the one before in
/// its channel, modulo the width, compressed by qCompress().
namespace EmberPeal
{

enum Coder : unsigned char { Plain = 0, Differences = 1 };

constexpr char magic[] = "PEAL";
using Entry = EmberPack::Entry<Kiln::SampleInfo>;

/// The differences of samples of 8, 16, 24 or 32 bits; empty for other formats.
EMBER_EXPORT QByteArray encode(const QByteArray &samples, const Kiln::SampleInfo &info);
/// The samples again; empty when they are not exactly as many as `info` says.
EMBER_EXPORT QByteArray decode(const QByteArray &bytes, const Kiln::SampleInfo &info);
/// How many bytes the samples of that format and length take.
EMBER_EXPORT qint64 sampleBytes(const Kiln::SampleInfo &info);

} // namespace EmberPeal

template<>
struct EmberPack::Fields<Kiln::SampleInfo> {
    static void write(QDataStream &stream, const Kiln::SampleInfo &info)
    {
        stream << quint32(info.sampleRate) << quint32(info.samples) << quint16(info.channels)
               << quint16(info.bits);
    }
    static void read(QDataStream &stream, Kiln::SampleInfo &info)
    {
        stream >> info.sampleRate >> info.samples >> info.channels >> info.bits;
    }
};
