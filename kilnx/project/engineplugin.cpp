#include <kilnx/project/engineplugin.h>

namespace Kiln
{

EnginePlugin::~EnginePlugin() = default;

void EnginePlugin::prepareView(CodeEditor *) {}

void EnginePlugin::deliverSnippets(const QString &) {}

QString EnginePlugin::sampleExecutable() const
{
    return QString();
}

} // namespace Kiln
