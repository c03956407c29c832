// The thresholds of an ordered dither, laid out so that a row of pixels is compared with a row of thresholds.
//
// The matrix is expanded once per call: every matrix row is repeated over a chunk, so that the thresholds of any run of
// pixels are one address.

#pragma once

#include "frame/row_io.h"

namespace lx
{

class DitherRows
{
  public:
    static constexpr unsigned most = 16; // rows and columns

    // threshold(r, c) gives the matrix; `columns` and `rows` are 1 to 16.
    template <class Threshold>
    DitherRows(unsigned columns, unsigned rows, Threshold threshold) noexcept : columns_(columns), rows_(rows)
    {
        for (unsigned r = 0; r < rows; ++r) {
            for (unsigned c = 0; c < columns; ++c)
                thresholds_[r][c] = threshold(r, c);
            // Each copy doubles what is there, and ends at a multiple of the period.
            for (size_t have = columns; have < sizeof thresholds_[r];) {
                const size_t n = std::min(have, sizeof thresholds_[r] - have);
                std::memcpy(thresholds_[r] + have, thresholds_[r], n);
                have += n;
            }
        }
    }

    // Thresholds of chunkPixels pixels in matrix row `row` < rows, the first one in matrix column `column` < columns.
    const uint8_t* at(unsigned row, unsigned column) const { return thresholds_[row] + column; }

    unsigned columns() const { return columns_; }
    unsigned rows() const { return rows_; }

  private:
    unsigned columns_;
    unsigned rows_;
    alignas(64) uint8_t thresholds_[most][chunkPixels + most];
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

    // Thresholds of the next n <= chunkPixels pixels of the line.
    const uint8_t* next(uint32_t n) noexcept
    {
        if (x_ >= rows_.columns() || y_ >= rows_.rows())
            return nextOutside(n);
        const uint8_t* thresholds = rows_.at(y_, x_);
        x_ = static_cast<uint16_t>((x_ + n) % rows_.columns());
        return thresholds;
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

    const uint8_t* nextOutside(uint32_t n) noexcept
    {
        for (uint32_t i = 0; i < n; ++i) {
            const bool inside = x_ < rows_.columns() && y_ < rows_.rows();
            outside_[i] = inside ? *rows_.at(y_, x_) : outsideThreshold;
            x_ = step(x_, rows_.columns());
        }
        return outside_;
    }

    DitherRows rows_;
    uint16_t x_;
    uint16_t y_;
    uint8_t outside_[chunkPixels];
};

} // namespace lx
