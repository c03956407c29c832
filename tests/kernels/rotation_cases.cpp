#include "kernels/kernel_test.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lxtest
{

namespace
{

// Some columns of n rows of `bytesPerColumn` bytes, or as many as find room; either area may be walked upwards.
template <class Transpose>
void transposeBlock(KernelBench& bench, size_t rows, size_t bytesPerColumn, Transpose transpose)
{
    const auto room = static_cast<uint32_t>(28000 / std::max<size_t>(rows * bytesPerColumn, 1));
    const size_t columns = rows == 0 ? 0 : bench.random().below(std::min(room, 70U) + 1);
    if (columns == 0)
        return;
    const bool up[2] = {bench.random().chance(50), bench.random().chance(50)};
    const auto walked = [](auto* first, size_t count, size_t step, bool upwards) {
        return std::pair(upwards ? first + (count - 1) * step : first,
                         upwards ? -static_cast<ptrdiff_t>(step) : static_cast<ptrdiff_t>(step));
    };
    const size_t sourceStep = columns * bytesPerColumn;
    const size_t destinationStep = rows * bytesPerColumn;
    const auto [source, down] = walked(bench.bytes(rows * sourceStep), rows, sourceStep, up[0]);
    const auto [destination, across] = walked(bench.to(columns * destinationStep), columns, destinationStep, up[1]);
    transpose({source, down, destination, across, static_cast<ptrdiff_t>(rows), static_cast<ptrdiff_t>(columns), 0});
}

// Rows that fill n % 65 destination bytes.
void transposePacked(KernelBench& bench, size_t n, size_t perByte, void (*transpose)(const lx::TransposeBlock&))
{
    const size_t groups = n % (lx::TransposeKernels::strip + 1);
    const size_t rows = groups * perByte;
    if (rows == 0)
        return;
    const auto phase = bench.random().below(static_cast<uint32_t>(perByte));
    const size_t columns = 1 + bench.random().below(300);
    const size_t sourceStep = (phase + columns + perByte - 1) / perByte;
    transpose({bench.bytes(rows * sourceStep), static_cast<ptrdiff_t>(sourceStep), bench.to(columns * groups),
               static_cast<ptrdiff_t>(groups), static_cast<ptrdiff_t>(rows), static_cast<ptrdiff_t>(columns), phase});
}

void reversePacked(KernelBench& bench, size_t n, size_t bitsPerPixel,
                   void (*reverse)(const uint8_t*, unsigned, uint8_t*, unsigned, size_t))
{
    const auto perByte = static_cast<uint32_t>(8 / bitsPerPixel);
    const auto phase = [&] { return bench.random().chance(30) ? 0 : bench.random().below(perByte); };
    const unsigned from = phase();
    const unsigned to = phase();
    const auto bytes = [&](unsigned place) { return n == 0 ? 1 : (place + n + perByte - 1) / perByte; };
    const uint8_t* source = bench.bytes(bytes(from));
    reverse(source, from, bench.to(bytes(to)), to, n);
}

// Steps that n pixels take, `shortest` or more pixels apart.
lx::RunRow::Steps randomSteps(KernelBench& bench, double shortest)
{
    const double pixels = shortest + bench.random().unit() * (bench.random().chance(50) ? 30 : 900);
    return {std::ldexp(1 + bench.random().below(1000), -10),
            bench.random().chance(10) ? std::numeric_limits<double>::infinity() : pixels};
}

// Runs that bring n pixels, all of them inside a picture that has no more lines than they take.
lx::RunRow randomRuns(KernelBench& bench, size_t n, size_t bitsPerPixel)
{
    constexpr double shortest = 8.01;
    constexpr double bytes = 25000; // of the picture
    const auto most = [n](const lx::RunRow::Steps& steps) {
        return static_cast<size_t>(static_cast<double>(n) / steps.pixels) + 1;
    };
    const lx::RunRow::Steps stalls = randomSteps(bench, shortest);
    const unsigned phase = bitsPerPixel < 8 ? bench.random().below(static_cast<uint32_t>(8 / bitsPerPixel)) : 0;
    const size_t column = most(stalls) + bench.random().below(20);
    const size_t lineBytes = ((phase + column + n + bench.random().below(20)) * bitsPerPixel + 7) / 8;
    const lx::RunRow::Steps climbs = randomSteps(bench, std::max(shortest, static_cast<double>(n * lineBytes) / bytes));
    const size_t height = most(climbs) + 1;
    const uint8_t* lines = bench.bytes(height * lineBytes);
    const bool up = bench.random().chance(50);
    return {.line = up ? lines + (height - 1) * lineBytes : lines,
            .climb = static_cast<ptrdiff_t>(up ? 0 - lineBytes : lineBytes),
            .ahead = static_cast<ptrdiff_t>(bench.random().below(1 << 20)),
            .lineBytes = lineBytes,
            .phase = phase,
            .column = column,
            .pixels = n,
            .climbs = climbs,
            .stalls = stalls};
}

// n pixels on a slanted line through the middle of a square of pixels, all of them inside.
lx::SlantedRow randomSlant(KernelBench& bench, size_t n, size_t bitsPerPixel)
{
    constexpr size_t side = 64; // and as many pixels from end to end, so that every slope stays inside
    const size_t step = side * bitsPerPixel / 8;
    const uint8_t* square = bench.bytes(side * step);
    const double angle = bench.random().unit() * 7;
    const double reach = n > 60 ? 60.0 / static_cast<double>(n) : 1; // pixels of the source per pixel
    return {.centre = square + side / 2 * step,
            .step = static_cast<ptrdiff_t>(step),
            .column = side / 2,
            .cosine = std::cos(angle) * reach,
            .sine = std::sin(angle) * reach,
            .offsetX = bench.random().unit(),
            .offsetY = bench.random().unit(),
            .first = -std::floor(static_cast<double>(n) / 2)};
}

using Pick = void (*)(const lx::SlantedRow&, uint8_t*, size_t);

void pickPixels(KernelBench& bench, size_t n, size_t bitsPerPixel, Pick pick)
{
    const lx::SlantedRow row = randomSlant(bench, n, bitsPerPixel);
    pick(row, bench.to(n), n);
}

void copyPacked(const lx::Kernels& kernels, KernelBench& bench, size_t n, unsigned bits)
{
    const lx::RunRow row = randomRuns(bench, n, bits);
    const unsigned phase = bench.random().below(8 / bits);
    kernels.slantedRuns->copyPacked(row, bits, bench.to(n == 0 ? 1 : ((phase + n) * bits + 7) / 8), phase);
}

} // namespace

const std::vector<KernelCase> rotationKernelCases = {
    {"transposeBytes", [](const lx::Kernels& kernels, KernelBench& bench,
                          size_t n) { transposeBlock(bench, n, 1, kernels.transpose->bytes); }},
    {"transposeTriples",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const bool swap = bench.random().chance(50);
         transposeBlock(bench, n, 3, [&](const lx::TransposeBlock& block) { kernels.transpose->triples(block, swap); });
     }},
    {"transposeNibbles", [](const lx::Kernels& kernels, KernelBench& bench,
                            size_t n) { transposePacked(bench, n, 2, kernels.transpose->nibbles); }},
    {"transposeBits", [](const lx::Kernels& kernels, KernelBench& bench,
                         size_t n) { transposePacked(bench, n, 8, kernels.transpose->bits); }},
    {"reverseBytes", [](const lx::Kernels& kernels, KernelBench& bench,
                        size_t n) { kernels.reverse->bytes(bench.bytes(n), bench.to(n), n); }},
    {"reverseTriples",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         kernels.reverse->triples(bench.bytes(3 * n), bench.to(3 * n), n, bench.random().chance(50));
     }},
    {"reverseNibbles", [](const lx::Kernels& kernels, KernelBench& bench,
                          size_t n) { reversePacked(bench, n, 4, kernels.reverse->nibbles); }},
    {"reverseBits", [](const lx::Kernels& kernels, KernelBench& bench,
                       size_t n) { reversePacked(bench, n, 1, kernels.reverse->bits); }},
    {"copyRunsOfBits",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) { copyPacked(kernels, bench, n, 1); }},
    {"copyRunsOfNibbles",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) { copyPacked(kernels, bench, n, 4); }},
    {"copyRunsOfBytes", [](const lx::Kernels& kernels, KernelBench& bench,
                           size_t n) { kernels.slantedRuns->copyBytes(randomRuns(bench, n, 8), bench.to(n)); }},
    {"copyRunsOfTriples",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const lx::RunRow row = randomRuns(bench, n, 24);
         kernels.slantedRuns->copyTriples(row, bench.to(3 * n), bench.random().chance(50));
     }},
    {"pickBits", [](const lx::Kernels& kernels, KernelBench& bench,
                    size_t n) { pickPixels(bench, n, 1, kernels.slantedRuns->pickBits); }},
    {"pickNibbles", [](const lx::Kernels& kernels, KernelBench& bench,
                       size_t n) { pickPixels(bench, n, 4, kernels.slantedRuns->pickNibbles); }},
    {"pickBytes", [](const lx::Kernels& kernels, KernelBench& bench,
                     size_t n) { pickPixels(bench, n, 8, kernels.slantedRuns->pickBytes); }},
    {"pickTriples",
     [](const lx::Kernels& kernels, KernelBench& bench, size_t n) {
         const lx::SlantedRow row = randomSlant(bench, n, 24);
         kernels.slantedRuns->pickTriples(row, bench.to(3 * n), n, bench.random().chance(50));
     }},
};

} // namespace lxtest
