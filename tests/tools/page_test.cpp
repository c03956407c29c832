// The road of a whole page: measured, straightened, stored bilevel, and shown.

#include "files/page_file.h"
#include "sample/sample_page.h"
#include "slant.h"
#include "tool_test.h"

#include <sstream>

namespace lxpage
{

namespace
{

class PageRoad : public ToolTest
{
  protected:
    // A scan of as many pages as tilts.
    std::string scan(const std::string& name, const std::vector<double>& tilts)
    {
        PageWriter writer(path(name));
        for (const double tilt : tilts) {
            writer.append(makeSamplePage({.dpi = 100, .tiltDegrees = tilt}));
        }
        writer.finish();
        return path(name);
    }
};

TEST_F(PageRoad, StraightensStoresAndPreviewsEveryPage)
{
    const std::string in = scan("scan.tif", {2.0, 1.0});
    const RunResult result = run({"page", in, "-o", path("done"), "--dpi", "50", "--overlay", "--steps"});
    ASSERT_EQ(result.code, ExitCode::Done) << result.errors;
    std::istringstream lines(result.output);
    std::string line;
    std::getline(lines, line);
    const auto stored = openPages(path("done/scan.tif"));
    ASSERT_EQ(stored->count(), 2u);
    const double tilts[] = {2.0, 1.0};
    for (unsigned k = 0; k < 2; ++k) {
        std::getline(lines, line);
        EXPECT_NEAR(std::stod(line), -tilts[k], 0.3) << line;
        const Image page = stored->read(k);
        EXPECT_EQ(page.type(), IMAGE_TYPE_BW);
        EXPECT_NEAR(page.resolution.x, 50, 0.2);
        const std::string stem = path("done/scan-" + std::to_string(k + 1));
        EXPECT_EQ(readPage(stem + "-thumbnail.png").height(), 200u);
        EXPECT_EQ(readPage(stem + "-gray.png").type(), IMAGE_TYPE_256GRAY);
        EXPECT_EQ(readPage(stem + "-halftone.png").type(), IMAGE_TYPE_BW);
        // What is left of the tilt is less than half of it.
        const Image straight = readPage(stem + "-straight.png");
        EXPECT_LT(std::abs(measureAngle(straight, nullptr)), std::abs(tilts[k]) / 2);
    }
}

TEST_F(PageRoad, OverlayShowsTheEdgeThatGaveTheAngle)
{
    const Image page = makeSamplePage({.dpi = 100, .tiltDegrees = 2.0});
    const Slant slant = measureSlant(page, nullptr);
    const Image overlay = slantOverlay(page, slant);
    ASSERT_EQ(overlay.height(), 750u);
    const bool isA = slant.endA.column != 0 || slant.endA.row != 0;
    const Slant::Point& end = isA ? slant.endA : slant.endB;
    ASSERT_NE(end.column, 0u);
    EXPECT_EQ(colorAt(overlay, end.column, end.row), isA ? Rgb({230, 0, 0}) : Rgb({0, 160, 0}));
    EXPECT_EQ(colorAt(overlay, slant.bandFirst.column, slant.bandFirst.row), Rgb({0, 90, 255}));
}

TEST_F(PageRoad, RefusesToOverwriteAndKeepsPagesOfUnknownResolution)
{
    const std::string in = scan("scan.tif", {0});
    putBytes(path("plain.pgm"), "P5 3 2 255\n" + std::string(6, '\xff'));
    putBytes(path("scan.png"), "");
    const std::vector<std::string> cases[] = {{"page", in},
                                              {"page", in, path("scan.png"), "-o", path("done")},
                                              {"page", in, "-o", path("")},
                                              {"page", in, "-o", path("done"), "--dpi", "0"}};
    for (const auto& arguments : cases) {
        EXPECT_EQ(run(arguments).code, ExitCode::Usage) << testing::PrintToString(arguments);
    }
    EXPECT_EQ(run({"page", in, "-o", path("plain.pgm/done")}).code, ExitCode::WriteFailed);
    EXPECT_EQ(run({"page", path("scan.png"), "-o", path("done")}).code, ExitCode::Damaged);
    EXPECT_EQ(run({"page", path("plain.pgm"), "-o", path("done")}).code, ExitCode::Done);
    EXPECT_EQ(readPage(path("done/plain.tif")).width(), 3u);
}

} // namespace

} // namespace lxpage
