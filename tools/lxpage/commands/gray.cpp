// `lxpage gray`: a page of any kind to 256 or 16 gray.

#include "gray.h"
#include "commands/options.h"
#include "commands/page_run.h"
#include "error.h"

#include <memory>

namespace lxpage
{

void addGray(CLI::App& app);

namespace
{

struct Options {
    FileArguments files;
    std::string channel = "sum";
    unsigned levels = 256;
    uint16_t window = 0;
};

Image grayOf(const Image& page, const Options& options, ProgressCallback progress)
{
    Image gray(IMAGE_TYPE_256GRAY, page.width(), page.height(), page.resolution);
    const ImageArea from = page.area();
    const ImageArea to = gray.area();
    if (options.window == 0) {
        convertToGray(page, from, channelNames.at(options.channel), to, progress);
    } else if (page.type() == IMAGE_TYPE_BW) {
        expectOk(lxImageTypeConvertToGrayscaleFromBW(options.window, &from, &to, progress),
                 "lxImageTypeConvertToGrayscaleFromBW");
    } else {
        throw PageError(ExitCode::Usage, "--window is for bilevel pages");
    }
    return gray;
}

Image converted(const Image& page, const Options& options, ProgressBar& bar)
{
    if (options.levels == 256) {
        return grayOf(page, options, bar.part(0, 1));
    }
    const Image gray = grayOf(page, options, bar.part(0, 2));
    Image result(IMAGE_TYPE_16GRAY, page.width(), page.height(), page.resolution);
    const ImageArea from = gray.area();
    const ImageArea to = result.area();
    expectOk(lxImageTypeConvertTo16Gray(&from, &to, bar.part(1, 2)), "lxImageTypeConvertTo16Gray");
    return result;
}

} // namespace

void addGray(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("gray", "Make a gray page");
    const auto options = std::make_shared<Options>();
    addFileArguments(*command, options->files);
    addNamed(*command, "--channel", options->channel, namesOf(channelNames),
             "What becomes of colour pages: sum, red, green or blue");
    command->add_option("--levels", options->levels, "256 or 16")
        ->check(CLI::IsMember({256, 16}).description(""))
        ->capture_default_str();
    command
        ->add_option("--window", options->window,
                     "Bilevel pages: the share of white in a square of this many pixels,\n"
                     "each pixel its top left corner; otherwise black and white stay")
        ->check(CLI::Range(1, 0xFFFF).description(""));
    command->callback([options] {
        processPages(options->files, "gray",
                     [&](const Image& page, ProgressBar& bar) { return converted(page, *options, bar); });
    });
}

} // namespace lxpage
