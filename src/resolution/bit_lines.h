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

// Lines of the first pixels of blocks. `Blocks` walks the columns. Enlargements by a whole number need no plan: their
// pixels are repeated by the byte.
template <class Blocks>
class PickedBits
{
  public:
    PickedBits(const AreaView& source, uint32_t width) noexcept
        : times_(width % source.width() == 0 ? width / source.width() : 0), source_(source),
          columns_(Blocks(source.width(), width), source)
    {
    }

    // Calls put(bits, i, n) with the packed bits of destination pixels i to i + n - 1 of source line `line`, from left
    // to right.
    template <class Put>
    void pick(uint32_t line, Put put) noexcept
    {
        if (times_ >= 1 && times_ <= 8)
            repeat(line, put);
        else
            pickFrom([line](const BitPicks& plan) { return plan.row(line); }, put);
    }

    // The same from the rows that row(plan) gives: the plan's part of a source line.
    template <class Row, class Put>
    void pickFrom(Row row, Put put) noexcept
    {
        columns_.forEach([&](const BitPicks& plan) {
            kernels_.pick(plan.table(), row(plan), picked_);
            put(picked_, plan.first(), plan.count());
        });
    }

  private:
    static constexpr uint32_t limit = Roomy<BitPicks>::limit;

    template <class Put>
    void repeat(uint32_t line, Put put) noexcept
    {
        const uint32_t width = source_.width();
        for (uint32_t i = 0; i < width;) {
            const uint32_t n = std::min(width - i, limit / 8);
            bits_.copyBits(source_.at(i, line), source_.phase(i), aligned_, 0, n);
            const uint8_t* out = aligned_;
            if (times_ != 1) {
                kernels_.repeat(aligned_, (size_t{n} + 7) / 8, times_, picked_);
                out = picked_;
            }
            put(out, i * times_, n * times_);
            i += n;
        }
    }

    const BitBlockKernels& kernels_ = *kernels().bitBlocks;
    const BitKernels& bits_ = *kernels().bits;
    uint32_t times_; // 0: not a whole number
    AreaView source_;
    PlannedColumns<Blocks, Roomy<BitPicks>> columns_;
    alignas(64) uint8_t picked_[limit / 8];
    uint8_t aligned_[limit / 8 / 8] = {};
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
        uint32_t reached = 0;
        picked_.pick(line, putTo(j, reached));
        return reached;
    }

    template <class Row>
    uint32_t makeFrom(uint32_t j, Row row) noexcept
    {
        uint32_t reached = 0;
        picked_.pickFrom(row, putTo(j, reached));
        return reached;
    }

  private:
    const BitKernels& kernels_ = *kernels().bits;
    auto putTo(uint32_t j, uint32_t& reached) noexcept
    {
        return [this, j, &reached](const uint8_t* bits, uint32_t i, uint32_t n) {
            kernels_.copyBits(bits, 0, destination_.at(i, j), destination_.phase(i), n);
            reached += n;
        };
    }

    PickedBits<Blocks> picked_;
    AreaView source_;
    AreaView destination_;
};

} // namespace lx
