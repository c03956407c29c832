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

    // The following write packed rows that start at the highest bit of a byte; what is left of the last byte becomes 0.

    // Bit of pixel i = 1 if the weighted luminance of triple i, as in weightedGray but not truncated, is at least 192.
    void (*bright)(const uint8_t* source, uint8_t* destination, size_t pixels);

    // Bit of pixel i = source[i] > threshold.
    void (*above)(const uint8_t* source, uint8_t* destination, size_t pixels, uint8_t threshold);

    // Bit of pixel i = source[i] > pattern[(phase + i) % period]. The pattern is repeated up to period + 63 bytes;
    // phase < period <= 64.
    void (*abovePattern)(const uint8_t* source, const uint8_t* pattern, size_t period, size_t phase,
                         uint8_t* destination, size_t pixels);

    // Nibble of pixel i = floor(source[i] / 17).
    void (*levels16)(const uint8_t* source, uint8_t* destination, size_t pixels);

    // And back to canonical rows:

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
