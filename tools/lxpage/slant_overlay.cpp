#include "retype.h"
#include "scale.h"
#include "slant.h"

#include <algorithm>
#include <cmath>

namespace lxpage
{

namespace
{

using Point = Slant::Point;

struct Color {
    uint8_t red, green, blue;
};

// A cross of ink keeps thin lines visible.
void drawSpot(Image& image, double column, double row, const Color& color)
{
    static constexpr int offsets[][2] = {{0, 0}, {-1, 0}, {1, 0}, {0, -1}, {0, 1}};
    for (const auto& offset : offsets) {
        const double x = std::floor(column + 0.5) + offset[0];
        const double y = std::floor(row + 0.5) + offset[1];
        if (x >= 0 && x < image.width() && y >= 0 && y < image.height()) {
            uint8_t* pixel = image.line(static_cast<uint32_t>(y)) + 3 * static_cast<size_t>(x);
            pixel[0] = color.red;
            pixel[1] = color.green;
            pixel[2] = color.blue;
        }
    }
}

void drawLine(Image& image, const Point& from, const Point& to, const Color& color)
{
    const double across = static_cast<double>(to.column) - from.column;
    const double down = static_cast<double>(to.row) - from.row;
    const double steps = std::max({std::abs(across), std::abs(down), 1.0});
    for (double t = 0; t <= steps; ++t) {
        drawSpot(image, from.column + across * t / steps, from.row + down * t / steps, color);
    }
}

void drawFrame(Image& image, const Point& first, const Point& last, const Color& color)
{
    const Point right{last.column, first.row};
    const Point left{first.column, last.row};
    drawLine(image, first, right, color);
    drawLine(image, right, last, color);
    drawLine(image, last, left, color);
    drawLine(image, left, first, color);
}

} // namespace

Image slantOverlay(const Image& page, const Slant& slant)
{
    constexpr Color red{230, 0, 0}, green{0, 160, 0}, blue{0, 90, 255};
    ProgressBar silent("", nullptr);
    Image image = toColor(scale(page, ScaleMethod::Averaging, {slant.width, slant.height}, silent));
    if (slant.hasBand()) {
        drawFrame(image, slant.bandFirst, slant.bandLast, blue);
    }
    if (slant.hasEdgeA()) {
        drawLine(image, slant.startA, slant.endA, red);
    }
    if (slant.hasEdgeB()) {
        drawLine(image, slant.startB, slant.endB, green);
    }
    return image;
}

} // namespace lxpage
