#include <kilnx/code/framecode.h>

#include <kilnx/code/animationcode.h>

#include <QtCore/QStringList>

namespace Kiln
{
FrameCode::FrameCode(CodeNode *previous,
                     ContactBoxesCode *attackBoxes,
                     ContactBoxesCode *collisionBoxes)
    : ParentCode(Frame, previous)
    , m_attackBoxes(attackBoxes)
    , m_collisionBoxes(collisionBoxes)
{
    joinAnimation();
}

/// A frame above that has an animation tells the row at once, so that a file of one long animation
/// does not walk back to its header for each frame. Where no animation is above, no frame has one.
void FrameCode::joinAnimation()
{
    if (!section() || section()->type() != Animation)
        return;
    unsigned int strays = 0;
    for (CodeNode *node = previous(); node; node = node->previous()) {
        if (node->type() == Animation) {
            static_cast<AnimationCode *>(node)->insertChild(this, strays);
            return;
        }
        if (node->type() != Frame)
            continue;
        if (ParentCode *animation = node->parent()) {
            animation->insertChild(this, unsigned(animation->childIndex(node)) + 1 + strays);
            return;
        }
        ++strays;
    }
}

ContactBoxesCode *FrameCode::contactBoxes(ContactBoxCode::BoxType type) const
{
    return type & 1 ? m_attackBoxes : m_collisionBoxes;
}

QStringList FrameCode::propertyNames()
{
    return {QStringLiteral("Identifier"), QStringLiteral("Offset"), QStringLiteral("Delay"),
            QStringLiteral("Scale"),      QStringLiteral("Angle"),  QStringLiteral("Flip"),
            QStringLiteral("LoopPoint")};
}

int FrameCode::firstLine() const
{
    if (!parent())
        return lineNo();
    for (const CodeNode *node = previous(); node; node = node->previous()) {
        if (node->type() == Frame)
            return node->lineNo() + 1;
        if (node == parent())
            break;
    }
    return parent()->lineNo() + 1;
}

int FrameCode::index() const
{
    return parent() ? parent()->childIndex(const_cast<FrameCode *>(this)) : -1;
}
} // namespace Kiln
