#pragma once

#include <kilnx/code/codenode.h>

#include <QtCore/QList>

namespace Kiln
{
/// Rows of nodes in the lists of their containers, and places of nodes in the text.
class NodeRows
{
public:
    /// The index of `child` in `list`, -1 if it is not in the list. Each node remembers where it
    /// was found last and each container where it looked last (`last`), so that edits and walks in
    /// order find their row at once; after other changes the search goes outward from the
    /// remembered row.
    template<typename Node>
    static int find(const QList<Node *> &list, const CodeNode *child, int &last)
    {
        if (!child)
            return -1;
        const int size = list.size();
        const auto holds = [&](int row) { return row >= 0 && row < size && list.at(row) == child; };
        for (const int row : {child->m_rowHint, last, last + 1, 0, size - 1}) {
            if (holds(row))
                return remember(child, row, last);
        }
        const int start = qBound(0, child->m_rowHint, size);
        for (int distance = 1; start - distance >= 0 || start + distance < size; ++distance) {
            if (holds(start - distance))
                return remember(child, start - distance, last);
            if (holds(start + distance))
                return remember(child, start + distance, last);
        }
        return -1;
    }

    /// Makes `child` the one at `index` of the list that `container` keeps, or the last if there
    /// are not that many, and announces the row, which is returned.
    template<typename Node>
    static int
    insert(ParentCode *container, QList<Node *> &list, Node *child, unsigned int index, int &last)
    {
        child->m_parent = container;
        const int row = int(qMin(index, unsigned(list.size())));
        container->beginInsert(container, row);
        list.insert(row, child);
        remember(child, row, last);
        container->endInsert();
        return row;
    }

    /// Takes `child` out of the list that `container` keeps and announces it; the row where it was,
    /// -1 if it is not in the list.
    template<typename Node>
    static int remove(ParentCode *container, QList<Node *> &list, CodeNode *child, int &last)
    {
        child->m_parent = nullptr;
        const int row = find(list, child, last);
        if (row < 0)
            return row;
        container->beginRemove(container, row);
        list.removeAt(row);
        container->endRemove();
        return row;
    }

    static int remember(const CodeNode *child, int row, int &last)
    {
        child->m_rowHint = row;
        last = row;
        return row;
    }

    /// The line that `node` was parsed from; also for further nodes of a line, which have no block
    /// of their own. -1 for the root and for nodes without a document.
    static int line(const CodeNode *node)
    {
        while (!node->m_block.isValid() && node->m_previous)
            node = node->m_previous;
        return node->m_block.blockNumber();
    }

    /// Whether `first` stands before `second` in the node list, told from their lines.
    static bool isBefore(const CodeNode *first, const CodeNode *second);

    /// The number of nodes in a list in text order that stand before `node`.
    static int countBefore(const QList<CodeNode *> &list, const CodeNode *node);

    /// The number of children of `container`, which are in text order, that stand before `line`.
    static int countBeforeLine(const ParentCode *container, int line);
};
} // namespace Kiln
