// `lxpage page`: what a document application does with a fresh scan, from measuring its slant to the preview.
//
// Every input is one document: its bilevel pages are stored in DIR/NAME.tif, the preview of each page beside it.

#include "commands/list.h"
#include "commands/options.h"
#include "error.h"
#include "files/page_file.h"
#include "gray.h"
#include "halftone.h"
#include "page_run.h"
#include "rotate.h"
#include "scale.h"
#include "slant.h"
#include "thumbnail.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>

namespace lxpage
{

namespace
{

namespace fs = std::filesystem;

struct PageOptions {
    std::vector<std::string> inputs;
    std::string directory;
    double dpi = 200;
    uint32_t bandLines = 128;
    uint32_t thumbnailSide = 200;
    bool overlay = false;
    bool steps = false;
};

constexpr const char* stepNames[] = {"slant", "turn", "gray", "halftone", "scale", "thumbnail"};

struct FinishedPage {
    Slant slant;
    Image straight, gray, bilevel, stored, thumbnail;
    std::array<double, std::size(stepNames)> milliseconds;
};

// Runs the steps one after the other and keeps their times.
class Road
{
  public:
    explicit Road(const std::string& label) : bar_(label) {}

    template <typename Step>
    auto take(Step step)
    {
        const Stopwatch watch;
        auto result = step(bar_);
        milliseconds[next_++] = watch.milliseconds();
        return result;
    }

    std::array<double, std::size(stepNames)> milliseconds{};

  private:
    ProgressBar bar_;
    size_t next_ = 0;
};

Image grayOf(const Image& page, ProgressCallback progress)
{
    Image gray(IMAGE_TYPE_256GRAY, page.width(), page.height(), page.resolution);
    convertToGray(page, page.area(), Channel::Sum, gray.area(), progress);
    return gray;
}

// A page that does not say its resolution keeps its size.
Image atResolution(const Image& bilevel, double dpi, ProgressBar& bar)
{
    if (bilevel.resolution.x <= 0 || bilevel.resolution.y <= 0) {
        return bilevel;
    }
    return scale(bilevel, suitableMethod(bilevel), scaledSize(bilevel, {.dpi = dpi}), bar);
}

FinishedPage finished(const Image& page, const PageOptions& options, const std::string& label)
{
    Road road(label);
    HalftoneSettings settings;
    settings.bandLines = options.bandLines;
    const Slant slant = road.take([&](ProgressBar& bar) { return measureSlant(page, bar.part(0, 1)); });
    Image straight = road.take([&](ProgressBar& bar) { return turned(page, slant.angle, false, bar); });
    Image gray = road.take([&](ProgressBar& bar) { return grayOf(straight, bar.part(0, 1)); });
    Image bilevel = road.take([&](ProgressBar& bar) { return halftone(gray, settings, bar); });
    Image stored = road.take([&](ProgressBar& bar) { return atResolution(bilevel, options.dpi, bar); });
    Image preview = road.take([&](ProgressBar& bar) { return thumbnail(straight, options.thumbnailSide, bar); });
    return {slant,
            std::move(straight),
            std::move(gray),
            std::move(bilevel),
            std::move(stored),
            std::move(preview),
            road.milliseconds};
}

void printHeading()
{
    std::printf("%9s", "degrees");
    for (const char* name : stepNames) {
        std::printf("%10s", name);
    }
    std::printf("   page (steps in ms)\n");
}

void print(const FinishedPage& page, const std::string& name)
{
    std::printf("%9.3f", page.slant.angle);
    for (const double milliseconds : page.milliseconds) {
        std::printf("%10.2f", milliseconds);
    }
    std::printf("   %s\n", name.c_str());
    std::fflush(stdout);
}

void writePictures(const Image& page, const FinishedPage& done, const PageOptions& options, const std::string& stem)
{
    writePage(stem + "-thumbnail.png", done.thumbnail);
    if (options.overlay && done.slant.width != 0 && done.slant.height != 0) {
        writePage(stem + "-slant.png", slantOverlay(page, done.slant));
    }
    if (options.steps) {
        writePage(stem + "-straight.png", done.straight);
        writePage(stem + "-gray.png", done.gray);
        writePage(stem + "-halftone.png", done.bilevel);
    }
}

void processDocument(const std::string& input, const PageOptions& options)
{
    const std::string stem = (fs::path(options.directory) / fs::path(input).stem()).string();
    const auto source = openPages(input);
    PageWriter writer(stem + ".tif");
    for (unsigned index = 0; index < source->count(); ++index) {
        const std::string number = std::to_string(index + 1);
        const bool several = source->count() > 1;
        const std::string name = input + (several ? ", page " + number : "");
        const Image page = source->read(index);
        const FinishedPage done = finished(page, options, name);
        print(done, name);
        writer.append(done.stored);
        writePictures(page, done, options, several ? stem + "-" + number : stem);
    }
    writer.finish();
}

// Two documents of one name would overwrite each other, and one in the output directory itself.
void refuseClashes(const PageOptions& options)
{
    std::set<std::string> stems;
    for (const std::string& input : options.inputs) {
        const std::string stem = fs::path(input).stem().string();
        if (!stems.insert(stem).second) {
            throw PageError(ExitCode::Usage, "two inputs would be written to '" + stem + ".tif'");
        }
        std::error_code ignored; // what cannot be compared is not the same
        if (fs::equivalent(fs::path(options.directory) / (stem + ".tif"), input, ignored)) {
            throw PageError(ExitCode::Usage, "'" + input + "' would be overwritten");
        }
    }
}

void run(const PageOptions& options)
{
    refuseClashes(options);
    makeDirectory(options.directory);
    printHeading();
    for (const std::string& input : options.inputs) {
        processDocument(input, options);
    }
}

} // namespace

void addPage(CLI::App& app)
{
    CLI::App* command =
        app.add_subcommand("page", "Straighten scans, make them bilevel at one resolution, and preview");
    const auto options = std::make_shared<PageOptions>();
    command->add_option("IN", options->inputs, "Pictures to read: TIFF, PNG, JPEG or PNM")->required()->type_name("");
    command->add_option("-o,--output", options->directory, "Directory for NAME.tif and NAME-thumbnail.png")
        ->type_name("DIR")
        ->required();
    command->add_option("--dpi", options->dpi, "Resolution to store, of pages that know their own")
        ->check(numberFrom(1.0, 1e5))
        ->capture_default_str();
    command->add_option("--band-lines", options->bandLines, "Lines halftoned at a time; 0 takes the page at once")
        ->check(wholeNumberFrom(0, kMaxSide))
        ->capture_default_str();
    command->add_option("--side", options->thumbnailSide, "Pixels of the preview's longer side")
        ->check(wholeNumberFrom(1, kMaxSide))
        ->capture_default_str();
    command->add_flag("--overlay", options->overlay,
                      "Also write NAME-slant.png: the dark band that was looked at (blue)\n"
                      "and the edges that gave the angle (red and green)");
    command->add_flag("--steps", options->steps,
                      "Also write what is between: NAME-straight.png, -gray.png, -halftone.png");
    command->callback([options] { run(*options); });
}

} // namespace lxpage
