// How Ember shows itself to a host that loads it.

#include "emberengine.h"
#include "emberparentproject.h"
#include "embersnippets.h"
#include "emberstarts.h"
#include "emberwords.h"

#include <kilnx/project/archive.h>
#include <kilnx/project/engineplugin.h>

#include <QCoreApplication>
#include <QFileInfo>

namespace
{

class EmberPlugin : public Kiln::EnginePlugin
{
public:
    Kiln::Engine &engine() override { return EmberEngine::instance(); }
    Kiln::ParentProject *openProject(const QString &path) override
    {
        return EmberParentProject::open(path, Kiln::FileSystemArchive::instance());
    }
    QObject *prepareView(Kiln::CodeEditor *view) override { return new EmberWords(view); }
    void deliverSnippets(const QString &directory) override { EmberSnippets::deliver(directory); }
    QStringList newProjectStarts() const override { return EmberStarts::names(); }
    bool makeProject(const QString &directory, const QString &name, int start) override
    {
        return EmberStarts::make(directory, name, start);
    }
    // It is put beside the host's own program.
    QString sampleExecutable() const override
    {
        const QString name = QCoreApplication::applicationDirPath() + QLatin1Char('/') +
                             EmberEngine::instance().executable();
        return QFileInfo(name).isExecutable() ? name : QString();
    }
};

} // namespace

KILNX_ENGINE(EmberPlugin)
