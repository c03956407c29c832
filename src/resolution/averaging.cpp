// Scaling by averaging: means of blocks on an axis that shrinks, straight ramps from pixel to pixel on one that grows.
//
// Where the width grows, a line is made from its source line, or from the means of its block's columns, by ramps along
// each run; where the height grows, the lines of a run are ramps from the run's first line to that of the next run. The
// last run of either axis is flat. A ramp of L pixels from v to n is trunc(v + t d) for t from 0 to L - 1,
// d = (n - v) * (1 / L) in single precision and the rest in double. Doubling both axes has a form of its own.

#include "resolution/averaged_line.h"
#include "resolution/picked_columns.h"
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
    static constexpr uint32_t mostPixels = 1024;

    ColumnMeans(const AreaView& source, uint32_t tallest) noexcept
        : source_(source), means_(source), planned_(means_.canMake(tallest, 1))
    {
        BlockWalker<float> single(mostPixels, mostPixels);
        plan_.take(single, 0);
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

// Runs up to this long are planned pixel by pixel.
constexpr uint32_t longestPlannedRun = 64;

// A Plan of ramps: which pixel each run starts from, and how far along the run its components are.
template <unsigned Channels>
struct RampPlan {
    using Picks = PickedColumns<Channels>;

    Picks picks;
    uint8_t times[Picks::groupLimit * PickGroup::lanes]; // the top bit marks the longer runs

    uint32_t take(RunWalker& runs, uint32_t from) noexcept
    {
        picks.begin(0);
        uint32_t taken = 0;
        uint8_t* time = times;
        // The longest run opens four groups at most.
        for (Span run; picks.groupCount + 4 <= Picks::groupLimit && runs.next(run); ++taken) {
            if (taken == 0)
                picks.first = run.start;
            const unsigned longer = run.length > runs.shortest() ? 128 : 0;
            for (uint32_t t = 0; t < run.length; ++t, time += Channels) {
                picks.add(from + taken);
                std::memset(time, static_cast<int>(t | longer), Channels);
            }
        }
        return taken;
    }
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
          runs_(source.width(), destination.width()), plans_(runs_), means_(source, tallest)
    {
    }

    uint32_t make(uint32_t j, Span lines) noexcept
    {
        const uint8_t* source = source_.row(lines.start);
        if (isTwice(runs_) && lines.length == 1)
            kernels_.rampTwice(source, source, destination_.row(j), size_t{source_.width()} * Channels, Channels);
        else if (runs_.longest() > longestPlannedRun)
            makeRunByRun(j, lines);
        else
            plans_.forEach([&](const RampPlan<Channels>& plan) { makePlanned(plan, j, lines); });
        return reached_;
    }

  private:
    static constexpr uint32_t batchGroups = 16;
    static constexpr uint32_t batchComponents = batchGroups * PickGroup::lanes;

    void makePlanned(const RampPlan<Channels>& plan, uint32_t j, Span lines) noexcept
    {
        uint8_t* out = destination_.at(plan.picks.first, j);
        const uint8_t* times = plan.times;
        for (uint32_t g = 0; g < plan.picks.groupCount; g += batchGroups) {
            const PickGroup* groups = plan.picks.groups + g;
            const uint32_t count = std::min(batchGroups, plan.picks.groupCount - g);
            const PickGroup& last = groups[count - 1];
            const uint32_t base = groups[0].base;
            const uint32_t components = (count - 1) * groups[0].count + last.count;
            fetch(plan.picks.sourceFirst + base / Channels, (last.base + last.last - base) / Channels + 1, lines);
            kernels_.rampPicked(pixels_, base, Channels, out, groups, count, times, runs_.shortest(),
                                linesAhead(destination_, j));
            out += components;
            times += components;
        }
    }

    // Brings `count` pixels and the one behind them, which the last pixel of a line stands in for.
    void fetch(uint32_t first, uint32_t count, Span lines) noexcept
    {
        const uint32_t there = std::min(count + 1, source_.width() - first);
        means_.make(first, there, lines, pixels_);
        if (there == count)
            std::memcpy(pixels_ + size_t{count} * Channels, pixels_ + size_t{count - 1} * Channels, Channels);
    }

    void makeRunByRun(uint32_t j, Span lines) noexcept
    {
        RunWalker walker = runs_;
        Span run;
        for (uint32_t i = 0; walker.next(run); ++i) {
            fetch(i, 1, lines);
            uint8_t* out = destination_.at(run.start, j);
            for (unsigned c = 0; c < Channels; ++c) {
                const int v = pixels_[c];
                const double d =
                    static_cast<float>(pixels_[Channels + c] - v) * (1.0F / static_cast<float>(run.length));
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
    uint8_t pixels_[batchComponents + 2 * Channels];
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

// Both axes doubled: the second line of a run is made of the source as well, so that lines are written in order.
template <unsigned Channels>
void averageTwice(const AreaView& source, const AreaView& destination, ProgressCallback progress)
{
    const auto rampTwice = kernels().enlarge->rampTwice;
    const auto make = [&](uint32_t j, uint32_t top, uint32_t bottom) {
        rampTwice(source.row(top), source.row(bottom), destination.row(j), size_t{source.width()} * Channels, Channels);
    };
    enlargeRows(
        RunWalker(source.height(), destination.height()), widthEnlarged, progress,
        [&](uint32_t j, Span lines) {
            make(j, lines.start, lines.start);
            return destination.width();
        },
        [&](Span run, uint32_t) {
            const uint32_t line = run.start / 2;
            make(run.start + 1, line, std::min(line + 1, source.height() - 1));
        });
}

template <unsigned Channels>
int8_t average(uint16_t type, const ImageArea* source, const ImageArea* destination, ProgressCallback progress)
{
    if (!isScalable(*source, *destination, type))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    const auto doubles = [](uint32_t before, uint32_t after) {
        return before < after && isTwice(RunWalker(before, after));
    };
    if (doubles(from.width(), to.width()) && doubles(from.height(), to.height()))
        averageTwice<Channels>(from, to, progress);
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
