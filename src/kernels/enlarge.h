// Enlargement along a line: ramps between pixels, and twice the pixels.
//
// Rows are components: bytes of 8-bit pixels, or the three bytes of full-colour pixels, which are `channels` = 3 apart
// from pixel to pixel.

#pragma once

#include "kernels/pick.h"

#include <cstddef>
#include <cstdint>

namespace lx
{

struct EnlargeKernels {
    // destination[i] = trunc(from[i] + t * d), d = (to[i] - from[i]) * (1 / length) in single precision, the rest in
    // double; t < length. What lies `ahead` bytes further on in the destination is asked for in advance: lines that are
    // not written in order are no surprise then.
    void (*ramp)(const uint8_t* from, const uint8_t* to, uint8_t* destination, size_t components, unsigned t,
                 uint32_t length, ptrdiff_t ahead);

    // Groups one after the other, of components c = source[base - first + offsets[k]] and what is `channels` further
    // on: ramps from one to the other with t = times[k] & 127, and the length one more where the top bit of times[k] is
    // set. Times go on from group to group.
    void (*rampPicked)(const uint8_t* source, uint32_t first, unsigned channels, uint8_t* destination,
                       const PickGroup* groups, size_t count, const uint8_t* times, uint32_t length, ptrdiff_t ahead);

    // Twice as many pixels: pixel 2 i = (t + b + 1) >> 1 of the rows' pixel i, and pixel 2 i + 1 =
    // (t + b + t' + b' + 2) >> 2 with the next pixel's t' and b', or the last one's own.
    void (*twice)(const uint8_t* top, const uint8_t* bottom, uint8_t* destination, size_t components,
                  unsigned channels);

    // The middle of ramps of two between the rows, which are made of ramps of two themselves: pixel 2 i = (t + b) >> 1,
    // pixel 2 i + 1 = (((t + t') >> 1) + ((b + b') >> 1)) >> 1.
    void (*rampTwice)(const uint8_t* top, const uint8_t* bottom, uint8_t* destination, size_t components,
                      unsigned channels);

    // Every pixel two times.
    void (*repeatTwice)(const uint8_t* source, uint8_t* destination, size_t components, unsigned channels);
};

} // namespace lx
