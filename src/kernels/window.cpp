// Window counts: how they move from line to line, and how a count becomes a level.

#include "kernels/bit_words.h"
#include "kernels/kernel_tables.h"

#include <cstring>

namespace lx::LX_LEVEL
{

namespace
{

void drift(const uint8_t* LX_RESTRICT enterLeft, const uint8_t* LX_RESTRICT leaveLeft,
           const uint8_t* LX_RESTRICT enterRight, const uint8_t* LX_RESTRICT leaveRight, uint8_t* LX_RESTRICT drift,
           size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i)
        drift[i] = static_cast<uint8_t>(2 + (enterLeft[i] - leaveLeft[i]) - (enterRight[i] - leaveRight[i]));
}

#if defined(LX_LEVEL_v4)

// What 64 drifts do to the counts above them. Within a group of eight, a product forms the running sums from the
// right; between groups, they are summed in three steps.
struct Slide64 {
    __m512i withinGroup;  // bytes: what a count changes by more than the count right of its group
    __m512i rightOfGroup; // 64-bit lanes: what the count right of the group changes by
    int32_t leftmost;     // what the first count changes by

    Slide64(const uint8_t* drift, int32_t change)
    {
        const __m512i ones = _mm512_set1_epi8(1);
        const __m512i sums = _mm512_mullo_epi64(reverseEights(_mm512_loadu_si512(drift)), ones);
        const __m512i excess = _mm512_set1_epi64(0x020406080A0C0E10); // two for each drift in a sum
        withinGroup = _mm512_sub_epi8(reverseEights(sums), excess);
        const __m512i totals = _mm512_sub_epi64(_mm512_srli_epi64(sums, 56), _mm512_set1_epi64(16));
        const __m512i zero = _mm512_setzero_si512();
        __m512i running = _mm512_add_epi64(totals, _mm512_alignr_epi64(zero, totals, 1));
        running = _mm512_add_epi64(running, _mm512_alignr_epi64(zero, running, 2));
        running = _mm512_add_epi64(running, _mm512_alignr_epi64(zero, running, 4));
        running = _mm512_add_epi64(running, _mm512_set1_epi64(change));
        rightOfGroup = _mm512_sub_epi64(running, totals);
        leftmost = _mm512_cvtsi512_si32(running);
    }
};

void apply(const Slide64& slide, uint32_t* counts)
{
    const __m512i perGroup = _mm512_castsi256_si512(_mm512_cvtepi64_epi32(slide.rightOfGroup));
    const auto sixteen = [&](unsigned q, __m128i within) {
        const __m512i twoGroups = _mm512_add_epi32(_mm512_set1_epi32(static_cast<int>(2 * q)),
                                                   _mm512_set_epi32(1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0));
        const __m512i change =
            _mm512_add_epi32(_mm512_permutexvar_epi32(twoGroups, perGroup), _mm512_cvtepi8_epi32(within));
        _mm512_storeu_si512(counts + 16 * q, _mm512_add_epi32(_mm512_loadu_si512(counts + 16 * q), change));
    };
    sixteen(0, _mm512_castsi512_si128(slide.withinGroup));
    sixteen(1, _mm512_extracti32x4_epi32(slide.withinGroup, 1));
    sixteen(2, _mm512_extracti32x4_epi32(slide.withinGroup, 2));
    sixteen(3, _mm512_extracti32x4_epi32(slide.withinGroup, 3));
}

void apply(const Slide64& slide, uint8_t* counts)
{
    const __m512i lowest = _mm512_set4_epi32(0x08080808, 0x08080808, 0, 0);
    const __m512i change = _mm512_add_epi8(slide.withinGroup, _mm512_shuffle_epi8(slide.rightOfGroup, lowest));
    _mm512_storeu_si512(counts, _mm512_add_epi8(_mm512_loadu_si512(counts), change));
}

#endif

template <class Count>
int32_t slideCounts(const uint8_t* LX_RESTRICT drift, Count* LX_RESTRICT counts, size_t pixels, int32_t change)
{
    size_t i = pixels;
#if defined(LX_LEVEL_v4)
    for (; i >= 64; i -= 64) {
        const Slide64 slide(drift + i - 64, change);
        apply(slide, counts + i - 64);
        change = slide.leftmost;
    }
#endif
    for (; i >= 8; i -= 8) {
        // One product forms the eight running sums from the right; with two in excess for each drift they stay bytes.
        const uint64_t sums = __builtin_bswap64(loadLittle64(drift + i - 8)) * 0x0101010101010101ULL;
        for (int b = 0; b < 8; ++b) {
            const int32_t within = static_cast<int32_t>(sums >> 8 * b & 0xFF) - 2 * (b + 1);
            counts[i - 1 - static_cast<unsigned>(b)] += static_cast<Count>(change + within);
        }
        change += static_cast<int32_t>(sums >> 56) - 16;
    }
    while (i-- > 0) {
        change += drift[i] - 2;
        counts[i] += static_cast<Count>(change);
    }
    return change;
}

int32_t slide(const uint8_t* drift, uint32_t* counts, size_t pixels, int32_t change)
{
    return slideCounts(drift, counts, pixels, change);
}

int32_t slideBytes(const uint8_t* drift, uint8_t* counts, size_t pixels, int32_t change)
{
    return slideCounts(drift, counts, pixels, change);
}

uint8_t level(uint32_t count, float scale, double step, double rounding)
{
    float s = static_cast<float>(count) * scale;
    if (s >= 1.0F)
        s -= 1.0F;
    return static_cast<uint8_t>(static_cast<int32_t>(step * static_cast<double>(s) + rounding));
}

void shade(const uint32_t* LX_RESTRICT counts, const float* LX_RESTRICT scales, uint8_t* LX_RESTRICT destination,
           size_t stride, size_t pixels, double step, double rounding)
{
    if (stride == 1) {
        for (size_t i = 0; i < pixels; ++i)
            destination[i] = level(counts[i], scales[i], step, rounding);
    } else {
        for (size_t i = 0; i < pixels; ++i)
            destination[i * stride] = level(counts[i], scales[i], step, rounding);
    }
}

} // namespace

constexpr WindowKernels windowKernels = {drift, slide, slideBytes, shade};

} // namespace lx::LX_LEVEL
