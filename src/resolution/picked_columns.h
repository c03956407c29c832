// Plans of lines that take over source pixels as they are: the top-left pixel of each block of a reduced axis, and
// every pixel of an enlarged one over its run.

#pragma once

#include "frame/line_walk.h"
#include "resolution/scale_rows.h"

namespace lx
{

// Runs up to this long are planned component by component.
constexpr uint32_t longestPlannedRun = 64;

// A Plan that says for each destination component where it comes from. Packed pixels are unpacked into chunks, which
// bound the plan.
template <unsigned Channels, bool Packed>
struct PickedColumns {
    static constexpr uint32_t groupLimit = 320;
    static constexpr uint32_t pixelLimit = Packed ? chunkPixels : 1U << 28; // of source and destination

    uint32_t first = 0;       // destination pixel
    uint32_t count = 0;       // destination pixels
    uint32_t sourceFirst = 0; // source pixel
    uint32_t sourceCount = 0; // source pixels, from sourceFirst to the last one taken
    uint32_t groupCount = 0;
    PickGroup groups[groupLimit];

    uint32_t take(BlockWalker<float>& walker, uint32_t from) noexcept
    {
        Span block;
        begin(from);
        while (hasRoom(1) && nextInChunk(walker, block)) {
            if (count == 0)
                sourceFirst = block.start;
            add(block.start, 1);
        }
        return count;
    }

    uint32_t take(RunWalker& walker, uint32_t from) noexcept
    {
        Span run;
        uint32_t taken = 0;
        begin(from);
        sourceFirst = from;
        while (hasRoom(longestPlannedRun) && walker.next(run)) {
            if (taken == 0)
                first = run.start;
            add(from + taken, run.length);
            ++taken;
        }
        return taken;
    }

  private:
    void begin(uint32_t from)
    {
        first = from;
        count = 0;
        sourceCount = 0;
        groupCount = 0;
    }

    // `pixels` is at most longestPlannedRun, which opens four groups at most.
    bool hasRoom(uint32_t pixels) const { return groupCount + 4 <= groupLimit && count + pixels <= pixelLimit; }

    // Walks on only if the block begins within the chunk.
    bool nextInChunk(BlockWalker<float>& walker, Span& block) const
    {
        const BlockWalker<float> before = walker;
        if (!walker.next(block))
            return false;
        if (count == 0 || block.start - sourceFirst < pixelLimit)
            return true;
        walker = before;
        return false;
    }

    void add(uint32_t pixel, uint32_t copies)
    {
        const uint32_t component = (pixel - sourceFirst) * Channels;
        for (uint32_t k = 0; k < copies; ++k) {
            PickGroup* group = groupCount != 0 ? &groups[groupCount - 1] : nullptr;
            if (group == nullptr || group->count + Channels > PickGroup::lanes ||
                component + Channels - 1 - group->base > 255) {
                group = &groups[groupCount++];
                group->base = component;
                group->count = 0;
            }
            for (unsigned c = 0; c < Channels; ++c)
                group->offsets[group->count++] = static_cast<uint8_t>(component - group->base + c);
            group->last = group->offsets[group->count - 1];
        }
        count += copies;
        if (copies != 0)
            sourceCount = pixel - sourceFirst + 1;
    }
};

} // namespace lx
