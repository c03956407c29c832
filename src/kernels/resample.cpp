// Change of size along a line. The portable forms are plain loops over the blocks; the wide ones work on all columns at
// once and then throw together those that begin a block, or look their sources up in a few registers.

#include "kernels/kernel_tables.h"

#if defined(LX_LEVEL_v4)
#include "kernels/block_means_v4.h"
#include "kernels/registers_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

// sums[i] = source[i] + source[step + i] + ..., `rows` terms.
void sumRows(const uint8_t* LX_RESTRICT source, ptrdiff_t step, unsigned rows, uint16_t* LX_RESTRICT sums,
             size_t components)
{
    size_t done = 0;
#if defined(LX_LEVEL_v4)
    done = SummedRows{source, step, rows}.forEachFour(components, [sums](size_t i, const __m512i* v) {
        for (unsigned k = 0; k < 4; ++k)
            _mm512_storeu_si512(sums + i + 32 * k, v[k]);
    });
#endif
    for (size_t i = done; i < components; ++i)
        sums[i] = source[i];
    for (unsigned r = 1; r < rows; ++r) {
        const uint8_t* LX_RESTRICT row = source + static_cast<ptrdiff_t>(r) * step;
        for (size_t i = done; i < components; ++i)
            sums[i] = static_cast<uint16_t>(sums[i] + row[i]);
    }
}

bool meansOfSums(uint16_t* LX_RESTRICT sums, const BlockColumns& columns, const BlockRule& rule,
                 uint8_t* LX_RESTRICT destination, uint8_t* LX_RESTRICT marks)
{
#if defined(LX_LEVEL_v4)
    if (fitWide(columns, rule))
        return blockMeansWide(ColumnSums{sums}, columns, rule, sums, destination, marks);
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

bool blockMeans(const uint8_t* LX_RESTRICT source, ptrdiff_t step, unsigned rows, const BlockColumns& columns,
                const BlockRule& rule, uint16_t* LX_RESTRICT sums, uint8_t* LX_RESTRICT destination,
                uint8_t* LX_RESTRICT marks)
{
#if defined(LX_LEVEL_v4)
    if (fitWide(columns, rule))
        return blockMeansWide(SummedRows{source, step, rows}, columns, rule, sums, destination, marks);
#endif
    sumRows(source, step, rows, sums, columns.components);
    return meansOfSums(sums, columns, rule, destination, marks);
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
// With two halvings the sums stay in bytes: (before + after) / 2, half of that and the level, and of the level again,
// rounding down, down and up, as floors of floors do.
void smooth(const uint8_t* LX_RESTRICT before, const uint8_t* LX_RESTRICT level, const uint8_t* LX_RESTRICT after,
            uint8_t* LX_RESTRICT destination, size_t n)
{
#if defined(LX_LEVEL_v4)
    const auto weigh = [](__m512i left, __m512i own, __m512i right) {
        return _mm512_avg_epu8(own, halfDown(halfDown(left, right), own));
    };
    size_t i = 0;
    for (; i + 64 <= n; i += 64)
        _mm512_storeu_si512(destination + i, weigh(_mm512_loadu_si512(before + i), _mm512_loadu_si512(level + i),
                                                   _mm512_loadu_si512(after + i)));
    const __mmask64 rest = lowest(n - i);
    const __m512i last = weigh(_mm512_maskz_loadu_epi8(rest, before + i), _mm512_maskz_loadu_epi8(rest, level + i),
                               _mm512_maskz_loadu_epi8(rest, after + i));
    _mm512_mask_storeu_epi8(destination + i, rest, last);
#else
    for (size_t i = 0; i < n; ++i)
        destination[i] = static_cast<uint8_t>((before[i] + 6U * level[i] + after[i] + 4U) >> 3);
#endif
}

} // namespace

constexpr ResampleKernels resampleKernels = {
    blockMeans, meansOfSums, addRow, joinRows, joinTwo, joinThree, joinColumns, smooth,
};

} // namespace lx::LX_LEVEL
