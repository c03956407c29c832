// Bilevel to gray with a change of size.

#include "resolution/scaled_by_definition.h"
#include "support/operations.h"
#include "support/progress_log.h"

namespace lxtest
{

namespace
{

auto toGray(uint32_t selector, const ColorPalette& palette)
{
    return [selector, &palette](const ImageArea* from, const ImageArea* to) {
        return lxResolutionAndImageTypeConvertToGrayscaleFromBW(selector, &palette, from, to, nullptr);
    };
}

ColorPalette grays(uint8_t black, uint8_t white)
{
    ColorPalette palette = paletteOf(IMAGE_TYPE_BW);
    std::memset(palette.entries[0], black, 3);
    std::memset(palette.entries[1], white, 3);
    return palette;
}

// The mean of a block, added up pixel by pixel.
auto meanOf(uint8_t black, uint8_t white)
{
    return [=](const Picture& source, lx::Span columns, lx::Span lines) {
        const uint32_t pixels = columns.length * lines.length;
        if (columns.length < 5 && lines.length < 5) {
            const uint32_t set = setPixels(source, columns, lines);
            return (set * white + (pixels - set) * black) / pixels;
        }
        const float parts[] = {static_cast<float>(black) / static_cast<float>(pixels),
                               static_cast<float>(white) / static_cast<float>(pixels)};
        double sum = 0;
        for (uint32_t i = 0; i < columns.length; ++i)
            for (uint32_t j = 0; j < lines.length; ++j)
                sum += parts[source.at(columns.start + i, lines.start + j)];
        return static_cast<uint32_t>(std::min(sum + 0.5, 255.0));
    };
}

Picture grayOf(const Picture& source, uint32_t width, uint32_t height, uint32_t selector = 1)
{
    const ColorPalette palette = paletteOf(IMAGE_TYPE_BW);
    return scaled(source, Picture(IMAGE_TYPE_256GRAY, width, height), toGray(selector, palette));
}

TEST(ScaleToGray, SmallBlocksTruncateAndLargeOnesRound)
{
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"bf 7f"}),
                            grayOf(Picture(IMAGE_TYPE_BW, {"#. ##", ".. .."}), 2, 1))); // 191.25, 127.5
    const Picture large(IMAGE_TYPE_BW, {"#.... ##...", "..... .....", "..... .....", "..... .....", "..... ....."});
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"f5 eb"}), grayOf(large, 2, 1))); // 244.8, 234.6
}

TEST(ScaleToGray, TakesTheLevelsOfThePalette)
{
    ColorPalette palette = grays(0, 0);
    const uint8_t black[] = {10, 20, 31};    // 20.33 becomes 20
    const uint8_t white[] = {200, 201, 204}; // 201.67 becomes 202
    std::memcpy(palette.entries[0], black, 3);
    std::memcpy(palette.entries[1], white, 3);
    const Picture source(IMAGE_TYPE_BW, {"#.#"});
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"1414caca1414 77"}),
                            scaled(source, Picture(IMAGE_TYPE_256GRAY, {"77 77 77 77 77 77 77"}), toGray(2, palette))));
}

TEST(ScaleToGray, FollowsTheDefinition)
{
    Random random(31);
    for (int k = 0; k < 2000; ++k) {
        const bool wide = random.chance(2);
        const uint32_t width = wide ? random.between(8000, 40000) : anyLength(random);
        const Picture source =
            Picture::random(random, IMAGE_TYPE_BW, width, random.between(1, random.chance(5) ? 99 : 12));
        const uint32_t wanted = random.chance(2) ? random.between(8000, 17000) : anyLength(random);
        const Picture before = Picture::random(random, IMAGE_TYPE_256GRAY, wanted, random.between(1, 12));
        const auto black = static_cast<uint8_t>(random.chance(50) ? 0 : random.below(256));
        const auto white = static_cast<uint8_t>(random.chance(50) ? 255 : random.below(256));
        const ColorPalette palette = grays(black, white);
        ASSERT_TRUE(samePicture(scaledByDefinition(source, before, meanOf(black, white)),
                                scaled(source, before, toGray(random.below(3), palette))))
            << source.width << " x " << source.height;
    }
}

// Blocks side by side, one for every number of white pixels.
TEST(ScaleToGray, EveryCountOfABlock)
{
    constexpr uint32_t blocks[][2] = {{1, 5},   {5, 1},  {5, 5},  {7, 18}, {8, 8},
                                      {13, 13}, {57, 3}, {58, 3}, {64, 9}, {3, 700}};
    Random random(32);
    for (const auto& [columns, lines] : blocks) {
        const uint32_t pixels = columns * lines;
        Picture source(IMAGE_TYPE_BW, columns * (pixels + 1), lines);
        for (uint32_t n = 0; n <= pixels; ++n) {
            uint32_t left = n;
            for (uint32_t k = 0; k < pixels; ++k) {
                const bool set = random.below(pixels - k) < left;
                source.at(n * columns + k % columns, k / columns) = set;
                left -= set;
            }
        }
        const Picture before(IMAGE_TYPE_256GRAY, pixels + 1, 1);
        for (const uint8_t white : {uint8_t{255}, uint8_t{201}}) {
            const ColorPalette palette = grays(7, white);
            ASSERT_TRUE(samePicture(scaledByDefinition(source, before, meanOf(7, white)),
                                    scaled(source, before, toGray(0, palette))))
                << columns << " x " << lines;
        }
    }
}

TEST(ScaleToGray, AddsUpTheLargestBlocksAsTheyStand)
{
    Random random(33);
    const Picture source = Picture::random(random, IMAGE_TYPE_BW, 1049, 1000);
    const Picture before(IMAGE_TYPE_256GRAY, 1, 1);
    const ColorPalette palette = grays(3, 250);
    EXPECT_TRUE(
        samePicture(scaledByDefinition(source, before, meanOf(3, 250)), scaled(source, before, toGray(0, palette))));
    const Picture white(IMAGE_TYPE_BW, 1049, 1000, 1);
    EXPECT_EQ(grayOf(white, 1, 1).at(0, 0), 255U);
}

TEST(ScaleToGray, ReportsHalves)
{
    using Calls = ProgressLog::Calls;
    const ColorPalette palette = paletteOf(IMAGE_TYPE_BW);
    const auto calls = [&](uint32_t selector, uint32_t width, uint32_t height) {
        const Image from(Picture(IMAGE_TYPE_BW, 9, 4));
        const Image to(Picture(IMAGE_TYPE_256GRAY, width, height));
        EXPECT_EQ(lxResolutionAndImageTypeConvertToGrayscaleFromBW(selector, &palette, &from.area, &to.area,
                                                                   ProgressLog::start()),
                  IMAGE_STATUS_OK);
        return ProgressLog::calls();
    };
    const Calls halves = {{6, 50}, {13, 50}, {19, 50}, {25, 50}, {31, 50}, {38, 50}, {44, 50}, {50, 50}};
    for (const uint32_t selector : {1U, 3U}) {
        EXPECT_EQ(calls(selector, 12, 8), halves);
        EXPECT_EQ(calls(selector, 5, 8), halves);
        EXPECT_EQ(calls(selector, 12, 3), Calls({{17, 50}, {33, 50}}));
    }
}

// A lone black pixel of the reduced picture spreads by 1 : 6 : 1 each way; rounding is that of each direction.
TEST(SmoothedToGray, SpreadsEachLevel)
{
    Picture source(IMAGE_TYPE_BW, 10, 10, 1);
    for (uint32_t k = 0; k < 4; ++k)
        source.at(4 + k % 2, 4 + k / 2) = 0;
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"ff ff ff ff ff", "ff fb e7 fb ff", "ff e7 70 e7 ff",
                                                         "ff fb e7 fb ff", "ff ff ff ff ff"}),
                            grayOf(source, 5, 5, 3)));
}

// Along the lines, then along the columns, pixels at the border counting twice.
Picture smoothed(const Picture& picture)
{
    const auto weigh = [](uint32_t before, uint32_t level, uint32_t after) {
        return (before + 6 * level + after + 4) / 8;
    };
    const uint32_t right = picture.width - 1;
    const uint32_t bottom = picture.height - 1;
    Picture lines = picture;
    for (uint32_t j = 0; j <= bottom; ++j)
        for (uint32_t i = 0; i <= right; ++i)
            lines.at(i, j) = weigh(picture.at(i - (i > 0), j), picture.at(i, j), picture.at(i + (i < right), j));
    Picture both = lines;
    for (uint32_t j = 0; j <= bottom; ++j)
        for (uint32_t i = 0; i <= right; ++i)
            both.at(i, j) = weigh(lines.at(i, j - (j > 0)), lines.at(i, j), lines.at(i, j + (j < bottom)));
    return both;
}

TEST(SmoothedToGray, WeighsTheMeans)
{
    Random random(35);
    const uint32_t widths[] = {1, 2, 3, 63, 64, 65, 200, 4095, 4096, 4097, 8193, 9000};
    for (const uint32_t width : widths) {
        for (const uint32_t height : {1U, 2U, 9U}) {
            const Picture source = Picture::random(random, IMAGE_TYPE_BW, width * 2, height * 2);
            ASSERT_TRUE(samePicture(smoothed(grayOf(source, width, height)), grayOf(source, width, height, 3)))
                << width << " x " << height;
        }
    }
}

TEST(SmoothedToGray, KeepsFlatAreasAndTheMeanLevel)
{
    EXPECT_EQ(grayOf(Picture(IMAGE_TYPE_BW, 40, 40, 1), 11, 13, 3), Picture(IMAGE_TYPE_256GRAY, 11, 13, 255));
    EXPECT_EQ(grayOf(Picture(IMAGE_TYPE_BW, 40, 40, 0), 11, 13, 3), Picture(IMAGE_TYPE_256GRAY, 11, 13, 0));
    Random random(34);
    const Picture source = Picture::random(random, IMAGE_TYPE_BW, 9000, 80);
    const auto sum = [&](uint32_t selector) {
        double total = 0;
        for (const uint32_t level : grayOf(source, 4500, 40, selector).pixels)
            total += level;
        return total;
    };
    EXPECT_NEAR(sum(3) / (4500 * 40), sum(1) / (4500 * 40), 0.2);
}

TEST(SmoothedToGray, LeavesPixelsThatNoRunReaches)
{
    const ColorPalette palette = paletteOf(IMAGE_TYPE_BW);
    const Picture before(IMAGE_TYPE_256GRAY, 7, 7, 0x55);
    Picture expected(IMAGE_TYPE_256GRAY, 7, 7, 255);
    for (uint32_t k = 0; k < 7; ++k)
        expected.at(6, k) = expected.at(k, 6) = 0x55;
    EXPECT_TRUE(samePicture(expected, scaled(Picture(IMAGE_TYPE_BW, 3, 3, 1), before, toGray(3, palette))));
}

} // namespace

} // namespace lxtest
