// Error diffusion in a wavefront.
//
// A line is a chain: a pixel waits for the error of its left neighbour. But a line needs of the line above only what
// lies up to one pixel ahead of it, so line j + 1 can follow line j a little behind. Here each lane of a vector is a
// line, and each follows the one above by a block of eight pixels: at time t, lane l works on block t - l. Blocks are
// aligned to destination bytes, so that eight steps of a lane make one byte. A lane at the end of its line goes on with
// a line further down, so that a wavefront once started runs through all the lines it is given.
//
// The carried errors of a block pass from lane to lane through a ring of eight vectors, rotated by one lane: what lane
// l finishes at time t, lane l + 1 takes up at time t + 1. The first lane takes the caller's carry row in, and what
// the last lane finishes comes round to the place of the first and goes back to the carry row.
//
// Two or three chains are interleaved to hide the latency of one: for gray, two groups of lines, the second far enough
// behind the first to find its carry row; for colour, the three channels.
//
// All sums are those of the raster scan, in the same order. A pixel outside the line takes part with an error of 0:
// adding +0 changes no sum of an entry that is ever read. What belongs into the outermost entries, which only collect,
// is added as lines come to their ends, one after the other.

#include "kernels/bit_words.h"
#include "kernels/diffusion_lanes.h"
#include "kernels/diffusion_schedule.h"
#include "kernels/kernel_tables.h"

namespace lx::LX_LEVEL
{

namespace
{

using Vector = Lanes::Vector;

// Eight bytes that lie `Stride` apart. Nothing behind the last one is read, up to the end of its pixel.
template <int Stride>
uint64_t loadEight(const uint8_t* bytes, unsigned channel)
{
    if constexpr (Stride == 1)
        return loadLittle64(bytes);
#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
    alignas(16) static constexpr int8_t places[3][2][16] = {
        {{0, 3, 6, 9, 12, 15, -1, -1}, {-1, -1, -1, -1, -1, -1, 2, 5}},
        {{1, 4, 7, 10, 13, -1, -1, -1}, {-1, -1, -1, -1, -1, 0, 3, 6}},
        {{2, 5, 8, 11, 14, -1, -1, -1}, {-1, -1, -1, -1, -1, 1, 4, 7}},
    };
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i high = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes + 16));
    const auto* order = reinterpret_cast<const __m128i*>(places[channel]);
    const __m128i eight = _mm_or_si128(_mm_shuffle_epi8(low, order[0]), _mm_shuffle_epi8(high, order[1]));
    return static_cast<uint64_t>(_mm_cvtsi128_si64(eight));
#else
    uint64_t eight = 0;
    for (unsigned s = 0; s < 8; ++s)
        eight |= static_cast<uint64_t>(bytes[s * Stride + channel]) << 8 * s;
    return eight;
#endif
}

struct Weights {
    Vector right;
    Vector lowerLeft;
    Vector below;
    Vector lowerRight;
};

// One chain: `Lanes::count` lines of one channel.
struct Chain {
    Vector ring[8];    // carried errors of the next block, by place in the block
    Vector right;      // error for the next pixel
    Vector belowSum;   // carry sum of the pixel last done: it lacks what the next pixel adds
    Vector lowerRight; // carry of the pixel to come: what the last pixel added
    Vector errors[8];  // of the last block; kept at the ends of lines only
    uint8_t tile[8][Lanes::count];
    uint64_t on; // byte s: the lanes that are on at step s
};

// The walk of a chain through the lines: lane l of a round takes line firstLine + l of that round.
template <int Stride>
class Wave
{
  public:
    Wave(const Schedule& schedule, unsigned firstLine, unsigned channel)
        : schedule_(schedule), lines_(schedule.lines), firstLine_(firstLine), channel_(channel)
    {
        const Vector zero = Lanes::all(0.0);
        chain.right = chain.belowSum = chain.lowerRight = zero;
        for (Vector& v : chain.ring)
            v = zero;
    }

    // The first lane in use.
    unsigned firstLane(const Place& place) const { return place.round == 0 && firstLine_ == 0 ? schedule_.unused : 0; }

    template <bool Inside>
    void load(const Place& place)
    {
        uint64_t rows[Lanes::count];
        if constexpr (Inside) {
            const uint8_t* const* lines = lines_.source + lineIndex(place, 0);
            const int64_t first = pixelAt(place.column, 0);
            for (int l = 0; l < Lanes::count; ++l)
                rows[l] = loadEight<Stride>(lines[l] + (first - 8 * l) * Stride, channel_);
        } else {
            for (int l = 0; l < Lanes::count; ++l)
                rows[l] = loadSome(schedule_.behind(place, l), l);
        }
        Lanes::transpose(rows, chain.tile);
        chain.on = 0;
        if constexpr (!Inside)
            findEnds(place);
    }

    // Where a block meets the carry row: it comes in at lane `first`, and what the last lane has finished goes out to
    // it.
    struct Carry {
        Lanes::Flags first;
        const double* in;
        double* out;
        unsigned inPixels;
        unsigned outPixels;
    };
    template <bool Inside>
    Carry carryAt(const Place& place) const
    {
        const unsigned first = firstLane(place);
        const Place in = schedule_.behind(place, first);
        const Place out = schedule_.behind(place, Lanes::count);
        return {Lanes::lane(first), lines_.carry + entryOf(in.column, 0), lines_.carry + entryOf(out.column, 0),
                Inside ? 0xFF : schedule_.pixelsAt(in), Inside ? 0xFF : schedule_.pixelsAt(out)};
    }

    // Every lane does step s of its block.
    template <bool Inside>
    void step(int s, const Weights& weights, const Carry& carry)
    {
        const Vector zero = Lanes::all(0.0);
        const Vector white = Lanes::all(255.0);
        Vector carried = chain.ring[s];
        if (Inside || (carry.outPixels << s & 0x80) != 0)
            Lanes::storeFirst(carry.out + s * Stride, carried);
        if (Inside || (carry.inPixels << s & 0x80) != 0)
            carried = Lanes::replace(carry.first, carried, carry.in + s * Stride);
        const Vector sum = Lanes::add(Lanes::fromBytes(chain.tile[s]), carried);
        const Vector work = Lanes::least(white, Lanes::greatest(zero, sum));
        const Vector v = Lanes::add(chain.right, work);
        const auto on = Lanes::atLeast(v, Lanes::all(128.0));
        // At 255 and above, and at 0 and below, there is no error.
        const Vector level = Lanes::least(white, Lanes::greatest(zero, v));
        Vector error = Lanes::subtractWhere(on, level, white);
        if constexpr (!Inside) {
            error = Lanes::keep(lanesAtPixels(s), error);
            chain.errors[s] = error;
        }
        chain.right = Lanes::multiply(error, weights.right);
        chain.ring[(s + 7) % 8] = Lanes::rotate(Lanes::add(chain.belowSum, Lanes::multiply(error, weights.lowerLeft)));
        chain.belowSum = Lanes::add(chain.lowerRight, Lanes::multiply(error, weights.below));
        chain.lowerRight = Lanes::multiply(error, weights.lowerRight);
        chain.on |= static_cast<uint64_t>(Lanes::bits(on)) << 8 * s;
    }

    // Adds the errors of the first and the last pixel of a line to the entries beside the line, as lines reach them.
    void collectEnds() const
    {
        double lanes[Lanes::count];
        Lanes::store(lanes, chain.errors[lines_.phase]);
        double* before = lines_.carry + channel_ - Stride;
        for (int l = 0; l < Lanes::count; ++l) {
            if ((atFirst_ >> l & 1) != 0)
                *before += lanes[l] * lines_.kernel.lowerLeft;
        }
        Lanes::store(lanes, chain.errors[schedule_.lastStep]);
        double* after = lines_.carry + channel_ + lines_.width * Stride;
        for (int l = 0; l < Lanes::count; ++l) {
            if ((atLast_ >> l & 1) != 0)
                *after += lanes[l] * lines_.kernel.lowerRight;
        }
    }

    // The destination bytes of the first pixels of the lines of a round.
    uint8_t* const* linesOf(int64_t round) const { return lines_.destination + lineIndex({round, 0}, 0); }

    Chain chain;

  private:
    size_t lineIndex(const Place& place, int lane) const
    {
        return firstLine_ + static_cast<size_t>(place.round) * schedule_.linesPerRound + static_cast<unsigned>(lane);
    }
    int64_t pixelAt(int64_t block, int s) const { return block * 8 + s - static_cast<int64_t>(lines_.phase); }
    int64_t entryOf(int64_t block, int s) const { return pixelAt(block, s) * Stride + channel_; }

    // Which lanes are in a line, at its first block, and at its last one.
    void findEnds(const Place& place)
    {
        inLine_ = atFirst_ = atLast_ = 0;
        for (int l = 0; l < Lanes::count; ++l) {
            const Place own = schedule_.behind(place, l);
            const unsigned used = schedule_.isInLine(own) & (l >= static_cast<int>(firstLane(own)));
            inLine_ |= used << l;
            atFirst_ |= (used & (own.column == 0)) << l;
            atLast_ |= (used & (own.column == schedule_.blocks - 1)) << l;
        }
    }

    unsigned lanesAtPixels(int s) const
    {
        return inLine_ & ~(s < static_cast<int>(lines_.phase) ? atFirst_ : 0U) &
               ~(s > schedule_.lastStep ? atLast_ : 0U);
    }

    // The bytes of those steps that are pixels.
    uint64_t loadSome(const Place& place, int lane) const
    {
        static constexpr uint8_t nothing[8 * Stride] = {};
        const unsigned pixels = schedule_.pixelsAt(place);
        const uint8_t* line = lines_.source[schedule_.isInLine(place) != 0 ? lineIndex(place, lane) : 0];
        if (pixels == 0xFF || pixels == 0)
            return loadEight<Stride>(pixels == 0 ? nothing : line + pixelAt(place.column, 0) * Stride, channel_);
        uint8_t eight[8] = {};
        for (int s = 0; s < 8; ++s) {
            if ((pixels << s & 0x80) != 0)
                eight[s] = line[entryOf(place.column, s)];
        }
        return loadLittle64(eight);
    }

    const Schedule& schedule_;
    const DiffusionLines& lines_;
    const unsigned firstLine_;
    const unsigned channel_;
    unsigned inLine_ = 0;
    unsigned atFirst_ = 0;
    unsigned atLast_ = 0;
};

Weights weightsOf(const ErrorDiffusionKernel& kernel)
{
    return {Lanes::all(kernel.right), Lanes::all(kernel.lowerLeft), Lanes::all(kernel.below),
            Lanes::all(kernel.lowerRight)};
}

// Runs `Chains` chains side by side, chain c `c * delay` blocks behind the first. After each block,
// emit(places, inside) takes the bits of every chain.
template <bool Inside, int Stride, int Chains, class Emit>
void runBlock(Wave<Stride> (&waves)[Chains], const Place (&places)[Chains], const Weights& weights, Emit emit)
{
    for (int c = 0; c < Chains; ++c)
        waves[c].template load<Inside>(places[c]);
    typename Wave<Stride>::Carry carry[Chains];
    for (int c = 0; c < Chains; ++c)
        carry[c] = waves[c].template carryAt<Inside>(places[c]);
#pragma GCC unroll 8
    for (int s = 0; s < 8; ++s) {
        for (int c = 0; c < Chains; ++c)
            waves[c].template step<Inside>(s, weights, carry[c]);
    }
    if constexpr (!Inside) {
        for (int c = 0; c < Chains; ++c)
            waves[c].collectEnds();
    }
    emit(places, Inside);
}

template <int Stride, int Chains, class Emit>
void run(const Schedule& schedule, Wave<Stride> (&waves)[Chains], int64_t delay, Emit emit)
{
    const Weights weights = weightsOf(schedule.lines.kernel);
    const int64_t lag = Lanes::count + (Chains - 1) * delay;
    for (Place place = {0, 0}; place.round < schedule.rounds || place.column < lag; place = schedule.next(place)) {
        Place places[Chains];
        bool inside = true;
        for (int c = 0; c < Chains; ++c) {
            places[c] = schedule.behind(place, c * delay);
            inside = inside && schedule.isInside(places[c]);
        }
        if (inside)
            runBlock<true>(waves, places, weights, emit);
        else
            runBlock<false>(waves, places, weights, emit);
    }
}

// Behind a chain, the next one finds in the carry row what the last lane has finished.
constexpr int64_t chainDelay = Lanes::count + 1;

template <int Chains>
void diffuseRounds(const Schedule& schedule, Wave<1> (&waves)[Chains])
{
    run(schedule, waves, chainDelay, [&](const Place(&places)[Chains], bool inside) {
        for (int c = 0; c < Chains; ++c) {
            const uint64_t bytes = bitsByLane(waves[c].chain.on);
            const auto fresh = [bytes](int lane) { return static_cast<uint8_t>(bytes >> 8 * lane); };
            if (inside) {
                uint8_t* const* lines = waves[c].linesOf(places[c].round);
                for (int l = 0; l < Lanes::count; ++l)
                    lines[l][places[c].column - l] = fresh(l);
                continue;
            }
            for (int l = 0; l < Lanes::count; ++l) {
                const Place place = schedule.behind(places[c], l);
                if (const unsigned owned = schedule.pixelsAt(place); owned != 0)
                    mergeByte(waves[c].linesOf(place.round)[l] + place.column, fresh(l), owned);
            }
        }
    });
}

void diffuseGray(const DiffusionLines& lines)
{
    // Two chains at a time. Lines that are left over go first; if they need both chains, with the others.
    constexpr unsigned both = 2 * Lanes::count;
    const unsigned few = lines.count % both <= Lanes::count ? lines.count % both : 0;
    if (few != 0) {
        const Schedule schedule(lines, 0, few, Lanes::count, chainDelay);
        Wave<1> waves[] = {{schedule, 0, 0}};
        diffuseRounds(schedule, waves);
    }
    if (few != lines.count) {
        const Schedule schedule(lines, few, lines.count - few, both, 2 * chainDelay);
        Wave<1> waves[] = {{schedule, 0, 0}, {schedule, Lanes::count, 0}};
        diffuseRounds(schedule, waves);
    }
}

// Bit 7 - s of `bits` to bit 0 of the nibble of place s, the first place highest.
uint32_t spreadToNibbles(uint8_t bits)
{
    uint32_t x = bits;
    x = (x | x << 12) & 0x000F000FU;
    x = (x | x << 6) & 0x03030303U;
    return (x | x << 3) & 0x11111111U;
}

void diffuseColor(const DiffusionLines& lines, bool blueFirst)
{
    const Schedule schedule(lines, 0, lines.count, Lanes::count, chainDelay);
    Wave<3> waves[] = {{schedule, 0, 0}, {schedule, 0, 1}, {schedule, 0, 2}};
    run(schedule, waves, 0, [&](const Place(&places)[3], bool inside) {
        const uint64_t first = bitsByLane(waves[0].chain.on);
        const uint64_t green = bitsByLane(waves[1].chain.on);
        const uint64_t third = bitsByLane(waves[2].chain.on);
        const uint64_t red = blueFirst ? third : first;
        const uint64_t blue = blueFirst ? first : third;
        for (int l = 0; l < Lanes::count; ++l) {
            const auto spread = [&](uint64_t bits) { return spreadToNibbles(static_cast<uint8_t>(bits >> 8 * l)); };
            const uint32_t fresh = spread(red) | spread(green) << 1 | spread(blue) << 2;
            const Place place = schedule.behind(places[0], l);
            const unsigned pixels = inside ? 0xFF : schedule.pixelsAt(place);
            if (pixels == 0)
                continue;
            const uint32_t owned = spreadToNibbles(static_cast<uint8_t>(pixels)) * 15U;
            uint8_t* bytes = waves[0].linesOf(place.round)[l] + place.column * 4;
            for (int k = 0; k < 4; ++k) {
                const unsigned mask = owned >> (24 - 8 * k) & 0xFF;
                if (mask != 0)
                    mergeByte(bytes + k, fresh >> (24 - 8 * k), mask);
            }
        }
    });
}

} // namespace

constexpr DiffusionKernels diffusionKernels = {diffuseGray, diffuseColor};

} // namespace lx::LX_LEVEL
