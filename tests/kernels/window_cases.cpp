#include "kernels/kernel_test.h"

namespace lxtest
{

namespace
{

// Gains of -1 to 1, often all alike, as on white paper.
const int8_t* gains(KernelBench& bench, size_t n)
{
    const uint32_t flat = bench.random().below(4);
    return bench.from<int8_t>(n, [&] { return static_cast<int>(flat < 3 ? flat : bench.random().below(3)) - 1; });
}

} // namespace

const std::vector<KernelCase> windowKernelCases = {
    {"gain", [](const lx::Kernels& kernels, KernelBench& bench,
                size_t n) { kernels.window->gain(bench.flags(n), bench.flags(n), bench.to<int8_t>(n), n); }},
    {"slide",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const auto change = static_cast<int32_t>(bench.random().below(131071)) - 65535;
         kernels.window->slide(gains(bench, n), gains(bench, n), bench.to<uint32_t>(n), n, change);
     }},
    {"join",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         kernels.window->join(bench.bytes(n), bench.bytes(n), bench.bytes(n), bench.to(3 * n), n);
     }},
    {"slideColumns", [](const lx::Kernels& kernels, KernelBench& bench,
                        size_t n) { kernels.window->slideColumns(bench.flags(n), bench.flags(n), bench.to(n), n); }},
    {"shadeSums",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const uint32_t size = bench.random().between(1, 15);
         const uint8_t* counts =
             bench.from<uint8_t>(n + size + 64, [&] { return bench.random().below(255 / size + 1); });
         kernels.window->shadeSums(counts, size, bench.bytes(256), bench.to(n), n);
     }},
    {"shade",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const uint32_t size = bench.random().between(1, bench.random().chance(50) ? 16 : 65535);
         const auto twice = static_cast<float>(2 * size);
         uint32_t pixels = size * size;
         const float* scales = bench.from<float>(n, [&] { return twice / static_cast<float>(pixels); });
         const uint32_t* counts = bench.from<uint32_t>(
             n, [&] { return bench.random().chance(20) ? pixels : bench.random().below(pixels) + 1; });
         const double rounding = bench.random().chance(50) ? 0.5 : 0.0;
         kernels.window->shade(counts, scales, bench.to(n), n, 255.0 / (2.0 * size - 1.0), rounding);
     }},
};

} // namespace lxtest
