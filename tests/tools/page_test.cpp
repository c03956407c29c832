// The road of a whole page: measured, straightened, stored bilevel, and shown.

#include "files/page_file.h"
#include "sample/sample_page.h"
#include "slant.h"
#include "tool_test.h"

#include <algorithm>
#include <filesystem>
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
        EXPECT_LT(std::abs(measureSlant(straight, false, nullptr).angle), std::abs(tilts[k]) / 2);
    }
}

TEST_F(PageRoad, OverlayShowsTheEdgeThatGaveTheAngle)
{
    const Image page = makeSamplePage({.dpi = 100, .tiltDegrees = 2.0});
    const Slant slant = measureSlant(page, true, nullptr);
    const Image overlay = slantOverlay(page, slant);
    ASSERT_EQ(overlay.height(), 750u);
    const bool isA = slant.hasEdgeA();
    const Slant::Point& end = isA ? slant.endA : slant.endB;
    ASSERT_NE(end.column, 0u);
    EXPECT_EQ(colorAt(overlay, end.column, end.row), isA ? Rgb({230, 0, 0}) : Rgb({0, 160, 0}));
    EXPECT_EQ(colorAt(overlay, slant.bandFirst.column, slant.bandFirst.row), Rgb({0, 90, 255}));
}

TEST_F(PageRoad, TellsWhereNothingCouldBeMeasured)
{
    const struct {
        double tilt;
        bool isMeasured;
    } cases[] = {{0, true}, {2, true}, {7, false}}; // the last one is too steep, though its edge is found
    for (const auto& [tilt, isMeasured] : cases) {
        const Slant slant = measureSlant(makeSamplePage({.dpi = 60, .tiltDegrees = tilt}), true, nullptr);
        EXPECT_EQ(slant.isMeasured(), isMeasured) << tilt;
        EXPECT_TRUE(slant.hasEdgeA() || slant.hasEdgeB()) << tilt;
    }
    Image blank(IMAGE_TYPE_256GRAY, 90, 120);
    fillWhite(blank);
    writePage(path("blank.png"), blank);
    EXPECT_EQ(run({"angle", path("blank.png")}).output, "not measured  " + path("blank.png") + "\n");
    EXPECT_EQ(run({"angle", path("blank.png"), "--json"}).output,
              "[\n  {\"file\": \"" + path("blank.png") +
                  "\", \"page\": 1, \"measured\": false, \"degrees\": 0.000000, \"measuredOn\": [563, 750], "
                  "\"bandFirst\": null, \"bandLast\": null, \"startA\": null, \"endA\": null, \"startB\": null, "
                  "\"endB\": null}\n]\n");
    const Image overlay = slantOverlay(blank, measureSlant(blank, true, nullptr));
    for (uint32_t y = 0; y < overlay.height(); ++y) {
        for (uint32_t x = 0; x < overlay.width(); ++x) {
            ASSERT_EQ(colorAt(overlay, x, y), Rgb({255, 255, 255})) << x << ", " << y;
        }
    }
}

TEST_F(PageRoad, GoesOnAfterABadInput)
{
    const std::string first = scan("first.tif", {0});
    const std::string damaged = scan("damaged.tif", {0, 1});
    const std::string last = scan("last.png", {0});
    std::string bytes = bytesOf(damaged);
    bytes.replace(bytes.size() * 7 / 10, 99, 99, '\0'); // in the second page
    putBytes(damaged, bytes);
    const std::vector<std::string> inputs = {first, path("missing.png"), damaged, last};
    const auto runOn = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin() + 1, inputs.begin(), inputs.end());
        const RunResult result = run(arguments);
        EXPECT_EQ(result.code, ExitCode::Unreadable);
        EXPECT_NE(result.errors.find("'" + inputs[1] + "'"), std::string::npos) << result.errors;
        EXPECT_NE(result.errors.find("'" + damaged + "'"), std::string::npos) << result.errors;
        return result.output;
    };
    runOn({"page", "-o", path("done")});
    std::set<std::string> written;
    for (const auto& entry : std::filesystem::directory_iterator(path("done"))) {
        written.insert(entry.path().filename().string());
    }
    EXPECT_EQ(written, (std::set<std::string>{"first.tif", "first-thumbnail.png", "last.tif", "last-thumbnail.png"}));
    const std::string list = runOn({"angle", "--json"});
    EXPECT_EQ(std::count(list.begin(), list.end(), '{'), 3); // one page of the damaged file
    EXPECT_TRUE(list.starts_with("[\n  {") && list.ends_with("}\n]\n")) << list;
    EXPECT_EQ(run({"angle", "--json", path("missing.png")}).output, "[\n]\n");
}

TEST_F(PageRoad, RefusesToOverwriteAndKeepsPagesOfUnknownResolution)
{
    const std::string in = scan("scan.tif", {0});
    putBytes(path("plain.pgm"), "P5 3 2 255\n" + std::string(6, '\xff'));
    putBytes(path("scan.png"), "");
    putBytes(path("scan-thumbnail.png"), "");
    const std::string pages = scan("pages.tif", {0, 0});
    putBytes(path("pages-2.pgm"), "P5 1 1 255\n1");
    std::filesystem::create_directory(path("in"));
    const std::string inner = scan("in/scan.tif", {0});
    const std::vector<std::string> cases[] = {{"page", in},
                                              {"page", in, path("scan.png"), "-o", path("done")},
                                              {"page", in, "-o", path("")},
                                              {"page", inner, path("scan-thumbnail.png"), "-o", path("")},
                                              {"page", pages, path("pages-2.pgm"), "-o", path("done")},
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
