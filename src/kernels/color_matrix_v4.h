// The colour matrix at the level v4: sixteen triples at a time, four times in a row.
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
    // Back from four registers of 16 results, packed in four parts: part k has four times byte 0, four times byte 1 and
    // four times byte 2, of triples 4 k to 4 k + 3. Every 64 bytes come from two registers that follow each other.
    alignas(64) uint8_t back[3][64] = {};

    constexpr TripleLanes()
    {
        for (unsigned b = 0; b < 48; ++b)
            spread[b % 3][4 * (b / 3)] = static_cast<uint8_t>(b);
        for (unsigned b = 0; b < 192; ++b) {
            const unsigned triple = b / 3;
            const unsigned place = 16 * (triple % 16 / 4) + 4 * (b % 3) + triple % 4;
            back[b / 64][b % 64] = static_cast<uint8_t>(64 * (triple / 16 - b / 64) + place);
        }
    }
};

constexpr TripleLanes tripleLanes;

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

    // Sixteen triples, packed as TripleLanes says.
    __m512i sixteen(__m512i bytes) const
    {
        Sixteen pixels[3];
        for (unsigned c = 0; c < 3; ++c)
            pixels[c] = _mm512_maskz_permutexvar_epi8(0x1111111111111111U, spread[c], bytes);
        const __m512i last = row[2].truncatedSums(pixels);
        return _mm512_packus_epi16(_mm512_packs_epi32(row[0].truncatedSums(pixels), row[1].truncatedSums(pixels)),
                                   _mm512_packs_epi32(last, last));
    }

    void sixtyFour(uint8_t* triples) const
    {
        const __m512i last = _mm512_maskz_loadu_epi8((1ULL << 48) - 1, triples + 144);
        const __m512i results[4] = {sixteen(_mm512_loadu_si512(triples)), sixteen(_mm512_loadu_si512(triples + 48)),
                                    sixteen(_mm512_loadu_si512(triples + 96)), sixteen(last)};
        for (unsigned k = 0; k < 3; ++k) {
            const __m512i back = _mm512_load_si512(tripleLanes.back[k]);
            _mm512_storeu_si512(triples + 64 * k, _mm512_permutex2var_epi8(results[k], back, results[k + 1]));
        }
    }
};

template <class Row>
void matrixInLanes(const SplitFactors<9>& factors, uint8_t* row, size_t pixels, bool blueFirst)
{
    const MatrixInLanes<Row> matrix(factors, blueFirst ? 2 : 0);
    size_t i = 0;
    for (; i + 64 <= pixels; i += 64)
        matrix.sixtyFour(row + 3 * i);
    if (i == pixels)
        return;
    const size_t rest = 3 * (pixels - i);
    uint8_t last[192] = {};
    std::memcpy(last, row + 3 * i, rest);
    matrix.sixtyFour(last);
    std::memcpy(row + 3 * i, last, rest);
}

} // namespace

} // namespace lx::LX_LEVEL
