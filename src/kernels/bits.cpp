// Packed pixels to bytes and back, and copied, repeated and changed as they lie.

#include "kernels/bit_words.h"
#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/registers_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

void unpackBits(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t bytes, uint8_t zero,
                uint8_t one)
{
    size_t k = 0;
#if defined(LX_LEVEL_v4)
    // Stores fill whole lines of the cache where they can, but for the first and the last ones.
    if (const size_t few = bytesToLine<8>(destination) % wideBytes; few != 0 && bytes >= wideBytes) {
        unpackWide(source, destination, zero, one);
        k = few;
    }
#endif
#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
    for (; k + wideBytes <= bytes; k += wideBytes)
        unpackWide(source + k, destination + 8 * k, zero, one);
#endif
#if defined(LX_LEVEL_v4)
    if (k < bytes) {
        uint8_t last[8] = {};
        uint8_t pixels[64];
        std::memcpy(last, source + k, bytes - k);
        unpackWide(last, pixels, zero, one);
        std::memcpy(destination + 8 * k, pixels, 8 * (bytes - k));
    }
    return;
#endif
    for (; k < bytes; ++k) {
        for (unsigned b = 0; b < 8; ++b)
            destination[8 * k + b] = (source[k] >> (7 - b) & 1) != 0 ? one : zero;
    }
}

void unpackNibbles(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t bytes)
{
    for (size_t k = 0; k < bytes; ++k) {
        destination[2 * k] = source[k] >> 4;
        destination[2 * k + 1] = source[k] & 15;
    }
}

void packNibbles(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t bytes)
{
    for (size_t k = 0; k < bytes; ++k)
        destination[k] = static_cast<uint8_t>(source[2 * k] << 4 | (source[2 * k + 1] & 15));
}

// The n <= 8 bits from place `phase` on, as the highest bits of a byte; no byte without such a bit is read.
unsigned fewBits(const uint8_t* source, unsigned phase, unsigned n)
{
    const unsigned second = phase + n > 8 ? source[1] : 0U;
    return (source[0] * 256U | second) << phase >> 8 & 0xFF;
}

// destination[k] = the eight bits from place `phase` (1 to 7) of source[k] on, for k < bytes.
void shiftBits(const uint8_t* LX_RESTRICT source, unsigned phase, uint8_t* LX_RESTRICT destination, size_t bytes)
{
#if defined(LX_LEVEL_v4)
    // Bytes are shifted as products with bit matrices, the unit matrix moved by whole rows.
    constexpr uint64_t unit = 0x0102040810204080;
    const __m512i up = _mm512_set1_epi64(static_cast<int64_t>(unit >> 8 * phase));
    const __m512i down = _mm512_set1_epi64(static_cast<int64_t>(unit << 8 * (8 - phase)));
    for (size_t k = 0; k < bytes; k += 64) {
        const __mmask64 mine = lowest(bytes - k);
        const __m512i first = _mm512_maskz_loadu_epi8(mine, source + k);
        const __m512i second = _mm512_maskz_loadu_epi8(mine, source + k + 1);
        const __m512i shifted = _mm512_or_si512(timesMatrix(first, up), timesMatrix(second, down));
        _mm512_mask_storeu_epi8(destination + k, mine, shifted);
    }
#else
    for (size_t k = 0; k < bytes; ++k) {
        const auto pair = static_cast<uint16_t>(source[k] << 8 | source[k + 1]);
        destination[k] = static_cast<uint8_t>(pair >> (8 - phase));
    }
#endif
}

// Sixty-four bytes anywhere, in two moves: where memory is slower than they are, wider ones take longer. The assembly
// keeps compilers from making a call of the C library's copy of a loop.
void copyBlock(const uint8_t* source, uint8_t* destination)
{
    using Half [[gnu::vector_size(32), gnu::aligned(1), gnu::may_alias]] = uint64_t;
    reinterpret_cast<Half*>(destination)[0] = reinterpret_cast<const Half*>(source)[0];
    reinterpret_cast<Half*>(destination)[1] = reinterpret_cast<const Half*>(source)[1];
    __asm__ volatile("");
}

// The C library leaves copies of some length to a string instruction. That takes up to a third longer where the two
// places are unluckily apart in their pages, and twenty times as long where the destination lies a little behind.
void copyBytes(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t bytes)
{
    if (bytes < 64) {
        std::memcpy(destination, source, bytes);
        return;
    }
    // Stores fill whole lines of the cache but for the first and the last one.
    copyBlock(source, destination);
    size_t k = 64 - reinterpret_cast<uintptr_t>(destination) % 64;
    for (; k + 256 <= bytes; k += 256) {
        for (size_t part = k; part < k + 256; part += 64)
            copyBlock(source + part, destination + part);
    }
    for (; k + 64 <= bytes; k += 64)
        copyBlock(source + k, destination + k);
    copyBlock(source + bytes - 64, destination + bytes - 64);
}

void copyBits(const uint8_t* LX_RESTRICT source, unsigned sourcePhase, uint8_t* LX_RESTRICT destination,
              unsigned destinationPhase, size_t bits)
{
    if (destinationPhase != 0 && bits != 0) {
        const unsigned room = 8 - destinationPhase;
        const unsigned n = bits < room ? static_cast<unsigned>(bits) : room;
        const unsigned owned = (0xFF00U >> n & 0xFF) >> destinationPhase;
        mergeByte(destination, fewBits(source, sourcePhase, n) >> destinationPhase, owned);
        ++destination;
        bits -= n;
        source += (sourcePhase + n) / 8;
        sourcePhase = (sourcePhase + n) % 8;
    }
    const size_t bytes = bits / 8;
    if (sourcePhase == 0) {
        copyBytes(source, destination, bytes);
    } else {
        shiftBits(source, sourcePhase, destination, bytes);
    }
    if (const auto n = static_cast<unsigned>(bits % 8); n != 0)
        mergeByte(destination + bytes, fewBits(source + bytes, sourcePhase, n), 0xFF00U >> n & 0xFF);
}

// Gives row[k] the bits of change(k) that are within the `bits` bits from place `phase` of row[0] on.
template <class Change>
void changeOwnBits(uint8_t* row, unsigned phase, size_t bits, Change change)
{
    size_t k = 0;
    if (phase != 0 && bits != 0) {
        const unsigned room = 8 - phase;
        const unsigned n = bits < room ? static_cast<unsigned>(bits) : room;
        mergeByte(row, change(0), (0xFF00U >> n & 0xFF) >> phase);
        k = 1;
        bits -= n;
    }
    const size_t end = k + bits / 8;
    for (; k < end; ++k)
        row[k] = change(k);
    if (const auto n = static_cast<unsigned>(bits % 8); n != 0)
        mergeByte(row + end, change(end), 0xFF00U >> n & 0xFF);
}

void changeBits(uint8_t* row, unsigned phase, size_t bits, uint8_t keep, uint8_t flip)
{
    changeOwnBits(row, phase, bits, [=](size_t k) { return static_cast<uint8_t>((row[k] & keep) ^ flip); });
}

void overlayBits(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT row, unsigned phase, size_t bits,
                 const BitOverlay& overlay)
{
    changeOwnBits(row, phase, bits, [=](size_t k) {
        const auto choose = [in = source[k]](BitPatterns p) { return p.zero ^ (in & (p.zero ^ p.one)); };
        return static_cast<uint8_t>(row[k] ^ ((row[k] ^ choose(overlay.bits)) & choose(overlay.opaque)));
    });
}

#if defined(LX_LEVEL_v4)

// Each byte becomes `Times` bytes. All 64 bytes of a register take part in one bit matrix product for each of those
// bytes, whose matrices spread the bits that it is made of; then the products are woven together.
template <unsigned Bits, unsigned Times>
struct Spread {
    static_assert(Times >= 2 && Times <= 4);
    uint64_t matrix[4] = {};                   // row p of matrix r has the bit that becomes bit p of byte r
    uint64_t late[Times] = {};                 // in register t, the bytes that are byte 2 or 3 of their source byte
    alignas(64) uint8_t order[Times][64] = {}; // in register t, the source byte of every byte; 64 more for byte 1 or 3

    constexpr Spread()
    {
        for (unsigned r = 0; r < Times; ++r) {
            for (unsigned p = 0; p < 8; ++p) {
                const unsigned bit = (8 * r + p) / (Bits * Times) * Bits + p % Bits;
                matrix[r] |= uint64_t{0x80U >> bit} << 8 * p;
            }
        }
        for (unsigned k = 0; k < 64 * Times; ++k) {
            order[k / 64][k % 64] = static_cast<uint8_t>(k / Times | k % Times % 2 << 6);
            late[k / 64] |= uint64_t{k % Times / 2} << k % 64;
        }
    }
};

template <unsigned Bits, unsigned Times>
constexpr Spread<Bits, Times> spread;

// Calls put(t, register t) for what 64 bytes become.
template <unsigned Bits, unsigned Times, class Put>
inline void spreadBlock(__m512i in, Put put)
{
    constexpr const Spread<Bits, Times>& rule = spread<Bits, Times>;
    const auto product = [&](unsigned r) {
        return timesMatrix(in, _mm512_set1_epi64(static_cast<int64_t>(rule.matrix[r])));
    };
    const __m512i first = product(0);
    const __m512i second = product(1);
    __m512i third = first;
    __m512i fourth = first;
    if constexpr (Times > 2)
        third = product(2);
    if constexpr (Times > 3)
        fourth = product(3);
    for (unsigned t = 0; t < Times; ++t) {
        const __m512i order = _mm512_load_si512(rule.order[t]);
        __m512i out = _mm512_permutex2var_epi8(first, order, second);
        if constexpr (Times > 2)
            out = _mm512_mask_mov_epi8(out, rule.late[t], _mm512_permutex2var_epi8(third, order, fourth));
        put(t, out);
    }
}

template <unsigned Bits, unsigned Times>
void repeatFew(const uint8_t* source, size_t bytes, uint8_t* destination)
{
    spreadBlock<Bits, Times>(_mm512_maskz_loadu_epi8(lowest(bytes), source), [=](unsigned t, __m512i out) {
        if (64 * t < bytes * Times)
            _mm512_mask_storeu_epi8(destination + 64 * t, lowest(bytes * Times - 64 * t), out);
    });
}

// Stores fill whole lines of the cache where they can, but for the first and the last ones.
template <unsigned Bits, unsigned Times>
void repeatWide(const uint8_t* source, size_t bytes, uint8_t* destination)
{
    if (bytes < 64)
        return repeatFew<Bits, Times>(source, bytes, destination);
    const auto repeatBlock = [=](size_t k, size_t left) {
        spreadBlock<Bits, Times>(_mm512_loadu_si512(source + k), [=](unsigned t, __m512i out) {
            if ((Times - 1 - t) * 64 < left * Times)
                _mm512_storeu_si512(destination + k * Times + 64 * t, out);
        });
    };
    repeatBlock(0, 64);
    size_t k = bytesToLine<Times>(destination);
    for (; k + 64 <= bytes; k += 64)
        repeatBlock(k, 64);
    if (k < bytes)
        repeatBlock(bytes - 64, bytes - k);
}

// Rows are made anew: that is quicker than to read them back.
template <unsigned Bits, unsigned Times>
void repeatRows(const RowRuns& rows, size_t bytes)
{
    forEachRun(rows, [=, &rows](const uint8_t* source, uint8_t* destination, uint32_t length) {
        for (uint32_t t = 0; t < length; ++t)
            repeatWide<Bits, Times>(source, bytes, destination + static_cast<ptrdiff_t>(t) * rows.step);
    });
}

#endif

template <unsigned Bits>
void repeatPixels(const uint8_t* LX_RESTRICT source, size_t bytes, unsigned times, uint8_t* LX_RESTRICT destination)
{
    // Sets the lowest bit of each of a pixel's places.
    uint64_t places = 0;
    for (unsigned t = 0; t < times; ++t)
        places |= uint64_t{1} << Bits * t;
    for (size_t k = 0; k < bytes; ++k) {
        uint64_t repeated = 0;
        for (unsigned shift = 8; shift != 0; shift -= Bits)
            repeated = repeated << Bits * times | (source[k] >> (shift - Bits) & ((1U << Bits) - 1)) * places;
        for (unsigned t = 0; t < times; ++t)
            destination[k * times + t] = static_cast<uint8_t>(repeated >> 8 * (times - 1 - t));
    }
}

template <unsigned Bits>
void repeatRuns(const RowRuns& rows, size_t bytes, unsigned times)
{
#if defined(LX_LEVEL_v4)
    if (times == 2)
        return repeatRows<Bits, 2>(rows, bytes);
    if (times == 3)
        return repeatRows<Bits, 3>(rows, bytes);
    if (times == 4)
        return repeatRows<Bits, 4>(rows, bytes);
#endif
    forEachRun(rows, [=, &rows](const uint8_t* source, uint8_t* destination, uint32_t length) {
        if (length != 0)
            repeatPixels<Bits>(source, bytes, times, destination);
        for (uint32_t t = 1; t < length; ++t)
            copyBytes(destination, destination + static_cast<ptrdiff_t>(t) * rows.step, bytes * times);
    });
}

void repeat(const RowRuns& rows, size_t bytes, unsigned bits, unsigned times)
{
    (bits == 1 ? repeatRuns<1> : repeatRuns<4>)(rows, bytes, times);
}

} // namespace

constexpr BitKernels bitKernels = {unpackBits, packBits, unpackNibbles, packNibbles,
                                   copyBits,   repeat,   changeBits,    overlayBits};

} // namespace lx::LX_LEVEL
