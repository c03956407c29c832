// Scaling of bilevel pictures: the rules' own values, and every path against the definition.

#include "resolution/scaled_by_definition.h"
#include "resolution/workers.h"
#include "support/fixed_time.h"
#include "support/progress_log.h"

#include <cstdlib>
#include <vector>

namespace lxtest
{

namespace
{

auto worker(lx::ScaleWorker* work)
{
    return [work](const ImageArea* from, const ImageArea* to) { return work(from, to, nullptr); };
}

Picture bilevel(std::initializer_list<const char*> lines)
{
    return {IMAGE_TYPE_BW, lines};
}

Picture blank(uint32_t width, uint32_t height, bool white = false)
{
    return {IMAGE_TYPE_BW, width, height, white ? 1U : 0U};
}

TEST(BilevelSampling, TakesTheFirstPixelOfEachBlock)
{
    const Picture source = bilevel({"#.#.#...#.", "..........", ".#.#.###.#", "##########"});
    EXPECT_TRUE(
        samePicture(bilevel({"###.", "...#"}), scaled(source, blank(4, 2), worker(lx::ScaleBilevelBySampling))));
}

TEST(BilevelSampling, LeavesPixelsThatNoRunReaches)
{
    const Picture source = bilevel({"#.#", ".#.", "###"});
    for (const bool white : {false, true}) {
        Picture expected = blank(7, 7, white);
        const Picture reached = bilevel({"##..##", "##..##", "..##..", "..##..", "######", "######"});
        for (uint32_t j = 0; j < 6; ++j)
            for (uint32_t i = 0; i < 6; ++i)
                expected.at(i, j) = reached.at(i, j);
        EXPECT_TRUE(samePicture(expected, scaled(source, blank(7, 7, white), worker(lx::ScaleBilevelBySampling))));
        EXPECT_TRUE(samePicture(expected, scaled(source, blank(7, 7, white), worker(lx::ScaleBilevelByRuns))));
        // Majority whitens the lines that it reaches, and only those.
        for (uint32_t j = 0; j < 6; ++j)
            expected.at(6, j) = 1;
        EXPECT_TRUE(samePicture(expected, scaled(source, blank(7, 7, white), worker(lx::ScaleBilevelByMajority))));
    }
}

// Gapless lines are copied many at a time.
TEST(BilevelSampling, CopiesAnyNumberOfLinesOfTheSameSize)
{
    Random random(32);
    for (const uint32_t height : {31U, 32U, 33U, 64U, 100U}) {
        const Picture source = Picture::random(random, IMAGE_TYPE_BW, 48, height);
        EXPECT_TRUE(samePicture(source, scaled(source, blank(48, height), worker(lx::ScaleBilevelBySampling))));
        const Image from(source);
        const Image to(blank(48, height));
        EXPECT_EQ(lx::ScaleBilevelBySampling(&from.area, &to.area, ProgressLog::start()), IMAGE_STATUS_OK);
        EXPECT_TRUE(samePicture(source, to.picture()));
        EXPECT_EQ(ProgressLog::calls().back(), (ProgressLog::Calls::value_type{50, 50}));
    }
}

TEST(BlackPriority, TakesAnyBlackPixel)
{
    // 5 lines make two blocks of 2; the last line is in neither.
    const Picture source = bilevel({"......#.", "........", ".......#", "#.......", "..#....."});
    EXPECT_TRUE(samePicture(bilevel({"...#", "#..#"}),
                            scaled(source, blank(4, 2, true), worker(lx::ReduceBilevelBlackPriority))));
}

TEST(BlackPriority, OnlyReduces)
{
    constexpr uint32_t sizes[][2] = {{9, 4}, {8, 5}, {9, 5}, {20, 2}, {4, 9}};
    const Image from(blank(9, 5));
    for (const auto& [width, height] : sizes) {
        const Image to(blank(width, height, true));
        EXPECT_EQ(lx::ReduceBilevelBlackPriority(&from.area, &to.area, ProgressLog::start()),
                  IMAGE_STATUS_BAD_ARGUMENT);
        EXPECT_TRUE(samePicture(blank(width, height, true), to.picture()));
        EXPECT_TRUE(ProgressLog::calls().empty());
    }
}

TEST(BlackPriority, LooksAtBlocksOfAnyLength)
{
    Picture source(IMAGE_TYPE_BW, 140000, 3, 1);
    EXPECT_TRUE(samePicture(bilevel({".."}), scaled(source, blank(2, 1), worker(lx::ReduceBilevelBlackPriority))));
    source.at(139999, 1) = 0;
    EXPECT_TRUE(samePicture(bilevel({".#"}), scaled(source, blank(2, 1), worker(lx::ReduceBilevelBlackPriority))));
}

TEST(Majority, HalfIsBlack)
{
    const Picture source = bilevel({"#..#....##", ".##.#..###"});
    EXPECT_TRUE(samePicture(bilevel({"##..#"}), scaled(source, blank(5, 1), worker(lx::ScaleBilevelByMajority))));
}

TEST(Majority, Exactly128Of255IsWhite)
{
    for (const uint32_t white : {127U, 128U}) {
        Picture source = blank(17, 15);
        for (uint32_t k = 0; k < white; ++k)
            source.at(k % 17, k / 17) = 1;
        EXPECT_TRUE(samePicture(blank(1, 1, white == 128),
                                scaled(source, blank(1, 1, white != 128), worker(lx::ScaleBilevelByMajority))));
    }
}

// By its definition: the line of columns that are black in any line of the block, scanned with a state.
std::vector<uint32_t> runsByDefinition(const Picture& source, lx::Span lines, uint32_t width)
{
    const double r = static_cast<double>(width) / source.width;
    std::vector<uint32_t> line(width, 1);
    const auto isWhite = [&](uint32_t i) { return setPixels(source, {i, 1}, lines) == lines.length; };
    uint32_t i = 0;
    uint32_t position = 0;
    while (i < source.width && position < width) {
        while (i < source.width && isWhite(i))
            ++i;
        position = std::min(static_cast<uint32_t>(i * r), width);
        const bool black = i < source.width;
        while (i < source.width && !isWhite(i))
            ++i;
        for (const auto end = static_cast<uint32_t>(i * r + (1.0 - r)); black && position < std::min(end, width);)
            line[position++] = 0;
    }
    return line;
}

TEST(Runs, KeepAtLeastOnePixel)
{
    EXPECT_TRUE(samePicture(bilevel({"#"}), scaled(bilevel({".#."}), blank(1, 1), worker(lx::ScaleBilevelByRuns))));
    const Picture lone = bilevel({"....................", "..............#.....", "...................."});
    EXPECT_TRUE(samePicture(bilevel({"..#."}), scaled(lone, blank(4, 1), worker(lx::ScaleBilevelByRuns))));
    // r is 0.4: black 1 to 3 gives 0 to trunc(1.8), black 6 to 9 gives 2 to trunc(4.2).
    EXPECT_TRUE(
        samePicture(bilevel({"#.##"}), scaled(bilevel({".##...###."}), blank(4, 1), worker(lx::ScaleBilevelByRuns))));
}

TEST(Runs, ReachFarAlongALine)
{
    Picture source(IMAGE_TYPE_BW, 40000, 2, 1);
    source.at(30000, 1) = 0;
    Picture expected(IMAGE_TYPE_BW, 20000, 1, 1);
    expected.at(15000, 0) = 0;
    EXPECT_TRUE(samePicture(expected, scaled(source, blank(20000, 1), worker(lx::ScaleBilevelByRuns))));
}

TEST(Runs, FollowTheDefinition)
{
    Random random(21);
    for (int k = 0; k < 1500; ++k) {
        const uint32_t width = random.chance(3) ? random.between(8000, 70000) : anyLength(random);
        const Picture source = Picture::random(random, IMAGE_TYPE_BW, width, random.between(1, 9));
        // Ratios of small integers have products that are integers but for their rounding.
        const uint32_t times = random.between(2, 9);
        const uint32_t other = random.chance(40) ? width * random.between(1, times) / times : anyLength(random);
        const Picture before = Picture::random(random, IMAGE_TYPE_BW, std::max(other, 1U), random.between(1, 12));
        Picture expected = before;
        if (source.width > before.width) {
            for (const Share& lines : sharesOf(source.height, before.height)) {
                const std::vector<uint32_t> line = runsByDefinition(source, lines.source, before.width);
                for (uint32_t i = 0; i < before.width; ++i)
                    fillShare(expected, {{i, 1}, {}}, lines, line[i]);
            }
        } else {
            expected = scaledByDefinition(source, before, [](const Picture& from, lx::Span columns, lx::Span lines) {
                return setPixels(from, columns, lines) == lines.length ? 1U : 0U;
            });
        }
        ASSERT_TRUE(samePicture(expected, scaled(source, before, worker(lx::ScaleBilevelByRuns))))
            << source.width << " x " << source.height;
    }
}

uint32_t firstPixel(const Picture& source, lx::Span columns, lx::Span lines)
{
    return source.at(columns.start, lines.start);
}

uint32_t allWhite(const Picture& source, lx::Span columns, lx::Span lines)
{
    return setPixels(source, columns, lines) == columns.length * lines.length ? 1 : 0;
}

uint32_t mostlyWhite(const Picture& source, lx::Span columns, lx::Span lines)
{
    const float scale = 255.0F / static_cast<float>(columns.length * lines.length);
    return scale * static_cast<float>(setPixels(source, columns, lines)) >= 128.0F ? 1 : 0;
}

TEST(BilevelScaling, FollowsTheDefinition)
{
    Random random(22);
    for (int k = 0; k < 2000; ++k) {
        const uint32_t width = random.chance(2) ? random.between(8000, 70000) : anyLength(random);
        const Picture source =
            Picture::random(random, IMAGE_TYPE_BW, width, random.between(1, random.chance(5) ? 99 : 12));
        const uint32_t wanted = random.chance(3) ? random.between(8000, 17000) : anyLength(random);
        const Picture before = Picture::random(random, IMAGE_TYPE_BW, wanted, random.between(1, 12));
        ASSERT_TRUE(samePicture(scaledByDefinition(source, before, firstPixel),
                                scaled(source, before, worker(lx::ScaleBilevelBySampling))))
            << source.width << " x " << source.height;
        if (source.width > before.width && source.height > before.height) {
            ASSERT_TRUE(samePicture(scaledByDefinition<double>(source, before, allWhite),
                                    scaled(source, before, worker(lx::ReduceBilevelBlackPriority))))
                << source.width << " x " << source.height;
        }
    }
}

// One draw before each destination line that is made, if either axis has a period; both axes are placed by it.
Picture majorityByDefinition(const Picture& source, Picture picture)
{
    const bool narrower = source.width > picture.width;
    const bool lower = source.height > picture.height;
    if (!narrower && !lower)
        for (const Share& lines : sharesOf(source.height, picture.height))
            fillShare(picture, {{0, picture.width}, {}}, lines, 1);
    const auto widths = lx::PlacedBlockWalker(source.width, narrower ? picture.width : source.width);
    lx::PlacedBlockWalker heights(source.height, lower ? picture.height : source.height);
    const bool draws = widths.period() != 0 || heights.period() != 0;
    std::srand(static_cast<unsigned>(fixedTime));
    const auto makeLine = [&](const Share& lines, uint32_t draw) {
        lx::PlacedBlockWalker placed = widths;
        placed.place(draw);
        for (const Share& column : narrower ? sharesOf(placed) : sharesOf(source.width, picture.width))
            fillShare(picture, column, lines, mostlyWhite(source, column.source, lines.source));
    };
    if (!lower) {
        for (const Share& lines : sharesOf(source.height, picture.height))
            makeLine(lines, draws ? static_cast<uint32_t>(std::rand()) : 0);
        return picture;
    }
    for (uint32_t j = 0; !heights.done(); ++j) {
        const uint32_t draw = draws ? static_cast<uint32_t>(std::rand()) : 0;
        heights.place(draw);
        lx::Span lines;
        heights.next(lines);
        makeLine({{j, 1}, lines}, draw);
    }
    return picture;
}

TEST(Majority, FollowsTheDefinition)
{
    Random random(23);
    for (int k = 0; k < 2000; ++k) {
        fixedTime = static_cast<std::time_t>(random.below(1U << 30));
        const uint32_t width = random.chance(2) ? random.between(8000, 70000) : anyLength(random);
        const Picture source =
            Picture::random(random, IMAGE_TYPE_BW, width, random.between(1, random.chance(5) ? 99 : 12));
        // Often only a little smaller: long periods.
        uint32_t wanted = random.chance(40) ? width - random.below((width + 9) / 10) : anyLength(random);
        if (random.chance(2))
            wanted = random.between(8000, 20000);
        const Picture before = Picture::random(random, IMAGE_TYPE_BW, wanted, random.between(1, 12));
        ASSERT_TRUE(samePicture(majorityByDefinition(source, before),
                                scaled(source, before, worker(lx::ScaleBilevelByMajority))))
            << source.width << " x " << source.height;
    }
}

TEST(Majority, DrawsNothingWhereSizesDivide)
{
    std::srand(static_cast<unsigned>(fixedTime));
    const int first = std::rand();
    scaled(blank(12, 8), blank(4, 2), worker(lx::ScaleBilevelByMajority));
    EXPECT_EQ(std::rand(), first) << "the generator is reseeded, and then left alone";
    scaled(blank(13, 8), blank(4, 2), worker(lx::ScaleBilevelByMajority));
    EXPECT_NE(std::rand(), first);
}

TEST(BilevelScaling, ReportsItsPasses)
{
    using Calls = ProgressLog::Calls;
    const auto calls = [](lx::ScaleWorker* work, uint32_t width, uint32_t lines) {
        const Image from(blank(9, 4));
        const Image to(blank(width, lines));
        EXPECT_EQ(work(&from.area, &to.area, ProgressLog::start()), IMAGE_STATUS_OK);
        return ProgressLog::calls();
    };
    const Calls raw = {{2, 16}, {4, 16}, {6, 16}, {8, 16}, {46, 50}, {48, 50}, {49, 50}, {50, 50}};
    const Calls shares = {{11, 50}, {23, 50}, {34, 50}, {45, 50}, {46, 50}, {48, 50}, {49, 50}, {50, 50}};
    for (lx::ScaleWorker* work : {&lx::ScaleBilevelBySampling, &lx::ScaleBilevelByMajority}) {
        EXPECT_EQ(calls(work, 5, 8), raw);
        EXPECT_EQ(calls(work, 9, 8), shares);
        EXPECT_EQ(calls(work, 5, 2), Calls({{25, 50}}));
    }
    EXPECT_EQ(calls(lx::ScaleBilevelByRuns, 5, 8),
              Calls({{2, 16}, {4, 16}, {6, 16}, {8, 16}, {31, 50}, {38, 50}, {44, 50}, {50, 50}}));
    EXPECT_EQ(calls(lx::ScaleBilevelByRuns, 12, 8), shares);
    EXPECT_EQ(calls(lx::ReduceBilevelBlackPriority, 5, 3), Calls({{17, 50}, {33, 50}}));
}

TEST(BilevelScaling, RefusesEmptyAreas)
{
    for (lx::ScaleWorker* work : {&lx::ScaleBilevelBySampling, &lx::ScaleBilevelByMajority, &lx::ScaleBilevelByRuns,
                                  &lx::ReduceBilevelBlackPriority}) {
        for (uint32_t k = 0; k < 4; ++k) {
            const Image from(blank(20, 20));
            const Image to(blank(10, 10, true));
            ImageArea source = from.area;
            ImageArea destination = to.area;
            *(k == 0 ? &source.width : k == 1 ? &source.height : k == 2 ? &destination.width : &destination.height) = 0;
            EXPECT_EQ(work(&source, &destination, ProgressLog::start()), IMAGE_STATUS_BAD_ARGUMENT);
            EXPECT_TRUE(samePicture(blank(10, 10, true), to.picture()));
            EXPECT_TRUE(ProgressLog::calls().empty());
        }
    }
}

} // namespace

} // namespace lxtest
