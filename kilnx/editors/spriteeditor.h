#pragma once

#include <kilnx/export.h>
#include <kilnx/project/fileeditor.h>

#include <QtCore/QPoint>
#include <QtGui/QImage>

#include <memory>

namespace Kiln
{

class GraphicsWorkspace;
class ImageRenderer;
class PaletteEditor;
class Sprite;
class SpriteEditorPrivate;

/// The editor of sprite files: one sprite at a time is drawn on, in layers, with the tools of an
/// ImageRenderer that stands in the graphics workspace.
///
/// What is drawn stays on the canvas, with an undo of its own, until saveImg() writes it into the
/// sprite: by the action "spr_saveimg", and when the file is saved. Until then whoever would lose
/// it is asked: going to another sprite or file, closing the file, an engine switch, and a reload
/// of the file, after which the canvas may be kept. Undo and redo work on the canvas first and then
/// on the file.
///
/// All commands and fields are declared to the host under keys that begin with "spr_"; see
/// docs/embedding.md. The sprite's own point moves along when the canvas is scaled, cut or turned
/// over, and comes into the sprite with the canvas's picture, in one step of the file's undo:
/// override spriteOffset() and setSpriteOffset() for files that have one.
class KILNX_EXPORT SpriteEditor : public FileEditor
{
    Q_OBJECT

public:
    /// The workspace must outlive the editor. Colours are picked from the grid of `palettes`, which
    /// is handed the palettes of each file; it may be destroyed at any time. Without it the editor
    /// brings a grid of its own, the control "spr_colors", in which nothing is edited.
    explicit SpriteEditor(GraphicsWorkspace &workspace,
                          PaletteEditor *palettes = nullptr,
                          QObject *parent = nullptr);
    ~SpriteEditor() override;

    QAction *action() const override;
    /// "sprites".
    const char *name() const override;
    /// Whether the file or the canvas has changes.
    bool isModified() const override;
    unsigned int areas() const override;
    void activate() override;
    void deactivate() override;
    void reconfig() override;
    void retranslate() override;
    /// Before the switch, asks about the canvas; what is not thrown away is saved into the sprite.
    void engineSwitched(bool switched) override;
    /// Shows the sprite at a row of the file.
    void navigateTo(unsigned int row, unsigned int column) override;
    void undo() override;
    void redo() override;
    void cut() override;
    void copy() override;
    /// Puts the clipboard's picture on top as a layer; without a sprite, or into one that has no
    /// picture, it becomes the sprite's picture.
    void paste() override;
    using FileEditor::find;
    /// Goes to the next sprite whose identifier is `text`, or matches it as an expression. See
    /// Editor::FindFlag.
    bool find(const ProjectFile *file, const QString &text, unsigned int flags) override;
    /// Gives the current sprite, or with `all` every one, that identifier if its own matches.
    void replace(const QString &text, const QString &by, unsigned int flags, bool all) override;
    Project::FileID::Type canEditFileType() override;
    /// Asks about the canvas, too.
    bool canDiscard(const ProjectFile *file) const override;
    /// Shows the sprites of `file`. Changes of the canvas that the user does not throw away are
    /// saved into their sprite; null throws them away.
    void setCurrentFile(ProjectFile *file) override;
    /// Saves the canvas into its sprite first.
    void save() override;
    void saveAs() override;

    /// Null without a file, and for an empty one.
    Sprite *currentSprite() const;
    /// Shows the sprite at `index`, or the last one. The user may refuse, for the sake of the
    /// canvas: false then.
    bool setCurrent(unsigned int index);
    /// Replaces the picture of the current sprite. Unless the colour table equals the sprite's
    /// palette in all 256 entries, the user is asked how the picture comes to its palette.
    void setSpriteImage(const QImage &image);
    /// Writes the canvas into the current sprite, as the action "spr_saveimg" does. True if there
    /// was nothing to write; false, after a message, when the file did not take it.
    bool saveImage();
    /// Whether saveImage() has a picture to write, and that picture.
    bool hasUnsavedPicture() const;
    QImage unsavedPicture() const;
    /// Whether changes of the canvas may be lost; asks the user if there are any.
    bool canDiscardChanges() const;
    /// Whether a field may write into the sprite: the editor is active and not filling fields.
    bool canChangeFieldValue() const;
    ImageRenderer *renderer() const;

    /// Where the sprite's own point is, from the upper left of its picture. (0, 0) here.
    virtual QPoint spriteOffset(Sprite *sprite) const;
    /// Does nothing here.
    virtual void setSpriteOffset(Sprite *sprite, QPoint offset);

protected:
    /// Shows the project's selected sprite file.
    void contentsChanged() override;

private:
    friend class SpriteEditorPrivate;

    std::unique_ptr<SpriteEditorPrivate> d;
};

} // namespace Kiln
