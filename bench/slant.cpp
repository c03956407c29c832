// Slant measurement, on pages with a dark bar at the foot, as the shadow of a page's edge leaves it.
#include "families.h"

#include <algorithm>
#include <memory>
#include <string>

namespace bench
{
namespace
{

// The page with a bar that rises by 1 in 30 from left to right.
Picture pageWithBar(uint16_t type)
{
    const Picture& plain = page(type);
    Picture result{Shape{type}};
    std::copy_n(plain.pixels(), plain.bytesPerLine() * pageHeight, result.pixels());
    const std::size_t bytes = result.bytesPerLine();
    for (uint32_t y = pageHeight - 250; y < pageHeight - 100; ++y) {
        for (std::size_t x = bytes / 25; x < bytes - bytes / 25; ++x) {
            const auto rise = uint32_t(x * pageWidth / bytes / 30);
            const bool inside = y + rise >= pageHeight - 150 && y + rise < pageHeight - 110;
            result.line(y)[x] = inside ? 0 : 0xFF;
        }
    }
    return result;
}

struct Areas {
    ImageArea small, medium, full;
    std::shared_ptr<uint8_t[]> buffers[3];

    explicit Areas(const ImageArea& source)
    {
        lxCalculateMemorySizeForDetectionSlantAngle(&source, &small, &medium, &full);
        ImageArea* areas[] = {&small, &medium, &full};
        for (int k = 0; k < 3; ++k) {
            buffers[k] = allocate(std::size_t(areas[k]->bytesPerLine) * areas[k]->lines);
            areas[k]->buffer = buffers[k].get();
        }
    }
};

Prepare measurement(uint16_t type)
{
    return [type]() -> Run {
        const Picture source = pageWithBar(type);
        const auto areas = std::make_shared<Areas>(*source.area());
        return [source, areas, palette = paletteOf(type)] {
            double angle = 0;
            const int8_t status = lxDetectionSlantAngle(&angle, source.area(), &palette, &areas->small, &areas->medium,
                                                        &areas->full, nullptr);
            return status == IMAGE_STATUS_OK && angle > 1 && angle < 3;
        };
    };
}

} // namespace

void addSlant(Operations& operations)
{
    const struct {
        const char* name;
        uint16_t type;
        Goal goal;
    } pages[] = {
        {"gray", IMAGE_TYPE_256GRAY, {0.10, 0.023}}, {"bilevel", IMAGE_TYPE_BW, {}}, {"colour", IMAGE_TYPE_16MRGB, {}}};
    for (const auto& [name, type, goal] : pages) {
        operations.add(
            {std::string("slant, ") + name, bytesOf({type}), bytesOf({IMAGE_TYPE_BW}), goal, measurement(type)});
    }
}

} // namespace bench
