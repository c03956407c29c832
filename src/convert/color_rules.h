// What becomes of a single colour, given as red, green and blue. Rows of pixels have kernels for the same rules.

#pragma once

#include <algorithm>
#include <cstdint>

namespace lx
{

// floor(mean of the components + 0.5), at most 255, by thirds in single precision.
inline uint8_t grayByThirds(const uint8_t* color)
{
    constexpr double third = 0.33333334F;
    const double gray = (color[0] * third + color[2] * third) + color[1] * third + 0.5;
    return static_cast<uint8_t>(std::min(static_cast<int>(gray), 255));
}

inline uint8_t grayByWeights(const uint8_t* color)
{
    return static_cast<uint8_t>((color[2] + color[0]) * 0.33 + color[1] * 0.34 + 0.5);
}

// 4 if blue is at least 128, 2 if green is, 1 if red is.
inline uint8_t primariesOf(const uint8_t* color)
{
    return static_cast<uint8_t>(color[2] / 128 * 4 + color[1] / 128 * 2 + color[0] / 128);
}

} // namespace lx
