// Registers every operation with Google Benchmark, whose flags all work, and prints the table.
//
// A benchmark here is one iteration that measures one operation with all its contenders (see measure.h) and reports
// the median of our own calls as its time; Google Benchmark's loop would time each contender for itself.
#include "families.h"
#include "report.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#ifdef __GLIBC__
#include <malloc.h>
#include <sys/mman.h>
#endif

namespace
{

using namespace bench;

// Settles what memory all contenders alike get, before anything is allocated: one region that freed memory stays in,
// so that peers which allocate their results in every call do not pay for fresh pages each time, and made of large
// pages where the system has them. With small ones, times near the cache's size were seen to vary by a third from run
// to run, probably by how the pages happen to share its sets.
void settleMemory()
{
#ifdef __GLIBC__
    constexpr std::size_t reserve = std::size_t(768) << 20, pageBytes = 4096;
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    void* region = std::malloc(reserve);
    const std::size_t toPage = pageBytes - reinterpret_cast<std::uintptr_t>(region) % pageBytes;
    madvise(static_cast<char*>(region) + toPage, reserve - pageBytes, MADV_HUGEPAGE);
    std::free(region);
#endif
}

void addPeers([[maybe_unused]] Operations& operations)
{
    std::string peers;
    [[maybe_unused]] const auto found = [&](const std::string& name) { peers += (peers.empty() ? "" : ", ") + name; };
#ifdef LX_BENCH_LEPTONICA
    found(addLeptonica(operations));
#endif
#ifdef LX_BENCH_LIBYUV
    found(addLibyuv(operations));
#endif
#ifdef LX_BENCH_OPENCV
    found(addOpenCv(operations));
#endif
#ifdef LX_BENCH_ZIMG
    found(addZimg(operations));
#endif
    benchmark::AddCustomContext("peers", peers.empty() ? "none" : peers);
}

void run(benchmark::State& state, const Operation& operation, double seconds)
{
    for (auto iteration : state) {
        try {
            const Measurement measurement = measure(operation, seconds);
            state.SetIterationTime(measurement.time);
            setCounters(state, operation, measurement);
        } catch (const ContenderFailed& failure) {
            state.SkipWithError(failure.what());
            break;
        }
    }
    state.SetItemsProcessed(int64_t(operation.pixels));
    if (const std::size_t bytes = operation.sourceBytes + operation.destinationBytes; bytes > 0) {
        state.SetBytesProcessed(int64_t(bytes));
    }
}

// Takes our own flag out of the arguments: --seconds=S, the CPU time to spend on each operation.
double takeSeconds(int& count, char** arguments)
{
    constexpr std::string_view flag = "--seconds=";
    double seconds = 1;
    const auto mine = [&](const char* argument) { return std::string_view(argument).starts_with(flag); };
    for (int index = 1; index < count; ++index) {
        if (mine(arguments[index])) {
            seconds = std::strtod(arguments[index] + flag.size(), nullptr);
        }
    }
    count = int(std::remove_if(arguments + 1, arguments + count, mine) - arguments);
    return seconds;
}

bool wantsOtherFormat(int count, char** arguments)
{
    return std::any_of(arguments, arguments + count, [](const char* argument) {
        return std::string_view(argument).starts_with("--benchmark_format=");
    });
}

} // namespace

int main(int count, char** arguments)
{
    settleMemory();
    const double seconds = takeSeconds(count, arguments);
    const bool table = !wantsOtherFormat(count, arguments);

    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) {
        return EXIT_FAILURE;
    }
    Operations operations;
    addConversions(operations);
    addPaletteColors(operations);
    addCorrections(operations);
    addCompositing(operations);
    addMultilevelScaling(operations);
    addThumbnails(operations);
    addRotations(operations);
    addSlant(operations);
    addBilevelScaling(operations);
    addPeers(operations);
    for (const Operation& operation : operations.all()) {
        benchmark::RegisterBenchmark(operation.name.c_str(), run, operation, seconds)->Iterations(1)->UseManualTime();
    }
    TableReporter reporter;
    benchmark::RunSpecifiedBenchmarks(table ? &reporter : nullptr);
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
