// The steps of slant measurement, each against its definition or on a picture made by hand.

#include "geometry/slant_analysis.h"
#include "support/placed_picture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lxtest
{

namespace
{

Picture noisyPicture(Random& random)
{
    Picture picture = Picture::random(random, IMAGE_TYPE_BW, random.between(1, 200), random.between(1, 9));
    const uint32_t dots = random.below(60);
    for (uint32_t& pixel : picture.pixels)
        pixel = random.chance(dots) ? 1 - pixel : random.chance(70) ? pixel : 1;
    return picture;
}

void decideByDefinition(Picture& picture, uint32_t i, uint32_t j)
{
    unsigned set = 0;
    for (const uint32_t row : {j == 0 ? j : j - 1, j, std::min(j + 1, picture.height - 1)})
        for (const uint32_t column : {i == 0 ? i : i - 1, i, std::min(i + 1, picture.width - 1)})
            set += picture.at(column, row);
    picture.at(i, j) = set > 4 ? 1 : 0;
}

TEST(SlantAnalysis, SmoothsPixelByPixelAndTwice)
{
    Random random(1);
    for (int k = 0; k < 2000; ++k) {
        Picture picture = noisyPicture(random);
        Layout layout = Layout::random(random);
        layout.bottomUp = 0;
        const Image image(picture, layout);
        for (uint32_t j = 0; j < picture.height; ++j) {
            for (uint32_t i = 0; i < picture.width; ++i) {
                decideByDefinition(picture, i, j);
                if (i != 0)
                    decideByDefinition(picture, i - 1, j);
            }
            decideByDefinition(picture, picture.width - 1, j);
        }
        lx::smoothRunning(lx::AreaView(image.area));
        ASSERT_TRUE(samePicture(picture, image.picture())) << layout;
    }
}

TEST(SlantAnalysis, CountsRunsThatAWhitePixelEnds)
{
    Random random(2);
    for (int k = 0; k < 1000; ++k) {
        const Picture picture = noisyPicture(random);
        const Image image(picture, {.x = random.below(9)});
        std::vector<uint32_t> rows(picture.height);
        std::vector<uint32_t> columns(picture.width);
        lx::measureRuns(lx::AreaView(image.area), rows.data(), columns.data());
        std::vector<uint32_t> expectedRows(picture.height);
        std::vector<uint32_t> expectedColumns(picture.width);
        const auto extend = [&](uint32_t& run, uint32_t& longest, uint32_t pixel) {
            if (pixel != 0)
                longest = std::max(longest, run);
            run = pixel != 0 ? 0 : run + 1;
        };
        for (uint32_t j = 0; j < picture.height; ++j)
            for (uint32_t i = 0, run = 0; i < picture.width; ++i)
                extend(run, expectedRows[j], picture.at(i, j));
        for (uint32_t i = picture.width / 20 + 1; i < picture.width - picture.width / 20; ++i)
            for (uint32_t j = 0, run = 0; j < picture.height; ++j)
                extend(run, expectedColumns[i], picture.at(i, j));
        ASSERT_EQ(rows, expectedRows);
        ASSERT_EQ(columns, expectedColumns) << "width " << picture.width;
    }
}

TEST(SlantAnalysis, ChoosesTheOrientation)
{
    constexpr struct {
        uint32_t rows[2];
        uint32_t columns[2];
        bool vertical;
    } cases[] = {
        {{8, 0}, {4, 0}, false},                            // alike in both measures: by the means, 4 and 2
        {{4, 0}, {8, 0}, true},                             // 2 and 4
        {{9, 9}, {10, 0}, false},                           // maxima 90 %, means 5 / 9: by the means
        {{10, 0}, {9, 9}, true},  {{10, 0}, {3, 3}, false}, // maxima 30 %, means 60 %: by the maxima
        {{3, 3}, {10, 0}, true},  {{0, 0}, {0, 0}, false},  {{0, 0}, {5, 5}, true},
    };
    for (const auto& [rows, columns, vertical] : cases) {
        const Image image(Picture(IMAGE_TYPE_BW, 2, 2));
        EXPECT_EQ(lx::isBandVertical(lx::AreaView(image.area), rows, columns), vertical)
            << rows[0] << ' ' << rows[1] << " and " << columns[0] << ' ' << columns[1];
    }
}

struct Bounds {
    uint32_t firstLine;
    uint32_t lastLine;
    uint32_t firstPlace;
    uint32_t lastPlace;

    friend bool operator==(const Bounds&, const Bounds&) = default;
};

std::ostream& operator<<(std::ostream& out, const Bounds& b)
{
    return out << "lines " << b.firstLine << " to " << b.lastLine << ", places " << b.firstPlace << " to "
               << b.lastPlace;
}

Bounds boundsOfBand(const Picture& picture, std::vector<uint32_t> runs, bool vertical = false)
{
    const Image image(picture);
    std::vector<uint32_t> places(std::max(picture.width, picture.height));
    const lx::Band band = lx::findBand(lx::BandImage(lx::AreaView(image.area), vertical), runs.data(), places.data());
    return {band.firstLine, band.lastLine, band.firstPlace, band.lastPlace};
}

TEST(SlantAnalysis, FindsTheBand)
{
    const Picture page(IMAGE_TYPE_BW, {
                                          "........",
                                          ".######.",
                                          "........",
                                          ".###....",
                                          "..###...",
                                          "........",
                                          "...####.",
                                          "........",
                                      });
    // Mean 3. The first group is passed over; of two equally strong ones the first counts.
    EXPECT_EQ(boundsOfBand(page, {0, 9, 0, 4, 5, 0, 5, 0}), (Bounds{3, 4, 1, 4}));
    EXPECT_EQ(boundsOfBand(page, {0, 9, 0, 4, 4, 0, 6, 0}), (Bounds{6, 6, 3, 6}));
    // Mean 5: what begins the page is trimmed while runs are at least 2, and does not count as the first group.
    EXPECT_EQ(boundsOfBand(page, {9, 2, 1, 9, 9, 1, 9, 0}), (Bounds{6, 6, 3, 6}));
    // A group that reaches the last line does not count, unless there is no other; then the first counts as well.
    EXPECT_EQ(boundsOfBand(page, {0, 0, 0, 4, 4, 0, 8, 8}), (Bounds{6, 7, 3, 6}));
    EXPECT_EQ(boundsOfBand(page, {0, 9, 0, 4, 4, 0, 0, 0}), (Bounds{3, 4, 1, 4}));
    EXPECT_EQ(boundsOfBand(page, {0, 20, 0, 0, 0, 0, 0, 0}), (Bounds{1, 1, 1, 6}));
    // A mean of 1 trims lines of 0, and so all of them.
    EXPECT_EQ(boundsOfBand(page, {0, 9, 0, 0, 0, 0, 0, 0}), (Bounds{0, 0, 0, 0}));
    EXPECT_EQ(boundsOfBand(page, {0, 0, 0, 0, 0, 0, 0, 0}), (Bounds{0, 0, 0, 0}));
}

TEST(SlantAnalysis, FindsAVerticalBand)
{
    const Picture page(IMAGE_TYPE_BW, {"....", "..#.", "..#.", "...."});
    EXPECT_EQ(boundsOfBand(page, {0, 0, 9, 0}, true), (Bounds{2, 2, 1, 2}));
}

TEST(SlantAnalysis, PassesOverTheEndsOfABandInPieces)
{
    // Each group holds at most 30 percent of the dark pixels. From the left the second group begins at 3; from the
    // right it begins at 10, and the bound is one more.
    const Picture three(IMAGE_TYPE_BW, {".............", "#..##..##..#.", "............."});
    EXPECT_EQ(boundsOfBand(three, {0, 9, 0}), (Bounds{1, 1, 3, 4})) << "2 of 6 are more than 30 percent";
    const Picture many(IMAGE_TYPE_BW, {"..............", "##.##.##.##.#.", ".............."});
    EXPECT_EQ(boundsOfBand(many, {0, 9, 0}), (Bounds{1, 1, 3, 11}));
    // Exactly 30 percent is not more.
    const Picture exact(IMAGE_TYPE_BW, {"...............", "###.##.##.##.#.", "..............."});
    EXPECT_EQ(boundsOfBand(exact, {0, 9, 0}), (Bounds{1, 1, 4, 12}));
}

TEST(SlantAnalysis, ChoosesBetweenTheTwoEdges)
{
    // Degrees of a rise of 1 over 10: atan(0.1) * 57.29577951471995.
    constexpr double slope10 = 5.710593137;
    constexpr double slope20 = 2.862405226;
    constexpr lx::Edge up10 = {{0, 5}, {10, 4}};
    constexpr lx::Edge up20 = {{0, 5}, {20, 4}};
    constexpr lx::Edge up40 = {{0, 6}, {40, 2}};
    constexpr lx::Edge down10 = {{0, 4}, {10, 5}};
    constexpr lx::Edge down20 = {{3, 4}, {23, 5}};
    constexpr lx::Edge level = {{0, 4}, {90, 4}};
    constexpr lx::Edge steep = {{0, 4}, {9, 3}}; // 6.34 degrees
    const struct {
        lx::Edge a;
        lx::Edge b;
        double angle;
    } cases[] = {
        {up10, up20, slope20},      {up20, up10, slope20},   // the longer of two that agree
        {down10, down20, -slope20}, {up40, up10, slope10},   // both 5.71
        {up10, down20, slope10},    {down20, up10, slope10}, // the shorter of two that do not
        {down10, up10, slope10},                             // equally long: the second
        {level, up20, slope20},     {down20, level, -slope20}, {level, level, 0},
        {steep, up20, slope20},     {steep, steep, 0},         {{}, down10, -slope10},
    };
    for (const auto& [a, b, angle] : cases) {
        EXPECT_NEAR(lx::angleOfEdges({a, b}, false), angle, 1e-8);
        EXPECT_EQ(lx::angleOfEdges({a, b}, true), -lx::angleOfEdges({a, b}, false));
    }
}

} // namespace

} // namespace lxtest
