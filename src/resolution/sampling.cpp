// Scaling by sampling: every destination pixel is a source pixel, unchanged. Reductions keep the top-left pixel of each
// block and do not look at the others; enlargements repeat each pixel over its run.

#include "frame/row_io.h"
#include "resolution/picked_columns.h"
#include "resolution/workers.h"

namespace lx
{

namespace
{

// Makes the lines of one call.
template <unsigned Channels, bool Packed, class Blocks>
class PickedLine
{
  public:
    PickedLine(const AreaView& source, const AreaView& destination) noexcept
        : source_(source), destination_(destination), blocks_(source.width(), destination.width()), columns_(blocks_),
          reader_(source), writer_(destination)
    {
    }

    // `next` is the source line of the line to be made after this one.
    uint32_t make(uint32_t j, uint32_t line, uint32_t next) noexcept
    {
        const ptrdiff_t ahead = next - line > 1 && next < source_.height() ? source_.row(next) - source_.row(line) : 0;
        columns_.forEach([&](const PickedColumns<Channels>& plan) {
            if constexpr (Packed)
                pickPacked(plan, j, line);
            else
                kernels_.pick(source_.at(plan.sourceFirst, line), 0, ahead, destination_.at(plan.first, j), plan.groups,
                              plan.groupCount);
        });
        return reached_;
    }

  private:
    // By way of chunks, as many groups at a time as they hold.
    void pickPacked(const PickedColumns<Channels>& plan, uint32_t j, uint32_t line) noexcept
    {
        uint32_t first = plan.first;
        const PickGroup* const end = plan.groups + plan.groupCount;
        for (const PickGroup* group = plan.groups; group != end;) {
            const PickGroup* const begin = group;
            uint32_t pixels = 0;
            uint32_t sourcePixels = 0;
            for (; group != end && pixels + group->count <= chunkPixels; ++group) {
                const uint32_t reach = group->base - begin->base + group->last + 1;
                if (reach > chunkPixels)
                    break;
                pixels += group->count;
                sourcePixels = reach;
            }
            const uint8_t* in = reader_.read(plan.sourceFirst + begin->base, line, sourcePixels);
            kernels_.pick(in, begin->base, 0, writer_.open(first, j, pixels), begin,
                          static_cast<size_t>(group - begin));
            writer_.close();
            first += pixels;
        }
    }

    const ResampleKernels& kernels_ = *kernels().resample;
    const AreaView source_;
    const AreaView destination_;
    const Blocks blocks_;
    const uint32_t reached_ = pixelsReached(blocks_);
    PlannedColumns<Blocks, PickedColumns<Channels>> columns_;
    RowReader reader_;
    RowWriter writer_;
};

template <unsigned Channels, bool Packed, class Blocks>
void sampleLines(const AreaView& source, const AreaView& destination, ProgressCallback progress)
{
    PickedLine<Channels, Packed, Blocks> line(source, destination);
    uint32_t sourceLine = 0;
    const auto makeLine = [&](uint32_t j, Span lines) {
        sourceLine = lines.start;
        return line.make(j, sourceLine, sourceLine + lines.length);
    };
    // To pick a line anew is quicker than to read back what has just been written, unless it has to be packed.
    const auto pickAgain = [&](Span run, uint32_t) {
        for (uint32_t t = 1; t < run.length; ++t)
            line.make(run.start + t, sourceLine, sourceLine);
    };
    const PassShares shares = passShares(source, destination);
    if constexpr (Packed)
        scaleRows(source, destination, shares, progress, makeLine, replicateLines(destination));
    else
        scaleRows(source, destination, shares, progress, makeLine, pickAgain);
}

template <unsigned Channels, bool Packed>
int8_t sample(uint16_t type, const ImageArea* source, const ImageArea* destination, ProgressCallback progress)
{
    if (!isScalable(*source, *destination, type))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    if (from.width() > to.width())
        sampleLines<Channels, Packed, BlockWalker<float>>(from, to, progress);
    else
        sampleLines<Channels, Packed, RepeatedBlockWalker>(from, to, progress);
    return IMAGE_STATUS_OK;
}

} // namespace

int8_t ScaleGray16BySampling(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    return sample<1, true>(IMAGE_TYPE_16GRAY, source, destination, progress);
}

int8_t ScaleColor16BySampling(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    return sample<1, true>(IMAGE_TYPE_16RGB, source, destination, progress);
}

int8_t Scale8ColorBySampling(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    return sample<1, true>(IMAGE_TYPE_8RGB, source, destination, progress);
}

int8_t ScaleGray256BySampling(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    return sample<1, false>(IMAGE_TYPE_256GRAY, source, destination, progress);
}

int8_t ScaleColor256BySampling(const ImageArea* source, const ImageArea* destination,
                               ProgressCallback progress) noexcept
{
    return sample<1, false>(IMAGE_TYPE_256RGB, source, destination, progress);
}

int8_t ScaleFullColorBySampling(const ImageArea* source, const ImageArea* destination,
                                ProgressCallback progress) noexcept
{
    return sample<3, false>(IMAGE_TYPE_16MRGB, source, destination, progress);
}

} // namespace lx
