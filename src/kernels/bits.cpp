// Packed pixels to bytes and back.
//
// The portable forms handle eight pixels in one 64-bit word; the wide ones move 32 or 64 bits between a register of
// bytes and a mask. A mask's bit k belongs to byte k, while a packed byte starts with its highest bit: each group of
// eight is turned round on the way.

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

// Turns the bytes of each group of eight round.
__m512i reverseEights(__m512i v)
{
    const __m512i order = _mm512_set4_epi32(0x08090A0B, 0x0C0D0E0F, 0x00010203, 0x04050607);
    return _mm512_shuffle_epi8(v, order);
}

// The bit order of each byte turned round: a bit matrix product with the antidiagonal.
uint64_t reverseBits(uint64_t bytes)
{
    const __m128i antidiagonal = _mm_set1_epi64x(static_cast<int64_t>(0x8040201008040201ULL));
    const __m128i v = _mm_cvtsi64_si128(static_cast<int64_t>(bytes));
    return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_gf2p8affine_epi64_epi8(v, antidiagonal, 0)));
}

constexpr size_t wideBytes = 8; // packed bytes per step of the wide loops

void unpackWide(const uint8_t* source, uint8_t* destination, uint8_t zero, uint8_t one)
{
    uint64_t bits;
    std::memcpy(&bits, source, sizeof bits);
    const __m512i v = _mm512_mask_blend_epi8(reverseBits(bits), _mm512_set1_epi8(static_cast<char>(zero)),
                                             _mm512_set1_epi8(static_cast<char>(one)));
    _mm512_storeu_si512(destination, v);
}

void packWide(const uint8_t* source, uint8_t* destination)
{
    const __m512i v = reverseEights(_mm512_loadu_si512(source));
    const uint64_t bits = _mm512_test_epi8_mask(v, v);
    std::memcpy(destination, &bits, sizeof bits);
}

#elif defined(LX_LEVEL_v3)

constexpr size_t wideBytes = 4;

void unpackWide(const uint8_t* source, uint8_t* destination, uint8_t zero, uint8_t one)
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

void packWide(const uint8_t* source, uint8_t* destination)
{
    const __m256i order =
        _mm256_set_epi64x(0x08090A0B0C0D0E0F, 0x0001020304050607, 0x08090A0B0C0D0E0F, 0x0001020304050607);
    const __m256i v = _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(source)), order);
    const int32_t bits = _mm256_movemask_epi8(_mm256_slli_epi16(v, 7));
    std::memcpy(destination, &bits, sizeof bits);
}

#endif

void unpackBits(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t bytes, uint8_t zero,
                uint8_t one)
{
    size_t k = 0;
#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
    for (; k + wideBytes <= bytes; k += wideBytes)
        unpackWide(source + k, destination + 8 * k, zero, one);
#endif
    for (; k < bytes; ++k) {
        for (unsigned b = 0; b < 8; ++b)
            destination[8 * k + b] = (source[k] >> (7 - b) & 1) != 0 ? one : zero;
    }
}

void packBits(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t bytes)
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

void unpackNibbles(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t bytes)
{
    for (size_t k = 0; k < bytes; ++k) {
        destination[2 * k] = source[k] >> 4;
        destination[2 * k + 1] = source[k] & 15;
    }
}

void packNibbles(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t bytes)
{
    for (size_t k = 0; k < bytes; ++k)
        destination[k] = static_cast<uint8_t>(source[2 * k] << 4 | (source[2 * k + 1] & 15));
}

// The n <= 8 bits from place `phase` on, as the highest bits of a byte; no byte without such a bit is read.
unsigned fewBits(const uint8_t* source, unsigned phase, unsigned n)
{
    const unsigned second = phase + n > 8 ? source[1] : 0U;
    return (source[0] << 8 | second) << phase >> 8 & 0xFF;
}

void mergeByte(uint8_t* destination, unsigned fresh, unsigned owned)
{
    *destination = static_cast<uint8_t>((*destination & ~owned) | (fresh & owned));
}

void copyBits(const uint8_t* LX_RESTRICT source, unsigned sourcePhase, uint8_t* LX_RESTRICT destination,
              unsigned destinationPhase, size_t bits)
{
    if (destinationPhase != 0 && bits != 0) {
        const unsigned room = 8 - destinationPhase;
        const unsigned n = bits < room ? static_cast<unsigned>(bits) : room;
        const unsigned owned = (0xFF00U >> n & 0xFF) >> destinationPhase;
        mergeByte(destination, fewBits(source, sourcePhase, n) >> destinationPhase, owned);
        ++destination;
        bits -= n;
        source += (sourcePhase + n) / 8;
        sourcePhase = (sourcePhase + n) % 8;
    }
    const size_t bytes = bits / 8;
    if (sourcePhase == 0) {
        std::memcpy(destination, source, bytes);
    } else {
        for (size_t k = 0; k < bytes; ++k) {
            const auto pair = static_cast<uint16_t>(source[k] << 8 | source[k + 1]);
            destination[k] = static_cast<uint8_t>(pair >> (8 - sourcePhase));
        }
    }
    if (const auto n = static_cast<unsigned>(bits % 8); n != 0)
        mergeByte(destination + bytes, fewBits(source + bytes, sourcePhase, n), 0xFF00U >> n & 0xFF);
}

void changeBits(uint8_t* row, unsigned phase, size_t bits, uint8_t keep, uint8_t flip)
{
    if (phase != 0 && bits != 0) {
        const unsigned room = 8 - phase;
        const unsigned n = bits < room ? static_cast<unsigned>(bits) : room;
        mergeByte(row, (*row & keep) ^ flip, (0xFF00U >> n & 0xFF) >> phase);
        ++row;
        bits -= n;
    }
    const size_t bytes = bits / 8;
    for (size_t k = 0; k < bytes; ++k)
        row[k] = static_cast<uint8_t>((row[k] & keep) ^ flip);
    if (const auto n = static_cast<unsigned>(bits % 8); n != 0)
        mergeByte(row + bytes, (row[bytes] & keep) ^ flip, 0xFF00U >> n & 0xFF);
}

} // namespace

constexpr BitKernels bitKernels = {unpackBits, packBits, unpackNibbles, packNibbles, copyBits, changeBits};

} // namespace lx::LX_LEVEL
