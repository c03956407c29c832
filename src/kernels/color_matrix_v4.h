// The colour matrix at the level v4: sixteen triples at a time, four times in a row.
//
// Sums are tried in fixed point first, and those of 64 pixels are done anew in single or double precision if one of
// them is in doubt: see correct/fixed_factors.h.
//
// All products of a factor and a byte are exact. So a fused multiply-add rounds as a product and a sum do.

#pragma once

#include "kernels/correct.h"

#include <cstring>

#include <immintrin.h>

namespace lx::LX_LEVEL
{

namespace
{

// How bytes move.
struct TripleLanes {
    // Byte c of triple k to the lowest byte of lane k. What is left of a lane is to be 0.
    alignas(64) uint8_t spread[3][64] = {};
    // The first two bytes of triple k to the high bytes of the halves of lane k, the third to that of the lower half,
    // and all three to its lowest bytes.
    alignas(64) uint8_t firstTwo[64] = {};
    alignas(64) uint8_t third[64] = {};
    alignas(64) uint8_t all[64] = {};
    // Lanes like the last, with three times the first byte, within parts of 16 bytes.
    alignas(64) uint8_t firstOnly[64] = {};
    // Back from four registers of 16 results, packed in four parts: part k has four times byte 0, four times byte 1 and
    // four times byte 2, of triples 4 k to 4 k + 3. Every 64 bytes come from two registers that follow each other.
    alignas(64) uint8_t back[3][64] = {};

    constexpr TripleLanes()
    {
        for (unsigned b = 0; b < 48; ++b)
            spread[b % 3][4 * (b / 3)] = all[4 * (b / 3) + b % 3] = static_cast<uint8_t>(b);
        for (unsigned k = 0; k < 16; ++k) {
            firstTwo[4 * k + 1] = static_cast<uint8_t>(3 * k);
            firstTwo[4 * k + 3] = static_cast<uint8_t>(3 * k + 1);
            third[4 * k + 1] = static_cast<uint8_t>(3 * k + 2);
            for (unsigned c = 0; c < 4; ++c)
                firstOnly[4 * k + c] = static_cast<uint8_t>(c < 3 ? 4 * k % 16 : 128);
        }
        for (unsigned b = 0; b < 192; ++b) {
            const unsigned triple = b / 3;
            const unsigned place = 16 * (triple % 16 / 4) + 4 * (b % 3) + triple % 4;
            back[b / 64][b % 64] = static_cast<uint8_t>(64 * (triple / 16 - b / 64) + place);
        }
    }
};

constexpr TripleLanes tripleLanes;

// Sixteen triples at the beginning of each register.
struct SixtyFour {
    __m512i bytes[4];

    explicit SixtyFour(const uint8_t* triples)
        : bytes{_mm512_loadu_si512(triples), _mm512_loadu_si512(triples + 48), _mm512_loadu_si512(triples + 96),
                _mm512_maskz_loadu_epi8((1ULL << 48) - 1, triples + 144)}
    {
    }
};

void storeSixtyFour(const __m512i* results, uint8_t* triples)
{
    for (unsigned k = 0; k < 3; ++k) {
        const __m512i back = _mm512_load_si512(tripleLanes.back[k]);
        _mm512_storeu_si512(triples + 64 * k, _mm512_permutex2var_epi8(results[k], back, results[k + 1]));
    }
}

// The results for bytes 0, 1 and 2 of sixteen triples, saturated and packed as TripleLanes says.
__m512i packResults(__m512i first, __m512i second, __m512i third)
{
    return _mm512_packus_epi16(_mm512_packs_epi32(first, second), _mm512_packs_epi32(third, third));
}

// Red, green or blue of sixteen pixels, one in a lane.
using Sixteen = __m512i;

// The factors of one output in single precision.
struct RowInSingle {
    __m512 high[3];
    __m512 low[3];

    RowInSingle(const SplitFactors<9>& factors, unsigned row)
    {
        for (unsigned k = 0; k < 3; ++k) {
            high[k] = _mm512_set1_ps(factors.high[3 * row + k]);
            low[k] = _mm512_set1_ps(factors.low[3 * row + k]);
        }
    }

    static __m512 sum(const __m512* factors, const __m512* in)
    {
        const __m512 two = _mm512_fmadd_ps(factors[1], in[1], _mm512_mul_ps(factors[0], in[0]));
        return _mm512_fmadd_ps(factors[2], in[2], two);
    }

    // The whole parts of sixteen sums.
    __m512i truncatedSums(const Sixteen* pixels) const
    {
        const __m512 in[3] = {_mm512_cvtepi32_ps(pixels[0]), _mm512_cvtepi32_ps(pixels[1]),
                              _mm512_cvtepi32_ps(pixels[2])};
        return _mm512_cvttps_epi32(_mm512_add_ps(sum(high, in), sum(low, in)));
    }
};

// The same in double precision. Sums may be too large for whole numbers, or not be numbers.
struct RowInDouble {
    __m512d whole[3];

    RowInDouble(const SplitFactors<9>& factors, unsigned row)
    {
        for (unsigned k = 0; k < 3; ++k)
            whole[k] = _mm512_set1_pd(double{factors.whole[3 * row + k]});
    }

    __m256 eightSums(__m256i red, __m256i green, __m256i blue) const
    {
        const __m512d first = _mm512_mul_pd(whole[0], _mm512_cvtepi32_pd(red));
        const __m512d two = _mm512_fmadd_pd(whole[1], _mm512_cvtepi32_pd(green), first);
        return _mm512_cvtpd_ps(_mm512_fmadd_pd(whole[2], _mm512_cvtepi32_pd(blue), two));
    }

    __m512i truncatedSums(const Sixteen* pixels) const
    {
        const auto lowHalf = [=](unsigned c) { return _mm512_castsi512_si256(pixels[c]); };
        const auto highHalf = [=](unsigned c) { return _mm512_extracti64x4_epi64(pixels[c], 1); };
        const __m512 sums = _mm512_insertf32x8(_mm512_castps256_ps512(eightSums(lowHalf(0), lowHalf(1), lowHalf(2))),
                                               eightSums(highHalf(0), highHalf(1), highHalf(2)), 1);
        // The minimum of a number and what is none is the second, and becomes the least whole number.
        return _mm512_cvttps_epi32(_mm512_min_ps(_mm512_set1_ps(255.0F), sums));
    }
};

template <class Row>
struct MatrixInLanes {
    __m512i spread[3]; // of red, green and blue
    Row row[3];        // of bytes 0, 1 and 2

    MatrixInLanes(const SplitFactors<9>& factors, unsigned red)
        : spread{_mm512_load_si512(tripleLanes.spread[red]), _mm512_load_si512(tripleLanes.spread[1]),
                 _mm512_load_si512(tripleLanes.spread[2 - red])},
          row{Row(factors, red), Row(factors, 1), Row(factors, 2 - red)}
    {
    }

    __m512i sixteen(__m512i bytes) const
    {
        Sixteen pixels[3];
        for (unsigned c = 0; c < 3; ++c)
            pixels[c] = _mm512_maskz_permutexvar_epi8(0x1111111111111111U, spread[c], bytes);
        return packResults(row[0].truncatedSums(pixels), row[1].truncatedSums(pixels), row[2].truncatedSums(pixels));
    }

    void sixtyFour(uint8_t* triples) const
    {
        const SixtyFour from(triples);
        const __m512i results[4] = {sixteen(from.bytes[0]), sixteen(from.bytes[1]), sixteen(from.bytes[2]),
                                    sixteen(from.bytes[3])};
        storeSixtyFour(results, triples);
    }
};

// The factors of one output in fixed point, by the places of bytes.
struct FixedRow {
    __m512i firstTwo;
    __m512i third;
    __m512i low;
    __m512i start;

    FixedRow(const MatrixFactors& factors, unsigned row, unsigned red)
    {
        const int16_t* high = factors.high + 3 * row;
        const int8_t* rest = factors.low + 3 * row;
        firstTwo = lanesOf<int16_t>({high[red], high[1]});
        third = lanesOf<int16_t>({high[2 - red], 0});
        low = lanesOf<int8_t>({rest[red], rest[1], rest[2 - red], 0});
        // Bytes less 128 are multiplied by 256 times the high factors.
        start = _mm512_set1_epi32(factors.lift + 256 * 128 * (high[0] + high[1] + high[2]));
    }

    template <class Part>
    static __m512i lanesOf(const Part (&parts)[4 / sizeof(Part)])
    {
        int32_t lane;
        std::memcpy(&lane, parts, sizeof lane);
        return _mm512_set1_epi32(lane);
    }
};

struct FixedMatrix {
    FixedRow row[3]; // of bytes 0, 1 and 2
    __m512i certain;

    FixedMatrix(const MatrixFactors& factors, unsigned red)
        : row{FixedRow(factors, red, red), FixedRow(factors, 1, red), FixedRow(factors, 2 - red, red)},
          certain(_mm512_set1_epi32(factors.certain))
    {
    }

    // Packed results of sixteen triples. Lanes in doubt are added to `doubt`.
    __m512i sixteen(__m512i bytes, __mmask16& doubt) const
    {
        const __m512i less128 = _mm512_xor_si512(bytes, _mm512_set1_epi8(-128));
        const __m512i firstTwo =
            _mm512_maskz_permutexvar_epi8(0xAAAAAAAAAAAAAAAAU, _mm512_load_si512(tripleLanes.firstTwo), less128);
        const __m512i third =
            _mm512_maskz_permutexvar_epi8(0x2222222222222222U, _mm512_load_si512(tripleLanes.third), less128);
        const __m512i all =
            _mm512_maskz_permutexvar_epi8(0x7777777777777777U, _mm512_load_si512(tripleLanes.all), bytes);
        const __m512i first = _mm512_shuffle_epi8(all, _mm512_load_si512(tripleLanes.firstOnly));
        const __mmask16 colored = _mm512_cmpneq_epi32_mask(all, first);
        __m512i results[3];
        for (unsigned k = 0; k < 3; ++k) {
            const FixedRow& f = row[k];
            const __m512i high =
                _mm512_dpwssd_epi32(_mm512_dpwssd_epi32(f.start, firstTwo, f.firstTwo), third, f.third);
            const __m512i sum = _mm512_dpbusd_epi32(high, all, f.low);
            doubt |= _mm512_mask_testn_epi32_mask(colored, sum, certain);
            results[k] = _mm512_srai_epi32(sum, 22);
        }
        return packResults(results[0], results[1], results[2]);
    }

    // Does nothing and returns false if a pixel is in doubt.
    bool sixtyFour(uint8_t* triples) const
    {
        const SixtyFour from(triples);
        __mmask16 doubt = 0;
        __m512i results[4];
        for (unsigned k = 0; k < 4; ++k)
            results[k] = sixteen(from.bytes[k], doubt);
        if (doubt != 0)
            return false;
        storeSixtyFour(results, triples);
        return true;
    }
};

template <class Row>
void matrixInLanes(const MatrixFactors& factors, uint8_t* row, size_t pixels, unsigned red)
{
    const MatrixInLanes<Row> exact(factors.exact, red);
    size_t i = 0;
    if (factors.isFixed) {
        const FixedMatrix fixed(factors, red);
        // Where many pixels are in doubt, the way round is the longer one.
        size_t patience = 4 + pixels / 512;
        for (; i + 64 <= pixels && patience != 0; i += 64) {
            if (!fixed.sixtyFour(row + 3 * i)) {
                exact.sixtyFour(row + 3 * i);
                --patience;
            }
        }
    }
    for (; i + 64 <= pixels; i += 64)
        exact.sixtyFour(row + 3 * i);
    if (i == pixels)
        return;
    const size_t rest = 3 * (pixels - i);
    uint8_t last[192] = {};
    std::memcpy(last, row + 3 * i, rest);
    exact.sixtyFour(last);
    std::memcpy(row + 3 * i, last, rest);
}

void matrix(const MatrixFactors& factors, uint8_t* row, size_t pixels, bool blueFirst)
{
    (factors.exact.isSplit ? matrixInLanes<RowInSingle> : matrixInLanes<RowInDouble>)(factors, row, pixels,
                                                                                      blueFirst ? 2 : 0);
}

} // namespace

} // namespace lx::LX_LEVEL
