// `lxpage color`: hue, saturation and lightness.

#include "commands/page_run.h"
#include "retype.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace lxpage
{

void addColor(CLI::App& app);

namespace
{

constexpr int32_t scale = 100;

struct Options {
    FileArguments files;
    CorrectionLevel hue{0, 180};
    CorrectionLevel saturation{0, scale};
    CorrectionLevel lightness{0, scale};
};

Image corrected(const Image& page, const ColorCorrectionMatrix& matrix, ProgressBar& bar)
{
    Image result = toColor(page);
    const ImageArea area = result.area();
    expectOk(lxColorCorrection(&matrix, &area, bar.part(0, 1)), "lxColorCorrection");
    return result;
}

} // namespace

void addColor(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("color", "Correct the colour: hue, saturation and lightness");
    const auto options = std::make_shared<Options>();
    addFileArguments(*command, options->files);
    const auto addLevel = [&](const char* option, CorrectionLevel& setting, const char* text) {
        command->add_option(option, setting.level, text)
            ->check(CLI::Range(-setting.maxLevel, setting.maxLevel).description(""))
            ->capture_default_str();
    };
    addLevel("--hue", options->hue, "Turn all colours by this many degrees, from -180 to 180");
    addLevel("--saturation", options->saturation, "From -100 (gray) to 100 (twice the colour)");
    addLevel("--lightness", options->lightness, "From -100 (black) to 100 (twice as light)");
    command->callback([options] {
        ColorCorrectionMatrix matrix;
        expectOk(lxCreateColorCorrectionMatrix(&options->hue, &options->saturation, &options->lightness, &matrix),
                 "lxCreateColorCorrectionMatrix");
        processPages(options->files, "color",
                     [&](const Image& page, ProgressBar& bar) { return corrected(page, matrix, bar); });
    });
}

} // namespace lxpage
