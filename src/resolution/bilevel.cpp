// Scaling of bilevel areas: by sampling, by black priority, by majority. Scaling by runs has a file of its own.
//
// Lines stay packed: the kernels pick single bits, or count the white pixels of all blocks of a line at once. Seen from
// its destination pixels an enlarged axis has blocks of one pixel, so that each rule serves every geometric case.

#include "resolution/all_white_line.h"
#include "resolution/bit_lines.h"
#include "resolution/scale_rows.h"
#include "resolution/workers.h"

#include <numeric>

namespace lx
{

namespace
{

// White where the share of white pixels, on a scale of 255 in single precision, is at least 128: half is black.
struct MostlyWhite {
    static uint64_t least(uint64_t columns, uint64_t lines)
    {
        const float scale = 255.0F / static_cast<float>(columns * lines);
        uint64_t tooFew = 0;
        uint64_t enough = columns * lines;
        while (enough - tooFew > 1) {
            const uint64_t white = tooFew + (enough - tooFew) / 2;
            (scale * static_cast<float>(white) >= 128.0F ? enough : tooFew) = white;
        }
        return enough;
    }
};

// Areas of one size that are blocks, some lines at a time: short lines are not worth a copy each.
void copyBlock(const AreaView& source, const AreaView& destination, ProgressCallback progress) noexcept
{
    constexpr uint32_t some = 32;
    const BitKernels& bits = *kernels().bits;
    const uint32_t height = source.height();
    enlargeRows(
        RunWalker(height, height), widthEnlarged, progress,
        [&](uint32_t j, Span) {
            if (j % some == 0)
                bits.copyBits(source.row(j), 0, destination.row(j), 0,
                              size_t{source.width()} * std::min(some, height - j));
            return destination.width();
        },
        [](Span, uint32_t) {});
}

template <class Columns>
void scaleBySampling(const AreaView& source, const AreaView& destination, ProgressCallback progress) noexcept
{
    PickedLine<Columns> line(source, destination);
    scaleRowsByRuns(
        source, destination, passShares(source, destination), progress,
        [&](uint32_t j, Span lines) { line.make(j, lines.start); }, [&](const LineRuns& runs) { line.makeRuns(runs); });
}

// Columns of blocks placed at random.
void reduceByMajority(const AreaView& source, const AreaView& destination, ProgressCallback progress) noexcept
{
    const uint32_t mostLines = longestBlock<PlacedBlockWalker>(source.height(), destination.height());
    PlacedBitColumns columns(source, destination.width(), mostLines);
    FlagLine<MostlyWhite> line(destination);
    scaleRowsPlaced(
        source, destination, widthReduced, progress,
        [&](uint32_t j, Span lines, uint32_t draw) {
            uint32_t reached = 0;
            columns.forEach(draw, [&](const BitColumns& plan) {
                line.make(j, plan, plan.row(lines.start), source.lineStep(), lines.length);
                reached += plan.count();
            });
            return reached;
        },
        replicateLines(destination));
}

// Every column repeated over its run.
void widenByMajority(const AreaView& source, const AreaView& destination, ProgressCallback progress) noexcept
{
    using Columns = RepeatedBlockWalker;
    const uint32_t mostLines = longestBlock<PlacedBlockWalker>(source.height(), destination.height());
    PlannedColumns<Columns, Roomy<BitColumns>> columns(Columns(source.width(), destination.width()), source, mostLines);
    FlagLine<MostlyWhite> line(destination);
    scaleRowsPlaced(
        source, destination, widthEnlarged, progress,
        [&](uint32_t j, Span lines, uint32_t) {
            columns.forEach([&](const BitColumns& plan) {
                line.make(j, plan, plan.row(lines.start), source.lineStep(), lines.length);
            });
            return destination.width();
        },
        replicateLines(destination));
}

// Replicates pixels, but whitens the destination lines first: columns that no run reaches end white here, unlike in
// every other enlargement. This is deliberate.
void enlargeByMajority(const AreaView& source, const AreaView& destination, ProgressCallback progress) noexcept
{
    seedDraws(); // as wherever a majority decides, though nothing is placed at random
    const BitKernels& bits = *kernels().bits;
    PickedLine<RepeatedBlockWalker> line(source, destination);
    repeatRowsTogether(RunWalker(source.height(), destination.height()), widthEnlarged, progress,
                       [&](const LineRuns& runs) {
                           const uint32_t reached = line.makeRuns(runs);
                           if (reached == destination.width())
                               return;
                           const uint32_t end = std::accumulate(runs.lengths, runs.lengths + runs.count, runs.start);
                           for (uint32_t j = runs.start; j != end; ++j)
                               bits.changeBits(destination.at(reached, j), destination.phase(reached),
                                               destination.width() - reached, 0, 0xFF);
                       });
}

} // namespace

int8_t ScaleBilevelBySampling(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    if (!isScalable(*source, *destination, IMAGE_TYPE_BW))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    const bool sameSize = from.width() == to.width() && from.height() == to.height();
    if (sameSize && from.isBlock(from.width()) && to.isBlock(to.width()))
        copyBlock(from, to, progress);
    else if (from.width() > to.width())
        scaleBySampling<BlockWalker<float>>(from, to, progress);
    else
        scaleBySampling<RepeatedBlockWalker>(from, to, progress);
    return IMAGE_STATUS_OK;
}

int8_t ScaleBilevelByMajority(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    if (!isScalable(*source, *destination, IMAGE_TYPE_BW))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    if (source->width > destination->width)
        reduceByMajority(from, to, progress);
    else if (source->height > destination->height)
        widenByMajority(from, to, progress);
    else
        enlargeByMajority(from, to, progress);
    return IMAGE_STATUS_OK;
}

int8_t ReduceBilevelBlackPriority(const ImageArea* source, const ImageArea* destination,
                                  ProgressCallback progress) noexcept
{
    if (!isScalable(*source, *destination, IMAGE_TYPE_BW) || source->width <= destination->width ||
        source->height <= destination->height)
        return IMAGE_STATUS_BAD_ARGUMENT;
    using Blocks = BlockWalker<double>;
    const AreaView from(*source);
    const AreaView to(*destination);
    AllWhiteLine<Blocks> line(from, to, Blocks(source->width, destination->width));
    reduceRows(Blocks(source->height, destination->height), destination->height, progress,
               [&](uint32_t j, Span lines) { line.make(j, lines); });
    return IMAGE_STATUS_OK;
}

} // namespace lx
