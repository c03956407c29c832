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

#if defined(LX_LEVEL_v4)

// 64 bytes up to byte `last` of a row of `bytes` bytes. Bytes that are not the row's are 0, and not read: where the
// register would reach over an end of the row, its address is not one of the row's.
__m512i loadUpTo(const uint8_t* row, ptrdiff_t bytes, ptrdiff_t last)
{
    const ptrdiff_t begin = last - 63 > 0 ? last - 63 : 0;
    const ptrdiff_t end = last < bytes ? last + 1 : bytes;
    if (begin >= end)
        return _mm512_setzero_si512();
    const __mmask64 there = ~uint64_t{0} >> (64 - (end - begin)) << (63 - last + begin);
    const uintptr_t address = reinterpret_cast<uintptr_t>(row) + static_cast<uintptr_t>(last - 63);
    return _mm512_maskz_loadu_epi8(there, reinterpret_cast<const void*>(address)); // NOLINT(performance-no-int-to-ptr)
}

// Bytes of a destination register that only some bits are written of.
struct SharedBytes {
    __m512i owned = _mm512_set1_epi8(-1);
    __m512i before = _mm512_setzero_si512();

    void add(__mmask64 which, uint8_t byte, unsigned ownBits)
    {
        owned = _mm512_mask_set1_epi8(owned, which, static_cast<char>(ownBits));
        before = _mm512_mask_set1_epi8(before, which, static_cast<char>(byte));
    }

    __m512i merged(__m512i v) const { return _mm512_ternarylogic_epi64(owned, v, before, 0xCA); }
};

// Phases and the number of bits are any. Destination byte k has the bits of a window of two source bytes, the same
// place in all of them. The last comes first.
template <class Reverse>
void reverseShifted(const uint8_t* source, unsigned sourcePhase, uint8_t* destination, unsigned destinationPhase,
                    size_t bits, Reverse reverse)
{
    const auto sourceBytes = static_cast<ptrdiff_t>((sourcePhase + bits + 7) / 8);
    const auto bytes = static_cast<ptrdiff_t>((destinationPhase + bits + 7) / 8);
    const auto place = static_cast<ptrdiff_t>(sourcePhase + bits + destinationPhase); // of byte 0, less 8
    const unsigned shift = static_cast<unsigned>(place) % 8;
    const ptrdiff_t firstByte = place / 8 - 1;
    constexpr uint64_t unit = 0x0102040810204080;
    const __m512i up = _mm512_set1_epi64(static_cast<int64_t>(unit >> 8 * shift));
    const __m512i down = _mm512_set1_epi64(static_cast<int64_t>(shift != 0 ? unit << 8 * (8 - shift) : 0));
    const unsigned headBits = 0xFFU >> destinationPhase;
    const unsigned tailBits = 0xFF00U >> (static_cast<unsigned>(destinationPhase + bits - 1) % 8 + 1);
    const auto join = [&](__m512i first, __m512i second) {
        return reverse(_mm512_or_si512(timesMatrix(first, up), timesMatrix(second, down)));
    };
    for (ptrdiff_t k = (bytes - 1) / 64 * 64; k >= 0; k -= 64) {
        const ptrdiff_t last = firstByte - k;
        if (k != 0 && bytes - k > 64 && last >= 63 && last + 1 < sourceBytes) {
            const uint8_t* from = source + last - 63;
            _mm512_storeu_si512(destination + k, join(_mm512_loadu_si512(from), _mm512_loadu_si512(from + 1)));
            continue;
        }
        const __mmask64 mine = ~uint64_t{0} >> (bytes - k < 64 ? 64 - (bytes - k) : 0);
        SharedBytes shared;
        if (bytes - k <= 64)
            shared.add(mine ^ (mine >> 1), destination[bytes - 1], tailBits);
        if (k == 0)
            shared.add(1, destination[0], bytes == 1 ? headBits & tailBits : headBits);
        const __m512i v = join(loadUpTo(source, sourceBytes, last), loadUpTo(source, sourceBytes, last + 1));
        _mm512_mask_storeu_epi8(destination + k, mine, shared.merged(v));
    }
}

#else

// By way of the stack, where whole source bytes are reversed.
template <class Reverse>
void reverseShifted(const uint8_t* source, unsigned sourcePhase, uint8_t* destination, unsigned destinationPhase,
                    size_t bits, Reverse reverse)
{
    constexpr size_t limit = 32768; // most rows go in one piece
    for (size_t done = 0; done < bits;) {
        const size_t n = bits - done < limit ? bits - done : limit;
        const size_t from = sourcePhase + done;
        const size_t bytes = (from % 8 + n + 7) / 8;
        uint8_t reversed[limit / 8 + 1];
        reverseRow(source + from / 8, reversed, bytes, reverse);
        const size_t first = 8 * bytes - from % 8 - n;
        const size_t to = destinationPhase + bits - done - n;
        bitKernels.copyBits(reversed + first / 8, first % 8, destination + to / 8, to % 8, n);
        done += n;
    }
}

#endif

template <class Reverse>
void reversePacked(const uint8_t* source, unsigned sourcePhase, uint8_t* destination, unsigned destinationPhase,
                   size_t bits, Reverse reverse)
{
    if (sourcePhase == 0 && destinationPhase == 0 && bits % 8 == 0)
        reverseRow(source, destination, bits / 8, reverse);
    else if (bits != 0)
        reverseShifted(source, sourcePhase, destination, destinationPhase, bits, reverse);
}

void nibbles(const uint8_t* source, unsigned sourcePhase, uint8_t* destination, unsigned destinationPhase, size_t n)
{
    reversePacked(source, 4 * sourcePhase, destination, 4 * destinationPhase, 4 * n,
                  [](Word v) { return reverseNibbles(v); });
}

void bits(const uint8_t* source, unsigned sourcePhase, uint8_t* destination, unsigned destinationPhase, size_t n)
{
    reversePacked(source, sourcePhase, destination, destinationPhase, n, [](Word v) { return reverseBits(v); });
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
