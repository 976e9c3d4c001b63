#pragma once

#include <cstddef>

namespace Kiln
{
class CodeNode;

/// The memory of all nodes of the process.
///
/// A block is a header of 8 bytes, which holds the block's size and whether it is free, and the
/// node. Free blocks are kept by size and are given back to the system only at unload, so the
/// header and the base part of a node that has gone can still be read.
class NodePool
{
public:
    static void *take(std::size_t size);
    /// Takes back the block of a node whose destructor has run.
    static void give(void *node);
    static bool isInUse(const CodeNode *node);
};
} // namespace Kiln
