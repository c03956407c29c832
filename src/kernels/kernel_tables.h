// The tables that the kernel files of one level define. Only for kernel files, which are compiled once per level.

#pragma once

#include "kernels/kernels.h"
#include "kernels/level.h"

namespace lx::LX_LEVEL
{

extern const BitKernels bitKernels;
extern const BitBlockKernels bitBlockKernels;
extern const PixelKernels pixelKernels;
extern const DiffusionKernels diffusionKernels;
extern const WindowKernels windowKernels;
extern const MedianKernels medianKernels;
extern const PickKernels pickKernels;
extern const ResampleKernels resampleKernels;
extern const EnlargeKernels enlargeKernels;
extern const ReverseKernels reverseKernels;
extern const TransposeKernels transposeKernels;
extern const SlantedRunKernels slantedRunKernels;
extern const ComposeKernels composeKernels;
extern const CorrectKernels correctKernels;
extern const PaletteColorKernels paletteColorKernels;

} // namespace lx::LX_LEVEL
