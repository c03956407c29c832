// Point operations on canonical rows: plain loops that the compiler vectorises, and AVX-512 forms of those that it does
// badly, triples and packed results.
//
// Weighted gray works on x = 33 (R + B) + 34 G, which fits 16 bits. floor(x / 100) equals the stated floating-point
// rule on all 2^24 colours, and so does the comparison with 19200 the luminance test. v * 241 >> 12 equals
// floor(v / 17) for every byte.

#include "kernels/bit_words.h"
#include "kernels/kernel_tables.h"
#include "kernels/lookup_table.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/pixels_v4.h"
#include "kernels/registers_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

// The sum of double-precision products falls short of the integer it stands for at 180 colours; everywhere else it
// gives floor(x / 100). All of them have x a multiple of 100, red below 96, and a third byte that is 32 or more away
// from one of the others: so few pixels of paper, ink and photographs are in doubt that those are summed one by one.
uint8_t preciseOf(const uint8_t* pixel, unsigned red)
{
    const double sum = (pixel[2 - red] * 0.33 + pixel[1] * 0.34) + pixel[red] * 0.33;
    return static_cast<uint8_t>(static_cast<int32_t>(sum));
}

#if defined(LX_LEVEL_v4)

// 64 pixels, or the first n of them: those that are not there are 0, and are not read.
__m512i loadPixels(const uint8_t* source, size_t n)
{
    return n >= 64 ? _mm512_loadu_si512(source) : _mm512_maskz_loadu_epi8(lowest(n), source);
}

// The bits of 64 pixels, or of the first n.
void storeBits(uint8_t* destination, uint64_t bits, size_t n)
{
    if (n >= 64)
        std::memcpy(destination, &bits, sizeof bits);
    else
        _mm_mask_storeu_epi8(destination, static_cast<__mmask16>(lowest((n + 7) / 8)),
                             _mm_cvtsi64_si128(static_cast<int64_t>(bits)));
}

// 32 triples: x = 33 (R + B) + 34 G of each; as the bytes of 16-bit lanes, the first two components, and the third
// twice.
struct Weighted32 {
    __m512i x;
    __m512i firstTwo;
    __m512i third;
};

// Only the first n triples are read.
Weighted32 weighted32(const uint8_t* source, size_t n)
{
    const size_t bytes = 3 * n;
    const __m512i low = loadPixels(source, bytes);
    const __m512i high = n >= 32
                             ? _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(source + 64)))
                             : loadPixels(source + 64, bytes < 64 ? 0 : bytes - 64);
    // Lane k takes bytes 3 k and 3 k + 1 as one pair, and byte 3 k + 2 twice, with a weight of 0 once.
    struct Places {
        uint8_t firstTwo[64];
        uint8_t third[64];
    };
    alignas(64) static constexpr Places places = [] {
        Places p{};
        for (unsigned k = 0; k < 32; ++k) {
            p.firstTwo[2 * k] = static_cast<uint8_t>(3 * k);
            p.firstTwo[2 * k + 1] = static_cast<uint8_t>(3 * k + 1);
            p.third[2 * k] = p.third[2 * k + 1] = static_cast<uint8_t>(3 * k + 2);
        }
        return p;
    }();
    const __m512i firstTwo = _mm512_permutex2var_epi8(low, _mm512_load_si512(places.firstTwo), high);
    const __m512i third = _mm512_permutex2var_epi8(low, _mm512_load_si512(places.third), high);
    return {_mm512_add_epi16(_mm512_maddubs_epi16(firstTwo, _mm512_set1_epi16(34 << 8 | 33)),
                             _mm512_maddubs_epi16(third, _mm512_set1_epi16(33))),
            firstTwo, third};
}

// floor(x / 100) for x <= 25500.
__m512i hundredths(__m512i x)
{
    return _mm512_srli_epi16(_mm512_mulhi_epu16(x, _mm512_set1_epi16(5243)), 3);
}

void storeGray(uint8_t* destination, __m512i gray, size_t n)
{
    const __m256i bytes = _mm512_cvtepi16_epi8(gray);
    if (n >= 32)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), bytes);
    else
        _mm256_mask_storeu_epi8(destination, static_cast<__mmask32>(lowest(n)), bytes);
}

void weightedGray(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t i = 0; i < pixels; i += 32)
        storeGray(destination + i, hundredths(weighted32(source + 3 * i, pixels - i).x), pixels - i);
}

void bright(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    const __m512i limit = _mm512_set1_epi16(19200);
    for (size_t i = 0; i < pixels; i += 64) {
        const size_t n = pixels - i;
        const auto flags = [&](size_t k) {
            return k < n ? _cvtmask32_u32(_mm512_cmpge_epu16_mask(weighted32(source + 3 * (i + k), n - k).x, limit))
                         : 0U;
        };
        const uint64_t low = flags(0);
        const uint64_t high = flags(32);
        storeBits(destination + i / 8, reverseBits(high << 32 | low), n);
    }
}

void above(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, uint8_t threshold)
{
    const __m512i limit = _mm512_set1_epi8(static_cast<char>(threshold));
    for (size_t i = 0; i < pixels; i += 64) {
        const __m512i v = reverseEights(loadPixels(source + i, pixels - i));
        storeBits(destination + i / 8, _mm512_cmpgt_epu8_mask(v, limit), pixels - i);
    }
}

void abovePattern(const uint8_t* LX_RESTRICT source, const uint8_t* LX_RESTRICT pattern, size_t period, size_t phase,
                  uint8_t* LX_RESTRICT destination, size_t pixels)
{
    const size_t advance = 64 % period;
    for (size_t i = 0; i < pixels; i += 64) {
        const __m512i limits = reverseEights(_mm512_loadu_si512(pattern + phase));
        const __m512i v = reverseEights(loadPixels(source + i, pixels - i));
        storeBits(destination + i / 8, _mm512_cmpgt_epu8_mask(v, limits), pixels - i);
        phase += advance;
        phase -= phase >= period ? period : 0;
    }
}

void levels16(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t i = 0; i < pixels; i += 64) {
        const size_t n = pixels - i;
        const __m512i pairs = loadPixels(source + i, n);
        const __m512i first = _mm512_and_si512(pairs, _mm512_set1_epi16(0xFF));
        const __m512i second = _mm512_srli_epi16(pairs, 8);
        const __m512i high = _mm512_and_si512(_mm512_srli_epi16(_mm512_mullo_epi16(first, _mm512_set1_epi16(241)), 8),
                                              _mm512_set1_epi16(0xF0));
        const __m512i low = _mm512_mulhi_epu16(second, _mm512_set1_epi16(241 << 4));
        storeGray(destination + i / 2, _mm512_or_si512(high, low), (n + 1) / 2);
    }
}

// preciseOf() where it may differ from the weighted gray.
void preciseGray(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, bool blueFirst)
{
    for (size_t i = 0; i < pixels; i += 32) {
        const Weighted32 w = weighted32(source + 3 * i, pixels - i);
        const __m512i gray = hundredths(w.x);
        storeGray(destination + i, gray, pixels - i);
        const __mmask32 multiple = _mm512_cmpeq_epi16_mask(w.x, _mm512_mullo_epi16(gray, _mm512_set1_epi16(100)));
        // Bytes that are 32 apart differ in their highest three bits.
        const __m512i apart = _mm512_xor_si512(w.third, w.firstTwo);
        const __mmask32 far = _mm512_mask_test_epi16_mask(multiple, apart, _mm512_set1_epi8(static_cast<char>(0xE0)));
        const __m512i below96 = _mm512_subs_epu8(_mm512_set1_epi16(96), blueFirst ? w.third : w.firstTwo);
        const __mmask32 doubtful = _mm512_mask_test_epi16_mask(far, below96, below96);
        for (uint32_t open = _cvtmask32_u32(doubtful); open != 0; open &= open - 1) {
            const size_t k = i + static_cast<unsigned>(__builtin_ctz(open));
            destination[k] = preciseOf(source + 3 * k, blueFirst ? 2 : 0);
        }
    }
}

#else

uint16_t weighted(const uint8_t* pixel)
{
    return static_cast<uint16_t>(33 * (pixel[0] + pixel[2]) + 34 * pixel[1]);
}

// floor(x / 100) for x <= 25500.
uint8_t hundredth(uint16_t x)
{
    return static_cast<uint8_t>((x * 5243U >> 16) >> 3);
}

void weightedGray(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i)
        destination[i] = hundredth(weighted(source + 3 * i));
}

// Packs the flags of `pixels` pixels, 64 at a time.
template <class Flag>
void packFlags(uint8_t* LX_RESTRICT destination, size_t pixels, Flag flag)
{
    uint8_t flags[64];
    size_t i = 0;
    for (; i + 64 <= pixels; i += 64) {
        for (size_t k = 0; k < 64; ++k)
            flags[k] = flag(i + k) ? 1 : 0;
        packBits(flags, destination + i / 8, 8);
    }
    const size_t rest = pixels - i;
    std::memset(flags, 0, sizeof flags);
    for (size_t k = 0; k < rest; ++k)
        flags[k] = flag(i + k) ? 1 : 0;
    packBits(flags, destination + i / 8, (rest + 7) / 8);
}

void bright(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    packFlags(destination, pixels, [=](size_t i) { return weighted(source + 3 * i) >= 19200; });
}

void above(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, uint8_t threshold)
{
    packFlags(destination, pixels, [=](size_t i) { return source[i] > threshold; });
}

void abovePattern(const uint8_t* LX_RESTRICT source, const uint8_t* LX_RESTRICT pattern, size_t period, size_t phase,
                  uint8_t* LX_RESTRICT destination, size_t pixels)
{
    const size_t advance = 64 % period;
    for (size_t i = 0; i < pixels; i += 64) {
        packFlags(destination + i / 8, pixels - i < 64 ? pixels - i : 64,
                  [=](size_t k) { return source[i + k] > pattern[phase + k]; });
        phase += advance;
        phase -= phase >= period ? period : 0;
    }
}

void levels16(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t k = 0; k < pixels / 2; ++k) {
        const unsigned high = source[2 * k] * 241U >> 8 & 0xF0U;
        destination[k] = static_cast<uint8_t>(high | source[2 * k + 1] * 241U >> 12);
    }
    if (pixels % 2 != 0)
        destination[pixels / 2] = static_cast<uint8_t>(source[pixels - 1] * 241U >> 8 & 0xF0U);
}

// The pixels of 64 at which the two gray rules may differ, pixel 0 lowest; `gray` is the weighted gray.
uint64_t doubtful(const uint8_t* source, const uint8_t* gray, size_t n)
{
    uint8_t flags[64] = {};
    for (size_t k = 0; k < n; ++k) {
        const uint8_t* pixel = source + 3 * k;
        // Bytes that are 32 apart differ in their highest three bits.
        const auto apart = static_cast<uint8_t>((pixel[2] ^ pixel[0]) | (pixel[2] ^ pixel[1]));
        flags[63 - k] =
            static_cast<uint8_t>(static_cast<int>(weighted(pixel) == gray[k] * 100) & static_cast<int>(apart >= 32));
    }
    uint8_t bytes[8];
    packBits(flags, bytes, sizeof bytes);
    return __builtin_bswap64(loadLittle64(bytes));
}

void preciseGray(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, bool blueFirst)
{
    const unsigned red = blueFirst ? 2 : 0;
    weightedGray(source, destination, pixels);
    for (size_t i = 0; i < pixels; i += 64) {
        uint64_t open = doubtful(source + 3 * i, destination + i, pixels - i < 64 ? pixels - i : 64);
        for (; open != 0; open &= open - 1) {
            const size_t k = i + static_cast<unsigned>(__builtin_ctzll(open));
            destination[k] = preciseOf(source + 3 * k, red);
        }
    }
}

#endif

void component(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, unsigned component)
{
    const uint8_t* LX_RESTRICT bytes = source + component;
    for (size_t i = 0; i < pixels; ++i)
        destination[i] = bytes[3 * i];
}

void lookup(const uint8_t* source, uint8_t* destination, size_t pixels, const uint8_t* table)
{
    LookupTable(table).look(source, destination, pixels);
}

void colors(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, const ColorTable& table)
{
#if defined(LX_LEVEL_v4)
    if (pixels >= 64) {
        const LookupTable tables[3] = {LookupTable(table.component[0]), LookupTable(table.component[1]),
                                       LookupTable(table.component[2])};
        walkBlocks(destination, pixels, [&](size_t i) {
            const __m512i index = _mm512_loadu_si512(source + i);
            storeTriples({tables[0].look(index), tables[1].look(index), tables[2].look(index)}, destination + 3 * i);
        });
        return;
    }
#endif
    for (size_t i = 0; i < pixels; ++i) {
        for (unsigned c = 0; c < 3; ++c)
            destination[3 * i + c] = table.component[c][source[i]];
    }
}

void swapEnds(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
#if defined(LX_LEVEL_v4)
    if (pixels >= 64) {
        walkBlocks(destination, pixels, [=](size_t i) { swapEnds64(source + 3 * i, destination + 3 * i); });
        return;
    }
#endif
    for (size_t i = 0; i < pixels; ++i) {
        destination[3 * i] = source[3 * i + 2];
        destination[3 * i + 1] = source[3 * i + 1];
        destination[3 * i + 2] = source[3 * i];
    }
}

void bit(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels, unsigned bit)
{
    for (size_t i = 0; i < pixels; ++i)
        destination[i] = source[i] >> bit & 1;
}

} // namespace

constexpr PixelKernels pixelKernels = {
    weightedGray, preciseGray, component, bright, above, abovePattern, levels16, lookup, colors, swapEnds, bit,
};

} // namespace lx::LX_LEVEL
