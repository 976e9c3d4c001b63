#pragma once

#include <kilnx/export.h>
#include <kilnx/image/palette.h>

#include <memory>

class QImage;

namespace Kiln
{

/// A cube of colours in the octree of a ColorQuantizer: a leaf holds the sums of its pixels.
struct OctreeNode {
    bool isLeaf = false;
    unsigned pixelCount = 0;
    unsigned redSum = 0;
    unsigned greenSum = 0;
    unsigned blueSum = 0;
    unsigned alphaSum = 0;
    OctreeNode *next = nullptr; ///< the next node of this depth that can still be reduced
    OctreeNode *children[8] = {};
};

/// Reduces the colours of one or more pictures to a table of at most 256, by the octree method
/// (M. Gervautz, W. Purgathofer, "A Simple Method for Color Quantization: Octree Quantization",
/// 1988). Whenever there are more than `maxColors` leaves, the newest node of the deepest level
/// takes its children in. Memory does not grow with the pictures.
class KILNX_EXPORT ColorQuantizer
{
public:
    /// `maxColors` up to 256; `maxBits` 1 to 8, the depth of the tree.
    ColorQuantizer(int maxColors, int maxBits);
    ~ColorQuantizer();
    /// The copies share one tree; feed pictures to one of them only.
    ColorQuantizer(const ColorQuantizer &other);
    ColorQuantizer &operator=(const ColorQuantizer &other);

    /// Takes the colours of a picture in. Always true.
    bool processImage(const QImage &image);
    /// Writes the mean colour of every leaf; entries beyond colorCount() become zero bytes.
    void getColorTable(RGBA (&table)[256]);
    int colorCount() const { return m_leafCount; }

protected:
    /// Adds one pixel below `node`, making nodes as needed.
    void addColor(OctreeNode *&node,
                  unsigned char r,
                  unsigned char g,
                  unsigned char b,
                  unsigned char a,
                  int maxBits,
                  int level,
                  int &leafCount,
                  OctreeNode *(&reducible)[8]);
    /// Turns the newest node of the deepest level into a leaf.
    void reduceTree(int maxBits, int &leafCount, OctreeNode *(&reducible)[8]);
    /// Writes the leaves below `node` to `table` from `index` on, children 0 to 7 in order.
    void getPaletteColors(const OctreeNode *node, RGBA (&table)[256], int &index);

private:
    class NodePool;
    class RecentColors;

    void addPixel(unsigned int pixel);

    OctreeNode *m_root = nullptr;
    int m_leafCount = 0;
    OctreeNode *m_reducible[8] = {};
    int m_maxColors;
    int m_maxBits;
    std::shared_ptr<NodePool> m_pool;
};

} // namespace Kiln
