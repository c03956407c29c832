// The drivers of operations that work line by line: they walk the overlap of the areas, feed rows to the operation in
// chunks, and report progress. An operation is a callable; it never sees a line order or a packed byte.

#pragma once

#include "frame/area_view.h"
#include "frame/progress.h"
#include "frame/row_io.h"

namespace lx
{

// Calls `line(j)` for every line, and reports progress after each.
template <class Line>
void walkLines(uint32_t height, ProgressCallback callback, Line line)
{
    Progress progress(callback);
    for (uint32_t j = 0; j < height; ++j) {
        line(j);
        progress.lineDone(j, height);
    }
}

// Calls `chunk(i, n)` for successive pieces of a line of `width` pixels, each of `limit` pixels at most.
template <class Chunk>
void walkChunks(uint32_t width, uint32_t limit, Chunk chunk)
{
    for (uint32_t i = 0; i < width;) {
        const uint32_t n = std::min(width - i, limit);
        chunk(i, n);
        i += n;
    }
}

// Point operations: calls `step(source, destination, n)` with the canonical rows of successive chunks of every line, in
// raster order, and `endLine()` after every line.
template <class Step, class EndLine>
void mapRows(const AreaView& source, const AreaView& destination, ProgressCallback callback, Step step, EndLine endLine)
{
    RowReader reader(source);
    RowWriter writer(destination);
    const Overlap overlap(source, destination);
    // Rows that are passed through need no chunks.
    const uint32_t limit = source.packed() || destination.packed() ? chunkPixels : overlap.width;
    walkLines(overlap.height, callback, [&](uint32_t j) {
        walkChunks(overlap.width, limit, [&](uint32_t i, uint32_t n) {
            step(reader.read(i, j, n), writer.open(i, j, n), n);
            writer.close();
        });
        endLine();
    });
}

template <class Step>
void mapRows(const AreaView& source, const AreaView& destination, ProgressCallback callback, Step step)
{
    mapRows(source, destination, callback, step, [] {});
}

// Point operations from bytes or triples to packed pixels, which they pack themselves: calls
// `step(source, destination, n)` with the canonical row and the place of the packed row, in raster order, and
// `endLine()` after every line.
template <class Step, class EndLine>
void mapToPacked(const AreaView& source, const AreaView& destination, ProgressCallback callback, Step step,
                 EndLine endLine)
{
    PackedRowWriter writer(destination);
    const Overlap overlap(source, destination);
    walkLines(overlap.height, callback, [&](uint32_t j) {
        for (uint32_t i = 0; i < overlap.width;) {
            const uint32_t rest = overlap.width - i;
            const uint32_t n = writer.head(i) != 0 ? std::min(writer.head(i), rest) : rest;
            step(source.at(i, j), writer.open(i, j, n), n);
            writer.close();
            i += n;
        }
        endLine();
    });
}

template <class Step>
void mapToPacked(const AreaView& source, const AreaView& destination, ProgressCallback callback, Step step)
{
    mapToPacked(source, destination, callback, step, [] {});
}

// Bits to bytes: every pixel of the bilevel source becomes `zero` or `one`.
inline void mapBits(const AreaView& source, const AreaView& destination, uint8_t zero, uint8_t one,
                    ProgressCallback callback)
{
    RowReader reader(source, zero, one);
    const Overlap overlap(source, destination);
    walkLines(overlap.height, callback, [&](uint32_t j) {
        if (overlap.width != 0)
            reader.readTo(destination.row(j), 0, j, overlap.width);
    });
}

// Bits to bits, by the BitPatterns `patterns(j)` for line j.
template <class Patterns>
void mapBitsToBits(const AreaView& source, const AreaView& destination, ProgressCallback callback, Patterns patterns)
{
    const BitKernels& bits = *kernels().bits;
    const Overlap overlap(source, destination);
    const unsigned phase = destination.phase();
    walkLines(overlap.height, callback, [&](uint32_t j) {
        uint8_t* row = destination.row(j);
        bits.copyBits(source.row(j), source.phase(), row, phase, overlap.width);
        const BitPatterns own = patterns(j);
        if (own.zero != 0 || own.one != 0xFF)
            bits.changeBits(row, phase, overlap.width, own.zero ^ own.one, own.zero);
    });
}

// Copies pixels to an area of the same pixel size, as they are.
inline void copyLines(const AreaView& source, const AreaView& destination, ProgressCallback callback)
{
    const BitKernels& bits = *kernels().bits;
    const Overlap overlap(source, destination);
    const size_t lineBits = size_t{overlap.width} * source.bits();
    // Lines without gaps between them are copied some at a time: short ones are not worth a copy each.
    const uint32_t most = source.isBlock(overlap.width) && destination.isBlock(overlap.width) ? 32 : 1;
    Progress progress(callback);
    for (uint32_t j = 0; j < overlap.height;) {
        const uint32_t n = std::min(most, overlap.height - j);
        bits.copyBits(source.row(j), source.phase() * source.bits(), destination.row(j),
                      destination.phase() * destination.bits(), lineBits * n);
        for (const uint32_t end = j + n; j < end; ++j)
            progress.lineDone(j, overlap.height);
    }
}

// Point operations that leave some pixels as they are, or change what is there: calls `step(source, destination, n)`
// with the canonical rows of chunks of every line, the destination's holding its pixels, and `endLine()` after every
// line.
template <class Step, class EndLine>
void blendLines(const AreaView& source, const AreaView& destination, ProgressCallback callback, Step step,
                EndLine endLine)
{
    RowReader reader(source);
    RowWriter writer(destination);
    const Overlap overlap(source, destination);
    walkLines(overlap.height, callback, [&](uint32_t j) {
        walkChunks(overlap.width, chunkPixels, [&](uint32_t i, uint32_t n) {
            step(reader.read(i, j, n), writer.load(i, j, n), n);
            writer.close();
        });
        endLine();
    });
}

} // namespace lx
