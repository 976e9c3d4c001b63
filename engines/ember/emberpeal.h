#pragma once

#include "export.h"

#include <kilnx/sound/soundsample.h>

#include <QString>
#include <QVector>

class QIODevice;

/// The bytes of a sound file of Ember (".peal"): plain records in and out. All numbers are
/// little-endian.
///
///     "PEAL"  version (16 bits, 1)  0 (16 bits)  number of sounds (32 bits)
///     the sounds' bytes, one after the other
///     the index: a record for each sound, and the UTF-8 bytes of its name behind it
///     offset of the index (32 bits)
///
/// A record of the index has 32 bytes: offset and size of the sound's bytes (32 bits each), crc64
/// of its samples (64), rate and number of frames (32 each), channels and bits (16 each), coder, 0
/// (8 each), number of bytes of the name (16).
///
/// The coder is 0 for plain samples, and 1 for the differences of each sample to the one before in
/// its channel, modulo the width, compressed by qCompress().
namespace EmberPeal
{

enum Coder : unsigned char { Plain = 0, Differences = 1 };

struct Entry {
    quint32 offset = 0;
    quint32 size = 0;
    quint64 crc = 0;
    Kiln::SampleInfo info;
    quint8 coder = Plain;
    QString name;
};

constexpr int headSize = 12;

EMBER_EXPORT QByteArray head(int count);
/// The index, with the offset of itself that ends the file. Names are cut to 65535 bytes.
EMBER_EXPORT QByteArray index(const QVector<Entry> &entries, quint32 offset);
/// Reads the index of a device that can seek. False when the file is none of this kind, or its
/// index is not whole; the sounds that it names can still lie outside of the file.
EMBER_EXPORT bool readIndex(QIODevice *device, QVector<Entry> &entries);

/// The differences of samples of 8, 16, 24 or 32 bits; empty for other formats.
EMBER_EXPORT QByteArray encode(const QByteArray &samples, const Kiln::SampleInfo &info);
/// The samples again; empty when they are not exactly as many as `info` says.
EMBER_EXPORT QByteArray decode(const QByteArray &bytes, const Kiln::SampleInfo &info);
/// How many bytes the samples of that format and length take.
EMBER_EXPORT qint64 sampleBytes(const Kiln::SampleInfo &info);

} // namespace EmberPeal
