// Counting set pixels in a window of a bilevel plane, line by line, at a cost that does not depend on the window.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

struct WindowKernels {
    // From one line to the next, the count of a window changes by delta[i] more than that of its right neighbour:
    // delta[i] = (enterLeft[i] - leaveLeft[i]) - (enterRight[i] - leaveRight[i]), all four rows holding 0 or 1.
    void (*drift)(const uint8_t* enterLeft, const uint8_t* leaveLeft, const uint8_t* enterRight,
                  const uint8_t* leaveRight, int8_t* delta, size_t pixels);

    // counts[i] += change + delta[i] + ... + delta[pixels - 1]; the result is what counts[0] changed by.
    // |delta| is at most 2.
    int32_t (*slide)(const int8_t* delta, uint32_t* counts, size_t pixels, int32_t change);

    // s = counts[i] * scales[i] in single precision, less 1 if at least 1;
    // destination[stride i] = trunc(step * s + rounding) in double precision.
    void (*shade)(const uint32_t* counts, const float* scales, uint8_t* destination, size_t stride, size_t pixels,
                  double step, double rounding);
};

} // namespace lx
