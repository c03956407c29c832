// Calls of operations on whole pictures, for tests that state pictures and not layouts.

#pragma once

#include "support/placed_picture.h"

namespace lxtest
{

// What `run(source, destination)` makes of `source` in a picture of the same size and of type `type`.
template <class Run>
Picture converted(const Picture& source, uint16_t type, Run run)
{
    const Image from(source);
    const Image to(Picture(type, source.width, source.height));
    EXPECT_EQ(run(&from.area, &to.area), IMAGE_STATUS_OK);
    return to.picture();
}

// Expects `run(source, destination)` to refuse its parameters, and to leave the destination alone.
template <class Run>
void expectRefusal(uint16_t sourceType, uint16_t destinationType, Run run)
{
    Random random(5);
    const Image from(Picture::random(random, sourceType, 19, 5));
    const Picture before = Picture::random(random, destinationType, 19, 5);
    const Image to(before);
    EXPECT_EQ(run(&from.area, &to.area), IMAGE_STATUS_BAD_ARGUMENT);
    EXPECT_TRUE(samePicture(before, to.picture()));
}

// All 256 values of a byte, on one line.
inline Picture ramp(uint16_t type = IMAGE_TYPE_256GRAY)
{
    Picture picture(type, 256, 1);
    for (uint32_t v = 0; v < 256; ++v)
        picture.at(v, 0) = v;
    return picture;
}

// Gives all 2^24 colours to `run(source, destination)`, and expects `rule(red, green, blue)` of a destination of one
// byte or bit per pixel.
template <class Run, class Rule>
void expectForAllColors(uint16_t colorOrder, uint16_t type, Run run, Rule rule)
{
    const Layout layout = {.colorOrder = colorOrder};
    Picture colors(IMAGE_TYPE_16MRGB, 65536, 1);
    Image from(colors, layout);
    const Image to(Picture(type, 65536, 1));
    for (uint32_t red = 0; red < 256; ++red) {
        for (uint32_t k = 0; k < 65536; ++k)
            colors.pixels[k] = red << 16 | k;
        putPixels(from.area, colors);
        ASSERT_EQ(run(&from.area, &to.area), IMAGE_STATUS_OK);
        const Picture result = to.picture();
        for (uint32_t k = 0; k < 65536; ++k) {
            const uint32_t expected = rule(red, k >> 8, k & 255);
            ASSERT_EQ(result.pixels[k], expected) << "color " << red << ", " << (k >> 8) << ", " << (k & 255);
        }
    }
}

} // namespace lxtest
