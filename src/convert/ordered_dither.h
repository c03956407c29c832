// The thresholds of an ordered dither, and the caller's matrix with its running phases.

#pragma once

#include "frame/row_io.h"

namespace lx
{

// The thresholds of a matrix, each row repeated so that any 64 pixels find theirs in one place.
class DitherRows
{
  public:
    static constexpr unsigned most = 16; // rows and columns

    // threshold(r, c) gives the matrix; `columns` and `rows` are 1 to 16.
    template <class Threshold>
    DitherRows(unsigned columns, unsigned rows, Threshold threshold) noexcept : columns_(columns), rows_(rows)
    {
        for (unsigned r = 0; r < rows; ++r) {
            for (unsigned c = 0; c < sizeof thresholds_[r]; ++c)
                thresholds_[r][c] = c < columns ? threshold(r, c) : thresholds_[r][c - columns];
        }
    }

    // The thresholds of row `row` < rows: a pattern with a period of columns().
    const uint8_t* row(unsigned row) const { return thresholds_[row]; }

    unsigned columns() const { return columns_; }
    unsigned rows() const { return rows_; }

  private:
    unsigned columns_;
    unsigned rows_;
    alignas(64) uint8_t thresholds_[most][most + 64];
};

// The caller's matrix with its running phases.
//
// The column phase is not reset at the start of a line: the pattern shifts from line to line unless the width is a
// multiple of the columns. A phase at or above its bound counts on until its 16 bits wrap, and reads
// `outsideThreshold` meanwhile. Both are deliberate.
class PhasedDither
{
  public:
    static constexpr uint8_t outsideThreshold = 128;

    // `matrix` has 1 to 16 rows and columns.
    PhasedDither(const DitherMatrix& matrix, uint16_t phaseX, uint16_t phaseY) noexcept
        : rows_(matrix.columns, matrix.rows,
                [&](unsigned r, unsigned c) {
                    const double step = 256.0 / (matrix.columns * matrix.rows);
                    return static_cast<uint8_t>(std::min(matrix.values[r][c] * step + 0.5, 255.0));
                }),
          x_(phaseX), y_(phaseY)
    {
    }

    // The thresholds of the next n pixels of the line: calls compare(k, pattern, period, phase, m) for stretches of m
    // pixels from the k-th on, the arguments being those of the comparing kernels. All stretches but the last are
    // whole bytes of bits.
    template <class Compare>
    void next(uint32_t n, Compare compare) noexcept
    {
        uint32_t k = 0;
        while (k < n && !inside()) {
            // Eight pixels at a time, until the phases have come round.
            const uint32_t few = std::min<uint32_t>(n - k, 8);
            uint8_t limits[8 + 63] = {};
            for (uint32_t i = 0; i < few; ++i) {
                limits[i] = inside() ? rows_.row(y_)[x_] : outsideThreshold;
                x_ = step(x_, rows_.columns());
            }
            compare(k, limits, size_t{8}, size_t{0}, few);
            k += few;
        }
        if (k == n)
            return;
        compare(k, rows_.row(y_), size_t{rows_.columns()}, size_t{x_}, n - k);
        x_ = static_cast<uint16_t>((x_ + (n - k)) % rows_.columns());
    }

    void endLine() noexcept { y_ = step(y_, rows_.rows()); }

    uint16_t phaseX() const { return x_; }
    uint16_t phaseY() const { return y_; }

  private:
    static uint16_t step(uint16_t phase, unsigned bound)
    {
        const auto next = static_cast<uint16_t>(phase + 1);
        return next == bound ? uint16_t{0} : next;
    }

    bool inside() const { return x_ < rows_.columns() && y_ < rows_.rows(); }

    DitherRows rows_;
    uint16_t x_;
    uint16_t y_;
};

} // namespace lx
