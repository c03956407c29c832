// Error diffusion by its definition: slow, and easy to check by eye.

#pragma once

#include "support/guarded_memory.h"

#include "lx.h"

#include <gtest/gtest.h>

#include <vector>

namespace lxtest
{

// Diffuses one line of `channels` interleaved channels. `buffer` holds both rows of the error buffer, placed by
// `sourceWidth` pixels. The result has a 0 or a 1 for each byte of `line`.
std::vector<uint8_t> diffuseLineByDefinition(size_t channels, const std::vector<uint8_t>& line, size_t sourceWidth,
                                             const std::vector<ErrorDiffusionKernel>& kernels, bool random,
                                             std::vector<double>& buffer);

// Bit for bit, but that all not-a-numbers are alike: which one an operation gives is left open to the processor.
testing::AssertionResult sameNumbers(const std::vector<double>& expected, const GuardedArray<double>& actual);

} // namespace lxtest
