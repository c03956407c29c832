// `lxpage quantize`: a page in 8, 16 or 256 fixed colours.

#include "commands/options.h"
#include "commands/page_run.h"
#include "error.h"
#include "halftone.h"
#include "retype.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace lxpage
{

void addQuantize(CLI::App& app);

namespace
{

struct Options {
    FileArguments files;
    unsigned colors = 256;
    std::string method = "diffusion";
};

// The library lets the dither's column run on from line to line: line by line, the pattern stays upright.
void dither(ImageArea from, ImageArea to)
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
        dither(from, to);
    } else {
        const ErrorDiffusionKernel kernel = kernelFrom("floyd-steinberg");
        std::vector<double> carry(lxCalculateErrorBufferSize(IMAGE_TYPE_8RGB, from.width) / sizeof(double));
        const ErrorBufferDesc buffer = {carry.data(), static_cast<uint32_t>(carry.size() * sizeof(double))};
        lxClearErrorBuffer(&buffer);
        expectOk(lxImageTypeConvertTo8RGBEDHalftone(0, 1, &kernel, &buffer, &from, &to, progress),
                 "lxImageTypeConvertTo8RGBEDHalftone");
    }
}

Image quantized(const Image& page, const Options& options, ProgressBar& bar)
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
    const auto options = std::make_shared<Options>();
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
        processPages(options->files, "quantize",
                     [&](const Image& page, ProgressBar& bar) { return quantized(page, *options, bar); });
    });
}

} // namespace lxpage
