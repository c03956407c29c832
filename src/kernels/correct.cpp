// Colour matrix and sharpening: sums of weighted bytes, in single precision where the factors are split, otherwise in
// double precision.

#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/color_matrix_v4.h"
#include "kernels/sharpen_v4.h"
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

// The place of a number's factor, by the number's sign.
struct Place {
    unsigned over;
    unsigned under;
};

// Factors as the plain loops take them: a sum of products in one of two ways. Of two factors that are at hand the right
// one is taken: compilers vectorise that, but not the choice of a place.
template <unsigned n>
struct InSingle {
    SplitFactors<n> factors;

    // base + a f[i] + b f[j] (+ c f[k]), `base` being a whole number.
    float sum(float base, float a, Place i, float b, Place j) const
    {
        const auto chosen = [](float x, const float* f, Place p) { return x >= 0.0F ? f[p.over] : f[p.under]; };
        const float high = (base + a * chosen(a, factors.high, i)) + b * chosen(b, factors.high, j);
        return high + (a * chosen(a, factors.low, i) + b * chosen(b, factors.low, j));
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

    float sum(float base, float a, Place i, float b, Place j) const
    {
        const float first = a >= 0.0F ? factors.whole[i.over] : factors.whole[i.under];
        const float second = b >= 0.0F ? factors.whole[j.over] : factors.whole[j.under];
        return static_cast<float>((double{base} + double{a} * double{first}) + double{b} * double{second});
    }
    float sum(double a, double b, double c, unsigned i) const
    {
        const float* whole = factors.whole + i;
        return static_cast<float>((double{whole[0]} * a + double{whole[1]} * b) + double{whole[2]} * c);
    }
};

template <class Sum>
void applySeparated(const Sum& sums, const NeighbourRows& rows, unsigned line)
{
    const Sum own = sums;
    const uint8_t* upper = rows.rows[line];
    const uint8_t* centre = rows.rows[line + 1];
    const uint8_t* lower = rows.rows[line + 2];
    const uint8_t* left = centre - rows.step;
    const uint8_t* right = centre + rows.step;
    const size_t bytes = rows.bytes;
    uint8_t* LX_RESTRICT destination = rows.destinations[line];
    for (size_t k = 0; k < bytes; ++k) {
        const int h = 2 * centre[k] - (left[k] + right[k]);
        const int v = 2 * centre[k] - (upper[k] + lower[k]);
        destination[k] =
            saturated(own.sum(centre[k], static_cast<float>(h), Place{0, 2}, static_cast<float>(v), Place{1, 3}));
    }
}

template <class Sum>
void applyCross(const Sum& sums, const NeighbourRows& rows, unsigned line)
{
    const Sum own = sums;
    const uint8_t* upper = rows.rows[line];
    const uint8_t* centre = rows.rows[line + 1];
    const uint8_t* lower = rows.rows[line + 2];
    const size_t step = rows.step;
    const size_t bytes = rows.bytes;
    uint8_t* LX_RESTRICT destination = rows.destinations[line];
    for (size_t k = 0; k < bytes; ++k) {
        const int direct = upper[k] + centre[k + step] + (centre - step)[k] + lower[k];
        const int diagonal = (upper - step)[k] + upper[k + step] + (lower - step)[k] + lower[k + step];
        const int s = direct - 4 * centre[k];
        const int d = 4 * centre[k] - diagonal;
        destination[k] =
            saturated(own.sum(centre[k], static_cast<float>(s), Place{0, 0}, static_cast<float>(d), Place{1, 2}));
    }
}

#if !defined(LX_LEVEL_v4)

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

#endif

// Line by line: apply(sums, rows, line).
template <unsigned n, class Apply>
void sharpenLines(const SplitFactors<n>& factors, const NeighbourRows& rows, Apply apply)
{
    for (unsigned line = 0; line < rows.lines; ++line) {
        if (factors.isSplit)
            apply(InSingle<n>{factors}, rows, line);
        else
            apply(InDouble<n>{factors}, rows, line);
    }
}

void sharpenSeparated(const SharpenFactors<4>& factors, const NeighbourRows& rows)
{
#if defined(LX_LEVEL_v4)
    if (factors.isFixed) {
        (factors.isNarrow ? separatedInWords<true> : separatedInWords<false>)(factors, rows);
        return;
    }
#endif
    sharpenLines(factors.exact, rows, [](const auto&... all) { applySeparated(all...); });
}

void sharpenCross(const SharpenFactors<3>& factors, const NeighbourRows& rows)
{
#if defined(LX_LEVEL_v4)
    if (factors.isFixed) {
        (factors.isNarrow ? crossInWords<true> : crossInWords<false>)(factors, rows);
        return;
    }
#endif
    sharpenLines(factors.exact, rows, [](const auto&... all) { applyCross(all...); });
}

} // namespace

constexpr CorrectKernels correctKernels = {matrix, sharpenSeparated, sharpenCross};

} // namespace lx::LX_LEVEL
