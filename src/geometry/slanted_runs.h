// Where the source pixels of a row turned by a small angle lie, as runs of neighbours.
//
// Sine and cosine are single-precision numbers, so both are integers in units of 2^-f for some f, and so are all the
// coordinates that are formed from them. When the coordinates of the whole destination fit the 53 bits of a double,
// the sums in double precision are exact and integers give the very same positions: a run ends where a coordinate
// reaches its next level, and the distance to the level after that is one of two neighbouring numbers, as in the
// drawing of a line. Angles and sizes for which this does not hold, and steep angles, go pixel by pixel.

#pragma once

#include "frame/row_io.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

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

// Distances from one whole number of units to the next, for a value that grows by `slope` with every column.
class LevelSteps
{
  public:
    static constexpr int64_t never = int64_t{1} << 62;

    LevelSteps(int64_t slope, unsigned bits)
        : slope_(slope), unit_(int64_t{1} << bits), columns_(slope != 0 ? unit_ / slope : never),
          rest_(slope != 0 ? unit_ % slope : 0)
    {
    }

    // Columns from `value` to the first one that has reached the next whole number.
    int64_t start(int64_t value)
    {
        if (slope_ == 0)
            return never;
        const int64_t missing = unit_ - (value & (unit_ - 1));
        const int64_t columns = (missing + slope_ - 1) / slope_;
        excess_ = columns * slope_ - missing;
        return columns;
    }

    // From there to the next one.
    int64_t next()
    {
        const bool longer = excess_ < rest_;
        excess_ += (longer ? slope_ : 0) - rest_;
        return columns_ + (longer ? 1 : 0);
    }

  private:
    int64_t slope_;
    int64_t unit_;
    int64_t columns_;
    int64_t rest_;
    int64_t excess_ = 0; // how far the last whole number was passed
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
        if (!(cosine > 0 && std::abs(sine) + (1 - cosine) < 1.0F / shortest))
            return false;
        angle.bits = std::max(fractionBits(cosine), fractionBits(sine));
        if (angle.bits > 53 || destinationSize > uint64_t{1} << (53 - angle.bits) ||
            sourceSize > uint64_t{1} << (60 - angle.bits))
            return false;
        angle.cosine = static_cast<int64_t>(std::ldexp(double{cosine}, static_cast<int>(angle.bits)));
        angle.sine = static_cast<int64_t>(std::ldexp(double{sine}, static_cast<int>(angle.bits)));
        return true;
    }

    SlantedRuns(const FixedAngle& angle, const AreaView& source, const AreaView& destination) noexcept
        : angle_(angle), width_(destination.width()), centreColumn_(destination.width() / 2),
          centreRow_(destination.height() / 2), sourceColumn_(source.width() / 2), upward_(angle.sine >= 0),
          centre_(source.row(source.height() / 2)),
          climb_(upward_ ? -source.lineStep() : source.lineStep()), columns_{-sourceColumn_,
                                                                             source.width() - 1 - sourceColumn_},
          stalls_((int64_t{1} << angle.bits) - angle.cosine, angle.bits), climbs_(std::abs(angle.sine), angle.bits)
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
    SlantedBits bits(const Row& row, const AreaView& source) const noexcept
    {
        const double unit = std::ldexp(1.0, -static_cast<int>(angle_.bits));
        const auto scaled = [unit](const Coordinate& c) {
            return SlantedBits::Coordinate{static_cast<double>(c.start) * unit, static_cast<double>(c.slope) * unit};
        };
        return {.centre = centre_,
                .climb = climb_,
                .ahead = 24 * source.lineStep(),
                .lineBytes = (size_t{source.phase()} + source.width() + 7) / 8,
                .column = source.phase() + sourceColumn_,
                .unit = unit,
                .across = scaled(row.across),
                .along = scaled(row.along),
                .begin = row.begin,
                .end = row.end};
    }

    // Calls `copy(k, runs, count, n)`: `count` runs bring the n destination pixels from column k on.
    template <class Copy>
    void walk(const Row& row, Copy copy) noexcept
    {
        const auto& [across, along, begin, end] = row;
        // Truncation toward zero turns round where a coordinate changes its sign.
        int64_t turns[] = {across.reaches(0, width_), along.reaches(0, width_), end};
        if (turns[0] > turns[1])
            std::swap(turns[0], turns[1]);
        int64_t k = begin;
        for (const int64_t turn : turns) {
            while (k < std::min(turn, end)) {
                const Span piece{k, std::min({turn, end, k + chunkPixels})};
                copy(static_cast<uint32_t>(k), runs_, list(across, along, piece), static_cast<uint32_t>(piece.end - k));
                k = piece.end;
            }
        }
    }

  private:
    static constexpr unsigned shortest = 8; // pixels of a run on average; shorter ones are not worth their while

    // Digits behind the binary point.
    static unsigned fractionBits(float value)
    {
        int exponent = 0;
        return std::frexp(value, &exponent) != 0 ? static_cast<unsigned>(24 - exponent) : 0;
    }

    // The runs of columns in which neither coordinate changes its sign.
    size_t list(const Coordinate& across, const Coordinate& along, const Span& piece) noexcept
    {
        const int64_t unit = int64_t{1} << angle_.bits;
        int64_t column = sourceColumn_ + across.level(piece.begin);
        ptrdiff_t line = static_cast<ptrdiff_t>(along.level(piece.begin)) * climb_;
        LevelSteps stalls = stalls_;
        LevelSteps climbs = climbs_;
        // The source column stays behind by one wherever the growing rest, k - across, reaches its next level.
        const int64_t left = across.at(piece.begin);
        int64_t toStall = stalls.start(-left + (left < 0 ? 0 : unit - 1));
        int64_t toClimb = climbs.start(along.at(piece.begin) + along.below(along.at(piece.begin)));
        PixelRun* run = runs_;
        for (int64_t missing = piece.end - piece.begin; missing != 0; ++run) {
            const int64_t n = std::min({toStall, toClimb, missing});
            *run = {centre_ + line, static_cast<uint32_t>(column), static_cast<uint32_t>(n)};
            missing -= n;
            column += n;
            toStall -= n;
            toClimb -= n;
            if (toStall == 0) {
                --column;
                toStall = stalls.next();
            }
            if (toClimb == 0) {
                line += climb_;
                toClimb = climbs.next();
            }
        }
        return static_cast<size_t>(run - runs_);
    }

    const FixedAngle angle_;
    const int64_t width_;
    const int64_t centreColumn_;
    const int64_t centreRow_;
    const int64_t sourceColumn_;  // of the source's centre
    const bool upward_;           // whether source lines go up from left to right
    const uint8_t* const centre_; // the source's centre line
    const ptrdiff_t climb_;       // bytes from one source line to the next, on the way from left to right
    const LevelRange columns_;
    LevelRange lines_;
    const LevelSteps stalls_;
    const LevelSteps climbs_;
    PixelRun runs_[chunkPixels / shortest + 4];
};

} // namespace lx
