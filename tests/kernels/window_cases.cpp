#include "kernels/kernel_test.h"

namespace lxtest
{

namespace
{

// Drifts: 2 plus -2 to 2, often flat, as on white paper.
const uint8_t* drifts(KernelBench& bench, size_t n)
{
    const uint32_t flat = bench.random().below(6);
    return bench.from<uint8_t>(n, [&] { return flat < 5 ? flat : bench.random().below(5); });
}

} // namespace

const std::vector<KernelCase> windowKernelCases = {
    {"drift",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         kernels.window->drift(bench.flags(n), bench.flags(n), bench.flags(n), bench.flags(n), bench.to(n), n);
     }},
    {"slide",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const auto change = static_cast<int32_t>(bench.random().below(131071)) - 65535;
         bench.returned(kernels.window->slide(drifts(bench, n), bench.to<uint32_t>(n), n, change));
     }},
    {"slideBytes",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const auto change = static_cast<int32_t>(bench.random().below(31)) - 15;
         bench.returned(kernels.window->slideBytes(drifts(bench, n), bench.to(n), n, change));
     }},
    {"shade",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const uint32_t size = bench.random().between(1, bench.random().chance(50) ? 16 : 65535);
         const size_t stride = bench.random().chance(70) ? 1 : 3;
         const auto twice = static_cast<float>(2 * size);
         uint32_t pixels = size * size;
         const float* scales = bench.from<float>(n, [&] { return twice / static_cast<float>(pixels); });
         const uint32_t* counts = bench.from<uint32_t>(
             n, [&] { return bench.random().chance(20) ? pixels : bench.random().below(pixels) + 1; });
         const double rounding = bench.random().chance(50) ? 0.5 : 0.0;
         kernels.window->shade(counts, scales, bench.to(stride * n), stride, n, 255.0 / (2.0 * size - 1.0), rounding);
     }},
};

} // namespace lxtest
