// Pictures in memory, laid out in all the ways that an ImageArea can describe.
//
// The area's first or last byte in memory touches an inaccessible page, or the first or last byte of every line does;
// all accessible bytes around the area are noise, which must survive.

#pragma once

#include "support/guarded_memory.h"
#include "support/picture.h"

namespace lxtest
{

struct Layout {
    enum class Guard {
        beforeArea, // the area's first byte in memory is the first accessible one
        behindArea, // the area's last byte is the last one
        beforeLine, // the first byte of every line, lines being far apart
        behindLine, // the last byte of every line
    };

    uint16_t colorOrder = 0;
    uint16_t bottomUp = 0;
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t linesBelow = 0; // buffer lines below the area
    uint32_t padding = 0;    // bytes of a buffer line after the area
    Guard guard = Guard::beforeArea;
    uint64_t noise = 1; // seed of the bytes around the area

    // `orders`: how many values of colorOrder to choose from, 1 to 3.
    static Layout random(Random& random, unsigned orders = 3);
};

std::ostream& operator<<(std::ostream& out, const Layout& layout);

// Where pictures are put; one picture at a time.
class Ground
{
  public:
    GuardedMemory block{size_t{16} << 20};
    GuardedMemory lines{32768, 160};
};

// The area of `picture` in a buffer of the caller's, at `first`: the byte that comes first in memory of those that
// hold its pixels. The pixels are not written.
ImageArea areaAt(uint8_t* first, const Picture& picture, const Layout& layout, uint32_t bytesPerLine);

// Bytes that hold the pixels of one line.
size_t lineBytes(const Picture& picture, const Layout& layout);

void putPixels(const ImageArea& area, const Picture& picture);
Picture getPixels(const ImageArea& area);

class PlacedPicture
{
  public:
    PlacedPicture(const Picture& picture, const Layout& layout, Ground& ground);

    const ImageArea& area() const { return area_; }
    Picture picture() const { return getPixels(area_); }

    // Whether all accessible bytes, bit by bit, but for the pixels of the area are as they were.
    bool surroundingsKept() const;

  private:
    struct Span {
        uint8_t* bytes;
        size_t count;
    };

    void addSpan(const GuardedMemory& memory, size_t block, uint8_t* from, uint8_t* to, Random& noise);
    std::vector<uint8_t> contents() const;

    Picture original_;
    ImageArea area_;
    std::vector<Span> spans_;
    std::vector<uint8_t> before_;
};

// A picture in plain memory of its own.
class Image
{
  public:
    explicit Image(const Picture& picture, const Layout& layout = Layout());
    Image(const Image&) = delete;

    ImageArea area;

    Picture picture() const { return getPixels(area); }

    // The area of the lines `top` to `top + height - 1`.
    ImageArea band(uint32_t top, uint32_t height) const;

  private:
    std::vector<uint8_t> bytes_;
};

} // namespace lxtest
