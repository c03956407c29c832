// Masking: an area is painted with a colour, or tinted with it, in place.
//
// Packed areas are changed as they lie, by a pattern of eight bits or two nibbles that repeats along the line. Bytes
// and triples are combined with a row of the colour.

#include "compose/fixed_dither.h"
#include "convert/color_rules.h"
#include "frame/line_walk.h"

namespace lx
{

namespace
{

// Paints with the pattern, or keeps only those bits of a pixel that the pattern has.
void maskPacked(bool tint, const AreaView& area, uint32_t j, uint8_t pattern)
{
    kernels().bits->changeBits(area.row(j), area.phase() * area.bits(), size_t{area.width()} * area.bits(),
                               tint ? pattern : uint8_t{0}, tint ? uint8_t{0} : pattern);
}

// `pixel` is the colour as it lies in the area.
void maskBytes(bool tint, const AreaView& area, const uint8_t* pixel, ProgressCallback progress)
{
    const unsigned bytes = area.bits() / 8;
    alignas(64) uint8_t levels[3 * chunkPixels];
    for (size_t k = 0; k < size_t{chunkPixels} * bytes; ++k)
        levels[k] = pixel[k % bytes];
    const ComposeKernels& compose = *kernels().compose;
    walkLines(area.height(), progress, [&](uint32_t j) {
        walkChunks(area.width(), chunkPixels, [&](uint32_t i, uint32_t n) {
            if (tint)
                compose.tint(levels, area.at(i, j), size_t{n} * bytes);
            else
                std::memcpy(area.at(i, j), levels, size_t{n} * bytes);
        });
    });
}

int8_t MaskBW(bool tint, const uint8_t* color, const ImageArea& image, ProgressCallback progress)
{
    if (image.type != IMAGE_TYPE_BW)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView area(image);
    const uint8_t gray = grayByWeights(color);
    walkLines(area.height(), progress,
              [&](uint32_t j) { maskPacked(tint, area, j, turnedTo(area.phase(), FixedDitherTable::bits(j, gray))); });
    return IMAGE_STATUS_OK;
}

int8_t Mask256Gray(bool tint, const uint8_t* color, const ImageArea& image, ProgressCallback progress)
{
    if (image.type != IMAGE_TYPE_256GRAY)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const uint8_t gray = grayByWeights(color);
    maskBytes(tint, AreaView(image), &gray, progress);
    return IMAGE_STATUS_OK;
}

int8_t Mask8RGB(bool tint, const uint8_t* color, const ImageArea& image, ProgressCallback progress)
{
    if (image.type != IMAGE_TYPE_8RGB)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView area(image);
    const auto twoPixels = static_cast<uint8_t>(primariesOf(color) * 0x11);
    walkLines(area.height(), progress, [&](uint32_t j) { maskPacked(tint, area, j, twoPixels); });
    return IMAGE_STATUS_OK;
}

int8_t Mask16MRGB(bool tint, const uint8_t* color, const ImageArea& image, ProgressCallback progress)
{
    if (image.type != IMAGE_TYPE_16MRGB)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView area(image);
    const unsigned red = area.blueFirst() ? 2 : 0;
    const uint8_t pixel[3] = {color[red], color[1], color[2 - red]};
    maskBytes(tint, area, pixel, progress);
    return IMAGE_STATUS_OK;
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxMaskingBySpecificationColor(uint16_t tint, const uint8_t* color, const ImageArea* area,
                                     ProgressCallback progress) noexcept
{
    switch (area->type) {
    case IMAGE_TYPE_BW:
        return MaskBW(tint != 0, color, *area, progress);
    case IMAGE_TYPE_256GRAY:
        return Mask256Gray(tint != 0, color, *area, progress);
    case IMAGE_TYPE_8RGB:
        return Mask8RGB(tint != 0, color, *area, progress);
    case IMAGE_TYPE_16MRGB:
        return Mask16MRGB(tint != 0, color, *area, progress);
    default:
        return IMAGE_STATUS_BAD_ARGUMENT;
    }
}
