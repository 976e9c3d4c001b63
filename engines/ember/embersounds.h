#pragma once

#include "emberlist.h"
#include "emberpeal.h"
#include "embersound.h"

#include <kilnx/project/filewatch.h>

/// A sound file of Ember (".peal", see emberpeal.h): the pattern for a container of binary items.
///
/// The sounds lie encoded in a store; opening decodes none, and saving writes them as they lie.
/// Every change is a step of undo, which keeps the old item in the store and nothing twice. Made
/// with `new`; release() destroys it.
class EMBER_EXPORT EmberSounds : public EmberList<Kiln::Sounds, EmberSound>,
                                 public Kiln::FileWatchObject
{
    Q_OBJECT

public:
    static constexpr const char *suffix = "peal";
    static constexpr quint32 largestFile = EmberPack::largestFile;

    /// `store` is Memory, Disk, or Default for the one that the host's option "cache_type" names.
    /// Sounds of more than `limit` encoded bytes are not saved.
    explicit EmberSounds(Kiln::StreamCache::Type store = Kiln::StreamCache::Default,
                         quint32 limit = largestFile);

    // The list.
    /// The identifier, and as a tool tip the format.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    unsigned int itemCount() const override;
    EmberSound *itemAt(unsigned int index) const override;
    EmberSound *insert(unsigned int position,
                       const QVariant &identifier,
                       const Kiln::SoundSample &sample) override;
    void cancelChange() override;
    void changeSample(EmberSound &sound, const Kiln::SoundSample &sample);

    // The file. Both show a message when they fail, but for a
    // device that takes no bytes: the archive knows why, and the host tells. A failed load leaves
    // the sounds as they were; a file whose sounds are too many, or of which the store has lost
    // one, is not written.
    bool fromFile(Kiln::Archive &archive, const QString &name, bool asCopy) override;
    bool toFile(Kiln::Archive &archive, const QString &name, bool asCopy) override;
    QString fileName() override;
    void reload() override;
    bool canSave() const override;
    bool isModified() const override;
    bool isEmpty() const override;
    void reset() override;
    void release() override;

    void undo() override;
    void redo() override;

protected:
    ~EmberSounds() override;
    const char *fileExtension() const override;

private:
    class SampleCommand;

    void replaceAll(const QList<EmberSound *> &sounds);
    QString readSounds(QIODevice *device,
                       const QVector<EmberPeal::Entry> &entries,
                       QList<EmberSound *> &sounds);
    void tellWhatIsOutside(const QVector<EmberPeal::Entry> &entries);

    EmberHistory m_history;
    QString m_fileName;
    const quint32 m_limit;
};
