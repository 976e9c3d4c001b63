#pragma once

#include <kilnx/image/palette.h>

#include <memory>
#include <vector>

namespace Kiln
{

/// The entries of a palette that can be the best match of a colour, cell by cell of the colour
/// cube, so that a search looks at a handful of the 256. Cells are filled when they are asked for.
///
/// The cost of an entry is scale * d / 255 + weight, d being the squared distance of red, green
/// and blue. An entry stays out of a cell if its least cost there is above the highest cost of
/// another one.
class ColorCells
{
public:
    struct Candidates {
        const unsigned char *begin;
        const unsigned char *end;
    };

    /// `bits` is how many bits of each channel select the cell. `palette` has 256 entries and
    /// outlives this object.
    ColorCells(const RGBA *palette, int scale, std::vector<int> weights, int bits);

    /// The entries to compare for a colour, in rising order.
    Candidates candidates(unsigned r, unsigned g, unsigned b)
    {
        const unsigned cell = ((r >> m_shift) << m_bits | g >> m_shift) << m_bits | b >> m_shift;
        if (m_cells[cell].empty())
            fill(cell);
        const std::vector<unsigned char> &entries = m_cells[cell];
        return {entries.data(), entries.data() + entries.size()};
    }

    int weight(int entry) const { return m_weights[static_cast<size_t>(entry)]; }

private:
    void fill(unsigned cell);
    int cost(int distance, int entry) const;

    const RGBA *m_palette;
    int m_scale;
    std::vector<int> m_weights;
    int m_bits;
    int m_shift;
    std::vector<std::vector<unsigned char>> m_cells;
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
