// The colour matrix: its entries, and its application against the rule in double precision.

#include "correct/fixed_factors.h"
#include "support/converted.h"

#include <array>
#include <cmath>
#include <limits>

namespace lxtest
{

namespace
{

ColorCorrectionMatrix matrixOf(CorrectionLevel hue, CorrectionLevel saturation, CorrectionLevel lightness)
{
    ColorCorrectionMatrix matrix;
    EXPECT_EQ(lxCreateColorCorrectionMatrix(&hue, &saturation, &lightness, &matrix), IMAGE_STATUS_OK);
    return matrix;
}

Picture corrected(const ColorCorrectionMatrix& matrix, const Picture& picture, uint16_t colorOrder = 0)
{
    const Image image(picture, {.colorOrder = colorOrder});
    EXPECT_EQ(lxColorCorrection(&matrix, &image.area, nullptr), IMAGE_STATUS_OK);
    return image.picture();
}

void expectEntries(const ColorCorrectionMatrix& matrix, double d0, double d1, double d2)
{
    const double expected[9] = {d0, d1, d2, d2, d0, d1, d1, d2, d0};
    for (unsigned k = 0; k < 9; ++k)
        EXPECT_NEAR(matrix.entries[k], expected[k], 1e-9) << "entry " << k;
}

TEST(ColorMatrix, IsTheIdentityByDefault)
{
    const ColorCorrectionMatrix matrix = matrixOf({0, 10}, {0, 10}, {0, 10});
    for (unsigned k = 0; k < 9; ++k)
        EXPECT_EQ(matrix.entries[k], k % 4 == 0 ? 1.0 : 0.0);
}

TEST(ColorMatrix, TurnsAndScales)
{
    // A turn by 120 degrees hands each component on: -120 moves red to the one, +120 to the other side.
    expectEntries(matrixOf({-2, 3}, {0, 1}, {0, 1}), 0, 1, 0);
    expectEntries(matrixOf({2, 3}, {0, 1}, {0, 1}), 0, 0, 1);
    expectEntries(matrixOf({10, 10}, {0, 1}, {0, 1}), -1 / 3.0, 2 / 3.0, 2 / 3.0);
    expectEntries(matrixOf({-10, 10}, {0, 1}, {0, 1}), -1 / 3.0, 2 / 3.0, 2 / 3.0);
    expectEntries(matrixOf({0, 10}, {-10, 10}, {0, 10}), 1 / 3.0, 1 / 3.0, 1 / 3.0);
    expectEntries(matrixOf({0, 10}, {10, 10}, {5, 10}), 5.5 / 3, -0.5 / 3, -0.5 / 3);
    // Pi has ten digits: half a turn is not quite one, and d1 and d2 differ by 2 sqrt(3) sin / 3.
    const ColorCorrectionMatrix half = matrixOf({1, 1}, {0, 1}, {0, 1});
    EXPECT_NEAR(half.entries[1] - half.entries[2], 2 * std::sqrt(3.0) * 8.979318e-11 / 3, 1e-15);
}

TEST(ColorMatrix, IsDefinedForEverySetting)
{
    constexpr int32_t values[] = {std::numeric_limits<int32_t>::min(), -1, 0, 1, std::numeric_limits<int32_t>::max()};
    const Picture colors(IMAGE_TYPE_16MRGB, {"010203 ffffff"});
    for (const int32_t level : values)
        for (const int32_t maxLevel : values)
            corrected(matrixOf({level, maxLevel}, {level, maxLevel}, {level, maxLevel}), colors);
    // 0 / 0 is not a number, and not a number is black.
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16MRGB, {"000000 000000"}),
                            corrected(matrixOf({0, 1}, {0, 0}, {0, 1}), colors)));
}

TEST(ColorCorrection, HasKnownColors)
{
    const ColorCorrectionMatrix gray = matrixOf({0, 10}, {-10, 10}, {0, 10});
    const ColorCorrectionMatrix light = matrixOf({0, 10}, {0, 10}, {10, 10});
    const ColorCorrectionMatrix turn = matrixOf({-2, 3}, {0, 1}, {0, 1});
    for (uint16_t order = 0; order < 2; ++order) {
        EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16MRGB, {"555555"}),
                                corrected(gray, Picture(IMAGE_TYPE_16MRGB, {"ff0000"}), order)));
        EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16MRGB, {"c8c8c8 ffffff"}),
                                corrected(light, Picture(IMAGE_TYPE_16MRGB, {"646464 c8c8c8"}), order)));
        // Row 0 is (0, 1, 0): red takes green's level, and the rounding of pi costs none of them a step.
        EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_16MRGB, {"8040c0"}),
                                corrected(turn, Picture(IMAGE_TYPE_16MRGB, {"c08040"}), order)));
    }
    // 199.99 is 199: truncated, not rounded.
    const ColorCorrectionMatrix almost = {{1.9999, 0, 0, 0, 1, 0, 0, 0, 1}};
    EXPECT_EQ(corrected(almost, Picture(IMAGE_TYPE_16MRGB, {"640000"})).at(0, 0), 0xC70000U);
}

uint32_t byteOf(double sum)
{
    const auto v = static_cast<float>(sum);
    return v >= 255 ? 255 : v > 0 ? static_cast<uint32_t>(v) : 0;
}

uint32_t byDefinition(const ColorCorrectionMatrix& matrix, uint32_t color)
{
    const double in[3] = {static_cast<double>(color >> 16), static_cast<double>(color >> 8 & 255),
                          static_cast<double>(color & 255)};
    uint32_t result = 0;
    for (unsigned c = 0; c < 9; c += 3) {
        float m[3];
        for (unsigned k = 0; k < 3; ++k)
            m[k] = static_cast<float>(matrix.entries[c + k]);
        result = result << 8 | byteOf((m[0] * in[0] + m[1] * in[1]) + m[2] * in[2]);
    }
    return result;
}

lx::MatrixFactors factorsOf(const ColorCorrectionMatrix& matrix)
{
    float factors[9];
    double most = 0;
    for (unsigned k = 0; k < 9; ++k) {
        factors[k] = static_cast<float>(matrix.entries[k]);
        most += std::fabs(factors[k]);
    }
    return lx::fixedFactors(lx::splitFactors(factors, 255 * most, 765));
}

// Settings as they are made, and matrices whose sums lie at the edges of what is exact.
std::vector<ColorCorrectionMatrix> sampleMatrices(Random& random)
{
    std::vector<ColorCorrectionMatrix> matrices;
    const auto level = [&](int32_t most) { return static_cast<int32_t>(random.between(0, 20)) - 10 + most - 10; };
    for (int k = 0; k < 60; ++k)
        matrices.push_back(matrixOf({level(10), 10}, {level(10), 10}, {level(10), 10}));
    constexpr double scales[] = {1, 0.1, 1e-3, 1e-9, 100, 1e6, 1e30};
    for (int k = 0; k < 60; ++k) {
        ColorCorrectionMatrix matrix;
        for (double& entry : matrix.entries)
            entry = (random.unit() - 0.5) * random.pick(scales);
        matrices.push_back(matrix);
    }
    // Whole sums at gray, but for the last bit or two of the entries: what a float sum gets wrong.
    for (const double a : {0.1, 0.3, 0.7, 1.3})
        for (const double b : {-0.9, -0.1, 0.2, 0.6})
            matrices.push_back({{a, b, 1 - a - b, 1 - a - b, a, b, b, 1 - a - b, a}});
    matrices.push_back({{0.1, 0.2, 0.3, -0.1, -0.2, -0.3, 4, 5, 6}});
    constexpr double infinite = std::numeric_limits<double>::infinity();
    matrices.push_back({{infinite, -infinite, 1, std::nan(""), 0, 1, infinite, 0, 0}});
    return matrices;
}

TEST(ColorCorrection, EqualsTheRuleInDoublePrecision)
{
    Random random(13);
    size_t split = 0;
    const std::vector<ColorCorrectionMatrix> matrices = sampleMatrices(random);
    for (const ColorCorrectionMatrix& matrix : matrices) {
        split += factorsOf(matrix).exact.isSplit ? 1 : 0;
        Picture colors = Picture::random(random, IMAGE_TYPE_16MRGB, 256, 24);
        for (uint32_t v = 0; v < 256; ++v)
            colors.at(v, 0) = v * 0x10101;
        const Picture result = corrected(matrix, colors, static_cast<uint16_t>(random.below(2)));
        for (size_t k = 0; k < colors.pixels.size(); ++k)
            ASSERT_EQ(result.pixels[k], byDefinition(matrix, colors.pixels[k])) << std::hex << colors.pixels[k];
    }
    // Both ways of summing have been tried.
    EXPECT_GT(split, 50U);
    EXPECT_GT(matrices.size() - split, 20U);
}

TEST(ColorCorrection, EqualsTheRuleForAllColors)
{
    // Sums at gray: whole numbers, or just below them but rounded up, or so far below that all gray gets darker; a
    // fifth more; coarse ones; thirds.
    const struct {
        ColorCorrectionMatrix matrix;
        bool isFixed;
    } cases[] = {
        {matrixOf({1, 10}, {2, 10}, {0, 10}), true},
        {matrixOf({-10, 10}, {-1, 10}, {0, 10}), true},
        {matrixOf({-3, 10}, {-4, 10}, {0, 10}), false},
        {matrixOf({0, 10}, {0, 10}, {2, 10}), true},
        {{{0.5, 0.375, 0.125, 0, 1, 0, -0.25, -0.5, 1}}, true},
        {matrixOf({0, 10}, {-10, 10}, {0, 10}), true},
    };
    for (size_t m = 0; m < std::size(cases); ++m) {
        const ColorCorrectionMatrix& matrix = cases[m].matrix;
        EXPECT_EQ(factorsOf(matrix).isFixed, cases[m].isFixed) << "matrix " << m;
        Picture colors(IMAGE_TYPE_16MRGB, 65536, 1);
        for (uint32_t red = 0; red < 256; ++red) {
            for (uint32_t k = 0; k < 65536; ++k)
                colors.pixels[k] = red << 16 | k;
            const Picture result = corrected(matrix, colors, m % 2);
            for (uint32_t k = 0; k < 65536; ++k)
                ASSERT_EQ(result.pixels[k], byDefinition(matrix, colors.pixels[k]))
                    << "matrix " << m << ", color " << std::hex << colors.pixels[k];
        }
    }
}

TEST(ColorCorrection, TakesOneTypeOnly)
{
    const ColorCorrectionMatrix gray = matrixOf({0, 10}, {-10, 10}, {0, 10});
    for (uint16_t type = 0; type < IMAGE_TYPE_16MRGB; ++type) {
        const Picture before(type, 5, 2, 1);
        const Image image(before);
        EXPECT_EQ(lxColorCorrection(&gray, &image.area, nullptr), IMAGE_STATUS_BAD_ARGUMENT);
        EXPECT_TRUE(samePicture(before, image.picture()));
    }
}

} // namespace

} // namespace lxtest
