#include <kilnx/image/colormatch_p.h>

#include <algorithm>
#include <climits>
#include <utility>

namespace Kiln
{

namespace
{

/// Opaque pixels are most of any picture and get finer cells.
constexpr int OpaqueBits = 4;
constexpr int TranslucentBits = 3;

int squared(int value)
{
    return value * value;
}

int squaredDistance(RGBA entry, QRgb color)
{
    return squared(entry.r - qRed(color)) + squared(entry.g - qGreen(color)) +
           squared(entry.b - qBlue(color));
}

/// The squared distances of the nearest and the farthest value of low..high.
std::pair<int, int> distanceRange(int value, int low, int high)
{
    const int nearest = std::max({low - value, value - high, 0});
    const int farthest = std::max(value - low, high - value);
    return {squared(nearest), squared(farthest)};
}

std::vector<int> alphaWeights(const RGBA *palette, int alpha)
{
    std::vector<int> weights(256);
    for (size_t i = 0; i < 256; ++i)
        weights[i] = squared(alpha - palette[i].a);
    return weights;
}

} // namespace

ColorCells::ColorCells(const RGBA *palette, int scale, std::vector<int> weights, int bits)
    : m_palette(palette)
    , m_scale(scale)
    , m_weights(std::move(weights))
    , m_bits(bits)
    , m_shift(8 - bits)
    , m_cells(size_t(1) << (3 * bits))
{
}

int ColorCells::cost(int distance, int entry) const
{
    return m_scale * distance / 255 + weight(entry);
}

void ColorCells::fill(unsigned cell)
{
    const unsigned mask = (1u << m_bits) - 1;
    const auto low = [this, mask](unsigned part) {
        return static_cast<int>((part & mask) << m_shift);
    };
    const int size = (1 << m_shift) - 1;
    const int r = low(cell >> (2 * m_bits));
    const int g = low(cell >> m_bits);
    const int b = low(cell);

    int least[256];
    int bound = INT_MAX;
    for (int i = 0; i < 256; ++i) {
        const auto red = distanceRange(m_palette[i].r, r, r + size);
        const auto green = distanceRange(m_palette[i].g, g, g + size);
        const auto blue = distanceRange(m_palette[i].b, b, b + size);
        least[i] = cost(red.first + green.first + blue.first, i);
        bound = std::min(bound, cost(red.second + green.second + blue.second, i));
    }
    std::vector<unsigned char> &entries = m_cells[cell];
    for (int i = 0; i < 256; ++i) {
        if (least[i] <= bound)
            entries.push_back(static_cast<unsigned char>(i));
    }
}

PaletteMatcher::PaletteMatcher(const RGBA *palette)
    : m_palette(palette)
{
}

PaletteMatcher::~PaletteMatcher() = default;

unsigned char PaletteMatcher::search(QRgb color)
{
    const int alpha = qAlpha(color);
    std::unique_ptr<ColorCells> &cells = m_cells[alpha];
    if (!cells)
        cells = std::make_unique<ColorCells>(m_palette, alpha, alphaWeights(m_palette, alpha),
                                             alpha == 255 ? OpaqueBits : TranslucentBits);
    int bestCost = INT_MAX;
    unsigned char best = 0;
    const auto candidates =
        cells->candidates(static_cast<unsigned>(qRed(color)), static_cast<unsigned>(qGreen(color)),
                          static_cast<unsigned>(qBlue(color)));
    for (const unsigned char *i = candidates.begin; i != candidates.end; ++i) {
        const int cost = alpha * squaredDistance(m_palette[*i], color) / 255 + cells->weight(*i);
        if (cost < bestCost) {
            bestCost = cost;
            best = *i;
        }
    }
    return best;
}

NearestIndex::NearestIndex(const RGBA *palette)
    : m_palette(palette)
    , m_cells(palette, 255, std::vector<int>(256), OpaqueBits)
{
}

unsigned char NearestIndex::search(QRgb color)
{
    int bestDistance = INT_MAX;
    int bestAlpha = 0;
    unsigned char best = 0;
    const auto candidates =
        m_cells.candidates(static_cast<unsigned>(qRed(color)), static_cast<unsigned>(qGreen(color)),
                           static_cast<unsigned>(qBlue(color)));
    for (const unsigned char *i = candidates.begin; i != candidates.end; ++i) {
        const int distance = squaredDistance(m_palette[*i], color);
        const int alpha = m_palette[*i].a - qAlpha(color);
        if (distance < bestDistance || (distance == bestDistance && alpha < bestAlpha)) {
            bestDistance = distance;
            // The rule of PaletteObject::index(): a negative difference counts as a large one.
            bestAlpha = static_cast<unsigned char>(alpha);
            best = *i;
        }
    }
    return best;
}

} // namespace Kiln
