// Picture files of every kind that the tool reads, made through the picture libraries from samples that a test can
// foretell.
#ifndef LXPAGE_TESTS_PICTURE_FILES_H
#define LXPAGE_TESTS_PICTURE_FILES_H

#include <cstdint>
#include <string>
#include <tiffio.h>
#include <vector>

namespace lxpage
{

constexpr uint32_t kWidth = 37; // no multiple of a byte's pixels or of a tile
constexpr uint32_t kHeight = 21;

// Sample `c` of a pixel, a number of `bits` bits.
unsigned sampleOf(uint32_t x, uint32_t y, unsigned c, unsigned bits);

// Colour `c` of palette entry k in the files with palettes.
unsigned paletteOf(unsigned k, unsigned c);

struct TiffSpec {
    const char* name;
    uint16_t bits = 8;
    uint16_t samples = 1;
    uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    uint16_t compression = COMPRESSION_NONE;
    bool tiled = false;
    bool planar = false;
    int extra = -1; // EXTRASAMPLE_...
    uint16_t orientation = ORIENTATION_TOPLEFT;
    uint16_t fillOrder = FILLORDER_MSB2LSB;
};
void PrintTo(const TiffSpec& spec, std::ostream* out);

// Adds a page to a file ("w" makes it, "a" appends).
void writeTiffPage(const std::string& path, const TiffSpec& spec, const char* mode = "w", float dpi = 0,
                   uint16_t unit = RESUNIT_INCH, uint32_t subfileType = 0);

struct PngSpec {
    const char* name;
    int color;
    int bits = 8;
    bool interlaced = false;
    bool transparent = false; // palette entry 1, gray 1 or the colour at (5, 5) shows the paper
};
void PrintTo(const PngSpec& spec, std::ostream* out);

void writePngFile(const std::string& path, const PngSpec& spec, unsigned dotsPerMeter = 0);

// Smooth shades: x + 2 y for gray, and 255 less, half of it for colour.
void writeJpegFile(const std::string& path, int components, bool progressive, unsigned dpi = 0);

} // namespace lxpage

#endif
