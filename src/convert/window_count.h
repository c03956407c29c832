// Gray levels from the number of set pixels in a window that starts at the pixel and reaches right and down.
//
// The count of every column's window is kept from line to line. When the window moves down, one row enters and one
// leaves; walking from the right end of a line to the left, the change of a count is the change of its right
// neighbour plus what the column gains on its left side less what it loses on its right. Counts are integers, so this
// order is free, and no window size costs more than another. Wide areas are worked on in vertical strips, since the
// counts live on the stack; progress is reported with the last strip.

#pragma once

#include "frame/line_walk.h"

namespace lx
{

template <unsigned Planes>
class WindowCounts
{
  public:
    static constexpr uint32_t stripColumns = 4096;

    // Windows of `size` x `size`, cut at the right and bottom of the overlap, for the columns `left` to `right` - 1.
    WindowCounts(uint32_t size, const Overlap& overlap, uint32_t left, uint32_t right) noexcept
        : kernels_(*lx::kernels().window), size_(size), overlap_(overlap), left_(left), right_(right)
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
    void shade(double rounding, Level level) const
    {
        const double step = 255.0 / (2.0 * size_ - 1.0);
        for (unsigned plane = 0; plane < Planes; ++plane)
            kernels_.shade(counts_[plane], scales_, level(plane), Planes, right_ - left_, step, rounding);
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
            int32_t drift = rightOfStrip(plane, rows, fetch);
            for (uint32_t end = right_; end != left_;) {
                const uint32_t begin = pieceBefore(end);
                const uint32_t n = end - begin;
                const bool inside = size_ < overlap_.width - begin;
                const uint32_t beyond = inside ? begin + size_ : 0;
                kernels_.drift(row(0, plane, begin, rows.entering, n, rows.enters, fetch),
                               row(1, plane, begin, rows.leaving, n, rows.leaves, fetch),
                               row(2, plane, beyond, rows.entering, n, rows.enters && inside, fetch),
                               row(3, plane, beyond, rows.leaving, n, rows.leaves && inside, fetch), delta_, n);
                drift = kernels_.slide(delta_, counts_[plane] + (begin - left_), n, drift);
                end = begin;
            }
        }
    }

    // Where the piece that ends at `end` begins: a chunk to the left at most, and at the column from which on windows
    // are cut by the right edge.
    uint32_t pieceBefore(uint32_t end) const
    {
        const uint32_t begin = end - std::min(end - left_, chunkPixels);
        const uint32_t firstCut = overlap_.width - std::min(size_, overlap_.width);
        return begin < firstCut && firstCut < end ? firstCut : begin;
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
    }

    const WindowKernels& kernels_;
    const uint32_t size_;
    const Overlap overlap_;
    const uint32_t left_;
    const uint32_t right_;
    uint32_t rowsInWindow_ = 0;
    alignas(64) uint32_t counts_[Planes][stripColumns];
    alignas(64) float scales_[stripColumns];
    alignas(64) uint8_t flags_[4][chunkPixels];
    alignas(64) int8_t delta_[chunkPixels];
};

// Shades `Planes` bit planes into interleaved bytes. fetch(plane, i, j, n, flags) unpacks the pixels i to i + n - 1 of
// line j to 0 and 1; level(plane, i, j) is where the level of pixel i of line j goes.
template <unsigned Planes, class Fetch, class Level>
void shadeWindows(uint32_t size, const Overlap& overlap, ProgressCallback progress, double rounding, Fetch fetch,
                  Level level)
{
    uint32_t left = 0;
    do {
        const uint32_t right = left + std::min(overlap.width - left, WindowCounts<Planes>::stripColumns);
        WindowCounts<Planes> windows(size, overlap, left, right);
        walkLines(overlap.height, right == overlap.width ? progress : nullptr, [&](uint32_t j) {
            if (left == right)
                return;
            windows.moveTo(j, fetch);
            windows.shade(rounding, [&](unsigned plane) { return level(plane, left, j); });
        });
        left = right;
    } while (left < overlap.width);
}

} // namespace lx
