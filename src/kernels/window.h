// Counting set pixels in a window of a bilevel plane, line by line, at a cost that does not depend on the window.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

struct WindowKernels {
    // From one line to the next, the count of a window changes by drift[i] - 2 more than that of its right neighbour:
    // drift[i] = 2 + (enterLeft[i] - leaveLeft[i]) - (enterRight[i] - leaveRight[i]), all four rows holding 0 or 1.
    void (*drift)(const uint8_t* enterLeft, const uint8_t* leaveLeft, const uint8_t* enterRight,
                  const uint8_t* leaveRight, uint8_t* drift, size_t pixels);

    // counts[i] += change + (drift[i] - 2) + ... + (drift[pixels - 1] - 2); the result is what counts[0] changed by.
    int32_t (*slide)(const uint8_t* drift, uint32_t* counts, size_t pixels, int32_t change);

    // The same for counts that stay below 256.
    int32_t (*slideBytes)(const uint8_t* drift, uint8_t* counts, size_t pixels, int32_t change);

    // s = counts[i] * scales[i] in single precision, less 1 if at least 1;
    // destination[stride i] = trunc(step * s + rounding) in double precision.
    void (*shade)(const uint32_t* counts, const float* scales, uint8_t* destination, size_t stride, size_t pixels,
                  double step, double rounding);
};

} // namespace lx
