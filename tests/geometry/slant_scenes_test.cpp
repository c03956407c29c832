// How well the slant of scanned pages is measured. `slant_table` prints the same for many more and larger pages.

#include "support/placed_picture.h"
#include "support/slant_scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace lxtest
{

namespace
{

using Side = SlantScene::Side;
using Border = SlantScene::Border;

constexpr Side everySide[] = {Side::top, Side::bottom, Side::left, Side::right};

// The page turned clockwise on white paper.
void turn(const Image& page, double angle, const Image& turned)
{
    std::memset(turned.area.buffer, 0xFF, size_t{turned.area.bytesPerLine} * turned.area.lines);
    ASSERT_EQ(lxRotationBySpecificationAngle(angle, &page.area, &turned.area, nullptr), IMAGE_STATUS_OK);
}

// What remains when a page has been turned by the angle measured on it.
TEST(SlantScenes, TurningByTheAngleStraightensThePage)
{
    for (const Side side : everySide) {
        for (const double tilt : {-4.0, -1.5, 0.75, 3.0}) {
            const SlantScene scene = {.width = 700, .height = 900, .side = side, .border = Border::bar, .tilt = tilt};
            const Image page(drawScene(scene));
            const double measured = measureSlant(page.area).angle;
            EXPECT_NEAR(measured, -tilt, 0.25) << static_cast<int>(side);
            const Image turned(page.picture());
            turn(page, measured, turned);
            EXPECT_LT(std::abs(measureSlant(turned.area).angle), 0.25) << static_cast<int>(side) << ' ' << tilt;
        }
    }
}

TEST(SlantScenes, OneDarkBarIsMeasured)
{
    Random random(17);
    unsigned scenes = 0;
    unsigned within02 = 0;
    unsigned within05 = 0;
    for (const Border border : {Border::bar, Border::longBar}) {
        for (const Side side : everySide) {
            for (int k = 0; k < 25; ++k) {
                SlantScene scene = SlantScene::random(random, 400, 900);
                scene.side = side;
                scene.border = border;
                const Image page(drawScene(scene));
                const double error = std::abs(measureSlant(page.area).angle + scene.tilt);
                ++scenes;
                within02 += error <= 0.2 ? 1 : 0;
                within05 += error <= 0.5 ? 1 : 0;
            }
        }
    }
    EXPECT_GE(within02 * 100, scenes * 89);
    EXPECT_GE(within05 * 100, scenes * 98);
}

TEST(SlantScenes, StraightPagesStayStraight)
{
    Random random(18);
    constexpr Border borders[] = {Border::none, Border::bar, Border::longBar, Border::lid};
    for (int k = 0; k < 120; ++k) {
        SlantScene scene = SlantScene::random(random, 400, 900);
        scene.tilt = 0;
        scene.text = random.chance(50);
        scene.border = random.pick(borders);
        scene.side = random.pick(everySide);
        const Image page(drawScene(scene));
        EXPECT_LE(std::abs(measureSlant(page.area).angle), 0.1)
            << scene.width << " x " << scene.height << ", seed " << scene.seed;
    }
}

TEST(SlantScenes, PagesWithoutABorderAreLeftAlone)
{
    Random random(19);
    for (int k = 0; k < 20; ++k) {
        SlantScene scene = SlantScene::random(random, 400, 900);
        scene.tilt = 0;
        scene.text = true;
        const Image page(drawScene(scene));
        EXPECT_LE(std::abs(measureSlant(page.area).angle), 0.1) << "seed " << scene.seed;
    }
    const SlantMeasurement blank = measureSlant(Image(Picture(IMAGE_TYPE_256GRAY, 300, 400, 255)).area);
    EXPECT_EQ(blank.angle, 0);
    for (const auto& point : {blank.bandFirst, blank.bandLast, blank.startA, blank.endB})
        EXPECT_TRUE(point[0] == 0 && point[1] == 0);
}

TEST(SlantScenes, AngleBeyondSixDegreesIsNone)
{
    for (const double tilt : {-8.0, 8.0}) {
        const SlantScene scene = {.width = 800, .height = 800, .border = Border::bar, .tilt = tilt};
        EXPECT_EQ(measureSlant(Image(drawScene(scene)).area).angle, 0);
    }
}

TEST(SlantScenes, EdgesAreToldInColumnsAndRows)
{
    // A bar from 6 to 9 percent below the top, and one as far right of the left edge.
    SlantScene scene = {.width = 750,
                        .height = 750,
                        .side = Side::top,
                        .border = Border::bar,
                        .inset = 0.1,
                        .thickness = 0.04,
                        .tilt = -2};
    const SlantMeasurement top = measureSlant(Image(drawScene(scene)).area);
    scene.side = Side::left;
    scene.tilt = 2;
    const SlantMeasurement left = measureSlant(Image(drawScene(scene)).area);
    // On the upper edge the start lies on the left, and lower; on the left edge it lies above, and further right.
    EXPECT_LT(top.startA[0], 100U);
    EXPECT_GT(top.endA[0], 600U);
    EXPECT_GT(top.startA[1], top.endA[1]);
    EXPECT_LT(top.bandLast[1], 150U);
    EXPECT_LT(left.startA[1], 100U);
    EXPECT_GT(left.endA[1], 600U);
    EXPECT_GT(left.startA[0], left.endA[0]);
    EXPECT_LT(left.bandLast[0], 150U);
    EXPECT_NEAR(top.angle, 2, 0.2);
    EXPECT_NEAR(left.angle, -2, 0.2);
}

} // namespace

} // namespace lxtest
