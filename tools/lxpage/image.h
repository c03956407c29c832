// A page image that owns its memory, and the `ImageArea` records that show it to the library.
//
// Lines are stored top-down with red first. A picture that came with a palette of its own is kept as one byte per
// pixel of type IMAGE_TYPE_256RGB, and `palette` holds its colours; for every other type `palette` is the type's fixed
// one, so that it can always be handed to the converters that want a palette.
#ifndef LXPAGE_IMAGE_H
#define LXPAGE_IMAGE_H

#include "lx.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lxpage
{

// Largest page the tool takes: readers check a file's header against these before they allocate anything.
constexpr uint32_t kMaxSide = 65500;
constexpr uint64_t kMaxPixels = 1'000'000'000;
constexpr uint64_t kMaxBytes = uint64_t{4} << 30;

// Dots per inch; 0 stands for unknown.
struct Resolution {
    double x = 0;
    double y = 0;
};

class Image
{
  public:
    // All pixels 0. Lines have room for `storedWidth` pixels when that is more than `width`.
    Image(uint16_t type, uint32_t width, uint32_t height, Resolution resolution = {}, uint32_t storedWidth = 0);

    [[nodiscard]] uint16_t type() const { return type_; }
    [[nodiscard]] uint32_t width() const { return width_; }
    [[nodiscard]] uint32_t height() const { return height_; }
    [[nodiscard]] uint32_t bytesPerLine() const { return bytesPerLine_; }

    uint8_t* line(uint32_t y) { return pixels_.data() + size_t{bytesPerLine_} * y; }
    [[nodiscard]] const uint8_t* line(uint32_t y) const { return pixels_.data() + size_t{bytesPerLine_} * y; }

    // The record knows no const: an area of a constant image must only be passed as a source.
    [[nodiscard]] ImageArea area() const { return band(0, height_); }
    // Lines `y` to `y + lines - 1`, cut at the bottom of the page.
    [[nodiscard]] ImageArea band(uint32_t y, uint32_t lines) const;

    Resolution resolution;
    ColorPalette palette;

  private:
    uint16_t type_;
    uint32_t width_;
    uint32_t height_;
    uint32_t bytesPerLine_;
    std::vector<uint8_t> pixels_;
};

// Throw a PageError unless a page of this size is within the limits. `bytesPerPixel` counts all the memory that reading
// it takes at once.
void checkPageSize(uint64_t width, uint64_t height, unsigned bytesPerPixel);

// Gives every pixel the lightest colour of the image's palette.
void fillWhite(Image& image);

// "256 gray", "bilevel", ...
const char* typeName(uint16_t type);

// Throw unless the library accepted the call named `function`.
void expectOk(int8_t status, const char* function);

// Turn and mirror a picture so that its first stored line is the top and its first column the left. `orientation` is
// the code 1 to 8 that picture files use.
Image uprighted(const Image& stored, unsigned orientation);

} // namespace lxpage

#endif
