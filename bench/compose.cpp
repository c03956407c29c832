// Pasting and masking.
#include "families.h"

namespace bench
{
namespace
{

AreaWork paste(uint16_t sourceType, uint16_t useKey)
{
    return [=, palette = paletteOf(sourceType)](const ImageArea* source, const ImageArea* destination) {
        constexpr uint8_t paper[3] = {245, 245, 245};
        return lxSynthesizeToSpecificationArea(useKey, source, &palette, paper, 9, destination, nullptr);
    };
}

InPlaceWork mask(uint16_t tint)
{
    return [tint](const ImageArea* area) {
        constexpr uint8_t color[3] = {100, 200, 50};
        return lxMaskingBySpecificationColor(tint, color, area, nullptr);
    };
}

} // namespace

void addCompositing(Operations& operations)
{
    operations.add("paste gray", grayPage, grayPage, {0.03, 0.021}, paste(IMAGE_TYPE_256GRAY, 0));
    operations.add("paste colour", colorPage, colorPage, {0.13, 0.126}, paste(IMAGE_TYPE_16MRGB, 0));
    operations.add("paste bilevel", bilevelPage, bilevelPage, {0.004, 0.002}, paste(IMAGE_TYPE_BW, 0));
    operations.add("paste bilevel, x = 3", bilevelPage, shifted(bilevelPage, 3), {0.004, 0.002},
                   paste(IMAGE_TYPE_BW, 0));
    operations.add("paste colour on gray", colorPage, grayPage, {}, paste(IMAGE_TYPE_16MRGB, 0));
    operations.add("paste colour on bilevel", colorPage, bilevelPage, {}, paste(IMAGE_TYPE_16MRGB, 0));
    operations.add("paste colour on 8 colours", colorPage, eightColors, {}, paste(IMAGE_TYPE_16MRGB, 0));
    operations.add("paste with key, gray", grayPage, grayPage, {0.03, 0.026}, paste(IMAGE_TYPE_256GRAY, 1));
    operations.add("paste with key, colour", colorPage, colorPage, {0.14, 0.124}, paste(IMAGE_TYPE_16MRGB, 1));
    operations.add("paste with key, bilevel", bilevelPage, bilevelPage, {}, paste(IMAGE_TYPE_BW, 1));

    operations.addInPlace("mask, paint, colour", colorPage, {0.05, 0.050}, mask(0));
    operations.addInPlace("mask, tint, colour", colorPage, {0.10, 0.094}, mask(1));
    operations.addInPlace("mask, paint, gray", grayPage, {}, mask(0));
    operations.addInPlace("mask, tint, gray", grayPage, {}, mask(1));
    operations.addInPlace("mask, tint, bilevel", bilevelPage, {}, mask(1));
}

} // namespace bench
