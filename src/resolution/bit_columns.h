// The columns of a bilevel line as plans for the kernels: blocks whose white pixels are counted, and single pixels.

#pragma once

#include "frame/area_view.h"
#include "kernels/kernels.h"
#include "resolution/block_geometry.h"

#include <cstring>
#include <optional>
#include <type_traits>

namespace lx
{

// Room for the tables of plans.
template <uint32_t Columns>
struct BitColumnMemory {
    static_assert(Columns % 512 == 0);
    alignas(64) uint8_t bias[Columns];
    alignas(64) uint32_t starts[Columns];
};

// A piece of such room: columns `begin` to `begin + limit - 1`, both multiples of 64.
struct BitColumnSlot {
    uint8_t* bias;
    uint32_t* starts;
    uint32_t limit;

    template <uint32_t Columns>
    BitColumnSlot(BitColumnMemory<Columns>& memory, uint32_t begin, uint32_t columns) noexcept
        : bias(memory.bias + begin), starts(memory.starts + begin), limit(columns)
    {
    }
};

// A plan of blocks. It holds no more of a source line than `mostBytes`, unless a single block is longer.
class BitColumns
{
  public:
    static constexpr uint32_t mostBytes = 8192;
    static constexpr uint32_t mostBits = 8 * (mostBytes - 1); // whatever the phase

    // Blocks are made for columns of `source`, and have `lines` lines at most.
    BitColumns(const BitColumnSlot& slot, const AreaView& source, uint32_t lines) noexcept
        : source_(source), limit_(slot.limit), lines_(lines)
    {
        table_.bias = slot.bias;
        table_.starts = slot.starts;
    }

    uint32_t first() const { return first_; }
    uint32_t count() const { return table_.count; }
    uint32_t bytes() const { return table_.bytes; }
    const BitBlockTable& table() const { return table_; }

    // The blocks can be gathered, and their counts fit a byte.
    bool narrow() const { return narrow_; }

    // The byte of source line j in which the first block starts.
    const uint8_t* row(uint32_t j) const { return source_.at(pixel_, j); }

    template <class Walker>
    uint32_t take(Walker& walker, uint32_t first) noexcept
    {
        first_ = first;
        if (fill(walker) != 0 && narrow_)
            kernels().bitBlocks->arrangeBlocks(table_);
        return table_.count;
    }

  protected:
    template <class Walker>
    uint32_t fill(Walker& walker) noexcept
    {
        table_.length = walker.shortest();
        table_.gathered = false;
        table_.stretched = StretchedPicks::none;
        narrow_ = walker.longest() <= BitBlockTable::gatherLimit &&
                  uint64_t{walker.longest()} * lines_ <= BitBlockTable::most;
        Span last = {0, 0};
        table_.count = list(walker, last);
        pixel_ = last.start - (table_.count != 0 ? table_.starts[table_.count - 1] : 0);
        table_.lastLength = last.length;
        table_.phase = source_.phase(pixel_);
        table_.bytes = static_cast<uint32_t>((table_.phase + uint64_t{last.start} - pixel_ + last.length + 7) / 8);
        return table_.count;
    }

    // Lists blocks while there is room. All that the loop needs is in locals of a function of its own, so that the
    // walker stays in registers: plans that are made anew for every line are made of little else.
    template <class Walker>
    [[gnu::noinline]] uint32_t list(Walker& walker, Span& last) const noexcept
    {
        Walker blocks = walker;
        uint32_t* const starts = table_.starts;
        uint8_t* const bias = table_.bias;
        const uint32_t length = table_.length;
        const uint32_t limit = limit_;
        const uint32_t room = mostBits - std::min(mostBits, blocks.longest());
        uint32_t n = 0;
        Span block = last;
        bool more = blocks.next(block);
        const uint32_t pixel = block.start;
        while (more) {
            starts[n] = block.start - pixel;
            bias[n++] = block.length > length ? BitBlockTable::longBias : uint8_t{0};
            const uint64_t end = block.start + uint64_t{block.length} - pixel;
            more = n < limit && end <= room;
            if constexpr (std::is_same_v<Walker, MarkedBlockWalker>) {
                if (more)
                    n += blocks.pass(limit - n - 1, room - static_cast<uint32_t>(end),
                                     [=](uint32_t k, uint32_t start, uint32_t isLong) {
                                         starts[n + k] = start - pixel;
                                         bias[n + k] = static_cast<uint8_t>(isLong * BitBlockTable::longBias);
                                     });
            }
            more = more && blocks.next(block);
        }
        walker = blocks;
        last = block;
        return n;
    }

    AreaView source_;
    uint32_t limit_;
    uint32_t lines_;
    bool narrow_ = false;
    uint32_t first_ = 0;
    uint32_t pixel_ = 0; // where the first block starts
    BitBlockTable table_ = {};
};

// A plan of the first pixels of blocks.
class BitPicks : public BitColumns
{
  public:
    BitPicks(const BitColumnSlot& slot, const AreaView& source) noexcept : BitColumns(slot, source, 1) {}

    template <class Walker>
    uint32_t take(Walker& walker, uint32_t first) noexcept
    {
        first_ = first;
        if (fill(walker) != 0 && walker.longest() <= BitBlockTable::gatherLimit)
            kernels().bitBlocks->arrangePicks(table_);
        return table_.count;
    }
};

// A plan with room of its own.
template <class Plan>
class Roomy : private BitColumnMemory<8192>, public Plan
{
  public:
    static constexpr uint32_t limit = 8192;

    template <class... Arguments>
    explicit Roomy(const Arguments&... arguments) noexcept
        : Plan(BitColumnSlot(static_cast<BitColumnMemory<limit>&>(*this), 0, limit), arguments...)
    {
    }
};

// Plans of blocks placed at random: as many of them as there are places in a period are kept, if there is room. If
// there is not, it may do for a bit for each of their blocks, from which they are made anew more quickly.
class PlacedBitColumns
{
  public:
    static constexpr uint32_t room = 16384;

    PlacedBitColumns(const AreaView& source, uint32_t width, uint32_t lines) noexcept
        : begin_(source.width(), width), width_(width), source_(source), lines_(lines),
          places_(std::max(begin_.period(), uint32_t{1}))
    {
        const uint64_t each = (uint64_t{width} + 63) / 64 * 64;
        keeps_ = places_ <= mostKept && each * places_ <= room && source.width() < BitColumns::mostBits / 2;
        for (uint32_t k = 0; keeps_ && k < places_; ++k)
            kept_[k].emplace(BitColumnSlot(memory_, static_cast<uint32_t>(each) * k, static_cast<uint32_t>(each)),
                             source, lines);
        marks_ = !keeps_ && places_ > 1 && places_ <= mostMarked && marksOfPlace(width) * places_ <= marksRoom;
        if (marks_)
            std::memset(marked_, 0, sizeof marked_);
    }

    // Calls use(plan) for the plans of a line whose blocks are placed by `draw`, from left to right.
    template <class Use>
    void forEach(uint32_t draw, Use use) noexcept
    {
        PlacedBlockWalker walker = begin_;
        walker.place(draw);
        if (keeps_) {
            BitColumns& plan = *kept_[draw % places_];
            if (plan.count() == 0)
                plan.take(walker, 0);
            use(plan);
            return;
        }
        if (marks_)
            makeEach(MarkedBlockWalker(source_.width(), width_, marksOf(draw % places_, walker)), use);
        else
            makeEach(walker, use);
    }

  private:
    static constexpr uint32_t mostKept = 16;
    static constexpr uint32_t mostMarked = 256;
    static constexpr uint32_t marksRoom = 4096;

    static size_t marksOfPlace(uint32_t width) { return (size_t{width} + 63) / 64; }

    // The bits of a place, which are made when they are first wanted.
    const uint64_t* marksOf(uint32_t place, const PlacedBlockWalker& walker) noexcept
    {
        const size_t count = marksOfPlace(width_);
        uint64_t* marks = marksMemory_ + place * count;
        if (!marked_[place]) {
            std::memset(marks, 0, count * sizeof *marks);
            MarkedBlockWalker::mark(walker, marks);
            marked_[place] = true;
        }
        return marks;
    }

    template <class Walker, class Use>
    void makeEach(Walker walker, Use use) noexcept
    {
        BitColumns plan(BitColumnSlot(memory_, 0, room), source_, lines_);
        for (uint32_t first = 0; !walker.done();) {
            first += plan.take(walker, first);
            use(plan);
        }
    }

    PlacedBlockWalker begin_;
    uint32_t width_;
    AreaView source_;
    uint32_t lines_;
    uint32_t places_;
    bool keeps_;
    bool marks_;
    bool marked_[mostMarked];
    uint64_t marksMemory_[marksRoom];
    std::optional<BitColumns> kept_[mostKept];
    BitColumnMemory<room> memory_;
};

} // namespace lx
