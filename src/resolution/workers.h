// The scaling workers. Each makes an area of the destination's size from the source area, both of its own type.
//
// Common contract: -1 if a type is not the worker's own or if a width or height is 0, with nothing written; else 0.
// Sizes are otherwise free, except for ReduceBilevelBlackPriority, which only reduces.

#pragma once

#include "lx.h"

namespace lx
{

using ScaleWorker = int8_t(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept;

// Bilevel.
ScaleWorker ScaleBilevelBySampling;
ScaleWorker ScaleBilevelByRuns;
ScaleWorker ScaleBilevelByMajority;     // draws random numbers
ScaleWorker ReduceBilevelBlackPriority; // -1 unless both sizes shrink

// 4 bits.
ScaleWorker ScaleGray16BySampling;
ScaleWorker ScaleColor16BySampling;
ScaleWorker Scale8ColorBySampling;
ScaleWorker Scale8ColorByDiffusion; // draws random numbers

// 8 bits.
ScaleWorker ScaleGray256BySampling;
ScaleWorker ScaleGray256ByAveraging;
ScaleWorker ScaleGray256ByInterpolation;
ScaleWorker ScaleColor256BySampling;

// Full colour.
ScaleWorker ScaleFullColorBySampling;
ScaleWorker ScaleFullColorByAveraging;
ScaleWorker ScaleFullColorByInterpolation;

// Sampling to a work area of whatever size, and averaging from there.
using StepWorker = int8_t(const ImageArea* source, const ImageArea* work, const ImageArea* destination,
                          ProgressCallback progress) noexcept;
StepWorker ReduceGray256InSteps;
StepWorker ReduceFullColorInSteps;

// Bilevel to 256 gray; `palette` gives the levels of black and white.
int8_t ScaleBilevelToGrayByAveraging(const ColorPalette* palette, const ImageArea* source, const ImageArea* destination,
                                     ProgressCallback progress) noexcept;
int8_t ScaleBilevelToGraySmoothed(const ColorPalette* palette, const ImageArea* source, const ImageArea* destination,
                                  ProgressCallback progress) noexcept;

} // namespace lx
