// Rotation by quarter turns.
//
// A quarter turn is a transposition in which one of the two areas is walked from its last line to its first: the source
// for a clockwise turn, the destination for a counter-clockwise one. The source's rows are taken in strips that fill
// some dozens of bytes of every destination row. Where packed pixels share a destination byte with pixels outside the
// turned picture, the column of such bytes is formed on its own and merged in. A half turn reverses row after row.
//
// Pixels are anchored to the destination's far edges, so what stays untouched in a larger destination lies at its left
// and top; this is deliberate. Strips go through the destination from left to right; a clockwise turn therefore starts
// with the source's last rows. Progress counts finished rows, whichever they are.

#include "frame/line_walk.h"

namespace lx
{

namespace
{

enum class Turn { clockwise, counterClockwise };

bool differInOrder(const ImageArea& source, const ImageArea& destination)
{
    return (source.colorOrder != 0) != (destination.colorOrder != 0);
}

// `transpose` takes a TransposeBlock; cells are what its rows are counted in: bytes, or triples.
template <class Transpose>
class QuarterTurn
{
  public:
    QuarterTurn(const AreaView& source, const AreaView& destination, Turn turn, Transpose transpose) noexcept
        : transpose_(transpose), from_(source), to_(destination), clockwise_(turn == Turn::clockwise),
          rows_(std::min(from_.height(), to_.width())), columns_(std::min(from_.width(), to_.height())),
          left_(clockwise_ ? to_.width() - rows_ : 0), perCell_(to_.phaseMask() + 1), phase_(to_.phase(left_)),
          cells_((uint64_t{phase_} + rows_ + perCell_ - 1) / perCell_)
    {
    }

    void run(Progress& progress) noexcept
    {
        if (rows_ == 0 || columns_ == 0)
            return;
        uint32_t reported = 0;
        for (uint64_t done = 0; done < cells_;) {
            const uint64_t cells = stripCells(cells_ - done);
            turnStrip(done, cells);
            done += cells;
            while (reported < pixelOf(done))
                progress.lineDone(reported++, rows_);
        }
    }

  private:
    static constexpr uint32_t edgeColumns = 512;

    // A narrow remainder is not worth a strip: the last two share what is left. Rows of bytes and triples are far
    // apart, and want longer pieces for it, while half of the first-level cache holds the lines they come from.
    uint64_t stripCells(uint64_t left) const
    {
        const uint64_t strip = (to_.packed() ? 1 : to_.bits() == 8 ? 4 : 2) * TransposeKernels::strip;
        constexpr uint64_t narrow = 16;
        return left > strip && left < strip + narrow ? strip - narrow : std::min(left, strip);
    }

    // The first pixel of a destination cell, counted from the picture's left column; its end for cells past the last.
    uint32_t pixelOf(uint64_t cell) const
    {
        const uint64_t pixel = std::max<uint64_t>(cell * perCell_, phase_) - phase_;
        return static_cast<uint32_t>(std::min<uint64_t>(pixel, rows_));
    }

    uint32_t sourceLine(uint32_t pixel) const { return clockwise_ ? rows_ - 1 - pixel : pixel; }
    uint32_t destinationLine(uint32_t column) const { return clockwise_ ? column : to_.height() - 1 - column; }
    uint8_t* cell(uint64_t k, uint32_t column) const
    {
        return to_.at(left_, destinationLine(column)) + k * std::max(to_.bits() / 8, 1U);
    }

    void turnStrip(uint64_t first, uint64_t cells)
    {
        uint64_t end = first + cells;
        if (pixelOf(first + 1) - pixelOf(first) != perCell_)
            turnSharedCell(first++);
        if (first != end && pixelOf(end) - pixelOf(end - 1) != perCell_)
            turnSharedCell(--end);
        if (first == end)
            return;
        transpose_({.source = from_.at(0, sourceLine(pixelOf(first))),
                    .sourceStep = clockwise_ ? -from_.lineStep() : from_.lineStep(),
                    .destination = cell(first, 0),
                    .destinationStep = clockwise_ ? to_.lineStep() : -to_.lineStep(),
                    .rows = static_cast<ptrdiff_t>(end - first) * static_cast<ptrdiff_t>(perCell_),
                    .columns = columns_,
                    .phase = from_.phase()});
    }

    // A column of bytes that are only partly the picture's: its few source rows are copied among empty ones.
    void turnSharedCell(uint64_t k)
    {
        const uint32_t begin = pixelOf(k);
        const uint32_t end = pixelOf(k + 1);
        const unsigned place = (phase_ + begin) % perCell_;
        const unsigned owned = (0xFF00U >> (end - begin) * to_.bits() & 0xFF) >> place * to_.bits();
        walkChunks(columns_, edgeColumns, [&](uint32_t i, uint32_t n) {
            uint8_t rows[8][edgeColumns / 2 + 1] = {};
            uint8_t column[edgeColumns];
            const size_t bytes = (from_.phase(i) + n + from_.phaseMask()) / perCell_;
            for (uint32_t pixel = begin; pixel < end; ++pixel)
                std::memcpy(rows[place + pixel - begin], from_.at(i, sourceLine(pixel)), bytes);
            transpose_({.source = rows[0],
                        .sourceStep = sizeof rows[0],
                        .destination = column,
                        .destinationStep = 1,
                        .rows = static_cast<ptrdiff_t>(perCell_),
                        .columns = n,
                        .phase = from_.phase(i)});
            for (uint32_t c = 0; c < n; ++c) {
                uint8_t* byte = cell(k, i + c);
                *byte = static_cast<uint8_t>((*byte & ~owned) | (column[c] & owned));
            }
        });
    }

    const Transpose transpose_;
    const AreaView from_;
    const AreaView to_;
    const bool clockwise_;
    const uint32_t rows_;    // source rows, which become columns
    const uint32_t columns_; // source columns, which become rows
    const uint32_t left_;    // destination column of the picture's left edge
    const unsigned perCell_; // pixels of a destination cell
    const unsigned phase_;   // place of the picture's left edge within its cell
    const uint64_t cells_;   // destination cells with pixels of the picture, in each row
};

template <class Transpose>
void turnQuarter(Turn turn, const ImageArea& source, const ImageArea& destination, ProgressCallback callback,
                 Transpose transpose)
{
    Progress progress(callback);
    QuarterTurn(AreaView(source), AreaView(destination), turn, transpose).run(progress);
}

void turnQuarterOfColor(Turn turn, const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    const bool swap = differInOrder(source, destination);
    turnQuarter(turn, source, destination, progress,
                [swap, triples = kernels().transpose->triples](const TransposeBlock& b) { triples(b, swap); });
}

// Calls `reverse(j, n, destination column, destination line)` for rows of n pixels.
template <class Reverse>
void turnHalf(const ImageArea& source, const ImageArea& destination, ProgressCallback callback, Reverse reverse)
{
    const Overlap overlap{AreaView(source), AreaView(destination)};
    if (overlap.width == 0)
        return;
    walkLines(overlap.height, callback, [&](uint32_t j) {
        reverse(j, overlap.width, destination.width - overlap.width, destination.height - 1 - j);
    });
}

using ReversePacked = void (*)(const uint8_t*, unsigned, uint8_t*, unsigned, size_t);

void turnHalfOfPacked(const ImageArea& source, const ImageArea& destination, ProgressCallback progress,
                      ReversePacked reverse)
{
    const AreaView from(source);
    const AreaView to(destination);
    turnHalf(source, destination, progress, [&](uint32_t j, uint32_t n, uint32_t column, uint32_t line) {
        reverse(from.row(j), from.phase(), to.at(column, line), to.phase(column), n);
    });
}

void RotateBilevel90(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnQuarter(Turn::clockwise, source, destination, progress, kernels().transpose->bits);
}

void RotateBilevel180(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnHalfOfPacked(source, destination, progress, kernels().reverse->bits);
}

void RotateBilevel270(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnQuarter(Turn::counterClockwise, source, destination, progress, kernels().transpose->bits);
}

void RotateNibble90(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnQuarter(Turn::clockwise, source, destination, progress, kernels().transpose->nibbles);
}

void RotateNibble180(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnHalfOfPacked(source, destination, progress, kernels().reverse->nibbles);
}

void RotateNibble270(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnQuarter(Turn::counterClockwise, source, destination, progress, kernels().transpose->nibbles);
}

void RotateByte90(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnQuarter(Turn::clockwise, source, destination, progress, kernels().transpose->bytes);
}

void RotateByte180(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    const AreaView from(source);
    const AreaView to(destination);
    const ReverseKernels& reverse = *kernels().reverse;
    turnHalf(source, destination, progress, [&](uint32_t j, uint32_t n, uint32_t column, uint32_t line) {
        reverse.bytes(from.row(j), to.at(column, line), n);
    });
}

void RotateByte270(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnQuarter(Turn::counterClockwise, source, destination, progress, kernels().transpose->bytes);
}

void RotateColor90(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnQuarterOfColor(Turn::clockwise, source, destination, progress);
}

void RotateColor180(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    const AreaView from(source);
    const AreaView to(destination);
    const ReverseKernels& reverse = *kernels().reverse;
    const bool swap = differInOrder(source, destination);
    turnHalf(source, destination, progress, [&](uint32_t j, uint32_t n, uint32_t column, uint32_t line) {
        reverse.triples(from.row(j), to.at(column, line), n, swap);
    });
}

void RotateColor270(const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnQuarterOfColor(Turn::counterClockwise, source, destination, progress);
}

using RotationWorker = void (*)(const ImageArea&, const ImageArea&, ProgressCallback);

// By pixel type, then by angle from one quarter turn on.
constexpr RotationWorker workers[][3] = {
    {RotateBilevel90, RotateBilevel180, RotateBilevel270}, {RotateNibble90, RotateNibble180, RotateNibble270},
    {RotateByte90, RotateByte180, RotateByte270},          {RotateNibble90, RotateNibble180, RotateNibble270},
    {RotateNibble90, RotateNibble180, RotateNibble270},    {RotateByte90, RotateByte180, RotateByte270},
    {RotateColor90, RotateColor180, RotateColor270},
};

} // namespace

} // namespace lx

using namespace lx;

int8_t lxRotationBySimpleAngle(uint16_t angle, const ImageArea* source, const ImageArea* destination,
                               ProgressCallback progress) noexcept
{
    if (source->type != destination->type || !isPixelType(source->type) || angle < 1 || angle > 3)
        return IMAGE_STATUS_BAD_ARGUMENT;
    workers[source->type][angle - 1](*source, *destination, progress);
    return IMAGE_STATUS_OK;
}
