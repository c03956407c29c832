// Error diffusion over several lines at once, in a wavefront.

#pragma once

#include "lx.h"

#include <cstddef>
#include <cstdint>

namespace lx
{

// Lines that follow one another, to be diffused with one kernel.
struct DiffusionLines {
    static constexpr unsigned most = 64;

    const uint8_t* source[most]; // first pixel of each line
    uint8_t* destination[most];  // the byte that holds the first pixel of each line
    unsigned count;              // lines, 1 to `most`
    unsigned phase;              // place of the first pixel within its destination byte
    double* carry;               // carried error of the first pixel; there is an entry before it and one after the last
    size_t width;                // pixels, at least 1
    ErrorDiffusionKernel kernel; // finite weights
};

struct DiffusionKernels {
    // One channel to bits: bit 1 where the pixel with the errors it has received is at least 128. The carry row is left
    // as it is after the last line, but for the sign of zeros.
    void (*diffuseGray)(const DiffusionLines& lines);

    // Three channels to nibbles: the same for every channel, groups of three in source and carry row. Source byte 0
    // decides bit 0 and source byte 2 bit 2, or the other way round if blueFirst; bit 3 is 0.
    void (*diffuseColor)(const DiffusionLines& lines, bool blueFirst);
};

} // namespace lx
