// Means of blocks of bytes at the level v4, and the sums of rows that they begin with.
//
// All columns are summed at once, 32 words to a register, and those that begin a block are then thrown together: from
// the rows to the means without a stop, a few columns at a time.

#pragma once

#include "kernels/fetch_early.h"
#include "kernels/registers_v4.h"
#include "kernels/resample.h"

namespace lx::LX_LEVEL
{

namespace
{

void fetchColumns(const uint8_t* from, ptrdiff_t ahead)
{
    fetchEarly<2>(from, ahead);
    fetchEarly<2>(from + 64, ahead);
}

// Columns that are summed down some rows. The rows that follow are likely to be wanted next.
struct SummedRows {
    const uint8_t* source;
    ptrdiff_t step;
    unsigned rows;

    // Calls take(i, sums) for each 128 columns, in four registers; returns how many columns that were.
    template <class Take>
    size_t forEachFour(size_t components, Take take) const
    {
        const ptrdiff_t ahead = static_cast<ptrdiff_t>(rows) * step;
        size_t i = 0;
        for (; i + 128 <= components; i += 128) {
            const uint8_t* row = source + i;
            __m512i v[4] = {widen(row), widen(row + 32), widen(row + 64), widen(row + 96)};
            fetchColumns(row, ahead);
            for (unsigned r = 1; r < rows; ++r) {
                row += step;
                fetchColumns(row, ahead);
                for (unsigned k = 0; k < 4; ++k)
                    v[k] = _mm512_add_epi16(v[k], widen(row + 32 * k));
            }
            take(i, v);
        }
        return i;
    }

    // The sums of up to 32 columns.
    __m512i some(size_t at, uint32_t lanes) const
    {
        __m512i sum = _mm512_setzero_si512();
        for (unsigned r = 0; r < rows && lanes != 0; ++r)
            sum = _mm512_add_epi16(sum, _mm512_cvtepu8_epi16(_mm256_maskz_loadu_epi8(
                                            lanes, source + static_cast<ptrdiff_t>(r) * step + at)));
        return sum;
    }
};

// Columns that have been summed before.
struct ColumnSums {
    const uint16_t* sums;

    template <class Take>
    size_t forEachFour(size_t components, Take take) const
    {
        size_t i = 0;
        for (; i + 128 <= components; i += 128) {
            __m512i v[4];
            for (unsigned k = 0; k < 4; ++k)
                v[k] = _mm512_loadu_si512(sums + i + 32 * k);
            take(i, v);
        }
        return i;
    }

    __m512i some(size_t at, uint32_t lanes) const { return _mm512_maskz_loadu_epi16(lanes, sums + at); }
};

constexpr uint32_t wideBlockWidth = 8; // narrow blocks up to this width are summed for all columns at once

uint32_t bits32(const uint64_t* bits, size_t at)
{
    return static_cast<uint32_t>(bits[at / 64] >> at % 64);
}

// Takes words from some columns on out of the two registers that hold the columns.
class Shifted
{
  public:
    explicit Shifted(uint32_t columns)
        : offsets_(_mm512_add_epi16(iota(), _mm512_set1_epi16(static_cast<short>(columns))))
    {
    }

    __m512i of(__m512i low, __m512i high) const { return _mm512_permutex2var_epi16(low, offsets_, high); }

  private:
    static __m512i iota()
    {
        uint16_t numbers[32];
        for (unsigned k = 0; k < 32; ++k)
            numbers[k] = static_cast<uint16_t>(k);
        return _mm512_loadu_si512(numbers);
    }

    __m512i offsets_;
};

// Throws the sums of blocks together, close to one another, from the sums of columns. These come 32 at a time, and two
// registers must follow before the blocks that begin in one can be summed. `Pairs` is half of the blocks' width.
template <unsigned Pairs>
class BlockSums
{
  public:
    BlockSums(const BlockColumns& columns, uint16_t* sums)
        : columns_(columns), sums_(sums),
          second_(columns.channels), others_{Shifted(2 * columns.channels), Shifted(4 * columns.channels),
                                             Shifted(6 * columns.channels)},
          last_((columns.width - 1) * columns.channels), extra_(columns.width * columns.channels),
          odd_(columns.width % 2 != 0)
    {
    }

    void begin(__m512i first, __m512i second)
    {
        column_ = first;
        next_ = second;
        pairs_ = pairsOf(first, second);
    }

    void add(__m512i afterNext)
    {
        const __m512i nextPairs = pairsOf(next_, afterNext);
        __m512i sum = Pairs != 0 ? pairs_ : column_;
        for (unsigned t = 1; t < Pairs; ++t)
            sum = _mm512_add_epi16(sum, others_[t - 1].of(pairs_, nextPairs));
        if (odd_ && Pairs != 0)
            sum = _mm512_add_epi16(sum, last_.of(column_, next_));
        const uint32_t wide = bits32(columns_.wide, at_);
        sum = _mm512_mask_add_epi16(sum, wide, sum, extra_.of(column_, next_));
        const uint32_t begins = bits32(columns_.begins, at_);
        _mm512_storeu_si512(sums_ + count_, _mm512_maskz_compress_epi16(begins, sum));
        count_ += static_cast<unsigned>(__builtin_popcount(begins));
        at_ += 32;
        column_ = next_;
        next_ = afterNext;
        pairs_ = nextPairs;
    }

    size_t count() const { return count_; }

  private:
    __m512i pairsOf(__m512i column, __m512i next) const { return _mm512_add_epi16(column, second_.of(column, next)); }

    const BlockColumns& columns_;
    uint16_t* sums_;
    const Shifted second_;
    const Shifted others_[3];
    const Shifted last_;
    const Shifted extra_;
    const bool odd_;
    __m512i column_;
    __m512i next_;
    __m512i pairs_;
    size_t at_ = 0;
    size_t count_ = 0;
};

// Divides sums of at most 257 pixels, which fit 16 bits.
class MeansOfSums
{
  public:
    MeansOfSums(const BlockColumns& columns, const BlockRule& rule, uint8_t* destination, uint8_t* marks)
        : wideMeans_(columns.wideMeans), rule_(rule), destination_(destination), marks_(marks),
          marking_(rule.marked[0] || rule.marked[1])
    {
        for (unsigned k = 0; k < 2; ++k) {
            pixels_[k] = words(rule.pixels[k]);
            reciprocals_[k] = words(rule.pixels[k] == 1 ? 65535 : 65536 / rule.pixels[k]);
            whites_[k] = words(rule.white[k]);
        }
    }

    // The means from the kth on, `lanes` of them.
    void make(size_t k, uint32_t lanes, __m512i sum)
    {
        const uint32_t wide = bits32(wideMeans_, k);
        // The truncated reciprocal gives a quotient that is at most 1 short, which the remainder tells.
        const __m512i pixels = _mm512_mask_blend_epi16(wide, pixels_[0], pixels_[1]);
        __m512i mean = _mm512_mulhi_epu16(sum, _mm512_mask_blend_epi16(wide, reciprocals_[0], reciprocals_[1]));
        __m512i rest = _mm512_sub_epi16(sum, _mm512_mullo_epi16(mean, pixels));
        const __mmask32 isShort = _mm512_cmpge_epu16_mask(rest, pixels);
        mean = _mm512_mask_add_epi16(mean, isShort, mean, _mm512_set1_epi16(1));
        if (marking_) {
            rest = _mm512_mask_sub_epi16(rest, isShort, rest, pixels);
            const uint32_t marked = lanes & ((rule_.marked[0] ? ~wide : 0) | (rule_.marked[1] ? wide : 0));
            const uint32_t white = _mm512_mask_cmpeq_epi16_mask(marked, mean, words(255));
            const uint32_t even =
                _mm512_mask_testn_epi16_mask(marked & ~white, rest, rest) & _mm512_test_epi16_mask(sum, sum);
            mean = _mm512_mask_mov_epi16(mean, white, _mm512_mask_blend_epi16(wide, whites_[0], whites_[1]));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(marks_ + k), _mm256_movm_epi8(even));
            anyMark_ |= even;
        }
        if (lanes == ~uint32_t{0})
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination_ + k), lowBytes(mean));
        else
            _mm256_mask_storeu_epi8(destination_ + k, lanes, lowBytes(mean));
    }

    bool anyMark() const { return anyMark_ != 0; }

  private:
    static __m512i words(uint32_t value) { return _mm512_set1_epi16(static_cast<short>(value)); }

    const uint64_t* wideMeans_;
    const BlockRule& rule_;
    uint8_t* destination_;
    uint8_t* marks_;
    const bool marking_;
    __m512i pixels_[2];
    __m512i reciprocals_[2];
    __m512i whites_[2];
    uint32_t anyMark_ = 0;
};

// A few columns at a time from the rows to the means, so that there is something to do while memory is slow.
template <unsigned Pairs, class Columns>
bool blockMeansOfPairs(Columns from, const BlockColumns& columns, const BlockRule& rule, uint16_t* sums,
                       uint8_t* LX_RESTRICT destination, uint8_t* LX_RESTRICT marks)
{
    BlockSums<Pairs> blocks(columns, sums);
    MeansOfSums means(columns, rule, destination, marks);
    size_t k = 0;
    size_t i = from.forEachFour(columns.components, [&](size_t at, const __m512i* v) {
        if (at == 0) {
            blocks.begin(v[0], v[1]);
        } else {
            blocks.add(v[0]);
            blocks.add(v[1]);
        }
        blocks.add(v[2]);
        blocks.add(v[3]);
        // Sums are read some time after they have been written: they do not come out of one store.
        for (; k + 64 <= blocks.count(); k += 32)
            means.make(k, ~uint32_t{0}, _mm512_loadu_si512(sums + k));
    });
    const auto rest = [&](size_t at) {
        return from.some(at, static_cast<uint32_t>(at < columns.components ? lowest(columns.components - at) : 0));
    };
    if (i == 0) {
        blocks.begin(rest(0), rest(32));
        i = 64;
    }
    for (; i < columns.components + 64; i += 32)
        blocks.add(rest(i));
    for (const size_t count = blocks.count(); k < count; k += 32)
        means.make(k, static_cast<uint32_t>(lowest(count - k)), _mm512_loadu_si512(sums + k));
    return means.anyMark();
}

// Whether blockMeansWide() can be used.
bool fitWide(const BlockColumns& columns, const BlockRule& rule)
{
    return columns.width <= wideBlockWidth && rule.pixels[1] <= 257;
}

template <class Columns>
bool blockMeansWide(Columns from, const BlockColumns& columns, const BlockRule& rule, uint16_t* sums,
                    uint8_t* LX_RESTRICT destination, uint8_t* LX_RESTRICT marks)
{
    constexpr decltype(&blockMeansOfPairs<0, Columns>) forms[] = {
        blockMeansOfPairs<0, Columns>, blockMeansOfPairs<1, Columns>, blockMeansOfPairs<2, Columns>,
        blockMeansOfPairs<3, Columns>, blockMeansOfPairs<4, Columns>};
    return forms[columns.width / 2](from, columns, rule, sums, destination, marks);
}

} // namespace

} // namespace lx::LX_LEVEL
