// Registers one extension, and then throws out of its registration.

#include "diary.h"

#include <kilnx/project/extension.h>

#include <stdexcept>

namespace
{

class LateReader : public Kiln::SoundReader
{
public:
    ~LateReader() override { tellDiary(QStringLiteral("end of the late reader")); }
    const char *format() override { return "late"; }
    bool read(QIODevice *, Kiln::SoundSample &) override { return false; }
};

} // namespace

extern "C" Q_DECL_EXPORT void registerExtension(Kiln::ExtensionManager *)
{
    tellDiary(QStringLiteral("throwing registers"));
    Kiln::ExtensionManager::add(new LateReader);
    throw std::runtime_error("no licence found");
}
