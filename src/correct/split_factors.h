// Splitting factors so that a sum of weighted bytes comes out in single precision as it does in double precision.
//
// The rule is S = sum of x_i f_i in double precision, the x_i whole numbers and the f_i single-precision factors, and
// then the rounding of S to single precision. Let M bound |S| and all partial sums, and X the sum of the |x_i|. With a
// unit g, a power of two, every factor is split into high, its nearest multiple of g, and low, what is left:
//
//  - Sums of x_i high_i are multiples of g within M + X g / 2. If that is at most 2^24 g, they are exact.
//  - Sums of x_i low_i are within X g / 2. If all factors are multiples of a power of two q with X g / 2 <= 2^24 q,
//  they
//    are exact, too.
//  - Then S is exactly the sum of the two, and their one addition rounds it to single precision, as the rule does: all
//    sums of the rule itself are multiples of q within M <= 2^24 g, which double precision holds exactly, since
//    q >= 2^-25 g.
//
// g is taken as small as M allows, for the bound on q then asks least of the factors: those of at least 2^-7 or so
// pass, and so do whole multiples of small powers of two. What does not pass is summed in double precision.

#pragma once

#include "kernels/correct.h"

#include <cmath>

namespace lx
{

// `most` is M, `reach` is X, at least 2 and at most 2^20. isSplit also means that M is below 2^24.
template <unsigned n>
SplitFactors<n> splitFactors(const float (&factors)[n], double most, double reach) noexcept
{
    constexpr double precision = 0x1p24;
    SplitFactors<n> split = {};
    bool finite = true;
    for (unsigned i = 0; i < n; ++i) {
        split.whole[i] = factors[i];
        finite = finite && std::isfinite(factors[i]);
    }
    const double units = precision - reach / 2; // what a bound of M may be in units of g
    if (!finite || !(most <= units))
        return split;
    double g = 1.0;
    while (g > 0x1p-60 && most <= units * (g / 2))
        g /= 2;
    double q = g;
    while (reach * g / 2 <= precision * (q / 2))
        q /= 2;
    split.isSplit = true;
    for (unsigned i = 0; i < n; ++i) {
        const double whole = factors[i];
        const double high = std::floor(whole / g + 0.5) * g;
        split.high[i] = static_cast<float>(high);
        split.low[i] = static_cast<float>(whole - high);
        split.isSplit = split.isSplit && std::floor(whole / q) == whole / q;
    }
    return split;
}

} // namespace lx
