#include "scale.h"

#include "error.h"
#include "retype.h"

#include <algorithm>
#include <cmath>

namespace lxpage
{

namespace
{

struct NamedMethod {
    const char* name;
    ScaleMethod method;
    uint16_t code;    // of lxResolutionConvert
    bool bilevelOnly; // made for black strokes on white
    bool mixes;       // makes levels between those of the page
};

constexpr NamedMethod methods[] = {
    {"sampling", ScaleMethod::Sampling, 0, false, false},
    {"averaging", ScaleMethod::Averaging, 1, false, true},
    {"interpolation", ScaleMethod::Interpolation, 3, false, true},
    {"smooth", ScaleMethod::Smooth, 3, true, true},
    {"majority", ScaleMethod::Majority, 1, true, false},
    {"runs", ScaleMethod::Runs, 2, true, false},
    {"black-priority", ScaleMethod::BlackPriority, 5, true, false},
};

const NamedMethod& entryOf(ScaleMethod method)
{
    return *std::find_if(std::begin(methods), std::end(methods),
                         [&](const NamedMethod& named) { return named.method == method; });
}

// White where the scaling does not reach: its blocks and runs may end a pixel short of the last column or line.
Image whitePage(const Image& page, uint16_t type, const PageSize& size)
{
    checkPageSize(size.width, size.height, type == IMAGE_TYPE_16MRGB ? 3 : 1);
    Image image(type, size.width, size.height,
                {page.resolution.x * size.width / page.width(), page.resolution.y * size.height / page.height()});
    if (type == page.type()) {
        image.palette = page.palette;
    }
    fillWhite(image);
    return image;
}

Image resized(const Image& page, uint16_t code, const PageSize& size, ProgressCallback progress)
{
    Image result = whitePage(page, page.type(), size);
    const ImageArea from = page.area();
    const ImageArea to = result.area();
    expectOk(lxResolutionConvert(code, &from, &to, progress), "lxResolutionConvert");
    return result;
}

Image bilevelToGray(const Image& page, ScaleMethod method, const PageSize& size, ProgressCallback progress)
{
    constexpr uint32_t means = 1, smoothed = 3;
    Image result = whitePage(page, IMAGE_TYPE_256GRAY, size);
    const ImageArea from = page.area();
    const ImageArea to = result.area();
    expectOk(lxResolutionAndImageTypeConvertToGrayscaleFromBW(method == ScaleMethod::Smooth ? smoothed : means,
                                                              &page.palette, &from, &to, progress),
             "lxResolutionAndImageTypeConvertToGrayscaleFromBW");
    return result;
}

// At least one pixel, and no more than the largest side and a little, which checkPageSize refuses.
uint32_t lengthOf(double length)
{
    return static_cast<uint32_t>(std::clamp(std::floor(length + 0.5), 1.0, kMaxSide + 1.0));
}

} // namespace

std::vector<std::string> scaleMethodNames()
{
    std::vector<std::string> names;
    for (const NamedMethod& named : methods) {
        names.emplace_back(named.name);
    }
    return names;
}

ScaleMethod scaleMethodNamed(const std::string& name)
{
    return std::find_if(std::begin(methods), std::end(methods),
                        [&](const NamedMethod& named) { return named.name == name; })
        ->method;
}

ScaleMethod suitableMethod(const Image& page)
{
    return page.type() == IMAGE_TYPE_BW ? ScaleMethod::Majority : ScaleMethod::Averaging;
}

bool takes(ScaleMethod method, const Image& page)
{
    return page.type() == IMAGE_TYPE_BW || !entryOf(method).bilevelOnly;
}

PageSize scaledSize(const Image& page, const ScaleTarget& target)
{
    const double width = page.width();
    const double height = page.height();
    if (target.factor > 0) {
        return {lengthOf(width * target.factor), lengthOf(height * target.factor)};
    }
    if (target.dpi > 0) {
        if (page.resolution.x <= 0 || page.resolution.y <= 0) {
            throw PageError(ExitCode::Unsupported, "the page does not say its resolution, so --dpi cannot be met; "
                                                   "use --factor or --size");
        }
        return {lengthOf(width * target.dpi / page.resolution.x), lengthOf(height * target.dpi / page.resolution.y)};
    }
    return {target.width != 0 ? target.width : lengthOf(width * target.height / height),
            target.height != 0 ? target.height : lengthOf(height * target.width / width)};
}

Image scale(const Image& page, ScaleMethod method, const PageSize& size, ProgressBar& bar)
{
    const NamedMethod& named = entryOf(method);
    const bool bilevel = page.type() == IMAGE_TYPE_BW;
    if (!takes(method, page)) {
        throw PageError(ExitCode::Usage,
                        std::string(named.name) + " is for bilevel pages, and this one is " + typeName(page.type()));
    }
    if (method == ScaleMethod::BlackPriority && (size.width >= page.width() || size.height >= page.height())) {
        throw PageError(ExitCode::Usage, std::string(named.name) + " only makes pages smaller, both ways");
    }
    if (bilevel && (method == ScaleMethod::Averaging || method == ScaleMethod::Smooth)) {
        return bilevelToGray(page, method, size, bar.part(0, 1));
    }
    if (named.mixes && page.type() != IMAGE_TYPE_256GRAY && page.type() != IMAGE_TYPE_16MRGB) {
        const Image levels = toLevels(page, bar.part(0, 2));
        return resized(levels, named.code, size, bar.part(1, 2));
    }
    return resized(page, named.code, size, bar.part(0, 1));
}

} // namespace lxpage
