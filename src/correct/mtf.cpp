// Sharpening (correction of the modulation transfer function): two kernels on 3 x 3 neighbourhoods, each component for
// itself.

#include "correct/fixed_factors.h"
#include "frame/window_walk.h"

#include <algorithm>
#include <cmath>

namespace lx
{

namespace
{

constexpr uint16_t crossMode = 1;

SharpenFactors<4> separatedFactors(const MTFParameters& parameters)
{
    float gains[4];
    for (unsigned k = 0; k < 4; ++k)
        gains[k] = static_cast<float>(parameters.coefficients[k] * 0.125);
    constexpr double reach = 2 * 255; // of either difference
    const double across = std::max(std::fabs(gains[0]), std::fabs(gains[2]));
    const double down = std::max(std::fabs(gains[1]), std::fabs(gains[3]));
    return wordFactors(splitFactors(gains, 255 + reach * across + reach * down, 2 * reach), 2 * reach);
}

SharpenFactors<3> crossFactors(const MTFParameters& parameters)
{
    float gains[3];
    for (unsigned k = 0; k < 3; ++k)
        gains[k] = static_cast<float>(parameters.coefficients[k] * 0.0625);
    constexpr double reach = 4 * 255;
    const double diagonal = std::max(std::fabs(gains[1]), std::fabs(gains[2]));
    return wordFactors(splitFactors(gains, 255 + reach * std::fabs(gains[0]) + reach * diagonal, 2 * reach), 2 * reach);
}

// Bytes are filtered alike, whatever they stand for: a pixel's neighbours are `bytes` away.
template <unsigned bytes, class Factors, class Kernel>
void sharpen(const Factors& factors, Kernel kernel, const ImageArea& source, const ImageArea& destination,
             ProgressCallback progress)
{
    const AreaView from(source);
    const auto one = [&](const WindowRows& rows, uint8_t* out, uint32_t, uint32_t n) {
        const uint8_t* three[3] = {rows.upper, rows.centre, rows.lower};
        kernel(factors, {three, &out, 1, size_t{n} * bytes, bytes, from.lineStep()});
    };
    const auto four = [&](const uint8_t* const* rows, uint8_t* const* outs, uint32_t n) {
        kernel(factors, {rows, outs, 4, size_t{n} * bytes, bytes, 4 * from.lineStep()});
    };
    mapWindows<bytes>(from, AreaView(destination), progress, one, four);
}

void MTFSeparatedGray(const MTFParameters& parameters, const ImageArea& source, const ImageArea& destination,
                      ProgressCallback progress)
{
    sharpen<1>(separatedFactors(parameters), kernels().correct->sharpenSeparated, source, destination, progress);
}

void MTFCrossGray(const MTFParameters& parameters, const ImageArea& source, const ImageArea& destination,
                  ProgressCallback progress)
{
    sharpen<1>(crossFactors(parameters), kernels().correct->sharpenCross, source, destination, progress);
}

void MTFSeparatedColor(const MTFParameters& parameters, const ImageArea& source, const ImageArea& destination,
                       ProgressCallback progress)
{
    sharpen<3>(separatedFactors(parameters), kernels().correct->sharpenSeparated, source, destination, progress);
}

void MTFCrossColor(const MTFParameters& parameters, const ImageArea& source, const ImageArea& destination,
                   ProgressCallback progress)
{
    sharpen<3>(crossFactors(parameters), kernels().correct->sharpenCross, source, destination, progress);
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxMTFCorrection(const MTFParameters* parameters, const ImageArea* source, const ImageArea* destination,
                       ProgressCallback progress) noexcept
{
    if (source->type != destination->type)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const bool cross = parameters->mode == crossMode;
    switch (source->type) {
    case IMAGE_TYPE_256GRAY:
        (cross ? MTFCrossGray : MTFSeparatedGray)(*parameters, *source, *destination, progress);
        return IMAGE_STATUS_OK;
    case IMAGE_TYPE_16MRGB:
        (cross ? MTFCrossColor : MTFSeparatedColor)(*parameters, *source, *destination, progress);
        return IMAGE_STATUS_OK;
    default:
        return IMAGE_STATUS_BAD_ARGUMENT;
    }
}
