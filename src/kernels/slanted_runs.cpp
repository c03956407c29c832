// Rows put together from runs of neighbouring pixels, or pixel by pixel.
//
// Runs are some dozens of pixels long. Where they end is worked out beforehand for all of them, so that none waits for
// the one before it. Bytes are copied in blocks that may run on past the run's end, over bytes that the next run
// brings, as long as neither the source line nor the destination row ends there. Packed pixels flow through a 64-bit
// word.

#include "kernels/fetch_early.h"
#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

#if defined(LX_LEVEL_v4)
#include "kernels/slanted_bits_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

uint64_t loadBig64(const uint8_t* bytes)
{
    return __builtin_bswap64(loadLittle64(bytes));
}

void storeBig64(uint8_t* bytes, uint64_t value)
{
    storeLittle64(bytes, __builtin_bswap64(value));
}

// The next 64 bits of a line from `byte` on; zeros follow its end.
uint64_t loadNearEnd(const uint8_t* line, size_t byte, size_t lineBytes)
{
    uint8_t eight[8] = {};
    std::memcpy(eight, line + byte, lineBytes - byte);
    return loadBig64(eight);
}

// Packed pixels on their way to a destination of `bits` bits from place `phase` of its first byte on. Whole words are
// stored, whose last bytes later words replace.
class BitStream
{
  public:
    BitStream(uint8_t* destination, unsigned phase, size_t bits)
        : destination_(destination), whole_(destination + (phase + bits) / 8), held_(phase)
    {
        if (phase != 0)
            word_ = uint64_t{*destination} << 56 & ~(~uint64_t{0} >> phase);
    }

    // The highest n bits of `bits`, n being 1 to 56.
    void put(uint64_t bits, unsigned n)
    {
        word_ |= (bits & ~(~uint64_t{0} >> n)) >> held_;
        const unsigned total = held_ + n;
        const unsigned bytes = total / 8;
        if (whole_ - destination_ >= 8) {
            storeBig64(destination_, word_);
        } else {
            for (unsigned b = 0; b < bytes; ++b)
                destination_[b] = static_cast<uint8_t>(word_ >> (56 - 8 * b));
        }
        destination_ += bytes;
        word_ <<= 8 * bytes;
        held_ = total % 8;
    }

    void finish()
    {
        if (held_ != 0)
            *destination_ = static_cast<uint8_t>(word_ >> 56 | (*destination_ & 0xFFU >> held_));
    }

  private:
    uint8_t* destination_;
    uint8_t* whole_; // end of the bytes that belong to the destination alone
    uint64_t word_ = 0;
    unsigned held_; // bits of the word that are in use, less than 8
};

// The pixel that a step comes before, or any from `end` on.
int32_t stepAt(const RunRow::Steps& steps, int32_t number, int32_t end)
{
    const double pixels = (steps.first + number) * steps.pixels;
    return static_cast<int32_t>(pixels < end ? pixels : end) + 1;
}

// Calls `copy(line, column, n, k)`: n pixels, maybe none, of a line are destination pixels k to k + n - 1. Because of
// its array, GCC would not inline this, and `copy` would have to look things up in memory.
template <class Copy>
[[gnu::always_inline]] inline void walkRuns(const RunRow& row, Copy copy)
{
    const auto end = static_cast<int32_t>(row.pixels);
    const auto climbCount = static_cast<int32_t>(end / row.climbs.pixels) + 2;
    int32_t climbs[RunRow::most / RunRow::shortest + 2];
    for (int32_t m = 0; m < climbCount; ++m)
        climbs[m] = stepAt(row.climbs, m, end);
    climbs[climbCount - 1] = end;
    const RunRow::Steps stalls = row.stalls;
    const ptrdiff_t lineStep = row.climb;
    const uint8_t* line = row.line;
    const int32_t* climb = climbs;
    size_t column = row.column;
    int32_t k = 0;
    const auto copyUpTo = [&](int32_t to) {
        copy(line, column + static_cast<size_t>(k), static_cast<size_t>(to - k), static_cast<size_t>(k));
        k = to;
    };
    for (int32_t stall = 0;; ++stall) {
        const int32_t next = stepAt(stalls, stall, end);
        const int32_t pieceEnd = next < end ? next : end;
        for (; *climb < pieceEnd; line += lineStep)
            copyUpTo(*climb++);
        copyUpTo(pieceEnd);
        if (pieceEnd == end)
            return;
        --column;
    }
}

template <unsigned Bits>
void copyPackedRuns(const RunRow& row, uint8_t* destination, unsigned phase)
{
    constexpr size_t most = 56; // bits that a word holds wherever in a byte they start
    BitStream stream(destination, phase * Bits, row.pixels * Bits);
    walkRuns(row, [&](const uint8_t* line, size_t column, size_t pixels, size_t) {
        size_t place = (row.phase + column) * Bits;
        for (size_t left = pixels * Bits; left != 0;) {
            const size_t n = left < most ? left : most;
            const size_t byte = place / 8;
            fetchEarly<3>(line + byte, row.ahead);
            const uint64_t word =
                byte + 8 <= row.lineBytes ? loadBig64(line + byte) : loadNearEnd(line, byte, row.lineBytes);
            stream.put(word << place % 8, static_cast<unsigned>(n));
            place += n;
            left -= n;
        }
    });
    stream.finish();
}

void copyPacked(const RunRow& row, unsigned bits, uint8_t* destination, unsigned phase)
{
    if (bits == 1)
        copyPackedRuns<1>(row, destination, phase);
    else
        copyPackedRuns<4>(row, destination, phase);
}

template <size_t Size>
void copyRuns(const RunRow& row, uint8_t* LX_RESTRICT destination)
{
    constexpr size_t block = 32;
    constexpr int level = Size == 3 ? 2 : 3; // some rows of triples are too much for the first-level cache
    const size_t room = row.pixels * Size;
    const size_t lineBytes = row.lineBytes;
    const ptrdiff_t ahead = row.ahead;
    walkRuns(row, [=](const uint8_t* line, size_t column, size_t pixels, size_t k) {
        const uint8_t* LX_RESTRICT source = line + column * Size;
        uint8_t* LX_RESTRICT to = destination + k * Size;
        const size_t n = pixels * Size;
        const size_t rounded = (n + block - 1) / block * block;
        if (k * Size + rounded <= room && column * Size + rounded <= lineBytes) {
            for (size_t b = 0; b < n; b += block) {
                fetchEarly<level>(source + b, ahead);
                std::memcpy(to + b, source + b, block);
            }
        } else {
            std::memcpy(to, source, n);
        }
    });
}

void swapTriples(uint8_t* pixels, size_t n)
{
#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
    const __m128i order = _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15);
    for (; n > 5; n -= 5, pixels += 15) {
        auto* five = reinterpret_cast<__m128i*>(pixels);
        _mm_storeu_si128(five, _mm_shuffle_epi8(_mm_loadu_si128(five), order));
    }
#endif
    for (; n != 0; --n, pixels += 3) {
        const uint8_t first = pixels[0];
        pixels[0] = pixels[2];
        pixels[2] = first;
    }
}

void copyTriples(const RunRow& row, uint8_t* destination, bool swap)
{
    copyRuns<3>(row, destination);
    if (swap)
        swapTriples(destination, row.pixels);
}

#if defined(LX_LEVEL_v4)

bool slantedBits(const SlantedBits& row, uint8_t* destination, unsigned phase)
{
    if (!SlantedWords::fit(row))
        return false;
    const SlantedWords words(row);
    for (int64_t k = row.begin - phase; k < row.end; k += SlantedWords::groupPixels) {
        words.make(k, destination);
        destination += SlantedWords::groupPixels / 8;
    }
    return true;
}

#else

bool slantedBits(const SlantedBits&, uint8_t*, unsigned)
{
    return false;
}

#endif

// Calls `pick(i, x, line)` for every pixel; its column is `x` pixels right of the first pixel of the line's first byte.
template <class Pick>
void walkSlanted(const SlantedRow& row, size_t n, Pick pick)
{
    constexpr size_t block = 64;
    for (size_t begin = 0; begin < n; begin += block) {
        const auto count = static_cast<int32_t>(n - begin < block ? n - begin : block);
        const double first = row.first + static_cast<double>(begin);
        int32_t x[block];
        int32_t y[block];
        for (int32_t i = 0; i < count; ++i) {
            const double d = first + static_cast<double>(i);
            x[i] = static_cast<int32_t>(row.cosine * d - row.offsetX);
            y[i] = static_cast<int32_t>(row.sine * d + row.offsetY);
        }
        for (int32_t i = 0; i < count; ++i)
            pick(begin + static_cast<size_t>(i), row.column + static_cast<size_t>(static_cast<ptrdiff_t>(x[i])),
                 row.centre - y[i] * row.step);
    }
}

void pickBits(const SlantedRow& row, uint8_t* LX_RESTRICT destination, size_t n)
{
    walkSlanted(row, n, [destination](size_t i, size_t x, const uint8_t* line) {
        destination[i] = static_cast<uint8_t>(line[x / 8] >> (7 - x % 8) & 1);
    });
}

void pickNibbles(const SlantedRow& row, uint8_t* LX_RESTRICT destination, size_t n)
{
    walkSlanted(row, n, [destination](size_t i, size_t x, const uint8_t* line) {
        destination[i] = static_cast<uint8_t>(line[x / 2] >> (x % 2 == 0 ? 4 : 0) & 15);
    });
}

void pickBytes(const SlantedRow& row, uint8_t* LX_RESTRICT destination, size_t n)
{
    walkSlanted(row, n, [destination](size_t i, size_t x, const uint8_t* line) { destination[i] = line[x]; });
}

void pickTriples(const SlantedRow& row, uint8_t* LX_RESTRICT destination, size_t n, bool swap)
{
    walkSlanted(row, n, [destination](size_t i, size_t x, const uint8_t* line) {
        std::memcpy(destination + 3 * i, line + 3 * x, 3);
    });
    if (swap)
        swapTriples(destination, n);
}

} // namespace

constexpr SlantedRunKernels slantedRunKernels = {copyPacked, copyRuns<1>, copyTriples, slantedBits,
                                                 pickBits,   pickNibbles, pickBytes,   pickTriples};

} // namespace lx::LX_LEVEL
