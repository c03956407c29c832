// The gray that stands for a palette colour.

#pragma once

#include <algorithm>
#include <cstdint>

namespace lx
{

// floor(mean of the components + 0.5), at most 255, by thirds in single precision. The sum is exact in double
// precision, in whatever order it is formed.
inline uint8_t grayOfEntry(const uint8_t* entry) noexcept
{
    constexpr double third = 0.33333334F;
    const double gray = (entry[0] * third + entry[2] * third) + entry[1] * third + 0.5;
    return static_cast<uint8_t>(std::min(static_cast<int>(gray), 255));
}

} // namespace lx
