// Conversion to full colour: the rules' own values.

#include "support/converted.h"
#include "support/operations.h"

#include <array>

namespace lxtest
{

namespace
{

Picture colored(const ColorPalette& palette, const Picture& source)
{
    return converted(source, IMAGE_TYPE_16MRGB,
                     [&](auto* from, auto* to) { return lxImageTypeConvertTo16MRGB(&palette, from, to, nullptr); });
}

TEST(To16MRGB, LooksIndicesUp)
{
    const std::pair<Picture, Picture> known[] = {
        {Picture(IMAGE_TYPE_BW, {"#."}), Picture(IMAGE_TYPE_16MRGB, {"000000 ffffff"})},
        {Picture(IMAGE_TYPE_16GRAY, {"03f"}), Picture(IMAGE_TYPE_16MRGB, {"000000 333333 ffffff"})},
        {Picture(IMAGE_TYPE_8RGB, {"1248"}), Picture(IMAGE_TYPE_16MRGB, {"ff0000 00ff00 0000ff ffffff"})},
        {Picture(IMAGE_TYPE_16RGB, {"27ef"}), Picture(IMAGE_TYPE_16MRGB, {"ff0000 808000 ffffff c0c0c0"})},
        {Picture(IMAGE_TYPE_256RGB, {"01 06 24 d8"}), Picture(IMAGE_TYPE_16MRGB, {"330000 003300 000033 ffffff"})},
        {Picture(IMAGE_TYPE_256GRAY, {"00 80 ff"}), Picture(IMAGE_TYPE_16MRGB, {"000000 808080 ffffff"})},
    };
    for (const auto& [source, expected] : known)
        EXPECT_TRUE(samePicture(expected, colored(paletteOf(source.type), source)));
}

TEST(To16MRGB, IndicesWithoutAnEntryAreBlack)
{
    ColorPalette palette = paletteOf(IMAGE_TYPE_16GRAY);
    palette.count = 3;
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16MRGB, {"111111 222222 000000"}),
                            colored(palette, Picture(IMAGE_TYPE_16GRAY, {"123"}))));
    palette = paletteOf(IMAGE_TYPE_256GRAY);
    palette.count = 0xFFFF; // at most 256 count
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_16MRGB, {"ffffff"}), colored(palette, Picture(IMAGE_TYPE_256GRAY, {"ff"}))));
}

TEST(To16MRGB, StoresTheDestinationsOrder)
{
    const Image red(Picture(IMAGE_TYPE_16RGB, {"2"}));
    const ColorPalette palette = paletteOf(IMAGE_TYPE_16RGB);
    const std::array<uint8_t, 3> stored[] = {{255, 0, 0}, {0, 0, 255}};
    for (const uint16_t order : {uint16_t{0}, uint16_t{1}}) {
        const Image to(Picture(IMAGE_TYPE_16MRGB, 1, 1), {.colorOrder = order});
        EXPECT_EQ(lxImageTypeConvertTo16MRGB(&palette, &red.area, &to.area, nullptr), IMAGE_STATUS_OK);
        EXPECT_EQ(std::memcmp(to.area.buffer, stored[order].data(), 3), 0);
    }
}

TEST(To16MRGB, ComparesOrdersAsValues)
{
    const Picture colors(IMAGE_TYPE_16MRGB, {"010203 ff8000"});
    const Picture exchanged(IMAGE_TYPE_16MRGB, {"030201 0080ff"});
    for (const uint16_t from : {uint16_t{0}, uint16_t{1}, uint16_t{2}}) {
        for (const uint16_t to : {uint16_t{0}, uint16_t{1}, uint16_t{2}}) {
            const Image source(colors, {.colorOrder = from});
            const Image destination(colors, {.colorOrder = to});
            EXPECT_EQ(lxImageTypeConvertTo16MRGB(nullptr, &source.area, &destination.area, nullptr), IMAGE_STATUS_OK);
            // 1 and 2 name the same order, but bytes are exchanged between them.
            const bool kept = from == to || (from != 0) != (to != 0);
            EXPECT_TRUE(samePicture(kept ? colors : exchanged, destination.picture())) << from << " to " << to;
        }
    }
}

Picture windowed(uint16_t size, const Picture& source)
{
    return converted(source, IMAGE_TYPE_16MRGB,
                     [&](auto* from, auto* to) { return lxImageTypeConvertTo16MRGBFrom8RGB(size, from, to, nullptr); });
}

TEST(From8RGB, HasTheKnownLevels)
{
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_16MRGB, {"ff00ff 00ff00"}), windowed(1, Picture(IMAGE_TYPE_8RGB, {"52"}))));
    // Two reds of four are one third; in the cut window below, one of two is one third as well.
    EXPECT_EQ(windowed(2, Picture(IMAGE_TYPE_8RGB, {"19", "00"})).at(0, 0), 0x550000U);
    EXPECT_EQ(windowed(2, Picture(IMAGE_TYPE_8RGB, {"10"})).at(0, 0), 0x550000U);
}

uint32_t levelByDefinition(uint32_t size, const Picture& source, uint32_t i, uint32_t j, unsigned bit)
{
    const uint32_t columns = std::min(size, source.width - i);
    const uint32_t rows = std::min(size, source.height - j);
    uint32_t count = 0;
    for (uint32_t y = j; y < j + rows; ++y)
        for (uint32_t x = i; x < i + columns; ++x)
            count += source.at(x, y) >> bit & 1;
    float s = static_cast<float>(count) * (static_cast<float>(2 * size) / static_cast<float>(columns * rows));
    if (s >= 1.0F)
        s -= 1.0F;
    return static_cast<uint32_t>(255.0 / (2.0 * size - 1.0) * static_cast<double>(s));
}

TEST(From8RGB, CountsAndTruncates)
{
    Random random(17);
    const Picture source = Picture::random(random, IMAGE_TYPE_8RGB, 29, 13);
    for (const uint16_t size : {uint16_t{2}, uint16_t{3}, uint16_t{5}, uint16_t{9}, uint16_t{40}}) {
        Picture expected(IMAGE_TYPE_16MRGB, 29, 13);
        for (uint32_t j = 0; j < 13; ++j)
            for (uint32_t i = 0; i < 29; ++i)
                for (unsigned bit = 0; bit < 3; ++bit)
                    expected.at(i, j) |= levelByDefinition(size, source, i, j, bit) << (16 - 8 * bit);
        EXPECT_TRUE(samePicture(expected, windowed(size, source))) << "window " << size;
    }
}

TEST(From8RGB, RefusesAWindowOfNoSize)
{
    expectRefusal(IMAGE_TYPE_8RGB, IMAGE_TYPE_16MRGB,
                  [](auto* from, auto* to) { return lxImageTypeConvertTo16MRGBFrom8RGB(0, from, to, nullptr); });
}

} // namespace

} // namespace lxtest
