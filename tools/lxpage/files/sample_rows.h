// From the samples of a picture file's line to the pixels of an Image: the part that PNG and TIFF have in common.
#ifndef LXPAGE_FILES_SAMPLE_ROWS_H
#define LXPAGE_FILES_SAMPLE_ROWS_H

#include "image.h"

#include <cstdint>

namespace lxpage
{

enum class Alpha { None, Straight, Premultiplied };

// How a file lays out a line: `samples` interleaved samples of `bits` bits, high bits first; 16-bit samples are in the
// machine's byte order. Samples beyond the colour and the alpha value are skipped.
struct SampleLayout {
    unsigned bits = 8;         // 1, 2, 4, 8 or 16; with several samples 8 or 16
    unsigned samples = 1;      // samples per pixel
    unsigned colors = 1;       // 1 gray or index, 3 red, green, blue; they come first
    Alpha alpha = Alpha::None; // the sample after the colours
    bool indexed = false;      // samples are palette indices
    bool inverted = false;     // 0 is white
};

// Type of the Image that holds such lines: bilevel, 16 gray (2 and 4 bits), 256 gray, 256RGB (indexed) or full colour.
uint16_t imageTypeOf(const SampleLayout& layout);

// Bytes that the file uses for one line of `width` pixels.
size_t rawBytesPerLine(const SampleLayout& layout, uint32_t width);

// Bring one line of the file to the pixels of an Image line of the type given by imageTypeOf.
void unpackRow(const SampleLayout& layout, const uint8_t* raw, uint32_t width, uint8_t* line);

// Give the image `count` colours of its own; further indices become black. `color(k, c)` is component c of entry k.
template <typename Color>
void setPalette(Image& image, unsigned count, Color color)
{
    image.palette = ColorPalette{IMAGE_TYPE_256RGB, static_cast<uint16_t>(count), {}};
    for (unsigned k = 0; k < count; ++k) {
        for (unsigned c = 0; c < 3; ++c) {
            image.palette.entries[k][c] = static_cast<uint8_t>(color(k, c));
        }
    }
}

// Whether two entries of a palette are black and white; such files become bilevel images, `inverted` when entry 0 is
// the white.
bool isBlackAndWhite(const uint8_t (*entries)[3], bool& inverted);

// A value as it looks in front of white paper.
uint8_t overWhite(unsigned value, unsigned alpha);

} // namespace lxpage

#endif
