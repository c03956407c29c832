// The commands that correct a page, change its type, and paste and mask: each on a few pixels.

#include "files/page_file.h"
#include "tool_test.h"

namespace lxpage
{

namespace
{

class Corrections : public ToolTest
{
  protected:
    // A file of one line of colours.
    std::string lineOf(const std::string& name, const std::vector<Rgb>& colors)
    {
        Image image(IMAGE_TYPE_16MRGB, static_cast<uint32_t>(colors.size()), 1, {300, 300});
        uint8_t* to = image.line(0);
        for (const Rgb& color : colors) {
            for (const int component : color) {
                *to++ = static_cast<uint8_t>(component);
            }
        }
        writePage(path(name), image);
        return path(name);
    }

    std::vector<Rgb> resultOf(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin() + 2, path("out.png"));
        const RunResult result = run(arguments);
        EXPECT_EQ(result.code, ExitCode::Done) << result.errors;
        const Image image = readPage(path("out.png"));
        EXPECT_NEAR(image.resolution.x, 300, 0.02);
        std::vector<Rgb> colors;
        for (uint32_t x = 0; x < image.width(); ++x) {
            colors.push_back(colorAt(image, x, 0));
        }
        return colors;
    }
};

using Colors = std::vector<Rgb>;

TEST_F(Corrections, CorrectToneColorAndSharpness)
{
    const std::string in = lineOf("in.png", {{10, 20, 30}, {255, 0, 0}});
    EXPECT_EQ(resultOf({"tone", in, "--negative"}), Colors({{245, 235, 225}, {0, 255, 255}}));
    EXPECT_EQ(resultOf({"tone", in, "--brightness", "100"}), Colors({{138, 148, 158}, {255, 128, 128}}));
    EXPECT_EQ(resultOf({"color", in, "--saturation", "-100"}), Colors({{20, 20, 20}, {85, 85, 85}}));
    EXPECT_EQ(resultOf({"color", in, "--hue", "-120"}).at(1), Rgb({0, 0, 255}));
    const std::string edge = lineOf("edge.png", {{50, 50, 50}, {100, 100, 100}, {50, 50, 50}});
    EXPECT_EQ(resultOf({"sharpen", edge, "--gains", "8,0,0,0"}).at(1), Rgb({200, 200, 200}));
    EXPECT_EQ(resultOf({"sharpen", edge, "--cross", "--gains", "4"}).at(1), Rgb({150, 150, 150}));
}

TEST_F(Corrections, ReduceColors)
{
    const std::string in = lineOf("in.png", {{200, 100, 129}, {86, 86, 86}, {255, 255, 255}});
    EXPECT_EQ(resultOf({"quantize", in, "--colors", "8", "--method", "threshold"}),
              Colors({{255, 0, 255}, {0, 0, 0}, {255, 255, 255}}));
    EXPECT_EQ(resultOf({"quantize", in, "--colors", "16"}).at(1), Rgb({192, 192, 192}));
    EXPECT_EQ(resultOf({"quantize", in, "--colors", "256"}).at(0), Rgb({204, 102, 153}));
    for (const char* method : {"dither", "diffusion"}) {
        EXPECT_EQ(resultOf({"quantize", in, "--colors", "8", "--method", method}).at(2), Rgb({255, 255, 255}));
    }
}

TEST_F(Corrections, MakeGrayAndFullColor)
{
    const std::string in = lineOf("in.png", {{200, 100, 50}, {255, 255, 255}, {0, 0, 0}});
    EXPECT_EQ(resultOf({"gray", in, "--channel", "green"}), Colors({{100, 100, 100}, {255, 255, 255}, {0, 0, 0}}));
    EXPECT_EQ(resultOf({"gray", in, "--channel", "blue", "--levels", "16"}).at(0), Rgb({34, 34, 34}));
    const std::string bilevel = path("bilevel.png");
    ASSERT_EQ(run({"halftone", in, bilevel, "--method", "fixed"}).code, ExitCode::Done);
    EXPECT_EQ(resultOf({"gray", bilevel}), Colors({{0, 0, 0}, {255, 255, 255}, {0, 0, 0}}));
    EXPECT_EQ(resultOf({"gray", bilevel, "--window", "3"}).at(1), Rgb({102, 102, 102}));
    EXPECT_EQ(resultOf({"full-color", bilevel}), Colors({{0, 0, 0}, {255, 255, 255}, {0, 0, 0}}));
    EXPECT_EQ(resultOf({"full-color", in, "--window", "3"}).at(0), Rgb({153, 51, 51}));
}

TEST_F(Corrections, PasteAndMask)
{
    const std::string in = lineOf("in.png", {{1, 1, 1}, {2, 2, 2}, {3, 3, 3}});
    const std::string picture = lineOf("picture.png", {{7, 8, 9}, {250, 250, 250}});
    EXPECT_EQ(resultOf({"paste", in, "--picture", picture, "--at", "1,0"}),
              Colors({{1, 1, 1}, {7, 8, 9}, {250, 250, 250}}));
    EXPECT_EQ(resultOf({"paste", in, "--picture", picture, "--key", "245,245,245", "--tolerance", "5"}),
              Colors({{7, 8, 9}, {2, 2, 2}, {3, 3, 3}}));
    EXPECT_EQ(resultOf({"mask", in, "--area", "1,0,1,1", "--color", "9,0,255"}),
              Colors({{1, 1, 1}, {9, 0, 255}, {3, 3, 3}}));
    EXPECT_EQ(resultOf({"mask", picture, "--tint", "--color", "128,128,128"}), Colors({{7, 8, 9}, {158, 158, 158}}));
}

TEST_F(Corrections, RefuseWrongArguments)
{
    const std::string in = lineOf("in.png", {{1, 1, 1}, {2, 2, 2}});
    const std::string out = path("out.png");
    const std::vector<std::string> cases[] = {{"tone", in, out, "--gamma", "101"},
                                              {"tone", in, out, "--shadow", "-1"},
                                              {"color", in, out, "--hue", "181"},
                                              {"sharpen", in, out, "--gains", "1,2"},
                                              {"quantize", in, out, "--colors", "9"},
                                              {"quantize", in, out, "--method", "dither"},
                                              {"paste", in, out},
                                              {"paste", in, out, "--picture", in, "--at", "2,0"},
                                              {"paste", in, out, "--picture", in, "--at", "1"},
                                              {"paste", in, out, "--picture", in, "--tolerance", "3"},
                                              {"paste", in, out, "--picture", in, "--key", "1,2,256"},
                                              {"gray", in, out, "--window", "4"},
                                              {"gray", in, out, "--levels", "4"},
                                              {"full-color", in, out, "--window", "0"},
                                              {"halftone", in, out, "--method", "fixed", "--channel", "red"},
                                              {"mask", in, out, "--color", "1,2,"},
                                              {"mask", in, out, "--area", "2,0,1,1"},
                                              {"mask", in, out, "--area", "0,1,1,1"},
                                              {"mask", in, out, "--area", "0,0,1"}};
    for (const auto& arguments : cases) {
        const RunResult result = run(arguments);
        EXPECT_EQ(result.code, ExitCode::Usage) << testing::PrintToString(arguments);
        EXPECT_EQ(result.errors.find("lxpage: "), 0u) << result.errors;
    }
    EXPECT_EQ(files(), std::set<std::string>{"in.png"});
}

} // namespace

} // namespace lxpage
