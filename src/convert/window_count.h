// Gray levels from the number of set pixels in a window that starts at the pixel and reaches right and down.
//
// The count of every column's window is kept from line to line. When the window moves down, one row enters and one
// leaves; walking from the right end of a line to the left, the change of a count is the change of its right
// neighbour plus what the column gains on its left side less what it loses on its right. Counts are integers, so this
// order is free, and no window size costs more than another. Wide areas are worked on in vertical strips, since the
// counts live on the stack; progress is reported with the last strip.

#pragma once

#include "frame/line_walk.h"

#include <numeric>

namespace lx
{

constexpr uint32_t stripColumns = 4096;

// The largest window whose counts are bytes.
constexpr uint32_t maxByteSize = 15;

// `Count` is uint32_t, or uint8_t for windows of less than 256 pixels, whose levels are looked up.
template <unsigned Planes, class Count>
class WindowCounts
{
  public:
    // Windows of `size` x `size`, cut at the right and bottom of the overlap, for the columns `left` to `right` - 1.
    WindowCounts(uint32_t size, const Overlap& overlap, uint32_t left, uint32_t right, double rounding) noexcept
        : kernels_(*kernels().window), size_(size), overlap_(overlap), left_(left), right_(right), rounding_(rounding),
          step_(255.0 / (2.0 * size - 1.0))
    {
        for (auto& counts : counts_)
            std::memset(counts, 0, (right - left) * sizeof counts[0]);
    }

    // Moves the windows down to line j: row j + size - 1 enters and row j - 1 leaves. Lines are taken in order.
    template <class Fetch>
    void moveTo(uint32_t j, Fetch fetch)
    {
        if (j == 0) {
            for (uint32_t row = 0; row < std::min(size_ - 1, overlap_.height); ++row)
                change({.enters = true, .leaves = false, .entering = row, .leaving = 0}, fetch);
            rowsInWindow_ = 0;
        }
        const bool enters = size_ - 1 < overlap_.height - j;
        change({.enters = enters, .leaves = j != 0, .entering = enters ? j + (size_ - 1) : 0, .leaving = j - 1}, fetch);
        setRows(std::min(size_, overlap_.height - j));
    }

    // Writes the levels of the strip's columns: level(plane) is where the first column's level goes.
    template <class Level>
    void shade(Level level) const
    {
        const uint32_t columns = right_ - left_;
        for (unsigned plane = 0; plane < Planes; ++plane) {
            if constexpr (sizeof(Count) == 1) {
                const uint32_t whole = std::min(columns, firstCut() - std::min(firstCut(), left_));
                kernels().pixels->lookup(counts_[plane], level(plane), whole, levels_);
                uint32_t counts[maxByteSize];
                std::copy(counts_[plane] + whole, counts_[plane] + columns, counts);
                kernels_.shade(counts, scales_ + whole, level(plane) + whole, 1, columns - whole, step_, rounding_);
            } else {
                kernels_.shade(counts_[plane], scales_, level(plane), Planes, columns, step_, rounding_);
            }
        }
    }

  private:
    struct Rows {
        bool enters;
        bool leaves;
        uint32_t entering;
        uint32_t leaving;
    };

    template <class Fetch>
    void change(const Rows& rows, Fetch fetch)
    {
        for (unsigned plane = 0; plane < Planes; ++plane) {
            int32_t moved = rightOfStrip(plane, rows, fetch);
            for (uint32_t end = right_; end != left_;) {
                const uint32_t begin = pieceBefore(end);
                const uint32_t n = end - begin;
                const bool inside = size_ < overlap_.width - begin;
                const uint32_t beyond = inside ? begin + size_ : 0;
                kernels_.drift(row(0, plane, begin, rows.entering, n, rows.enters, fetch),
                               row(1, plane, begin, rows.leaving, n, rows.leaves, fetch),
                               row(2, plane, beyond, rows.entering, n, rows.enters && inside, fetch),
                               row(3, plane, beyond, rows.leaving, n, rows.leaves && inside, fetch), drift_, n);
                moved = slide(counts_[plane] + (begin - left_), n, moved);
                end = begin;
            }
        }
    }

    // Where the piece that ends at `end` begins: a chunk to the left at most, and at the column from which on windows
    // are cut by the right edge.
    uint32_t pieceBefore(uint32_t end) const
    {
        const uint32_t begin = end - std::min(end - left_, chunkPixels);
        return begin < firstCut() && firstCut() < end ? firstCut() : begin;
    }

    // The first column whose window ends at the right edge or is cut by it.
    uint32_t firstCut() const { return overlap_.width - std::min(size_, overlap_.width); }

    int32_t slide(uint32_t* counts, uint32_t n, int32_t change) { return kernels_.slide(drift_, counts, n, change); }
    int32_t slide(uint8_t* counts, uint32_t n, int32_t change)
    {
        return kernels_.slideBytes(drift_, counts, n, change);
    }

    // What the window of the column right of the strip gains.
    template <class Fetch>
    int32_t rightOfStrip(unsigned plane, const Rows& rows, Fetch fetch)
    {
        int32_t gain = 0;
        const uint32_t end = right_ + std::min(size_, overlap_.width - right_);
        for (uint32_t i = right_; i < end;) {
            const uint32_t n = std::min(end - i, chunkPixels);
            const uint8_t* entering = row(0, plane, i, rows.entering, n, rows.enters, fetch);
            const uint8_t* leaving = row(1, plane, i, rows.leaving, n, rows.leaves, fetch);
            for (uint32_t k = 0; k < n; ++k)
                gain += entering[k] - leaving[k];
            i += n;
        }
        return gain;
    }

    template <class Fetch>
    const uint8_t* row(unsigned slot, unsigned plane, uint32_t i, uint32_t j, uint32_t n, bool exists, Fetch fetch)
    {
        if (exists)
            fetch(plane, i, j, n, flags_[slot]);
        else
            std::memset(flags_[slot], 0, n);
        return flags_[slot];
    }

    void setRows(uint32_t rows)
    {
        if (rows == rowsInWindow_)
            return;
        rowsInWindow_ = rows;
        const auto twice = static_cast<float>(2 * size_);
        for (uint32_t i = left_; i < right_; ++i) {
            const uint32_t columns = std::min(size_, overlap_.width - i);
            scales_[i - left_] = twice / static_cast<float>(columns * rows);
        }
        if constexpr (sizeof(Count) == 1) {
            uint32_t counts[256];
            float scales[256];
            std::iota(counts, counts + 256, 0U);
            std::fill(scales, scales + 256, twice / static_cast<float>(size_ * rows));
            kernels_.shade(counts, scales, levels_, 1, size_ * rows + 1, step_, rounding_);
        }
    }

    const WindowKernels& kernels_;
    const uint32_t size_;
    const Overlap overlap_;
    const uint32_t left_;
    const uint32_t right_;
    const double rounding_;
    const double step_;
    uint32_t rowsInWindow_ = 0;
    uint8_t levels_[256] = {}; // of the counts of windows that are not cut at the right
    alignas(64) Count counts_[Planes][stripColumns];
    alignas(64) float scales_[stripColumns];
    alignas(64) uint8_t flags_[4][chunkPixels];
    alignas(64) uint8_t drift_[chunkPixels];
};

// Shades `Planes` bit planes into interleaved bytes. fetch(plane, i, j, n, flags) unpacks the pixels i to i + n - 1 of
// line j to 0 and 1; level(plane, i, j) is where the level of pixel i of line j goes.
template <unsigned Planes, class Count, class Fetch, class Level>
void shadeStrips(uint32_t size, const Overlap& overlap, ProgressCallback progress, double rounding, Fetch fetch,
                 Level level)
{
    uint32_t left = 0;
    do {
        const uint32_t right = left + std::min(overlap.width - left, stripColumns);
        WindowCounts<Planes, Count> windows(size, overlap, left, right, rounding);
        walkLines(overlap.height, right == overlap.width ? progress : nullptr, [&](uint32_t j) {
            if (left == right)
                return;
            windows.moveTo(j, fetch);
            windows.shade([&](unsigned plane) { return level(plane, left, j); });
        });
        left = right;
    } while (left < overlap.width);
}

template <unsigned Planes, class Fetch, class Level>
void shadeWindows(uint32_t size, const Overlap& overlap, ProgressCallback progress, double rounding, Fetch fetch,
                  Level level)
{
    if constexpr (Planes == 1) {
        if (size <= maxByteSize)
            return shadeStrips<1, uint8_t>(size, overlap, progress, rounding, fetch, level);
    }
    shadeStrips<Planes, uint32_t>(size, overlap, progress, rounding, fetch, level);
}

} // namespace lx
