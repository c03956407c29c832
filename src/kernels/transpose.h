// Rows to columns: blocks of pixels turned over their diagonal.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

// A block of pixels and where it goes: column c of the source becomes row c of the destination. The steps lead from
// one row to the next and may be negative.
struct TransposeBlock {
    const uint8_t* source; // the byte that holds the first column of the first row
    ptrdiff_t sourceStep;
    uint8_t* destination; // the first byte of the first row
    ptrdiff_t destinationStep;
    ptrdiff_t rows;    // of the source
    ptrdiff_t columns; // of the source
    unsigned phase;    // of packed pixels: place of the first column within its byte
};

struct TransposeKernels {
    // Bytes of a destination row from which on a block is worth its while, and the most of packed pixels.
    static constexpr ptrdiff_t strip = 64;

    // Byte r of destination row c = byte c of source row r.
    void (*bytes)(const TransposeBlock& block);

    // Triple r of destination row c = triple c of source row r, its outer bytes exchanged if `swap`.
    void (*triples)(const TransposeBlock& block, bool swap);

    // Packed pixels, `rows` filling whole destination bytes: pixel r of destination row c, counted from the highest
    // nibble or bit of the row's first byte, = pixel c of source row r, counted from `phase`.
    void (*nibbles)(const TransposeBlock& block);
    void (*bits)(const TransposeBlock& block);
};

} // namespace lx
