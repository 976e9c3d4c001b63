#include <kilnx/code/codenode.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/rootcode.h>

namespace Kiln
{
ParentCode::ParentCode(Type type, CodeNode *previous)
    : CodeNode(type, previous)
{
}

unsigned int ParentCode::childCount() const
{
    return 0;
}

int ParentCode::childIndex(CodeNode *) const
{
    return -1;
}

CodeNode *ParentCode::childAt(unsigned int) const
{
    return nullptr;
}

void ParentCode::insertChild(CodeNode *child, unsigned int)
{
    if (child->m_parent)
        child->m_parent->removeChild(child);
    child->m_parent = this;
}

void ParentCode::removeChild(CodeNode *child)
{
    child->m_parent = nullptr;
}

void ParentCode::childChanged(CodeNode *)
{
}

void ParentCode::beginInsert(const ParentCode *parent, int row)
{
    if (m_parent)
        m_parent->beginInsert(parent, row);
}

void ParentCode::endInsert()
{
    if (m_parent)
        m_parent->endInsert();
}

void ParentCode::beginRemove(const ParentCode *parent, int row)
{
    if (m_parent)
        m_parent->beginRemove(parent, row);
}

void ParentCode::endRemove()
{
    if (m_parent)
        m_parent->endRemove();
}

void ParentCode::insertRootChild(CodeNode *child)
{
    const auto isChildOfRoot = [](const CodeNode *node) {
        return node->m_parent && node->m_parent->m_type == Root;
    };
    // The nearest child of the root above tells the place. Where none is near, the document's root
    // searches by line.
    constexpr int nearby = 64;
    CodeNode *above = child->m_previous;
    for (int steps = 0; above && above->m_type != Root && !isChildOfRoot(above); ++steps) {
        CodeDocument *document = steps == nearby ? child->document() : nullptr;
        if (document && document->isInTextOrder()) {
            document->insertChild(child, unsigned(document->rowInText(child)));
            return;
        }
        above = above->m_previous;
    }
    if (!above)
        return;
    auto *root = static_cast<RootCode *>(above->m_type == Root ? static_cast<ParentCode *>(above)
                                                               : above->m_parent);
    unsigned int row = 0;
    if (root->isInTextOrder()) {
        row = unsigned(root->childIndex(above) + 1);
    } else {
        for (; above && above->m_type != Root; above = above->m_previous)
            row += isChildOfRoot(above) ? 1 : 0;
    }
    root->insertChild(child, row);
}
} // namespace Kiln
