// `lxpage thumbnail`: a small preview of a page, in gray for bilevel pages and in colour for coloured ones.

#include "thumbnail.h"
#include "commands/page_run.h"
#include "error.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace lxpage
{

void addThumbnail(CLI::App& app);

namespace
{

struct Options {
    FileArguments files;
    uint32_t side = 200;
};

} // namespace

void addThumbnail(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("thumbnail", "Make a small preview of a page");
    const auto options = std::make_shared<Options>();
    addFileArguments(*command, options->files);
    command->add_option("--side", options->side, "Pixels of the longer side, 200 if not given")
        ->check(CLI::Range(1U, kMaxSide).description(""));
    command->callback([options] {
        processPages(options->files, "thumbnail",
                     [&](const Image& page, ProgressBar& bar) { return thumbnail(page, options->side, bar); });
    });
}

} // namespace lxpage
