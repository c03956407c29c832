#include "support/halftone.h"

namespace lxtest
{

std::vector<ErrorDiffusionKernel> randomKernels(Random& random, uint16_t count)
{
    std::vector<ErrorDiffusionKernel> kernels(count);
    for (ErrorDiffusionKernel& kernel : kernels) {
        const double right = random.unit();
        const double left = random.unit();
        const double below = random.unit();
        const double lowerRight = random.unit();
        const double sum = right + left + below + lowerRight;
        kernel = {right / sum, left / sum, below / sum, lowerRight / sum};
    }
    return kernels;
}

DitherMatrix randomMatrix(Random& random)
{
    DitherMatrix matrix = {};
    matrix.columns = static_cast<uint16_t>(random.between(1, 16));
    matrix.rows = static_cast<uint16_t>(random.between(1, 16));
    for (auto& row : matrix.values)
        for (uint16_t& value : row)
            value = static_cast<uint16_t>(random.below(matrix.columns * matrix.rows));
    return matrix;
}

} // namespace lxtest
