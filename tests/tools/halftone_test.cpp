// Halftoning in bands, whatever their height, gives the picture of the whole page; and the built-in matrices and
// kernels are what they claim.

#include "files/page_file.h"
#include "halftone.h"
#include "picture_files.h"
#include "sample/sample_page.h"
#include "tool_test.h"

#include <numeric>

namespace lxpage
{

namespace
{

std::string picture(const Image& image)
{
    std::string text;
    for (uint32_t y = 0; y < image.height(); ++y) {
        for (uint32_t x = 0; x < image.width(); ++x) {
            text += colorAt(image, x, y)[0] ? '.' : '#';
        }
        text += '\n';
    }
    return text;
}

Image flat(uint8_t shade, uint32_t width, uint32_t height)
{
    Image image(IMAGE_TYPE_256GRAY, width, height);
    for (uint32_t y = 0; y < height; ++y) {
        std::fill_n(image.line(y), width, shade);
    }
    return image;
}

Image halftoned(const Image& page, const HalftoneSettings& settings)
{
    ProgressBar silent("", nullptr);
    return halftone(page, settings, silent);
}

TEST(Halftone, BandsGiveTheWholePage)
{
    SamplePage sample;
    sample.dpi = 51; // 422 x 596: no multiple of a matrix or a band
    const Image page = makeSamplePage(sample);
    for (const HalftoneMethod method : {HalftoneMethod::Threshold, HalftoneMethod::Dither, HalftoneMethod::Diffusion}) {
        HalftoneSettings settings;
        settings.method = method;
        settings.matrix = matrixNamed("bayer16");
        settings.kernels.push_back(kernelFrom("light"));
        settings.bandLines = 0;
        const std::string whole = picture(halftoned(page, settings));
        EXPECT_NE(whole.find('#'), std::string::npos);
        EXPECT_NE(whole.find('.'), std::string::npos);
        for (const uint32_t lines : {1u, 7u, 128u, 595u, 596u, 1000u}) {
            settings.bandLines = lines;
            EXPECT_TRUE(picture(halftoned(page, settings)) == whole) << lines << " lines, method " << int(method);
        }
    }
}

TEST(Halftone, DitherPatternStandsUprightAtAnyWidth)
{
    HalftoneSettings settings;
    settings.method = HalftoneMethod::Dither;
    settings.matrix = matrixNamed("bayer2"); // thresholds 0, 128 over 192, 64
    EXPECT_EQ(picture(halftoned(flat(100, 5, 3), settings)), ".#.#.\n#.#.#\n.#.#.\n");
}

TEST(Halftone, MatricesHoldEveryRankOnce)
{
    for (const std::string& name : matrixNames()) {
        const DitherMatrix matrix = matrixNamed(name);
        std::set<unsigned> ranks;
        for (unsigned row = 0; row < matrix.rows; ++row) {
            ranks.insert(matrix.values[row], matrix.values[row] + matrix.columns);
        }
        EXPECT_EQ(ranks.size(), size_t{matrix.columns} * matrix.rows) << name;
        EXPECT_EQ(*ranks.rbegin() + 1, ranks.size()) << name;
    }
}

TEST(Halftone, KernelsPassOnTheWholeErrorAtMost)
{
    for (const std::string& name : kernelNames()) {
        const ErrorDiffusionKernel kernel = kernelFrom(name);
        EXPECT_EQ(kernel.right + kernel.lowerLeft + kernel.below + kernel.lowerRight, 1) << name;
    }
    const ErrorDiffusionKernel own = kernelFrom("0.5,0,0.25,0.125");
    EXPECT_EQ(own.right, 0.5);
    EXPECT_EQ(own.lowerRight, 0.125);
    for (const char* text : {"", "nobody", "1,0,0", "1,0,0,0,0", "0.5,0.5,0.5,0", "-0.1,0.5,0.5,0", "nan,0,0,0"}) {
        EXPECT_THROW(kernelFrom(text), PageError) << text;
    }
}

TEST(Halftone, RandomKernelsKeepTheShade)
{
    HalftoneSettings settings;
    settings.randomKernels = true;
    settings.bandLines = 8;
    settings.kernels = {kernelFrom("floyd-steinberg"), kernelFrom("light"), kernelFrom("even")};
    const std::string text = picture(halftoned(flat(64, 200, 200), settings));
    EXPECT_NEAR(double(std::count(text.begin(), text.end(), '.')), 200 * 200 * 64 / 255.0, 400);
}

using HalftoneCommand = ToolTest;

// A black square in the top left quarter of a white page.
TEST_F(HalftoneCommand, BlackStaysBlackThroughEveryFileAndMethod)
{
    Image page(IMAGE_TYPE_BW, 16, 16, {200, 200});
    for (uint32_t y = 0; y < 16; ++y) {
        page.line(y)[0] = y < 8 ? 0x00 : 0xFF;
        page.line(y)[1] = 0xFF;
    }
    const std::string expected = picture(page);
    for (const char* in : {"in.png", "in.tif"}) {
        writePage(path(in), page);
        for (const char* method : {"threshold", "dither", "diffusion"}) {
            for (const char* out : {"out.png", "out.tif"}) {
                ASSERT_EQ(run({"halftone", path(in), path(out), "--method", method}).code, ExitCode::Done);
                const Image result = readPage(path(out));
                EXPECT_EQ(result.type(), IMAGE_TYPE_BW);
                EXPECT_EQ(picture(result), expected) << in << ", " << method << ", " << out;
                EXPECT_NEAR(result.resolution.x, 200, 1e-3);
            }
        }
    }
}

TEST_F(HalftoneCommand, OptionsReachTheLibrary)
{
    Image page(IMAGE_TYPE_16MRGB, 4, 1); // gray 82, 85, 90, 200
    const uint8_t pixels[] = {250, 0, 0, 0, 250, 0, 90, 90, 90, 200, 200, 200};
    std::copy(std::begin(pixels), std::end(pixels), page.line(0));
    writePage(path("in.png"), page);
    const struct {
        std::vector<std::string> options;
        const char* expected;
    } cases[] = {
        {{"--method", "threshold"}, "###.\n"},
        {{"--method", "threshold", "--channel", "red"}, ".##.\n"},
        {{"--method", "threshold", "--channel", "green"}, "#.#.\n"},
        {{"--method", "threshold", "--level", "-50"}, "....\n"},
        {{"--method", "threshold", "--level", "-11", "--range", "32"}, "#...\n"}, // threshold 84
        {{"--method", "dither", "--matrix", "bayer2"},
         ".#.."
         "\n"},
        {{"--kernel", "1,0,0,0"}, "#.#.\n"},
        {{"--kernel", "0,0,0,0", "--kernel", "1,0,0,0"}, "##..\n"},
    };
    for (const auto& test : cases) {
        std::vector<std::string> arguments = {"halftone"};
        arguments.insert(arguments.end(), test.options.begin(), test.options.end());
        arguments.insert(arguments.end(), {path("in.png"), path("out.png")});
        const RunResult result = run(arguments);
        ASSERT_EQ(result.code, ExitCode::Done) << result.errors;
        EXPECT_EQ(picture(readPage(path("out.png"))), test.expected)
            << std::accumulate(test.options.begin(), test.options.end(), std::string());
    }
}

} // namespace

} // namespace lxpage
