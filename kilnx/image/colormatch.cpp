#include <kilnx/image/colormatch_p.h>

#include <algorithm>
#include <climits>
#include <utility>

namespace Kiln
{

namespace
{

/// Opaque pixels are most of any picture and get finer cells.
constexpr int OpaqueBits = 5;
constexpr int TranslucentBits = 3;

int squared(int value)
{
    return value * value;
}

/// The squared distances of the nearest and the farthest value of low..high.
std::pair<int, int> distanceRange(int value, int low, int high)
{
    const int nearest = std::max({low - value, value - high, 0});
    const int farthest = std::max(value - low, high - value);
    return {squared(nearest), squared(farthest)};
}

ColorCells makeCells(const RGBA *palette, int alpha)
{
    int weights[256];
    for (int i = 0; i < 256; ++i)
        weights[i] = squared(alpha - palette[i].a);
    return ColorCells(palette, alpha, weights, alpha == 255 ? OpaqueBits : TranslucentBits);
}

/// The index of the lowest cost; the lowest index among equals. Costs stay below 2^23.
template<class Cost>
unsigned char cheapest(ColorCells::Candidates candidates, Cost &&cost)
{
    unsigned best = UINT_MAX;
    for (const ColorCells::Candidate &candidate : candidates)
        best = std::min(best, static_cast<unsigned>(cost(candidate)) << 8 | candidate.index);
    return static_cast<unsigned char>(best);
}

} // namespace

ColorCells::ColorCells(const RGBA *palette, int scale, const int *weights, int bits)
    : m_scale(scale)
    , m_bits(bits)
    , m_shift(8 - bits)
    , m_small(size_t(1) << (3 * bits))
    , m_large(size_t(1) << (3 * LargeBits))
{
    for (int i = 0; i < 256; ++i) {
        const RGBA c = palette[i];
        m_entries.push_back({c.r, c.g, c.b, static_cast<unsigned char>(i), weights[i]});
    }
}

void ColorCells::fillSmall(int cell)
{
    const int mask = (1 << m_bits) - 1;
    const int r = (cell >> (2 * m_bits)) << m_shift;
    const int g = (cell >> m_bits & mask) << m_shift;
    const int b = (cell & mask) << m_shift;

    constexpr int largeShift = 8 - LargeBits;
    const int around =
        ((r >> largeShift) << LargeBits | g >> largeShift) << LargeBits | b >> largeShift;
    Range &large = m_large[static_cast<size_t>(around)];
    if (large.count == 0) {
        const auto start = [](int value) { return value >> largeShift << largeShift; };
        large = fill({0, 256}, start(r), start(g), start(b), 1 << largeShift);
    }
    m_small[static_cast<size_t>(cell)] = fill(large, r, g, b, 1 << m_shift);
}

/// Takes over the entries of `from` that can win in a cube of `size` from (r, g, b) on; all of
/// them if few would go, which bounds the memory that close colours take.
ColorCells::Range ColorCells::fill(Range from, int r, int g, int b, int size)
{
    int least[256];
    int bound = INT_MAX;
    for (unsigned i = 0; i < from.count; ++i) {
        const Candidate entry = m_entries[from.first + i];
        const auto red = distanceRange(entry.r, r, r + size - 1);
        const auto green = distanceRange(entry.g, g, g + size - 1);
        const auto blue = distanceRange(entry.b, b, b + size - 1);
        least[i] = cost(red.first + green.first + blue.first, entry.weight);
        bound = std::min(bound, cost(red.second + green.second + blue.second, entry.weight));
    }
    const auto winners =
        std::count_if(least, least + from.count, [bound](int cost) { return cost <= bound; });
    if (static_cast<unsigned>(winners) > from.count / 2)
        return from;
    const Range made = {static_cast<unsigned>(m_entries.size()), static_cast<unsigned>(winners)};
    for (unsigned i = 0; i < from.count; ++i) {
        if (least[i] <= bound)
            m_entries.push_back(Candidate(m_entries[from.first + i]));
    }
    return made;
}

PaletteMatcher::PaletteMatcher(const RGBA *palette)
    : m_palette(palette)
{
}

PaletteMatcher::~PaletteMatcher() = default;

unsigned char PaletteMatcher::search(QRgb color)
{
    const int alpha = qAlpha(color);
    const int r = qRed(color);
    const int g = qGreen(color);
    const int b = qBlue(color);
    std::unique_ptr<ColorCells> &cells = m_cells[alpha];
    if (!cells)
        cells = std::make_unique<ColorCells>(makeCells(m_palette, alpha));
    const ColorCells::Candidates candidates = cells->candidates(r, g, b);
    using Candidate = ColorCells::Candidate;
    if (alpha == 255) {
        return cheapest(candidates, [=](const Candidate &candidate) {
            return candidate.squaredDistance(r, g, b) + candidate.weight;
        });
    }
    return cheapest(candidates, [=](const Candidate &candidate) {
        return alpha * candidate.squaredDistance(r, g, b) / 255 + candidate.weight;
    });
}

NearestIndex::NearestIndex(const RGBA *palette)
    : m_palette(palette)
    , m_cells(palette, 255, std::vector<int>(256).data(), OpaqueBits)
{
}

unsigned char NearestIndex::search(QRgb color)
{
    int bestDistance = INT_MAX;
    int bestAlpha = 0;
    unsigned char best = 0;
    const int r = qRed(color);
    const int g = qGreen(color);
    const int b = qBlue(color);
    for (const ColorCells::Candidate &candidate : m_cells.candidates(r, g, b)) {
        const int distance = candidate.squaredDistance(r, g, b);
        const int alpha = m_palette[candidate.index].a - qAlpha(color);
        if (distance < bestDistance || (distance == bestDistance && alpha < bestAlpha)) {
            bestDistance = distance;
            // The rule of PaletteObject::index(): a negative difference counts as a large one.
            bestAlpha = static_cast<unsigned char>(alpha);
            best = candidate.index;
        }
    }
    return best;
}

} // namespace Kiln
