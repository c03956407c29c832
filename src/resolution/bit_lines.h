// Lines of packed bits in a bilevel destination: filled, or made of single pixels of a source line.

#pragma once

#include "resolution/bit_columns.h"
#include "resolution/scale_rows.h"

#include <cstring>

namespace lx
{

// Pixels `begin` to `end` - 1 of line j become white or black.
inline void fillBits(const AreaView& area, uint32_t j, uint32_t begin, uint32_t end, bool white) noexcept
{
    if (begin >= end)
        return;
    uint8_t* first = area.at(begin, j);
    uint8_t* last = area.at(end - 1, j);
    const auto fill = [white](uint8_t* byte, unsigned owned) {
        *byte = static_cast<uint8_t>(white ? *byte | owned : *byte & ~owned);
    };
    const unsigned head = 0xFFU >> area.phase(begin);
    const unsigned tail = 0xFF00U >> (area.phase(end - 1) + 1) & 0xFF;
    if (first == last) {
        fill(first, head & tail);
        return;
    }
    fill(first, head);
    std::memset(first + 1, white ? 0xFF : 0, static_cast<size_t>(last - first) - 1);
    fill(last, tail);
}

// Lines of the first pixels of blocks. `Blocks` walks the columns.
template <class Blocks>
class PickedBits
{
  public:
    PickedBits(const AreaView& source, uint32_t width) noexcept : columns_(Blocks(source.width(), width), source) {}

    // Calls put(bits, i, n) with the packed bits of destination pixels i to i + n - 1, from left to right. row(plan) is
    // the plan's part of a source line.
    template <class Row, class Put>
    void pick(Row row, Put put) noexcept
    {
        columns_.forEach([&](const BitPicks& plan) {
            kernels_.pick(plan.table(), row(plan), picked_);
            put(picked_, plan.first(), plan.count());
        });
    }

  private:
    const BitBlockKernels& kernels_ = *kernels().bitBlocks;
    PlannedColumns<Blocks, Roomy<BitPicks>> columns_;
    alignas(64) uint8_t picked_[Roomy<BitPicks>::limit / 8];
};

// The same for a bilevel destination.
template <class Blocks>
class PickedLine
{
  public:
    PickedLine(const AreaView& source, const AreaView& destination) noexcept
        : picked_(source, destination.width()), source_(source), destination_(destination)
    {
    }

    // Makes destination line j from source line `line`, and returns how many pixels are reached.
    uint32_t make(uint32_t j, uint32_t line) noexcept
    {
        if (source_.width() == destination_.width()) {
            kernels_.copyBits(source_.row(line), source_.phase(), destination_.row(j), destination_.phase(),
                              source_.width());
            return source_.width();
        }
        return makeFrom(j, [line](const BitPicks& plan) { return plan.row(line); });
    }

    template <class Row>
    uint32_t makeFrom(uint32_t j, Row row) noexcept
    {
        uint32_t reached = 0;
        picked_.pick(row, [&](const uint8_t* bits, uint32_t i, uint32_t n) {
            kernels_.copyBits(bits, 0, destination_.at(i, j), destination_.phase(i), n);
            reached += n;
        });
        return reached;
    }

  private:
    const BitKernels& kernels_ = *kernels().bits;
    PickedBits<Blocks> picked_;
    AreaView source_;
    AreaView destination_;
};

} // namespace lx
