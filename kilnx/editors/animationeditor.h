#pragma once

#include <kilnx/codeedit/codefileeditor.h>
#include <kilnx/export.h>
#include <kilnx/render/graphicsrenderer.h>

#include <QtCore/QPoint>
#include <QtCore/QVariant>

#include <memory>

namespace Kiln
{

class AnimationCode;
class AnimationEditorPrivate;
class Animations;
class FrameCode;
class GraphicsWorkspace;
class Sprite;
class Sprites;

/// The editor of animation files: the frame that is shown in the viewport, the time line below it,
/// fields and commands of frames and contact boxes and, beside the viewport, the text.
///
/// The text is the only truth. Viewport, fields and time line show what it says of one animation
/// and one frame; each edit is a change of the text in one step of undo, and a drag writes nothing
/// before it is released. The selection is that of Animations::selected() and
/// AnimationCode::selectedFrame(): it stays on the same animation and frame while the text changes,
/// or goes to the nearest when they are gone, and follows the cursor of the text. No node is kept
/// beyond a change of the text: ask currentAnimation() and currentFrame() again.
///
/// All commands and fields are declared to the host under keys that begin with "anim_"; see
/// docs/embedding.md. Options: "show_organizer", "anim_text_shown", "confirm_delete", "onion_skin",
/// "onion_opacity" (0 to 1), "onion_effect" (GraphicsRenderer::OnionEffect), "guide_x", "guide_y",
/// "native_painting", "gif_path", "anim_path", "project_path" and "anim_editcode_geometry".
///
/// An animation whose property "Once" is true is played once; all others go on at their loop point.
///
/// An engine or host derives from it to say how its frames show their sprites: spriteProperty(),
/// offsetToParentFromInterpolation() and onionFrameChanged() belong together.
class KILNX_EXPORT AnimationEditor : public CodeFileEditor
{
    Q_OBJECT

public:
    /// The workspaces and the renderer must outlive the editor, which shows them in a splitter of
    /// its own while it is active. `frameItem` is the item of the viewport that stands for the
    /// frame's sprite: its drags are written to the frame's offset.
    AnimationEditor(CodeWorkspace *code,
                    GraphicsWorkspace *graphics,
                    GraphicsRenderer *renderer,
                    GraphicsRenderer::ItemType frameItem);
    ~AnimationEditor() override;

    QAction *action() const override;
    /// "animations".
    const char *name() const override;
    unsigned int areas() const override;
    void activate() override;
    void deactivate() override;
    void reconfig() override;
    void retranslate() override;
    /// The place of the change is shown to who is at the text; else the frame stays.
    void undo() override;
    void redo() override;
    /// Goes to a line of the text, and to its frame.
    void navigateTo(unsigned int line, unsigned int column) override;
    Project::FileID::Type canEditFileType() override;
    /// Shows the animations of `file`, a CodeDocument that has an Animations as its editor, or such
    /// a list itself. What the onion skin was set to is kept for each file.
    void setCurrentFile(ProjectFile *file) override;

    /// Shows the text beside the viewport or hides it, as the action "anim_editcode" does; `shown`
    /// is the editor that is made current for it, null for none.
    void setEditCodeMode(bool on, Editor *shown);
    bool isEditCodeMode() const;
    /// Whether a field may write into the text: the editor is active and not filling fields.
    bool canChangeFieldValue() const;

    /// Null without a file, and for one without animations.
    AnimationCode *currentAnimation() const;
    /// Null for an animation without frames.
    FrameCode *currentFrame() const;
    /// The list of the current file; null without one.
    Animations *animations() const;
    /// The sprite file that has the current frame's sprite, or the project's first one.
    Sprites *sprites() const;
    /// The sprite that a frame shows, from all sprite files of the project; null for none.
    Sprite *spriteOf(const FrameCode *frame) const;
    GraphicsRenderer *renderer() const;
    CodeWorkspace *codeWorkspace() const;
    GraphicsWorkspace *graphicsWorkspace() const;
    bool isPlaying() const;
    /// Shows an animation and one of its frames, each the nearest that there is.
    void setCurrent(unsigned int animation, unsigned int frame);

public Q_SLOTS:
    /// Reads animation and frame anew.
    void update();

public:
    /// What the viewport shows of a frame; `id` is a SpriteProvider::PropertyId. Here: the offset,
    /// draggable around the main cross, the sprite's own size, scale 1 and no more.
    virtual QVariant spriteProperty(FrameCode *frame, Sprite *sprite, unsigned int id);
    /// The offset that is written for a position of the frame's sprite in the viewport: the reverse
    /// of spriteProperty(). The position itself, here.
    virtual QPoint offsetToParentFromInterpolation(QPoint position);
    /// During playback: whether spriteProperty() says something else `tick` ticks after the start
    /// of the frame than at the tick before. False here.
    virtual bool interpolateFrames(FrameCode *frame, int tick);

protected:
    // Each calls the base. The arguments are null for nothing.
    virtual void animationChanged(AnimationCode *animation);
    virtual void animationCountChanged();
    virtual void frameChanged(FrameCode *frame);
    /// Shows a frame as the onion skin.
    virtual void onionFrameChanged(FrameCode *frame);
    /// Playback has ended.
    virtual void stoppedAnimation();
    /// A drag in the viewport goes on, and has ended.
    virtual void itemMoved(GraphicsRenderer::ItemType type, void *item, QPoint position);
    virtual void itemReleased(GraphicsRenderer::ItemType type, void *item, QPoint position);
    /// The text of the animation is another: by a command of the editor, or by the user's typing.
    /// The dialog of "anim_code" takes it over.
    virtual void animationCodeChanged(bool byCommand, bool byText);
    /// Shows the project's selected file of animations.
    void contentsChanged() override;

private:
    friend class AnimationEditorPrivate;

    std::unique_ptr<AnimationEditorPrivate> d;
};

} // namespace Kiln
