// The drivers of scaling: how every worker goes through the lines.
//
// A worker brings the horizontal rule, a callable `makeLine(j, lines)` that makes destination line j from a block of
// source lines and returns how many pixels of it the rule has reached. Where the height shrinks, that is all there is
// to do. Where it grows or stays, the block is one line thick and the line made is the first of its run; a second
// callable makes the other lines of the run, `width` being the pixels reached in the first: `fillRun(run, width)` is
// called at once, `fillRun(run, next, width)` after the first line of the following run, `next`, has been made too.
// The two passes are taken together, so that a run is filled while its first line is still in the cache; what the
// second pass has to report follows when everything is done, in the order and with the values of two passes.

#pragma once

#include "frame/area_view.h"
#include "frame/progress.h"
#include "kernels/kernels.h"
#include "resolution/block_geometry.h"

#include <cstdlib>
#include <ctime>
#include <type_traits>

namespace lx
{

inline bool isScalable(const ImageArea& source, const ImageArea& destination, uint16_t sourceType,
                       uint16_t destinationType) noexcept
{
    return source.type == sourceType && destination.type == destinationType && source.width != 0 &&
           source.height != 0 && destination.width != 0 && destination.height != 0;
}

inline bool isScalable(const ImageArea& source, const ImageArea& destination, uint16_t type) noexcept
{
    return isScalable(source, destination, type, type);
}

// How the two passes of a vertical enlargement share the scale of 50.
struct PassShares {
    uint32_t first;  // 0: the first pass reports raw line counts
    uint32_t second; // the end of the scale
};

constexpr PassShares widthEnlarged = {45, 5};
constexpr PassShares widthReduced = {0, 5};

inline PassShares passShares(const AreaView& source, const AreaView& destination)
{
    return source.width() > destination.width() ? widthReduced : widthEnlarged;
}

// `blocks` is the walker of the vertical axis, `height` the destination's.
template <class Blocks, class MakeLine>
void reduceRows(Blocks blocks, uint32_t height, ProgressCallback callback, MakeLine makeLine)
{
    Progress progress(callback);
    Span lines;
    for (uint32_t j = 0; blocks.next(lines); ++j) {
        makeLine(j, lines);
        progress.shareDone(j, height, 50, 0);
    }
}

// Runs as a whole: `makeRun(run, line)` makes the lines of one from source line `line`, and `finish()` whatever is left
// before the second pass.
template <class MakeRun, class Finish>
void repeatRows(const RunWalker& runs, PassShares shares, ProgressCallback callback, MakeRun makeRun, Finish finish)
{
    Progress progress(callback);
    RunWalker walker = runs;
    Span run;
    for (uint32_t line = 0; walker.next(run); ++line) {
        if (run.length != 0)
            makeRun(run, line);
        const uint32_t covered = run.start + run.length;
        if (shares.first == 0)
            progress.rawCount(covered, 2 * runs.reach());
        else
            progress.shareDone(covered, runs.reach(), shares.first, 0);
    }
    finish();
    if (callback == nullptr)
        return;
    for (walker = runs; walker.next(run);)
        progress.shareDone(run.start + run.length, runs.reach(), shares.second, 50 - shares.second);
}

template <class MakeRun>
void repeatRows(const RunWalker& runs, PassShares shares, ProgressCallback callback, MakeRun makeRun)
{
    repeatRows(runs, shares, callback, makeRun, [] {});
}

// Runs of source lines `line`, `line` + 1, ...: runs of destination lines from `start` on, one after the other.
struct LineRuns {
    static constexpr uint32_t most = 16;

    uint32_t line;
    uint32_t start;
    uint32_t count;
    uint32_t lengths[most];

    RowRuns rows(const uint8_t* source, ptrdiff_t sourceStep, uint8_t* destination, ptrdiff_t step) const
    {
        return {source, sourceStep, destination, step, lengths, count};
    }
};

// Some runs at a time: `makeRuns(runs)` makes the lines of all of them. One at a time if somebody is told about them.
template <class MakeRuns>
void repeatRowsTogether(const RunWalker& walker, PassShares shares, ProgressCallback callback, MakeRuns makeRuns)
{
    const uint32_t most = callback == nullptr ? LineRuns::most : 1;
    LineRuns runs;
    runs.count = 0;
    const auto makeThem = [&] {
        if (runs.count != 0)
            makeRuns(runs);
        runs.count = 0;
    };
    repeatRows(
        walker, shares, callback,
        [&](Span run, uint32_t line) {
            if (runs.count == 0) {
                runs.line = line;
                runs.start = run.start;
            }
            runs.lengths[runs.count++] = run.length;
            if (runs.count == most)
                makeThem();
        },
        makeThem);
}

// Runs are filled in order where they can be: lines written out of order cost twice the time. `next` is the run's own
// first line if no run follows.
template <class MakeLine, class FillRun>
void enlargeRows(const RunWalker& runs, PassShares shares, ProgressCallback callback, MakeLine makeLine,
                 FillRun fillRun)
{
    if constexpr (std::is_invocable_v<FillRun, Span, uint32_t>) {
        repeatRows(runs, shares, callback, [&](Span run, uint32_t line) {
            fillRun(run, makeLine(run.start, Span{line, 1}));
        });
    } else {
        Span previous = {0, 0};
        uint32_t previousWidth = 0;
        repeatRows(
            runs, shares, callback,
            [&](Span run, uint32_t line) {
                const uint32_t width = makeLine(run.start, Span{line, 1});
                if (previous.length != 0)
                    fillRun(previous, run.start, previousWidth);
                previous = run;
                previousWidth = width;
            },
            [&] { fillRun(previous, previous.start, previousWidth); });
    }
}

// Reduces lines, or calls `enlarge(runs)` to enlarge them.
template <class MakeLine, class Enlarge>
void reduceOrEnlarge(const AreaView& source, const AreaView& destination, ProgressCallback callback, MakeLine makeLine,
                     Enlarge enlarge)
{
    if (source.height() > destination.height()) {
        const BlockWalker<float> blocks(source.height(), destination.height());
        reduceRows(blocks, destination.height(), callback, makeLine);
    } else {
        enlarge(RunWalker(source.height(), destination.height()));
    }
}

// All four geometric cases of a worker.
template <class MakeLine, class FillRun>
void scaleRows(const AreaView& source, const AreaView& destination, PassShares shares, ProgressCallback callback,
               MakeLine makeLine, FillRun fillRun)
{
    reduceOrEnlarge(source, destination, callback, makeLine,
                    [&](const RunWalker& runs) { enlargeRows(runs, shares, callback, makeLine, fillRun); });
}

// The same, the lines of some runs being made together.
template <class MakeLine, class MakeRuns>
void scaleRowsByRuns(const AreaView& source, const AreaView& destination, PassShares shares, ProgressCallback callback,
                     MakeLine makeLine, MakeRuns makeRuns)
{
    reduceOrEnlarge(source, destination, callback, makeLine,
                    [&](const RunWalker& runs) { repeatRowsTogether(runs, shares, callback, makeRuns); });
}

inline void seedDraws() noexcept
{
    std::srand(static_cast<unsigned>(std::time(nullptr)));
}

inline uint32_t drawIf(bool wanted) noexcept
{
    return wanted ? static_cast<uint32_t>(std::rand()) : 0;
}

// The same with blocks placed at random on the axes that shrink: `makeLine(j, lines, draw)` places the columns of its
// line by `draw`. One number is drawn before each line, for both axes, if either of them needs it.
template <class MakeLine, class FillRun>
void scaleRowsPlaced(const AreaView& source, const AreaView& destination, PassShares shares, ProgressCallback callback,
                     MakeLine makeLine, FillRun fillRun)
{
    seedDraws();
    const bool drawsColumns =
        source.width() > destination.width() && PlacedBlockWalker(source.width(), destination.width()).period() != 0;
    if (source.height() <= destination.height()) {
        enlargeRows(
            RunWalker(source.height(), destination.height()), shares, callback,
            [&](uint32_t j, Span line) { return makeLine(j, line, drawIf(drawsColumns)); }, fillRun);
        return;
    }
    Progress progress(callback);
    PlacedBlockWalker blocks(source.height(), destination.height());
    const bool draws = drawsColumns || blocks.period() != 0;
    for (uint32_t j = 0; !blocks.done(); ++j) {
        const uint32_t draw = drawIf(draws);
        blocks.place(draw);
        Span lines;
        blocks.next(lines);
        makeLine(j, lines, draw);
        progress.shareDone(j, destination.height(), 50, 0);
    }
}

// Copies the first `width` pixels of line `from` to the same place in line `to`.
inline void replicateLine(const AreaView& area, uint32_t width, uint32_t from, uint32_t to,
                          const BitKernels& bitKernels = *kernels().bits) noexcept
{
    const unsigned phase = area.phase() * area.bits() % 8;
    bitKernels.copyBits(area.row(from), phase, area.row(to), phase, size_t{width} * area.bits());
}

// The fillRun of workers whose lines are replicated.
inline auto replicateLines(const AreaView& area) noexcept
{
    return [&area, &bitKernels = *kernels().bits](Span run, uint32_t width) {
        for (uint32_t t = 1; t < run.length; ++t)
            replicateLine(area, width, run.start, run.start + t, bitKernels);
    };
}

// Columns of a line, a table at a time. A Plan takes as many blocks or runs from a walker as it has room for, and
// `take(walker, first)` returns their number, `first` being the number of the first of them. If the first plan holds
// the whole line, it is made once and kept; otherwise plans are made anew for every line, since there is no memory but
// the stack.
template <class Walker, class Plan>
class PlannedColumns
{
  public:
    template <class... PlanArguments>
    explicit PlannedColumns(const Walker& walker, const PlanArguments&... planArguments) noexcept
        : begin_(walker), plan_(planArguments...)
    {
        Walker rest = walker;
        plan_.take(rest, 0);
        whole_ = rest.done();
    }

    // Calls use(plan) for the plans of a line, from left to right.
    template <class Use>
    void forEach(Use use)
    {
        if (whole_) {
            use(plan_);
            return;
        }
        Walker walker = begin_;
        for (uint32_t first = 0; !walker.done();) {
            first += plan_.take(walker, first);
            use(plan_);
        }
    }

    // The plan of all columns, if there is one.
    const Plan* whole() const { return whole_ ? &plan_ : nullptr; }

  private:
    Walker begin_;
    bool whole_;
    Plan plan_;
};

// The plainest Plan: the blocks or runs as they are.
struct ColumnSpans {
    static constexpr uint32_t limit = 1024;

    uint32_t first = 0;
    uint32_t count = 0;
    Span spans[limit];

    template <class Walker>
    uint32_t take(Walker& walker, uint32_t from) noexcept
    {
        first = from;
        count = 0;
        while (count < limit && walker.next(spans[count]))
            ++count;
        return count;
    }
};

} // namespace lx
