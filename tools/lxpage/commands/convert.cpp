// What makes pages of another kind: `lxpage gray`, `halftone`, `quantize` and `full-color`, each taking a page of any
// kind.
//
// The methods themselves are the library's, or the tool's own beside this directory. Here every command declares its
// options, refuses those that would have no effect, and takes the pages through.

#include "commands/list.h"
#include "commands/options.h"
#include "convert_file.h"
#include "error.h"
#include "gray.h"
#include "halftone.h"
#include "retype.h"

#include <CLI/CLI.hpp>
#include <map>
#include <memory>

namespace lxpage
{

namespace
{

struct GrayOptions {
    FileArguments files;
    std::string channel = "sum";
    unsigned levels = 256;
    uint16_t window = 0;
};

Image grayOf(const Image& page, const GrayOptions& options, ProgressCallback progress)
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

Image inGray(const Image& page, const GrayOptions& options, ProgressBar& bar)
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
    const auto options = std::make_shared<GrayOptions>();
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
        ->check(wholeNumberFrom(1, 0xFFFF));
    command->callback([options] {
        convertFile(options->files, "gray",
                    [&](const Image& page, ProgressBar& bar) { return inGray(page, *options, bar); });
    });
}

namespace
{

constexpr int32_t kMostRange = 1'000'000;

struct HalftoneOptions {
    FileArguments files;
    HalftoneSettings settings;
    std::string method = "diffusion";
    std::string channel = "sum";
    std::string matrix = "bayer8";
    std::vector<std::string> kernels;
};

const std::map<std::string, HalftoneMethod> halftoneMethods = {{"fixed", HalftoneMethod::Fixed},
                                                               {"threshold", HalftoneMethod::Threshold},
                                                               {"dither", HalftoneMethod::Dither},
                                                               {"diffusion", HalftoneMethod::Diffusion}};

// An option that would have no effect is a mistake of the caller's.
void refuseStrayOptions(const CLI::App& command, const std::string& method)
{
    static constexpr struct {
        const char* option;
        const char* method;
    } belongings[] = {{"--level", "threshold"},
                      {"--range", "threshold"},
                      {"--matrix", "dither"},
                      {"--kernel", "diffusion"},
                      {"--random", "diffusion"}};
    for (const char* option : {"--channel", "--band-lines"}) {
        if (command.count(option) > 0 && method == "fixed") {
            throw PageError(ExitCode::Usage, std::string(option) + " is not for --method fixed");
        }
    }
    for (const auto& belonging : belongings) {
        if (command.count(belonging.option) > 0 && belonging.method != method) {
            throw PageError(ExitCode::Usage,
                            std::string(belonging.option) + " belongs to --method " + belonging.method);
        }
    }
}

void completeSettings(const CLI::App& command, HalftoneOptions& options)
{
    HalftoneSettings& settings = options.settings;
    refuseStrayOptions(command, options.method);
    settings.method = halftoneMethods.at(options.method);
    settings.channel = channelNames.at(options.channel);
    const ThresholdLevel& threshold = settings.threshold;
    if (threshold.level < -threshold.range || threshold.level > threshold.range) {
        throw PageError(ExitCode::Usage, "--level must lie between -" + std::to_string(threshold.range) + " and " +
                                             std::to_string(threshold.range) + ", the --range");
    }
    settings.matrix = matrixNamed(options.matrix);
    std::vector<std::string> kernels = options.kernels;
    if (kernels.empty()) {
        kernels = settings.randomKernels ? kernelNames() : std::vector<std::string>{"floyd-steinberg"};
    }
    if (settings.randomKernels && command.count("--band-lines") > 0) {
        throw PageError(ExitCode::Usage, "--random takes the page at once, without --band-lines");
    }
    if (settings.randomKernels && kernels.size() < 2) {
        throw PageError(ExitCode::Usage, "--random needs several kernels to choose from");
    }
    settings.kernels.clear();
    for (const std::string& kernel : kernels) {
        settings.kernels.push_back(kernelFrom(kernel));
    }
}

void addOptions(CLI::App& command, HalftoneOptions& options)
{
    addFileArguments(command, options.files);
    HalftoneSettings& settings = options.settings;
    addNamed(command, "--method", options.method, namesOf(halftoneMethods),
             "fixed (a threshold of the library's own), threshold, dither or diffusion");
    addNamed(command, "--channel", options.channel, namesOf(channelNames),
             "Gray of colour pages: sum, red, green or blue");
    command.add_option("--band-lines", settings.bandLines, "Lines converted at a time; 0 takes the page at once")
        ->check(wholeNumberFrom(0, kMaxSide))
        ->capture_default_str();
    command
        .add_option("--level", settings.threshold.level, "Threshold: from -range (all but black is white) to +range")
        ->check(wholeNumberFrom(-kMostRange, kMostRange))
        ->capture_default_str();
    command.add_option("--range", settings.threshold.range, "Threshold: the scale of --level")
        ->check(wholeNumberFrom(1, kMostRange))
        ->capture_default_str();
    addNamed(command, "--matrix", options.matrix, matrixNames(), "Dither: bayer2, bayer4, bayer8, bayer16 or cluster");
    command
        .add_option("--kernel", options.kernels,
                    "Diffusion: floyd-steinberg (the default), three-way, light, even,\n"
                    "or four weights (right, lower left, below, lower right) such as\n"
                    "0.5,0.2,0.2,0.1; give the option several times for several kernels,\n"
                    "which are taken in turn along each line")
        ->type_name("KERNEL")
        ->expected(1)
        ->take_all();
    command.add_flag("--random", settings.randomKernels,
                     "Diffusion: draw a kernel at random for every pixel; differs from run to run");
}

} // namespace

void addHalftone(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("halftone", "Make a black and white page (PNG of 1 bit or TIFF Group 4)");
    const auto options = std::make_shared<HalftoneOptions>();
    addOptions(*command, *options);
    command->callback([command, options] {
        completeSettings(*command, *options);
        convertFile(options->files, "halftone",
                    [&](const Image& page, ProgressBar& bar) { return halftone(page, options->settings, bar); });
    });
}

namespace
{

struct QuantizeOptions {
    FileArguments files;
    unsigned colors = 256;
    std::string method = "diffusion";
};

// The library lets the dither's column run on from line to line: line by line, the pattern stays upright.
void ditherToEightColors(ImageArea from, ImageArea to)
{
    const DitherMatrix matrix = matrixNamed("bayer8");
    const uint32_t height = from.height;
    from.height = to.height = 1;
    uint16_t phaseY = 0;
    for (from.y = to.y = 0; from.y < height; to.y = ++from.y) {
        uint16_t phaseX = 0;
        expectOk(lxImageTypeConvertTo8RGBDitherHalftone(&phaseX, &phaseY, &matrix, &from, &to, nullptr),
                 "lxImageTypeConvertTo8RGBDitherHalftone");
    }
}

void toEightColors(const std::string& method, const ImageArea& from, const ImageArea& to, ProgressCallback progress)
{
    if (method == "threshold") {
        constexpr ThresholdLevel middle = {0, 1};
        expectOk(lxImageTypeConvertTo8RGBNonHalftone(&middle, &from, &to, progress),
                 "lxImageTypeConvertTo8RGBNonHalftone");
    } else if (method == "dither") {
        ditherToEightColors(from, to);
    } else {
        const ErrorDiffusionKernel kernel = kernelFrom("floyd-steinberg");
        std::vector<double> carry(lxCalculateErrorBufferSize(IMAGE_TYPE_8RGB, from.width) / sizeof(double));
        const ErrorBufferDesc buffer = {carry.data(), static_cast<uint32_t>(carry.size() * sizeof(double))};
        lxClearErrorBuffer(&buffer);
        expectOk(lxImageTypeConvertTo8RGBEDHalftone(0, 1, &kernel, &buffer, &from, &to, progress),
                 "lxImageTypeConvertTo8RGBEDHalftone");
    }
}

Image quantized(const Image& page, const QuantizeOptions& options, ProgressBar& bar)
{
    const Image source = toColor(page);
    const uint16_t type = options.colors == 8    ? IMAGE_TYPE_8RGB
                          : options.colors == 16 ? IMAGE_TYPE_16RGB
                                                 : IMAGE_TYPE_256RGB;
    Image result(type, page.width(), page.height(), page.resolution);
    const ImageArea from = source.area();
    const ImageArea to = result.area();
    const ProgressCallback progress = bar.part(0, 1);
    if (type == IMAGE_TYPE_8RGB) {
        toEightColors(options.method, from, to, progress);
    } else if (type == IMAGE_TYPE_16RGB) {
        expectOk(lxImageTypeConvertTo16RGB(&from, &to, progress), "lxImageTypeConvertTo16RGB");
    } else {
        expectOk(lxImageTypeConvertTo256RGB(&from, &to, progress), "lxImageTypeConvertTo256RGB");
    }
    return result;
}

} // namespace

void addQuantize(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("quantize", "Reduce the page to 8, 16 or 256 fixed colours");
    const auto options = std::make_shared<QuantizeOptions>();
    addFileArguments(*command, options->files);
    command->add_option("--colors", options->colors, "8, 16 or 256")
        ->check(CLI::IsMember({8, 16, 256}).description(""))
        ->capture_default_str();
    addNamed(*command, "--method", options->method, {"threshold", "dither", "diffusion"},
             "8 colours: threshold, dither or diffusion");
    command->callback([command, options] {
        if (command->count("--method") > 0 && options->colors != 8) {
            throw PageError(ExitCode::Usage, "--method belongs to --colors 8");
        }
        convertFile(options->files, "quantize",
                    [&](const Image& page, ProgressBar& bar) { return quantized(page, *options, bar); });
    });
}

namespace
{

struct FullColorOptions {
    FileArguments files;
    uint16_t window = 0;
};

// The eight pure colours as levels: the share of each component in a square to the right of and below every pixel.
Image descreened(const Image& page, uint16_t window, ProgressBar& bar)
{
    constexpr ThresholdLevel middle = {0, 1};
    Image color = toColor(page, bar.part(0, 3));
    Image pure(IMAGE_TYPE_8RGB, page.width(), page.height(), page.resolution);
    const ImageArea ends = color.area();
    const ImageArea between = pure.area();
    expectOk(lxImageTypeConvertTo8RGBNonHalftone(&middle, &ends, &between, bar.part(1, 3)),
             "lxImageTypeConvertTo8RGBNonHalftone");
    expectOk(lxImageTypeConvertTo16MRGBFrom8RGB(window, &between, &ends, bar.part(2, 3)),
             "lxImageTypeConvertTo16MRGBFrom8RGB");
    return color;
}

} // namespace

void addFullColor(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("full-color", "Make a page of full colour");
    const auto options = std::make_shared<FullColorOptions>();
    addFileArguments(*command, options->files);
    command
        ->add_option("--window", options->window,
                     "Smooth a page of 8 colours, as `quantize --colors 8` makes them, over\n"
                     "a square of this many pixels; other colours are taken for the nearest")
        ->check(wholeNumberFrom(1, 0xFFFF));
    command->callback([options] {
        convertFile(options->files, "full colour", [&](const Image& page, ProgressBar& bar) {
            return options->window == 0 ? toColor(page, bar.part(0, 1)) : descreened(page, options->window, bar);
        });
    });
}

} // namespace lxpage
