// What becomes of a single colour, given as red, green and blue, in a paste or under a mask. Rows of pixels have
// kernels for the same rules.

#pragma once

#include <cstdint>

namespace lx
{

// trunc((B + R) 0.33 + G 0.34 + 0.5)
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
