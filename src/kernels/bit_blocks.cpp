// Blocks of columns in rows of packed bits.
//
// The portable forms take a block at a time from 64-bit windows. With byte permutes and bit gathers (v4), 64 blocks are
// handled at once: one load takes the bytes they lie in, a permute gives each group of eight blocks the eight bytes
// from its first bit on, as a number whose top bit comes first, and from there a shift of its own brings every block to
// the top of a byte, or a bit gather every picked bit to its place in a mask. 64 blocks no more than seven bits apart
// lie in at most 57 bytes, and eight of them in 64 bits whatever bit the first one starts at.
// Picks that skip no bit go 512 at once, in a form of their own.

#include "kernels/bit_words.h"
#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4) || defined(LX_LEVEL_v3)
#include <immintrin.h>
#endif
#if defined(LX_LEVEL_v4)
#include "kernels/bit_stretch_v4.h"
#include "kernels/registers_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

unsigned bitsSet(uint64_t v)
{
#if defined(LX_LEVEL_v4) || defined(LX_LEVEL_v3)
    return static_cast<unsigned>(__builtin_popcountll(v));
#else
    v -= v >> 1 & 0x5555555555555555ULL;
    v = (v & 0x3333333333333333ULL) + (v >> 2 & 0x3333333333333333ULL);
    return static_cast<unsigned>(((v + (v >> 4)) & 0x0F0F0F0F0F0F0F0FULL) * 0x0101010101010101ULL >> 56);
#endif
}

uint64_t loadBig64(const uint8_t* bytes)
{
    return __builtin_bswap64(loadLittle64(bytes));
}

// The same of n < 8 bytes, zeros after them.
uint64_t loadBig(const uint8_t* bytes, size_t n)
{
    uint64_t v = 0;
    for (size_t k = 0; k < n; ++k)
        v |= uint64_t{bytes[k]} << (56 - 8 * k);
    return v;
}

// Set bits from bit `begin` to `end` - 1 of a row of `bytes` bytes.
uint64_t countRange(const uint8_t* row, size_t bytes, size_t begin, size_t end)
{
    uint64_t sum = 0;
    while (begin < end) {
        const size_t byte = begin / 8;
        const uint64_t window = bytes - byte >= 8 ? loadBig64(row + byte) : loadBig(row + byte, bytes - byte);
        const size_t n = end - begin < 64 - begin % 8 ? end - begin : 64 - begin % 8;
        sum += bitsSet(window << begin % 8 >> (64 - n));
        begin += n;
    }
    return sum;
}

size_t lengthOf(const BitBlockTable& table, uint32_t i)
{
    if (i + 1 == table.count)
        return table.lastLength;
    return size_t{table.length} + (table.bias[i] != 0 ? 1 : 0);
}

uint64_t countBlock(const BitBlockTable& table, uint32_t i, const uint8_t* row, ptrdiff_t stride, uint32_t lines)
{
    const size_t begin = size_t{table.phase} + table.starts[i];
    const size_t end = begin + lengthOf(table, i);
    uint64_t sum = 0;
    for (uint32_t j = 0; j < lines; ++j)
        sum += countRange(row + static_cast<ptrdiff_t>(j) * stride, table.bytes, begin, end);
    return sum;
}

void andRows(const uint8_t* row, ptrdiff_t stride, uint32_t lines, uint8_t* LX_RESTRICT destination, size_t bytes)
{
#if defined(LX_LEVEL_v4)
    for (size_t k = 0; k < bytes; k += 64) {
        const __mmask64 mine = lowest(bytes - k);
        const uint8_t* source = row + k;
        __m512i v = _mm512_maskz_loadu_epi8(mine, source);
        for (uint32_t j = 1; j < lines; ++j) {
            source += stride;
            v = _mm512_and_si512(v, _mm512_maskz_loadu_epi8(mine, source));
        }
        _mm512_mask_storeu_epi8(destination + k, mine, v);
    }
#else
    std::memcpy(destination, row, bytes);
    for (uint32_t j = 1; j < lines; ++j) {
        const uint8_t* LX_RESTRICT source = row + static_cast<ptrdiff_t>(j) * stride;
        for (size_t k = 0; k < bytes; ++k)
            destination[k] &= source[k];
    }
#endif
}

#if defined(LX_LEVEL_v4)

// What 64 blocks need, in place of their starts.
struct alignas(64) Gather {
    uint8_t order[64]; // permute of the loaded bytes
    uint8_t shift[64]; // of every block, or of every picked bit in the order of a mask
    uint64_t load;     // bytes that are loaded: those that hold bits of the blocks
    uint32_t base;     // the first of them
    uint8_t unused[108];
};
static_assert(sizeof(Gather) == 64 * sizeof(uint32_t));

const Gather* gathers(const BitBlockTable& table)
{
    return reinterpret_cast<const Gather*>(table.starts);
}

// What is done with the windows of eight bytes: a block comes to the top of the byte of its number, a picked bit goes
// to a mask, in which the first pixel of eight is the highest bit.
struct ForBlocks {
    static constexpr unsigned top = 56;
    static constexpr unsigned turn = 0;
};
struct ForPicks {
    static constexpr unsigned top = 63;
    static constexpr unsigned turn = 7;
};

// `lastLength` is that of the last block of the table.
template <class Use>
void arrange(BitBlockTable& table, size_t lastLength)
{
    for (uint32_t first = 0; first < table.count; first += 64) {
        const uint32_t n = table.count - first < 64 ? table.count - first : 64;
        const uint32_t* starts = table.starts + first;
        Gather gather;
        std::memset(&gather, 0, sizeof gather);
        gather.base = (starts[0] + table.phase) / 8;
        const bool last = first + n == table.count;
        const size_t end = starts[n - 1] + table.phase + (last ? lastLength : lengthOf(table, first + n - 1));
        gather.load = ~0ULL >> (63 - ((end - 1) / 8 - gather.base));
        for (uint32_t k = 0; k < n; k += 8) {
            const uint32_t byte = (starts[k] + table.phase) / 8;
            const uint64_t order = 0x0001020304050607 + (byte - gather.base) * 0x0101010101010101ULL;
            std::memcpy(gather.order + k, &order, sizeof order);
            const uint32_t place = Use::top + 8 * byte - table.phase;
            for (uint32_t b = 0; b < 8; ++b)
                gather.shift[k + (b ^ Use::turn)] = static_cast<uint8_t>(place - starts[k + b]);
        }
        std::memcpy(table.starts + first, &gather, sizeof gather);
    }
    table.gathered = true;
}

void arrangeBlocks(BitBlockTable& table)
{
    arrange<ForBlocks>(table, table.lastLength);
}

void arrangePicks(BitBlockTable& table)
{
    table.stretched = howToStretch(table);
    if (table.stretched == StretchedPicks::none)
        return arrange<ForPicks>(table, 1);
    makeStretches(table);
}

// The bytes of 64 blocks, each group of eight from its first bit on.
__m512i gatherBytes(const Gather& gather, __m512i order, const uint8_t* row)
{
    return _mm512_permutexvar_epi8(order, _mm512_maskz_loadu_epi8(gather.load, row + gather.base));
}

// The top bits of a byte.
__m512i topBits(uint32_t length)
{
    return _mm512_set1_epi8(static_cast<char>(0xFF00U >> length));
}

// The bias and the set bits of blocks `first` to `first` + 63 in every byte.
__m512i sumGathered(const BitBlockTable& table, uint32_t first, const uint8_t* row, ptrdiff_t stride, uint32_t lines)
{
    const Gather& gather = gathers(table)[first / 64];
    const __m512i order = _mm512_load_si512(gather.order);
    const __m512i shift = _mm512_load_si512(gather.shift);
    __m512i sum = _mm512_load_si512(table.bias + first);
    __m512i mask = _mm512_mask_blend_epi8(_mm512_movepi8_mask(sum), topBits(table.length), topBits(table.length + 1));
    if (table.count - first <= 64)
        mask = _mm512_mask_blend_epi8(1ULL << (table.count - first - 1), mask, topBits(table.lastLength));
    for (uint32_t j = 0; j < lines; ++j) {
        const __m512i bytes = gatherBytes(gather, order, row + static_cast<ptrdiff_t>(j) * stride);
        const __m512i blocks = _mm512_and_si512(_mm512_multishift_epi64_epi8(shift, bytes), mask);
        sum = _mm512_add_epi8(sum, _mm512_popcnt_epi8(blocks));
    }
    return sum;
}

void countGathered(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines, uint8_t* counts)
{
    for (uint32_t first = 0; first < table.count; first += 64) {
        const uint32_t n = table.count - first;
        const __m512i sum = sumGathered(table, first, row, stride, lines);
        _mm512_mask_storeu_epi8(counts + first, ~0ULL >> (n < 64 ? 64 - n : 0), sum);
    }
}

void flagGathered(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
                  const LeastBits& least, uint8_t* destination)
{
    const auto bytes = [](unsigned value) { return _mm512_set1_epi8(static_cast<char>(value)); };
    const __m512i inShort = bytes(least.inShort);
    const __m512i inLong = bytes(BitBlockTable::longBias + least.inLong);
    // Turns the bytes of each group of eight round, for the first pixel is the highest bit.
    const __m512i order = _mm512_set4_epi32(0x08090A0B, 0x0C0D0E0F, 0x00010203, 0x04050607);
    for (uint32_t first = 0; first < table.count; first += 64) {
        const __m512i sum = sumGathered(table, first, row, stride, lines);
        const __mmask64 longer = _mm512_movepi8_mask(sum);
        __m512i limit = _mm512_mask_blend_epi8(longer, inShort, inLong);
        if (const uint32_t n = table.count - first; n <= 64)
            limit = _mm512_mask_blend_epi8(1ULL << (n - 1), limit, bytes(table.bias[table.count - 1] + least.inLast));
        const uint64_t bits =
            _mm512_cmpge_epu8_mask(_mm512_shuffle_epi8(sum, order), _mm512_shuffle_epi8(limit, order));
        std::memcpy(destination + first / 8, &bits, sizeof bits);
    }
}

constexpr uint32_t windowLimit = 57; // longest block that lies in eight bytes, whatever bit it starts at

// Eight blocks in the lanes of a register: 64 bytes hold them all.
void countEight(const BitBlockTable& table, uint32_t first, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
                uint64_t* counts)
{
    const auto lanes = [](uint64_t value) { return _mm512_set1_epi64(static_cast<int64_t>(value)); };
    const auto topOf = [](size_t length) { return ~(~0ULL >> length); };
    const __m256i starts = _mm256_load_si256(reinterpret_cast<const __m256i*>(table.starts + first));
    const __m512i start = _mm512_add_epi64(_mm512_cvtepu32_epi64(starts), lanes(table.phase));
    const auto longer = static_cast<__mmask8>(loadLittle64(table.bias + first) * 0x0002040810204081ULL >> 56);
    __m512i mask = _mm512_mask_blend_epi64(longer, lanes(topOf(table.length)), lanes(topOf(size_t{table.length} + 1)));
    if (table.count - first == 8)
        mask = _mm512_mask_blend_epi64(0x80, mask, lanes(topOf(table.lastLength)));
    const size_t base = (size_t{table.phase} + table.starts[first]) / 8;
    const size_t end = table.phase + table.starts[first + 7] + lengthOf(table, first + 7);
    const __mmask64 load = ~0ULL >> (63 - ((end - 1) / 8 - base));
    const __m512i byte = _mm512_sub_epi64(_mm512_srli_epi64(start, 3), lanes(base));
    const __m512i shift = _mm512_and_si512(start, lanes(7));
    // The lowest byte of every lane in all of its bytes, and the bytes from there on the highest first.
    const __m512i spread = _mm512_set4_epi64(0x0808080808080808, 0, 0x0808080808080808, 0);
    const __m512i order = _mm512_add_epi8(_mm512_shuffle_epi8(byte, spread), _mm512_set1_epi64(0x0001020304050607));
    __m512i sum = _mm512_setzero_si512();
    for (uint32_t j = 0; j < lines; ++j) {
        const __m512i bytes = _mm512_maskz_loadu_epi8(load, row + base + static_cast<ptrdiff_t>(j) * stride);
        const __m512i windows = _mm512_sllv_epi64(_mm512_permutexvar_epi8(order, bytes), shift);
        sum = _mm512_add_epi64(sum, _mm512_popcnt_epi64(_mm512_and_si512(windows, mask)));
    }
    _mm512_storeu_si512(counts, sum);
}

uint64_t pick64(const Gather& gather, const uint8_t* row)
{
    const __m512i bytes = gatherBytes(gather, _mm512_load_si512(gather.order), row);
    return _mm512_bitshuffle_epi64_mask(bytes, _mm512_load_si512(gather.shift));
}

void pickGathered(const BitBlockTable& table, const uint8_t* row, uint8_t* destination)
{
    const Gather* gather = gathers(table);
    const Gather* const end = gather + table.count / 64;
    for (; gather != end; ++gather, destination += 8) {
        const uint64_t bits = pick64(*gather, row);
        std::memcpy(destination, &bits, sizeof bits);
    }
    if (const uint32_t n = table.count % 64; n != 0) {
        const uint64_t bits = pick64(*gather, row);
        std::memcpy(destination, &bits, (n + 7) / 8);
    }
}

#else

void arrangeBlocks(BitBlockTable&) {}

void arrangePicks(BitBlockTable&) {}

#endif

void countInBytes(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
                  uint8_t* LX_RESTRICT counts)
{
#if defined(LX_LEVEL_v4)
    if (table.gathered) {
        countGathered(table, row, stride, lines, counts);
        return;
    }
#endif
    for (uint32_t i = 0; i < table.count; ++i)
        counts[i] = static_cast<uint8_t>(table.bias[i] + countBlock(table, i, row, stride, lines));
}

void count(const BitBlockTable& table, uint32_t first, uint32_t n, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
           uint64_t* LX_RESTRICT counts)
{
    uint32_t i = 0;
#if defined(LX_LEVEL_v4)
    for (; table.length < windowLimit && i + 8 <= n; i += 8)
        countEight(table, first + i, row, stride, lines, counts + i);
#endif
    for (; i < n; ++i)
        counts[i] = countBlock(table, first + i, row, stride, lines);
}

void storeBig64(uint64_t bits, uint8_t* destination)
{
    for (unsigned b = 0; b < 8; ++b)
        destination[b] = static_cast<uint8_t>(bits >> (56 - 8 * b));
}

void flag(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines, const LeastBits& least,
          uint8_t* LX_RESTRICT destination)
{
#if defined(LX_LEVEL_v4)
    if (table.gathered) {
        flagGathered(table, row, stride, lines, least, destination);
        return;
    }
#endif
    for (uint32_t first = 0; first < table.count; first += 64) {
        uint64_t bits = 0;
        for (uint32_t k = 0; k < 64 && first + k < table.count; ++k) {
            const uint32_t i = first + k;
            const unsigned limit = i + 1 == table.count ? least.inLast
                                   : table.bias[i] != 0 ? least.inLong
                                                        : least.inShort;
            bits |= uint64_t{countBlock(table, i, row, stride, lines) >= limit} << (63 - k);
        }
        storeBig64(bits, destination + first / 8);
    }
}

void pick(const BitBlockTable& table, const uint8_t* row, uint8_t* LX_RESTRICT destination)
{
#if defined(LX_LEVEL_v4)
    if (table.stretched != StretchedPicks::none)
        return pickStretched(table, row, destination);
    if (table.gathered)
        return pickGathered(table, row, destination);
#endif
    for (uint32_t first = 0; first < table.count; first += 8) {
        unsigned bits = 0;
        for (uint32_t k = 0; k < 8 && first + k < table.count; ++k) {
            const size_t start = size_t{table.phase} + table.starts[first + k];
            bits |= (row[start / 8] >> (7 - start % 8) & 1U) << (7 - k);
        }
        destination[first / 8] = static_cast<uint8_t>(bits);
    }
}

void pickRuns(const BitBlockTable& table, const RowRuns& rows)
{
#if defined(LX_LEVEL_v4)
    if (table.stretched != StretchedPicks::none)
        return pickRunsStretched(table, rows);
#endif
    const uint32_t bytes = table.count / 8;
    const unsigned others = 0xFFU >> table.count % 8;
    forEachRun(rows, [&](const uint8_t* source, uint8_t* destination, uint32_t length) {
        if (length == 0)
            return;
        const uint8_t old = others != 0xFF ? destination[bytes] : uint8_t{0};
        pick(table, source, destination);
        const uint8_t last = others != 0xFF ? destination[bytes] : uint8_t{0};
        const auto finish = [=](uint8_t* row, unsigned oldLast) {
            if (others != 0xFF)
                row[bytes] = static_cast<uint8_t>((oldLast & others) | (last & ~others));
        };
        finish(destination, old);
        for (uint32_t t = 1; t < length; ++t) {
            uint8_t* const row = destination + static_cast<ptrdiff_t>(t) * rows.step;
            std::memcpy(row, destination, bytes);
            finish(row, others != 0xFF ? row[bytes] : 0);
        }
    });
}

} // namespace

constexpr BitBlockKernels bitBlockKernels = {
    arrangeBlocks, countInBytes, flag, count, arrangePicks, pick, pickRuns, andRows,
};

} // namespace lx::LX_LEVEL
