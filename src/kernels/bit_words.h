// Between bits and bytes, for the kernels that do so on their way.
//
// The portable forms handle eight pixels in one 64-bit word; the wide ones move 32 or 64 bits between a register of
// bytes and a mask. A mask's bit k belongs to byte k, while a packed byte starts with its highest bit: each group of
// eight is turned round on the way.

#pragma once

#include "kernels/level.h"
#include "kernels/row_runs.h"

#include <cstring>

#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

namespace lx::LX_LEVEL
{

namespace
{

// The bits of `owned` become those of `fresh`.
inline void mergeByte(uint8_t* destination, unsigned fresh, unsigned owned)
{
    *destination = static_cast<uint8_t>((*destination & ~owned) | (fresh & owned));
}

// Calls make(source row, first destination row, length) for every run.
template <class Make>
inline void forEachRun(const RowRuns& rows, Make make)
{
    ptrdiff_t line = 0;
    for (uint32_t j = 0; j < rows.count; ++j) {
        make(rows.source + static_cast<ptrdiff_t>(j) * rows.sourceStep, rows.destination + line * rows.step,
             rows.lengths[j]);
        line += static_cast<ptrdiff_t>(rows.lengths[j]);
    }
}

#if defined(LX_LEVEL_v4)

// Each byte of x times the 8 x 8 bit matrix of its 64-bit lane. GCC 12 takes the factors of the intrinsic for
// exchangeable and swaps them when it likes, so the instruction is written out.
inline __m512i timesMatrix(__m512i x, __m512i matrix)
{
    __m512i product;
    __asm__("vgf2p8affineqb $0, %2, %1, %0" : "=v"(product) : "v"(x), "v"(matrix));
    return product;
}

// The same for some bytes; the others are those of `otherwise`.
inline __m512i timesMatrix(__m512i otherwise, __mmask64 some, __m512i x, __m512i matrix)
{
    __asm__("vgf2p8affineqb $0, %3, %2, %0 %{%1%}" : "+v"(otherwise) : "Yk"(some), "v"(x), "v"(matrix));
    return otherwise;
}

inline __m128i timesMatrix(__m128i x, __m128i matrix)
{
    __m128i product;
    __asm__("vgf2p8affineqb $0, %2, %1, %0" : "=v"(product) : "v"(x), "v"(matrix));
    return product;
}

// Turns the bytes of each group of eight round.
inline __m512i reverseEights(__m512i v)
{
    const __m512i order = _mm512_set4_epi32(0x08090A0B, 0x0C0D0E0F, 0x00010203, 0x04050607);
    return _mm512_shuffle_epi8(v, order);
}

// The bit order of each byte turned round: a bit matrix product with the antidiagonal.
inline uint64_t reverseBits(uint64_t bytes)
{
    const __m128i antidiagonal = _mm_set1_epi64x(static_cast<int64_t>(0x8040201008040201ULL));
    const __m128i v = _mm_cvtsi64_si128(static_cast<int64_t>(bytes));
    return static_cast<uint64_t>(_mm_cvtsi128_si64(timesMatrix(v, antidiagonal)));
}

constexpr size_t wideBytes = 8; // packed bytes per step of the wide loops

inline void unpackWide(const uint8_t* source, uint8_t* destination, uint8_t zero, uint8_t one)
{
    uint64_t bits;
    std::memcpy(&bits, source, sizeof bits);
    const __m512i spread =
        _mm512_set_epi64(0x0707070707070707, 0x0606060606060606, 0x0505050505050505, 0x0404040404040404,
                         0x0303030303030303, 0x0202020202020202, 0x0101010101010101, 0);
    const __m512i bytes = _mm512_shuffle_epi8(_mm512_set1_epi64(static_cast<int64_t>(bits)), spread);
    const __mmask64 set = _mm512_test_epi8_mask(bytes, _mm512_set1_epi64(0x0102040810204080));
    const __m512i v = _mm512_mask_blend_epi8(set, _mm512_set1_epi8(static_cast<char>(zero)),
                                             _mm512_set1_epi8(static_cast<char>(one)));
    _mm512_storeu_si512(destination, v);
}

inline void packWide(const uint8_t* source, uint8_t* destination)
{
    const __m512i v = reverseEights(_mm512_loadu_si512(source));
    const uint64_t bits = _mm512_test_epi8_mask(v, v);
    std::memcpy(destination, &bits, sizeof bits);
}

#elif defined(LX_LEVEL_v3)

constexpr size_t wideBytes = 4;

inline void unpackWide(const uint8_t* source, uint8_t* destination, uint8_t zero, uint8_t one)
{
    int32_t bits;
    std::memcpy(&bits, source, sizeof bits);
    const __m256i spread = _mm256_setr_epi64x(0, 0x0101010101010101, 0x0202020202020202, 0x0303030303030303);
    const __m256i places = _mm256_set1_epi64x(0x0102040810204080);
    const __m256i bytes = _mm256_shuffle_epi8(_mm256_set1_epi32(bits), spread);
    const __m256i set = _mm256_cmpeq_epi8(_mm256_and_si256(bytes, places), places);
    const __m256i v =
        _mm256_blendv_epi8(_mm256_set1_epi8(static_cast<char>(zero)), _mm256_set1_epi8(static_cast<char>(one)), set);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), v);
}

inline void packWide(const uint8_t* source, uint8_t* destination)
{
    const __m256i order =
        _mm256_set_epi64x(0x08090A0B0C0D0E0F, 0x0001020304050607, 0x08090A0B0C0D0E0F, 0x0001020304050607);
    const __m256i v = _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(source)), order);
    const int32_t bits = _mm256_movemask_epi8(_mm256_slli_epi16(v, 7));
    std::memcpy(destination, &bits, sizeof bits);
}

#endif

// Bit 7 - b of destination[k] = source[8 k + b], for k < bytes; source bytes are 0 or 1.
inline void packBits(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t bytes)
{
    size_t k = 0;
#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
    for (; k + wideBytes <= bytes; k += wideBytes)
        packWide(source + 8 * k, destination + k);
#endif
    for (; k < bytes; ++k) {
        // Eight 0/1 bytes gather in the top byte of a product; no two terms of it meet.
        const uint64_t flags = loadLittle64(source + 8 * k);
        destination[k] = static_cast<uint8_t>(flags * 0x8040201008040201ULL >> 56);
    }
}

} // namespace

} // namespace lx::LX_LEVEL
