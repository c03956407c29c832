// Pasting, keying and tinting rows of bytes or triples.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

// A range for each byte of a triple, both ends included.
struct TripleRange {
    uint8_t low[3];
    uint8_t high[3];
};

struct ComposeKernels {
    // destination[i] = trunc((R w + B w) + G w + 0.5) of triple i, w being one third in single precision.
    void (*grayByThirds)(const uint8_t* source, uint8_t* destination, size_t pixels);

    // destination[i] = trunc((B + R) 0.33 + G 0.34 + 0.5) of triple i.
    void (*grayByWeights)(const uint8_t* source, uint8_t* destination, size_t pixels);

    // row[i] = trunc((row[i] - levels[i]) * 0.25 + levels[i]) where it is above levels[i].
    void (*tint)(const uint8_t* levels, uint8_t* row, size_t bytes);

    // flags[i] = 0 if every byte of triple i lies in its range, else 1.
    void (*outside)(const uint8_t* source, uint8_t* flags, size_t pixels, const TripleRange& range);

    // row[i] = source[i] where flags[i] is 1; flags are 0 or 1.
    void (*select)(const uint8_t* source, const uint8_t* flags, uint8_t* row, size_t pixels);
    void (*selectTriples)(const uint8_t* source, const uint8_t* flags, uint8_t* row, size_t pixels);

    // Triple i of the row = triple i of the source, if a byte of that lies outside its range.
    void (*overlayTriples)(const uint8_t* source, uint8_t* row, size_t pixels, const TripleRange& range);

    // row[i] = values[source[i]] where flags[source[i]] is 1; tables of 256.
    void (*overlayLookup)(const uint8_t* source, uint8_t* row, size_t pixels, const uint8_t* values,
                          const uint8_t* flags);
};

} // namespace lx
