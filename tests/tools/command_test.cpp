// The program as a whole: arguments, help, the progress bar, and the demonstration.

#include "commands/command_line.h"
#include "files/page_file.h"
#include "picture_files.h"
#include "progress_bar.h"
#include "sample/sample_page.h"
#include "standard_streams.h"
#include "tool_test.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <unistd.h>

namespace lxpage
{

namespace
{

using CommandLine = ToolTest;

TEST_F(CommandLine, WrongArguments)
{
    const std::string in = path("in.tif");
    const std::string out = path("out.png");
    writeTiffPage(in, {"", 8});
    const std::vector<std::string> cases[] = {{},
                                              {"invent"},
                                              {"halftone"},
                                              {"halftone", in},
                                              {"halftone", in, path("out.bmp")},
                                              {"halftone", in, out, "--method", "magic"},
                                              {"halftone", in, out, "--matrix", "bayer2"},
                                              {"halftone", in, out, "--method", "threshold", "--level", "101"},
                                              {"halftone", in, out, "--method", "threshold", "--range", "0"},
                                              {"halftone", in, out, "--method", "dither", "--matrix", "bayer3"},
                                              {"halftone", in, out, "--kernel", "1,1,1,1"},
                                              {"halftone", in, out, "--random", "--kernel", "even"},
                                              {"halftone", in, out, "--random", "--band-lines", "9"},
                                              {"halftone", in, out, "--band-lines", "-1"},
                                              {"halftone", in, out, "--method", "fixed", "--band-lines", "9"},
                                              {"halftone", in, out, "--page", "0"},
                                              {"scale", in, out, "--factor", "nan"},
                                              {"scale", in, out, "--dpi", "nan"},
                                              {"sharpen", in, out, "--gains", "1,nan,1,1"},
                                              {"sharpen", in, out, "--gains", "inf"},
                                              {"tone", in, out, "--gamma", "nan"},
                                              {"page", in, "-o", path("done"), "--dpi", "nan"},
                                              {"demo", "-o", path("demo"), "--dpi", "nan"},
                                              {"demo", "-o", path("demo"), "--tilt", "nan"},
                                              {"demo", "-o", path("demo"), "--tilt", "46"}};
    for (const auto& arguments : cases) {
        const RunResult result = run(arguments);
        EXPECT_EQ(result.code, ExitCode::Usage) << testing::PrintToString(arguments);
        EXPECT_EQ(result.errors.find("lxpage: "), 0u) << result.errors;
        EXPECT_EQ(result.output, "");
    }
    EXPECT_EQ(files(), std::set<std::string>{"in.tif"});
}

TEST_F(CommandLine, ComplaintsNameTheMistake)
{
    const struct {
        std::vector<std::string> arguments;
        const char* complaint;
    } cases[] = {
        {{"invent", "--help"}, "'invent' is not a command"},
        {{"gray", "a", "b", "--page", "0"}, "--page: '0' is not a whole number from 1 to "},
        {{"gray", "a", "b", "--page", "99999999999"}, "--page: '99999999999' is not a whole number from 1 to "},
        {{"scale", "a", "b", "--dpi", "inf"}, "--dpi: 'inf' is not a number from 1 to 100000\n"}};
    for (const auto& [arguments, complaint] : cases) {
        EXPECT_EQ(run(arguments).errors.find("lxpage: " + std::string(complaint)), 0u) << complaint;
    }
}

// Ends the process, which a test runs for this, as the program does that prints into `output`.
[[noreturn]] void exitAsProgram(int output, std::vector<const char*> arguments)
{
    output < 0 ? close(STDOUT_FILENO) : dup2(output, STDOUT_FILENO);
    occupyClosedStreams();
    prepareForSignals();
    arguments.insert(arguments.begin(), "lxpage");
    std::_Exit(static_cast<int>(runCommandLine(static_cast<int>(arguments.size()), arguments.data())));
}

TEST_F(CommandLine, LostOutputIsAFailure)
{
    const std::string in = path("in.png");
    const std::string out = path("out.png");
    const std::string done = path("done");
    writePage(in, makeSamplePage({.dpi = 50}));
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    close(pipeEnds[0]);
    const struct {
        int output;
        const char* complaint;
    } outputs[] = {
        {open("/dev/full", O_WRONLY), "^lxpage: cannot write the standard output: No space left on device\n$"},
        {-1, "^lxpage: cannot write the standard output: Bad file descriptor\n$"},
        {pipeEnds[1], "^$"}}; // its reader has gone
    const std::vector<const char*> commands[] = {{"--help"},
                                                 {"--version"},
                                                 {"gray", "--help"},
                                                 {"angle", in.c_str()},
                                                 {"angle", in.c_str(), "--json"},
                                                 {"gray", in.c_str(), out.c_str(), "--time"},
                                                 {"page", in.c_str(), "-o", done.c_str()},
                                                 {"demo", "-o", done.c_str(), "--dpi", "50"}};
    constexpr int failed = static_cast<int>(ExitCode::WriteFailed);
    for (const auto& [output, complaint] : outputs) {
        for (const auto& arguments : commands) {
            EXPECT_EXIT(exitAsProgram(output, arguments), testing::ExitedWithCode(failed), complaint) << arguments[0];
        }
    }
    close(outputs[0].output);
    close(pipeEnds[1]);
}

TEST_F(CommandLine, ComplaintsFollowWhatIsPrinted)
{
    const std::string in = path("missing.png");
    const std::string done = path("done");
    EXPECT_EXIT(exitAsProgram(STDERR_FILENO, {"page", in.c_str(), "-o", done.c_str()}), testing::ExitedWithCode(3),
                "degrees.*\nlxpage: cannot read");
}

TEST_F(CommandLine, HelpAndVersionGoToTheOutput)
{
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--help"}, {"--version"}, {"halftone", "--help"}, {"demo", "--help"}}) {
        const RunResult result = run(arguments);
        EXPECT_EQ(result.code, ExitCode::Done);
        EXPECT_EQ(result.errors, "");
        EXPECT_NE(result.output, "");
    }
    EXPECT_NE(run({"--help"}).output.find("Exit codes"), std::string::npos);
}

TEST_F(CommandLine, DemoRunsEveryCommandAndWritesWhatItPrints)
{
    const RunResult result = run({"demo", "-o", path("pictures/here"), "--dpi", "60"});
    ASSERT_EQ(result.code, ExitCode::Done) << result.errors;
    EXPECT_EQ(result.errors, ""); // no progress bar without a terminal
    size_t pictures = 0;
    for (const auto& entry : std::filesystem::directory_iterator(path("pictures/here"))) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with("page")) { // the pictures of `page` and `page.png` go unsaid
            EXPECT_NE(result.output.find(entry.path().string()), std::string::npos) << name;
        }
        EXPECT_GT(readPage(entry.path().string()).width(), 0u);
        ++pictures;
    }
    EXPECT_GT(pictures, 35u);
    const std::string help = run({"--help"}).output;
    const size_t list = help.find("Subcommands:");
    ASSERT_NE(list, std::string::npos);
    std::istringstream lines(help.substr(list));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line) && line.starts_with("  ")) {
        const std::string command = line.substr(2, line.find(' ', 2) - 2);
        EXPECT_TRUE(command == "demo" || result.output.find("lxpage " + command + " ") != std::string::npos) << command;
    }
}

TEST(SamplePage, LiesAskewOnADarkBed)
{
    SamplePage sample;
    sample.dpi = 60;
    const Image page = makeSamplePage(sample);
    const auto greenAt = [&](uint32_t x, uint32_t y) { return colorAt(page, x, y)[1]; };
    const uint32_t right = page.width() - 1;
    const uint32_t bottom = page.height() - 1;
    // Clockwise: bed in the top left and bottom right corners, paper in the middle.
    EXPECT_LT(greenAt(1, 1), 80);
    EXPECT_LT(greenAt(right - 1, bottom - 1), 80);
    EXPECT_GT(greenAt(right * 6 / 10, bottom * 11 / 12), 200);
    const Image again = makeSamplePage(sample);
    for (uint32_t y = 0; y <= bottom; ++y) {
        ASSERT_TRUE(std::equal(page.line(y), page.line(y) + page.bytesPerLine(), again.line(y))) << y;
    }
}

TEST(ProgressBar, GrowsOverTheParts)
{
    std::FILE* stream = std::tmpfile();
    {
        ProgressBar bar("work", stream);
        bar.part(0, 2)(25, 50);
        bar.part(1, 2)(25, 50);
    }
    std::string text(1000, '\0');
    std::rewind(stream);
    text.resize(std::fread(text.data(), 1, text.size(), stream));
    std::fclose(stream);
    size_t position = 0;
    for (const char* shown : {"work", "  0 %", " 25 %", " 50 %", " 75 %", "\r\x1b[K"}) {
        position = text.find(shown, position);
        ASSERT_NE(position, std::string::npos) << shown;
    }
    ProgressBar silent("", nullptr);
    EXPECT_EQ(silent.part(0, 1), nullptr);
}

} // namespace

} // namespace lxpage
