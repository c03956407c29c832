// When a diffusion wavefront does what: lines in rounds, rounds in blocks of eight pixels. For diffusion.cpp alone.

#pragma once

#include "kernels/diffusion.h"
#include "kernels/diffusion_lanes.h"

namespace lx::LX_LEVEL
{

namespace
{

// Where a lane is: at a block of its line of a round. Rounds below 0 and above the last one have no lines, and the
// columns from the last block on are beside the line.
struct Place {
    int64_t round;
    int64_t column;
};

// Lines in rounds of as many as there are lanes, and their geometry in blocks: pixel p of a line is step
// (p + phase) % 8 of block (p + phase) / 8. A lane that has finished its line goes on with that of the next round, one
// block or more of nothing after the line, for its errors to come to rest.
//
// What is missing to full rounds is put before the lines: the first line again and again, in unused lanes of the first
// chain, never all of them.
// Nothing of these goes into the carry row, and the bits that they give to the first line are overwritten by its own
// lane, which comes later. In the next round the first lane takes the carry row over, so nobody may be at work by then.
struct Schedule {
    // Takes `count` of the lines from `from` on. `leastPeriod` is the lag of the last one behind the first lane.
    Schedule(const DiffusionLines& all, unsigned from, unsigned count, unsigned perRound, int64_t leastPeriod)
        : lines(all), linesPerRound(perRound), unused((perRound - count % perRound) % perRound),
          rounds((count + unused) / perRound), blocks(static_cast<int64_t>((all.phase + all.width + 7) / 8)),
          period(blocks + unused >= leastPeriod ? blocks + unused + 1 : leastPeriod),
          lastStep(static_cast<int>((all.phase + all.width - 1) % 8))
    {
        for (unsigned k = 0; k < unused + count; ++k) {
            lines.source[k] = all.source[from + (k < unused ? 0 : k - unused)];
            lines.destination[k] = all.destination[from + (k < unused ? 0 : k - unused)];
        }
    }

    // Where those are that follow `lag` blocks behind, at most a round.
    Place behind(const Place& place, int64_t lag) const
    {
        return place.column < lag ? Place{place.round - 1, place.column + period - lag}
                                  : Place{place.round, place.column - lag};
    }
    Place next(const Place& place) const
    {
        return place.column + 1 < period ? Place{place.round, place.column + 1} : Place{place.round + 1, 0};
    }

    // No lane, and neither the block that comes in from the carry row nor the one that goes out to it, is at an end
    // of its line.
    bool isInside(const Place& place) const
    {
        return place.column > Lanes::count && place.column < blocks - 1 && place.round >= 0 && place.round < rounds;
    }

    // 1 or 0. Nobody could predict branches here and in what follows from it, so there are none.
    unsigned isInLine(const Place& place) const
    {
        return (place.round >= 0) & (place.round < rounds) & (place.column < blocks);
    }

    // The steps at a place that are pixels of a line, the first step highest.
    unsigned pixelsAt(const Place& place) const
    {
        const unsigned fromFirst = 0xFFU >> (place.column == 0 ? lines.phase : 0);
        const unsigned toLast = 0xFFU << (place.column == blocks - 1 ? 7 - lastStep : 0);
        return isInLine(place) != 0 ? fromFirst & toLast : 0;
    }

    DiffusionLines lines;
    const unsigned linesPerRound;
    const unsigned unused;
    const int64_t rounds;
    const int64_t blocks;
    const int64_t period; // of a round, in blocks
    const int lastStep;   // of the last block
};

} // namespace

} // namespace lx::LX_LEVEL
