// Error diffusion in a wavefront.
//
// A line is a chain: a pixel waits for the error of its left neighbour. But a line needs of the line above only what
// lies up to one pixel ahead of it, so line j + 1 can follow line j a little behind. Here each lane of a vector is a
// line, and each follows the one above by a block of eight pixels: at time t, lane l works on block t - l. Blocks are
// aligned to destination bytes, so that eight steps of a lane make one byte.
//
// The carried errors of a block pass from lane to lane through a ring of eight vectors, rotated by one lane: what lane
// l finishes at time t, lane l + 1 takes up at time t + 1. The first lane takes the caller's carry row in, and what
// the last lane finishes comes round to the place of the first and goes back to the carry row.
//
// Two or three chains are interleaved to hide the latency of one: for gray, two groups of lines, the second far enough
// behind the first to find its carry row; for colour, the three channels.
//
// All sums are those of the raster scan, in the same order. A pixel outside the line takes part with an error of 0:
// adding +0 changes no sum of an entry that is ever read. The outermost entries, which only collect, are added up in
// line order at the end.

#include "kernels/bit_words.h"
#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

namespace lx::LX_LEVEL
{

namespace
{

#if defined(LX_LEVEL_v4)

// Eight doubles, one for each line. min and max give their second operand when one is not a number.
struct Lanes {
    static constexpr int count = 8;
    using Vector = __m512d;
    using Flags = __mmask8;

    static Vector all(double value) { return _mm512_set1_pd(value); }
    static Vector fromBytes(const uint8_t* bytes)
    {
        return _mm512_cvtepi32_pd(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes))));
    }
    static Vector add(Vector a, Vector b) { return _mm512_add_pd(a, b); }
    static Vector multiply(Vector a, Vector b) { return _mm512_mul_pd(a, b); }
    static Vector least(Vector a, Vector b) { return _mm512_min_pd(a, b); }
    static Vector greatest(Vector a, Vector b) { return _mm512_max_pd(a, b); }
    static Flags atLeast(Vector a, Vector b) { return _mm512_cmp_pd_mask(a, b, _CMP_GE_OQ); }
    static Vector subtractWhere(Flags flags, Vector a, Vector b) { return _mm512_mask_sub_pd(a, flags, a, b); }
    static Vector keep(unsigned bits, Vector v) { return _mm512_maskz_mov_pd(static_cast<Flags>(bits), v); }
    static unsigned bits(Flags flags) { return flags; }
    static void storeFirst(double* to, Vector v) { _mm_store_sd(to, _mm512_castpd512_pd128(v)); }
    static Vector withFirst(Vector v, const double* value)
    {
        return _mm512_mask_broadcastsd_pd(v, 1, _mm_load_sd(value));
    }
    // Lane l to lane l + 1, the last to the first.
    static Vector rotate(Vector v)
    {
        const __m512i i = _mm512_castpd_si512(v);
        return _mm512_castsi512_pd(_mm512_alignr_epi64(i, i, 7));
    }
    static void store(double* to, Vector v) { _mm512_storeu_pd(to, v); }

    // rows[l] holds eight bytes of lane l; tile[s] gets byte s of every lane.
    static void transpose(const uint64_t* rows, uint8_t (*tile)[count])
    {
        // Put together in registers: a load would have to wait until all eight stores are through.
        const auto pair = [&](int l) {
            const __m128i low = _mm_cvtsi64_si128(static_cast<int64_t>(rows[l]));
            return _mm_insert_epi64(low, static_cast<int64_t>(rows[l + 1]), 1);
        };
        const __m256i half = _mm256_inserti128_si256(_mm256_castsi128_si256(pair(0)), pair(2), 1);
        const __m256i other = _mm256_inserti128_si256(_mm256_castsi128_si256(pair(4)), pair(6), 1);
        const __m512i v = _mm512_inserti64x4(_mm512_castsi256_si512(half), other, 1);
        const __m512i columns =
            _mm512_set_epi8(63, 55, 47, 39, 31, 23, 15, 7, 62, 54, 46, 38, 30, 22, 14, 6, 61, 53, 45, 37, 29, 21, 13, 5,
                            60, 52, 44, 36, 28, 20, 12, 4, 59, 51, 43, 35, 27, 19, 11, 3, 58, 50, 42, 34, 26, 18, 10, 2,
                            57, 49, 41, 33, 25, 17, 9, 1, 56, 48, 40, 32, 24, 16, 8, 0);
        _mm512_storeu_si512(tile, _mm512_permutexvar_epi8(columns, v));
    }
};

// Byte s holds a bit for each lane; byte l of the result has the bits of lane l, the first step highest: a bit matrix
// product with unit vectors picks the columns.
uint64_t bitsByLane(uint64_t steps)
{
    const __m128i units = _mm_cvtsi64_si128(static_cast<int64_t>(0x8040201008040201ULL));
    const __m128i matrix = _mm_cvtsi64_si128(static_cast<int64_t>(steps));
    return static_cast<uint64_t>(_mm_cvtsi128_si64(timesMatrix(units, matrix)));
}

#elif defined(LX_LEVEL_v3)

// Four doubles, one for each line. min and max give their second operand when one is not a number.
struct Lanes {
    static constexpr int count = 4;
    using Vector = __m256d;
    using Flags = __m256d;

    static Vector all(double value) { return _mm256_set1_pd(value); }
    static Vector fromBytes(const uint8_t* bytes)
    {
        int32_t four;
        std::memcpy(&four, bytes, sizeof four);
        return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(four)));
    }
    static Vector add(Vector a, Vector b) { return _mm256_add_pd(a, b); }
    static Vector multiply(Vector a, Vector b) { return _mm256_mul_pd(a, b); }
    static Vector least(Vector a, Vector b) { return _mm256_min_pd(a, b); }
    static Vector greatest(Vector a, Vector b) { return _mm256_max_pd(a, b); }
    static Flags atLeast(Vector a, Vector b) { return _mm256_cmp_pd(a, b, _CMP_GE_OQ); }
    static Vector subtractWhere(Flags flags, Vector a, Vector b) { return _mm256_sub_pd(a, _mm256_and_pd(flags, b)); }
    static Vector keep(unsigned bits, Vector v)
    {
        const __m256i places = _mm256_setr_epi64x(1, 2, 4, 8);
        const __m256i set = _mm256_and_si256(_mm256_set1_epi64x(static_cast<int64_t>(bits)), places);
        return _mm256_and_pd(v, _mm256_castsi256_pd(_mm256_cmpeq_epi64(set, places)));
    }
    static unsigned bits(Flags flags) { return static_cast<unsigned>(_mm256_movemask_pd(flags)); }
    static void storeFirst(double* to, Vector v) { _mm_store_sd(to, _mm256_castpd256_pd128(v)); }
    static Vector withFirst(Vector v, const double* value) { return _mm256_blend_pd(v, _mm256_broadcast_sd(value), 1); }
    // Lane l to lane l + 1, the last to the first.
    static Vector rotate(Vector v) { return _mm256_permute4x64_pd(v, 0x93); }
    static void store(double* to, Vector v) { _mm256_storeu_pd(to, v); }

    // rows[l] holds eight bytes of lane l; tile[s] gets byte s of every lane.
    static void transpose(const uint64_t* rows, uint8_t (*tile)[count])
    {
        const auto row = [&](int l) { return _mm_cvtsi64_si128(static_cast<int64_t>(rows[l])); };
        const __m128i a = _mm_unpacklo_epi8(row(0), row(1));
        const __m128i b = _mm_unpacklo_epi8(row(2), row(3));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(tile[0]), _mm_unpacklo_epi16(a, b));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(tile[4]), _mm_unpackhi_epi16(a, b));
    }
};

#else

// Two doubles, one for each line, in the compiler's own vectors. least and greatest give their second operand when one
// is not a number.
struct Lanes {
    static constexpr int count = 2;
    using Vector = double __attribute__((vector_size(16)));
    using Flags = int64_t __attribute__((vector_size(16)));

    static Vector all(double value) { return Vector{value, value}; }
    static Vector fromBytes(const uint8_t* bytes)
    {
        return Vector{static_cast<double>(bytes[0]), static_cast<double>(bytes[1])};
    }
    static Vector add(Vector a, Vector b) { return a + b; }
    static Vector multiply(Vector a, Vector b) { return a * b; }
    static Vector least(Vector a, Vector b) { return choose(a < b, a, b); }
    static Vector greatest(Vector a, Vector b) { return choose(a > b, a, b); }
    static Flags atLeast(Vector a, Vector b) { return a >= b; }
    static Vector subtractWhere(Flags flags, Vector a, Vector b)
    {
        return a - reinterpret_cast<Vector>(reinterpret_cast<Flags>(b) & flags);
    }
    static Vector choose(Flags flags, Vector yes, Vector no)
    {
        return reinterpret_cast<Vector>((reinterpret_cast<Flags>(yes) & flags) |
                                        (reinterpret_cast<Flags>(no) & ~flags));
    }
    static Vector keep(unsigned bits, Vector v)
    {
        const Flags flags = {-static_cast<int64_t>(bits & 1), -static_cast<int64_t>(bits >> 1 & 1)};
        return reinterpret_cast<Vector>(reinterpret_cast<Flags>(v) & flags);
    }
    static unsigned bits(Flags flags) { return static_cast<unsigned>((flags[0] & 1) | (flags[1] & 2)); }
    static void storeFirst(double* to, Vector v) { *to = v[0]; }
    static Vector withFirst(Vector v, const double* value) { return Vector{*value, v[1]}; }
    static Vector rotate(Vector v) { return Vector{v[1], v[0]}; }
    static void store(double* to, Vector v) { std::memcpy(to, &v, sizeof v); }

    // rows[l] holds eight bytes of lane l; tile[s] gets byte s of every lane.
    static void transpose(const uint64_t* rows, uint8_t (*tile)[count])
    {
        for (int s = 0; s < 8; ++s) {
            for (int l = 0; l < count; ++l)
                tile[s][l] = static_cast<uint8_t>(rows[l] >> 8 * s);
        }
    }
};

#endif

#if !defined(LX_LEVEL_v4)

// Byte s holds a bit for each lane; byte l of the result has the bits of lane l, the first step highest.
uint64_t bitsByLane(uint64_t steps)
{
    uint64_t x = __builtin_bswap64(steps);
    // Transposes an 8 x 8 bit matrix by exchanging ever larger blocks across its diagonal.
    constexpr struct {
        int distance;
        uint64_t mask;
    } exchanges[] = {{7, 0x00AA00AA00AA00AAULL}, {14, 0x0000CCCC0000CCCCULL}, {28, 0x00000000F0F0F0F0ULL}};
    for (const auto& exchange : exchanges) {
        const uint64_t moved = (x ^ (x >> exchange.distance)) & exchange.mask;
        x ^= moved ^ (moved << exchange.distance);
    }
    return x;
}

#endif

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

// The geometry of a set of lines in blocks, and the walk of a chain through it. Pixel p of a line is place
// (p + phase) % 8 of block (p + phase) / 8.
template <int Stride>
class Wave
{
  public:
    Wave(const DiffusionLines& lines, unsigned firstLine, unsigned channel)
        : lines_(lines), firstLine_(firstLine), channel_(channel),
          blocks_(static_cast<int64_t>((lines.phase + lines.width + 7) / 8)),
          lastPlace_(static_cast<int>((lines.phase + lines.width - 1) % 8))
    {
        const Vector zero = Lanes::all(0.0);
        chain.right = chain.belowSum = chain.lowerRight = zero;
        for (Vector& v : chain.ring)
            v = zero;
    }

    int64_t blocks() const { return blocks_; }

    // No lane, and neither the block that comes in from the carry row nor the one that goes out to it, is at an end
    // of its line.
    bool isInside(int64_t time) const { return time > Lanes::count && time < blocks_ - 1; }

    template <bool Inside>
    void load(int64_t time)
    {
        uint64_t rows[Lanes::count];
        for (int l = 0; l < Lanes::count; ++l) {
            const int64_t block = time - l;
            const uint8_t* line = lines_.source[firstLine_ + static_cast<unsigned>(l)];
            rows[l] = Inside || placesOf(block) == 0xFF ? loadEight<Stride>(line + pixelAt(block, 0) * Stride, channel_)
                                                        : loadSome(line, block);
        }
        Lanes::transpose(rows, chain.tile);
        chain.on = 0;
    }

    // Every lane does place s of its block. `in` and `out` are the carry row's entries of the blocks that the first
    // lane takes up and that the last lane has finished.
    template <bool Inside>
    void step(int64_t time, int s, const Weights& weights, const double* in, double* out)
    {
        const Vector zero = Lanes::all(0.0);
        const Vector white = Lanes::all(255.0);
        Vector carried = chain.ring[s];
        if (Inside || isPixel(time - Lanes::count, s))
            Lanes::storeFirst(out + s * Stride, carried);
        if (Inside || isPixel(time, s))
            carried = Lanes::withFirst(carried, in + s * Stride);
        const Vector sum = Lanes::add(Lanes::fromBytes(chain.tile[s]), carried);
        const Vector work = Lanes::least(white, Lanes::greatest(zero, sum));
        const Vector v = Lanes::add(chain.right, work);
        const auto on = Lanes::atLeast(v, Lanes::all(128.0));
        // At 255 and above, and at 0 and below, there is no error.
        const Vector level = Lanes::least(white, Lanes::greatest(zero, v));
        Vector error = Lanes::subtractWhere(on, level, white);
        if constexpr (!Inside) {
            error = Lanes::keep(lanesAtPixels(time, s), error);
            chain.errors[s] = error;
        }
        chain.right = Lanes::multiply(error, weights.right);
        chain.ring[(s + 7) % 8] = Lanes::rotate(Lanes::add(chain.belowSum, Lanes::multiply(error, weights.lowerLeft)));
        chain.belowSum = Lanes::add(chain.lowerRight, Lanes::multiply(error, weights.below));
        chain.lowerRight = Lanes::multiply(error, weights.lowerRight);
        chain.on |= static_cast<uint64_t>(Lanes::bits(on)) << 8 * s;
    }

    // Remembers the errors of the first and the last pixel of each line, for the entries beside the line.
    void noteEnds(int64_t time)
    {
        double lanes[Lanes::count];
        if (time >= 0 && time < Lanes::count) {
            Lanes::store(lanes, chain.errors[lines_.phase]);
            firstErrors_[time] = lanes[time];
        }
        const int64_t lane = time - (blocks_ - 1);
        if (lane >= 0 && lane < Lanes::count) {
            Lanes::store(lanes, chain.errors[lastPlace_]);
            lastErrors_[lane] = lanes[lane];
        }
    }

    void collectEnds()
    {
        double* before = lines_.carry + channel_ - Stride;
        double* after = lines_.carry + channel_ + lines_.width * Stride;
        for (int l = 0; l < Lanes::count; ++l) {
            *before += firstErrors_[l] * lines_.kernel.lowerLeft;
            *after += lastErrors_[l] * lines_.kernel.lowerRight;
        }
    }

    // The carry row's entry of the first place of a block; the place need not be a pixel.
    double* carryAt(int64_t block) const { return lines_.carry + pixelAt(block, 0) * Stride + channel_; }

    // The places of a block that are pixels of the line, the first place highest.
    unsigned placesOf(int64_t block) const
    {
        if (block < 0 || block >= blocks_)
            return 0;
        return (block == 0 ? 0xFFU >> lines_.phase : 0xFFU) &
               (block == blocks_ - 1 ? 0xFFU << (7 - lastPlace_) : 0xFFU);
    }

    Chain chain;

  private:
    int64_t pixelAt(int64_t block, int s) const { return block * 8 + s - static_cast<int64_t>(lines_.phase); }
    bool isPixel(int64_t block, int s) const { return (placesOf(block) << s & 0x80) != 0; }

    // The lanes that are at a pixel at place s: those inside their lines, but for the lanes in the first and the last
    // block at places beside the line.
    unsigned lanesAtPixels(int64_t time, int s) const
    {
        const auto upTo = [](int64_t lane) { return lane < 0 ? 0U : lane >= 31 ? ~0U : (2U << lane) - 1; };
        const int64_t atFirst = time;
        const int64_t atLast = time - (blocks_ - 1);
        unsigned lanes = upTo(atFirst) & ~upTo(atLast - 1);
        if (s < static_cast<int>(lines_.phase))
            lanes &= ~(upTo(atFirst) ^ upTo(atFirst - 1));
        if (s > lastPlace_)
            lanes &= ~(upTo(atLast) ^ upTo(atLast - 1));
        return lanes;
    }

    // The bytes of those places of a block that are pixels.
    uint64_t loadSome(const uint8_t* line, int64_t block) const
    {
        uint8_t eight[8] = {};
        const unsigned places = placesOf(block);
        for (int s = 0; places != 0 && s < 8; ++s) {
            if ((places << s & 0x80) != 0)
                eight[s] = line[pixelAt(block, s) * Stride + channel_];
        }
        return loadLittle64(eight);
    }

    const DiffusionLines& lines_;
    const unsigned firstLine_;
    const unsigned channel_;
    const int64_t blocks_;
    const int lastPlace_; // of the last block
    double firstErrors_[Lanes::count];
    double lastErrors_[Lanes::count];
};

Weights weightsOf(const ErrorDiffusionKernel& kernel)
{
    return {Lanes::all(kernel.right), Lanes::all(kernel.lowerLeft), Lanes::all(kernel.below),
            Lanes::all(kernel.lowerRight)};
}

// Runs `Chains` chains side by side, chain c `c * delay` blocks behind the first. After each block,
// emit(time, inside) takes its bits.
template <bool Inside, int Stride, int Chains, class Emit>
void runBlock(Wave<Stride>* waves, int64_t time, int64_t delay, const Weights& weights, Emit emit)
{
    for (int c = 0; c < Chains; ++c)
        waves[c].template load<Inside>(time - c * delay);
    const double* in[Chains];
    double* out[Chains];
    for (int c = 0; c < Chains; ++c) {
        in[c] = waves[c].carryAt(time - c * delay);
        out[c] = waves[c].carryAt(time - c * delay - Lanes::count);
    }
#pragma GCC unroll 8
    for (int s = 0; s < 8; ++s) {
        for (int c = 0; c < Chains; ++c)
            waves[c].template step<Inside>(time - c * delay, s, weights, in[c], out[c]);
    }
    if constexpr (!Inside) {
        for (int c = 0; c < Chains; ++c)
            waves[c].noteEnds(time - c * delay);
    }
    emit(time, Inside);
}

template <int Stride, int Chains, class Emit>
void run(Wave<Stride>* waves, int64_t delay, const ErrorDiffusionKernel& kernel, Emit emit)
{
    const Weights weights = weightsOf(kernel);
    const int64_t end = waves[0].blocks() + Lanes::count + (Chains - 1) * delay;
    for (int64_t time = 0; time < end; ++time) {
        bool inside = true;
        for (int c = 0; c < Chains; ++c)
            inside = inside && waves[c].isInside(time - c * delay);
        if (inside)
            runBlock<true, Stride, Chains>(waves, time, delay, weights, emit);
        else
            runBlock<false, Stride, Chains>(waves, time, delay, weights, emit);
    }
    for (int c = 0; c < Chains; ++c)
        waves[c].collectEnds();
}

void writeBits(uint8_t* destination, uint8_t fresh, unsigned owned)
{
    *destination = static_cast<uint8_t>((*destination & ~owned) | (fresh & owned));
}

template <int Chains>
void diffuseGroups(const DiffusionLines& lines, Wave<1>* waves)
{
    constexpr int64_t delay = Lanes::count + 1;
    run<1, Chains>(waves, delay, lines.kernel, [&](int64_t time, bool inside) {
        for (int c = 0; c < Chains; ++c) {
            const uint64_t bytes = bitsByLane(waves[c].chain.on);
            for (int l = 0; l < Lanes::count; ++l) {
                const int64_t block = time - c * delay - l;
                const auto fresh = static_cast<uint8_t>(bytes >> 8 * l);
                uint8_t* line = lines.destination[c * Lanes::count + l];
                if (inside)
                    line[block] = fresh;
                else if (const unsigned owned = waves[c].placesOf(block); owned != 0)
                    writeBits(line + block, fresh, owned);
            }
        }
    });
}

unsigned diffuseGray(const DiffusionLines& lines)
{
    if (lines.count >= 2 * Lanes::count) {
        Wave<1> waves[] = {{lines, 0, 0}, {lines, Lanes::count, 0}};
        diffuseGroups<2>(lines, waves);
        return 2 * Lanes::count;
    }
    if (lines.count >= Lanes::count) {
        Wave<1> wave(lines, 0, 0);
        diffuseGroups<1>(lines, &wave);
        return Lanes::count;
    }
    return 0;
}

// Bit 7 - s of `bits` to bit 0 of the nibble of place s, the first place highest.
uint32_t spreadToNibbles(uint8_t bits)
{
    uint32_t x = bits;
    x = (x | x << 12) & 0x000F000FU;
    x = (x | x << 6) & 0x03030303U;
    return (x | x << 3) & 0x11111111U;
}

unsigned diffuseColor(const DiffusionLines& lines, bool blueFirst)
{
    if (lines.count < Lanes::count)
        return 0;
    Wave<3> waves[] = {{lines, 0, 0}, {lines, 0, 1}, {lines, 0, 2}};
    run<3, 3>(waves, 0, lines.kernel, [&](int64_t time, bool inside) {
        const uint64_t first = bitsByLane(waves[0].chain.on);
        const uint64_t green = bitsByLane(waves[1].chain.on);
        const uint64_t third = bitsByLane(waves[2].chain.on);
        const uint64_t red = blueFirst ? third : first;
        const uint64_t blue = blueFirst ? first : third;
        for (int l = 0; l < Lanes::count; ++l) {
            const auto spread = [&](uint64_t bytes) { return spreadToNibbles(static_cast<uint8_t>(bytes >> 8 * l)); };
            const uint32_t fresh = spread(red) | spread(green) << 1 | spread(blue) << 2;
            const int64_t block = time - l;
            const uint32_t owned = inside ? ~0U : spreadToNibbles(static_cast<uint8_t>(waves[0].placesOf(block))) * 15U;
            for (int k = 0; k < 4; ++k) {
                const unsigned mask = owned >> (24 - 8 * k) & 0xFF;
                if (mask != 0)
                    writeBits(lines.destination[l] + block * 4 + k, static_cast<uint8_t>(fresh >> (24 - 8 * k)), mask);
            }
        }
    });
    return Lanes::count;
}

} // namespace

constexpr DiffusionKernels diffusionKernels = {diffuseGray, diffuseColor};

} // namespace lx::LX_LEVEL
