// `lxpage demo`: a page of our own making taken through everything the tool can do, one picture a step. The steps are
// command lines, printed as they run: what is shown here can be typed.

#include "commands/command_line.h"
#include "commands/list.h"
#include "commands/options.h"
#include "error.h"
#include "files/page_file.h"
#include "sample/sample_page.h"
#include "standard_streams.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <sstream>

namespace lxpage
{

namespace
{

struct DemoOptions {
    std::string directory = "demo";
    SamplePage page;
};

// Names of pictures are within the demonstration's directory.
constexpr const char* steps[] = {
    "page page.png -o . --overlay --steps",
    "angle page.png",

    "gray page.png gray.png",
    "gray page.png gray-red.png --channel red",
    "gray page.png gray-16.png --levels 16",
    "halftone page.png fixed.png --method fixed",
    "halftone page.png threshold.tif --method threshold",
    "halftone page.png dither.png --method dither",
    "halftone page.png dither-cluster.png --method dither --matrix cluster",
    "halftone page.png diffusion.png --method diffusion",
    "halftone page.png diffusion-random.png --method diffusion --random",
    "gray diffusion.png from-bilevel.png --window 4",
    "quantize page.png colors-8.png --colors 8",
    "quantize page.png colors-8-dither.png --colors 8 --method dither",
    "quantize page.png colors-16.png --colors 16",
    "quantize page.png colors-256.png --colors 256",
    "full-color colors-8.png from-8-colors.png --window 4",

    "scale page.png scaled-sampling.png --factor 0.4 --method sampling",
    "scale page.png scaled-averaging.png --factor 0.4 --method averaging",
    "scale page.png scaled-interpolation.png --factor 0.4 --method interpolation",
    "scale fixed.png scaled-bilevel-sampling.png --factor 0.4 --method sampling",
    "scale fixed.png scaled-bilevel-majority.png --factor 0.4 --method majority",
    "scale fixed.png scaled-bilevel-runs.png --factor 0.4 --method runs",
    "scale fixed.png scaled-bilevel-black-priority.png --factor 0.4 --method black-priority",
    "scale fixed.png scaled-bilevel-averaging.png --factor 0.4 --method averaging",
    "scale fixed.png scaled-bilevel-smooth.png --factor 0.4 --method smooth",
    "scale fixed.png scaled-bilevel-interpolation.png --factor 0.4 --method interpolation",
    "thumbnail page.png thumbnail.png --side 200",

    "rotate page.png turned-90.png --angle 90",
    "rotate page.png turned-12.png --angle 12 --grow",
    "median page.png median.png",

    "tone page.png tone.png --brightness 15 --contrast 30 --shadow 20",
    "tone page.png negative.png --negative",
    "color page.png color.png --hue 60 --saturation 40",
    "sharpen page.png sharpened.png",
    "sharpen page.png sharpened-cross.png --cross",
    "paste page.png pasted.png --picture thumbnail.png --at 60,40",
    "paste page.png pasted-key.png --picture thumbnail.png --at 60,40 --key 255,255,255 --tolerance 40",
    "mask page.png masked.png --area 100,100,250,200 --color 40,40,40",
    "mask page.png tinted.png --tint --color 255,240,120",
};

// The step's words for the parser, with pictures in the directory and, where a step makes one, its time wanted.
std::vector<std::string> argumentsOf(const std::string& step, const std::string& directory)
{
    std::vector<std::string> arguments = {"lxpage"};
    std::istringstream words(step);
    for (std::string word; words >> word;) {
        const bool isPicture = word.ends_with(".png") || word.ends_with(".tif");
        if (isPicture) {
            word = (std::filesystem::path(directory) / word).string();
        }
        arguments.push_back(word == "." ? directory : word);
    }
    if (arguments[1] != "page" && arguments[1] != "angle") {
        arguments.emplace_back("--time");
    }
    return arguments;
}

void runStep(const std::string& step, const std::string& directory)
{
    const std::vector<std::string> arguments = argumentsOf(step, directory);
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments) {
        std::printf("%s%s", pointers.empty() ? "" : " ", argument.c_str());
        pointers.push_back(argument.c_str());
    }
    std::printf("\n");
    flushOutput();
    const ExitCode code = runCommandLine(static_cast<int>(pointers.size()), pointers.data());
    if (code != ExitCode::Done) {
        throw PageError(code, "the demonstration ends here");
    }
}

void runDemo(const DemoOptions& options)
{
    makeDirectory(options.directory);
    const std::string page = (std::filesystem::path(options.directory) / "page.png").string();
    writePage(page, makeSamplePage(options.page));
    std::printf("%s: our own scan, %g degrees askew\n", page.c_str(), options.page.tiltDegrees);
    for (const char* step : steps) {
        runStep(step, options.directory);
    }
}

} // namespace

void addDemo(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("demo", "Make a sample page and take it through everything");
    const auto options = std::make_shared<DemoOptions>();
    command->add_option("-o,--output", options->directory, "Directory for the pictures")
        ->type_name("DIR")
        ->capture_default_str();
    command->add_option("--tilt", options->page.tiltDegrees, "Degrees, clockwise, by which the page lies askew")
        ->check(numberFrom(-45.0, 45.0))
        ->capture_default_str();
    command->add_option("--dpi", options->page.dpi, "Resolution of the A4 page, 50 to 1200")
        ->check(numberFrom(50.0, 1200.0))
        ->capture_default_str();
    command->callback([options] { runDemo(*options); });
}

} // namespace lxpage
