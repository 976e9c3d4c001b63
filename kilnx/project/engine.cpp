#include <kilnx/project/engine.h>

#include <kilnx/project/interface.h>

#include <QtGui/QIcon>

namespace Kiln
{

EngineInstances::EngineInstances(const QString &id)
    : m_enginePath(QStringLiteral("/engines/") + id)
{
    const Interface *interface = Interface::instance();
    m_configFile = (interface ? interface->configPath() : QString()) + QLatin1Char('/') + id +
                   QStringLiteral("_config.xml");
}

EngineInstances::~EngineInstances()
{
    qDeleteAll(m_instances);
}

void EngineInstances::add(const QString &name,
                          const QString &executable,
                          const QString &arguments,
                          const QString &icon)
{
    append({{name, executable, arguments, icon}});
}

void EngineInstances::append(const QList<Info> &infos)
{
    if (infos.isEmpty())
        return;
    beginInsertRows(QModelIndex(), m_instances.size(), m_instances.size() + infos.size() - 1);
    for (const Info &info : infos)
        m_instances.append(new Info(info));
    endInsertRows();
}

void EngineInstances::edit(unsigned int index,
                           const QString &name,
                           const QString &executable,
                           const QString &arguments,
                           const QString &icon)
{
    if (index >= count())
        return;
    const int row = static_cast<int>(index);
    *m_instances[row] = {name, executable, arguments, icon};
    emit dataChanged(this->index(row), this->index(row));
}

void EngineInstances::move(unsigned int from, unsigned int to)
{
    if (from >= count() || to >= count() || from == to)
        return;
    const int source = static_cast<int>(from);
    const int place = static_cast<int>(to);
    // The model names the row in front of which the moved one goes.
    const int before = place > source ? place + 1 : place;
    beginMoveRows(QModelIndex(), source, source, QModelIndex(), before);
    m_instances.move(source, place);
    endMoveRows();
}

void EngineInstances::remove(unsigned int index)
{
    if (index >= count())
        return;
    const int row = static_cast<int>(index);
    beginRemoveRows(QModelIndex(), row, row);
    delete m_instances.takeAt(row);
    endRemoveRows();
}

void EngineInstances::clear()
{
    if (m_instances.isEmpty())
        return;
    beginRemoveRows(QModelIndex(), 0, m_instances.size() - 1);
    qDeleteAll(m_instances);
    m_instances.clear();
    endRemoveRows();
}

unsigned int EngineInstances::count() const
{
    return static_cast<unsigned int>(m_instances.size());
}

EngineInstances::Info EngineInstances::at(unsigned int index) const
{
    return index < count() ? *m_instances[static_cast<int>(index)] : Info();
}

int EngineInstances::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_instances.size();
}

QVariant EngineInstances::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_instances.size())
        return QVariant();
    const Info *info = m_instances[index.row()];
    if (role == Qt::DisplayRole)
        return info->name;
    if (role != Qt::DecorationRole)
        return QVariant();
    if (!info->icon.isEmpty())
        return QIcon(info->icon);
    const Interface *interface = Interface::instance();
    return interface ? QIcon(interface->dataPath() + m_enginePath + QStringLiteral("/icon.png"))
                     : QIcon();
}

EnginePrivate::EnginePrivate(const QString &id)
    : EngineInstances(id)
{
}

Engine *EnginePrivate::publicEngine()
{
    return static_cast<Engine *>(this);
}

QVariant EnginePrivate::option(const QString &key, const QVariant &fallback) const
{
    const auto own = m_options.constFind(key);
    if (own != m_options.constEnd())
        return *own;
    const Interface *interface = Interface::instance();
    return interface ? interface->option(key, fallback) : fallback;
}

void EnginePrivate::setOption(const QString &key, const QVariant &value)
{
    m_options.insert(key, value);
}

void EnginePrivate::registerCustomOptions(QWidget *)
{
}

Engine::Engine(const QString &id)
    : EnginePrivate(id)
{
}

} // namespace Kiln
