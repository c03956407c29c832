// Noise removal by a 3 x 3 rank filter: the sixth smallest of nine for bytes, the majority for bits.
//
// Gray and full colour are the same operation on bytes, with neighbours one or three bytes away; bilevel and 8 colours
// are the same on packed bits, with neighbours one or four bits away. The two rules differ by one, deliberately: bytes
// lean towards white, bits do not.
//
// Only in place does a second pass see anything new. Otherwise one pass does the work, and the others only report.

#include "correct/packed_windows.h"
#include "frame/window_walk.h"

namespace lx
{

namespace
{

// What a strength stands for: whole passes, or one pass over every step-th pixel of every step-th line.
struct Effort {
    unsigned passes = 1;
    uint32_t step = 1;

    // Only the low byte counts.
    explicit Effort(uint32_t strength)
    {
        const uint32_t low = strength & 0xFF;
        if (low == 1 || low == 2)
            passes = 4 - low;
        else if (low >= 4)
            step = low - 2;
    }

    // The first pixel or line from `at` on that is filtered: the last one of each step.
    uint64_t next(uint32_t at) const { return (uint64_t{at} / step + 1) * step - 1; }
};

// Runs `lines(j)` over all lines, once or once per pass, and reports all passes. It works on the lines from j on and
// returns how many it has done.
template <class Lines>
void runPasses(const Effort& effort, bool inPlace, uint32_t height, ProgressCallback callback, Lines lines)
{
    PassProgress progress(callback, effort.passes, height);
    for (unsigned pass = 0; pass < effort.passes; ++pass) {
        const bool works = pass == 0 || inPlace;
        for (uint32_t j = 0; j < height;) {
            const uint32_t done = works ? lines(j) : 1;
            for (uint32_t k = 0; k < done; ++k)
                progress.lineDone();
            j += done;
        }
    }
}

template <unsigned bytes>
void filterBytes(const Effort& effort, const AreaView& source, const AreaView& destination, ProgressCallback callback)
{
    const MedianKernels& median = *kernels().median;
    WindowWalk<bytes> walk(source, destination);
    uint8_t filtered[size_t{chunkPixels} * bytes];

    const auto all = [&](const WindowRows& rows, uint8_t* out, uint32_t, uint32_t n) {
        median.sixthOfNine(rows.upper, rows.centre, rows.lower, out, size_t{n} * bytes, bytes);
    };
    const auto four = [&](const uint8_t* const* rows, uint8_t* const* outs, uint32_t n) {
        median.sixthInFourRows(rows, outs, size_t{n} * bytes, bytes);
    };
    const auto none = [&](const WindowRows& rows, uint8_t* out, uint32_t, uint32_t n) {
        std::memcpy(out, rows.centre, size_t{n} * bytes);
    };
    const auto some = [&](const WindowRows& rows, uint8_t* out, uint32_t i, uint32_t n) {
        all(rows, filtered, i, n);
        none(rows, out, i, n);
        for (uint64_t k = effort.next(i) - i; k < n; k += effort.step)
            std::memcpy(out + k * bytes, filtered + k * bytes, bytes);
    };
    runPasses(effort, walk.inPlace(), walk.height(), callback, [&](uint32_t j) -> uint32_t {
        if (effort.step == 1)
            return walk.lines(j, all, four);
        if (effort.next(j) == j)
            walk.line(j, some);
        else
            walk.line(j, none);
        return 1;
    });
}

// Marks the pixels of a run that are filtered, in bytes packed as the run is.
template <unsigned bits>
void markPixels(const Effort& effort, uint8_t* marks, const PackedRun& run)
{
    std::memset(marks, 0, run.bytes);
    for (uint64_t k = effort.next(run.i) - run.i; k < run.n; k += effort.step) {
        const uint64_t place = k * bits + run.phase;
        marks[place / 8] |= static_cast<uint8_t>((0xFF00U >> bits & 0xFF) >> place % 8);
    }
}

template <unsigned bits>
void filterBits(const Effort& effort, const AreaView& source, const AreaView& destination, ProgressCallback callback)
{
    const MedianKernels& median = *kernels().median;
    const auto majority = bits == 1 ? median.majorityOfBits : median.majorityOfNibbles;
    const auto inRows = bits == 1 ? median.majorityOfBitsInRows : median.majorityOfNibblesInRows;
    const auto inWords = bits == 1 ? median.majorityOfBitsInWords : median.majorityOfNibblesInWords;
    PackedWindows<bits> walk(source, destination);
    uint8_t marks[PackedWindows<bits>::runBytes];
    size_t marked = 0; // bytes of the run whose marks are at hand, and its first pixel
    uint32_t markedFrom = 0;

    const auto all = [](const PackedRun&, const uint8_t*, uint8_t*) {};
    const auto some = [&](const PackedRun& run, const uint8_t* centre, uint8_t* out) {
        if (marked != run.bytes || markedFrom != run.i)
            markPixels<bits>(effort, marks, run);
        marked = run.bytes;
        markedFrom = run.i;
        for (size_t k = 0; k < run.bytes; ++k)
            out[k] = static_cast<uint8_t>((centre[k] & ~marks[k]) | (out[k] & marks[k]));
    };
    runPasses(effort, walk.inPlace(), walk.height(), callback, [&](uint32_t j) -> uint32_t {
        const uint32_t together = effort.step == 1 ? walk.linesAt(j) : 0;
        if (together != 0) {
            walk.lines(j, together, inRows, inWords);
            return together;
        }
        if (effort.step == 1)
            walk.line(j, majority, all);
        else if (effort.next(j) == j)
            walk.line(j, majority, some);
        else
            walk.copyLine(j);
        return 1;
    });
}

using MedianWorker = void(const Effort& effort, const AreaView& source, const AreaView& destination,
                          ProgressCallback callback);

MedianWorker* workerOf(uint16_t type)
{
    switch (type) {
    case IMAGE_TYPE_16MRGB:
        return filterBytes<3>;
    case IMAGE_TYPE_8RGB:
        return filterBits<4>;
    case IMAGE_TYPE_256GRAY:
        return filterBytes<1>;
    case IMAGE_TYPE_BW:
        return filterBits<1>;
    default:
        return nullptr;
    }
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxMedianFiltering(uint32_t strength, const ImageArea* source, const ImageArea* destination,
                         ProgressCallback progress) noexcept
{
    MedianWorker* worker = workerOf(source->type);
    if (worker == nullptr || source->type != destination->type)
        return IMAGE_STATUS_BAD_ARGUMENT;
    if (source->height != 0 && destination->height != 0)
        worker(Effort(strength), AreaView(*source), AreaView(*destination), progress);
    return IMAGE_STATUS_OK;
}
