// Masking: an area is painted with a colour, or tinted with it, in place.
//
// Packed areas are changed as they lie, by a pattern of eight bits or two nibbles that repeats along the line. Bytes
// and triples are combined with a row of the colour.

#include "compose/color_rules.h"
#include "compose/fixed_dither.h"
#include "frame/line_walk.h"

namespace lx
{

namespace
{

// Paints line j with the byte pattern(j), or keeps only the bits that the pattern has.
template <class Pattern>
void maskPacked(bool tint, const AreaView& area, ProgressCallback progress, Pattern pattern)
{
    const BitKernels& bits = *kernels().bits;
    const unsigned phase = area.phase() * area.bits();
    walkLines(area.height(), progress, [&](uint32_t j) {
        const uint8_t own = pattern(j);
        bits.changeBits(area.row(j), phase, size_t{area.width()} * area.bits(), tint ? own : uint8_t{0},
                        tint ? uint8_t{0} : own);
    });
}

// Brings bytes that are to be overwritten into the cache. The processor foresees what is read, but not what is only
// written.
void fetch(const uint8_t* bytes, size_t count)
{
    constexpr size_t cacheLine = 64;
    const volatile uint8_t* own = bytes;
    for (size_t k = 0; k < count; k += cacheLine)
        static_cast<void>(own[k]);
}

// `pixel` is the colour as it lies in the area.
void maskBytes(bool tint, const AreaView& area, const uint8_t* pixel, ProgressCallback progress)
{
    const unsigned bytes = area.bits() / 8;
    constexpr uint32_t most = 512; // pixels at a time
    alignas(64) uint8_t levels[3 * most];
    for (unsigned k = 0; k < most * bytes; ++k)
        levels[k] = pixel[k % bytes];
    const ComposeKernels& compose = *kernels().compose;
    walkLines(area.height(), progress, [&](uint32_t j) {
        walkChunks(area.width(), most, [&](uint32_t i, uint32_t n) {
            uint8_t* row = area.at(i, j);
            const size_t count = size_t{n} * bytes;
            if (tint) {
                compose.tint(levels, row, count);
            } else {
                fetch(row, count);
                std::memcpy(row, levels, count);
            }
        });
    });
}

void MaskBW(bool tint, const uint8_t* color, const ImageArea& image, ProgressCallback progress)
{
    const AreaView area(image);
    const uint8_t gray = grayByWeights(color);
    maskPacked(tint, area, progress,
               [&](uint32_t j) { return turnedTo(area.phase(), FixedDitherTable::bits(j, gray)); });
}

void Mask256Gray(bool tint, const uint8_t* color, const ImageArea& image, ProgressCallback progress)
{
    const uint8_t gray = grayByWeights(color);
    maskBytes(tint, AreaView(image), &gray, progress);
}

void Mask8RGB(bool tint, const uint8_t* color, const ImageArea& image, ProgressCallback progress)
{
    const AreaView area(image);
    const auto twoPixels = static_cast<uint8_t>(primariesOf(color) * 0x11);
    maskPacked(tint, area, progress, [=](uint32_t) { return twoPixels; });
}

void Mask16MRGB(bool tint, const uint8_t* color, const ImageArea& image, ProgressCallback progress)
{
    const AreaView area(image);
    const unsigned red = area.blueFirst() ? 2 : 0;
    const uint8_t pixel[3] = {color[red], color[1], color[2 - red]};
    maskBytes(tint, area, pixel, progress);
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxMaskingBySpecificationColor(uint16_t tint, const uint8_t* color, const ImageArea* area,
                                     ProgressCallback progress) noexcept
{
    const auto mask = [&](auto worker) -> int8_t {
        worker(tint != 0, color, *area, progress);
        return IMAGE_STATUS_OK;
    };
    switch (area->type) {
    case IMAGE_TYPE_BW:
        return mask(MaskBW);
    case IMAGE_TYPE_256GRAY:
        return mask(Mask256Gray);
    case IMAGE_TYPE_8RGB:
        return mask(Mask8RGB);
    case IMAGE_TYPE_16MRGB:
        return mask(Mask16MRGB);
    default:
        return IMAGE_STATUS_BAD_ARGUMENT;
    }
}
