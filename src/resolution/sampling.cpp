// Scaling by sampling: every destination pixel is a source pixel, unchanged. Reductions keep the top-left pixel of each
// block and do not look at the others; enlargements repeat each pixel over its run.

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
        : blocks_(source.width(), destination.width()), columns_(blocks_), reader_(source), writer_(destination)
    {
    }

    uint32_t make(uint32_t j, uint32_t line) noexcept
    {
        columns_.forEach([&](const PickedColumns<Channels, Packed>& plan) {
            const uint8_t* in = reader_.read(plan.sourceFirst, line, plan.sourceCount);
            kernels_.pick(in, writer_.open(plan.first, j, plan.count), plan.groups, plan.groupCount);
            writer_.close();
        });
        return reached_;
    }

  private:
    const ResampleKernels& kernels_ = *kernels().resample;
    const Blocks blocks_;
    const uint32_t reached_ = pixelsReached(blocks_);
    PlannedColumns<Blocks, PickedColumns<Channels, Packed>> columns_;
    RowReader reader_;
    RowWriter writer_;
};

template <unsigned Channels, bool Packed, class Blocks>
void sampleLines(const AreaView& source, const AreaView& destination, ProgressCallback progress)
{
    PickedLine<Channels, Packed, Blocks> line(source, destination);
    scaleRows(
        source, destination, passShares(source, destination), progress,
        [&](uint32_t j, Span lines) { return line.make(j, lines.start); }, replicateLines(destination));
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
