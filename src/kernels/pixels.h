// Point operations on canonical rows: bytes, or triples of bytes for full colour.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

// The pixel of every index, one table for each of its three bytes.
struct ColorTable {
    alignas(64) uint8_t component[3][256];
};

struct PixelKernels {
    // destination[i] = trunc((R w33 + B w33) + G w34), at most 255: single-precision weights, double-precision sum.
    // Red and blue weigh the same, so either component order will do.
    void (*weightedGray)(const uint8_t* source, uint8_t* destination, size_t pixels);

    // destination[i] = trunc((B 0.33 + G 0.34) + R 0.33) in double precision. Red is component 0, or 2 if blueFirst.
    void (*preciseGray)(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst);

    // destination[i] = component `component` (0 to 2) of triple i.
    void (*component)(const uint8_t* source, uint8_t* destination, size_t pixels, unsigned component);

    // destination[i] = 1 if weighted luminance of triple i is at least 192, else 0: (R w33 + B w33) + G w34 as in
    // weightedGray.
    void (*bright)(const uint8_t* source, uint8_t* destination, size_t pixels);

    // destination[i] = floor(source[i] / 17).
    void (*levels16)(const uint8_t* source, uint8_t* destination, size_t pixels);

    // destination[i] = source[i] > threshold ? 1 : 0.
    void (*above)(const uint8_t* source, uint8_t* destination, size_t pixels, uint8_t threshold);

    // destination[i] = source[i] > thresholds[i] ? 1 : 0.
    void (*aboveEach)(const uint8_t* source, const uint8_t* thresholds, uint8_t* destination, size_t pixels);

    // destination[i] = table[source[i]], with a table of 256. Source and destination may be the same row.
    void (*lookup)(const uint8_t* source, uint8_t* destination, size_t pixels, const uint8_t* table);

    // Component c of triple i = table.component[c][source[i]].
    void (*colors)(const uint8_t* source, uint8_t* destination, size_t pixels, const ColorTable& table);

    // Triple i of the destination = triple i of the source with its first and last byte exchanged.
    void (*swapEnds)(const uint8_t* source, uint8_t* destination, size_t pixels);

    // destination[i] = source[i] >> bit & 1.
    void (*bit)(const uint8_t* source, uint8_t* destination, size_t pixels, unsigned bit);
};

} // namespace lx
