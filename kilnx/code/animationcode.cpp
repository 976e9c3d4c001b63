#include <kilnx/code/animationcode.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/framecode.h>
#include <kilnx/code/noderows_p.h>
#include <kilnx/code/rootcode.h>

#include <QtGui/QTextCursor>

namespace Kiln
{
AnimationCode::AnimationCode(CodeNode *previous)
    : ParentCode(Animation, previous)
{
    insertRootChild(this);
    takeFramesBelow();
}

/// Values below leave their group too: no group reaches past an animation.
void AnimationCode::takeFramesBelow()
{
    QList<CodeNode *> below;
    for (CodeNode *node = next(); node; node = node->next()) {
        if (node->type() == Group || node->type() == Animation)
            break;
        below.append(node);
    }
    // They leave where they were last one first, which moves no rows there.
    for (auto node = below.crbegin(); node != below.crend(); ++node) {
        if (ParentCode *above = (*node)->parent())
            above->removeChild(*node);
    }
    for (CodeNode *node : qAsConst(below)) {
        if (node->type() == Frame)
            insertChild(node, unsigned(-1));
    }
}

AnimationCode::~AnimationCode()
{
    handFramesOn();
    handValuesBack();
    // While it is still an animation, so that whoever keeps lists of animations finds it.
    if (ParentCode *container = parent())
        container->removeChild(this);
}

/// Values that only this animation kept from the group above.
void AnimationCode::handValuesBack()
{
    CodeNode *above = section();
    if (!above || above->type() != Group)
        return;
    for (CodeNode *node = next(); node; node = node->next()) {
        if (node->type() == Group || node->type() == Animation)
            break;
        if (node->type() == Value && !node->parent())
            static_cast<ParentCode *>(above)->insertChild(node, unsigned(-1));
    }
}

void AnimationCode::handFramesOn()
{
    if (m_frames.isEmpty())
        return;
    CodeNode *above = previous(Animation, Group);
    const QList<FrameCode *> left = m_frames;
    while (!m_frames.isEmpty())
        removeChild(m_frames.last());
    if (!above)
        return;
    for (FrameCode *frame : left)
        static_cast<AnimationCode *>(above)->insertChild(frame, unsigned(-1));
}

QStringList AnimationCode::propertyNames()
{
    return NamedCode::propertyNames() << QStringLiteral("Identifier");
}

int AnimationCode::lastLine() const
{
    for (const CodeNode *node = next(); node; node = node->next()) {
        if (node->type() == Group || node->type() == Animation)
            return node->firstLine() - 1;
    }
    const CodeDocument *owner = document();
    return owner ? owner->blockCount() : lineNo();
}

QString AnimationCode::code() const
{
    return selectAll().selectedText().trimmed();
}

void AnimationCode::setCode(const QString &text)
{
    CodeDocument *owner = document();
    if (!owner)
        return;
    owner->insertOnCursor(text.trimmed() + QLatin1String("\n\n"), selectAll());
    owner->catchUp();
}

FrameCode *AnimationCode::frameAt(unsigned int index) const
{
    return index < frameCount() ? m_frames.at(int(index)) : nullptr;
}

int AnimationCode::indexOfFrame(const FrameCode *frame) const
{
    return NodeRows::find(m_frames, frame, m_lastRow);
}

void AnimationCode::removeFrame(unsigned int index)
{
    CodeDocument *owner = document();
    FrameCode *frame = frameAt(index);
    if (!owner || !frame)
        return;
    frame->remove(true);
    owner->catchUp();
}

unsigned int AnimationCode::childCount() const
{
    return frameCount();
}

int AnimationCode::childIndex(CodeNode *child) const
{
    return NodeRows::find(m_frames, child, m_lastRow);
}

CodeNode *AnimationCode::childAt(unsigned int row) const
{
    return frameAt(row);
}

void AnimationCode::insertChild(CodeNode *child, unsigned int index)
{
    if (child->m_parent)
        child->m_parent->removeChild(child);
    if (child->type() != Frame)
        return;
    auto *frame = static_cast<FrameCode *>(child);
    tellRowsFrom(NodeRows::insert(this, m_frames, frame, index, m_lastRow) + 1);
}

void AnimationCode::removeChild(CodeNode *child)
{
    const int row = NodeRows::remove(this, m_frames, child, m_lastRow);
    if (row >= 0)
        tellRowsFrom(row);
}

/// Frames without a name are shown by their numbers, which other frames have changed.
void AnimationCode::tellRowsFrom(int row)
{
    if (row >= m_frames.size() || !parent() || parent()->type() != Root)
        return;
    auto *root = static_cast<RootCode *>(parent());
    const QModelIndex own = root->index(root->childIndex(this), 0);
    const int rows = root->rowCount(own);
    if (row < rows)
        Q_EMIT root->dataChanged(root->index(row, 0, own), root->index(rows - 1, 0, own),
                                 {Qt::DisplayRole});
}
} // namespace Kiln
