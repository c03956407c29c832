#include "rotate.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lxpage
{

namespace
{

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

Image turnedByAngle(const Image& page, double degrees, bool grow, ProgressBar& bar)
{
    uint32_t width = page.width();
    uint32_t height = page.height();
    if (grow) {
        const double radians = degrees * std::numbers::pi / 180;
        width = grownSide(page.width(), page.height(), radians);
        height = grownSide(page.height(), page.width(), radians);
    }
    Image result = blankLike(page, width, height, page.resolution);
    fillWhite(result);
    const ImageArea from = page.area();
    const ImageArea to = result.area();
    expectOk(lxRotationBySpecificationAngle(degrees, &from, &to, bar.part(0, 1)), "lxRotationBySpecificationAngle");
    return result;
}

} // namespace

Image turned(const Image& page, double degrees, bool grow, ProgressBar& bar)
{
    const double quarters = degrees / 90;
    if (quarters != std::floor(quarters)) {
        return turnedByAngle(page, degrees, grow, bar);
    }
    const double turns = std::fmod(std::fmod(quarters, 4) + 4, 4);
    return turns == 0 ? page : turnedByQuarters(page, static_cast<uint16_t>(turns), bar);
}

} // namespace lxpage
