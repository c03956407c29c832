// A Plan of lines that take source pixels over as they are, one for each destination pixel.

#pragma once

#include "kernels/kernels.h"
#include "resolution/scale_rows.h"

namespace lx
{

template <unsigned Channels>
struct PickedColumns {
    static constexpr uint32_t groupLimit = 320;
    static constexpr uint32_t sourceLimit = 1U << 28; // pixels

    uint32_t first = 0;       // destination pixel
    uint32_t count = 0;       // destination pixels
    uint32_t sourceFirst = 0; // source pixel
    uint32_t groupCount = 0;
    PickGroup groups[groupLimit];

    // The first pixels of blocks.
    template <class Blocks>
    uint32_t take(Blocks& blocks, uint32_t from) noexcept
    {
        begin(from);
        Span block;
        for (Blocks before = blocks; hasRoom() && blocks.next(block); before = blocks) {
            if (count != 0 && block.start - sourceFirst >= sourceLimit) {
                blocks = before;
                break;
            }
            add(block.start);
        }
        return count;
    }

    void begin(uint32_t from)
    {
        first = from;
        count = 0;
        groupCount = 0;
    }

    bool hasRoom() const { return groupCount < groupLimit; }

    // The next destination pixel takes a source pixel, which is not left of the one before.
    void add(uint32_t pixel)
    {
        if (count++ == 0)
            sourceFirst = pixel;
        const uint32_t component = (pixel - sourceFirst) * Channels;
        PickGroup* group = groupCount != 0 ? &groups[groupCount - 1] : nullptr;
        // A group that is nearly full had better stay within 128 components, which are looked up in one step.
        if (group == nullptr || group->count + Channels > PickGroup::lanes ||
            component + Channels - 1 - group->base > (group->count < 48 ? 255 : 127)) {
            group = &groups[groupCount++];
            group->base = component;
            group->count = 0;
        }
        for (unsigned c = 0; c < Channels; ++c)
            group->offsets[group->count++] = static_cast<uint8_t>(component - group->base + c);
        group->last = group->offsets[group->count - 1];
    }
};

} // namespace lx
