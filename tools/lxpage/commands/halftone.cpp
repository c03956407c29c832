// `lxpage halftone`: a page of any kind to bilevel.

#include "halftone.h"
#include "commands/options.h"
#include "commands/page_run.h"
#include "error.h"

#include <CLI/CLI.hpp>
#include <map>
#include <memory>

namespace lxpage
{

void addHalftone(CLI::App& app);

namespace
{

struct Options {
    FileArguments files;
    HalftoneSettings settings;
    std::string method = "diffusion";
    std::string channel = "sum";
    std::string matrix = "bayer8";
    std::vector<std::string> kernels;
};

const std::map<std::string, HalftoneMethod> methods = {{"fixed", HalftoneMethod::Fixed},
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

void completeSettings(const CLI::App& command, Options& options)
{
    HalftoneSettings& settings = options.settings;
    refuseStrayOptions(command, options.method);
    settings.method = methods.at(options.method);
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

void addOptions(CLI::App& command, Options& options)
{
    addFileArguments(command, options.files);
    HalftoneSettings& settings = options.settings;
    addNamed(command, "--method", options.method, namesOf(methods),
             "fixed (a threshold of the library's own), threshold, dither or diffusion");
    addNamed(command, "--channel", options.channel, namesOf(channelNames),
             "Gray of colour pages: sum, red, green or blue");
    command.add_option("--band-lines", settings.bandLines, "Lines converted at a time; 0 takes the page at once")
        ->check(CLI::Range(0u, kMaxSide).description(""))
        ->capture_default_str();
    command
        .add_option("--level", settings.threshold.level, "Threshold: from -range (all but black is white) to +range")
        ->capture_default_str();
    command.add_option("--range", settings.threshold.range, "Threshold: the scale of --level")
        ->check(CLI::Range(1, 1'000'000).description(""))
        ->capture_default_str();
    addNamed(command, "--matrix", options.matrix, matrixNames(), "Dither: bayer2, bayer4, bayer8, bayer16 or cluster");
    command
        .add_option("--kernel", options.kernels,
                    "Diffusion: floyd-steinberg (the default), three-way, light, even,\n"
                    "or four weights (right, lower left, below, lower right) such as\n"
                    "0.5,0.2,0.2,0.1; several are taken in turn along each line")
        ->type_name("KERNEL")
        ->allow_extra_args(false);
    command.add_flag("--random", settings.randomKernels,
                     "Diffusion: draw a kernel at random for every pixel; differs from run to run");
}

} // namespace

void addHalftone(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("halftone", "Make a black and white page (PNG of 1 bit or TIFF Group 4)");
    const auto options = std::make_shared<Options>();
    addOptions(*command, *options);
    command->callback([command, options] {
        completeSettings(*command, *options);
        processPages(options->files, "halftone",
                     [&](const Image& page, ProgressBar& bar) { return halftone(page, options->settings, bar); });
    });
}

} // namespace lxpage
