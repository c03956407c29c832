// A picture apart from any memory layout: what an area shows.
//
// As text, a bilevel pixel is "#" (black) or "." (white), a 4-bit pixel one hexadecimal digit, an 8-bit pixel two, and
// a full-colour pixel six (red, green, blue). Spaces are ignored.

#pragma once

#include "support/random.h"

#include "lx.h"

#include <gtest/gtest.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace lxtest
{

unsigned bitsOf(uint16_t type);
const char* nameOf(uint16_t type);

struct Picture {
    uint16_t type = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint32_t> pixels; // bits, levels, indices, or 0xRRGGBB

    Picture(uint16_t pixelType, uint32_t columns, uint32_t rows, uint32_t pixel = 0)
        : type(pixelType), width(columns), height(rows), pixels(size_t{columns} * rows, pixel)
    {
    }
    Picture(uint16_t type, std::initializer_list<const char*> lines);

    // Noise, or now and then flat stretches among noise: what runs and equal neighbours need.
    static Picture random(Random& random, uint16_t type, uint32_t width, uint32_t height);

    uint32_t& at(uint32_t i, uint32_t j) { return pixels[size_t{j} * width + i]; }
    uint32_t at(uint32_t i, uint32_t j) const { return pixels[size_t{j} * width + i]; }

    // The rectangle of this picture with its corner at (left, top).
    Picture cut(uint32_t left, uint32_t top, uint32_t columns, uint32_t rows) const;

    friend bool operator==(const Picture&, const Picture&) = default;
};

std::ostream& operator<<(std::ostream& out, const Picture& picture);

// Compares, and names the first pixel that differs.
testing::AssertionResult samePicture(const Picture& expected, const Picture& actual);

} // namespace lxtest
