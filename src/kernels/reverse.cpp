// Rows turned end for end: plain loops that the compiler vectorises, and shuffles for triples and bits.

#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

namespace lx::LX_LEVEL
{

namespace
{

void bytes(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t n)
{
    for (size_t k = 0; k < n; ++k)
        destination[k] = source[n - 1 - k];
}

void nibbles(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t n)
{
    for (size_t k = 0; k < n; ++k) {
        const uint8_t pair = source[n - 1 - k];
        destination[k] = static_cast<uint8_t>(pair << 4 | pair >> 4);
    }
}

void triples(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t n, bool swap)
{
#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
    // Five triples and the byte in front of them become five triples and a byte that the next step overwrites.
    const __m128i plain = _mm_setr_epi8(13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, 0);
    const __m128i swapped = _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    const __m128i order = swap ? swapped : plain;
    for (; n > 5; n -= 5, destination += 15) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 3 * n - 16));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(destination), _mm_shuffle_epi8(v, order));
    }
#endif
    const size_t first = swap ? 2 : 0;
    for (; n != 0; --n, destination += 3) {
        const uint8_t* triple = source + 3 * (n - 1);
        destination[0] = triple[first];
        destination[1] = triple[1];
        destination[2] = triple[2 - first];
    }
}

uint64_t reverseWord(uint64_t v)
{
    v = (v & 0x5555555555555555) << 1 | (v >> 1 & 0x5555555555555555);
    v = (v & 0x3333333333333333) << 2 | (v >> 2 & 0x3333333333333333);
    v = (v & 0x0F0F0F0F0F0F0F0F) << 4 | (v >> 4 & 0x0F0F0F0F0F0F0F0F);
    return __builtin_bswap64(v);
}

void bits(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t n)
{
#if defined(LX_LEVEL_v4)
    const __m512i antidiagonal = _mm512_set1_epi64(static_cast<int64_t>(0x8040201008040201ULL));
    const __m512i inLane = _mm512_set4_epi32(0x00010203, 0x04050607, 0x08090A0B, 0x0C0D0E0F);
    for (; n >= 64; n -= 64, destination += 64) {
        __m512i v = _mm512_loadu_si512(source + n - 64);
        v = _mm512_gf2p8affine_epi64_epi8(_mm512_shuffle_epi8(v, inLane), antidiagonal, 0);
        _mm512_storeu_si512(destination, _mm512_shuffle_i64x2(v, v, 0x1B));
    }
#endif
    for (; n >= 8; n -= 8, destination += 8)
        storeLittle64(destination, reverseWord(loadLittle64(source + n - 8)));
    for (; n != 0; --n, ++destination)
        *destination = static_cast<uint8_t>(reverseWord(source[n - 1]) >> 56);
}

} // namespace

constexpr ReverseKernels reverseKernels = {bytes, triples, nibbles, bits};

} // namespace lx::LX_LEVEL
