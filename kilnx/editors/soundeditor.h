#pragma once

#include <kilnx/export.h>
#include <kilnx/project/fileeditor.h>

#include <QtCore/QList>
#include <QtCore/QVariant>

#include <memory>

namespace Kiln
{

class Sound;
class SoundEditorPrivate;
class Sounds;
class SoundWorkspace;

/// The editor of sound files: one sound at a time is seen and heard in the sound workspace. Sounds
/// come from WAV files and other projects, go to WAV files, and are resampled, on all cores, many
/// at a time; whatever changes several sounds is one step of the file's undo, and what is cancelled
/// changes nothing.
///
/// All commands and fields are declared to the host under keys that begin with "snd_"; see
/// docs/embedding.md. Derive from it to say under which names files come in.
class KILNX_EXPORT SoundEditor : public FileEditor
{
    Q_OBJECT

public:
    /// The workspace must outlive the editor.
    explicit SoundEditor(SoundWorkspace &workspace, QObject *parent = nullptr);
    ~SoundEditor() override;

    QAction *action() const override;
    /// "sounds".
    const char *name() const override;
    unsigned int areas() const override;
    void activate() override;
    void deactivate() override;
    void retranslate() override;
    /// Shows the sound at a row of the file.
    void navigateTo(unsigned int row, unsigned int column) override;
    using FileEditor::find;
    /// Goes to the next sound whose identifier is `text`, or matches it as an expression. See
    /// Editor::FindFlag.
    bool find(const ProjectFile *file, const QString &text, unsigned int flags) override;
    /// Gives the current sound, or with `all` every one, that identifier if its own matches.
    void replace(const QString &text, const QString &by, unsigned int flags, bool all) override;
    Project::FileID::Type canEditFileType() override;
    /// Shows the sounds of `file`; null shows none.
    void setCurrentFile(ProjectFile *file) override;

    /// Appends to `out` the identifiers under which the sounds of these files are added, one each,
    /// in their order. With fewer, as when the user has cancelled, nothing is added.
    virtual void identifiers(const QStringList &paths, QList<QVariant> &out) = 0;
    /// Another sound is shown; null for none. Does nothing here.
    virtual void soundChanged(Sound *sound);
    /// The file has another number of sounds. Does nothing here.
    virtual void soundCountChanged();

    /// Null without a file, and for an empty one.
    Sound *currentSound() const;
    /// The current file; null without one.
    Sounds *sounds() const;
    /// Shows the sound at `index`, or the last one.
    void setCurrent(unsigned int index);
    /// Whether a field may change what is shown: the editor is active and not filling fields.
    bool canChangeFieldValue() const;
    /// Whether the changes of the current file may be lost; asks the user if there are any.
    bool canDiscardChanges() const;

Q_SIGNALS:
    /// Whether there is a sound to work on, while the editor is active.
    void enabled(bool there);

protected:
    /// Shows the project's selected sound file.
    void contentsChanged() override;

private:
    friend class SoundEditorPrivate;

    std::unique_ptr<SoundEditorPrivate> d;
};

} // namespace Kiln
