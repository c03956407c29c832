// Conversion to bilevel by one threshold, by ordered dither and by the fixed threshold.

#include "support/converted.h"
#include "support/halftone.h"
#include "support/operations.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lxtest
{

namespace
{

constexpr int32_t most = std::numeric_limits<int32_t>::max();
constexpr int32_t least = std::numeric_limits<int32_t>::min();

TEST(NonHalftone, HasTheStatedThreshold)
{
    constexpr struct {
        int32_t level;
        int32_t range;
        uint32_t threshold;
    } cases[] = {
        {0, 10, 128},      {10, 10, 255},              // 256
        {-10, 10, 0},      {5, 10, 192},  {1, 3, 171}, // 170.67 + 0.5
        {-1, 3, 85},                                   // 85.33 + 0.5
        {0, 1, 128},       {0, -10, 128},              // the scale turned round
        {20, 10, 255},                                 // 384
        {-11, 10, 255},                                // -12.3: its low 16 bits are above 255
        {20, -10, 255},                                // -127.5
        {5115, 10, 64},                                // 65600 = 2^16 + 64
        {-5128, 10, 27},                               // -65509 = 27 - 2^16
        {-3, most, 255},   // 2 range wraps to -2: 256 / -2 * (2^31 - 4), whose low 16 bits are 512
        {most, most, 255}, // both wrap to -2
        {0, 1 << 30, 255}, // 2 range wraps to -2^31: -128 + 0.5
        {0, least, 0},     // 2 range wraps to 0: -infinity saturates to 0x8000...
        {-1, least, 255},  // +infinity saturates to 0x7FFF...
        {least, least, 0}, // infinity times 0
    };
    for (const auto& [level, range, threshold] : cases) {
        const ThresholdLevel parameters = {level, range};
        const Picture bits = converted(ramp(), IMAGE_TYPE_BW, [&](auto* from, auto* to) {
            return lxImageTypeConvertToBWNonHalftone(&parameters, from, to, nullptr);
        });
        for (uint32_t v = 0; v < 256; ++v)
            ASSERT_EQ(bits.at(v, 0), v > threshold ? 1U : 0U) << "level " << level << ", range " << range;
    }
}

TEST(NonHalftone, RefusesARangeOf0)
{
    expectRefusal(IMAGE_TYPE_256GRAY, IMAGE_TYPE_BW, [](auto* from, auto* to) {
        const ThresholdLevel parameters = {5, 0};
        return lxImageTypeConvertToBWNonHalftone(&parameters, from, to, nullptr);
    });
}

struct Phases {
    uint16_t x = 0;
    uint16_t y = 0;

    friend bool operator==(const Phases&, const Phases&) = default;
};

Picture dithered(const DitherMatrix& matrix, Phases& phases, const Picture& source)
{
    return converted(source, IMAGE_TYPE_BW, [&](auto* from, auto* to) {
        return lxImageTypeConvertToBWDitherHalftone(&phases.x, &phases.y, &matrix, from, to, nullptr);
    });
}

// The phases by definition, pixel by pixel.
Picture ditheredByDefinition(const DitherMatrix& matrix, Phases& phases, const Picture& source)
{
    const double step = 256.0 / (matrix.columns * matrix.rows);
    Picture bits(IMAGE_TYPE_BW, source.width, source.height);
    for (uint32_t j = 0; j < source.height; ++j) {
        for (uint32_t i = 0; i < source.width; ++i) {
            double threshold = 128;
            if (phases.x < matrix.columns && phases.y < matrix.rows)
                threshold = std::min(std::trunc(matrix.values[phases.y][phases.x] * step + 0.5), 255.0);
            bits.at(i, j) = source.at(i, j) > threshold ? 1 : 0;
            if (++phases.x == matrix.columns)
                phases.x = 0;
        }
        if (++phases.y == matrix.rows)
            phases.y = 0;
    }
    return bits;
}

TEST(DitherHalftone, RunsOnFromLineToLine)
{
    // Thresholds 64 and 192 in turn.
    DitherMatrix matrix = {2, 2, {{0}}};
    matrix.values[0][0] = matrix.values[1][0] = 1;
    matrix.values[0][1] = matrix.values[1][1] = 3;
    Phases phases;
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {".#.", "#.#", ".#."}),
                            dithered(matrix, phases, Picture(IMAGE_TYPE_256GRAY, 3, 3, 100))));
    EXPECT_EQ(phases, Phases({1, 1}));
}

TEST(DitherHalftone, RoundsItsThresholds)
{
    constexpr struct {
        uint16_t columns;
        uint16_t rows;
        uint16_t value;
        uint32_t threshold;
    } cases[] = {{1, 1, 0, 0},         {1, 1, 1, 255}, {16, 16, 77, 77}, {16, 16, 255, 255},
                 {16, 16, 65535, 255}, {3, 1, 1, 85},  {3, 1, 2, 171},   {3, 3, 1, 28},
                 {3, 3, 8, 228},       {7, 1, 3, 110}, {16, 1, 15, 240}, {15, 15, 224, 255}};
    for (const auto& [columns, rows, value, threshold] : cases) {
        DitherMatrix matrix = {columns, rows, {{0}}};
        for (auto& row : matrix.values)
            std::fill(std::begin(row), std::end(row), value);
        Phases phases;
        const Picture bits = dithered(matrix, phases, ramp());
        for (uint32_t v = 0; v < 256; ++v)
            ASSERT_EQ(bits.at(v, 0), v > threshold ? 1U : 0U) << columns << " x " << rows << ", value " << value;
    }
}

TEST(DitherHalftone, FollowsItsPhases)
{
    Random random(17);
    for (int k = 0; k < 600; ++k) {
        DitherMatrix matrix = randomMatrix(random);
        matrix.columns = static_cast<uint16_t>(k % 16 + 1);
        const bool outside = random.chance(30);
        const auto phase = [&](uint32_t bound) {
            return static_cast<uint16_t>(outside ? random.chance(50) ? random.below(20) : 65536 - random.between(1, 40)
                                                 : random.below(bound));
        };
        const Phases start = {phase(matrix.columns), phase(matrix.rows)};
        const Picture source = Picture::random(random, IMAGE_TYPE_256GRAY, random.below(70), random.below(45));
        Phases expectedPhases = start;
        Phases phases = start;
        const Picture expected = ditheredByDefinition(matrix, expectedPhases, source);
        ASSERT_TRUE(samePicture(expected, dithered(matrix, phases, source)))
            << "phases " << start.x << ", " << start.y << " of " << matrix.columns << " x " << matrix.rows;
        ASSERT_EQ(phases, expectedPhases);
    }
}

// A phase beyond its bound takes up to 65536 pixels to come round.
TEST(DitherHalftone, PhasesWrapOnlyAt16Bits)
{
    Random random(19);
    const DitherMatrix matrix = randomMatrix(random);
    const Picture source = Picture::random(random, IMAGE_TYPE_256GRAY, 68000, 2);
    for (const uint16_t start : {matrix.columns, uint16_t{40000}}) {
        Phases expectedPhases = {start, 0};
        Phases phases = {start, 0};
        const Picture expected = ditheredByDefinition(matrix, expectedPhases, source);
        EXPECT_TRUE(samePicture(expected, dithered(matrix, phases, source)));
        EXPECT_EQ(phases, expectedPhases);
    }
}

TEST(DitherHalftone, BandsContinueThePattern)
{
    Random random(23);
    const DitherMatrix matrix = randomMatrix(random);
    const Image source(Picture::random(random, IMAGE_TYPE_256GRAY, 101, 60));
    Phases whole;
    const Picture expected = dithered(matrix, whole, source.picture());
    const Image destination(Picture(IMAGE_TYPE_BW, 101, 60));
    Phases phases;
    for (uint32_t top = 0; top < 60;) {
        const uint32_t height = std::min(60 - top, random.below(9));
        const ImageArea from = source.band(top, height);
        const ImageArea to = destination.band(top, height);
        lxImageTypeConvertToBWDitherHalftone(&phases.x, &phases.y, &matrix, &from, &to, nullptr);
        top += height;
    }
    EXPECT_TRUE(samePicture(expected, destination.picture()));
    EXPECT_EQ(phases, whole);
}

TEST(DitherHalftone, CountsLinesWithoutPixels)
{
    const DitherMatrix matrix = {4, 5, {{0}}};
    Phases phases = {3, 4};
    dithered(matrix, phases, Picture(IMAGE_TYPE_256GRAY, 0, 3));
    EXPECT_EQ(phases, Phases({3, 2}));
    dithered(matrix, phases, Picture(IMAGE_TYPE_256GRAY, 7, 0));
    EXPECT_EQ(phases, Phases({3, 2}));
}

TEST(DitherHalftone, RefusesOtherMatrixSizes)
{
    constexpr uint16_t sizes[][2] = {{0, 1}, {1, 0}, {0, 0}, {17, 1}, {1, 17}, {0xFFFF, 4}, {4, 0x100}};
    for (const auto& [columns, rows] : sizes) {
        const DitherMatrix matrix = {columns, rows, {{0}}};
        Phases phases = {3, 70};
        expectRefusal(IMAGE_TYPE_256GRAY, IMAGE_TYPE_BW, [&](auto* from, auto* to) {
            return lxImageTypeConvertToBWDitherHalftone(&phases.x, &phases.y, &matrix, from, to, nullptr);
        });
        EXPECT_EQ(phases, Phases({3, 70}));
    }
}

TEST(DitherHalftone, RefusalKeepsThePhases)
{
    const DitherMatrix matrix = {4, 4, {{0}}};
    Phases phases = {1, 2};
    expectRefusal(IMAGE_TYPE_256GRAY, IMAGE_TYPE_16GRAY, [&](auto* from, auto* to) {
        return lxImageTypeConvertToBWDitherHalftone(&phases.x, &phases.y, &matrix, from, to, nullptr);
    });
    EXPECT_EQ(phases, Phases({1, 2}));
}

Picture bilevel(const ColorPalette& palette, const Picture& source)
{
    return converted(source, IMAGE_TYPE_BW,
                     [&](auto* from, auto* to) { return lxImageTypeConvertToBW(&palette, from, to, nullptr); });
}

TEST(ToBW, IsWhiteFromALuminanceOf192)
{
    for (const uint16_t colorOrder : {uint16_t{0}, uint16_t{1}}) {
        expectForAllColors(
            colorOrder, IMAGE_TYPE_BW,
            [](auto* from, auto* to) { return lxImageTypeConvertToBW(nullptr, from, to, nullptr); },
            [](uint32_t red, uint32_t green, uint32_t blue) {
                const double outer = 0.33F;
                const double middle = 0.34F;
                return (red * outer + blue * outer) + green * middle >= 192.0 ? 1U : 0U;
            });
        if (testing::Test::HasFatalFailure())
            return;
    }
}

TEST(ToBW, TakesThePalettesEntries)
{
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_BW, {"#."}), bilevel(paletteOf(IMAGE_TYPE_BW), Picture(IMAGE_TYPE_BW, {"#."}))));
    // 11 x 17 is 187, 12 x 17 is 204.
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {"##..."}),
                            bilevel(paletteOf(IMAGE_TYPE_16GRAY), Picture(IMAGE_TYPE_16GRAY, {"0bcdf"}))));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {"#######........."}),
                            bilevel(paletteOf(IMAGE_TYPE_8RGB), Picture(IMAGE_TYPE_8RGB, {"0123456789abcdef"}))));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {"##############.."}),
                            bilevel(paletteOf(IMAGE_TYPE_16RGB), Picture(IMAGE_TYPE_16RGB, {"0123456789abcdef"}))));
    // Full red, yellow and white; index 172 is (204, 204, 204), 171 (153, 204, 204).
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_BW, {"###...."}),
                    bilevel(paletteOf(IMAGE_TYPE_256RGB), Picture(IMAGE_TYPE_256RGB, {"05 23 ab ac d7 d8 ff"}))));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {"#..."}),
                            bilevel(paletteOf(IMAGE_TYPE_256GRAY), Picture(IMAGE_TYPE_256GRAY, {"bf c0 c1 ff"}))));
    // Entries count as they stand, whatever `count` says.
    ColorPalette palette = paletteOf(IMAGE_TYPE_16GRAY);
    palette.count = 0;
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {"#."}), bilevel(palette, Picture(IMAGE_TYPE_16GRAY, {"bc"}))));
}

} // namespace

} // namespace lxtest
