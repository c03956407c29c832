// Parameters of halftoning: error buffers that end at an inaccessible page, random kernels and matrices.

#pragma once

#include "support/guarded_memory.h"
#include "support/random.h"

#include "lx.h"

#include <vector>

namespace lxtest
{

// `type` is the destination's, IMAGE_TYPE_BW or IMAGE_TYPE_8RGB; `width` the source area's.
class ErrorBuffer
{
  public:
    // Cleared.
    ErrorBuffer(uint16_t type, uint32_t width)
        : entries_(lxCalculateErrorBufferSize(type, width) / sizeof(double)), desc_{entries_.data(),
                                                                                    lxCalculateErrorBufferSize(type,
                                                                                                               width)}
    {
        lxClearErrorBuffer(&desc_);
    }

    // As another band may have left it: errors in every entry, guards and work row included.
    ErrorBuffer(uint16_t type, uint32_t width, Random& random) : ErrorBuffer(type, width)
    {
        for (double& entry : entries_)
            entry = (random.unit() - 0.5) * 300.0;
    }

    const ErrorBufferDesc* desc() const { return &desc_; }
    const GuardedArray<double>& entries() const { return entries_; }

  private:
    GuardedArray<double> entries_;
    ErrorBufferDesc desc_;
};

std::vector<ErrorDiffusionKernel> randomKernels(Random& random, uint16_t count);
DitherMatrix randomMatrix(Random& random);

} // namespace lxtest
