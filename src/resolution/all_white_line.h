// Lines of a bilevel picture that are white where all pixels of a block are.

#pragma once

#include "resolution/flag_line.h"
#include "resolution/scale_rows.h"

namespace lx
{

// White where every pixel is.
struct AllWhite {
    static uint64_t least(uint64_t columns, uint64_t lines) { return columns * lines; }
};

// A line's blocks are first put together to one line that is white where all of theirs are. `Blocks` walks the columns.
template <class Blocks>
class AllWhiteLine
{
  public:
    AllWhiteLine(const AreaView& source, const AreaView& destination, const Blocks& blocks) noexcept
        : lineStep_(source.lineStep()), columns_(blocks, source, 1U), line_(destination)
    {
    }

    // Whether the level has a form of its own for all the blocks.
    bool gathers() noexcept
    {
        bool all = true;
        columns_.forEach([&](const BitColumns& plan) { all = all && plan.narrow() && plan.table().gathered; });
        return all;
    }

    void make(uint32_t j, Span lines) noexcept
    {
        columns_.forEach([&](const BitColumns& plan) {
            const uint8_t* row = plan.row(lines.start);
            if (plan.bytes() > sizeof together_) { // a single block that is wider than the buffer
                line_.make(j, plan, row, lineStep_, lines.length);
                return;
            }
            blocks_.andRows(row, lineStep_, lines.length, together_, plan.bytes());
            line_.make(j, plan, together_, 0, 1);
        });
    }

  private:
    const BitBlockKernels& blocks_ = *kernels().bitBlocks;
    const ptrdiff_t lineStep_;
    PlannedColumns<Blocks, Roomy<BitColumns>> columns_;
    FlagLine<AllWhite> line_;
    alignas(64) uint8_t together_[BitColumns::mostBytes];
};

} // namespace lx
