#include "kernels/kernel_tables.h"
namespace lx::LX_LEVEL
{
constexpr DiffusionKernels diffusionKernels = {0, nullptr};
} // namespace lx::LX_LEVEL
