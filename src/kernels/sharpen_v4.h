// Sharpening at the level v4: sixty-four bytes at a time.
//
// A sum is a byte and two differences with their factors. Both differences of a byte are whole numbers of 16 bits and
// share a lane of 32. Factors are whole numbers of 16 bits, too, in a high and a low part, so that one multiplication
// gives the sum of either part for a lane. Both are exact, and joined with one rounding to single precision, as the
// rule has it: see correct/fixed_factors.h.
//
// Lines that follow each other share what is summed up along a row.

#pragma once

#include "kernels/correct.h"
#include "kernels/fetch_early.h"
#include "kernels/registers_v4.h"

#include <cstring>

namespace lx::LX_LEVEL
{

namespace
{

// Places of the factors of both differences, by the differences' signs.
struct FactorPlaces {
    unsigned over[2];
    unsigned under[2];
};

// One part of these factors, as a lane has it.
class PairedFactors
{
  public:
    PairedFactors(const int16_t* factors, const FactorPlaces& places)
        : over_(lanesOf(factors, places.over)), under_(lanesOf(factors, places.under))
    {
    }

    __m512i where(__mmask32 under) const { return _mm512_mask_blend_epi16(under, over_, under_); }

  private:
    static __m512i lanesOf(const int16_t* factors, const unsigned* places)
    {
        const int16_t pair[2] = {factors[places[0]], factors[places[1]]};
        int32_t lane;
        std::memcpy(&lane, pair, sizeof lane);
        return _mm512_set1_epi32(lane);
    }

    __m512i over_;
    __m512i under_;
};

// The upper halves of 32 lanes that two unpacks made.
struct UpperHalves {
    alignas(64) uint16_t word[32] = {};

    constexpr UpperHalves()
    {
        for (unsigned k = 0; k < 32; ++k)
            word[k] = static_cast<uint16_t>(k / 8 * 8 + k % 4 * 2 + 1 + (k % 8 < 4 ? 0 : 32));
    }
};

constexpr UpperHalves upperHalves;

// Narrow sums of the low parts are within 2^22. Such a number, added to the bits of 3 2^22 in single precision, makes
// it greater by as much, and so needs no conversion. The high sums make up for the 3 2^22 beforehand.
template <bool narrow>
class SharpenLanes
{
  public:
    template <unsigned n>
    SharpenLanes(const SharpenFactors<n>& factors, const FactorPlaces& places)
        : high_(factors.high, places), low_(factors.low, places), lowUnit_(_mm512_set1_ps(factors.lowUnit)),
          excess_(_mm512_set1_epi16(static_cast<int16_t>(narrow ? 0x3p22F * factors.lowUnit : 0.0F)))
    {
    }

    // The whole parts of 32 sums.
    __m512i sums(__m512i bytes, __m512i a, __m512i b) const
    {
        const __m512i low = sixteen(_mm512_unpacklo_epi16(excess_, bytes), _mm512_unpacklo_epi16(a, b));
        const __m512i high = sixteen(_mm512_unpackhi_epi16(excess_, bytes), _mm512_unpackhi_epi16(a, b));
        return _mm512_permutex2var_epi16(low, _mm512_load_si512(upperHalves.word), high);
    }

  private:
    // 2^16 times the sums, without what is behind the point.
    __m512i sixteen(__m512i bases, __m512i differences) const
    {
        const __mmask32 under = _mm512_movepi16_mask(differences);
        const __m512i high = _mm512_dpwssd_epi32(bases, differences, high_.where(under));
        const __m512 low = lowSums(differences, low_.where(under));
        return _mm512_cvttps_epi32(_mm512_fnmadd_ps(low, lowUnit_, _mm512_cvtepi32_ps(high)));
    }

    static __m512 lowSums(__m512i differences, __m512i factors)
    {
        if constexpr (narrow)
            return _mm512_castsi512_ps(_mm512_dpwssd_epi32(_mm512_set1_epi32(0x4B400000), differences, factors));
        else
            return _mm512_cvtepi32_ps(_mm512_madd_epi16(differences, factors));
    }

    PairedFactors high_;
    PairedFactors low_;
    __m512 lowUnit_;
    __m512i excess_;
};

// Sixty-four numbers of 16 bits: those of the lower and of the upper eight bytes of every sixteen.
struct Words {
    __m512i half[2];

    explicit Words(__m512i bytes)
        : half{_mm512_unpacklo_epi8(bytes, _mm512_setzero_si512()), _mm512_unpackhi_epi8(bytes, _mm512_setzero_si512())}
    {
    }

    // a + b for every two bytes.
    Words(__m512i a, __m512i b)
        : half{_mm512_maddubs_epi16(_mm512_unpacklo_epi8(a, b), _mm512_set1_epi8(1)),
               _mm512_maddubs_epi16(_mm512_unpackhi_epi8(a, b), _mm512_set1_epi8(1))}
    {
    }
};

// 64 bytes of a row and their neighbours on both sides, of which the mask's are there.
class RowPart
{
  public:
    RowPart(const uint8_t* row, size_t step, __mmask64 mask) : row_(row), step_(step), mask_(mask) {}

    Words own() const { return Words(load(row_)); }
    Words beside() const { return {load(row_ - step_), load(row_ + step_)}; }

  private:
    __m512i load(const uint8_t* bytes) const { return _mm512_maskz_loadu_epi8(mask_, bytes); }

    const uint8_t* row_;
    size_t step_;
    __mmask64 mask_;
};

// Calls block(k, mask) for 64 bytes of every row from the k-th on.
template <class Block>
void walkMasked(size_t bytes, Block block)
{
    size_t k = 0;
    for (; k + 64 <= bytes; k += 64)
        block(k, ~__mmask64{0});
    if (const __mmask64 rest = lowest(bytes - k); rest != 0)
        block(k, rest);
}

void storeWords(uint8_t* destination, __mmask64 mask, const __m512i* words)
{
    const __m512i bytes = _mm512_packus_epi16(words[0], words[1]);
    // A store under a mask is a slow one.
    if (mask == ~__mmask64{0})
        _mm512_storeu_si512(destination, bytes);
    else
        _mm512_mask_storeu_epi8(destination, mask, bytes);
}

template <bool narrow>
void separatedInWords(const SharpenFactors<4>& factors, const NeighbourRows& rows)
{
    const SharpenLanes<narrow> lanes(factors, {{0, 1}, {2, 3}});
    const NeighbourRows own = rows;
    walkMasked(own.bytes, [&](size_t k, __mmask64 mask) {
        const auto part = [&](unsigned j) { return RowPart(own.rows[j] + k, own.step, mask); };
        Words upper = part(0).own();
        Words centre = part(1).own();
        for (unsigned j = 0; j < own.lines; ++j) {
            fetchEarly<3>(own.rows[j + 2] + k, own.next);
            const Words lower = part(j + 2).own();
            const Words beside = part(j + 1).beside();
            __m512i results[2];
            for (unsigned h = 0; h < 2; ++h) {
                const __m512i twice = _mm512_add_epi16(centre.half[h], centre.half[h]);
                const __m512i around = _mm512_add_epi16(upper.half[h], lower.half[h]);
                results[h] = lanes.sums(centre.half[h], _mm512_sub_epi16(twice, beside.half[h]),
                                        _mm512_sub_epi16(twice, around));
            }
            storeWords(own.destinations[j] + k, mask, results);
            upper = centre;
            centre = lower;
        }
    });
}

template <bool narrow>
void crossInWords(const SharpenFactors<3>& factors, const NeighbourRows& rows)
{
    const SharpenLanes<narrow> lanes(factors, {{0, 1}, {0, 2}});
    const NeighbourRows own = rows;
    walkMasked(own.bytes, [&](size_t k, __mmask64 mask) {
        struct Row {
            Words own;
            Words beside;
            explicit Row(const RowPart& part) : own(part.own()), beside(part.beside()) {}
        };
        const auto part = [&](unsigned j) { return RowPart(own.rows[j] + k, own.step, mask); };
        Row upper(part(0));
        Row centre(part(1));
        for (unsigned j = 0; j < own.lines; ++j) {
            fetchEarly<3>(own.rows[j + 2] + k, own.next);
            const Row lower(part(j + 2));
            __m512i results[2];
            for (unsigned h = 0; h < 2; ++h) {
                const __m512i four = _mm512_slli_epi16(centre.own.half[h], 2);
                const __m512i around = _mm512_add_epi16(upper.own.half[h], lower.own.half[h]);
                const __m512i direct = _mm512_add_epi16(centre.beside.half[h], around);
                const __m512i diagonal = _mm512_add_epi16(upper.beside.half[h], lower.beside.half[h]);
                results[h] =
                    lanes.sums(centre.own.half[h], _mm512_sub_epi16(direct, four), _mm512_sub_epi16(four, diagonal));
            }
            storeWords(own.destinations[j] + k, mask, results);
            upper = centre;
            centre = lower;
        }
    });
}

} // namespace

} // namespace lx::LX_LEVEL
