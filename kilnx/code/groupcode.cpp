#include <kilnx/code/groupcode.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/noderows_p.h>
#include <kilnx/code/valuecode.h>

namespace Kiln
{
GroupCode::GroupCode(CodeNode *previous, unsigned int subType)
    : ParentCode(Group, previous)
    , m_subType(subType)
{
    takeValuesBelow();
}

void GroupCode::takeValuesBelow()
{
    for (CodeNode *node = next(); node; node = node->next()) {
        if (node->type() == Group || node->type() == Animation)
            break;
        if (node->type() == Value)
            m_values.append(static_cast<ValueCode *>(node));
        else if (node->type() == Frame && node->parent())
            node->parent()->removeChild(node);
    }
    // They leave their group last one first, which moves no rows there.
    for (int row = m_values.size() - 1; row >= 0; --row) {
        CodeNode *value = m_values.at(row);
        if (value->m_parent)
            value->m_parent->removeChild(value);
        value->m_parent = this;
        NodeRows::remember(value, row, m_lastRow);
    }
}

GroupCode::~GroupCode()
{
    handValuesOn();
    // While it is still a group, so that whoever keeps lists of groups finds it.
    if (m_parent)
        m_parent->removeChild(this);
    handFramesBack();
}

/// Frames that only this group kept from the animation above.
void GroupCode::handFramesBack()
{
    CodeNode *above = section();
    if (!above || above->type() != Animation)
        return;
    for (CodeNode *node = next(); node; node = node->next()) {
        if (node->type() == Group || node->type() == Animation)
            break;
        if (node->type() == Frame && !node->parent())
            static_cast<ParentCode *>(above)->insertChild(node, unsigned(-1));
    }
}

void GroupCode::handValuesOn()
{
    if (m_values.isEmpty())
        return;
    CodeNode *above = previous();
    while (above && above->type() != Group && above->type() != Animation && above->type() != Frame)
        above = above->previous();
    if (above && above->type() == Group) {
        auto *heir = static_cast<GroupCode *>(above);
        while (!m_values.isEmpty()) {
            CodeNode *value = m_values.first();
            removeChild(value);
            heir->insertChild(value, unsigned(-1));
        }
        return;
    }
    while (!m_values.isEmpty())
        removeChild(m_values.last());
}

int GroupCode::lastLine() const
{
    const auto isNested = [](const CodeNode *group) {
        return group->parent() && group->parent()->type() == Group;
    };
    for (const CodeNode *node = next(); node; node = node->next()) {
        const bool endsHere = node->type() == Animation ||
                              (node->type() == Group && (isNested(this) || !isNested(node)));
        if (endsHere)
            return node->firstLine() - 1;
    }
    const CodeDocument *owner = document();
    return owner ? owner->blockCount() : lineNo();
}

unsigned int GroupCode::childCount() const
{
    return unsigned(m_values.size());
}

int GroupCode::childIndex(CodeNode *child) const
{
    return NodeRows::find(m_values, child, m_lastRow);
}

CodeNode *GroupCode::childAt(unsigned int row) const
{
    return m_values.value(int(row));
}

void GroupCode::insertChild(CodeNode *child, unsigned int index)
{
    if (child->m_parent)
        child->m_parent->removeChild(child);
    if (child->type() == Value)
        NodeRows::insert(this, m_values, static_cast<ValueCode *>(child), index, m_lastRow);
}

void GroupCode::removeChild(CodeNode *child)
{
    NodeRows::remove(this, m_values, child, m_lastRow);
}

ValueCode *GroupCode::valueAt(unsigned int index) const
{
    return index < childCount() ? m_values.at(int(index)) : nullptr;
}

ValueCode *GroupCode::valueByName(const QString &name) const
{
    for (ValueCode *value : m_values) {
        if (value->name() == name)
            return value;
    }
    return nullptr;
}

QVariant GroupCode::value(const QString &name) const
{
    const ValueCode *node = valueByName(name);
    return node ? node->value() : QVariant();
}

void GroupCode::removeValue(unsigned int index)
{
    if (ValueCode *value = valueAt(index))
        value->remove(true);
}
} // namespace Kiln
