// Rows put together from pixels that lie along a slanted line of the source: in runs of neighbours, or one by one.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

// A piece of a destination row whose pixels lie on the source in runs of neighbours. The source line steps on from run
// to run; now and then, the source column falls behind by one.
struct RunRow {
    static constexpr size_t most = 4096;  // pixels
    static constexpr size_t shortest = 8; // pixels of a run on average

    // Step m = 0, 1, ... comes before pixel trunc((first + m) * pixels) + 1, or never if `pixels` is infinite.
    struct Steps {
        double first; // above 0, at most 1
        double pixels;
    };

    const uint8_t* line; // the byte of the area's first pixel in the line of pixel 0
    ptrdiff_t climb;     // from there to the next line
    ptrdiff_t ahead;     // to the line that a later row will want, to be fetched early
    size_t lineBytes;    // of a line that hold pixels of the area
    unsigned phase;      // place of the area's first pixel within its byte, of packed pixels
    size_t column;       // of pixel 0, counted from the area's left edge
    size_t pixels;
    Steps climbs;
    Steps stalls;
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

// Pixels `begin` to `end` - 1 of a destination row of bits: pixel k = the source pixel in the column of
// trunc(across(k)) and the line of trunc(along(k)). All values of the coordinates are multiples of `unit`, which
// doubles hold exactly.
struct SlantedBits {
    struct Coordinate {
        double start; // at pixel 0
        double slope; // per pixel, 0 to 1
    };

    const uint8_t* centre; // the byte of the area's first pixel in the line of 0
    ptrdiff_t climb;       // from there to the line of 1
    ptrdiff_t ahead;       // to the line that a later row will want, to be fetched early
    size_t lineBytes;      // of a source line that hold pixels of its area
    int64_t column;        // of the pixel of 0, counted from the first bit of `centre`
    double unit;           // a power of 2
    Coordinate across;
    Coordinate along;
    int64_t begin;
    int64_t end;
};

struct SlantedRunKernels {
    // The runs' pixels, one after another. Packed pixels have `bits` (1 or 4) bits and start at place `phase` of the
    // destination's first byte, in pixels; neighbouring pixels keep their values.
    void (*copyPacked)(const RunRow& row, unsigned bits, uint8_t* destination, unsigned phase);
    void (*copyBytes)(const RunRow& row, uint8_t* destination);
    // The outer bytes are exchanged if `swap`.
    void (*copyTriples)(const RunRow& row, uint8_t* destination, bool swap);

    // A whole row of bits, `destination` being the byte of its first pixel and `phase` that pixel's place in it.
    // Returns whether it has been made: if not, nothing is written, and the row is to be copied run by run.
    bool (*slantedBits)(const SlantedBits& row, uint8_t* destination, unsigned phase);

    // Canonical pixel i of the destination = source pixel (x_i, -y_i), counted from the centre, for i < n.
    void (*pickBits)(const SlantedRow& row, uint8_t* destination, size_t n);
    void (*pickNibbles)(const SlantedRow& row, uint8_t* destination, size_t n);
    void (*pickBytes)(const SlantedRow& row, uint8_t* destination, size_t n);
    void (*pickTriples)(const SlantedRow& row, uint8_t* destination, size_t n, bool swap);
};

} // namespace lx
