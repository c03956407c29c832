// How an axis is shared out, and how the drivers report.

#include "resolution/scale_rows.h"
#include "support/placed_picture.h"
#include "support/progress_log.h"

#include <string>
#include <vector>

namespace lxtest
{

namespace
{

using Lengths = std::vector<uint32_t>;

// Also sees to it that the blocks or runs follow one another.
template <class Walker>
Lengths lengthsOf(Walker walker)
{
    Lengths lengths;
    uint32_t position = 0;
    for (lx::Span span; walker.next(span); position += span.length) {
        EXPECT_EQ(span.start, position);
        lengths.push_back(span.length);
    }
    EXPECT_TRUE(walker.done());
    return lengths;
}

TEST(Blocks, FollowTheAccumulator)
{
    EXPECT_EQ(lengthsOf(lx::BlockWalker<float>(10, 4)), Lengths({2, 2, 3, 2}));
    EXPECT_EQ(lengthsOf(lx::BlockWalker<float>(12, 4)), Lengths({3, 3, 3, 3}));
    EXPECT_EQ(lengthsOf(lx::BlockWalker<float>(3, 2)), Lengths({1, 1}));
    EXPECT_EQ(lengthsOf(lx::BlockWalker<float>(7, 1)), Lengths({7}));
}

// Three thirds make 1 in single precision, and fall just short of it in double precision.
TEST(Blocks, DependOnThePrecision)
{
    EXPECT_EQ(lengthsOf(lx::BlockWalker<float>(8, 6)), Lengths({1, 1, 1, 2, 1, 1}));
    EXPECT_EQ(lengthsOf(lx::BlockWalker<double>(8, 6)), Lengths({1, 1, 1, 1, 2, 1}));
}

TEST(Runs, FollowTheAccumulator)
{
    EXPECT_EQ(lengthsOf(lx::RunWalker(3, 6)), Lengths({2, 2, 2}));
    EXPECT_EQ(lengthsOf(lx::RunWalker(3, 7)), Lengths({2, 2, 2}));
    EXPECT_EQ(lx::RunWalker(3, 7).reach(), 7U);
    EXPECT_EQ(lx::pixelsReached(lx::RunWalker(3, 7)), 6U);
    EXPECT_EQ(lengthsOf(lx::RunWalker(4, 10)), Lengths({2, 2, 3, 2}));
    EXPECT_EQ(lengthsOf(lx::RunWalker(5, 5)), Lengths({1, 1, 1, 1, 1}));
}

TEST(Runs, SeenFromTheDestination)
{
    Lengths sources;
    lx::RepeatedBlockWalker blocks(4, 10);
    for (lx::Span block; blocks.next(block);) {
        EXPECT_EQ(block.length, 1U);
        sources.push_back(block.start);
    }
    EXPECT_EQ(sources, Lengths({0, 0, 1, 1, 2, 2, 2, 3, 3}));
}

TEST(PlacedBlocks, TakeTheExtraPixelWhereTheDrawSays)
{
    lx::PlacedBlockWalker blocks(10, 4);
    EXPECT_EQ(blocks.period(), 2U);
    blocks.place(4);
    EXPECT_EQ(lengthsOf(blocks), Lengths({3, 2, 2, 2}));
    blocks.place(7);
    EXPECT_EQ(lengthsOf(blocks), Lengths({2, 2, 3, 3}));

    lx::PlacedBlockWalker even(12, 4);
    EXPECT_EQ(even.period(), 0U);
    even.place(5);
    EXPECT_EQ(lengthsOf(even), Lengths({3, 3, 3, 3}));
}

// The calls that scaling a picture of `source` lines to `destination` lines makes.
ProgressLog::Calls callsOf(uint32_t source, uint32_t destination, lx::PassShares shares)
{
    const Image from(Picture(IMAGE_TYPE_BW, 1, source));
    const Image to(Picture(IMAGE_TYPE_BW, 1, destination));
    lx::scaleRows(
        lx::AreaView(from.area), lx::AreaView(to.area), shares, ProgressLog::start(),
        [](uint32_t, lx::Span) { return 1U; }, [](lx::Span, uint32_t, uint32_t) {});
    return ProgressLog::calls();
}

TEST(ScalingProgress, OfEveryPass)
{
    using Calls = ProgressLog::Calls;
    EXPECT_EQ(callsOf(100, 10, lx::widthEnlarged),
              Calls({{5, 50}, {10, 50}, {15, 50}, {20, 50}, {25, 50}, {30, 50}, {35, 50}, {40, 50}, {45, 50}}));
    EXPECT_EQ(callsOf(4, 8, lx::widthEnlarged),
              Calls({{11, 50}, {23, 50}, {34, 50}, {45, 50}, {46, 50}, {48, 50}, {49, 50}, {50, 50}}));
    // Raw counts do not take part in the test for growth.
    EXPECT_EQ(callsOf(4, 8, lx::widthReduced),
              Calls({{2, 16}, {4, 16}, {6, 16}, {8, 16}, {46, 50}, {48, 50}, {49, 50}, {50, 50}}));
    // The runs end at line 6, the reach is 7.
    EXPECT_EQ(callsOf(3, 7, lx::widthReduced), Calls({{2, 14}, {4, 14}, {6, 14}, {46, 50}, {48, 50}, {49, 50}}));
}

TEST(EnlargedRows, AreFilledOnceTheNextRunHasBegun)
{
    std::vector<std::string> steps;
    lx::enlargeRows(
        lx::RunWalker(3, 7), lx::widthEnlarged, nullptr,
        [&](uint32_t j, lx::Span line) {
            steps.push_back("make " + std::to_string(j) + " of " + std::to_string(line.start));
            return 10 + j;
        },
        [&](lx::Span run, uint32_t next, uint32_t width) {
            steps.push_back("fill " + std::to_string(run.start) + " before " + std::to_string(next) + ", " +
                            std::to_string(width) + " wide");
        });
    EXPECT_EQ(steps, std::vector<std::string>({"make 0 of 0", "make 2 of 1", "fill 0 before 2, 10 wide", "make 4 of 2",
                                               "fill 2 before 4, 12 wide", "fill 4 before 4, 14 wide"}));
}

} // namespace

} // namespace lxtest
