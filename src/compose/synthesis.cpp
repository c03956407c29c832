// Synthesis: one image is pasted into an area of another, in the destination's format, as a whole or as an overlay with
// a transparent colour.
//
// A converter turns canonical rows of the source into canonical rows of the destination; it is the same for both
// variants, but for the gray rule. The plain paste maps rows; the overlay converts beside the destination and brings
// home the pixels that are opaque. Pairs of formats that are worth more than that have a path of their own in their
// worker.

#include "compose/color_key.h"
#include "compose/color_rules.h"
#include "compose/fixed_dither.h"
#include "convert/ordered_dither.h"
#include "frame/gray_of_entry.h"
#include "frame/line_walk.h"

namespace lx
{

namespace
{

struct Source {
    AreaView area;
    const ColorPalette* palette;
    bool gray; // levels as such, and not indices: their key has a range

    // Anything but full colour is read as the palette's count says, whatever the type.
    Source(const ImageArea& image, const ColorPalette* colors) noexcept
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
    IndexTable(const Source& source, Rule rule) noexcept
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

class ToBW
{
  public:
    explicit ToBW(const Source& source) noexcept
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
    static bool isShortcut(const Source& source, const uint8_t* entry)
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

    To256Gray(const Source& source, Rule rule) noexcept
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
    explicit To8RGB(const Source& source) noexcept
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
    To16MRGB(const Source& source, const AreaView& destination) noexcept
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

template <class Convert>
void paste(const Source& source, const AreaView& destination, Convert& convert, ProgressCallback progress)
{
    mapRows(
        source.area, destination, progress, [&](const uint8_t* in, uint8_t* out, uint32_t n) { convert(in, out, n); },
        [&] { convert.endLine(); });
}

template <class Convert>
void overlay(const Source& source, const ColorKey& key, const AreaView& destination, Convert& convert,
             ProgressCallback progress)
{
    const TripleRange range = keyRangeOf(key, source.area);
    const OpaqueTable opaque(key, source.palette, source.indices(), source.gray);
    const PixelKernels& pixels = *kernels().pixels;
    const ComposeKernels& compose = *kernels().compose;
    alignas(64) uint8_t flags[chunkPixels];
    alignas(64) uint8_t fresh[3 * chunkPixels];
    const auto select = destination.bits() == 24 ? compose.selectTriples : compose.select;
    blendLines(
        source.area, destination, progress,
        [&](const uint8_t* in, uint8_t* out, uint32_t n) {
            if (source.fullColor())
                compose.outside(in, flags, n, range);
            else
                pixels.lookup(in, flags, n, opaque.flags);
            convert(in, fresh, n);
            select(fresh, flags, out, n);
        },
        [&] { convert.endLine(); });
}

// An overlay whose fresh pixel depends on nothing but the index.
void overlayIndices(const Source& source, const ColorKey& key, const AreaView& destination, const IndexTable& table,
                    ProgressCallback progress)
{
    const OpaqueTable opaque(key, source.palette, source.indices(), source.gray);
    const ComposeKernels& compose = *kernels().compose;
    blendLines(
        source.area, destination, progress,
        [&](const uint8_t* in, uint8_t* out, uint32_t n) {
            compose.overlayLookup(in, out, n, table.values, opaque.flags);
        },
        [] {});
}

// Bits to bits: a copy, in which black and white then become the dither patterns of their grays.
void pasteBits(const Source& source, const AreaView& destination, const IndexTable& levels, ProgressCallback progress)
{
    const BitKernels& bits = *kernels().bits;
    const Overlap overlap(source.area, destination);
    const unsigned phase = destination.phase();
    walkLines(overlap.height, progress, [&](uint32_t j) {
        uint8_t* row = destination.row(j);
        bits.copyBits(source.area.row(j), source.area.phase(), row, phase, overlap.width);
        const uint8_t zero = turnedTo(phase, FixedDitherTable::bits(j, levels.values[0]));
        const uint8_t one = turnedTo(phase, FixedDitherTable::bits(j, levels.values[1]));
        if (zero != 0 || one != 0xFF)
            bits.changeBits(row, phase, overlap.width, zero ^ one, zero);
    });
}

int8_t SynthesizeToBW(const ImageArea& image, const ColorPalette* palette, const ImageArea& destination,
                      ProgressCallback progress)
{
    if (destination.type != IMAGE_TYPE_BW)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const Source source(image, palette);
    const AreaView to(destination);
    ToBW convert(source);
    const uint8_t* levels = convert.levels().values;
    if (source.area.bits() == 1 && levels[0] == 0 && levels[1] == 255)
        copyLines(source.area, to, progress);
    else if (source.area.bits() == 1)
        pasteBits(source, to, convert.levels(), progress);
    else if (source.area.bits() == 4)
        paste(source, to, convert, progress);
    else
        mapToPacked(
            source.area, to, progress, [&](const uint8_t* in, uint8_t* out, uint32_t n) { convert.pack(in, out, n); },
            [&] { convert.endLine(); });
    return IMAGE_STATUS_OK;
}

int8_t SynthesizeToBWWithKey(const ImageArea& image, const ColorPalette* palette, const ColorKey& key,
                             const ImageArea& destination, ProgressCallback progress)
{
    if (destination.type != IMAGE_TYPE_BW)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const Source source(image, palette);
    ToBW convert(source);
    overlay(source, key, AreaView(destination), convert, progress);
    return IMAGE_STATUS_OK;
}

int8_t SynthesizeTo256Gray(const ImageArea& image, const ColorPalette* palette, const ImageArea& destination,
                           ProgressCallback progress)
{
    if (destination.type != IMAGE_TYPE_256GRAY)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const Source source(image, palette);
    const To256Gray convert(source, To256Gray::Rule::thirds);
    const AreaView to(destination);
    const uint8_t* levels = convert.levels().values;
    if (source.area.bits() == 1)
        mapBits(source.area, to, levels[0], levels[1], progress);
    else if (convert.levels().isIdentity())
        copyLines(source.area, to, progress);
    else
        paste(source, to, convert, progress);
    return IMAGE_STATUS_OK;
}

int8_t SynthesizeTo256GrayWithKey(const ImageArea& image, const ColorPalette* palette, const ColorKey& key,
                                  const ImageArea& destination, ProgressCallback progress)
{
    if (destination.type != IMAGE_TYPE_256GRAY)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const Source source(image, palette);
    const To256Gray convert(source, To256Gray::Rule::weights);
    if (source.fullColor())
        overlay(source, key, AreaView(destination), convert, progress);
    else
        overlayIndices(source, key, AreaView(destination), convert.levels(), progress);
    return IMAGE_STATUS_OK;
}

int8_t SynthesizeTo8RGB(const ImageArea& image, const ColorPalette* palette, const ImageArea& destination,
                        ProgressCallback progress)
{
    if (destination.type != IMAGE_TYPE_8RGB)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const Source source(image, palette);
    const To8RGB convert(source);
    paste(source, AreaView(destination), convert, progress);
    return IMAGE_STATUS_OK;
}

int8_t SynthesizeTo8RGBWithKey(const ImageArea& image, const ColorPalette* palette, const ColorKey& key,
                               const ImageArea& destination, ProgressCallback progress)
{
    if (destination.type != IMAGE_TYPE_8RGB)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const Source source(image, palette);
    const To8RGB convert(source);
    if (source.fullColor())
        overlay(source, key, AreaView(destination), convert, progress);
    else
        overlayIndices(source, key, AreaView(destination), convert.codes(), progress);
    return IMAGE_STATUS_OK;
}

int8_t SynthesizeTo16MRGB(const ImageArea& image, const ColorPalette* palette, const ImageArea& destination,
                          ProgressCallback progress)
{
    if (destination.type != IMAGE_TYPE_16MRGB)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const Source source(image, palette);
    const AreaView to(destination);
    const To16MRGB convert(source, to);
    if (source.fullColor() && !convert.swaps())
        copyLines(source.area, to, progress);
    else
        paste(source, to, convert, progress);
    return IMAGE_STATUS_OK;
}

int8_t SynthesizeTo16MRGBWithKey(const ImageArea& image, const ColorPalette* palette, const ColorKey& key,
                                 const ImageArea& destination, ProgressCallback progress)
{
    if (destination.type != IMAGE_TYPE_16MRGB)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const Source source(image, palette);
    const AreaView to(destination);
    const To16MRGB convert(source, to);
    if (!source.fullColor() || convert.swaps()) {
        overlay(source, key, to, convert, progress);
        return IMAGE_STATUS_OK;
    }
    const TripleRange range = keyRangeOf(key, source.area);
    const ComposeKernels& compose = *kernels().compose;
    mapRows(source.area, to, progress,
            [&](const uint8_t* in, uint8_t* out, uint32_t n) { compose.overlayTriples(in, out, n, range); });
    return IMAGE_STATUS_OK;
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxSynthesizeToSpecificationArea(uint16_t useKey, const ImageArea* source, const ColorPalette* palette,
                                       const uint8_t* keyColor, uint32_t tolerance, const ImageArea* destination,
                                       ProgressCallback progress) noexcept
{
    const ColorKey key = {keyColor, static_cast<uint8_t>(tolerance)};
    const bool plain = useKey == 0;
    switch (destination->type) {
    case IMAGE_TYPE_BW:
        return plain ? SynthesizeToBW(*source, palette, *destination, progress)
                     : SynthesizeToBWWithKey(*source, palette, key, *destination, progress);
    case IMAGE_TYPE_256GRAY:
        return plain ? SynthesizeTo256Gray(*source, palette, *destination, progress)
                     : SynthesizeTo256GrayWithKey(*source, palette, key, *destination, progress);
    case IMAGE_TYPE_8RGB:
        return plain ? SynthesizeTo8RGB(*source, palette, *destination, progress)
                     : SynthesizeTo8RGBWithKey(*source, palette, key, *destination, progress);
    case IMAGE_TYPE_16MRGB:
        return plain ? SynthesizeTo16MRGB(*source, palette, *destination, progress)
                     : SynthesizeTo16MRGBWithKey(*source, palette, key, *destination, progress);
    default:
        return IMAGE_STATUS_BAD_ARGUMENT;
    }
}
