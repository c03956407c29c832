// Corrections that weight bytes: colour matrix and sharpening.
//
// Their rule is a sum in double precision, rounded to single precision and then truncated. Where the factors can be
// split, single precision gives the same values: see correct/split_factors.h.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

// Single-precision factors. If isSplit, whole = high + low, the sums of products of either part are exact in single
// precision, and their sum is below 2^24.
template <unsigned n>
struct SplitFactors {
    float whole[n];
    float high[n];
    float low[n];
    bool isSplit;
};

// The factors of a colour matrix. If isFixed, factor k is about (256 high[k] + low[k]) / 2^22, and a sum of bytes with
// these, plus lift, gives the result in its bits from 22 on, if the pixel is gray or the sum has one of the bits
// `certain`: see correct/fixed_factors.h.
struct MatrixFactors {
    SplitFactors<9> exact;
    int16_t high[9];
    int8_t low[9];
    int32_t lift;
    int32_t certain;
    bool isFixed;
};

// The factors of sharpening. If isFixed, factor k is exactly (high[k] - low[k] lowUnit) / 2^16, and if isNarrow, sums
// of low parts are within 2^22: see correct/fixed_factors.h.
template <unsigned n>
struct SharpenFactors {
    SplitFactors<n> exact;
    int16_t high[n];
    int16_t low[n];
    float lowUnit;
    bool isNarrow;
    bool isFixed;
};

// Lines that follow each other, with a row more above and below, and a place for the result of each line. In every row,
// `step` bytes on either side can be read, too.
struct NeighbourRows {
    const uint8_t* const* rows;
    uint8_t* const* destinations;
    unsigned lines; // one row for each, and two
    size_t bytes;   // of a line
    size_t step;    // distance of horizontal neighbours: the size of a pixel
    ptrdiff_t next; // to a row as many lines on, which may soon be read and so is worth fetching
};

struct CorrectKernels {
    // For each triple, output c = (m[3 c] R + m[3 c + 1] G) + m[3 c + 2] B, saturated and truncated. Red is byte 0, or
    // 2 if blueFirst.
    void (*matrix)(const MatrixFactors& factors, uint8_t* row, size_t pixels, bool blueFirst);

    // With C the byte itself, h = 2 C - (left + right), v = 2 C - (upper + lower): the result is
    // C + h (h >= 0 ? k0 : k2) + v (v >= 0 ? k1 : k3), saturated and truncated.
    void (*sharpenSeparated)(const SharpenFactors<4>& factors, const NeighbourRows& rows);

    // With s the sum of the four direct neighbours less 4 C, and d = 4 C less the sum of the four diagonal ones: the
    // result is C + s k0 + d (d >= 0 ? k1 : k2), saturated and truncated.
    void (*sharpenCross)(const SharpenFactors<3>& factors, const NeighbourRows& rows);
};

} // namespace lx
