// Conversions to palette colours.

#include "support/halftone.h"
#include "support/operations.h"

#include <utility>

namespace lxtest
{

namespace
{

int8_t threshold(Call& call)
{
    const ThresholdLevel level = {static_cast<int32_t>(call.random.below(200)) - 100, 100};
    return lxImageTypeConvertTo8RGBNonHalftone(&level, call.source, call.destination, call.progress);
}

int8_t dither(Call& call)
{
    auto phaseX = static_cast<uint16_t>(call.random.chance(80) ? call.random.below(16) : call.random.next());
    auto phaseY = static_cast<uint16_t>(call.random.chance(80) ? call.random.below(16) : call.random.next());
    const DitherMatrix matrix = randomMatrix(call.random);
    const int8_t status =
        lxImageTypeConvertTo8RGBDitherHalftone(&phaseX, &phaseY, &matrix, call.source, call.destination, call.progress);
    call.keep(&phaseX, sizeof phaseX);
    call.keep(&phaseY, sizeof phaseY);
    return status;
}

// The groups of the error buffer follow the order of the source's bytes: brought to red, green, blue and back.
void orderGroups(const ErrorBuffer& buffer, uint16_t colorOrder)
{
    double* entries = buffer.entries().data();
    for (size_t k = 0; colorOrder != 0 && k < buffer.entries().size(); k += 3)
        std::swap(entries[k], entries[k + 2]);
}

int8_t diffuse(Call& call)
{
    const auto count = static_cast<uint16_t>(call.random.chance(60) ? 1 : call.random.between(2, 5));
    const std::vector<ErrorDiffusionKernel> kernels = randomKernels(call.random, count);
    const ErrorBuffer buffer(IMAGE_TYPE_8RGB, call.source->width, call.random);
    orderGroups(buffer, call.source->colorOrder);
    const int8_t status = lxImageTypeConvertTo8RGBEDHalftone(0, count, kernels.data(), buffer.desc(), call.source,
                                                             call.destination, call.progress);
    orderGroups(buffer, call.source->colorOrder);
    call.keep(buffer.entries().data(), buffer.desc()->size);
    return status;
}

} // namespace

void addPaletteColorOperations(Operations& operations)
{
    operations.push_back({"ConvertTo8RGBNonHalftone", {IMAGE_TYPE_16MRGB}, {IMAGE_TYPE_8RGB}, threshold});
    operations.push_back({"ConvertTo8RGBDitherHalftone", {IMAGE_TYPE_16MRGB}, {IMAGE_TYPE_8RGB}, dither});
    operations.push_back({"ConvertTo8RGBEDHalftone", {IMAGE_TYPE_16MRGB}, {IMAGE_TYPE_8RGB}, diffuse});
    operations.push_back({"ConvertTo16RGB", {IMAGE_TYPE_16MRGB}, {IMAGE_TYPE_16RGB}, [](Call& call) {
                              return lxImageTypeConvertTo16RGB(call.source, call.destination, call.progress);
                          }});
    operations.push_back({"ConvertTo256RGB", {IMAGE_TYPE_16MRGB}, {IMAGE_TYPE_256RGB}, [](Call& call) {
                              return lxImageTypeConvertTo256RGB(call.source, call.destination, call.progress);
                          }});
}

} // namespace lxtest
