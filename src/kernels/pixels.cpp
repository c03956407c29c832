// Point operations on canonical rows: plain loops that the compiler vectorises.
//
// Weighted gray works on x = 33 (R + B) + 34 G, which fits 16 bits. floor(x / 100) equals the stated floating-point
// rule on all 2^24 colours, and so does the comparison with 19200 the luminance test.

#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

namespace lx::LX_LEVEL
{

namespace
{

uint16_t weighted(const uint8_t* pixel)
{
    return static_cast<uint16_t>(33 * (pixel[0] + pixel[2]) + 34 * pixel[1]);
}

// floor(x / 100) for x <= 25500.
uint8_t hundredth(uint16_t x)
{
    return static_cast<uint8_t>((x * 5243U >> 16) >> 3);
}

void weightedGray(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i)
        destination[i] = hundredth(weighted(source + 3 * i));
}

void preciseGray(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, bool blueFirst)
{
    const unsigned red = blueFirst ? 2 : 0;
    for (size_t i = 0; i < pixels; ++i) {
        const uint8_t* pixel = source + 3 * i;
        const double sum = (pixel[2 - red] * 0.33 + pixel[1] * 0.34) + pixel[red] * 0.33;
        destination[i] = static_cast<uint8_t>(static_cast<int32_t>(sum));
    }
}

void component(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, unsigned component)
{
    const uint8_t* LX_RESTRICT bytes = source + component;
    for (size_t i = 0; i < pixels; ++i)
        destination[i] = bytes[3 * i];
}

void bright(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i)
        destination[i] = weighted(source + 3 * i) >= 19200 ? 1 : 0;
}

void levels16(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i)
        destination[i] = static_cast<uint8_t>(source[i] * 241U >> 12);
}

void above(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, uint8_t threshold)
{
    for (size_t i = 0; i < pixels; ++i)
        destination[i] = source[i] > threshold ? 1 : 0;
}

void aboveEach(const uint8_t* LX_RESTRICT source, const uint8_t* LX_RESTRICT thresholds,
               uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i)
        destination[i] = source[i] > thresholds[i] ? 1 : 0;
}

#if defined(LX_LEVEL_v4)

// Byte b of 64 triples is component b % 3 of pixel b / 3. Three registers hold a component each: one permute takes two
// of them (the second from 64 on), and another, under a mask, the third.
struct Weave {
    alignas(64) uint8_t firstTwo[3][64] = {};
    alignas(64) uint8_t third[3][64] = {};
    uint64_t isThird[3] = {};

    constexpr Weave()
    {
        for (unsigned b = 0; b < 192; ++b) {
            const auto pixel = static_cast<uint8_t>(b / 3);
            firstTwo[b / 64][b % 64] = static_cast<uint8_t>(b % 3 == 1 ? 64 + pixel : pixel);
            third[b / 64][b % 64] = pixel;
            isThird[b / 64] |= uint64_t{b % 3 == 2} << b % 64;
        }
    }
};
constexpr Weave weave;

// A table of 256 bytes in four registers.
struct Table256 {
    __m512i part[4];

    explicit Table256(const uint8_t* table)
        : part{_mm512_loadu_si512(table), _mm512_loadu_si512(table + 64), _mm512_loadu_si512(table + 128),
               _mm512_loadu_si512(table + 192)}
    {
    }

    // Two permutes find the entry in either half, and the index's top bit chooses.
    __m512i at(__m512i index) const
    {
        const __m512i low = _mm512_permutex2var_epi8(part[0], index, part[1]);
        const __m512i high = _mm512_permutex2var_epi8(part[2], index, part[3]);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), low, high);
    }
};

#endif

void lookup(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels,
            const uint8_t* LX_RESTRICT table)
{
    size_t i = 0;
#if defined(LX_LEVEL_v4)
    const Table256 entries(table);
    for (; i + 64 <= pixels; i += 64)
        _mm512_storeu_si512(destination + i, entries.at(_mm512_loadu_si512(source + i)));
#endif
    for (; i < pixels; ++i)
        destination[i] = table[source[i]];
}

void colors(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, const ColorTable& table)
{
    size_t i = 0;
#if defined(LX_LEVEL_v4)
    const Table256 tables[3] = {Table256(table.component[0]), Table256(table.component[1]),
                                Table256(table.component[2])};
    for (; i + 64 <= pixels; i += 64) {
        const __m512i index = _mm512_loadu_si512(source + i);
        const __m512i first = tables[0].at(index);
        const __m512i second = tables[1].at(index);
        const __m512i third = tables[2].at(index);
        for (unsigned part = 0; part < 3; ++part) {
            const __m512i two = _mm512_permutex2var_epi8(first, _mm512_load_si512(weave.firstTwo[part]), second);
            const __m512i v =
                _mm512_mask_permutexvar_epi8(two, weave.isThird[part], _mm512_load_si512(weave.third[part]), third);
            _mm512_storeu_si512(destination + 3 * i + 64 * part, v);
        }
    }
#endif
    for (; i < pixels; ++i) {
        for (unsigned c = 0; c < 3; ++c)
            destination[3 * i + c] = table.component[c][source[i]];
    }
}

void swapEnds(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i) {
        destination[3 * i] = source[3 * i + 2];
        destination[3 * i + 1] = source[3 * i + 1];
        destination[3 * i + 2] = source[3 * i];
    }
}

void bit(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, unsigned bit)
{
    for (size_t i = 0; i < pixels; ++i)
        destination[i] = source[i] >> bit & 1;
}

} // namespace

constexpr PixelKernels pixelKernels = {
    weightedGray, preciseGray, component, bright, levels16, above, aboveEach, lookup, colors, swapEnds, bit,
};

} // namespace lx::LX_LEVEL
