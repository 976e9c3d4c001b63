#pragma once

#include <kilnx/code/codenode.h>
#include <kilnx/code/contactboxes.h>
#include <kilnx/export.h>
#include <kilnx/project/propertyitem.h>

#include <QtCore/QPoint>
#include <QtCore/QPointF>

namespace Kiln
{
/// A frame of an animation: one picture, where and how it is shown, and for how long.
///
/// An engine derives from it and reads the values from the frame's line. It belongs to the
/// animation above it. The lines between the frame before and this one, such as comments and
/// contact boxes, belong to this frame. Contact boxes are no children of it: a frame shows none.
///
/// All setters edit the text, by change() or CodeDocument::insertOnCursor(). The parser then
/// updates the node, which stays, and reports it by valueChanged(). A setter that is given the
/// value that the frame has changes nothing; values that the language cannot say are brought to the
/// nearest that it can. The properties are the same values by name: "Identifier" (QString),
/// "Offset" (QPoint), "Delay" (int), "Scale" (QPointF), "Angle" (qreal), "Flip" (int), "LoopPoint"
/// (bool).
class KILNX_EXPORT FrameCode : public ParentCode, public PropertyItem
{
public:
    /// How the picture is mirrored.
    enum Flip { NoFlip = 0, FlipVertically = 1, FlipHorizontally = 2, FlipBoth = 3 };

    /// attackBoxes() for a type with bit 0 set, otherwise collisionBoxes().
    virtual ContactBoxesCode *contactBoxes(ContactBoxCode::BoxType type) const;

    /// The "Identifier" of the sprite that is shown; empty for a frame that shows none.
    virtual QString identifier() const = 0;
    virtual void setIdentifier(const QString &identifier) = 0;
    /// Where the sprite's own axis stands, in image pixels from the main cross.
    virtual QPoint offset() const = 0;
    virtual void setOffset(const QPoint &offset) = 0;
    /// How long the frame is shown, in ticks of 1/60 s; -1: until something else ends it.
    virtual int delay() const = 0;
    virtual void setDelay(int delay) = 0;
    /// The factors on x and y, 1.0 for the sprite's own size.
    virtual QPointF scale() const = 0;
    virtual void setScale(const QPointF &scale) = 0;
    /// The turn about the axis in degrees, counter-clockwise.
    virtual qreal angle() const = 0;
    virtual void setAngle(qreal angle) = 0;
    virtual Flip flip() const = 0;
    virtual void setFlip(Flip flip) = 0;
    /// Whether the animation goes on here after its last frame. At most one frame of an animation
    /// is marked; setting the mark takes it from the others. Without one it starts over.
    virtual bool isLoopPoint() const = 0;
    virtual void setLoopPoint(bool loopPoint) = 0;
    /// Whether the engine's frames know scale() and angle(); editors disable their fields if not.
    virtual bool canTransform() const = 0;

    QStringList propertyNames() override;
    QVariant property(const QString &name) override = 0;
    void setProperty(const QString &name, const QVariant &value) override = 0;

    /// The line after the frame before, or after the animation's header for the first; its own line
    /// for a frame without an animation.
    int firstLine() const override;
    /// The row in the animation, -1 without one.
    int index() const;
    ContactBoxesCode *attackBoxes() const { return m_attackBoxes; }
    ContactBoxesCode *collisionBoxes() const { return m_collisionBoxes; }

protected:
    /// Joins the animation above. Below a group, or with nothing above, it stays without one. The
    /// boxes stay the subclass's; they may still be under construction.
    FrameCode(CodeNode *previous, ContactBoxesCode *attackBoxes, ContactBoxesCode *collisionBoxes);

private:
    void joinAnimation();

    ContactBoxesCode *m_attackBoxes;
    ContactBoxesCode *m_collisionBoxes;
};
} // namespace Kiln
