// Picking: destination pixels that are source pixels as they are. The portable forms look up one after the other; the
// wide ones look their sources up in a few registers.

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

// Up to 256 source bytes in four registers, none of them from behind the last that is wanted.
void pickWide(const uint8_t* source, uint8_t* destination, const PickGroup& group)
{
    const __m512i offsets = _mm512_loadu_si512(group.offsets);
    const unsigned span = group.last + 1U;
    __m512i v;
    if (span <= 64) {
        v = permuteBytes(offsets, _mm512_maskz_loadu_epi8(lowest(span), source));
    } else if (span <= 128) {
        v = _mm512_permutex2var_epi8(_mm512_loadu_si512(source), offsets,
                                     _mm512_maskz_loadu_epi8(lowest(span - 64), source + 64));
    } else {
        const bool four = span > 192;
        const __m512i low =
            _mm512_permutex2var_epi8(_mm512_loadu_si512(source), offsets, _mm512_loadu_si512(source + 64));
        const __m512i third = _mm512_maskz_loadu_epi8(lowest(span - 128), source + 128);
        const __m512i fourth =
            four ? _mm512_maskz_loadu_epi8(lowest(span - 192), source + 192) : _mm512_setzero_si512();
        const __m512i high = _mm512_permutex2var_epi8(third, offsets, fourth);
        v = _mm512_mask_blend_epi8(_mm512_movepi8_mask(offsets), low, high);
    }
    if (group.count == PickGroup::lanes)
        _mm512_storeu_si512(destination, v);
    else
        _mm512_mask_storeu_epi8(destination, lowest(group.count), v);
}

#endif

void pick(const uint8_t* LX_RESTRICT source, uint32_t first, ptrdiff_t ahead, uint8_t* LX_RESTRICT destination,
          const PickGroup* groups, size_t count)
{
    for (const PickGroup* group = groups; group != groups + count; ++group) {
        const uint8_t* LX_RESTRICT from = source + (group->base - first);
        if (ahead != 0) {
            for (unsigned k = 0; k <= group->last; k += 64)
                __builtin_prefetch(from + k + ahead, 0, 2);
        }
#if defined(LX_LEVEL_v4)
        // A few bytes far apart are better fetched one by one.
        if (group->count >= 8) {
            pickWide(from, destination, *group);
            destination += group->count;
            continue;
        }
#endif
        for (unsigned k = 0; k < group->count; ++k)
            destination[k] = from[group->offsets[k]];
        destination += group->count;
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

constexpr PickKernels pickKernels = {pick, pickNibbles};

} // namespace lx::LX_LEVEL
