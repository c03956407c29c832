// The fixed palettes of the pixel formats.

#include "frame/area_view.h"

#include <cstring>

namespace
{

// Pairs of a half and a full primary, then the pairs of their sums, then half gray, white, and the light gray last:
// the order is part of the image format.
constexpr uint8_t colors16[16][3] = {
    {0, 0, 0},     {128, 0, 0},     {255, 0, 0},     {0, 128, 0},     {0, 255, 0},   {0, 0, 128},
    {0, 0, 255},   {128, 128, 0},   {255, 255, 0},   {0, 128, 128},   {0, 255, 255}, {128, 0, 128},
    {255, 0, 255}, {128, 128, 128}, {255, 255, 255}, {192, 192, 192},
};

struct Color {
    unsigned red;
    unsigned green;
    unsigned blue;
};

Color paletteColor(uint16_t type, unsigned k)
{
    constexpr Color white = {255, 255, 255};
    switch (type) {
    case IMAGE_TYPE_BW:
        return {k * 255, k * 255, k * 255};
    case IMAGE_TYPE_16GRAY:
        return {k * 17, k * 17, k * 17};
    case IMAGE_TYPE_256GRAY:
        return {k, k, k};
    case IMAGE_TYPE_8RGB:
        return k < 8 ? Color{(k & 1) * 255, (k >> 1 & 1) * 255, (k >> 2) * 255} : white;
    case IMAGE_TYPE_16RGB:
        return {colors16[k][0], colors16[k][1], colors16[k][2]};
    default: // the cube, red varying fastest
        return k < 216 ? Color{k % 6 * 51, k / 6 % 6 * 51, k / 36 * 51} : white;
    }
}

} // namespace

int8_t lxGetColorPalette(ColorPalette* palette) noexcept
{
    if (!lx::isPixelType(palette->type))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const unsigned bits = lx::bitsPerPixel(palette->type);
    palette->count = bits == 24 ? uint16_t{0} : static_cast<uint16_t>(1U << bits);
    for (unsigned k = 0; k < palette->count; ++k) {
        const Color color = paletteColor(palette->type, k);
        palette->entries[k][0] = static_cast<uint8_t>(color.red);
        palette->entries[k][1] = static_cast<uint8_t>(color.green);
        palette->entries[k][2] = static_cast<uint8_t>(color.blue);
    }
    return IMAGE_STATUS_OK;
}
