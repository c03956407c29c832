// `lxpage demo`: a page of our own making taken through everything the tool can do, one picture a step.

#include "error.h"
#include "files/page_file.h"
#include "gray.h"
#include "halftone.h"
#include "sample/sample_page.h"
#include "scale.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>

namespace lxpage
{

void addDemo(CLI::App& app);

namespace
{

struct Options {
    std::string directory = "demo";
    SamplePage page;
};

// Runs steps, writes their pictures and prints a line for each.
class Demo
{
  public:
    explicit Demo(std::string directory) : directory_(std::move(directory))
    {
        std::error_code failure;
        std::filesystem::create_directories(directory_, failure);
        if (failure) {
            throw PageError(ExitCode::WriteFailed, "cannot make '" + directory_ + "': " + failure.message());
        }
        std::printf("%-32s %-24s %9s\n", "file", "size", "ms");
    }

    // A picture that `make` makes. The time is that of `make` alone; writing the file is not counted.
    Image make(const std::string& name, const std::function<Image(ProgressBar&)>& make)
    {
        ProgressBar bar(name);
        const auto start = Clock::now();
        Image image = make(bar);
        finish(name, image, Clock::now() - start);
        return image;
    }

    // A picture of the page's size that one call of the library fills. The time is that of the call.
    Image convert(const std::string& name, const Image& page, uint16_t type,
                  const std::function<void(const ImageArea& from, const ImageArea& to, ProgressCallback)>& call)
    {
        Image image(type, page.width(), page.height(), page.resolution);
        ProgressBar bar(name);
        const auto start = Clock::now();
        call(page.area(), image.area(), bar.part(0, 1));
        finish(name, image, Clock::now() - start);
        return image;
    }

  private:
    using Clock = std::chrono::steady_clock;

    void finish(const std::string& name, const Image& image, std::chrono::duration<double, std::milli> taken) const
    {
        const std::string path = (std::filesystem::path(directory_) / name).string();
        writePage(path, image);
        const std::string size =
            std::to_string(image.width()) + " x " + std::to_string(image.height()) + " " + typeName(image.type());
        std::printf("%-32s %-24s %9.2f\n", path.c_str(), size.c_str(), taken.count());
        std::fflush(stdout);
    }

    std::string directory_;
};

void showGray(Demo& demo, const Image& page)
{
    const auto show = [&](const std::string& name, Channel channel) {
        return demo.convert(name, page, IMAGE_TYPE_256GRAY,
                            [&](const ImageArea& from, const ImageArea& to, ProgressCallback progress) {
                                convertToGray(page, from, channel, to, progress);
                            });
    };
    const Image gray = show("gray.png", Channel::Sum);
    show("gray-red.png", Channel::Red);
    show("gray-green.png", Channel::Green);
    show("gray-blue.png", Channel::Blue);
    demo.convert("gray-16-levels.png", gray, IMAGE_TYPE_16GRAY,
                 [](const ImageArea& from, const ImageArea& to, ProgressCallback progress) {
                     expectOk(lxImageTypeConvertTo16Gray(&from, &to, progress), "lxImageTypeConvertTo16Gray");
                 });
}

void showHalftones(Demo& demo, const Image& page)
{
    const auto show = [&](const std::string& name, const HalftoneSettings& settings) {
        demo.make(name, [&](ProgressBar& bar) { return halftone(page, settings, bar); });
    };
    HalftoneSettings settings;
    settings.method = HalftoneMethod::Threshold;
    show("threshold.tif", settings);
    settings.method = HalftoneMethod::Dither;
    show("dither.png", settings);
    settings.matrix = matrixNamed("cluster");
    show("dither-cluster.png", settings);
    settings.method = HalftoneMethod::Diffusion;
    show("diffusion.png", settings);
    settings.randomKernels = true;
    settings.kernels.clear();
    for (const std::string& name : kernelNames()) {
        settings.kernels.push_back(kernelFrom(name));
    }
    show("diffusion-random.png", settings);
}

// A third of the page by every method, side by side.
void showScaling(Demo& demo, const Image& page, const char* kind)
{
    const PageSize third = scaledSize(page, {.factor = 1.0 / 3});
    for (const std::string& name : scaleMethodNames()) {
        const ScaleMethod method = scaleMethodNamed(name);
        if (takes(method, page)) {
            demo.make(std::string("scaled-") + kind + "-" + name + ".png",
                      [&](ProgressBar& bar) { return scale(page, method, third, bar); });
        }
    }
}

void showBilevel(Demo& demo, const Image& page)
{
    const Image bilevel = demo.convert("fixed-threshold.tif", page, IMAGE_TYPE_BW,
                                       [&](const ImageArea& from, const ImageArea& to, ProgressCallback progress) {
                                           expectOk(lxImageTypeConvertToBW(&page.palette, &from, &to, progress),
                                                    "lxImageTypeConvertToBW");
                                       });
    demo.convert("bilevel-to-gray.png", bilevel, IMAGE_TYPE_256GRAY,
                 [](const ImageArea& from, const ImageArea& to, ProgressCallback progress) {
                     constexpr uint16_t windowSize = 4;
                     expectOk(lxImageTypeConvertToGrayscaleFromBW(windowSize, &from, &to, progress),
                              "lxImageTypeConvertToGrayscaleFromBW");
                 });
    showScaling(demo, bilevel, "bilevel");
}

void runDemo(const Options& options)
{
    Demo demo(options.directory);
    const Image page = demo.make("page.png", [&](ProgressBar&) { return makeSamplePage(options.page); });
    showGray(demo, page);
    showHalftones(demo, page);
    showBilevel(demo, page);
    showScaling(demo, page, "colour");
}

} // namespace

void addDemo(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("demo", "Make a sample page and take it through everything");
    const auto options = std::make_shared<Options>();
    command->add_option("-o,--output", options->directory, "Directory for the pictures")
        ->type_name("DIR")
        ->capture_default_str();
    command->add_option("--tilt", options->page.tiltDegrees, "Degrees, clockwise, by which the page lies askew")
        ->check(CLI::Range(-45.0, 45.0).description(""))
        ->capture_default_str();
    command->add_option("--dpi", options->page.dpi, "Resolution of the A4 page, 50 to 1200")
        ->check(CLI::Range(50.0, 1200.0).description(""))
        ->capture_default_str();
    command->callback([options] { runDemo(*options); });
}

} // namespace lxpage
