// Registers two readers and a writer of the sound format "tone", and a palette reader.

#include "diary.h"

#include <kilnx/project/extension.h>
#include <kilnx/sound/soundsample.h>

#include <QtCore/QIODevice>

namespace
{

class RefusingReader : public Kiln::SoundReader
{
public:
    ~RefusingReader() override { tellDiary(QStringLiteral("end of the refusing reader")); }
    const char *format() override { return "tone"; }
    bool read(QIODevice *device, Kiln::SoundSample &sample) override
    {
        device->read(4);
        sample.channels = 7;
        sample.data = "refused";
        tellDiary(QStringLiteral("refused"));
        return false;
    }
};

class ToneReader : public Kiln::SoundReader
{
public:
    ~ToneReader() override { tellDiary(QStringLiteral("end of the tone reader")); }
    const char *format() override { return "tone"; }
    bool read(QIODevice *device, Kiln::SoundSample &sample) override
    {
        tellDiary(QStringLiteral("read"));
        sample.data = device->readAll();
        return true;
    }
};

class ToneWriter : public Kiln::SoundWriter
{
public:
    ~ToneWriter() override { tellDiary(QStringLiteral("end of the tone writer")); }
    const char *format() override { return "tone"; }
    bool write(const Kiln::SoundSample &sample, QIODevice *device) override
    {
        return device->write(sample.data) == sample.data.size();
    }
};

class GreyReader : public Kiln::PaletteReader
{
public:
    ~GreyReader() override { tellDiary(QStringLiteral("end of the palette reader")); }
    const char *format() override { return "GREY"; }
    bool read(QIODevice *, Kiln::RGBA *) override { return false; }
};

} // namespace

extern "C" Q_DECL_EXPORT void registerExtension(Kiln::ExtensionManager *manager)
{
    tellDiary(manager ? QStringLiteral("tones registers") : QStringLiteral("no manager"));
    Kiln::ExtensionManager::add(new RefusingReader);
    Kiln::ExtensionManager::add(new ToneWriter);
    Kiln::ExtensionManager::add(new ToneReader);
    Kiln::ExtensionManager::add(new GreyReader);
}
