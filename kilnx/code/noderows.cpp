#include <kilnx/code/noderows_p.h>

namespace Kiln
{
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

int NodeRows::countBeforeLine(const ParentCode *container, int line)
{
    int begin = 0;
    int end = int(container->childCount());
    while (begin < end) {
        const int middle = begin + (end - begin) / 2;
        if (NodeRows::line(container->childAt(unsigned(middle))) < line)
            begin = middle + 1;
        else
            end = middle;
    }
    return begin;
}
} // namespace Kiln
