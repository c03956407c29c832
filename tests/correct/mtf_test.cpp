// Sharpening: known neighbourhoods, and every one against the rule in double precision.

#include "support/converted.h"

#include <algorithm>

namespace lxtest
{

namespace
{

Picture sharpened(const MTFParameters& parameters, const Picture& source)
{
    return converted(source, source.type,
                     [&](auto* from, auto* to) { return lxMTFCorrection(&parameters, from, to, nullptr); });
}

TEST(Sharpening, ScalesOvershootAndUndershootOfEachDirection)
{
    // The middle is above its neighbours across (h = 60) and below them down (v = -40), and so on.
    const Picture peak(IMAGE_TYPE_256GRAY, {"32 32 32", "32 50 32", "32 32 32"});
    const Picture pit(IMAGE_TYPE_256GRAY, {"50 50 50", "50 32 50", "50 50 50"});
    struct {
        MTFParameters parameters;
        uint32_t atPeak, atPit;
    } const cases[] = {
        {{0, {8, 0, 0, 0}}, 80 + 60, 50},
        {{0, {0, 4, 0, 0}}, 80 + 30, 50},
        {{0, {0, 0, 8, 0}}, 80, 0},
        {{0, {0, 0, 0, 2}}, 80, 50 - 15},
        {{7, {1, 1, 1, 1}}, 80 + 15, 50 - 15},
        {{0, {-8, 0, 0, -8}}, 80 - 60, 50 + 60},
        {{0, {800, 0, 0, 0}}, 255, 50},
        {{0, {0.1, 0, 0.1, 0}}, 80, 49},
        {{1, {0, 0, 0, 9}}, 80, 50},
        {{1, {4, 0, 0, 0}}, 80 - 30, 50 + 30},
        {{1, {0, 4, 0, 0}}, 80 + 30, 50},
        {{1, {0, 0, 4, 0}}, 80, 50 - 30},
        {{1, {1, 4, 0, 0}}, 80 - 8 + 30 + 0, 57},
        {{2, {0, 0, 0, 0}}, 80, 50},
    };
    for (const auto& sample : cases) {
        EXPECT_EQ(sharpened(sample.parameters, peak).at(1, 1), sample.atPeak);
        EXPECT_EQ(sharpened(sample.parameters, pit).at(1, 1), sample.atPit);
    }
}

TEST(Sharpening, SharpensALineAndLeavesItsNeighbours)
{
    const Picture line(IMAGE_TYPE_256GRAY, {"32 32 64 32 32", "32 32 64 32 32"});
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"32 32 c8 32 32", "32 32 c8 32 32"}),
                            sharpened({0, {8, 0, 0, 0}}, line)));
}

uint32_t byteOf(double sum)
{
    const auto v = static_cast<float>(sum);
    return v >= 255 ? 255 : v > 0 ? static_cast<uint32_t>(v) : 0;
}

// One component, `shift` bits up in the pixels.
uint32_t byDefinition(const MTFParameters& parameters, const Picture& picture, uint32_t i, uint32_t j, unsigned shift)
{
    const auto at = [&](int dx, int dy) {
        const int x = std::clamp(static_cast<int>(i) + dx, 0, static_cast<int>(picture.width) - 1);
        const int y = std::clamp(static_cast<int>(j) + dy, 0, static_cast<int>(picture.height) - 1);
        return static_cast<int>(picture.at(static_cast<uint32_t>(x), static_cast<uint32_t>(y)) >> shift & 255);
    };
    const double scale = parameters.mode == 1 ? 0.0625 : 0.125;
    float k[4];
    for (unsigned c = 0; c < 4; ++c)
        k[c] = static_cast<float>(parameters.coefficients[c] * scale);
    const int centre = at(0, 0);
    const int direct = at(-1, 0) + at(1, 0) + at(0, -1) + at(0, 1);
    if (parameters.mode == 1) {
        const int d = 4 * centre - (at(-1, -1) + at(1, -1) + at(-1, 1) + at(1, 1));
        return byteOf((centre + (direct - 4 * centre) * double{k[0]}) + d * double{d >= 0 ? k[1] : k[2]});
    }
    const int h = 2 * centre - (at(-1, 0) + at(1, 0));
    const int v = 2 * centre - (at(0, -1) + at(0, 1));
    return byteOf((centre + h * double{h >= 0 ? k[0] : k[2]}) + v * double{v >= 0 ? k[1] : k[3]});
}

TEST(Sharpening, EqualsTheRuleInDoublePrecision)
{
    Random random(17);
    // Decimals make sums that are whole but for the last bits; the smallest are not split, the largest overflow.
    constexpr double choices[] = {0, 0.1, 0.3, 0.7, 0.8, 1, 1.5, 2.3, 5, 0.01, 0.001, 1e-6, 3e4, 1e30, -0.4, -2};
    for (int round = 0; round < 400; ++round) {
        MTFParameters parameters = {static_cast<uint16_t>(random.below(3)), {}};
        for (double& coefficient : parameters.coefficients)
            coefficient = random.pick(choices) * (round % 2 == 0 ? 1.0 : 0.8 + 0.4 * random.unit());
        const uint16_t type = round % 4 == 3 ? IMAGE_TYPE_16MRGB : IMAGE_TYPE_256GRAY;
        Picture source = Picture::random(random, type, random.between(1, 150), random.between(1, 6));
        if (random.chance(50)) {
            // Paper: little contrast, so that sums stay in range.
            for (uint32_t& pixel : source.pixels)
                pixel = 0x808080 + (pixel & 0x1F1F1F);
            if (type == IMAGE_TYPE_256GRAY)
                for (uint32_t& pixel : source.pixels)
                    pixel &= 255;
        }
        const Picture result = sharpened(parameters, source);
        for (uint32_t j = 0; j < source.height; ++j) {
            for (uint32_t i = 0; i < source.width; ++i) {
                uint32_t expected = byDefinition(parameters, source, i, j, 0);
                if (type == IMAGE_TYPE_16MRGB)
                    expected |= byDefinition(parameters, source, i, j, 8) << 8 |
                                byDefinition(parameters, source, i, j, 16) << 16;
                ASSERT_EQ(result.at(i, j), expected) << "round " << round << ", pixel " << i << ", " << j;
            }
        }
    }
}

} // namespace

} // namespace lxtest
