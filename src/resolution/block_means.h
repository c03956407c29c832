// Means of blocks of bytes, the horizontal rule of averaging.
//
// A block of at most 4 lines by 4 columns has the integer mean, truncated. A larger one has the sum of
// value / (lines * columns), line by line and from left to right, in double precision, truncated. The two are kept as
// they are, though the running sum may fall short of an integer: deliberately.
//
// The running sum is taken only where it can matter. It differs from the sum of the values divided by n, the number of
// pixels, by less than n 2^-46 + 2^-45, which is below 1 / n for n up to 2^20, while a quotient that is no integer is
// 1 / n or more away from the next one: only sums that divide evenly are in doubt. Blocks of a single value, paper
// above all, are among them, so their results are kept.

#pragma once

#include "frame/area_view.h"
#include "kernels/kernels.h"
#include "resolution/scale_rows.h"

#include <cstring>

namespace lx
{

// A block of pixels in memory, one component of it.
struct ByteBlock {
    const uint8_t* first;
    ptrdiff_t lineStep;
    unsigned channels;
    uint32_t lines;
    uint32_t columns;

    const uint8_t* line(uint32_t j) const { return first + static_cast<ptrdiff_t>(j) * lineStep; }
};

inline bool isSmallBlock(uint32_t lines, uint32_t columns)
{
    return lines < 5 && columns < 5;
}

// The running sums of large blocks of one size.
class LargeMean
{
  public:
    // Blocks of `lines` by `columns`.
    void setSize(uint32_t lines, uint32_t columns) noexcept
    {
        const uint64_t pixels = uint64_t{lines} * columns;
        if (pixels == pixels_)
            return;
        pixels_ = pixels;
        const double divisor = static_cast<float>(pixels);
        for (unsigned value = 0; value < 256; ++value)
            shares_[value] = value / divisor;
        std::memset(known_, 0, sizeof known_);
    }

    // The mean of a block whose pixels are all `value`.
    uint8_t ofFlat(uint8_t value) noexcept
    {
        if (!known_[value]) {
            double sum = 0.0;
            for (uint64_t i = 0; i < pixels_; ++i)
                sum += shares_[value];
            flat_[value] = static_cast<uint8_t>(sum);
            known_[value] = true;
        }
        return flat_[value];
    }

    uint8_t ofBlock(const ByteBlock& block) noexcept
    {
        if (isFlat(block))
            return ofFlat(*block.first);
        uint8_t mean;
        ofBlocks<1>(block, &block.first, [&](unsigned, uint8_t value) { mean = value; });
        return mean;
    }

    // The same of N blocks of one shape, each starting at a pixel of its own: calls put(k, mean) for each. The sums are
    // taken side by side, since every addition has to wait for the one before.
    template <unsigned N, class Put>
    void ofBlocks(const ByteBlock& shape, const uint8_t* const* firsts, Put put) const noexcept
    {
        double sums[N] = {};
        for (uint32_t j = 0; j < shape.lines; ++j) {
            const ptrdiff_t line = static_cast<ptrdiff_t>(j) * shape.lineStep;
            for (uint32_t i = 0; i < shape.columns; ++i) {
                const ptrdiff_t pixel = line + static_cast<ptrdiff_t>(size_t{i} * shape.channels);
                for (unsigned k = 0; k < N; ++k)
                    sums[k] += shares_[firsts[k][pixel]];
            }
        }
        for (unsigned k = 0; k < N; ++k)
            put(k, static_cast<uint8_t>(sums[k]));
    }

    static bool isFlat(const ByteBlock& block)
    {
        for (uint32_t j = 0; j < block.lines; ++j) {
            const uint8_t* pixel = block.line(j);
            for (uint32_t i = 0; i < block.columns; ++i) {
                if (pixel[size_t{i} * block.channels] != *block.first)
                    return false;
            }
        }
        return true;
    }

  private:
    uint64_t pixels_ = 0;
    double shares_[256];
    bool known_[256] = {};
    uint8_t flat_[256];
};

// A Plan of blocks of at most two widths, `width` and one pixel more.
template <unsigned Channels>
struct BlockPlan {
    static constexpr uint32_t componentLimit = 8192;
    static constexpr uint32_t widest = componentLimit / Channels; // that a block may be

    uint32_t first = 0;       // destination pixel
    uint32_t sourceFirst = 0; // source pixel
    BlockColumns columns = {Channels, 0, 0, 0, starts, begins, wide, wideMeans};
    uint32_t starts[componentLimit / Channels + 1];
    uint64_t begins[componentLimit / 64 + 1];
    uint64_t wide[componentLimit / 64 + 1];
    uint64_t wideMeans[componentLimit / 64 + 1];

    BlockPlan() = default;
    BlockPlan(const BlockPlan&) = delete;
    BlockPlan& operator=(const BlockPlan&) = delete;

    template <class Walker>
    uint32_t take(Walker& walker, uint32_t from) noexcept
    {
        first = from;
        columns.blocks = 0;
        columns.components = 0;
        std::memset(begins, 0, sizeof begins);
        std::memset(wide, 0, sizeof wide);
        std::memset(wideMeans, 0, sizeof wideMeans);
        for (Walker before = walker; walker.next(lastTaken_); before = walker) {
            if (!add(lastTaken_)) {
                walker = before;
                break;
            }
        }
        starts[columns.blocks] = columns.components / Channels;
        return columns.blocks;
    }

  private:
    bool add(Span block)
    {
        if (columns.blocks == 0) {
            sourceFirst = block.start;
            columns.width = block.length;
        }
        if (columns.components + block.length * Channels > componentLimit)
            return false;
        // The first block may turn out to be a wide one, and the last block of a line may be cut.
        if (block.length + 1 == columns.width && !anyWide()) {
            columns.width = block.length;
            std::memcpy(wide, begins, sizeof wide);
            for (uint32_t k = 0; k < columns.blocks * Channels; ++k)
                mark(wideMeans, k);
        }
        const bool isWide = block.length == columns.width + 1;
        if (!isWide && block.length != columns.width)
            return false;
        for (unsigned c = 0; c < Channels; ++c) {
            mark(begins, columns.components + c);
            if (isWide) {
                mark(wide, columns.components + c);
                mark(wideMeans, columns.blocks * Channels + c);
            }
        }
        starts[columns.blocks++] = block.start - sourceFirst;
        columns.components += block.length * Channels;
        return true;
    }

    bool anyWide() const
    {
        uint64_t any = 0;
        for (const uint64_t bits : wide)
            any |= bits;
        return any != 0;
    }

    static void mark(uint64_t* bits, uint32_t at) { bits[at / 64] |= uint64_t{1} << at % 64; }

    Span lastTaken_;
};

// The means of blocks of a few columns.
template <unsigned Channels>
class BlockMeans
{
  public:
    // Blocks of up to `lines` by `columns` pixels will do.
    static bool canMake(uint32_t lines, uint32_t columns)
    {
        return lines <= tallest && columns <= BlockPlan<Channels>::widest && uint64_t{lines} * columns <= mostPixels;
    }

    explicit BlockMeans(const AreaView& source) noexcept : kernels_(*kernels().resample), source_(source) {}

    // Where make() finds the columns of a plan if they have been summed before; there is room for 64 words more.
    uint16_t* sums() { return sums_; }

    // The blocks that `columns` cuts from some lines, starting at a pixel of the source. canMake() holds for them. Uses
    // sums() up if the columns are `summed`.
    void make(const BlockColumns& columns, uint32_t first, Span lines, bool summed, uint8_t* means) noexcept
    {
        BlockRule rule;
        for (unsigned kind = 0; kind < 2; ++kind) {
            const uint32_t width = columns.width + kind;
            rule.pixels[kind] = lines.length * width;
            rule.marked[kind] = !isSmallBlock(lines.length, width);
            rule.white[kind] = rule.marked[kind] ? largeMean(lines.length, width).ofFlat(255) : uint8_t{255};
        }
        const uint8_t* source = source_.at(first, lines.start);
        const bool anyMark =
            summed ? kernels_.meansOfSums(sums_, columns, rule, means, marks_)
                   : kernels_.blockMeans(source, source_.lineStep(), lines.length, columns, rule, sums_, means, marks_);
        if (anyMark)
            settleMarked(columns, lines, source, means);
    }

    // Any block, by itself.
    void makeOne(Span columns, Span lines, uint8_t* means) noexcept
    {
        for (unsigned c = 0; c < Channels; ++c)
            means[c] = meanOf({source_.at(columns.start, lines.start) + c, source_.lineStep(), Channels, lines.length,
                               columns.length});
    }

  private:
    static constexpr uint32_t tallest = 257; // column sums fit 16 bits
    static constexpr uint64_t mostPixels = 1U << 20;

    LargeMean& largeMean(uint32_t lines, uint32_t columns)
    {
        // Neighbouring sizes of both axes find a place each.
        LargeMean& mean = large_[lines % 2][columns % 2];
        mean.setSize(lines, columns);
        return mean;
    }

    // The next marked component from k on, `count` if there is none.
    uint32_t nextMark(uint32_t k, uint32_t count) const
    {
        const void* mark = std::memchr(marks_ + k, blockMark, count - k);
        return mark != nullptr ? static_cast<uint32_t>(static_cast<const uint8_t*>(mark) - marks_) : count;
    }

    // Blocks of one width in doubt that wait for others.
    struct Doubtful {
        static constexpr unsigned most = 4;

        const uint8_t* firsts[most];
        uint32_t means[most];
        unsigned count = 0;
    };

    // Puts the running sum in the place of the means that are in doubt.
    void settleMarked(const BlockColumns& columns, Span lines, const uint8_t* source, uint8_t* means)
    {
        Doubtful doubtful[2];
        const uint32_t count = columns.blocks * Channels;
        for (uint32_t k = nextMark(0, count); k < count; k = nextMark(k + 1, count)) {
            const uint32_t start = columns.starts[k / Channels];
            const uint32_t width = columns.starts[k / Channels + 1] - start;
            const ByteBlock block = {source + size_t{start} * Channels + k % Channels, source_.lineStep(), Channels,
                                     lines.length, width};
            if (LargeMean::isFlat(block)) {
                means[k] = largeMean(lines.length, width).ofFlat(*block.first);
                continue;
            }
            Doubtful& waiting = doubtful[width - columns.width];
            waiting.firsts[waiting.count] = block.first;
            waiting.means[waiting.count++] = k;
            if (waiting.count == Doubtful::most)
                settle(waiting, block, means);
        }
        for (unsigned kind = 0; kind < 2; ++kind)
            settle(doubtful[kind], {nullptr, source_.lineStep(), Channels, lines.length, columns.width + kind}, means);
    }

    void settle(Doubtful& doubtful, const ByteBlock& shape, uint8_t* means)
    {
        if (doubtful.count == 0)
            return;
        for (; doubtful.count < Doubtful::most; ++doubtful.count) {
            doubtful.firsts[doubtful.count] = doubtful.firsts[0];
            doubtful.means[doubtful.count] = doubtful.means[0];
        }
        largeMean(shape.lines, shape.columns)
            .template ofBlocks<Doubtful::most>(shape, doubtful.firsts,
                                               [&](unsigned k, uint8_t mean) { means[doubtful.means[k]] = mean; });
        doubtful.count = 0;
    }

    uint8_t meanOf(const ByteBlock& block)
    {
        const uint64_t pixels = uint64_t{block.lines} * block.columns;
        if (pixels > mostPixels)
            return largeMean(block.lines, block.columns).ofBlock(block);
        uint32_t sum = 0;
        for (uint32_t j = 0; j < block.lines; ++j) {
            for (uint32_t i = 0; i < block.columns; ++i)
                sum += block.line(j)[size_t{i} * Channels];
        }
        const auto n = static_cast<uint32_t>(pixels);
        if (sum % n != 0 || sum == 0 || isSmallBlock(block.lines, block.columns))
            return static_cast<uint8_t>(sum / n);
        return largeMean(block.lines, block.columns).ofBlock(block);
    }

    const ResampleKernels& kernels_;
    const AreaView source_;
    LargeMean large_[2][2];
    alignas(64) uint16_t sums_[BlockPlan<Channels>::componentLimit + 64];
    alignas(64) uint8_t marks_[BlockPlan<Channels>::componentLimit + 64];
};

} // namespace lx
