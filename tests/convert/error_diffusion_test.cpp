// Error diffusion to bilevel: against the rule itself, pixel by pixel, down to the last bit of the error buffer.

#include "support/converted.h"
#include "support/diffusion_by_definition.h"
#include "support/fixed_time.h"
#include "support/halftone.h"

#include <cstdlib>
#include <limits>

namespace lxtest
{

namespace
{

constexpr ErrorDiffusionKernel allToTheRight = {1, 0, 0, 0};
constexpr ErrorDiffusionKernel fourNeighbours = {7 / 16.0, 3 / 16.0, 5 / 16.0, 1 / 16.0};

// A conversion with all that may vary.
struct Case {
    Picture source;
    uint32_t width;  // of the destination
    uint32_t height; // of the destination
    uint32_t x;      // of the destination
    std::vector<ErrorDiffusionKernel> kernels;
    bool random = false;
    uint64_t seed = 1;    // of the error buffer before the call
    bool strange = false; // the buffer has entries that no diffusion leaves
};

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double strangeNumbers[] = {0, -0.0, 1, -1, 0.5, 7, 1e-310, 1e306, 1.7e308, -1e308, infinity, -infinity, nan};

void compareWithDefinition(const Case& sample)
{
    Random random(sample.seed);
    const ErrorBuffer buffer(IMAGE_TYPE_BW, sample.source.width, random);
    for (double& entry : buffer.entries())
        if (sample.strange && random.chance(5))
            entry = random.pick(strangeNumbers);
    std::vector<double> expectedBuffer(buffer.entries().begin(), buffer.entries().end());
    const uint32_t width = std::min(sample.width, sample.source.width);
    const uint32_t height = std::min(sample.height, sample.source.height);
    std::srand(static_cast<unsigned>(fixedTime));
    Picture expected(IMAGE_TYPE_BW, sample.width, sample.height);
    for (uint32_t j = 0; j < height; ++j) {
        std::vector<uint8_t> line;
        for (uint32_t i = 0; i < width; ++i)
            line.push_back(static_cast<uint8_t>(sample.source.at(i, j)));
        const std::vector<uint8_t> bits =
            diffuseLineByDefinition(1, line, sample.source.width, sample.kernels, sample.random, expectedBuffer);
        for (uint32_t i = 0; i < width; ++i)
            expected.at(i, j) = bits[i];
    }

    const Image from(sample.source);
    const Image to(Picture(IMAGE_TYPE_BW, sample.width, sample.height), {.x = sample.x});
    ASSERT_EQ(lxImageTypeConvertToBWEDHalftone(sample.random, static_cast<uint16_t>(sample.kernels.size()),
                                               sample.kernels.data(), buffer.desc(), &from.area, &to.area, nullptr),
              IMAGE_STATUS_OK);
    const std::string what = std::to_string(sample.source.width) + " x " + std::to_string(sample.source.height) +
                             " to " + std::to_string(sample.width) + " x " + std::to_string(sample.height) + " at x " +
                             std::to_string(sample.x);
    ASSERT_TRUE(samePicture(expected, to.picture())) << what;
    ASSERT_TRUE(sameNumbers(expectedBuffer, buffer.entries())) << what;
}

TEST(EDHalftone, Alternates)
{
    const ErrorBuffer buffer(IMAGE_TYPE_BW, 6);
    const Picture bits = converted(Picture(IMAGE_TYPE_256GRAY, 6, 2, 128), IMAGE_TYPE_BW, [&](auto* from, auto* to) {
        return lxImageTypeConvertToBWEDHalftone(0, 1, &allToTheRight, buffer.desc(), from, to, nullptr);
    });
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {".#.#.#", ".#.#.#"}), bits));
}

TEST(EDHalftone, LeavesTheKnownErrors)
{
    // One pixel of 100: black, with an error of 100; then, 31.25 carried, of 200: white, with an error of -23.75.
    const ErrorBuffer buffer(IMAGE_TYPE_BW, 1);
    const Picture bits = converted(Picture(IMAGE_TYPE_256GRAY, {"64", "c8"}), IMAGE_TYPE_BW, [&](auto* from, auto* to) {
        return lxImageTypeConvertToBWEDHalftone(0, 1, &fourNeighbours, buffer.desc(), from, to, nullptr);
    });
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {"#", "."}), bits));
    const std::vector<double> expected = {76.25 * 3 / 16, -23.75 * 5 / 16, 76.25 / 16, 0, 231.25, 0};
    EXPECT_TRUE(sameNumbers(expected, buffer.entries()));
}

TEST(EDHalftone, FollowsItsRuleAtEveryWidth)
{
    Random random(29);
    for (uint32_t k = 0; k < 3 * 301; ++k) {
        const uint32_t width = k % 301;
        const uint32_t sourceWidth = width + (random.chance(70) ? 0 : random.below(20));
        // Heights of no, of one and of several wavefronts, and one line more or less.
        const uint32_t height = random.chance(20) ? random.between(35, 70) : random.between(1, 35);
        compareWithDefinition(
            {Picture::random(random, IMAGE_TYPE_256GRAY, sourceWidth, height), width, height, random.below(8),
             random.chance(50) ? std::vector(1, fourNeighbours) : randomKernels(random, 1), false, random.next()});
        if (HasFatalFailure())
            return;
    }
}

TEST(EDHalftone, FollowsItsRuleOnSmallAreas)
{
    Random random(31);
    for (uint32_t width = 1; width <= 24; ++width) {
        for (uint32_t height = 1; height <= 36; ++height) {
            compareWithDefinition({Picture::random(random, IMAGE_TYPE_256GRAY, width, height), width, height,
                                   random.below(8), randomKernels(random, 1), false, random.next()});
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(EDHalftone, FollowsItsRuleBeyondAChunk)
{
    Random random(37);
    for (const uint32_t width : {2047U, 2049U, 4100U, 6001U}) {
        for (const uint16_t count : {uint16_t{1}, uint16_t{3}}) {
            compareWithDefinition({Picture::random(random, IMAGE_TYPE_256GRAY, width, 18), width, 18, random.below(8),
                                   randomKernels(random, count), false, random.next()});
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(EDHalftone, TakesKernelsInTurn)
{
    Random random(41);
    for (uint32_t k = 0; k < 100; ++k) {
        compareWithDefinition({Picture::random(random, IMAGE_TYPE_256GRAY, k, 20), k, 20, random.below(8),
                               randomKernels(random, static_cast<uint16_t>(random.between(2, 7))), false,
                               random.next()});
        if (HasFatalFailure())
            return;
    }
}

// The draws are those of srand(time) and one rand() per pixel in raster order, with one kernel as well.
TEST(EDHalftone, DrawsOneNumberPerPixel)
{
    Random random(43);
    for (uint32_t k = 0; k < 60; ++k) {
        fixedTime = k * 1000003;
        compareWithDefinition({Picture::random(random, IMAGE_TYPE_256GRAY, k + 3, 20), k, 19, random.below(8),
                               randomKernels(random, static_cast<uint16_t>(random.between(1, 9))), true,
                               random.next()});
        if (HasFatalFailure())
            return;
    }
}

TEST(EDHalftone, ReseedsInEitherMode)
{
    for (const uint16_t randomKernel : {uint16_t{0}, uint16_t{1}, uint16_t{0x100}}) {
        fixedTime = 4711;
        std::srand(4711);
        for (int k = 0; k < (randomKernel != 0 ? 10 : 0); ++k)
            std::rand();
        const int expected = std::rand();
        std::srand(1);
        const ErrorBuffer buffer(IMAGE_TYPE_BW, 5);
        converted(Picture(IMAGE_TYPE_256GRAY, 5, 2), IMAGE_TYPE_BW, [&](auto* from, auto* to) {
            return lxImageTypeConvertToBWEDHalftone(randomKernel, 1, &fourNeighbours, buffer.desc(), from, to, nullptr);
        });
        EXPECT_EQ(std::rand(), expected);
    }
}

// Weights and errors that no halftone would use: the sums must still be those of the raster scan.
TEST(EDHalftone, FollowsItsRuleWithAnyNumbers)
{
    Random random(47);
    for (int k = 0; k < 1500; ++k) {
        // Few of them at a time, so that numbers are left to compare; the last three are not finite.
        const uint32_t choices = random.chance(50) ? 10 : 13;
        ErrorDiffusionKernel kernel = fourNeighbours;
        for (double* weight : {&kernel.right, &kernel.lowerLeft, &kernel.below, &kernel.lowerRight})
            if (random.chance(40))
                *weight = strangeNumbers[random.below(choices)];
        const uint32_t width = random.between(1, 40);
        const uint32_t height = random.between(1, 36);
        compareWithDefinition({Picture::random(random, IMAGE_TYPE_256GRAY, width, height), width, height,
                               random.below(8), std::vector(1, kernel), false, random.next(), random.chance(50)});
        if (HasFatalFailure()) {
            ADD_FAILURE() << kernel.right << ", " << kernel.lowerLeft << ", " << kernel.below << ", "
                          << kernel.lowerRight;
            return;
        }
    }
}

TEST(EDHalftone, BandsContinueThePage)
{
    Random random(53);
    for (int k = 0; k < 20; ++k) {
        const uint32_t width = random.between(1, 90);
        const uint32_t height = 90;
        const Image source(Picture::random(random, IMAGE_TYPE_256GRAY, width, height));
        const ErrorBuffer whole(IMAGE_TYPE_BW, width);
        const auto kernels = randomKernels(random, static_cast<uint16_t>(random.between(1, 3)));
        const auto count = static_cast<uint16_t>(kernels.size());
        const Picture expected = converted(source.picture(), IMAGE_TYPE_BW, [&](auto* from, auto* to) {
            return lxImageTypeConvertToBWEDHalftone(0, count, kernels.data(), whole.desc(), from, to, nullptr);
        });
        const Image destination(Picture(IMAGE_TYPE_BW, width, height));
        const ErrorBuffer buffer(IMAGE_TYPE_BW, width);
        for (uint32_t top = 0; top < height;) {
            const uint32_t lines = std::min(height - top, random.below(random.chance(50) ? 4 : 40));
            const ImageArea from = source.band(top, lines);
            const ImageArea to = destination.band(top, lines);
            lxImageTypeConvertToBWEDHalftone(0, count, kernels.data(), buffer.desc(), &from, &to, nullptr);
            top += lines;
        }
        ASSERT_TRUE(samePicture(expected, destination.picture()));
        const std::vector<double> expectedBuffer(whole.entries().begin(), whole.entries().end());
        ASSERT_TRUE(sameNumbers(expectedBuffer, buffer.entries()));
    }
}

TEST(EDHalftone, RefusesToDoWithoutKernels)
{
    for (const uint16_t randomKernel : {uint16_t{0}, uint16_t{1}}) {
        Random random(59);
        const ErrorBuffer buffer(IMAGE_TYPE_BW, 19, random);
        const std::vector<double> before(buffer.entries().begin(), buffer.entries().end());
        expectRefusal(IMAGE_TYPE_256GRAY, IMAGE_TYPE_BW, [&](auto* from, auto* to) {
            return lxImageTypeConvertToBWEDHalftone(randomKernel, 0, &fourNeighbours, buffer.desc(), from, to, nullptr);
        });
        EXPECT_TRUE(sameNumbers(before, buffer.entries()));
    }
}

} // namespace

} // namespace lxtest
