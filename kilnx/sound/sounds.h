#pragma once

#include <kilnx/cache/cachedprojectfile.h>
#include <kilnx/project/organizable.h>
#include <kilnx/sound/soundsample.h>

namespace Kiln
{

/// One sound of a sound file; its name is the property "Identifier". An engine derives its own
/// class from it, which knows how its file keeps the samples.
class KILNX_EXPORT Sound : public CachedPropertyItem
{
public:
    using CachedPropertyItem::CachedPropertyItem;
    ~Sound() override;

    /// "Identifier"; a derived class may name more.
    QStringList propertyNames() override;
    /// The whole sound, decoded; no data when it cannot be decoded.
    virtual SoundSample sample() const = 0;
    /// Format and length alone, without decoding the samples.
    virtual SampleInfo sampleInfo() const = 0;
    /// Replaces the sound, as one step of undo. The name stays.
    virtual void setSample(const SoundSample &sample) = 0;
};

/// A sound file: an ordered list of sounds as a model, and the file that holds them. An engine
/// derives its own class from it and brings the file format, the undo history and the rows.
///
/// Rows out of range give null and change nothing.
class KILNX_EXPORT Sounds : public OrganizableObject, public SearchableCachedProjectFile
{
    Q_OBJECT

public:
    /// The sound at a row, or null. The list owns it.
    Sound *itemAt(unsigned int index) const override = 0;
    /// Puts a new sound before row `position`, or at the end, and returns it.
    virtual Sound *
    insert(unsigned int position, const QVariant &identifier, const SoundSample &sample) = 0;
    /// The first row from `from` on with that identifier, or -1.
    virtual int find(int from, const QVariant &identifier) const;

    QAbstractItemModel *model() override;
    void beginChange() override = 0;
    void endChange() override = 0;
    /// Closes the group that beginChange() opened, in which something was changed, and takes all of
    /// it back. Here by undo(), which leaves a step for redo(); an engine whose history can drop a
    /// group leaves it as it was before.
    virtual void cancelChange();

protected:
    /// Takes `cache` over.
    explicit Sounds(StreamCache *cache);
    ~Sounds() override;
};

} // namespace Kiln
