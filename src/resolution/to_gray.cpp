// Bilevel to gray with a change of size: a block's gray is the mean of its pixels, smoothed if that is asked for.
//
// The mean is one of the number of white pixels. For large blocks it is defined by a sum of single-precision quotients,
// pixel by pixel in double precision. Up to 2^20 pixels every partial sum is exact: a quotient is a multiple of 2^-43,
// and no sum reaches 2^9. So the order does not matter, and two products say the same. Blocks beyond that size are
// added up as the rule is written.

#include "frame/gray_of_entry.h"
#include "frame/line_walk.h"
#include "resolution/bit_lines.h"
#include "resolution/scale_rows.h"
#include "resolution/workers.h"

namespace lx
{

namespace
{

// Both halves of the scale for the two passes, unlike with every other worker. This is deliberate.
constexpr PassShares halves = {25, 25};

constexpr uint64_t mostExactPixels = uint64_t{1} << 20;

uint8_t rounded(double sum)
{
    return static_cast<uint8_t>(std::min(sum + 0.5, 255.0));
}

// Means of blocks in which black and white have the levels given.
struct MeanGray {
    uint8_t black;
    uint8_t white;

    explicit MeanGray(const ColorPalette& palette)
        : black(grayOfEntry(palette.entries[0])), white(grayOfEntry(palette.entries[1]))
    {
    }

    // For at most mostExactPixels.
    class Block
    {
      public:
        Block(const MeanGray& levels, uint64_t columns, uint64_t lines)
            : small_(columns < 5 && lines < 5), pixels_(columns * lines), black_(levels.black), white_(levels.white),
              blackPart_(static_cast<float>(levels.black) / static_cast<float>(pixels_)),
              whitePart_(static_cast<float>(levels.white) / static_cast<float>(pixels_))
        {
        }

        uint8_t of(uint64_t whitePixels) const
        {
            const uint64_t blackPixels = pixels_ - whitePixels;
            if (small_)
                return static_cast<uint8_t>((whitePixels * white_ + blackPixels * black_) / pixels_);
            return rounded(static_cast<double>(whitePixels) * whitePart_ +
                           static_cast<double>(blackPixels) * blackPart_);
        }

      private:
        bool small_;
        uint64_t pixels_;
        uint64_t black_;
        uint64_t white_;
        double blackPart_;
        double whitePart_;
    };

    // The mean of any block, added up as the rule is written.
    uint8_t literal(const AreaView& source, Span columns, Span lines) const
    {
        const auto pixels = static_cast<float>(uint64_t{columns.length} * lines.length);
        const double parts[2] = {static_cast<float>(black) / pixels, static_cast<float>(white) / pixels};
        double sum = 0.0;
        uint64_t whites = 0;
        for (uint32_t i = columns.start; i - columns.start < columns.length; ++i) {
            for (uint32_t j = lines.start; j - lines.start < lines.length; ++j) {
                const unsigned bit = *source.at(i, j) >> (7 - source.phase(i)) & 1U;
                sum += parts[bit];
                whites += bit;
            }
        }
        return columns.length < 5 && lines.length < 5 ? Block(*this, columns.length, lines.length).of(whites)
                                                      : rounded(sum);
    }
};

// Lines of the means of blocks of at most mostExactPixels. Sizes are few, so small blocks go through tables of levels.
class MeanLine
{
  public:
    MeanLine(const MeanGray& gray, const AreaView& destination) noexcept : gray_(gray), destination_(destination) {}

    // Makes the plan's part of destination line j from `lines` rows, `stride` bytes apart.
    void make(uint32_t j, const BitColumns& plan, const uint8_t* row, ptrdiff_t stride, uint32_t lines) noexcept
    {
        const BitBlockTable& table = plan.table();
        uint8_t* levels = destination_.at(plan.first(), j);
        const uint32_t last = table.count - 1;
        uint64_t lastWhite = 0;
        if (plan.narrow()) {
            blocks_.countInBytes(table, row, stride, lines, counts_);
            pixels_.lookup(counts_, levels, table.count, levelsOf(table.length, lines, BitBlockTable::longBias).of);
            lastWhite = counts_[last] - table.bias[last];
        } else {
            for (uint32_t k = 0; k < table.count; k += someBlocks) {
                const uint32_t n = std::min(table.count - k, someBlocks);
                blocks_.count(table, k, n, row, stride, lines, whites_);
                shade(table, k, n, lines, levels + k);
                lastWhite = whites_[n - 1];
            }
        }
        levels[last] = MeanGray::Block(gray_, table.lastLength, lines).of(lastWhite);
    }

  private:
    // The levels of all counts, for blocks of `columns` columns and, from `longer` on, of one column more.
    struct Levels {
        static constexpr uint32_t most = 2048;

        uint32_t lines = 0;
        uint8_t of[2 * most];
    };

    void shade(const BitBlockTable& table, uint32_t k, uint32_t n, uint32_t lines, uint8_t* levels) noexcept
    {
        if ((uint64_t{table.length} + 1) * lines < Levels::most) {
            const uint8_t* of[2] = {};
            of[0] = levelsOf(table.length, lines, Levels::most).of;
            of[1] = of[0] + Levels::most;
            for (uint32_t i = 0; i < n; ++i)
                levels[i] = of[table.bias[k + i] / BitBlockTable::longBias][whites_[i]];
        } else {
            const MeanGray::Block blocks[2] = {{gray_, table.length, lines},
                                               {gray_, uint64_t{table.length} + 1, lines}};
            for (uint32_t i = 0; i < n; ++i)
                levels[i] = blocks[table.bias[k + i] / BitBlockTable::longBias].of(whites_[i]);
        }
    }

    const Levels& levelsOf(uint32_t columns, uint32_t lines, uint32_t longer) noexcept
    {
        Levels& levels = levels_[lines % 2];
        if (levels.lines == lines)
            return levels;
        levels.lines = lines;
        for (uint32_t more = 0; more < 2; ++more) {
            const uint32_t pixels = (columns + more) * lines;
            const MeanGray::Block block(gray_, columns + more, lines);
            for (uint32_t white = 0; white <= std::min(pixels, longer - 1); ++white)
                levels.of[more * longer + white] = block.of(white);
        }
        return levels;
    }

    static constexpr uint32_t someBlocks = 256;

    const BitBlockKernels& blocks_ = *kernels().bitBlocks;
    const PixelKernels& pixels_ = *kernels().pixels;
    MeanGray gray_;
    AreaView destination_;
    Levels levels_[2];
    uint64_t whites_[someBlocks];
    alignas(64) uint8_t counts_[Roomy<BitColumns>::limit];
};

// Blocks as `Columns` walks them.
template <class Columns>
void scaleToMeans(const MeanGray& gray, const AreaView& source, const AreaView& destination,
                  ProgressCallback progress) noexcept
{
    const uint32_t mostLines = longestBlock<BlockWalker<float>>(source.height(), destination.height());
    const Columns walker(source.width(), destination.width());
    PlannedColumns<Columns, Roomy<BitColumns>> columns(walker, source, mostLines);
    const bool exact = uint64_t{walker.longest()} * mostLines <= mostExactPixels;
    MeanLine line(gray, destination);
    const auto makeExact = [&](uint32_t j, Span lines) {
        uint32_t reached = 0;
        columns.forEach([&](const BitColumns& plan) {
            line.make(j, plan, plan.row(lines.start), source.lineStep(), lines.length);
            reached += plan.count();
        });
        return reached;
    };
    const auto makeLiteral = [&](uint32_t j, Span lines) {
        uint32_t reached = 0;
        Span block;
        for (Columns blocks = walker; blocks.next(block); ++reached)
            *destination.at(reached, j) = gray.literal(source, block, lines);
        return reached;
    };
    scaleRows(
        source, destination, halves, progress,
        [&](uint32_t j, Span lines) { return exact ? makeExact(j, lines) : makeLiteral(j, lines); },
        replicateLines(destination));
}

// Both axes enlarged: pixels repeated over their runs. To make a line anew is quicker than to read back the one before,
// unless a plan has to be made as well.
void repeatLevels(const MeanGray& gray, const AreaView& source, const AreaView& destination,
                  ProgressCallback progress) noexcept
{
    PickedBits<RepeatedBlockWalker> picked(source, destination.width());
    const BitKernels& bitKernels = *kernels().bits;
    const auto make = [&](uint32_t j, uint32_t line) {
        uint32_t reached = 0;
        picked.pick(line, [&](const uint8_t* bits, uint32_t i, uint32_t n) {
            uint8_t* levels = destination.at(i, j);
            bitKernels.unpackBits(bits, levels, n / 8, gray.black, gray.white);
            for (uint32_t k = n & ~7U; k < n; ++k)
                levels[k] = (bits[k / 8] >> (7 - k % 8) & 1) != 0 ? gray.white : gray.black;
            reached += n;
        });
        return reached;
    };
    repeatRows(RunWalker(source.height(), destination.height()), halves, progress, [&](Span run, uint32_t line) {
        const uint32_t reached = make(run.start, line);
        for (uint32_t t = 1; t < run.length; ++t) {
            if (picked.plansOnce())
                make(run.start + t, line);
            else
                replicateLine(destination, reached, run.start, run.start + t, bitKernels);
        }
    });
}

// Smoothing works in strips of the lines, which leave room on the stack for unsmoothed pixels.
constexpr uint32_t smoothStrip = 4096;

void smoothLine(uint8_t* line, uint32_t width) noexcept
{
    const ResampleKernels& resample = *kernels().resample;
    uint8_t unsmoothed[smoothStrip + 2];
    unsmoothed[0] = line[0];
    walkChunks(width, smoothStrip, [&](uint32_t i, uint32_t n) {
        std::memcpy(unsmoothed + 1, line + i, n);
        unsmoothed[n + 1] = line[std::min(i + n, width - 1)];
        resample.smooth(unsmoothed, unsmoothed + 1, unsmoothed + 2, line + i, n);
        unsmoothed[0] = unsmoothed[n];
    });
}

void smoothColumns(const AreaView& area, uint32_t width, uint32_t height) noexcept
{
    const ResampleKernels& resample = *kernels().resample;
    uint8_t unsmoothed[2][smoothStrip];
    walkChunks(width, smoothStrip, [&](uint32_t i, uint32_t n) {
        std::memcpy(unsmoothed[1], area.at(i, 0), n);
        for (uint32_t j = 0; j < height; ++j) {
            uint8_t* line = area.at(i, j);
            uint8_t* level = unsmoothed[j % 2];
            std::memcpy(level, line, n);
            const uint8_t* after = j + 1 < height ? area.at(i, j + 1) : level;
            resample.smooth(unsmoothed[(j + 1) % 2], level, after, line, n);
        }
    });
}

uint32_t reach(uint32_t source, uint32_t destination)
{
    return source > destination ? pixelsReached(BlockWalker<float>(source, destination))
                                : pixelsReached(RunWalker(source, destination));
}

} // namespace

int8_t ScaleBilevelToGrayByAveraging(const ColorPalette* palette, const ImageArea* source, const ImageArea* destination,
                                     ProgressCallback progress) noexcept
{
    if (!isScalable(*source, *destination, IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    const MeanGray gray(*palette);
    if (source->width > destination->width)
        scaleToMeans<BlockWalker<float>>(gray, from, to, progress);
    else if (source->height > destination->height)
        scaleToMeans<RepeatedBlockWalker>(gray, from, to, progress);
    else
        repeatLevels(gray, from, to, progress);
    return IMAGE_STATUS_OK;
}

int8_t ScaleBilevelToGraySmoothed(const ColorPalette* palette, const ImageArea* source, const ImageArea* destination,
                                  ProgressCallback progress) noexcept
{
    const int8_t status = ScaleBilevelToGrayByAveraging(palette, source, destination, progress);
    if (status != IMAGE_STATUS_OK)
        return status;
    const AreaView area(*destination);
    const uint32_t width = reach(source->width, destination->width);
    const uint32_t height = reach(source->height, destination->height);
    for (uint32_t j = 0; j < height; ++j)
        smoothLine(area.row(j), width);
    smoothColumns(area, width, height);
    return IMAGE_STATUS_OK;
}

} // namespace lx

using namespace lx;

int8_t lxResolutionAndImageTypeConvertToGrayscaleFromBW(uint32_t selector, const ColorPalette* palette,
                                                        const ImageArea* source, const ImageArea* destination,
                                                        ProgressCallback progress) noexcept
{
    constexpr uint32_t smooth = 3;
    const auto worker = selector == smooth ? ScaleBilevelToGraySmoothed : ScaleBilevelToGrayByAveraging;
    return worker(palette, source, destination, progress);
}
