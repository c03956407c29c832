// Conversion to gray: the rules' own values.

#include "support/converted.h"
#include "support/operations.h"

#include <array>

namespace lxtest
{

namespace
{

TEST(To16Gray, Truncates)
{
    const Picture levels = converted(
        ramp(), IMAGE_TYPE_16GRAY, [](auto* from, auto* to) { return lxImageTypeConvertTo16Gray(from, to, nullptr); });
    constexpr std::array<unsigned, 2> known[] = {{0, 0}, {16, 0}, {17, 1}, {33, 1}, {34, 2}, {254, 14}, {255, 15}};
    for (const auto& [gray, level] : known)
        EXPECT_EQ(levels.at(gray, 0), level);
    for (uint32_t v = 0; v < 256; ++v)
        EXPECT_EQ(levels.at(v, 0), v / 17);
}

// The weights are single-precision constants, the sum is formed in double precision.
double weightedSum(uint32_t red, uint32_t green, uint32_t blue)
{
    const double outer = 0.33F;
    const double middle = 0.34F;
    return (red * outer + blue * outer) + green * middle;
}

TEST(To256Gray, WeightsAllColors)
{
    constexpr uint16_t channels[] = {0, 4, 0xFFFF};
    for (const uint16_t channel : channels) {
        expectForAllColors(
            channel & 1, IMAGE_TYPE_256GRAY,
            [&](auto* from, auto* to) { return lxImageTypeConvertTo256Gray(channel, from, to, nullptr); },
            [](uint32_t red, uint32_t green, uint32_t blue) {
                const double s = weightedSum(red, green, blue);
                return s >= 255 ? 255U : static_cast<uint32_t>(s);
            });
        if (testing::Test::HasFatalFailure())
            return;
    }
}

TEST(To256Gray, PicksOneChannel)
{
    const Picture colors(IMAGE_TYPE_16MRGB, {"010203 ff8000", "a0b0c0 0000ff"});
    const Picture expected[] = {{IMAGE_TYPE_256GRAY, {"01 ff", "a0 00"}},
                                {IMAGE_TYPE_256GRAY, {"02 80", "b0 00"}},
                                {IMAGE_TYPE_256GRAY, {"03 00", "c0 ff"}}};
    for (uint16_t channel = 1; channel <= 3; ++channel)
        EXPECT_TRUE(samePicture(expected[channel - 1], converted(colors, IMAGE_TYPE_256GRAY, [&](auto* from, auto* to) {
                                    return lxImageTypeConvertTo256Gray(channel, from, to, nullptr);
                                })));
}

Picture grayscale(const ColorPalette& palette, const Picture& source)
{
    return converted(source, IMAGE_TYPE_256GRAY,
                     [&](auto* from, auto* to) { return lxImageTypeConvertToGrayscale(&palette, from, to, nullptr); });
}

TEST(ToGrayscale, TruncatesAllFullColors)
{
    for (const uint16_t colorOrder : {uint16_t{0}, uint16_t{1}}) {
        expectForAllColors(
            colorOrder, IMAGE_TYPE_256GRAY,
            [](auto* from, auto* to) { return lxImageTypeConvertToGrayscale(nullptr, from, to, nullptr); },
            [](uint32_t red, uint32_t green, uint32_t blue) {
                return static_cast<uint32_t>((blue * 0.33 + green * 0.34) + red * 0.33);
            });
        if (testing::Test::HasFatalFailure())
            return;
    }
}

TEST(ToGrayscale, RoundsPaletteColors)
{
    // 17 k + 0.5 by thirds; 170 is the yellow of two full components, 171 is 170.67 rounded.
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"00 ff"}),
                            grayscale(paletteOf(IMAGE_TYPE_BW), Picture(IMAGE_TYPE_BW, {"#."}))));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"00 11 22 99 ff"}),
                            grayscale(paletteOf(IMAGE_TYPE_16GRAY), Picture(IMAGE_TYPE_16GRAY, {"0129f"}))));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"00 55 55 aa 55 aa aa ff ff ff"}),
                            grayscale(paletteOf(IMAGE_TYPE_8RGB), Picture(IMAGE_TYPE_8RGB, {"012345678f"}))));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"00 2b 55 2b 55 2b 55 55 aa 55 aa 55 aa 80 ff c0"}),
                            grayscale(paletteOf(IMAGE_TYPE_16RGB), Picture(IMAGE_TYPE_16RGB, {"0123456789abcdef"}))));
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_256GRAY, {"00 11 55 22 33 ff ff"}),
                    grayscale(paletteOf(IMAGE_TYPE_256RGB), Picture(IMAGE_TYPE_256RGB, {"00 01 05 07 2b d7 ff"}))));
    EXPECT_TRUE(samePicture(ramp(), grayscale(paletteOf(IMAGE_TYPE_256GRAY), ramp())));
}

TEST(ToGrayscale, FollowsTheRuleForAnyEntry)
{
    Random random(11);
    ColorPalette palette = {};
    palette.count = 256;
    random.fill(palette.entries[0], 768);
    const Picture gray = grayscale(palette, ramp(IMAGE_TYPE_256RGB));
    for (uint32_t k = 0; k < 256; ++k) {
        const double w = 0.33333334F;
        const uint8_t* entry = palette.entries[k];
        EXPECT_EQ(gray.at(k, 0), static_cast<uint32_t>((entry[0] * w + entry[2] * w) + entry[1] * w + 0.5));
    }
}

TEST(ToGrayscale, IndicesWithoutAnEntryAreBlack)
{
    ColorPalette palette = paletteOf(IMAGE_TYPE_16GRAY);
    palette.count = 3;
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"00 11 22 00 00"}),
                            grayscale(palette, Picture(IMAGE_TYPE_16GRAY, {"0123f"}))));
    palette.count = 1;
    palette.entries[0][0] = 30;
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_256GRAY, {"0a 00 0a"}), grayscale(palette, Picture(IMAGE_TYPE_BW, {"#.#"}))));
    palette.count = 0;
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"00 00"}),
                            grayscale(palette, Picture(IMAGE_TYPE_256GRAY, {"00 ff"}))));
    palette = paletteOf(IMAGE_TYPE_256GRAY);
    palette.count = 0xFFFF; // at most 256 count
    EXPECT_TRUE(samePicture(ramp(), grayscale(palette, ramp())));
}

Picture windowed(uint16_t size, const Picture& source)
{
    return converted(source, IMAGE_TYPE_256GRAY, [&](auto* from, auto* to) {
        return lxImageTypeConvertToGrayscaleFromBW(size, from, to, nullptr);
    });
}

TEST(FromBW, HasTheKnownLevels)
{
    const Picture bits(IMAGE_TYPE_BW, {"..#", //
                                       ".##", //
                                       "#.."});
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"ff ff 00", "ff 00 00", "00 ff ff"}), windowed(1, bits)));
    // Of four, 3 white pixels make 2 thirds, 2 one third, 1 none; of the two at an edge, 1 counts as 2 of four; the
    // corner is all or nothing.
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"aa 00 00", "55 55 55", "55 ff ff"}), windowed(2, bits)));
    // A white window is white and a black one black, for every size.
    constexpr uint16_t sizes[] = {1, 2, 3, 5, 6, 7, 16, 255, 1000, 32768, 65535};
    for (const uint16_t size : sizes) {
        EXPECT_TRUE(
            samePicture(Picture(IMAGE_TYPE_256GRAY, 30, 9, 255), windowed(size, Picture(IMAGE_TYPE_BW, 30, 9, 1))))
            << size;
        EXPECT_TRUE(
            samePicture(Picture(IMAGE_TYPE_256GRAY, 30, 9, 0), windowed(size, Picture(IMAGE_TYPE_BW, 30, 9, 0))))
            << size;
    }
}

// Counts by a table of sums: sums.at(i, j) counts the white pixels above and to the left of (i, j).
Picture windowedByDefinition(uint32_t size, const Picture& bits)
{
    const uint32_t width = bits.width;
    const uint32_t height = bits.height;
    Picture sums(IMAGE_TYPE_BW, width + 1, height + 1);
    for (uint32_t j = 0; j < height; ++j)
        for (uint32_t i = 0; i < width; ++i)
            sums.at(i + 1, j + 1) = bits.at(i, j) + sums.at(i, j + 1) + sums.at(i + 1, j) - sums.at(i, j);
    Picture gray(IMAGE_TYPE_256GRAY, width, height);
    for (uint32_t j = 0; j < height; ++j) {
        for (uint32_t i = 0; i < width; ++i) {
            const uint32_t columns = std::min(size, width - i);
            const uint32_t rows = std::min(size, height - j);
            const uint32_t count =
                sums.at(i + columns, j + rows) - sums.at(i, j + rows) - sums.at(i + columns, j) + sums.at(i, j);
            float s = static_cast<float>(count) * (static_cast<float>(2 * size) / static_cast<float>(columns * rows));
            if (s >= 1.0F)
                s -= 1.0F;
            gray.at(i, j) = static_cast<uint32_t>(255.0 / (2.0 * size - 1.0) * static_cast<double>(s) + 0.5);
        }
    }
    return gray;
}

TEST(FromBW, CountsEveryWindow)
{
    Random random(13);
    constexpr uint16_t sizes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 40, 255, 300, 4097, 65535};
    // Narrow, wider than one and two vertical strips, and high.
    constexpr uint32_t areas[][2] = {{1, 1},    {2, 3},    {17, 11},   {40, 20},  {64, 3},
                                     {4096, 2}, {4100, 4}, {4120, 20}, {9000, 3}, {3, 400}};
    for (const auto& [width, height] : areas) {
        const Picture bits = Picture::random(random, IMAGE_TYPE_BW, width, height);
        for (const uint16_t size : sizes)
            ASSERT_TRUE(samePicture(windowedByDefinition(size, bits), windowed(size, bits))) << "window " << size;
    }
}

TEST(FromBW, RefusesAWindowOfNoSize)
{
    expectRefusal(IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY,
                  [](auto* from, auto* to) { return lxImageTypeConvertToGrayscaleFromBW(0, from, to, nullptr); });
}

} // namespace

} // namespace lxtest
