// The 3 x 3 rank filter: its two rules, its strengths, and work in place.

#include "support/converted.h"
#include "support/progress_log.h"

#include <algorithm>
#include <array>

namespace lxtest
{

namespace
{

constexpr uint16_t filteredTypes[] = {IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY, IMAGE_TYPE_8RGB, IMAGE_TYPE_16MRGB};

Picture filtered(const Picture& source, uint32_t strength = 0)
{
    return converted(source, source.type,
                     [&](auto* from, auto* to) { return lxMedianFiltering(strength, from, to, nullptr); });
}

// The two rules, on nine pixels whose fifth is the centre.
uint32_t filteredByDefinition(uint16_t type, const std::array<uint32_t, 9>& nine)
{
    uint32_t result = type == IMAGE_TYPE_8RGB ? nine[4] & 8 : 0;
    if (type == IMAGE_TYPE_BW || type == IMAGE_TYPE_8RGB) {
        for (unsigned bit = 0; bit < 3; ++bit) {
            const auto set = std::count_if(nine.begin(), nine.end(), [&](uint32_t v) { return (v >> bit & 1) != 0; });
            result |= (set >= 5 ? 1U : 0U) << bit;
        }
        return result;
    }
    for (unsigned shift = 0; shift < 24; shift += 8) {
        std::array<uint32_t, 9> values;
        std::transform(nine.begin(), nine.end(), values.begin(), [&](uint32_t v) { return v >> shift & 255; });
        std::sort(values.begin(), values.end());
        result |= values[5] << shift;
    }
    return result;
}

// One pass; a line sees itself and the lines below as they were, and the lines above as they are in `picture`.
void filterInPlaceByDefinition(Picture& picture, uint32_t step)
{
    const Picture before = picture;
    for (uint32_t j = step - 1; j < picture.height; j += step) {
        for (uint32_t i = step - 1; i < picture.width; i += step) {
            std::array<uint32_t, 9> nine;
            for (uint32_t k = 0; k < 9; ++k) {
                const uint32_t column = std::min(i + k % 3 - (i + k % 3 == 0 ? 0 : 1), picture.width - 1);
                const uint32_t row = std::min(j + k / 3 - (j + k / 3 == 0 ? 0 : 1), picture.height - 1);
                nine[k] = row < j ? picture.at(column, row) : before.at(column, row);
            }
            picture.at(i, j) = filteredByDefinition(picture.type, nine);
        }
    }
}

TEST(Median, RemovesAndFillsSinglePixels)
{
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {"#####...", "#####...", "#####..."}),
                            filtered(Picture(IMAGE_TYPE_BW, {"#####...", "##.##.#.", "#####..."}))));
}

TEST(Median, CountsFiveBitsButFourBytes)
{
    // Four of nine are set around the centre.
    const Picture bits(IMAGE_TYPE_BW, {"..#", ".#.", "###"});
    EXPECT_EQ(filtered(bits).at(1, 1), 0U);
    EXPECT_EQ(filtered(Picture(IMAGE_TYPE_256GRAY, {"FFFF00", "FF00FF", "000000"})).at(1, 1), 255U);
}

TEST(Median, RepeatsTheEdge)
{
    // A single column sees every pixel three times, a single line likewise.
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"10", "20", "30"}),
                            filtered(Picture(IMAGE_TYPE_256GRAY, {"10", "20", "30"}))));
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_256GRAY, {"20202030"}), filtered(Picture(IMAGE_TYPE_256GRAY, {"20102030"}))));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {"."}), filtered(Picture(IMAGE_TYPE_BW, {"."}))));
}

// By the 0-1 principle a network of comparisons that ranks these ranks everything. The patterns lie side by side, so
// that whole registers are filtered at once.
TEST(Median, RanksAllNeighbourhoodsOfTwoValues)
{
    for (const uint16_t type : filteredTypes) {
        const uint32_t set = type == IMAGE_TYPE_BW ? 1 : type == IMAGE_TYPE_256GRAY ? 255 : 0;
        Picture picture(type, 3 * 512, 3);
        const auto pixel = [&](uint32_t pattern, uint32_t k) {
            if (set != 0)
                return (pattern >> k & 1) * set;
            // Other patterns in the other components; the fourth bit follows one of them.
            const uint32_t red = pattern >> k & 1;
            const uint32_t green = (pattern ^ 0x155) >> k & 1;
            const uint32_t blue = (511 - pattern) >> k & 1;
            return type == IMAGE_TYPE_8RGB ? red | green << 1 | blue << 2 | red << 3
                                           : red * 0xFF0000 | green * 0xFF00 | blue * 0xFF;
        };
        for (uint32_t pattern = 0; pattern < 512; ++pattern)
            for (uint32_t k = 0; k < 9; ++k)
                picture.at(3 * pattern + k % 3, k / 3) = pixel(pattern, k);
        const Picture result = filtered(picture);
        for (uint32_t pattern = 0; pattern < 512; ++pattern) {
            std::array<uint32_t, 9> nine;
            for (uint32_t k = 0; k < 9; ++k)
                nine[k] = pixel(pattern, k);
            ASSERT_EQ(result.at(3 * pattern + 1, 1), filteredByDefinition(type, nine)) << nameOf(type) << pattern;
        }
    }
}

TEST(Median, StrengthsTakePassesOrSteps)
{
    Random random(3);
    for (const uint16_t type : filteredTypes) {
        const Picture source = Picture::random(random, type, 140, 9);
        const Picture once = filtered(source);
        for (const uint32_t strength : {1U, 2U, 3U, 0x100U, 0xFFFFFF03U})
            EXPECT_TRUE(samePicture(once, filtered(source, strength))) << nameOf(type) << strength;
        for (const uint32_t strength : {4U, 5U, 9U, 255U, 0x105U}) {
            Picture expected = source;
            const uint32_t step = (strength & 255) - 2;
            for (uint32_t j = step - 1; j < expected.height; j += step)
                for (uint32_t i = step - 1; i < expected.width; i += step)
                    expected.at(i, j) = once.at(i, j);
            EXPECT_TRUE(samePicture(expected, filtered(source, strength))) << nameOf(type) << strength;
        }
    }
}

// Widths beyond a chunk show whether a chunk sees its left neighbour filtered.
TEST(Median, InPlaceALineSeesItselfAsItWas)
{
    Random random(8);
    constexpr struct {
        uint32_t strength;
        uint32_t passes;
        uint32_t step;
    } cases[] = {{0, 1, 1}, {2, 2, 1}, {1, 3, 1}, {4, 1, 2}, {6, 1, 4}};
    for (const uint16_t type : filteredTypes) {
        for (const uint32_t width : {1U, 2U, 9U, 70U, 4200U, 16500U}) {
            for (const auto& [strength, passes, step] : cases) {
                const Layout layout = Layout::random(random);
                Picture expected = Picture::random(random, type, width, 4);
                const Image image(expected, layout);
                for (uint32_t pass = 0; pass < passes; ++pass)
                    filterInPlaceByDefinition(expected, step);
                ASSERT_EQ(lxMedianFiltering(strength, &image.area, &image.area, nullptr), IMAGE_STATUS_OK);
                ASSERT_TRUE(samePicture(expected, image.picture())) << layout << " width " << width;
            }
        }
    }
}

TEST(Median, ProgressClimbsTo100OverAllPasses)
{
    constexpr struct {
        uint32_t strength;
        uint32_t height;
        std::array<uint32_t, 6> values; // up to the first 0
    } cases[] = {
        {0, 1, {100}},     {0, 3, {33, 67, 100}}, {2, 2, {25, 50, 75, 100}}, {1, 2, {17, 33, 50, 67, 83, 100}},
        {4, 2, {50, 100}},
    };
    Random random(4);
    for (const auto& [strength, height, values] : cases) {
        const Picture source = Picture::random(random, IMAGE_TYPE_BW, 20, height);
        const Image from(source);
        const Image to(source);
        lxMedianFiltering(strength, &from.area, &to.area, ProgressLog::start());
        ProgressLog::Calls expected;
        for (const uint32_t value : values)
            if (value != 0)
                expected.emplace_back(value, 50);
        EXPECT_EQ(ProgressLog::calls(), expected) << "strength " << strength << ", height " << height;
    }
    // A thousand lines: each value from 1 to 100 once.
    const Image tall(Picture(IMAGE_TYPE_256GRAY, 1, 1000));
    lxMedianFiltering(0, &tall.area, &tall.area, ProgressLog::start());
    ASSERT_EQ(ProgressLog::calls().size(), 100U);
    for (uint32_t k = 0; k < 100; ++k)
        EXPECT_EQ(ProgressLog::calls()[k].first, k + 1);
}

} // namespace

} // namespace lxtest
