// A table of 256 bytes, ready for looking many bytes up, for the kernels that do so on their way.

#pragma once

#include "kernels/level.h"

#if defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

namespace lx::LX_LEVEL
{

namespace
{

class LookupTable
{
  public:
#if defined(LX_LEVEL_v4)
    // The table in four registers: two permutes find the entry in either half, and the index's top bit chooses.
    explicit LookupTable(const uint8_t* table)
        : t0_(_mm512_loadu_si512(table)), t1_(_mm512_loadu_si512(table + 64)), t2_(_mm512_loadu_si512(table + 128)),
          t3_(_mm512_loadu_si512(table + 192))
    {
    }

    __m512i look(__m512i index) const
    {
        const __m512i low = _mm512_permutex2var_epi8(t0_, index, t1_);
        const __m512i high = _mm512_permutex2var_epi8(t2_, index, t3_);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), low, high);
    }

    // Source and destination may be the same row.
    void look(const uint8_t* source, uint8_t* destination, size_t n) const
    {
        size_t i = 0;
        for (; i + 64 <= n; i += 64)
            _mm512_storeu_si512(destination + i, look(_mm512_loadu_si512(source + i)));
        if (const size_t rest = n - i; rest != 0) {
            const __mmask64 some = ~0ULL >> (64 - rest);
            _mm512_mask_storeu_epi8(destination + i, some, look(_mm512_maskz_loadu_epi8(some, source + i)));
        }
    }
#else
    explicit LookupTable(const uint8_t* table) : table_(table) {}

    void look(const uint8_t* source, uint8_t* destination, size_t n) const
    {
        for (size_t i = 0; i < n; ++i)
            destination[i] = table_[source[i]];
    }
#endif

  private:
#if defined(LX_LEVEL_v4)
    __m512i t0_;
    __m512i t1_;
    __m512i t2_;
    __m512i t3_;
#else
    const uint8_t* table_;
#endif
};

} // namespace

} // namespace lx::LX_LEVEL
