// Colour correction: a matrix built from hue, saturation and lightness, and its application in place.

#include "correct/fixed_factors.h"
#include "frame/line_walk.h"
#include "frame/numeric.h"

#include <algorithm>
#include <cmath>

namespace lx
{

namespace
{

// Degrees. A positive setting turns the other way round from a negative one.
double hueAngle(const CorrectionLevel& hue)
{
    const double level = hue.level;
    return level > 0 ? 360 - level / hue.maxLevel * 180 : -level / hue.maxLevel * 180;
}

// 1 + level / maxLevel, in 32-bit sums that wrap.
double gainOf(const CorrectionLevel& setting)
{
    const int32_t sum = wrapToInt32(2 * (int64_t{setting.level} + setting.maxLevel));
    const int32_t scale = wrapToInt32(2 * int64_t{setting.maxLevel});
    return static_cast<double>(sum) / scale;
}

MatrixFactors factorsOf(const ColorCorrectionMatrix& matrix)
{
    float factors[9];
    double most = 0.0;
    for (unsigned row = 0; row < 9; row += 3) {
        double sum = 0.0;
        for (unsigned k = row; k < row + 3; ++k) {
            factors[k] = static_cast<float>(matrix.entries[k]);
            sum += std::fabs(factors[k]);
        }
        most = std::max(most, sum);
    }
    return fixedFactors(splitFactors(factors, 255.0 * most, 255.0 * 3));
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxCreateColorCorrectionMatrix(const CorrectionLevel* hue, const CorrectionLevel* saturation,
                                     const CorrectionLevel* lightness, ColorCorrectionMatrix* matrix) noexcept
{
    constexpr double third = 0.3333333333333333;
    constexpr double pi = 3.1415926535; // ten digits, deliberately
    const double angle = hueAngle(*hue) * 0.005555555555555556 * pi;
    const double gain = gainOf(*saturation);
    const double light = gainOf(*lightness);
    const double a = gain * std::cos(angle);
    const double b = std::sqrt(3.0) * gain * std::sin(angle);
    const double d[3] = {(2 * a + light) * third, (light - a + b) * third, (light - a - b) * third};
    for (unsigned row = 0; row < 3; ++row) {
        for (unsigned column = 0; column < 3; ++column)
            matrix->entries[3 * row + column] = d[(column + 3 - row) % 3];
    }
    return IMAGE_STATUS_OK;
}

int8_t lxColorCorrection(const ColorCorrectionMatrix* matrix, const ImageArea* area, ProgressCallback progress) noexcept
{
    if (area->type != IMAGE_TYPE_16MRGB)
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView view(*area);
    const MatrixFactors factors = factorsOf(*matrix);
    const CorrectKernels& correct = *kernels().correct;
    walkLines(view.height(), progress,
              [&](uint32_t j) { correct.matrix(factors, view.row(j), view.width(), view.blueFirst()); });
    return IMAGE_STATUS_OK;
}
