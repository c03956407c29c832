// What a paste makes of the source's pixels: a converter for each type of the destination turns canonical rows of the
// source into canonical rows of the destination. Indices go through a table, full colours by the rule.

#pragma once

#include "compose/color_rules.h"
#include "compose/fixed_dither.h"
#include "convert/ordered_dither.h"
#include "frame/gray_of_entry.h"
#include "frame/line_walk.h"

#include <cstring>

namespace lx
{

// An image to be pasted.
struct PastedImage {
    AreaView area;
    const ColorPalette* palette;
    bool gray; // levels as such, and not indices: their key has a range

    // Anything but full colour is read as the palette's count says, whatever the type.
    PastedImage(const ImageArea& image, const ColorPalette* colors) noexcept
        : area(viewByCount(image, colors)), palette(colors), gray(area.bits() == 8 && image.type == IMAGE_TYPE_256GRAY)
    {
    }

    bool fullColor() const { return area.bits() == 24; }
    unsigned indices() const { return fullColor() ? 0 : 1U << area.bits(); }

  private:
    static AreaView viewByCount(ImageArea image, const ColorPalette* colors)
    {
        if (image.type != IMAGE_TYPE_16MRGB)
            image.type = colors->count <= 2    ? IMAGE_TYPE_BW
                         : colors->count <= 16 ? IMAGE_TYPE_16GRAY
                                               : IMAGE_TYPE_256GRAY;
        return AreaView(image);
    }
};

// The value of every index of a palette source: rule(entry).
struct IndexTable {
    uint8_t values[256] = {};

    template <class Rule>
    IndexTable(const PastedImage& source, Rule rule) noexcept
    {
        for (unsigned k = 0; k < source.indices(); ++k)
            values[k] = rule(source.palette->entries[k]);
    }

    bool isIdentity() const
    {
        unsigned k = 0;
        while (k < 256 && values[k] == k)
            ++k;
        return k == 256;
    }
};

// Dithers.
class ToBW
{
  public:
    explicit ToBW(const PastedImage& source) noexcept
        : fullColor_(source.fullColor()),
          levels_(source,
                  [&](const uint8_t* entry) { return isShortcut(source, entry) ? entry[0] : grayByWeights(entry); }),
          dither_(FixedDitherTable::size, FixedDitherTable::size,
                  [](unsigned r, unsigned c) { return static_cast<uint8_t>(FixedDitherTable::thresholds[r][c]); })
    {
    }

    // Packed, the first pixel in the highest bit.
    void pack(const uint8_t* in, uint8_t* bits, uint32_t n) noexcept
    {
        const unsigned pixelBytes = fullColor_ ? 3 : 1;
        walkChunks(n, chunkPixels, [&](uint32_t i, uint32_t m) {
            const uint8_t* pixels = in + size_t{i} * pixelBytes;
            if (fullColor_)
                kernels_.compose->grayByWeights(pixels, row_, m);
            else
                kernels_.pixels->lookup(pixels, row_, m, levels_.values);
            kernels_.pixels->abovePattern(row_, dither_.row(line_), dither_.columns(), column_, bits + i / 8, m);
            column_ = (column_ + m) % dither_.columns();
        });
    }

    // Up to seven bytes behind the row are written, too.
    void operator()(const uint8_t* in, uint8_t* out, uint32_t n) noexcept
    {
        pack(in, bits_, n);
        kernels_.bits->unpackBits(bits_, out, (n + 7) / 8, 0, 1);
    }

    void endLine() noexcept
    {
        line_ = (line_ + 1) % dither_.rows();
        column_ = 0;
    }

    const IndexTable& levels() const { return levels_; }

  private:
    // Pure black and white are not dithered. The third component compared is the blue of entry 0 and not the entry's
    // own: deliberately. Bilevel and full-colour pixels need no shortcut, for their black and white have grays that no
    // threshold turns.
    static bool isShortcut(const PastedImage& source, const uint8_t* entry)
    {
        return source.area.bits() != 1 && (entry[0] == 0 || entry[0] == 255) && entry[0] == entry[1] &&
               entry[1] == source.palette->entries[0][2];
    }

    const Kernels& kernels_ = kernels();
    bool fullColor_;
    IndexTable levels_;
    DitherRows dither_;
    unsigned line_ = 0;
    unsigned column_ = 0;
    alignas(64) uint8_t row_[chunkPixels];
    uint8_t bits_[chunkPixels / 8];
};

// The plain paste takes thirds, the overlay weights: deliberately.
class To256Gray
{
  public:
    enum class Rule { thirds, weights };

    To256Gray(const PastedImage& source, Rule rule) noexcept
        : fullColor_(source.fullColor()), levels_(source, rule == Rule::thirds ? grayOfEntry : grayByWeights),
          gray_(rule == Rule::thirds ? kernels_.compose->grayByThirds : kernels_.compose->grayByWeights)
    {
    }

    void operator()(const uint8_t* in, uint8_t* out, uint32_t n) const noexcept
    {
        if (fullColor_)
            gray_(in, out, n);
        else
            kernels_.pixels->lookup(in, out, n, levels_.values);
    }

    void endLine() const noexcept {}

    const IndexTable& levels() const { return levels_; }

  private:
    const Kernels& kernels_ = kernels();
    bool fullColor_;
    IndexTable levels_;
    void (*gray_)(const uint8_t*, uint8_t*, size_t);
};

class To8RGB
{
  public:
    explicit To8RGB(const PastedImage& source) noexcept
        : fullColor_(source.fullColor()), blueFirst_(source.area.blueFirst()), codes_(source, primariesOf)
    {
    }

    void operator()(const uint8_t* in, uint8_t* out, uint32_t n) const noexcept
    {
        constexpr uint8_t off = 127; // the highest level that is off
        if (fullColor_)
            kernels_.paletteColor->primaries(in, out, n, blueFirst_, off);
        else
            kernels_.pixels->lookup(in, out, n, codes_.values);
    }

    void endLine() const noexcept {}

    const IndexTable& codes() const { return codes_; }

  private:
    const Kernels& kernels_ = kernels();
    bool fullColor_;
    bool blueFirst_;
    IndexTable codes_;
};

class To16MRGB
{
  public:
    To16MRGB(const PastedImage& source, const AreaView& destination) noexcept
        : fullColor_(source.fullColor()), swaps_(source.area.blueFirst() != destination.blueFirst())
    {
        const unsigned red = destination.blueFirst() ? 2 : 0;
        for (unsigned k = 0; k < source.indices(); ++k) {
            for (unsigned c = 0; c < 3; ++c)
                colors_.component[c == 1 ? 1 : red ^ c][k] = source.palette->entries[k][c];
        }
    }

    void operator()(const uint8_t* in, uint8_t* out, uint32_t n) const noexcept
    {
        if (!fullColor_)
            kernels_.pixels->colors(in, out, n, colors_);
        else if (swaps_)
            kernels_.pixels->swapEnds(in, out, n);
        else
            std::memcpy(out, in, size_t{n} * 3);
    }

    void endLine() const noexcept {}

    bool swaps() const { return swaps_; }

  private:
    const Kernels& kernels_ = kernels();
    bool fullColor_;
    bool swaps_;
    ColorTable colors_ = {};
};

} // namespace lx
