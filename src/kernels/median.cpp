// Rank and majority of 3 x 3 neighbourhoods.
//
// Rank: each column of three is sorted into low, mid and high. With the three highs, the three mids and the three lows
// ordered in their turn, two of the nine are known to be beaten by the sixth smallest or to beat it for every one that
// is not: what is left is min(second high, greatest mid, max(least high, greatest low, second mid)).
//
// Four rows of results share more of the work: the three neighbours in each of six rows are sorted once, and the four
// greatest of two rows serve the result above and the one below. With them as a >= b >= c >= d and the third row
// sorted, the sixth smallest, which is the fourth greatest, is max(d, min(c, high), min(b, mid), min(a, low)).
//
// Majority: a full adder per column of three gives two-bit counts for a whole register of pixels at once; three such
// counts, shifted to one place, are added and compared with 5 by logic alone. Several rows of results count along the
// rows instead, so that each count serves three of them.
//
// The last block of a row overlaps the one before it, so that long rows need no loop over single bytes.

#include "kernels/fetch_early.h"
#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

namespace lx::LX_LEVEL
{

namespace
{

#if defined(LX_LEVEL_v4)
constexpr size_t laneBytes = 64;
#elif defined(LX_LEVEL_v3)
constexpr size_t laneBytes = 32;
#else
constexpr size_t laneBytes = 16;
#endif
using Bytes = uint8_t __attribute__((vector_size(laneBytes)));
using Lanes = uint64_t __attribute__((vector_size(laneBytes)));

template <class Register>
Register load(const uint8_t* bytes)
{
    Register own;
    std::memcpy(&own, bytes, sizeof own);
    return own;
}

// On bytes and on registers of them.
template <class Byte>
Byte least(Byte a, Byte b)
{
    return a < b ? a : b;
}

template <class Byte>
Byte most(Byte a, Byte b)
{
    return a < b ? b : a;
}

template <class Byte>
struct Sorted {
    Byte low;
    Byte mid;
    Byte high;
};

template <class Byte>
Sorted<Byte> sort3(Byte a, Byte b, Byte c)
{
    const Byte small = least(a, b);
    const Byte large = most(a, b);
    const Byte rest = least(large, c);
    return {least(small, rest), most(small, rest), most(large, c)};
}

uint8_t sixth(const Sorted<uint8_t>& left, const Sorted<uint8_t>& centre, const Sorted<uint8_t>& right)
{
    const Sorted<uint8_t> high = sort3(left.high, centre.high, right.high);
    const Sorted<uint8_t> mid = sort3(left.mid, centre.mid, right.mid);
    const uint8_t low = most(most(left.low, centre.low), right.low);
    return least(least(high.mid, mid.high), most(most(high.low, low), mid.mid));
}

constexpr size_t blockBytes = 64;

// `n` is a constant wherever speed counts.
inline void sixthBlock(const uint8_t* LX_RESTRICT upper, const uint8_t* LX_RESTRICT centre,
                       const uint8_t* LX_RESTRICT lower, uint8_t* LX_RESTRICT destination, size_t n, size_t stride)
{
    for (size_t k = 0; k < n; ++k) {
        const Sorted<uint8_t> left = sort3((upper - stride)[k], (centre - stride)[k], (lower - stride)[k]);
        const Sorted<uint8_t> here = sort3(upper[k], centre[k], lower[k]);
        const Sorted<uint8_t> right = sort3(upper[k + stride], centre[k + stride], lower[k + stride]);
        destination[k] = sixth(left, here, right);
    }
}

void sixthOfNine(const uint8_t* upper, const uint8_t* centre, const uint8_t* lower, uint8_t* destination, size_t bytes,
                 size_t stride)
{
    if (bytes < blockBytes) {
        sixthBlock(upper, centre, lower, destination, bytes, stride);
        return;
    }
    for (size_t k = 0; k < bytes; k += blockBytes) {
        const size_t at = k + blockBytes <= bytes ? k : bytes - blockBytes;
        sixthBlock(upper + at, centre + at, lower + at, destination + at, blockBytes, stride);
    }
}

// The four greatest of two rows of three, a the greatest.
struct FourGreatest {
    Bytes a;
    Bytes b;
    Bytes c;
    Bytes d;

    FourGreatest(const Sorted<Bytes>& one, const Sorted<Bytes>& other)
    {
        const Bytes lesserHigh = least(one.high, other.high);
        const Bytes greaterLow = most(one.low, other.low);
        const Bytes second = most(lesserHigh, greaterLow);
        const Bytes third = least(lesserHigh, greaterLow);
        const Bytes greaterMid = most(one.mid, other.mid);
        const Bytes lesserMid = least(one.mid, other.mid);
        a = most(one.high, other.high);
        b = most(greaterMid, second);
        c = least(greaterMid, second);
        d = most(lesserMid, third);
    }

    Bytes sixthWith(const Sorted<Bytes>& row) const
    {
        return most(most(d, least(c, row.high)), most(least(b, row.mid), least(a, row.low)));
    }
};

Sorted<Bytes> sortedAt(const uint8_t* row, size_t stride)
{
    return sort3(load<Bytes>(row - stride), load<Bytes>(row), load<Bytes>(row + stride));
}

void store(const Bytes& bytes, uint8_t* destination)
{
    std::memcpy(destination, &bytes, sizeof bytes);
}

// Rows `first` and `second` follow each other, and `last` and the next four do so, too. A row is too short for the
// processor to follow it by itself; results are fetched as well, since they fill a line of the cache only in parts.
void fetchNextFour(const uint8_t* first, const uint8_t* second, const uint8_t* last)
{
    const auto step = static_cast<ptrdiff_t>(reinterpret_cast<uintptr_t>(second) - reinterpret_cast<uintptr_t>(first));
    for (ptrdiff_t j = 1; j <= 4; ++j)
        fetchEarly<2>(last, j * step);
}

void sixthInFourRows(const uint8_t* const* rows, uint8_t* const* destinations, size_t bytes, size_t stride)
{
    if (bytes < laneBytes) {
        for (unsigned j = 0; j < 4; ++j)
            sixthOfNine(rows[j], rows[j + 1], rows[j + 2], destinations[j], bytes, stride);
        return;
    }
    const uint8_t* const own[6] = {rows[0], rows[1], rows[2], rows[3], rows[4], rows[5]};
    uint8_t* const to[4] = {destinations[0], destinations[1], destinations[2], destinations[3]};
    for (size_t k = 0; k < bytes; k += laneBytes) {
        const size_t at = k + laneBytes <= bytes ? k : bytes - laneBytes;
        if (k % 64 == 0) {
            fetchNextFour(own[1], own[2], own[5] + at);
            fetchNextFour(to[0], to[1], to[3] + at);
        }
        const Sorted<Bytes> second = sortedAt(own[1] + at, stride);
        const Sorted<Bytes> third = sortedAt(own[2] + at, stride);
        const FourGreatest upper(second, third);
        store(upper.sixthWith(sortedAt(own[0] + at, stride)), to[0] + at);
        const Sorted<Bytes> fourth = sortedAt(own[3] + at, stride);
        store(upper.sixthWith(fourth), to[1] + at);
        const FourGreatest lower(fourth, sortedAt(own[4] + at, stride));
        store(lower.sixthWith(third), to[2] + at);
        store(lower.sixthWith(sortedAt(own[5] + at, stride)), to[3] + at);
    }
}

// Packed pixels: logic on single bits, on words and on registers.
using Word = uint32_t;

template <class Bits>
Bits odd(Bits a, Bits b, Bits c)
{
    return a ^ b ^ c;
}

template <class Bits>
Bits atLeastTwo(Bits a, Bits b, Bits c)
{
    return (a & b) | (c & (a ^ b));
}

template <class Bits>
Bits select(Bits mask, Bits a, Bits b)
{
    return b ^ (mask & (a ^ b));
}

#if defined(LX_LEVEL_v4)

// One instruction for any function of three bits, named by its truth table.
template <int table>
Lanes ternary(Lanes a, Lanes b, Lanes c)
{
    return reinterpret_cast<Lanes>(_mm512_ternarylogic_epi64(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b),
                                                             reinterpret_cast<__m512i>(c), table));
}

template <>
Lanes odd(Lanes a, Lanes b, Lanes c)
{
    return ternary<0x96>(a, b, c);
}

template <>
Lanes atLeastTwo(Lanes a, Lanes b, Lanes c)
{
    return ternary<0xE8>(a, b, c);
}

template <>
Lanes select(Lanes mask, Lanes a, Lanes b)
{
    return ternary<0xCA>(mask, a, b);
}

#endif

// The number of set pixels among three, in two bits.
template <class Bits>
struct Count {
    Bits ones;
    Bits twos;
};

template <class Bits>
Count<Bits> count(Bits a, Bits b, Bits c)
{
    return {odd(a, b, c), atLeastTwo(a, b, c)};
}

// With the sum as ones + 2 carry + 2 (x + 2 y): at least 5.
template <class Bits>
Bits atLeastFive(const Count<Bits>& left, const Count<Bits>& here, const Count<Bits>& right)
{
    const Bits ones = odd(left.ones, here.ones, right.ones);
    const Bits carry = atLeastTwo(left.ones, here.ones, right.ones);
    const Bits x = odd(left.twos, here.twos, right.twos);
    const Bits y = atLeastTwo(left.twos, here.twos, right.twos);
    return select(y, x | carry | ones, x & carry & ones);
}

Lanes fill(uint8_t byte)
{
    return Lanes{} + uint64_t{byte} * 0x0101010101010101U;
}

Count<Lanes> countAt(const uint8_t* upper, const uint8_t* centre, const uint8_t* lower)
{
    return count(load<Lanes>(upper), load<Lanes>(centre), load<Lanes>(lower));
}

// Each pixel's left neighbour: from its own byte, or the last pixel of the byte before.
template <unsigned bits>
Lanes fromLeft(Lanes here, Lanes byteBefore)
{
    return select(fill(0xFF >> bits), here >> bits, byteBefore << (8 - bits));
}

template <unsigned bits>
Lanes fromRight(Lanes here, Lanes byteAfter)
{
    return select(fill(static_cast<uint8_t>(0xFF << bits)), here << bits, byteAfter >> (8 - bits));
}

// Bits that have no colour of their own.
template <unsigned bits>
constexpr uint8_t colourless = bits == 4 ? 0x88 : 0x00;

template <unsigned bits>
void majorityOfBlock(const uint8_t* upper, const uint8_t* centre, const uint8_t* lower, uint8_t* destination)
{
    const Count<Lanes> before = countAt(upper - 1, centre - 1, lower - 1);
    const Count<Lanes> here = countAt(upper, centre, lower);
    const Count<Lanes> after = countAt(upper + 1, centre + 1, lower + 1);
    const Count<Lanes> left = {fromLeft<bits>(here.ones, before.ones), fromLeft<bits>(here.twos, before.twos)};
    const Count<Lanes> right = {fromRight<bits>(here.ones, after.ones), fromRight<bits>(here.twos, after.twos)};
    Lanes result = atLeastFive(left, here, right);
    if constexpr (colourless<bits> != 0)
        result = select(fill(colourless<bits>), load<Lanes>(centre), result);
    std::memcpy(destination, &result, sizeof result);
}

// The counts of three neighbours in a row.
template <unsigned bits>
Count<Lanes> countAcross(const uint8_t* row)
{
    const Lanes here = load<Lanes>(row);
    return count(fromLeft<bits>(here, load<Lanes>(row - 1)), here, fromRight<bits>(here, load<Lanes>(row + 1)));
}

// Of the pixels that have both neighbours in the word.
template <unsigned bits>
Word majorityOfWord(Word upper, Word centre, Word lower)
{
    const Count<Word> here = count(upper, centre, lower);
    const Count<Word> left = {here.ones >> bits, here.twos >> bits};
    const Count<Word> right = {here.ones << bits, here.twos << bits};
    return select<Word>(Word{colourless<bits>} * 0x01010101U, centre, atLeastFive(left, here, right));
}

template <unsigned bits>
void majorityInWords(const uint32_t* LX_RESTRICT rows, uint32_t* LX_RESTRICT results, size_t count)
{
    for (size_t j = 0; j < count; ++j)
        results[j] = majorityOfWord<bits>(rows[j], rows[j + 1], rows[j + 2]);
}

Word loadThree(const uint8_t* middle)
{
    return static_cast<Word>(middle[-1] << 16 | middle[0] << 8 | middle[1]);
}

template <unsigned bits>
uint8_t majorityOfByte(const uint8_t* upper, const uint8_t* centre, const uint8_t* lower)
{
    return static_cast<uint8_t>(majorityOfWord<bits>(loadThree(upper), loadThree(centre), loadThree(lower)) >> 8);
}

template <unsigned bits>
void majority(const uint8_t* LX_RESTRICT upper, const uint8_t* LX_RESTRICT centre, const uint8_t* LX_RESTRICT lower,
              uint8_t* LX_RESTRICT destination, size_t bytes)
{
    if (bytes < laneBytes) {
        for (size_t k = 0; k < bytes; ++k)
            destination[k] = majorityOfByte<bits>(upper + k, centre + k, lower + k);
        return;
    }
    for (size_t k = 0; k < bytes; k += laneBytes) {
        const size_t at = k + laneBytes <= bytes ? k : bytes - laneBytes;
        majorityOfBlock<bits>(upper + at, centre + at, lower + at, destination + at);
    }
}

template <unsigned bits>
void majorityInRows(const uint8_t* const* rows, uint8_t* const* destinations, size_t count, size_t bytes)
{
    if (bytes < laneBytes) {
        for (size_t j = 0; j < count; ++j)
            majority<bits>(rows[j], rows[j + 1], rows[j + 2], destinations[j], bytes);
        return;
    }
    for (size_t k = 0; k < bytes; k += laneBytes) {
        const size_t at = k + laneBytes <= bytes ? k : bytes - laneBytes;
        Count<Lanes> upper = countAcross<bits>(rows[0] + at);
        Count<Lanes> centre = countAcross<bits>(rows[1] + at);
        for (size_t j = 0; j < count; ++j) {
            const Count<Lanes> lower = countAcross<bits>(rows[j + 2] + at);
            Lanes result = atLeastFive(upper, centre, lower);
            if constexpr (colourless<bits> != 0)
                result = select(fill(colourless<bits>), load<Lanes>(rows[j + 1] + at), result);
            std::memcpy(destinations[j] + at, &result, sizeof result);
            upper = centre;
            centre = lower;
        }
    }
}

} // namespace

constexpr MedianKernels medianKernels = {sixthOfNine,       sixthInFourRows,   majority<1>,        majority<4>,
                                         majorityInRows<1>, majorityInRows<4>, majorityInWords<1>, majorityInWords<4>};

} // namespace lx::LX_LEVEL
