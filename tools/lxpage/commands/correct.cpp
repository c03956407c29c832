// What makes pages look better: `lxpage tone`, `color`, `sharpen` and `median`.
//
// Each command turns its options into the library's parameters once, brings every page to a type that the operation
// takes, and corrects it; `median` and the tables work in place.

#include "commands/list.h"
#include "commands/options.h"
#include "convert_file.h"
#include "error.h"
#include "retype.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

namespace lxpage
{

namespace
{

constexpr int32_t fullScale = 100;

struct ToneOptions {
    FileArguments files;
    CorrectionLevel brightness{0, fullScale};
    CorrectionLevel contrast{0, fullScale};
    CorrectionLevel gamma{0, fullScale};
    CorrectionLevel highlight{0, fullScale};
    CorrectionLevel shadow{0, fullScale};
    bool negative = false;
};

GammaTable tableOf(const ToneOptions& options)
{
    GammaTable table;
    const int32_t reverse = options.negative ? 1 : 0;
    expectOk(lxCreateGammaCorrectionTable(&options.brightness, &options.contrast, &options.gamma, &options.highlight,
                                          &options.shadow, &reverse, &table),
             "lxCreateGammaCorrectionTable");
    return table;
}

Image toned(const Image& page, const GammaTable& table, ProgressBar& bar)
{
    Image result = toPlain(page);
    const ImageArea area = result.area();
    expectOk(lxGammaCorrection(&table, &area, bar.part(0, 1)), "lxGammaCorrection");
    return result;
}

} // namespace

void addTone(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("tone", "Correct the tone: brightness, contrast, gamma and more");
    const auto options = std::make_shared<ToneOptions>();
    addFileArguments(*command, options->files);
    const auto addLevel = [&](const char* option, CorrectionLevel& setting, int32_t least, const char* text) {
        command->add_option(option, setting.level, text)
            ->check(wholeNumberFrom(least, fullScale))
            ->capture_default_str();
    };
    addLevel("--brightness", options->brightness, -fullScale, "From -100 to 100, half the scale darker or lighter");
    addLevel("--contrast", options->contrast, -fullScale, "From -100 (flat) to 100 (black and white)");
    addLevel("--gamma", options->gamma, -fullScale, "Darkens: from 0 to 100 strongly, from 0 to -100 gently");
    addLevel("--highlight", options->highlight, 0, "Up to 100: the lightest levels become white, half of them at 100");
    addLevel("--shadow", options->shadow, 0, "Up to 100: the darkest levels become black, half of them at 100");
    command->add_flag("--negative", options->negative, "Exchange black and white");
    command->callback([options] {
        const GammaTable table = tableOf(*options);
        convertFile(options->files, "tone",
                    [&](const Image& page, ProgressBar& bar) { return toned(page, table, bar); });
    });
}

namespace
{

struct ColorOptions {
    FileArguments files;
    CorrectionLevel hue{0, 180};
    CorrectionLevel saturation{0, fullScale};
    CorrectionLevel lightness{0, fullScale};
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
    const auto options = std::make_shared<ColorOptions>();
    addFileArguments(*command, options->files);
    const auto addLevel = [&](const char* option, CorrectionLevel& setting, const char* text) {
        command->add_option(option, setting.level, text)
            ->check(wholeNumberFrom(-setting.maxLevel, setting.maxLevel))
            ->capture_default_str();
    };
    addLevel("--hue", options->hue, "Turn all colours by this many degrees, from -180 to 180");
    addLevel("--saturation", options->saturation, "From -100 (gray) to 100 (twice the colour)");
    addLevel("--lightness", options->lightness, "From -100 (black) to 100 (twice as light)");
    command->callback([options] {
        ColorCorrectionMatrix matrix;
        expectOk(lxCreateColorCorrectionMatrix(&options->hue, &options->saturation, &options->lightness, &matrix),
                 "lxCreateColorCorrectionMatrix");
        convertFile(options->files, "color",
                    [&](const Image& page, ProgressBar& bar) { return corrected(page, matrix, bar); });
    });
}

namespace
{

constexpr uint16_t crossMode = 1;
constexpr double kMostGain = 1000;

struct SharpenOptions {
    FileArguments files;
    bool cross = false;
    std::vector<double> gains;
};

// One gain for all, or all of them.
MTFParameters parametersOf(const SharpenOptions& options)
{
    const std::vector<double> separated = {1, 1, 1, 1};
    const std::vector<double> cross = {0, 1, 1};
    std::vector<double> gains = options.cross ? cross : separated;
    if (options.gains.size() == 1) {
        std::replace(gains.begin(), gains.end(), 1.0, options.gains.front());
    } else if (!options.gains.empty()) {
        if (options.gains.size() != gains.size()) {
            throw PageError(ExitCode::Usage, "--gains takes one number or " + std::to_string(gains.size()));
        }
        gains = options.gains;
    }
    MTFParameters parameters{options.cross ? crossMode : uint16_t{0}, {}};
    std::copy(gains.begin(), gains.end(), parameters.coefficients);
    return parameters;
}

Image sharpened(const Image& page, const MTFParameters& parameters, ProgressBar& bar)
{
    const Image source = toLevels(page);
    Image result(source.type(), source.width(), source.height(), source.resolution);
    const ImageArea from = source.area();
    const ImageArea to = result.area();
    expectOk(lxMTFCorrection(&parameters, &from, &to, bar.part(0, 1)), "lxMTFCorrection");
    return result;
}

} // namespace

void addSharpen(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("sharpen", "Make edges steeper");
    const auto options = std::make_shared<SharpenOptions>();
    addFileArguments(*command, options->files);
    command->add_flag("--cross", options->cross, "Sharpen along the diagonals, not across and down");
    command
        ->add_option("--gains", options->gains,
                     "One strength for all, or four: bright edges across and down, dark\n"
                     "edges across and down; with --cross three: smoothing, bright, dark.\n"
                     "1 if not given")
        ->delimiter(',')
        ->check(numberFrom(-kMostGain, kMostGain))
        ->type_name("NUMBERS");
    command->callback([options] {
        const MTFParameters parameters = parametersOf(*options);
        convertFile(options->files, "sharpen",
                    [&](const Image& page, ProgressBar& bar) { return sharpened(page, parameters, bar); });
    });
}

namespace
{

struct MedianOptions {
    FileArguments files;
    uint32_t strength = 0;
};

Image filtered(const Image& page, uint32_t strength, ProgressBar& bar)
{
    Image result = toPlain(page);
    const ImageArea area = result.area();
    // In place, so that further passes have something to do.
    expectOk(lxMedianFiltering(strength, &area, &area, bar.part(0, 1)), "lxMedianFiltering");
    return result;
}

} // namespace

void addMedian(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("median", "Take the noise out of a page");
    const auto options = std::make_shared<MedianOptions>();
    addFileArguments(*command, options->files);
    command
        ->add_option("--strength", options->strength,
                     "0 or 3: one pass; 1: three passes; 2: two passes; 4 to 255: only\n"
                     "every pixel in (strength - 2) of every line in (strength - 2)")
        ->check(wholeNumberFrom(0, 255))
        ->capture_default_str();
    command->callback([options] {
        convertFile(options->files, "median",
                    [&](const Image& page, ProgressBar& bar) { return filtered(page, options->strength, bar); });
    });
}

} // namespace lxpage
