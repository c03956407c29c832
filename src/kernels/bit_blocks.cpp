// Blocks of columns in rows of packed bits.
//
// The portable forms take a block at a time from 64-bit windows; the level v4 has many blocks at once.

#include "kernels/bit_counts.h"
#include "kernels/bit_words.h"
#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/bit_blocks_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

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

#if !defined(LX_LEVEL_v4)

void arrangeBlocks(BitBlockTable&) {}

void arrangePicks(BitBlockTable&) {}

#endif

void countInBytes(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
                  uint8_t* LX_RESTRICT counts)
{
#if defined(LX_LEVEL_v4)
    if (table.gathered)
        return countGathered(table, row, stride, lines, counts);
#endif
    for (uint32_t i = 0; i < table.count; ++i)
        counts[i] = static_cast<uint8_t>(table.bias[i] + countBlock(table, i, row, stride, lines));
}

void count(const BitBlockTable& table, uint32_t first, uint32_t n, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
           uint64_t* LX_RESTRICT counts)
{
    uint32_t i = 0;
#if defined(LX_LEVEL_v4)
    if (fitsWords(table, lines))
        return countWords(table, first, n, row, stride, lines, counts);
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
    if (table.gathered)
        return flagGathered(table, row, stride, lines, least, destination);
    if (fitsWords(table, lines))
        return flagWords(table, row, stride, lines, least, destination);
#endif
    for (uint32_t first = 0; first < table.count; first += 64) {
        const uint32_t n = table.count - first < 64 ? table.count - first : 64;
        uint64_t counts[64];
        count(table, first, n, row, stride, lines, counts);
        uint64_t bits = 0;
        for (uint32_t k = 0; k < n; ++k) {
            const uint32_t i = first + k;
            const uint64_t limit = i + 1 == table.count ? least.inLast
                                   : table.bias[i] != 0 ? least.inLong
                                                        : least.inShort;
            bits |= uint64_t{counts[k] >= limit} << (63 - k);
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
