// Change of size along a line. The portable forms are plain loops over the blocks; the wide ones work on all columns at
// once and then throw together those that begin a block, or look their sources up in a few registers.

#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/registers_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

#if defined(LX_LEVEL_v4)

// 32 bytes as words.
__m512i widen(const uint8_t* bytes)
{
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes)));
}

// Asks for the bytes of 128 columns, `step` bytes further on. The address may lie anywhere.
void fetchEarly(const uint8_t* source, ptrdiff_t step)
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(source) + static_cast<uintptr_t>(step);
    __builtin_prefetch(reinterpret_cast<const void*>(address), 0, 2);      // NOLINT(performance-no-int-to-ptr)
    __builtin_prefetch(reinterpret_cast<const void*>(address + 64), 0, 2); // NOLINT(performance-no-int-to-ptr)
}

// The sums of as many columns as whole registers take; returns their number. The rows that follow are likely to be
// wanted next.
size_t sumRowsWide(const uint8_t* LX_RESTRICT source, ptrdiff_t step, unsigned rows, uint16_t* LX_RESTRICT sums,
                   size_t components)
{
    const ptrdiff_t ahead = static_cast<ptrdiff_t>(rows) * step;
    size_t i = 0;
    for (; i + 128 <= components; i += 128) {
        const uint8_t* row = source + i;
        __m512i v[4] = {widen(row), widen(row + 32), widen(row + 64), widen(row + 96)};
        fetchEarly(row, ahead);
        for (unsigned r = 1; r < rows; ++r) {
            row += step;
            fetchEarly(row, ahead);
            for (unsigned k = 0; k < 4; ++k)
                v[k] = _mm512_add_epi16(v[k], widen(row + 32 * k));
        }
        for (unsigned k = 0; k < 4; ++k)
            _mm512_storeu_si512(sums + i + 32 * k, v[k]);
    }
    return i;
}

#endif

void sumRows(const uint8_t* LX_RESTRICT source, ptrdiff_t step, unsigned rows, uint16_t* LX_RESTRICT sums,
             size_t components)
{
#if defined(LX_LEVEL_v4)
    const size_t done = sumRowsWide(source, step, rows, sums, components);
#else
    const size_t done = 0;
#endif
    for (size_t i = done; i < components; ++i)
        sums[i] = source[i];
    for (unsigned r = 1; r < rows; ++r) {
        const uint8_t* LX_RESTRICT row = source + static_cast<ptrdiff_t>(r) * step;
        for (size_t i = done; i < components; ++i)
            sums[i] = static_cast<uint16_t>(sums[i] + row[i]);
    }
}

#if defined(LX_LEVEL_v4)

constexpr uint32_t wideBlockWidth = 8; // narrow blocks up to this width are summed for all columns at once

uint32_t bits32(const uint64_t* bits, size_t at)
{
    return static_cast<uint32_t>(bits[at / 64] >> at % 64);
}

// The sums of blocks take the place of those of their columns, close together; returns their number. What is written
// is behind what is still to be read.
size_t sumBlocksWide(const BlockColumns& columns, uint16_t* sums)
{
    size_t n = 0;
    for (size_t c = 0; c < columns.components; c += 32) {
        const uint32_t begins = bits32(columns.begins, c);
        if (begins == 0)
            continue;
        const uint32_t wide = bits32(columns.wide, c);
        __m512i sum = _mm512_loadu_si512(sums + c);
        for (uint32_t t = 1; t < columns.width; ++t)
            sum = _mm512_add_epi16(sum, _mm512_loadu_si512(sums + c + t * columns.channels));
        if (wide != 0)
            sum =
                _mm512_mask_add_epi16(sum, wide, sum, _mm512_loadu_si512(sums + c + columns.width * columns.channels));
        _mm512_storeu_si512(sums + n, _mm512_maskz_compress_epi16(begins, sum));
        n += static_cast<unsigned>(__builtin_popcount(begins));
    }
    return n;
}

// Blocks of at most 257 pixels, so that their sums fit 16 bits.
bool blockMeansWide(const BlockColumns& columns, const BlockRule& rule, uint16_t* sums,
                    uint8_t* LX_RESTRICT destination, uint8_t* LX_RESTRICT marks)
{
    const auto both = [](uint32_t wide, uint32_t narrow0, uint32_t wide1) {
        return _mm512_mask_blend_epi16(wide, _mm512_set1_epi16(static_cast<short>(narrow0)),
                                       _mm512_set1_epi16(static_cast<short>(wide1)));
    };
    uint32_t reciprocals[2];
    for (unsigned k = 0; k < 2; ++k)
        reciprocals[k] = rule.pixels[k] == 1 ? 65535 : 65536 / rule.pixels[k];
    const bool marking = rule.marked[0] || rule.marked[1];
    uint32_t anyMark = 0;
    const size_t count = sumBlocksWide(columns, sums);
    for (size_t k = 0; k < count; k += 32) {
        const auto mine = static_cast<uint32_t>(lowest(count - k));
        const uint32_t wide = bits32(columns.wideMeans, k);
        const __m512i sum = _mm512_loadu_si512(sums + k);
        // The truncated reciprocal gives a quotient that is at most 1 short, which the remainder tells.
        const __m512i pixels = both(wide, rule.pixels[0], rule.pixels[1]);
        __m512i mean = _mm512_mulhi_epu16(sum, both(wide, reciprocals[0], reciprocals[1]));
        const __m512i rest = _mm512_sub_epi16(sum, _mm512_mullo_epi16(mean, pixels));
        const __mmask32 isShort = _mm512_cmpge_epu16_mask(rest, pixels);
        mean = _mm512_mask_add_epi16(mean, isShort, mean, _mm512_set1_epi16(1));
        if (marking) {
            const __m512i exact = _mm512_mullo_epi16(mean, pixels);
            const uint32_t marked = mine & ((rule.marked[0] ? ~wide : 0) | (rule.marked[1] ? wide : 0));
            const uint32_t white = marked & _mm512_cmpeq_epi16_mask(mean, _mm512_set1_epi16(255));
            uint32_t even = marked & ~white & _mm512_cmpeq_epi16_mask(sum, exact);
            even &= _mm512_test_epi16_mask(sum, sum);
            mean = _mm512_mask_mov_epi16(mean, white, both(wide, rule.white[0], rule.white[1]));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(marks + k), _mm256_movm_epi8(even));
            anyMark |= even;
        }
        _mm256_mask_storeu_epi8(destination + k, mine, lowBytes(mean));
    }
    return anyMark != 0;
}

#endif

bool blockMeans(const BlockColumns& columns, const BlockRule& rule, uint16_t* LX_RESTRICT sums,
                uint8_t* LX_RESTRICT destination, uint8_t* LX_RESTRICT marks)
{
#if defined(LX_LEVEL_v4)
    if (columns.width <= wideBlockWidth && rule.pixels[1] <= 257)
        return blockMeansWide(columns, rule, sums, destination, marks);
#endif
    bool anyMark = false;
    for (uint32_t b = 0; b < columns.blocks; ++b) {
        const uint32_t width = columns.starts[b + 1] - columns.starts[b];
        const unsigned kind = width > columns.width ? 1 : 0;
        const uint32_t pixels = rule.pixels[kind];
        for (unsigned c = 0; c < columns.channels; ++c) {
            const uint16_t* column = sums + size_t{columns.starts[b]} * columns.channels + c;
            uint32_t sum = 0;
            for (uint32_t i = 0; i < width; ++i)
                sum += column[size_t{i} * columns.channels];
            const uint32_t mean = sum / pixels;
            const bool even = rule.marked[kind] && mean * pixels == sum;
            *destination++ = even && mean == 255 ? rule.white[kind] : static_cast<uint8_t>(mean);
            const bool mark = even && mean != 0 && mean != 255;
            *marks++ = mark ? blockMark : uint8_t{0};
            anyMark |= mark;
        }
    }
    return anyMark;
}

// For these lengths the single-precision steps of a ramp give the same as integers do, floor(x / length) with
// x = from * (length - t) + to * t, for all values and all t.
bool isExactRamp(uint32_t length)
{
    return length <= 5 || length == 8 || length == 11 || length == 16;
}

// x / length for such lengths is 2 x times this, in 1 / 65536.
uint16_t halfReciprocal(uint32_t length)
{
    return static_cast<uint16_t>((32768 + length - 1) / length);
}

uint8_t exactRampLevel(unsigned from, unsigned to, unsigned t, unsigned length, unsigned reciprocal)
{
    const auto x = static_cast<uint16_t>(2 * (from * (length - t) + to * t));
    return static_cast<uint8_t>(x * reciprocal >> 16);
}

uint8_t rampLevel(int from, int to, double t, float step)
{
    const float d = static_cast<float>(to - from) * step;
    return static_cast<uint8_t>(static_cast<int32_t>(from + t * static_cast<double>(d)));
}

float stepOf(uint32_t length)
{
    return 1.0F / static_cast<float>(length);
}

void ramp(const uint8_t* LX_RESTRICT from, const uint8_t* LX_RESTRICT to, uint8_t* LX_RESTRICT destination,
          size_t components, unsigned t, uint32_t length)
{
    if (!isExactRamp(length)) {
        const float step = stepOf(length);
        for (size_t i = 0; i < components; ++i)
            destination[i] = rampLevel(from[i], to[i], t, step);
        return;
    }
    const uint16_t reciprocal = halfReciprocal(length);
    size_t i = 0;
#if defined(LX_LEVEL_v4)
    const __m512i fromWeights = _mm512_set1_epi16(static_cast<short>(2 * (length - t)));
    const __m512i toWeights = _mm512_set1_epi16(static_cast<short>(2 * t));
    const __m512i reciprocals = _mm512_set1_epi16(static_cast<short>(reciprocal));
    for (; i + 32 <= components; i += 32) {
        const __m512i x = _mm512_add_epi16(_mm512_mullo_epi16(widen(from + i), fromWeights),
                                           _mm512_mullo_epi16(widen(to + i), toWeights));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + i), lowBytes(_mm512_mulhi_epu16(x, reciprocals)));
    }
#endif
    for (; i < components; ++i)
        destination[i] = exactRampLevel(from[i], to[i], t, length, reciprocal);
}

void rampEach(const uint8_t* LX_RESTRICT from, const uint8_t* LX_RESTRICT to, uint8_t* LX_RESTRICT destination,
              size_t components, const uint8_t* LX_RESTRICT times, uint32_t length)
{
    if (!isExactRamp(length) || !isExactRamp(length + 1)) {
        const float narrow = stepOf(length);
        const float wide = stepOf(length + 1);
        for (size_t i = 0; i < components; ++i)
            destination[i] = rampLevel(from[i], to[i], times[i] & 127, times[i] > 127 ? wide : narrow);
        return;
    }
    const uint16_t narrow = halfReciprocal(length);
    const uint16_t wide = halfReciprocal(length + 1);
    size_t i = 0;
#if defined(LX_LEVEL_v4)
    const __m512i one = _mm512_set1_epi16(1);
    for (; i + 32 <= components; i += 32) {
        const __m512i time = widen(times + i);
        const __mmask32 isWide = _mm512_test_epi16_mask(time, _mm512_set1_epi16(128));
        const __m512i t = _mm512_and_si512(time, _mm512_set1_epi16(127));
        __m512i lengths = _mm512_set1_epi16(static_cast<short>(length));
        lengths = _mm512_mask_add_epi16(lengths, isWide, lengths, one);
        const __m512i reciprocals = _mm512_mask_blend_epi16(isWide, _mm512_set1_epi16(static_cast<short>(narrow)),
                                                            _mm512_set1_epi16(static_cast<short>(wide)));
        const __m512i start = widen(from + i);
        const __m512i difference = _mm512_sub_epi16(widen(to + i), start);
        const __m512i x = _mm512_add_epi16(_mm512_mullo_epi16(start, lengths), _mm512_mullo_epi16(difference, t));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + i),
                            lowBytes(_mm512_mulhi_epu16(_mm512_slli_epi16(x, 1), reciprocals)));
    }
#endif
    for (; i < components; ++i) {
        const bool isWide = times[i] > 127;
        destination[i] =
            exactRampLevel(from[i], to[i], times[i] & 127, length + (isWide ? 1 : 0), isWide ? wide : narrow);
    }
}

#if defined(LX_LEVEL_v4)

// Even pixels of two registers' worth from one register and odd ones from another, 1 or 3 components each: byte b of
// the result is component b % channels of pixel b / channels.
struct Alternation {
    alignas(64) uint8_t from[128] = {};

    constexpr explicit Alternation(unsigned channels)
    {
        for (unsigned b = 0; b < 128; ++b) {
            const unsigned pixel = b / channels;
            from[b] = static_cast<uint8_t>((pixel / 2 * channels + b % channels) | (pixel % 2 != 0 ? 64U : 0U));
        }
    }
};
constexpr Alternation singles(1);
constexpr Alternation triples(3);

// The sums of four bytes of each column, rounded, as words of one half of every 128 bits.
__m512i quarter(__m512i pairs, __m512i nextPairs)
{
    const __m512i ones = _mm512_set1_epi8(1);
    const __m512i sum = _mm512_add_epi16(_mm512_maddubs_epi16(pairs, ones), _mm512_maddubs_epi16(nextPairs, ones));
    return _mm512_srli_epi16(_mm512_add_epi16(sum, _mm512_set1_epi16(2)), 2);
}

// (a + b) >> 1 of every byte.
__m512i halfDown(__m512i a, __m512i b)
{
    return _mm512_sub_epi8(_mm512_avg_epu8(a, b), _mm512_and_si512(_mm512_xor_si512(a, b), _mm512_set1_epi8(1)));
}

#endif

// What becomes of the bytes of two rows, and of the next pixel's, where pixels double.
struct RoundedMeans {
    static unsigned even(unsigned t, unsigned b) { return (t + b + 1) >> 1; }
    static unsigned odd(unsigned t, unsigned b, unsigned nextT, unsigned nextB)
    {
        return (t + b + nextT + nextB + 2) >> 2;
    }

#if defined(LX_LEVEL_v4)
    static __m512i even(__m512i t, __m512i b)
    {
        return _mm512_avg_epu8(t, b);
    }
    static __m512i odd(__m512i t, __m512i b, __m512i nextT, __m512i nextB)
    {
        return _mm512_packus_epi16(quarter(_mm512_unpacklo_epi8(t, b), _mm512_unpacklo_epi8(nextT, nextB)),
                                   quarter(_mm512_unpackhi_epi8(t, b), _mm512_unpackhi_epi8(nextT, nextB)));
    }
#endif
};

struct TruncatedRamps {
    static unsigned even(unsigned t, unsigned b) { return (t + b) >> 1; }
    static unsigned odd(unsigned t, unsigned b, unsigned nextT, unsigned nextB)
    {
        return ((t + nextT) / 2 + (b + nextB) / 2) >> 1;
    }

#if defined(LX_LEVEL_v4)
    static __m512i even(__m512i t, __m512i b)
    {
        return halfDown(t, b);
    }
    static __m512i odd(__m512i t, __m512i b, __m512i nextT, __m512i nextB)
    {
        return halfDown(halfDown(t, nextT), halfDown(b, nextB));
    }
#endif
};

struct Repeats {
    static unsigned even(unsigned t, unsigned) { return t; }
    static unsigned odd(unsigned t, unsigned, unsigned, unsigned) { return t; }

#if defined(LX_LEVEL_v4)
    static __m512i even(__m512i t, __m512i)
    {
        return t;
    }
    static __m512i odd(__m512i t, __m512i, __m512i, __m512i)
    {
        return t;
    }
#endif
};

#if defined(LX_LEVEL_v4)

// Whole registers whose pixels all have a next one; returns the components done.
template <class Rule>
size_t twiceWide(const uint8_t* LX_RESTRICT top, const uint8_t* LX_RESTRICT bottom, uint8_t* LX_RESTRICT destination,
                 size_t components, unsigned channels)
{
    const uint8_t* order = channels == 1 ? singles.from : triples.from;
    const __m512i firstHalf = _mm512_load_si512(order);
    const __m512i secondHalf = _mm512_load_si512(order + 64);
    const size_t step = channels == 1 ? 64 : 63;
    size_t i = 0;
    for (; i + 64 + channels <= components; i += step) {
        const __m512i t = _mm512_loadu_si512(top + i);
        const __m512i b = _mm512_loadu_si512(bottom + i);
        const __m512i nextT = _mm512_loadu_si512(top + i + channels);
        const __m512i nextB = _mm512_loadu_si512(bottom + i + channels);
        const __m512i even = Rule::even(t, b);
        const __m512i odd = Rule::odd(t, b, nextT, nextB);
        // Three channels leave two bytes too many, which the next pixels overwrite.
        _mm512_storeu_si512(destination + 2 * i, _mm512_permutex2var_epi8(even, firstHalf, odd));
        _mm512_storeu_si512(destination + 2 * i + 64, _mm512_permutex2var_epi8(even, secondHalf, odd));
    }
    return i;
}

#endif

// Pixels of `even` and `odd` by turns.
template <unsigned Channels>
void alternate(const uint8_t* LX_RESTRICT even, const uint8_t* LX_RESTRICT odd, uint8_t* LX_RESTRICT destination,
               size_t components)
{
    size_t i = 0;
    // Four bytes at once: the pixel that comes next replaces the last of them.
    for (; Channels == 3 && i + 6 <= components; i += 3) {
        std::memcpy(destination + 2 * i, even + i, 4);
        std::memcpy(destination + 2 * i + 3, odd + i, 4);
    }
    for (; i < components; i += Channels) {
        for (unsigned c = 0; c < Channels; ++c) {
            destination[2 * i + c] = even[i + c];
            destination[2 * i + Channels + c] = odd[i + c];
        }
    }
}

template <class Rule>
void twice(const uint8_t* LX_RESTRICT top, const uint8_t* LX_RESTRICT bottom, uint8_t* LX_RESTRICT destination,
           size_t components, unsigned channels)
{
#if defined(LX_LEVEL_v4)
    const size_t done = twiceWide<Rule>(top, bottom, destination, components, channels);
#else
    const size_t done = 0;
#endif
    constexpr size_t most = 3 * 256;
    uint8_t even[most];
    uint8_t odd[most];
    for (size_t i = done; i < components; i += most) {
        const size_t n = components - i < most ? components - i : most;
        const uint8_t* LX_RESTRICT t = top + i;
        const uint8_t* LX_RESTRICT b = bottom + i;
        const size_t followed = i + n < components ? n : n - channels;
        for (size_t k = 0; k < n; ++k)
            even[k] = static_cast<uint8_t>(Rule::even(t[k], b[k]));
        for (size_t k = 0; k < followed; ++k)
            odd[k] = static_cast<uint8_t>(Rule::odd(t[k], b[k], t[k + channels], b[k + channels]));
        for (size_t k = followed; k < n; ++k)
            odd[k] = static_cast<uint8_t>(Rule::odd(t[k], b[k], t[k], b[k]));
        if (channels == 1)
            alternate<1>(even, odd, destination + 2 * i, n);
        else
            alternate<3>(even, odd, destination + 2 * i, n);
    }
}

void repeatTwice(const uint8_t* source, uint8_t* destination, size_t components, unsigned channels)
{
    twice<Repeats>(source, source, destination, components, channels);
}

void addRow(const uint8_t* LX_RESTRICT source, uint32_t* LX_RESTRICT sums, size_t components)
{
    for (size_t i = 0; i < components; ++i)
        sums[i] += source[i];
}

// round(x weight / 32768), halves upwards.
int weigh(int x, int weight)
{
    return (x * weight + 0x4000) >> 15;
}

void joinRows(const uint8_t* LX_RESTRICT top, const uint32_t* LX_RESTRICT middle, const uint8_t* LX_RESTRICT bottom,
              uint16_t* LX_RESTRICT destination, size_t components, uint32_t box, int weight)
{
    const auto half = static_cast<int32_t>(box / 2);
    const double reciprocal = 1.0 / box;
    for (size_t i = 0; i < components; ++i) {
        const int32_t x = static_cast<int32_t>(top[i] + middle[i]) * 128 + weigh((bottom[i] - top[i]) * 128, weight);
        // Sums are below 2^31: half a step keeps the quotient clear of the integers.
        destination[i] = static_cast<uint16_t>(static_cast<int32_t>((x + half + 0.5) * reciprocal) + 64);
    }
}

#if defined(LX_LEVEL_v4)

// Words of 32 columns, in 1 / 128: the outer rows of a box of 1 or 2, one weighed against the other.
struct OuterRows {
    __m512i top;
    __m512i change;

    OuterRows(const uint8_t* topRow, const uint8_t* bottomRow, __m512i weight) : top(widen(topRow))
    {
        const __m512i difference = _mm512_sub_epi16(widen(bottomRow), top);
        change = _mm512_mulhrs_epi16(_mm512_slli_epi16(difference, 7), weight);
    }
};

#endif

void joinTwo(const uint8_t* LX_RESTRICT top, const uint8_t* LX_RESTRICT bottom, uint16_t* LX_RESTRICT destination,
             size_t components, int weight)
{
    const auto factor = static_cast<int16_t>(weight);
    size_t i = 0;
#if defined(LX_LEVEL_v4)
    const __m512i factors = _mm512_set1_epi16(factor);
    for (; i + 32 <= components; i += 32) {
        const OuterRows rows(top + i, bottom + i, factors);
        const __m512i level = _mm512_add_epi16(_mm512_slli_epi16(rows.top, 7), _mm512_set1_epi16(64));
        _mm512_storeu_si512(destination + i, _mm512_add_epi16(level, rows.change));
    }
#endif
    for (; i < components; ++i) {
        const auto difference = static_cast<int16_t>((bottom[i] - top[i]) * 128);
        destination[i] = static_cast<uint16_t>(top[i] * 128 + weigh(difference, factor) + 64);
    }
}

void joinThree(const uint8_t* LX_RESTRICT top, const uint8_t* LX_RESTRICT middle, const uint8_t* LX_RESTRICT bottom,
               uint16_t* LX_RESTRICT destination, size_t components, int weight)
{
    const auto factor = static_cast<int16_t>(weight);
    size_t i = 0;
#if defined(LX_LEVEL_v4)
    const __m512i factors = _mm512_set1_epi16(factor);
    for (; i + 32 <= components; i += 32) {
        const OuterRows rows(top + i, bottom + i, factors);
        const __m512i inner = _mm512_slli_epi16(_mm512_add_epi16(rows.top, widen(middle + i)), 7);
        const __m512i x = _mm512_add_epi16(_mm512_add_epi16(inner, rows.change), _mm512_set1_epi16(1 + 128));
        _mm512_storeu_si512(destination + i, _mm512_srli_epi16(x, 1));
    }
#endif
    for (; i < components; ++i) {
        const auto difference = static_cast<int16_t>((bottom[i] - top[i]) * 128);
        const auto x = static_cast<uint16_t>((top[i] + middle[i]) * 128 + weigh(difference, factor));
        destination[i] = static_cast<uint16_t>((static_cast<uint16_t>(x + 1) >> 1) + 64);
    }
}

#if defined(LX_LEVEL_v4)

// Words of the source at the offsets of a group, from some place on.
class Taps
{
  public:
    explicit Taps(const TapGroup& group) : offsets_(_mm512_loadu_si512(group.offsets)), narrow_(group.last < 32) {}

    __m512i at(const uint16_t* from) const
    {
        const __m512i low = _mm512_loadu_si512(from);
        return narrow_ ? _mm512_maskz_permutexvar_epi16(~__mmask32{0}, offsets_, low)
                       : _mm512_permutex2var_epi16(low, offsets_, _mm512_loadu_si512(from + 32));
    }

  private:
    __m512i offsets_;
    bool narrow_;
};

template <unsigned Box>
void joinColumnsWide(const uint16_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, const TapGroup& group,
                     unsigned channels)
{
    const Taps taps(group);
    const uint16_t* from = source + group.base;
    const __m512i first = taps.at(from);
    __m512i sum = first;
    if constexpr (Box == 2)
        sum = _mm512_add_epi16(sum, taps.at(from + channels));
    const __m512i change = _mm512_sub_epi16(taps.at(from + Box * channels), first);
    sum = _mm512_add_epi16(sum, _mm512_mulhrs_epi16(change, _mm512_loadu_si512(group.weights)));
    const __m256i bytes = lowBytes(_mm512_srli_epi16(sum, Box == 1 ? 7 : 8));
    if (group.count == TapGroup::lanes)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), bytes);
    else
        _mm256_mask_storeu_epi8(destination, static_cast<uint32_t>(lowest(group.count)), bytes);
}

template <unsigned Box>
void joinGroupsWide(const uint16_t* source, uint8_t* destination, const TapGroup* groups, size_t count,
                    unsigned channels)
{
    for (const TapGroup* group = groups; group != groups + count; ++group) {
        joinColumnsWide<Box>(source, destination, *group, channels);
        destination += group->count;
    }
}

#endif

void joinColumns(const uint16_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, const TapGroup* groups,
                 size_t count, unsigned channels, uint32_t box)
{
#if defined(LX_LEVEL_v4)
    if (box == 1)
        return joinGroupsWide<1>(source, destination, groups, count, channels);
    if (box == 2)
        return joinGroupsWide<2>(source, destination, groups, count, channels);
#endif
    const double reciprocal = 1.0 / (128.0 * box);
    for (const TapGroup* group = groups; group != groups + count; ++group) {
        for (unsigned k = 0; k < group->count; ++k) {
            const uint16_t* taps = source + group->base + group->offsets[k];
            int32_t sum = taps[0];
            for (uint32_t t = 1; t < box; ++t)
                sum += taps[size_t{t} * channels];
            sum += weigh(taps[size_t{box} * channels] - taps[0], group->weights[k]);
            // Sums are integers: half a step keeps the quotient clear of them.
            destination[k] = static_cast<uint8_t>(static_cast<int32_t>((sum + 0.5) * reciprocal));
        }
        destination += group->count;
    }
}

} // namespace

constexpr ResampleKernels resampleKernels = {
    sumRows,     blockMeans, ramp,     rampEach, twice<RoundedMeans>, twice<TruncatedRamps>,
    repeatTwice, addRow,     joinRows, joinTwo,  joinThree,           joinColumns,
};

} // namespace lx::LX_LEVEL
