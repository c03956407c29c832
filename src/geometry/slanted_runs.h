// Where the source pixels of a row turned by a small angle lie, as runs of neighbours.
//
// Sine and cosine are single-precision numbers, so both are integers in units of 2^-f for some f, and so are all the
// coordinates that are formed from them. When the coordinates of the whole destination fit the 53 bits of a double,
// the sums in double precision are exact and integers give the very same positions: a run ends where a coordinate
// reaches its next level. Angles and sizes for which this does not hold, and steep angles, go pixel by pixel.

#pragma once

#include "frame/row_io.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace lx
{

// Smallest and largest level that a coordinate may take: at most 0 and at least 0.
struct LevelRange {
    int64_t first;
    int64_t last;
};

// Columns `begin` to `end` - 1.
struct Span {
    int64_t begin;
    int64_t end;
};

constexpr int64_t floorOfQuotient(int64_t dividend, int64_t divisor)
{
    return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

// A coordinate that grows by `slope` >= 0 from column to column, with `bits` fraction bits. Its level is its integer
// part, truncated toward zero.
struct Coordinate {
    int64_t start;
    int64_t slope;
    unsigned bits;

    int64_t at(int64_t column) const { return start + slope * column; }
    int64_t below(int64_t value) const { return value < 0 ? (int64_t{1} << bits) - 1 : 0; }
    int64_t level(int64_t column) const { return (at(column) + below(at(column))) >> bits; }

    // The first column whose value is at least `value`; `none` if that depends on the start alone and is not so.
    int64_t reaches(int64_t value, int64_t none) const
    {
        if (slope == 0)
            return start >= value ? 0 : none;
        return -floorOfQuotient(start - value, slope);
    }

    // The columns up to `width` whose levels are in range.
    Span inside(const LevelRange& range, int64_t width) const
    {
        const int64_t unit = int64_t{1} << bits;
        return {std::clamp<int64_t>(reaches((range.first - 1) * unit + 1, width), 0, width),
                std::clamp<int64_t>(reaches((range.last + 1) * unit, width), 0, width)};
    }
};

// Cosine and sine as integers in units of 2^-bits.
struct FixedAngle {
    unsigned bits;
    int64_t cosine;
    int64_t sine;
};

// The runs of every destination row, for a cosine that is not negative.
class SlantedRuns
{
  public:
    // Whether the runs are exact for areas whose widths and heights sum up to these numbers, and worth their while; the
    // angle is set if so.
    static bool fit(float cosine, float sine, uint64_t sourceSize, uint64_t destinationSize, FixedAngle& angle) noexcept
    {
        if (!(cosine > 0 && std::abs(sine) + (1 - cosine) < 1.0F / RunRow::shortest))
            return false;
        angle.bits = std::max(fractionBits(cosine), fractionBits(sine));
        if (angle.bits > mostBits || destinationSize > uint64_t{1} << (53 - angle.bits) ||
            sourceSize > uint64_t{1} << (60 - angle.bits))
            return false;
        angle.cosine = static_cast<int64_t>(std::ldexp(double{cosine}, static_cast<int>(angle.bits)));
        angle.sine = static_cast<int64_t>(std::ldexp(double{sine}, static_cast<int>(angle.bits)));
        return true;
    }

    SlantedRuns(const FixedAngle& angle, const AreaView& source, const AreaView& destination) noexcept
        : angle_(angle), unit_(std::ldexp(1.0, -static_cast<int>(angle.bits))), source_(source),
          width_(destination.width()), centreColumn_(destination.width() / 2), centreRow_(destination.height() / 2),
          sourceColumn_(source.width() / 2), upward_(angle.sine >= 0), centre_(source.row(source.height() / 2)),
          climb_(upward_ ? -source.lineStep() : source.lineStep()), columns_{-sourceColumn_,
                                                                             source.width() - 1 - sourceColumn_},
          columnsPerClimb_(columnsPerStep(std::abs(angle.sine))),
          columnsPerStall_(columnsPerStep((int64_t{1} << angle.bits) - angle.cosine))
    {
        const int64_t above = source.height() / 2;
        const int64_t below = source.height() - 1 - above;
        lines_ = upward_ ? LevelRange{-below, above} : LevelRange{-above, below};
    }

    // Where a destination row lies on the source. The columns from begin to end - 1 are those inside.
    struct Row {
        Coordinate across;
        Coordinate along;
        int64_t begin;
        int64_t end;
    };

    Row row(uint32_t number) const noexcept
    {
        const int64_t dy = centreRow_ - int64_t{number};
        const int64_t rise = std::abs(angle_.sine);
        const Coordinate across{-angle_.cosine * centreColumn_ - angle_.sine * dy, angle_.cosine, angle_.bits};
        const Coordinate along{-rise * centreColumn_ + (upward_ ? angle_.cosine : -angle_.cosine) * dy, rise,
                               angle_.bits};
        const Span a = across.inside(columns_, width_);
        const Span b = along.inside(lines_, width_);
        return {across, along, std::max(a.begin, b.begin), std::min(a.end, b.end)};
    }

    // A row for the kernel that makes rows of bits at once.
    SlantedBits bits(const Row& row) const noexcept
    {
        const auto scaled = [this](const Coordinate& c) {
            return SlantedBits::Coordinate{static_cast<double>(c.start) * unit_, static_cast<double>(c.slope) * unit_};
        };
        return {.centre = centre_,
                .climb = climb_,
                .ahead = 24 * source_.lineStep(),
                .lineBytes = lineBytes(),
                .column = source_.phase() + sourceColumn_,
                .unit = unit_,
                .across = scaled(row.across),
                .along = scaled(row.along),
                .begin = row.begin,
                .end = row.end};
    }

    // Calls `copy(k, piece)`: the destination pixels from column k on.
    template <class Copy>
    void walk(const Row& row, Copy copy) const noexcept
    {
        const auto& [across, along, begin, end] = row;
        // Truncation toward zero turns round where a coordinate changes its sign.
        int64_t turns[] = {across.reaches(0, width_), along.reaches(0, width_), end};
        if (turns[0] > turns[1])
            std::swap(turns[0], turns[1]);
        int64_t k = begin;
        for (const int64_t turn : turns) {
            while (k < std::min(turn, end)) {
                const int64_t next = std::min({turn, end, k + int64_t{RunRow::most}});
                copy(static_cast<uint32_t>(k), piece(across, along, {k, next}));
                k = next;
            }
        }
    }

  private:
    // The column of a step is found by a quotient that is off by less than RunRow::most * 2^-52. Half a unit, over a
    // slope of less than 1/8, keeps it by 4 * 2^-bits away from all integers.
    static constexpr unsigned mostBits = 40;

    // Digits behind the binary point.
    static unsigned fractionBits(float value)
    {
        int exponent = 0;
        return std::frexp(value, &exponent) != 0 ? static_cast<unsigned>(24 - exponent) : 0;
    }

    size_t lineBytes() const { return ((size_t{source_.phase()} + source_.width()) * source_.bits() + 7) / 8; }

    double columnsPerStep(int64_t slope) const
    {
        return slope != 0 ? 1 / (static_cast<double>(slope) * unit_) : std::numeric_limits<double>::infinity();
    }

    // Columns in which neither coordinate changes its sign.
    RunRow piece(const Coordinate& across, const Coordinate& along, const Span& columns) const noexcept
    {
        const int64_t left = across.at(columns.begin);
        const int64_t up = along.at(columns.begin);
        return {.line = centre_ + static_cast<ptrdiff_t>(along.level(columns.begin)) * climb_,
                .climb = climb_,
                .ahead = 4 * source_.lineStep(),
                .lineBytes = lineBytes(),
                .phase = source_.phase(),
                .column = static_cast<size_t>(sourceColumn_ + across.level(columns.begin)),
                .pixels = static_cast<size_t>(columns.end - columns.begin),
                .climbs = {toNextLevel(up + along.below(up)), columnsPerClimb_},
                // The source column stays behind by one wherever the growing rest, k - across, reaches its next level.
                .stalls = {toNextLevel(-left + (left < 0 ? 0 : across.below(-1))), columnsPerStall_}};
    }

    // How far a value is from the next whole number above it. Half a unit less gives the same column by truncation, and
    // no quotient is near an integer.
    double toNextLevel(int64_t value) const
    {
        const int64_t missing = (int64_t{1} << angle_.bits) - (value & ((int64_t{1} << angle_.bits) - 1));
        return (static_cast<double>(missing) - 0.5) * unit_;
    }

    const FixedAngle angle_;
    const double unit_;
    const AreaView source_;
    const int64_t width_;
    const int64_t centreColumn_;
    const int64_t centreRow_;
    const int64_t sourceColumn_;  // of the source's centre
    const bool upward_;           // whether source lines go up from left to right
    const uint8_t* const centre_; // the source's centre line
    const ptrdiff_t climb_;       // bytes from one source line to the next, on the way from left to right
    const LevelRange columns_;
    LevelRange lines_;
    const double columnsPerClimb_;
    const double columnsPerStall_;
};

} // namespace lx
