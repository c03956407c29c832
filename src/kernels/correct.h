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

// A row and its neighbours, at the first of the bytes in work. `step` bytes on either side can be read in each.
struct NeighbourRows {
    const uint8_t* upper;
    const uint8_t* centre;
    const uint8_t* lower;
    size_t step; // distance of horizontal neighbours: the size of a pixel
};

struct CorrectKernels {
    // For each triple, output c = (m[3 c] R + m[3 c + 1] G) + m[3 c + 2] B, saturated and truncated. Red is byte 0, or
    // 2 if blueFirst.
    void (*matrix)(const MatrixFactors& factors, uint8_t* row, size_t pixels, bool blueFirst);

    // With C the byte itself, h = 2 C - (left + right), v = 2 C - (upper + lower): destination[k] =
    // C + h (h >= 0 ? k0 : k2) + v (v >= 0 ? k1 : k3), saturated and truncated.
    void (*sharpenSeparated)(const SplitFactors<4>& factors, const NeighbourRows& rows, uint8_t* destination,
                             size_t bytes);

    // With s the sum of the four direct neighbours less 4 C, and d = 4 C less the sum of the four diagonal ones:
    // destination[k] = C + s k0 + d (d >= 0 ? k1 : k2), saturated and truncated.
    void (*sharpenCross)(const SplitFactors<3>& factors, const NeighbourRows& rows, uint8_t* destination, size_t bytes);
};

} // namespace lx
