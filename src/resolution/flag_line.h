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
        const Least& least = leastOf(table, lines);
        if (plan.narrow())
            blocks_.flag(table, row, stride, lines,
                         {static_cast<uint8_t>(least.inShort), static_cast<uint8_t>(least.inLong),
                          static_cast<uint8_t>(least.inLast)},
                         flags_);
        else
            flagWide(table, row, stride, lines, least);
        const uint32_t first = plan.first();
        bits_.copyBits(flags_, 0, destination_.at(first, j), destination_.phase(first), table.count);
    }

  private:
    struct Least {
        uint32_t lines = 0;
        uint32_t lastLength = 0;
        uint64_t inShort = 0;
        uint64_t inLong = 0;
        uint64_t inLast = 0;
    };

    const Least& leastOf(const BitBlockTable& table, uint32_t lines) noexcept
    {
        Least& least = least_[lines % 2];
        if (least.lines != lines || least.lastLength != table.lastLength)
            least = {lines, table.lastLength, Rule::least(table.length, lines),
                     Rule::least(uint64_t{table.length} + 1, lines), Rule::least(table.lastLength, lines)};
        return least;
    }

    void flagWide(const BitBlockTable& table, const uint8_t* row, ptrdiff_t stride, uint32_t lines,
                  const Least& least) noexcept
    {
        for (uint32_t first = 0; first < table.count; first += 8) {
            const uint32_t n = std::min(table.count - first, 8U);
            uint64_t whites[8];
            blocks_.count(table, first, n, row, stride, lines, whites);
            unsigned byte = 0;
            for (uint32_t k = 0; k < n; ++k) {
                const bool last = first + k + 1 == table.count;
                const uint64_t enough = last ? least.inLast : table.bias[first + k] != 0 ? least.inLong : least.inShort;
                byte |= whites[k] >= enough ? 0x80U >> k : 0U;
            }
            flags_[first / 8] = static_cast<uint8_t>(byte);
        }
    }

    const BitBlockKernels& blocks_ = *kernels().bitBlocks;
    const BitKernels& bits_ = *kernels().bits;
    AreaView destination_;
    Least least_[2];
    uint8_t flags_[PlacedBitColumns::room / 8]; // the largest plan's
};

} // namespace lx
