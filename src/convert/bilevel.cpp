// Conversion to bilevel: by one threshold, by ordered dither, by error diffusion, and by a fixed threshold.

#include "convert/diffuse_lines.h"
#include "convert/ordered_dither.h"
#include "convert/threshold.h"
#include "frame/line_walk.h"

#include <algorithm>

namespace lx
{

namespace
{

bool isGrayToBilevel(const ImageArea& source, const ImageArea& destination)
{
    return source.type == IMAGE_TYPE_256GRAY && destination.type == IMAGE_TYPE_BW;
}

// 192 and not 128: what is darker than three quarters of white becomes black, deliberately.
uint8_t isBright(const uint8_t* entry)
{
    constexpr double redBlue = 0.33F;
    constexpr double green = 0.34F;
    return (entry[2] * redBlue + entry[1] * green) + entry[0] * redBlue >= 192.0 ? 1 : 0;
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxImageTypeConvertToBWNonHalftone(const ThresholdLevel* threshold, const ImageArea* source,
                                         const ImageArea* destination, ProgressCallback progress) noexcept
{
    if (!isGrayToBilevel(*source, *destination) || threshold->range == 0)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const uint8_t limit = thresholdOf(*threshold);
    const PixelKernels& pixels = *kernels().pixels;
    mapToPacked(AreaView(*source), AreaView(*destination), progress,
                [&](const uint8_t* in, uint8_t* out, uint32_t n) { pixels.above(in, out, n, limit); });
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertToBWDitherHalftone(uint16_t* phaseX, uint16_t* phaseY, const DitherMatrix* matrix,
                                            const ImageArea* source, const ImageArea* destination,
                                            ProgressCallback progress) noexcept
{
    if (!isGrayToBilevel(*source, *destination) || !isDitherMatrix(*matrix))
        return IMAGE_STATUS_BAD_ARGUMENT;
    PhasedDither dither(*matrix, *phaseX, *phaseY);
    const PixelKernels& pixels = *kernels().pixels;
    mapToPacked(
        AreaView(*source), AreaView(*destination), progress,
        [&](const uint8_t* in, uint8_t* out, uint32_t n) {
            dither.next(n, [&](uint32_t k, const uint8_t* pattern, size_t period, size_t phase, uint32_t m) {
                pixels.abovePattern(in + k, pattern, period, phase, out + k / 8, m);
            });
        },
        [&] { dither.endLine(); });
    *phaseX = dither.phaseX();
    *phaseY = dither.phaseY();
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertToBWEDHalftone(uint16_t randomKernel, uint16_t kernelCount,
                                        const ErrorDiffusionKernel* kernelTable, const ErrorBufferDesc* errorBuffer,
                                        const ImageArea* source, const ImageArea* destination,
                                        ProgressCallback callback) noexcept
{
    if (!isGrayToBilevel(*source, *destination) || kernelCount == 0)
        return IMAGE_STATUS_BAD_ARGUMENT;
    diffuse<1>({kernelTable, kernelCount, randomKernel != 0}, errorBuffer->buffer, AreaView(*source),
               AreaView(*destination), callback, kernels().diffusion->diffuseGray,
               [](unsigned bit) { return static_cast<uint8_t>(bit); });
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertToBW(const ColorPalette* palette, const ImageArea* source, const ImageArea* destination,
                              ProgressCallback progress) noexcept
{
    if (destination->type != IMAGE_TYPE_BW || !isPixelType(source->type))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    const PixelKernels& pixels = *kernels().pixels;
    if (from.bits() == 24) {
        mapToPacked(from, to, progress, pixels.bright);
        return IMAGE_STATUS_OK;
    }
    uint8_t bright[256] = {};
    const unsigned count = 1U << from.bits();
    for (unsigned k = 0; k < count; ++k)
        bright[k] = isBright(palette->entries[k]);
    if (count == 2) {
        mapBitsToBits(from, to, progress, [&](uint32_t) { return patternsOf(bright); });
        return IMAGE_STATUS_OK;
    }
    const uint8_t* const begin = bright;
    const uint8_t* const end = bright + 256;
    const uint8_t* const step = std::find(begin, end, uint8_t{1});
    if (count == 256 && step != begin && std::all_of(step, end, [](uint8_t b) { return b != 0; })) {
        // Gray, above all: what lies behind the first bright entry is bright.
        const auto limit = static_cast<uint8_t>(step - begin - 1);
        mapToPacked(from, to, progress,
                    [&](const uint8_t* in, uint8_t* out, uint32_t n) { pixels.above(in, out, n, limit); });
        return IMAGE_STATUS_OK;
    }
    mapRows(from, to, progress,
            [&](const uint8_t* in, uint8_t* out, uint32_t n) { pixels.lookup(in, out, n, bright); });
    return IMAGE_STATUS_OK;
}
