// Colour matrix and sharpening: sums of weighted bytes, in single precision where the factors are split, otherwise in
// double precision.

#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/pixels_v4.h"
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

// A factor in sixteen lanes.
struct Factor {
    __m512 high;
    __m512 low;

    Factor(float highPart, float lowPart) : high(_mm512_set1_ps(highPart)), low(_mm512_set1_ps(lowPart)) {}
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

// Sixteen 32-bit values from each of four registers, saturated to 64 bytes.
__m512i packBytes(const __m512i* values)
{
    const __m512i low = _mm512_packs_epi32(values[0], values[1]);
    const __m512i high = _mm512_packs_epi32(values[2], values[3]);
    // Packing goes by 128-bit lanes.
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return _mm512_permutexvar_epi32(order, _mm512_packus_epi16(low, high));
}

// Bytes 16 quarter to 16 quarter + 15.
template <int quarter>
__m512 floatsOf(__m512i bytes)
{
    return _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(bytes, quarter)));
}

__m512 sumOf(const float* factors, const __m512* in)
{
    const __m512 first = _mm512_mul_ps(_mm512_set1_ps(factors[0]), in[0]);
    const __m512 two = _mm512_add_ps(first, _mm512_mul_ps(_mm512_set1_ps(factors[1]), in[1]));
    return _mm512_add_ps(two, _mm512_mul_ps(_mm512_set1_ps(factors[2]), in[2]));
}

// Sixteen of 64 pixels; `pixels` are red, green and blue.
template <int quarter>
void matrixQuarter(const SplitFactors<9>& factors, const Components& pixels, __m512i (*values)[4])
{
    const __m512 in[3] = {floatsOf<quarter>(pixels.byte[0]), floatsOf<quarter>(pixels.byte[1]),
                          floatsOf<quarter>(pixels.byte[2])};
    for (unsigned c = 0; c < 3; ++c)
        values[c][quarter] =
            _mm512_cvttps_epi32(_mm512_add_ps(sumOf(factors.high + 3 * c, in), sumOf(factors.low + 3 * c, in)));
}

template <bool blueFirst>
void matrixOf64(const SplitFactors<9>& factors, uint8_t* triples)
{
    constexpr unsigned red = blueFirst ? 2 : 0;
    const Components from = loadTriples(triples);
    const Components pixels = {{from.byte[red], from.byte[1], from.byte[2 - red]}};
    __m512i values[3][4];
    matrixQuarter<0>(factors, pixels, values);
    matrixQuarter<1>(factors, pixels, values);
    matrixQuarter<2>(factors, pixels, values);
    matrixQuarter<3>(factors, pixels, values);
    storeTriples({{packBytes(values[red]), packBytes(values[1]), packBytes(values[2 - red])}}, triples);
}

template <bool blueFirst>
void matrixInSingle(const SplitFactors<9>& factors, uint8_t* row, size_t pixels)
{
    const SplitFactors<9> own = factors;
    size_t i = 0;
    for (; i + 64 <= pixels; i += 64)
        matrixOf64<blueFirst>(own, row + 3 * i);
    if (i == pixels)
        return;
    const size_t rest = 3 * (pixels - i);
    uint8_t last[192] = {};
    std::memcpy(last, row + 3 * i, rest);
    matrixOf64<blueFirst>(own, last);
    std::memcpy(row + 3 * i, last, rest);
}

void matrixInSingle(const InSingle<9>& sums, uint8_t* row, size_t pixels, bool blueFirst)
{
    (blueFirst ? matrixInSingle<true> : matrixInSingle<false>)(sums.factors, row, pixels);
}

// Sixteen of 32 whole numbers.
__m512 floatsOf16(__m512i numbers, unsigned half)
{
    return _mm512_cvtepi32_ps(
        _mm512_cvtepi16_epi32(half == 0 ? _mm512_castsi512_si256(numbers) : _mm512_extracti64x4_epi64(numbers, 1)));
}

__m512i truncatedSum(__m512 base, __m512 a, const Factor& f, __m512 b, const Factor& g)
{
    const __m512 high = _mm512_add_ps(_mm512_add_ps(base, _mm512_mul_ps(a, f.high)), _mm512_mul_ps(b, g.high));
    const __m512 low = _mm512_add_ps(_mm512_mul_ps(a, f.low), _mm512_mul_ps(b, g.low));
    return _mm512_cvttps_epi32(_mm512_add_ps(high, low));
}

// Calls values32(k, mask, values) for 32 bytes from the k-th on, of which the mask's are there, for two registers of
// values.
template <class Values>
void mapBytes(uint8_t* destination, size_t bytes, Values values32)
{
    for (size_t k = 0; k < bytes; k += 64) {
        const __mmask64 mine = bytes - k >= 64 ? ~0ULL : ~0ULL >> (64 - (bytes - k));
        __m512i values[4];
        values32(k, static_cast<__mmask32>(mine), values);
        values32(k + 32, static_cast<__mmask32>(mine >> 32), values + 2);
        _mm512_mask_storeu_epi8(destination + k, mine, packBytes(values));
    }
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
        const __m512i h = _mm512_sub_epi16(twice, beside);
        const __m512i v = _mm512_sub_epi16(twice, around);
        const __mmask32 belowH = _mm512_movepi16_mask(h);
        const __mmask32 belowV = _mm512_movepi16_mask(v);
        for (unsigned half = 0; half < 2; ++half) {
            const auto lanes = [=](__mmask32 all) { return static_cast<__mmask16>(all >> 16 * half); };
            values[half] =
                truncatedSum(floatsOf16(centre, half), floatsOf16(h, half), over[0].with(lanes(belowH), under[0]),
                             floatsOf16(v, half), over[1].with(lanes(belowV), under[1]));
        }
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
        const __m512i s = _mm512_sub_epi16(_mm512_add_epi16(around, beside(own.centre)), four);
        const __m512i d = _mm512_sub_epi16(four, _mm512_add_epi16(beside(own.upper), beside(own.lower)));
        const __mmask32 below = _mm512_movepi16_mask(d);
        for (unsigned half = 0; half < 2; ++half) {
            const auto lanes = static_cast<__mmask16>(below >> 16 * half);
            values[half] = truncatedSum(floatsOf16(centre, half), floatsOf16(s, half), direct, floatsOf16(d, half),
                                        over.with(lanes, under));
        }
    });
}

#else

void matrixInSingle(const InSingle<9>& sums, uint8_t* row, size_t pixels, bool blueFirst)
{
    applyMatrix(sums, row, pixels, blueFirst);
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

void matrix(const SplitFactors<9>& factors, uint8_t* row, size_t pixels, bool blueFirst)
{
    if (factors.isSplit)
        matrixInSingle(InSingle<9>{factors}, row, pixels, blueFirst);
    else
        applyMatrix(InDouble<9>{factors}, row, pixels, blueFirst);
}

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
