// Counting set pixels in a window of a bilevel plane, line by line, at a cost that does not depend on the window.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

struct WindowKernels {
    // gain[i] = entering[i] - leaving[i]; both hold 0 or 1. What the columns of windows gain from one line to the next.
    void (*gain)(const uint8_t* entering, const uint8_t* leaving, int8_t* gain, size_t columns);

    // The count of a window changes by gained[i] - lost[i] more than that of its right neighbour:
    // counts[i] += change + the sum of gained[k] - lost[k] for k from i to windows - 1. Gains are -1 to 1. The result
    // is what counts[0] changed by.
    void (*slide)(const int8_t* gained, const int8_t* lost, uint32_t* counts, size_t windows, int32_t change);

    // s = counts[i] * scales[i] in single precision, less 1 if at least 1;
    // destination[i] = trunc(step * s + rounding) in double precision, at most 255.
    void (*shade)(const uint32_t* counts, const float* scales, uint8_t* destination, size_t pixels, double step,
                  double rounding);

    // Triple i = first[i], second[i], third[i].
    void (*join)(const uint8_t* first, const uint8_t* second, const uint8_t* third, uint8_t* destination,
                 size_t pixels);

    // Small windows are summed anew from the counts of their columns, which are bytes:

    // counts[i] += entering[i] - leaving[i].
    void (*slideColumns)(const uint8_t* entering, const uint8_t* leaving, uint8_t* counts, size_t columns);

    // destination[i] = levels[counts[i] + ... + counts[i + size - 1]], with sums below 256 and a table of 256. Counts
    // may be read up to index windows + size + 63.
    void (*shadeSums)(const uint8_t* counts, size_t size, const uint8_t* levels, uint8_t* destination, size_t windows);
};

} // namespace lx
