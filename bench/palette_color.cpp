// Conversions to palette colours.
#include "families.h"

#include <memory>

namespace bench
{
namespace
{

int8_t threshold(const ImageArea* source, const ImageArea* destination)
{
    constexpr ThresholdLevel middle{0, 10};
    return lxImageTypeConvertTo8RGBNonHalftone(&middle, source, destination, nullptr);
}

int8_t orderedDither(const ImageArea* source, const ImageArea* destination)
{
    DitherMatrix matrix{8, 8, {}};
    for (uint32_t rank = 0; rank < 64; ++rank) {
        matrix.values[rank / 8][rank % 8] = uint16_t(rank * 7 % 64);
    }
    uint16_t phaseX = 0, phaseY = 0;
    return lxImageTypeConvertTo8RGBDitherHalftone(&phaseX, &phaseY, &matrix, source, destination, nullptr);
}

AreaWork errorDiffusion(uint16_t kernelCount)
{
    const uint32_t bytes = lxCalculateErrorBufferSize(IMAGE_TYPE_8RGB, pageWidth);
    const auto errors = std::make_shared<double[]>(bytes / sizeof(double));
    return [=](const ImageArea* source, const ImageArea* destination) {
        constexpr ErrorDiffusionKernel kernels[] = {{7.0 / 16, 3.0 / 16, 5.0 / 16, 1.0 / 16},
                                                    {5.0 / 16, 3.0 / 16, 7.0 / 16, 1.0 / 16}};
        const ErrorBufferDesc errorBuffer{errors.get(), bytes};
        lxClearErrorBuffer(&errorBuffer);
        return lxImageTypeConvertTo8RGBEDHalftone(0, kernelCount, kernels, &errorBuffer, source, destination, nullptr);
    };
}

int8_t toSixteen(const ImageArea* source, const ImageArea* destination)
{
    return lxImageTypeConvertTo16RGB(source, destination, nullptr);
}

int8_t toCube(const ImageArea* source, const ImageArea* destination)
{
    return lxImageTypeConvertTo256RGB(source, destination, nullptr);
}

} // namespace

void addPaletteColors(Operations& operations)
{
    operations.add("colour to 8 colours, threshold", colorPage, eightColors, {}, threshold);
    operations.add("colour to 8 colours, ordered 8 x 8", colorPage, eightColors, {}, orderedDither);
    operations.add("colour to 8 colours, diffusion", colorPage, eightColors, {2.0, 0.098}, errorDiffusion(1));
    operations.add("colour to 8 colours, diffusion, 2 kernels", colorPage, eightColors, {}, errorDiffusion(2));
    operations.add("colour to 16 colours", colorPage, sixteenColors, {0.12, 0.106}, toSixteen);
    operations.add("colour to 6 x 6 x 6 cube", colorPage, cubeColors, {0.12, 0.109}, toCube);
}

} // namespace bench
