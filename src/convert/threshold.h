// The method parameters that bilevel and 8-colour halftoning share.

#pragma once

#include "frame/numeric.h"
#include "lx.h"

namespace lx
{

// level -range to +range becomes 0 to 256, of which 256 and what lies outside the low byte count as 255: nothing is
// above it. The sums wrap at 32 bits. `range` is not 0.
inline uint8_t thresholdOf(const ThresholdLevel& threshold) noexcept
{
    const int32_t twice = wrapToInt32(2 * static_cast<int64_t>(threshold.range));
    const int32_t sum = wrapToInt32(static_cast<int64_t>(threshold.level) + threshold.range);
    const double t = 256.0F / static_cast<double>(twice) * sum + 0.5;
    const auto low = static_cast<uint16_t>(truncateToInt64(t));
    return low > 255 ? uint8_t{255} : static_cast<uint8_t>(low);
}

inline bool isDitherMatrix(const DitherMatrix& matrix) noexcept
{
    return matrix.columns >= 1 && matrix.columns <= 16 && matrix.rows >= 1 && matrix.rows <= 16;
}

} // namespace lx
