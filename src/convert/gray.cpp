// Conversion to gray: each operation is a point operation on canonical rows, or the shading of window counts.

#include "convert/window_count.h"
#include "frame/gray_of_entry.h"
#include "frame/line_walk.h"

namespace lx
{

namespace
{

// The gray of every index; 0 where the palette has no entry.
struct GrayTable {
    uint8_t gray[256] = {};

    explicit GrayTable(const ColorPalette& palette)
    {
        const unsigned count = std::min<unsigned>(palette.count, 256);
        for (unsigned k = 0; k < count; ++k)
            gray[k] = grayOfEntry(palette.entries[k]);
    }
};

} // namespace

} // namespace lx

using namespace lx;

int8_t lxImageTypeConvertTo16Gray(const ImageArea* source, const ImageArea* destination,
                                  ProgressCallback progress) noexcept
{
    if (source->type != IMAGE_TYPE_256GRAY || destination->type != IMAGE_TYPE_16GRAY)
        return IMAGE_STATUS_BAD_ARGUMENT;
    mapToPacked(AreaView(*source), AreaView(*destination), progress, kernels().pixels->levels16);
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertTo256Gray(uint16_t channel, const ImageArea* source, const ImageArea* destination,
                                   ProgressCallback progress) noexcept
{
    if (source->type != IMAGE_TYPE_16MRGB || destination->type != IMAGE_TYPE_256GRAY)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    const PixelKernels& pixels = *kernels().pixels;
    if (channel < 1 || channel > 3) {
        mapRows(from, to, progress, pixels.weightedGray);
    } else {
        const unsigned component = from.blueFirst() ? 3U - channel : channel - 1U;
        mapRows(from, to, progress,
                [&](const uint8_t* in, uint8_t* out, uint32_t n) { pixels.component(in, out, n, component); });
    }
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertToGrayscale(const ColorPalette* palette, const ImageArea* source, const ImageArea* destination,
                                     ProgressCallback progress) noexcept
{
    if (destination->type != IMAGE_TYPE_256GRAY)
        return IMAGE_STATUS_BAD_ARGUMENT;
    if (!isPixelType(source->type))
        return IMAGE_STATUS_OK;
    const AreaView from(*source);
    const AreaView to(*destination);
    const PixelKernels& pixels = *kernels().pixels;
    if (from.bits() == 24) {
        // Truncates where palette colours round, and weights where they take thirds: deliberately.
        mapRows(from, to, progress,
                [&](const uint8_t* in, uint8_t* out, uint32_t n) { pixels.preciseGray(in, out, n, from.blueFirst()); });
        return IMAGE_STATUS_OK;
    }
    const GrayTable table(*palette);
    if (from.bits() == 1) {
        mapBits(from, to, table.gray[0], table.gray[1], progress);
    } else {
        mapRows(from, to, progress,
                [&](const uint8_t* in, uint8_t* out, uint32_t n) { pixels.lookup(in, out, n, table.gray); });
    }
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertToGrayscaleFromBW(uint16_t windowSize, const ImageArea* source, const ImageArea* destination,
                                           ProgressCallback progress) noexcept
{
    if (source->type != IMAGE_TYPE_BW || destination->type != IMAGE_TYPE_256GRAY || windowSize == 0)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    RowReader reader(from);
    constexpr double rounding = 0.5;
    shadeWindows<1>(
        windowSize, to, Overlap(from, to), progress, rounding,
        [&](unsigned, uint32_t i, uint32_t j, uint32_t n, uint8_t* flags) { reader.readTo(flags, i, j, n); });
    return IMAGE_STATUS_OK;
}
