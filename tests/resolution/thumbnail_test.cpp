// Thumbnails: the buffers that they need, and the chains that make them.

#include "support/converted.h"
#include "support/operations.h"

namespace lxtest
{

namespace
{

struct Work {
    uint16_t type;
    uint32_t width;
    uint32_t height;
    uint32_t bytesPerLine;
};

struct SizeCase {
    uint16_t sourceType;
    Size source;
    int8_t result;
    uint16_t type;
    uint32_t bytesPerLine; // of a thumbnail 100 pixels wide at x = 10
    Work work1;
    Work work2;
};

constexpr SizeCase sizeCases[] = {
    {0, {101, 101}, 1, 2, 110, {2, 101, 101, 101}, {0, 0, 0, 0}},
    {0, {101, 100}, 0, 0, 14, {0, 0, 0, 0}, {0, 0, 0, 0}},
    {1, {900, 900}, 0, 1, 55, {1, 0, 0, 0}, {1, 0, 0, 0}},
    {2, {400, 500}, 0, 2, 110, {2, 0, 0, 0}, {2, 0, 0, 0}},
    {2, {500, 500}, 1, 2, 110, {2, 600, 600, 600}, {2, 0, 0, 0}},
    {6, {401, 401}, 1, 6, 330, {6, 600, 600, 1800}, {6, 0, 0, 0}},
    {3, {1000, 1000}, 3, 6, 330, {3, 600, 600, 300}, {6, 600, 600, 1800}},
    {3, {600, 1000}, 1, 6, 330, {6, 600, 1000, 1800}, {3, 0, 0, 0}},
    {3, {100, 1000}, 0, 3, 55, {3, 0, 0, 0}, {3, 0, 0, 0}},
    {4, {900, 900}, 0, 4, 55, {4, 0, 0, 0}, {4, 0, 0, 0}},
    {5, {900, 900}, 0, 5, 110, {5, 0, 0, 0}, {5, 0, 0, 0}},
    {7, {900, 900}, 0, 7, 0, {7, 0, 0, 0}, {7, 0, 0, 0}},
};

void expectWork(const Work& expected, const ImageArea& work, const void* buffer)
{
    EXPECT_EQ(work.type, expected.type);
    EXPECT_EQ(work.colorOrder, 5);
    EXPECT_EQ(work.bottomUp, 9);
    EXPECT_EQ(work.x, 0U);
    EXPECT_EQ(work.y, 0U);
    EXPECT_EQ(work.width, expected.width);
    EXPECT_EQ(work.height, expected.height);
    EXPECT_EQ(work.bytesPerLine, expected.bytesPerLine);
    EXPECT_EQ(work.lines, expected.height);
    EXPECT_EQ(work.buffer, buffer);
}

TEST(ThumbnailMemory, IsDescribed)
{
    for (const SizeCase& known : sizeCases) {
        SCOPED_TRACE(testing::Message() << "type " << known.sourceType << ", width " << known.source.width);
        int marker = 0;
        ImageArea source = {};
        source.type = known.sourceType;
        source.colorOrder = 5;
        source.bottomUp = 9;
        source.width = known.source.width;
        source.height = known.source.height;
        ImageArea thumbnail;
        std::memset(&thumbnail, 0x7E, sizeof thumbnail);
        thumbnail.x = 10;
        thumbnail.y = 20;
        thumbnail.width = 100;
        thumbnail.height = 100;
        thumbnail.buffer = &marker;
        ImageArea work1 = thumbnail;
        ImageArea work2 = thumbnail;
        EXPECT_EQ(lxCalculateThumbnailMemorySize(&source, &thumbnail, &work1, &work2), known.result);
        EXPECT_EQ(thumbnail.type, known.type);
        EXPECT_EQ(thumbnail.colorOrder, 5);
        EXPECT_EQ(thumbnail.bottomUp, 9);
        EXPECT_EQ(thumbnail.x, 10U);
        EXPECT_EQ(thumbnail.y, 20U);
        EXPECT_EQ(thumbnail.width, 100U);
        EXPECT_EQ(thumbnail.height, 100U);
        EXPECT_EQ(thumbnail.bytesPerLine, known.bytesPerLine);
        EXPECT_EQ(thumbnail.lines, 120U);
        EXPECT_EQ(thumbnail.buffer, &marker);
        expectWork(known.work1, work1, &marker);
        expectWork(known.work2, work2, &marker);
    }
}

Picture thumbnailOf(const Picture& source, uint32_t width, uint32_t height)
{
    const Image from(source);
    ImageArea thumbnail = {};
    thumbnail.width = width;
    thumbnail.height = height;
    ImageArea work[2];
    const int8_t used = lxCalculateThumbnailMemorySize(&from.area, &thumbnail, &work[0], &work[1]);
    std::vector<uint8_t> buffers[2];
    for (int k = 0; k < 2; ++k) {
        buffers[k].resize((used >> k & 1) != 0 ? size_t{work[k].bytesPerLine} * work[k].lines : 0);
        work[k].buffer = buffers[k].data();
    }
    std::vector<uint8_t> pixels(size_t{thumbnail.bytesPerLine} * thumbnail.lines);
    thumbnail.buffer = pixels.data();
    EXPECT_EQ(lxCreateThubmnailImage(&from.area, &thumbnail, &work[0], &work[1], nullptr), IMAGE_STATUS_OK);
    return getPixels(thumbnail);
}

Picture scaled(uint16_t method, const Picture& source, uint32_t width, uint32_t height)
{
    const Image from(source);
    const Image to(Picture(source.type, width, height));
    EXPECT_EQ(lxResolutionConvert(method, &from.area, &to.area, nullptr), IMAGE_STATUS_OK);
    return to.picture();
}

Picture colored(const Picture& source)
{
    const ColorPalette palette = paletteOf(source.type);
    return converted(source, IMAGE_TYPE_16MRGB,
                     [&](auto* from, auto* to) { return lxImageTypeConvertTo16MRGB(&palette, from, to, nullptr); });
}

TEST(Thumbnail, IsMadeByItsChain)
{
    constexpr uint16_t sampling = 0;
    constexpr uint16_t averaging = 1;
    Random random(1);
    for (const uint16_t type : {uint16_t{IMAGE_TYPE_256GRAY}, uint16_t{IMAGE_TYPE_16MRGB}}) {
        const Picture five = Picture::random(random, type, 50, 50);
        const Picture seven = Picture::random(random, type, 70, 70);
        EXPECT_TRUE(samePicture(scaled(averaging, five, 10, 10), thumbnailOf(five, 10, 10)));
        EXPECT_TRUE(
            samePicture(scaled(averaging, scaled(sampling, seven, 60, 60), 10, 10), thumbnailOf(seven, 10, 10)));
    }
    const Picture colors = Picture::random(random, IMAGE_TYPE_8RGB, 70, 70);
    EXPECT_TRUE(
        samePicture(scaled(averaging, colored(scaled(sampling, colors, 60, 60)), 10, 10), thumbnailOf(colors, 10, 10)));
    EXPECT_TRUE(samePicture(scaled(averaging, colored(colors), 20, 20), thumbnailOf(colors, 20, 20)));
    EXPECT_TRUE(samePicture(scaled(averaging, colors, 140, 70), thumbnailOf(colors, 140, 70)));
    for (const uint16_t type : {uint16_t{IMAGE_TYPE_16GRAY}, uint16_t{IMAGE_TYPE_16RGB}, uint16_t{IMAGE_TYPE_256RGB}}) {
        const Picture source = Picture::random(random, type, 70, 70);
        EXPECT_TRUE(samePicture(scaled(sampling, source, 10, 10), thumbnailOf(source, 10, 10)));
    }
}

// Work areas of other sizes than described, larger than the source and smaller than the thumbnail too: all of the
// sampled picture is in the work area in the end.
TEST(Thumbnail, LeavesTheSampledPictureInTheWorkArea)
{
    constexpr uint32_t sizes[][2] = {{60, 60}, {61, 75}, {33, 90}, {71, 47}, {140, 50}, {90, 140}, {9, 60}, {60, 8}};
    Random random(2);
    for (const uint16_t type : {uint16_t{IMAGE_TYPE_256GRAY}, uint16_t{IMAGE_TYPE_16MRGB}}) {
        const Picture source = Picture::random(random, type, 71, 90);
        const Image from(source);
        for (const auto& [width, height] : sizes) {
            const Image work(Picture(type, width, height));
            const Image thumbnail(Picture(type, 10, 11));
            ASSERT_EQ(lxCreateThubmnailImage(&from.area, &thumbnail.area, &work.area, nullptr, nullptr), 0);
            const Picture sampled = scaled(0, source, width, height);
            EXPECT_TRUE(samePicture(sampled, work.picture())) << width << " x " << height;
            EXPECT_TRUE(samePicture(scaled(1, sampled, 10, 11), thumbnail.picture())) << width << " x " << height;
        }
        const Image wrong(Picture(IMAGE_TYPE_16GRAY, 10, 11));
        const Image work(Picture(type, 60, 60));
        EXPECT_EQ(lxCreateThubmnailImage(&from.area, &wrong.area, &work.area, nullptr, nullptr), -1);
        EXPECT_TRUE(samePicture(scaled(0, source, 60, 60), work.picture()));
    }
}

TEST(Thumbnail, ShadesBilevelPages)
{
    // One black pixel of four; where a size does not shrink, the type stays.
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"bf ff"}),
                            thumbnailOf(Picture(IMAGE_TYPE_BW, {"#...", "...."}), 2, 1)));
    EXPECT_TRUE(
        samePicture(Picture(IMAGE_TYPE_BW, {"#.", ".."}), thumbnailOf(Picture(IMAGE_TYPE_BW, {"#...", "...."}), 2, 2)));
}

TEST(Thumbnail, RefusesUnknownTypes)
{
    ImageArea area = {};
    area.type = 7;
    EXPECT_EQ(lxCreateThubmnailImage(&area, &area, &area, &area, nullptr), IMAGE_STATUS_BAD_ARGUMENT);
}

} // namespace

} // namespace lxtest
