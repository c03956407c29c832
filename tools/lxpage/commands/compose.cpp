// What puts something onto pages: `lxpage paste` another picture, all of it or all but one colour, and `lxpage mask` a
// colour, painted over an area or tinting it.

#include "commands/list.h"
#include "commands/options.h"
#include "convert_file.h"
#include "error.h"
#include "files/page_file.h"
#include "retype.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

namespace lxpage
{

namespace
{

struct PasteOptions {
    FileArguments files;
    std::string picture;
    std::string at = "0,0";
    std::string key;
    uint32_t tolerance = 0;
};

using Corner = std::vector<uint32_t>;

// A column and a row, whatever follows them.
void requireInside(const char* option, const Corner& corner, const Image& page)
{
    if (corner[0] >= page.width() || corner[1] >= page.height()) {
        throw PageError(ExitCode::Usage, std::string(option) + " lies outside the page of " +
                                             std::to_string(page.width()) + " x " + std::to_string(page.height()) +
                                             " pixels");
    }
}

// The picture's pixels but those of the key's colour, if there is a key.
struct Overlay {
    Image picture;
    bool useKey;
    std::vector<uint8_t> key;
    uint32_t tolerance;
};

Image pasted(const Image& page, const Overlay& overlay, const Corner& corner, ProgressBar& bar)
{
    Image result = toPlain(page);
    requireInside("--at", corner, page);
    const ImageArea from = overlay.picture.area();
    ImageArea to = result.area();
    to.x = corner[0];
    to.y = corner[1];
    to.width -= corner[0];
    to.height -= corner[1];
    expectOk(lxSynthesizeToSpecificationArea(overlay.useKey, &from, &overlay.picture.palette, overlay.key.data(),
                                             overlay.tolerance, &to, bar.part(0, 1)),
             "lxSynthesizeToSpecificationArea");
    return result;
}

} // namespace

void addPaste(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("paste", "Put another picture into the page");
    const auto options = std::make_shared<PasteOptions>();
    addFileArguments(*command, options->files);
    command->add_option("--picture", options->picture, "The file to paste; its first page is taken")->required();
    command->add_option("--at", options->at, "Where its top left corner goes")->type_name("X,Y")->capture_default_str();
    command->add_option("--key", options->key, "Leave out pixels of this colour")->type_name("R,G,B");
    command
        ->add_option("--tolerance", options->tolerance,
                     "How far levels may be from the key's and still be left out, in gray\n"
                     "and full-colour pictures")
        ->check(wholeNumberFrom(0, 255))
        ->capture_default_str();
    command->callback([command, options] {
        if (command->count("--tolerance") > 0 && options->key.empty()) {
            throw PageError(ExitCode::Usage, "--tolerance belongs to --key");
        }
        const Corner corner = numbersFrom("--at", options->at, 2, kMaxSide);
        const bool useKey = !options->key.empty();
        const std::vector<uint8_t> key = colorFrom("--key", useKey ? options->key : "0,0,0");
        const Overlay overlay = {readPage(options->picture), useKey, key, options->tolerance};
        convertFile(options->files, "paste",
                    [&](const Image& page, ProgressBar& bar) { return pasted(page, overlay, corner, bar); });
    });
}

namespace
{

struct MaskOptions {
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
        requireInside("--area", numbers, page);
        area.x = numbers[0];
        area.y = numbers[1];
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
    const auto options = std::make_shared<MaskOptions>();
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
        convertFile(options->files, "mask",
                    [&](const Image& page, ProgressBar& bar) { return masked(page, area, color, options->tint, bar); });
    });
}

} // namespace lxpage
