// `lxpage rotate`: a page turned by quarter turns or by any angle.

#include "rotate.h"
#include "commands/page_run.h"
#include "error.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>

namespace lxpage
{

void addRotate(CLI::App& app);

namespace
{

struct Options {
    FileArguments files;
    double angle = 0;
    bool grow = false;
};

} // namespace

void addRotate(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("rotate", "Turn a page clockwise, by quarter turns or by any angle");
    const auto options = std::make_shared<Options>();
    addFileArguments(*command, options->files);
    command
        ->add_option("--angle", options->angle,
                     "Degrees clockwise; multiples of 90 turn the page exactly,\n"
                     "other angles leave its size and fill the corners with white")
        ->check(CLI::Number.description(""))
        ->required();
    command->add_flag("--grow", options->grow, "Make the page large enough for all of the turned one");
    command->callback([options] {
        if (!std::isfinite(options->angle)) {
            throw PageError(ExitCode::Usage, "--angle must be a number");
        }
        processPages(options->files, "rotate", [&](const Image& page, ProgressBar& bar) {
            return turned(page, options->angle, options->grow, bar);
        });
    });
}

} // namespace lxpage
