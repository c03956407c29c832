// Full colour to palette indices.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

struct PaletteColorKernels {
    // destination[i] = 4 (B > t) + 2 (G > t) + (R > t) of triple i. Red is byte 0, or 2 if blueFirst.
    void (*primaries)(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst, uint8_t threshold);

    // The same with the threshold pattern[(phase + i) % period]. The pattern is repeated up to period + 63 bytes;
    // phase < period <= 64.
    void (*primariesPattern)(const uint8_t* source, const uint8_t* pattern, size_t period, size_t phase,
                             uint8_t* destination, size_t pixels, bool blueFirst);

    // Nibble i of the destination, the high one of a byte first, = colors[9 b + 3 g + r], each level being
    // floor(component / 86) and all 27 colours below 16. A last nibble without a pixel is overwritten.
    void (*thirds)(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst, const uint8_t* colors);

    // destination[i] = 36 b + 6 g + r, each level being floor(component / 43).
    void (*cube)(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst);
};

} // namespace lx
