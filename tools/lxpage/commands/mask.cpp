// `lxpage mask`: an area of the page painted over or tinted.

#include "commands/options.h"
#include "commands/page_run.h"
#include "retype.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

namespace lxpage
{

void addMask(CLI::App& app);

namespace
{

struct Options {
    FileArguments files;
    std::string area;
    std::string color = "0,0,0";
    bool tint = false;
};

// `numbers` are the left edge, the top edge, the width and the height of the area, or none for the whole page.
Image masked(const Image& page, const std::vector<uint32_t>& numbers, const std::vector<uint8_t>& color, bool tint,
             ProgressBar& bar)
{
    Image result = toPlain(page);
    ImageArea area = result.area();
    if (!numbers.empty()) {
        area.x = std::min(numbers[0], page.width());
        area.y = std::min(numbers[1], page.height());
        area.width = std::min(numbers[2], page.width() - area.x);
        area.height = std::min(numbers[3], page.height() - area.y);
    }
    expectOk(lxMaskingBySpecificationColor(tint, color.data(), &area, bar.part(0, 1)), "lxMaskingBySpecificationColor");
    return result;
}

} // namespace

void addMask(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("mask", "Paint an area over with a colour, or tint it");
    const auto options = std::make_shared<Options>();
    addFileArguments(*command, options->files);
    command->add_option("--area", options->area, "What to cover; the whole page if not given")
        ->type_name("X,Y,WIDTH,HEIGHT");
    command->add_option("--color", options->color, "The colour")->type_name("R,G,B")->capture_default_str();
    command->add_flag("--tint", options->tint, "Lay the colour over the page, dark content staying");
    command->callback([options] {
        std::vector<uint32_t> area;
        if (!options->area.empty()) {
            area = numbersFrom("--area", options->area, 4, kMaxSide);
        }
        const std::vector<uint8_t> color = colorFrom("--color", options->color);
        processPages(options->files, "mask", [&](const Image& page, ProgressBar& bar) {
            return masked(page, area, color, options->tint, bar);
        });
    });
}

} // namespace lxpage
