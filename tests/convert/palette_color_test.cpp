// Conversion to palette colours: thresholds, dither and diffusion per component, and the tables of colours.

#include "support/converted.h"
#include "support/diffusion_by_definition.h"
#include "support/fixed_time.h"
#include "support/halftone.h"

#include <array>
#include <cstdlib>

namespace lxtest
{

namespace
{

TEST(To8RGB, ComparesEveryComponentWithTheThreshold)
{
    struct {
        ThresholdLevel threshold;
        const char* indices;
    } const cases[] = {{{0, 10}, "54217"}, {{10, 10}, "00000"}, {{-10, 10}, "77777"}};
    const Picture colors(IMAGE_TYPE_16MRGB, {"c86481 010181 028180 818001 ffffff"});
    for (const auto& sample : cases)
        EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_8RGB, {sample.indices}),
                                converted(colors, IMAGE_TYPE_8RGB, [&](auto* from, auto* to) {
                                    return lxImageTypeConvertTo8RGBNonHalftone(&sample.threshold, from, to, nullptr);
                                })));
    expectRefusal(IMAGE_TYPE_16MRGB, IMAGE_TYPE_8RGB, [](auto* from, auto* to) {
        constexpr ThresholdLevel none = {5, 0};
        return lxImageTypeConvertTo8RGBNonHalftone(&none, from, to, nullptr);
    });
}

TEST(To8RGB, ReadsTheSourcesOwnOrder)
{
    // Bytes (255, 0, 0) are blue where blue comes first.
    const Image from(Picture(IMAGE_TYPE_16MRGB, {"0000ff"}), {.colorOrder = 1});
    const Image to(Picture(IMAGE_TYPE_8RGB, 1, 1));
    EXPECT_EQ(*static_cast<const uint8_t*>(from.area.buffer), 255);
    constexpr ThresholdLevel middle = {0, 10};
    ASSERT_EQ(lxImageTypeConvertTo8RGBNonHalftone(&middle, &from.area, &to.area, nullptr), IMAGE_STATUS_OK);
    EXPECT_EQ(to.picture().at(0, 0), 4U);
}

// A component at a time must come out as a gray picture of the same levels does.
TEST(To8RGB, DithersEveryComponentAsGray)
{
    Random random(37);
    for (int round = 0; round < 60; ++round) {
        const Picture colors = Picture::random(random, IMAGE_TYPE_16MRGB, random.between(1, 300), random.between(1, 9));
        const DitherMatrix matrix = randomMatrix(random);
        const auto startX = static_cast<uint16_t>(random.chance(70) ? random.below(16) : 65530 + random.below(6));
        const auto startY = static_cast<uint16_t>(random.chance(70) ? random.below(16) : 65530 + random.below(6));
        uint16_t x = startX;
        uint16_t y = startY;
        const Picture indices = converted(colors, IMAGE_TYPE_8RGB, [&](auto* from, auto* to) {
            return lxImageTypeConvertTo8RGBDitherHalftone(&x, &y, &matrix, from, to, nullptr);
        });
        for (unsigned c = 0; c < 3; ++c) {
            Picture levels(IMAGE_TYPE_256GRAY, colors.width, colors.height);
            Picture bits(IMAGE_TYPE_BW, colors.width, colors.height);
            for (size_t k = 0; k < colors.pixels.size(); ++k) {
                levels.pixels[k] = colors.pixels[k] >> (16 - 8 * c) & 255;
                bits.pixels[k] = indices.pixels[k] >> c & 1;
            }
            uint16_t grayX = startX;
            uint16_t grayY = startY;
            ASSERT_TRUE(samePicture(converted(levels, IMAGE_TYPE_BW,
                                              [&](auto* from, auto* to) {
                                                  return lxImageTypeConvertToBWDitherHalftone(&grayX, &grayY, &matrix,
                                                                                              from, to, nullptr);
                                              }),
                                    bits))
                << "round " << round << ", component " << c;
            ASSERT_EQ(grayX, x);
            ASSERT_EQ(grayY, y);
        }
    }
    uint16_t x = 3;
    uint16_t y = 4;
    expectRefusal(IMAGE_TYPE_16MRGB, IMAGE_TYPE_8RGB, [&](auto* from, auto* to) {
        constexpr DitherMatrix tooWide = {17, 4, {}};
        return lxImageTypeConvertTo8RGBDitherHalftone(&x, &y, &tooWide, from, to, nullptr);
    });
    EXPECT_EQ(x, 3);
    EXPECT_EQ(y, 4);
}

void compareDiffusion(Random& random, uint32_t width, uint32_t height, uint16_t kernelCount, bool randomKernel)
{
    const auto blueFirst = static_cast<uint16_t>(random.below(2));
    const uint32_t sourceWidth = width + (random.chance(70) ? 0 : random.below(9));
    const Picture source = Picture::random(random, IMAGE_TYPE_16MRGB, sourceWidth, height);
    const std::vector<ErrorDiffusionKernel> kernels = randomKernels(random, kernelCount);
    const ErrorBuffer buffer(IMAGE_TYPE_8RGB, sourceWidth, random);
    std::vector<double> expectedBuffer(buffer.entries().begin(), buffer.entries().end());

    std::srand(static_cast<unsigned>(fixedTime));
    Picture expected(IMAGE_TYPE_8RGB, width, height);
    for (uint32_t j = 0; j < height; ++j) {
        std::vector<uint8_t> line;
        for (uint32_t i = 0; i < width; ++i)
            for (unsigned byte = 0; byte < 3; ++byte)
                line.push_back(static_cast<uint8_t>(source.at(i, j) >> (blueFirst ? 8 * byte : 16 - 8 * byte)));
        const std::vector<uint8_t> on =
            diffuseLineByDefinition(3, line, sourceWidth, kernels, randomKernel, expectedBuffer);
        for (uint32_t i = 0; i < width; ++i)
            for (unsigned byte = 0; byte < 3; ++byte)
                expected.at(i, j) |= static_cast<uint32_t>(on[3 * i + byte] << (blueFirst ? 2 - byte : byte));
    }

    const Image from(source, {.colorOrder = blueFirst});
    const Image to(Picture(IMAGE_TYPE_8RGB, width, height), {.x = random.below(2)});
    ASSERT_EQ(lxImageTypeConvertTo8RGBEDHalftone(randomKernel, kernelCount, kernels.data(), buffer.desc(), &from.area,
                                                 &to.area, nullptr),
              IMAGE_STATUS_OK);
    ASSERT_TRUE(samePicture(expected, to.picture())) << width << " x " << height;
    ASSERT_TRUE(sameNumbers(expectedBuffer, buffer.entries())) << width << " x " << height;
}

TEST(To8RGB, DiffusesByItsRule)
{
    Random random(41);
    for (uint32_t k = 0; k < 300 && !HasFatalFailure(); ++k) {
        const auto kernelCount = static_cast<uint16_t>(random.chance(60) ? 1 : random.between(2, 4));
        compareDiffusion(random, k % 75, random.between(1, 36), kernelCount, random.chance(30));
    }
    expectRefusal(IMAGE_TYPE_16MRGB, IMAGE_TYPE_8RGB, [](auto* from, auto* to) {
        return lxImageTypeConvertTo8RGBEDHalftone(1, 0, nullptr, nullptr, from, to, nullptr);
    });
}

TEST(To16RGB, HasItsTableOfLevels)
{
    // By levels of blue, green and red, red running fastest.
    constexpr std::array<uint32_t, 27> indices = {0,  1,  2,  3,  7, 8,  4,  8,  8,  6,  12, 12, 9, 15,
                                                  15, 10, 15, 15, 6, 12, 12, 10, 15, 14, 10, 14, 14};
    for (const uint16_t colorOrder : {uint16_t{0}, uint16_t{1}})
        expectForAllColors(
            colorOrder, IMAGE_TYPE_16RGB,
            [](auto* from, auto* to) { return lxImageTypeConvertTo16RGB(from, to, nullptr); },
            [&](uint32_t red, uint32_t green, uint32_t blue) {
                return indices[9 * (blue / 86) + 3 * (green / 86) + red / 86];
            });
}

TEST(To256RGB, TruncatesLevelsOfTheCube)
{
    for (const uint16_t colorOrder : {uint16_t{0}, uint16_t{1}})
        expectForAllColors(
            colorOrder, IMAGE_TYPE_256RGB,
            [](auto* from, auto* to) { return lxImageTypeConvertTo256RGB(from, to, nullptr); },
            [](uint32_t red, uint32_t green, uint32_t blue) { return 36 * (blue / 43) + 6 * (green / 43) + red / 43; });
}

} // namespace

} // namespace lxtest
