// Conversions to bilevel.

#include "support/halftone.h"
#include "support/operations.h"

namespace lxtest
{

namespace
{

int8_t dither(Call& call)
{
    auto phaseX = static_cast<uint16_t>(call.random.chance(80) ? call.random.below(16) : call.random.next());
    auto phaseY = static_cast<uint16_t>(call.random.chance(80) ? call.random.below(16) : call.random.next());
    const DitherMatrix matrix = randomMatrix(call.random);
    const int8_t status =
        lxImageTypeConvertToBWDitherHalftone(&phaseX, &phaseY, &matrix, call.source, call.destination, call.progress);
    call.keep(&phaseX, sizeof phaseX);
    call.keep(&phaseY, sizeof phaseY);
    return status;
}

int8_t diffuse(Call& call, bool randomKernel)
{
    const auto count = static_cast<uint16_t>(call.random.chance(60) ? 1 : call.random.between(2, 5));
    const std::vector<ErrorDiffusionKernel> kernels = randomKernels(call.random, count);
    const ErrorBuffer buffer(IMAGE_TYPE_BW, call.source->width, call.random);
    const int8_t status = lxImageTypeConvertToBWEDHalftone(randomKernel, count, kernels.data(), buffer.desc(),
                                                           call.source, call.destination, call.progress);
    call.keep(buffer.entries().data(), buffer.desc()->size);
    return status;
}

} // namespace

void addBilevelOperations(Operations& operations)
{
    operations.push_back(
        {"ConvertToBWNonHalftone", {IMAGE_TYPE_256GRAY}, {IMAGE_TYPE_BW}, [](Call& call) {
             const ThresholdLevel threshold = {static_cast<int32_t>(call.random.below(200)) - 100, 100};
             return lxImageTypeConvertToBWNonHalftone(&threshold, call.source, call.destination, call.progress);
         }});
    operations.push_back({"ConvertToBWDitherHalftone", {IMAGE_TYPE_256GRAY}, {IMAGE_TYPE_BW}, dither});
    operations.push_back({"ConvertToBWEDHalftone", {IMAGE_TYPE_256GRAY}, {IMAGE_TYPE_BW}, [](Call& call) {
                              return diffuse(call, false);
                          }});
    operations.push_back({.name = "ConvertToBWEDHalftoneRandom",
                          .sourceTypes = {IMAGE_TYPE_256GRAY},
                          .destinationTypes = {IMAGE_TYPE_BW},
                          .run = [](Call& call) { return diffuse(call, true); },
                          .draws = true});
    operations.push_back({"ConvertToBW", everyType, {IMAGE_TYPE_BW}, [](Call& call) {
                              const ColorPalette palette = paletteOf(call.source->type);
                              return lxImageTypeConvertToBW(&palette, call.source, call.destination, call.progress);
                          }});
}

} // namespace lxtest
