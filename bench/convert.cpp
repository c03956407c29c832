// Conversions to gray, to bilevel and to full colour, and the small functions around them.
#include "families.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <string>

namespace bench
{
namespace
{

struct SourceType {
    uint16_t type;
    const char* name;
};

constexpr SourceType everyType[] = {
    {IMAGE_TYPE_BW, "bilevel"},     {IMAGE_TYPE_16GRAY, "16 gray"},   {IMAGE_TYPE_256GRAY, "gray"},
    {IMAGE_TYPE_8RGB, "8 colours"}, {IMAGE_TYPE_16RGB, "16 colours"}, {IMAGE_TYPE_256RGB, "256 colours"},
    {IMAGE_TYPE_16MRGB, "colour"},
};

AreaWork toGray(uint16_t channel)
{
    return [channel](const ImageArea* source, const ImageArea* destination) {
        return lxImageTypeConvertTo256Gray(channel, source, destination, nullptr);
    };
}

AreaWork toGrayscale(uint16_t type)
{
    return [palette = paletteOf(type)](const ImageArea* source, const ImageArea* destination) {
        return lxImageTypeConvertToGrayscale(&palette, source, destination, nullptr);
    };
}

AreaWork windowToGray(uint16_t windowSize)
{
    return [windowSize](const ImageArea* source, const ImageArea* destination) {
        return lxImageTypeConvertToGrayscaleFromBW(windowSize, source, destination, nullptr);
    };
}

int8_t to16Gray(const ImageArea* source, const ImageArea* destination)
{
    return lxImageTypeConvertTo16Gray(source, destination, nullptr);
}

int8_t threshold(const ImageArea* source, const ImageArea* destination)
{
    constexpr ThresholdLevel middle{0, 10};
    return lxImageTypeConvertToBWNonHalftone(&middle, source, destination, nullptr);
}

AreaWork toBilevel(uint16_t type)
{
    return [palette = paletteOf(type)](const ImageArea* source, const ImageArea* destination) {
        return lxImageTypeConvertToBW(&palette, source, destination, nullptr);
    };
}

// Ranks in a scattered order: 7 has no factor in common with the sizes measured.
AreaWork orderedDither(uint16_t columns, uint16_t rows)
{
    DitherMatrix matrix{};
    matrix.columns = columns;
    matrix.rows = rows;
    for (uint32_t row = 0; row < rows; ++row) {
        for (uint32_t column = 0; column < columns; ++column) {
            matrix.values[row][column] = uint16_t((row * columns + column) * 7 % (columns * rows));
        }
    }
    return [matrix](const ImageArea* source, const ImageArea* destination) {
        uint16_t phaseX = 0, phaseY = 0;
        return lxImageTypeConvertToBWDitherHalftone(&phaseX, &phaseY, &matrix, source, destination, nullptr);
    };
}

constexpr ErrorDiffusionKernel diffusionKernels[] = {
    {7.0 / 16, 3.0 / 16, 5.0 / 16, 1.0 / 16},
    {5.0 / 16, 3.0 / 16, 7.0 / 16, 1.0 / 16},
    {6.0 / 16, 4.0 / 16, 5.0 / 16, 1.0 / 16},
    {8.0 / 16, 2.0 / 16, 4.0 / 16, 2.0 / 16},
};

// The page in one call, or in bands of some lines that carry their errors from one to the next.
AreaWork errorDiffusion(uint16_t randomKernel, uint16_t kernelCount, uint32_t bandLines = pageHeight)
{
    const uint32_t bytes = lxCalculateErrorBufferSize(IMAGE_TYPE_BW, pageWidth);
    const auto errors = std::make_shared<double[]>(bytes / sizeof(double));
    return [=](const ImageArea* source, const ImageArea* destination) {
        const ErrorBufferDesc errorBuffer{errors.get(), bytes};
        lxClearErrorBuffer(&errorBuffer);
        ImageArea from = *source, to = *destination;
        for (uint32_t y = 0; y < source->height; y += bandLines) {
            from.y = to.y = y;
            from.height = to.height = std::min(bandLines, source->height - y);
            const int8_t status = lxImageTypeConvertToBWEDHalftone(randomKernel, kernelCount, diffusionKernels,
                                                                   &errorBuffer, &from, &to, nullptr);
            if (status != IMAGE_STATUS_OK) {
                return status;
            }
        }
        return int8_t(IMAGE_STATUS_OK);
    };
}

void addToGray(Operations& operations)
{
    operations.add("gray to 16 levels", grayPage, gray16Page, {0.03, 0.027}, to16Gray);
    operations.add("gray to 16 levels, x = 3", shifted(grayPage, 3), shifted(gray16Page, 3), {}, to16Gray);

    operations.add("colour to 256 gray", colorPage, grayPage, {0.10, 0.093}, toGray(0));
    operations.add("colour to 256 gray, green", colorPage, grayPage, {}, toGray(2));
    for (const auto& [type, name] : everyType) {
        const bool bilevel = type == IMAGE_TYPE_BW;
        operations.add(name + std::string(" to grayscale"), {type}, grayPage, bilevel ? Goal{0.015, 0.014} : Goal{},
                       toGrayscale(type));
    }
    operations.add("bilevel to grayscale, x = 3", shifted(bilevelPage, 3), shifted(grayPage, 1), {},
                   toGrayscale(IMAGE_TYPE_BW));
    operations.add("16 gray to grayscale, x = 3", shifted(gray16Page, 3), shifted(grayPage, 1), {},
                   toGrayscale(IMAGE_TYPE_16GRAY));

    // One goal for all sizes: the time must not depend on the window.
    for (const int size : {1, 4, 16, 64, 255, 300}) {
        operations.add("bilevel window to gray, N = " + std::to_string(size), bilevelPage, grayPage, {0.08, 0.014},
                       windowToGray(uint16_t(size)));
    }
    operations.add("bilevel window to gray, N = 4, x = 3", shifted(bilevelPage, 3), grayPage, {}, windowToGray(4));
}

void addToBilevel(Operations& operations)
{
    operations.add("gray to bilevel, threshold", grayPage, bilevelPage, {0.02, 0.018}, threshold);
    operations.add("gray to bilevel, threshold, x = 3", grayPage, shifted(bilevelPage, 3), {}, threshold);

    operations.add("gray to bilevel, ordered 4 x 4", grayPage, bilevelPage, {}, orderedDither(4, 4));
    operations.add("gray to bilevel, ordered 8 x 8", grayPage, bilevelPage, {0.025, 0.023}, orderedDither(8, 8));
    operations.add("gray to bilevel, ordered 3 x 5", grayPage, bilevelPage, {}, orderedDither(3, 5));
    operations.add("gray to bilevel, ordered 8 x 8, x = 3", grayPage, shifted(bilevelPage, 3), {}, orderedDither(8, 8));

    operations.add("gray to bilevel, diffusion", grayPage, bilevelPage, {0.6, 0.023}, errorDiffusion(0, 1));
    operations.add("gray to bilevel, diffusion, 64-line bands", grayPage, bilevelPage, {}, errorDiffusion(0, 1, 64));
    operations.add("gray to bilevel, diffusion, 4 kernels", grayPage, bilevelPage, {}, errorDiffusion(0, 4));
    operations.add("gray to bilevel, diffusion, random", grayPage, bilevelPage, {}, errorDiffusion(1, 4));
    operations.add("gray to bilevel, diffusion, x = 3", grayPage, shifted(bilevelPage, 3), {}, errorDiffusion(0, 1));

    for (const auto& [type, name] : everyType) {
        const bool color = type == IMAGE_TYPE_16MRGB;
        operations.add(name + std::string(" to bilevel, fixed"), {type}, bilevelPage,
                       color ? Goal{0.10, 0.094} : Goal{}, toBilevel(type));
    }
    operations.add("bilevel to bilevel, fixed, x = 3", shifted(bilevelPage, 3), bilevelPage, {},
                   toBilevel(IMAGE_TYPE_BW));
    operations.add("colour to bilevel, fixed, x = 3", colorPage, shifted(bilevelPage, 3), {},
                   toBilevel(IMAGE_TYPE_16MRGB));
}

AreaWork toColor(uint16_t type)
{
    return [palette = paletteOf(type)](const ImageArea* source, const ImageArea* destination) {
        return lxImageTypeConvertTo16MRGB(&palette, source, destination, nullptr);
    };
}

// Red first to blue first.
Run exchangeComponents()
{
    return [&from = page(IMAGE_TYPE_16MRGB), to = Picture(colorPage)] {
        ImageArea blueFirst = *to.area();
        blueFirst.colorOrder = 1;
        return lxImageTypeConvertTo16MRGB(nullptr, from.area(), &blueFirst, nullptr) == IMAGE_STATUS_OK;
    };
}

void addToColor(Operations& operations)
{
    for (const auto& [type, name] : everyType) {
        const bool gray = type == IMAGE_TYPE_256GRAY;
        operations.add(name + std::string(" to colour"), {type}, colorPage, gray ? Goal{0.085, 0.088} : Goal{},
                       toColor(type));
    }
    operations.add(
        {"swap of component order", bytesOf(colorPage), bytesOf(colorPage), {0.145, 0.140}, exchangeComponents});
    for (const int size : {4, 64}) {
        operations.add("8 colours window to colour, N = " + std::to_string(size), {IMAGE_TYPE_8RGB}, colorPage, {},
                       [size](const ImageArea* source, const ImageArea* destination) {
                           return lxImageTypeConvertTo16MRGBFrom8RGB(uint16_t(size), source, destination, nullptr);
                       });
    }
}

// These take no page, so that their time is given per call, and only the palette and the buffer have bytes to move.
void addSmallFunctions(Operations& operations)
{
    constexpr uint32_t calls = 1000;
    const auto prepareSizes = []() -> Run {
        return [] {
            uint32_t width = pageWidth, sum = 0;
            for (uint32_t call = 0; call < calls; ++call) {
                benchmark::DoNotOptimize(width);
                sum += lxCalculateBytesOf1Line(IMAGE_TYPE_BW, width);
                sum += lxCalculateMemorySize(IMAGE_TYPE_16GRAY, width, pageHeight);
                sum += lxCalculateErrorBufferSize(IMAGE_TYPE_8RGB, width);
            }
            benchmark::DoNotOptimize(sum);
            return true;
        };
    };
    operations.add({"three sizes, per call", 0, 0, {}, prepareSizes, calls});

    const auto preparePalette = []() -> Run {
        return [palette = std::make_shared<ColorPalette>()] {
            palette->type = IMAGE_TYPE_256RGB;
            for (uint32_t call = 0; call < calls; ++call) {
                lxGetColorPalette(palette.get());
                benchmark::ClobberMemory();
            }
            return palette->count == 256;
        };
    };
    operations.add({"palette of 256 colours, per call", 0, 0, {}, preparePalette, calls});

    const uint32_t bytes = lxCalculateErrorBufferSize(IMAGE_TYPE_BW, pageWidth);
    const auto prepareClear = [bytes]() -> Run {
        return [bytes, errors = std::make_shared<double[]>(bytes / sizeof(double))] {
            const ErrorBufferDesc errorBuffer{errors.get(), bytes};
            lxClearErrorBuffer(&errorBuffer);
            return true;
        };
    };
    operations.add({"error buffer cleared, per call", 0, bytes, {}, prepareClear, 1});
}

} // namespace

void addConversions(Operations& operations)
{
    addToGray(operations);
    addToBilevel(operations);
    addToColor(operations);
    addSmallFunctions(operations);
}

} // namespace bench
