// Picking bits that lie side by side or are repeated, as an enlarged line does, 512 at once at the level v4.
//
// While no bit is skipped, the sources of a byte's eight bits lie within eight bits. So the byte is a window of eight
// source bits, from its first source bit on, times an 8 x 8 bit matrix. One product serves eight neighbouring bytes:
// all of them where they repeat their bits alike, else those that do, and the others have products of their own.
//
// Loading what the picks need is much of the work, so four rows share it.

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

    uint8_t order[64];     // permute of the loaded bytes: eight of them for eight destination bytes
    uint64_t skip[8];      // bits before the first source bit of those eight bytes, where the ninth byte is wanted
    uint8_t shift[64];     // brings its window to every byte
    uint64_t matrix[8][8]; // the n-th matrix of every eight bytes
    uint64_t bytes[8];     // the bytes that have it
    uint32_t base;         // the first of 64 bytes that are loaded
    uint32_t matrices;     // in the first form: the most of all of them
};
static_assert(sizeof(Stretch) <= Stretch::picks * sizeof(uint32_t));

// The bytes of a line by vectors, of which the last one ends with the line and may begin before the one before ends.
class Vectors
{
  public:
    explicit Vectors(const BitBlockTable& table)
        : last_((table.count - 1) / 8), others_(_mm512_maskz_set1_epi8(uint64_t{table.count % 8 != 0} << 63,
                                                                       static_cast<char>(0xFFU >> table.count % 8)))
    {
    }

    uint32_t whole() const { return last_ / 64; } // before the last one
    size_t begin(uint32_t k) const { return k < whole() ? size_t{k} * 64 : size_t{last_} - 63; }

    // The last vector, except the bits after the picks.
    void putLast(uint8_t* line, __m512i bytes) const
    {
        const __m512i old = _mm512_set1_epi8(static_cast<char>(line[last_]));
        _mm512_storeu_si512(line + begin(whole()), _mm512_ternarylogic_epi64(others_, old, bytes, 0xCA));
    }

    void copy(const uint8_t* from, uint8_t* line) const
    {
        for (uint32_t k = 0; k < whole(); ++k)
            _mm512_storeu_si512(line + begin(k), _mm512_loadu_si512(from + begin(k)));
        putLast(line, _mm512_loadu_si512(from + begin(whole())));
    }

  private:
    uint32_t last_;  // byte
    __m512i others_; // bits of the last vector
};

// The byte of the row that a pick is in.
inline uint32_t byteOf(const BitBlockTable& table, uint32_t pick)
{
    return (table.starts[pick] + table.phase) / 8;
}

// The picks of a form that starts with pick `first`.
inline uint32_t picksFrom(const BitBlockTable& table, size_t first)
{
    return table.count - first < Stretch::picks ? static_cast<uint32_t>(table.count - first) : Stretch::picks;
}

// The first of the 64 bytes that a form loads, none of them after the row.
inline uint32_t baseOf(const BitBlockTable& table, uint32_t first)
{
    return byteOf(table, first) < table.bytes - 64 ? byteOf(table, first) : table.bytes - 64;
}

inline StretchedPicks howToStretch(const BitBlockTable& table)
{
    if (table.count < Stretch::picks || table.bytes < 64)
        return StretchedPicks::none;
    for (uint32_t i = 1; i < table.count; ++i)
        if (table.starts[i] - table.starts[i - 1] > 1)
            return StretchedPicks::none;
    const Vectors vectors(table);
    StretchedPicks how = StretchedPicks::inEightBytes;
    for (uint32_t k = 0; k <= vectors.whole(); ++k) {
        const auto first = static_cast<uint32_t>(vectors.begin(k) * 8);
        const uint32_t end = first + picksFrom(table, first);
        if (byteOf(table, end - 1) - baseOf(table, first) >= 64)
            return StretchedPicks::none;
        for (uint32_t lane = first; lane < end; lane += 64)
            if (byteOf(table, lane + 64 < end ? lane + 63 : end - 1) - byteOf(table, lane) >= 8)
                how = StretchedPicks::inNineBytes;
    }
    return how;
}

inline Stretch stretchOf(const BitBlockTable& table, uint32_t first)
{
    const uint32_t n = picksFrom(table, first);
    const uint32_t* const starts = table.starts + first;
    Stretch stretch;
    std::memset(&stretch, 0, sizeof stretch);
    stretch.base = baseOf(table, first);
    for (uint32_t i = 0; i < n; i += 8) {
        const uint32_t lane = i & ~63U;
        const uint32_t byte = byteOf(table, first + lane);
        const uint32_t skip =
            table.stretched == StretchedPicks::inNineBytes ? starts[lane] + table.phase - 8 * byte : 0;
        if (i == lane) {
            const uint64_t order = 0x0001020304050607 + (byte - stretch.base) * 0x0101010101010101ULL;
            std::memcpy(stretch.order + i / 8, &order, sizeof order);
            stretch.skip[i / 64] = skip;
        }
        stretch.shift[i / 8] = static_cast<uint8_t>(56 + 8 * byte + skip - starts[i] - table.phase);
        uint64_t matrix = 0;
        for (uint32_t p = 0; p < 8 && i + p < n; ++p)
            matrix |= 0x80ULL >> (starts[i + p] - starts[i]) << 8 * p;
        uint32_t m = 0;
        while (stretch.matrix[m][i / 64] != 0 && stretch.matrix[m][i / 64] != matrix)
            ++m;
        stretch.matrix[m][i / 64] = matrix;
        stretch.bytes[m] |= 1ULL << i / 8;
        stretch.matrices = m < stretch.matrices ? stretch.matrices : m + 1;
    }
    return stretch;
}

// Puts the forms in the place of the starts. The last one may need starts that the one before it overwrites.
inline void makeStretches(BitBlockTable& table)
{
    const Vectors vectors(table);
    Stretch* const forms = reinterpret_cast<Stretch*>(table.starts);
    const Stretch last = stretchOf(table, static_cast<uint32_t>(vectors.begin(vectors.whole()) * 8));
    uint32_t matrices = last.matrices;
    for (uint32_t k = 0; k < vectors.whole(); ++k) {
        const Stretch form = stretchOf(table, k * Stretch::picks);
        matrices = form.matrices > matrices ? form.matrices : matrices;
        std::memcpy(forms + k, &form, sizeof form);
    }
    std::memcpy(forms + vectors.whole(), &last, sizeof last);
    forms->matrices = matrices;
}

// Rows to pick from, and the line that each becomes.
struct RowsToLines {
    static constexpr uint32_t most = 16;

    const uint8_t* rows[most];
    uint8_t* lines[most];
    uint32_t count = 0;
};

// Sixty-four bytes of picks from each of the rows. Within the caller, where what does not change stays in registers.
template <uint32_t Rows, bool InNineBytes, uint32_t Matrices>
[[gnu::always_inline]] inline void stretch(const Stretch& form, const uint8_t* const (&rows)[Rows],
                                           __m512i (&out)[Rows])
{
    const __m512i order = _mm512_load_si512(form.order);
    const __m512i shift = _mm512_load_si512(form.shift);
    __m512i windows[Rows];
    for (uint32_t r = 0; r < Rows; ++r) {
        const __m512i in = _mm512_loadu_si512(rows[r] + form.base);
        __m512i bytes = permuteBytes(order, in);
        if constexpr (InNineBytes) {
            const __m512i after = permuteBytes(_mm512_add_epi8(order, _mm512_set1_epi8(8)), in);
            bytes = _mm512_shldv_epi64(bytes, after, _mm512_load_si512(form.skip));
        }
        windows[r] = _mm512_multishift_epi64_epi8(shift, bytes);
    }
    for (uint32_t r = 0; r < Rows; ++r)
        out[r] = timesMatrix(windows[r], _mm512_load_si512(form.matrix[0]));
    for (uint32_t m = 1; m < Matrices; ++m)
        for (uint32_t r = 0; r < Rows; ++r)
            out[r] = timesMatrix(out[r], form.bytes[m], windows[r], _mm512_load_si512(form.matrix[m]));
}

// `Rows` rows at a time.
template <uint32_t Rows, bool InNineBytes, uint32_t Matrices>
void pickRows(const BitBlockTable& table, const RowsToLines& all)
{
    const Vectors vectors(table);
    const Stretch* const forms = reinterpret_cast<const Stretch*>(table.starts);
    for (uint32_t j = 0; j < all.count; j += Rows) {
        const uint8_t* rows[Rows];
        uint8_t* lines[Rows];
        for (uint32_t r = 0; r < Rows; ++r) {
            rows[r] = all.rows[j + r];
            lines[r] = all.lines[j + r];
        }
        __m512i out[Rows];
        for (uint32_t k = 0; k < vectors.whole(); ++k) {
            stretch<Rows, InNineBytes, Matrices>(forms[k], rows, out);
            for (uint32_t r = 0; r < Rows; ++r)
                _mm512_storeu_si512(lines[r] + size_t{k} * 64, out[r]);
        }
        stretch<Rows, InNineBytes, Matrices>(forms[vectors.whole()], rows, out);
        for (uint32_t r = 0; r < Rows; ++r)
            vectors.putLast(lines[r], out[r]);
    }
}

template <uint32_t Rows, bool InNineBytes>
constexpr decltype(&pickRows<Rows, false, 1>) byMatrices[] = {
    pickRows<Rows, InNineBytes, 1>, pickRows<Rows, InNineBytes, 2>, pickRows<Rows, InNineBytes, 3>,
    pickRows<Rows, InNineBytes, 4>, pickRows<Rows, InNineBytes, 5>, pickRows<Rows, InNineBytes, 6>,
    pickRows<Rows, InNineBytes, 7>, pickRows<Rows, InNineBytes, 8>,
};

template <uint32_t Rows>
inline auto pickerOf(const BitBlockTable& table)
{
    const uint32_t matrices = reinterpret_cast<const Stretch*>(table.starts)->matrices;
    return table.stretched == StretchedPicks::inNineBytes ? byMatrices<Rows, true>[matrices - 1]
                                                          : byMatrices<Rows, false>[matrices - 1];
}

inline void pickStretched(const BitBlockTable& table, const uint8_t* row, uint8_t* line)
{
    pickerOf<1>(table)(table, {{row}, {line}, 1});
}

inline void pickRunsStretched(const BitBlockTable& table, const RowRuns& rows)
{
    const uint32_t together = rows.count == 1 ? 1 : 4;
    const auto pick = together == 1 ? pickerOf<1>(table) : pickerOf<4>(table);
    RowsToLines waiting;
    const auto pickThem = [&] {
        // A place left over takes the last row once more.
        for (; waiting.count % together != 0; ++waiting.count) {
            waiting.rows[waiting.count] = waiting.rows[waiting.count - 1];
            waiting.lines[waiting.count] = waiting.lines[waiting.count - 1];
        }
        pick(table, waiting);
        waiting.count = 0;
    };
    forEachRun(rows, [&](const uint8_t* source, uint8_t* destination, uint32_t length) {
        if (length == 0)
            return;
        waiting.rows[waiting.count] = source;
        waiting.lines[waiting.count] = destination;
        if (++waiting.count == RowsToLines::most)
            pickThem();
    });
    pickThem();
    const Vectors vectors(table);
    forEachRun(rows, [&](const uint8_t*, uint8_t* destination, uint32_t length) {
        for (uint32_t t = 1; t < length; ++t)
            vectors.copy(destination, destination + static_cast<ptrdiff_t>(t) * rows.step);
    });
}

} // namespace

} // namespace lx::LX_LEVEL
