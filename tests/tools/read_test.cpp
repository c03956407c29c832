// Every kind of picture file comes in as the colours it holds.

#include "files/page_file.h"
#include "files/sample_rows.h"
#include "picture_files.h"
#include "tool_test.h"

#include <cmath>
#include <functional>
#include <png.h>

namespace lxpage
{

namespace
{

int overPaper(double value, double alpha)
{
    return static_cast<int>(value * alpha + 255 * (1 - alpha) + 0.5);
}

// The sample as a shade between 0 and 255.
double shadeOf(uint32_t x, uint32_t y, unsigned c, unsigned bits)
{
    return sampleOf(x, y, c, bits) * 255.0 / ((1u << bits) - 1);
}

void expectPicture(const Image& image, const std::function<Rgb(uint32_t x, uint32_t y)>& expected, int tolerance = 0)
{
    ASSERT_EQ(image.width(), kWidth);
    ASSERT_EQ(image.height(), kHeight);
    for (uint32_t y = 0; y < kHeight; ++y) {
        for (uint32_t x = 0; x < kWidth; ++x) {
            const Rgb got = colorAt(image, x, y);
            const Rgb want = expected(x, y);
            for (unsigned c = 0; c < 3; ++c) {
                ASSERT_NEAR(got[c], want[c], tolerance) << "at " << x << ", " << y << ", component " << c;
            }
        }
    }
}

class ReadTiff : public ToolTest, public testing::WithParamInterface<TiffSpec>
{
};

TEST_P(ReadTiff, GivesTheColours)
{
    const TiffSpec spec = GetParam();
    writeTiffPage(path("in.tif"), spec);
    expectPicture(readPage(path("in.tif")), [&](uint32_t x, uint32_t y) -> Rgb {
        Rgb color;
        for (unsigned c = 0; c < 3; ++c) {
            if (spec.photometric == PHOTOMETRIC_PALETTE) {
                color[c] = static_cast<int>(paletteOf(sampleOf(x, y, 0, spec.bits), c));
                continue;
            }
            const unsigned colors = spec.photometric == PHOTOMETRIC_RGB ? 3 : 1;
            const double shade = shadeOf(x, y, colors == 3 ? c : 0, spec.bits);
            const double alpha = spec.extra > 0 ? shadeOf(x, y, colors, spec.bits) : 255;
            const double straight = spec.photometric == PHOTOMETRIC_MINISWHITE ? 255 - shade : shade;
            color[c] = spec.extra == EXTRASAMPLE_ASSOCALPHA ? std::min(255, static_cast<int>(straight + 255 - alpha))
                                                            : overPaper(straight, alpha / 255);
        }
        return color;
    });
}

constexpr uint16_t kGray = PHOTOMETRIC_MINISBLACK;
constexpr uint16_t kInk = PHOTOMETRIC_MINISWHITE;
constexpr uint16_t kPalette = PHOTOMETRIC_PALETTE;
constexpr uint16_t kColor = PHOTOMETRIC_RGB;

INSTANTIATE_TEST_SUITE_P(
    Kinds, ReadTiff,
    testing::Values(TiffSpec{"bilevel", 1, 1, kGray}, TiffSpec{"bilevel, 0 white", 1, 1, kInk},
                    TiffSpec{"group 4", 1, 1, kGray, COMPRESSION_CCITTFAX4},
                    TiffSpec{"group 4, 0 white", 1, 1, kInk, COMPRESSION_CCITTFAX4},
                    TiffSpec{"group 3, low bit first", 1, 1, kInk, COMPRESSION_CCITTFAX3, false, false, -1,
                             ORIENTATION_TOPLEFT, FILLORDER_LSB2MSB},
                    TiffSpec{"bilevel tiles", 1, 1, kInk, COMPRESSION_PACKBITS, true},
                    TiffSpec{"4 shades", 2, 1, kGray}, TiffSpec{"4 shades, 0 white", 2, 1, kInk},
                    TiffSpec{"16 shades", 4, 1, kGray, COMPRESSION_LZW},
                    TiffSpec{"16 shades in tiles, 0 white", 4, 1, kInk, COMPRESSION_LZW, true},
                    TiffSpec{"gray", 8, 1, kGray, COMPRESSION_ADOBE_DEFLATE}, TiffSpec{"gray, 0 white", 8, 1, kInk},
                    TiffSpec{"gray of 16 bits", 16, 1, kGray}, TiffSpec{"gray of 16 bits, 0 white", 16, 1, kInk},
                    TiffSpec{"gray with alpha", 8, 2, kGray, COMPRESSION_LZW, false, false, EXTRASAMPLE_UNASSALPHA},
                    TiffSpec{"palette of 2", 1, 1, kPalette}, TiffSpec{"palette of 16", 4, 1, kPalette},
                    TiffSpec{"palette of 256 in tiles", 8, 1, kPalette, COMPRESSION_LZW, true},
                    TiffSpec{"colour", 8, 3, kColor, COMPRESSION_LZW},
                    TiffSpec{"colour in tiles", 8, 3, kColor, COMPRESSION_NONE, true},
                    TiffSpec{"colour planes", 8, 3, kColor, COMPRESSION_NONE, false, true},
                    TiffSpec{"colour planes of 16 bits in tiles", 16, 3, kColor, COMPRESSION_NONE, true, true},
                    TiffSpec{"colour and alpha", 8, 4, kColor, COMPRESSION_NONE, false, false, EXTRASAMPLE_UNASSALPHA},
                    TiffSpec{"colour in alpha", 8, 4, kColor, COMPRESSION_NONE, false, false, EXTRASAMPLE_ASSOCALPHA},
                    TiffSpec{"colour and something", 8, 4, kColor, COMPRESSION_NONE, false, false,
                             EXTRASAMPLE_UNSPECIFIED}));

Rgb colorKey(uint32_t x, uint32_t y)
{
    const auto sample = [&](unsigned c) { return static_cast<int>(sampleOf(x, y, c, 8)); };
    return {sample(0), sample(1), sample(2)};
}

class ReadPng : public ToolTest, public testing::WithParamInterface<PngSpec>
{
};

TEST_P(ReadPng, GivesTheColours)
{
    const PngSpec spec = GetParam();
    const auto bits = static_cast<unsigned>(spec.bits);
    writePngFile(path("in.png"), spec);
    expectPicture(readPage(path("in.png")), [&](uint32_t x, uint32_t y) -> Rgb {
        const unsigned colors = spec.color & PNG_COLOR_MASK_COLOR ? 3 : 1;
        const bool keyed =
            spec.color == PNG_COLOR_TYPE_RGB ? colorKey(x, y) == colorKey(5, 5) : sampleOf(x, y, 0, bits) == 1;
        if (spec.transparent && keyed) {
            return {255, 255, 255};
        }
        Rgb color;
        for (unsigned c = 0; c < 3; ++c) {
            const double alpha = spec.color & PNG_COLOR_MASK_ALPHA ? shadeOf(x, y, colors, bits) : 255;
            const double shade = shadeOf(x, y, colors == 3 ? c : 0, bits);
            // Wide samples are brought to 8 bits before they are laid over the paper.
            color[c] = spec.color == PNG_COLOR_TYPE_PALETTE
                           ? static_cast<int>(paletteOf(sampleOf(x, y, 0, bits), c))
                           : overPaper(std::floor(shade + 0.5), std::floor(alpha + 0.5) / 255);
        }
        return color;
    });
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ReadPng,
    testing::Values(PngSpec{"bilevel", PNG_COLOR_TYPE_GRAY, 1}, PngSpec{"4 shades", PNG_COLOR_TYPE_GRAY, 2},
                    PngSpec{"16 shades", PNG_COLOR_TYPE_GRAY, 4}, PngSpec{"gray", PNG_COLOR_TYPE_GRAY},
                    PngSpec{"gray of 16 bits", PNG_COLOR_TYPE_GRAY, 16},
                    PngSpec{"transparent bilevel", PNG_COLOR_TYPE_GRAY, 1, false, true},
                    PngSpec{"transparent gray", PNG_COLOR_TYPE_GRAY, 4, true, true},
                    PngSpec{"gray and alpha", PNG_COLOR_TYPE_GRAY_ALPHA},
                    PngSpec{"palette of 2", PNG_COLOR_TYPE_PALETTE, 1},
                    PngSpec{"palette of 16, interlaced", PNG_COLOR_TYPE_PALETTE, 4, true},
                    PngSpec{"transparent palette", PNG_COLOR_TYPE_PALETTE, 8, false, true},
                    PngSpec{"colour", PNG_COLOR_TYPE_RGB}, PngSpec{"colour, interlaced", PNG_COLOR_TYPE_RGB, 8, true},
                    PngSpec{"colour of 16 bits", PNG_COLOR_TYPE_RGB, 16},
                    PngSpec{"transparent colour", PNG_COLOR_TYPE_RGB, 8, false, true},
                    PngSpec{"colour and alpha, interlaced", PNG_COLOR_TYPE_RGB_ALPHA, 8, true},
                    PngSpec{"colour and alpha of 16 bits", PNG_COLOR_TYPE_RGB_ALPHA, 16}));

using Read = ToolTest;

TEST_F(Read, Jpeg)
{
    for (const bool progressive : {false, true}) {
        writeJpegFile(path("gray.jpg"), 1, progressive);
        expectPicture(
            readPage(path("gray.jpg")),
            [](uint32_t x, uint32_t y) {
                const int v = static_cast<int>(x + 2 * y);
                return Rgb{v, v, v};
            },
            2);
        writeJpegFile(path("colour.jpg"), 3, progressive);
        expectPicture(
            readPage(path("colour.jpg")),
            [](uint32_t x, uint32_t y) {
                const int v = static_cast<int>(x + 2 * y);
                return Rgb{v, 255 - v, v / 2};
            },
            4);
    }
}

TEST_F(Read, Pnm)
{
    const Rgb black = {0, 0, 0};
    const Rgb white = {255, 255, 255};
    const Rgb gray = {7, 7, 7};
    const Rgb orange = {255, 128, 0};
    const struct {
        const char* name;
        std::string bytes;
        Rgb left, right;
    } cases[] = {
        {"plain bitmap", "P1\n# black is 1\n2 1\n10", black, white},
        {"plain graymap", "P2 2 1 255\n7 255", gray, white},
        {"plain pixmap", "P3\n2 1\n255\n255 128 0\n0 0 0", orange, black},
        {"raw bitmap", "P4 2 1\n\x80", black, white},
        {"raw graymap", "P5#c\n2 1\n255\n\x07\xff", gray, white},
        {"raw pixmap", std::string("P6 2 1 255\n\xff\x80\0\0\0\0", 17), orange, black},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        putBytes(path("in.pnm"), test.bytes);
        const Image image = readPage(path("in.pnm"));
        EXPECT_EQ(image.width(), 2u);
        EXPECT_EQ(image.height(), 1u);
        EXPECT_EQ(colorAt(image, 0, 0), test.left);
        EXPECT_EQ(colorAt(image, 1, 0), test.right);
    }
}

// A 1 in the top left corner of the picture, wherever the file has it: the stored square of two pixels a side is
// read off in the order that the code prescribes.
TEST_F(Read, TurnsStoredOrientationsUpright)
{
    const TiffSpec upright = {"", 8, 1, kGray};
    writeTiffPage(path("1.tif"), upright);
    const Image stored = readPage(path("1.tif"));
    for (uint16_t code = 2; code <= 8; ++code) {
        SCOPED_TRACE(code);
        TiffSpec spec = upright;
        spec.orientation = code;
        writeTiffPage(path("turned.tif"), spec);
        const Image turned = readPage(path("turned.tif"));
        const bool swapped = code >= 5;
        ASSERT_EQ(turned.width(), swapped ? kHeight : kWidth);
        ASSERT_EQ(turned.height(), swapped ? kWidth : kHeight);
        const uint32_t right = turned.width() - 1;
        const uint32_t bottom = turned.height() - 1;
        // Where the first two stored pixels (3, 0) and (0, 2) are seen.
        const struct {
            uint32_t x3, y3, x2, y2;
        } seen[] = {
            {right - 3, 0, right, 2}, {right - 3, bottom, right, bottom - 2}, {3, bottom, 0, bottom - 2}, {0, 3, 2, 0},
            {right, 3, right - 2, 0}, {right, bottom - 3, right - 2, bottom}, {0, bottom - 3, 2, bottom}};
        const auto& at = seen[code - 2];
        EXPECT_EQ(colorAt(turned, at.x3, at.y3), colorAt(stored, 3, 0));
        EXPECT_EQ(colorAt(turned, at.x2, at.y2), colorAt(stored, 0, 2));
    }
}

TEST_F(Read, PagesOfATiffWithoutItsPreviews)
{
    for (const char* mode : {"wl", "wb", "w8l", "w8b"}) { // either byte order, in classic files and in large ones
        SCOPED_TRACE(mode);
        writeTiffPage(path("in.tif"), {"", 1, 1, kInk}, mode);
        writeTiffPage(path("in.tif"), {"", 8, 1, kGray}, "a", 0, RESUNIT_INCH, FILETYPE_REDUCEDIMAGE);
        writeTiffPage(path("in.tif"), {"", 8, 3, kColor}, "a");
        const auto pages = openPages(path("in.tif"));
        ASSERT_EQ(pages->count(), 2u);
        EXPECT_EQ(pages->read(1).type(), IMAGE_TYPE_16MRGB);
        EXPECT_EQ(pages->read(0).type(), IMAGE_TYPE_BW);
    }
}

TEST_F(Read, BlackAndWhitePalettesAreBilevel)
{
    uint8_t palettes[2][2][3] = {{{0, 0, 0}, {255, 255, 255}}, {{255, 255, 255}, {0, 0, 0}}};
    for (auto& entries : palettes) {
        bool inverted = false;
        EXPECT_TRUE(isBlackAndWhite(entries, inverted));
        EXPECT_EQ(inverted, entries[0][0] == 255);
        entries[1][2] = 128;
        EXPECT_FALSE(isBlackAndWhite(entries, inverted));
    }
}

TEST_F(Read, Resolution)
{
    writeTiffPage(path("inch.tif"), {"", 1}, "w", 300);
    writeTiffPage(path("cm.tif"), {"", 1}, "w", 100, RESUNIT_CENTIMETER);
    writeTiffPage(path("ratio.tif"), {"", 1}, "w", 2, RESUNIT_NONE);
    writePngFile(path("300.png"), {"", PNG_COLOR_TYPE_GRAY}, 11811);
    writePngFile(path("odd.png"), {"", PNG_COLOR_TYPE_GRAY}, 10000);
    writePngFile(path("none.png"), {"", PNG_COLOR_TYPE_GRAY});
    writeJpegFile(path("150.jpg"), 1, false, 150);
    writeJpegFile(path("none.jpg"), 1, false);
    const struct {
        const char* name;
        double x, y;
    } cases[] = {{"inch.tif", 300, 150}, {"cm.tif", 254, 127}, {"ratio.tif", 0, 0},   {"300.png", 300, 600},
                 {"odd.png", 254, 508},  {"none.png", 0, 0},   {"150.jpg", 150, 300}, {"none.jpg", 0, 0}};
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        const Resolution resolution = readPage(path(test.name)).resolution;
        EXPECT_NEAR(resolution.x, test.x, 0.02);
        EXPECT_NEAR(resolution.y, test.y, 0.02);
    }
}

} // namespace

} // namespace lxpage
