// Error diffusion over several lines at once, in a wavefront.

#pragma once

#include "lx.h"

#include <cstddef>
#include <cstdint>

namespace lx
{

// Lines that follow one another, ready to be diffused with one kernel.
struct DiffusionLines {
    static constexpr unsigned most = 16;

    const uint8_t* source[most]; // first pixel of each line
    uint8_t* destination[most];  // the byte that holds the first pixel of each line
    unsigned phase;              // place of the first pixel within its destination byte: 0 to 7
    double* carry;               // carried error of the first pixel; entries -1 and `width` are guards
    size_t width;                // pixels, at least 1
    ErrorDiffusionKernel kernel; // finite weights
};

struct DiffusionKernels {
    // Lines that `diffuse` takes at a time; 0 if it has no wavefront at this level.
    unsigned lines;

    // Bit i of each destination line = 1 where the diffused source is at least 128. The carry row is left as it is
    // after the last line, but for the sign of zeros.
    void (*diffuse)(const DiffusionLines& lines);
};

} // namespace lx
