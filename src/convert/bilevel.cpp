// Conversion to bilevel: by one threshold, by ordered dither, by error diffusion, and by a fixed threshold.

#include "convert/error_diffusion.h"
#include "convert/ordered_dither.h"
#include "convert/threshold.h"
#include "frame/line_walk.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>

namespace lx
{

namespace
{

bool isGrayToBilevel(const ImageArea& source, const ImageArea& destination)
{
    return source.type == IMAGE_TYPE_256GRAY && destination.type == IMAGE_TYPE_BW;
}

bool isFinite(const ErrorDiffusionKernel& kernel)
{
    return std::isfinite(kernel.right) && std::isfinite(kernel.lowerLeft) && std::isfinite(kernel.below) &&
           std::isfinite(kernel.lowerRight);
}

// 192 and not 128: what is darker than three quarters of white becomes black, deliberately.
uint8_t isBright(const uint8_t* entry)
{
    constexpr double redBlue = 0.33F;
    constexpr double green = 0.34F;
    return (entry[2] * redBlue + entry[1] * green) + entry[0] * redBlue >= 192.0 ? 1 : 0;
}

// Diffuses lines in wavefronts as long as a line is left after them: the last line goes through the work row, which the
// caller may look at. Returns the number of lines done.
uint32_t diffuseInWavefronts(const ErrorDiffusionKernel& kernel, double* carry, const AreaView& source,
                             const AreaView& destination, const Overlap& overlap, Progress& progress)
{
    if (overlap.width == 0 || !isFinite(kernel))
        return 0;
    DiffusionLines lines;
    lines.phase = destination.phase();
    lines.carry = carry;
    lines.width = overlap.width;
    lines.kernel = kernel;
    uint32_t j = 0;
    while (overlap.height - j > 1) {
        lines.count = std::min(overlap.height - j - 1, DiffusionLines::most);
        for (uint32_t k = 0; k < lines.count; ++k) {
            lines.source[k] = source.row(j + k);
            lines.destination[k] = destination.row(j + k);
        }
        const unsigned taken = kernels().diffusion->diffuseGray(lines);
        if (taken == 0)
            break;
        for (uint32_t k = 0; k < taken; ++k)
            progress.lineDone(j++, overlap.height);
    }
    return j;
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
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    const AreaView from(*source);
    const AreaView to(*destination);
    const Overlap overlap(from, to);
    Progress progress(callback);
    uint32_t j = 0;
    if (kernelCount == 1 && randomKernel == 0)
        j = diffuseInWavefronts(kernelTable[0], errorBuffer->buffer + 1, from, to, overlap, progress);
    ErrorDiffusion<1> diffusion({kernelTable, kernelCount, randomKernel != 0}, errorBuffer->buffer, from.width(),
                                overlap.width);
    RowWriter writer(to);
    for (; j < overlap.height; ++j) {
        if (overlap.width != 0)
            diffusion.beginLine(from.row(j));
        walkChunks(overlap.width, chunkPixels, [&](uint32_t i, uint32_t n) {
            uint8_t* out = writer.open(i, j, n);
            diffusion.diffuse(i, n, [&](uint32_t k, unsigned bits) { out[k] = static_cast<uint8_t>(bits); });
            writer.close();
        });
        diffusion.endLine();
        progress.lineDone(j, overlap.height);
    }
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
