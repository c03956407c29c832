// Rank and majority of 3 x 3 neighbourhoods.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

struct MedianKernels {
    // destination[k] = the sixth smallest of the bytes k - stride, k and k + stride of the three rows.
    void (*sixthOfNine)(const uint8_t* upper, const uint8_t* centre, const uint8_t* lower, uint8_t* destination,
                        size_t bytes, size_t stride);

    // The same for four rows that follow each other: destinations[j] from rows[j], rows[j + 1] and rows[j + 2].
    void (*sixthInFourRows)(const uint8_t* const* rows, uint8_t* const* destinations, size_t bytes, size_t stride);

    // On packed bits: each bit of destination[0] to destination[bytes - 1] = 1 if at least five are set among the bit,
    // its two neighbours, and the same in the other two rows. Reads the bytes -1 and `bytes` of each row.
    void (*majorityOfBits)(const uint8_t* upper, const uint8_t* centre, const uint8_t* lower, uint8_t* destination,
                           size_t bytes);

    // The same on packed nibbles, for each of their bits 0 to 2; bit 3 is that of `centre`.
    void (*majorityOfNibbles)(const uint8_t* upper, const uint8_t* centre, const uint8_t* lower, uint8_t* destination,
                              size_t bytes);

    // Both for `count` rows that follow each other: destinations[j] from rows[j], rows[j + 1] and rows[j + 2].
    void (*majorityOfBitsInRows)(const uint8_t* const* rows, uint8_t* const* destinations, size_t count, size_t bytes);
    void (*majorityOfNibblesInRows)(const uint8_t* const* rows, uint8_t* const* destinations, size_t count,
                                    size_t bytes);

    // Both for rows of one word each, whose highest pixel is the leftmost. Pixels without a neighbour mean nothing.
    void (*majorityOfBitsInWords)(const uint32_t* rows, uint32_t* results, size_t count);
    void (*majorityOfNibblesInWords)(const uint32_t* rows, uint32_t* results, size_t count);
};

} // namespace lx
