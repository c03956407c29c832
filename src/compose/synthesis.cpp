// Synthesis: one image is pasted into an area of another, in the destination's format, as a whole or as an overlay with
// a transparent colour.
//
// A converter is the same for both variants, but for the gray rule. The plain paste maps rows; the overlay converts
// beside the destination and brings home the pixels that are opaque. Pairs of formats that are worth more than that
// have a path of their own in their worker.

#include "compose/color_key.h"
#include "compose/synthesis_converters.h"

namespace lx
{

namespace
{

template <class Convert>
void paste(const PastedImage& source, const AreaView& destination, Convert& convert, ProgressCallback progress)
{
    mapRows(
        source.area, destination, progress, [&](const uint8_t* in, uint8_t* out, uint32_t n) { convert(in, out, n); },
        [&] { convert.endLine(); });
}

template <class Convert>
void overlay(const PastedImage& source, const ColorKey& key, const AreaView& destination, Convert& convert,
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
void overlayIndices(const PastedImage& source, const ColorKey& key, const AreaView& destination,
                    const IndexTable& table, ProgressCallback progress)
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

// The dither patterns of line j that are the grays of clear and of set bits.
BitPatterns ditheredPatterns(const AreaView& destination, const IndexTable& levels, uint32_t j)
{
    const auto patternOf = [&](uint8_t level) {
        return turnedTo(destination.phase(), FixedDitherTable::bits(j, level));
    };
    return {patternOf(levels.values[0]), patternOf(levels.values[1])};
}

// Bits to bits, with a transparent colour.
void overlayBits(const PastedImage& source, const ColorKey& key, const AreaView& destination, const IndexTable& levels,
                 ProgressCallback progress)
{
    constexpr uint32_t most = 16384; // pixels at a time, whole bytes of the destination
    uint8_t aligned[most / 8 + 1] = {};
    const OpaqueTable opaque(key, source.palette, source.indices(), source.gray);
    const BitKernels& bits = *kernels().bits;
    const Overlap overlap(source.area, destination);
    const unsigned phase = destination.phase();
    walkLines(overlap.height, progress, [&](uint32_t j) {
        const BitOverlay rule = {ditheredPatterns(destination, levels, j), patternsOf(opaque.flags)};
        walkChunks(overlap.width, most, [&](uint32_t i, uint32_t n) {
            bits.copyBits(source.area.at(i, j), source.area.phase(i), aligned, phase, n);
            bits.overlayBits(aligned, destination.at(i, j), phase, n, rule);
        });
    });
}

void SynthesizeToBW(const ImageArea& image, const ColorPalette* palette, const ImageArea& destination,
                    ProgressCallback progress)
{
    const PastedImage source(image, palette);
    const AreaView to(destination);
    ToBW convert(source);
    const uint8_t* levels = convert.levels().values;
    if (source.area.bits() == 1 && levels[0] == 0 && levels[1] == 255)
        copyLines(source.area, to, progress);
    else if (source.area.bits() == 1)
        mapBitsToBits(source.area, to, progress, [&](uint32_t j) { return ditheredPatterns(to, convert.levels(), j); });
    else if (source.area.bits() == 4)
        paste(source, to, convert, progress);
    else
        mapToPacked(
            source.area, to, progress, [&](const uint8_t* in, uint8_t* out, uint32_t n) { convert.pack(in, out, n); },
            [&] { convert.endLine(); });
}

void SynthesizeToBWWithKey(const ImageArea& image, const ColorPalette* palette, const ColorKey& key,
                           const ImageArea& destination, ProgressCallback progress)
{
    const PastedImage source(image, palette);
    const AreaView to(destination);
    ToBW convert(source);
    if (source.area.bits() == 1)
        overlayBits(source, key, to, convert.levels(), progress);
    else
        overlay(source, key, to, convert, progress);
}

void SynthesizeTo256Gray(const ImageArea& image, const ColorPalette* palette, const ImageArea& destination,
                         ProgressCallback progress)
{
    const PastedImage source(image, palette);
    const To256Gray convert(source, To256Gray::Rule::thirds);
    const AreaView to(destination);
    const uint8_t* levels = convert.levels().values;
    if (source.area.bits() == 1)
        mapBits(source.area, to, levels[0], levels[1], progress);
    else if (convert.levels().isIdentity())
        copyLines(source.area, to, progress);
    else
        paste(source, to, convert, progress);
}

void SynthesizeTo256GrayWithKey(const ImageArea& image, const ColorPalette* palette, const ColorKey& key,
                                const ImageArea& destination, ProgressCallback progress)
{
    const PastedImage source(image, palette);
    const To256Gray convert(source, To256Gray::Rule::weights);
    if (source.fullColor())
        overlay(source, key, AreaView(destination), convert, progress);
    else
        overlayIndices(source, key, AreaView(destination), convert.levels(), progress);
}

void SynthesizeTo8RGB(const ImageArea& image, const ColorPalette* palette, const ImageArea& destination,
                      ProgressCallback progress)
{
    const PastedImage source(image, palette);
    const To8RGB convert(source);
    paste(source, AreaView(destination), convert, progress);
}

void SynthesizeTo8RGBWithKey(const ImageArea& image, const ColorPalette* palette, const ColorKey& key,
                             const ImageArea& destination, ProgressCallback progress)
{
    const PastedImage source(image, palette);
    const To8RGB convert(source);
    if (source.fullColor())
        overlay(source, key, AreaView(destination), convert, progress);
    else
        overlayIndices(source, key, AreaView(destination), convert.codes(), progress);
}

void SynthesizeTo16MRGB(const ImageArea& image, const ColorPalette* palette, const ImageArea& destination,
                        ProgressCallback progress)
{
    const PastedImage source(image, palette);
    const AreaView to(destination);
    const To16MRGB convert(source, to);
    if (source.fullColor() && !convert.swaps())
        copyLines(source.area, to, progress);
    else
        paste(source, to, convert, progress);
}

void SynthesizeTo16MRGBWithKey(const ImageArea& image, const ColorPalette* palette, const ColorKey& key,
                               const ImageArea& destination, ProgressCallback progress)
{
    const PastedImage source(image, palette);
    const AreaView to(destination);
    const To16MRGB convert(source, to);
    if (!source.fullColor() || convert.swaps()) {
        overlay(source, key, to, convert, progress);
        return;
    }
    const TripleRange range = keyRangeOf(key, source.area);
    const ComposeKernels& compose = *kernels().compose;
    mapRows(source.area, to, progress,
            [&](const uint8_t* in, uint8_t* out, uint32_t n) { compose.overlayTriples(in, out, n, range); });
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxSynthesizeToSpecificationArea(uint16_t useKey, const ImageArea* source, const ColorPalette* palette,
                                       const uint8_t* keyColor, uint32_t tolerance, const ImageArea* destination,
                                       ProgressCallback progress) noexcept
{
    const ColorKey key = {keyColor, static_cast<uint8_t>(tolerance)};
    const auto synthesize = [&](auto worker, auto workerWithKey) -> int8_t {
        if (useKey == 0)
            worker(*source, palette, *destination, progress);
        else
            workerWithKey(*source, palette, key, *destination, progress);
        return IMAGE_STATUS_OK;
    };
    switch (destination->type) {
    case IMAGE_TYPE_BW:
        return synthesize(SynthesizeToBW, SynthesizeToBWWithKey);
    case IMAGE_TYPE_256GRAY:
        return synthesize(SynthesizeTo256Gray, SynthesizeTo256GrayWithKey);
    case IMAGE_TYPE_8RGB:
        return synthesize(SynthesizeTo8RGB, SynthesizeTo8RGBWithKey);
    case IMAGE_TYPE_16MRGB:
        return synthesize(SynthesizeTo16MRGB, SynthesizeTo16MRGBWithKey);
    default:
        return IMAGE_STATUS_BAD_ARGUMENT;
    }
}
