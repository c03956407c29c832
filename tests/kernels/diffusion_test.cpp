// The error-diffusion wavefronts of every level, against the definition: levels differ in how many lines go together.

#include "support/diffusion_by_definition.h"
#include "support/halftone.h"

#include "kernels/kernels.h"

#include <algorithm>

namespace lxtest
{

namespace
{

// Zeros may differ in sign.
bool sameButZeros(const std::vector<double>& expected, const GuardedArray<double>& actual, size_t count)
{
    return std::equal(expected.begin(), expected.begin() + static_cast<ptrdiff_t>(count), actual.begin());
}

class DiffusionKernel : public testing::TestWithParam<const lx::Kernels*>
{
  protected:
    // One to three channels, on lines that end at, and carry rows that lie between, inaccessible pages.
    void compare(size_t channels, size_t width, unsigned count, Random& random)
    {
        const size_t bits = channels == 1 ? 1 : 4; // of a destination pixel
        const size_t bytes = channels * width;
        const GuardedMemory sources(bytes, count);
        const GuardedMemory destinations((7 + width) * bits / 8 + 1, count);
        const std::vector<ErrorDiffusionKernel> kernels = randomKernels(random, 1);
        const bool blueFirst = random.chance(50);
        const ErrorBuffer carry(channels == 1 ? IMAGE_TYPE_BW : IMAGE_TYPE_8RGB, static_cast<uint32_t>(width), random);
        std::vector<double> expectedCarry(carry.entries().begin(), carry.entries().end());

        lx::DiffusionLines lines = {};
        lines.count = count;
        lines.phase = random.below(channels == 1 ? 8 : 2);
        lines.carry = carry.entries().data() + channels;
        lines.width = width;
        lines.kernel = kernels[0];
        const size_t lineBytes = (lines.phase + width) * bits / 8 + ((lines.phase + width) * bits % 8 != 0 ? 1 : 0);
        const bool atEnd = random.chance(50);
        for (unsigned j = 0; j < count; ++j) {
            uint8_t* source = random.chance(50) ? sources.end(j) - bytes : sources.begin(j);
            random.fill(source, bytes);
            lines.source[j] = source;
            lines.destination[j] = atEnd ? destinations.end(j) - lineBytes : destinations.begin(j);
            random.fill(lines.destination[j], lineBytes);
        }
        std::vector<std::vector<uint8_t>> before;
        for (unsigned j = 0; j < count; ++j)
            before.emplace_back(lines.destination[j], lines.destination[j] + lineBytes);

        const lx::DiffusionKernels& diffusion = *GetParam()->diffusion;
        if (channels == 1)
            diffusion.diffuseGray(lines);
        else
            diffusion.diffuseColor(lines, blueFirst);
        for (unsigned j = 0; j < count; ++j) {
            std::vector<uint8_t> expected = before[j];
            const std::vector<uint8_t> line(lines.source[j], lines.source[j] + bytes);
            const std::vector<uint8_t> on =
                diffuseLineByDefinition(channels, line, width, kernels, false, expectedCarry);
            for (size_t i = 0; i < width; ++i)
                putPixel(expected, (lines.phase + i) * bits, bits,
                         pixelOf(on.data() + channels * i, channels, blueFirst));
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(), lines.destination[j]))
                << "line " << j << " of " << count << ", width " << width << ", phase " << lines.phase;
        }
        ASSERT_TRUE(sameButZeros(expectedCarry, carry.entries(), (width + 2) * channels))
            << "width " << width << ", " << count << " lines";
    }

  private:
    static unsigned pixelOf(const uint8_t* on, size_t channels, bool blueFirst)
    {
        if (channels == 1)
            return on[0];
        const unsigned red = blueFirst ? 2 : 0;
        return on[red] | on[1] * 2U | on[2 - red] * 4U;
    }

    static void putPixel(std::vector<uint8_t>& line, size_t bit, size_t bits, unsigned value)
    {
        const size_t shift = 8 - bits - bit % 8;
        const unsigned mask = ((1U << bits) - 1) << shift;
        line[bit / 8] = static_cast<uint8_t>((line[bit / 8] & ~mask) | value << shift);
    }
};

TEST_P(DiffusionKernel, FollowsTheDefinition)
{
    Random random(61);
    for (const size_t channels : {size_t{1}, size_t{3}}) {
        for (size_t k = 0; k < 600; ++k) {
            const size_t width = k < 450 ? k % 150 + 1 : random.between(150, 1500);
            compare(channels, width, random.between(1, random.chance(50) ? 20 : lx::DiffusionLines::most), random);
            if (HasFatalFailure())
                return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Level, DiffusionKernel,
                         testing::ValuesIn(lx::runnableKernels().tables,
                                           lx::runnableKernels().tables + lx::runnableKernels().count),
                         [](const auto& instance) { return instance.param->level; });

} // namespace

} // namespace lxtest
