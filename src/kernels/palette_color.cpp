// Full colour to palette indices: plain loops that the compiler vectorises.

#include "kernels/kernel_tables.h"

namespace lx::LX_LEVEL
{

namespace
{

// destination[i] = rule(red, green, blue, i). The order of components is settled outside the loop.
template <class Rule>
void map(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, bool blueFirst, Rule rule)
{
    if (blueFirst) {
        for (size_t i = 0; i < pixels; ++i)
            destination[i] = rule(source[3 * i + 2], source[3 * i + 1], source[3 * i], i);
    } else {
        for (size_t i = 0; i < pixels; ++i)
            destination[i] = rule(source[3 * i], source[3 * i + 1], source[3 * i + 2], i);
    }
}

uint8_t primary(uint8_t red, uint8_t green, uint8_t blue, uint8_t threshold)
{
    return static_cast<uint8_t>((blue > threshold ? 4 : 0) | (green > threshold ? 2 : 0) | (red > threshold ? 1 : 0));
}

void primaries(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst, uint8_t threshold)
{
    map(source, destination, pixels, blueFirst,
        [=](uint8_t red, uint8_t green, uint8_t blue, size_t) { return primary(red, green, blue, threshold); });
}

void primariesPattern(const uint8_t* source, const uint8_t* pattern, size_t period, size_t phase, uint8_t* destination,
                      size_t pixels, bool blueFirst)
{
    const size_t advance = 64 % period;
    for (size_t i = 0; i < pixels; i += 64) {
        const uint8_t* LX_RESTRICT limits = pattern + phase;
        map(source + 3 * i, destination + i, pixels - i < 64 ? pixels - i : 64, blueFirst,
            [=](uint8_t red, uint8_t green, uint8_t blue, size_t k) { return primary(red, green, blue, limits[k]); });
        phase += advance;
        phase -= phase >= period ? period : 0;
    }
}

void thirds(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst)
{
    const auto level = [](uint8_t v) { return (v >= 86 ? 1 : 0) + (v >= 172 ? 1 : 0); };
    map(source, destination, pixels, blueFirst, [=](uint8_t red, uint8_t green, uint8_t blue, size_t) {
        return static_cast<uint8_t>(9 * level(blue) + 3 * level(green) + level(red));
    });
}

void cube(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst)
{
    // floor(v / 43) for every byte, in 16 bits
    const auto level = [](uint8_t v) { return static_cast<uint16_t>(v * 191U) >> 13; };
    map(source, destination, pixels, blueFirst, [=](uint8_t red, uint8_t green, uint8_t blue, size_t) {
        return static_cast<uint8_t>(36 * level(blue) + 6 * level(green) + level(red));
    });
}

} // namespace

constexpr PaletteColorKernels paletteColorKernels = {primaries, primariesPattern, thirds, cube};

} // namespace lx::LX_LEVEL
