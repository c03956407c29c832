// What makes pages smaller or larger: `lxpage scale`, for pages of any kind and by any method, and `lxpage thumbnail`,
// a preview in gray for bilevel pages and in colour for coloured ones.

#include "commands/list.h"
#include "commands/options.h"
#include "convert_file.h"
#include "error.h"
#include "scale.h"
#include "thumbnail.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

namespace lxpage
{

namespace
{

struct ScaleOptions {
    FileArguments files;
    ScaleTarget target;
    std::string size;
    std::string method;
};

// "800x600", "800x" or "x600".
void readSize(const std::string& text, ScaleTarget& target)
{
    const size_t cross = text.find('x');
    const auto side = [&](const std::string& digits) {
        const bool sound = digits.size() <= 5 && digits.find_first_not_of("0123456789") == std::string::npos;
        const unsigned long value = sound && !digits.empty() ? std::stoul(digits) : 0;
        if (!sound || value > kMaxSide || (!digits.empty() && value == 0)) {
            throw PageError(ExitCode::Usage, "--size is WIDTHxHEIGHT, WIDTHx or xHEIGHT, of sides from 1 to " +
                                                 std::to_string(kMaxSide));
        }
        return static_cast<uint32_t>(value);
    };
    target.width = side(cross == std::string::npos ? "?" : text.substr(0, cross));
    target.height = side(text.substr(cross + 1));
    if (target.width == 0 && target.height == 0) {
        throw PageError(ExitCode::Usage, "--size needs a width or a height");
    }
}

std::string joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

void addOptions(CLI::App& command, ScaleOptions& options)
{
    addFileArguments(command, options.files);
    CLI::Option_group* size = command.add_option_group("Size", "One of these");
    size->add_option("--factor", options.target.factor, "Times the size of the page")->check(numberFrom(1e-5, 1e5));
    size->add_option("--dpi", options.target.dpi, "Resolution, if the page knows its own")->check(numberFrom(1.0, 1e5));
    size->add_option("--size", options.size, "Pixels: 800x600; 800x or x600 keep the proportions")->type_name("WxH");
    size->require_option(1);
    command
        .add_option("--method", options.method,
                    joined(scaleMethodNames()) + ";\notherwise majority for bilevel pages and averaging for others.\n"
                                                 "Averaging and smooth make gray of bilevel pages; smooth, majority,\n"
                                                 "runs and black-priority take nothing but bilevel pages. Majority\n"
                                                 "draws random numbers where a size does not divide evenly")
        ->check(CLI::IsMember(scaleMethodNames()).description(""))
        ->type_name("NAME");
}

} // namespace

void addScale(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("scale", "Make a page smaller or larger");
    const auto options = std::make_shared<ScaleOptions>();
    addOptions(*command, *options);
    command->callback([options] {
        if (!options->size.empty()) {
            readSize(options->size, options->target);
        }
        convertFile(options->files, "scale", [&](const Image& page, ProgressBar& bar) {
            const ScaleMethod method =
                options->method.empty() ? suitableMethod(page) : scaleMethodNamed(options->method);
            return scale(page, method, scaledSize(page, options->target), bar);
        });
    });
}

namespace
{

struct ThumbnailOptions {
    FileArguments files;
    uint32_t side = 200;
};

} // namespace

void addThumbnail(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("thumbnail", "Make a small preview of a page");
    const auto options = std::make_shared<ThumbnailOptions>();
    addFileArguments(*command, options->files);
    command->add_option("--side", options->side, "Pixels of the longer side, 200 if not given")
        ->check(wholeNumberFrom(1, kMaxSide));
    command->callback([options] {
        convertFile(options->files, "thumbnail",
                    [&](const Image& page, ProgressBar& bar) { return thumbnail(page, options->side, bar); });
    });
}

} // namespace lxpage
