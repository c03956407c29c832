// How the pixels of one axis are shared out when its size changes.
//
// A reduced axis is cut into blocks of source pixels, one for each destination pixel; an enlarged one, or one that
// keeps its size, gives every source pixel a run of destination pixels. Both are q or q + 1 long, and an accumulator of
// the fraction f says which. It starts at 0 and is tested before it grows, so the extra pixel never falls on the first
// block and the last pixels may not be reached: this is deliberate, and so is the single precision, which decides where
// the extra pixels fall. All sizes are at least 1.
//
// The walkers are small values: a copy is a place to come back to. next() gives the blocks or runs in order.

#pragma once

#include "frame/numeric.h"

#include <algorithm>
#include <cstdint>

namespace lx
{

// Neighbouring pixels or lines: `start` to `start + length - 1`.
struct Span {
    uint32_t start;
    uint32_t length;
};

// Quotient, fraction and accumulator of sizes large >= small.
template <class Real>
class Shares
{
  public:
    Shares(uint32_t large, uint32_t small) noexcept
        : quotient_(large / small), fraction_(static_cast<Real>(static_cast<double>(large) / small - quotient_))
    {
    }

    // Whether the accumulator grants an extra pixel now; it then pays for it.
    bool due() noexcept
    {
        if (accumulator_ < Real{1})
            return false;
        accumulator_ -= Real{1};
        return true;
    }

    void grow() noexcept { accumulator_ += fraction_; }

    uint32_t quotient() const { return quotient_; }
    Real fraction() const { return fraction_; }

  private:
    uint32_t quotient_;
    Real fraction_;
    Real accumulator_ = 0;
};

// Blocks of a reduced axis: source > destination.
template <class Real>
class BlockWalker
{
  public:
    BlockWalker(uint32_t source, uint32_t destination) noexcept
        : shares_(source, destination), source_(source), left_(destination)
    {
    }

    // When every destination pixel has had its block or the source is used up. Destination pixels without a block are
    // not reached.
    bool done() const { return left_ == 0 || position_ == source_; }

    // The next block of source pixels, cut at the end of the source.
    bool next(Span& block) noexcept
    {
        if (done())
            return false;
        const uint32_t size = shares_.quotient() + (shares_.due() ? 1 : 0);
        block = {position_, std::min(size, source_ - position_)};
        shares_.grow();
        position_ += block.length;
        --left_;
        return true;
    }

    // Blocks are one or the other, but for the last one.
    uint32_t shortest() const { return shares_.quotient(); }
    uint32_t longest() const { return shares_.quotient() + (shares_.fraction() > 0 ? 1 : 0); }

  private:
    Shares<Real> shares_;
    uint32_t source_;
    uint32_t left_;
    uint32_t position_ = 0;
};

// Blocks of a reduced axis, the extra pixel of every period of about 1 / f falling where a random number says, so that
// regular patterns do not beat with a regular one. How many blocks are longer is still up to the accumulator.
class PlacedBlockWalker
{
  public:
    PlacedBlockWalker(uint32_t source, uint32_t destination) noexcept
        : shares_(source, destination), source_(source), left_(destination), period_(periodOf(shares_.fraction()))
    {
    }

    // 0: the sizes divide, and nothing is placed at random.
    uint32_t period() const { return period_; }

    void place(uint32_t draw) noexcept { offset_ = period_ != 0 ? draw % period_ : 0; }

    bool done() const { return left_ == 0 || position_ == source_; }

    bool next(Span& block) noexcept
    {
        if (done())
            return false;
        uint32_t size = shares_.quotient();
        if (!taken_ && period_ != 0 && place_ == offset_) {
            ++size;
            taken_ = true;
        }
        if (shares_.due()) {
            if (!taken_)
                ++size;
            taken_ = false;
        }
        block = {position_, std::min(size, source_ - position_)};
        shares_.grow();
        position_ += block.length;
        place_ += block.length;
        if (place_ >= period_ && period_ != 0)
            place_ = place_ - period_ < period_ ? place_ - period_ : place_ % period_;
        --left_;
        return true;
    }

    uint32_t shortest() const { return shares_.quotient(); }
    uint32_t longest() const { return shares_.quotient() + (period_ != 0 ? 1 : 0); }

  private:
    // trunc(1 / f); periods beyond 31 bits, longer than any axis that asks for one, saturate.
    static uint32_t periodOf(float fraction)
    {
        if (!(fraction > 0.0F))
            return 0;
        return static_cast<uint32_t>(std::min<int64_t>(truncateToInt64(1.0 / fraction), INT32_MAX));
    }

    Shares<float> shares_;
    uint32_t source_;
    uint32_t left_;
    uint32_t period_;
    uint32_t offset_ = 0;
    uint32_t position_ = 0;
    uint32_t place_ = 0; // of the position in its period
    bool taken_ = false; // the extra pixel of this period has been given before it was due
};

// The same blocks again, from a bit for each that says whether it is a longer one.
class MarkedBlockWalker
{
  public:
    // Sets the bits of the blocks that are to come; the others are left alone.
    static void mark(PlacedBlockWalker blocks, uint64_t* bits) noexcept
    {
        Span block;
        for (uint32_t k = 0; blocks.next(block); ++k)
            bits[k / 64] |= uint64_t{block.length > blocks.shortest()} << k % 64;
    }

    MarkedBlockWalker(uint32_t source, uint32_t destination, const uint64_t* bits) noexcept
        : bits_(bits), source_(source), destination_(destination), shortest_(source / destination)
    {
    }

    bool done() const { return block_ == destination_ || position_ == source_; }

    bool next(Span& block) noexcept
    {
        if (done())
            return false;
        const uint32_t size = shortest_ + static_cast<uint32_t>(bits_[block_ / 64] >> block_ % 64 & 1);
        block = {position_, std::min(size, source_ - position_)};
        position_ += block.length;
        ++block_;
        return true;
    }

    // Passes over some blocks at once, `most` at most, that end within `pixels` from here and are not the last; returns
    // their number. Calls put(k, start, isLong) for each.
    template <class Put>
    uint32_t pass(uint32_t most, uint32_t pixels, Put put) noexcept
    {
        if (done())
            return 0;
        const uint32_t n =
            std::min({most, destination_ - block_ - 1, std::min(pixels, source_ - position_ - 1) / (shortest_ + 1)});
        const uint64_t* const bits = bits_;
        const uint32_t shortest = shortest_;
        const uint32_t first = block_;
        uint32_t position = position_;
        for (uint32_t k = 0; k < n; ++k) {
            const auto isLong = static_cast<uint32_t>(bits[(first + k) / 64] >> (first + k) % 64 & 1);
            put(k, position, isLong);
            position += shortest + isLong;
        }
        position_ = position;
        block_ += n;
        return n;
    }

    uint32_t shortest() const { return shortest_; }
    uint32_t longest() const { return shortest_ + 1; }

  private:
    const uint64_t* bits_;
    uint32_t source_;
    uint32_t destination_;
    uint32_t shortest_;
    uint32_t position_ = 0;
    uint32_t block_ = 0;
};

// Runs of an enlarged axis or one that keeps its size: source <= destination.
class RunWalker
{
  public:
    RunWalker(uint32_t source, uint32_t destination) noexcept
        : shares_(destination, source), left_(source), reach_(reachOf(source, destination))
    {
    }

    // Destination pixels that runs may cover. Their sum can still fall short of it, which is left as it is.
    uint32_t reach() const { return reach_; }

    bool done() const { return left_ == 0; }

    // Whether the reach is used up, so that the runs still to come are empty: very long axes have such runs.
    bool full() const { return position_ == reach_; }

    // The run of the next source pixel.
    bool next(Span& run) noexcept
    {
        if (done())
            return false;
        const uint32_t size = shares_.quotient() + (shares_.due() ? 1 : 0);
        run = {position_, std::min(size, reach_ - position_)};
        shares_.grow();
        position_ += run.length;
        --left_;
        return true;
    }

    // The length of the shorter runs, and the longest that next() may give.
    uint32_t shortest() const { return shares_.quotient(); }
    uint32_t longest() const { return shares_.quotient() + (shares_.fraction() > 0 ? 1 : 0); }

  private:
    // The product is one of the fraction in double precision, unlike the accumulator's.
    static uint32_t reachOf(uint32_t source, uint32_t destination)
    {
        const uint32_t quotient = destination / source;
        const double fraction = static_cast<double>(destination) / source - quotient;
        const uint64_t whole = uint64_t{quotient} * source;
        const auto rest = static_cast<uint64_t>(fraction * source + 0.5);
        return static_cast<uint32_t>(std::min<uint64_t>(whole + rest, destination));
    }

    Shares<float> shares_;
    uint32_t left_;
    uint32_t reach_;
    uint32_t position_ = 0;
};

// An enlarged axis seen from its destination pixels: each has a block of one, the source pixel whose run it is in.
class RepeatedBlockWalker
{
  public:
    RepeatedBlockWalker(uint32_t source, uint32_t destination) noexcept : runs_(source, destination) { moveOn(); }

    bool done() const { return left_ == 0; }

    bool next(Span& block) noexcept
    {
        if (done())
            return false;
        block = {pixel_ - 1, 1};
        if (--left_ == 0)
            moveOn();
        return true;
    }

    uint32_t shortest() const { return 1; }
    uint32_t longest() const { return 1; }

  private:
    void moveOn() noexcept
    {
        Span run;
        while (left_ == 0 && runs_.next(run)) {
            left_ = run.length;
            ++pixel_;
        }
    }

    RunWalker runs_;
    uint32_t pixel_ = 0; // source pixels whose runs have been begun
    uint32_t left_ = 0;  // of the last one's run
};

// The longest block of an axis, which is one pixel if the axis does not shrink.
template <class Blocks>
uint32_t longestBlock(uint32_t source, uint32_t destination) noexcept
{
    return source > destination ? Blocks(source, destination).longest() : 1;
}

// Pixels of the destination that the blocks or runs still to come reach.
template <class Blocks>
uint32_t pixelsReached(Blocks blocks) noexcept
{
    uint32_t reached = 0;
    for (Span block; blocks.next(block);)
        ++reached;
    return reached;
}

inline uint32_t pixelsReached(RunWalker runs) noexcept
{
    uint32_t reached = 0;
    for (Span run; runs.next(run);)
        reached += run.length;
    return reached;
}

} // namespace lx
