// Kernels of the 3 x 3 rank filter.

#include "kernels/kernel_test.h"

namespace lxtest
{

namespace
{

// Three rows of n bytes, with `beside` readable bytes more on both sides.
template <class Filter>
void filterRows(KernelBench& bench, size_t n, size_t beside, Filter filter)
{
    const uint8_t* rows[3];
    for (const uint8_t*& row : rows)
        row = bench.bytes(n + 2 * beside) + beside;
    filter(rows, bench.to(n));
}

// Six rows likewise, and four places for n bytes.
template <class Filter>
void filterFourRows(KernelBench& bench, size_t n, size_t beside, Filter filter)
{
    const uint8_t* rows[6];
    uint8_t* to[4];
    for (const uint8_t*& row : rows)
        row = bench.bytes(n + 2 * beside) + beside;
    for (uint8_t*& destination : to)
        destination = bench.to(n);
    filter(rows, to);
}

} // namespace

const std::vector<KernelCase> medianKernelCases = {
    {"sixthOfNine",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         for (const size_t stride : {size_t{1}, size_t{3}})
             filterRows(bench, n, stride, [&](const uint8_t* const* rows, uint8_t* to) {
                 kernels.median->sixthOfNine(rows[0], rows[1], rows[2], to, n, stride);
             });
     }},
    {"sixthInFourRows",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         for (const size_t stride : {size_t{1}, size_t{3}})
             filterFourRows(bench, n, stride, [&](const uint8_t* const* rows, uint8_t* const* to) {
                 kernels.median->sixthInFourRows(rows, to, n, stride);
             });
     }},
    {"majorityOfBits",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         filterRows(bench, n, 1, [&](const uint8_t* const* rows, uint8_t* to) {
             kernels.median->majorityOfBits(rows[0], rows[1], rows[2], to, n);
         });
     }},
    {"majorityOfNibbles",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         filterRows(bench, n, 1, [&](const uint8_t* const* rows, uint8_t* to) {
             kernels.median->majorityOfNibbles(rows[0], rows[1], rows[2], to, n);
         });
     }},
    {"majorityOfBitsInFourRows",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         filterFourRows(bench, n, 1, [&](const uint8_t* const* rows, uint8_t* const* to) {
             kernels.median->majorityOfBitsInFourRows(rows, to, n);
         });
     }},
    {"majorityOfNibblesInFourRows",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         filterFourRows(bench, n, 1, [&](const uint8_t* const* rows, uint8_t* const* to) {
             kernels.median->majorityOfNibblesInFourRows(rows, to, n);
         });
     }},
    {"majorityInFourWords",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t) {
         for (const auto words :
              {kernels.median->majorityOfBitsInFourWords, kernels.median->majorityOfNibblesInFourWords}) {
             const auto* rows = bench.from<uint32_t>(6, [&] { return bench.random().next(); });
             words(rows, bench.to<uint32_t>(4));
         }
     }},
};

} // namespace lxtest
