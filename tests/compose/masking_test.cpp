// Painting and tinting: every gray level, and the values of colours.

#include "support/converted.h"

#include <algorithm>
#include <array>

namespace lxtest
{

namespace
{

using Color = std::array<uint8_t, 3>;

Picture masked(Picture picture, uint16_t tint, const Color& color, uint16_t colorOrder = 0)
{
    const Image image(picture, {.colorOrder = colorOrder});
    EXPECT_EQ(lxMaskingBySpecificationColor(tint, color.data(), &image.area, nullptr), IMAGE_STATUS_OK);
    return image.picture();
}

TEST(Mask, TintsEveryGrayWithEveryGray)
{
    for (unsigned m = 0; m < 256; ++m) {
        const auto level = static_cast<uint8_t>(m);
        const Picture tinted = masked(ramp(), 1, {level, level, level});
        for (unsigned p = 0; p < 256; ++p)
            ASSERT_EQ(tinted.at(p, 0), p > m ? static_cast<unsigned>((p - m) * 0.25 + m) : p) << p << " by " << m;
    }
}

TEST(Mask, HandlesComponentsByThemselves)
{
    const Picture before(IMAGE_TYPE_16MRGB, {"ffffff 000000 407f81 808080"});
    const Color color = {0x40, 0x80, 0xC0};
    for (uint16_t colorOrder = 0; colorOrder < 2; ++colorOrder) {
        EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16MRGB, {"4080c0 4080c0 4080c0 4080c0"}),
                                masked(before, 0, color, colorOrder)));
        EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16MRGB, {"6f9fcf 000000 407f81 508080"}),
                                masked(before, 1, color, colorOrder)));
    }
}

TEST(Mask, SwitchesPrimaries)
{
    const Picture before(IMAGE_TYPE_8RGB, {"0123456789abcdef"});
    // Red is off at 127, on at 128.
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_8RGB, {"6666666666666666"}), masked(before, 0, {127, 128, 255})));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_8RGB, {"0022446600224466"}), masked(before, 1, {127, 128, 255})));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_8RGB, {"0123456701234567"}), masked(before, 1, {255, 255, 255})));
}

TEST(Mask, PaintsTheGray)
{
    // 0.33 * 310 + 0.34 * 20 + 0.5 = 109.6
    EXPECT_EQ(masked(Picture(IMAGE_TYPE_256GRAY, 1, 1), 0, {10, 20, 0}).at(0, 0), 10U);
    EXPECT_EQ(masked(Picture(IMAGE_TYPE_256GRAY, 1, 1), 0, {60, 20, 250}).at(0, 0), 109U);
    EXPECT_EQ(masked(Picture(IMAGE_TYPE_256GRAY, 1, 1), 0, {255, 255, 255}).at(0, 0), 255U);
}

// White where 116 is above the thresholds, of which two are 116 themselves; the pattern starts again after eight
// pixels.
const Picture dither116(IMAGE_TYPE_BW, {"..####....", ".######..#", "##....####", "##....####", "##....####",
                                        "###..#####", "..####....", "..####....", "..####...."});

TEST(Mask, DithersItsGray)
{
    const Picture noise = [] {
        Random random(11);
        return Picture::random(random, IMAGE_TYPE_BW, 10, 9);
    }();
    const Color gray116 = {116, 116, 116};
    EXPECT_TRUE(samePicture(dither116, masked(noise, 0, gray116)));
    Picture both = noise;
    for (uint32_t k = 0; k < both.pixels.size(); ++k)
        both.pixels[k] &= dither116.pixels[k];
    EXPECT_TRUE(samePicture(both, masked(noise, 1, gray116)));
}

TEST(Mask, SetsAllBitsForWhiteAndNoneForBlack)
{
    const Picture white(IMAGE_TYPE_BW, 8, 8, 1);
    const Picture black(IMAGE_TYPE_BW, 8, 8, 0);
    EXPECT_TRUE(samePicture(white, masked(black, 0, {253, 253, 253})));
    EXPECT_TRUE(samePicture(black, masked(white, 0, {0, 0, 0})));
    EXPECT_TRUE(samePicture(black, masked(white, 1, {0, 0, 0})));
    // Gray 1 is above the threshold 0, in row 3 and column 3.
    const Picture one = masked(black, 0, {1, 1, 1});
    EXPECT_EQ(one.at(3, 3), 1U);
    EXPECT_EQ(std::count(one.pixels.begin(), one.pixels.end(), 1U), 1);
}

} // namespace

} // namespace lxtest
