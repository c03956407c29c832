// Rows of bits picked along a slanted line, for kernels at the level v4.
//
// The row is made in words of 56 pixels, eight at a time. While a word is filled, its source pixels move on by one
// column per pixel, but for a few stalls, and now and then by one line: a word is put together from the windows of 56
// columns that it has in some neighbouring lines, each laid over the one before from where its line begins. A window
// comes out of one load of 64 bits.
//
// Coordinates are exact, multiples of a unit. The first column to satisfy a condition is the truncated quotient of a
// distance and the slope, plus 1; distances are made half a unit longer or shorter, so that no quotient is near an
// integer and the rounding of the reciprocal does no harm.

#pragma once

#include "kernels/fetch_early.h"
#include "kernels/slanted_runs.h"

#include <immintrin.h>

namespace lx::LX_LEVEL
{

namespace
{

// Eight words of seven bytes, the highest first, to and from the bytes of a row.
struct WordOrders {
    alignas(64) uint8_t packed[64] = {};
    alignas(64) uint8_t unpacked[64] = {};

    constexpr WordOrders()
    {
        for (unsigned b = 0; b < 56; ++b) {
            packed[b] = static_cast<uint8_t>(b / 7 * 8 + 7 - b % 7);
            unpacked[packed[b]] = static_cast<uint8_t>(b);
        }
    }
};
constexpr WordOrders wordOrders;

class SlantedWords
{
  public:
    static constexpr int64_t wordPixels = 56;
    static constexpr int64_t groupPixels = 8 * wordPixels;

    // Whether distances and quotients are sharp enough, and lines are long enough for a window.
    static bool fit(const SlantedBits& row)
    {
        constexpr double finest = 1.0 / (uint64_t{1} << 40);
        return row.unit >= finest && row.across.slope < 1 && row.lineBytes >= 8;
    }

    explicit SlantedWords(const SlantedBits& row)
        : row_(row), half_(row.unit / 2), columnsPerStall_(_mm512_set1_pd(1 / (1 - row.across.slope))),
          columnsPerLine_(_mm512_set1_pd(row.along.slope > 0 ? 1 / row.along.slope : never))
    {
    }

    // Eight words from a column on, which is the first pixel of a destination byte. Pixels outside the row are kept.
    void make(int64_t first, uint8_t* destination) const
    {
        const __m512i places = _mm512_setr_epi64(0, 1 * wordPixels, 2 * wordPixels, 3 * wordPixels, 4 * wordPixels,
                                                 5 * wordPixels, 6 * wordPixels, 7 * wordPixels);
        const __m512i columns = _mm512_add_epi64(_mm512_set1_epi64(first), places);
        const __m512i begin = _mm512_max_epi64(_mm512_sub_epi64(_mm512_set1_epi64(row_.begin), columns), splat(0));
        const __m512i end = _mm512_min_epi64(_mm512_sub_epi64(_mm512_set1_epi64(row_.end), columns), splat(wordPixels));
        const __m512d numbers = _mm512_cvtepi64_pd(columns);
        const __m512i words = joinWindows(numbers, stalls(first, numbers), begin, end);
        if (first >= row_.begin && first + groupPixels <= row_.end) {
            _mm512_mask_storeu_epi8(destination, ~uint64_t{0} >> 8,
                                    _mm512_permutexvar_epi8(_mm512_load_si512(wordOrders.packed), words));
            return;
        }
        const int64_t pixels = row_.end - first < groupPixels ? row_.end - first : groupPixels;
        const __mmask64 touched = ~uint64_t{0} >> (64 - (pixels + 7) / 8);
        const __m512i before = _mm512_permutexvar_epi8(_mm512_load_si512(wordOrders.unpacked),
                                                       _mm512_maskz_loadu_epi8(touched, destination));
        const __m512i inside = _mm512_andnot_si512(from(_mm512_max_epi64(end, splat(0))), from(begin));
        _mm512_mask_storeu_epi8(
            destination, touched,
            _mm512_permutexvar_epi8(_mm512_load_si512(wordOrders.packed), select(inside, words, before)));
    }

  private:
    static constexpr double never = 1 << 20; // columns, beyond any word

    // Where words stop moving on by a column: from these pixels on, they are one and two columns behind.
    struct Stalls {
        __m512i one;
        __m512i two;
        bool anyTwo;
    };

    static __m512i splat(int64_t value) { return _mm512_set1_epi64(value); }

    // The bits of words from a pixel on.
    static __m512i from(__m512i pixel) { return _mm512_srlv_epi64(splat(-1), pixel); }

    // Bit by bit: where ? a : b.
    static __m512i select(__m512i where, __m512i a, __m512i b) { return _mm512_ternarylogic_epi64(where, a, b, 0xCA); }

    static __m512d at(const SlantedBits::Coordinate& coordinate, __m512d columns)
    {
        return _mm512_add_pd(_mm512_set1_pd(coordinate.start),
                             _mm512_mul_pd(_mm512_set1_pd(coordinate.slope), columns));
    }

    static __m512d truncated(__m512d value)
    {
        return _mm512_roundscale_pd(value, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    }

    // The first number of columns that takes more than a distance.
    static __m512i firstBeyond(__m512d distance, __m512d columnsPerStep)
    {
        const __m512d columns = _mm512_min_pd(_mm512_mul_pd(distance, columnsPerStep), _mm512_set1_pd(never));
        return _mm512_add_epi64(_mm512_cvttpd_epi64(columns), splat(1));
    }

    // A coordinate falls behind the columns by 1 - slope each, and stalls when its truncated value does; below zero,
    // where it is truncated upwards, on the integer and not past it. It stalls too where it passes zero.
    Stalls stalls(int64_t first, __m512d columns) const
    {
        const __m512d x = at(row_.across, columns);
        const __m512d fraction = _mm512_sub_pd(x, truncated(x));
        const __mmask8 negative = _mm512_cmp_pd_mask(x, _mm512_setzero_pd(), _CMP_LT_OQ);
        const __m512d onInteger = _mm512_add_pd(fraction, _mm512_set1_pd(1 - half_));
        const __m512d pastInteger = _mm512_add_pd(fraction, _mm512_set1_pd(half_));
        const __m512i one = firstBeyond(_mm512_mask_blend_pd(negative, pastInteger, onInteger), columnsPerStall_);
        const auto begin = static_cast<double>(first);
        const double last = row_.across.start + row_.across.slope * (begin + static_cast<double>(groupPixels));
        if (row_.across.start + row_.across.slope * begin >= 0 || last < 0)
            return {one, one, false};
        const __m512d toZero = _mm512_sub_pd(_mm512_set1_pd(-half_), x);
        const __m512i zero = _mm512_maskz_mov_epi64(
            negative, firstBeyond(_mm512_max_pd(toZero, _mm512_setzero_pd()), _mm512_set1_pd(1 / row_.across.slope)));
        const __m512i past = firstBeyond(_mm512_add_pd(pastInteger, _mm512_set1_pd(1)), columnsPerStall_);
        return {_mm512_mask_min_epi64(one, negative, one, zero),
                _mm512_mask_max_epi64(splat(wordPixels), negative, past, zero), true};
    }

    // Bytes are counted from the centre line's first one; a window that would reach over an end of its line is moved
    // back into it, and the bits that come round from its other end lie outside the row.
    __m512i joinWindows(__m512d columns, const Stalls& stalls, __m512i begin, __m512i end) const
    {
        const __m512i column = _mm512_add_epi64(_mm512_cvttpd_epi64(at(row_.across, columns)), splat(row_.column));
        const auto lastByte = static_cast<int64_t>(row_.lineBytes) - 8;
        const __m512i byte =
            _mm512_min_epi64(_mm512_max_epi64(_mm512_srai_epi64(column, 3), splat(0)), splat(lastByte));
        const __m512i turn = _mm512_sub_epi64(column, _mm512_slli_epi64(byte, 3));
        const __m512d y = at(row_.along, columns);
        __m512d level = truncated(y);
        __m512i source = _mm512_add_epi64(byte, _mm512_mullo_epi64(_mm512_cvttpd_epi64(level), splat(row_.climb)));
        fetchAhead(source);
        __m512i words = splat(0);
        for (__m512i lineBegin = splat(0);;) {
            // The next level is reached half a unit short of it, or if it is not positive, past the one before.
            level = _mm512_add_pd(level, _mm512_set1_pd(1));
            const __mmask8 positive = _mm512_cmp_pd_mask(level, _mm512_setzero_pd(), _CMP_GT_OQ);
            const __m512d margin = _mm512_mask_blend_pd(positive, _mm512_set1_pd(1 - half_), _mm512_set1_pd(half_));
            const __m512i lineEnd = firstBeyond(_mm512_sub_pd(_mm512_sub_pd(level, margin), y), columnsPerLine_);
            const __mmask8 wanted = _mm512_cmplt_epi64_mask(lineBegin, end) & _mm512_cmpgt_epi64_mask(lineEnd, begin);
            words = select(from(lineBegin), window(wanted, source, turn, stalls), words);
            if (_mm512_cmplt_epi64_mask(lineEnd, end) == 0)
                return words;
            lineBegin = lineEnd;
            source = _mm512_add_epi64(source, splat(row_.climb));
        }
    }

    __m512i window(__mmask8 wanted, __m512i source, __m512i turn, const Stalls& stalls) const
    {
        const __m512i highFirst = _mm512_set4_epi32(0x08090A0B, 0x0C0D0E0F, 0x00010203, 0x04050607);
        const __m512i loaded = _mm512_mask_i64gather_epi64(splat(0), wanted, source, row_.centre, 1);
        const __m512i v = _mm512_rolv_epi64(_mm512_shuffle_epi8(loaded, highFirst), turn);
        const __m512i behind = select(from(stalls.one), _mm512_srli_epi64(v, 1), v);
        return stalls.anyTwo ? select(from(stalls.two), _mm512_srli_epi64(v, 2), behind) : behind;
    }

    // Each row takes the lines one further on; too many streams for the processor to follow.
    void fetchAhead(__m512i source) const
    {
        const ptrdiff_t byte = _mm_cvtsi128_si64(_mm512_castsi512_si128(source));
        fetchEarly<3>(row_.centre, byte + row_.ahead);
    }

    const SlantedBits row_;
    const double half_;
    const __m512d columnsPerStall_;
    const __m512d columnsPerLine_;
};

} // namespace

} // namespace lx::LX_LEVEL
