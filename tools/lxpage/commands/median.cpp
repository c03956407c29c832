// `lxpage median`: noise taken out of a page.

#include "commands/page_run.h"
#include "retype.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace lxpage
{

void addMedian(CLI::App& app);

namespace
{

struct Options {
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
    const auto options = std::make_shared<Options>();
    addFileArguments(*command, options->files);
    command
        ->add_option("--strength", options->strength,
                     "0: one pass; 1: three passes; 2: two passes; 4 to 255: only every\n"
                     "pixel in (strength - 2) of every line in (strength - 2)")
        ->check(CLI::Range(0, 255).description(""))
        ->capture_default_str();
    command->callback([options] {
        processPages(options->files, "median",
                     [&](const Image& page, ProgressBar& bar) { return filtered(page, options->strength, bar); });
    });
}

} // namespace lxpage
