// The steps of slant measurement, on the small bilevel image. A set pixel is white, a clear one dark.
//
// Everything after the smoothing is told for a band that runs from left to right. A band that runs from top to bottom
// is measured in the same way with columns and rows exchanged: a `line` is a row or a column, a `place` is a position
// along it.

#pragma once

#include "frame/area_view.h"

namespace lx
{

// 64 pixels of a row or fewer, the first in the lowest bit.
class PixelWords
{
  public:
    explicit PixelWords(const AreaView& image) noexcept : image_(image) {}

    static constexpr unsigned most = 64;

    uint32_t count() const { return image_.width() / most + (image_.width() % most != 0 ? 1 : 0); }

    // Pixels of word w: 64, or what is left in the last word.
    unsigned pixelsOf(uint32_t w) const { return std::min(image_.width() - w * most, most); }

    // Bits beyond the row are 0.
    uint64_t load(uint32_t j, uint32_t w) const noexcept;
    void store(uint32_t j, uint32_t w, uint64_t pixels) const noexcept;

    static uint64_t mask(unsigned pixels) { return pixels == most ? ~uint64_t{0} : (uint64_t{1} << pixels) - 1; }

  private:
    AreaView image_;
};

// Smooths the image in place by a running majority of 3 x 3 pixels.
void smoothRunning(const AreaView& image) noexcept;

// The longest run of dark pixels of every row, and of every column but those of the outer twentieth on each side. Only
// runs that a white pixel ends are counted; this is deliberate.
void measureRuns(const AreaView& image, uint32_t* rows, uint32_t* columns) noexcept;

// Whether the darkest band runs from top to bottom.
bool isBandVertical(const AreaView& image, const uint32_t* rows, const uint32_t* columns) noexcept;

// The image as lines that run along the band.
class BandImage
{
  public:
    BandImage(const AreaView& image, bool vertical) noexcept : image_(image), vertical_(vertical) {}

    bool vertical() const { return vertical_; }
    uint32_t lines() const { return vertical_ ? image_.width() : image_.height(); }
    uint32_t places() const { return vertical_ ? image_.height() : image_.width(); }

    bool isDark(uint32_t place, uint32_t line) const noexcept
    {
        const uint32_t i = vertical_ ? line : place;
        return (*image_.at(i, vertical_ ? place : line) << image_.phase(i) & 0x80) == 0;
    }

  private:
    AreaView image_;
    bool vertical_;
};

// Bounds are inclusive, but for a last place that was searched from the end. All 0 if there is no band.
struct Band {
    uint32_t firstLine = 0;
    uint32_t lastLine = 0;
    uint32_t firstPlace = 0;
    uint32_t lastPlace = 0;

    // Both bounds lie apart in both directions.
    bool hasExtent() const { return firstLine < lastLine && firstPlace < lastPlace; }
};

// `lineRuns` are the longest runs of the lines; `places` are counters, one for each place. Both are overwritten.
Band findBand(const BandImage& image, uint32_t* lineRuns, uint32_t* places) noexcept;

struct EdgePoint {
    uint32_t place = 0;
    uint32_t line = 0;
};

// Two points of one edge of a band, the start nearer the band's first place.
struct Edge {
    EdgePoint start;
    EdgePoint end;
};

// The edges on the side of the band's first line and of its last line. All 0 where none was found.
struct BandEdges {
    Edge a;
    Edge b;
};

BandEdges findEdges(const BandImage& image, const Band& band) noexcept;

// The slant in degrees, between -6 and 6, that the edges tell of. Turning the image clockwise by it levels the band.
double angleOfEdges(const BandEdges& edges, bool vertical) noexcept;

} // namespace lx
