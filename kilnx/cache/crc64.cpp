#include <kilnx/cache/crc64.h>

#include <kilnx/cache/crc64_p.h>

#include <QtCore/qendian.h>

#include <array>
#include <cstddef>

#if defined(__x86_64__) && defined(__GNUC__)
#define KILNX_CRC64_FOLDING
#include <immintrin.h>
#endif

namespace
{

constexpr quint64 polynomial = 0x95AC9329AC4BC9B5;
constexpr quint64 start = ~quint64(0);
constexpr int sliceSize = 16;

using Tables = std::array<std::array<quint64, 256>, sliceSize>;

constexpr quint64 shiftOne(quint64 value)
{
    return (value >> 1) ^ (value & 1 ? polynomial : 0);
}

// Table k holds the checksum of one byte that is followed by k zero bytes.
constexpr Tables makeTables()
{
    Tables tables{};
    for (int i = 0; i < 256; ++i) {
        quint64 value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = shiftOne(value);
        tables[0][i] = value;
    }
    for (int k = 1; k < sliceSize; ++k) {
        for (int i = 0; i < 256; ++i) {
            const quint64 value = tables[k - 1][i];
            tables[k][i] = tables[0][value & 0xFF] ^ (value >> 8);
        }
    }
    return tables;
}

constexpr Tables tables = makeTables();

// Looks the eight bytes of `word` up; `last` is the number of bytes of the slice behind them.
inline quint64 lookUp(quint64 word, int last)
{
    const auto *table = &tables[last];
    return table[7][word & 0xFF] ^ table[6][(word >> 8) & 0xFF] ^ table[5][(word >> 16) & 0xFF] ^
           table[4][(word >> 24) & 0xFF] ^ table[3][(word >> 32) & 0xFF] ^
           table[2][(word >> 40) & 0xFF] ^ table[1][(word >> 48) & 0xFF] ^ table[0][word >> 56];
}

quint64 updateByTables(quint64 crc, const uchar *data, size_t length)
{
    for (; length >= sliceSize; data += sliceSize, length -= sliceSize) {
        const quint64 first = qFromLittleEndian<quint64>(data) ^ crc;
        const quint64 second = qFromLittleEndian<quint64>(data + 8);
        crc = lookUp(first, 8) ^ lookUp(second, 0);
    }
    for (; length > 0; ++data, --length)
        crc = tables[0][(*data ^ crc) & 0xFF] ^ (crc >> 8);
    return crc;
}

#ifdef KILNX_CRC64_FOLDING

// x^n modulo the polynomial, in the reflected form: the highest power in bit 0.
constexpr quint64 powerOfX(int n)
{
    quint64 value = quint64(1) << 63;
    for (int i = 0; i < n; ++i)
        value = shiftOne(value);
    return value;
}

// A register of 128 bits holds its low half times x^64 plus its high half. To stand `bits` further
// on, the halves are multiplied by x^(bits + 64) and x^bits; one power less, because the product of
// two reflected numbers comes out shifted by one.
template<int bits>
[[gnu::target("pclmul,sse4.1")]] inline __m128i fold(__m128i value, __m128i next)
{
    constexpr quint64 lowFactor = powerOfX(bits + 63);
    constexpr quint64 highFactor = powerOfX(bits - 1);
    const __m128i factors =
        _mm_set_epi64x(static_cast<long long>(highFactor), static_cast<long long>(lowFactor));
    const __m128i low = _mm_clmulepi64_si128(value, factors, 0x00);
    const __m128i high = _mm_clmulepi64_si128(value, factors, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

[[gnu::target("pclmul,sse4.1")]] inline __m128i load(const uchar *data)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(data));
}

constexpr size_t foldSize = 64;

// Needs at least `foldSize` bytes.
[[gnu::target("pclmul,sse4.1")]] quint64
updateByFolding(quint64 crc, const uchar *data, size_t length)
{
    __m128i lanes[4];
    for (int i = 0; i < 4; ++i)
        lanes[i] = load(data + 16 * i);
    lanes[0] = _mm_xor_si128(lanes[0], _mm_cvtsi64_si128(static_cast<long long>(crc)));
    data += foldSize;
    length -= foldSize;
    for (; length >= foldSize; data += foldSize, length -= foldSize) {
        for (int i = 0; i < 4; ++i)
            lanes[i] = fold<512>(lanes[i], load(data + 16 * i));
    }
    __m128i sum = lanes[0];
    for (int i = 1; i < 4; ++i)
        sum = fold<128>(sum, lanes[i]);
    for (; length >= 16; data += 16, length -= 16)
        sum = fold<128>(sum, load(data));

    alignas(16) uchar rest[16];
    _mm_store_si128(reinterpret_cast<__m128i *>(rest), sum);
    return updateByTables(updateByTables(0, rest, sizeof(rest)), data, length);
}

bool canFold()
{
    return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
}

#endif

} // namespace

unsigned long long Kiln::crc64ByTables(const void *data, unsigned int length)
{
    return updateByTables(start, static_cast<const uchar *>(data), length);
}

unsigned long long crc64(const void *data, unsigned int length)
{
    const auto *bytes = static_cast<const uchar *>(data);
#ifdef KILNX_CRC64_FOLDING
    if (length >= foldSize && canFold())
        return updateByFolding(start, bytes, length);
#endif
    return updateByTables(start, bytes, length);
}
