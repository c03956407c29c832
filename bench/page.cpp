// Draws the page in full colour, then packs it into the other formats pixel by pixel: speed is of no matter here.
// Random numbers come from a generator of our own, so that the page does not depend on the C library.
#include "page.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <new>
#include <utility>
#include <vector>

namespace bench
{
namespace
{

using Color = std::array<uint8_t, 3>;

class Random
{
  public:
    uint32_t below(uint32_t bound)
    {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return uint32_t(state_ >> 33) % bound;
    }

  private:
    uint64_t state_ = 0x9E3779B97F4A7C15u;
};

class Canvas
{
  public:
    Canvas() : colors_(std::size_t(pageWidth) * pageHeight, Color{250, 250, 246}) {}

    Color& at(uint32_t x, uint32_t y) { return colors_[std::size_t(y) * pageWidth + x]; }

    void fill(uint32_t left, uint32_t top, uint32_t width, uint32_t height, Color color)
    {
        for (uint32_t y = top; y < std::min(top + height, pageHeight); ++y) {
            for (uint32_t x = left; x < std::min(left + width, pageWidth); ++x) {
                at(x, y) = color;
            }
        }
    }

  private:
    std::vector<Color> colors_;
};

constexpr uint32_t margin = 180;
constexpr uint32_t photoTop = 1500;
constexpr uint32_t photoHeight = 900;

// A letter is a stem and two bars, some of them a slanted stroke: ink in runs of 4 to 26 pixels, as print has it.
void drawLetter(Canvas& canvas, Random& random, uint32_t left, uint32_t top, Color ink)
{
    constexpr uint32_t height = 34, stroke = 5;
    canvas.fill(left + random.below(3), top, stroke, height, ink);
    canvas.fill(left, top + random.below(height - stroke), 14 + random.below(6), stroke - 1, ink);
    canvas.fill(left, top + random.below(height - stroke), 8 + random.below(10), stroke - 1, ink);
    if (random.below(3) == 0) {
        for (uint32_t y = 0; y < height; ++y) {
            canvas.fill(left + y / 2, top + y, stroke, 1, ink);
        }
    }
}

void drawText(Canvas& canvas, Random& random)
{
    constexpr uint32_t lineHeight = 58, letterWidth = 25;
    for (uint32_t top = margin; top + lineHeight + margin < pageHeight; top += lineHeight) {
        if (top + lineHeight > photoTop && top < photoTop + photoHeight) {
            continue;
        }
        const Color ink = random.below(8) == 0 ? Color{150, 30, 40} : Color{24, 24, 30};
        for (uint32_t left = margin; left + margin < pageWidth; left += letterWidth) {
            if (random.below(6) != 0) {
                drawLetter(canvas, random, left, top, ink);
            }
        }
    }
}

void drawPhotograph(Canvas& canvas)
{
    for (uint32_t y = 0; y < photoHeight; ++y) {
        for (uint32_t x = 0; x < pageWidth - 2 * margin; ++x) {
            const double wave = std::sin(x * 0.011) * std::cos(y * 0.017) + 0.3 * std::sin((x + 2 * y) * 0.19);
            const auto tone = [&](double middle, double swing) {
                return uint8_t(std::clamp(middle + swing * wave, 0.0, 255.0));
            };
            canvas.at(margin + x, photoTop + y) = {tone(130 + y * 0.09, 90), tone(120, 70), tone(110 + x * 0.03, -60)};
        }
    }
}

void addNoise(Canvas& canvas, Random& random)
{
    for (uint32_t y = 0; y < pageHeight; ++y) {
        for (uint32_t x = 0; x < pageWidth; ++x) {
            for (uint8_t& component : canvas.at(x, y)) {
                const int noise = int(random.below(8)) + int(random.below(8)) - 7;
                component = uint8_t(std::clamp(component + noise, 0, 255));
            }
        }
    }
}

Canvas& canvas()
{
    static Canvas drawn = [] {
        Canvas fresh;
        Random random;
        drawText(fresh, random);
        drawPhotograph(fresh);
        addNoise(fresh, random);
        return fresh;
    }();
    return drawn;
}

// The pixel of a format that comes near a colour; for 16 colours any spread of all indices will do.
uint8_t pixelOf(uint16_t type, const Color& color)
{
    const auto [red, green, blue] = color;
    const int gray = (red + green + blue) / 3;
    switch (type) {
    case IMAGE_TYPE_BW:
        return gray >= 128;
    case IMAGE_TYPE_16GRAY:
        return uint8_t(gray / 17);
    case IMAGE_TYPE_256GRAY:
        return uint8_t(gray);
    case IMAGE_TYPE_8RGB:
        return uint8_t((red >> 7) | (green >> 7) << 1 | (blue >> 7) << 2);
    case IMAGE_TYPE_16RGB:
        return uint8_t((red >> 7) | (green >> 7) << 1 | (blue >> 7) << 2 | ((gray >> 6) & 1) << 3);
    default:
        return uint8_t(red / 51 + green / 51 * 6 + blue / 51 * 36);
    }
}

uint32_t bitsOf(uint16_t type)
{
    constexpr uint32_t bits[] = {1, 4, 8, 4, 4, 8, 24};
    return bits[type];
}

Picture drawPage(uint16_t type, uint32_t left)
{
    const Picture picture({type, pageWidth, pageHeight, left});
    const uint32_t bits = bitsOf(type);
    for (uint32_t y = 0; y < pageHeight; ++y) {
        uint8_t* line = picture.line(y);
        for (uint32_t x = 0; x < pageWidth; ++x) {
            const Color& color = canvas().at(x, y);
            const uint32_t bit = (left + x) * bits;
            if (type == IMAGE_TYPE_16MRGB) {
                std::memcpy(line + bit / 8, color.data(), color.size());
            } else {
                line[bit / 8] = uint8_t(line[bit / 8] | pixelOf(type, color) << (8 - bits - bit % 8));
            }
        }
    }
    return picture;
}

} // namespace

std::size_t bytesOf(const Shape& shape)
{
    return (std::size_t(shape.width) * bitsOf(shape.type) + 7) / 8 * shape.height;
}

std::shared_ptr<uint8_t[]> allocate(std::size_t bytes)
{
    constexpr std::align_val_t cacheLine{64};
    const auto memory = static_cast<uint8_t*>(::operator new[](bytes, cacheLine));
    std::memset(memory, 0, bytes);
    return {memory, [](uint8_t* last) { ::operator delete[](last, cacheLine); }};
}

Picture::Picture(const Shape& shape)
{
    area_ = {};
    area_.type = shape.type;
    area_.x = shape.x;
    area_.width = shape.width;
    area_.height = shape.height;
    area_.bytesPerLine = ((shape.x + shape.width) * bitsOf(shape.type) + 7) / 8;
    area_.lines = shape.height;
    pixels_ = allocate(std::size_t(area_.bytesPerLine) * area_.lines);
    area_.buffer = pixels_.get();
}

const Picture& page(uint16_t type, uint32_t x)
{
    static std::map<std::pair<uint16_t, uint32_t>, Picture> pages;
    auto found = pages.find({type, x});
    if (found == pages.end()) {
        found = pages.emplace(std::pair(type, x), drawPage(type, x)).first;
    }
    return found->second;
}

ColorPalette paletteOf(uint16_t type)
{
    ColorPalette palette{};
    palette.type = type;
    lxGetColorPalette(&palette);
    return palette;
}

} // namespace bench
