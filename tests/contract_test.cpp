// What every operation of the table promises besides its picture: which types it refuses, that it works on the overlap
// of its areas, how it reports progress, and that many threads may call it at once.

#include "support/operations.h"
#include "support/placed_picture.h"
#include "support/progress_log.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <thread>

namespace lxtest
{

namespace
{

int8_t call(const Operation& operation, const ImageArea& source, const ImageArea& destination,
            ProgressCallback progress, uint64_t seed = 1)
{
    Call one = {&source, &destination, progress, Random(seed), {}};
    return operation.run(one);
}

class OperationContract : public testing::TestWithParam<TypedOperation>
{
  protected:
    const Operation& operation() const { return *GetParam().operation; }

    // Pairs of types that some row of this name takes.
    std::set<std::pair<uint16_t, uint16_t>> takenTypes() const
    {
        std::set<std::pair<uint16_t, uint16_t>> pairs;
        for (const TypedOperation& typed : allOperations())
            if (typed.operation == &operation())
                pairs.emplace(typed.sourceType, typed.destinationType);
        return pairs;
    }
};

TEST_P(OperationContract, RefusesOtherTypes)
{
    if (operation().takesOtherTypes)
        GTEST_SKIP() << "other rows take other types";
    constexpr uint16_t types[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 256, 0xFFFF};
    Random random(7);
    // Large enough for pixels of any type.
    const Picture before = Picture::random(random, IMAGE_TYPE_16MRGB, 9, 3);
    const auto taken = takenTypes();
    for (const uint16_t sourceType : types) {
        for (const uint16_t destinationType : types) {
            if ((operation().inPlace() && sourceType != destinationType) ||
                taken.contains({sourceType, destinationType}))
                continue;
            const Image from(before);
            const Image to(before);
            ImageArea source = from.area;
            ImageArea destination = to.area;
            source.type = sourceType;
            destination.type = destinationType;
            int8_t expected = IMAGE_STATUS_BAD_ARGUMENT;
            if (sourceType > IMAGE_TYPE_16MRGB && destinationType == GetParam().destinationType)
                expected = operation().unknownSourceStatus;
            const ImageArea& read = operation().inPlace() ? destination : source;
            EXPECT_EQ(call(operation(), read, destination, ProgressLog::start()), expected)
                << "types " << sourceType << " and " << destinationType;
            EXPECT_TRUE(samePicture(before, from.picture()));
            EXPECT_TRUE(samePicture(before, to.picture()));
            EXPECT_TRUE(ProgressLog::calls().empty());
        }
    }
}

TEST_P(OperationContract, WorksOnTheOverlap)
{
    if (operation().inPlace() || operation().fit || operation().readsBeyondOverlap)
        GTEST_SKIP() << "not an operation on the overlap alone";
    Random random(GetParam().name());
    constexpr Size sizes[][2] = {{{23, 9}, {31, 9}}, {{31, 9}, {23, 9}}, {{20, 12}, {20, 7}}, {{20, 7}, {20, 12}},
                                 {{40, 5}, {33, 6}}, {{5, 9}, {3, 3}},   {{0, 4}, {9, 4}},    {{9, 4}, {9, 0}}};
    for (const auto& [sourceSize, destinationSize] : sizes) {
        const Picture source = Picture::random(random, GetParam().sourceType, sourceSize.width, sourceSize.height);
        const Picture before =
            Picture::random(random, GetParam().destinationType, destinationSize.width, destinationSize.height);
        const Image from(source);
        const Image to(before);
        ASSERT_EQ(call(operation(), from.area, to.area, nullptr), IMAGE_STATUS_OK);

        const uint32_t width = std::min(source.width, before.width);
        const uint32_t height = std::min(source.height, before.height);
        const Image cutFrom(source.cut(0, 0, width, height));
        const Image cutTo(before.cut(0, 0, width, height));
        ASSERT_EQ(call(operation(), cutFrom.area, cutTo.area, nullptr), IMAGE_STATUS_OK);
        Picture expected = before;
        const Picture overlap = cutTo.picture();
        for (uint32_t j = 0; j < height; ++j)
            for (uint32_t i = 0; i < width; ++i)
                expected.at(i, j) = overlap.at(i, j);
        ASSERT_TRUE(samePicture(expected, to.picture()));
    }
}

// p = trunc(j / H * 50 + 0.5) after line j, in whole numbers.
ProgressLog::Calls progressOf(uint32_t height)
{
    ProgressLog::Calls calls;
    uint32_t last = 0;
    for (uint32_t j = 0; j < height; ++j) {
        const uint32_t p = (100 * j + height) / (2 * height);
        if (p > last)
            calls.emplace_back(p, 50);
        last = p;
    }
    return calls;
}

TEST(Progress, IsKnownForFewLines)
{
    using Calls = ProgressLog::Calls;
    EXPECT_EQ(progressOf(1), Calls());
    EXPECT_EQ(progressOf(2), Calls({{25, 50}}));
    EXPECT_EQ(progressOf(3), Calls({{17, 50}, {33, 50}}));
    EXPECT_EQ(progressOf(99).back().first, 49U);
    EXPECT_EQ(progressOf(100).back().first, 50U);
    EXPECT_EQ(progressOf(3508).size(), 50U);
}

TEST_P(OperationContract, ReportsProgress)
{
    if (operation().ownProgress)
        GTEST_SKIP() << "reports by a rule of its own";
    for (const uint32_t height : {0U, 1U, 2U, 3U, 7U, 34U, 49U, 51U, 99U, 100U, 101U, 3508U}) {
        for (const uint32_t width : {0U, 1U, 17U}) {
            const Image from(Picture(GetParam().sourceType, width, height));
            const Image to(Picture(GetParam().destinationType, width, height));
            ASSERT_EQ(call(operation(), operation().inPlace() ? to.area : from.area, to.area, ProgressLog::start()),
                      IMAGE_STATUS_OK);
            ASSERT_EQ(ProgressLog::calls(), progressOf(height)) << width << " x " << height;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Every, OperationContract, testing::ValuesIn(allOperations()),
                         [](const auto& instance) { return instance.param.name(); });

// One operation on several areas of one destination buffer, a band of lines each; the source is shared.
struct SharedPage {
    static constexpr uint32_t bands = 8;

    SharedPage(const TypedOperation& typed, Random& random) : operation(*typed.operation)
    {
        Size sourceSize = {90, 40};
        Size destinationSize = sourceSize;
        if (operation.fit)
            operation.fit(sourceSize, destinationSize, random);
        source =
            std::make_unique<Image>(Picture::random(random, typed.sourceType, sourceSize.width, sourceSize.height));
        page = Picture::random(random, typed.destinationType, destinationSize.width, destinationSize.height * bands);
        destination = std::make_unique<Image>(page);
    }

    void run(uint32_t band) const
    {
        const uint32_t height = page.height / bands;
        const ImageArea to = destination->band(band * height, height);
        EXPECT_EQ(call(operation, operation.inPlace() ? to : source->area, to, ProgressLog::start(), band),
                  IMAGE_STATUS_OK);
    }

    const Operation& operation;
    Picture page = Picture(0, 0, 0);
    std::unique_ptr<Image> source;
    std::unique_ptr<Image> destination;
};

TEST(Threads, DoNotDisturbEachOther)
{
    Random random(3);
    std::vector<SharedPage> pages;
    for (const TypedOperation& typed : allOperations())
        if (!typed.operation->draws)
            pages.emplace_back(typed, random);
    std::vector<Picture> expected;
    for (const SharedPage& page : pages) {
        for (uint32_t band = 0; band < SharedPage::bands; ++band)
            page.run(band);
        expected.push_back(page.destination->picture());
        putPixels(page.destination->area, page.page);
    }
    std::vector<std::thread> threads;
    for (uint32_t band = 0; band < SharedPage::bands; ++band) {
        threads.emplace_back([&, band] {
            for (const SharedPage& page : pages)
                page.run(band);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (size_t k = 0; k < pages.size(); ++k)
        EXPECT_TRUE(samePicture(expected[k], pages[k].destination->picture())) << pages[k].operation.name;
}

} // namespace

} // namespace lxtest
