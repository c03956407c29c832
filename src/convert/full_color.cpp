// Conversion to full colour: a palette lookup or a copy for each pixel, and the shading of window counts per component.

#include "convert/window_count.h"
#include "frame/line_walk.h"

namespace lx
{

namespace
{

// The component order of an area: where red, green and blue lie in a pixel.
unsigned componentPlace(const AreaView& area, unsigned component)
{
    return area.blueFirst() ? 2 - component : component;
}

// The pixel of every index, in the destination's component order; black where the palette has no entry.
ColorTable colorTable(const ColorPalette& palette, const AreaView& destination)
{
    ColorTable table = {};
    const unsigned count = std::min<unsigned>(palette.count, 256);
    for (unsigned k = 0; k < count; ++k) {
        for (unsigned c = 0; c < 3; ++c)
            table.component[componentPlace(destination, c)][k] = palette.entries[k][c];
    }
    return table;
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxImageTypeConvertTo16MRGB(const ColorPalette* palette, const ImageArea* source, const ImageArea* destination,
                                  ProgressCallback progress) noexcept
{
    if (destination->type != IMAGE_TYPE_16MRGB || !isPixelType(source->type))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    const PixelKernels& pixels = *kernels().pixels;
    if (from.bits() != 24) {
        const ColorTable table = colorTable(*palette, to);
        mapRows(from, to, progress,
                [&](const uint8_t* in, uint8_t* out, uint32_t n) { pixels.colors(in, out, n, table); });
    } else if (source->colorOrder == destination->colorOrder) {
        mapRows(from, to, progress,
                [](const uint8_t* in, uint8_t* out, uint32_t n) { std::memcpy(out, in, size_t{n} * 3); });
    } else {
        // Also where two different values name the same order: deliberately.
        mapRows(from, to, progress, pixels.swapEnds);
    }
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertTo16MRGBFrom8RGB(uint16_t windowSize, const ImageArea* source, const ImageArea* destination,
                                          ProgressCallback progress) noexcept
{
    if (source->type != IMAGE_TYPE_8RGB || destination->type != IMAGE_TYPE_16MRGB || windowSize == 0)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    const PixelKernels& pixels = *kernels().pixels;
    RowReader reader(from);
    constexpr double rounding = 0.0; // truncates where bilevel windows round: deliberately
    shadeWindows<3>(windowSize, to, Overlap(from, to), progress, rounding,
                    [&](unsigned place, uint32_t i, uint32_t j, uint32_t n, uint8_t* flags) {
                        pixels.bit(reader.read(i, j, n), flags, n, componentPlace(to, place));
                    });
    return IMAGE_STATUS_OK;
}
