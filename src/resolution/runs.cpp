// Scaling of bilevel areas by runs: black runs keep at least one pixel however strong the reduction, so that thin lines
// survive.
//
// The lines of a block are put together to one line that is white where all of theirs are; its black runs are found by
// looking for changes a word at a time, and each is mapped to a run of the destination. At most widths, each source
// column is mapped to one destination pixel of its own, wherever runs begin and end: blocks of columns do then. An
// enlarged axis repeats pixels.

#include "resolution/all_white_line.h"
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

constexpr size_t padding = 7; // bytes that may be read after the end of a row

uint64_t wordAt(const uint8_t* bytes)
{
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

// The black runs of a line, found part by part. Calls run(begin, end) for each as soon as it has ended.
class BlackRuns
{
  public:
    // Looks at n pixels, which follow those of the last call. The first of them is at place `phase` of the row, after
    // which there are `padding` bytes. Stops when `run` returns false.
    template <class Run>
    bool scan(const uint8_t* row, unsigned phase, uint32_t n, Run run) noexcept
    {
        const size_t end = size_t{phase} + n;
        for (size_t at = 0; at < end; at += 64) {
            const uint64_t word = wordAt(row + at / 8);
            const uint64_t carried = black_ ? 0 : uint64_t{1} << 63;
            uint64_t changes = word ^ (word >> 1 | carried);
            if (at == 0 && phase != 0) {
                // What stands before the first pixel counts as the colour before it.
                const uint64_t first = uint64_t{1} << 63 >> phase;
                changes = (changes & (first - 1)) | (((word & first) != 0) == black_ ? first : 0);
            }
            if (end - at < 64)
                changes &= ~(~uint64_t{0} >> (end - at));
            while (changes != 0) {
                const auto place = static_cast<unsigned>(std::countl_zero(changes));
                changes ^= uint64_t{1} << 63 >> place;
                const auto pixel = static_cast<uint32_t>(position_ + at + place - phase);
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

// Lines painted from left to right. Runs are kept as changes of colour in a window of bits that moves along the line;
// what is behind it is turned into colours and goes to the destination.
class LinePainter
{
  public:
    explicit LinePainter(const AreaView& destination) noexcept : destination_(destination) {}

    void begin(uint32_t j) noexcept
    {
        line_ = j;
        left_ = 0;
        painted_ = 0;
        black_ = 0;
    }

    // Pixels `from` to `to` - 1 become black; no run starts before the one painted last.
    void paint(uint32_t from, uint32_t to) noexcept
    {
        from = std::max(from, painted_);
        if (from >= to)
            return;
        change(from);
        painted_ = to;
        if (to < destination_.width())
            change(to);
    }

    void finish() noexcept
    {
        while (left_ < destination_.width())
            moveOn();
    }

  private:
    static constexpr uint32_t window = 8192;

    void change(uint32_t i) noexcept
    {
        while (i - left_ >= window)
            moveOn();
        changes_[(i - left_) / 64] ^= uint64_t{1} << 63 >> (i - left_) % 64;
    }

    void moveOn() noexcept
    {
        const uint32_t n = std::min(destination_.width() - left_, window);
        uint8_t colors[window / 8];
        for (uint32_t k = 0; k < (n + 63) / 64; ++k) {
            uint64_t word = changes_[k];
            for (unsigned reach = 1; reach < 64; reach *= 2)
                word ^= word >> reach;
            word ^= black_;
            black_ = 0 - (word & 1);
            for (unsigned b = 0; b < 8; ++b)
                colors[8 * k + b] = static_cast<uint8_t>(~word >> (56 - 8 * b));
            changes_[k] = 0;
        }
        bits_.copyBits(colors, 0, destination_.at(left_, line_), destination_.phase(left_), n);
        left_ += n;
    }

    const BitKernels& bits_ = *kernels().bits;
    AreaView destination_;
    uint32_t line_ = 0;
    uint32_t left_ = 0;    // left end of the window
    uint32_t painted_ = 0; // right end of the last run
    uint64_t black_ = 0;   // all ones if the pixel left of the window is black
    uint64_t changes_[window / 64] = {};
};

// Black source pixels `begin` to `end` - 1 to destination pixels. The end is rounded up by 1 - r, r being the ratio of
// the widths, so that no run vanishes.
class RunRule
{
  public:
    RunRule(uint32_t source, uint32_t destination) noexcept
        : ratio_(static_cast<double>(destination) / source), rounding_(1.0 - ratio_)
    {
    }

    int64_t from(uint32_t begin) const { return static_cast<int64_t>(begin * ratio_); }
    int64_t to(uint32_t end) const { return static_cast<int64_t>(end * ratio_ + rounding_); }

    // Whether every column covers exactly the destination pixel that it begins in, and each of these has q or q + 1
    // columns: a run then covers what its columns do. Where a product is an integer but for its rounding, this may not
    // be so.
    bool mapsColumns(uint32_t source, uint32_t destination) const noexcept
    {
        const uint32_t shortest = source / destination;
        uint32_t begin = 0; // of the columns of `pixel`
        int64_t pixel = 0;
        for (uint32_t column = 0; column < source; ++column) {
            const int64_t mine = from(column);
            if (mine != pixel) {
                const uint32_t length = column - begin;
                if (mine != pixel + 1 || length < shortest || length > shortest + 1)
                    return false;
                pixel = mine;
                begin = column;
            }
            if (to(column + 1) != mine + 1)
                return false;
        }
        return source - begin <= shortest + 1;
    }

  private:
    double ratio_;
    double rounding_;
};

// The columns of each destination pixel.
class RunColumns
{
  public:
    RunColumns(uint32_t source, uint32_t destination) noexcept
        : rule_(source, destination), source_(source), shortest_(source / destination)
    {
    }

    bool done() const { return position_ == source_; }

    bool next(Span& block) noexcept
    {
        if (done())
            return false;
        const int64_t pixel = rule_.from(position_);
        uint32_t end = position_ + 1;
        while (end != source_ && rule_.from(end) == pixel)
            ++end;
        block = {position_, end - position_};
        position_ = end;
        return true;
    }

    uint32_t shortest() const { return shortest_; }
    uint32_t longest() const { return shortest_ + 1; }

  private:
    RunRule rule_;
    uint32_t source_;
    uint32_t shortest_;
    uint32_t position_ = 0;
};

class RunMapper
{
  public:
    RunMapper(const AreaView& source, const AreaView& destination) noexcept
        : painter_(destination), width_(destination.width()), rule_(source.width(), width_)
    {
    }

    LinePainter& painter() { return painter_; }

    // False when the line is full.
    bool paint(uint32_t begin, uint32_t end) noexcept
    {
        const int64_t from = rule_.from(begin);
        const int64_t to = rule_.to(end);
        if (from >= width_)
            return false;
        painter_.paint(static_cast<uint32_t>(from), static_cast<uint32_t>(std::min<int64_t>(to, width_)));
        return to < width_;
    }

  private:
    LinePainter painter_;
    uint32_t width_;
    RunRule rule_;
};

// False, with nothing done, if that is not the same as runs or not quicker.
bool reduceByColumns(const AreaView& source, const AreaView& destination, ProgressCallback progress) noexcept
{
    if (!RunRule(source.width(), destination.width()).mapsColumns(source.width(), destination.width()))
        return false;
    AllWhiteLine<RunColumns> line(source, destination, RunColumns(source.width(), destination.width()));
    if (!line.gathers())
        return false;
    scaleRows(
        source, destination, reducedRuns, progress,
        [&](uint32_t j, Span lines) {
            line.make(j, lines);
            return destination.width();
        },
        replicateLines(destination));
    return true;
}

void reduceByRuns(const AreaView& source, const AreaView& destination, ProgressCallback progress) noexcept
{
    RunMapper mapper(source, destination);
    const uint32_t width = source.width();
    const BitBlockKernels& blocks = *kernels().bitBlocks;
    uint8_t together[BitColumns::mostBytes + padding] = {};
    scaleRows(
        source, destination, reducedRuns, progress,
        [&](uint32_t j, Span lines) {
            const auto paint = [&](uint32_t begin, uint32_t end) { return mapper.paint(begin, end); };
            mapper.painter().begin(j);
            BlackRuns runs;
            bool open = true;
            for (uint32_t i = 0; open && i < width;) {
                const uint32_t n = std::min(width - i, BitColumns::mostBits);
                const unsigned phase = source.phase(i);
                const uint8_t* row = source.at(i, lines.start);
                blocks.andRows(row, source.lineStep(), lines.length, together, (size_t{phase} + n + 7) / 8);
                open = runs.scan(together, phase, n, paint);
                i += n;
            }
            if (open)
                runs.finish(paint);
            mapper.painter().finish();
            return destination.width();
        },
        replicateLines(destination));
}

// Every column repeated over its run, black where any line of the block is.
void widenByRuns(const AreaView& source, const AreaView& destination, ProgressCallback progress) noexcept
{
    PickedLine<RepeatedBlockWalker> line(source, destination);
    const BitBlockKernels& blocks = *kernels().bitBlocks;
    uint8_t together[BitColumns::mostBytes];
    scaleRowsByRuns(
        source, destination, widthEnlarged, progress,
        [&](uint32_t j, Span lines) {
            const auto rowOf = [&](const BitPicks& plan) -> const uint8_t* {
                blocks.andRows(plan.row(lines.start), source.lineStep(), lines.length, together, plan.bytes());
                return together;
            };
            line.makeFrom({lines.start, j, 1, {1}}, rowOf, 0);
        },
        [&](const LineRuns& runs) { line.makeRuns(runs); });
}

} // namespace

int8_t ScaleBilevelByRuns(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    if (!isScalable(*source, *destination, IMAGE_TYPE_BW))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    if (from.width() <= to.width())
        widenByRuns(from, to, progress);
    else if (!reduceByColumns(from, to, progress))
        reduceByRuns(from, to, progress);
    return IMAGE_STATUS_OK;
}

} // namespace lx
