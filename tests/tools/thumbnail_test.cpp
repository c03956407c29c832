// `lxpage thumbnail`: sizes and formats.

#include "thumbnail.h"

#include "files/page_file.h"
#include "picture_files.h"
#include "tool_test.h"

namespace lxpage
{

namespace
{

Image thumbnailOf(uint16_t type, uint32_t width, uint32_t height, uint32_t side)
{
    Image page(type, width, height, {300, 300});
    fillWhite(page);
    ProgressBar silent("", nullptr);
    return thumbnail(page, side, silent);
}

TEST(Thumbnail, KeepsProportionsAndWhite)
{
    struct Known {
        uint32_t width, height, side, newWidth, newHeight;
    };
    constexpr Known sizes[] = {
        {248, 351, 20, 14, 20}, {351, 248, 100, 100, 71}, {500, 2, 50, 50, 1}, {10, 8, 30, 30, 24}, {1, 1, 1, 1, 1}};
    for (uint16_t type = IMAGE_TYPE_BW; type <= IMAGE_TYPE_16MRGB; ++type) {
        for (const Known& known : sizes) {
            const Image result = thumbnailOf(type, known.width, known.height, known.side);
            ASSERT_EQ(result.width(), known.newWidth);
            ASSERT_EQ(result.height(), known.newHeight);
            EXPECT_NEAR(result.resolution.x, 300.0 * known.newWidth / known.width, 1e-9);
            const bool smaller = known.newWidth < known.width && known.newHeight < known.height;
            const uint16_t expected = smaller && type == IMAGE_TYPE_BW     ? uint16_t{IMAGE_TYPE_256GRAY}
                                      : smaller && type == IMAGE_TYPE_8RGB ? uint16_t{IMAGE_TYPE_16MRGB}
                                                                           : type;
            EXPECT_EQ(result.type(), expected);
            for (uint32_t y = 0; y < result.height(); ++y)
                for (uint32_t x = 0; x < result.width(); ++x)
                    ASSERT_EQ(colorAt(result, x, y), (Rgb{255, 255, 255})) << typeName(type);
        }
    }
}

} // namespace

} // namespace lxpage
