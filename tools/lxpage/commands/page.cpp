// `lxpage page`: what a document application does with a fresh scan, from measuring its slant to the preview.
//
// Every input is one document: its bilevel pages are stored in DIR/NAME.tif, the preview of each page beside it. One
// that fails leaves nothing, and the others go on.

#include "commands/list.h"
#include "commands/options.h"
#include "convert_file.h"
#include "error.h"
#include "files/page_file.h"
#include "gray.h"
#include "halftone.h"
#include "rotate.h"
#include "scale.h"
#include "slant.h"
#include "standard_streams.h"
#include "thumbnail.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <list>
#include <map>
#include <memory>

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
    Image overlay; // no pixels if it is not wanted, or if the page is a strip that is not looked at
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
    const Slant slant =
        road.take([&](ProgressBar& bar) { return measureSlant(page, options.overlay, bar.part(0, 1)); });
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
            options.overlay && slant.width != 0 && slant.height != 0 ? slantOverlay(page, slant)
                                                                     : Image(IMAGE_TYPE_16MRGB, 0, 0),
            road.milliseconds};
}

void printHeading()
{
    std::printf("%12s", "degrees");
    for (const char* name : stepNames) {
        std::printf("%10s", name);
    }
    std::printf("   page (steps in ms)\n");
}

void print(const FinishedPage& page, const std::string& name)
{
    std::printf("%s", degreesText(page.slant).c_str());
    for (const double milliseconds : page.milliseconds) {
        std::printf("%10.2f", milliseconds);
    }
    std::printf("   %s\n", name.c_str());
    flushOutput();
}

// The names that come of an input: DIR/NAME for all of it, and DIR/NAME or DIR/NAME-N for one of its pages.
std::string stemOf(const std::string& input, const PageOptions& options)
{
    return (fs::path(options.directory) / fs::path(input).stem()).string();
}

std::string pageStem(const std::string& stem, unsigned index, unsigned count)
{
    return count > 1 ? stem + "-" + std::to_string(index + 1) : stem;
}

// The pictures that lie beside DIR/NAME.tif.
struct Companion {
    const char* ending;
    bool PageOptions::*wanted; // null: always
    Image FinishedPage::*image;
};

constexpr Companion companions[] = {{"-thumbnail.png", nullptr, &FinishedPage::thumbnail},
                                    {"-slant.png", &PageOptions::overlay, &FinishedPage::overlay},
                                    {"-straight.png", &PageOptions::steps, &FinishedPage::straight},
                                    {"-gray.png", &PageOptions::steps, &FinishedPage::gray},
                                    {"-halftone.png", &PageOptions::steps, &FinishedPage::bilevel}};

std::vector<Companion> companionsOf(const PageOptions& options)
{
    std::vector<Companion> wanted;
    std::copy_if(std::begin(companions), std::end(companions), std::back_inserter(wanted),
                 [&](const Companion& companion) { return !companion.wanted || options.*companion.wanted; });
    return wanted;
}

// All that comes of one input appears at its end, or nothing does.
void processDocument(const std::string& input, const PageOptions& options)
{
    const std::string stem = stemOf(input, options);
    const auto source = openPages(input);
    const unsigned count = source->count();
    PageWriter document(stem + ".tif");
    std::list<PageWriter> pictures;
    for (unsigned index = 0; index < count; ++index) {
        const std::string name = input + (count > 1 ? ", page " + std::to_string(index + 1) : "");
        const FinishedPage done = finished(source->read(index), options, name);
        print(done, name);
        document.append(done.stored);
        for (const Companion& companion : companionsOf(options)) {
            const Image& image = done.*companion.image;
            if (image.width() != 0) {
                PageWriter& picture = pictures.emplace_back(pageStem(stem, index, count) + companion.ending);
                picture.append(image);
                picture.close();
            }
        }
    }
    document.finish();
    for (PageWriter& picture : pictures) {
        picture.finish();
    }
}

// None, if it cannot be read: that will be complained of in its turn.
unsigned pageCountOf(const std::string& input)
{
    try {
        return openPages(input)->count();
    } catch (const PageError&) {
        return 0;
    }
}

std::vector<std::string> outputsOf(const std::string& input, const PageOptions& options)
{
    const std::string stem = stemOf(input, options);
    const unsigned count = pageCountOf(input);
    std::vector<std::string> outputs = {stem + ".tif"};
    for (unsigned index = 0; index < count; ++index) {
        for (const Companion& companion : companionsOf(options)) {
            outputs.push_back(pageStem(stem, index, count) + companion.ending);
        }
    }
    return outputs;
}

PageError clash(const std::string& first, const char* relation, const std::string& second)
{
    return {ExitCode::Usage, "'" + first + "' " + relation + " '" + second + "'"};
}

// What one input leaves must overwrite neither what another one leaves nor an input.
void refuseClashes(const PageOptions& options)
{
    std::map<std::string, std::string> inputOf;
    for (const std::string& input : options.inputs) {
        for (const std::string& output : outputsOf(input, options)) {
            if (!inputOf.emplace(output, input).second) {
                throw clash(output, "would be written twice, the second time for", input);
            }
        }
    }
    for (const auto& [output, input] : inputOf) {
        std::error_code ignored; // what cannot be compared is not the same
        if (!fs::exists(output, ignored)) {
            continue;
        }
        for (const std::string& other : options.inputs) {
            if (fs::equivalent(output, other, ignored)) {
                throw clash(other, "would be overwritten by what comes of", input);
            }
        }
    }
}

ExitCode processAll(const PageOptions& options)
{
    refuseClashes(options);
    makeDirectory(options.directory);
    printHeading();
    return forEachInput(options.inputs, [&](const std::string& input) { processDocument(input, options); });
}

} // namespace

void addPage(CLI::App& app)
{
    CLI::App* command =
        app.add_subcommand("page", "Straighten scans, make them bilevel at one resolution, and preview");
    const auto options = std::make_shared<PageOptions>();
    addInputs(*command, options->inputs);
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
    command->footer(kMeasurable);
    command->callback([options] { endWith(processAll(*options)); });
}

} // namespace lxpage
