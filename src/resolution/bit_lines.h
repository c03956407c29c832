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
        : times_(width % source.width() == 0 ? width / source.width() : 0), width_(width), source_(source)
    {
    }

    // How often every pixel is repeated, if that is the same for all of them and 8 at most; else 0.
    uint32_t times() const { return times_ <= 8 ? times_ : 0; }

    // Calls put(bits, i, n) with the packed bits of destination pixels i to i + n - 1 of source line `line`, from left
    // to right.
    template <class Put>
    void pick(uint32_t line, Put put) noexcept
    {
        if (times() != 0)
            repeat(line, put);
        else
            pickFrom([line](const BitPicks& plan) { return plan.row(line); }, put);
    }

    // The same from the rows that row(plan) gives: the plan's part of a source line.
    template <class Row, class Put>
    void pickFrom(Row row, Put put) noexcept
    {
        pickTo([this](uint32_t, uint32_t) { return picked_; }, row, put);
    }

    // The same with the bits at the place that open(i, n) gives.
    template <class Open, class Row, class Put>
    void pickTo(Open open, Row row, Put put) noexcept
    {
        if (!columns_)
            columns_.emplace(Blocks(source_.width(), width_), source_);
        columns_->forEach([&](const BitPicks& plan) {
            uint8_t* bits = open(plan.first(), plan.count());
            kernels_.pick(plan.table(), row(plan), bits);
            put(bits, plan.first(), plan.count());
        });
    }

    // Room for the bits of a call of put().
    uint8_t* room() { return picked_; }

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
                bits_.repeat(aligned_, (size_t{n} + 7) / 8, 1, times_, picked_, 0, 1);
                out = picked_;
            }
            put(out, i * times_, n * times_);
            i += n;
        }
    }

    const BitBlockKernels& kernels_ = *kernels().bitBlocks;
    const BitKernels& bits_ = *kernels().bits;
    uint32_t times_; // 0: not a whole number
    uint32_t width_;
    AreaView source_;
    std::optional<PlannedColumns<Blocks, Roomy<BitPicks>>> columns_; // made when it is wanted
    alignas(64) uint8_t picked_[limit / 8];
    uint8_t aligned_[limit / 8 / 8] = {};
};

// The same for a bilevel destination.
template <class Blocks>
class PickedLine
{
  public:
    PickedLine(const AreaView& source, const AreaView& destination) noexcept
        : picked_(source, destination.width()), source_(source), destination_(destination),
          repeatsBytes_(picked_.times() > 1 && source.phase() == 0 && destination.phase() == 0)
    {
    }

    // Makes destination line j from source line `line`, and returns how many pixels are reached.
    uint32_t make(uint32_t j, uint32_t line) noexcept
    {
        if (repeatsBytes_) {
            repeatBytes({j, 1}, line);
            return destination_.width();
        }
        if (source_.width() == destination_.width()) {
            kernels_.copyBits(source_.row(line), source_.phase(), destination_.row(j), destination_.phase(),
                              source_.width());
            return source_.width();
        }
        if (picked_.times() == 0)
            return makeFrom(j, [line](const BitPicks& plan) { return plan.row(line); });
        picked_.pick(line, [&](const uint8_t* bits, uint32_t i, uint32_t n) {
            kernels_.copyBits(bits, 0, destination_.at(i, j), destination_.phase(i), n);
        });
        return destination_.width();
    }

    // The same for the lines of a run.
    uint32_t makeRun(Span run, uint32_t line) noexcept
    {
        if (repeatsBytes_) {
            repeatBytes(run, line);
            return destination_.width();
        }
        const uint32_t reached = make(run.start, line);
        for (uint32_t t = 1; t < run.length; ++t)
            replicateLine(destination_, reached, run.start, run.start + t, kernels_);
        return reached;
    }

    // Bits go straight to their bytes if these are the line's own, the last one excepted.
    template <class Row>
    uint32_t makeFrom(uint32_t j, Row row) noexcept
    {
        uint32_t reached = 0;
        uint8_t old = 0;
        const auto open = [&](uint32_t i, uint32_t n) {
            if (destination_.phase(i) != 0)
                return picked_.room();
            old = *destination_.at(i + n - 1, j);
            return destination_.at(i, j);
        };
        picked_.pickTo(open, row, [&](const uint8_t* bits, uint32_t i, uint32_t n) {
            if (destination_.phase(i) != 0) {
                kernels_.copyBits(bits, 0, destination_.at(i, j), destination_.phase(i), n);
            } else if (n % 8 != 0) {
                uint8_t& last = *destination_.at(i + n - 1, j);
                last = static_cast<uint8_t>((last & ~(0xFFU >> n % 8)) | (old & (0xFFU >> n % 8)));
            }
            reached += n;
        });
        return reached;
    }

  private:
    const BitKernels& kernels_ = *kernels().bits;

    // Whole bytes of the source line, which become whole bytes, and the pixels left.
    void repeatBytes(Span run, uint32_t line) noexcept
    {
        const uint32_t bytes = source_.width() / 8;
        const uint32_t times = picked_.times();
        const uint8_t* in = source_.row(line);
        uint8_t* out = destination_.row(run.start);
        const ptrdiff_t step = destination_.lineStep();
        kernels_.repeat(in, bytes, 1, times, out, step, run.length);
        if (const uint32_t left = source_.width() % 8; left != 0) {
            kernels_.repeat(in + bytes, 1, 1, times, picked_.room(), 0, 1);
            out += size_t{bytes} * times;
            for (uint32_t t = 0; t < run.length; ++t)
                kernels_.copyBits(picked_.room(), 0, out + static_cast<ptrdiff_t>(t) * step, 0, size_t{left} * times);
        }
    }

    PickedBits<Blocks> picked_;
    AreaView source_;
    AreaView destination_;
    bool repeatsBytes_;
};

} // namespace lx
