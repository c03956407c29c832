// Change of size along a line: block means and interpolation, which make one pixel of several.
//
// Rows are components: bytes of 8-bit pixels, or the three bytes of full-colour pixels, which are `channels` = 3 apart
// from pixel to pixel. What a row needs to know about its columns is laid out beforehand, once for all lines.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

// The blocks of a line: each `width` pixels wide, the wide ones one more, and one following the other.
struct BlockColumns {
    unsigned channels;
    uint32_t width;
    uint32_t blocks;
    uint32_t components;       // source components of all blocks
    const uint32_t* starts;    // first pixel of each block, and the end of the last
    const uint64_t* begins;    // bit c says whether component c is one of a block's first pixel
    const uint64_t* wide;      // the same of wide blocks alone
    const uint64_t* wideMeans; // bit k says whether component k of the means is a wide block's
};

// The mark of a block whose mean is in doubt; others have 0.
constexpr uint8_t blockMark = 255;

// How the sums of narrow [0] and wide [1] blocks become means.
struct BlockRule {
    uint32_t pixels[2]; // of a block, at most 65535
    bool marked[2];     // whether sums that divide evenly are to be marked
    uint8_t white[2];   // the mean of a marked block that is all 255
};

// A few destination components of an interpolated line.
struct TapGroup {
    static constexpr unsigned lanes = 32;
    static constexpr unsigned reach = 64; // a group of more than one pixel stays within so many components

    uint32_t base;           // source component that the offsets count from
    uint16_t count;          // 1 to 32 components
    uint16_t last;           // the largest offset
    uint16_t offsets[lanes]; // of the first tap
    int16_t weights[lanes];  // of the last tap against the first, in 1 / 32768
};

struct ResampleKernels {
    // destination[b] = floor(sum of block b / pixels) from `rows` rows, at most 257, that are `step` bytes apart,
    // component by component. Blocks that are not all 0 or all 255 and divide evenly are marked by blockMark. `marks`
    // has room for 64 bytes more than there are means, `sums`, which is used up, for 32 words more than there are
    // components. Returns whether there are marks; if not, `marks` may be left as it is.
    bool (*blockMeans)(const uint8_t* source, ptrdiff_t step, unsigned rows, const BlockColumns& columns,
                       const BlockRule& rule, uint16_t* sums, uint8_t* destination, uint8_t* marks);

    // The same of columns that have been summed already. All of `sums` is used up.
    bool (*meansOfSums)(uint16_t* sums, const BlockColumns& columns, const BlockRule& rule, uint8_t* destination,
                        uint8_t* marks);

    // sums[i] += source[i].
    void (*addRow)(const uint8_t* source, uint32_t* sums, size_t components);

    // Interpolation down the columns, in 1 / 128: x = 128 (top + middle) + round(128 (bottom - top) weight / 32768),
    // destination[i] = floor((x + floor(box / 2)) / box) + 64; the 64 are for the next step. `middle` is the sum of
    // box - 1 <= 2046 rows.
    void (*joinRows)(const uint8_t* top, const uint32_t* middle, const uint8_t* bottom, uint16_t* destination,
                     size_t components, uint32_t box, int weight);

    // The same for boxes of 1 (middle unused) and 2 (middle is a row).
    void (*joinTwo)(const uint8_t* top, const uint8_t* bottom, uint16_t* destination, size_t components, int weight);
    void (*joinThree)(const uint8_t* top, const uint8_t* middle, const uint8_t* bottom, uint16_t* destination,
                      size_t components, int weight);

    // Interpolation along the line, of what the above gives. The box + 1 taps of a component are `channels` apart:
    // destination = floor((all but the last + round((last - first) weight / 32768)) / (128 box)). `source` has room for
    // 64 words more than the taps need.
    void (*joinColumns)(const uint16_t* source, uint8_t* destination, const TapGroup* groups, size_t count,
                        unsigned channels, uint32_t box);

    // destination[i] = floor((before[i] + 6 level[i] + after[i] + 4) / 8).
    void (*smooth)(const uint8_t* before, const uint8_t* level, const uint8_t* after, uint8_t* destination, size_t n);
};

} // namespace lx
