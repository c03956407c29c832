// Changes of size of the bilevel page: every worker, at the resolutions that scans are brought to.
#include "families.h"

#include <string>

namespace bench
{
namespace
{

constexpr uint16_t sampling = 0, majority = 1, runs = 2, blackPriority = 5;

// The page at another resolution; its sizes are rounded.
constexpr Shape pageAt(double dpi, uint16_t type = IMAGE_TYPE_BW)
{
    return {type, uint32_t(pageWidth * dpi / 300 + 0.5), uint32_t(pageHeight * dpi / 300 + 0.5)};
}

AreaWork resize(uint16_t method)
{
    return [method](const ImageArea* source, const ImageArea* destination) {
        return lxResolutionConvert(method, source, destination, nullptr);
    };
}

AreaWork toGray(uint32_t selector)
{
    return [selector, palette = paletteOf(IMAGE_TYPE_BW)](const ImageArea* source, const ImageArea* destination) {
        return lxResolutionAndImageTypeConvertToGrayscaleFromBW(selector, &palette, source, destination, nullptr);
    };
}

// Enlargements are measured by the pixels that they make.
void addEnlargement(Operations& operations, const std::string& name, const Shape& destination, AreaWork work)
{
    const Shape source{IMAGE_TYPE_BW};
    Operations one;
    one.add(name, source, destination, {}, work);
    Operation operation = one.all().front();
    operation.pixels = double(destination.width) * destination.height;
    operations.add(operation);
}

} // namespace

void addBilevelScaling(Operations& operations)
{
    const Shape source{IMAGE_TYPE_BW};
    const auto add = [&](const char* name, const Shape& destination, Goal goal, const AreaWork& work) {
        operations.add(name, source, destination, goal, work);
    };
    add("bilevel sampling to 200 dpi", pageAt(200), {0.02, 0.002}, resize(sampling));
    add("bilevel sampling to 75 dpi", pageAt(75), {}, resize(sampling));
    add("bilevel sampling to 30 dpi", pageAt(30), {}, resize(sampling));
    add("bilevel sampling, same size", pageAt(300), {}, resize(sampling));
    add("black priority to 100 dpi", pageAt(100), {0.015, 0.002}, resize(blackPriority));
    add("black priority to 75 dpi", pageAt(75), {0.01, 0.002}, resize(blackPriority));
    add("black priority to 30 dpi", pageAt(30), {}, resize(blackPriority));
    add("majority to 200 dpi", pageAt(200), {0.10, 0.003}, resize(majority));
    add("majority to 150 dpi", pageAt(150), {0.015, 0.003}, resize(majority));
    add("majority to 240 dpi", pageAt(240), {}, resize(majority));
    add("majority to 285 dpi", pageAt(285), {}, resize(majority));
    add("majority to 37.5 dpi", pageAt(37.5), {}, resize(majority));
    add("runs to 200 dpi", pageAt(200), {0.05, 0.003}, resize(runs));
    add("runs to 100 dpi", pageAt(100), {}, resize(runs));

    add("bilevel to gray at 100 dpi", pageAt(100, IMAGE_TYPE_256GRAY), {0.03, 0.003}, toGray(1));
    add("bilevel to gray at 75 dpi", pageAt(75, IMAGE_TYPE_256GRAY), {0.02, 0.003}, toGray(1));
    add("bilevel to gray at 72 dpi", pageAt(72, IMAGE_TYPE_256GRAY), {0.08, 0.003}, toGray(1));
    add("bilevel to gray at 37.5 dpi", pageAt(37.5, IMAGE_TYPE_256GRAY), {}, toGray(1));
    add("bilevel to gray, 200 x 283", {IMAGE_TYPE_256GRAY, 200, 283}, {0.04, 0.003}, toGray(1));
    add("bilevel to smoothed gray at 100 dpi", pageAt(100, IMAGE_TYPE_256GRAY), {}, toGray(3));

    addEnlargement(operations, "bilevel sampling to 600 dpi", pageAt(600), resize(sampling));
    addEnlargement(operations, "bilevel sampling to 400 dpi", pageAt(400), resize(sampling));
    addEnlargement(operations, "bilevel sampling to 450 dpi", pageAt(450), resize(sampling));
    addEnlargement(operations, "bilevel sampling to 330 dpi", pageAt(330), resize(sampling));
    addEnlargement(operations, "majority to 600 dpi", pageAt(600), resize(majority));
    addEnlargement(operations, "bilevel to gray at 600 dpi", pageAt(600, IMAGE_TYPE_256GRAY), toGray(1));
}

} // namespace bench
