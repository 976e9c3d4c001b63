#pragma once

#include <hostkit/export.h>

#include <kilnx/editors/animationeditor.h>

namespace HostKit
{

class Viewport;

/// The animation editor of the kit, for any engine: frames are shown with their mirroring and
/// scale, and what a frame's offset moves is the sprite's own point, the property "Origin", a
/// QPoint from the upper left; without it that is the upper left.
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
