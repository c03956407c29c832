// The page that everything is measured on, and pictures to write results to.
//
// The page is an A4 sheet at 300 dpi: lines of text-like strokes, a photograph and the noise of a scanner, the same
// bytes in every run. It exists once in every pixel format, with byte-packed lines, and is drawn when first asked for.
#ifndef LX_BENCH_PAGE_H
#define LX_BENCH_PAGE_H

#include <lx.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace bench
{

constexpr uint32_t pageWidth = 2480;
constexpr uint32_t pageHeight = 3508;
constexpr double pagePixels = double(pageWidth) * pageHeight;

// What a picture looks like. `x` shifts its pixels to the right inside the buffer lines, to measure what pixels cost
// that do not start at a byte.
struct Shape {
    uint16_t type;
    uint32_t width = pageWidth;
    uint32_t height = pageHeight;
    uint32_t x = 0;
};

constexpr Shape bilevelPage{IMAGE_TYPE_BW};
constexpr Shape gray16Page{IMAGE_TYPE_16GRAY};
constexpr Shape grayPage{IMAGE_TYPE_256GRAY};
constexpr Shape eightColors{IMAGE_TYPE_8RGB};
constexpr Shape sixteenColors{IMAGE_TYPE_16RGB};
constexpr Shape cubeColors{IMAGE_TYPE_256RGB};
constexpr Shape colorPage{IMAGE_TYPE_16MRGB};

constexpr Shape shifted(Shape shape, uint32_t x)
{
    shape.x = x;
    return shape;
}

// Bytes that hold the pixels of a shape: what an operation on it has to read or write.
std::size_t bytesOf(const Shape& shape);

// Zeroed memory that starts at a cache line, as large blocks of an application may be expected to.
std::shared_ptr<uint8_t[]> allocate(std::size_t bytes);

// An image buffer with its area. Copies share the pixels.
class Picture
{
  public:
    explicit Picture(const Shape& shape);

    const ImageArea* area() const { return &area_; }
    uint8_t* pixels() const { return pixels_.get(); }
    uint8_t* line(uint32_t number) const { return pixels_.get() + std::size_t(number) * area_.bytesPerLine; }
    std::size_t bytesPerLine() const { return area_.bytesPerLine; }

  private:
    ImageArea area_;
    std::shared_ptr<uint8_t[]> pixels_;
};

// The page in one pixel format, red first.
const Picture& page(uint16_t type, uint32_t x = 0);

// The fixed palette of a pixel format.
ColorPalette paletteOf(uint16_t type);

} // namespace bench

#endif
