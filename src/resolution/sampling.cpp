// Scaling by sampling: every destination pixel is a source pixel, unchanged. Reductions keep the top-left pixel of each
// block and do not look at the others; enlargements repeat each pixel over its run.

#include "resolution/picked_columns.h"
#include "resolution/workers.h"

namespace lx
{

namespace
{

// The horizontal rule by plans, for reductions and for enlargements with short runs.
template <unsigned Channels, bool Packed, class Walker>
class PickedLine
{
  public:
    PickedLine(const AreaView& source, const AreaView& destination) noexcept
        : kernels_(*kernels().resample), columns_(Walker(source.width(), destination.width())), reader_(source),
          writer_(destination)
    {
    }

    void make(uint32_t j, uint32_t line) noexcept
    {
        columns_.forEach([&](const PickedColumns<Channels, Packed>& plan) {
            if (plan.count == 0)
                return;
            const uint8_t* in = reader_.read(plan.sourceFirst, line, plan.sourceCount);
            kernels_.pick(in, writer_.open(plan.first, j, plan.count), plan.groups, plan.groupCount);
            writer_.close();
        });
    }

  private:
    const ResampleKernels& kernels_;
    PlannedColumns<Walker, PickedColumns<Channels, Packed>> columns_;
    RowReader reader_;
    RowWriter writer_;
};

template <unsigned Channels>
void fillPixels(uint8_t* destination, const uint8_t* pixel, size_t pixels)
{
    if constexpr (Channels == 1) {
        std::memset(destination, *pixel, pixels);
    } else {
        for (size_t k = 0; k < pixels; ++k)
            std::memcpy(destination + Channels * k, pixel, Channels);
    }
}

// The horizontal rule run by run.
template <unsigned Channels, bool Packed>
class FilledLine
{
  public:
    FilledLine(const AreaView& source, const AreaView& destination) noexcept
        : runs_(source.width(), destination.width()), reader_(source), writer_(destination)
    {
    }

    void make(uint32_t j, uint32_t line) noexcept
    {
        RunWalker walker = runs_;
        Span run;
        for (uint32_t i = 0; walker.next(run); ++i) {
            const uint8_t* pixel = reader_.read(i, line, 1);
            walkChunks(run.length, Packed ? chunkPixels : run.length, [&](uint32_t k, uint32_t n) {
                fillPixels<Channels>(writer_.open(run.start + k, j, n), pixel, n);
                writer_.close();
            });
        }
    }

  private:
    RunWalker runs_;
    RowReader reader_;
    RowWriter writer_;
};

template <class Line>
void sampleLines(const AreaView& source, const AreaView& destination, uint32_t reached, ProgressCallback progress)
{
    Line line(source, destination);
    scaleRows(
        source, destination, passShares(source, destination), progress,
        [&](uint32_t j, Span lines) {
            line.make(j, lines.start);
            return reached;
        },
        replicateLines(destination));
}

template <unsigned Channels, bool Packed>
int8_t sample(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    const AreaView from(source);
    const AreaView to(destination);
    if (from.width() > to.width()) {
        const BlockWalker<float> blocks(from.width(), to.width());
        sampleLines<PickedLine<Channels, Packed, BlockWalker<float>>>(from, to, pixelsReached(blocks), progress);
        return IMAGE_STATUS_OK;
    }
    const RunWalker runs(from.width(), to.width());
    const uint32_t reached = pixelsReached(runs);
    if (runs.longest() > longestPlannedRun)
        sampleLines<FilledLine<Channels, Packed>>(from, to, reached, progress);
    else
        sampleLines<PickedLine<Channels, Packed, RunWalker>>(from, to, reached, progress);
    return IMAGE_STATUS_OK;
}

template <unsigned Channels, bool Packed>
int8_t sampleType(uint16_t type, const ImageArea* source, const ImageArea* destination, ProgressCallback progress)
{
    if (!isScalable(*source, *destination, type))
        return IMAGE_STATUS_BAD_ARGUMENT;
    return sample<Channels, Packed>(*source, *destination, progress);
}

} // namespace

int8_t ScaleGray16BySampling(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    return sampleType<1, true>(IMAGE_TYPE_16GRAY, source, destination, progress);
}

int8_t ScaleColor16BySampling(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    return sampleType<1, true>(IMAGE_TYPE_16RGB, source, destination, progress);
}

int8_t Scale8ColorBySampling(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    return sampleType<1, true>(IMAGE_TYPE_8RGB, source, destination, progress);
}

int8_t ScaleGray256BySampling(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    return sampleType<1, false>(IMAGE_TYPE_256GRAY, source, destination, progress);
}

int8_t ScaleColor256BySampling(const ImageArea* source, const ImageArea* destination,
                               ProgressCallback progress) noexcept
{
    return sampleType<1, false>(IMAGE_TYPE_256RGB, source, destination, progress);
}

int8_t ScaleFullColorBySampling(const ImageArea* source, const ImageArea* destination,
                                ProgressCallback progress) noexcept
{
    return sampleType<3, false>(IMAGE_TYPE_16MRGB, source, destination, progress);
}

} // namespace lx
