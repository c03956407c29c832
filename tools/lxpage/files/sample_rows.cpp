#include "files/sample_rows.h"

#include <algorithm>
#include <cstring>

namespace lxpage
{

namespace
{

uint8_t narrowed(unsigned value16)
{
    return static_cast<uint8_t>((value16 * 255u + 32767u) / 65535u);
}

// Sample k of a line of 8 or 16 bit samples, as 8 bits.
uint8_t sampleAt(const SampleLayout& layout, const uint8_t* raw, size_t k)
{
    if (layout.bits == 8) {
        return raw[k];
    }
    uint16_t value;
    std::memcpy(&value, raw + 2 * k, sizeof value);
    return narrowed(value);
}

// Sample k of a line of 1, 2, 4 or 8 bit samples.
unsigned smallSampleAt(unsigned bits, const uint8_t* raw, uint32_t k)
{
    const unsigned perByte = 8 / bits;
    const unsigned shift = 8 - bits * (k % perByte + 1);
    return static_cast<unsigned>(raw[k / perByte] >> shift) & ((1u << bits) - 1);
}

// Two-bit gray in four-bit gray: the levels 0, 5, 10, 15 are the same shades.
void widenTwoBits(const uint8_t* raw, uint32_t width, uint8_t flip, uint8_t* line)
{
    for (uint32_t x = 0; x < width; x += 2) {
        const unsigned left = smallSampleAt(2, raw, x) * 5;
        const unsigned right = x + 1 < width ? smallSampleAt(2, raw, x + 1) * 5 : 0;
        line[x / 2] = static_cast<uint8_t>((left << 4 | right) ^ flip);
    }
}

void unpackSamples(const SampleLayout& layout, const uint8_t* raw, uint32_t width, uint8_t* line)
{
    const unsigned flip = layout.inverted ? 255 : 0;
    for (uint32_t x = 0; x < width; ++x) {
        const size_t first = size_t{x} * layout.samples;
        const unsigned alpha = layout.alpha == Alpha::None ? 255u : sampleAt(layout, raw, first + layout.colors);
        for (unsigned c = 0; c < layout.colors; ++c) {
            const unsigned value = sampleAt(layout, raw, first + c) ^ flip;
            *line++ = layout.alpha == Alpha::Premultiplied ? static_cast<uint8_t>(std::min(value + 255 - alpha, 255u))
                                                           : overWhite(value, alpha);
        }
    }
}

} // namespace

uint16_t imageTypeOf(const SampleLayout& layout)
{
    if (layout.indexed) {
        return IMAGE_TYPE_256RGB;
    }
    if (layout.colors == 3) {
        return IMAGE_TYPE_16MRGB;
    }
    return layout.bits == 1 ? IMAGE_TYPE_BW : layout.bits <= 4 ? IMAGE_TYPE_16GRAY : IMAGE_TYPE_256GRAY;
}

size_t rawBytesPerLine(const SampleLayout& layout, uint32_t width)
{
    return (size_t{width} * layout.samples * layout.bits + 7) / 8;
}

void unpackRow(const SampleLayout& layout, const uint8_t* raw, uint32_t width, uint8_t* line)
{
    const uint8_t flip = layout.inverted ? 0xFF : 0;
    if (layout.indexed) {
        for (uint32_t x = 0; x < width; ++x) {
            line[x] = static_cast<uint8_t>(smallSampleAt(layout.bits, raw, x));
        }
    } else if (layout.bits == 2) {
        widenTwoBits(raw, width, flip, line);
    } else if (layout.bits <= 8 && layout.samples == layout.colors) {
        const size_t bytes = rawBytesPerLine(layout, width);
        std::transform(raw, raw + bytes, line, [flip](uint8_t byte) { return static_cast<uint8_t>(byte ^ flip); });
    } else {
        unpackSamples(layout, raw, width, line);
    }
}

bool isBlackAndWhite(const uint8_t (*entries)[3], bool& inverted)
{
    static constexpr uint8_t black[3] = {0, 0, 0};
    static constexpr uint8_t white[3] = {255, 255, 255};
    inverted = std::equal(white, white + 3, entries[0]);
    return inverted ? std::equal(black, black + 3, entries[1])
                    : std::equal(black, black + 3, entries[0]) && std::equal(white, white + 3, entries[1]);
}

uint8_t overWhite(unsigned value, unsigned alpha)
{
    return static_cast<uint8_t>((value * alpha + 255 * (255 - alpha) + 127) / 255);
}

} // namespace lxpage
