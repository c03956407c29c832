// Line numbers that wrap, and lines taken in every order.

#include "support/placed_picture.h"

#include "lx.h"

#include <gtest/gtest.h>

namespace lxtest
{

namespace
{

const Picture fiveLines(IMAGE_TYPE_256GRAY, {"00 ff", "ff 00", "80 81", "81 80", "ff ff"});
const Picture fiveLinesBilevel(IMAGE_TYPE_BW, {"#.", ".#", "#.", ".#", ".."});

int8_t threshold(const ImageArea& source, const ImageArea& destination)
{
    const ThresholdLevel level = {0, 10};
    return lxImageTypeConvertToBWNonHalftone(&level, &source, &destination, nullptr);
}

TEST(AreaView, TakesAllLineOrders)
{
    constexpr uint16_t lineOrders[] = {0, 1, 2, 0xFFFF};
    for (const uint16_t sourceUp : lineOrders) {
        for (const uint16_t destinationUp : lineOrders) {
            const Image from(fiveLines, {.bottomUp = sourceUp});
            const Image to(Picture(IMAGE_TYPE_BW, 2, 5), {.bottomUp = destinationUp});
            ASSERT_EQ(threshold(from.area, to.area), IMAGE_STATUS_OK);
            EXPECT_TRUE(samePicture(fiveLinesBilevel, to.picture()));
        }
    }
}

// lines - y - 1 is formed in 32 bits: an area that starts above line 0 of a bottom-up buffer lies in memory behind the
// lines that the record counts.
TEST(AreaView, LineNumbersWrap)
{
    const Image from(fiveLines, {.bottomUp = 1});
    const Image to(Picture(IMAGE_TYPE_BW, 2, 5), {.bottomUp = 1});
    ImageArea source = from.area;
    source.lines = 2;
    source.y = 0xFFFFFFFD;
    ImageArea destination = to.area;
    destination.lines = 0xFFFFFFFF;
    destination.y = 0xFFFFFFFA;
    ASSERT_EQ(threshold(source, destination), IMAGE_STATUS_OK);
    EXPECT_TRUE(samePicture(fiveLinesBilevel, to.picture()));
}

// Top-down line numbers that run over 2^32 go on at the buffer's first line, 8 GiB before.
TEST(AreaView, LineNumbersRunOver)
{
    const GuardedMemory memory(size_t{8} << 30);
    const Picture last = fiveLines.cut(0, 0, 2, 2);
    const Picture first = fiveLines.cut(0, 2, 2, 3);
    putPixels(areaAt(memory.end() - 4, last, Layout(), 2), last);
    putPixels(areaAt(memory.begin(), first, Layout(), 2), first);
    ImageArea source = areaAt(memory.begin(), fiveLines, Layout(), 2);
    source.y = 0xFFFFFFFE;
    const Image to(Picture(IMAGE_TYPE_BW, 2, 5));
    ASSERT_EQ(threshold(source, to.area), IMAGE_STATUS_OK);
    EXPECT_TRUE(samePicture(fiveLinesBilevel, to.picture()));
}

} // namespace

} // namespace lxtest
