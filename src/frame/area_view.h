// Where the pixels of an area lie.
//
// An AreaView is made once from the caller's ImageArea; from then on nobody asks for line orders, pitches or pixel
// sizes. Line order is a step of +1 or -1 in unsigned 32-bit line numbers, which wrap; the byte offset is formed at
// the width of an address.

#pragma once

#include "lx.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace lx
{

constexpr bool isPixelType(uint16_t type)
{
    return type <= IMAGE_TYPE_16MRGB;
}

// 1, 4, 8 or 24.
constexpr unsigned bitsPerPixel(uint16_t type)
{
    constexpr uint8_t bits[] = {1, 4, 8, 4, 4, 8, 24};
    return bits[type];
}

class AreaView
{
  public:
    // `area.type` must be a pixel type.
    explicit AreaView(const ImageArea& area) noexcept
        : buffer_(static_cast<uint8_t*>(area.buffer)), pitch_(area.bytesPerLine),
          firstLine_(area.bottomUp != 0 ? area.lines - area.y - 1 : area.y), step_(area.bottomUp != 0 ? ~0U : 1U),
          x_(area.x), width_(area.width), height_(area.height), bits_(bitsPerPixel(area.type)),
          blueFirst_(area.colorOrder != 0)
    {
    }

    uint32_t width() const { return width_; }
    uint32_t height() const { return height_; }
    unsigned bits() const { return bits_; }
    bool packed() const { return bits_ < 8; }
    bool blueFirst() const { return blueFirst_; }

    // Pixels that share one byte, less one: 7, 1 or 0.
    unsigned phaseMask() const { return bits_ == 1 ? 7 : bits_ == 4 ? 1 : 0; }

    // How many pixels of another area share the byte of this area's pixel i in front of it.
    unsigned phase(uint32_t i = 0) const { return static_cast<unsigned>(size_t{x_} + i) & phaseMask(); }

    // The byte that holds pixel i of line j, its first byte for 24-bit pixels.
    uint8_t* at(uint32_t i, uint32_t j) const
    {
        const size_t line = firstLine_ + j * step_;
        const size_t pixel = size_t{x_} + i;
        return buffer_ + line * pitch_ + (pixel / 8 * bits_ + pixel % 8 * bits_ / 8);
    }

    uint8_t* row(uint32_t j) const { return at(0, j); }

    // Bytes from a line to the next one.
    ptrdiff_t lineStep() const { return step_ == 1 ? ptrdiff_t{pitch_} : -ptrdiff_t{pitch_}; }

    // Whether lines of `width` pixels are whole bytes of nothing else, one line after the other.
    bool isBlock(uint32_t width) const
    {
        const size_t lineBits = size_t{width} * bits_;
        return phase() == 0 && lineBits % 8 == 0 && lineStep() == static_cast<ptrdiff_t>(lineBits / 8);
    }

  private:
    uint8_t* buffer_;
    uint32_t pitch_;
    uint32_t firstLine_;
    uint32_t step_;
    uint32_t x_;
    uint32_t width_;
    uint32_t height_;
    unsigned bits_;
    bool blueFirst_;
};

// The rectangle that an operation with two areas works on.
struct Overlap {
    uint32_t width;
    uint32_t height;

    Overlap(const AreaView& a, const AreaView& b)
        : width(std::min(a.width(), b.width())), height(std::min(a.height(), b.height()))
    {
    }
};

} // namespace lx
