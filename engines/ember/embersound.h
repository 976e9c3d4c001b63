#pragma once

#include "export.h"

#include <kilnx/cache/streamcachedata.h>
#include <kilnx/sound/sounds.h>

class EmberSounds;

/// The handle on a sound's bytes, with the format that its coder needs.
struct EMBER_EXPORT EmberSoundData : Kiln::StreamCacheData {
    using StreamCacheData::StreamCacheData;

    Kiln::SampleInfo info;

    /// No data when the bytes cannot be decoded.
    Kiln::SoundSample sample() const;
    void setSample(const Kiln::SoundSample &sample);
    /// Takes bytes that `coder` has encoded already, with the checksum of what they decode to or 0.
    void adopt(const QByteArray &bytes, unsigned char coder, unsigned long long crc);
    /// While it adopts, there is nothing to encode.
    bool isAdopting() const { return m_isAdopting; }
    /// Whether it was given any bytes. If so and the store gives none back, they are lost, as on a
    /// full disk.
    bool hasBytes() const { return m_hasBytes; }
    /// Carries the bytes as they are, also those that cannot be decoded.
    StreamCacheData *copyTo(Kiln::StreamCache *target) const override;

private:
    bool m_isAdopting = false;
    bool m_hasBytes = false;
};

/// One sound of an EmberSounds. Changes go through the undo history of its list.
class EMBER_EXPORT EmberSound : public Kiln::Sound
{
public:
    /// Takes `data` over.
    EmberSound(EmberSounds &list, const QString &identifier, EmberSoundData *data);

    QString identifier() const { return m_identifier; }
    QVariant property(const QString &name) override;
    void setProperty(const QString &name, const QVariant &value) override;
    Kiln::SoundSample sample() const override;
    Kiln::SampleInfo sampleInfo() const override;
    void setSample(const Kiln::SoundSample &sample) override;

private:
    friend class EmberSounds;
    EmberSoundData *soundData() const;

    EmberSounds &m_list;
    QString m_identifier;
};
