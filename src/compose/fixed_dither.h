// The library's own 8 x 8 thresholds, for what is pasted or masked in bilevel areas. Rows and columns count from the
// area's first line and first pixel.

#pragma once

#include <cstdint>

namespace lx
{

struct FixedDitherTable {
    static constexpr unsigned size = 8;

    // 116 and 172 stand twice, 108 and 168 not at all: deliberately.
    static constexpr uint16_t thresholds[size][size] = {
        {20, 60, 204, 228, 248, 188, 84, 28},   {68, 116, 132, 164, 196, 156, 124, 76},
        {180, 148, 100, 36, 44, 112, 140, 212}, {244, 220, 92, 0, 12, 52, 172, 236},
        {252, 184, 80, 24, 16, 56, 200, 224},   {192, 152, 120, 72, 64, 116, 128, 160},
        {40, 104, 136, 208, 176, 144, 96, 32},  {8, 48, 172, 232, 240, 216, 88, 4},
    };

    // The eight pixels of row j that show `gray`, the leftmost in the highest bit.
    static uint8_t bits(uint32_t j, uint8_t gray)
    {
        unsigned bits = 0;
        for (const uint16_t threshold : thresholds[j % size])
            bits = bits << 1 | (gray > threshold ? 1U : 0U);
        return static_cast<uint8_t>(bits);
    }
};

// Eight bits that repeat along a line, as they stand in whole bytes of an area whose first pixel is at place `phase`
// of its byte.
inline uint8_t turnedTo(unsigned phase, uint8_t bits)
{
    return static_cast<uint8_t>((bits << 8 | bits) >> phase);
}

} // namespace lx
