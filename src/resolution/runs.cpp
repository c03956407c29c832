// Scaling of bilevel areas by runs: black runs keep at least one pixel however strong the reduction, so that thin lines
// survive.
//
// The lines of a block are put together to one line that is white where all of theirs are; its black runs are found by
// looking for changes a word at a time, and each is mapped to a run of the destination. An enlarged axis repeats
// pixels.

#include "resolution/bit_lines.h"
#include "resolution/scale_rows.h"
#include "resolution/workers.h"

#include <bit>

namespace lx
{

namespace
{

// The width reduced and the height enlarged: the second pass has half of the scale, unlike with every other worker.
// This is deliberate.
constexpr PassShares reducedRuns = {0, 25};

// Bits 64 k to 64 k + 63 of a row of `bytes` bytes, ones after its end.
uint64_t wordOf(const uint8_t* row, size_t bytes, size_t k)
{
    uint64_t word = ~uint64_t{0};
    const uint8_t* from = row + 8 * k;
    const size_t n = std::min<size_t>(bytes - 8 * k, 8);
    for (size_t b = 0; b < n; ++b)
        word ^= static_cast<uint64_t>(from[b] ^ 0xFF) << (56 - 8 * b);
    return word;
}

// The black runs of a line, found part by part. Calls run(begin, end) for each as soon as it has ended.
class BlackRuns
{
  public:
    // Looks at n pixels, which follow those of the last call. The first of them is at place `phase` of the row.
    // Stops when `run` returns false.
    template <class Run>
    bool scan(const uint8_t* row, unsigned phase, uint32_t n, Run run) noexcept
    {
        const size_t end = size_t{phase} + n;
        const size_t bytes = (end + 7) / 8;
        for (size_t k = 0; k < (bytes + 7) / 8; ++k) {
            uint64_t word = wordOf(row, bytes, k);
            const uint64_t before = k == 0 ? ~(~uint64_t{0} >> phase) : 0;
            word = black_ ? word & ~before : word | before;
            const size_t left = end - 64 * k;
            const uint64_t after = left < 64 ? ~uint64_t{0} >> left : 0;
            word = (word & 1ULL << (64 - std::min<size_t>(left, 64))) != 0 ? word | after : word & ~after;
            const uint64_t carried = black_ ? 0 : uint64_t{1} << 63;
            for (uint64_t changes = word ^ (word >> 1 | carried); changes != 0;) {
                const auto place = static_cast<unsigned>(std::countl_zero(changes));
                changes ^= uint64_t{1} << 63 >> place;
                const auto pixel = static_cast<uint32_t>(position_ + 64 * k + place - phase);
                black_ = !black_;
                if (black_)
                    begin_ = pixel;
                else if (!run(begin_, pixel))
                    return false;
            }
        }
        position_ += n;
        return true;
    }

    // A run that goes on to the end of the line.
    template <class Run>
    void finish(Run run) noexcept
    {
        if (black_)
            run(begin_, static_cast<uint32_t>(position_));
    }

  private:
    bool black_ = false;
    uint32_t begin_ = 0;
    size_t position_ = 0;
};

// Black source pixels `begin` to `end` - 1 to destination pixels. The end is rounded up by 1 - r, r being the ratio of
// the widths, so that no run vanishes.
class RunMapper
{
  public:
    RunMapper(const AreaView& source, const AreaView& destination) noexcept
        : destination_(destination), ratio_(static_cast<double>(destination.width()) / source.width()),
          rounding_(1.0 - ratio_)
    {
    }

    // False when the line is full.
    bool paint(uint32_t j, uint32_t begin, uint32_t end) const noexcept
    {
        const uint32_t width = destination_.width();
        const auto from = static_cast<uint64_t>(begin * ratio_);
        if (from >= width)
            return false;
        const auto to = static_cast<uint64_t>(end * ratio_ + rounding_);
        fillBits(destination_, j, static_cast<uint32_t>(from), static_cast<uint32_t>(std::min<uint64_t>(to, width)),
                 false);
        return to < width;
    }

  private:
    AreaView destination_;
    double ratio_;
    double rounding_;
};

void reduceByRuns(const AreaView& source, const AreaView& destination, ProgressCallback progress) noexcept
{
    const RunMapper mapper(source, destination);
    const uint32_t width = source.width();
    uint8_t together[BitColumns::mostBytes];
    scaleRows(
        source, destination, reducedRuns, progress,
        [&](uint32_t j, Span lines) {
            const auto paint = [&](uint32_t begin, uint32_t end) { return mapper.paint(j, begin, end); };
            fillBits(destination, j, 0, destination.width(), true);
            BlackRuns runs;
            bool open = true;
            for (uint32_t i = 0; open && i < width;) {
                const uint32_t n = std::min(width - i, BitColumns::mostBits);
                const unsigned phase = source.phase(i);
                const uint8_t* row = source.at(i, lines.start);
                kernels().bitBlocks->andRows(row, source.lineStep(), lines.length, together,
                                             (size_t{phase} + n + 7) / 8);
                open = runs.scan(together, phase, n, paint);
                i += n;
            }
            if (open)
                runs.finish(paint);
            return destination.width();
        },
        replicateLines(destination));
}

// Every column repeated over its run, black where any line of the block is.
void widenByRuns(const AreaView& source, const AreaView& destination, ProgressCallback progress) noexcept
{
    PickedLine<RepeatedBlockWalker> line(source, destination);
    uint8_t together[BitColumns::mostBytes];
    scaleRows(
        source, destination, widthEnlarged, progress,
        [&](uint32_t j, Span lines) {
            return line.makeFrom(j, [&](const BitPicks& plan) -> const uint8_t* {
                const uint8_t* row = plan.row(lines.start);
                if (lines.length == 1)
                    return row;
                kernels().bitBlocks->andRows(row, source.lineStep(), lines.length, together, plan.bytes());
                return together;
            });
        },
        replicateLines(destination));
}

} // namespace

int8_t ScaleBilevelByRuns(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    if (!isScalable(*source, *destination, IMAGE_TYPE_BW))
        return IMAGE_STATUS_BAD_ARGUMENT;
    if (source->width > destination->width)
        reduceByRuns(AreaView(*source), AreaView(*destination), progress);
    else
        widenByRuns(AreaView(*source), AreaView(*destination), progress);
    return IMAGE_STATUS_OK;
}

} // namespace lx
