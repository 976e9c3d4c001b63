#include <kilnx/code/noderows_p.h>

#include <algorithm>

namespace Kiln
{
namespace
{
/// The children of any container, as the standard library walks over them.
struct Children {
    using iterator_category = std::random_access_iterator_tag;
    using value_type = const CodeNode *;
    using difference_type = int;
    using pointer = const value_type *;
    using reference = value_type;

    value_type operator*() const { return container->childAt(unsigned(row)); }
    int operator-(const Children &other) const { return row - other.row; }
    Children &operator+=(int rows)
    {
        row += rows;
        return *this;
    }
    Children &operator++() { return *this += 1; }
    Children &operator--() { return *this += -1; }

    const ParentCode *container;
    int row;
};
} // namespace

bool NodeRows::isBefore(const CodeNode *first, const CodeNode *second)
{
    const int firstLine = line(first);
    const int secondLine = line(second);
    if (firstLine != secondLine)
        return firstLine < secondLine;
    for (const CodeNode *node = first->m_next; node; node = node->m_next) {
        if (node == second)
            return true;
        if (node->m_block.isValid() && node->m_block.blockNumber() != firstLine)
            return false;
    }
    return false;
}

int NodeRows::countBefore(const QList<CodeNode *> &list, const CodeNode *node)
{
    return int(std::lower_bound(list.begin(), list.end(), node, isBefore) - list.begin());
}

int NodeRows::countBeforeLine(const ParentCode *container, int line)
{
    const auto isAbove = [](const CodeNode *child, int wanted) {
        return NodeRows::line(child) < wanted;
    };
    const Children end{container, int(container->childCount())};
    return std::lower_bound(Children{container, 0}, end, line, isAbove) - Children{container, 0};
}
} // namespace Kiln
