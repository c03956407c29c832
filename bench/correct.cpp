// Corrections of tone, colour, sharpness and noise.
#include "families.h"

namespace bench
{
namespace
{

InPlaceWork tone()
{
    GammaTable table{};
    constexpr CorrectionLevel none{0, 10}, brighter{2, 10}, bent{1, 10};
    constexpr int32_t negative = 1;
    lxCreateGammaCorrectionTable(&brighter, &none, &bent, &none, &none, &negative, &table);
    return [table](const ImageArea* area) { return lxGammaCorrection(&table, area, nullptr); };
}

InPlaceWork colorMatrix(const CorrectionLevel& hue, const CorrectionLevel& saturation)
{
    ColorCorrectionMatrix matrix{};
    constexpr CorrectionLevel none{0, 10};
    lxCreateColorCorrectionMatrix(&hue, &saturation, &none, &matrix);
    return [matrix](const ImageArea* area) { return lxColorCorrection(&matrix, area, nullptr); };
}

// With entries too small to be split, and so summed in double precision.
int8_t unsplitMatrix(const ImageArea* area)
{
    constexpr ColorCorrectionMatrix matrix{{1.1, 0.001, -0.1, -0.1, 1.1, 0.001, 0.001, -0.1, 1.1}};
    return lxColorCorrection(&matrix, area, nullptr);
}

AreaWork sharpening(const MTFParameters& parameters)
{
    return [parameters](const ImageArea* source, const ImageArea* destination) {
        return lxMTFCorrection(&parameters, source, destination, nullptr);
    };
}

AreaWork median(uint32_t strength)
{
    return [strength](const ImageArea* source, const ImageArea* destination) {
        return lxMedianFiltering(strength, source, destination, nullptr);
    };
}

} // namespace

void addCorrections(Operations& operations)
{
    operations.addInPlace("tone table, gray", grayPage, {0.02, 0.020}, tone());
    operations.addInPlace("tone table, colour", colorPage, {0.10, 0.094}, tone());
    operations.addInPlace("tone table, bilevel", bilevelPage, {}, tone());
    operations.addInPlace("colour matrix", colorPage, {0.30, 0.099}, colorMatrix({1, 10}, {2, 10}));
    operations.addInPlace("colour matrix, identity", colorPage, {}, colorMatrix({0, 10}, {0, 10}));
    operations.addInPlace("colour matrix, in double", colorPage, {}, unsplitMatrix);

    constexpr MTFParameters separated{0, {0.8, 0.8, 0.6, 0.6}};
    constexpr MTFParameters small{0, {0.8, 0.001, 0.6, 0.6}};
    constexpr MTFParameters cross{1, {0.5, 1.2, 0.9, 0}};
    operations.add("MTF separated, gray", grayPage, grayPage, {0.10, 0.029}, sharpening(separated));
    operations.add("MTF separated, colour", colorPage, colorPage, {0.30, 0.123}, sharpening(separated));
    operations.add("MTF separated, gray, in double", grayPage, grayPage, {}, sharpening(small));
    operations.add("MTF cross, gray", grayPage, grayPage, {0.12, 0.025}, sharpening(cross));
    operations.add("MTF cross, colour", colorPage, colorPage, {0.35, 0.130}, sharpening(cross));

    constexpr uint32_t onePass = 0, everySecond = 4;
    operations.add("median, gray", grayPage, grayPage, {0.06, 0.020}, median(onePass));
    operations.add("median, colour", colorPage, colorPage, {0.16, 0.125}, median(onePass));
    operations.add("majority, bilevel", bilevelPage, bilevelPage, {0.01, 0.003}, median(onePass));
    operations.add("majority, bilevel, x = 3", {IMAGE_TYPE_BW, pageWidth, pageHeight, 3}, bilevelPage, {},
                   median(onePass));
    operations.add("majority, 8 colours", {IMAGE_TYPE_8RGB}, {IMAGE_TYPE_8RGB}, {}, median(onePass));
    operations.add("median, gray, every second pixel", grayPage, grayPage, {}, median(everySecond));
    operations.addInPlace("median, gray, in place", grayPage, {},
                          [](const ImageArea* area) { return lxMedianFiltering(onePass, area, area, nullptr); });
}

} // namespace bench
