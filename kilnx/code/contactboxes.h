#pragma once

#include <kilnx/export.h>

#include <QtCore/QRect>
#include <QtCore/QVector>

#include <memory>

namespace Kiln
{
/// One contact box of a frame: a rectangle that hits, or that can be hit.
///
/// An engine derives from it; usually the node of the box's line is the box. The object belongs to
/// the text like the frame itself: setRect() edits the line and keeps the object, but any other
/// edit of the frame's lines may destroy it. Ask the frame's ContactBoxesCode again when the list
/// of animations has emitted OrganizableObject::modified(), and keep no pointer beyond that.
class KILNX_EXPORT ContactBoxCode
{
public:
    /// The kind of a box, 1 to 8. Odd numbers are kinds of boxes that hit, even numbers kinds that
    /// can be hit; engines with finer kinds number theirs from 3 on.
    enum BoxType : int { Attack = 1, Collision = 2 };

    virtual ~ContactBoxCode();

    /// The kind under which the frame holds the box.
    virtual BoxType boxType() const = 0;
    /// The box in image pixels, relative to the main cross, x to the right and y downwards. Always
    /// normalized: width and height are not negative.
    virtual QRect rect() const = 0;
    /// Writes the box's line; the object stays. A rectangle from right to left or from bottom to
    /// top is normalized first. Does nothing if the rectangle is the one that the box has.
    virtual void setRect(const QRect &rect) = 0;
    /// Writes the box's line as one of another kind, which stays where it is, with its comment. It
    /// may destroy this box, but none of the frame's others. Does nothing for the kind that it has.
    virtual void setBoxType(BoxType type) = 0;
};

/// The boxes of one kind of one frame, in the order of their lines.
///
/// An engine derives from it, gives two objects to the constructor of each frame, one for the boxes
/// that hit and one for those that can be hit, and owns them; they live as long as the frame. All
/// changes are edits of the text, so the tree follows them and undo takes them back.
class KILNX_EXPORT ContactBoxesCode
{
public:
    virtual ~ContactBoxesCode();

    virtual unsigned int count() const = 0;
    /// Null if `index` is out of range.
    virtual ContactBoxCode *at(unsigned int index) const = 0;
    /// Adds a box behind the others of its kind and returns it; null if the engine refuses it, as
    /// it does with a frame that stands in no document. `rect` is normalized first.
    virtual ContactBoxCode *add(const QRect &rect) = 0;
    /// Removes the box's line, and with it the box. Does nothing for a box that is not one of
    /// these.
    virtual void remove(ContactBoxCode *box) = 0;
    /// Replaces all boxes by one for each rectangle, as one change.
    virtual void setRects(const QVector<QRect> &rects) = 0;

    /// All of them, in order. Views ask for it, so an engine whose at() has to search overrides it.
    virtual QVector<ContactBoxCode *> all() const;

    /// The index of `box`, -1 if it is not in the list.
    int indexOf(const ContactBoxCode *box) const;
    /// ContactBoxCode::rect() of each box.
    QVector<QRect> rects() const;
    /// Expires when the object is destroyed: for a view that may outlive the frame that it shows.
    std::weak_ptr<const void> life() const;

private:
    mutable std::shared_ptr<const void> m_life; // made when it is asked for
};
} // namespace Kiln
