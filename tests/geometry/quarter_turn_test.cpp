// Quarter turns: where every pixel goes, and what stays.

#include "support/converted.h"
#include "support/progress_log.h"

#include <gtest/gtest.h>

namespace lxtest
{

namespace
{

// `before` with `source` turned into it.
Picture turned(uint16_t angle, const Picture& source, const Picture& before)
{
    const Image from(source);
    const Image to(before);
    EXPECT_EQ(lxRotationBySimpleAngle(angle, &from.area, &to.area, nullptr), IMAGE_STATUS_OK);
    return to.picture();
}

struct Known {
    Picture source;
    Picture turns[3];
};

TEST(QuarterTurn, HasTheKnownPictures)
{
    const Known known[] = {
        {{IMAGE_TYPE_BW, {"#..", "##."}},
         {{IMAGE_TYPE_BW, {"##", "#.", ".."}}, {IMAGE_TYPE_BW, {".##", "..#"}}, {IMAGE_TYPE_BW, {"..", ".#", "##"}}}},
        {{IMAGE_TYPE_8RGB, {"123", "456"}},
         {{IMAGE_TYPE_8RGB, {"41", "52", "63"}},
          {IMAGE_TYPE_8RGB, {"654", "321"}},
          {IMAGE_TYPE_8RGB, {"36", "25", "14"}}}},
        {{IMAGE_TYPE_256RGB, {"0a 0b 0c", "1a 1b 1c"}},
         {{IMAGE_TYPE_256RGB, {"1a 0a", "1b 0b", "1c 0c"}},
          {IMAGE_TYPE_256RGB, {"1c 1b 1a", "0c 0b 0a"}},
          {IMAGE_TYPE_256RGB, {"0c 1c", "0b 1b", "0a 1a"}}}},
        {{IMAGE_TYPE_16MRGB, {"010203 040506", "a1a2a3 a4a5a6"}},
         {{IMAGE_TYPE_16MRGB, {"a1a2a3 010203", "a4a5a6 040506"}},
          {IMAGE_TYPE_16MRGB, {"a4a5a6 a1a2a3", "040506 010203"}},
          {IMAGE_TYPE_16MRGB, {"040506 a4a5a6", "010203 a1a2a3"}}}},
    };
    for (const Known& one : known) {
        for (uint16_t angle = 1; angle <= 3; ++angle) {
            const Picture& expected = one.turns[angle - 1];
            const Picture before(expected.type, expected.width, expected.height);
            EXPECT_TRUE(samePicture(expected, turned(angle, one.source, before)));
        }
    }
}

TEST(QuarterTurn, AnchorsToTheFarEdges)
{
    const Picture source(IMAGE_TYPE_16GRAY, {"123", "456"});
    const Picture larger(IMAGE_TYPE_16GRAY, 5, 4, 0xE);
    EXPECT_TRUE(samePicture({IMAGE_TYPE_16GRAY, {"eee41", "eee52", "eee63", "eeeee"}}, turned(1, source, larger)));
    EXPECT_TRUE(samePicture({IMAGE_TYPE_16GRAY, {"eeeee", "eeeee", "ee654", "ee321"}}, turned(2, source, larger)));
    EXPECT_TRUE(samePicture({IMAGE_TYPE_16GRAY, {"eeeee", "36eee", "25eee", "14eee"}}, turned(3, source, larger)));
    const Picture smaller(IMAGE_TYPE_16GRAY, 1, 2, 0xE);
    EXPECT_TRUE(samePicture({IMAGE_TYPE_16GRAY, {"1", "2"}}, turned(1, source, smaller)));
    EXPECT_TRUE(samePicture({IMAGE_TYPE_16GRAY, {"4", "1"}}, turned(2, source, smaller)));
    EXPECT_TRUE(samePicture({IMAGE_TYPE_16GRAY, {"2", "1"}}, turned(3, source, smaller)));
}

// The mapping of a picture larger than any tile and strip, into areas of other sizes at all places within a byte.
TEST(QuarterTurn, MapsEveryPixel)
{
    struct Sizes {
        uint32_t width, height, destinationWidth, destinationHeight;
    };
    constexpr Sizes all[] = {{137, 1100, 1100, 137}, {1100, 137, 140, 1090}, {66, 530, 1044, 70}, {530, 17, 530, 531}};
    Random random(21);
    Ground grounds[2];
    for (const Sizes& s : all) {
        for (uint16_t type = 0; type <= IMAGE_TYPE_16MRGB; ++type) {
            for (uint16_t angle = 1; angle <= 3; ++angle) {
                const Picture source = Picture::random(random, type, s.width, s.height);
                Picture expected = Picture::random(random, type, s.destinationWidth, s.destinationHeight);
                const PlacedPicture from(source, Layout::random(random), grounds[0]);
                const PlacedPicture to(expected, Layout::random(random), grounds[1]);
                ASSERT_EQ(lxRotationBySimpleAngle(angle, &from.area(), &to.area(), nullptr), IMAGE_STATUS_OK);
                for (uint32_t i = 0; i < s.height; ++i) {
                    for (uint32_t j = 0; j < s.width; ++j) {
                        const uint32_t column = angle == 3 ? i : expected.width - 1 - (angle == 1 ? i : j);
                        const uint32_t row = angle == 1 ? j : expected.height - 1 - (angle == 3 ? j : i);
                        if (column < expected.width && row < expected.height)
                            expected.at(column, row) = source.at(j, i);
                    }
                }
                ASSERT_TRUE(samePicture(expected, to.picture())) << nameOf(type) << ", angle " << angle;
                ASSERT_TRUE(to.surroundingsKept());
            }
        }
    }
}

TEST(QuarterTurn, ReportsSourceRows)
{
    using Calls = ProgressLog::Calls;
    constexpr uint32_t rows = 777;
    for (uint16_t type = 0; type <= IMAGE_TYPE_16MRGB; ++type) {
        for (uint16_t angle = 1; angle <= 3; ++angle) {
            const Image high(Picture(type, 3, rows + 9));
            const Image turnedHigh(angle == 2 ? Picture(type, 5, rows) : Picture(type, rows, 5));
            ASSERT_EQ(lxRotationBySimpleAngle(angle, &high.area, &turnedHigh.area, ProgressLog::start()), 0);
            Calls expected;
            for (uint32_t j = 0, last = 0; j < rows; ++j) {
                const uint32_t p = (100 * j + rows) / (2 * rows);
                if (p > last)
                    expected.emplace_back(last = p, 50);
            }
            EXPECT_EQ(ProgressLog::calls(), expected);

            const Image two(Picture(type, 2, 2));
            const Image other(Picture(type, 2, 2));
            lxRotationBySimpleAngle(angle, &two.area, &other.area, ProgressLog::start());
            EXPECT_EQ(ProgressLog::calls(), Calls({{25, 50}}));

            const Image nothing(Picture(type, 0, 200));
            const Image square(Picture(type, 200, 200));
            EXPECT_EQ(lxRotationBySimpleAngle(angle, &nothing.area, &square.area, ProgressLog::start()), 0);
            EXPECT_EQ(lxRotationBySimpleAngle(angle, &square.area, &nothing.area, ProgressLog::start()), 0);
            EXPECT_TRUE(ProgressLog::calls().empty());
        }
    }
}

TEST(QuarterTurn, RefusesOtherAngles)
{
    constexpr uint16_t angles[] = {0, 4, 90, 257, 0xFFFF};
    for (const uint16_t angle : angles)
        expectRefusal(IMAGE_TYPE_256GRAY, IMAGE_TYPE_256GRAY,
                      [&](auto* from, auto* to) { return lxRotationBySimpleAngle(angle, from, to, nullptr); });
}

} // namespace

} // namespace lxtest
