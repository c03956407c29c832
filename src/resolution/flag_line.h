// Lines of blocks of bilevel pixels turned into bilevel lines: a block is white if it has white pixels enough.
//
// A Rule says how many are enough: least(columns, lines) of a block of that size, at least 1 and at most all of them.
// Sizes are few (q or q + 1 each way, and cut ones at the end), so the numbers are kept from line to line.

#pragma once

#include "resolution/bit_columns.h"

namespace lx
{

template <class Rule>
class FlagLine
{
  public:
    explicit FlagLine(const AreaView& destination) noexcept : destination_(destination) {}

    // Makes the plan's part of destination line j. The first of `lines` rows is `row`, the others follow `stride` bytes
    // apart.
    void make(uint32_t j, const BitColumns& plan, const uint8_t* row, ptrdiff_t stride, uint32_t lines) noexcept
    {
        const BitBlockTable& table = plan.table();
        blocks_.flag(table, row, stride, lines, leastOf(table, lines), flags_);
        const uint32_t first = plan.first();
        bits_.copyBits(flags_, 0, destination_.at(first, j), destination_.phase(first), table.count);
    }

  private:
    struct Least {
        uint32_t lines = 0;
        uint32_t lastLength = 0;
        LeastBits bits = {};
    };

    const LeastBits& leastOf(const BitBlockTable& table, uint32_t lines) noexcept
    {
        Least& least = least_[lines % 2];
        if (least.lines != lines || least.lastLength != table.lastLength)
            least = {lines,
                     table.lastLength,
                     {Rule::least(table.length, lines), Rule::least(uint64_t{table.length} + 1, lines),
                      Rule::least(table.lastLength, lines)}};
        return least.bits;
    }

    const BitBlockKernels& blocks_ = *kernels().bitBlocks;
    const BitKernels& bits_ = *kernels().bits;
    AreaView destination_;
    Least least_[2];
    uint8_t flags_[PlacedBitColumns::room / 8]; // the largest plan's
};

} // namespace lx
