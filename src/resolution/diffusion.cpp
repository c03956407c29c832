// Scaling of 8-colour pictures: each colour bit of a block becomes its share of set pixels, thresholded, half of the
// error going on to the next block of the line.
//
// Blocks are placed at random as those of bilevel majority are. Where only one axis shrinks, blocks are one pixel thick
// on the other, and what a block becomes is repeated over its run there.

#include "frame/line_walk.h"
#include "resolution/scale_rows.h"
#include "resolution/workers.h"

#include <cstring>

namespace lx
{

namespace
{

constexpr unsigned colorBits = 3;

// Set pixels of a block, for each colour bit.
struct BitCounts {
    uint64_t of[colorBits];
};

// Bit c of an index in the c-th group of 21 bits, to add up the bits of up to 2^21 - 1 pixels at a time.
constexpr unsigned laneBits = 21;

constexpr uint64_t spreadBits(unsigned index)
{
    return uint64_t{index & 1} | uint64_t{index >> 1 & 1} << laneBits | uint64_t{index >> 2 & 1} << 2 * laneBits;
}

constexpr uint64_t spread[16] = {
    spreadBits(0),  spreadBits(1),  spreadBits(2),  spreadBits(3),  spreadBits(4),  spreadBits(5),
    spreadBits(6),  spreadBits(7),  spreadBits(8),  spreadBits(9),  spreadBits(10), spreadBits(11),
    spreadBits(12), spreadBits(13), spreadBits(14), spreadBits(15),
};

// The thresholds of one line, with the errors that it carries.
class ErrorCarry
{
  public:
    // The index that a block of `pixels` pixels becomes; bit 3 is clear.
    unsigned take(const BitCounts& counts, double pixels)
    {
        const double weight = 255.0 / pixels;
        unsigned index = 0;
        for (unsigned c = 0; c < colorBits; ++c) {
            double v = weight * static_cast<double>(counts.of[c]) + 0.5 * errors_[c];
            v = v < 0.0 ? 0.0 : v;
            v = v > 255.0 ? 255.0 : v;
            const unsigned on = v >= 128.0 ? 1 : 0;
            errors_[c] = v - 255.0 * on; // no branch: the outcome is anyone's guess
            index |= on << c;
        }
        return index;
    }

  private:
    double errors_[colorBits] = {};
};

// Pixels of a destination line in order, collected in chunks.
class PixelRun
{
  public:
    explicit PixelRun(const AreaView& destination) noexcept : writer_(destination) {}

    void begin(uint32_t j)
    {
        line_ = j;
        first_ = 0;
        count_ = 0;
    }

    void put(unsigned index, uint32_t pixels)
    {
        walkChunks(pixels, chunkPixels, [&](uint32_t, uint32_t n) {
            if (count_ + n > chunkPixels)
                flush();
            std::memset(chunk_ + count_, static_cast<int>(index), n);
            count_ += n;
        });
    }

    void flush()
    {
        std::memcpy(writer_.open(first_, line_, count_), chunk_, count_);
        writer_.close();
        first_ += count_;
        count_ = 0;
    }

    uint32_t position() const { return first_ + count_; }

  private:
    RowWriter writer_;
    uint32_t line_ = 0;
    uint32_t first_ = 0;
    uint32_t count_ = 0;
    uint8_t chunk_[chunkPixels];
};

class DiffusedLine
{
  public:
    DiffusedLine(const AreaView& source, const AreaView& destination) noexcept
        : blocks_(source.width(), destination.width()), runs_(source.width(), destination.width()), reader_(source),
          pixels_(destination)
    {
    }

    uint32_t reduce(uint32_t j, Span lines, uint32_t draw) noexcept
    {
        PlacedBlockWalker walker = blocks_;
        walker.place(draw);
        return make(
            j, lines, walker, [this](uint32_t k) { return spans_.spans[k]; }, [](uint32_t) { return 1U; });
    }

    uint32_t enlarge(uint32_t j, Span lines) noexcept
    {
        return make(
            j, lines, RunWalker(runs_),
            [this](uint32_t k) {
                return Span{spans_.first + k, 1};
            },
            [this](uint32_t k) { return spans_.spans[k].length; });
    }

  private:
    // Makes a line of the blocks or runs of `walker`. columns(k) gives the source columns of the k-th of spans_, and
    // width(k) its destination pixels. Returns the number of pixels made.
    template <class Walker, class Columns, class Width>
    uint32_t make(uint32_t j, Span lines, Walker walker, Columns columns, Width width) noexcept
    {
        ErrorCarry carry;
        pixels_.begin(j);
        for (uint32_t first = 0; !walker.done();) {
            first += spans_.take(walker, first);
            count(lines, columns);
            for (uint32_t k = 0; k < spans_.count; ++k)
                pixels_.put(carry.take(counts_[k], static_cast<double>(lines.length) * columns(k).length), width(k));
        }
        pixels_.flush();
        return pixels_.position();
    }

    template <class Columns>
    void count(Span lines, Columns columns) noexcept
    {
        std::memset(counts_, 0, spans_.count * sizeof counts_[0]);
        const uint32_t begin = columns(0).start;
        const Span last = columns(spans_.count - 1);
        uint32_t k = 0;
        walkChunks(last.start + last.length - begin, chunkPixels, [&](uint32_t i, uint32_t n) {
            // Each entry holds the bits of few enough lines; taller blocks come in parts.
            walkChunks(lines.length, mostLines, [&](uint32_t line, uint32_t height) {
                addPart({lines.start + line, height}, begin + i, n, k, columns);
            });
            while (k < spans_.count && columns(k).start + columns(k).length <= begin + i + n)
                ++k;
        });
    }

    // Adds the pixels `first` to `first` + n - 1 of some lines to their blocks, from block k on.
    template <class Columns>
    void addPart(Span lines, uint32_t first, uint32_t n, uint32_t k, Columns columns) noexcept
    {
        std::memset(sums_, 0, n * sizeof sums_[0]);
        for (uint32_t line = lines.start; line < lines.start + lines.length; ++line) {
            const uint8_t* row = reader_.read(first, line, n);
            for (uint32_t i = 0; i < n; ++i)
                sums_[i] += spread[row[i]];
        }
        for (uint32_t i = 0; i < n; ++k) {
            const Span block = columns(k);
            const uint32_t end = std::min(block.start + block.length - first, n);
            uint64_t sum = 0;
            for (; i < end; ++i)
                sum += sums_[i];
            for (unsigned c = 0; c < colorBits; ++c)
                counts_[k].of[c] += sum >> c * laneBits & ((1U << laneBits) - 1);
        }
    }

    // So that a chunk of a block of this many lines stays below 2^21 pixels.
    static constexpr uint32_t mostLines = ((1U << laneBits) - 1) / chunkPixels;

    const PlacedBlockWalker blocks_;
    const RunWalker runs_;
    RowReader reader_;
    PixelRun pixels_;
    ColumnSpans spans_;
    BitCounts counts_[ColumnSpans::limit];
    uint64_t sums_[chunkPixels];
};

} // namespace

int8_t Scale8ColorByDiffusion(const ImageArea* source, const ImageArea* destination, ProgressCallback progress) noexcept
{
    if (!isScalable(*source, *destination, IMAGE_TYPE_8RGB))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    const bool widthShrinks = from.width() > to.width();
    if (!widthShrinks && from.height() <= to.height()) {
        seedDraws();
        return Scale8ColorBySampling(source, destination, progress);
    }
    DiffusedLine line(from, to);
    scaleRowsPlaced(
        from, to, passShares(from, to), progress,
        [&](uint32_t j, Span lines, uint32_t draw) {
            return widthShrinks ? line.reduce(j, lines, draw) : line.enlarge(j, lines);
        },
        replicateLines(to));
    return IMAGE_STATUS_OK;
}

} // namespace lx
