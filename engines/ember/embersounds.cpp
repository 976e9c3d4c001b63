#include "embersounds.h"

#include <kilnx/code/messages.h>

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
    : EmberList(m_history, Kiln::StreamCache::instance(store))
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
    m_history.forget();
}

QVariant EmberSounds::data(const QModelIndex &index, int role) const
{
    const EmberSound *sound = items().value(index.row());
    if (!sound)
        return QVariant();
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
    return static_cast<unsigned int>(items().size());
}

EmberSound *EmberSounds::itemAt(unsigned int index) const
{
    return item(index);
}

EmberSound *EmberSounds::insert(unsigned int position,
                                const QVariant &identifier,
                                const Kiln::SoundSample &sample)
{
    auto *data = new EmberSoundData(cache());
    data->setSample(sample);
    auto *sound = new EmberSound(*this, identifier.toString(), data);
    insertItem(position, sound);
    return sound;
}

void EmberSounds::cancelChange()
{
    m_history.cancelGroup();
}

void EmberSounds::changeSample(EmberSound &sound, const Kiln::SoundSample &sample)
{
    auto *data = new EmberSoundData(cache());
    data->setSample(sample);
    m_history.add(new SampleCommand(*this, sound, data));
}

bool EmberSounds::fromFile(Kiln::Archive &archive, const QString &name, bool asCopy)
{
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device) {
        EmberPack::showFailure(tr("Can't open the sounds '%1'!").arg(name));
        return false;
    }
    QVector<EmberPeal::Entry> entries;
    QList<EmberSound *> sounds;
    const QString failure = EmberPack::readIndex(device, EmberPeal::magic, entries)
                                ? readSounds(device, entries, sounds)
                            : EmberPack::hasMagic(device, EmberPeal::magic)
                                ? tr("The sound file '%1' is damaged: the index at its end is "
                                     "cut off or broken!")
                                : tr("'%1' is no sound file of Ember!");
    archive.closeFile(device);
    if (!failure.isEmpty()) {
        qDeleteAll(sounds);
        EmberPack::showFailure(failure.arg(name));
        return false;
    }
    replaceAll(sounds);
    tellWhatIsOutside(entries);
    FileWatchObject::fromFile(archive, name, asCopy);
    Sounds::fromFile(archive, name, asCopy);
    if (asCopy)
        m_history.resetClean();
    else
        m_fileName = name;
    return true;
}

bool EmberSounds::toFile(Kiln::Archive &archive, const QString &name, bool asCopy)
{
    using Writer = EmberPack::Writer<Kiln::SampleInfo>;
    Writer writer;
    for (const EmberSound *sound : items()) {
        EmberPeal::Entry entry;
        entry.info = sound->soundData()->info;
        entry.name = sound->identifier();
        writer.add(entry, sound->soundData());
    }
    QString lost;
    // Writing closes the file, and the watch is to know that for the list's own.
    FileWatchObject::toFile(archive, name, asCopy);
    const Writer::Fault fault = writer.write(archive, name, EmberPeal::magic, m_limit, lost);
    if (fault != Writer::None) {
        const QString texts[] = {
            tr("Can't save the sounds '%1': the temporary disk has lost '%2'!").arg(name, lost),
            tr("The sounds are too large for the file '%1'!").arg(name)};
        if (fault != Writer::Device) // the archive knows why
            EmberPack::showFailure(texts[fault - Writer::Lost]);
        return false;
    }
    Sounds::toFile(archive, name, asCopy);
    if (!asCopy) {
        m_fileName = name;
        m_history.setClean();
    }
    return true;
}

/// Takes the bytes over as they are. Returns what went wrong with the file '%1', or nothing.
QString EmberSounds::readSounds(QIODevice *device,
                                const QVector<EmberPeal::Entry> &entries,
                                QList<EmberSound *> &sounds)
{
    qint64 end = EmberPack::headSize;
    for (const EmberPeal::Entry &entry : entries) {
        QByteArray bytes;
        if (!EmberPack::readBytes(device, entry.offset, entry.size, end, bytes))
            return tr("Can't read the sounds '%1'!");
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
        if (entries[row].size > 0 && !items()[row]->soundData()->hasBytes())
            itemMessages().add(Kiln::Message::Error,
                               tr("The sound '%1' lies outside of the file").arg(entries[row].name),
                               static_cast<unsigned int>(row), 0);
    }
    itemMessages().endChange();
}

QString EmberSounds::fileName()
{
    return m_fileName;
}

void EmberSounds::reload()
{
    // What is here is all there is now, and is in no file.
    if (!fromFile(archive(), fileName(), false))
        m_history.resetClean();
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
    return items().isEmpty();
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

void EmberSounds::replaceAll(const QList<EmberSound *> &sounds)
{
    m_history.forget();
    replaceItems(sounds);
}
