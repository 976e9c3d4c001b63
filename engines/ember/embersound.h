#pragma once

#include "emberpack.h"

#include <kilnx/sound/sounds.h>

class EmberSounds;

/// The handle on a sound's bytes, with the format that its coder needs.
struct EMBER_EXPORT EmberSoundData : EmberItemData {
    using EmberItemData::EmberItemData;

    Kiln::SampleInfo info;

    /// No data when the bytes cannot be decoded.
    Kiln::SoundSample sample() const;
    void setSample(const Kiln::SoundSample &sample);
    StreamCacheData *copyTo(Kiln::StreamCache *target) const override;
};

/// One sound of an EmberSounds. Changes go through the undo history of its list.
class EMBER_EXPORT EmberSound : public Kiln::Sound
{
public:
    /// Takes `data` over.
    EmberSound(EmberSounds &list, const QString &identifier, EmberSoundData *data);

    QString identifier() const { return m_identifier; }
    void exchangeIdentifier(QString &other) { m_identifier.swap(other); }
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
