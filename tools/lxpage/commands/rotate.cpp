// `lxpage rotate`: a page of any kind turned by quarter turns, or by any angle over a white background.

#include "error.h"
#include "page_run.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

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

Image blankLike(const Image& page, uint32_t width, uint32_t height, Resolution resolution)
{
    checkPageSize(width, height, page.type() == IMAGE_TYPE_16MRGB ? 3 : 1);
    Image image(page.type(), width, height, resolution);
    image.palette = page.palette;
    return image;
}

Image turnedByQuarters(const Image& page, uint16_t turns, ProgressBar& bar)
{
    const bool lying = turns != 2;
    Image result = blankLike(page, lying ? page.height() : page.width(), lying ? page.width() : page.height(),
                             lying ? Resolution{page.resolution.y, page.resolution.x} : page.resolution);
    const ImageArea from = page.area();
    const ImageArea to = result.area();
    expectOk(lxRotationBySimpleAngle(turns, &from, &to, bar.part(0, 1)), "lxRotationBySimpleAngle");
    return result;
}

// The side that holds a turned page, a little more than enough.
uint32_t grownSide(double along, double across, double radians)
{
    return static_cast<uint32_t>(
        std::ceil(along * std::abs(std::cos(radians)) + across * std::abs(std::sin(radians)) + 1));
}

Image turnedByAngle(const Image& page, const Options& options, ProgressBar& bar)
{
    uint32_t width = page.width();
    uint32_t height = page.height();
    if (options.grow) {
        const double radians = options.angle * std::numbers::pi / 180;
        width = grownSide(page.width(), page.height(), radians);
        height = grownSide(page.height(), page.width(), radians);
    }
    Image result = blankLike(page, width, height, page.resolution);
    fillWhite(result);
    const ImageArea from = page.area();
    const ImageArea to = result.area();
    expectOk(lxRotationBySpecificationAngle(options.angle, &from, &to, bar.part(0, 1)),
             "lxRotationBySpecificationAngle");
    return result;
}

Image turned(const Image& page, const Options& options, ProgressBar& bar)
{
    const double quarters = options.angle / 90;
    if (quarters != std::floor(quarters)) {
        return turnedByAngle(page, options, bar);
    }
    const double turns = std::fmod(std::fmod(quarters, 4) + 4, 4);
    return turns == 0 ? page : turnedByQuarters(page, static_cast<uint16_t>(turns), bar);
}

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
        processPages(options->files, "rotate",
                     [&](const Image& page, ProgressBar& bar) { return turned(page, *options, bar); });
    });
}

} // namespace lxpage
