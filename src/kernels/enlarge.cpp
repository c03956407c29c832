// Pixels between pixels: straight ramps, and pictures of twice the size. The portable forms are plain loops, the wide
// ones take whole registers and weave what becomes of even and odd pixels together.

#include "kernels/fetch_early.h"
#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/registers_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

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

#if defined(LX_LEVEL_v4)

// (a + b) >> 1 of every byte.
__m512i halfDown(__m512i a, __m512i b)
{
    return _mm512_sub_epi8(_mm512_avg_epu8(a, b), _mm512_and_si512(_mm512_xor_si512(a, b), _mm512_set1_epi8(1)));
}

#endif

void ramp(const uint8_t* LX_RESTRICT from, const uint8_t* LX_RESTRICT to, uint8_t* LX_RESTRICT destination,
          size_t components, unsigned t, uint32_t length, [[maybe_unused]] ptrdiff_t ahead)
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
    for (; length == 2 && t == 1 && i + 64 <= components; i += 64) {
        fetchEarly<2>(destination + i, ahead);
        _mm512_storeu_si512(destination + i, halfDown(_mm512_loadu_si512(from + i), _mm512_loadu_si512(to + i)));
    }
    const __m512i fromWeights = _mm512_set1_epi16(static_cast<short>(2 * (length - t)));
    const __m512i toWeights = _mm512_set1_epi16(static_cast<short>(2 * t));
    const __m512i reciprocals = _mm512_set1_epi16(static_cast<short>(reciprocal));
    for (; i + 32 <= components; i += 32) {
        fetchEarly<2>(destination + i, ahead);
        const __m512i x = _mm512_add_epi16(_mm512_mullo_epi16(widen(from + i), fromWeights),
                                           _mm512_mullo_epi16(widen(to + i), toWeights));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + i), lowBytes(_mm512_mulhi_epu16(x, reciprocals)));
    }
#endif
    for (; i < components; ++i)
        destination[i] = exactRampLevel(from[i], to[i], t, length, reciprocal);
}

// Ramps of a group's components, some of `length` and some of one more.
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
    for (size_t i = 0; i < components; ++i) {
        const bool isWide = times[i] > 127;
        destination[i] =
            exactRampLevel(from[i], to[i], times[i] & 127, length + (isWide ? 1 : 0), isWide ? wide : narrow);
    }
}

#if defined(LX_LEVEL_v4)

// The same of exact ramps, in registers.
class WideRamps
{
  public:
    explicit WideRamps(uint32_t length)
        : single_(length == 1), lengths_(words(length)), narrow_(words(halfReciprocal(length))),
          wide_(words(halfReciprocal(length + 1)))
    {
    }

    __m512i at(__m512i from, __m512i to, __m512i times) const
    {
        // Ramps of 2 have but one level between.
        if (single_)
            return _mm512_mask_blend_epi8(_mm512_test_epi8_mask(times, _mm512_set1_epi8(127)), from,
                                          halfDown(from, to));
        const __m256i low =
            half(_mm512_castsi512_si256(from), _mm512_castsi512_si256(to), _mm512_castsi512_si256(times));
        const __m256i high = half(upper(from), upper(to), upper(times));
        return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    }

  private:
    static __m512i words(uint32_t value) { return _mm512_set1_epi16(static_cast<short>(value)); }
    static __m256i upper(__m512i bytes) { return _mm512_maskz_extracti64x4_epi64(15, bytes, 1); }

    __m256i half(__m256i from, __m256i to, __m256i times) const
    {
        const __m512i time = _mm512_cvtepu8_epi16(times);
        const __mmask32 isWide = _mm512_test_epi16_mask(time, words(128));
        const __m512i t = _mm512_and_si512(time, words(127));
        const __m512i lengths = _mm512_mask_add_epi16(lengths_, isWide, lengths_, words(1));
        const __m512i start = _mm512_cvtepu8_epi16(from);
        const __m512i difference = _mm512_sub_epi16(_mm512_cvtepu8_epi16(to), start);
        const __m512i x = _mm512_add_epi16(_mm512_mullo_epi16(start, lengths), _mm512_mullo_epi16(difference, t));
        return lowBytes(_mm512_mulhi_epu16(_mm512_slli_epi16(x, 1), _mm512_mask_blend_epi16(isWide, narrow_, wide_)));
    }

    const bool single_;
    const __m512i lengths_;
    const __m512i narrow_;
    const __m512i wide_;
};

// A group whose pixels are in one register, and the next ones in another.
void rampGroupWide(const uint8_t* from, const uint8_t* to, uint8_t* destination, const PickGroup& group,
                   const uint8_t* times, const WideRamps& ramps)
{
    const __mmask64 there = lowest(group.last + 1U);
    const __mmask64 mine = lowest(group.count);
    const __m512i offsets = _mm512_loadu_si512(group.offsets);
    const __m512i levels =
        ramps.at(permuteBytes(offsets, _mm512_maskz_loadu_epi8(there, from)),
                 permuteBytes(offsets, _mm512_maskz_loadu_epi8(there, to)), _mm512_maskz_loadu_epi8(mine, times));
    if (group.count == PickGroup::lanes)
        _mm512_storeu_si512(destination, levels);
    else
        _mm512_mask_storeu_epi8(destination, mine, levels);
}

#endif

void rampPicked(const uint8_t* LX_RESTRICT source, uint32_t first, unsigned channels, uint8_t* LX_RESTRICT destination,
                const PickGroup* groups, size_t count, const uint8_t* LX_RESTRICT times, uint32_t length,
                ptrdiff_t ahead)
{
#if defined(LX_LEVEL_v4)
    const bool wide = isExactRamp(length) && isExactRamp(length + 1);
    const WideRamps ramps(length);
#endif
    for (const PickGroup* group = groups; group != groups + count; ++group) {
        const uint8_t* LX_RESTRICT pixels = source + (group->base - first);
        fetchEarly<2>(destination, ahead);
#if defined(LX_LEVEL_v4)
        if (wide && group->last < 64) {
            rampGroupWide(pixels, pixels + channels, destination, *group, times, ramps);
            destination += group->count;
            times += group->count;
            continue;
        }
#endif
        uint8_t from[PickGroup::lanes];
        uint8_t to[PickGroup::lanes];
        for (unsigned k = 0; k < group->count; ++k) {
            from[k] = pixels[group->offsets[k]];
            to[k] = pixels[group->offsets[k] + channels];
        }
        rampEach(from, to, destination, group->count, times, length);
        destination += group->count;
        times += group->count;
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
    // The stores of single components fill whole lines of the cache but for the first ones.
    size_t advance = channels == 1 ? bytesToLine<2>(destination) : step;
    for (; i + 64 + channels <= components; i += advance, advance = step) {
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

} // namespace

constexpr EnlargeKernels enlargeKernels = {
    ramp, rampPicked, twice<RoundedMeans>, twice<TruncatedRamps>, repeatTwice,
};

} // namespace lx::LX_LEVEL
