#include "kernels/kernel_test.h"

namespace lxtest
{

const std::vector<KernelCase> pixelKernelCases = {
    {"weightedGray", [](const lx::Kernels& kernels, KernelBench& bench,
                        size_t n) { kernels.pixels->weightedGray(bench.bytes(3 * n), bench.to(n), n); }},
    {"preciseGray",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         kernels.pixels->preciseGray(bench.bytes(3 * n), bench.to(n), n, bench.random().chance(50));
     }},
    {"component",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         kernels.pixels->component(bench.bytes(3 * n), bench.to(n), n, bench.random().below(3));
     }},
    {"bright",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         // Around the threshold, where a wrong sum shows.
         const uint8_t* source = bench.from<uint8_t>(3 * n, [&] { return bench.random().between(180, 204); });
         kernels.pixels->bright(source, bench.to((n + 7) / 8), n);
     }},
    {"above",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         constexpr uint8_t thresholds[] = {0, 1, 127, 128, 254, 255};
         const uint8_t threshold = bench.random().pick(thresholds);
         const uint8_t* source = bench.from<uint8_t>(n, [&] { return threshold + bench.random().below(3) - 1; });
         kernels.pixels->above(source, bench.to((n + 7) / 8), n, threshold);
     }},
    {"abovePattern",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const size_t period = bench.random().between(1, 64);
         uint8_t pattern[64];
         bench.random().fill(pattern, period);
         size_t i = 0;
         const uint8_t* repeated = bench.from<uint8_t>(period + 63, [&] { return pattern[i++ % period]; });
         const size_t phase = bench.random().below(static_cast<uint32_t>(period));
         kernels.pixels->abovePattern(bench.bytes(n), repeated, period, phase, bench.to((n + 7) / 8), n);
     }},
    {"levels16", [](const lx::Kernels& kernels, KernelBench& bench,
                    size_t n) { kernels.pixels->levels16(bench.bytes(n), bench.to((n + 1) / 2), n); }},
    {"lookup", [](const lx::Kernels& kernels, KernelBench& bench,
                  size_t n) { kernels.pixels->lookup(bench.bytes(n), bench.to(n), n, bench.bytes(256)); }},
    {"swapEnds", [](const lx::Kernels& kernels, KernelBench& bench,
                    size_t n) { kernels.pixels->swapEnds(bench.bytes(3 * n), bench.to(3 * n), n); }},
};

} // namespace lxtest
