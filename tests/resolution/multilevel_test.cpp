// Change of size of gray and colour: the rules' own values.

#include "support/converted.h"
#include "support/operations.h"
#include "support/progress_log.h"

#include <algorithm>

namespace lxtest
{

namespace
{

constexpr uint16_t sampling = 0;
constexpr uint16_t averaging = 1; // of 8 colours: diffusion
constexpr uint16_t interpolation = 2;

constexpr uint16_t multilevelTypes[] = {1, 2, 3, 4, 5, 6};

// `source` in another size; pixels that are not reached show `untouched`.
Picture scaled(uint16_t method, const Picture& source, uint32_t width, uint32_t height, uint32_t untouched = 0)
{
    const Image from(source);
    const Image to(Picture(source.type, width, height, untouched));
    EXPECT_EQ(lxResolutionConvert(method, &from.area, &to.area, nullptr), IMAGE_STATUS_OK);
    return to.picture();
}

Picture gray(std::initializer_list<const char*> lines)
{
    return Picture(IMAGE_TYPE_256GRAY, lines);
}

TEST(Sampling, TakesTheFirstPixelOfEachBlock)
{
    // Ten to four: blocks of 2, 2, 3 and 2.
    EXPECT_TRUE(samePicture(gray({"00 02 04 07"}), scaled(sampling, gray({"00 01 02 03 04 05 06 07 08 09"}), 4, 1)));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16RGB, {"0247"}),
                            scaled(sampling, Picture(IMAGE_TYPE_16RGB, {"0123456789"}), 4, 1)));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16MRGB, {"010203 0d0e0f"}),
                            scaled(sampling, Picture(IMAGE_TYPE_16MRGB, {"010203 040506 0d0e0f 070809"}), 2, 1)));
}

TEST(Sampling, RepeatsPixelsOverTheirRuns)
{
    EXPECT_TRUE(samePicture(gray({"0a 0a 0b 0b 0c 0c"}), scaled(sampling, gray({"0a 0b 0c"}), 6, 1)));
    // Three to seven: runs of 2, 2 and 2, and a last pixel that is not reached.
    EXPECT_TRUE(samePicture(gray({"0a 0a 0b 0b 0c 0c 77"}), scaled(sampling, gray({"0a 0b 0c"}), 7, 1, 0x77)));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_8RGB, {"1", "1", "9", "9", "3", "3", "7"}),
                            scaled(sampling, Picture(IMAGE_TYPE_8RGB, {"1", "9", "3"}), 1, 7, 7)));
}

TEST(Everything, CopiesWhatKeepsItsSize)
{
    Random random(1);
    for (const uint16_t type : multilevelTypes) {
        const Picture source = Picture::random(random, type, 70, 9);
        for (const uint16_t method : {uint16_t{0}, uint16_t{1}, uint16_t{2}, uint16_t{5}, uint16_t{77}})
            EXPECT_TRUE(samePicture(source, scaled(method, source, 70, 9))) << nameOf(type) << ", method " << method;
    }
}

TEST(Averaging, TruncatesMeans)
{
    EXPECT_TRUE(samePicture(gray({"0b"}), scaled(averaging, gray({"0a 0d"}), 1, 1)));
    EXPECT_TRUE(samePicture(gray({"00"}), scaled(averaging, gray({"00 00 01"}), 1, 1)));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16MRGB, {"0b01ff"}),
                            scaled(averaging, Picture(IMAGE_TYPE_16MRGB, {"0a00ff 0d03ff"}), 1, 1)));
}

// The running sum of quotients, in order.
uint32_t meanByDefinition(const Picture& block)
{
    const double pixels = static_cast<float>(block.pixels.size());
    double sum = 0.0;
    for (const uint32_t pixel : block.pixels)
        sum += pixel / pixels;
    return static_cast<uint32_t>(sum);
}

TEST(Averaging, LargeBlocksHaveTheRunningSum)
{
    constexpr uint32_t sizes[][2] = {{5, 1},  {1, 5},   {5, 5},   {6, 6},    {7, 5},
                                     {9, 11}, {30, 20}, {3, 300}, {3000, 2}, {9000, 1}};
    Random random(2);
    unsigned shortOfInteger = 0;
    for (const auto& [width, height] : sizes) {
        const uint32_t n = width * height;
        for (uint32_t level = 0; level < 256; ++level) {
            // Flat, and a sum that divides evenly though the values differ.
            Picture block(IMAGE_TYPE_256GRAY, width, height, level);
            for (int kind = 0; kind < 3; ++kind) {
                const uint32_t expected = meanByDefinition(block);
                ASSERT_EQ(scaled(averaging, block, 1, 1).at(0, 0), expected)
                    << width << " x " << height << " of " << level;
                shortOfInteger += expected < level ? 1 : 0;
                for (uint32_t k = 0; k + 1 < n; k += 2) {
                    const uint32_t change = random.below(std::min(level, 255 - level) + 1);
                    block.pixels[k] = level - change;
                    block.pixels[k + 1] = level + change;
                }
            }
        }
    }
    EXPECT_GT(shortOfInteger, 100U); // or the test would not see integer means
}

TEST(Averaging, BlocksOfAnySize)
{
    Random random(4);
    const Picture huge = Picture::random(random, IMAGE_TYPE_256GRAY, 1100, 1000);
    EXPECT_EQ(scaled(averaging, huge, 1, 1).at(0, 0), meanByDefinition(huge));
    // Tall blocks of one column, and the ramp between them.
    const Picture tall = Picture::random(random, IMAGE_TYPE_256GRAY, 2, 300);
    const uint32_t first = meanByDefinition(tall.cut(0, 0, 1, 300));
    const uint32_t second = meanByDefinition(tall.cut(1, 0, 1, 300));
    Picture ramp(IMAGE_TYPE_256GRAY, 4, 1, second);
    ramp.at(0, 0) = first;
    ramp.at(1, 0) = (first + second) / 2;
    EXPECT_TRUE(samePicture(ramp, scaled(averaging, tall, 4, 1)));
}

TEST(Averaging, LargeBlocksAmongOthers)
{
    Random random(3);
    for (const auto& [from, to] : {std::pair(2480U, 595U), {700U, 101U}, {97U, 10U}}) {
        const Picture source = Picture::random(random, IMAGE_TYPE_256GRAY, from, 5);
        const Picture means = scaled(averaging, source, to, 1);
        Picture columns(IMAGE_TYPE_16MRGB, from, 1);
        for (uint32_t i = 0; i < from; ++i) {
            columns.at(i, 0) = i;
        }
        const Picture starts = scaled(sampling, columns, to, 1, 0xFFFFFF);
        for (uint32_t k = 0; k + 1 < to; ++k) {
            const uint32_t start = starts.at(k, 0);
            const uint32_t width = starts.at(k + 1, 0) - start;
            ASSERT_EQ(means.at(k, 0), meanByDefinition(source.cut(start, 0, width, 5))) << "block " << k;
        }
    }
}

TEST(Averaging, RampsTowardsTheNextPixel)
{
    EXPECT_TRUE(samePicture(gray({"00 1e 3c 5a 5a 5a"}), scaled(averaging, gray({"00 5a"}), 6, 1)));
    EXPECT_TRUE(samePicture(gray({"00", "1e", "3c", "5a", "5a", "5a"}), scaled(averaging, gray({"00", "5a"}), 1, 6)));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16MRGB, {"0003ff 0004ff 0106ff 0106ff"}),
                            scaled(averaging, Picture(IMAGE_TYPE_16MRGB, {"0003ff 0106ff"}), 4, 1)));
    // Means across, ramps down.
    EXPECT_TRUE(samePicture(gray({"0b", "0e", "12", "12"}), scaled(averaging, gray({"0a 0d", "10 15"}), 1, 4)));
    EXPECT_TRUE(samePicture(gray({"0b 0e 12 12"}), scaled(averaging, gray({"0a 10", "0d 15"}), 4, 1)));
}

TEST(Interpolation, HasTheKnownLevels)
{
    // Positions 0, 1/2, 1, 3/2; the last has no right neighbour.
    EXPECT_TRUE(samePicture(gray({"00 15 2a 2a"}), scaled(interpolation, gray({"00 2a"}), 4, 1)));
    EXPECT_TRUE(samePicture(gray({"00", "15", "2a", "2a"}), scaled(interpolation, gray({"00", "2a"}), 1, 4)));
    // Halves go up: 0.5 is 1.
    EXPECT_TRUE(samePicture(gray({"00 01 01 01"}), scaled(interpolation, gray({"00 01"}), 4, 1)));
    // Three to one: the mean of the pixel, its right neighbour, and itself again on the left.
    EXPECT_TRUE(samePicture(gray({"14"}), scaled(interpolation, gray({"0a 28 ff"}), 1, 1)));
    // Four to two: boxes reach one to the left and none to the right.
    EXPECT_TRUE(samePicture(gray({"0a 19"}), scaled(interpolation, gray({"0a 14 1e ff"}), 2, 1)));
    // Three to two: positions 0 and 3/2, boxes of 2; 22.5 goes up.
    EXPECT_TRUE(samePicture(gray({"0a 17"}), scaled(interpolation, gray({"0a 14 28"}), 2, 1)));
}

// Means of boxes and weights in floating point.
class ByDefinition
{
  public:
    ByDefinition(const Picture& source, uint32_t width, uint32_t height)
        : source_(source), rx_(static_cast<float>(source.width) / static_cast<float>(width)),
          ry_(static_cast<float>(source.height) / static_cast<float>(height)), kx_(box(rx_)), ky_(box(ry_))
    {
    }

    double at(uint32_t i, uint32_t j) const
    {
        const float x = static_cast<float>(i) * rx_;
        const float y = static_cast<float>(j) * ry_;
        const auto x0 = static_cast<int>(x);
        const auto y0 = static_cast<int>(y);
        const int x1 = std::min(x0 + 1, static_cast<int>(source_.width) - 1);
        const int y1 = std::min(y0 + 1, static_cast<int>(source_.height) - 1);
        const double fx = x - static_cast<float>(x0);
        const double fy = y - static_cast<float>(y0);
        return (mean(x0, y0) * (1 - fx) + mean(x1, y0) * fx) * (1 - fy) +
               (mean(x0, y1) * (1 - fx) + mean(x1, y1) * fx) * fy;
    }

  private:
    static int box(float ratio) { return std::max(static_cast<int>(ratio + 0.5F), 1); }

    double mean(int x, int y) const
    {
        double sum = 0.0;
        for (int dy = -(ky_ / 2); dy < ky_ - ky_ / 2; ++dy)
            for (int dx = -(kx_ / 2); dx < kx_ - kx_ / 2; ++dx)
                sum += source_.at(clamped(x + dx, source_.width), clamped(y + dy, source_.height));
        return sum / (kx_ * ky_);
    }

    static uint32_t clamped(int v, uint32_t size)
    {
        return static_cast<uint32_t>(std::clamp(v, 0, static_cast<int>(size) - 1));
    }

    const Picture& source_;
    float rx_;
    float ry_;
    int kx_;
    int ky_;
};

TEST(Interpolation, IsTheNearestLevel)
{
    constexpr uint32_t sizes[][4] = {{60, 40, 40, 27}, {60, 40, 120, 80}, {150, 40, 300, 80},
                                     {60, 40, 25, 16}, {60, 40, 20, 13},  {60, 40, 9, 60},
                                     {60, 40, 90, 7},  {200, 90, 61, 44}, {7, 5, 300, 33}};
    Random random(4);
    for (const auto& [width, height, newWidth, newHeight] : sizes) {
        const Picture source = Picture::random(random, IMAGE_TYPE_256GRAY, width, height);
        const Picture result = scaled(interpolation, source, newWidth, newHeight);
        const ByDefinition definition(source, newWidth, newHeight);
        for (uint32_t j = 0; j < newHeight; ++j)
            for (uint32_t i = 0; i < newWidth; ++i)
                // Within the rounding of weights and columns.
                ASSERT_NEAR(result.at(i, j), definition.at(i, j), 0.5 + 0.02) << i << ", " << j << " of " << newWidth;
    }
}

TEST(Interpolation, DoublesBySteps)
{
    // Where both sizes double, a shorter way is taken than where only one does.
    Random random(6);
    for (const uint16_t type : {uint16_t{IMAGE_TYPE_256GRAY}, uint16_t{IMAGE_TYPE_16MRGB}}) {
        const Picture source = Picture::random(random, type, 150, 9);
        const Picture twice = scaled(interpolation, source, 300, 18);
        const Picture wider = scaled(interpolation, source, 300, 9);
        const Picture taller = scaled(interpolation, source, 150, 18);
        for (uint32_t j = 0; j < 18; ++j)
            for (uint32_t i = 0; i < 300; ++i) {
                if (j % 2 == 0) {
                    ASSERT_EQ(twice.at(i, j), wider.at(i, j / 2));
                }
                if (i % 2 == 0) {
                    ASSERT_EQ(twice.at(i, j), taller.at(i / 2, j));
                }
            }
    }
}

TEST(Interpolation, KeepsFlatAreasFlat)
{
    for (const uint32_t level : {0U, 1U, 127U, 254U, 255U})
        for (const uint32_t width : {1U, 9U, 20U, 31U, 40U, 47U, 61U, 95U, 190U})
            EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, width, 5, level),
                                    scaled(interpolation, Picture(IMAGE_TYPE_256GRAY, 61, 13, level), width, 5)));
}

TEST(Interpolation, TreatsComponentsAlike)
{
    Random random(5);
    for (const auto& [width, height] : {std::pair(41U, 20U), {122U, 7U}, {20U, 31U}}) {
        Picture colors = Picture::random(random, IMAGE_TYPE_16MRGB, 61, 23);
        const Picture result = scaled(interpolation, colors, width, height);
        for (const unsigned shift : {0U, 8U, 16U}) {
            Picture component(IMAGE_TYPE_256GRAY, 61, 23);
            for (size_t k = 0; k < colors.pixels.size(); ++k)
                component.pixels[k] = colors.pixels[k] >> shift & 255;
            Picture expected = scaled(interpolation, component, width, height);
            for (size_t k = 0; k < result.pixels.size(); ++k)
                ASSERT_EQ(result.pixels[k] >> shift & 255, expected.pixels[k]);
        }
    }
}

Picture diffused(const Picture& source, uint32_t width, uint32_t height)
{
    return scaled(1, source, width, height, 15);
}

TEST(Diffusion, CarriesHalfTheErrorAlongTheLine)
{
    // Red: half of each block. 127.5 stays off, 127.5 + 63.75 goes on, 127.5 - 31.875 stays off, 127.5 + 47.8 goes on.
    // Blue: all on. Bit 3 is dropped.
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_8RGB, {"4545", "4545"}),
                    diffused(Picture(IMAGE_TYPE_8RGB, {"d4d4d4d4", "c5c5c5c5", "45454545", "54545454"}), 4, 2)));
    // A line thick: the blocks' rule across, the lines repeated.
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_8RGB, {"01", "01", "10", "10"}),
                            diffused(Picture(IMAGE_TYPE_8RGB, {"0110", "1101"}), 2, 4)));
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_8RGB, {"0011"}), diffused(Picture(IMAGE_TYPE_8RGB, {"10", "01"}), 4, 1)));
}

TEST(Diffusion, CopiesIndicesWhereNothingShrinks)
{
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_8RGB, {"99aa", "99aa"}), diffused(Picture(IMAGE_TYPE_8RGB, {"9a"}), 4, 2)));
}

using Calls = ProgressLog::Calls;

Calls reported(uint16_t method, uint16_t type, uint32_t width, uint32_t height, uint32_t newWidth, uint32_t newHeight)
{
    const Image from(Picture(type, width, height));
    const Image to(Picture(type, newWidth, newHeight));
    EXPECT_EQ(lxResolutionConvert(method, &from.area, &to.area, ProgressLog::start()), IMAGE_STATUS_OK);
    return ProgressLog::calls();
}

TEST(ScalingProgress, FollowsTheGeometry)
{
    const Calls tens = {{5, 50}, {10, 50}, {15, 50}, {20, 50}, {25, 50}, {30, 50}, {35, 50}, {40, 50}, {45, 50}};
    const Calls passes = {{15, 50}, {30, 50}, {45, 50}, {47, 50}, {48, 50}, {50, 50}};
    const Calls raw = {{2, 12}, {4, 12}, {6, 12}, {47, 50}, {48, 50}, {50, 50}};
    for (const uint16_t type : multilevelTypes) {
        for (const uint16_t method : {sampling, averaging, interpolation}) {
            SCOPED_TRACE(testing::Message() << nameOf(type) << ", method " << method);
            EXPECT_EQ(reported(method, type, 9, 100, 4, 10), tens);
            EXPECT_EQ(reported(method, type, 4, 100, 9, 10), tens);
            if (method == interpolation && (type == IMAGE_TYPE_256GRAY || type == IMAGE_TYPE_16MRGB)) {
                EXPECT_EQ(reported(method, type, 9, 3, 4, 2), Calls({{25, 50}}));
                EXPECT_EQ(reported(method, type, 9, 3, 4, 6), Calls({{8, 50}, {17, 50}, {25, 50}, {33, 50}, {42, 50}}));
            } else {
                EXPECT_EQ(reported(method, type, 4, 3, 9, 6), passes);
                EXPECT_EQ(reported(method, type, 9, 3, 9, 6), passes);
                EXPECT_EQ(reported(method, type, 9, 3, 4, 6), raw);
            }
        }
    }
}

TEST(ResolutionConvert, RefusesAreasOfNoSize)
{
    for (const uint16_t type : everyType) {
        for (const uint16_t method : {uint16_t{0}, uint16_t{1}, uint16_t{2}, uint16_t{5}}) {
            const Image some(Picture(type, 4, 4));
            for (const auto& [width, height] : {std::pair(0U, 4U), {4U, 0U}, {0U, 0U}}) {
                const Image none(Picture(type, width, height));
                EXPECT_EQ(lxResolutionConvert(method, &some.area, &none.area, nullptr), IMAGE_STATUS_BAD_ARGUMENT);
                EXPECT_EQ(lxResolutionConvert(method, &none.area, &some.area, nullptr), IMAGE_STATUS_BAD_ARGUMENT);
            }
        }
    }
}

} // namespace

} // namespace lxtest
