// `lxpage sharpen`: edges made steeper.

#include "commands/page_run.h"
#include "error.h"
#include "retype.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

namespace lxpage
{

void addSharpen(CLI::App& app);

namespace
{

constexpr uint16_t crossMode = 1;

struct Options {
    FileArguments files;
    bool cross = false;
    std::vector<double> gains;
};

// One gain for all, or all of them.
MTFParameters parametersOf(const Options& options)
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
    const auto options = std::make_shared<Options>();
    addFileArguments(*command, options->files);
    command->add_flag("--cross", options->cross, "Sharpen along the diagonals, not across and down");
    command
        ->add_option("--gains", options->gains,
                     "One strength for all, or four: bright edges across and down, dark\n"
                     "edges across and down; with --cross three: smoothing, bright, dark.\n"
                     "1 if not given")
        ->delimiter(',')
        ->type_name("NUMBERS");
    command->callback([options] {
        const MTFParameters parameters = parametersOf(*options);
        processPages(options->files, "sharpen",
                     [&](const Image& page, ProgressBar& bar) { return sharpened(page, parameters, bar); });
    });
}

} // namespace lxpage
