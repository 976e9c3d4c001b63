#pragma once

#include <hostkit/export.h>

#include <kilnx/editors/animationeditor.h>

namespace HostKit
{

class Viewport;

/// The animation editor of the kit, for any engine: frames are shown with their mirroring, scale
/// and angle and, where they have the property "Opacity", a number from 0 to 1, with that. What a
/// frame's offset moves and its angle turns about is the sprite's own point, the property "Origin",
/// a QPoint from the upper left; without it that is the upper left.
class HOSTKIT_EXPORT AnimationView : public Kiln::AnimationEditor
{
    Q_OBJECT

public:
    /// All three must outlive the view.
    AnimationView(Kiln::CodeWorkspace *code, Kiln::GraphicsWorkspace *graphics, Viewport *viewport);

    Viewport &viewport() const;
    QVariant spriteProperty(Kiln::FrameCode *frame, Kiln::Sprite *sprite, unsigned int id) override;
    QPoint offsetToParentFromInterpolation(QPoint position) override;
    void hostReserved15() override {}

protected:
    void onionFrameChanged(Kiln::FrameCode *frame) override;
};

} // namespace HostKit
