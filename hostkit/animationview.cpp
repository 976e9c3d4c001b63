#include <hostkit/animationview.h>

#include <hostkit/viewport.h>

#include <kilnx/code/framecode.h>
#include <kilnx/image/sprite.h>

#include <cmath>

namespace HostKit
{

namespace
{

/// How a frame shows its sprite, as the view wants it.
struct Placing {
    Placing(const Kiln::FrameCode &frame, Kiln::Sprite &sprite)
        : scale(std::abs(frame.scale().x()), std::abs(frame.scale().y()))
        , angle(frame.canTransform() ? frame.angle() : 0)
    {
        const bool mirrored = frame.flip() & Kiln::FrameCode::FlipHorizontally;
        const bool upsideDown = frame.flip() & Kiln::FrameCode::FlipVertically;
        flip = static_cast<unsigned char>((mirrored != (frame.scale().x() < 0) ? 1 : 0) |
                                          (upsideDown != (frame.scale().y() < 0) ? 2 : 0));
        const Kiln::ImageInfo info = sprite.imageInfo();
        pivot = sprite.property(QStringLiteral("Origin")).toPoint();
        if (flip & 1)
            pivot.setX(int(info.width) - pivot.x());
        if (flip & 2)
            pivot.setY(int(info.height) - pivot.y());
    }
    /// The view scales positions, too.
    QPoint position(QPoint offset) const
    {
        return QPoint(axis(offset.x() / scale.x()), axis(offset.y() / scale.y())) - pivot;
    }
    QPoint offset(QPoint position) const
    {
        const QPoint foot = position + pivot;
        return {axis(foot.x() * scale.x()), axis(foot.y() * scale.y())};
    }
    /// Of the scaled picture, for what draws it where it is told.
    QPoint corner(QPoint offset) const
    {
        return offset - QPoint(axis(pivot.x() * scale.x()), axis(pivot.y() * scale.y()));
    }
    static int axis(double value)
    {
        return std::isfinite(value) ? int(std::round(qBound(-1e9, value, 1e9))) : 0;
    }

    QPointF scale;
    double angle = 0;
    QPoint pivot; // of the mirrored picture
    unsigned char flip = 0;
};

/// 0 would mean that the frame says nothing.
QVariant opacityOf(Kiln::FrameCode &frame)
{
    const QVariant opacity = frame.property(QStringLiteral("Opacity"));
    return opacity.isValid() ? qBound(1e-6F, opacity.toFloat(), 1.0F) : opacity;
}

} // namespace

AnimationView::AnimationView(Kiln::CodeWorkspace *code,
                             Kiln::GraphicsWorkspace *graphics,
                             Viewport *viewport)
    : Kiln::AnimationEditor(code, graphics, viewport, Viewport::ItemSprite)
{
}

Viewport &AnimationView::viewport() const
{
    return *static_cast<Viewport *>(renderer());
}

QVariant
AnimationView::spriteProperty(Kiln::FrameCode *frame, Kiln::Sprite *sprite, unsigned int id)
{
    const Placing placing(*frame, *sprite);
    switch (id) {
    case Kiln::SpriteProvider::Position:
        return placing.position(frame->offset());
    case Kiln::SpriteProvider::Scale:
        return placing.scale;
    case Kiln::SpriteProvider::Mirror:
        return unsigned(placing.flip);
    case Kiln::SpriteProvider::Opacity:
        return opacityOf(*frame);
    case Kiln::SpriteProvider::Angle:
        return placing.angle;
    case Kiln::SpriteProvider::Pivot:
        return QPointF(placing.pivot);
    default:
        return Kiln::AnimationEditor::spriteProperty(frame, sprite, id);
    }
}

QPoint AnimationView::offsetToParentFromInterpolation(QPoint position)
{
    const Kiln::FrameCode *frame = currentFrame();
    Kiln::Sprite *sprite = spriteOf(frame);
    return sprite ? Placing(*frame, *sprite).offset(position) : position;
}

void AnimationView::onionFrameChanged(Kiln::FrameCode *frame)
{
    Kiln::Sprite *ghost = spriteOf(frame);
    if (!ghost) {
        viewport().setOnionSkinSprite(nullptr, QPoint());
        return;
    }
    const Placing placing(*frame, *ghost);
    viewport().setOnionSkinShape(placing.flip, placing.scale, {placing.angle, placing.pivot});
    viewport().setOnionSkinSprite(ghost, placing.corner(frame->offset()));
}

} // namespace HostKit
