#include "embersounds.h"

#include "emberpeal.h"

#include <kilnx/code/messages.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/paths.h>

#include <algorithm>
#include <memory>

namespace
{

void showFailure(const QString &text)
{
    Kiln::Interface *host = Kiln::Interface::instance();
    Kiln::showCritical(host ? host->mainWindow() : nullptr, EmberSounds::tr("Error!"), text);
}

} // namespace

/// A sound that comes, or goes. Whoever does not show it owns it: the list or the command.
class EmberSounds::InsertCommand : public QUndoCommand
{
public:
    InsertCommand(EmberSounds &list, int row, EmberSound *sound)
        : m_list(list)
        , m_row(row)
        , m_sound(sound)
    {
    }
    void redo() override { exchange(); }
    void undo() override { exchange(); }

private:
    void exchange()
    {
        if (m_sound)
            m_list.put(m_row, m_sound.release());
        else
            m_sound.reset(m_list.take(m_row));
    }

    EmberSounds &m_list;
    const int m_row;
    std::unique_ptr<EmberSound> m_sound;
};

class EmberSounds::MoveCommand : public QUndoCommand
{
public:
    MoveCommand(EmberSounds &list, int from, int to)
        : m_list(list)
        , m_from(from)
        , m_to(to)
    {
    }
    void redo() override { m_list.moveRow(m_from, m_to); }
    void undo() override { m_list.moveRow(m_to, m_from); }

private:
    EmberSounds &m_list;
    const int m_from;
    const int m_to;
};

class EmberSounds::OrderCommand : public QUndoCommand
{
public:
    OrderCommand(EmberSounds &list, const QList<EmberSound *> &order)
        : m_list(list)
        , m_order(order)
    {
    }
    void redo() override
    {
        const QList<EmberSound *> before = m_list.m_sounds;
        m_list.setOrder(m_order);
        m_order = before;
    }
    void undo() override { redo(); }

private:
    EmberSounds &m_list;
    QList<EmberSound *> m_order;
};

class EmberSounds::RenameCommand : public QUndoCommand
{
public:
    RenameCommand(EmberSounds &list, EmberSound &sound, const QString &identifier)
        : m_list(list)
        , m_sound(sound)
        , m_identifier(identifier)
    {
    }
    void redo() override
    {
        m_sound.m_identifier.swap(m_identifier);
        m_list.rowChanged(&m_sound);
    }
    void undo() override { redo(); }

private:
    EmberSounds &m_list;
    EmberSound &m_sound;
    QString m_identifier;
};

/// Exchanges the handles, so that the old bytes wait in the store.
class EmberSounds::SampleCommand : public QUndoCommand
{
public:
    SampleCommand(EmberSounds &list, EmberSound &sound, EmberSoundData *data)
        : m_list(list)
        , m_sound(sound)
        , m_data(data)
    {
    }
    ~SampleCommand() override { m_data->release(); }
    void redo() override
    {
        std::swap(m_sound.m_data, m_data);
        m_list.rowChanged(&m_sound);
    }
    void undo() override { redo(); }

private:
    EmberSounds &m_list;
    EmberSound &m_sound;
    Kiln::StreamCacheData *m_data;
};

EmberSounds::EmberSounds(Kiln::StreamCache::Type store, quint32 limit)
    : Sounds(Kiln::StreamCache::instance(store))
    , m_limit(limit)
{
    connect(cache(), &Kiln::StreamCache::readFilter, this,
            [](unsigned char filter, void *data, const QByteArray &in, QByteArray &out) {
                if (filter == EmberPeal::Differences)
                    out = EmberPeal::decode(in, static_cast<const EmberSoundData *>(data)->info);
            });
    connect(cache(), &Kiln::StreamCache::writeFilter, this,
            [](unsigned char filter, void *data, const QByteArray &in, QByteArray &out) {
                const auto *sound = static_cast<const EmberSoundData *>(data);
                if (filter == EmberPeal::Differences && !sound->isAdopting())
                    out = EmberPeal::encode(in, sound->info);
            });
    connect(&m_history, &QUndoStack::cleanChanged, this,
            [this](bool clean) { emit changed(!clean); });
}

EmberSounds::~EmberSounds()
{
    m_history.disconnect(this);
    // Commands refer to sounds, and sounds to the store, which ends last.
    m_history.clear();
    qDeleteAll(m_sounds);
}

int EmberSounds::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_sounds.size();
}

QVariant EmberSounds::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_sounds.size())
        return QVariant();
    const EmberSound *sound = m_sounds[index.row()];
    if (role == Qt::DisplayRole)
        return sound->identifier();
    if (role != Qt::ToolTipRole)
        return QVariant();
    const Kiln::SampleInfo info = sound->sampleInfo();
    return tr("%1 Hz, %2 bits, %n channel(s)", nullptr, info.channels)
        .arg(info.sampleRate)
        .arg(info.bits);
}

unsigned int EmberSounds::itemCount() const
{
    return static_cast<unsigned int>(m_sounds.size());
}

EmberSound *EmberSounds::itemAt(unsigned int index) const
{
    return index < itemCount() ? m_sounds[static_cast<int>(index)] : nullptr;
}

EmberSound *EmberSounds::insert(unsigned int position,
                                const QVariant &identifier,
                                const Kiln::SoundSample &sample)
{
    auto *data = new EmberSoundData(cache());
    data->setSample(sample);
    auto *sound = new EmberSound(*this, identifier.toString(), data);
    push(new InsertCommand(*this, static_cast<int>(qMin(position, itemCount())), sound));
    return sound;
}

void EmberSounds::remove(unsigned int index)
{
    if (index < itemCount())
        push(new InsertCommand(*this, static_cast<int>(index), nullptr));
}

void EmberSounds::move(unsigned int from, unsigned int to)
{
    if (from < itemCount() && to < itemCount() && from != to)
        push(new MoveCommand(*this, static_cast<int>(from), static_cast<int>(to)));
}

void EmberSounds::autoOrganize()
{
    QList<EmberSound *> order = m_sounds;
    std::stable_sort(order.begin(), order.end(), [](const EmberSound *a, const EmberSound *b) {
        return a->identifier().compare(b->identifier(), Qt::CaseInsensitive) < 0;
    });
    if (order != m_sounds)
        push(new OrderCommand(*this, order));
}

void EmberSounds::rename(EmberSound &sound, const QString &identifier)
{
    if (sound.identifier() != identifier)
        push(new RenameCommand(*this, sound, identifier));
}

void EmberSounds::changeSample(EmberSound &sound, const Kiln::SoundSample &sample)
{
    auto *data = new EmberSoundData(cache());
    data->setSample(sample);
    push(new SampleCommand(*this, sound, data));
}

bool EmberSounds::fromFile(Kiln::Archive &archive, const QString &name, bool asCopy)
{
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device) {
        showFailure(tr("Can't open the sounds '%1'!").arg(name));
        return false;
    }
    QVector<EmberPeal::Entry> entries;
    QList<EmberSound *> sounds;
    const QString failure = EmberPeal::readIndex(device, entries)
                                ? readSounds(device, entries, sounds)
                                : tr("'%1' is no sound file of Ember!");
    archive.closeFile(device);
    if (!failure.isEmpty()) {
        qDeleteAll(sounds);
        showFailure(failure.arg(name));
        return false;
    }
    replaceAll(sounds);
    tellWhatIsOutside(entries);
    Sounds::fromFile(archive, name, asCopy);
    if (asCopy)
        m_history.resetClean();
    else
        m_fileName = name;
    return true;
}

/// Nothing is opened for writing until it is clear that all sounds are there and fit: closing a
/// half-written file would replace the old one.
bool EmberSounds::toFile(Kiln::Archive &archive, const QString &name, bool asCopy)
{
    QVector<EmberPeal::Entry> entries;
    QString failure = layOut(name, entries);
    if (failure.isEmpty()) {
        QIODevice *device = archive.openFile(name, QIODevice::WriteOnly);
        if (!device || !writeSounds(device, entries))
            failure = tr("Can't save the sounds '%1'!").arg(name);
        archive.closeFile(device);
    }
    if (!failure.isEmpty()) {
        showFailure(failure);
        return false;
    }
    Sounds::toFile(archive, name, asCopy);
    if (!asCopy) {
        m_fileName = name;
        m_history.setClean();
    }
    return true;
}

/// Takes the bytes over as they are. Records must name them in the order of the file, without
/// overlap: what is read is then never more than the file has. Returns what went wrong with the
/// file '%1', or nothing.
QString EmberSounds::readSounds(QIODevice *device,
                                const QVector<EmberPeal::Entry> &entries,
                                QList<EmberSound *> &sounds)
{
    qint64 end = EmberPeal::headSize;
    for (const EmberPeal::Entry &entry : entries) {
        QByteArray bytes;
        const qint64 entryEnd = qint64(entry.offset) + entry.size;
        if (entry.offset >= end && entryEnd <= device->size() && device->seek(entry.offset)) {
            bytes = device->read(entry.size);
            end = entryEnd;
            if (bytes.size() != qint64(entry.size))
                return tr("Can't read the sounds '%1'!");
        }
        auto *data = new EmberSoundData(cache());
        sounds.append(new EmberSound(*this, entry.name, data));
        data->info = entry.info;
        data->adopt(bytes, entry.coder, entry.crc);
        if (data->hasBytes() && data->isEmpty())
            return tr("The temporary disk has no room for the sounds '%1'!");
    }
    return QString();
}

void EmberSounds::tellWhatIsOutside(const QVector<EmberPeal::Entry> &entries)
{
    itemMessages().beginChange();
    itemMessages().clear();
    for (int row = 0; row < entries.size(); ++row) {
        if (entries[row].size > 0 && !m_sounds[row]->soundData()->hasBytes())
            itemMessages().add(Kiln::Message::Error,
                               tr("The sound '%1' lies outside of the file").arg(entries[row].name),
                               static_cast<unsigned int>(row), 0);
    }
    itemMessages().endChange();
}

/// Gives each sound its place in the file, and reads it once to see that the store still has it.
/// Returns what stands against saving, or nothing.
QString EmberSounds::layOut(const QString &name, QVector<EmberPeal::Entry> &entries) const
{
    qint64 end = EmberPeal::headSize;
    for (const EmberSound *sound : m_sounds) {
        const EmberSoundData *data = sound->soundData();
        const int size = data->toData(true).size();
        if (size == 0 && data->hasBytes())
            return tr("Can't save the sounds '%1': the temporary disk has lost '%2'!")
                .arg(name, sound->identifier());
        EmberPeal::Entry entry;
        entry.offset = static_cast<quint32>(end);
        entry.size = static_cast<quint32>(size);
        entry.crc = data->crc();
        entry.info = data->info;
        entry.coder = data->filter();
        entry.name = sound->identifier();
        entries.append(entry);
        end += size;
        if (end > m_limit)
            return tr("The sounds are too large for the file '%1'!").arg(name);
    }
    return QString();
}

bool EmberSounds::writeSounds(QIODevice *device, const QVector<EmberPeal::Entry> &entries) const
{
    bool ok = Kiln::writeAll(device, EmberPeal::head(entries.size()));
    quint32 end = EmberPeal::headSize;
    for (int row = 0; ok && row < entries.size(); ++row) {
        const QByteArray bytes = m_sounds[row]->soundData()->toData(true);
        ok = quint32(bytes.size()) == entries[row].size && device->write(bytes) == bytes.size();
        end += entries[row].size;
    }
    return ok && Kiln::writeAll(device, EmberPeal::index(entries, end));
}

QString EmberSounds::fileName()
{
    return m_fileName;
}

bool EmberSounds::canSave() const
{
    return true;
}

bool EmberSounds::isModified() const
{
    return !m_history.isClean();
}

bool EmberSounds::isEmpty() const
{
    return m_sounds.isEmpty();
}

void EmberSounds::reset()
{
    itemMessages().clear();
    replaceAll({});
    m_fileName.clear();
}

void EmberSounds::release()
{
    delete this;
}

void EmberSounds::beginChange()
{
    ++m_changeDepth;
}

void EmberSounds::endChange()
{
    if (m_changeDepth == 0 || --m_changeDepth > 0)
        return;
    if (m_groupOpen)
        m_history.endMacro();
    m_groupOpen = false;
}

void EmberSounds::undo()
{
    m_history.undo();
}

void EmberSounds::redo()
{
    m_history.redo();
}

const char *EmberSounds::fileExtension() const
{
    return suffix;
}

/// The group is opened by its first change: a bracket without one leaves no step.
void EmberSounds::push(QUndoCommand *command)
{
    if (m_changeDepth > 0 && !m_groupOpen) {
        m_groupOpen = true;
        m_history.beginMacro(QString());
    }
    m_history.push(command);
}

void EmberSounds::put(int row, EmberSound *sound)
{
    beginInsertRows(QModelIndex(), row, row);
    m_sounds.insert(row, sound);
    endInsertRows();
    emit modified();
}

EmberSound *EmberSounds::take(int row)
{
    beginRemoveRows(QModelIndex(), row, row);
    EmberSound *sound = m_sounds.takeAt(row);
    endRemoveRows();
    emit modified();
    return sound;
}

void EmberSounds::moveRow(int from, int to)
{
    beginMoveRows(QModelIndex(), from, from, QModelIndex(), from < to ? to + 1 : to);
    m_sounds.move(from, to);
    endMoveRows();
    emit modified();
}

void EmberSounds::setOrder(const QList<EmberSound *> &order)
{
    emit layoutAboutToBeChanged();
    QHash<const EmberSound *, int> rows;
    for (int row = 0; row < order.size(); ++row)
        rows.insert(order[row], row);
    for (const QModelIndex &before : persistentIndexList())
        changePersistentIndex(before, index(rows.value(m_sounds[before.row()])));
    m_sounds = order;
    emit layoutChanged();
    emit modified();
}

void EmberSounds::rowChanged(EmberSound *sound)
{
    const QModelIndex row = index(rowOf(sound));
    emit dataChanged(row, row);
    emit modified();
}

/// Goes outwards from the last row that changed, near which the next one mostly lies.
int EmberSounds::rowOf(const EmberSound *sound)
{
    const int start = qMin(m_lastRow, m_sounds.size() - 1);
    for (int step = 0; step < m_sounds.size(); ++step) {
        for (const int row : {start + step, start - step}) {
            if (m_sounds.value(row) == sound)
                return m_lastRow = row;
        }
    }
    return -1;
}

void EmberSounds::replaceAll(const QList<EmberSound *> &sounds)
{
    beginResetModel();
    // Commands refer to the old sounds. An emptied history stays modified when it was made so.
    m_history.clear();
    m_history.setClean();
    m_groupOpen = false;
    qDeleteAll(m_sounds);
    m_sounds = sounds;
    endResetModel();
    emit modified();
}
