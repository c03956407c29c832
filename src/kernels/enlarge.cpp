// Pixels between pixels: straight ramps, and pictures of twice the size. The portable forms are plain loops, the wide
// ones take whole registers and weave what becomes of even and odd pixels together.

#include "kernels/fetch_early.h"
#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/enlarge_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

// For these lengths the single-precision steps of a ramp give the same as integers do, floor(x / length) with
// x = from * (length - t) + to * t, for all values and all t.
bool isExactRamp(uint32_t length)
{
    return length <= 5 || length == 8 || length == 11 || length == 16;
}

// x / length for such lengths is 2 x times this, in 1 / 65536.
uint16_t halfReciprocal(uint32_t length)
{
    return static_cast<uint16_t>((32768 + length - 1) / length);
}

uint8_t exactRampLevel(unsigned from, unsigned to, unsigned t, unsigned length, unsigned reciprocal)
{
    const auto x = static_cast<uint16_t>(2 * (from * (length - t) + to * t));
    return static_cast<uint8_t>(x * reciprocal >> 16);
}

uint8_t rampLevel(int from, int to, double t, float step)
{
    const float d = static_cast<float>(to - from) * step;
    return static_cast<uint8_t>(static_cast<int32_t>(from + t * static_cast<double>(d)));
}

float stepOf(uint32_t length)
{
    return 1.0F / static_cast<float>(length);
}

void ramp(const uint8_t* LX_RESTRICT from, const uint8_t* LX_RESTRICT to, uint8_t* LX_RESTRICT destination,
          size_t components, unsigned t, uint32_t length, [[maybe_unused]] ptrdiff_t ahead)
{
    if (!isExactRamp(length)) {
        const float step = stepOf(length);
        for (size_t i = 0; i < components; ++i)
            destination[i] = rampLevel(from[i], to[i], t, step);
        return;
    }
    const uint16_t reciprocal = halfReciprocal(length);
    size_t i = 0;
#if defined(LX_LEVEL_v4)
    for (; length == 2 && t == 1 && i + 64 <= components; i += 64) {
        fetchEarly<2>(destination + i, ahead);
        _mm512_storeu_si512(destination + i, halfDown(_mm512_loadu_si512(from + i), _mm512_loadu_si512(to + i)));
    }
    const __m512i fromWeights = _mm512_set1_epi16(static_cast<short>(2 * (length - t)));
    const __m512i toWeights = _mm512_set1_epi16(static_cast<short>(2 * t));
    const __m512i reciprocals = _mm512_set1_epi16(static_cast<short>(reciprocal));
    for (; i + 32 <= components; i += 32) {
        fetchEarly<2>(destination + i, ahead);
        const __m512i x = _mm512_add_epi16(_mm512_mullo_epi16(widen(from + i), fromWeights),
                                           _mm512_mullo_epi16(widen(to + i), toWeights));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + i), lowBytes(_mm512_mulhi_epu16(x, reciprocals)));
    }
#endif
    for (; i < components; ++i)
        destination[i] = exactRampLevel(from[i], to[i], t, length, reciprocal);
}

size_t placeOf(const PickGroup& group, const RampRow& row)
{
    return group.base - row.first;
}

// How many of a group's components there are in a row, and how many of them belong to pixels that have a next one.
size_t componentsOf(const PickGroup& group)
{
    return group.last + 1U;
}

size_t followedOf(const PickGroup& group, const RampRow& row)
{
    const size_t withNext = row.components - placeOf(group, row) - row.channels;
    return componentsOf(group) < withNext ? componentsOf(group) : withNext;
}

// Ramps of a group's components, some of `length` and some of one more.
void rampEach(const uint8_t* LX_RESTRICT from, const uint8_t* LX_RESTRICT to, uint8_t* LX_RESTRICT destination,
              size_t components, const uint8_t* LX_RESTRICT times, uint32_t length)
{
    if (!isExactRamp(length) || !isExactRamp(length + 1)) {
        const float narrow = stepOf(length);
        const float wide = stepOf(length + 1);
        for (size_t i = 0; i < components; ++i)
            destination[i] = rampLevel(from[i], to[i], times[i] & 127, times[i] > 127 ? wide : narrow);
        return;
    }
    const uint16_t narrow = halfReciprocal(length);
    const uint16_t wide = halfReciprocal(length + 1);
    for (size_t i = 0; i < components; ++i) {
        const bool isWide = times[i] > 127;
        destination[i] =
            exactRampLevel(from[i], to[i], times[i] & 127, length + (isWide ? 1 : 0), isWide ? wide : narrow);
    }
}

void rampPicked(const RampRow& row, uint8_t* LX_RESTRICT destination, const PickGroup* groups, size_t count,
                const uint8_t* LX_RESTRICT times, uint32_t length, ptrdiff_t ahead)
{
#if defined(LX_LEVEL_v4)
    const bool wide = isExactRamp(length) && isExactRamp(length + 1);
    const WideRamps ramps(length, halfReciprocal(length), halfReciprocal(length + 1));
#endif
    for (const PickGroup* group = groups; group != groups + count; ++group) {
        const uint8_t* LX_RESTRICT pixels = row.pixels + placeOf(*group, row);
        const size_t followed = followedOf(*group, row);
        fetchEarly<2>(destination, ahead);
#if defined(LX_LEVEL_v4)
        if (wide && group->last < 64) {
            const __m512i offsets = _mm512_loadu_si512(group->offsets);
            const WidePixels wanted(pixels, row.channels, componentsOf(*group), followed);
            storeLowest(destination,
                        ramps.at(permuteBytes(offsets, wanted.own), permuteBytes(offsets, wanted.next),
                                 _mm512_maskz_loadu_epi8(lowest(group->count), times)),
                        group->count);
            destination += group->count;
            times += group->count;
            continue;
        }
#endif
        uint8_t from[PickGroup::lanes];
        uint8_t to[PickGroup::lanes];
        for (unsigned k = 0; k < group->count; ++k) {
            const unsigned offset = group->offsets[k];
            from[k] = pixels[offset];
            to[k] = pixels[offset < followed ? offset + row.channels : offset];
        }
        rampEach(from, to, destination, group->count, times, length);
        destination += group->count;
        times += group->count;
    }
}

// What becomes of the bytes of two rows, and of the next pixel's, where pixels double.
struct RoundedMeans {
    static unsigned even(unsigned t, unsigned b) { return (t + b + 1) >> 1; }
    static unsigned odd(unsigned t, unsigned b, unsigned nextT, unsigned nextB)
    {
        return (t + b + nextT + nextB + 2) >> 2;
    }

#if defined(LX_LEVEL_v4)
    static __m512i even(__m512i t, __m512i b)
    {
        return _mm512_avg_epu8(t, b);
    }
    static __m512i odd(__m512i t, __m512i b, __m512i nextT, __m512i nextB)
    {
        return _mm512_packus_epi16(quarter(_mm512_unpacklo_epi8(t, b), _mm512_unpacklo_epi8(nextT, nextB)),
                                   quarter(_mm512_unpackhi_epi8(t, b), _mm512_unpackhi_epi8(nextT, nextB)));
    }
#endif
};

struct TruncatedRamps {
    static unsigned even(unsigned t, unsigned b) { return (t + b) >> 1; }
    static unsigned odd(unsigned t, unsigned b, unsigned nextT, unsigned nextB)
    {
        return ((t + nextT) / 2 + (b + nextB) / 2) >> 1;
    }

#if defined(LX_LEVEL_v4)
    static __m512i even(__m512i t, __m512i b)
    {
        return halfDown(t, b);
    }
    static __m512i odd(__m512i t, __m512i b, __m512i nextT, __m512i nextB)
    {
        return halfDown(halfDown(t, nextT), halfDown(b, nextB));
    }
#endif
};

// The same where both rows are one.
struct RowRamps {
    static unsigned even(unsigned t, unsigned) { return t; }
    static unsigned odd(unsigned t, unsigned, unsigned nextT, unsigned) { return (t + nextT) / 2; }

#if defined(LX_LEVEL_v4)
    static __m512i even(__m512i t, __m512i)
    {
        return t;
    }
    static __m512i odd(__m512i t, __m512i, __m512i nextT, __m512i)
    {
        return halfDown(t, nextT);
    }
#endif
};

struct Repeats {
    static unsigned even(unsigned t, unsigned) { return t; }
    static unsigned odd(unsigned t, unsigned, unsigned, unsigned) { return t; }

#if defined(LX_LEVEL_v4)
    static __m512i even(__m512i t, __m512i)
    {
        return t;
    }
    static __m512i odd(__m512i t, __m512i, __m512i, __m512i)
    {
        return t;
    }
#endif
};

// Pixels of `even` and `odd` by turns.
template <unsigned Channels>
void alternate(const uint8_t* LX_RESTRICT even, const uint8_t* LX_RESTRICT odd, uint8_t* LX_RESTRICT destination,
               size_t components)
{
    size_t i = 0;
    // Four bytes at once: the pixel that comes next replaces the last of them.
    for (; Channels == 3 && i + 6 <= components; i += 3) {
        std::memcpy(destination + 2 * i, even + i, 4);
        std::memcpy(destination + 2 * i + 3, odd + i, 4);
    }
    for (; i < components; i += Channels) {
        for (unsigned c = 0; c < Channels; ++c) {
            destination[2 * i + c] = even[i + c];
            destination[2 * i + Channels + c] = odd[i + c];
        }
    }
}

// n components of both kinds, of which the first `followed` belong to pixels that have a next one.
template <class Rule>
void makeBoth(const uint8_t* LX_RESTRICT t, const uint8_t* LX_RESTRICT b, size_t n, size_t followed, unsigned channels,
              uint8_t* LX_RESTRICT even, uint8_t* LX_RESTRICT odd)
{
    for (size_t k = 0; k < n; ++k)
        even[k] = static_cast<uint8_t>(Rule::even(t[k], b[k]));
    for (size_t k = 0; k < followed; ++k)
        odd[k] = static_cast<uint8_t>(Rule::odd(t[k], b[k], t[k + channels], b[k + channels]));
    for (size_t k = followed; k < n; ++k)
        odd[k] = static_cast<uint8_t>(Rule::odd(t[k], b[k], t[k], b[k]));
}

template <class Rule>
void twice(const uint8_t* LX_RESTRICT top, const uint8_t* LX_RESTRICT bottom, uint8_t* LX_RESTRICT destination,
           size_t components, unsigned channels)
{
#if defined(LX_LEVEL_v4)
    const size_t done = twiceWide<Rule>(top, bottom, destination, components, channels);
#else
    const size_t done = 0;
#endif
    constexpr size_t most = 3 * 256;
    uint8_t even[most];
    uint8_t odd[most];
    for (size_t i = done; i < components; i += most) {
        const size_t n = components - i < most ? components - i : most;
        makeBoth<Rule>(top + i, bottom + i, n, i + n < components ? n : n - channels, channels, even, odd);
        if (channels == 1)
            alternate<1>(even, odd, destination + 2 * i, n);
        else
            alternate<3>(even, odd, destination + 2 * i, n);
    }
}

#if defined(LX_LEVEL_v4)

template <class Rule>
__m512i groupLevels(const PickGroup& group, const WidePixels& t, const WidePixels& b)
{
    return _mm512_permutex2var_epi8(Rule::even(t.own, b.own), _mm512_loadu_si512(group.offsets),
                                    Rule::odd(t.own, b.own, t.next, b.next));
}

#endif

// Groups of even pixels of both rows, at offsets from 0 on, and odd ones, from 64 on.
template <class Rule>
void rampGroups(const RampRow row, const uint8_t* bottom, uint8_t* LX_RESTRICT destination, const PickGroup* groups,
                size_t count)
{
    const PickGroup* const end = groups + count;
#if defined(LX_LEVEL_v4)
    // No pixel is left out: where 64 components are to come, there are as many in the destination, and later groups
    // overwrite what is written too early.
    const PickGroup* whole = end;
    while (whole != groups && row.components - placeOf(whole[-1], row) < 64 + row.channels)
        --whole;
    for (; groups != whole; destination += groups++->count) {
        const size_t at = placeOf(*groups, row);
        const WidePixels t(row.pixels + at, row.channels);
        const WidePixels b(bottom + at, row.channels);
        _mm512_storeu_si512(destination, groupLevels<Rule>(*groups, t, b));
    }
#endif
    for (; groups != end; destination += groups++->count) {
        const size_t at = placeOf(*groups, row);
        const size_t components = componentsOf(*groups);
        const size_t followed = followedOf(*groups, row);
#if defined(LX_LEVEL_v4)
        const WidePixels t(row.pixels + at, row.channels, components, followed);
        const WidePixels b(bottom + at, row.channels, components, followed);
        storeLowest(destination, groupLevels<Rule>(*groups, t, b), groups->count);
#else
        uint8_t levels[PickGroup::lanes + 256];
        makeBoth<Rule>(row.pixels + at, bottom + at, components, followed, row.channels, levels,
                       levels + PickGroup::lanes);
        for (unsigned k = 0; k < groups->count; ++k)
            destination[k] = levels[groups->offsets[k]];
#endif
    }
}

void rampHalves(const RampRow& row, const uint8_t* bottom, uint8_t* destination, const PickGroup* groups, size_t count)
{
    if (row.pixels == bottom)
        rampGroups<RowRamps>(row, bottom, destination, groups, count);
    else
        rampGroups<TruncatedRamps>(row, bottom, destination, groups, count);
}

void repeatTwice(const uint8_t* source, uint8_t* destination, size_t components, unsigned channels)
{
    twice<Repeats>(source, source, destination, components, channels);
}

} // namespace

constexpr EnlargeKernels enlargeKernels = {
    ramp, rampPicked, rampHalves, twice<RoundedMeans>, twice<TruncatedRamps>, repeatTwice,
};

} // namespace lx::LX_LEVEL
