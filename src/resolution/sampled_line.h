// Lines of a sampled picture.

#pragma once

#include "frame/row_io.h"
#include "resolution/picked_columns.h"

namespace lx
{

// Makes the lines of one call.
template <unsigned Channels, bool Packed, class Blocks>
class SampledLine
{
  public:
    SampledLine(const AreaView& source, const AreaView& destination) noexcept
        : source_(source), destination_(destination), times_(timesOf(source, destination)),
          blocks_(source.width(), destination.width()), columns_(blocks_), reader_(source), writer_(destination)
    {
    }

    // Makes the lines of runs. To pick a line anew is quicker than to read back what has just been written, unless it
    // has to be packed.
    void makeRuns(const LineRuns& runs) noexcept
    {
        if (Packed && times_ != 0) {
            bits_.repeat(runs.rows(source_.row(runs.line), source_.lineStep(), destination_.row(runs.start),
                                   destination_.lineStep()),
                         source_.width() / 2, 4, times_);
            return;
        }
        uint32_t j = runs.start;
        for (uint32_t k = 0; k < runs.count; ++k) {
            const uint32_t first = j;
            for (const uint32_t end = first + runs.lengths[k]; j != end; ++j) {
                if (Packed && j != first)
                    replicateLine(destination_, reached_, first, j, bits_);
                else
                    make(j, runs.line + k, runs.line + k);
            }
        }
    }

    // `next` is the source line of the line to be made after this one.
    void make(uint32_t j, uint32_t line, uint32_t next) noexcept
    {
        if (Packed && times_ != 0)
            return makeRuns({line, j, 1, {1}});
        if (!Packed && times_ == 2) {
            enlarge_.repeatTwice(source_.row(line), destination_.row(j), size_t{source_.width()} * Channels, Channels);
            return;
        }
        const ptrdiff_t ahead = next - line > 1 && next < source_.height() ? source_.row(next) - source_.row(line) : 0;
        columns_.forEach([&](const PickedColumns<Channels>& plan) {
            if constexpr (Packed) {
                if (!pickStraight(plan, j, line))
                    pickPacked(plan, j, line);
            } else {
                picks_.pick(source_.at(plan.sourceFirst, line), 0, ahead, destination_.at(plan.first, j), plan.groups,
                            plan.groupCount);
            }
        });
    }

    // Makes some lines together, each from the first line of one of the next `blocks`, and sums their columns up:
    // `sums` has room for 64 words more than a line has components. If it cannot be done, nothing is, and it returns
    // false.
    template <class LineBlocks>
    bool makeSums(Span lines, LineBlocks& blocks, uint16_t* sums) noexcept
    {
        const PickedColumns<Channels>* const plan = columns_.whole();
        if (plan == nullptr || plan->count != destination_.width() || lines.length > PickRows::most)
            return false;
        PickRows rows = {};
        LineBlocks walker = blocks;
        for (Span from; rows.count < lines.length && walker.next(from); ++rows.count)
            rows.sources[rows.count] = source_.at(plan->sourceFirst, from.start);
        if (rows.count < lines.length)
            return false;
        blocks = walker;
        Span from;
        for (unsigned r = 0; r < rows.count && walker.next(from); ++r)
            rows.ahead[r] = source_.at(plan->sourceFirst, from.start) - rows.sources[r];
        rows.destination = destination_.row(lines.start);
        rows.step = destination_.lineStep();
        picks_.pickSums(rows, plan->groups, plan->groupCount, sums);
        return true;
    }

  private:
    // How often every pixel is repeated if that is the same for all of them and has a form of its own: nibbles by whole
    // bytes, up to 8 times. 0 if not.
    static uint32_t timesOf(const AreaView& source, const AreaView& destination)
    {
        const uint32_t times = destination.width() / source.width();
        const bool whole = !Packed || (source.phase() == 0 && destination.phase() == 0 && source.width() % 2 == 0);
        return destination.width() % source.width() == 0 && times >= 2 && times <= 8 && whole ? times : 0;
    }

    // Nibbles that are not fewer than those they are picked from, to bytes that are the line's own.
    bool pickStraight(const PickedColumns<Channels>& plan, uint32_t j, uint32_t line) noexcept
    {
        if (source_.width() > destination_.width() || destination_.phase(plan.first) != 0)
            return false;
        uint8_t& last = *destination_.at(plan.first + plan.count - 1, j);
        const uint8_t old = last;
        if (!picks_.pickNibbles(source_.at(plan.sourceFirst, line), source_.phase(plan.sourceFirst),
                                destination_.at(plan.first, j), plan.groups, plan.groupCount))
            return false;
        if (plan.count % 2 != 0)
            last = static_cast<uint8_t>((last & 0xF0) | (old & 15));
        return true;
    }

    // By way of chunks, as many groups at a time as they hold.
    void pickPacked(const PickedColumns<Channels>& plan, uint32_t j, uint32_t line) noexcept
    {
        uint32_t first = plan.first;
        const PickGroup* const end = plan.groups + plan.groupCount;
        for (const PickGroup* group = plan.groups; group != end;) {
            const PickGroup* const begin = group;
            uint32_t pixels = 0;
            uint32_t sourcePixels = 0;
            for (; group != end && pixels + group->count <= chunkPixels; ++group) {
                const uint32_t reach = group->base - begin->base + group->last + 1;
                if (reach > chunkPixels)
                    break;
                pixels += group->count;
                sourcePixels = reach;
            }
            const uint8_t* in = reader_.read(plan.sourceFirst + begin->base, line, sourcePixels);
            picks_.pick(in, begin->base, 0, writer_.open(first, j, pixels), begin, static_cast<size_t>(group - begin));
            writer_.close();
            first += pixels;
        }
    }

    const PickKernels& picks_ = *kernels().pick;
    const BitKernels& bits_ = *kernels().bits;
    const EnlargeKernels& enlarge_ = *kernels().enlarge;
    const AreaView source_;
    const AreaView destination_;
    const uint32_t times_;
    const Blocks blocks_;
    const uint32_t reached_ = pixelsReached(blocks_);
    PlannedColumns<Blocks, PickedColumns<Channels>> columns_;
    RowReader reader_;
    RowWriter writer_;
};

} // namespace lx
