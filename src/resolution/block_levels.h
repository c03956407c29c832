// Lines of blocks of bilevel pixels turned into lines of levels, by the number of white pixels in each block.
//
// A Rule says what becomes of a block: `rule.of(columns, lines)` gives a value that knows the size of the block, and
// that value's of(white) is the level. Sizes are few (q or q + 1 each way, and cut ones at the end), so small blocks go
// through a table of levels that is made once for each number of lines.

#pragma once

#include "frame/row_io.h"
#include "resolution/bit_columns.h"

namespace lx
{

template <class Rule>
class BlockLevels
{
  public:
    explicit BlockLevels(const Rule& rule) noexcept : rule_(rule) {}

    // level(k) takes the levels of n <= chunkPixels blocks from block k on: put(k, levels, n). The first of `lines`
    // rows is `row`, the others follow `stride` bytes apart.
    template <class Put>
    void make(const BitColumns& columns, const uint8_t* row, ptrdiff_t stride, uint32_t lines, Put put) noexcept
    {
        if (columns.count() == 0)
            return;
        if (columns.narrow())
            makeNarrow(columns, row, stride, lines, put);
        else
            makeWide(columns, row, stride, lines, put);
    }

  private:
    template <class Put>
    void makeNarrow(const BitColumns& columns, const uint8_t* row, ptrdiff_t stride, uint32_t lines, Put put) noexcept
    {
        const BitBlockTable& table = columns.table();
        kernels().bitBlocks->countInBytes(table, row, stride, lines, counts_);
        const uint32_t last = table.count - 1;
        const auto white = static_cast<uint8_t>(counts_[last] - table.bias[last]);
        const uint8_t* levels = levelsOf(table.length, lines);
        for (uint32_t k = 0; k < table.count; k += chunkPixels) {
            const uint32_t n = std::min(table.count - k, chunkPixels);
            kernels().pixels->lookup(counts_ + k, levels_, n, levels);
            if (k + n == table.count)
                levels_[last - k] = rule_.of(table.lastLength, lines).of(white);
            put(k, levels_, n);
        }
    }

    template <class Put>
    void makeWide(const BitColumns& columns, const uint8_t* row, ptrdiff_t stride, uint32_t lines, Put put) noexcept
    {
        const BitBlockTable& table = columns.table();
        const auto shortBlock = rule_.of(table.length, lines);
        const auto longBlock = rule_.of(uint64_t{table.length} + 1, lines);
        const auto lastBlock = rule_.of(table.lastLength, lines);
        for (uint32_t k = 0; k < table.count; k += wideBlocks) {
            const uint32_t n = std::min(table.count - k, wideBlocks);
            kernels().bitBlocks->count(table, k, n, row, stride, lines, whites_);
            for (uint32_t i = 0; i < n; ++i) {
                const bool last = k + i + 1 == table.count;
                const auto& block = last ? lastBlock : table.bias[k + i] != 0 ? longBlock : shortBlock;
                levels_[i] = block.of(whites_[i]);
            }
            put(k, levels_, n);
        }
    }

    // The levels of all counts in blocks of `columns` columns, and from longBias on in blocks with one column more.
    const uint8_t* levelsOf(uint32_t columns, uint32_t lines) noexcept
    {
        Levels& levels = tables_[lines % 2];
        if (levels.columns == columns && levels.lines == lines)
            return levels.of;
        levels.columns = columns;
        levels.lines = lines;
        for (uint32_t longer = 0; longer < 2; ++longer) {
            const uint32_t most = std::min((columns + longer) * lines, BitBlockTable::most);
            const auto block = rule_.of(columns + longer, lines);
            for (uint32_t white = 0; white <= most; ++white)
                levels.of[longer * BitBlockTable::longBias + white] = block.of(white);
        }
        return levels.of;
    }

    struct Levels {
        uint32_t columns = 0;
        uint32_t lines = 0;
        uint8_t of[256] = {};
    };

    static constexpr uint32_t wideBlocks = 256;
    static_assert(wideBlocks <= chunkPixels);

    Rule rule_;
    Levels tables_[2];
    uint64_t whites_[wideBlocks];
    alignas(64) uint8_t counts_[PlacedBitColumns::room]; // the largest plan
    alignas(64) uint8_t levels_[chunkPixels];
};

} // namespace lx
