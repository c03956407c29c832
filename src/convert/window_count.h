// Gray levels from the number of set pixels in a window that starts at the pixel and reaches right and down.
//
// Nothing is counted anew: when the windows move down a line, one row enters and one leaves, which gives every column a
// gain of -1, 0 or 1. Counts are integers, so the order of counting is free.
//
// Small windows keep the counts of columns, sum the columns of each window, and take the level from a table. Others
// keep the counts of windows, and no size costs more than another: walking from the right end of a line to the left,
// the change of a count is the change of its right neighbour, plus the gain of the column that its window has and the
// neighbour's has not, less the gain of the column that is the other way round.
//
// Wide areas are worked on in vertical strips, since counts live on the stack; progress is reported with the last.

#pragma once

#include "frame/line_walk.h"

#include <numeric>

namespace lx
{

// The windows of `size` x `size` that start in one strip of columns, cut at the right and bottom of the overlap, and
// the rows that enter and leave them. A fetch(plane, i, j, n, flags) unpacks n <= chunkPixels pixels to 0 and 1.
class WindowStrip
{
  public:
    static constexpr uint32_t mostColumns = 4096;

    WindowStrip(uint32_t windowSize, const Overlap& area, uint32_t leftColumn, double roundingTerm) noexcept
        : size(windowSize), overlap(area), left(leftColumn), columns(std::min(area.width - leftColumn, mostColumns)),
          rounding(roundingTerm), step(255.0 / (2.0 * windowSize - 1.0))
    {
    }

    struct Rows {
        bool enters;
        bool leaves;
        uint32_t entering;
        uint32_t leaving;
    };

    // Calls move(rows) for the moves that bring the windows to line j, which are many for line 0: the windows come in
    // from above. Lines are taken in order.
    template <class Move>
    void moveTo(uint32_t j, Move move)
    {
        if (j == 0) {
            for (uint32_t row = 0; row < std::min(size - 1, overlap.height); ++row)
                move(Rows{.enters = true, .leaves = false, .entering = row, .leaving = 0});
        }
        const bool enters = size - 1 < overlap.height - j;
        move(Rows{.enters = enters, .leaves = j != 0, .entering = enters ? j + (size - 1) : 0, .leaving = j - 1});
    }

    // Calls piece(k, n, entering, leaving) with the flags of columns i + k to i + k + n - 1, for pieces of the n
    // columns from column i on that lie inside the overlap. Returns how many do.
    template <class Fetch, class Piece>
    uint32_t walkColumns(unsigned plane, uint64_t i, uint32_t n, const Rows& rows, Fetch fetch, Piece piece)
    {
        const auto inside = static_cast<uint32_t>(i < overlap.width ? std::min<uint64_t>(n, overlap.width - i) : 0);
        const auto first = static_cast<uint32_t>(i);
        walkChunks(inside, chunkPixels, [&](uint32_t k, uint32_t few) {
            fill(entering_, plane, first + k, rows.entering, few, rows.enters, fetch);
            fill(leaving_, plane, first + k, rows.leaving, few, rows.leaves, fetch);
            piece(k, few, entering_, leaving_);
        });
        return inside;
    }

    // What a count is multiplied by, in a window of `size` rows and columns or less.
    float scale(uint32_t columnsInWindow, uint32_t rowsInWindow) const
    {
        return static_cast<float>(2 * size) / static_cast<float>(columnsInWindow * rowsInWindow);
    }
    uint32_t rowsInWindow(uint32_t j) const { return std::min(size, overlap.height - j); }
    uint32_t columnsInWindow(uint32_t k) const { return std::min(size, overlap.width - left - k); }

    // Columns of the strip whose windows are not cut at the right.
    uint32_t wholeWindows() const
    {
        const uint32_t firstCut = overlap.width - std::min(size - 1, overlap.width);
        return std::min(columns, firstCut - std::min(firstCut, left));
    }

    const uint32_t size;
    const Overlap overlap;
    const uint32_t left;
    const uint32_t columns;
    const double rounding;
    const double step;
    const WindowKernels& kernels = *lx::kernels().window;

  private:
    template <class Fetch>
    static void fill(uint8_t* flags, unsigned plane, uint32_t i, uint32_t j, uint32_t n, bool exists, Fetch fetch)
    {
        if (exists)
            fetch(plane, i, j, n, flags);
        else
            std::memset(flags, 0, n);
    }

    alignas(64) uint8_t entering_[chunkPixels];
    alignas(64) uint8_t leaving_[chunkPixels];
};

// Windows whose counts are bytes, in `Planes` planes.
template <unsigned Planes>
class SmallWindows
{
  public:
    static constexpr uint32_t mostSize = 15;

    SmallWindows(uint32_t size, const Overlap& overlap, uint32_t left, double rounding) noexcept
        : strip_(size, overlap, left, rounding)
    {
    }

    uint32_t columns() const { return strip_.columns; }

    // Lines are taken in order.
    template <class Fetch>
    void moveTo(uint32_t j, Fetch fetch)
    {
        strip_.moveTo(j, [&](const WindowStrip::Rows& rows) {
            for (unsigned plane = 0; plane < Planes; ++plane) {
                strip_.walkColumns(plane, strip_.left, strip_.columns + strip_.size - 1, rows, fetch,
                                   [&](uint32_t k, uint32_t n, const uint8_t* entering, const uint8_t* leaving) {
                                       strip_.kernels.slideColumns(entering, leaving, counts_[plane] + k, n);
                                   });
            }
        });
        setRows(strip_.rowsInWindow(j));
    }

    void shade(unsigned plane, uint8_t* levels) const
    {
        const uint32_t whole = strip_.wholeWindows();
        strip_.kernels.shadeSums(counts_[plane], strip_.size, levels_, levels, whole);
        shadeCut(counts_[plane], levels, whole);
    }

  private:
    void setRows(uint32_t rows)
    {
        if (rows == rows_)
            return;
        rows_ = rows;
        uint32_t counts[256];
        float scales[256];
        std::iota(counts, counts + 256, 0U);
        std::fill(scales, scales + 256, strip_.scale(strip_.size, rows));
        const uint32_t possible = strip_.size * rows + 1;
        strip_.kernels.shade(counts, scales, levels_, possible, strip_.step, strip_.rounding);
    }

    // The windows from column `first` on, which are cut at the right: fewer than `size`.
    void shadeCut(const uint8_t* columns, uint8_t* levels, uint32_t first) const
    {
        uint32_t counts[mostSize];
        float scales[mostSize];
        // They end at the right edge, which may lie in the next strip: nothing is counted beyond it.
        uint32_t sum = std::accumulate(columns + strip_.columns, columns + strip_.columns + strip_.size, 0U);
        for (uint32_t k = strip_.columns; k-- > first;) {
            sum += columns[k];
            counts[k - first] = sum;
            scales[k - first] = strip_.scale(strip_.columnsInWindow(k), rows_);
        }
        strip_.kernels.shade(counts, scales, levels + first, strip_.columns - first, strip_.step, strip_.rounding);
    }

    WindowStrip strip_;
    uint32_t rows_ = 0;
    uint8_t levels_[256] = {}; // of the counts of windows that are not cut at the right
    alignas(64) uint8_t counts_[Planes][WindowStrip::mostColumns + mostSize + 64] = {}; // of columns
};

// Windows of any size, in `Planes` planes.
template <unsigned Planes>
class LargeWindows
{
  public:
    LargeWindows(uint32_t size, const Overlap& overlap, uint32_t left, double rounding) noexcept
        : strip_(size, overlap, left, rounding)
    {
    }

    uint32_t columns() const { return strip_.columns; }

    // Lines are taken in order.
    template <class Fetch>
    void moveTo(uint32_t j, Fetch fetch)
    {
        strip_.moveTo(j, [&](const WindowStrip::Rows& rows) {
            for (unsigned plane = 0; plane < Planes; ++plane)
                move(plane, rows, fetch);
        });
        setRows(strip_.rowsInWindow(j));
    }

    void shade(unsigned plane, uint8_t* levels) const
    {
        strip_.kernels.shade(counts_[plane], scales_, levels, strip_.columns, strip_.step, strip_.rounding);
    }

  private:
    static constexpr uint32_t reach = WindowStrip::mostColumns;

    template <class Fetch>
    void move(unsigned plane, const WindowStrip::Rows& rows, Fetch fetch)
    {
        const uint32_t columns = strip_.columns;
        const uint64_t left = strip_.left;
        // Windows up to `reach` lose columns that follow the strip's own; what larger ones lose is far away.
        int32_t change = 0;
        const int8_t* lost = gains_ + reach;
        if (strip_.size <= reach) {
            lost = gains_ + strip_.size;
            fillGains(gains_, plane, left, columns + strip_.size, rows, fetch);
            change = std::accumulate(gains_ + columns, gains_ + columns + strip_.size, 0);
        } else {
            walkChunks(strip_.size, reach, [&](uint32_t i, uint32_t n) {
                fillGains(gains_, plane, left + columns + i, n, rows, fetch);
                change = std::accumulate(gains_, gains_ + n, change);
            });
            fillGains(gains_, plane, left, columns, rows, fetch);
            fillGains(gains_ + reach, plane, left + strip_.size, columns, rows, fetch);
        }
        strip_.kernels.slide(gains_, lost, counts_[plane], columns, change);
    }

    // The gains of n columns from column i on; those beyond the right edge gain nothing.
    template <class Fetch>
    void fillGains(int8_t* gains, unsigned plane, uint64_t i, uint32_t n, const WindowStrip::Rows& rows, Fetch fetch)
    {
        const uint32_t inside = strip_.walkColumns(
            plane, i, n, rows, fetch, [&](uint32_t k, uint32_t few, const uint8_t* entering, const uint8_t* leaving) {
                strip_.kernels.gain(entering, leaving, gains + k, few);
            });
        std::memset(gains + inside, 0, n - inside);
    }

    void setRows(uint32_t rows)
    {
        if (rows == rows_)
            return;
        rows_ = rows;
        for (uint32_t k = 0; k < strip_.columns; ++k)
            scales_[k] = strip_.scale(strip_.columnsInWindow(k), rows);
    }

    WindowStrip strip_;
    uint32_t rows_ = 0;
    alignas(64) uint32_t counts_[Planes][WindowStrip::mostColumns] = {}; // of windows
    alignas(64) float scales_[WindowStrip::mostColumns];
    alignas(64) int8_t gains_[2 * reach];
};

// Shades a line of bytes, or of triples with a plane for each of their bytes.
template <unsigned Planes, class Windows>
void shadeLine(const Windows& windows, uint8_t* line)
{
    if constexpr (Planes == 1) {
        windows.shade(0, line);
    } else {
        static_assert(Planes == 3);
        alignas(64) uint8_t levels[3][WindowStrip::mostColumns];
        for (unsigned plane = 0; plane < 3; ++plane)
            windows.shade(plane, levels[plane]);
        kernels().window->join(levels[0], levels[1], levels[2], line, windows.columns());
    }
}

template <unsigned Planes, class Windows, class Fetch>
void shadeStrips(uint32_t size, const AreaView& destination, const Overlap& overlap, ProgressCallback progress,
                 double rounding, Fetch fetch)
{
    uint32_t left = 0;
    do {
        Windows windows(size, overlap, left, rounding);
        const bool last = windows.columns() == overlap.width - left;
        walkLines(overlap.height, last ? progress : nullptr, [&](uint32_t j) {
            if (windows.columns() == 0)
                return;
            windows.moveTo(j, fetch);
            shadeLine<Planes>(windows, destination.at(left, j));
        });
        left += windows.columns();
    } while (left < overlap.width);
}

// Shades bit planes, a plane for each byte of the destination's pixels. fetch(plane, i, j, n, flags) unpacks the pixels
// i to i + n - 1 of line j, at most chunkPixels, to 0 and 1.
template <unsigned Planes, class Fetch>
void shadeWindows(uint32_t size, const AreaView& destination, const Overlap& overlap, ProgressCallback progress,
                  double rounding, Fetch fetch)
{
    using Small = SmallWindows<Planes>;
    using Large = LargeWindows<Planes>;
    if (size <= Small::mostSize)
        shadeStrips<Planes, Small>(size, destination, overlap, progress, rounding, fetch);
    else
        shadeStrips<Planes, Large>(size, destination, overlap, progress, rounding, fetch);
}

} // namespace lx
