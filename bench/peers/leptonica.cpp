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

// The page onto a picture of its size, at some x.
Prepare paste(int x)
{
    return [x]() -> Run {
        const PixPointer result = own(pixCreate(int(pageWidth), int(pageHeight), 1));
        return [x, source = pixOf(IMAGE_TYPE_BW), result] {
            return pixRasterop(result.get(), x, 0, int(pageWidth) - x, int(pageHeight), PIX_SRC, source.get(), 0, 0) ==
                   0;
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

void addPastePeers(Operations& operations)
{
    operations.addPeer("paste bilevel", "Leptonica", paste(0));
    operations.addPeer("paste bilevel, x = 3", "Leptonica", paste(3));
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

// Turned end for end in place; every other peer call turns the page back.
Prepare halfTurn(uint16_t type)
{
    return [type]() -> Run { return [pix = pixOf(type)] { return pixRotate180(pix.get(), pix.get()) != nullptr; }; };
}

void addRotationPeers(Operations& operations)
{
    constexpr float radians = 2.3F * 3.1415926F / 180;
    const auto add = [&](const std::string& operation, uint16_t type, auto function, Job job = Job::Same) {
        operations.addPeer(operation, "Leptonica", fromPage(type, function), job);
    };
    const auto bySampling = [=](Pix* source) {
        return pixRotateBySampling(source, pageWidth / 2, pageHeight / 2, radians, L_BRING_IN_WHITE);
    };
    constexpr struct {
        const char* name;
        uint16_t type;
    } formats[] = {{"bilevel", IMAGE_TYPE_BW}, {"gray", IMAGE_TYPE_256GRAY}, {"colour", IMAGE_TYPE_16MRGB}};
    for (const auto& [name, type] : formats) {
        const std::string turn = std::string("turn ") + name + " by ";
        add(turn + "90", type, [](Pix* source) { return pixRotate90(source, 1); });
        add(turn + "270", type, [](Pix* source) { return pixRotate90(source, -1); });
        operations.addPeer(turn + "180", "Leptonica", halfTurn(type));
        add(turn + "2.3 degrees", type, bySampling);
    }
    operations.addPeer("turn bilevel by 2.3 degrees", "Leptonica by shears",
                       fromPage(IMAGE_TYPE_BW,
                                [=](Pix* source) {
                                    return pixRotate2Shear(source, pageWidth / 2, pageHeight / 2, radians,
                                                           L_BRING_IN_WHITE);
                                }),
                       Job::Rougher);
}

Pix* sampled(Pix* source, double dpi)
{
    const auto factor = l_float32(dpi / 300);
    return pixScaleBySampling(source, factor, factor);
}

// Black spread over the block's size, then sampled.
Pix* spreadAndSampled(Pix* source, int size, double dpi)
{
    Pix* spread = pixDilateBrick(nullptr, source, size, size);
    Pix* result = sampled(spread, dpi);
    pixDestroy(&spread);
    return result;
}

// Gray, and then its darker half: the way to a share of white at sizes that do not divide.
Pix* grayThenThreshold(Pix* source, double dpi)
{
    Pix* gray = pixScaleToGray(source, l_float32(dpi / 300));
    Pix* result = pixThresholdToBinary(gray, 128);
    pixDestroy(&gray);
    return result;
}

void addBilevelScalingPeers(Operations& operations)
{
    const auto add = [&](const char* operation, auto function, Job job = Job::Same) {
        operations.addPeer(operation, "Leptonica", fromPage(IMAGE_TYPE_BW, function), job);
    };
    add("bilevel sampling to 200 dpi", [](Pix* source) { return sampled(source, 200); });
    add("bilevel sampling to 75 dpi", [](Pix* source) { return sampled(source, 75); });
    add("bilevel sampling to 30 dpi", [](Pix* source) { return sampled(source, 30); });
    add("bilevel sampling, same size", [](Pix* source) { return pixCopy(nullptr, source); });
    add("black priority to 100 dpi", [](Pix* source) { return spreadAndSampled(source, 3, 100); });
    add("black priority to 75 dpi", [](Pix* source) { return pixReduceRankBinaryCascade(source, 1, 1, 0, 0); });
    add("black priority to 30 dpi", [](Pix* source) { return spreadAndSampled(source, 10, 30); });
    add("majority to 200 dpi", [](Pix* source) { return grayThenThreshold(source, 200); });
    add("majority to 150 dpi", [](Pix* source) { return pixReduceRankBinary2(source, 2, nullptr); });
    add("majority to 240 dpi", [](Pix* source) { return grayThenThreshold(source, 240); });
    add("majority to 285 dpi", [](Pix* source) { return grayThenThreshold(source, 285); });
    add(
        "majority to 37.5 dpi", [](Pix* source) { return pixReduceRankBinaryCascade(source, 2, 2, 2, 0); },
        Job::Rougher);
    add(
        "runs to 200 dpi", [](Pix* source) { return spreadAndSampled(source, 2, 200); }, Job::Rougher);
    add(
        "runs to 100 dpi", [](Pix* source) { return spreadAndSampled(source, 3, 100); }, Job::Rougher);

    add("bilevel to gray at 100 dpi", pixScaleToGray3);
    add("bilevel to gray at 75 dpi", pixScaleToGray4);
    add("bilevel to gray at 72 dpi", [](Pix* source) { return pixScaleToGray(source, 0.24F); });
    add("bilevel to gray at 37.5 dpi", pixScaleToGray8);
    add("bilevel to gray, 200 x 283", [](Pix* source) { return pixScaleToGray(source, 200.0F / 2480); });
    add("thumbnail, bilevel", [](Pix* source) { return pixScaleToGray(source, 200.0F / 2480); });
    add("bilevel sampling to 600 dpi", [](Pix* source) { return pixExpandBinaryPower2(source, 2); });
    add("bilevel sampling to 400 dpi", [](Pix* source) { return sampled(source, 400); });
    add("majority to 600 dpi", [](Pix* source) { return pixExpandBinaryPower2(source, 2); });
}

// Any skew of the page's text, by the sharpness of its lines; the bar is not looked for.
Pix* thresholdAndFindSkew(Pix* source)
{
    Pix* bits = pixThresholdToBinary(source, 192);
    l_float32 angle = 0, confidence = 0;
    pixFindSkew(bits, &angle, &confidence);
    return bits;
}

void addNoiseAndSlantPeers(Operations& operations)
{
    operations.addPeer("majority, bilevel", "Leptonica", fromPage(IMAGE_TYPE_BW, [](Pix* source) {
                           constexpr int reach = 1;
                           return pixBlockrank(source, nullptr, reach, reach, 0.5F);
                       }));
    operations.addPeer("slant, gray", "Leptonica", fromPage(IMAGE_TYPE_256GRAY, thresholdAndFindSkew));
}

} // namespace

std::string addLeptonica(Operations& operations)
{
    addConversionPeers(operations);
    addPastePeers(operations);
    addRotationPeers(operations);
    addBilevelScalingPeers(operations);
    addNoiseAndSlantPeers(operations);
    const std::unique_ptr<char, decltype(&lept_free)> version(getLeptonicaVersion(), lept_free);
    return version.get();
}

} // namespace bench
