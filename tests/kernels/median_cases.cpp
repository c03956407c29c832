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

// Some rows likewise with the two beside them, and as many places for n bytes.
template <class Filter>
void filterRowsTogether(KernelBench& bench, size_t count, size_t n, size_t beside, Filter filter)
{
    std::vector<const uint8_t*> rows(count + 2);
    std::vector<uint8_t*> to(count);
    for (const uint8_t*& row : rows)
        row = bench.bytes(n + 2 * beside) + beside;
    for (uint8_t*& destination : to)
        destination = bench.to(n);
    filter(rows.data(), to.data());
}

void filterPackedRows(KernelBench& bench, size_t n,
                      void (*filter)(const uint8_t* const*, uint8_t* const*, size_t, size_t))
{
    const size_t count = 1 + bench.random().below(9);
    filterRowsTogether(bench, count, n, 1,
                       [&](const uint8_t* const* rows, uint8_t* const* to) { filter(rows, to, count, n); });
}

void filterWords(KernelBench& bench, size_t n, void (*filter)(const uint32_t*, uint32_t*, size_t))
{
    const auto* rows = bench.from<uint32_t>(n + 2, [&] { return bench.random().next(); });
    filter(rows, bench.to<uint32_t>(n), n);
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
             filterRowsTogether(bench, 4, n, stride, [&](const uint8_t* const* rows, uint8_t* const* to) {
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
    {"majorityOfBitsInRows", [](const lx::Kernels& kernels, KernelBench& bench,
                                size_t n) { filterPackedRows(bench, n, kernels.median->majorityOfBitsInRows); }},
    {"majorityOfNibblesInRows", [](const lx::Kernels& kernels, KernelBench& bench,
                                   size_t n) { filterPackedRows(bench, n, kernels.median->majorityOfNibblesInRows); }},
    {"majorityOfBitsInWords", [](const lx::Kernels& kernels, KernelBench& bench,
                                 size_t n) { filterWords(bench, n, kernels.median->majorityOfBitsInWords); }},
    {"majorityOfNibblesInWords", [](const lx::Kernels& kernels, KernelBench& bench,
                                    size_t n) { filterWords(bench, n, kernels.median->majorityOfNibblesInWords); }},
};

} // namespace lxtest
