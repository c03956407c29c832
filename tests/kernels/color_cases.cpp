// Kernels of palette colours, of compositing and of corrections.

#include "kernels/kernel_test.h"

#include "correct/fixed_factors.h"

namespace lxtest
{

namespace
{

// `count` bytes that the kernel changes in place.
uint8_t* inPlace(KernelBench& bench, size_t count)
{
    uint8_t* row = bench.to(count);
    bench.random().fill(row, count);
    return row;
}

lx::TripleRange randomRange(Random& random)
{
    lx::TripleRange range;
    for (unsigned c = 0; c < 3; ++c) {
        const uint32_t low = random.below(256);
        range.low[c] = static_cast<uint8_t>(random.chance(50) ? random.below(20) : low);
        range.high[c] = static_cast<uint8_t>(random.between(range.low[c], 255));
    }
    return range;
}

// Split or not, fixed or not, narrow or wide, as the seed has it.
template <unsigned n>
lx::SplitFactors<n> randomFactors(Random& random, double reach)
{
    constexpr float scales[] = {1.0F, 0.4F, 0.05F, 1e-4F};
    float factors[n];
    const float scale = random.pick(scales);
    for (float& factor : factors)
        factor = static_cast<float>((random.unit() - 0.4) * 2) * scale;
    return lx::splitFactors(factors, 1.5 * n * reach, reach);
}

// One line or more with their neighbours.
template <class Sharpen>
void sharpenRows(KernelBench& bench, size_t n, Sharpen sharpen)
{
    const unsigned lines = bench.random().between(1, 4);
    const size_t step = bench.random().chance(50) ? 1 : 3;
    const uint8_t* rows[6];
    uint8_t* to[4];
    for (unsigned k = 0; k < lines + 2; ++k)
        rows[k] = bench.bytes(n + 2 * step) + step;
    for (unsigned k = 0; k < lines; ++k)
        to[k] = bench.to(n);
    sharpen({rows, to, lines, n, step, 1 << 20});
}

} // namespace

const std::vector<KernelCase> colorKernelCases = {
    {"primaries",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const auto threshold = static_cast<uint8_t>(bench.random().next());
         kernels.paletteColor->primaries(bench.bytes(3 * n), bench.to(n), n, bench.random().chance(50), threshold);
     }},
    {"primariesPattern",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const size_t period = bench.random().between(1, 64);
         const size_t phase = bench.random().below(static_cast<uint32_t>(period));
         uint8_t pattern[64];
         bench.random().fill(pattern, period);
         size_t i = 0;
         const uint8_t* repeated = bench.from<uint8_t>(period + 63, [&] { return pattern[i++ % period]; });
         kernels.paletteColor->primariesPattern(bench.bytes(3 * n), repeated, period, phase, bench.to(n), n,
                                                bench.random().chance(50));
     }},
    {"thirds",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const uint8_t* colors = bench.from<uint8_t>(27, [&] { return bench.random().below(16); });
         kernels.paletteColor->thirds(bench.bytes(3 * n), bench.to((n + 1) / 2), n, bench.random().chance(50), colors);
     }},
    {"cube",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         kernels.paletteColor->cube(bench.bytes(3 * n), bench.to(n), n, bench.random().chance(50));
     }},
    {"grayByThirds", [](const lx::Kernels& kernels, KernelBench& bench,
                        size_t n) { kernels.compose->grayByThirds(bench.bytes(3 * n), bench.to(n), n); }},
    {"grayByWeights", [](const lx::Kernels& kernels, KernelBench& bench,
                         size_t n) { kernels.compose->grayByWeights(bench.bytes(3 * n), bench.to(n), n); }},
    {"tint", [](const lx::Kernels& kernels, KernelBench& bench,
                size_t n) { kernels.compose->tint(bench.bytes(n), inPlace(bench, n), n); }},
    {"outside",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         kernels.compose->outside(bench.bytes(3 * n), bench.to(n), n, randomRange(bench.random()));
     }},
    {"select", [](const lx::Kernels& kernels, KernelBench& bench,
                  size_t n) { kernels.compose->select(bench.bytes(n), bench.flags(n), inPlace(bench, n), n); }},
    {"selectTriples",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         kernels.compose->selectTriples(bench.bytes(3 * n), bench.flags(n), inPlace(bench, 3 * n), n);
     }},
    {"overlayTriples",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         kernels.compose->overlayTriples(bench.bytes(3 * n), inPlace(bench, 3 * n), n, randomRange(bench.random()));
     }},
    {"overlayLookup",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         kernels.compose->overlayLookup(bench.bytes(n), inPlace(bench, n), n, bench.bytes(256), bench.flags(256));
     }},
    {"changeBits",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const unsigned phase = bench.random().below(8);
         const auto keep = static_cast<uint8_t>(bench.random().next());
         const auto flip = static_cast<uint8_t>(bench.random().next());
         kernels.bits->changeBits(inPlace(bench, n == 0 ? 0 : (phase + n + 7) / 8), phase, n, keep, flip);
     }},
    {"overlayBits",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const unsigned phase = bench.random().below(8);
         const size_t bytes = n == 0 ? 0 : (phase + n + 7) / 8;
         uint8_t masks[4];
         bench.random().fill(masks, sizeof masks);
         const lx::BitOverlay overlay = {{masks[0], masks[1]}, {masks[2], masks[3]}};
         kernels.bits->overlayBits(bench.bytes(bytes), inPlace(bench, bytes), phase, n, overlay);
     }},
    {"matrix",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const lx::MatrixFactors factors = lx::fixedFactors(randomFactors<9>(bench.random(), 765));
         kernels.correct->matrix(factors, inPlace(bench, 3 * n), n, bench.random().chance(50));
     }},
    {"sharpenSeparated",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const auto factors = lx::wordFactors(randomFactors<4>(bench.random(), 1020), 1020);
         sharpenRows(bench, n,
                     [&](const lx::NeighbourRows& rows) { kernels.correct->sharpenSeparated(factors, rows); });
     }},
    {"sharpenCross",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const auto factors = lx::wordFactors(randomFactors<3>(bench.random(), 2040), 2040);
         sharpenRows(bench, n, [&](const lx::NeighbourRows& rows) { kernels.correct->sharpenCross(factors, rows); });
     }},
};

} // namespace lxtest
