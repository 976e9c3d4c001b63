#include "embersound.h"

#include "emberpeal.h"
#include "embersounds.h"

namespace
{

const QLatin1String identifierName("Identifier");

} // namespace

Kiln::SoundSample EmberSoundData::sample() const
{
    Kiln::SoundSample sample;
    static_cast<Kiln::SampleInfo &>(sample) = info;
    sample.data = toData(false);
    // The store gives back undecoded what it cannot decode.
    if (sample.data.size() != EmberPeal::sampleBytes(info)) {
        sample.data.clear();
        sample.samples = 0;
    }
    return sample;
}

/// The file tells the length by the number of frames, so that is taken from the data.
void EmberSoundData::setSample(const Kiln::SoundSample &sample)
{
    info = static_cast<const Kiln::SampleInfo &>(sample);
    const int frameSize = info.frameSize();
    info.samples = frameSize == 0 ? 0 : static_cast<unsigned int>(sample.data.size() / frameSize);
    const QByteArray data = sample.data.left(static_cast<int>(EmberPeal::sampleBytes(info)));
    const bool hasCoder = info.bits % 8 == 0 && info.bits <= 32 && !data.isEmpty();
    store(data, hasCoder ? EmberPeal::Differences : EmberPeal::Plain);
}

Kiln::StreamCacheData *EmberSoundData::copyTo(Kiln::StreamCache *target) const
{
    auto *copy = new EmberSoundData(target);
    copy->info = info;
    copy->adopt(*this);
    return copy;
}

EmberSound::EmberSound(EmberSounds &list, const QString &identifier, EmberSoundData *data)
    : Sound(data)
    , m_list(list)
    , m_identifier(identifier)
{
}

QVariant EmberSound::property(const QString &name)
{
    return name == identifierName ? QVariant(m_identifier) : QVariant();
}

void EmberSound::setProperty(const QString &name, const QVariant &value)
{
    if (name == identifierName)
        m_list.rename(*this, value.toString());
}

Kiln::SoundSample EmberSound::sample() const
{
    return soundData()->sample();
}

Kiln::SampleInfo EmberSound::sampleInfo() const
{
    return soundData()->info;
}

void EmberSound::setSample(const Kiln::SoundSample &sample)
{
    m_list.changeSample(*this, sample);
}

EmberSoundData *EmberSound::soundData() const
{
    return static_cast<EmberSoundData *>(m_data);
}
