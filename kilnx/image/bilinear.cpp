#include <kilnx/image/bilinear_p.h>

#include <algorithm>
#include <cmath>

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif

namespace Kiln
{

namespace
{

/// Mixes pairs of pixels whose shares are whole numbers of 256ths. Doubles hold such products and
/// sums exactly, so whole numbers give the same; two channels are multiplied at once.
template<class Pairs>
void mixExactly(const Pairs &pairs, QRgb *target, size_t count)
{
    constexpr quint32 lanes = 0x00FF00FF;
    for (size_t i = 0; i < count; ++i) {
        const quint32 first = pairs.first(i);
        const quint32 second = pairs.second(i);
        const auto share = static_cast<quint32>(pairs.blend(i).share);
        const quint32 rest = 256 - share;
        const quint32 low = (first & lanes) * rest + (second & lanes) * share;
        const quint32 high = (first >> 8 & lanes) * rest + (second >> 8 & lanes) * share;
        target[i] = (low >> 8 & lanes) | (high & ~lanes);
    }
}

#if defined(__x86_64__) && defined(__GNUC__)

[[gnu::target("avx2")]] inline __m256d channels(QRgb pixel)
{
    return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<int>(pixel))));
}

/// The four channels at once, by the operations that single ones take; without fused ones, which
/// would round less.
template<class Pairs>
[[gnu::target("avx2")]] inline __m128i mixedChannels(const Pairs &pairs, size_t i)
{
    const __m256d fraction = _mm256_set1_pd(pairs.blend(i).fraction);
    const __m256d rest = _mm256_sub_pd(_mm256_set1_pd(1), fraction);
    return _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(channels(pairs.first(i)), rest),
                                             _mm256_mul_pd(channels(pairs.second(i)), fraction)));
}

/// Mixes as many pixels as fill whole vectors and returns their number.
template<class Pairs>
[[gnu::target("avx2")]] size_t mixVectors(const Pairs &pairs, QRgb *target, size_t count)
{
    constexpr size_t step = 4;
    size_t i = 0;
    for (; i + step <= count; i += step) {
        const __m128i left = _mm_packus_epi32(mixedChannels(pairs, i), mixedChannels(pairs, i + 1));
        const __m128i right =
            _mm_packus_epi32(mixedChannels(pairs, i + 2), mixedChannels(pairs, i + 3));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(target + i), _mm_packus_epi16(left, right));
    }
    return i;
}

#endif

bool hasVectors()
{
#if defined(__x86_64__) && defined(__GNUC__)
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

/// Mixes pairs of pixels of any shares.
template<class Pairs>
void mix(const Pairs &pairs, QRgb *target, size_t count, bool useVectors)
{
    size_t i = 0;
#if defined(__x86_64__) && defined(__GNUC__)
    if (useVectors)
        i = mixVectors(pairs, target, count);
#else
    Q_UNUSED(useVectors)
#endif
    for (; i < count; ++i) {
        const QRgb first = pairs.first(i);
        const QRgb second = pairs.second(i);
        const double fraction = pairs.blend(i).fraction;
        const double rest = 1 - fraction;
        quint32 mixed = 0;
        for (int shift = 0; shift < 32; shift += 8) {
            const double channel =
                (first >> shift & 0xFF) * rest + (second >> shift & 0xFF) * fraction;
            mixed |= static_cast<quint32>(static_cast<int>(channel)) << shift;
        }
        target[i] = mixed;
    }
}

} // namespace

/// Pixels of one row, each between two columns.
class BilinearScaler::ColumnPairs
{
public:
    ColumnPairs(const QRgb *row, const std::vector<Blend> &columns)
        : m_row(row)
        , m_columns(columns.data())
    {
    }
    QRgb first(size_t i) const { return m_row[m_columns[i].first]; }
    QRgb second(size_t i) const { return m_row[m_columns[i].second]; }
    const Blend &blend(size_t i) const { return m_columns[i]; }

private:
    const QRgb *m_row;
    const Blend *m_columns;
};

/// Pixels of two rows, one below the other.
class BilinearScaler::RowPairs
{
public:
    RowPairs(const QRgb *top, const QRgb *bottom, const Blend &blend)
        : m_top(top)
        , m_bottom(bottom)
        , m_blend(blend)
    {
    }
    QRgb first(size_t i) const { return m_top[i]; }
    QRgb second(size_t i) const { return m_bottom[i]; }
    const Blend &blend(size_t) const { return m_blend; }

private:
    const QRgb *m_top;
    const QRgb *m_bottom;
    Blend m_blend;
};

BilinearScaler::BilinearScaler(const QImage &image,
                               QSize size,
                               const RGBA *palette,
                               bool useVectors)
    : m_image(image)
    , m_useVectors(useVectors && hasVectors())
    , m_columns(blends(image.width(), size.width()))
    , m_rows(blends(image.height(), size.height()))
    , m_exactColumns(std::none_of(m_columns.cbegin(), m_columns.cend(), [](const Blend &column) {
        return column.share == Inexact;
    }))
{
    if (image.format() == QImage::Format_Indexed8) {
        m_source.resize(static_cast<size_t>(image.width()));
        std::transform(palette, palette + 256, m_colors, toQRgb);
    }
    for (Stretched &row : m_kept)
        row.pixels.resize(m_columns.size());
}

std::vector<BilinearScaler::Blend> BilinearScaler::blends(int sourceSize, int targetSize)
{
    const double ratio = static_cast<double>(sourceSize) / targetSize;
    std::vector<Blend> result(static_cast<size_t>(targetSize));
    for (int i = 0; i < targetSize; ++i) {
        const double position = i * ratio;
        const int first = std::min(static_cast<int>(std::floor(position)), sourceSize - 1);
        const int second = first + 1 < sourceSize ? first + 1 : first;
        const double fraction = position - first;
        const double share = fraction * 256;
        const bool isExact = share == std::floor(share) && share <= 256;
        result[static_cast<size_t>(i)] = {first, second, fraction,
                                          isExact ? static_cast<int>(share) : Inexact};
    }
    return result;
}

void BilinearScaler::scale(int y, QRgb *target)
{
    const Blend &blend = m_rows[static_cast<size_t>(y)];
    const QRgb *top = stretched(blend.first, blend.second);
    if (blend.share == 0) {
        std::copy_n(top, m_columns.size(), target);
        return;
    }
    const RowPairs pairs(top, stretched(blend.second, blend.first), blend);
    if (blend.share == Inexact)
        mix(pairs, target, m_columns.size(), m_useVectors);
    else
        mixExactly(pairs, target, m_columns.size());
}

/// A stretched row; that of `keep` is not given up for it.
const QRgb *BilinearScaler::stretched(int row, int keep)
{
    for (const Stretched &kept : m_kept) {
        if (kept.row == row)
            return kept.pixels.data();
    }
    Stretched &slot = m_kept[0].row == keep ? m_kept[1] : m_kept[0];
    slot.row = row;
    const ColumnPairs pairs(sourceRow(row), m_columns);
    if (m_exactColumns)
        mixExactly(pairs, slot.pixels.data(), m_columns.size());
    else
        mix(pairs, slot.pixels.data(), m_columns.size(), m_useVectors);
    return slot.pixels.data();
}

const QRgb *BilinearScaler::sourceRow(int y)
{
    const uchar *row = m_image.constScanLine(y);
    if (m_source.empty())
        return reinterpret_cast<const QRgb *>(row);
    std::transform(row, row + m_source.size(), m_source.begin(),
                   [this](uchar index) { return m_colors[index]; });
    return m_source.data();
}

} // namespace Kiln
