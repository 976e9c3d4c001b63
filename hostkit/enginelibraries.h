#pragma once

#include <hostkit/export.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QStringList>

namespace Kiln
{
class Engine;
class EnginePlugin;
} // namespace Kiln

namespace HostKit
{

/// The engines of a host, in the order in which they are asked whether a project is theirs. Each
/// comes from a library that exports it by KILNX_ENGINE(); a library is never unloaded.
class HOSTKIT_EXPORT EngineLibraries : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Loads the library in a file, and the engine's configuration. False, with one sentence for
    /// the user in `fault` unless that is null, when it cannot be loaded, holds no engine, was
    /// built for another version of kilnx, throws, or has the id of an engine that is there; the
    /// host goes on without it. A library that is there already is a success without effect. The
    /// first engine becomes the current one.
    bool load(const QString &fileName, QString *fault);
    /// Loads every library in a directory that holds an engine, sorted by name, and returns the
    /// faults of those that hold a faulty one. An engine whose id is taken is passed over: load
    /// first what is to be preferred to what was delivered.
    QStringList loadDirectory(const QString &directory);

    const QList<Kiln::EnginePlugin *> &plugins() const { return m_plugins; }
    /// The plug-in whose engine is current; null before the first.
    Kiln::EnginePlugin *current() const { return m_current; }
    /// The engine that is current; null before the first.
    Kiln::Engine *engine() const;
    /// Makes one of plugins() current; emits currentChanged() when it was not.
    void setCurrent(Kiln::EnginePlugin *plugin);

Q_SIGNALS:
    void currentChanged();
    /// plugins() has one more.
    void added();

private:
    enum Search { Wanted, Found };
    bool load(const QString &fileName, Search search, QString *fault);
    Kiln::Engine *sameId(Kiln::EnginePlugin *plugin) const;
    void add(Kiln::EnginePlugin *plugin, const QString &sample);

    QList<Kiln::EnginePlugin *> m_plugins;
    Kiln::EnginePlugin *m_current = nullptr;
};

} // namespace HostKit
