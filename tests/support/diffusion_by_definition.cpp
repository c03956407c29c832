#include "support/diffusion_by_definition.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace lxtest
{

std::vector<uint8_t> diffuseLineByDefinition(size_t channels, const std::vector<uint8_t>& line, size_t sourceWidth,
                                             const std::vector<ErrorDiffusionKernel>& kernels, bool random,
                                             std::vector<double>& buffer)
{
    double* carry = buffer.data();
    double* work = carry + (sourceWidth + 3) * channels;
    for (size_t k = 0; k < line.size(); ++k) {
        const double v = line[k] + carry[channels + k];
        work[k] = v >= 255 ? 255 : v <= 0 ? 0 : v;
        carry[channels + k] = 0;
    }
    std::vector<double> right(channels, 0.0);
    std::vector<uint8_t> on;
    for (size_t k = 0; k < line.size(); ++k) {
        const size_t turn = random ? static_cast<size_t>(std::rand()) : k / channels;
        const ErrorDiffusionKernel& kernel = kernels[turn % kernels.size()];
        const double v = right[k % channels] + work[k];
        on.push_back(v >= 128 ? 1 : 0);
        const double error = v >= 255 || v <= 0 ? 0 : v >= 128 ? v - 255 : v;
        right[k % channels] = error * kernel.right;
        carry[k] += error * kernel.lowerLeft;
        carry[k + channels] += error * kernel.below;
        carry[k + 2 * channels] += error * kernel.lowerRight;
    }
    return on;
}

testing::AssertionResult sameNumbers(const std::vector<double>& expected, const GuardedArray<double>& actual)
{
    if (expected.size() != actual.size())
        return testing::AssertionFailure() << actual.size() << " entries, expected " << expected.size();
    for (size_t k = 0; k < expected.size(); ++k) {
        const bool bothNone = std::isnan(expected[k]) && std::isnan(actual[k]);
        if (!bothNone && std::memcmp(&expected[k], &actual[k], sizeof(double)) != 0)
            return testing::AssertionFailure()
                   << "entry " << k << " of " << expected.size() << " is " << actual[k] << ", expected " << expected[k];
    }
    return testing::AssertionSuccess();
}

} // namespace lxtest
