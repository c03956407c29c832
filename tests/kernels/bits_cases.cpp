#include "kernels/kernel_test.h"

namespace lxtest
{

const std::vector<KernelCase> bitKernelCases = {
    {"unpackBits",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const auto zero = static_cast<uint8_t>(bench.random().next());
         const auto one = static_cast<uint8_t>(bench.random().next());
         kernels.bits->unpackBits(bench.bytes(n), bench.to(8 * n), n, zero, one);
     }},
    {"packBits", [](const lx::Kernels& kernels, KernelBench& bench,
                    size_t n) { kernels.bits->packBits(bench.flags(8 * n), bench.to(n), n); }},
    {"unpackNibbles", [](const lx::Kernels& kernels, KernelBench& bench,
                         size_t n) { kernels.bits->unpackNibbles(bench.bytes(n), bench.to(2 * n), n); }},
    {"packNibbles", [](const lx::Kernels& kernels, KernelBench& bench,
                       size_t n) { kernels.bits->packNibbles(bench.bytes(2 * n), bench.to(n), n); }},
    {"copyBits",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const unsigned from = bench.random().below(8);
         const unsigned to = bench.random().below(8);
         const size_t most = bench.random().chance(20) ? 64 * n : 8 * n;
         const size_t bits = n == 0 ? 0 : most - bench.random().below(8);
         const auto bytes = [&](unsigned phase) { return bits == 0 ? 0 : (phase + bits + 7) / 8; };
         kernels.bits->copyBits(bench.bytes(bytes(from)), from, bench.to(bytes(to)), to, bits);
     }},
};

} // namespace lxtest
