#pragma once

#include <kilnx/image/palette.h>

#include <memory>
#include <vector>

namespace Kiln
{

/// The entries of a palette that can be the best match of a colour, cell by cell of the colour
/// cube, so that a search looks at a handful of the 256. Cells are filled when they are asked
/// for, small ones out of the large ones around them.
///
/// The cost of an entry is scale * d / 255 + weight, d being the squared distance of red, green
/// and blue. An entry stays out of a cell if its least cost there is above the highest cost of
/// another one.
class ColorCells
{
public:
    struct Candidate {
        unsigned char r;
        unsigned char g;
        unsigned char b;
        unsigned char index;
        int weight;

        int squaredDistance(int red, int green, int blue) const
        {
            return (r - red) * (r - red) + (g - green) * (g - green) + (b - blue) * (b - blue);
        }
    };
    struct Candidates {
        const Candidate *first;
        const Candidate *last;
        const Candidate *begin() const { return first; }
        const Candidate *end() const { return last; }
    };

    /// `palette` and `weights` have 256 entries. `bits` of each channel select a small cell.
    ColorCells(const RGBA *palette, int scale, const int *weights, int bits);

    /// The entries to compare for a colour, by rising index.
    Candidates candidates(int r, int g, int b)
    {
        const int cell = ((r >> m_shift) << m_bits | g >> m_shift) << m_bits | b >> m_shift;
        if (m_small[static_cast<size_t>(cell)].count == 0)
            fillSmall(cell);
        const Range range = m_small[static_cast<size_t>(cell)];
        const Candidate *first = m_entries.data() + range.first;
        return {first, first + range.count};
    }

private:
    static constexpr int LargeBits = 3;

    struct Range {
        unsigned first = 0;
        unsigned count = 0; // 0: not filled
    };

    void fillSmall(int cell);
    Range fill(Range from, int r, int g, int b, int size);
    int cost(int distance, int weight) const { return m_scale * distance / 255 + weight; }

    int m_scale;
    int m_bits;
    int m_shift;
    std::vector<Candidate> m_entries; // the whole palette, then the lists of the cells
    std::vector<Range> m_small;
    std::vector<Range> m_large;
};

/// Answers of a search by colour, for as long as nothing else needs their place.
class ColorCache
{
public:
    ColorCache()
        : m_slots(1 << Bits)
    {
    }

    /// The remembered answer for `color`, or what `search` says, which is remembered.
    template<class Search>
    unsigned char find(QRgb color, Search &&search)
    {
        Slot &slot = m_slots[(color * 0x9E3779B1u) >> (32 - Bits)];
        if (!slot.isUsed || slot.color != color)
            slot = {color, search(color), true};
        return slot.index;
    }

private:
    static constexpr int Bits = 12;
    struct Slot {
        QRgb color = 0;
        unsigned char index = 0;
        bool isUsed = false;
    };
    std::vector<Slot> m_slots;
};

/// Finds the entry that adaptImageToPalette() gives a pixel.
class PaletteMatcher
{
public:
    /// 256 entries, with the alpha that the result will have. It must outlive this object.
    explicit PaletteMatcher(const RGBA *palette);
    ~PaletteMatcher();

    /// `color` has its alpha in the top byte.
    unsigned char match(QRgb color)
    {
        return m_cache.find(color, [this](QRgb c) { return search(c); });
    }

private:
    unsigned char search(QRgb color);

    const RGBA *m_palette;
    std::unique_ptr<ColorCells> m_cells[256]; // one for each alpha of a pixel
    ColorCache m_cache;
};

/// Finds the entry that PaletteObject::index() names.
class NearestIndex
{
public:
    /// 256 entries, which must outlive this object.
    explicit NearestIndex(const RGBA *palette);

    unsigned char index(QRgb color)
    {
        return m_cache.find(color, [this](QRgb c) { return search(c); });
    }

private:
    unsigned char search(QRgb color);

    const RGBA *m_palette;
    ColorCells m_cells;
    ColorCache m_cache;
};

} // namespace Kiln
