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

    // Compares the next n pixels of the line: packed bits, set where a pixel is above its threshold.
    void compare(const uint8_t* source, uint8_t* bits, uint32_t n) noexcept
    {
        while (n != 0 && !inside()) {
            // One byte of bits at a time, until the phases have come round.
            const uint32_t few = std::min<uint32_t>(n, 8);
            unsigned byte = 0;
            for (uint32_t i = 0; i < few; ++i) {
                const unsigned limit = inside() ? rows_.row(y_)[x_] : outsideThreshold;
                byte |= (source[i] > limit ? 0x80U : 0U) >> i;
                x_ = step(x_, rows_.columns());
            }
            *bits++ = static_cast<uint8_t>(byte);
            source += few;
            n -= few;
        }
        if (n == 0)
            return;
        kernels_.abovePattern(source, rows_.row(y_), rows_.columns(), x_, bits, n);
        x_ = static_cast<uint16_t>((x_ + n) % rows_.columns());
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

    const PixelKernels& kernels_ = *kernels().pixels;
    DitherRows rows_;
    uint16_t x_;
    uint16_t y_;
};

} // namespace lx
