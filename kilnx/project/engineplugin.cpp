#include <kilnx/project/engineplugin.h>

namespace Kiln
{

EnginePlugin::~EnginePlugin() = default;

QObject *EnginePlugin::prepareView(CodeEditor *)
{
    return nullptr;
}

void EnginePlugin::deliverSnippets(const QString &)
{
}

QString EnginePlugin::sampleExecutable() const
{
    return QString();
}

} // namespace Kiln
