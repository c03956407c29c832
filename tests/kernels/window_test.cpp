// The levels of window counts, every one of them, against the rule in plain arithmetic.

#include "kernels/kernels.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace lxtest
{

namespace
{

class WindowLevels : public testing::TestWithParam<const lx::Kernels*>
{
};

// Levels may be guessed in single precision. Where the guess is close to the next level it must not be trusted, and
// which counts are that close depends on the size.
TEST_P(WindowLevels, FollowTheRuleForEveryCount)
{
    for (const uint32_t size :
         {1U, 2U, 3U, 7U, 15U, 16U, 17U, 31U, 34U, 51U, 64U, 85U, 100U, 127U, 128U, 200U, 255U, 256U, 300U, 511U}) {
        for (const uint32_t rows : {size, (size + 1) / 2}) {
            std::vector<uint32_t> counts(size_t{size} * rows + 1);
            std::iota(counts.begin(), counts.end(), 0U);
            const float scale = static_cast<float>(2 * size) / static_cast<float>(size * rows);
            const std::vector<float> scales(counts.size(), scale);
            const double step = 255.0 / (2.0 * size - 1.0);
            for (const double rounding : {0.0, 0.5}) {
                std::vector<uint8_t> levels(counts.size());
                GetParam()->window->shade(counts.data(), scales.data(), levels.data(), counts.size(), step, rounding);
                for (const uint32_t count : counts) {
                    float s = static_cast<float>(count) * scale;
                    if (s >= 1.0F)
                        s -= 1.0F;
                    ASSERT_EQ(levels[count], static_cast<int>(step * static_cast<double>(s) + rounding))
                        << count << " of " << size << " x " << rows;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Level, WindowLevels,
                         testing::ValuesIn(lx::runnableKernels().tables,
                                           lx::runnableKernels().tables + lx::runnableKernels().count),
                         [](const auto& instance) { return instance.param->level; });

} // namespace

} // namespace lxtest
