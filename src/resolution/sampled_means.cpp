// Averaging of a sampled picture, for very strong reductions.
//
// The lines between are made as they are wanted: the columns of those that become one line are summed up on their way
// to the work area, or else averaged while they are still in the cache. All of them end up in the work area, as if it
// had been filled beforehand.

#include "resolution/averaged_line.h"
#include "resolution/sampled_line.h"
#include "resolution/workers.h"

namespace lx
{

namespace
{

bool shrinks(const ImageArea& from, const ImageArea& to)
{
    return from.width > to.width && from.height > to.height;
}

// The lines of a reduction by sampling, from the first one on.
template <unsigned Channels>
class SampledLines
{
  public:
    SampledLines(const AreaView& source, const AreaView& destination) noexcept
        : line_(source, destination), blocks_(source.height(), destination.height())
    {
    }

    // Makes lines of which none has been made, and sums their columns up if it can; returns whether it has done so.
    bool makeSums(Span lines, uint16_t* sums) noexcept
    {
        if (made_ != lines.start || !line_.makeSums(lines, blocks_, sums))
            return false;
        made_ += lines.length;
        return true;
    }

    // Makes the lines in front of `end` that are still missing, as far as the source goes.
    void makeUpTo(uint32_t end) noexcept
    {
        Span lines;
        while (made_ < end && blocks_.next(lines))
            line_.make(made_++, lines.start, lines.start + lines.length);
    }

  private:
    SampledLine<Channels, false, BlockWalker<float>> line_;
    BlockWalker<float> blocks_;
    uint32_t made_ = 0;
};

template <unsigned Channels>
void averageSamples(const AreaView& source, const AreaView& work, const AreaView& destination,
                    ProgressCallback progress)
{
    const BlockWalker<float> blocks(work.height(), destination.height());
    SampledLines<Channels> samples(source, work);
    AveragedLine<Channels> means(work, destination, blocks.longest());
    uint16_t* const sums = means.sums();
    reduceRows(blocks, destination.height(), progress, [&](uint32_t j, Span lines) {
        const bool summed = sums != nullptr && samples.makeSums(lines, sums);
        samples.makeUpTo(lines.start + lines.length);
        means.make(j, lines, summed);
    });
    samples.makeUpTo(work.height());
}

template <unsigned Channels>
int8_t reduceInSteps(uint16_t type, ScaleWorker* sample, ScaleWorker* average, const ImageArea* source,
                     const ImageArea* work, const ImageArea* destination, ProgressCallback progress)
{
    if (isScalable(*source, *work, type) && isScalable(*work, *destination, type) && shrinks(*source, *work) &&
        shrinks(*work, *destination)) {
        averageSamples<Channels>(AreaView(*source), AreaView(*work), AreaView(*destination), progress);
        return IMAGE_STATUS_OK;
    }
    const int8_t status = sample(source, work, nullptr);
    return status != IMAGE_STATUS_OK ? status : average(work, destination, progress);
}

} // namespace

int8_t ReduceGray256InSteps(const ImageArea* source, const ImageArea* work, const ImageArea* destination,
                            ProgressCallback progress) noexcept
{
    return reduceInSteps<1>(IMAGE_TYPE_256GRAY, ScaleGray256BySampling, ScaleGray256ByAveraging, source, work,
                            destination, progress);
}

int8_t ReduceFullColorInSteps(const ImageArea* source, const ImageArea* work, const ImageArea* destination,
                              ProgressCallback progress) noexcept
{
    return reduceInSteps<3>(IMAGE_TYPE_16MRGB, ScaleFullColorBySampling, ScaleFullColorByAveraging, source, work,
                            destination, progress);
}

} // namespace lx
