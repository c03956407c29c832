// Colour matrix and sharpening: sums of weighted bytes, in single precision where the factors are split, otherwise in
// double precision.

#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/color_matrix_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

// 255 from 255 on; 0 for not-a-number.
uint8_t saturated(float v)
{
    const float positive = v > 0.0F ? v : 0.0F;
    return static_cast<uint8_t>(static_cast<int32_t>(positive < 255.0F ? positive : 255.0F));
}

// Factors as the plain loops take them: a sum of products in one of two ways.
template <unsigned n>
struct InSingle {
    SplitFactors<n> factors;

    // base + a f[i] + b f[j] (+ c f[k]), `base` being a whole number.
    float sum(float base, float a, unsigned i, float b, unsigned j) const
    {
        const float high = (base + a * factors.high[i]) + b * factors.high[j];
        return high + (a * factors.low[i] + b * factors.low[j]);
    }
    float sum(float a, float b, float c, unsigned i) const
    {
        const float* high = factors.high + i;
        const float* low = factors.low + i;
        return ((high[0] * a + high[1] * b) + high[2] * c) + ((low[0] * a + low[1] * b) + low[2] * c);
    }
};

template <unsigned n>
struct InDouble {
    SplitFactors<n> factors;

    float sum(double base, double a, unsigned i, double b, unsigned j) const
    {
        return static_cast<float>((base + a * double{factors.whole[i]}) + b * double{factors.whole[j]});
    }
    float sum(double a, double b, double c, unsigned i) const
    {
        const float* whole = factors.whole + i;
        return static_cast<float>((double{whole[0]} * a + double{whole[1]} * b) + double{whole[2]} * c);
    }
};

template <class Sum>
void applySeparated(const Sum& sums, const NeighbourRows& rows, uint8_t* LX_RESTRICT destination, size_t bytes)
{
    const Sum own = sums;
    const uint8_t* centre = rows.centre;
    const uint8_t* left = centre - rows.step;
    const uint8_t* right = centre + rows.step;
    const uint8_t* upper = rows.upper;
    const uint8_t* lower = rows.lower;
    for (size_t k = 0; k < bytes; ++k) {
        const int h = 2 * centre[k] - (left[k] + right[k]);
        const int v = 2 * centre[k] - (upper[k] + lower[k]);
        destination[k] =
            saturated(own.sum(centre[k], static_cast<float>(h), h >= 0 ? 0 : 2, static_cast<float>(v), v >= 0 ? 1 : 3));
    }
}

template <class Sum>
void applyCross(const Sum& sums, const NeighbourRows& rows, uint8_t* LX_RESTRICT destination, size_t bytes)
{
    const Sum own = sums;
    const uint8_t* centre = rows.centre;
    const uint8_t* upper = rows.upper;
    const uint8_t* lower = rows.lower;
    const size_t step = rows.step;
    for (size_t k = 0; k < bytes; ++k) {
        const int direct = upper[k] + centre[k + step] + (centre - step)[k] + lower[k];
        const int diagonal = (upper - step)[k] + upper[k + step] + (lower - step)[k] + lower[k + step];
        const int s = direct - 4 * centre[k];
        const int d = 4 * centre[k] - diagonal;
        destination[k] = saturated(own.sum(centre[k], static_cast<float>(s), 0, static_cast<float>(d), d >= 0 ? 1 : 2));
    }
}

#if defined(LX_LEVEL_v4)

// A factor in sixteen lanes, for numbers that are 65536 times too large.
struct Factor {
    static constexpr float scale = 0x1p-16F;

    __m512 high;
    __m512 low;

    Factor(float highPart, float lowPart) : high(_mm512_set1_ps(highPart * scale)), low(_mm512_set1_ps(lowPart * scale))
    {
    }
    Factor(__m512 highPart, __m512 lowPart) : high(highPart), low(lowPart) {}

    // `other` where the mask is set.
    Factor with(__mmask16 mask, const Factor& other) const
    {
        return {_mm512_mask_blend_ps(mask, high, other.high), _mm512_mask_blend_ps(mask, low, other.low)};
    }
};

template <unsigned n>
Factor factorAt(const SplitFactors<n>& factors, unsigned i)
{
    return {factors.high[i], factors.low[i]};
}

// The values of four registers, saturated to 64 bytes. Each two registers are the halves of 32 numbers as Halves has
// them.
__m512i packBytes(const __m512i* values)
{
    const __m512i low = _mm512_packs_epi32(values[0], values[1]);
    const __m512i high = _mm512_packs_epi32(values[2], values[3]);
    // Packing goes by 128-bit lanes.
    const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    return _mm512_permutexvar_epi64(order, _mm512_packus_epi16(low, high));
}

// 32 whole numbers in 16 bits, as 65536 times themselves in 32: the lower and the upper four of each 128-bit lane.
struct Halves {
    __m512i half[2];

    explicit Halves(__m512i numbers)
        : half{_mm512_unpacklo_epi16(_mm512_setzero_si512(), numbers),
               _mm512_unpackhi_epi16(_mm512_setzero_si512(), numbers)}
    {
    }
};

// What a difference adds to a byte: its product with one of two factors, by its sign.
struct Term {
    __m512 difference;
    Factor factor;

    Term(__m512i number, const Factor& over, const Factor& under)
        : difference(_mm512_cvtepi32_ps(number)), factor(over.with(_mm512_movepi32_mask(number), under))
    {
    }
};

// The parts' products and sums are exact, fused or not.
__m512i truncatedSum(__m512i base, const Term& a, const Term& b)
{
    const __m512 whole = _mm512_cvtepi32_ps(_mm512_srli_epi32(base, 16));
    const __m512 high =
        _mm512_fmadd_ps(b.difference, b.factor.high, _mm512_fmadd_ps(a.difference, a.factor.high, whole));
    const __m512 low = _mm512_fmadd_ps(b.difference, b.factor.low, _mm512_mul_ps(a.difference, a.factor.low));
    return _mm512_cvttps_epi32(_mm512_add_ps(high, low));
}

// Calls values32(k, mask, values) for 32 bytes from the k-th on, of which the mask's are there, for two registers of
// values.
template <class Values>
void mapBytes(uint8_t* destination, size_t bytes, Values values32)
{
    __m512i values[4];
    size_t k = 0;
    for (; k + 64 <= bytes; k += 64) {
        constexpr uint32_t all = ~0U;
        values32(k, all, values);
        values32(k + 32, all, values + 2);
        _mm512_storeu_si512(destination + k, packBytes(values));
    }
    if (k == bytes)
        return;
    const __mmask64 mine = ~0ULL >> (64 - (bytes - k));
    values32(k, static_cast<__mmask32>(mine), values);
    values32(k + 32, static_cast<__mmask32>(mine >> 32), values + 2);
    _mm512_mask_storeu_epi8(destination + k, mine, packBytes(values));
}

__m512i load32(const uint8_t* bytes, __mmask32 mask)
{
    return _mm512_cvtepu8_epi16(_mm256_maskz_loadu_epi8(mask, bytes));
}

void separatedInSingle(const InSingle<4>& sums, const NeighbourRows& rows, uint8_t* destination, size_t bytes)
{
    const Factor over[2] = {factorAt(sums.factors, 0), factorAt(sums.factors, 1)};
    const Factor under[2] = {factorAt(sums.factors, 2), factorAt(sums.factors, 3)};
    const NeighbourRows own = rows;
    mapBytes(destination, bytes, [&](size_t k, __mmask32 mask, __m512i* values) {
        const __m512i centre = load32(own.centre + k, mask);
        const __m512i twice = _mm512_add_epi16(centre, centre);
        const __m512i beside =
            _mm512_add_epi16(load32(own.centre + k - own.step, mask), load32(own.centre + k + own.step, mask));
        const __m512i around = _mm512_add_epi16(load32(own.upper + k, mask), load32(own.lower + k, mask));
        const Halves base(centre);
        const Halves h(_mm512_sub_epi16(twice, beside));
        const Halves v(_mm512_sub_epi16(twice, around));
        for (unsigned part = 0; part < 2; ++part)
            values[part] = truncatedSum(base.half[part], Term(h.half[part], over[0], under[0]),
                                        Term(v.half[part], over[1], under[1]));
    });
}

void crossInSingle(const InSingle<3>& sums, const NeighbourRows& rows, uint8_t* destination, size_t bytes)
{
    const Factor direct = factorAt(sums.factors, 0);
    const Factor over = factorAt(sums.factors, 1);
    const Factor under = factorAt(sums.factors, 2);
    const NeighbourRows own = rows;
    mapBytes(destination, bytes, [&](size_t k, __mmask32 mask, __m512i* values) {
        const auto beside = [&](const uint8_t* row) {
            return _mm512_add_epi16(load32(row + k - own.step, mask), load32(row + k + own.step, mask));
        };
        const __m512i centre = load32(own.centre + k, mask);
        const __m512i four = _mm512_slli_epi16(centre, 2);
        const __m512i around = _mm512_add_epi16(load32(own.upper + k, mask), load32(own.lower + k, mask));
        const Halves base(centre);
        const Halves s(_mm512_sub_epi16(_mm512_add_epi16(around, beside(own.centre)), four));
        const Halves d(_mm512_sub_epi16(four, _mm512_add_epi16(beside(own.upper), beside(own.lower))));
        for (unsigned part = 0; part < 2; ++part)
            values[part] =
                truncatedSum(base.half[part], Term(s.half[part], direct, direct), Term(d.half[part], over, under));
    });
}

#else

constexpr size_t block = 64; // pixels at a time

template <class Sum>
void applyMatrix(const Sum& sums, uint8_t* row, size_t pixels, bool blueFirst)
{
    const Sum own = sums;
    const unsigned red = blueFirst ? 2 : 0;
    for (size_t i = 0; i < pixels; i += block) {
        const size_t n = pixels - i < block ? pixels - i : block;
        uint8_t* triples = row + 3 * i;
        uint8_t in[3][block] = {};
        uint8_t out[3][block];
        for (size_t k = 0; k < n; ++k) {
            in[0][k] = triples[3 * k + red];
            in[1][k] = triples[3 * k + 1];
            in[2][k] = triples[3 * k + 2 - red];
        }
        for (size_t k = 0; k < block; ++k) {
            for (unsigned c = 0; c < 3; ++c)
                out[c][k] = saturated(own.sum(in[0][k], in[1][k], in[2][k], 3 * c));
        }
        for (size_t k = 0; k < n; ++k) {
            triples[3 * k + red] = out[0][k];
            triples[3 * k + 1] = out[1][k];
            triples[3 * k + 2 - red] = out[2][k];
        }
    }
}

void matrix(const MatrixFactors& factors, uint8_t* row, size_t pixels, bool blueFirst)
{
    if (factors.exact.isSplit)
        applyMatrix(InSingle<9>{factors.exact}, row, pixels, blueFirst);
    else
        applyMatrix(InDouble<9>{factors.exact}, row, pixels, blueFirst);
}

void separatedInSingle(const InSingle<4>& sums, const NeighbourRows& rows, uint8_t* destination, size_t bytes)
{
    applySeparated(sums, rows, destination, bytes);
}

void crossInSingle(const InSingle<3>& sums, const NeighbourRows& rows, uint8_t* destination, size_t bytes)
{
    applyCross(sums, rows, destination, bytes);
}

#endif

void sharpenSeparated(const SplitFactors<4>& factors, const NeighbourRows& rows, uint8_t* destination, size_t bytes)
{
    if (factors.isSplit)
        separatedInSingle(InSingle<4>{factors}, rows, destination, bytes);
    else
        applySeparated(InDouble<4>{factors}, rows, destination, bytes);
}

void sharpenCross(const SplitFactors<3>& factors, const NeighbourRows& rows, uint8_t* destination, size_t bytes)
{
    if (factors.isSplit)
        crossInSingle(InSingle<3>{factors}, rows, destination, bytes);
    else
        applyCross(InDouble<3>{factors}, rows, destination, bytes);
}

} // namespace

constexpr CorrectKernels correctKernels = {matrix, sharpenSeparated, sharpenCross};

} // namespace lx::LX_LEVEL
