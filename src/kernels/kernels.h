// The row kernels, as one table of tables for each instruction-set level.
//
// Kernels are plain loops over rows; everything else in the library is compiled once. `kernels()` gives the best table
// that the processor can run.

#pragma once

#include "kernels/bit_blocks.h"
#include "kernels/bits.h"
#include "kernels/compose.h"
#include "kernels/correct.h"
#include "kernels/diffusion.h"
#include "kernels/enlarge.h"
#include "kernels/median.h"
#include "kernels/palette_color.h"
#include "kernels/pick.h"
#include "kernels/pixels.h"
#include "kernels/resample.h"
#include "kernels/reverse.h"
#include "kernels/runs.h"
#include "kernels/transpose.h"
#include "kernels/window.h"

#include <cstddef>

namespace lx
{

struct Kernels {
    const char* level; // "portable", "v3" or "v4"
    const BitKernels* bits;
    const BitBlockKernels* bitBlocks;
    const PixelKernels* pixels;
    const DiffusionKernels* diffusion;
    const WindowKernels* window;
    const MedianKernels* median;
    const PickKernels* pick;
    const ResampleKernels* resample;
    const EnlargeKernels* enlarge;
    const ReverseKernels* reverse;
    const TransposeKernels* transpose;
    const RunKernels* runs;
    const ComposeKernels* compose;
    const CorrectKernels* correct;
    const PaletteColorKernels* paletteColor;
};

// The best table for this processor. Costs a few nanoseconds: fetch it once per call of an operation.
const Kernels& kernels() noexcept;

// The tables that this processor can run, the portable one first. For tests and benchmarks.
struct KernelLevels {
    const Kernels* const* tables;
    size_t count;
};
KernelLevels runnableKernels() noexcept;

} // namespace lx
