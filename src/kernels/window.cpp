// Window counts: how they move from line to line, and how a count becomes a level.

#include "kernels/bit_words.h"
#include "kernels/kernel_tables.h"
#include "kernels/lookup_table.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/pixels_v4.h"
#include "kernels/registers_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

void gain(const uint8_t* LX_RESTRICT entering, const uint8_t* LX_RESTRICT leaving, int8_t* LX_RESTRICT gain,
          size_t columns)
{
    for (size_t i = 0; i < columns; ++i)
        gain[i] = static_cast<int8_t>(entering[i] - leaving[i]);
}

#if defined(LX_LEVEL_v4)

// What 64 gains and losses do to the counts. Within a group of eight, a product forms the running sums from the right,
// in which every term is 2 too much so that they stay bytes; between groups, they are summed in three steps. The chain
// from one set of 64 to the next is a single addition.
struct Slide64 {
    __m512i withinGroup;  // bytes: what a count changes by more than the count right of its group
    __m512i rightOfGroup; // 64-bit lanes: what the count right of the group changes by
    __m512i leftmost;     // what the first count changes by, in all 64-bit lanes

    Slide64(__m512i gained, __m512i lost, __m512i change)
    {
        const __m512i terms = _mm512_add_epi8(_mm512_sub_epi8(gained, lost), _mm512_set1_epi8(2));
        const __m512i sums = _mm512_mullo_epi64(reverseEights(terms), _mm512_set1_epi8(1));
        const __m512i excess = _mm512_set1_epi64(0x020406080A0C0E10);
        withinGroup = _mm512_sub_epi8(reverseEights(sums), excess);
        const __m512i totals = _mm512_sub_epi64(_mm512_srli_epi64(sums, 56), _mm512_set1_epi64(16));
        const __m512i zero = _mm512_setzero_si512();
        __m512i running = _mm512_add_epi64(totals, _mm512_alignr_epi64(zero, totals, 1));
        running = _mm512_add_epi64(running, _mm512_alignr_epi64(zero, running, 2));
        running = _mm512_add_epi64(running, _mm512_alignr_epi64(zero, running, 4));
        leftmost = _mm512_add_epi64(change, _mm512_broadcastq_epi64(_mm512_castsi512_si128(running)));
        rightOfGroup = _mm512_add_epi64(change, _mm512_sub_epi64(running, totals));
    }
};

void apply(const Slide64& slide, uint32_t* counts, uint64_t columns)
{
    const __m512i perGroup = _mm512_castsi256_si512(_mm512_cvtepi64_epi32(slide.rightOfGroup));
    const __m512i groups = _mm512_set_epi32(1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0);
    const auto sixteen = [&](int q, __m128i within) {
        const auto some = static_cast<__mmask16>(columns >> 16 * q);
        const __m512i right = _mm512_permutexvar_epi32(_mm512_add_epi32(groups, _mm512_set1_epi32(2 * q)), perGroup);
        const __m512i old = _mm512_maskz_loadu_epi32(some, counts + 16 * q);
        const __m512i change = _mm512_add_epi32(right, _mm512_cvtepi8_epi32(within));
        _mm512_mask_storeu_epi32(counts + 16 * q, some, _mm512_add_epi32(old, change));
    };
    sixteen(0, _mm512_castsi512_si128(slide.withinGroup));
    sixteen(1, _mm512_extracti32x4_epi32(slide.withinGroup, 1));
    sixteen(2, _mm512_extracti32x4_epi32(slide.withinGroup, 2));
    sixteen(3, _mm512_extracti32x4_epi32(slide.withinGroup, 3));
}

void slide(const int8_t* LX_RESTRICT gained, const int8_t* LX_RESTRICT lost, uint32_t* LX_RESTRICT counts,
           size_t windows, int32_t change)
{
    __m512i changes = _mm512_set1_epi64(change);
    size_t i = windows;
    for (; i >= 64; i -= 64) {
        const Slide64 slide(_mm512_loadu_si512(gained + i - 64), _mm512_loadu_si512(lost + i - 64), changes);
        apply(slide, counts + i - 64, ~0ULL);
        changes = slide.leftmost;
    }
    if (i != 0) {
        // The columns that are left, in the upper lanes.
        const uint64_t columns = ~0ULL << (64 - i);
        const auto load = [&](const int8_t* row) {
            return _mm512_maskz_expand_epi8(columns, _mm512_maskz_loadu_epi8(~0ULL >> (64 - i), row));
        };
        uint32_t few[64];
        std::memcpy(few + 64 - i, counts, i * sizeof few[0]);
        apply(Slide64(load(gained), load(lost), changes), few, columns);
        std::memcpy(counts, few + 64 - i, i * sizeof few[0]);
    }
}

#else

void slide(const int8_t* LX_RESTRICT gained, const int8_t* LX_RESTRICT lost, uint32_t* LX_RESTRICT counts,
           size_t windows, int32_t change)
{
    size_t i = windows;
    for (; i >= 8; i -= 8) {
        uint8_t terms[8];
        for (size_t b = 0; b < 8; ++b)
            terms[b] = static_cast<uint8_t>(2 + gained[i - 1 - b] - lost[i - 1 - b]);
        const uint64_t sums = loadLittle64(terms) * 0x0101010101010101ULL;
        for (int b = 0; b < 8; ++b) {
            const int32_t within = static_cast<int32_t>(sums >> 8 * b & 0xFF) - 2 * (b + 1);
            counts[i - 1 - static_cast<unsigned>(b)] += static_cast<uint32_t>(change + within);
        }
        change += static_cast<int32_t>(sums >> 56) - 16;
    }
    while (i-- > 0) {
        change += gained[i] - lost[i];
        counts[i] += static_cast<uint32_t>(change);
    }
}

#endif

#if defined(LX_LEVEL_v4)

// Levels in single precision, and in double precision where that might differ.
class Shading
{
  public:
    Shading(double step, double rounding) : step_(step), rounding_(rounding) {}

    // The levels of the first n of 64 counts.
    __m512i levels(const uint32_t* counts, const float* scales, size_t n)
    {
        const Sixteen quarters[4] = {{*this, counts, scales, n, 0},
                                     {*this, counts, scales, n, 1},
                                     {*this, counts, scales, n, 2},
                                     {*this, counts, scales, n, 3}};
        __m512i levels[4];
        for (int q = 0; q < 4; ++q)
            levels[q] = _mm512_cvttps_epi32(quarters[q].level);
        if ((quarters[0].doubtful | quarters[1].doubtful | quarters[2].doubtful | quarters[3].doubtful) != 0) {
            for (int q = 0; q < 4; ++q)
                levels[q] = quarters[q].doubtful == 0 ? levels[q] : precise(quarters[q].s);
        }
        const __m512i low = _mm512_packus_epi32(levels[0], levels[1]);
        const __m512i high = _mm512_packus_epi32(levels[2], levels[3]);
        const __m512i inOrder = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
        return _mm512_maskz_permutexvar_epi32(__mmask16{0xFFFF}, inOrder, _mm512_packus_epi16(low, high));
    }

  private:
    struct Sixteen {
        __m512 s;
        __m512 level;
        uint32_t doubtful;

        Sixteen(const Shading& shading, const uint32_t* counts, const float* scales, size_t n, unsigned quarter)
        {
            const auto mine = static_cast<__mmask16>(lowest(n) >> 16 * quarter);
            const __m512 one = _mm512_set1_ps(1.0F);
            const __m512 step = _mm512_set1_ps(static_cast<float>(shading.step_));
            const __m512 rounding = _mm512_set1_ps(static_cast<float>(shading.rounding_));
            const __m512 count = _mm512_cvtepu32_ps(_mm512_maskz_loadu_epi32(mine, counts + 16 * quarter));
            s = _mm512_mul_ps(count, _mm512_maskz_loadu_ps(mine, scales + 16 * quarter));
            s = _mm512_mask_sub_ps(s, _mm512_cmp_ps_mask(s, one, _CMP_GE_OQ), s, one);
            level = _mm512_add_ps(_mm512_mul_ps(step, s), rounding);
            // The step, the product and the sum are each rounded by 2^-24 of 256 at most: by less than 2^-14 together.
            // Below the first integer all is 0 in any case.
            const __m512 fromInteger = _mm512_abs_ps(_mm512_reduce_ps(level, _MM_FROUND_TO_NEAREST_INT));
            const __mmask16 notZero = _mm512_cmp_ps_mask(level, _mm512_set1_ps(0.5F), _CMP_GT_OQ);
            doubtful = _mm512_mask_cmp_ps_mask(notZero, fromInteger, _mm512_set1_ps(0x1p-14F), _CMP_LT_OQ);
        }
    };

    // Windows that are all alike, as on white paper, are worked out but once.
    __m512i precise(__m512 s)
    {
        if (_mm512_cmp_ps_mask(s, s_, _CMP_NEQ_UQ) != 0) {
            const __m256i low = eightPrecise(_mm512_castps512_ps256(s));
            const __m256i high = eightPrecise(_mm512_extractf32x8_ps(s, 1));
            s_ = s;
            precise_ = _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
        }
        return precise_;
    }

    __m256i eightPrecise(__m256 s) const
    {
        const __m512d product = _mm512_mul_pd(_mm512_set1_pd(step_), _mm512_cvtps_pd(s));
        return _mm512_cvttpd_epi32(_mm512_add_pd(product, _mm512_set1_pd(rounding_)));
    }

    double step_;
    double rounding_;
    __m512 s_ = _mm512_setzero_ps(); // what was worked out last: for 0, the level is 0 whatever the step
    __m512i precise_ = _mm512_setzero_si512();
};

void shade(const uint32_t* LX_RESTRICT counts, const float* LX_RESTRICT scales, uint8_t* LX_RESTRICT destination,
           size_t pixels, double step, double rounding)
{
    Shading shading(step, rounding);
    size_t i = 0;
    for (; i + 64 <= pixels; i += 64)
        _mm512_storeu_si512(destination + i, shading.levels(counts + i, scales + i, 64));
    if (i < pixels)
        _mm512_mask_storeu_epi8(destination + i, lowest(pixels - i),
                                shading.levels(counts + i, scales + i, pixels - i));
}

#else

void shade(const uint32_t* LX_RESTRICT counts, const float* LX_RESTRICT scales, uint8_t* LX_RESTRICT destination,
           size_t pixels, double step, double rounding)
{
    for (size_t i = 0; i < pixels; ++i) {
        float s = static_cast<float>(counts[i]) * scales[i];
        if (s >= 1.0F)
            s -= 1.0F;
        destination[i] = static_cast<uint8_t>(static_cast<int32_t>(step * static_cast<double>(s) + rounding));
    }
}

#endif

void join(const uint8_t* LX_RESTRICT first, const uint8_t* LX_RESTRICT second, const uint8_t* LX_RESTRICT third,
          uint8_t* LX_RESTRICT destination, size_t pixels)
{
    size_t i = 0;
#if defined(LX_LEVEL_v4)
    for (; i + 64 <= pixels; i += 64) {
        const Components components = {
            {_mm512_loadu_si512(first + i), _mm512_loadu_si512(second + i), _mm512_loadu_si512(third + i)}};
        storeTriples(components, destination + 3 * i);
    }
#endif
    for (; i < pixels; ++i) {
        destination[3 * i] = first[i];
        destination[3 * i + 1] = second[i];
        destination[3 * i + 2] = third[i];
    }
}

void slideColumns(const uint8_t* LX_RESTRICT entering, const uint8_t* LX_RESTRICT leaving, uint8_t* LX_RESTRICT counts,
                  size_t columns)
{
    for (size_t i = 0; i < columns; ++i)
        counts[i] = static_cast<uint8_t>(counts[i] + entering[i] - leaving[i]);
}

void shadeSums(const uint8_t* LX_RESTRICT counts, size_t size, const uint8_t* LX_RESTRICT levels,
               uint8_t* LX_RESTRICT destination, size_t windows)
{
    const LookupTable table(levels);
    for (size_t i = 0; i < windows; i += 64) {
        const size_t n = windows - i < 64 ? windows - i : 64;
#if defined(LX_LEVEL_v4)
        __m512i sums = _mm512_loadu_si512(counts + i);
        for (size_t k = 1; k < size; ++k)
            sums = _mm512_add_epi8(sums, _mm512_loadu_si512(counts + i + k));
        const __mmask64 some = ~0ULL >> (64 - n);
        _mm512_mask_storeu_epi8(destination + i, some, table.look(sums));
#else
        uint8_t sums[64];
        std::memcpy(sums, counts + i, sizeof sums);
        for (size_t k = 1; k < size; ++k) {
            for (size_t w = 0; w < 64; ++w)
                sums[w] = static_cast<uint8_t>(sums[w] + counts[i + k + w]);
        }
        table.look(sums, destination + i, n);
#endif
    }
}

} // namespace

constexpr WindowKernels windowKernels = {gain, slide, shade, join, slideColumns, shadeSums};

} // namespace lx::LX_LEVEL
