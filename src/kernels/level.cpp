// Gathers the kernel tables of one instruction-set level.

#include "kernels/level.h"

#include "kernels/kernel_tables.h"

namespace lx::LX_LEVEL
{

#define LX_NAME_OF(level) #level
#define LX_NAME(level) LX_NAME_OF(level)

extern const Kernels kernelTable;
constexpr Kernels kernelTable = {
    .level = LX_NAME(LX_LEVEL),
    .bits = &bitKernels,
    .bitBlocks = &bitBlockKernels,
    .pixels = &pixelKernels,
    .diffusion = &diffusionKernels,
    .window = &windowKernels,
    .median = &medianKernels,
    .pick = &pickKernels,
    .resample = &resampleKernels,
    .enlarge = &enlargeKernels,
    .reverse = &reverseKernels,
    .transpose = &transposeKernels,
    .slantedRuns = &slantedRunKernels,
    .compose = &composeKernels,
    .correct = &correctKernels,
    .paletteColor = &paletteColorKernels,
};

} // namespace lx::LX_LEVEL
