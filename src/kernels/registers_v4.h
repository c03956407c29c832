// Bytes and words in registers, for kernels at the level v4.

#pragma once

#include <cstdint>

#include <immintrin.h>

namespace lx::LX_LEVEL
{

namespace
{

// The low bytes of words. (The plain forms of this and of the next operation start from an undefined register, of which
// GCC 12 warns.)
[[maybe_unused]] __m256i lowBytes(__m512i words)
{
    return _mm512_maskz_cvtepi16_epi8(~__mmask32{0}, words);
}

[[maybe_unused]] __m512i permuteBytes(__m512i offsets, __m512i bytes)
{
    return _mm512_maskz_permutexvar_epi8(~__mmask64{0}, offsets, bytes);
}

// The lowest n of 64 bits, n <= 64.
[[maybe_unused]] uint64_t lowest(unsigned n)
{
    return n >= 64 ? ~uint64_t{0} : (uint64_t{1} << n) - 1;
}

} // namespace

} // namespace lx::LX_LEVEL
