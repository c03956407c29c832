// `lxpage full-color`: a page of any kind to full colour.

#include "commands/options.h"
#include "commands/page_run.h"
#include "retype.h"

#include <memory>

namespace lxpage
{

void addFullColor(CLI::App& app);

namespace
{

struct Options {
    FileArguments files;
    uint16_t window = 0;
};

// The eight pure colours as levels: the share of each component in a square to the right of and below every pixel.
Image descreened(const Image& page, uint16_t window, ProgressBar& bar)
{
    constexpr ThresholdLevel middle = {0, 1};
    Image color = toColor(page, bar.part(0, 3));
    Image pure(IMAGE_TYPE_8RGB, page.width(), page.height(), page.resolution);
    const ImageArea ends = color.area();
    const ImageArea between = pure.area();
    expectOk(lxImageTypeConvertTo8RGBNonHalftone(&middle, &ends, &between, bar.part(1, 3)),
             "lxImageTypeConvertTo8RGBNonHalftone");
    expectOk(lxImageTypeConvertTo16MRGBFrom8RGB(window, &between, &ends, bar.part(2, 3)),
             "lxImageTypeConvertTo16MRGBFrom8RGB");
    return color;
}

} // namespace

void addFullColor(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("full-color", "Make a page of full colour");
    const auto options = std::make_shared<Options>();
    addFileArguments(*command, options->files);
    command
        ->add_option("--window", options->window,
                     "Smooth a page of 8 colours, as `quantize --colors 8` makes them, over\n"
                     "a square of this many pixels; other colours are taken for the nearest")
        ->check(CLI::Range(1, 0xFFFF).description(""));
    command->callback([options] {
        processPages(options->files, "full colour", [&](const Image& page, ProgressBar& bar) {
            return options->window == 0 ? toColor(page, bar.part(0, 1)) : descreened(page, options->window, bar);
        });
    });
}

} // namespace lxpage
