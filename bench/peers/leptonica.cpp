// Leptonica works on packed pixels of 1, 4, 8 and 32 bits and does the same jobs as this library, to its own rules. It
// allocates its result in every call; that and the release of the result are part of its time.
#include "../families.h"

#include <leptonica/allheaders.h>

#include <memory>

namespace bench
{
namespace
{

using PixPointer = std::shared_ptr<Pix>;

PixPointer own(Pix* pix)
{
    return {pix, [](Pix* last) { pixDestroy(&last); }};
}

// The page as Leptonica holds it: big-endian words, full colour in 32 bits, and a colour map for palette formats.
PixPointer pixOf(uint16_t type)
{
    const Picture& source = page(type);
    const bool color = type == IMAGE_TYPE_16MRGB;
    const int depth = color ? 32 : int(source.bytesPerLine() * 8 / pageWidth);
    const PixPointer pix = own(pixCreate(int(pageWidth), int(pageHeight), depth));
    for (uint32_t y = 0; y < pageHeight; ++y) {
        l_uint32* line = pixGetData(pix.get()) + std::ptrdiff_t(y) * pixGetWpl(pix.get());
        const uint8_t* from = source.line(y);
        if (color) {
            for (uint32_t x = 0; x < pageWidth; ++x, from += 3) {
                composeRGBPixel(from[0], from[1], from[2], line + x);
            }
        } else {
            for (uint32_t byte = 0; byte < source.bytesPerLine(); ++byte) {
                SET_DATA_BYTE(line, byte, from[byte]);
            }
        }
    }
    if (type == IMAGE_TYPE_8RGB || type == IMAGE_TYPE_16RGB || type == IMAGE_TYPE_256RGB) {
        const ColorPalette palette = paletteOf(type);
        PixColormap* map = pixcmapCreate(depth);
        for (uint32_t index = 0; index < palette.count; ++index) {
            const auto& [red, green, blue] = palette.entries[index];
            pixcmapAddColor(map, red, green, blue);
        }
        pixSetColormap(pix.get(), map);
    }
    return pix;
}

// A function from the page to a new picture.
template <typename Function>
Prepare fromPage(uint16_t type, Function function)
{
    return [type, function]() -> Run {
        return [source = pixOf(type), function] {
            Pix* result = function(source.get());
            const bool succeeded = result != nullptr;
            pixDestroy(&result);
            return succeeded;
        };
    };
}

Pix* toGray(Pix* source)
{
    return pixConvertRGBToGray(source, 0.33f, 0.34f, 0.33f);
}
Pix* mapToGray(Pix* source)
{
    return pixRemoveColormap(source, REMOVE_CMAP_TO_GRAYSCALE);
}
Pix* threshold128(Pix* source)
{
    return pixThresholdToBinary(source, 128);
}
Pix* threshold192(Pix* source)
{
    return pixThresholdToBinary(source, 192);
}
Pix* toBilevel192(Pix* source)
{
    return pixConvertTo1(source, 192);
}

// With a result from before, pixConvert1To8 allocates nothing.
Prepare bilevelToGray()
{
    return []() -> Run {
        const PixPointer result = own(pixCreate(int(pageWidth), int(pageHeight), 8));
        return [source = pixOf(IMAGE_TYPE_BW), result] {
            return pixConvert1To8(result.get(), source.get(), 0, 255) != nullptr;
        };
    };
}

void addConversionPeers(Operations& operations)
{
    const auto add = [&](const char* operation, uint16_t type, auto function) {
        operations.addPeer(operation, "Leptonica", fromPage(type, function));
    };
    add("gray to 16 levels", IMAGE_TYPE_256GRAY, [](Pix* source) { return pixThresholdTo4bpp(source, 16, 0); });
    add("colour to 256 gray", IMAGE_TYPE_16MRGB, toGray);
    add("colour to 256 gray, green", IMAGE_TYPE_16MRGB,
        [](Pix* source) { return pixGetRGBComponent(source, COLOR_GREEN); });
    operations.addPeer("bilevel to grayscale", "Leptonica", bilevelToGray());
    add("16 gray to grayscale", IMAGE_TYPE_16GRAY, [](Pix* source) { return pixConvert4To8(source, 0); });
    add("8 colours to grayscale", IMAGE_TYPE_8RGB, mapToGray);
    add("16 colours to grayscale", IMAGE_TYPE_16RGB, mapToGray);
    add("256 colours to grayscale", IMAGE_TYPE_256RGB, mapToGray);
    add("colour to grayscale", IMAGE_TYPE_16MRGB, toGray);

    add("gray to bilevel, threshold", IMAGE_TYPE_256GRAY, threshold128);
    add("gray to bilevel, diffusion", IMAGE_TYPE_256GRAY, pixDitherToBinary);
    add("16 gray to bilevel, fixed", IMAGE_TYPE_16GRAY, [](Pix* source) { return pixThresholdToBinary(source, 11); });
    add("gray to bilevel, fixed", IMAGE_TYPE_256GRAY, threshold192);
    add("8 colours to bilevel, fixed", IMAGE_TYPE_8RGB, toBilevel192);
    add("16 colours to bilevel, fixed", IMAGE_TYPE_16RGB, toBilevel192);
    add("256 colours to bilevel, fixed", IMAGE_TYPE_256RGB, toBilevel192);
    add("colour to bilevel, fixed", IMAGE_TYPE_16MRGB, toBilevel192);
}

} // namespace

std::string addLeptonica(Operations& operations)
{
    addConversionPeers(operations);
    const std::unique_ptr<char, decltype(&lept_free)> version(getLeptonicaVersion(), lept_free);
    return version.get();
}

} // namespace bench
