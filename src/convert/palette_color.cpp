// Full colour to palette colours: to 8 colours by threshold, ordered dither and error diffusion of each component, and
// to the 16 colours and the cube by levels of the components.

#include "convert/diffuse_lines.h"
#include "convert/ordered_dither.h"
#include "convert/threshold.h"
#include "frame/line_walk.h"

namespace lx
{

namespace
{

bool isColorTo(uint16_t type, const ImageArea& source, const ImageArea& destination)
{
    return source.type == IMAGE_TYPE_16MRGB && destination.type == type;
}

// The 16 colours of three levels per component, 9 blue + 3 green + red. Components are not treated alike: half a level
// of blue is full blue, while red and green have dark colours of their own, and half gray is the light one; on purpose.
constexpr uint8_t indices16[27] = {
    0, 1, 2, 3, 7, 8, 4, 8, 8, 6, 12, 12, 9, 15, 15, 10, 15, 15, 6, 12, 12, 10, 15, 14, 10, 14, 14,
};

} // namespace

} // namespace lx

using namespace lx;

int8_t lxImageTypeConvertTo8RGBNonHalftone(const ThresholdLevel* threshold, const ImageArea* source,
                                           const ImageArea* destination, ProgressCallback progress) noexcept
{
    if (!isColorTo(IMAGE_TYPE_8RGB, *source, *destination) || threshold->range == 0)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const uint8_t limit = thresholdOf(*threshold);
    const AreaView from(*source);
    const PaletteColorKernels& colors = *kernels().paletteColor;
    mapRows(from, AreaView(*destination), progress, [&](const uint8_t* in, uint8_t* out, uint32_t n) {
        colors.primaries(in, out, n, from.blueFirst(), limit);
    });
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertTo8RGBDitherHalftone(uint16_t* phaseX, uint16_t* phaseY, const DitherMatrix* matrix,
                                              const ImageArea* source, const ImageArea* destination,
                                              ProgressCallback progress) noexcept
{
    if (!isColorTo(IMAGE_TYPE_8RGB, *source, *destination) || !isDitherMatrix(*matrix))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    PhasedDither dither(*matrix, *phaseX, *phaseY);
    const PaletteColorKernels& colors = *kernels().paletteColor;
    mapRows(
        from, AreaView(*destination), progress,
        [&](const uint8_t* in, uint8_t* out, uint32_t n) {
            dither.next(n, [&](uint32_t k, const uint8_t* pattern, size_t period, size_t phase, uint32_t m) {
                colors.primariesPattern(in + size_t{k} * 3, pattern, period, phase, out + k, m, from.blueFirst());
            });
        },
        [&] { dither.endLine(); });
    *phaseX = dither.phaseX();
    *phaseY = dither.phaseY();
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertTo8RGBEDHalftone(uint16_t randomKernel, uint16_t kernelCount,
                                          const ErrorDiffusionKernel* kernelTable, const ErrorBufferDesc* errorBuffer,
                                          const ImageArea* source, const ImageArea* destination,
                                          ProgressCallback progress) noexcept
{
    if (!isColorTo(IMAGE_TYPE_8RGB, *source, *destination) || kernelCount == 0)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const bool blueFirst = from.blueFirst();
    const DiffusionKernels& wavefronts = *kernels().diffusion;
    diffuse<3>(
        {kernelTable, kernelCount, randomKernel != 0}, errorBuffer->buffer, from, AreaView(*destination), progress,
        [&](const DiffusionLines& lines) { return wavefronts.diffuseColor(lines, blueFirst); },
        [=](unsigned bits) {
            const unsigned swapped = (bits & 1) << 2 | (bits & 2) | bits >> 2;
            return static_cast<uint8_t>(blueFirst ? swapped : bits);
        });
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertTo16RGB(const ImageArea* source, const ImageArea* destination,
                                 ProgressCallback progress) noexcept
{
    if (!isColorTo(IMAGE_TYPE_16RGB, *source, *destination))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const PaletteColorKernels& colors = *kernels().paletteColor;
    mapToPacked(from, AreaView(*destination), progress, [&](const uint8_t* in, uint8_t* out, uint32_t n) {
        colors.thirds(in, out, n, from.blueFirst(), indices16);
    });
    return IMAGE_STATUS_OK;
}

int8_t lxImageTypeConvertTo256RGB(const ImageArea* source, const ImageArea* destination,
                                  ProgressCallback progress) noexcept
{
    if (!isColorTo(IMAGE_TYPE_256RGB, *source, *destination))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const PaletteColorKernels& colors = *kernels().paletteColor;
    mapRows(from, AreaView(*destination), progress,
            [&](const uint8_t* in, uint8_t* out, uint32_t n) { colors.cube(in, out, n, from.blueFirst()); });
    return IMAGE_STATUS_OK;
}
