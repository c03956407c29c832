// Rotation by any angle: every pixel by the stated rule, for tame and for hostile angles.

#include "support/converted.h"
#include "support/progress_log.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace lxtest
{

namespace
{

Picture turned(double angle, const Picture& source, const Picture& before)
{
    const Image from(source);
    const Image to(before);
    EXPECT_EQ(lxRotationBySpecificationAngle(angle, &from.area, &to.area, nullptr), IMAGE_STATUS_OK);
    return to.picture();
}

Picture turned(double angle, const Picture& source)
{
    return turned(angle, source, Picture(source.type, source.width, source.height));
}

TEST(AnyAngle, HasTheKnownPictures)
{
    const Picture digits(IMAGE_TYPE_16GRAY, {"123", "456", "789"});
    EXPECT_TRUE(samePicture(digits, turned(0, digits)));
    // The sum of two coordinates is 1.41 or 0.71 a step from the centre: truncated, the corners reach the edges.
    EXPECT_TRUE(samePicture({IMAGE_TYPE_16GRAY, {"452", "555", "856"}}, turned(45, digits)));
    EXPECT_TRUE(samePicture({IMAGE_TYPE_16GRAY, {"256", "555", "458"}}, turned(-45, digits)));
    // With pi cut, the cosine of 90 degrees is a trace above 0: 1 less a trace is truncated to 0.
    EXPECT_TRUE(samePicture({IMAGE_TYPE_16GRAY, {"442", "852", "866"}}, turned(90, digits)));
    // A larger destination keeps its frame; the halves of even sizes lie right of and below the middle.
    EXPECT_TRUE(samePicture({IMAGE_TYPE_16GRAY, {"eeeeee", "ee12ee", "ee45ee", "eeeeee"}},
                            turned(0, {IMAGE_TYPE_16GRAY, {"12", "45"}}, {IMAGE_TYPE_16GRAY, 6, 4, 0xE})));
}

TEST(AnyAngle, TurnsClockwise)
{
    Picture line(IMAGE_TYPE_BW, 41, 9, 1);
    for (uint32_t i = 0; i < line.width; ++i)
        line.at(i, 4) = 0;
    const Picture result = turned(5, line, Picture(IMAGE_TYPE_BW, 41, 9, 1));
    EXPECT_EQ(result.at(2, 3), 0U);
    EXPECT_EQ(result.at(20, 4), 0U);
    EXPECT_EQ(result.at(38, 5), 0U);
    EXPECT_EQ(result.at(38, 3), 1U);
}

Picture turnedByDefinition(double angle, const Picture& source, Picture result)
{
    const double cosine = static_cast<float>(std::cos(angle * 0.017453292519444445));
    const double sine = static_cast<float>(std::sin(angle * 0.017453292519444445));
    if (!std::isfinite(cosine))
        return result;
    for (int64_t r = 0; r < result.height; ++r) {
        for (int64_t k = 0; k < result.width; ++k) {
            const auto dx = static_cast<double>(k - result.width / 2);
            const auto dy = static_cast<double>(result.height / 2 - r);
            const int64_t x = static_cast<int64_t>(cosine * dx - sine * dy) + source.width / 2;
            const int64_t y = source.height / 2 - static_cast<int64_t>(sine * dx + cosine * dy);
            if (x >= 0 && x < source.width && y >= 0 && y < source.height)
                result.at(static_cast<uint32_t>(k), static_cast<uint32_t>(r)) =
                    source.at(static_cast<uint32_t>(x), static_cast<uint32_t>(y));
        }
    }
    return result;
}

class AnyAngleByDefinition : public testing::Test
{
  protected:
    void compare(double angle, uint16_t type, const Picture& source, const Picture& before)
    {
        const PlacedPicture from(source, Layout::random(random_), grounds_[0]);
        const PlacedPicture to(before, Layout::random(random_), grounds_[1]);
        ASSERT_EQ(lxRotationBySpecificationAngle(angle, &from.area(), &to.area(), ProgressLog::start()), 0);
        ASSERT_TRUE(samePicture(turnedByDefinition(angle, source, before), to.picture()))
            << nameOf(type) << ", " << angle << " degrees";
        ASSERT_TRUE(to.surroundingsKept());
        ASSERT_EQ(ProgressLog::calls().size(), before.height >= 100 ? 50U : before.height == 0 ? 0U : 49U);
    }

    void compareSizes(double angle, uint16_t type)
    {
        constexpr uint32_t sizes[][4] = {{90, 110, 90, 110}, {60, 99, 110, 130}, {110, 31, 50, 101}};
        for (const auto& [width, height, destinationWidth, destinationHeight] : sizes)
            compare(angle, type, Picture::random(random_, type, width, height),
                    Picture::random(random_, type, destinationWidth, destinationHeight));
    }

    Random random_{31};
    Ground grounds_[2];
};

TEST_F(AnyAngleByDefinition, KnownAngles)
{
    // Both sides of where runs give way to single pixels, of every quadrant, and of where sums in double are inexact.
    constexpr double angles[] = {0,    -0.0,   0.01,   0.5,   -0.5, 1,    2.3,   -2.3, 5,     -5,     6.9,    7.1,
                                 -7.5, 10,     30,     44.9,  -45,  60,   89.9,  90,   -90,   91,     135,    180,
                                 -180, 179.99, 269.99, 270,   359,  360,  -361,  725,  1e-3,  1e-4,   1e-5,   -1e-6,
                                 1e-8, 1e-12,  5e-324, 1e-40, 1e5,  1e10, 1e300, -1e9, 54321, 0.0234, 22500.5};
    for (const double angle : angles) {
        for (uint16_t type = 0; type <= IMAGE_TYPE_16MRGB; ++type) {
            compareSizes(angle, type);
            if (HasFatalFailure())
                return;
        }
    }
}

TEST_F(AnyAngleByDefinition, RandomAngles)
{
    for (int k = 0; k < 300; ++k) {
        const double range = std::pow(10.0, random_.between(0, 6)) * 1e-3;
        const double angle = (random_.unit() - 0.5) * range;
        compareSizes(angle, static_cast<uint16_t>(random_.below(7)));
        if (HasFatalFailure())
            return;
    }
}

// Long rows of a flat picture's neighbours: chunks, and runs of both lengths.
TEST_F(AnyAngleByDefinition, WideRows)
{
    for (const double angle : {0.0, 0.004, -0.07, 0.3, 2.5, -6.0, 8.0}) {
        for (const uint16_t type : {IMAGE_TYPE_BW, IMAGE_TYPE_16RGB, IMAGE_TYPE_256GRAY, IMAGE_TYPE_16MRGB}) {
            const uint32_t width = 5000 + random_.below(9);
            compare(angle, type, Picture::random(random_, type, width, 40 + random_.below(30)),
                    Picture::random(random_, type, width - 9 + random_.below(20), 100));
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(AnyAngle, WritesNothingForNoAngle)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Random random(33);
    const Picture source = Picture::random(random, IMAGE_TYPE_256GRAY, 30, 20);
    const Picture before = Picture::random(random, IMAGE_TYPE_256GRAY, 30, 20);
    for (const double angle : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_TRUE(samePicture(before, turned(angle, source, before)));
    const Picture nothing(IMAGE_TYPE_256GRAY, 0, 20);
    EXPECT_TRUE(samePicture(before, turned(1, nothing, before)));
    EXPECT_TRUE(samePicture(before, turned(1, {IMAGE_TYPE_256GRAY, 20, 0}, before)));
    EXPECT_TRUE(samePicture(nothing, turned(1, source, nothing)));
}

} // namespace

} // namespace lxtest
