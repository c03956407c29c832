// Point operations on canonical rows: plain loops that the compiler vectorises.
//
// Weighted gray works on x = 33 (R + B) + 34 G, which fits 16 bits. floor(x / 100) equals the stated floating-point
// rule on all 2^24 colours, and so does the comparison with 19200 the luminance test.

#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/pixels_v4.h"
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

void lookup(const uint8_t* source, uint8_t* destination, size_t pixels, const uint8_t* LX_RESTRICT table)
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
        storeTriples({tables[0].at(index), tables[1].at(index), tables[2].at(index)}, destination + 3 * i);
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
