#include <hostkit/enginelibraries.h>

#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>

#include <QDir>
#include <QFileInfo>
#include <QLibrary>

#include <exception>

namespace HostKit
{

namespace
{

using StampFunction = const char *(*)();
using PluginFunction = Kiln::EnginePlugin *(*)();

// What a library does in its own code must not end the host: false, and what an exception said.
template<typename Step>
bool succeeds(Step step, QString *told)
{
    try {
        step();
        return true;
    } catch (const std::exception &fault) {
        *told = QString::fromLocal8Bit(fault.what());
    } catch (...) {
    }
    return false;
}

} // namespace

bool EngineLibraries::load(const QString &fileName, QString *fault)
{
    QString unread;
    return load(fileName, Wanted, fault ? fault : &unread);
}

QStringList EngineLibraries::loadDirectory(const QString &directory)
{
    QStringList faults;
    const QDir files(directory);
    const QStringList names = files.entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        QString fault;
        if (QLibrary::isLibrary(name) && !load(files.absoluteFilePath(name), Found, &fault) &&
            !fault.isEmpty())
            faults.append(fault);
    }
    return faults;
}

Kiln::Engine *EngineLibraries::engine() const
{
    return m_current ? &m_current->engine() : nullptr;
}

void EngineLibraries::setCurrent(Kiln::EnginePlugin *plugin)
{
    if (plugin == m_current || !m_plugins.contains(plugin))
        return;
    m_current = plugin;
    Q_EMIT currentChanged();
}

// All symbols are looked up at once: one that is missing must not end the host in a later call.
bool EngineLibraries::load(const QString &fileName, Search search, QString *fault)
{
    const QString shown = QDir::toNativeSeparators(fileName);
    QLibrary library(QFileInfo(fileName).absoluteFilePath());
    library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    if (!library.load()) {
        *fault = tr("The engine in '%1' cannot be loaded: %2").arg(shown, library.errorString());
        return false;
    }
    const auto stamp = reinterpret_cast<StampFunction>(library.resolve("kilnxEngineStamp"));
    const auto plugin = reinterpret_cast<PluginFunction>(library.resolve("kilnxEnginePlugin"));
    if (!stamp || !plugin) {
        if (search == Wanted)
            *fault = tr("The library '%1' holds no engine.").arg(shown);
        return false;
    }
    if (qstrcmp(stamp(), KILNX_ENGINE_STAMP) != 0) {
        *fault = tr("The engine in '%1' was built for %2, and this is %3.")
                     .arg(shown, QString::fromLatin1(stamp()), QLatin1String(KILNX_ENGINE_STAMP));
        return false;
    }
    QString told;
    Kiln::EnginePlugin *made = nullptr;
    const auto make = [&] {
        made = plugin();
        made->engine();
    };
    const auto tellFailure = [&] {
        *fault = tr("The engine in '%1' failed while it was loaded. %2").arg(shown, told).trimmed();
        return false;
    };
    if (!succeeds(make, &told))
        return tellFailure();
    if (m_plugins.contains(made))
        return true;
    if (Kiln::Engine *other = sameId(made)) {
        if (search == Wanted)
            *fault = tr("The engine in '%1' has the id of one that is loaded already, '%2'. Give "
                        "it an id of its own, or load it first.")
                         .arg(shown, other->displayName());
        return false;
    }
    QString sample;
    const auto configure = [&] {
        made->engine().clear();
        made->engine().load();
        sample = made->sampleExecutable();
    };
    if (!succeeds(configure, &told))
        return tellFailure();
    add(made, sample);
    return true;
}

// Two engines of one id would write into one directory and one configuration.
Kiln::Engine *EngineLibraries::sameId(Kiln::EnginePlugin *plugin) const
{
    for (Kiln::EnginePlugin *each : m_plugins) {
        if (each != plugin && each->engine().enginePath() == plugin->engine().enginePath())
            return &each->engine();
    }
    return nullptr;
}

// An engine that delivers a program to try projects with is in the user's list from the start.
void EngineLibraries::add(Kiln::EnginePlugin *plugin, const QString &sample)
{
    m_plugins.append(plugin);
    Kiln::Engine &engine = plugin->engine();
    if (engine.count() == 0 && !sample.isEmpty())
        engine.add(engine.displayName(), sample, QString(), QString());
    if (!m_current)
        setCurrent(plugin);
    Q_EMIT added();
}

} // namespace HostKit
