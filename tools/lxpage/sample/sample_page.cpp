// Two steps: the sheet is printed (black and red ink with text, rules and a chart; a picture in full colour), then
// scanned, pixel by pixel of the frame: turned by the tilt, lit unevenly, with the paper's grain, the scanner's dark
// bed around the sheet and the noise of its sensor.

#include "sample/sample_page.h"

#include "sample/ink.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace lxpage
{

namespace
{

constexpr double kFrameWidth = 210; // millimetres
constexpr double kFrameHeight = 297;
constexpr double kSheetWidth = 203;
constexpr double kSheetHeight = 288;

struct Color {
    double r, g, b;
};

Color mixed(const Color& a, const Color& b, double share)
{
    return {a.r + (b.r - a.r) * share, a.g + (b.g - a.g) * share, a.b + (b.b - a.b) * share};
}

// A value in 0 to 1 that looks random but belongs to the place.
double noiseAt(uint32_t x, uint32_t y, uint32_t salt)
{
    uint32_t h = x * 0x9E3779B1u ^ (y + salt * 0x632BE5ABu) * 0x85EBCA77u;
    h = (h ^ h >> 15) * 0x2C1B3C6Du;
    h = (h ^ h >> 12) * 0x297A2D39u;
    return (h ^ h >> 15) * (1.0 / 4294967296.0);
}

// The same, varying smoothly with one knot per unit.
double smoothNoiseAt(double x, double y, uint32_t salt)
{
    const double left = std::floor(x);
    const double top = std::floor(y);
    const auto column = static_cast<uint32_t>(static_cast<int32_t>(left));
    const auto row = static_cast<uint32_t>(static_cast<int32_t>(top));
    const auto eased = [](double t) { return t * t * (3 - 2 * t); };
    const double fx = eased(x - left);
    const double fy = eased(y - top);
    const double above = noiseAt(column, row, salt) * (1 - fx) + noiseAt(column + 1, row, salt) * fx;
    const double below = noiseAt(column, row + 1, salt) * (1 - fx) + noiseAt(column + 1, row + 1, salt) * fx;
    return above * (1 - fy) + below * fy;
}

struct Box {
    double left, top, right, bottom;
    [[nodiscard]] bool holds(double x, double y) const { return x >= left && x < right && y >= top && y < bottom; }
};

constexpr Box kPicture = {108, 96, 183, 149};
constexpr Box kChart = {20, 216, 95, 256};

// Evening over hills and a lake; u and v run from 0 to 1 over the picture.
Color pictureAt(double u, double v)
{
    constexpr Color zenith = {38, 74, 138};
    constexpr Color horizon = {247, 201, 138};
    constexpr Color sun = {255, 246, 214};
    const auto skyAt = [&](double height) {
        const Color sky = mixed(zenith, horizon, std::sqrt(std::clamp(height / 0.62, 0.0, 1.0)));
        const double dx = (u - 0.68) * 1.4;
        const double dy = height - 0.42;
        const double glow = 1 / (1 + 260 * (dx * dx + dy * dy));
        const double cloud = smoothNoiseAt(u * 6, height * 22, 21) * smoothNoiseAt(u * 17, height * 50, 22);
        return mixed(mixed(sky, {255, 226, 196}, cloud * 0.7), sun, dx * dx + dy * dy < 0.0035 ? 1.0 : glow);
    };
    const double far = 0.50 + 0.06 * std::sin(u * 7 + 1) + 0.03 * std::sin(u * 19);
    const double near = 0.60 + 0.07 * std::sin(u * 4 + 3.5) + 0.05 * smoothNoiseAt(u * 30, 0, 23);
    Color color{};
    if (v > 0.72) { // the lake mirrors the sky, in ripples
        const double ripple = (smoothNoiseAt(u * 9, v * 160, 24) - 0.5) * 0.10 * (v - 0.6);
        color = mixed(skyAt(std::max(0.0, 1.20 - v + ripple) * 0.9), {24, 52, 74}, 0.35 + ripple * 6);
    } else if (v > near) {
        color = mixed({52, 66, 38}, {22, 30, 20}, smoothNoiseAt(u * 60, v * 60, 25));
    } else if (v > far) {
        color = mixed({122, 116, 132}, {84, 84, 104}, (v - far) / 0.2);
    } else {
        color = skyAt(v);
    }
    const double grain = (smoothNoiseAt(u * 300, v * 210, 26) - 0.5) * 10;
    return {color.r + grain, color.g + grain, color.b + grain};
}

constexpr std::array<Color, 5> kBars = {{{206, 60, 52}, {240, 186, 60}, {70, 150, 82}, {52, 106, 176}, {122, 84, 150}}};
constexpr std::array<double, 5> kBarHeights = {0.46, 0.81, 0.63, 0.95, 0.30};

// Flat tints of the bar chart; false between the bars.
bool barAt(double u, double v, Color& color)
{
    const auto index = static_cast<size_t>(u * double(kBars.size()));
    const double within = u * double(kBars.size()) - double(index);
    if (within < 0.18 || within > 0.82 || 1 - v > kBarHeights[index]) {
        return false;
    }
    color = kBars[index];
    return true;
}

class Sheet
{
  public:
    explicit Sheet(double pixelsPerMm)
        : black_(kSheetWidth, kSheetHeight, pixelsPerMm), red_(kSheetWidth, kSheetHeight, pixelsPerMm)
    {
        print();
    }

    // Colour at a place on the sheet.
    [[nodiscard]] Color at(double x, double y) const;

  private:
    void print();
    void printChartFrame();
    void rule(InkMap& ink, Point from, Point to, double pen)
    {
        const Point ends[] = {from, to};
        ink.stroke(ends, pen);
    }

    InkMap black_;
    InkMap red_;
};

void Sheet::print()
{
    constexpr Face title = {5.4, 1.25, 14};
    constexpr Face heading = {2.5, 0.62, 7};
    constexpr Face body = {1.72, 0.31, 4.7};
    constexpr Face small = {1.3, 0.24, 3.4};
    TypeSetter setter(1848);
    setter.line(black_, {20, 31}, "The Harbour at Evening", title);
    rule(red_, {20, 37.5}, {183, 37.5}, 0.9);
    setter.line(red_, {20, 45}, "Notes on tide, light and trade", heading);
    double y = setter.paragraph(black_, {20, 55}, 163, 5, body);
    setter.paragraph(black_, {20, y + 2}, 163, 3, body);
    y = setter.paragraph(black_, {20, 98}, 79, 9, body);
    setter.line(red_, {20, y + 5}, "Second notice", heading);
    setter.paragraph(black_, {20, y + 13}, 79, 11, body);
    setter.paragraph(black_, {108, 154}, 75, 2, small);
    y = setter.paragraph(black_, {108, 165}, 75, 8, body);
    setter.paragraph(black_, {108, y + 2}, 75, 11, body);
    printChartFrame();
    setter.paragraph(black_, {20, 262}, 75, 2, small);
    rule(black_, {20, 272}, {183, 272}, 0.25);
    setter.line(black_, {100, 278}, "127", body);
}

void Sheet::printChartFrame()
{
    rule(black_, {kChart.left, kChart.bottom}, {kChart.right, kChart.bottom}, 0.4);
    rule(black_, {kChart.left, kChart.top}, {kChart.left, kChart.bottom}, 0.3);
    for (double y = kChart.top; y < kChart.bottom - 1; y += 8) {
        rule(black_, {kChart.left, y}, {kChart.right, y}, 0.12);
    }
}

Color Sheet::at(double x, double y) const
{
    const double cast = smoothNoiseAt(x / 35, y / 35, 1) * 5 + smoothNoiseAt(x * 3, y * 3, 2) * 3;
    Color color = {246 - cast, 241 - cast, 229 - cast * 1.3};
    // The print on the back shines through a little.
    color = mixed(color, {214, 208, 196}, black_.at(kSheetWidth - x, y + 3) * 0.22);
    if (kPicture.holds(x, y)) {
        color = pictureAt((x - kPicture.left) / (kPicture.right - kPicture.left),
                          (y - kPicture.top) / (kPicture.bottom - kPicture.top));
    } else if (kChart.holds(x, y)) {
        barAt((x - kChart.left) / (kChart.right - kChart.left), (y - kChart.top) / (kChart.bottom - kChart.top), color);
    }
    // Ink is never quite even.
    const double uneven = 0.90 + 0.10 * smoothNoiseAt(x * 2, y * 2, 3);
    color = mixed(color, {178, 38, 44}, red_.at(x, y) * uneven);
    return mixed(color, {34, 32, 36}, black_.at(x, y) * uneven);
}

// Where a pixel of the frame lies on the sheet.
class Placement
{
  public:
    explicit Placement(double tiltDegrees)
        : cosine_(std::cos(tiltDegrees * std::numbers::pi / 180)), sine_(std::sin(tiltDegrees * std::numbers::pi / 180))
    {
    }

    [[nodiscard]] Point onSheet(double x, double y) const
    {
        const double dx = x - kFrameWidth / 2 - 1.5; // not quite in the middle
        const double dy = y - kFrameHeight / 2 + 1;
        return {kSheetWidth / 2 + cosine_ * dx + sine_ * dy, kSheetHeight / 2 - sine_ * dx + cosine_ * dy};
    }

  private:
    double cosine_;
    double sine_;
};

// Distance from the sheet's edge, positive inside.
double insideBy(Point p)
{
    return std::min(std::min(p.x, kSheetWidth - p.x), std::min(p.y, kSheetHeight - p.y));
}

Color scannedAt(const Sheet& sheet, Point p, double pixelsPerMm)
{
    const double inside = insideBy(p);
    const double share = std::clamp(inside * pixelsPerMm + 0.5, 0.0, 1.0);
    // Light leaks a little way out over the bed, and the sheet lifts off the glass towards its left edge.
    const double leak = 26 / (1 + std::max(0.0, -inside) * 2.5);
    const Color bed = {30 + leak, 29 + leak, 32 + leak};
    if (share <= 0) {
        return bed;
    }
    const double lift = std::max(0.0, 1 - p.x / 24);
    const double light = 1 - 0.30 * lift * lift * lift - 0.05 * p.y / kSheetHeight;
    const Color paper = sheet.at(p.x, p.y);
    return mixed(bed, {paper.r * light, paper.g * light, paper.b * light}, share);
}

uint8_t byteOf(double value)
{
    return static_cast<uint8_t>(std::clamp(value + 0.5, 0.0, 255.0));
}

} // namespace

Image makeSamplePage(const SamplePage& sample)
{
    const double pixelsPerMm = sample.dpi / 25.4;
    const Sheet sheet(pixelsPerMm);
    const Placement placement(sample.tiltDegrees);
    Image page(IMAGE_TYPE_16MRGB, static_cast<uint32_t>(std::lround(kFrameWidth * pixelsPerMm)),
               static_cast<uint32_t>(std::lround(kFrameHeight * pixelsPerMm)), {sample.dpi, sample.dpi});
    for (uint32_t y = 0; y < page.height(); ++y) {
        uint8_t* line = page.line(y);
        for (uint32_t x = 0; x < page.width(); ++x) {
            const Point place = placement.onSheet((x + 0.5) / pixelsPerMm, (y + 0.5) / pixelsPerMm);
            const Color color = scannedAt(sheet, place, pixelsPerMm);
            // Sensor noise is mostly the same in all three components.
            const double common = (noiseAt(x, y, 5) + noiseAt(x, y, 6) - 1) * 5;
            *line++ = byteOf(color.r + common + (noiseAt(x, y, 7) - 0.5) * 3);
            *line++ = byteOf(color.g + common + (noiseAt(x, y, 8) - 0.5) * 3);
            *line++ = byteOf(color.b + common + (noiseAt(x, y, 9) - 0.5) * 3);
        }
    }
    return page;
}

} // namespace lxpage
