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

QStringList EnginePlugin::newProjectStarts() const
{
    return {};
}

bool EnginePlugin::makeProject(const QString &, const QString &, int)
{
    return false;
}

QString EnginePlugin::sampleExecutable() const
{
    return QString();
}

} // namespace Kiln
