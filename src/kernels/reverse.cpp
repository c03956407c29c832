// Rows turned end for end.
//
// The source is read forwards and the destination written backwards: in a half turn, rows follow one another in the
// same directions, so that either side is one stream.

#include "kernels/bit_words.h"
#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

namespace lx::LX_LEVEL
{

namespace
{

#if defined(LX_LEVEL_v4)

using Word = __m512i;

Word reverseBytes(Word v)
{
    alignas(64) static constexpr uint8_t backwards[64] = {
        63, 62, 61, 60, 59, 58, 57, 56, 55, 54, 53, 52, 51, 50, 49, 48, 47, 46, 45, 44, 43, 42,
        41, 40, 39, 38, 37, 36, 35, 34, 33, 32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20,
        19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9,  8,  7,  6,  5,  4,  3,  2,  1,  0,
    };
    return _mm512_permutexvar_epi8(_mm512_load_si512(backwards), v);
}

// Bit matrix products with the unit matrix, its rows or the halves of its rows in reverse order.
Word reverseNibbles(Word v)
{
    return reverseBytes(timesMatrix(v, _mm512_set1_epi64(0x1020408001020408)));
}

Word reverseBits(Word v)
{
    const __m512i antidiagonal = _mm512_set1_epi64(static_cast<int64_t>(0x8040201008040201ULL));
    return reverseBytes(timesMatrix(v, antidiagonal));
}

#else

using Word = uint64_t;

Word reverseBytes(Word v)
{
    return __builtin_bswap64(v);
}

Word reverseNibbles(Word v)
{
    return reverseBytes((v & 0x0F0F0F0F0F0F0F0F) << 4 | (v >> 4 & 0x0F0F0F0F0F0F0F0F));
}

Word reverseBits(Word v)
{
    v = (v & 0x5555555555555555) << 1 | (v >> 1 & 0x5555555555555555);
    v = (v & 0x3333333333333333) << 2 | (v >> 2 & 0x3333333333333333);
    return reverseNibbles(v);
}

#endif

// `reverse` turns a word of bytes end for end, and what is in the bytes too.
template <class Reverse>
void reverseRow(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t n, Reverse reverse)
{
#if defined(LX_LEVEL_v4)
    for (; n >= 64; n -= 64, source += 64)
        _mm512_storeu_si512(destination + n - 64, reverse(_mm512_loadu_si512(source)));
    // The bytes behind the first n come out in front of them.
    const __m512i rest = reverse(_mm512_maskz_loadu_epi8((uint64_t{1} << n) - 1, source));
    alignas(64) uint8_t reversed[64];
    _mm512_store_si512(reversed, rest);
    std::memcpy(destination, reversed + 64 - n, n);
#else
    for (; n >= 8; n -= 8, source += 8)
        storeLittle64(destination + n - 8, reverse(loadLittle64(source)));
    for (size_t k = 0; k < n; ++k)
        destination[n - 1 - k] = static_cast<uint8_t>(reverse(source[k]) >> 56);
#endif
}

void bytes(const uint8_t* source, uint8_t* destination, size_t n)
{
    reverseRow(source, destination, n, [](Word v) { return reverseBytes(v); });
}

void nibbles(const uint8_t* source, uint8_t* destination, size_t n)
{
    reverseRow(source, destination, n, [](Word v) { return reverseNibbles(v); });
}

void bits(const uint8_t* source, uint8_t* destination, size_t n)
{
    reverseRow(source, destination, n, [](Word v) { return reverseBits(v); });
}

void triples(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t n, bool swap)
{
#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
    // Five triples and the byte behind them become a byte, which the next step overwrites, and five triples.
    const __m128i plain = _mm_setr_epi8(15, 12, 13, 14, 9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2);
    const __m128i swapped = _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    const __m128i order = swap ? swapped : plain;
    for (; n > 5; n -= 5, source += 15) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + 3 * n - 16), _mm_shuffle_epi8(v, order));
    }
#endif
    const size_t first = swap ? 2 : 0;
    for (; n != 0; --n, source += 3) {
        uint8_t* triple = destination + 3 * (n - 1);
        triple[0] = source[first];
        triple[1] = source[1];
        triple[2] = source[2 - first];
    }
}

} // namespace

constexpr ReverseKernels reverseKernels = {bytes, triples, nibbles, bits};

} // namespace lx::LX_LEVEL
