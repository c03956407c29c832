// Lines of packed bits in a bilevel destination, made of single pixels of a source line.

#pragma once

#include "resolution/bit_columns.h"
#include "resolution/scale_rows.h"

namespace lx
{

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

    // Whether no plan is made anew for a line.
    bool plansOnce() const { return times() != 0 || width_ <= limit; }

    // Calls put(bits, i, n) with the packed bits of destination pixels i to i + n - 1 of source line `line`, from left
    // to right.
    template <class Put>
    void pick(uint32_t line, Put put) noexcept
    {
        if (times() != 0)
            repeat(line, put);
        else
            forEachPlan([&](const BitPicks& plan) {
                kernels_.pick(plan.table(), plan.row(line), picked_);
                put(picked_, plan.first(), plan.count());
            });
    }

    // Calls use(plan) for the plans of a line, from left to right.
    template <class Use>
    void forEachPlan(Use use) noexcept
    {
        if (!columns_)
            columns_.emplace(Blocks(source_.width(), width_), source_);
        columns_->forEach(use);
    }

    // Room for the bits of a plan.
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
                const uint32_t once = 1;
                bits_.repeat({aligned_, 0, picked_, 0, &once, 1}, (size_t{n} + 7) / 8, 1, times_);
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
    alignas(64) uint8_t picked_[limit / 8] = {};
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
    uint32_t make(uint32_t j, uint32_t line) noexcept { return makeRuns({line, j, 1, {1}}); }

    // The same for the lines of runs.
    uint32_t makeRuns(const LineRuns& runs) noexcept
    {
        if (picked_.times() == 0)
            return makeFrom(
                runs, [&runs](const BitPicks& plan) { return plan.row(runs.line); }, source_.lineStep());
        if (repeatsBytes_)
            repeatBytes(runs);
        else
            copyRuns(runs);
        return destination_.width();
    }

    // From the rows that row(plan) gives, `step` bytes apart: the plan's part of the source lines.
    template <class Row>
    uint32_t makeFrom(const LineRuns& runs, Row row, ptrdiff_t step) noexcept
    {
        uint32_t reached = 0;
        picked_.forEachPlan([&](const BitPicks& plan) {
            const uint8_t* in = row(plan);
            if (destination_.phase(plan.first()) == 0) {
                uint8_t* out = destination_.at(plan.first(), runs.start);
                blocks_.pickRuns(plan.table(), runs.rows(in, step, out, destination_.lineStep()));
            } else {
                uint32_t j = runs.start;
                for (uint32_t k = 0; k < runs.count; j += runs.lengths[k++]) {
                    blocks_.pick(plan.table(), in + static_cast<ptrdiff_t>(k) * step, picked_.room());
                    put(picked_.room(), plan.first(), plan.count(), {j, runs.lengths[k]});
                }
            }
            reached += plan.count();
        });
        return reached;
    }

  private:
    // The packed bits of pixels i to i + n - 1 to the lines of a run.
    void put(const uint8_t* bits, uint32_t i, uint32_t n, Span run) noexcept
    {
        for (uint32_t t = 0; t < run.length; ++t)
            kernels_.copyBits(bits, 0, destination_.at(i, run.start + t), destination_.phase(i), n);
    }

    void copyRuns(const LineRuns& runs) noexcept
    {
        Span run = {runs.start, 0};
        for (uint32_t k = 0; k < runs.count; ++k) {
            run = {run.start + run.length, runs.lengths[k]};
            if (picked_.times() != 1) {
                picked_.pick(runs.line + k, [&](const uint8_t* bits, uint32_t i, uint32_t n) { put(bits, i, n, run); });
                continue;
            }
            for (uint32_t t = 0; t < run.length; ++t)
                kernels_.copyBits(source_.row(runs.line + k), source_.phase(), destination_.row(run.start + t),
                                  destination_.phase(), source_.width());
        }
    }

    // Whole bytes of the source lines, which become whole bytes, and the pixels left.
    void repeatBytes(const LineRuns& runs) noexcept
    {
        const uint32_t bytes = source_.width() / 8;
        const uint32_t times = picked_.times();
        kernels_.repeat(runs.rows(source_.row(runs.line), source_.lineStep(), destination_.row(runs.start),
                                  destination_.lineStep()),
                        bytes, 1, times);
        const uint32_t left = source_.width() % 8;
        uint32_t j = runs.start;
        for (uint32_t k = 0; left != 0 && k < runs.count; j += runs.lengths[k++]) {
            const uint32_t once = 1;
            kernels_.repeat({source_.at(bytes * 8, runs.line + k), 0, picked_.room(), 0, &once, 1}, 1, 1, times);
            put(picked_.room(), bytes * 8 * times, left * times, {j, runs.lengths[k]});
        }
    }

    const BitKernels& kernels_ = *kernels().bits;
    const BitBlockKernels& blocks_ = *kernels().bitBlocks;
    PickedBits<Blocks> picked_;
    AreaView source_;
    AreaView destination_;
    bool repeatsBytes_;
};

} // namespace lx
