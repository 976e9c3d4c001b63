#include <kilnx/image/colorquantizer.h>

#include <QtGui/QImage>

#include <algorithm>
#include <deque>
#include <vector>

namespace Kiln
{

namespace
{

/// Pixels that a leaf counts before it halves its sums: 255 times as many fit 32 bits. The mean
/// stays, and pictures of less than 16 million pixels never get here.
constexpr quint64 MaxPixels = 1 << 24;

struct Sums {
    quint64 count;
    quint64 red;
    quint64 green;
    quint64 blue;
    quint64 alpha;
};

Sums sumsOf(const OctreeNode &node)
{
    return {node.pixelCount, node.redSum, node.greenSum, node.blueSum, node.alphaSum};
}

void addSums(OctreeNode &node, const Sums &sums)
{
    Sums sum = sumsOf(node);
    sum.count += sums.count;
    sum.red += sums.red;
    sum.green += sums.green;
    sum.blue += sums.blue;
    sum.alpha += sums.alpha;
    int shift = 0;
    while (sum.count >> shift > MaxPixels)
        ++shift;
    node.pixelCount = static_cast<unsigned>(sum.count >> shift);
    node.redSum = static_cast<unsigned>(sum.red >> shift);
    node.greenSum = static_cast<unsigned>(sum.green >> shift);
    node.blueSum = static_cast<unsigned>(sum.blue >> shift);
    node.alphaSum = static_cast<unsigned>(sum.alpha >> shift);
}

/// The child on the way to a colour: one bit of red, green and blue each.
int childIndex(int r, int g, int b, int bit)
{
    return (r >> bit & 1) << 2 | (g >> bit & 1) << 1 | (b >> bit & 1);
}

unsigned char mean(unsigned sum, unsigned count)
{
    return static_cast<unsigned char>(std::min(sum / count, 255u));
}

} // namespace

/// Where the nodes of a tree live. Nodes that were given back are used again.
class ColorQuantizer::NodePool
{
public:
    OctreeNode *take()
    {
        if (m_free.empty()) {
            m_nodes.emplace_back();
            return &m_nodes.back();
        }
        OctreeNode *node = m_free.back();
        m_free.pop_back();
        *node = OctreeNode();
        return node;
    }
    void give(OctreeNode *node) { m_free.push_back(node); }

private:
    std::deque<OctreeNode> m_nodes;
    std::vector<OctreeNode *> m_free;
};

ColorQuantizer::ColorQuantizer(int maxColors, int maxBits)
    : m_maxColors(qBound(1, maxColors, 256))
    , m_maxBits(qBound(1, maxBits, 8))
    , m_pool(std::make_shared<NodePool>())
{
}

ColorQuantizer::~ColorQuantizer() = default;
ColorQuantizer::ColorQuantizer(const ColorQuantizer &other) = default;
ColorQuantizer &ColorQuantizer::operator=(const ColorQuantizer &other) = default;

/// Only the first pixel of a colour can make nodes; every later one finds a leaf and adds to it.
/// So pixels are counted in a table of recent colours, and what it collected is added to the
/// leaf when the colour gives way to another one.
class ColorQuantizer::RecentColors
{
public:
    explicit RecentColors(ColorQuantizer &quantizer)
        : m_quantizer(quantizer)
        , m_table(1 << Bits)
    {
    }
    ~RecentColors()
    {
        for (Recent &recent : m_table)
            flush(recent);
    }
    Q_DISABLE_COPY(RecentColors)

    /// Counts `run` pixels of one colour.
    void count(QRgb pixel, unsigned run)
    {
        const QRgb color = pixel & 0x00FFFFFF;
        Recent &recent = m_table[(color * 0x9E3779B1u) >> (32 - Bits)];
        if (recent.isUsed && recent.color == color) {
            recent.count += run;
            recent.alphaSum += quint64(run) * (pixel >> 24);
            return;
        }
        flush(recent);
        recent = {color, true, run - 1, quint64(run - 1) * (pixel >> 24)};
        m_quantizer.addPixel(pixel);
    }

private:
    static constexpr int Bits = 12;

    struct Recent {
        QRgb color = 0;
        bool isUsed = false;
        unsigned count = 0; // of what is not added to a leaf yet
        quint64 alphaSum = 0;
    };

    void flush(Recent &recent)
    {
        if (recent.count == 0)
            return;
        const int r = qRed(recent.color);
        const int g = qGreen(recent.color);
        const int b = qBlue(recent.color);
        OctreeNode *node = m_quantizer.m_root;
        for (int bit = 7; !node->isLeaf; --bit)
            node = node->children[childIndex(r, g, b, bit)];
        const quint64 n = recent.count;
        addSums(*node, {n, n * static_cast<quint64>(r), n * static_cast<quint64>(g),
                        n * static_cast<quint64>(b), recent.alphaSum});
    }

    ColorQuantizer &m_quantizer;
    std::vector<Recent> m_table;
};

bool ColorQuantizer::processImage(const QImage &image)
{
    const QImage source = image.convertToFormat(QImage::Format_ARGB32);
    RecentColors recent(*this);
    for (int y = 0; y < source.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(source.constScanLine(y));
        for (int x = 0, run = 1; x < source.width(); x += run) {
            for (run = 1; x + run < source.width() && row[x + run] == row[x];)
                ++run;
            recent.count(row[x], static_cast<unsigned>(run));
        }
    }
    return true;
}

void ColorQuantizer::getColorTable(RGBA (&table)[256])
{
    std::fill(std::begin(table), std::end(table), RGBA());
    int index = 0;
    if (m_root)
        getPaletteColors(m_root, table, index);
}

void ColorQuantizer::addColor(OctreeNode *&node,
                              unsigned char r,
                              unsigned char g,
                              unsigned char b,
                              unsigned char a,
                              int maxBits,
                              int level,
                              int &leafCount,
                              OctreeNode *(&reducible)[8])
{
    OctreeNode **place = &node;
    for (;; ++level) {
        if (!*place) {
            OctreeNode *made = m_pool->take();
            *place = made;
            made->isLeaf = level == maxBits;
            if (made->isLeaf) {
                ++leafCount;
            } else {
                made->next = reducible[level];
                reducible[level] = made;
            }
        }
        if ((*place)->isLeaf)
            break;
        place = &(*place)->children[childIndex(r, g, b, 7 - level)];
    }
    OctreeNode &leaf = **place;
    if (leaf.pixelCount == MaxPixels) {
        addSums(leaf, {1, r, g, b, a});
        return;
    }
    ++leaf.pixelCount;
    leaf.redSum += r;
    leaf.greenSum += g;
    leaf.blueSum += b;
    leaf.alphaSum += a;
}

void ColorQuantizer::addPixel(unsigned int pixel)
{
    const RGBA color = fromQRgb(pixel);
    addColor(m_root, color.r, color.g, color.b, color.a, m_maxBits, 0, m_leafCount, m_reducible);
    while (m_leafCount > m_maxColors)
        reduceTree(m_maxBits, m_leafCount, m_reducible);
}

void ColorQuantizer::reduceTree(int maxBits, int &leafCount, OctreeNode *(&reducible)[8])
{
    int level = maxBits - 1;
    while (level > 0 && !reducible[level])
        --level;
    OctreeNode *node = reducible[level];
    if (!node)
        return;
    reducible[level] = node->next;
    int children = 0;
    for (OctreeNode *&child : node->children) {
        if (!child)
            continue;
        addSums(*node, sumsOf(*child));
        m_pool->give(child);
        child = nullptr;
        ++children;
    }
    node->isLeaf = true;
    leafCount += 1 - children;
}

void ColorQuantizer::getPaletteColors(const OctreeNode *node, RGBA (&table)[256], int &index)
{
    if (node->isLeaf) {
        if (index > 255)
            return;
        const unsigned n = node->pixelCount;
        table[index++] = n == 0 ? RGBA{0, 0, 0, 255}
                                : RGBA{mean(node->redSum, n), mean(node->greenSum, n),
                                       mean(node->blueSum, n), mean(node->alphaSum, n)};
        return;
    }
    for (const OctreeNode *child : node->children) {
        if (child)
            getPaletteColors(child, table, index);
    }
}

} // namespace Kiln
