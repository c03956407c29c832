// Bytes and words in registers, for kernels at the level v4.

#pragma once

#include <cstddef>
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

// 32 bytes as words.
[[maybe_unused]] __m512i widen(const uint8_t* bytes)
{
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes)));
}

// Stores a register in two moves: where memory sets the pace, one takes longer.
[[maybe_unused]] void storeHalves(uint8_t* destination, __m512i bytes)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), _mm512_castsi512_si256(bytes));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + 32), _mm512_extracti64x4_epi64(bytes, 1));
}

// (a + b) >> 1 of every byte.
[[maybe_unused]] __m512i halfDown(__m512i a, __m512i b)
{
    return _mm512_sub_epi8(_mm512_avg_epu8(a, b), _mm512_and_si512(_mm512_xor_si512(a, b), _mm512_set1_epi8(1)));
}

// The lowest n of 64 bits as a mask, all of them from 64 on.
[[maybe_unused]] uint64_t lowest(size_t n)
{
    return _bzhi_u64(~uint64_t{0}, n < 64 ? static_cast<unsigned>(n) : 64);
}

// Where every byte becomes `Times` bytes: the source bytes, 64 at most, that end where a line of the cache begins in
// the destination. Where none do, 64.
template <unsigned Times>
[[maybe_unused]] size_t bytesToLine(const uint8_t* destination)
{
    const size_t left = 64 - reinterpret_cast<uintptr_t>(destination) % 64;
    if constexpr (Times == 3)
        return (left * 43 - 1) % 64 + 1; // 3 * 43 = 1 + 2 * 64
    else
        return left % Times == 0 ? left / Times + 64 - 64 / Times : 64;
}

} // namespace

} // namespace lx::LX_LEVEL
