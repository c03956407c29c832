// Rotation by any angle.
//
// A backward mapping: every destination pixel takes the source pixel under it after the turn about the two centres, if
// there is one. Per row, the columns whose source pixels exist are one span, since both source coordinates only grow or
// only fall along a row, and rounding keeps that so. The span of a row turned by a small angle is copied in runs of
// neighbouring pixels; otherwise the pixels are picked one by one, in the stated arithmetic.
//
// Sine and cosine are rounded to single precision, the sums to double, and coordinates are truncated toward zero before
// the centre is added: the grid is slightly uneven about the centre. All of this is deliberate.

#include "frame/line_walk.h"
#include "geometry/slanted_runs.h"

namespace lx
{

namespace
{

// Degrees to radians by pi cut to ten decimals, deliberately.
constexpr double radiansPerDegree = 0.017453292519444445;

class Turn
{
  public:
    Turn(float cosine, float sine, const AreaView& source, const AreaView& destination) noexcept
        : source_(source), destination_(destination), cosine_(cosine), sine_(sine)
    {
    }

    // The pixels of one destination row that lie on the source.
    Span span(uint32_t row) const
    {
        const SlantedRow slanted = slantedRow(row);
        const Span a = range(slanted.cosine, -slanted.offsetX, -halfOf(source_.width()), source_.width());
        const Span b =
            range(slanted.sine, slanted.offsetY, halfOf(source_.height()) - source_.height() + 1, source_.height());
        return {std::max(a.begin, b.begin), std::min(a.end, b.end)};
    }

    SlantedRow slantedRow(uint32_t row, int64_t column = 0) const
    {
        const auto dy = static_cast<double>(halfOf(destination_.height()) - row);
        return {.centre = source_.at(0, source_.height() / 2),
                .step = source_.lineStep(),
                .column = source_.phase() + size_t{source_.width() / 2},
                .cosine = cosine_,
                .sine = sine_,
                .offsetX = sine_ * dy,
                .offsetY = cosine_ * dy,
                .first = static_cast<double>(column - halfOf(destination_.width()))};
    }

  private:
    static int64_t halfOf(uint32_t size) { return size / 2; }

    // The columns k for which first <= trunc(slope * (k - half the width) + offset) < first + count: a monotone
    // sequence, so that either end is found by halving.
    Span range(double slope, double offset, int64_t first, int64_t count) const
    {
        const auto level = [&](int64_t k) {
            return static_cast<int64_t>(slope * static_cast<double>(k - halfOf(destination_.width())) + offset);
        };
        const bool falls = slope < 0;
        return {firstColumn([&](int64_t k) { return falls ? level(k) < first + count : level(k) >= first; }),
                firstColumn([&](int64_t k) { return falls ? level(k) < first : level(k) >= first + count; })};
    }

    template <class Holds>
    int64_t firstColumn(Holds holds) const
    {
        int64_t begin = 0;
        int64_t end = destination_.width();
        while (begin < end) {
            const int64_t middle = begin + (end - begin) / 2;
            if (holds(middle))
                end = middle;
            else
                begin = middle + 1;
        }
        return begin;
    }

    const AreaView source_;
    const AreaView destination_;
    const double cosine_;
    const double sine_;
};

// `copy` takes a RunRow, the destination's byte and the phase in it; `pick` a SlantedRow and a canonical row to fill.
template <class Copy, class Pick>
void turnByAngle(double angle, const ImageArea& sourceArea, const ImageArea& destinationArea, ProgressCallback progress,
                 Copy copy, Pick pick)
{
    const AreaView source(sourceArea);
    const AreaView destination(destinationArea);
    const uint32_t height = destination.height();
    const auto cosine = static_cast<float>(std::cos(angle * radiansPerDegree));
    const auto sine = static_cast<float>(std::sin(angle * radiansPerDegree));
    FixedAngle fixed;
    if (!std::isfinite(cosine) || source.width() == 0 || source.height() == 0) {
        walkLines(height, progress, [](uint32_t) {});
    } else if (SlantedRuns::fit(cosine, sine, uint64_t{source.width()} + source.height(),
                                uint64_t{destination.width()} + height, fixed)) {
        const SlantedRuns runs(fixed, source, destination);
        const auto turnBits = kernels().slantedRuns->slantedBits;
        walkLines(height, progress, [&](uint32_t j) {
            const SlantedRuns::Row row = runs.row(j);
            if (row.begin >= row.end)
                return;
            const auto first = static_cast<uint32_t>(row.begin);
            if (source.bits() == 1 && turnBits(runs.bits(row), destination.at(first, j), destination.phase(first)))
                return;
            runs.walk(
                row, [&](uint32_t k, const RunRow& piece) { copy(piece, destination.at(k, j), destination.phase(k)); });
        });
    } else {
        const Turn turn(cosine, sine, source, destination);
        RowWriter writer(destination);
        walkLines(height, progress, [&](uint32_t row) {
            const Span span = turn.span(row);
            for (int64_t k = span.begin; k < span.end; k += chunkPixels) {
                const auto n = static_cast<uint32_t>(std::min<int64_t>(span.end - k, chunkPixels));
                pick(turn.slantedRow(row, k), writer.open(static_cast<uint32_t>(k), row, n), n);
                writer.close();
            }
        });
    }
}

using PickPixels = void (*)(const SlantedRow&, uint8_t*, size_t);

void turnPackedByAngle(double angle, const ImageArea& source, const ImageArea& destination, ProgressCallback progress,
                       PickPixels pick)
{
    turnByAngle(
        angle, source, destination, progress,
        [bits = bitsPerPixel(source.type), copy = kernels().slantedRuns->copyPacked](
            const RunRow& row, uint8_t* to, unsigned phase) { copy(row, bits, to, phase); },
        pick);
}

void RotateBilevelByAngle(double angle, const ImageArea& source, const ImageArea& destination,
                          ProgressCallback progress)
{
    turnPackedByAngle(angle, source, destination, progress, kernels().slantedRuns->pickBits);
}

void RotateNibbleByAngle(double angle, const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    turnPackedByAngle(angle, source, destination, progress, kernels().slantedRuns->pickNibbles);
}

void RotateByteByAngle(double angle, const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    const SlantedRunKernels& runs = *kernels().slantedRuns;
    turnByAngle(
        angle, source, destination, progress,
        [&runs](const RunRow& row, uint8_t* to, unsigned) { runs.copyBytes(row, to); }, runs.pickBytes);
}

void RotateColorByAngle(double angle, const ImageArea& source, const ImageArea& destination, ProgressCallback progress)
{
    const SlantedRunKernels& runs = *kernels().slantedRuns;
    const bool swap = (source.colorOrder != 0) != (destination.colorOrder != 0);
    turnByAngle(
        angle, source, destination, progress,
        [&runs, swap](const RunRow& row, uint8_t* to, unsigned) { runs.copyTriples(row, to, swap); },
        [&runs, swap](const SlantedRow& row, uint8_t* to, size_t n) { runs.pickTriples(row, to, n, swap); });
}

using AngleWorker = void (*)(double, const ImageArea&, const ImageArea&, ProgressCallback);

constexpr AngleWorker workers[] = {
    RotateBilevelByAngle, RotateNibbleByAngle, RotateByteByAngle,  RotateNibbleByAngle,
    RotateNibbleByAngle,  RotateByteByAngle,   RotateColorByAngle,
};

} // namespace

} // namespace lx

using namespace lx;

int8_t lxRotationBySpecificationAngle(double angle, const ImageArea* source, const ImageArea* destination,
                                      ProgressCallback progress) noexcept
{
    if (source->type != destination->type || !isPixelType(source->type))
        return IMAGE_STATUS_BAD_ARGUMENT;
    workers[source->type](angle, *source, *destination, progress);
    return IMAGE_STATUS_OK;
}
