// Picking: destination pixels that are source pixels as they are, by offsets laid out beforehand.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

// A few destination components, and where they come from.
struct PickGroup {
    static constexpr unsigned lanes = 64;

    uint32_t base;          // source component that the offsets count from
    uint8_t count;          // 1 to 64 components
    uint8_t last;           // the largest offset
    uint8_t offsets[lanes]; // ascending
};

// Rows that the same columns are picked from, and those they go to, `step` bytes apart.
struct PickRows {
    static constexpr unsigned most = 16;

    unsigned count;
    const uint8_t* sources[most];
    ptrdiff_t ahead[most]; // as below
    uint8_t* destination;
    ptrdiff_t step;
};

struct PickKernels {
    // Groups one after the other: destination[k] = source[base - first + offsets[k]]. What lies `ahead` bytes further
    // on is asked for in advance if `ahead` is not 0: a line that comes after some that are skipped is no surprise
    // then.
    void (*pick)(const uint8_t* source, uint32_t first, ptrdiff_t ahead, uint8_t* destination, const PickGroup* groups,
                 size_t count);

    // The same for some rows at a time, and the sums of what has been picked: sums[k] = destination[k] +
    // destination[step + k] + .... `sums` has room for 64 words more than there are components.
    void (*pickSums)(const PickRows& rows, const PickGroup* groups, size_t count, uint16_t* sums);

    // The first for packed nibbles, nibble 0 being the `phase`th (0 or 1) of source[0], and destination nibbles in
    // pairs from destination[0] on. All groups but the last have 64, and no offset is above 126; the rest of the last
    // byte is written as well. Returns whether it has been done: if not, nothing is written.
    bool (*pickNibbles)(const uint8_t* source, unsigned phase, uint8_t* destination, const PickGroup* groups,
                        size_t count);
};

} // namespace lx
