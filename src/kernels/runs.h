// Rows put together from pixels that lie elsewhere: in runs of neighbours, or one by one along a slanted line.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

// Neighbouring pixels of a source line.
struct PixelRun {
    const uint8_t* line; // the byte of the area's first pixel in this line
    uint32_t column;     // first pixel, counted from the area's left edge
    uint32_t count;      // at least 1
};

// Runs that follow one another in the destination.
struct RunRow {
    const PixelRun* runs;
    size_t count;
    size_t pixels;    // of all runs together
    size_t lineBytes; // bytes of a source line that hold pixels of its area
    unsigned phase;   // place of the area's first pixel within its byte, of packed pixels
    ptrdiff_t ahead;  // from a run to the bytes that a later row will want, to be fetched early
};

// Source pixels on a slanted line. In double precision, every operation rounded on its own, with d = first + i:
// x_i = trunc(cosine * d - offsetX), y_i = trunc(sine * d + offsetY); both fit 32 bits.
struct SlantedRow {
    const uint8_t* centre; // the first byte of the line in which y = 0
    ptrdiff_t step;        // from a line to the next
    size_t column;         // of the pixel with x = 0, counted from the first pixel of that byte
    double cosine;
    double sine;
    double offsetX;
    double offsetY;
    double first;
};

struct RunKernels {
    // The runs' pixels, one after another. Packed pixels have `bits` (1 or 4) bits and start at place `phase` of the
    // destination's first byte, in pixels; neighbouring pixels keep their values.
    void (*copyPacked)(const RunRow& row, unsigned bits, uint8_t* destination, unsigned phase);
    void (*copyBytes)(const RunRow& row, uint8_t* destination);
    // The outer bytes are exchanged if `swap`.
    void (*copyTriples)(const RunRow& row, uint8_t* destination, bool swap);

    // Canonical pixel i of the destination = source pixel (x_i, -y_i), counted from the centre, for i < n.
    void (*pickBits)(const SlantedRow& row, uint8_t* destination, size_t n);
    void (*pickNibbles)(const SlantedRow& row, uint8_t* destination, size_t n);
    void (*pickBytes)(const SlantedRow& row, uint8_t* destination, size_t n);
    void (*pickTriples)(const SlantedRow& row, uint8_t* destination, size_t n, bool swap);
};

} // namespace lx
