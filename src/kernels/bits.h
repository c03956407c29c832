// Packed pixels to bytes and back. Pixels run from the most significant bit or nibble to the least.

#pragma once

#include "kernels/row_runs.h"

#include <cstddef>
#include <cstdint>

namespace lx
{

// What clear and set bits of a source become, or which bits of the destination they change: masks that repeat with
// every byte of the row.
struct BitPatterns {
    uint8_t zero;
    uint8_t one;
};

// All bits where the flags of clear and set bits are not 0, else none.
inline BitPatterns patternsOf(const uint8_t flags[2])
{
    return {static_cast<uint8_t>(flags[0] != 0 ? 0xFF : 0), static_cast<uint8_t>(flags[1] != 0 ? 0xFF : 0)};
}

struct BitOverlay {
    BitPatterns bits;
    BitPatterns opaque;
};

struct BitKernels {
    // destination[8 k + b] = bit 7 - b of source[k] ? one : zero, for k < bytes.
    void (*unpackBits)(const uint8_t* source, uint8_t* destination, size_t bytes, uint8_t zero, uint8_t one);

    // Bit 7 - b of destination[k] = source[8 k + b], for k < bytes; source bytes are 0 or 1.
    void (*packBits)(const uint8_t* source, uint8_t* destination, size_t bytes);

    // destination[2 k] = source[k] >> 4, destination[2 k + 1] = source[k] & 15, for k < bytes.
    void (*unpackNibbles)(const uint8_t* source, uint8_t* destination, size_t bytes);

    // destination[k] = (source[2 k] & 15) << 4 | (source[2 k + 1] & 15), for k < bytes.
    void (*packNibbles)(const uint8_t* source, uint8_t* destination, size_t bytes);

    // Copies `bits` bits from place sourcePhase of source[0] on to place destinationPhase of destination[0] on, place 0
    // being the highest bit of a byte and both phases 0 to 7. The other bits of the first and last byte keep their
    // values. Nibbles are copied as four bits each.
    void (*copyBits)(const uint8_t* source, unsigned sourcePhase, uint8_t* destination, unsigned destinationPhase,
                     size_t bits);

    // Pixel i of destination = pixel i / times of source, of `bits` bits (1 or 4) each, for bytes * times bytes of
    // destination; times is 2 to 8. The same for every row of the runs.
    void (*repeat)(const RowRuns& rows, size_t bytes, unsigned bits, unsigned times);

    // The `bits` bits from place `phase` (0 to 7) of row[0] on become (bit & keep) ^ flip. The masks repeat with every
    // byte of the row; the other bits of the first and last byte keep their values.
    void (*changeBits)(uint8_t* row, unsigned phase, size_t bits, uint8_t keep, uint8_t flip);

    // The same bits become those of the overlay where that is opaque; the source has the same phase.
    void (*overlayBits)(const uint8_t* source, uint8_t* row, unsigned phase, size_t bits, const BitOverlay& overlay);
};

} // namespace lx
