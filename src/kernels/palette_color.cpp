// Full colour to palette indices: plain loops that the compiler vectorises, and tables for levels at v4.

#include "kernels/kernel_tables.h"

#if defined(LX_LEVEL_v4)
#include "kernels/lookup_table.h"
#include "kernels/pixels_v4.h"
#include "kernels/registers_v4.h"
#endif

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

// floor(v / 86)
constexpr unsigned third(uint8_t v)
{
    return (v >= 86 ? 1 : 0) + (v >= 172 ? 1 : 0);
}

// floor(v / 43), in 16 bits.
constexpr unsigned sixth(uint8_t v)
{
    return static_cast<uint16_t>(v * 191U) >> 13;
}

#if defined(LX_LEVEL_v4)

// What the components count in an index: red, green, blue.
struct ThirdTables {
    alignas(64) uint8_t ofHalf[3][128] = {}; // by halves of the component, for all limits are even

    constexpr ThirdTables()
    {
        for (unsigned v = 0; v < 256; v += 2) {
            for (unsigned c = 0, base = 1; c < 3; ++c, base *= 3)
                ofHalf[c][v / 2] = static_cast<uint8_t>(third(static_cast<uint8_t>(v)) * base);
        }
    }
};

struct SixthTables {
    alignas(64) uint8_t of[3][256] = {};

    constexpr SixthTables()
    {
        for (unsigned v = 0; v < 256; ++v) {
            for (unsigned c = 0, base = 1; c < 3; ++c, base *= 6)
                of[c][v] = static_cast<uint8_t>(sixth(static_cast<uint8_t>(v)) * base);
        }
    }
};

constexpr ThirdTables thirdTables;
constexpr SixthTables sixthTables;

// Blocks of 64 pixels, the last one overlapping the one before: block(i), for at least 64 pixels.
template <class Block>
void walkSixtyFours(size_t pixels, Block block)
{
    for (size_t i = 0; i + 64 <= pixels; i += 64)
        block(i);
    block(pixels - 64);
}

void thirdsOfSixtyFours(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst,
                        const uint8_t* colors)
{
    const unsigned red = blueFirst ? 2 : 0;
    const __m512i table = _mm512_maskz_loadu_epi8(lowest(27), colors);
    __m512i halves[3][2];
    for (unsigned c = 0; c < 3; ++c) {
        for (unsigned part = 0; part < 2; ++part)
            halves[c][part] = _mm512_load_si512(thirdTables.ofHalf[c == 1 ? 1 : red ^ c] + 64 * part);
    }
    // The top bit of an index into two registers does not count.
    const auto level = [&](const Components& in, unsigned c) {
        return _mm512_permutex2var_epi8(halves[c][0], _mm512_srli_epi16(in.byte[c], 1), halves[c][1]);
    };
    // An even number of pixels, so that the last block, too, starts with a byte.
    walkSixtyFours(pixels, [&](size_t i) {
        const Components in = loadTriples(source + 3 * i);
        const __m512i two = _mm512_add_epi8(level(in, 0), level(in, 1));
        const __m512i nibbles = permuteBytes(_mm512_add_epi8(two, level(in, 2)), table);
        const __m512i pairs = _mm512_maddubs_epi16(nibbles, _mm512_set1_epi16(0x0110));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + i / 2), lowBytes(pairs));
    });
}

void cubeOfSixtyFours(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst)
{
    const LookupTable first(sixthTables.of[blueFirst ? 2 : 0]);
    const LookupTable second(sixthTables.of[1]);
    const LookupTable last(sixthTables.of[blueFirst ? 0 : 2]);
    walkSixtyFours(pixels, [&](size_t i) {
        const Components in = loadTriples(source + 3 * i);
        const __m512i two = _mm512_add_epi8(first.look(in.byte[0]), second.look(in.byte[1]));
        _mm512_storeu_si512(destination + i, _mm512_add_epi8(two, last.look(in.byte[2])));
    });
}

#endif

void thirds(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst, const uint8_t* colors)
{
#if defined(LX_LEVEL_v4)
    if (const size_t even = pixels - pixels % 2; even >= 64) {
        thirdsOfSixtyFours(source, destination, even, blueFirst, colors);
        source += 3 * even;
        destination += even / 2;
        pixels -= even;
    }
#endif
    for (size_t i = 0; i < pixels; i += 64) {
        uint8_t index[64] = {};
        const size_t n = pixels - i < 64 ? pixels - i : 64;
        map(source + 3 * i, index, n, blueFirst, [=](uint8_t red, uint8_t green, uint8_t blue, size_t) {
            return static_cast<uint8_t>(9 * third(blue) + 3 * third(green) + third(red));
        });
        for (size_t k = 0; k < n; k += 2)
            destination[(i + k) / 2] = static_cast<uint8_t>(colors[index[k]] << 4 | colors[index[k + 1]]);
    }
}

void cube(const uint8_t* source, uint8_t* destination, size_t pixels, bool blueFirst)
{
#if defined(LX_LEVEL_v4)
    if (pixels >= 64) {
        cubeOfSixtyFours(source, destination, pixels, blueFirst);
        return;
    }
#endif
    map(source, destination, pixels, blueFirst, [=](uint8_t red, uint8_t green, uint8_t blue, size_t) {
        return static_cast<uint8_t>(36 * sixth(blue) + 6 * sixth(green) + sixth(red));
    });
}

} // namespace

constexpr PaletteColorKernels paletteColorKernels = {primaries, primariesPattern, thirds, cube};

} // namespace lx::LX_LEVEL
