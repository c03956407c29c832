// Lines of an averaged picture that is not wider than its source.

#pragma once

#include "resolution/block_means.h"

namespace lx
{

// Makes lines that are not wider than the source's: means of blocks.
template <unsigned Channels>
class AveragedLine
{
  public:
    // `tallest` is the largest number of source lines that are averaged into one.
    AveragedLine(const AreaView& source, const AreaView& destination, uint32_t tallest) noexcept
        : source_(source), destination_(destination), walker_(source.width(), destination.width()), plans_(walker_),
          means_(source), planned_(means_.canMake(tallest, walker_.longest()))
    {
    }

    // Where make() may find the columns summed up, with room for 64 words more than they are; null if it has no use for
    // that.
    uint16_t* sums() noexcept
    {
        const bool fits = source_.width() <= BlockPlan<Channels>::widest && plans_.whole() != nullptr;
        return planned_ && fits ? means_.sums() : nullptr;
    }

    uint32_t make(uint32_t j, Span lines, bool summed = false) noexcept
    {
        uint8_t* out = destination_.row(j);
        if (lines.length == 1 && walker_.longest() == 1)
            std::memcpy(out, source_.row(lines.start), size_t{source_.width()} * Channels);
        else if (planned_)
            plans_.forEach([&](const BlockPlan<Channels>& plan) {
                means_.make(plan.columns, plan.sourceFirst, lines, summed, out + size_t{plan.first} * Channels);
            });
        else
            makeOneByOne(lines, out);
        return reached_;
    }

  private:
    void makeOneByOne(Span lines, uint8_t* out) noexcept
    {
        BlockWalker<float> walker = walker_;
        for (Span block; walker.next(block); out += Channels)
            means_.makeOne(block, lines, out);
    }

    const AreaView source_;
    const AreaView destination_;
    const BlockWalker<float> walker_;
    const uint32_t reached_ = pixelsReached(walker_);
    PlannedColumns<BlockWalker<float>, BlockPlan<Channels>> plans_;
    BlockMeans<Channels> means_;
    const bool planned_;
};

} // namespace lx
