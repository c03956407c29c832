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

// Pixels of a line from component `first` on. The last one stands for the next one as well, where that is asked for.
struct RampRow {
    const uint8_t* pixels;
    uint32_t first;
    size_t components;
    unsigned channels;
};

struct EnlargeKernels {
    // destination[i] = trunc(from[i] + t * d), d = (to[i] - from[i]) * (1 / length) in single precision, the rest in
    // double; t < length. What lies `ahead` bytes further on in the destination is asked for in advance: lines that are
    // not written in order are no surprise then.
    void (*ramp)(const uint8_t* from, const uint8_t* to, uint8_t* destination, size_t components, unsigned t,
                 uint32_t length, ptrdiff_t ahead);

    // Groups one after the other, of components c = row[base + offsets[k]] and of those of the next pixel: ramps from
    // one to the other with t = times[k] & 127, and the length one more where the top bit of times[k] is set. Times go
    // on from group to group.
    void (*rampPicked)(const RampRow& row, uint8_t* destination, const PickGroup* groups, size_t count,
                       const uint8_t* times, uint32_t length, ptrdiff_t ahead);

    // Groups of the middle of ramps of two from a row to `bottom`, a row like it or the same: component c of that is
    // (t + b) >> 1. Offset k is component c = base + k itself, offset k + 64 the middle of a ramp of two to the next
    // pixel, (((t + t') >> 1) + ((b + b') >> 1)) >> 1; `last` is the largest k, 63 at most. All components of the row
    // are there, from the first group's on, but for those of a last pixel that may be there for its neighbour's sake.
    void (*rampHalves)(const RampRow& row, const uint8_t* bottom, uint8_t* destination, const PickGroup* groups,
                       size_t count);

    // Twice as many pixels: pixel 2 i = (t + b + 1) >> 1 of the rows' pixel i, and pixel 2 i + 1 =
    // (t + b + t' + b' + 2) >> 2 with the next pixel's t' and b', or the last one's own.
    void (*twice)(const uint8_t* top, const uint8_t* bottom, uint8_t* destination, size_t components,
                  unsigned channels);

    // The same of twice as many pixels: pixel 2 i is the pixel itself, pixel 2 i + 1 the middle behind it.
    void (*rampTwice)(const uint8_t* top, const uint8_t* bottom, uint8_t* destination, size_t components,
                      unsigned channels);

    // Every pixel two times.
    void (*repeatTwice)(const uint8_t* source, uint8_t* destination, size_t components, unsigned channels);
};

} // namespace lx
