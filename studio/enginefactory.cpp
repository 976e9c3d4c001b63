#include "enginefactory.h"

#include <ember/emberengine.h>
#include <ember/emberparentproject.h>
#include <ember/embersnippets.h>
#include <ember/emberwords.h>

#include <kilnx/project/archive.h>

#include <QCoreApplication>
#include <QFileInfo>

namespace Studio
{

namespace EngineFactory
{

Kiln::Engine &engine()
{
    return EmberEngine::instance();
}

Kiln::ParentProject *openProject(const QString &path)
{
    return EmberParentProject::open(path, Kiln::FileSystemArchive::instance());
}

void addWords(Kiln::CodeEditor *view)
{
    new EmberWords(view);
}

void deliverSnippets(const QString &directory)
{
    EmberSnippets::deliver(directory);
}

QString sampleExecutable()
{
    const QString name = QCoreApplication::applicationDirPath() + QLatin1Char('/') +
                         EmberEngine::instance().executable();
    return QFileInfo(name).isExecutable() ? name : QString();
}

} // namespace EngineFactory

} // namespace Studio
