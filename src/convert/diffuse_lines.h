// The driver of error diffusion: lines go through a wavefront of several at a time where that gives the same, and one
// after the other where it does not.

#pragma once

#include "convert/error_diffusion.h"
#include "frame/line_walk.h"

#include <cmath>
#include <cstdlib>
#include <ctime>

namespace lx
{

inline bool isFinite(const ErrorDiffusionKernel& kernel)
{
    return std::isfinite(kernel.right) && std::isfinite(kernel.lowerLeft) && std::isfinite(kernel.below) &&
           std::isfinite(kernel.lowerRight);
}

// Diffuses all lines but the last one in wavefronts: the last line goes through the work row, which the caller may look
// at. Returns the number of lines done. wavefront(lines) is one of the diffusing kernels.
template <class Wavefront>
uint32_t diffuseInWavefronts(const ErrorDiffusionKernel& kernel, double* carry, const AreaView& source,
                             const AreaView& destination, const Overlap& overlap, Progress& progress,
                             Wavefront wavefront)
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
        wavefront(lines);
        for (uint32_t k = 0; k < lines.count; ++k)
            progress.lineDone(j++, overlap.height);
    }
    return j;
}

// Reseeds the generator, and diffuses `Channels` components of the source into packed pixels. pixelOf(bits) is the
// pixel of which the source's byte c has set bit c.
template <unsigned Channels, class Wavefront, class PixelOf>
void diffuse(const KernelChoice& choice, double* buffer, const AreaView& source, const AreaView& destination,
             ProgressCallback callback, Wavefront wavefront, PixelOf pixelOf)
{
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    const Overlap overlap(source, destination);
    Progress progress(callback);
    uint32_t j = 0;
    if (choice.count == 1 && !choice.random)
        j = diffuseInWavefronts(choice.kernels[0], buffer + Channels, source, destination, overlap, progress,
                                wavefront);
    ErrorDiffusion<Channels> diffusion(choice, buffer, source.width(), overlap.width);
    RowWriter writer(destination);
    for (; j < overlap.height; ++j) {
        if (overlap.width != 0)
            diffusion.beginLine(source.row(j));
        walkChunks(overlap.width, chunkPixels, [&](uint32_t i, uint32_t n) {
            uint8_t* out = writer.open(i, j, n);
            diffusion.diffuse(i, n, [&](uint32_t k, unsigned bits) { out[k] = pixelOf(bits); });
            writer.close();
        });
        diffusion.endLine();
        progress.lineDone(j, overlap.height);
    }
}

} // namespace lx
