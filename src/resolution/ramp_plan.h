// A Plan of lines that are wider than their source: ramps from pixel to pixel.

#pragma once

#include "resolution/picked_columns.h"

#include <cstring>

namespace lx
{

// Runs up to this long are planned pixel by pixel.
constexpr uint32_t longestPlannedRun = 64;

// With runs of one and two, all that lies between two pixels is one halfway.
inline bool hasHalves(const RunWalker& runs)
{
    return runs.longest() <= 2;
}

// A Plan of ramps: which pixel each run starts from, and how far along the run its components are.
template <unsigned Channels>
struct RampPlan {
    using Picks = PickedColumns<Channels>;

    Picks picks;                                         // 64 is added to the offsets of halves
    uint8_t times[Picks::groupLimit * PickGroup::lanes]; // the top bit marks the longer runs; unused for halves

    uint32_t take(RunWalker& runs, uint32_t from) noexcept
    {
        picks.begin(0);
        const bool halves = hasHalves(runs);
        uint32_t taken = 0;
        uint8_t* time = times;
        // The longest planned run opens four groups at most. Empty runs go with those before them, so that every plan
        // has groups.
        for (Span run; (picks.groupCount + 4 <= Picks::groupLimit || runs.full()) && runs.next(run); ++taken) {
            if (taken == 0)
                picks.first = run.start;
            const unsigned longer = run.length > runs.shortest() ? 128 : 0;
            for (uint32_t t = 0; t < run.length; ++t, time += Channels) {
                picks.add(from + taken);
                if (!halves)
                    std::memset(time, static_cast<int>(t | longer), Channels);
                else if (t == 1)
                    markHalf();
            }
        }
        return taken;
    }

  private:
    void markHalf()
    {
        PickGroup& group = picks.groups[picks.groupCount - 1];
        for (unsigned c = 1; c <= Channels; ++c)
            group.offsets[group.count - c] |= 64;
    }
};

} // namespace lx
