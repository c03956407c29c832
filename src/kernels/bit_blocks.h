// Blocks of columns in rows of packed bits: counting their set bits, and picking single columns.
//
// Where the blocks lie is worked out once and kept in a table, which a level may turn into a form of its own.

#pragma once

#include "kernels/row_runs.h"

#include <cstddef>
#include <cstdint>

namespace lx
{

// How the sources of picks lie that skip no bit, for levels with a form for them.
enum class StretchedPicks : uint8_t {
    none,         // bits are skipped
    inEightBytes, // every 64 of them
    inNineBytes   // some, because the bits do not start at a byte's begin
};

// Bits are numbered from the most significant bit of the row's first byte.
struct BitBlockTable {
    static constexpr uint32_t gatherLimit = 7; // longest step between blocks that may be gathered
    static constexpr uint8_t longBias = 128;
    static constexpr uint32_t most = 127; // bits that a block of all lines may have to be counted in a byte

    uint32_t count;           // blocks
    uint32_t length;          // bits of a block in one row; one more where `bias` is longBias
    uint32_t lastLength;      // of the last block, which may be cut
    unsigned phase;           // added to every start: 0 to 7
    uint32_t bytes;           // of a row, up to the last one that holds a bit of a block
    bool gathered;            // `starts` are in the form of the level
    StretchedPicks stretched; // or in another, for picks alone
    // Both are in memory aligned to 64 bytes, and padded to a multiple of 64 entries, of picks 512.
    uint8_t* bias;    // 0 or longBias
    uint32_t* starts; // rising, less `phase`; the level's places once the table is gathered
};

// Thresholds of BitBlockKernels::flag, by the length of a block.
struct LeastBits {
    uint64_t inShort;
    uint64_t inLong;
    uint64_t inLast;
};

struct BitBlockKernels {
    // Turns the starts into the level's own places, if it has any: for blocks none of which starts more than
    // gatherLimit after the one before or is longer. Starts must not be looked at afterwards.
    void (*arrangeBlocks)(BitBlockTable& table);

    // counts[i] = bias[i] + set bits of block i in `lines` rows, `stride` bytes apart; at most BitBlockTable::most.
    void (*countInBytes)(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
                         uint8_t* counts);

    // Bit i of destination = whether block i has at least as many set bits in `lines` rows as `least` says; where the
    // table is arranged they have to be BitBlockTable::most at most. The bits up to the next multiple of 64 may change.
    void (*flag)(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
                 const LeastBits& least, uint8_t* destination);

    // counts[i] = set bits of block `first` + i, for i < n; `first` is a multiple of 64. For tables not arranged.
    void (*count)(const BitBlockTable& table, uint32_t first, uint32_t n, const uint8_t* row, ptrdiff_t stride,
                  uint32_t lines, uint64_t* counts);

    // As arrangeBlocks, for picking the bits at the starts; bias and lengths are not used.
    void (*arrangePicks)(BitBlockTable& table);

    // Bit i of destination = the bit at start i; what is left of the last byte may change.
    void (*pick)(const BitBlockTable& table, const uint8_t* row, uint8_t* destination);

    // The same for every row of the runs, and what is left of the last byte keeps its value.
    void (*pickRuns)(const BitBlockTable& table, const RowRuns& rows);

    // destination[k] = the AND of byte k of `lines` rows, `stride` bytes apart.
    void (*andRows)(const uint8_t* row, ptrdiff_t stride, uint32_t lines, uint8_t* destination, size_t bytes);
};

} // namespace lx
