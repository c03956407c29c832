// Picking bits that lie side by side or are repeated, as an enlarged line does, 512 at once at the level v4.
//
// While no bit is skipped, the sources of a byte's eight bits lie within eight bits. Counted from the first of them,
// bit p of the byte comes from bit p - k, where k says how many bits before it in the byte are repetitions. So the byte
// is put together from windows of eight source bits: the first one starts at the byte's first source bit, each of the
// others one bit earlier, and brings the bits that have its k.

#pragma once

#include "kernels/bit_blocks.h"
#include "kernels/bit_words.h"
#include "kernels/registers_v4.h"

#include <cstring>

namespace lx::LX_LEVEL
{

namespace
{

// What 512 picks need, in place of their starts.
struct alignas(64) Stretch {
    static constexpr uint32_t picks = 512;

    uint8_t order[64];  // permute of the loaded bytes: eight of them for eight destination bytes
    uint8_t shift[64];  // brings the first window to every byte
    uint8_t own[8][64]; // the bits that each window brings
    uint64_t load;      // bytes that are loaded
    uint32_t base;      // the first of them
    uint32_t windows;
    uint8_t unused[1392];
};
static_assert(sizeof(Stretch) == Stretch::picks * sizeof(uint32_t));

// How many picks there are from `first` on, `most` at most.
inline uint32_t picksFrom(const BitBlockTable& table, uint32_t first, uint32_t most)
{
    return table.count - first < most ? table.count - first : most;
}

// The byte of the row that a pick is in.
inline uint32_t byteOf(const BitBlockTable& table, uint32_t pick)
{
    return (table.starts[pick] + table.phase) / 8;
}

// Whether no bit is skipped, and the sources of every 64 picks lie in eight bytes.
inline bool canStretch(const BitBlockTable& table)
{
    uint32_t skips = 0;
    for (uint32_t i = 1; i < table.count; ++i)
        skips |= table.starts[i] - table.starts[i - 1] > 1 ? 1U : 0U;
    bool fits = skips == 0;
    for (uint32_t first = 0; first < table.count; first += 64)
        fits = fits && byteOf(table, first + picksFrom(table, first, 64) - 1) - byteOf(table, first) < 8;
    return fits;
}

// Puts the form of 512 picks in the place of their starts.
inline void makeStretch(const BitBlockTable& table, uint32_t first)
{
    const uint32_t n = picksFrom(table, first, Stretch::picks);
    uint32_t* const starts = table.starts + first;
    Stretch stretch;
    std::memset(&stretch, 0, sizeof stretch);
    stretch.base = byteOf(table, first);
    stretch.load = ~0ULL >> (63 - (byteOf(table, first + n - 1) - stretch.base));
    for (uint32_t i = 0; i < n; i += 8) {
        const uint32_t byte = byteOf(table, first + (i & ~63U));
        if (i % 64 == 0) {
            const uint64_t order = 0x0001020304050607 + (byte - stretch.base) * 0x0101010101010101ULL;
            std::memcpy(stretch.order + i / 8, &order, sizeof order);
        }
        stretch.shift[i / 8] = static_cast<uint8_t>(56 + 8 * byte - starts[i] - table.phase);
        for (uint32_t p = 0; p < 8 && i + p < n; ++p) {
            const uint32_t window = p - (starts[i + p] - starts[i]);
            stretch.own[window][i / 8] = static_cast<uint8_t>(stretch.own[window][i / 8] | 0x80U >> p);
            stretch.windows = window < stretch.windows ? stretch.windows : window + 1;
        }
    }
    std::memcpy(starts, &stretch, sizeof stretch);
}

// Sixty-four bytes of picks, from at most as many windows as the template says.
template <uint32_t Windows>
inline __m512i stretched(const Stretch& stretch, const uint8_t* row)
{
    const __m512i in = _mm512_maskz_loadu_epi8(stretch.load, row + stretch.base);
    const __m512i bytes = permuteBytes(_mm512_load_si512(stretch.order), in);
    __m512i shift = _mm512_load_si512(stretch.shift);
    __m512i out = _mm512_setzero_si512();
    for (uint32_t k = 0; k < Windows; ++k) {
        const __m512i window = _mm512_multishift_epi64_epi8(shift, bytes);
        out = _mm512_or_si512(out, _mm512_and_si512(window, _mm512_load_si512(stretch.own[k])));
        shift = _mm512_add_epi8(shift, _mm512_set1_epi8(1));
    }
    return out;
}

// Two rows at a time, which share what is loaded of a form; a row without a partner is read twice. In one function, for
// what does not change from row to row stays in registers only here.
template <uint32_t Windows>
void pickRunsOf(const BitBlockTable& table, const RowRuns& rows)
{
    const Stretch* const forms = reinterpret_cast<const Stretch*>(table.starts);
    const size_t whole = table.count / Stretch::picks * 64;
    const uint32_t left = table.count % Stretch::picks;
    const size_t last = whole + (left - 1) / 8;
    const __mmask64 mine = lowest((left + 7) / 8);
    const __mmask64 shared = left % 8 != 0 ? mine ^ mine >> 1 : 0;
    const unsigned others = 0xFFU >> left % 8;
    const auto putLast = [=](uint8_t* line, __m512i out) {
        const __m512i old = _mm512_maskz_set1_epi8(shared, static_cast<char>(line[last] & others));
        _mm512_mask_storeu_epi8(line + whole, mine, _mm512_or_si512(out, old));
    };
    const ptrdiff_t step = rows.step;
    uint8_t* destination = rows.destination;
    for (uint32_t j = 0; j < rows.count; j += 2) {
        const bool two = rows.count - j > 1;
        const uint8_t* const row = rows.source + static_cast<ptrdiff_t>(j) * rows.sourceStep;
        const uint8_t* const nextRow = row + (two ? rows.sourceStep : 0);
        const uint32_t lines = rows.lengths[j];
        const uint32_t nextLines = two ? rows.lengths[j + 1] : 0;
        uint8_t* const next = destination + static_cast<ptrdiff_t>(lines) * step;
        const auto putBoth = [=](const Stretch& form, auto put) {
            const __m512i out = stretched<Windows>(form, row);
            const __m512i nextOut = stretched<Windows>(form, nextRow);
            for (uint32_t t = 0; t < lines; ++t)
                put(destination + static_cast<ptrdiff_t>(t) * step, out);
            for (uint32_t t = 0; t < nextLines; ++t)
                put(next + static_cast<ptrdiff_t>(t) * step, nextOut);
        };
        const Stretch* form = forms;
        for (size_t k = 0; k < whole; k += 64)
            putBoth(*form++, [=](uint8_t* line, __m512i out) { _mm512_storeu_si512(line + k, out); });
        if (left != 0)
            putBoth(*form, putLast);
        destination = next + static_cast<ptrdiff_t>(nextLines) * step;
    }
}

// Rows as they come, so that they are written in order.
inline void pickStretched(const BitBlockTable& table, const RowRuns& rows)
{
    constexpr decltype(&pickRunsOf<1>) byWindows[] = {pickRunsOf<1>, pickRunsOf<2>, pickRunsOf<3>, pickRunsOf<4>,
                                                      pickRunsOf<5>, pickRunsOf<6>, pickRunsOf<7>, pickRunsOf<8>};
    uint32_t windows = 1;
    for (uint32_t first = 0; first < table.count; first += Stretch::picks) {
        const Stretch& stretch = *reinterpret_cast<const Stretch*>(table.starts + first);
        windows = stretch.windows > windows ? stretch.windows : windows;
    }
    byWindows[windows - 1](table, rows);
}

} // namespace

} // namespace lx::LX_LEVEL
