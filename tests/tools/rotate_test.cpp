// Turned pages: every pixel of a quarter turn, and the white around any other turn.

#include "files/page_file.h"
#include "picture_files.h"
#include "tool_test.h"

namespace lxpage
{

namespace
{

class Rotate : public ToolTest
{
  protected:
    // The page turned by `arguments`.
    Image rotated(const Image& page, const std::vector<std::string>& arguments)
    {
        writePage(path("in.png"), page);
        std::vector<std::string> all = {"rotate", path("in.png"), path("out.png"), "--angle"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const RunResult result = run(all);
        EXPECT_EQ(result.code, ExitCode::Done) << result.errors;
        return readPage(path("out.png"));
    }

    // Something in every pixel, and black in the corners.
    static Image patterned(uint16_t type)
    {
        Image image(type, kWidth, kHeight, {300, 200});
        for (uint32_t y = 0; y < kHeight; ++y) {
            for (uint32_t x = 0; x < image.bytesPerLine(); ++x) {
                image.line(y)[x] = static_cast<uint8_t>(sampleOf(x, y, 0, 8));
            }
        }
        return image;
    }
};

TEST_F(Rotate, ByQuarterTurns)
{
    for (uint16_t type = IMAGE_TYPE_BW; type <= IMAGE_TYPE_16MRGB; ++type) {
        SCOPED_TRACE(typeName(type));
        const Image page = patterned(type);
        const Image right = rotated(page, {"90"});
        const Image left = rotated(page, {"-90"});
        const Image over = rotated(page, {"540"});
        ASSERT_EQ(right.width(), kHeight);
        ASSERT_EQ(left.height(), kWidth);
        ASSERT_EQ(over.width(), kWidth);
        EXPECT_NEAR(right.resolution.x, 200, 1e-3);
        for (uint32_t y = 0; y < kHeight; ++y) {
            for (uint32_t x = 0; x < kWidth; ++x) {
                ASSERT_EQ(colorAt(right, kHeight - 1 - y, x), colorAt(page, x, y));
                ASSERT_EQ(colorAt(left, y, kWidth - 1 - x), colorAt(page, x, y));
                ASSERT_EQ(colorAt(over, kWidth - 1 - x, kHeight - 1 - y), colorAt(page, x, y));
            }
        }
    }
}

TEST_F(Rotate, ByAnyAngleOverWhite)
{
    constexpr Rgb white = {255, 255, 255};
    for (uint16_t type = IMAGE_TYPE_BW; type <= IMAGE_TYPE_16MRGB; ++type) {
        SCOPED_TRACE(typeName(type));
        const Image page = patterned(type);
        const Image same = rotated(page, {"30"});
        const Image grown = rotated(page, {"30", "--grow"});
        EXPECT_EQ(same.width(), kWidth);
        EXPECT_EQ(same.height(), kHeight);
        EXPECT_EQ(grown.width(), 44U); // 37 cos + 21 sin, and a pixel
        EXPECT_EQ(grown.height(), 38U);
        for (const Image* turned : {&same, &grown}) {
            const uint32_t right = turned->width() - 1;
            const uint32_t bottom = turned->height() - 1;
            EXPECT_EQ(colorAt(*turned, turned->width() / 2, turned->height() / 2),
                      colorAt(page, kWidth / 2, kHeight / 2));
            EXPECT_EQ(colorAt(*turned, 0, bottom), white);
            EXPECT_EQ(colorAt(*turned, right, 0), white);
        }
    }
}

TEST_F(Rotate, RefusesWhatIsNoAngle)
{
    writePage(path("in.png"), patterned(IMAGE_TYPE_BW));
    for (const char* angle : {"", "left", "nan", "inf"}) {
        EXPECT_EQ(run({"rotate", path("in.png"), path("out.png"), "--angle", angle}).code, ExitCode::Usage) << angle;
    }
    EXPECT_EQ(files(), std::set<std::string>{"in.png"});
}

} // namespace

} // namespace lxpage
