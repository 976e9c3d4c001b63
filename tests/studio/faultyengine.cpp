// A library that a host must do without: built for another version, or throwing as it is loaded.
#include <kilnx/project/engineplugin.h>

#include <stdexcept>

#ifdef FAULT_THROWS
class Plugin : public Kiln::EnginePlugin
{
public:
    Plugin() { throw std::runtime_error("out of coal"); }
    Kiln::Engine &engine() override { throw std::runtime_error("never reached"); }
    Kiln::ParentProject *openProject(const QString &) override { return nullptr; }
};

KILNX_ENGINE(Plugin)
#else
extern "C" Q_DECL_EXPORT const char *kilnxEngineStamp()
{
    return "kilnx 0.0.1";
}
extern "C" Q_DECL_EXPORT Kiln::EnginePlugin *kilnxEnginePlugin()
{
    throw std::runtime_error("a host of another version must not come here");
}
#endif
