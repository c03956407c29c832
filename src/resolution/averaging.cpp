// Scaling by averaging: means of blocks on an axis that shrinks, straight ramps from pixel to pixel on one that grows.
//
// Where the width grows, a line is made from its source line, or from the means of its block's columns, by ramps along
// each run; where the height grows, the lines of a run are ramps from the run's first line to that of the next run. The
// last run of either axis is flat. A ramp of L pixels from v to n is trunc(v + t d) for t from 0 to L - 1,
// d = (n - v) * (1 / L) in single precision and the rest in double. Where no run of either axis is longer than two, the
// lines between are made of source lines as well, and so all lines are written in order.

#include "resolution/averaged_line.h"
#include "resolution/ramp_plan.h"
#include "resolution/workers.h"

#include <cstring>

namespace lx
{

namespace
{

// Stretches of a line of one pixel for each source pixel: the source line itself, or the means of its block's columns.
template <unsigned Channels>
class ColumnMeans
{
  public:
    static constexpr uint32_t mostPixels = 1025; // a batch of pixels and the next one

    ColumnMeans(const AreaView& source, uint32_t tallest) noexcept
        : source_(source), means_(source), planned_(means_.canMake(tallest, 1))
    {
        if (tallest > 1) {
            BlockWalker<float> single(mostPixels, mostPixels);
            plan_.take(single, 0);
        }
    }

    void make(uint32_t first, uint32_t pixels, Span lines, uint8_t* means) noexcept
    {
        if (lines.length == 1) {
            std::memcpy(means, source_.at(first, lines.start), size_t{pixels} * Channels);
        } else if (planned_) {
            BlockColumns columns = plan_.columns;
            columns.blocks = pixels;
            columns.components = pixels * Channels;
            means_.make(columns, first, lines, false, means);
        } else {
            for (uint32_t i = 0; i < pixels; ++i)
                means_.makeOne({first + i, 1}, lines, means + size_t{i} * Channels);
        }
    }

  private:
    const AreaView source_;
    BlockPlan<Channels> plan_;
    BlockMeans<Channels> means_;
    const bool planned_;
};

bool isTwice(const RunWalker& runs)
{
    return runs.shortest() == 2 && runs.longest() == 2;
}

// How far it is to the line that is asked for in advance while one is written: 0 if there is none.
ptrdiff_t linesAhead(const AreaView& area, uint32_t j)
{
    constexpr uint32_t lines = 2;
    return area.height() - j > lines ? area.row(j + lines) - area.row(j) : 0;
}

// Makes lines that are wider than the source's.
template <unsigned Channels>
class RampLine
{
  public:
    RampLine(const AreaView& source, const AreaView& destination, uint32_t tallest) noexcept
        : kernels_(*kernels().enlarge), source_(source), destination_(destination),
          runs_(source.width(), destination.width()), plans_(isPlanned(runs_, tallest) ? runs_ : RunWalker(1, 1)),
          means_(source, tallest)
    {
    }

    uint32_t make(uint32_t j, Span lines) noexcept
    {
        if (isTwice(runs_) && lines.length == 1)
            makeTwice(j, lines.start, lines.start);
        else if (runs_.longest() > longestPlannedRun)
            makeRunByRun(j, lines);
        else
            plans_.forEach([&](const RampPlan<Channels>& plan) { makePlanned(plan, j, lines); });
        return reached_;
    }

    // The line halfway from the one that is made of source line `top` to that of `bottom`, if runs have halves.
    void makeBetween(uint32_t j, uint32_t top, uint32_t bottom) noexcept
    {
        if (isTwice(runs_))
            makeTwice(j, top, bottom);
        else
            plans_.forEach([&](const RampPlan<Channels>& plan) {
                const uint8_t* below = source_.at(plan.picks.sourceFirst, bottom);
                kernels_.rampHalves(rowOf(plan, top), below, destination_.at(plan.picks.first, j), plan.picks.groups,
                                    plan.picks.groupCount);
            });
    }

  private:
    // Planning takes as long as making some lines. Doubled lines need no plan, and longer runs do not fit in.
    static bool isPlanned(const RunWalker& runs, uint32_t tallest)
    {
        return runs.longest() <= longestPlannedRun && !(isTwice(runs) && tallest == 1);
    }

    static constexpr uint32_t batchGroups = 16;
    static constexpr uint32_t batchComponents = batchGroups * PickGroup::lanes;

    void makeTwice(uint32_t j, uint32_t top, uint32_t bottom) noexcept
    {
        kernels_.rampTwice(source_.row(top), source_.row(bottom), destination_.row(j),
                           size_t{source_.width()} * Channels, Channels);
    }

    // The source pixels of some groups, and the one behind them if there is one.
    Span pixelsOf(const RampPlan<Channels>& plan, uint32_t firstGroup, uint32_t count) const
    {
        const PickGroup* groups = plan.picks.groups + firstGroup;
        const uint32_t base = groups[0].base;
        const uint32_t first = plan.picks.sourceFirst + base / Channels;
        const uint32_t own = (groups[count - 1].base + groups[count - 1].last - base) / Channels + 1;
        return {first, std::min(own + 1, source_.width() - first)};
    }

    // Those of all groups, in the source line itself.
    RampRow rowOf(const RampPlan<Channels>& plan, uint32_t line) const
    {
        const Span pixels = pixelsOf(plan, 0, plan.picks.groupCount);
        return {source_.at(pixels.start, line), 0, size_t{pixels.length} * Channels, Channels};
    }

    void makePlanned(const RampPlan<Channels>& plan, uint32_t j, Span lines) noexcept
    {
        const uint32_t groupCount = plan.picks.groupCount;
        if (lines.length == 1) {
            ramp(plan, 0, groupCount, rowOf(plan, lines.start), j);
            return;
        }
        for (uint32_t g = 0; g < groupCount; g += batchGroups) {
            const uint32_t count = std::min(batchGroups, groupCount - g);
            const Span pixels = pixelsOf(plan, g, count);
            means_.make(pixels.start, pixels.length, lines, pixels_);
            ramp(plan, g, count, {pixels_, plan.picks.groups[g].base, size_t{pixels.length} * Channels, Channels}, j);
        }
    }

    // All groups but the last one of a plan have the same number of components.
    void ramp(const RampPlan<Channels>& plan, uint32_t firstGroup, uint32_t count, const RampRow& row,
              uint32_t j) noexcept
    {
        const PickGroup* groups = plan.picks.groups + firstGroup;
        const size_t skipped = size_t{firstGroup} * plan.picks.groups[0].count;
        uint8_t* out = destination_.at(plan.picks.first, j) + skipped;
        if (hasHalves(runs_))
            kernels_.rampHalves(row, row.pixels, out, groups, count);
        else
            kernels_.rampPicked(row, out, groups, count, plan.times + skipped, runs_.shortest(),
                                linesAhead(destination_, j));
    }

    void makeRunByRun(uint32_t j, Span lines) noexcept
    {
        RunWalker walker = runs_;
        Span run;
        for (uint32_t i = 0; walker.next(run); ++i) {
            const uint32_t there = std::min(2U, source_.width() - i);
            means_.make(i, there, lines, pixels_);
            const size_t next = (there - 1) * Channels;
            uint8_t* out = destination_.at(run.start, j);
            for (unsigned c = 0; c < Channels; ++c) {
                const int v = pixels_[c];
                const double d = static_cast<float>(pixels_[next + c] - v) * (1.0F / static_cast<float>(run.length));
                for (uint32_t t = 0; t < run.length; ++t)
                    out[size_t{t} * Channels + c] = static_cast<uint8_t>(v + t * d);
            }
        }
    }

    const EnlargeKernels& kernels_;
    const AreaView source_;
    const AreaView destination_;
    const RunWalker runs_;
    const uint32_t reached_ = pixelsReached(runs_);
    PlannedColumns<RunWalker, RampPlan<Channels>> plans_;
    ColumnMeans<Channels> means_;
    uint8_t pixels_[batchComponents + Channels];
};

// The lines of a run, from its first line towards that of the next run.
template <unsigned Channels>
void rampLines(const AreaView& area, Span run, uint32_t next, uint32_t width) noexcept
{
    if (next == run.start) {
        replicateLines(area)(run, width);
        return;
    }
    const EnlargeKernels& kernels = *lx::kernels().enlarge;
    for (uint32_t t = 1; t < run.length; ++t)
        kernels.ramp(area.row(run.start), area.row(next), area.row(run.start + t), size_t{width} * Channels, t,
                     run.length, linesAhead(area, run.start + t));
}

template <unsigned Channels, class Line>
void averageLines(const AreaView& source, const AreaView& destination, ProgressCallback progress)
{
    const uint32_t tallest = longestBlock<BlockWalker<float>>(source.height(), destination.height());
    Line line(source, destination, tallest);
    scaleRows(
        source, destination, passShares(source, destination), progress,
        [&](uint32_t j, Span lines) { return line.make(j, lines); },
        [&](Span run, uint32_t next, uint32_t width) { rampLines<Channels>(destination, run, next, width); });
}

// Runs of one and two on both axes: the second line of a run is made of the source as well, so that lines are written
// in order.
template <unsigned Channels>
void averageHalves(const AreaView& source, const AreaView& destination, ProgressCallback progress)
{
    const RunWalker runs(source.height(), destination.height());
    RampLine<Channels> maker(source, destination, 1);
    repeatRows(runs, widthEnlarged, progress, [&](Span run, uint32_t line) {
        maker.make(run.start, Span{line, 1});
        const bool isLast = line + 1 == source.height() || run.start + run.length == runs.reach();
        if (run.length == 2)
            maker.makeBetween(run.start + 1, line, isLast ? line : line + 1);
    });
}

template <unsigned Channels>
int8_t average(uint16_t type, const ImageArea* source, const ImageArea* destination, ProgressCallback progress)
{
    if (!isScalable(*source, *destination, type))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    const auto makesHalves = [](uint32_t before, uint32_t after) {
        return before < after && hasHalves(RunWalker(before, after));
    };
    if (makesHalves(from.width(), to.width()) && makesHalves(from.height(), to.height()))
        averageHalves<Channels>(from, to, progress);
    else if (from.width() >= to.width())
        averageLines<Channels, AveragedLine<Channels>>(from, to, progress);
    else
        averageLines<Channels, RampLine<Channels>>(from, to, progress);
    return IMAGE_STATUS_OK;
}

} // namespace

int8_t ScaleGray256ByAveraging(const ImageArea* source, const ImageArea* destination,
                               ProgressCallback progress) noexcept
{
    return average<1>(IMAGE_TYPE_256GRAY, source, destination, progress);
}

int8_t ScaleFullColorByAveraging(const ImageArea* source, const ImageArea* destination,
                                 ProgressCallback progress) noexcept
{
    return average<3>(IMAGE_TYPE_16MRGB, source, destination, progress);
}

} // namespace lx
