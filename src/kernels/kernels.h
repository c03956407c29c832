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
#include "kernels/slanted_runs.h"
#include "kernels/transpose.h"
#include "kernels/window.h"

#include <cstddef>

namespace lx
{

struct Kernels {
    const char* level;                       // "portable", "v3" or "v4"
    const BitKernels* bits;                  // packed pixels: unpack, pack, copy, repeat, change
    const BitBlockKernels* bitBlocks;        // blocks of columns of bits: count, pick
    const PixelKernels* pixels;              // one pixel at a time: gray, thresholds, tables
    const DiffusionKernels* diffusion;       // error diffusion
    const WindowKernels* window;             // sums over windows, and their grays
    const MedianKernels* median;             // medians and majorities of 3 x 3
    const PickKernels* pick;                 // nibbles, bytes and triples gathered from a line
    const ResampleKernels* resample;         // means and weighted sums of blocks
    const EnlargeKernels* enlarge;           // ramps between the pixels of enlarged lines
    const ReverseKernels* reverse;           // half turns
    const TransposeKernels* transpose;       // quarter turns
    const SlantedRunKernels* slantedRuns;    // turns by any angle
    const ComposeKernels* compose;           // keys and tints
    const CorrectKernels* correct;           // colour matrix, sharpening
    const PaletteColorKernels* paletteColor; // full colour to palette colours
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
