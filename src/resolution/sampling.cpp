// Scaling by sampling: every destination pixel is a source pixel, unchanged. Reductions keep the top-left pixel of each
// block and do not look at the others; enlargements repeat each pixel over its run.

#include "resolution/sampled_line.h"
#include "resolution/workers.h"

namespace lx
{

namespace
{

template <unsigned Channels, bool Packed, class Blocks>
void sampleLines(const AreaView& source, const AreaView& destination, ProgressCallback progress)
{
    SampledLine<Channels, Packed, Blocks> line(source, destination);
    scaleRowsByRuns(
        source, destination, passShares(source, destination), progress,
        [&](uint32_t j, Span lines) { line.make(j, lines.start, lines.start + lines.length); },
        [&](const LineRuns& runs) { line.makeRuns(runs); });
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
