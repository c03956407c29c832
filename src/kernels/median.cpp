// Rank and majority of 3 x 3 neighbourhoods.
//
// Rank: each column of three is sorted into low, mid and high. With the three highs, the three mids and the three lows
// ordered in their turn, two of the nine are known to be beaten by the sixth smallest or to beat it for every one that
// is not: what is left is min(second high, greatest mid, max(least high, greatest low, second mid)).
//
// Majority: a full adder per column of three gives two-bit counts for a whole register of pixels at once; three such
// counts, shifted to one place, are added and compared with 5 by logic alone.
//
// The last block of a row overlaps the one before it, so that long rows need no loop over single bytes.

#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

namespace lx::LX_LEVEL
{

namespace
{

uint8_t least(uint8_t a, uint8_t b)
{
    return a < b ? a : b;
}

uint8_t most(uint8_t a, uint8_t b)
{
    return a < b ? b : a;
}

struct Sorted {
    uint8_t low;
    uint8_t mid;
    uint8_t high;
};

Sorted sort3(uint8_t a, uint8_t b, uint8_t c)
{
    const uint8_t small = least(a, b);
    const uint8_t large = most(a, b);
    const uint8_t rest = least(large, c);
    return {least(small, rest), most(small, rest), most(large, c)};
}

uint8_t sixth(const Sorted& left, const Sorted& centre, const Sorted& right)
{
    const Sorted high = sort3(left.high, centre.high, right.high);
    const Sorted mid = sort3(left.mid, centre.mid, right.mid);
    const uint8_t low = most(most(left.low, centre.low), right.low);
    return least(least(high.mid, mid.high), most(most(high.low, low), mid.mid));
}

constexpr size_t blockBytes = 64;

// `n` is a constant wherever speed counts.
inline void sixthBlock(const uint8_t* LX_RESTRICT upper, const uint8_t* LX_RESTRICT centre,
                       const uint8_t* LX_RESTRICT lower, uint8_t* LX_RESTRICT destination, size_t n, size_t stride)
{
    for (size_t k = 0; k < n; ++k) {
        const Sorted left = sort3((upper - stride)[k], (centre - stride)[k], (lower - stride)[k]);
        const Sorted here = sort3(upper[k], centre[k], lower[k]);
        const Sorted right = sort3(upper[k + stride], centre[k + stride], lower[k + stride]);
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

// Packed pixels: logic on single bits, on numbers that hold three bytes of a row and on registers.
using Three = uint32_t;

#if defined(LX_LEVEL_v4)
constexpr size_t laneBytes = 64;
#elif defined(LX_LEVEL_v3)
constexpr size_t laneBytes = 32;
#else
constexpr size_t laneBytes = 16;
#endif
using Lanes = uint64_t __attribute__((vector_size(laneBytes)));

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

Lanes load(const uint8_t* bytes)
{
    Lanes lanes;
    std::memcpy(&lanes, bytes, sizeof lanes);
    return lanes;
}

Count<Lanes> countAt(const uint8_t* upper, const uint8_t* centre, const uint8_t* lower)
{
    return count(load(upper), load(centre), load(lower));
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
        result = select(fill(colourless<bits>), load(centre), result);
    std::memcpy(destination, &result, sizeof result);
}

Three loadThree(const uint8_t* middle)
{
    return static_cast<Three>(middle[-1] << 16 | middle[0] << 8 | middle[1]);
}

template <unsigned bits>
uint8_t majorityOfByte(const uint8_t* upper, const uint8_t* centre, const uint8_t* lower)
{
    const Count<Three> here = count(loadThree(upper), loadThree(centre), loadThree(lower));
    const Count<Three> left = {here.ones >> bits, here.twos >> bits};
    const Count<Three> right = {here.ones << bits, here.twos << bits};
    const Three result = atLeastFive(left, here, right) >> 8;
    return static_cast<uint8_t>(select<Three>(colourless<bits>, *centre, result));
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

} // namespace

constexpr MedianKernels medianKernels = {sixthOfNine, majority<1>, majority<4>};

} // namespace lx::LX_LEVEL
