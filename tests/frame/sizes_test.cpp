// Sizes, the error buffer and the palettes.

#include "support/guarded_memory.h"

#include "lx.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace lxtest
{

namespace
{

TEST(Sizes, OfLines)
{
    constexpr struct {
        uint16_t type;
        uint32_t width;
        uint32_t bytes;
    } lines[] = {
        {0, 0, 0},
        {0, 1, 1},
        {0, 8, 1},
        {0, 9, 2},
        {0, ~0U, 0x20000000},
        {1, 0, 0},
        {1, 7, 4},
        {1, 8, 4},
        {1, ~0U, 0x80000000},
        {2, 5, 5},
        {2, ~0U, ~0U},
        {3, 7, 4},
        {3, ~0U, 0x80000000},
        {4, 8, 4},
        {4, 9, 5},
        {5, 6, 6},
        {5, ~0U, ~0U},
        {6, 5, 15},
        {6, 0x55555555, ~0U},
        {6, 0x55555556, 2},
        {7, 100, 0},
        {0xFFFF, 100, 0},
    };
    for (const auto& line : lines)
        EXPECT_EQ(lxCalculateBytesOf1Line(line.type, line.width), line.bytes) << line.type << ", " << line.width;
}

TEST(Sizes, OfImages)
{
    EXPECT_EQ(lxCalculateMemorySize(0, 0, 10), 0U);
    EXPECT_EQ(lxCalculateMemorySize(0, 9, 2), 4U);
    EXPECT_EQ(lxCalculateMemorySize(3, 7, 3), 12U);
    EXPECT_EQ(lxCalculateMemorySize(6, 10, 10), 300U);
    EXPECT_EQ(lxCalculateMemorySize(6, 10, 0), 0U);
    EXPECT_EQ(lxCalculateMemorySize(2, 0x10000, 0x10001), 0x10000U) << "wraps";
    EXPECT_EQ(lxCalculateMemorySize(7, 10, 10), 0U);
}

TEST(Sizes, OfErrorBuffers)
{
    EXPECT_EQ(lxCalculateErrorBufferSize(0, 0), 32U);
    EXPECT_EQ(lxCalculateErrorBufferSize(0, 100), 1632U);
    EXPECT_EQ(lxCalculateErrorBufferSize(3, 100), 4896U);
    EXPECT_EQ(lxCalculateErrorBufferSize(0, 0xFFFFFFFE), 0U) << "wraps";
    EXPECT_EQ(lxCalculateErrorBufferSize(0, 0x10000000), 32U) << "wraps";
    EXPECT_EQ(lxCalculateErrorBufferSize(3, 0x10000000), 96U) << "wraps";
    constexpr uint16_t others[] = {1, 2, 4, 5, 6, 7, 0x100};
    for (const uint16_t type : others)
        EXPECT_EQ(lxCalculateErrorBufferSize(type, 100), 0U) << type;
}

TEST(ErrorBufferClear, WritesWholeDoublesFromTheStart)
{
    constexpr struct {
        uint32_t size;
        size_t cleared;
    } cases[] = {{0, 0}, {1, 8}, {8, 8}, {12, 16}, {16, 16}, {1632, 1632}};
    for (const auto& [size, cleared] : cases) {
        const GuardedArray<double> behind(205);
        auto* bytes = reinterpret_cast<uint8_t*>(behind.end()) - cleared;
        uint8_t* before = bytes - 8;
        std::memset(before, 0xA5, 8 + cleared);
        const ErrorBufferDesc desc = {reinterpret_cast<double*>(bytes), size};
        lxClearErrorBuffer(&desc);
        EXPECT_EQ(std::count(bytes, bytes + cleared, 0), static_cast<ptrdiff_t>(cleared)) << size;
        EXPECT_EQ(std::count(before, bytes, 0xA5), 8) << size;
    }
}

// The size is read anew at every step: a descriptor that lies in its own buffer ends the clearing.
TEST(ErrorBufferClear, ReadsTheSizeAtEveryStep)
{
    struct {
        double first = 1.0;
        ErrorBufferDesc desc = {};
        double last = 1.0;
    } memory;
    memory.desc = {&memory.first, sizeof memory};
    lxClearErrorBuffer(&memory.desc);
    EXPECT_EQ(memory.first, 0.0);
    EXPECT_EQ(memory.desc.size, 0U);
    EXPECT_EQ(memory.last, 1.0);
}

struct Entry {
    uint16_t type;
    unsigned index;
    uint8_t red, green, blue;
};

TEST(Palette, HasTheFixedColors)
{
    constexpr uint16_t counts[] = {2, 16, 256, 16, 16, 256, 0};
    constexpr Entry entries[] = {
        {0, 0, 0, 0, 0},         {0, 1, 255, 255, 255},   {1, 0, 0, 0, 0},         {1, 1, 17, 17, 17},
        {1, 15, 255, 255, 255},  {2, 1, 1, 1, 1},         {2, 128, 128, 128, 128}, {2, 255, 255, 255, 255},
        {3, 0, 0, 0, 0},         {3, 1, 255, 0, 0},       {3, 2, 0, 255, 0},       {3, 4, 0, 0, 255},
        {3, 6, 0, 255, 255},     {3, 7, 255, 255, 255},   {3, 8, 255, 255, 255},   {3, 15, 255, 255, 255},
        {4, 0, 0, 0, 0},         {4, 1, 128, 0, 0},       {4, 2, 255, 0, 0},       {4, 3, 0, 128, 0},
        {4, 4, 0, 255, 0},       {4, 5, 0, 0, 128},       {4, 6, 0, 0, 255},       {4, 7, 128, 128, 0},
        {4, 8, 255, 255, 0},     {4, 9, 0, 128, 128},     {4, 10, 0, 255, 255},    {4, 11, 128, 0, 128},
        {4, 12, 255, 0, 255},    {4, 13, 128, 128, 128},  {4, 14, 255, 255, 255},  {4, 15, 192, 192, 192},
        {5, 0, 0, 0, 0},         {5, 1, 51, 0, 0},        {5, 5, 255, 0, 0},       {5, 6, 0, 51, 0},
        {5, 36, 0, 0, 51},       {5, 42, 0, 51, 51},      {5, 214, 204, 255, 255}, {5, 215, 255, 255, 255},
        {5, 216, 255, 255, 255}, {5, 255, 255, 255, 255},
    };
    for (uint16_t type = 0; type <= 6; ++type) {
        ColorPalette palette;
        std::memset(&palette, 0xA5, sizeof palette);
        palette.type = type;
        EXPECT_EQ(lxGetColorPalette(&palette), IMAGE_STATUS_OK);
        EXPECT_EQ(palette.type, type);
        EXPECT_EQ(palette.count, counts[type]);
        for (const Entry& entry : entries) {
            if (entry.type == type) {
                const uint8_t expected[] = {entry.red, entry.green, entry.blue};
                EXPECT_EQ(std::memcmp(palette.entries[entry.index], expected, 3), 0) << type << ", " << entry.index;
            }
        }
        const auto* unused = reinterpret_cast<const uint8_t*>(palette.entries + palette.count);
        EXPECT_EQ(std::count(unused, unused + 768 - 3 * palette.count, 0xA5), 768 - 3 * palette.count);
    }
}

TEST(Palette, OfAnUnknownTypeIsLeftAlone)
{
    constexpr uint16_t unknown[] = {7, 0xFFFF};
    for (const uint16_t type : unknown) {
        ColorPalette palette;
        std::memset(&palette, 0xA5, sizeof palette);
        palette.type = type;
        const ColorPalette before = palette;
        EXPECT_EQ(lxGetColorPalette(&palette), IMAGE_STATUS_BAD_ARGUMENT);
        EXPECT_EQ(std::memcmp(&before, &palette, sizeof palette), 0);
    }
}

} // namespace

} // namespace lxtest
