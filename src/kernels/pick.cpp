// Picking: destination pixels that are source pixels as they are. The portable forms look up one after the other; the
// wide ones look their sources up in a few registers.

#include "kernels/fetch_early.h"
#include "kernels/kernel_tables.h"

#if defined(LX_LEVEL_v4)
#include "kernels/bit_words.h"
#include "kernels/registers_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

#if defined(LX_LEVEL_v4)

// Looks up to 64 source bytes up in one, two or four registers, reading none from behind the last that is wanted.
template <unsigned Registers>
class Lookup
{
  public:
    explicit Lookup(const PickGroup& group) : offsets_(_mm512_loadu_si512(group.offsets))
    {
        const unsigned span = group.last + 1U;
        if constexpr (Registers == 4) {
            third_ = lowest(span - 128);
            last_ = span > 192 ? lowest(span - 192) : 0;
        } else {
            last_ = lowest(span - 64 * (Registers - 1));
        }
    }

    __m512i in(const uint8_t* source) const
    {
        const __m512i last = _mm512_maskz_loadu_epi8(last_, source + 64 * (Registers - 1));
        if constexpr (Registers == 1)
            return permuteBytes(offsets_, last);
        const __m512i first = _mm512_loadu_si512(source);
        if constexpr (Registers == 2)
            return _mm512_permutex2var_epi8(first, offsets_, last);
        const __m512i low = _mm512_permutex2var_epi8(first, offsets_, _mm512_loadu_si512(source + 64));
        const __m512i third = _mm512_maskz_loadu_epi8(third_, source + 128);
        const __m512i high = _mm512_permutex2var_epi8(third, offsets_, last);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(offsets_), low, high);
    }

  private:
    __m512i offsets_;
    __mmask64 third_ = 0;
    __mmask64 last_;
};

template <class Use>
void withLookup(const PickGroup& group, Use use)
{
    if (group.last < 64)
        use(Lookup<1>(group));
    else if (group.last < 128)
        use(Lookup<2>(group));
    else
        use(Lookup<4>(group));
}

// What may be written for a group: all of a register where the next group overwrites what is too much.
__mmask64 lanesOf(const PickGroup* group, const PickGroup* end)
{
    if (group->count == PickGroup::lanes || (group + 1 != end && group->count + group[1].count >= PickGroup::lanes))
        return ~__mmask64{0};
    return lowest(group->count);
}

void putLanes(uint8_t* destination, __mmask64 lanes, __m512i bytes)
{
    if (lanes == ~__mmask64{0})
        _mm512_storeu_si512(destination, bytes);
    else
        _mm512_mask_storeu_epi8(destination, lanes, bytes);
}

// One group of all rows, its components being the `at`th and so on. Asks for the next rows, from a slow cache to the
// second one, for the place that they go to, and for the next group, from there to the first one.
template <unsigned Registers>
void pickSumsWide(const Lookup<Registers>& lookup, const PickRows& rows, uint32_t base, size_t at, __mmask64 lanes,
                  uint16_t* sums)
{
    constexpr ptrdiff_t reach = 64 * Registers;
    const unsigned count = rows.count;
    const ptrdiff_t step = rows.step;
    const __m512i low = _mm512_set1_epi16(255);
    __m512i even = _mm512_setzero_si512();
    __m512i odd = even;
    uint8_t* to = rows.destination + at;
    for (unsigned r = 0; r < count; ++r, to += step) {
        const uint8_t* from = rows.sources[r] + base;
        const ptrdiff_t ahead = rows.ahead[r];
        for (ptrdiff_t k = 0; k < reach; k += 64) {
            fetchEarly<2>(from, ahead + k);
            fetchEarly<3>(from, reach + k);
        }
        fetchEarly<2>(to, static_cast<ptrdiff_t>(count) * step);
        const __m512i bytes = lookup.in(from);
        putLanes(to, lanes, bytes);
        even = _mm512_add_epi16(even, _mm512_and_si512(bytes, low));
        odd = _mm512_add_epi16(odd, _mm512_srli_epi16(bytes, 8));
    }
    const __m512i halves[2] = {_mm512_unpacklo_epi16(even, odd), _mm512_unpackhi_epi16(even, odd)};
    const __m512i lower = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
    const __m512i upper = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
    _mm512_storeu_si512(sums + at, _mm512_permutex2var_epi64(halves[0], lower, halves[1]));
    _mm512_storeu_si512(sums + at + 32, _mm512_permutex2var_epi64(halves[0], upper, halves[1]));
}

#endif

// Inlined, or GCC 12 would drop it as a function without any effect.
[[gnu::always_inline]] inline void fetchGroup(const uint8_t* from, ptrdiff_t ahead, const PickGroup& group)
{
    if (ahead == 0)
        return;
    for (unsigned k = 0; k <= group.last; k += 64)
        fetchEarly<2>(from + k, ahead);
}

void pickPlain(const uint8_t* LX_RESTRICT from, uint8_t* LX_RESTRICT destination, const PickGroup& group)
{
    for (unsigned k = 0; k < group.count; ++k)
        destination[k] = from[group.offsets[k]];
}

// A few bytes far apart are better fetched one by one.
[[maybe_unused]] bool isDense(const PickGroup& group)
{
    return group.count >= 8;
}

void pick(const uint8_t* LX_RESTRICT source, uint32_t first, ptrdiff_t ahead, uint8_t* LX_RESTRICT destination,
          const PickGroup* groups, size_t count)
{
    for (const PickGroup* group = groups; group != groups + count; ++group) {
        const uint8_t* LX_RESTRICT from = source + (group->base - first);
        fetchGroup(from, ahead, *group);
#if defined(LX_LEVEL_v4)
        if (isDense(*group)) {
            withLookup(*group, [&](const auto& lookup) {
                putLanes(destination, lanesOf(group, groups + count), lookup.in(from));
            });
            destination += group->count;
            continue;
        }
#endif
        pickPlain(from, destination, *group);
        destination += group->count;
    }
}

void pickSums(const PickRows& rows, const PickGroup* groups, size_t count, uint16_t* LX_RESTRICT sums)
{
    size_t at = 0;
    for (const PickGroup* group = groups; group != groups + count; at += group++->count) {
#if defined(LX_LEVEL_v4)
        if (isDense(*group)) {
            withLookup(*group, [&](const auto& lookup) {
                pickSumsWide(lookup, rows, group->base, at, lanesOf(group, groups + count), sums);
            });
            continue;
        }
#endif
        for (unsigned r = 0; r < rows.count; ++r) {
            const uint8_t* LX_RESTRICT from = rows.sources[r] + group->base;
            fetchGroup(from, rows.ahead[r], *group);
            uint8_t* LX_RESTRICT to = rows.destination + static_cast<ptrdiff_t>(r) * rows.step + at;
            pickPlain(from, to, *group);
            for (unsigned k = 0; k < group->count; ++k)
                sums[at + k] = static_cast<uint16_t>((r != 0 ? sums[at + k] : 0) + to[k]);
        }
    }
}

#if defined(LX_LEVEL_v4)

// The bytes of 64 nibbles, two registers of them apart, are looked up and packed again.
__m256i pickNibblesWide(const uint8_t* source, unsigned phase, const PickGroup& group)
{
    // Moves the lowest bit up behind the six others: odd nibbles are in the second register.
    const __m512i halve = _mm512_set1_epi64(0x0204081020400100);
    const __m512i offsets =
        _mm512_add_epi8(_mm512_loadu_si512(group.offsets), _mm512_set1_epi8(static_cast<char>(phase)));
    const __m512i pairs = _mm512_maskz_loadu_epi8(lowest((phase + group.last) / 2 + 1), source);
    const __m512i low = _mm512_set1_epi8(15);
    const __m512i even = _mm512_and_si512(_mm512_srli_epi16(pairs, 4), low);
    const __m512i odd = _mm512_and_si512(pairs, low);
    const __m512i picked = _mm512_permutex2var_epi8(even, timesMatrix(offsets, halve), odd);
    return lowBytes(_mm512_maddubs_epi16(picked, _mm512_set1_epi16(0x0110)));
}

bool pickNibbles(const uint8_t* LX_RESTRICT source, unsigned phase, uint8_t* LX_RESTRICT destination,
                 const PickGroup* groups, size_t count)
{
    for (const PickGroup* group = groups; group != groups + count; ++group) {
        const size_t first = size_t{phase} + group->base;
        const __m256i nibbles = pickNibblesWide(source + first / 2, first % 2, *group);
        if (group->count == PickGroup::lanes)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), nibbles);
        else
            _mm256_mask_storeu_epi8(destination, static_cast<uint32_t>(lowest((group->count + 1U) / 2)), nibbles);
        destination += PickGroup::lanes / 2;
    }
    return true;
}

#else

bool pickNibbles(const uint8_t*, unsigned, uint8_t*, const PickGroup*, size_t)
{
    return false;
}

#endif

} // namespace

constexpr PickKernels pickKernels = {pick, pickSums, pickNibbles};

} // namespace lx::LX_LEVEL
