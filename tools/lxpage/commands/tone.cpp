// `lxpage tone`: brightness, contrast and the other settings of a tone table.

#include "commands/page_run.h"
#include "retype.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace lxpage
{

void addTone(CLI::App& app);

namespace
{

constexpr int32_t scale = 100;

struct Options {
    FileArguments files;
    CorrectionLevel brightness{0, scale};
    CorrectionLevel contrast{0, scale};
    CorrectionLevel gamma{0, scale};
    CorrectionLevel highlight{0, scale};
    CorrectionLevel shadow{0, scale};
    bool negative = false;
};

GammaTable tableOf(const Options& options)
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
    const auto options = std::make_shared<Options>();
    addFileArguments(*command, options->files);
    const auto addLevel = [&](const char* option, CorrectionLevel& setting, int32_t least, const char* text) {
        command->add_option(option, setting.level, text)
            ->check(CLI::Range(least, scale).description(""))
            ->capture_default_str();
    };
    addLevel("--brightness", options->brightness, -scale, "From -100 to 100, half the scale darker or lighter");
    addLevel("--contrast", options->contrast, -scale, "From -100 (flat) to 100 (black and white)");
    addLevel("--gamma", options->gamma, -scale, "Darkens: from 0 to 100 strongly, from 0 to -100 gently");
    addLevel("--highlight", options->highlight, 0, "Up to 100: the lightest levels become white, half of them at 100");
    addLevel("--shadow", options->shadow, 0, "Up to 100: the darkest levels become black, half of them at 100");
    command->add_flag("--negative", options->negative, "Exchange black and white");
    command->callback([options] {
        const GammaTable table = tableOf(*options);
        processPages(options->files, "tone",
                     [&](const Image& page, ProgressBar& bar) { return toned(page, table, bar); });
    });
}

} // namespace lxpage
