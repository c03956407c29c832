// Factors as whole numbers, for the sums of bytes that colour matrix and sharpening make.
//
// Those of a colour matrix are rounded to multiples of 2^-22, so that sums of bytes are whole numbers of 32 bits that
// hold the result but for a few pixels.
//
// The rule is S = the sum of three products in double precision, its rounding to single precision, and then the whole
// part. With rounded factors the sum is T, in units of 2^-22, and |T - 2^22 S| <= 765 / 2 < 383. Rounding to single
// precision lifts S to the whole number n above it only if it is within 2^-17, 32 units, of it. Let T' = T + 512, and n
// the whole part of T' / 2^22. If what is left is at least 1024, then n < S < n + 1 - 2^-17, and n is the result.
//
// Otherwise the pixel is in doubt and is summed anew. Gray pixels would be in doubt all the time, for they are meant to
// stay whole numbers: their 256 results are looked at beforehand, and if n is right for all of them, gray is trusted.
//
// Where all factors are multiples of 2^-16, as in the identity, T is exact, and so is S in single precision as long as
// it is below 256. No pixel is in doubt then.

#pragma once

#include "correct/split_factors.h"

#include <algorithm>
#include <cmath>

namespace lx
{

// A sum as the rule stores it.
inline int storedByte(double sum) noexcept
{
    const auto single = static_cast<float>(sum);
    return single >= 255.0F ? 255 : single > 0.0F ? static_cast<int>(single) : 0;
}

// `exact` is split. isFixed also means that T' fits into 32 bits.
inline MatrixFactors fixedFactors(const SplitFactors<9>& exact) noexcept
{
    constexpr double mostSum = 1.99; // of the magnitudes of three factors: 255 times that stays below 2^31 units
    MatrixFactors factors = {};
    factors.exact = exact;
    factors.isFixed = exact.isSplit;
    const bool isCoarse =
        std::all_of(exact.whole, exact.whole + 9, [](float f) { return std::floor(f * 0x1p16F) == f * 0x1p16F; });
    factors.lift = isCoarse ? 1 : 512;
    factors.certain = isCoarse ? 1 : (1 << 22) - 1024;
    for (unsigned row = 0; row < 9 && factors.isFixed; row += 3) {
        const float* f = exact.whole + row;
        if (!(std::fabs(f[0]) + std::fabs(f[1]) + std::fabs(f[2]) <= mostSum)) {
            factors.isFixed = false;
            break;
        }
        int32_t units = 0; // of all three
        for (unsigned k = 0; k < 3; ++k) {
            const auto rounded = static_cast<int32_t>(std::floor(double{f[k]} * 0x1p22 + 0.5));
            const int32_t high = (rounded + 128) >> 8;
            factors.high[row + k] = static_cast<int16_t>(high);
            factors.low[row + k] = static_cast<int8_t>(rounded - 256 * high);
            units += rounded;
        }
        for (int32_t v = 0; v < 256; ++v) {
            const double sum = (double{f[0]} * v + double{f[1]} * v) + double{f[2]} * v;
            const int32_t whole = (units * v + factors.lift) >> 22;
            factors.isFixed = factors.isFixed && std::clamp(whole, 0, 255) == storedByte(sum);
        }
    }
    return factors;
}

// Factors of sharpening as whole numbers of 16 bits. `reach` bounds the sum of the differences' magnitudes, and is
// below 2^11.
//
// The rule is S = C + a f + b g, rounded to single precision, and then the whole part. If all factors are multiples of
// 2^-(16 + p), each is (high - low 2^-p) / 2^16 with |low| <= 2^(p - 1), and 2^16 S = H - L 2^-p, H and L being whole
// numbers of 32 bits. |L| <= reach 2^(p - 1) is exact in single precision for p <= 14, and so is H up to 2^24. Then one
// rounding of H - L 2^-p gives what the rule does. Where H is beyond, S is above 255 or below 0, rounded or not, for
// |L 2^-p| <= 2^10. All that holds as well if 3 2^22 is added to L and its 2^-p, of at most 3 2^10, to H.
template <unsigned n>
SharpenFactors<n> wordFactors(const SplitFactors<n>& exact, double reach) noexcept
{
    constexpr int leastBits = 12;
    constexpr int mostBits = 14;
    constexpr double mostFactor = 0.49; // so that high fits
    SharpenFactors<n> factors = {};
    factors.exact = exact;
    int bits = leastBits; // p
    for (const float f : exact.whole) {
        if (!(std::fabs(f) <= mostFactor))
            return factors;
        while (bits <= mostBits && std::floor(std::ldexp(f, 16 + bits)) != std::ldexp(f, 16 + bits))
            ++bits;
    }
    if (bits > mostBits)
        return factors;
    factors.lowUnit = std::ldexp(1.0F, -bits);
    factors.isNarrow = reach * std::ldexp(0.5, bits) < 0x1p22;
    factors.isFixed = true;
    for (unsigned k = 0; k < n; ++k) {
        const double units = double{exact.whole[k]} * 0x1p16;
        const double high = std::floor(units + 0.5);
        factors.high[k] = static_cast<int16_t>(high);
        factors.low[k] = static_cast<int16_t>((high - units) / factors.lowUnit);
    }
    return factors;
}

} // namespace lx
