// Corrections of tone and colour, in place, and of sharpness.

#include "support/operations.h"

namespace lxtest
{

namespace
{

int8_t correctTone(Call& call)
{
    GammaTable table;
    call.random.fill(table.entries, sizeof table.entries);
    return lxGammaCorrection(&table, call.destination, call.progress);
}

int8_t correctColor(Call& call)
{
    ColorCorrectionMatrix matrix;
    for (double& entry : matrix.entries)
        entry = call.random.unit() * 1.5 - 0.5;
    return lxColorCorrection(&matrix, call.destination, call.progress);
}

int8_t sharpen(Call& call)
{
    MTFParameters parameters = {static_cast<uint16_t>(call.random.below(3)), {}};
    for (double& coefficient : parameters.coefficients)
        coefficient = call.random.unit() * 6 - 2;
    return lxMTFCorrection(&parameters, call.source, call.destination, call.progress);
}

} // namespace

void addCorrectOperations(Operations& operations)
{
    operations.push_back({"GammaCorrection", {}, {IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY, IMAGE_TYPE_16MRGB}, correctTone});
    operations.push_back({"ColorCorrection", {}, {IMAGE_TYPE_16MRGB}, correctColor});
    operations.push_back({.name = "MTFCorrection",
                          .sourceTypes = {IMAGE_TYPE_256GRAY, IMAGE_TYPE_16MRGB},
                          .destinationTypes = {IMAGE_TYPE_256GRAY, IMAGE_TYPE_16MRGB},
                          .run = sharpen,
                          .takes = [](uint16_t source, uint16_t destination) { return source == destination; }});
}

} // namespace lxtest
