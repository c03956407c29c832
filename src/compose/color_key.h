// The transparent colour of an overlay: which source pixels leave the destination as it is.

#pragma once

#include "compose/color_rules.h"
#include "frame/area_view.h"
#include "kernels/kernels.h"

namespace lx
{

struct ColorKey {
    const uint8_t* color; // red, green, blue
    uint8_t tolerance;
};

// Levels that count as the key's. A key within the tolerance of an end of the scale loses that side of its range and
// does not reach to the end: deliberately.
struct KeyRange {
    uint8_t low;
    uint8_t high;

    KeyRange(uint8_t key, uint8_t tolerance)
        : low(static_cast<uint8_t>(key > tolerance ? key - tolerance : key)),
          high(static_cast<uint8_t>(255 - key > tolerance ? key + tolerance : key))
    {
    }

    bool holds(unsigned level) const { return low <= level && level <= high; }
};

// The ranges of a full-colour pixel's bytes, as they lie in the area.
inline TripleRange keyRangeOf(const ColorKey& key, const AreaView& area)
{
    TripleRange triple;
    for (unsigned c = 0; c < 3; ++c) {
        const KeyRange range(key.color[c], key.tolerance);
        const unsigned place = area.blueFirst() ? 2 - c : c;
        triple.low[place] = range.low;
        triple.high[place] = range.high;
    }
    return triple;
}

// Which of a palette source's indices are opaque: 1 or 0.
struct OpaqueTable {
    uint8_t flags[256] = {};

    // Gray sources compare levels with the key's gray, within the tolerance; all others want the key's very colour.
    OpaqueTable(const ColorKey& key, const ColorPalette* palette, unsigned indices, bool gray)
    {
        const KeyRange levels(grayByWeights(key.color), key.tolerance);
        for (unsigned k = 0; k < indices; ++k) {
            const uint8_t* entry = palette->entries[k];
            const bool same = entry[0] == key.color[0] && entry[1] == key.color[1] && entry[2] == key.color[2];
            flags[k] = (gray ? levels.holds(k) : same) ? 0 : 1;
        }
    }
};

} // namespace lx
