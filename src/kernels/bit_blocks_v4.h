// Blocks of columns in rows of packed bits, many at once at the level v4.
//
// With byte permutes and bit gathers 64 blocks are handled at once: one load takes the bytes they lie in, a permute
// gives each group of eight blocks the eight bytes from its first bit on, as a number whose top bit comes first, and
// from there a shift of its own brings every block to the top of a byte, or a bit gather every picked bit to its place
// in a mask. 64 blocks no more than seven bits apart lie in at most 57 bytes, and eight of them in 64 bits whatever bit
// the first one starts at. Longer blocks go 32 at once in words, or eight at once in lanes.

#pragma once

#include "kernels/bit_counts.h"
#include "kernels/bit_stretch_v4.h"
#include "kernels/registers_v4.h"

#include <cstring>

namespace lx::LX_LEVEL
{

namespace
{

// What 64 blocks need, in place of their starts.
struct alignas(64) Gather {
    uint8_t order[64]; // permute of the loaded bytes
    uint8_t shift[64]; // of every block, or of every picked bit in the order of a mask
    uint64_t load;     // bytes that are loaded: those that hold bits of the blocks
    uint32_t base;     // the first of them
    uint8_t unused[108];
};
static_assert(sizeof(Gather) == 64 * sizeof(uint32_t));

// As a mask, the bytes from byte `base` to that of bit `end` - 1: at most 64.
inline __mmask64 bytesUpTo(size_t end, size_t base)
{
    return ~0ULL >> (63 - ((end - 1) / 8 - base));
}

inline const Gather* gathers(const BitBlockTable& table)
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
inline void arrange(BitBlockTable& table, size_t lastLength)
{
    for (uint32_t first = 0; first < table.count; first += 64) {
        const uint32_t n = table.count - first < 64 ? table.count - first : 64;
        const uint32_t* starts = table.starts + first;
        Gather gather;
        std::memset(&gather, 0, sizeof gather);
        gather.base = (starts[0] + table.phase) / 8;
        const bool last = first + n == table.count;
        const size_t end = starts[n - 1] + table.phase + (last ? lastLength : lengthOf(table, first + n - 1));
        gather.load = bytesUpTo(end, gather.base);
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

inline void arrangeBlocks(BitBlockTable& table)
{
    arrange<ForBlocks>(table, table.lastLength);
}

inline void arrangePicks(BitBlockTable& table)
{
    table.stretched = howToStretch(table);
    if (table.stretched == StretchedPicks::none)
        return arrange<ForPicks>(table, 1);
    makeStretches(table);
}

// The bytes of 64 blocks, each group of eight from its first bit on.
inline __m512i gatherBytes(const Gather& gather, __m512i order, const uint8_t* row)
{
    return _mm512_permutexvar_epi8(order, _mm512_maskz_loadu_epi8(gather.load, row + gather.base));
}

// The top bits of a byte.
inline __m512i topBits(uint32_t length)
{
    return _mm512_set1_epi8(static_cast<char>(0xFF00U >> length));
}

// The bias and the set bits of blocks `first` to `first` + 63 in every byte.
inline __m512i sumGathered(const BitBlockTable& table, uint32_t first, const uint8_t* row, ptrdiff_t stride,
                           uint32_t lines)
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

inline void countGathered(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
                          uint8_t* counts)
{
    for (uint32_t first = 0; first < table.count; first += 64) {
        const uint32_t n = table.count - first;
        const __m512i sum = sumGathered(table, first, row, stride, lines);
        _mm512_mask_storeu_epi8(counts + first, ~0ULL >> (n < 64 ? 64 - n : 0), sum);
    }
}

// Turns each group of eight blocks round, for the first pixel of a byte is its highest bit.
inline __m512i bytesAsPixels(__m512i bytes)
{
    return _mm512_shuffle_epi8(bytes, _mm512_set4_epi32(0x08090A0B, 0x0C0D0E0F, 0x00010203, 0x04050607));
}

inline __m512i wordsAsPixels(__m512i words)
{
    return _mm512_shuffle_epi8(words, _mm512_set4_epi32(0x01000302, 0x05040706, 0x09080B0A, 0x0D0C0F0E));
}

inline void flagGathered(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
                         const LeastBits& least, uint8_t* destination)
{
    const auto bytes = [](uint64_t value) { return _mm512_set1_epi8(static_cast<char>(value)); };
    const __m512i inShort = bytes(least.inShort);
    const __m512i inLong = bytes(BitBlockTable::longBias + least.inLong);
    for (uint32_t first = 0; first < table.count; first += 64) {
        const __m512i sum = sumGathered(table, first, row, stride, lines);
        const __mmask64 longer = _mm512_movepi8_mask(sum);
        __m512i limit = _mm512_mask_blend_epi8(longer, inShort, inLong);
        if (const uint32_t n = table.count - first; n <= 64)
            limit = _mm512_mask_blend_epi8(1ULL << (n - 1), limit, bytes(table.bias[table.count - 1] + least.inLast));
        const uint64_t bits = _mm512_cmpge_epu8_mask(bytesAsPixels(sum), bytesAsPixels(limit));
        std::memcpy(destination + first / 8, &bits, sizeof bits);
    }
}

// The lowest byte of every lane in all of its bytes.
inline __m512i lowestByte(__m512i lanes)
{
    return _mm512_shuffle_epi8(lanes, _mm512_set4_epi64(0x0808080808080808, 0, 0x0808080808080808, 0));
}

// From such bytes, the permute that takes the eight bytes from there on, the highest first.
inline __m512i eightFrom(__m512i byte)
{
    return _mm512_add_epi8(byte, _mm512_set1_epi64(0x0001020304050607));
}

// Shorter blocks go 32 at once, each in a word: four of them lie in eight bytes, whatever bit the first one starts at.
constexpr uint32_t wordLimit = 14;                // longest of them
constexpr uint32_t wordLines = 65535 / wordLimit; // whose bits may be counted in a word

inline bool fitsWords(const BitBlockTable& table, uint32_t lines)
{
    return table.length < wordLimit && lines <= wordLines;
}

// What blocks `first` to `first` + 31 of a table have, in words; those after the table's last one have nothing.
struct WordBlocks {
    uint32_t count;
    __mmask32 longer;
    __mmask32 last; // the last one of the table

    WordBlocks(const BitBlockTable& table, uint32_t first)
        : count(table.count - first < 32 ? table.count - first : 32),
          longer(_mm256_movepi8_mask(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(table.bias + first)))),
          last(table.count - first <= 32 ? 1U << (count - 1) : 0)
    {
    }

    __m512i choose(uint64_t inShort, uint64_t inLong, uint64_t inLast) const
    {
        const auto words = [](uint64_t value) { return _mm512_set1_epi16(static_cast<int16_t>(value)); };
        return _mm512_mask_blend_epi16(last, _mm512_mask_blend_epi16(longer, words(inShort), words(inLong)),
                                       words(inLast));
    }
};

// The set bits of the blocks.
inline __m512i sumWords(const BitBlockTable& table, uint32_t first, const WordBlocks& blocks, const uint8_t* row,
                        ptrdiff_t stride, uint32_t lines)
{
    const uint32_t base = (table.starts[first] + table.phase) / 8;
    // Bits of the blocks from that byte on, at most 512.
    const __m512i origin = _mm512_set1_epi32(static_cast<int>(8 * base - table.phase));
    const auto startsOf = [&](uint32_t i) {
        return _mm512_maskz_cvtepi32_epi16(0xFFFF, _mm512_sub_epi32(_mm512_loadu_si512(table.starts + i), origin));
    };
    const __m512i start = _mm512_inserti64x4(_mm512_castsi256_si512(startsOf(first)), startsOf(first + 16), 1);
    const uint32_t end = table.starts[first + blocks.count - 1] + table.phase +
                         static_cast<uint32_t>(lengthOf(table, first + blocks.count - 1));
    const __mmask64 load = bytesUpTo(end, base);
    const __m512i byte = lowestByte(_mm512_srli_epi16(start, 3)); // of every fourth block
    const __m512i order = eightFrom(byte);
    // Each block comes to the top of its word, of which 48 - bit and 56 - bit are the bytes.
    const __m512i bit = _mm512_sub_epi16(start, _mm512_slli_epi16(_mm512_and_si512(byte, _mm512_set1_epi16(0xFF)), 3));
    const __m512i shift =
        _mm512_sub_epi8(_mm512_set1_epi16(56 << 8 | 48), _mm512_mullo_epi16(bit, _mm512_set1_epi16(0x0101)));
    const auto topOf = [](uint32_t length) { return 0xFFFF0000U >> length; };
    const __m512i mask = blocks.choose(topOf(table.length), topOf(table.length + 1), topOf(table.lastLength));
    __m512i sum = _mm512_setzero_si512();
    for (uint32_t j = 0; j < lines; ++j) {
        const __m512i bytes = _mm512_maskz_loadu_epi8(load, row + base + static_cast<ptrdiff_t>(j) * stride);
        const __m512i words = _mm512_multishift_epi64_epi8(shift, permuteBytes(order, bytes));
        sum = _mm512_add_epi16(sum, _mm512_popcnt_epi16(_mm512_and_si512(words, mask)));
    }
    return sum;
}

inline void countWords(const BitBlockTable& table, uint32_t first, uint32_t n, const uint8_t* row, ptrdiff_t stride,
                       uint32_t lines, uint64_t* counts)
{
    for (uint32_t i = 0; i < n; i += 32) {
        alignas(64) uint16_t sums[32];
        _mm512_store_si512(sums, sumWords(table, first + i, WordBlocks(table, first + i), row, stride, lines));
        for (uint32_t k = 0; k < 32 && i + k < n; k += 8) {
            const auto mine = static_cast<__mmask8>(lowest(n - i - k));
            const __m128i words = _mm_load_si128(reinterpret_cast<const __m128i*>(sums + k));
            _mm512_mask_storeu_epi64(counts + i + k, mine, _mm512_maskz_cvtepu16_epi64(0xFF, words));
        }
    }
}

inline void flagWords(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
                      const LeastBits& least, uint8_t* destination)
{
    for (uint32_t first = 0; first < table.count; first += 32) {
        const WordBlocks blocks(table, first);
        const __m512i sums = sumWords(table, first, blocks, row, stride, lines);
        const __m512i limits = blocks.choose(least.inShort, least.inLong, least.inLast);
        const uint32_t bits = _mm512_cmpge_epu16_mask(wordsAsPixels(sums), wordsAsPixels(limits));
        std::memcpy(destination + first / 8, &bits, sizeof bits);
    }
}

constexpr uint32_t windowLimit = 57; // longest block that lies in eight bytes, whatever bit it starts at

// Eight blocks in the lanes of a register: 64 bytes hold them all.
inline void countEight(const BitBlockTable& table, uint32_t first, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
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
    const __mmask64 load = bytesUpTo(end, base);
    const __m512i byte = _mm512_sub_epi64(_mm512_srli_epi64(start, 3), lanes(base));
    const __m512i shift = _mm512_and_si512(start, lanes(7));
    const __m512i order = eightFrom(lowestByte(byte));
    __m512i sum = _mm512_setzero_si512();
    for (uint32_t j = 0; j < lines; ++j) {
        const __m512i bytes = _mm512_maskz_loadu_epi8(load, row + base + static_cast<ptrdiff_t>(j) * stride);
        const __m512i windows = _mm512_sllv_epi64(_mm512_permutexvar_epi8(order, bytes), shift);
        sum = _mm512_add_epi64(sum, _mm512_popcnt_epi64(_mm512_and_si512(windows, mask)));
    }
    _mm512_storeu_si512(counts, sum);
}

inline uint64_t pick64(const Gather& gather, const uint8_t* row)
{
    const __m512i bytes = gatherBytes(gather, _mm512_load_si512(gather.order), row);
    return _mm512_bitshuffle_epi64_mask(bytes, _mm512_load_si512(gather.shift));
}

inline void pickGathered(const BitBlockTable& table, const uint8_t* row, uint8_t* destination)
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

} // namespace

} // namespace lx::LX_LEVEL
