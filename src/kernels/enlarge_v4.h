// Ramps from pixel to pixel and twice as many pixels, in registers of the level v4.

#pragma once

#include "kernels/registers_v4.h"

namespace lx::LX_LEVEL
{

namespace
{

// Up to 64 neighbouring components, and those of the next pixels.
struct WidePixels {
    __m512i own;
    __m512i next;

    // All of them are there.
    WidePixels(const uint8_t* pixels, unsigned channels)
        : own(_mm512_loadu_si512(pixels)), next(_mm512_loadu_si512(pixels + channels))
    {
    }

    // Only the first `followed` have a next pixel; the others stand for it themselves.
    WidePixels(const uint8_t* pixels, unsigned channels, size_t components, size_t followed)
        : own(_mm512_maskz_loadu_epi8(lowest(components), pixels)),
          next(_mm512_mask_loadu_epi8(own, lowest(followed), pixels + channels))
    {
    }
};

void storeLowest(uint8_t* destination, __m512i bytes, unsigned count)
{
    if (count == 64)
        _mm512_storeu_si512(destination, bytes);
    else
        _mm512_mask_storeu_epi8(destination, lowest(count), bytes);
}

// Ramps of `length` and of one more: x / length is 2 x times `narrow`, and x / (length + 1) is 2 x times `wide`, in
// 1 / 65536.
class WideRamps
{
  public:
    WideRamps(uint32_t length, uint32_t narrow, uint32_t wide)
        : lengths_(words(length)), narrow_(words(narrow)), wide_(words(wide))
    {
    }

    __m512i at(__m512i from, __m512i to, __m512i times) const
    {
        const __m256i low =
            half(_mm512_castsi512_si256(from), _mm512_castsi512_si256(to), _mm512_castsi512_si256(times));
        const __m256i high = half(upper(from), upper(to), upper(times));
        return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    }

  private:
    static __m512i words(uint32_t value) { return _mm512_set1_epi16(static_cast<short>(value)); }
    static __m256i upper(__m512i bytes) { return _mm512_maskz_extracti64x4_epi64(15, bytes, 1); }

    __m256i half(__m256i from, __m256i to, __m256i times) const
    {
        const __m512i time = _mm512_cvtepu8_epi16(times);
        const __mmask32 isWide = _mm512_test_epi16_mask(time, words(128));
        const __m512i t = _mm512_and_si512(time, words(127));
        const __m512i lengths = _mm512_mask_add_epi16(lengths_, isWide, lengths_, words(1));
        const __m512i start = _mm512_cvtepu8_epi16(from);
        const __m512i difference = _mm512_sub_epi16(_mm512_cvtepu8_epi16(to), start);
        const __m512i x = _mm512_add_epi16(_mm512_mullo_epi16(start, lengths), _mm512_mullo_epi16(difference, t));
        return lowBytes(_mm512_mulhi_epu16(_mm512_slli_epi16(x, 1), _mm512_mask_blend_epi16(isWide, narrow_, wide_)));
    }

    const __m512i lengths_;
    const __m512i narrow_;
    const __m512i wide_;
};

// Even pixels of two registers' worth from one register and odd ones from another, 1 or 3 components each: byte b of
// the result is component b % channels of pixel b / channels.
struct Alternation {
    alignas(64) uint8_t from[128] = {};

    constexpr explicit Alternation(unsigned channels)
    {
        for (unsigned b = 0; b < 128; ++b) {
            const unsigned pixel = b / channels;
            from[b] = static_cast<uint8_t>((pixel / 2 * channels + b % channels) | (pixel % 2 != 0 ? 64U : 0U));
        }
    }
};
constexpr Alternation singles(1);
constexpr Alternation triples(3);

// The sums of four bytes of each column, rounded, as words of one half of every 128 bits.
__m512i quarter(__m512i pairs, __m512i nextPairs)
{
    const __m512i ones = _mm512_set1_epi8(1);
    const __m512i sum = _mm512_add_epi16(_mm512_maddubs_epi16(pairs, ones), _mm512_maddubs_epi16(nextPairs, ones));
    return _mm512_srli_epi16(_mm512_add_epi16(sum, _mm512_set1_epi16(2)), 2);
}

// Whole registers whose pixels all have a next one; returns the components done.
template <class Rule>
size_t twiceWide(const uint8_t* LX_RESTRICT top, const uint8_t* LX_RESTRICT bottom, uint8_t* LX_RESTRICT destination,
                 size_t components, unsigned channels)
{
    const uint8_t* order = channels == 1 ? singles.from : triples.from;
    const __m512i firstHalf = _mm512_load_si512(order);
    const __m512i secondHalf = _mm512_load_si512(order + 64);
    const size_t step = channels == 1 ? 64 : 63;
    size_t i = 0;
    // The stores of single components fill whole lines of the cache but for the first ones.
    size_t advance = channels == 1 ? bytesToLine<2>(destination) : step;
    for (; i + 64 + channels <= components; i += advance, advance = step) {
        const __m512i t = _mm512_loadu_si512(top + i);
        const __m512i b = _mm512_loadu_si512(bottom + i);
        const __m512i nextT = _mm512_loadu_si512(top + i + channels);
        const __m512i nextB = _mm512_loadu_si512(bottom + i + channels);
        const __m512i even = Rule::even(t, b);
        const __m512i odd = Rule::odd(t, b, nextT, nextB);
        // Three channels leave two bytes too many, which the next pixels overwrite.
        storeHalves(destination + 2 * i, _mm512_permutex2var_epi8(even, firstHalf, odd));
        storeHalves(destination + 2 * i + 64, _mm512_permutex2var_epi8(even, secondHalf, odd));
    }
    return i;
}

} // namespace

} // namespace lx::LX_LEVEL
