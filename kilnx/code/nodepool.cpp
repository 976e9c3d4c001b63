#include <kilnx/code/nodepool_p.h>

#include <kilnx/code/codenode.h>

#include <QtCore/QDebug>
#include <QtCore/QList>
#include <QtCore/QMap>

#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

namespace Kiln
{
namespace
{
constexpr quint64 freeMark = quint64(1) << 63;

/// Stands before each node; its size keeps the node aligned as malloc() aligned the block, to 8.
struct BlockHeader {
    quint64 size; ///< of the whole block in bytes, with freeMark while the block is free
};
static_assert(sizeof(BlockHeader) == 8, "nodes start 8 bytes into their block");

struct FreeBlocks {
    QMap<quint64, QList<BlockHeader *>> bySize;
    quint64 bytesObtained = 0;

    ~FreeBlocks()
    {
        qDebug() << "maximum allocated memory for nodes:" << float(bytesObtained) / 1048576.f
                 << "MB";
        for (const QList<BlockHeader *> &blocks : qAsConst(bySize)) {
            for (BlockHeader *block : blocks)
                std::free(block);
        }
    }
} freeBlocks;

BlockHeader *headerOf(const void *node)
{
    return static_cast<BlockHeader *>(const_cast<void *>(node)) - 1;
}

/// Under the address sanitizer, makes the part of a free node that isInUse() does not read
/// untouchable, so that a use after release is found.
void setReadable(BlockHeader *header, quint64 size, bool readable)
{
#if defined(__SANITIZE_ADDRESS__)
    char *start = reinterpret_cast<char *>(header + 1) + sizeof(CodeNode);
    const quint64 used = sizeof(BlockHeader) + sizeof(CodeNode);
    if (size > used && readable)
        ASAN_UNPOISON_MEMORY_REGION(start, size - used);
    else if (size > used)
        ASAN_POISON_MEMORY_REGION(start, size - used);
#else
    Q_UNUSED(header)
    Q_UNUSED(size)
    Q_UNUSED(readable)
#endif
}
} // namespace

void *NodePool::take(std::size_t size)
{
    const quint64 blockSize = size + sizeof(BlockHeader);
    QList<BlockHeader *> &blocks = freeBlocks.bySize[blockSize];
    BlockHeader *header;
    if (blocks.isEmpty()) {
        freeBlocks.bytesObtained += blockSize;
        header = static_cast<BlockHeader *>(std::malloc(blockSize));
        Q_CHECK_PTR(header);
    } else {
        header = blocks.takeLast();
        setReadable(header, blockSize, true);
    }
    header->size = blockSize;
    return header + 1;
}

void NodePool::give(void *node)
{
    BlockHeader *header = headerOf(node);
    if (header->size & freeMark)
        return;
    const quint64 size = header->size;
    header->size |= freeMark;
    freeBlocks.bySize[size].append(header);
    setReadable(header, size, false);
}

bool NodePool::isInUse(const CodeNode *node)
{
    if (!node)
        return false;
    return node->type() == CodeNode::Root || !(headerOf(node)->size & freeMark);
}
} // namespace Kiln
