// `lxpage scale`: sizes, formats, and what it refuses.

#include "scale.h"

#include "files/page_file.h"
#include "picture_files.h"
#include "tool_test.h"

namespace lxpage
{

namespace
{

Image scaled(const Image& page, const std::string& method, const PageSize& size)
{
    ProgressBar silent("", nullptr);
    return scale(page, scaleMethodNamed(method), size, silent);
}

Image whitePage(uint16_t type, uint32_t width, uint32_t height)
{
    Image image(type, width, height, {300, 150});
    fillWhite(image);
    return image;
}

TEST(ScaledSize, ByFactorResolutionOrSides)
{
    const Image page(IMAGE_TYPE_256GRAY, 100, 60, {300, 150});
    const auto expectSize = [&](const ScaleTarget& target, uint32_t width, uint32_t height) {
        const PageSize size = scaledSize(page, target);
        EXPECT_EQ(size.width, width);
        EXPECT_EQ(size.height, height);
    };
    expectSize({.factor = 0.333}, 33, 20);
    expectSize({.factor = 0.001}, 1, 1);
    expectSize({.dpi = 75}, 25, 30);
    expectSize({.width = 7, .height = 9}, 7, 9);
    expectSize({.width = 50}, 50, 30);
    expectSize({.height = 30}, 50, 30);
    try {
        scaledSize(Image(IMAGE_TYPE_BW, 10, 10), {.dpi = 75});
        FAIL() << "a page without a resolution was taken";
    } catch (const PageError& error) {
        EXPECT_EQ(error.code(), ExitCode::Unsupported);
    }
}

TEST(Scale, EveryMethodOnEveryTypeKeepsWhite)
{
    for (uint16_t type = IMAGE_TYPE_BW; type <= IMAGE_TYPE_16MRGB; ++type) {
        const Image page = whitePage(type, 60, 44);
        for (const std::string& method : scaleMethodNames()) {
            const bool forBilevel =
                method == "smooth" || method == "majority" || method == "runs" || method == "black-priority";
            if (forBilevel && type != IMAGE_TYPE_BW) {
                EXPECT_THROW(scaled(page, method, {20, 30}), PageError);
                continue;
            }
            for (const PageSize& size : {PageSize{20, 30}, PageSize{60, 44}, PageSize{97, 101}, PageSize{97, 20}}) {
                if (method == "black-priority" && (size.width >= 60 || size.height >= 44)) {
                    EXPECT_THROW(scaled(page, method, size), PageError);
                    continue;
                }
                const Image result = scaled(page, method, size);
                ASSERT_EQ(result.width(), size.width);
                ASSERT_EQ(result.height(), size.height);
                EXPECT_NEAR(result.resolution.x, 300.0 * size.width / 60, 1e-9);
                EXPECT_NEAR(result.resolution.y, 150.0 * size.height / 44, 1e-9);
                for (uint32_t y = 0; y < size.height; ++y) {
                    for (uint32_t x = 0; x < size.width; ++x) {
                        ASSERT_EQ(colorAt(result, x, y), (Rgb{255, 255, 255})) << method << " of " << typeName(type);
                    }
                }
            }
        }
    }
}

TEST(Scale, MethodsDiffer)
{
    Image page = whitePage(IMAGE_TYPE_BW, 8, 4);
    page.line(1)[0] = 0xBF; // one black pixel, in the first of two blocks
    const auto first = [&](const std::string& method) { return colorAt(scaled(page, method, {2, 1}), 0, 0)[0]; };
    EXPECT_EQ(first("sampling"), 255);
    EXPECT_EQ(first("majority"), 255);
    EXPECT_EQ(first("black-priority"), 0);
    EXPECT_EQ(first("runs"), 0);
    EXPECT_EQ(first("averaging"), 239); // 255 * 15 / 16
    EXPECT_EQ(first("smooth"), 241);    // (239 + 6 * 239 + 255 + 4) / 8
    EXPECT_EQ(suitableMethod(page), ScaleMethod::Majority);
}

using ScaleCommand = ToolTest;

TEST_F(ScaleCommand, ScalesAFile)
{
    Image page(IMAGE_TYPE_16MRGB, 90, 60, {200, 200});
    fillWhite(page);
    page.line(0)[0] = 90; // the first of nine pixels, with less red
    writePage(path("in.png"), page);
    const RunResult result = run({"scale", path("in.png"), path("out.png"), "--size", "30x"});
    ASSERT_EQ(result.code, ExitCode::Done) << result.errors;
    const Image image = readPage(path("out.png"));
    EXPECT_EQ(image.width(), 30u);
    EXPECT_EQ(image.height(), 20u);
    EXPECT_NEAR(image.resolution.x, 200.0 / 3, 0.02);
    EXPECT_EQ(colorAt(image, 0, 0), (Rgb{236, 255, 255})); // (8 * 255 + 90) / 9, truncated
    EXPECT_EQ(colorAt(image, 1, 0), (Rgb{255, 255, 255}));
}

TEST_F(ScaleCommand, WrongArguments)
{
    writePage(path("in.png"), whitePage(IMAGE_TYPE_256GRAY, 20, 20));
    const std::vector<std::string> cases[] = {{},
                                              {"--factor", "0"},
                                              {"--factor", "2", "--dpi", "100"},
                                              {"--size", "20"},
                                              {"--size", "x"},
                                              {"--size", "0x9"},
                                              {"--size", "9x-9"},
                                              {"--size", "99999x9"},
                                              {"--size", "9x9x9"},
                                              {"--factor", "0.5", "--method", "runs"},
                                              {"--factor", "0.5", "--method", "best"}};
    for (const auto& options : cases) {
        std::vector<std::string> arguments = {"scale", path("in.png"), path("out.png")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(run(arguments).code, ExitCode::Usage) << testing::PrintToString(options);
    }
    EXPECT_EQ(run({"scale", path("in.png"), path("out.png"), "--factor", "9999"}).code, ExitCode::TooLarge);
    EXPECT_EQ(files(), std::set<std::string>{"in.png"});
}

} // namespace

} // namespace lxpage
